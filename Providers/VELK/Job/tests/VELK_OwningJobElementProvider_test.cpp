// VELK_OwningJobElementProvider driven through its CIM interfaces, over an
// in-process server with the companions and the job module.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <thread>
#include <tuple>

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/ProviderException.h>

#include "VELK_ConcreteJobProvider.h"
#include "VELK_OwningJobElementProvider.h"

#include "ArrayStates.h"
#include "JobModuleServer.h"
#include "RecordingHandlers.h"

using namespace Pegasus;
using namespace velktest;

namespace
{

JobModuleServer* server = nullptr;

const CIMNamespaceName NS("root/velk");

CIMObjectPath firstPathOf(const char* className)
{
    Array<CIMObjectPath> paths = server->handle().enumerateInstanceNames(
        userContext("root"), NS, CIMName(className));
    if (paths.size() == 0)
        throw std::runtime_error(std::string("no instance of ") + className);
    return paths[0];
}

String instanceIdOf(const CIMObjectPath& path)
{
    return path.getKeyBindings()[0].getValue();
}

class OwningJobElement : public ::testing::Test
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
        provider = new VELK_OwningJobElementProvider();
        CIMOMHandle handle = server->handle();
        provider->initialize(handle);
        storageSvc = firstPathOf("VELK_StorageConfigurationService");
        replicationSvc = firstPathOf("VELK_ReplicationService");
        velksim::clearFaults();
        velksim::clearCaptured();
    }

    void TearDown() override
    {
        velksim::clearFaults();
        provider->terminate();
    }

    VELK_OwningJobElementProvider* provider = nullptr;
    CIMObjectPath storageSvc;
    CIMObjectPath replicationSvc;
    OperationContext root = userContext("root");
};

// ---------------------------------------------------------------- screen

class OwningJobElementScreen : public OwningJobElement,
    public ::testing::WithParamInterface<ScreenCase>
{
};

TEST_P(OwningJobElementScreen, RejectsSilentlyWithItsLogLine)
{
    const ScreenCase& c = GetParam();
    CIMObjectPath source;
    if (std::string(c.source) == "storage")
        source = storageSvc;
    else if (std::string(c.source) == "replication")
        source = replicationSvc;
    else if (std::string(c.source) == "job")
        source = jobPath(1);
    else
    {
        source = jobPath(1);
        source.setClassName(CIMName(c.source));
    }
    checkScreen(*provider, "VELK_OwningJobElementProvider", root, source,
        CIMName("VELK_OwningJobElement"), c, false);
}

INSTANTIATE_TEST_SUITE_P(Rules, OwningJobElementScreen, ::testing::Values(
    // role: the right end, compared without case
    ScreenCase{"job", "associators", "owningelement", "", "", true},
    ScreenCase{"job", "associators", "OWNEDELEMENT", "", "", false},
    ScreenCase{"storage", "associatorNames", "OwnedElement", "", "", true},
    ScreenCase{"replication", "references", "OwningElement", "", "", false},
    ScreenCase{"job", "referenceNames", "Antecedent", "", "", true},
    // an unknown class only has to use one of the two role names
    ScreenCase{"CIM_Foo", "associators", "OwnedElement", "", "", false},
    ScreenCase{"CIM_Foo", "associators", "Dependent", "", "", true},
    // result role
    ScreenCase{"replication", "associators", "", "OwningElement", "", true},
    ScreenCase{"replication", "associatorNames", "", "ownedelement", "", false},
    ScreenCase{"job", "associatorNames", "", "OwnedElement", "", true},
    // references: only the association classes
    ScreenCase{"storage", "references", "", "", "CIM_Dependency", true},
    ScreenCase{"storage", "referenceNames", "", "", "CIM_OwningJobElement", false},
    ScreenCase{"job", "references", "", "", "", false},
    // associators: the reachable classes, never the source's own class
    ScreenCase{"storage", "associators", "", "", "CIM_Service", false},
    ScreenCase{"storage", "associators", "", "", "CIM_StorageConfigurationService", true},
    ScreenCase{"storage", "associators", "", "", "VELK_StorageConfigurationService", true},
    ScreenCase{"storage", "associators", "", "", "CIM_StorageVolume", true},
    ScreenCase{"replication", "associatorNames", "", "", "CIM_ReplicationService", false},
    ScreenCase{"replication", "associatorNames", "", "", "SNIA_ReplicationService", false},
    ScreenCase{"job", "associators", "", "", "CIM_ConcreteJob", true},
    ScreenCase{"job", "associatorNames", "", "", "CIM_Job", true},
    ScreenCase{"job", "associators", "", "", "CIM_ManagedElement", false}));

// ---------------------------------------------------------------- traversal

TEST_F(OwningJobElement, ReferencesFromTheStorageServiceNameEveryLocalJob)
{
    ObjectRecorder rec;
    provider->references(root, storageSvc, CIMName(), String::EMPTY, false,
        false, CIMPropertyList(), rec);

    // Supported local tasks 1-9, 13, 14; not the remote copies 10 and 11,
    // not the schedule 12.
    const Uint32 expected[] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 13, 14 };
    ASSERT_EQ(11u, rec.items.size());
    EXPECT_EQ("processing deliver deliver deliver deliver deliver deliver "
              "deliver deliver deliver deliver deliver complete",
        rec.sequence());
    for (Uint32 i = 0; i < rec.items.size(); i++)
    {
        // The path's form is the builders' (VELK_CommonAssociation_test).
        const CIMObjectPath& path = rec.items[i].getPath();
        CIMObjectPath owning = keyRef(path, "OwningElement");
        EXPECT_TRUE(sameObject(owning, storageSvc));
        EXPECT_EQ(String("ctl1"), owning.getHost());
        EXPECT_TRUE(keyRef(path, "OwnedElement").identical(jobPath(expected[i])));
    }
}

TEST_F(OwningJobElement, AssociatorsFromTheReplicationServiceAreItsRemoteCopyJobs)
{
    ObjectRecorder rec;
    provider->associators(root, replicationSvc, CIMName(), CIMName(),
        String::EMPTY, String::EMPTY, false, false, CIMPropertyList(), rec);
    ASSERT_EQ(2u, rec.items.size());
    EXPECT_EQ("processing deliver deliver complete", rec.sequence());

    CIMInstance first(rec.items[0]);
    EXPECT_EQ(String("VELK_ConcreteJob"), first.getClassName().getString());
    EXPECT_EQ(String("KORVANE:task_id:10"),
        instanceIdOf(first.getPath()));
    EXPECT_EQ(String("KORVANE:task_id:11"),
        instanceIdOf(CIMInstance(rec.items[1]).getPath()));
    // A built job, not a bare path holder.
    EXPECT_NE(PEG_NOT_FOUND, first.findProperty(CIMName("JobState")));
}

TEST_F(OwningJobElement, OwnerOfAJobFollowsTaskTypeAndResultClass)
{
    // A remote-copy job belongs to the replication service only.
    {
        ObjectRecorder rec;
        provider->associators(root, jobPath(11), CIMName(),
            CIMName("VELK_StorageConfigurationService"), String::EMPTY,
            String::EMPTY, false, false, CIMPropertyList(), rec);
        EXPECT_EQ("processing complete", rec.sequence());
    }
    {
        ObjectRecorder rec;
        provider->associators(root, jobPath(11), CIMName(),
            CIMName("CIM_Service"), String::EMPTY, String::EMPTY, false,
            false, CIMPropertyList(), rec);
        ASSERT_EQ(1u, rec.items.size());
        EXPECT_EQ("processing deliver complete", rec.sequence());
        EXPECT_TRUE(sameObject(rec.items[0].getPath(), replicationSvc));
    }
    // A local job belongs to the storage configuration service.
    {
        PathRecorder rec;
        provider->associatorNames(root, jobPath(1), CIMName(), CIMName(),
            String::EMPTY, String::EMPTY, rec);
        ASSERT_EQ(1u, rec.items.size());
        EXPECT_TRUE(sameObject(rec.items[0], storageSvc));
    }
    {
        PathRecorder rec;
        provider->associatorNames(root, jobPath(1), CIMName(),
            CIMName("CIM_ReplicationService"), String::EMPTY, String::EMPTY,
            rec);
        EXPECT_EQ("processing complete", rec.sequence());
    }
    // referenceNames from a job: one association, the job as OwnedElement.
    {
        PathRecorder rec;
        provider->referenceNames(root, jobPath(10), CIMName(), "OwnedElement",
            rec);
        ASSERT_EQ(1u, rec.items.size());
        EXPECT_TRUE(sameObject(keyRef(rec.items[0], "OwningElement"),
            replicationSvc));
        EXPECT_TRUE(keyRef(rec.items[0], "OwnedElement")
            .identical(jobPath(10)));
    }
}

TEST_F(OwningJobElement, EnumerationNamesEverySupportedTaskWithItsOwner)
{
    PathRecorder names;
    provider->enumerateInstanceNames(root,
        CIMObjectPath("VELK_OwningJobElement"), names);
    const Uint32 expected[] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14 };
    ASSERT_EQ(13u, names.items.size());
    for (Uint32 i = 0; i < names.items.size(); i++)
    {
        EXPECT_TRUE(keyRef(names.items[i], "OwnedElement")
            .identical(jobPath(expected[i])));
        const bool remote = expected[i] == 10 || expected[i] == 11;
        EXPECT_TRUE(sameObject(keyRef(names.items[i], "OwningElement"),
            remote ? replicationSvc : storageSvc)) << expected[i];
    }

    InstanceRecorder instances;
    provider->enumerateInstances(root,
        CIMObjectPath("VELK_OwningJobElement"), false, false,
        CIMPropertyList(), instances);
    ASSERT_EQ(13u, instances.items.size());
    EXPECT_EQ("processing", instances.calls.front());
    EXPECT_EQ("complete", instances.calls.back());
    for (Uint32 i = 0; i < instances.items.size(); i++)
        EXPECT_TRUE(instances.items[i].getPath().identical(names.items[i]));
}

TEST_F(OwningJobElement, GetInstanceNeedsTwoKeysAndTwoExistingObjects)
{
    PathRecorder names;
    provider->enumerateInstanceNames(root,
        CIMObjectPath("VELK_OwningJobElement"), names);
    ASSERT_NE(0u, names.items.size());

    InstanceRecorder found;
    provider->getInstance(root, names.items[0], false, false,
        CIMPropertyList(), found);
    EXPECT_EQ("processing deliver complete", found.sequence());
    ASSERT_EQ(1u, found.items.size());
    EXPECT_TRUE(found.items[0].getPath().identical(names.items[0]));

    CIMObjectPath three = names.items[0];
    Array<CIMKeyBinding> keys = three.getKeyBindings();
    keys.append(CIMKeyBinding(CIMName("Extra"), "x", CIMKeyBinding::STRING));
    three.setKeyBindings(keys);
    InstanceRecorder rec;
    EXPECT_CIM_ERROR(provider->getInstance(root, three, false, false,
        CIMPropertyList(), rec), CIM_ERR_INVALID_PARAMETER,
        "VELK_OwningJobElementProvider Expect two keys.");
    EXPECT_TRUE(loggedLine(2, "VELK_OwningJobElementProvider::getInstance(): "
        "Invalid number of keys (3)\n"));

    CIMObjectPath gone = VELK_Common::buildAssocPath(
        CIMName("VELK_OwningJobElement"), "OwningElement", "OwnedElement",
        storageSvc, jobPath(999), "ctl1", "root/velk");
    EXPECT_CIM_ERROR(provider->getInstance(root, gone, false, false,
        CIMPropertyList(), rec), CIM_ERR_NOT_FOUND,
        "VELK_OwningJobElementProvider CIM Object not found.");
    EXPECT_TRUE(rec.calls.empty());
}

TEST_F(OwningJobElement, ConcurrentFirstRequestsShareTheServicePaths)
{
    // A fresh provider: the first requests fill the service-path lists
    // while others read them.
    VELK_OwningJobElementProvider* fresh = new VELK_OwningJobElementProvider();
    CIMOMHandle handle = server->handle();
    fresh->initialize(handle);

    const int kThreads = 4;
    std::vector<size_t> counts(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; t++)
    {
        threads.emplace_back([&, t] {
            OperationContext context = userContext("root");
            for (int i = 0; i < 3; i++)
            {
                PathRecorder rec;
                fresh->enumerateInstanceNames(context,
                    CIMObjectPath("VELK_OwningJobElement"), rec);
                counts[t] += rec.items.size();
            }
        });
    }
    for (std::thread& th : threads)
        th.join();
    fresh->terminate();
    for (int t = 0; t < kThreads; t++)
        EXPECT_EQ(3u * 13u, counts[t]) << t;
}

TEST_F(OwningJobElement, TraceLinesKeepTheirExactTexts)
{
    VELK_OwningJobElementProvider* fresh = new VELK_OwningJobElementProvider();
    CIMOMHandle handle = server->handle();
    velksim::clearCaptured();
    fresh->initialize(handle);
    EXPECT_TRUE(loggedLine(4,
        "--> VELK_OwningJobElementProvider::initialize(cimom)\n)"));
    EXPECT_TRUE(loggedLine(4,
        "<-- VELK_OwningJobElementProvider::initialize(cimom)\n)"));

    velksim::clearCaptured();
    ObjectRecorder objects;
    fresh->associators(root, replicationSvc, CIMName("VELK_OwningJobElement"),
        CIMName(), String::EMPTY, String::EMPTY, false, false,
        CIMPropertyList(), objects);
    const std::string svc =
        (const char*)replicationSvc.toString().getCString();
    EXPECT_TRUE(loggedLine(4, "->>VELK_OwningJobElementProvider::associators: "
        "objectName = " + svc + "; associationClass = VELK_OwningJobElement; "
        "resultClass =  \n"));
    EXPECT_TRUE(loggedLine(4, "-->VELK_OwningJobElementProvider::"
        "_getRelatedInstances: className = VELK_ReplicationService \n"));
    EXPECT_TRUE(loggedLine(4,
        "<--VELK_OwningJobElementProvider::_deliverRelatedInstances\n"));
    EXPECT_TRUE(loggedLine(4, "<--VELK_OwningJobElementProvider::associators\n"));

    velksim::clearCaptured();
    PathRecorder paths;
    fresh->referenceNames(root, replicationSvc, CIMName(), String::EMPTY,
        paths);
    EXPECT_TRUE(loggedLine(4, "-->VELK_OwningJobElementProvider::"
        "referenceNames: objectName = " + svc + "; resultClass = "));
    fresh->terminate();
}

// ---------------------------------------------------------------- failures

TEST_F(OwningJobElement, MissingSourceIsAnsweredWithNothing)
{
    ObjectRecorder rec;
    provider->references(root, jobPath(999), CIMName(), String::EMPTY, false,
        false, CIMPropertyList(), rec);
    EXPECT_TRUE(rec.calls.empty());
    const std::string line = "VELK_OwningJobElementProvider::references\n\t "
        "error trying to getInstance of " +
        std::string((const char*)jobPath(999).toString().getCString()) +
        " \n ";
    EXPECT_TRUE(loggedLine(2, line)) << line;
}

TEST_F(OwningJobElement, UnreadableArrayIsAnsweredWithNothing)
{
    // Fill the service-path cache first, so that the semaphore faults hit
    // the reads of the array.
    PathRecorder warm;
    provider->enumerateInstanceNames(root,
        CIMObjectPath("VELK_OwningJobElement"), warm);
    velksim::clearCaptured();

    const std::string problem = "VELK_OwningJobElementProvider::"
        "_deliverRelatedInstances: Problem getting tasks\n";
    const std::vector<std::pair<std::function<void()>, std::string>> faults = {
        {[] { velksim::injectFault("api_getTasks", 5, "task list unavailable",
                  1); }, problem},
        {[] { velksim::injectSemaphoreTimeout(1); }, problem},
        {[] { velksim::injectFault("api_getRCopy", 7,
                  "remote copy not configured", 1); },
            "VELK_OwningJobElementProvider::_deliverRelatedInstances():"
            "api_getRCopy error (7): remote copy not configured\n"},
    };
    for (const auto& f : faults)
    {
        SCOPED_TRACE(f.second);
        velksim::clearCaptured();
        f.first();
        InstanceRecorder rec;
        provider->enumerateInstances(root,
            CIMObjectPath("VELK_OwningJobElement"), false, false,
            CIMPropertyList(), rec);
        EXPECT_TRUE(rec.calls.empty());
        EXPECT_TRUE(loggedLine(2, f.second));
    }

    // Nothing held: the next request is answered in full.
    velksim::clearFaults();
    PathRecorder d;
    provider->enumerateInstanceNames(root,
        CIMObjectPath("VELK_OwningJobElement"), d);
    EXPECT_EQ(13u, d.items.size());
}

TEST_F(OwningJobElement, DeniedUserIsRefusedAndChangesAreNotSupported)
{
    OperationContext denied = userContext("denied");
    ObjectRecorder objects;
    PathRecorder paths;
    InstanceRecorder instances;
    PlainRecorder plain;
    const CIMObjectPath job = jobPath(1);
    const CIMObjectPath cls("VELK_OwningJobElement");
    const CIMInstance inst(CIMName("VELK_OwningJobElement"));
    const std::string deny = "Insufficient privilege for the user";
    const std::string refuse = "VELK_OwningJobElementProvider does not support ";
    // The changes are refused without looking at the caller.
    const std::vector<std::tuple<std::function<void()>, CIMStatusCode,
        std::string>> requests = {
        {[&] { provider->associators(denied, job, CIMName(), CIMName(),
                  String::EMPTY, String::EMPTY, false, false,
                  CIMPropertyList(), objects); }, CIM_ERR_ACCESS_DENIED, deny},
        {[&] { provider->associatorNames(denied, job, CIMName(), CIMName(),
                  String::EMPTY, String::EMPTY, paths); },
            CIM_ERR_ACCESS_DENIED, deny},
        {[&] { provider->references(denied, job, CIMName(), String::EMPTY,
                  false, false, CIMPropertyList(), objects); },
            CIM_ERR_ACCESS_DENIED, deny},
        {[&] { provider->referenceNames(denied, job, CIMName(), String::EMPTY,
                  paths); }, CIM_ERR_ACCESS_DENIED, deny},
        {[&] { provider->getInstance(denied, job, false, false,
                  CIMPropertyList(), instances); }, CIM_ERR_ACCESS_DENIED, deny},
        {[&] { provider->enumerateInstances(denied, cls, false, false,
                  CIMPropertyList(), instances); }, CIM_ERR_ACCESS_DENIED, deny},
        {[&] { provider->enumerateInstanceNames(denied, cls, paths); },
            CIM_ERR_ACCESS_DENIED, deny},
        {[&] { provider->modifyInstance(denied, job, inst, false,
                  CIMPropertyList(), plain); },
            CIM_ERR_NOT_SUPPORTED, refuse + "modifyInstance."},
        {[&] { provider->createInstance(denied, job, inst, paths); },
            CIM_ERR_NOT_SUPPORTED, refuse + "createInstance."},
        {[&] { provider->deleteInstance(denied, job, plain); },
            CIM_ERR_NOT_SUPPORTED, refuse + "deleteInstance."},
    };
    for (size_t i = 0; i < requests.size(); i++)
    {
        SCOPED_TRACE(i);
        EXPECT_CIM_ERROR(std::get<0>(requests[i])(), std::get<1>(requests[i]),
            std::get<2>(requests[i]));
    }
    EXPECT_TRUE(objects.calls.empty());
    EXPECT_TRUE(paths.calls.empty());
    EXPECT_TRUE(instances.calls.empty());
    EXPECT_TRUE(plain.calls.empty());
}

// ---------------------------------------------------------------- no owner

// A server that serves no replication service: no job has all its owners,
// so every request is answered with nothing.
TEST(OwningJobElementWithoutReplicationService, EveryRequestYieldsNothing)
{
    JobModuleServer patched(kJobArray, [](const std::string& schema) {
        const std::string file =
            schema + "/registration/VELK_ServiceProvider.mof";
        std::string mof = readFile(file);
        size_t at = mof.find("CapabilityID = \"VELK_ReplicationService\";");
        if (at == std::string::npos)
            throw std::runtime_error("no replication capability");
        size_t begin = mof.rfind("instance of", at);
        mof.erase(begin, mof.find("\n};", at) + 3 - begin);
        writeFile(file, mof);
    });
    VELK_OwningJobElementProvider* provider = new VELK_OwningJobElementProvider();
    CIMOMHandle handle = patched.handle();
    provider->initialize(handle);
    velksim::clearCaptured();
    OperationContext root = userContext("root");

    PathRecorder names;
    provider->enumerateInstanceNames(root,
        CIMObjectPath("VELK_OwningJobElement"), names);
    InstanceRecorder instances;
    provider->enumerateInstances(root, CIMObjectPath("VELK_OwningJobElement"),
        false, false, CIMPropertyList(), instances);
    ObjectRecorder objects;
    provider->references(root, jobPath(1), CIMName(), String::EMPTY, false,
        false, CIMPropertyList(), objects);
    provider->terminate();

    EXPECT_TRUE(names.calls.empty());
    EXPECT_TRUE(instances.calls.empty());
    EXPECT_TRUE(objects.calls.empty());
    const std::string missing = "VELK_OwningJobElementProvider::"
        "_deliverRelatedInstances:missing VELK_RelicationService and/or "
        "VELK_StorageConfigurationService\n";
    const std::vector<std::string> errors = logged(2);
    EXPECT_EQ(3, std::count(errors.begin(), errors.end(), missing));
}

} // namespace
