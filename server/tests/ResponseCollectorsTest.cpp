// The response handlers given to providers: what reaches the answer, and
// the checks made on deliveries.
#include "ResponseCollectors.h"
#include "TestServer.h"

#include <gtest/gtest.h>

using namespace Pegasus;
using namespace cimhost;

namespace
{

CIMInstance instance(Uint32 n)
{
    CIMInstance inst(CIMName("Test_Item"));
    inst.addProperty(CIMProperty(CIMName("N"), n));
    return inst;
}

TEST(ResponseCollectors, CompleteReleasesInDeliveryOrder)
{
    InstanceCollector c;
    c.processing();
    c.deliver(instance(1));
    Array<CIMInstance> two;
    two.append(instance(2));
    two.append(instance(3));
    c.deliver(two);
    EXPECT_EQ(0u, c.results().size());
    c.complete();
    ASSERT_EQ(3u, c.results().size());
    for (Uint32 i = 0; i < 3; i++)
    {
        Uint32 n = 0;
        c.results()[i].getProperty(0).getValue().get(n);
        EXPECT_EQ(i + 1, n);
    }
    EXPECT_TRUE(c.completed());
}

TEST(ResponseCollectors, ChunksOfAHundredAreReleasedEarly)
{
    ObjectPathCollector c;
    for (Uint32 i = 0; i < 199; i++)
        c.deliver(CIMObjectPath(String(), CIMNamespaceName(), CIMName("X")));
    EXPECT_EQ(100u, c.results().size());
    EXPECT_FALSE(c.completed());
}

TEST(ResponseCollectors, SingleObjectChecks)
{
    InstanceCollector one(Cardinality::ExactlyOne);
    EXPECT_CIM_ERROR(one.complete(), CIM_ERR_FAILED, "Too few objects delivered.");
    one.deliver(instance(1));
    EXPECT_CIM_ERROR(one.deliver(instance(2)), CIM_ERR_FAILED, "Too many objects delivered.");
    one.complete();
    EXPECT_EQ(1u, one.results().size());

    ObjectPathCollector path(Cardinality::ExactlyOne);
    EXPECT_CIM_ERROR(path.deliver(CIMObjectPath()), CIM_ERR_FAILED,
        "The object is not initialized.");
}

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
