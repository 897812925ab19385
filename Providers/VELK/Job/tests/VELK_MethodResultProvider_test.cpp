// VELK_MethodResultProvider driven through its CIM interfaces, over an
// in-process server with the companions and the job module.
#include <gtest/gtest.h>

#include <map>

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/ProviderException.h>

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

const CIMNamespaceName NS("root/velk");

CIMValue valueOf(const CIMInstance& inst, const char* name)
{
    Uint32 i = inst.findProperty(CIMName(name));
    if (i == PEG_NOT_FOUND)
        throw std::runtime_error(std::string("no property ") + name);
    return inst.getProperty(i).getValue();
}

String stringOf(const CIMInstance& inst, const char* name)
{
    String s;
    valueOf(inst, name).get(s);
    return s;
}

CIMObjectPath refOf(const CIMInstance& inst, const char* name)
{
    CIMObjectPath p;
    valueOf(inst, name).get(p);
    return p;
}

// The indication embedded in a method result, and its parameter object.
struct Indication
{
    CIMInstance call;
    CIMInstance parameters;
};

Indication indication(const CIMInstance& methodResult, const char* which)
{
    Indication ind;
    CIMValue v = valueOf(methodResult, which);
    EXPECT_EQ(CIMTYPE_INSTANCE, v.getType()) << which;
    v.get(ind.call);
    if (ind.call.findProperty(CIMName("MethodParameters")) != PEG_NOT_FOUND)
    {
        CIMValue p = valueOf(ind.call, "MethodParameters");
        EXPECT_EQ(CIMTYPE_OBJECT, p.getType());
        CIMObject o;
        p.get(o);
        ind.parameters = CIMInstance(o);
    }
    return ind;
}

class MethodResult : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        server = new JobModuleServer(kJobArray);
        results = new std::map<Uint32, CIMInstance>();
    }
    static void TearDownTestSuite()
    {
        delete results;
        results = nullptr;
        delete server;
        server = nullptr;
    }

    void SetUp() override
    {
        provider = new VELK_MethodResultProvider();
        CIMOMHandle handle = server->handle();
        provider->initialize(handle);
        velksim::clearCaptured();
    }

    void TearDown() override { provider->terminate(); }

    // All method results of the array, by task id, enumerated once.
    const CIMInstance& result(Uint32 task)
    {
        if (results->empty())
        {
            InstanceRecorder rec;
            provider->enumerateInstances(root,
                CIMObjectPath("VELK_MethodResult"), false, false,
                CIMPropertyList(), rec);
            for (Uint32 i = 0; i < rec.items.size(); i++)
            {
                String id = stringOf(rec.items[i], "InstanceID");
                Uint32 t = VELK_ConcreteJobProvider::extractTaskIDFromInstanceID(id);
                (*results)[t] = rec.items[i];
            }
        }
        auto it = results->find(task);
        if (it == results->end())
            throw std::runtime_error("no method result for the task");
        return it->second;
    }

    CIMObjectPath volumePath(const char* name)
    {
        Array<CIMInstance> vols = server->handle().enumerateInstances(root,
            NS, CIMName("VELK_StorageVolume"), true, false, false, false,
            CIMPropertyList());
        for (Uint32 i = 0; i < vols.size(); i++)
        {
            Uint32 p = vols[i].findProperty(CIMName("ElementName"));
            if (p == PEG_NOT_FOUND)
                continue;
            String n;
            vols[i].getProperty(p).getValue().get(n);
            if (n == name)
                return vols[i].getPath();
        }
        throw std::runtime_error(std::string("no volume ") + name);
    }

    VELK_MethodResultProvider* provider = nullptr;
    OperationContext root = userContext("root");
    static std::map<Uint32, CIMInstance>* results;
};

std::map<Uint32, CIMInstance>* MethodResult::results = nullptr;

// ---------------------------------------------------------------- results

TEST_F(MethodResult, OneResultPerJobCarryingTheJobsIdentity)
{
    InstanceRecorder rec;
    provider->enumerateInstances(root, CIMObjectPath("VELK_MethodResult"),
        false, false, CIMPropertyList(), rec);
    const Uint32 tasks[] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14 };
    ASSERT_EQ(13u, rec.items.size());
    EXPECT_EQ("processing", rec.calls.front());
    EXPECT_EQ("complete", rec.calls.back());

    PathRecorder names;
    provider->enumerateInstanceNames(root,
        CIMObjectPath("VELK_MethodResult"), names);
    ASSERT_EQ(13u, names.items.size());

    for (Uint32 i = 0; i < 13; i++)
    {
        const CIMInstance& mr = rec.items[i];
        EXPECT_EQ(jobId(tasks[i]), stringOf(mr, "InstanceID"));
        EXPECT_TRUE(mr.getPath().identical(resultPath(tasks[i])));
        EXPECT_TRUE(names.items[i].identical(mr.getPath()));
    }

    const CIMInstance& copy = rec.items[0];
    EXPECT_EQ(String("vol1->vol1copy"), stringOf(copy, "ElementName"));
    EXPECT_EQ(String("vol1->vol1copy"), stringOf(copy, "Caption"));
    EXPECT_EQ(String("MethodResult for job name vol1->vol1copy"),
        stringOf(copy, "Description"));
    // The indications replace the class's declarations and stand last.
    const Uint32 n = copy.getPropertyCount();
    EXPECT_EQ(String("PreCallIndication"),
        copy.getProperty(n - 2).getName().getString());
    EXPECT_EQ(String("PostCallIndication"),
        copy.getProperty(n - 1).getName().getString());
}

TEST_F(MethodResult, CopyJobsNameTheirVolumes)
{
    // Type 7, both volumes present.
    Indication pre = indication(result(1), "PreCallIndication");
    EXPECT_EQ(String("CIM_InstMethodCall"), pre.call.getClassName().getString());
    EXPECT_EQ((std::vector<std::string>{"MethodName", "MethodParameters",
        "PreCall"}), propertyNames(pre.call));
    EXPECT_EQ(String("AttachOrModifyReplica"), stringOf(pre.call, "MethodName"));
    Boolean preCall = false;
    valueOf(pre.call, "PreCall").get(preCall);
    EXPECT_TRUE(preCall);
    EXPECT_EQ(String("__MethodParameters"),
        pre.parameters.getClassName().getString());
    EXPECT_EQ((std::vector<std::string>{"SourceElement", "TargetElement",
        "CopyType"}), propertyNames(pre.parameters));
    EXPECT_TRUE(sameObject(refOf(pre.parameters, "SourceElement"),
        volumePath("vol1")));
    EXPECT_TRUE(sameObject(refOf(pre.parameters, "TargetElement"),
        volumePath("vol1copy")));
    Uint16 copyType = 0;
    valueOf(pre.parameters, "CopyType").get(copyType);
    EXPECT_EQ(5, copyType);

    Indication post = indication(result(1), "PostCallIndication");
    valueOf(post.call, "PreCall").get(preCall);
    EXPECT_FALSE(preCall);
    EXPECT_EQ((std::vector<std::string>{"SourceElement", "TargetElement",
        "CopyType", "Job", "ReturnValue", "ReturnValueType"}),
        propertyNames(post.parameters));
    EXPECT_TRUE(sameObject(refOf(post.parameters, "Job"),
        jobPath(1)));
    EXPECT_EQ(String("Method Parameters Checked - Job Started"),
        stringOf(post.parameters, "ReturnValue"));
    Uint16 rvt = 0;
    valueOf(post.parameters, "ReturnValueType").get(rvt);
    EXPECT_EQ(9, rvt);

    // Type 7 whose volumes are gone: the references are there, null.
    Indication gone = indication(result(2), "PreCallIndication");
    EXPECT_EQ((std::vector<std::string>{"SourceElement", "TargetElement",
        "CopyType"}), propertyNames(gone.parameters));
    EXPECT_TRUE(valueOf(gone.parameters, "SourceElement").isNull());
    EXPECT_TRUE(valueOf(gone.parameters, "TargetElement").isNull());

    // Type 24: the source comes from the task detail.
    Indication online = indication(result(9), "PreCallIndication");
    EXPECT_EQ(String("AttachOrModifyReplica"),
        stringOf(online.call, "MethodName"));
    EXPECT_TRUE(sameObject(refOf(online.parameters, "SourceElement"),
        volumePath("srcvol")));
    EXPECT_TRUE(sameObject(refOf(online.parameters, "TargetElement"),
        volumePath("onlinetgt")));
}

TEST_F(MethodResult, PromotionFindsOrBuildsItsSynchronization)
{
    // Type 8 whose source is the synced element of an association: that
    // association's own path.
    Array<CIMObjectPath> syncs = server->handle().enumerateInstanceNames(
        root, NS, CIMName("VELK_StorageSynchronized"));
    CIMObjectPath existing;
    for (Uint32 i = 0; i < syncs.size(); i++)
    {
        if (sameObject(keyRef(syncs[i], "SyncedElement"), volumePath("snapA")))
            existing = syncs[i];
    }
    ASSERT_FALSE(existing.getClassName().isNull());

    Indication found = indication(result(3), "PreCallIndication");
    EXPECT_EQ(String("ModifySynchronization"),
        stringOf(found.call, "MethodName"));
    EXPECT_EQ((std::vector<std::string>{"Operation", "Synchronization"}),
        propertyNames(found.parameters));
    Uint16 op = 0;
    valueOf(found.parameters, "Operation").get(op);
    EXPECT_EQ(5, op);
    EXPECT_TRUE(refOf(found.parameters, "Synchronization").identical(existing));

    // The same association is found when the target is gone.
    Indication targetGone = indication(result(14), "PreCallIndication");
    EXPECT_TRUE(refOf(targetGone.parameters, "Synchronization")
        .identical(existing));

    // No association, both volumes present: a built path whose system
    // element is the target and whose synced element is the source.
    Indication built = indication(result(4), "PreCallIndication");
    CIMObjectPath path = refOf(built.parameters, "Synchronization");
    EXPECT_EQ(String("ctl1"), path.getHost());
    EXPECT_TRUE(sameObject(keyRef(path, "SystemElement"), volumePath("baseB")));
    EXPECT_TRUE(sameObject(keyRef(path, "SyncedElement"), volumePath("snapB")));
    EXPECT_EQ(String("ctl1"), keyRef(path, "SystemElement").getHost());

    // Source missing: only the operation.
    Indication noSource = indication(result(5), "PreCallIndication");
    EXPECT_EQ((std::vector<std::string>{"Operation"}),
        propertyNames(noSource.parameters));
}

TEST_F(MethodResult, ResyncBuildsItsSynchronizationTheOtherWayRound)
{
    Indication resync = indication(result(6), "PreCallIndication");
    EXPECT_EQ(String("ModifySynchronization"),
        stringOf(resync.call, "MethodName"));
    Uint16 op = 0;
    valueOf(resync.parameters, "Operation").get(op);
    EXPECT_EQ(4, op);
    // Built, not looked up: the source is the system element, although the
    // array's association has it as the synced one.
    CIMObjectPath path = refOf(resync.parameters, "Synchronization");
    EXPECT_TRUE(sameObject(keyRef(path, "SystemElement"), volumePath("base11")));
    EXPECT_TRUE(sameObject(keyRef(path, "SyncedElement"), volumePath("copy11")));

    Indication missing = indication(result(7), "PreCallIndication");
    EXPECT_EQ((std::vector<std::string>{"Operation"}),
        propertyNames(missing.parameters));
    valueOf(missing.parameters, "Operation").get(op);
    EXPECT_EQ(4, op);
}

TEST_F(MethodResult, SnapshotSpaceAndUnmappedTypes)
{
    Indication pre = indication(result(8), "PreCallIndication");
    EXPECT_EQ(String("UpdateDeltaSnapshotSpace"),
        stringOf(pre.call, "MethodName"));
    EXPECT_EQ(0u, pre.parameters.getPropertyCount());
    Indication post = indication(result(8), "PostCallIndication");
    EXPECT_EQ((std::vector<std::string>{"Job", "ReturnValue",
        "ReturnValueType"}), propertyNames(post.parameters));

    // Remote copies stand for no method: bare indications.
    const Uint32 unmapped[] = { 10, 11 };
    for (Uint32 task : unmapped)
    {
        Indication a = indication(result(task), "PreCallIndication");
        Indication b = indication(result(task), "PostCallIndication");
        EXPECT_EQ(String("CIM_InstMethodCall"),
            a.call.getClassName().getString());
        EXPECT_EQ(0u, a.call.getPropertyCount()) << task;
        EXPECT_EQ(0u, b.call.getPropertyCount()) << task;
    }
}

TEST_F(MethodResult, FailedJobCarriesItsErrorAfterTheCall)
{
    Indication pre = indication(result(13), "PreCallIndication");
    EXPECT_EQ(PEG_NOT_FOUND, pre.parameters.findProperty(CIMName("Error")));

    Indication post = indication(result(13), "PostCallIndication");
    EXPECT_EQ((std::vector<std::string>{"SourceElement", "TargetElement",
        "CopyType", "Job", "ReturnValue", "ReturnValueType", "Error"}),
        propertyNames(post.parameters));
    CIMValue v = valueOf(post.parameters, "Error");
    ASSERT_TRUE(v.isArray());
    ASSERT_EQ(CIMTYPE_INSTANCE, v.getType());
    Array<CIMInstance> errors;
    v.get(errors);
    ASSERT_EQ(1u, errors.size());
    EXPECT_EQ(String("CIM_Error"), errors[0].getClassName().getString());
    EXPECT_EQ(String("Operation has failed"), stringOf(errors[0], "Message"));
    EXPECT_EQ(String("copy source went offline"),
        stringOf(errors[0], "ProbableCauseDescription"));

    // Other states carry no error.
    Indication running = indication(result(1), "PostCallIndication");
    EXPECT_EQ(PEG_NOT_FOUND, running.parameters.findProperty(CIMName("Error")));
    Indication cancelled = indication(result(5), "PostCallIndication");
    EXPECT_EQ(PEG_NOT_FOUND,
        cancelled.parameters.findProperty(CIMName("Error")));
}

TEST_F(MethodResult, TraceLinesKeepTheirExactTexts)
{
    VELK_MethodResultProvider* fresh = new VELK_MethodResultProvider();
    CIMOMHandle handle = server->handle();
    velksim::clearCaptured();
    fresh->initialize(handle);
    EXPECT_TRUE(loggedLine(4, "--> VELK_MethodResultProvider::initialize()\n"));
    EXPECT_TRUE(loggedLine(4, "<--VELK_MethodResultProvider::initialize()\n"));

    velksim::clearCaptured();
    InstanceRecorder rec;
    fresh->getInstance(root, resultPath(8), false, false, CIMPropertyList(),
        rec);
    fresh->terminate();
    const char* const expected[] = {
        "--> VELK_MethodResultProvider::getInstance\n",
        "--> VELK_MethodResultProvider::_constructInstMethodCallInst()\n",
        "--> VELK_MethodResultProvider::buildObjectPath()\n",
        "<-- VELK_MethodResultProvider::getInstance\n",
    };
    for (const char* line : expected)
        EXPECT_TRUE(loggedLine(4, line)) << line;
}

// ---------------------------------------------------------------- getInstance

TEST_F(MethodResult, GetInstanceFindsTheResultOfOneJob)
{
    InstanceRecorder rec;
    provider->getInstance(root, resultPath(3), false, false,
        CIMPropertyList(), rec);
    EXPECT_EQ("processing deliver complete", rec.sequence());
    ASSERT_EQ(1u, rec.items.size());
    EXPECT_EQ(jobId(3), stringOf(rec.items[0], "InstanceID"));

    // The request's property list is the only filter.
    Array<CIMName> only;
    only.append(CIMName("InstanceID"));
    InstanceRecorder filtered;
    provider->getInstance(root, resultPath(3), false, false,
        CIMPropertyList(only), filtered);
    ASSERT_EQ(1u, filtered.items.size());
    EXPECT_EQ(1u, filtered.items[0].getPropertyCount());
}

TEST_F(MethodResult, GetInstanceFailures)
{
    InstanceRecorder rec;
    EXPECT_CIM_ERROR(provider->getInstance(root,
        resultPath(999), false,
        false, CIMPropertyList(), rec), CIM_ERR_NOT_FOUND,
        "VELK_MethodResultProvider CIM Object not found.KORVANE:task_id:999");
    EXPECT_TRUE(loggedLine(4, "Job instance KORVANE:task_id:999 does not exist\n"));

    // An empty InstanceID stands for all jobs: more than one, not found.
    EXPECT_CIM_ERROR(provider->getInstance(root,
        VELK_MethodResultProvider::buildObjectPath("ctl1", ""), false, false,
        CIMPropertyList(), rec), CIM_ERR_NOT_FOUND,
        "VELK_MethodResultProvider CIM Object not found.");

    EXPECT_CIM_ERROR(provider->getInstance(root,
        CIMObjectPath("VELK_MethodResult.Name=\"x\""), false, false,
        CIMPropertyList(), rec), CIM_ERR_INVALID_PARAMETER,
        "VELK_MethodResultProvider InstanceID key not found.");

    EXPECT_CIM_ERROR(provider->getInstance(root,
        jobPath(1), false,
        false, CIMPropertyList(), rec), CIM_ERR_NOT_SUPPORTED,
        "VELK_MethodResultProvider Invalid class nameVELK_ConcreteJob");
    EXPECT_TRUE(rec.calls.empty());
}

TEST_F(MethodResult, GuardAndRefusedOperations)
{
    OperationContext denied = userContext("denied");
    InstanceRecorder instances;
    PathRecorder paths;
    EXPECT_CIM_ERROR(provider->enumerateInstances(denied,
        CIMObjectPath("VELK_MethodResult"), false, false, CIMPropertyList(),
        instances), CIM_ERR_ACCESS_DENIED,
        "Insufficient privilege for the user");
    EXPECT_CIM_ERROR(provider->enumerateInstanceNames(denied,
        CIMObjectPath("VELK_MethodResult"), paths), CIM_ERR_ACCESS_DENIED,
        "Insufficient privilege for the user");
    EXPECT_TRUE(instances.calls.empty());
    EXPECT_TRUE(paths.calls.empty());

    // The class check ignores case.
    PathRecorder lower;
    provider->enumerateInstanceNames(root, CIMObjectPath("velk_methodresult"),
        lower);
    EXPECT_EQ(13u, lower.items.size());

    PlainRecorder plain;
    EXPECT_CIM_ERROR(provider->deleteInstance(denied,
        resultPath(1), plain),
        CIM_ERR_NOT_SUPPORTED,
        "VELK_MethodResultProvider does not support deleteInstance.");
    EXPECT_CIM_ERROR(provider->modifyInstance(denied,
        CIMObjectPath("VELK_MethodResult"),
        CIMInstance(CIMName("VELK_MethodResult")), false, CIMPropertyList(),
        plain), CIM_ERR_NOT_SUPPORTED,
        "VELK_MethodResultProvider does not support modifyInstance.");
    EXPECT_CIM_ERROR(provider->createInstance(denied,
        CIMObjectPath("VELK_MethodResult"),
        CIMInstance(CIMName("VELK_MethodResult")), paths),
        CIM_ERR_NOT_SUPPORTED,
        "VELK_MethodResultProvider does not support createInstance.");
    EXPECT_CIM_ERROR(
        VELK_MethodResultProvider withPath(CIMObjectPath("VELK_MethodResult")),
        CIM_ERR_NOT_SUPPORTED,
        "VELK_MethodResultProvider does not support constructor with object path.");
}

// ---------------------------------------------------------------- no JobType

// A job class without JobType: the jobs carry no type, so their indications
// name no method and hold no parameters.
TEST(MethodResultWithoutJobType, IndicationsWithAnEmptyMethodName)
{
    JobModuleServer patched(kLocalOnlyArray, [](const std::string& schema) {
        const std::string file = schema + "/velk/VELK_ConcreteJob.mof";
        std::string mof = readFile(file);
        size_t at = mof.find(" JobType;");
        if (at == std::string::npos)
            throw std::runtime_error("JobType not declared");
        writeFile(file, mof.replace(at, 9, " JobKind;"));
    });
    VELK_MethodResultProvider* provider = new VELK_MethodResultProvider();
    CIMOMHandle handle = patched.handle();
    provider->initialize(handle);
    InstanceRecorder rec;
    provider->enumerateInstances(userContext("root"),
        CIMObjectPath("VELK_MethodResult"), false, false, CIMPropertyList(),
        rec);
    provider->terminate();

    ASSERT_EQ(1u, rec.items.size());
    const char* const which[] = { "PreCallIndication", "PostCallIndication" };
    for (const char* w : which)
    {
        Indication ind = indication(rec.items[0], w);
        EXPECT_EQ((std::vector<std::string>{"MethodName", "MethodParameters",
            "PreCall"}), propertyNames(ind.call)) << w;
        EXPECT_EQ(String(""), stringOf(ind.call, "MethodName"));
        EXPECT_EQ(0u, ind.parameters.getPropertyCount()) << w;
    }
}

} // namespace
