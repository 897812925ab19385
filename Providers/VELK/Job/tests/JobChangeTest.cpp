// Deleting jobs and the job methods RequestStateChange and GetError,
// against the simulated array.
#include "JobProviderTestSupport.h"

#include <algorithm>

#include <Pegasus/Common/Exception.h>

using namespace jobtest;
using namespace Pegasus;

namespace
{

const std::vector<std::string> kMethodAnswer = {"processing", "deliver",
    "complete"};

std::string taskState(int id)
{
    nlohmann::json state = nlohmann::json::parse(velksim::stateJson());
    for (const auto& t : state["tasks"])
        if (t["id"].get<int>() == id)
            return t.value("state", std::string("running"));
    return "<gone>";
}

// Error lines of the methods, without those of building the job list.
std::vector<std::string> methodErrors(const std::vector<std::string>& lines)
{
    std::vector<std::string> out;
    for (const auto& l : lines)
        if (l.find("RemoteReplicationGroup") == std::string::npos)
            out.push_back(l);
    return out;
}

CIMParamValue param(const char* name, const CIMValue& value)
{
    return CIMParamValue(String(name), value, true);
}

CIMValue nullTimeout()
{
    return CIMValue(CIMTYPE_DATETIME, false);
}

CIMValue someTimeout()
{
    return CIMValue(CIMDateTime(String("00000000000100.000000:000")));
}

} // namespace

// ---------------------------------------------------------------------------
// deleteInstance
// ---------------------------------------------------------------------------

TEST_F(JobProviderTest, DeletingACompletedJobRemovesTheTaskAndRecordsIt)
{
    RecordingHandler handler;
    provider->deleteInstance(context("alice", "192.0.2.10"),
        jobPath("KORVANE:task_id:103"), handler);
    EXPECT_EQ(std::vector<std::string>({"processing", "complete"}),
        handler.calls);
    EXPECT_EQ("<gone>", taskState(103));

    std::vector<velksim::EventRecord> events = velksim::events();
    ASSERT_EQ(1u, events.size());
    EXPECT_EQ("remove", events[0].action);
    EXPECT_EQ("alice", events[0].user);
    EXPECT_EQ("192.0.2.10", events[0].addr);
    EXPECT_EQ("VELK_ConcreteJob:DeleteInstance", events[0].method);
    EXPECT_EQ("", events[0].inst_op);
    EXPECT_EQ(std::vector<std::uint32_t>({103u}), events[0].taskIds);

    std::vector<std::string> traces = logged(4);
    std::vector<std::string> own;
    for (const auto& t : traces)
        if (t.find("deleteInstance") != std::string::npos ||
            t.find("className") != std::string::npos)
            own.push_back(t);
    EXPECT_EQ(std::vector<std::string>({
        "--> VELK_ConcreteJobProvider::deleteInstance()\n",
        "\t className = VELK_ConcreteJob\n",
        "<-- VELK_ConcreteJobProvider::deleteInstance()\n"}), own);
}

TEST_F(JobProviderTest, DeletingARunningJobFailsWithTheArraysText)
{
    RecordingHandler handler;
    EXPECT_CIM_ERROR(provider->deleteInstance(context(),
            jobPath("KORVANE:task_id:101"), handler),
        CIM_ERR_FAILED, "Task 101 is still active and cannot be removed");
    EXPECT_EQ(std::vector<std::string>({"processing"}), handler.calls);
    EXPECT_EQ("running", taskState(101));

    RecordingHandler unknown;
    EXPECT_CIM_ERROR(provider->deleteInstance(context(),
            jobPath("KORVANE:task_id:4242"), unknown),
        CIM_ERR_FAILED, "Task 4242 does not exist");
    EXPECT_EQ(std::vector<std::string>({"processing"}), unknown.calls);
}

TEST_F(JobProviderTest, DeleteFailuresBeforeAndAfterProcessing)
{
    // The array is asked about the class as given before the class check.
    RecordingHandler noRule;
    EXPECT_CIM_ERROR(provider->deleteInstance(context(),
            jobPath("KORVANE:task_id:103", "VELK_MethodResult"), noRule),
        CIM_ERR_NOT_SUPPORTED, "Does not support in generic!");
    nlohmann::json state = baseState();
    state["cim_operations"]["velk_methodresult.deleteinstance"] = "browse";
    loadState(state);
    RecordingHandler wrongClass;
    EXPECT_CIM_ERROR(provider->deleteInstance(context(),
            jobPath("KORVANE:task_id:103", "VELK_MethodResult"), wrongClass),
        CIM_ERR_NOT_SUPPORTED,
        "VELK_ConcreteJobProvider Invalid class nameVELK_MethodResult");
    EXPECT_TRUE(wrongClass.calls.empty());

    // A key that is no number, a key of another name.
    for (const CIMObjectPath& bad : {jobPath("KORVANE:task_id:abc"),
             jobPath("KORVANE:task_id:103", "VELK_ConcreteJob", "Name")})
    {
        RecordingHandler badKey;
        EXPECT_CIM_ERROR(provider->deleteInstance(context(), bad, badKey),
            CIM_ERR_FAILED, "VELK_ConcreteJobProvider Invalid key names or values");
        EXPECT_EQ(std::vector<std::string>({"processing"}), badKey.calls);
    }

    velksim::injectSemaphoreTimeout(1);
    RecordingHandler timedOut;
    EXPECT_CIM_ERROR(provider->deleteInstance(context(),
            jobPath("KORVANE:task_id:103"), timedOut),
        CIM_ERR_FAILED, "Semaphore Timed-Out");
    EXPECT_EQ(std::vector<std::string>({"processing"}), timedOut.calls);
    EXPECT_EQ("completed", taskState(103));
    EXPECT_TRUE(velksim::events().empty());
}

TEST_F(JobProviderTest, AuthorisationAnswersOfDeletion)
{
    // bob may browse, not edit: the array answers 2; 1 and 3 are forced.
    struct Row
    {
        const char* user;
        int answer;  // forced answer of the array, 0 = its own
        CIMStatusCode code;
        const char* message;
    };
    const Row rows[] = {
        {"bob", 0, CIM_ERR_ACCESS_DENIED, "Insufficient generic privilege"},
        {"alice", 1, CIM_ERR_ACCESS_DENIED, "Insufficient generic privilege"},
        {"alice", 3, CIM_ERR_NOT_SUPPORTED, "Does not support in generic!"},
    };
    for (const Row& r : rows)
    {
        SCOPED_TRACE(r.answer);
        if (r.answer)
            velksim::injectFault("api_authorizeCIMUser", r.answer, "", 1);
        RecordingHandler handler;
        EXPECT_CIM_ERROR(provider->deleteInstance(context(r.user),
                jobPath("KORVANE:task_id:103"), handler),
            r.code, r.message);
        EXPECT_TRUE(handler.calls.empty());
    }
    EXPECT_EQ("completed", taskState(103));

    // The operation asked about is class and operation, lower-cased.
    nlohmann::json state = baseState();
    state["cim_operations"]["velk_concretejob.deleteinstance"] = "super";
    loadState(state);
    RecordingHandler alice;
    EXPECT_CIM_ERROR(provider->deleteInstance(context("alice"),
            jobPath("KORVANE:task_id:103", "VELK_CONCRETEJOB"), alice),
        CIM_ERR_ACCESS_DENIED, "Insufficient generic privilege");
    // root, through the base class: the record names the class as the
    // client spelled it.
    RecordingHandler root;
    provider->deleteInstance(context("root"),
        jobPath("KORVANE:task_id:103", "CIM_ConcreteJob"), root);
    EXPECT_EQ("<gone>", taskState(103));
    ASSERT_EQ(1u, velksim::events().size());
    EXPECT_EQ("CIM_ConcreteJob:DeleteInstance", velksim::events()[0].method);
}

// ---------------------------------------------------------------------------
// RequestStateChange
// ---------------------------------------------------------------------------

TEST_F(JobProviderTest, TerminatingARunningJobAnswers4096AndCancelsIt)
{
    RecordingMethodHandler handler;
    Array<CIMParamValue> in;
    in.append(param("RequestedState", CIMValue(Uint16(4))));
    provider->invokeMethod(context("alice", "198.51.100.4"),
        jobPath("KORVANE:task_id:101"), CIMName("RequestStateChange"), in,
        handler);
    EXPECT_EQ(kMethodAnswer, handler.calls);
    EXPECT_EQ(4096u, handler.returnValue());
    EXPECT_EQ(CIMTYPE_UINT32, handler.values.back().getType());
    EXPECT_EQ("cancelled", taskState(101));

    std::vector<velksim::EventRecord> events = velksim::events();
    ASSERT_EQ(1u, events.size());
    EXPECT_EQ("cancel", events[0].action);
    EXPECT_EQ("alice", events[0].user);
    EXPECT_EQ("198.51.100.4", events[0].addr);
    EXPECT_EQ("VELK_ConcreteJob:RequestStateChange", events[0].method);
    EXPECT_EQ("", events[0].inst_op);

    std::vector<std::string> traces = logged(4);
    EXPECT_EQ("--> VELK_ConcreteJobProvider::invokeMethod(), methodName = "
        "RequestStateChange \n", traces.front());
    EXPECT_EQ("<-- VELK_ConcreteJobProvider::invokeMethod()\n",
        traces.back());
    EXPECT_TRUE(loggedLine(4, "Overall status of the operation = 4096\n"));
}

TEST_F(JobProviderTest, RequestStateChangeReturnValuesPerParameters)
{
    struct Case
    {
        const char* what;
        std::vector<CIMParamValue> params;
        Uint32 expected;
    };
    std::vector<Case> cases = {
        {"no parameters", {}, 5},
        {"start", {param("RequestedState", CIMValue(Uint16(2)))}, 1},
        {"null state", {param("RequestedState", CIMValue(CIMTYPE_UINT16, false))}, 5},
        {"timeout first", {param("TimeoutPeriod", someTimeout()),
            param("RequestedState", CIMValue(Uint16(4)))}, 4098},
        {"timeout second", {param("RequestedState", CIMValue(Uint16(4))),
            param("TimeoutPeriod", someTimeout())}, 4098},
        {"start before timeout", {param("RequestedState", CIMValue(Uint16(2))),
            param("TimeoutPeriod", someTimeout())}, 1},
        {"only null timeout", {param("TimeoutPeriod", nullTimeout())}, 5},
        {"unknown parameter", {param("Force", CIMValue(true)),
            param("RequestedState", CIMValue(Uint16(4)))}, 5},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.what);
        Array<CIMParamValue> in;
        for (const auto& p : c.params)
            in.append(p);
        RecordingMethodHandler handler;
        provider->invokeMethod(context(), jobPath("KORVANE:task_id:101"),
            CIMName("RequestStateChange"), in, handler);
        EXPECT_EQ(kMethodAnswer, handler.calls);
        EXPECT_EQ(c.expected, handler.returnValue());
        EXPECT_EQ("running", taskState(101));
    }
    EXPECT_TRUE(velksim::events().empty());

    // Lower-case names of method and parameter, with a null time-out.
    Array<CIMParamValue> in;
    in.append(param("TimeoutPeriod", nullTimeout()));
    in.append(param("requestedstate", CIMValue(Uint16(4))));
    RecordingMethodHandler handler;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:101"),
        CIMName("requeststatechange"), in, handler);
    EXPECT_EQ(4096u, handler.returnValue());
    EXPECT_EQ("cancelled", taskState(101));
}

TEST_F(JobProviderTest, RequestStateChangeWarningLines)
{
    Array<CIMParamValue> none;
    RecordingMethodHandler h1;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:101"),
        CIMName("RequestStateChange"), none, h1);
    Array<CIMParamValue> onlyTimeout;
    onlyTimeout.append(param("TimeoutPeriod", nullTimeout()));
    RecordingMethodHandler h2;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:101"),
        CIMName("RequestStateChange"), onlyTimeout, h2);
    EXPECT_EQ(std::vector<std::string>({" Invalid number of parameters\n",
        "Mandatory parameter RequestedState not present\n"}),
        methodErrors(logged(2)));
    EXPECT_TRUE(loggedLine(4, "Param TimeoutPeriod\n"));
    EXPECT_TRUE(loggedLine(4, "Overall status of the operation = 5\n"));
}

TEST_F(JobProviderTest, CancelRefusedByTheArrayAnswers4)
{
    Array<CIMParamValue> in;
    in.append(param("RequestedState", CIMValue(Uint16(4))));
    // Task 103 has ended; the array refuses to cancel it.
    RecordingMethodHandler ended;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:103"),
        CIMName("RequestStateChange"), in, ended);
    EXPECT_EQ(kMethodAnswer, ended.calls);
    EXPECT_EQ(4u, ended.returnValue());

    velksim::injectFault("api_cancelTask", API_ERR_SEM_TIMEOUT,
        "Semaphore Timed-Out", 1);
    RecordingMethodHandler failed;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:101"),
        CIMName("RequestStateChange"), in, failed);
    EXPECT_EQ(4u, failed.returnValue());
    EXPECT_EQ("running", taskState(101));
}

TEST_F(JobProviderTest, MistypedRequestedStateFailsBeforeTheHandler)
{
    Array<CIMParamValue> in;
    in.append(param("RequestedState", CIMValue(Uint32(4))));
    RecordingMethodHandler handler;
    EXPECT_THROW(provider->invokeMethod(context(),
            jobPath("KORVANE:task_id:101"), CIMName("RequestStateChange"), in,
            handler),
        TypeMismatchException);
    EXPECT_TRUE(handler.calls.empty());
    EXPECT_EQ("running", taskState(101));
}

TEST_F(JobProviderTest, JobsAreFoundByTheirWholePath)
{
    Array<CIMParamValue> none;
    // Another host in the request is fine.
    CIMObjectPath other = jobPath("KORVANE:task_id:105");
    other.setHost(String("elsewhere"));
    RecordingMethodHandler found;
    provider->invokeMethod(context(), other, CIMName("GetError"), none,
        found);
    EXPECT_EQ(0u, found.returnValue());

    const char* missing[] = {"KORVANE:task_id:4242", "korvane:task_id:105",
        "KORVANE:task_id:102", ""};
    for (const char* id : missing)
    {
        SCOPED_TRACE(id);
        RecordingMethodHandler handler;
        EXPECT_CIM_ERROR(provider->invokeMethod(context(), jobPath(id),
                CIMName("GetError"), none, handler),
            CIM_ERR_NOT_FOUND, "VELK_ConcreteJobProvider CIM Object not found.");
        EXPECT_TRUE(handler.calls.empty());
    }
    RecordingMethodHandler noKey;
    EXPECT_CIM_ERROR(provider->invokeMethod(context(), classPath(),
            CIMName("GetError"), none, noKey),
        CIM_ERR_NOT_FOUND, "VELK_ConcreteJobProvider CIM Object not found.");

    // A method the array allows but the job does not know answers 2.
    RecordingMethodHandler unknown;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:101"),
        CIMName("Foo"), none, unknown);
    EXPECT_EQ(kMethodAnswer, unknown.calls);
    EXPECT_EQ(2u, unknown.returnValue());
    EXPECT_TRUE(loggedLine(2, " unknown method Foo\n"));
}

TEST_F(JobProviderTest, AuthorisationAnswersOfMethods)
{
    Array<CIMParamValue> in;
    in.append(param("RequestedState", CIMValue(Uint16(4))));
    RecordingMethodHandler bob;
    EXPECT_CIM_ERROR(provider->invokeMethod(context("bob"),
            jobPath("KORVANE:task_id:101"), CIMName("RequestStateChange"), in,
            bob),
        CIM_ERR_ACCESS_DENIED, "Insufficient generic privilege");
    EXPECT_TRUE(bob.calls.empty());

    // No rule for the operation.
    RecordingMethodHandler norule;
    EXPECT_CIM_ERROR(provider->invokeMethod(context(),
            jobPath("KORVANE:task_id:101"), CIMName("Bar"), in, norule),
        CIM_ERR_NOT_SUPPORTED, "Does not support in generic!");
    EXPECT_TRUE(norule.calls.empty());

    // GetError needs only browsing.
    RecordingMethodHandler browse;
    provider->invokeMethod(context("bob"), jobPath("KORVANE:task_id:105"),
        CIMName("GetError"), Array<CIMParamValue>(), browse);
    EXPECT_EQ(0u, browse.returnValue());
    EXPECT_EQ("running", taskState(101));
}

// ---------------------------------------------------------------------------
// GetError
// ---------------------------------------------------------------------------

namespace
{

CIMInstance errorOf(const RecordingMethodHandler& handler)
{
    EXPECT_EQ(1u, handler.params.size());
    if (handler.params.empty())
        return CIMInstance();
    EXPECT_EQ("Error", str(handler.params[0].getParameterName()));
    EXPECT_TRUE(handler.params[0].isTyped());
    CIMValue v = handler.params[0].getValue();
    EXPECT_EQ(CIMTYPE_INSTANCE, v.getType());
    CIMInstance error;
    v.get(error);
    return error;
}

} // namespace

TEST_F(JobProviderTest, GetErrorOfAFailedOrTerminatedJob)
{
    RecordingMethodHandler handler;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:105"),
        CIMName("GetError"), Array<CIMParamValue>(), handler);
    EXPECT_EQ(std::vector<std::string>({"processing", "deliverParamValue",
        "deliver", "complete"}), handler.calls);
    EXPECT_EQ(0u, handler.returnValue());
    CIMInstance error = errorOf(handler);
    ASSERT_FALSE(error.isUninitialized());
    EXPECT_EQ("CIM_Error", str(error.getClassName().getString()));
    EXPECT_EQ(std::vector<std::string>({"OwningEntity", "MessageID",
        "PerceivedSeverity", "ProbableCause", "Message", "MessageArguments",
        "ProbableCauseDescription", "CIMStatusCode",
        "CIMStatusCodeDescription"}), propertyNames(error));
    EXPECT_EQ("SNIA", stringProp(error, "OwningEntity"));
    EXPECT_EQ("DRM26", stringProp(error, "MessageID"));
    EXPECT_EQ(2, uint16Prop(error, "PerceivedSeverity"));
    EXPECT_EQ(8, uint16Prop(error, "ProbableCause"));
    EXPECT_EQ("Operation has failed", stringProp(error, "Message"));
    Array<String> args;
    prop(error, "MessageArguments").get(args);
    ASSERT_EQ(1u, args.size());
    EXPECT_EQ("Operation has failed", str(args[0]));
    EXPECT_EQ("disk gone", stringProp(error, "ProbableCauseDescription"));
    Uint32 code = 0;
    prop(error, "CIMStatusCode").get(code);
    EXPECT_EQ(2u, code);
    EXPECT_EQ("CIM_ERR_ACCESS_DENIED",
        stringProp(error, "CIMStatusCodeDescription"));

    RecordingMethodHandler terminated;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:107"),
        CIMName("GetError"), Array<CIMParamValue>(), terminated);
    EXPECT_EQ(0u, terminated.returnValue());
    error = errorOf(terminated);
    ASSERT_FALSE(error.isUninitialized());
    EXPECT_EQ(std::vector<std::string>({"OwningEntity", "MessageID",
        "PerceivedSeverity", "ProbableCause", "Message", "MessageArguments",
        "CIMStatusCode", "CIMStatusCodeDescription"}), propertyNames(error));
    EXPECT_EQ(48, uint16Prop(error, "ProbableCause"));
    EXPECT_EQ("Operation has been terminated by user",
        stringProp(error, "Message"));
}

TEST_F(JobProviderTest, GetErrorWithoutAnError)
{
    for (const char* id : {"KORVANE:task_id:103", "KORVANE:task_id:101"})
    {
        SCOPED_TRACE(id);
        RecordingMethodHandler handler;
        provider->invokeMethod(context(), jobPath(id), CIMName("geterror"),
            Array<CIMParamValue>(), handler);
        EXPECT_EQ(kMethodAnswer, handler.calls);
        EXPECT_EQ(0u, handler.returnValue());
    }

    // Input parameters: still 0, no error, a warning line.
    velksim::clearCaptured();
    Array<CIMParamValue> in;
    in.append(param("Extra", CIMValue(Uint16(1))));
    RecordingMethodHandler handler;
    provider->invokeMethod(context(), jobPath("KORVANE:task_id:105"),
        CIMName("GetError"), in, handler);
    EXPECT_EQ(kMethodAnswer, handler.calls);
    EXPECT_EQ(0u, handler.returnValue());
    EXPECT_EQ(std::vector<std::string>({
        " Invalid number of input parameters, should be 0\n"}),
        methodErrors(logged(2)));
}
