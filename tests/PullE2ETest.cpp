// Pull enumerations over CIM-XML against cimhost and the job module: the
// pages of every Open.../Pull... operation carry exactly what the classic
// operation answers, in the same order, and the context errors arrive with
// their standard codes.
#include "support/CimClientTest.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Internal/CIMPullClient.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>
#include <string>
#include <vector>

using namespace Pegasus;

namespace
{

const CIMNamespaceName NS("root/velk");

class PullE2E : public e2e::CimClientTest
{
protected:
    static CIMPullRequest firstPage(Uint32 maxObjectCount)
    {
        CIMPullRequest r;
        r.maxObjectCount = maxObjectCount;
        return r;
    }

    // Every page until the end; each page holds at most pageSize objects.
    std::vector<CIMInstance> walkInstances(CIMPullResult page, Uint32 pageSize)
    {
        std::vector<CIMInstance> all;
        for (;;)
        {
            EXPECT_LE(page.instances.size(), pageSize);
            for (Uint32 i = 0; i < page.instances.size(); i++)
                all.push_back(page.instances[i]);
            if (page.endOfSequence)
                return all;
            page = pull.pullInstancesWithPath(NS, page.enumerationContext, pageSize);
        }
    }

    std::vector<CIMObjectPath> walkPaths(CIMPullResult page, Uint32 pageSize)
    {
        std::vector<CIMObjectPath> all;
        for (;;)
        {
            EXPECT_LE(page.paths.size(), pageSize);
            for (Uint32 i = 0; i < page.paths.size(); i++)
                all.push_back(page.paths[i]);
            if (page.endOfSequence)
                return all;
            page = pull.pullInstancePaths(NS, page.enumerationContext, pageSize);
        }
    }

    CIMPullClient pull{client};
};

CIMObjectPath localPath(const CIMObjectPath& path)
{
    CIMObjectPath local(path);
    local.setHost(String());
    local.setNameSpace(CIMNamespaceName());
    return local;
}

// The same instances (by path and properties) in the same order; the pulled
// ones carry full paths.
void expectSameInstances(const Array<CIMInstance>& classic, const std::vector<CIMInstance>& pulled)
{
    ASSERT_EQ(classic.size(), pulled.size());
    for (Uint32 i = 0; i < classic.size(); i++)
    {
        const CIMObjectPath& path = pulled[i].getPath();
        EXPECT_EQ(e2e::text(localPath(classic[i].getPath()).toString()),
            e2e::text(localPath(path).toString()));
        EXPECT_EQ("velk-ctl01", e2e::text(path.getHost()));
        EXPECT_EQ("root/velk", e2e::text(path.getNameSpace().getString()));
        // Running jobs advance between the two requests: compare the shape.
        ASSERT_EQ(classic[i].getPropertyCount(), pulled[i].getPropertyCount());
        for (Uint32 p = 0; p < classic[i].getPropertyCount(); p++)
        {
            CIMConstProperty property = classic[i].getProperty(p);
            Uint32 at = pulled[i].findProperty(property.getName());
            ASSERT_NE(PEG_NOT_FOUND, at) << e2e::text(property.getName().getString());
            EXPECT_EQ(property.getType(), pulled[i].getProperty(at).getType());
        }
    }
}

TEST_F(PullE2E, PagedJobsAreTheClassicEnumerationInOrder)
{
    Array<CIMInstance> classic = client.enumerateInstances(NS, CIMName("VELK_ConcreteJob"));
    Array<CIMObjectPath> names = client.enumerateInstanceNames(NS, CIMName("VELK_ConcreteJob"));
    ASSERT_GT(classic.size(), 10u);
    for (Uint32 pageSize : {1u, 4u, 1000u})
    {
        SCOPED_TRACE(pageSize);
        expectSameInstances(classic, walkInstances(pull.openEnumerateInstances(NS,
            CIMName("VELK_ConcreteJob"), true, false, CIMPropertyList(),
            firstPage(pageSize)), pageSize));
        std::vector<CIMObjectPath> paths = walkPaths(pull.openEnumerateInstancePaths(NS,
            CIMName("VELK_ConcreteJob"), firstPage(0)), pageSize);
        ASSERT_EQ(names.size(), paths.size());
        for (Uint32 i = 0; i < names.size(); i++)
        {
            // Pull answers carry full paths, the classic one instance names.
            EXPECT_EQ("//velk-ctl01/root/velk:" + e2e::text(names[i].toString()),
                e2e::text(paths[i].toString()));
        }
    }
}

TEST_F(PullE2E, AssociationPagesAreTheClassicAnswers)
{
    CIMObjectPath job = client.enumerateInstanceNames(NS, CIMName("VELK_ConcreteJob"))[0];

    auto instances = [](const Array<CIMObject>& objects) {
        Array<CIMInstance> out;
        for (Uint32 i = 0; i < objects.size(); i++)
            out.append(CIMInstance(objects[i]));
        return out;
    };
    auto expectSamePaths = [](const Array<CIMObjectPath>& classic,
                               const std::vector<CIMObjectPath>& pulled) {
        ASSERT_EQ(classic.size(), pulled.size());
        for (Uint32 i = 0; i < classic.size(); i++)
            EXPECT_EQ(e2e::text(classic[i].toString()), e2e::text(pulled[i].toString()));
    };
    Array<CIMInstance> refs = instances(client.references(NS, job));
    ASSERT_GT(refs.size(), 0u);
    expectSameInstances(refs, walkInstances(pull.openReferenceInstances(NS, job, CIMName(),
        String(), false, CIMPropertyList(), firstPage(1)), 1));
    Array<CIMInstance> assoc = instances(client.associators(NS, job));
    ASSERT_GT(assoc.size(), 0u);
    expectSameInstances(assoc, walkInstances(pull.openAssociatorInstances(NS, job, CIMName(),
        CIMName(), String(), String(), false, CIMPropertyList(), firstPage(2)), 2));
    expectSamePaths(client.referenceNames(NS, job),
        walkPaths(pull.openReferenceInstancePaths(NS, job, CIMName(), String(), firstPage(5)), 5));
    expectSamePaths(client.associatorNames(NS, job), walkPaths(pull.openAssociatorInstancePaths(
        NS, job, CIMName(), CIMName(), String(), String(), firstPage(5)), 5));
}

TEST_F(PullE2E, ContextErrorsAndCloseOverTheWire)
{
    CIMPullResult r = pull.openEnumerateInstances(NS, CIMName("VELK_ConcreteJob"), true,
        false, CIMPropertyList(), firstPage(1));
    ASSERT_FALSE(r.endOfSequence);
    const String name = r.enumerationContext;
    struct Case
    {
        const char* what;
        std::function<void()> call;
        CIMStatusCode code;
        std::string description;
    } cases[] = {
        {"paths from an instance enumeration",
            [&] { pull.pullInstancePaths(NS, name, 5); },
            CIM_ERR_INVALID_ENUMERATION_CONTEXT,
            "CIM_ERR_INVALID_ENUMERATION_CONTEXT: " + e2e::text(name) +
                " delivers instances, not paths"},
        {"unknown context", [&] { pull.pullInstancesWithPath(NS, "nope", 5); },
            CIM_ERR_INVALID_ENUMERATION_CONTEXT, "CIM_ERR_INVALID_ENUMERATION_CONTEXT: nope"},
        {"ContinueOnError", [&] {
             CIMPullRequest c = firstPage(1);
             c.continueOnError = true;
             pull.openEnumerateInstancePaths(NS, CIMName("VELK_ConcreteJob"), c);
         },
            CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED,
            "CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED: ContinueOnError"},
        {"filter", [&] {
             CIMPullRequest c = firstPage(1);
             c.hasFilterQueryLanguage = true;
             c.filterQueryLanguage = "DMTF:FQL";
             c.hasFilterQuery = true;
             c.filterQuery = "PercentComplete = 100";
             pull.openEnumerateInstancePaths(NS, CIMName("VELK_ConcreteJob"), c);
         },
            CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED,
            "CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED: DMTF:FQL"},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        try
        {
            c.call();
            ADD_FAILURE() << "no error";
        }
        catch (const CIMException& e)
        {
            EXPECT_EQ(c.code, e.getCode());
            EXPECT_EQ(c.description, e2e::text(e.getMessage()));
        }
    }
    // The context survived the wrong pull; close ends it.
    EXPECT_EQ(1u, pull.pullInstancesWithPath(NS, name, 1).instances.size());
    // Once the provider has delivered everything, the rest is counted.
    Uint32 jobs = client.enumerateInstanceNames(NS, CIMName("VELK_ConcreteJob")).size();
    CIMValue count;
    for (int i = 0; i < 500 && count.isNull(); i++)
    {
        count = pull.enumerationCount(NS, name);
        if (count.isNull())
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_FALSE(count.isNull());
    Uint64 remaining = 0;
    count.get(remaining);
    EXPECT_EQ(jobs - 2, remaining);
    pull.closeEnumeration(NS, name);
    try
    {
        pull.pullInstancesWithPath(NS, name, 5);
        ADD_FAILURE() << "pull after close";
    }
    catch (const CIMException& e)
    {
        EXPECT_EQ(CIM_ERR_INVALID_ENUMERATION_CONTEXT, e.getCode());
    }
}

} // namespace
