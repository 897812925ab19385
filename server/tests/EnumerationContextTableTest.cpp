// Pull enumerations against the test module: pages in order, the errors of
// bad requests and of contexts used wrongly, close and expiry freeing the
// context and its blocked provider call, limits, and several clients at once.
#include "EnumerationContextTable.h"
#include "Router.h"
#include "TestServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>
#include <vector>

using namespace Pegasus;
using cimhost::EnumerationContextTable;
using cimhost_test::contextFor;
using cimhost_test::str;

namespace
{

const CIMNamespaceName NS("root/test");

class PullTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        server.reset(new cimhost::EmbeddedServer(cimhost_test::testModuleOptions()));
        server->start();
        router = dynamic_cast<cimhost::Router*>(&server->operations());
        ASSERT_TRUE(router);
    }
    void TearDown() override
    {
        table.reset();
        server.reset();
    }

    EnumerationContextTable& makeTable(
        const EnumerationContextTable::Limits& limits = EnumerationContextTable::Limits())
    {
        table.reset(new EnumerationContextTable(*router, limits));
        return *table;
    }

    static CIMPullRequest firstPage(Uint32 maxObjectCount, Uint32 timeout = 0)
    {
        CIMPullRequest r;
        r.maxObjectCount = maxObjectCount;
        r.hasOperationTimeout = timeout != 0;
        r.operationTimeout = timeout;
        return r;
    }

    CIMPullResult openChunks(const char* user, Uint32 maxObjectCount, Uint32 timeout = 0)
    {
        return table->openEnumerateInstances(contextFor(user), NS, CIMName("Test_Chunk"),
            true, false, CIMPropertyList(), firstPage(maxObjectCount, timeout));
    }

    // Waits (boundedly) until the table holds `count` contexts.
    bool sizeReaches(size_t count)
    {
        for (int i = 0; i < 1000 && table->size() != count; i++)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return table->size() == count;
    }

    cimhost_test::ModulePin pin;
    std::unique_ptr<cimhost::EmbeddedServer> server;
    cimhost::Router* router = nullptr;
    std::unique_ptr<EnumerationContextTable> table;
};

// N of each Test_Chunk instance, page after page until the end.
std::vector<Uint32> walkChunks(EnumerationContextTable& t, const char* user,
    CIMPullResult page, Uint32 pageSize, std::vector<Uint32>* pageSizes = nullptr)
{
    std::vector<Uint32> seen;
    for (;;)
    {
        if (pageSizes)
            pageSizes->push_back(page.instances.size());
        for (Uint32 i = 0; i < page.instances.size(); i++)
        {
            const CIMInstance& inst = page.instances[i];
            Uint32 n = 0;
            inst.getProperty(inst.findProperty(CIMName("N"))).getValue().get(n);
            seen.push_back(n);
            EXPECT_EQ(CIMName("Test_Chunk"), inst.getPath().getClassName());
        }
        if (page.endOfSequence)
            return seen;
        page = t.pullInstancesWithPath(contextFor(user), NS, page.enumerationContext,
            pageSize);
    }
}

std::vector<Uint32> upTo(Uint32 count)
{
    std::vector<Uint32> r;
    for (Uint32 n = 0; n < count; n++)
        r.push_back(n);
    return r;
}

TEST_F(PullTest, PagesHoldEveryObjectOnceInOrder)
{
    makeTable();
    // The provider releases 200 instances (two full chunks of a hundred).
    for (Uint32 pageSize : {1u, 7u, 100u, 199u, 200u, 1000u})
    {
        SCOPED_TRACE(pageSize);
        std::vector<Uint32> sizes;
        CIMPullResult first = openChunks("alice", pageSize);
        String name = first.enumerationContext;
        EXPECT_EQ(upTo(200), walkChunks(*table, "alice", first, pageSize, &sizes));
        for (Uint32 s : sizes)
            EXPECT_LE(s, pageSize);
        // At the end the context is gone.
        EXPECT_CIM_ERROR(table->pullInstancesWithPath(contextFor("alice"), NS, name, 10),
            CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(name));
    }

    // Paths: 250 names, pulled 64 at a time, after an open that asks for none.
    CIMPullResult page = table->openEnumerateInstancePaths(contextFor("alice"), NS,
        CIMName("Test_Chunk"), firstPage(0));
    EXPECT_EQ(0u, page.paths.size());
    EXPECT_FALSE(page.endOfSequence);
    std::vector<Uint32> seen;
    while (!page.endOfSequence)
    {
        page = table->pullInstancePaths(contextFor("alice"), NS, page.enumerationContext, 64);
        EXPECT_LE(page.paths.size(), 64u);
        for (Uint32 i = 0; i < page.paths.size(); i++)
        {
            String v = page.paths[i].getKeyBindings()[0].getValue();
            seen.push_back(Uint32(std::stoul(str(v))));
        }
    }
    EXPECT_EQ(upTo(250), seen);
    EXPECT_TRUE(sizeReaches(0));
}

TEST_F(PullTest, SmallEnumerationEndsWithTheOpenAndDeepInheritanceTrims)
{
    makeTable();
    // Test_Item has a subclass; both providers deliver two instances.
    CIMPullResult r = table->openEnumerateInstances(contextFor("alice"), NS,
        CIMName("Test_Item"), false, false, CIMPropertyList(), firstPage(10));
    ASSERT_TRUE(r.endOfSequence);
    ASSERT_EQ(4u, r.instances.size());
    EXPECT_EQ(CIMName("Test_SubItem"), r.instances[2].getClassName());
    EXPECT_EQ(CIMName("Test_SubItem"), r.instances[2].getPath().getClassName());
    // Without deep inheritance the subclass keeps only Test_Item's properties.
    Array<CIMInstance> classic = router->enumerateInstances(contextFor("alice"), NS,
        CIMName("Test_Item"), false, false, false, false, CIMPropertyList());
    ASSERT_EQ(classic.size(), r.instances.size());
    for (Uint32 i = 0; i < classic.size(); i++)
    {
        EXPECT_TRUE(classic[i].identical(r.instances[i]));
        EXPECT_EQ(classic[i].getPath(), r.instances[i].getPath());
    }
    EXPECT_TRUE(sizeReaches(0));
}

TEST_F(PullTest, BadOpenRequestsGetTheStandardErrors)
{
    makeTable();
    struct Case
    {
        const char* what;
        std::function<void(CIMPullRequest&)> change;
        CIMStatusCode code;
        const char* message;
    } cases[] = {
        {"continue on error", [](CIMPullRequest& r) { r.continueOnError = true; },
            CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED, "ContinueOnError"},
        {"filter", [](CIMPullRequest& r) {
             r.hasFilterQueryLanguage = true;
             r.filterQueryLanguage = "DMTF:FQL";
             r.hasFilterQuery = true;
             r.filterQuery = "N = 1";
         },
            CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED, "DMTF:FQL"},
        {"no time-out", [](CIMPullRequest& r) {
             r.hasOperationTimeout = true;
             r.operationTimeout = 0;
         },
            CIM_ERR_INVALID_OPERATION_TIMEOUT, "OperationTimeout 0 (at most 600 seconds)"},
        {"time-out above the maximum", [](CIMPullRequest& r) {
             r.hasOperationTimeout = true;
             r.operationTimeout = 601;
         },
            CIM_ERR_INVALID_OPERATION_TIMEOUT, "OperationTimeout 601 (at most 600 seconds)"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        CIMPullRequest r = firstPage(5);
        c.change(r);
        EXPECT_CIM_ERROR(table->openEnumerateInstances(contextFor("alice"), NS,
                             CIMName("Test_Chunk"), true, false, CIMPropertyList(), r),
            c.code, c.message);
    }
    // Errors of the operation itself come with the open, and leave nothing open.
    EXPECT_CIM_ERROR(table->openEnumerateInstancePaths(contextFor("alice"), NS,
                         CIMName("No_Such_Class"), firstPage(0)),
        CIM_ERR_INVALID_CLASS, "No_Such_Class");
    EXPECT_TRUE(sizeReaches(0));
}

TEST_F(PullTest, ProviderErrorComesAfterTheObjectsBeforeItAndEndsTheContext)
{
    makeTable();
    // "throwafter": Test_Item's provider delivers two, completes, then throws.
    CIMPullResult r = table->openEnumerateInstances(contextFor("throwafter"), NS,
        CIMName("Test_Item"), true, false, CIMPropertyList(), firstPage(10));
    EXPECT_EQ(2u, r.instances.size());
    EXPECT_FALSE(r.endOfSequence);
    EXPECT_CIM_ERROR(table->pullInstancesWithPath(contextFor("throwafter"), NS,
                         r.enumerationContext, 10),
        CIM_ERR_NOT_SUPPORTED, "after complete");
    EXPECT_CIM_ERROR(table->pullInstancesWithPath(contextFor("throwafter"), NS,
                         r.enumerationContext, 10),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(r.enumerationContext));
    EXPECT_TRUE(sizeReaches(0));
}

TEST_F(PullTest, ContextServesOnlyItsUserNamespaceAndKind)
{
    makeTable();
    CIMPullResult r = openChunks("alice", 10);
    const String& name = r.enumerationContext;
    EXPECT_CIM_ERROR(table->pullInstancesWithPath(contextFor("bob"), NS, name, 10),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(name));
    EXPECT_CIM_ERROR(table->pullInstancesWithPath(contextFor("alice"),
                         CIMNamespaceName("root/velk"), name, 10),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(name));
    EXPECT_CIM_ERROR(table->pullInstancePaths(contextFor("alice"), NS, name, 10),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(name) + " delivers instances, not paths");
    EXPECT_CIM_ERROR(table->closeEnumeration(contextFor("bob"), NS, name),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(name));
    EXPECT_CIM_ERROR(table->enumerationCount(contextFor("bob"), NS, name),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(name));
    EXPECT_CIM_ERROR(table->pullInstancesWithPath(contextFor("alice"), NS, "bogus", 10),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, "bogus");
    // None of that disturbed the owner's enumeration.
    std::vector<Uint32> seen = walkChunks(*table, "alice", r, 50);
    EXPECT_EQ(upTo(200), seen);
}

TEST_F(PullTest, CloseFreesTheContextAndItsBlockedProvider)
{
    makeTable();
    // 250 names against a queue of a hundred: the provider call is blocked.
    CIMPullResult r = table->openEnumerateInstancePaths(contextFor("alice"), NS,
        CIMName("Test_Chunk"), firstPage(1));
    EXPECT_EQ(1u, r.paths.size());
    EXPECT_TRUE(table->enumerationCount(contextFor("alice"), NS, r.enumerationContext)
                    .isNull());
    table->closeEnumeration(contextFor("alice"), NS, r.enumerationContext);
    EXPECT_CIM_ERROR(table->pullInstancePaths(contextFor("alice"), NS,
                         r.enumerationContext, 10),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(r.enumerationContext));
    EXPECT_CIM_ERROR(table->closeEnumeration(contextFor("alice"), NS, r.enumerationContext),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(r.enumerationContext));
    EXPECT_TRUE(sizeReaches(0));
}

TEST_F(PullTest, UnusedContextExpiresAndIsFreedWithoutAnotherRequest)
{
    makeTable();
    CIMPullResult r = openChunks("alice", 1, 1);
    EXPECT_EQ(1u, table->size());
    // Nobody pulls: the expiry alone cancels the blocked provider call.
    EXPECT_TRUE(sizeReaches(0));
    EXPECT_CIM_ERROR(table->pullInstancesWithPath(contextFor("alice"), NS,
                         r.enumerationContext, 10),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(r.enumerationContext));
}

TEST_F(PullTest, RemainingCountIsKnownOnceTheProviderHasEnded)
{
    makeTable();
    CIMPullResult r = table->openEnumerateInstances(contextFor("alice"), NS,
        CIMName("Test_Item"), true, false, CIMPropertyList(), firstPage(1));
    ASSERT_EQ(1u, r.instances.size());
    CIMValue count;
    for (int i = 0; i < 1000; i++)
    {
        count = table->enumerationCount(contextFor("alice"), NS, r.enumerationContext);
        if (!count.isNull())
            break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_FALSE(count.isNull());
    Uint64 n = 0;
    count.get(n);
    EXPECT_EQ(3u, n);
    r = table->pullInstancesWithPath(contextFor("alice"), NS, r.enumerationContext, 3);
    EXPECT_EQ(3u, r.instances.size());
    EXPECT_TRUE(r.endOfSequence);
}

TEST_F(PullTest, OpenContextsAreBoundedPerUserAndPerServer)
{
    EnumerationContextTable::Limits limits;
    limits.maxContexts = 3;
    limits.maxContextsPerUser = 2;
    makeTable(limits);
    CIMPullResult a1 = openChunks("alice", 1);
    openChunks("alice", 1);
    EXPECT_CIM_ERROR(openChunks("alice", 1), CIM_ERR_SERVER_LIMITS_EXCEEDED,
        "at most 2 open enumerations per user");
    openChunks("bob", 1);
    EXPECT_CIM_ERROR(openChunks("carol", 1), CIM_ERR_SERVER_LIMITS_EXCEEDED,
        "at most 3 open enumerations");
    // A closed context stops counting once its provider call has ended.
    table->closeEnumeration(contextFor("alice"), NS, a1.enumerationContext);
    ASSERT_TRUE(sizeReaches(2));
    EXPECT_EQ(upTo(200), walkChunks(*table, "carol", openChunks("carol", 10), 30));
}

TEST_F(PullTest, SeveralClientsWalkTheirOwnContextsAtOnce)
{
    makeTable();
    std::vector<std::vector<Uint32>> seen(6);
    std::vector<std::thread> clients;
    for (Uint32 c = 0; c < seen.size(); c++)
    {
        clients.emplace_back([this, c, &seen] {
            std::string user = "user" + std::to_string(c % 3);
            Uint32 pageSize = 3 + 17 * c;
            seen[c] = walkChunks(*table, user.c_str(),
                openChunks(user.c_str(), pageSize), pageSize);
        });
    }
    for (std::thread& t : clients)
        t.join();
    for (const std::vector<Uint32>& s : seen)
        EXPECT_EQ(upTo(200), s);
    EXPECT_TRUE(sizeReaches(0));
}

TEST_F(PullTest, ShutdownEndsOpenContextsAndRefusesNewOnes)
{
    makeTable();
    CIMPullResult r = openChunks("alice", 1);
    table->shutdown();
    EXPECT_EQ(0u, table->size());
    EXPECT_CIM_ERROR(openChunks("alice", 1), CIM_ERR_SERVER_IS_SHUTTING_DOWN, "");
    EXPECT_CIM_ERROR(table->pullInstancesWithPath(contextFor("alice"), NS,
                         r.enumerationContext, 1),
        CIM_ERR_INVALID_ENUMERATION_CONTEXT, str(r.enumerationContext));
}

} // namespace
