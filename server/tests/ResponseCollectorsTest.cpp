// The response handlers given to providers, for what the router tests do not
// reach: objects and method results (ordering, chunks and the single-object
// checks are covered through the router).
#include "ResponseCollectors.h"
#include "TestServer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

// The collector reuses its buffer for the next chunk; a sink that keeps the
// chunks it got must find them as they were, whatever came after.
TEST(ResponseCollectors, ChunksASinkKeepsStayAsReleased)
{
    std::vector<Array<CIMObjectPath>> kept;
    ObjectPathCollector c(Cardinality::Many,
        [&kept](const Array<CIMObjectPath>& chunk) { kept.push_back(chunk); });
    const Uint32 total = 2 * RESPONSE_CHUNK_SIZE + 7;
    for (Uint32 i = 0; i < total; i++)
        c.deliver(CIMObjectPath(String("//h/root:A.k=\"") + String(std::to_string(i).c_str()) +
            String("\"")));
    c.complete();
    ASSERT_EQ(3u, kept.size());
    Uint32 n = 0;
    for (const Array<CIMObjectPath>& chunk : kept)
        for (Uint32 i = 0; i < chunk.size(); i++, n++)
            EXPECT_EQ(String(std::to_string(n).c_str()), chunk[i].getKeyBindings()[0].getValue());
    EXPECT_EQ(total, n);
}
