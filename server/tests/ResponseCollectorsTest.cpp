// The response handlers given to providers, for what the router tests do not
// reach: objects and method results (ordering, chunks and the single-object
// checks are covered through the router).
#include "ResponseCollectors.h"
#include "TestServer.h"

#include <gtest/gtest.h>

using namespace Pegasus;
using namespace cimhost;

namespace
{

TEST(ResponseCollectors, UninitializedObjectsAreRefused)
{
    InstanceCollector i;
    EXPECT_CIM_ERROR(i.deliver(CIMInstance()), CIM_ERR_FAILED, "The object is not initialized.");
    ObjectCollector o;
    EXPECT_CIM_ERROR(o.deliver(CIMObject()), CIM_ERR_FAILED, "The object is not initialized.");
    MethodResultCollector m;
    EXPECT_CIM_ERROR(m.deliverParamValue(CIMParamValue()), CIM_ERR_FAILED,
        "The object is not initialized.");
    EXPECT_CIM_ERROR(m.deliver(CIMValue()), CIM_ERR_FAILED, "The object is not initialized.");
}

TEST(ResponseCollectors, MethodResultWithoutCompleteIsEmpty)
{
    MethodResultCollector m;
    m.deliver(CIMValue(Uint32(5)));
    m.deliverParamValue(CIMParamValue("P", CIMValue(String("v"))));
    EXPECT_TRUE(m.returnValue().isNull());
    EXPECT_EQ(0u, m.outParameters().size());
    m.complete();
    Uint32 v = 0;
    m.returnValue().get(v);
    EXPECT_EQ(5u, v);
    EXPECT_EQ(1u, m.outParameters().size());
}

} // namespace
