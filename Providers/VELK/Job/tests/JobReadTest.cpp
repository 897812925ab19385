// The read operations of VELK_ConcreteJobProvider against the simulated
// array, driven through the provider interface with recording handlers.
#include "JobProviderTestSupport.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <tuple>
#include <thread>
#include <cstdlib>
#include <ctime>

#include <Pegasus/Common/CIMDateTime.h>

#include "VELK_Common.h"

#include "../../tests/ArrayTestSupport.h"

using namespace jobtest;
using namespace Pegasus;
using velktest::TimeZone;

namespace
{

const std::vector<std::string> kCompleteOnly = {"processing", "complete"};

template <class List>
std::vector<std::string> instanceIDs(const List& list)
{
    std::vector<std::string> ids;
    for (size_t i = 0; i < list.size(); i++)
        ids.push_back(stringProp(list[i], "InstanceID"));
    return ids;
}

const CIMInstance* byTask(const std::vector<CIMInstance>& list, int id)
{
    std::string key = "KORVANE:task_id:" + std::to_string(id);
    for (const auto& i : list)
        if (stringProp(i, "InstanceID") == key)
            return &i;
    return 0;
}

std::string dateProp(const CIMInstance& inst, const char* name)
{
    CIMValue v = prop(inst, name);
    if (v.isNull() || v.getType() != CIMTYPE_DATETIME)
        return "<none>";
    CIMDateTime d;
    v.get(d);
    return str(d.toString());
}

const std::vector<std::string> kJobs = {"KORVANE:task_id:101",
    "KORVANE:task_id:103", "KORVANE:task_id:104", "KORVANE:task_id:105",
    "KORVANE:task_id:106", "KORVANE:task_id:107", "KORVANE:task_id:108",
    "KORVANE:task_id:109"};

} // namespace

// ---------------------------------------------------------------------------
// Enumeration
// ---------------------------------------------------------------------------

TEST_F(JobProviderTest, EnumerationBuildsEverythingThenAnswersInTaskOrder)
{
    RecordingInstanceHandler handler;
    provider->enumerateInstances(context(), classPath(), false, false,
        CIMPropertyList(), handler);
    EXPECT_EQ(kJobs, instanceIDs(handler.items));
    std::vector<std::string> expected = {"processing"};
    expected.insert(expected.end(), kJobs.size(), "deliver");
    expected.push_back("complete");
    EXPECT_EQ(expected, handler.calls);

    RecordingPathHandler names;
    provider->enumerateInstanceNames(context(), classPath(), names);
    ASSERT_EQ(kJobs.size(), names.items.size());
    for (size_t i = 0; i < kJobs.size(); i++)
    {
        // Names and instances agree, path for path.
        EXPECT_TRUE(names.items[i].identical(handler.items[i].getPath()));
    }
    EXPECT_EQ(names.calls.front(), "processing");
    EXPECT_EQ(names.calls.back(), "complete");
    // The host is the controller's, from the internal cache object.
    EXPECT_EQ("velkarray1", str(names.items[0].getHost()));
}

TEST_F(JobProviderTest, NothingToShowIsAnEmptySuccess)
{
    // No supported task, an unreadable task list, a semaphore time-out:
    // processing and complete, silently.
    for (int c = 0; c < 3; c++)
    {
        SCOPED_TRACE(c);
        if (c == 0)
        {
            nlohmann::json state = baseState();
            state["tasks"] = nlohmann::json::array(
                {{{"id", 1}, {"type", "TASK_CHECKVV"}, {"name", "c"},
                  {"phases", nlohmann::json::array()}, {"start", T0 - 5}}});
            loadState(state);
        }
        else if (c == 1)
            velksim::injectFault("api_getTasks", API_ERR_FAILED, "unreadable");
        else
            velksim::injectSemaphoreTimeout(-1);
        RecordingInstanceHandler handler;
        provider->enumerateInstances(context(), classPath(), false, false,
            CIMPropertyList(), handler);
        EXPECT_EQ(kCompleteOnly, handler.calls);
        RecordingPathHandler names;
        provider->enumerateInstanceNames(context(), classPath(), names);
        EXPECT_EQ(kCompleteOnly, names.calls);
        EXPECT_TRUE(logged(2).empty());
        velksim::clearFaults();
    }
}

// ---------------------------------------------------------------------------
// Instance contents
// ---------------------------------------------------------------------------

TEST_F(JobProviderTest, RunningCopyJob)
{
    TimeZone tz("UTC0");
    std::vector<CIMInstance> jobs = enumerate();
    const CIMInstance* job = byTask(jobs, 101);
    ASSERT_TRUE(job != 0);
    EXPECT_EQ("101", stringProp(*job, "ElementName"));
    EXPECT_EQ("vol1->vol1copy", stringProp(*job, "Name"));
    EXPECT_EQ("vol1->vol1copy", stringProp(*job, "Caption"));
    EXPECT_EQ("vol1->vol1copy", stringProp(*job, "Description"));
    EXPECT_EQ("vol1", stringProp(*job, "SourceElementName"));
    EXPECT_EQ("vol1copy", stringProp(*job, "TargetElementName"));
    EXPECT_EQ(4, uint16Prop(*job, "JobState"));
    EXPECT_EQ("OK", stringProp(*job, "JobStatus"));
    EXPECT_EQ(25, uint16Prop(*job, "PercentComplete"));
    EXPECT_EQ(7, uint16Prop(*job, "JobType"));
    EXPECT_EQ("VELK_StorageConfigurationService", stringProp(*job, "Owner"));
    EXPECT_EQ(2, uint16Prop(*job, "LocalOrUtcTime"));
    EXPECT_EQ(0, uint16Prop(*job, "ErrorCode"));
    EXPECT_TRUE(prop(*job, "ErrorDescription").isNull());
    Uint32 runs = 9;
    prop(*job, "JobRunTimes").get(runs);
    EXPECT_EQ(1u, runs);
    Boolean del = true;
    prop(*job, "DeleteOnCompletion").get(del);
    EXPECT_FALSE(del);
    // Started ten minutes before the array clock.
    EXPECT_EQ("20231114220320.000000+000", dateProp(*job, "StartTime"));
    EXPECT_EQ(dateProp(*job, "StartTime"), dateProp(*job, "TimeSubmitted"));
    // A running job's elapsed time runs with the real clock.
    CIMDateTime elapsed;
    prop(*job, "ElapsedTime").get(elapsed);
    ASSERT_TRUE(elapsed.isInterval());
    const Uint64 sinceStart =
        (Uint64)(time(0) - (T0 - 600)) * 1000000ull;
    EXPECT_LE(sinceStart - 5000000ull, elapsed.toMicroSeconds());
    EXPECT_GE(sinceStart + 5000000ull, elapsed.toMicroSeconds());
}

TEST_F(JobProviderTest, EndedJobsInEveryState)
{
    TimeZone tz("EST5");
    std::vector<CIMInstance> jobs = enumerate();

    const CIMInstance* failover = byTask(jobs, 103);
    ASSERT_TRUE(failover != 0);
    EXPECT_EQ(7, uint16Prop(*failover, "JobState"));
    EXPECT_EQ(100, uint16Prop(*failover, "PercentComplete"));
    EXPECT_EQ("grpA", stringProp(*failover, "SourceElementName"));
    // A target without a known system keeps its own name.
    EXPECT_EQ("grpA.r:ArrayTwo,grpA.r2:tGone",
        stringProp(*failover, "TargetElementName"));
    EXPECT_EQ("VELK_ReplicationService", stringProp(*failover, "Owner"));
    CIMDateTime elapsed;
    prop(*failover, "ElapsedTime").get(elapsed);
    EXPECT_EQ("00000000010000.000000:000", str(elapsed.toString()));
    EXPECT_EQ("20231114151320.000000-300", dateProp(*failover, "StartTime"));
    EXPECT_EQ("20231114161320.000000-300",
        dateProp(*failover, "TimeOfLastStateChange"));

    const CIMInstance* failed = byTask(jobs, 105);
    ASSERT_TRUE(failed != 0);
    EXPECT_EQ(10, uint16Prop(*failed, "JobState"));
    EXPECT_EQ("Error", stringProp(*failed, "JobStatus"));
    EXPECT_EQ(5, uint16Prop(*failed, "ErrorCode"));
    EXPECT_EQ("disk gone", stringProp(*failed, "ErrorDescription"));
    EXPECT_FALSE(!prop(*failed, "SourceElementName").isNull());
    EXPECT_EQ("vol2", stringProp(*failed, "TargetElementName"));
    Array<Uint16> op;
    prop(*failed, "OperationalStatus").get(op);
    ASSERT_EQ(2u, op.size());
    EXPECT_EQ(6, op[0]);
    EXPECT_EQ(17, op[1]);
    Array<String> desc;
    prop(*failed, "StatusDescriptions").get(desc);
    ASSERT_EQ(2u, desc.size());
    EXPECT_EQ("Error", str(desc[0]));
    EXPECT_EQ("Completed", str(desc[1]));

    const CIMInstance* cancelled = byTask(jobs, 107);
    ASSERT_TRUE(cancelled != 0);
    EXPECT_EQ(8, uint16Prop(*cancelled, "JobState"));
    EXPECT_EQ("Stopped", stringProp(*cancelled, "JobStatus"));
    // No arrow in the name: no element names.
    EXPECT_TRUE(prop(*cancelled, "SourceElementName").isNull());
    EXPECT_TRUE(prop(*cancelled, "TargetElementName").isNull());

    const CIMInstance* snap = byTask(jobs, 109);
    ASSERT_TRUE(snap != 0);
    EXPECT_TRUE(prop(*snap, "SourceElementName").isNull());
    EXPECT_TRUE(prop(*snap, "TargetElementName").isNull());
}

TEST_F(JobProviderTest, RemoteCopyJobsByType)
{
    std::vector<CIMInstance> jobs = enumerate();
    const CIMInstance* sync = byTask(jobs, 104);
    ASSERT_TRUE(sync != 0);
    EXPECT_EQ(7, uint16Prop(*sync, "JobState"));
    EXPECT_EQ("OK", stringProp(*sync, "JobStatus"));
    EXPECT_EQ(100, uint16Prop(*sync, "PercentComplete"));
    Uint32 runs = 9;
    prop(*sync, "JobRunTimes").get(runs);
    EXPECT_EQ(0u, runs);
    // A sync task names no targets even when a group of its name exists.
    EXPECT_EQ("grpA", stringProp(*sync, "SourceElementName"));
    EXPECT_TRUE(prop(*sync, "TargetElementName").isNull());

    const CIMInstance* recover = byTask(jobs, 108);
    ASSERT_TRUE(recover != 0);
    EXPECT_EQ("nogroup", stringProp(*recover, "SourceElementName"));
    EXPECT_TRUE(prop(*recover, "TargetElementName").isNull());
}

TEST_F(JobProviderTest, OnlineCopyTakesItsSourceFromTheDetailText)
{
    TimeZone tz("UTC0");
    std::vector<CIMInstance> jobs = enumerate();
    const CIMInstance* online = byTask(jobs, 106);
    ASSERT_TRUE(online != 0);
    EXPECT_EQ("dstvol", stringProp(*online, "TargetElementName"));
    EXPECT_EQ("srcvol", stringProp(*online, "SourceElementName"));
    EXPECT_EQ(50, uint16Prop(*online, "PercentComplete"));
    EXPECT_EQ("20231114221220.000000+000",
        dateProp(*online, "TimeOfLastStateChange"));

    nlohmann::json state = baseState();
    state["tasks"][5]["detail"] = "copying blocks";
    loadState(state);
    jobs = enumerate();
    online = byTask(jobs, 106);
    ASSERT_TRUE(online != 0);
    EXPECT_EQ("dstvol", stringProp(*online, "TargetElementName"));
    EXPECT_TRUE(prop(*online, "SourceElementName").isNull());
}

// ---------------------------------------------------------------------------
// getInstance
// ---------------------------------------------------------------------------

TEST_F(JobProviderTest, GetInstanceAcceptsNamesInAnyCase)
{
    RecordingInstanceHandler handler;
    provider->getInstance(context(),
        jobPath("KORVANE:task_id:103", "velk_concretejob", "instanceid"),
        false, false, CIMPropertyList(), handler);
    ASSERT_EQ(1u, handler.items.size());
    EXPECT_EQ("KORVANE:task_id:103",
        stringProp(handler.items[0], "InstanceID"));
    EXPECT_EQ(std::vector<std::string>({"processing", "deliver", "complete"}),
        handler.calls);

    std::vector<std::string> traces = logged(4);
    ASSERT_FALSE(traces.empty());
    EXPECT_EQ("--> VELK_ConcreteJobProvider::getInstance\n", traces.front());
    EXPECT_EQ("<-- VELK_ConcreteJobProvider::getInstance\n", traces.back());
    EXPECT_TRUE(loggedLine(4, "<-- VELK_ConcreteJobProvider::_getInstances\n"));
}

TEST_F(JobProviderTest, GetInstanceFailures)
{
    const std::string notFound = "VELK_ConcreteJobProvider CIM Object not found.";
    const struct
    {
        CIMObjectPath path;
        CIMStatusCode code;
        std::string message;
    } cases[] = {
        {jobPath("KORVANE:task_id:101", "VELK_MethodResult"), CIM_ERR_NOT_SUPPORTED,
            "VELK_ConcreteJobProvider Invalid class nameVELK_MethodResult"},
        {jobPath("KORVANE:task_id:101", "VELK_ConcreteJob", "Name"),
            CIM_ERR_INVALID_PARAMETER, "VELK_ConcreteJobProvider InstanceID key not found."},
        {jobPath("KORVANE:task_id:abc"), CIM_ERR_NOT_FOUND, notFound + "KORVANE:task_id:abc"},
        // The array knows task 102, but a schedule is no job.
        {jobPath("KORVANE:task_id:102"), CIM_ERR_NOT_FOUND, notFound + "KORVANE:task_id:102"},
        {jobPath("KORVANE:task_id:999"), CIM_ERR_NOT_FOUND, notFound + "KORVANE:task_id:999"},
    };
    RecordingInstanceHandler handler;
    for (const auto& c : cases)
        EXPECT_CIM_ERROR(provider->getInstance(context(), c.path, false, false,
                             CIMPropertyList(), handler),
            c.code, c.message);
    EXPECT_TRUE(handler.calls.empty());
}

TEST_F(JobProviderTest, GetInstanceFallsBackToTheTaskListOrFindsNothing)
{
    velksim::injectFault("api_getTaskDetail", API_ERR_NO_SUCH_TASK,
        "Task 105 does not exist");
    RecordingInstanceHandler handler;
    provider->getInstance(context(), jobPath("KORVANE:task_id:105"), false,
        false, CIMPropertyList(), handler);
    ASSERT_EQ(1u, handler.items.size());
    EXPECT_EQ(10, uint16Prop(handler.items[0], "JobState"));

    // Neither answer: not found.
    velksim::injectFault("api_getTasks", API_ERR_FAILED, "list unreadable");
    RecordingInstanceHandler again;
    EXPECT_CIM_ERROR(provider->getInstance(context(),
            jobPath("KORVANE:task_id:105"), false, false, CIMPropertyList(),
            again),
        CIM_ERR_NOT_FOUND,
        "VELK_ConcreteJobProvider CIM Object not found.KORVANE:task_id:105");
    EXPECT_TRUE(again.calls.empty());

    // A semaphore time-out: not found either.
    velksim::clearFaults();
    velksim::injectSemaphoreTimeout(-1);
    EXPECT_CIM_ERROR(provider->getInstance(context(),
            jobPath("KORVANE:task_id:101"), false, false, CIMPropertyList(),
            again),
        CIM_ERR_NOT_FOUND,
        "VELK_ConcreteJobProvider CIM Object not found.KORVANE:task_id:101");
    EXPECT_TRUE(loggedLine(4, "VELK_ConcreteJobProvider::getTaskDetail: "
        "semrc was not API_SUCCESS\n"));
}

// ---------------------------------------------------------------------------
// Failures of the array while enumerating
// ---------------------------------------------------------------------------

TEST_F(JobProviderTest, UnreadableRemoteCopyConfigurationStillAnswersJobs)
{
    velksim::injectFault("api_getRCopy", API_ERR_FAILED, "rcopy down");
    std::vector<CIMInstance> jobs = enumerate();
    EXPECT_EQ(kJobs, instanceIDs(jobs));
    const CIMInstance* failover = byTask(jobs, 103);
    ASSERT_TRUE(failover != 0);
    EXPECT_TRUE(prop(*failover, "TargetElementName").isNull());
    EXPECT_TRUE(loggedLine(2, "VELK_ConcreteJobProvider::buildInstances(): "
        "api_getRCopy error (1): rcopy down\n"));

    velksim::clearCaptured();
    RecordingInstanceHandler handler;
    provider->getInstance(context(), jobPath("KORVANE:task_id:103"), false,
        false, CIMPropertyList(), handler);
    ASSERT_EQ(1u, handler.items.size());
    EXPECT_TRUE(loggedLine(2, "VELK_ConcreteJobProvider::_getInstances(): "
        "api_getRCopy error (1): rcopy down\n"));
}

// ---------------------------------------------------------------------------
// The request guard
// ---------------------------------------------------------------------------

TEST_F(JobProviderTest, RefusedUsersAndRefusedOperations)
{
    // eve has no CIM access, mallory is unknown to the array; modify and
    // create are refused without a privilege check.
    for (const char* user : {"eve", "mallory"})
    {
        SCOPED_TRACE(user);
        RecordingInstanceHandler inst;
        RecordingPathHandler names;
        RecordingHandler plain;
        RecordingMethodHandler method;
        CIMInstance any(CIMName("VELK_ConcreteJob"));
        const CIMObjectPath job = jobPath("KORVANE:task_id:103");
        const std::string deny = "Insufficient privilege for the user";
        const std::vector<std::tuple<std::function<void()>, CIMStatusCode,
            std::string>> requests = {
            {[&] { provider->getInstance(context(user), job, false, false,
                      CIMPropertyList(), inst); }, CIM_ERR_ACCESS_DENIED, deny},
            {[&] { provider->enumerateInstances(context(user), classPath(),
                      false, false, CIMPropertyList(), inst); },
                CIM_ERR_ACCESS_DENIED, deny},
            {[&] { provider->enumerateInstanceNames(context(user), classPath(),
                      names); }, CIM_ERR_ACCESS_DENIED, deny},
            {[&] { provider->deleteInstance(context(user), job, plain); },
                CIM_ERR_ACCESS_DENIED, deny},
            {[&] { provider->invokeMethod(context(user), job,
                      CIMName("GetError"), Array<CIMParamValue>(), method); },
                CIM_ERR_ACCESS_DENIED, deny},
            {[&] { provider->modifyInstance(context(user), job, any, false,
                      CIMPropertyList(), plain); }, CIM_ERR_NOT_SUPPORTED,
                "VELK_ConcreteJobProvider does not support modifyInstance."},
            {[&] { provider->createInstance(context(user), job, any, names); },
                CIM_ERR_NOT_SUPPORTED,
                "VELK_ConcreteJobProvider does not support createInstance."},
        };
        for (size_t i = 0; i < requests.size(); i++)
        {
            SCOPED_TRACE(i);
            EXPECT_CIM_ERROR(std::get<0>(requests[i])(),
                std::get<1>(requests[i]), std::get<2>(requests[i]));
        }
        EXPECT_TRUE(inst.calls.empty());
        EXPECT_TRUE(names.calls.empty());
        EXPECT_TRUE(plain.calls.empty());
        EXPECT_TRUE(method.calls.empty());
    }
    // Nothing was removed.
    EXPECT_EQ(kJobs, instanceIDs(enumerate()));
}

TEST_F(JobProviderTest, ClassCheckOfEnumerations)
{
    RecordingInstanceHandler handler;
    provider->enumerateInstances(context(), classPath("VELK_CONCRETEJOB"),
        false, false, CIMPropertyList(), handler);
    EXPECT_EQ(kJobs.size(), handler.items.size());
    EXPECT_CIM_ERROR(provider->enumerateInstances(context(),
            classPath("CIM_ConcreteJob"), false, false, CIMPropertyList(),
            handler),
        CIM_ERR_NOT_SUPPORTED,
        "VELK_ConcreteJobProvider Invalid class nameCIM_ConcreteJob");
    RecordingPathHandler names;
    EXPECT_CIM_ERROR(provider->enumerateInstanceNames(context(),
            classPath("VELK_MethodResult"), names),
        CIM_ERR_NOT_SUPPORTED,
        "VELK_ConcreteJobProvider Invalid class nameVELK_MethodResult");
    EXPECT_TRUE(names.calls.empty());
}

TEST_F(JobProviderTest, InitializeTraceAndSecondProviderIndependent)
{
    velksim::clearCaptured();
    VELK_ConcreteJobProvider* second = newProvider();
    ASSERT_TRUE(second != 0);
    std::vector<std::string> traces = logged(4);
    ASSERT_GE(traces.size(), 2u);
    EXPECT_EQ("--> VELK_ConcreteJobProvider::initialize()\n", traces.front());
    EXPECT_TRUE(loggedLine(4, "<--VELK_ConcreteJobProvider::initialize()\n"));
    second->terminate();
    // The first provider still answers.
    EXPECT_EQ(kJobs.size(), enumerate().size());
}

TEST_F(JobProviderTest, ConcurrentRequestsOnOneProvider)
{
    std::atomic<int> wrong(0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++)
    {
        threads.emplace_back([this, &wrong]() {
            for (int i = 0; i < 10; i++)
            {
                RecordingInstanceHandler all;
                provider->enumerateInstances(context(), classPath(), false,
                    false, CIMPropertyList(), all);
                if (instanceIDs(all.items) != kJobs)
                    wrong++;
                RecordingInstanceHandler one;
                provider->getInstance(context(),
                    jobPath("KORVANE:task_id:105"), false, false,
                    CIMPropertyList(), one);
                if (one.items.size() != 1 ||
                    uint16Prop(one.items[0], "JobState") != 10)
                    wrong++;
                RecordingPathHandler names;
                provider->enumerateInstanceNames(context(), classPath(),
                    names);
                if (names.items.size() != kJobs.size())
                    wrong++;
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(0, wrong.load());
}
