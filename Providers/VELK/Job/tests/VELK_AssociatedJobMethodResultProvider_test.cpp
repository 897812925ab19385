// VELK_AssociatedJobMethodResultProvider driven through its CIM interfaces,
// over an in-process server with the companions and the job module.
#include <gtest/gtest.h>

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/ProviderException.h>

#include "VELK_AssociatedJobMethodResultProvider.h"
#include "VELK_Common.h"
#include "VELK_ConcreteJobProvider.h"
#include "VELK_MethodResultProvider.h"

#include "ArrayStates.h"
#include "JobModuleServer.h"
#include "RecordingHandlers.h"

using namespace Pegasus;
using namespace velktest;

namespace
{

JobModuleServer* server = nullptr;

class AssociatedJobMethodResult : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { server = new JobModuleServer(kJobArray); }
    static void TearDownTestSuite()
    {
        delete server;
        server = nullptr;
    }

    void SetUp() override
    {
        provider = new VELK_AssociatedJobMethodResultProvider();
        CIMOMHandle handle = server->handle();
        provider->initialize(handle);
        velksim::clearCaptured();
    }

    void TearDown() override { provider->terminate(); }

    VELK_AssociatedJobMethodResultProvider* provider = nullptr;
    OperationContext root = userContext("root");
};

// ---------------------------------------------------------------- screen

class AssociatedJobMethodResultScreen : public AssociatedJobMethodResult,
    public ::testing::WithParamInterface<ScreenCase>
{
};

TEST_P(AssociatedJobMethodResultScreen, RejectsSilentlyWithItsLogLine)
{
    const ScreenCase& c = GetParam();
    CIMObjectPath source(c.source);
    source.setHost("ctl1");
    source.setNameSpace(CIMNamespaceName("root/velk"));
    // Only an accepted request reads the other end, and may fail there.
    checkScreen(*provider, "VELK_AssociatedJobMethodResultProvider", root,
        source, CIMName("VELK_AssociatedJobMethodResult"), c, true);
}

#define JOB1 "VELK_ConcreteJob.InstanceID=\"KORVANE:task_id:1\""
#define MR1 "VELK_MethodResult.InstanceID=\"KORVANE:task_id:1\""
#define NOPREFIX "VELK_ConcreteJob.InstanceID=\"task_id:1\""

INSTANTIATE_TEST_SUITE_P(Rules, AssociatedJobMethodResultScreen, ::testing::Values(
    // an InstanceID without the organisation prefix names nothing here
    ScreenCase{NOPREFIX, "associators", "", "", "", true},
    ScreenCase{NOPREFIX, "associatorNames", "", "", "", true},
    ScreenCase{NOPREFIX, "references", "", "", "", true},
    ScreenCase{NOPREFIX, "referenceNames", "", "", "", true},
    ScreenCase{"CIM_ManagedElement.InstanceID=\"x\"", "references", "", "", "", true},
    // roles: the right end, compared without case
    ScreenCase{MR1, "associators", "Job", "", "", true},
    ScreenCase{MR1, "associators", "jobparameters", "", "", false},
    ScreenCase{JOB1, "referenceNames", "JobParameters", "", "", true},
    ScreenCase{JOB1, "associatorNames", "", "Job", "", true},
    ScreenCase{JOB1, "associatorNames", "", "JOBPARAMETERS", "", false},
    ScreenCase{JOB1, "references", "Owner", "", "", true},
    // references: only the association classes
    ScreenCase{JOB1, "references", "", "", "CIM_AssociatedJobMethodResult", false},
    ScreenCase{JOB1, "referenceNames", "", "", "CIM_OwningJobElement", true},
    // associators: a shorter list than the owning-job association's
    ScreenCase{JOB1, "associators", "", "", "CIM_ManagedElement", true},
    ScreenCase{JOB1, "associators", "", "", "CIM_MethodResult", false},
    ScreenCase{JOB1, "associators", "", "", "CIM_ConcreteJob", true},
    ScreenCase{MR1, "associators", "", "", "CIM_MethodResult", true},
    ScreenCase{MR1, "associators", "", "", "VELK_MethodResult", true},
    ScreenCase{MR1, "associatorNames", "", "", "CIM_Job", false}));

// ---------------------------------------------------------------- traversal

TEST_F(AssociatedJobMethodResult, TraceLinesKeepTheirExactTexts)
{
    VELK_AssociatedJobMethodResultProvider* fresh =
        new VELK_AssociatedJobMethodResultProvider();
    CIMOMHandle handle = server->handle();
    velksim::clearCaptured();
    fresh->initialize(handle);
    EXPECT_TRUE(loggedLine(4, "--> VELK_AssociatedJobMethodResultProvider::"
        "initialize(cimom)\n)"));
    EXPECT_TRUE(loggedLine(4, "<-- VELK_AssociatedJobMethodResultProvider::"
        "initialize(cimom)\n)"));

    velksim::clearCaptured();
    PathRecorder paths;
    fresh->referenceNames(root, jobPath(2), CIMName(), String::EMPTY, paths);
    const std::string job = (const char*)jobPath(2).toString().getCString();
    EXPECT_TRUE(loggedLine(4,
        "-->VELK_AssociatedJobMethodResultProvider::referenceNames\n"));
    EXPECT_TRUE(loggedLine(4, "VELK_AssociatedJobMethodResultProvider::"
        "referenceNames: objectName = " + job + "; resultClass = "));
    EXPECT_TRUE(loggedLine(4, "-->VELK_AssociatedJobMethodResultProvider::"
        "_getRelatedInstanceNames: className = VELK_ConcreteJob \n"));
    EXPECT_TRUE(loggedLine(4,
        "<--VELK_AssociatedJobMethodResultProvider::referenceNames\n"));
    fresh->terminate();
}

TEST_F(AssociatedJobMethodResult, EachEndLeadsToTheOtherBySharedInstanceID)
{
    ObjectRecorder toJob;
    provider->associators(root, resultPath(3), CIMName(), CIMName(),
        String::EMPTY, String::EMPTY, false, false, CIMPropertyList(), toJob);
    EXPECT_EQ("processing deliver complete", toJob.sequence());
    ASSERT_EQ(1u, toJob.items.size());
    CIMInstance job(toJob.items[0]);
    EXPECT_EQ(String("VELK_ConcreteJob"), job.getClassName().getString());
    Uint32 id = job.findProperty(CIMName("InstanceID"));
    ASSERT_NE(PEG_NOT_FOUND, id);
    String value;
    job.getProperty(id).getValue().get(value);
    EXPECT_EQ(jobId(3), value);

    PathRecorder toResult;
    provider->associatorNames(root, jobPath(3), CIMName(), CIMName(),
        String::EMPTY, String::EMPTY, toResult);
    EXPECT_EQ("processing deliver complete", toResult.sequence());
    ASSERT_EQ(1u, toResult.items.size());
    CIMObjectPath mr = toResult.items[0];
    mr.setHost("ctl1");
    EXPECT_TRUE(mr.identical(resultPath(3))) << toResult.items[0].toString();
}

TEST_F(AssociatedJobMethodResult, ReferencesPutEachEndInItsRole)
{
    ObjectRecorder fromJob;
    provider->references(root, jobPath(8), CIMName(), String::EMPTY, false,
        false, CIMPropertyList(), fromJob);
    EXPECT_EQ("processing deliver complete", fromJob.sequence());
    ASSERT_EQ(1u, fromJob.items.size());
    // The path's form is the builders' (VELK_CommonAssociation_test).
    const CIMObjectPath& assoc = fromJob.items[0].getPath();
    EXPECT_TRUE(keyRef(assoc, "Job").identical(jobPath(8)));
    EXPECT_TRUE(keyRef(assoc, "JobParameters").identical(resultPath(8)));

    PathRecorder fromResult;
    provider->referenceNames(root, resultPath(8), CIMName(), String::EMPTY,
        fromResult);
    ASSERT_EQ(1u, fromResult.items.size());
    EXPECT_TRUE(fromResult.items[0].identical(assoc));
}

TEST_F(AssociatedJobMethodResult, OtherEndThatCannotBeReadFailsTheRequest)
{
    // The job has gone: the server's answer reaches the client.
    ObjectRecorder rec;
    EXPECT_THROW(provider->associators(root, resultPath(999), CIMName(),
                     CIMName(), String::EMPTY, String::EMPTY, false, false,
                     CIMPropertyList(), rec),
        CIMException);
    EXPECT_TRUE(rec.calls.empty());

    // A base-class source passes the screen but has no other end here.
    CIMObjectPath base = jobPath(1);
    base.setClassName(CIMName("CIM_ConcreteJob"));
    PathRecorder names;
    EXPECT_THROW(provider->referenceNames(root, base, CIMName(),
                     String::EMPTY, names),
        CIMException);
    EXPECT_TRUE(names.calls.empty());
}

TEST_F(AssociatedJobMethodResult, EnumerationPairsEveryJob)
{
    InstanceRecorder instances;
    provider->enumerateInstances(root,
        CIMObjectPath("VELK_AssociatedJobMethodResult"), false, false,
        CIMPropertyList(), instances);
    PathRecorder names;
    provider->enumerateInstanceNames(root,
        CIMObjectPath("VELK_AssociatedJobMethodResult"), names);

    const Uint32 tasks[] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14 };
    ASSERT_EQ(13u, instances.items.size());
    ASSERT_EQ(13u, names.items.size());
    EXPECT_EQ("processing", names.calls.front());
    EXPECT_EQ("complete", names.calls.back());
    for (Uint32 i = 0; i < 13; i++)
    {
        const CIMObjectPath& p = instances.items[i].getPath();
        EXPECT_TRUE(p.identical(names.items[i]));
        EXPECT_TRUE(keyRef(p, "JobParameters").identical(resultPath(tasks[i])));
        EXPECT_EQ(jobId(tasks[i]),
            keyRef(p, "Job").getKeyBindings()[0].getValue());
    }
}

TEST_F(AssociatedJobMethodResult, GetInstanceMatchesAmongAllAssociations)
{
    PathRecorder names;
    provider->enumerateInstanceNames(root,
        CIMObjectPath("VELK_AssociatedJobMethodResult"), names);
    ASSERT_EQ(13u, names.items.size());

    // Another host in the request does not matter.
    CIMObjectPath asked = names.items[4];
    asked.setHost("elsewhere");
    InstanceRecorder rec;
    provider->getInstance(root, asked, false, false, CIMPropertyList(), rec);
    EXPECT_EQ("processing deliver complete", rec.sequence());
    ASSERT_EQ(1u, rec.items.size());
    EXPECT_TRUE(rec.items[0].getPath().identical(names.items[4]));

    CIMObjectPath gone = VELK_Common::buildAssocPath(
        CIMName("VELK_AssociatedJobMethodResult"), "JobParameters", "Job",
        resultPath(999), jobPath(999), "ctl1", "root/velk");
    InstanceRecorder none;
    EXPECT_CIM_ERROR(provider->getInstance(root, gone, false, false,
        CIMPropertyList(), none), CIM_ERR_NOT_FOUND,
        "VELK_AssociatedJobMethodResultProvider CIM Object not found.");
    EXPECT_CIM_ERROR(provider->getInstance(root, jobPath(1), false, false,
        CIMPropertyList(), none), CIM_ERR_INVALID_PARAMETER,
        "VELK_AssociatedJobMethodResultProvider Expect two keys.");
    EXPECT_TRUE(loggedLine(2, "VELK_AssociatedJobMethodResultProvider::"
        "getInstance(): Invalid number of keys (1)\n"));
    EXPECT_TRUE(none.calls.empty());
}

TEST_F(AssociatedJobMethodResult, GuardAndRefusedOperations)
{
    OperationContext denied = userContext("denied");
    ObjectRecorder objects;
    PathRecorder paths;
    InstanceRecorder instances;
    EXPECT_CIM_ERROR(provider->associators(denied, jobPath(1), CIMName(),
        CIMName(), String::EMPTY, String::EMPTY, false, false,
        CIMPropertyList(), objects), CIM_ERR_ACCESS_DENIED,
        "Insufficient privilege for the user");
    EXPECT_CIM_ERROR(provider->enumerateInstanceNames(denied,
        CIMObjectPath("VELK_AssociatedJobMethodResult"), paths),
        CIM_ERR_ACCESS_DENIED, "Insufficient privilege for the user");
    EXPECT_TRUE(objects.calls.empty());
    EXPECT_TRUE(paths.calls.empty());

    PlainRecorder plain;
    EXPECT_CIM_ERROR(provider->deleteInstance(denied, jobPath(1), plain),
        CIM_ERR_NOT_SUPPORTED,
        "VELK_AssociatedJobMethodResultProvider does not support deleteInstance.");
}

} // namespace
