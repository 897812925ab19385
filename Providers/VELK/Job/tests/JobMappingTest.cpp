// Tests of the task-to-job functions of VELK_ConcreteJobProvider that read
// only their arguments: state and percentage, identity, element names of
// remote-copy groups, and the module's provider factory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <velkapi_control.hpp>

#include "VELK_ConcreteJobProvider.h"
#include "RecordingHandlers.h"
#include "../../tests/ArrayTestSupport.h"

using namespace Pegasus;

extern "C" CIMProvider* PegasusCreateProvider(const String& providerName);

namespace
{

using velktest::LogCapture;
using velktest::str;

tsk_data_v103 task(task_e type, bool done = false, bool cancelled = false,
    int error = 0)
{
    tsk_data_v103 t;
    memset(&t, 0, sizeof(t));
    t.taskid.tid = 42;
    t.tsk_type = type;
    t.tsk_done = done ? 1 : 0;
    t.tsk_cancelled = cancelled ? 1 : 0;
    t.tsk_error = error;
    return t;
}

tsk_data_v103 counters(task_e type, int phaseMax, int currPhase, int stepMax,
    int currStep)
{
    tsk_data_v103 t = task(type);
    t.tsk_phase_max = phaseMax;
    t.tsk_curr_phase = currPhase;
    t.tsk_step_max = stepMax;
    t.tsk_curr_step = currStep;
    return t;
}

std::vector<Uint16> vec(const Array<Uint16>& a)
{
    std::vector<Uint16> v;
    for (Uint32 i = 0; i < a.size(); i++)
        v.push_back(a[i]);
    return v;
}

std::vector<std::string> vec(const Array<String>& a)
{
    std::vector<std::string> v;
    for (Uint32 i = 0; i < a.size(); i++)
        v.push_back(str(a[i]));
    return v;
}

typedef VELK_ConcreteJobProvider P;

} // namespace

// ---------------------------------------------------------------------------
// State mapping: every row of the decision order
// ---------------------------------------------------------------------------

TEST(JobStateMapping, DecisionRows)
{
    struct Row
    {
        const char* what;
        tsk_data_v103 task;
        Uint16 state;
        const char* status;
        std::vector<Uint16> opStatus;
        std::vector<std::string> description;
    };
    const Row rows[] = {
        {"running", counters(TASK_VVCOPY, 1, 1, 10, 5), 4, "OK", {2}, {"OK"}},
        // A synchronising remote copy at 100 is completed in its state only.
        {"rc sync at 100", counters(TASK_RC_SYNC, 1, 1, 10, 10), 7, "OK", {2},
            {"OK"}},
        {"copy at 100", counters(TASK_VVCOPY, 1, 1, 10, 10), 4, "OK", {2},
            {"OK"}},
        {"cancelled wins over error", task(TASK_VVCOPY, true, true, 5), 8,
            "Stopped", {10}, {"Stopped"}},
        {"failed", task(TASK_RC_FAILOVER, true, false, -3), 10, "Error",
            {6, 17}, {"Error", "Completed"}},
        {"completed", task(TASK_RC_SYNC, true), 7, "OK", {2, 17},
            {"OK", "Completed"}},
    };
    for (const Row& r : rows)
    {
        SCOPED_TRACE(r.what);
        EXPECT_EQ(r.state, P::getJobState(r.task));
        EXPECT_EQ(r.status, str(P::getJobStatus(r.task)));
        EXPECT_EQ(r.opStatus, vec(P::getJobOpStatus(r.task)));
        EXPECT_EQ(r.description, vec(P::getJobStatusDescription(r.task)));
    }
}

// ---------------------------------------------------------------------------
// Percent complete
// ---------------------------------------------------------------------------

TEST(JobPercent, CountersTable)
{
    struct Row
    {
        task_e type;
        int phaseMax, currPhase, stepMax, currStep;
        bool done;
        Uint16 percent;
    };
    const Row rows[] = {
        {TASK_VVCOPY, 1, 1, 200, 50, false, 25},  // steps without phases
        {TASK_VVCOPY, 0, 0, 3, 1, false, 33},
        {TASK_VVCOPY, 4, 2, 10, 9, false, 50},    // earlier phase: no steps
        {TASK_VVCOPY, 4, 2, 0, 0, false, 50},
        {TASK_VVCOPY, 4, 0, 10, 3, false, 0},
        {TASK_VVCOPY, 4, 4, 10, 5, false, 87},    // last phase
        {TASK_VVCOPY, 4, 4, 0, 0, false, 75},
        {TASK_VVCOPY, 4, 6, 10, 5, false, 87},    // past the last phase
        {TASK_VVCOPY, 0, 0, 0, 0, false, 99},     // no counters at all
        {TASK_VVCOPY, 2, 2, 4, 4, false, 99},     // 100 while running
        {TASK_RC_SYNC, 2, 2, 4, 4, false, 100},   // ... but for a remote sync
        {TASK_VVCOPY, 4, 1, 10, 0, true, 100},    // done
        // Odd counters are not clamped; negatives keep their low 16 bits.
        {TASK_VVCOPY, 1, 1, 10, 15, false, 150},
        {TASK_VVCOPY, 1, 1, 10, -1, false, (Uint16)-10},
        {TASK_VVCOPY, 4, -25, 0, 0, false, (Uint16)(-25 * 100 / 4)},
    };
    for (const Row& r : rows)
    {
        tsk_data_v103 t = counters(r.type, r.phaseMax, r.currPhase,
            r.stepMax, r.currStep);
        t.tsk_done = r.done ? 1 : 0;
        SCOPED_TRACE(testing::Message() << r.type << " " << r.phaseMax << " "
            << r.currPhase << " " << r.stepMax << " " << r.currStep);
        EXPECT_EQ(r.percent, P::getPercentComplete(t));
    }
}

TEST(JobPercent, WarningLines)
{
    LogCapture log;
    EXPECT_EQ(99, P::getPercentComplete(counters(TASK_VVCOPY, 0, 0, 0, 0)));
    EXPECT_EQ(99, P::getPercentComplete(counters(TASK_VVCOPY, 2, 2, 4, 4)));
    EXPECT_EQ(100, P::getPercentComplete(counters(TASK_RC_SYNC, 2, 2, 4, 4)));
    tsk_data_v103 done = counters(TASK_VVCOPY, 4, 1, 10, 0);
    done.tsk_done = 1;
    P::getPercentComplete(done);
    std::vector<std::string> texts;
    for (const velksim::LogLine& l : log.lines())
    {
        EXPECT_EQ(3, l.level);
        texts.push_back(l.text);
    }
    EXPECT_EQ(std::vector<std::string>({
        "both tsk_step_max && tsk_phase_max is 0\n",
        "Phase Max=0, Curr Phase=0, Step max=0, Curr Step=0\n",
        "Task not done but completed at 100!\n",
        "Phase Max=2, Curr Phase=2, Step max=4, Curr Step=4\n",
        "Task not done but completed at 100!\n",
        "Phase Max=2, Curr Phase=2, Step max=4, Curr Step=4\n"}), texts);
}

// ---------------------------------------------------------------------------
// Task-type sets and owners
// ---------------------------------------------------------------------------

TEST(JobTypes, SupportedSetsAndOwners)
{
    const std::vector<int> remote = {9, 12, 13, 14, 15, 26, 29, 31};
    const std::vector<int> local = {7, 8, 10, 11, 24};
    for (int n = -3; n <= 40; n++)
    {
        task_e type = (task_e)n;
        bool isRemote =
            std::find(remote.begin(), remote.end(), n) != remote.end();
        bool isLocal =
            std::find(local.begin(), local.end(), n) != local.end();
        SCOPED_TRACE(n);
        EXPECT_EQ(isRemote || isLocal, P::supportedJobType(type));
        EXPECT_EQ(isRemote, P::rcopyJobType(type));
        EXPECT_EQ(isRemote && n != 9, P::isRcopyGroupTarget(type));
        EXPECT_EQ(isRemote ? "VELK_ReplicationService"
                : isLocal ? "VELK_StorageConfigurationService" : "",
            str(P::getJobOwner(type)));
    }
}

// Intervals are "%08u%02u%02u%02u.%06u:000" read back: a field too large for
// its range is out of range, one too wide for its digits makes no interval.
TEST(JobIntervals, FieldsWithinAndBeyondTheirWidths)
{
    enum Outcome { TEXT, OUT_OF_RANGE, BAD_FORMAT };
    const struct
    {
        Uint32 days, hours, minutes, seconds, usecs;
        Outcome outcome;
        const char* text;
    } rows[] = {
        {30, 0, 0, 0, 0, TEXT, "00000030000000.000000:000"},
        {99999999, 23, 59, 59, 999999, TEXT, "99999999235959.999999:000"},
        {0, 24, 0, 0, 0, OUT_OF_RANGE, ""},
        {0, 0, 60, 0, 0, OUT_OF_RANGE, ""},
        {0, 0, 0, 99, 0, OUT_OF_RANGE, ""},
        {100000000, 0, 0, 0, 0, BAD_FORMAT, ""},
        {0, 100, 0, 0, 0, BAD_FORMAT, ""},
        {0, 0, 0, 0, 1000000, BAD_FORMAT, ""},
    };
    for (const auto& r : rows)
    {
        Outcome got = TEXT;
        std::string text;
        try
        {
            text = str(P::buildCIMDateTimeInterval(r.days, r.hours,
                r.minutes, r.seconds, r.usecs).toString());
        }
        catch (const DateTimeOutOfRangeException&)
        {
            got = OUT_OF_RANGE;
        }
        catch (const InvalidDateTimeFormatException&)
        {
            got = BAD_FORMAT;
        }
        EXPECT_EQ(r.outcome, got) << r.days << " " << r.hours;
        EXPECT_EQ(r.text, text) << r.days << " " << r.hours;
    }
}

// ---------------------------------------------------------------------------
// Identity
// ---------------------------------------------------------------------------

TEST(JobIdentity, InstanceIDRoundTrips)
{
    EXPECT_EQ("KORVANE:task_id:0", str(P::makeUniqueID(0)));
    EXPECT_EQ("KORVANE:task_id:1234", str(P::makeUniqueID(1234)));
    EXPECT_EQ("KORVANE:task_id:4294967295",
        str(P::makeUniqueID(4294967295u)));
    for (Uint32 id : {0u, 1u, 99999u, 4294967294u, 4294967295u})
        EXPECT_EQ(id, P::extractTaskIDFromInstanceID(P::makeUniqueID(id)));
}

TEST(JobIdentity, KeysReadLikeAnUnsignedScan)
{
    const Uint32 none = 0xFFFFFFFF;
    const struct
    {
        const char* key;
        Uint32 task;
    } cases[] = {
        {"KORVANE:TASK_ID:5", none},
        {"KORVANE:task_id:", none},
        {"KORVANE:task_id:abc", none},
        {"", none},
        {"KORVANE:task_id: 12", 12},
        {"task_id:7", 7},
        {"xyz task_id:7", 7},
        {"KORVANE:task_id:7abc", 7},
        {"KORVANE:task_id:3task_id:4", 3},
        {"KORVANE:task_id:+1001", 1001},
        // A minus sign wraps modulo 2^32.
        {"task_id:-1", 4294967295u},
        {"KORVANE:task_id:-4294966295", 1001},
        // A number beyond 32 bits names no task rather than a wrapped one.
        {"KORVANE:task_id:4294968298", none},
        {"KORVANE:task_id:-4294968298", none},
        {"KORVANE:task_id:99999999999999999999", none},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.task, P::extractTaskIDFromInstanceID(c.key)) << c.key;
}

TEST(JobIdentity, ObjectPathOfAJob)
{
    CIMObjectPath p = P::buildObjectPath("array1", "KORVANE:task_id:5");
    EXPECT_EQ("//array1/root/velk:VELK_ConcreteJob.InstanceID="
              "\"KORVANE:task_id:5\"",
        str(p.toString()));
    ASSERT_EQ(1u, p.getKeyBindings().size());
    EXPECT_EQ(CIMKeyBinding::STRING, p.getKeyBindings()[0].getType());
    // The value is taken as given.
    EXPECT_EQ("root/velk:VELK_ConcreteJob.InstanceID=\"junk\"",
        str(P::buildObjectPath("", "junk").toString()));
}

// ---------------------------------------------------------------------------
// Remote-copy group targets
// ---------------------------------------------------------------------------

namespace
{

struct RCopyFixture
{
    rm_target_t targets[2];
    rm_group_target_t gtargets[2];
    rm_group_wrapper_t groups[2];
    api_rcopy_t rcopy;

    RCopyFixture()
    {
        memset(this, 0, sizeof(*this));
        strcpy(targets[0].rm_hdr.rm_name, "tA");
        strcpy(targets[0].rm_remote_sysname, "ArrayTwo");
        strcpy(targets[1].rm_hdr.rm_name, "tB");
        strcpy(targets[1].rm_remote_sysname, "ArrayThree");
        strcpy(gtargets[0].rm_target, "tA");
        strcpy(gtargets[0].rm_remote_group, "grpA.r");
        strcpy(gtargets[1].rm_target, "tGone");
        strcpy(gtargets[1].rm_remote_group, "grpA.r2");
        strcpy(groups[0].group.rm_hdr.rm_name, "empty");
        groups[0].next = &groups[1];
        strcpy(groups[1].group.rm_hdr.rm_name, "grpA");
        groups[1].gtarget_count = 2;
        groups[1].gtargets = gtargets;
        rcopy.target_count = 2;
        rcopy.targets = targets;
        rcopy.groups = &groups[0];
    }
};

} // namespace

TEST(JobRemoteGroups, TargetsListedWithSystemOrTargetNamesUnknownGroupIsSeven)
{
    RCopyFixture f;
    String targets;
    String message;
    EXPECT_EQ(0, P::_remoteGroupName(f.rcopy, "grpA", targets, message));
    EXPECT_EQ("grpA.r:ArrayTwo,grpA.r2:tGone", str(targets));
    String none;
    EXPECT_EQ(0, P::_remoteGroupName(f.rcopy, "empty", none, message));
    EXPECT_EQ("", str(none));

    // Group names compare with case; the unknown one leaves an error line.
    LogCapture log;
    targets = String();
    EXPECT_EQ(7, P::_remoteGroupName(f.rcopy, "GRPA", targets, message));
    EXPECT_EQ("RemoteReplicationGroup GRPA does not exist", str(message));
    EXPECT_EQ("", str(targets));
    std::vector<velksim::LogLine> lines = log.lines();
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(2, lines[0].level);
    EXPECT_EQ("VELK_ConcreteJobProvider: RemoteReplicationGroup GRPA does not "
        "exist\n", lines[0].text);
}

// ---------------------------------------------------------------------------
// Provider factory and refused operations
// ---------------------------------------------------------------------------

TEST(JobModuleEntry, ProvidersByNameInAnyCase)
{
    const char* names[] = {"VELK_ConcreteJobProvider",
        "velk_concretejobprovider", "VELK_CONCRETEJOBPROVIDER",
        "VELK_MethodResultProvider", "VELK_OwningJobElementProvider",
        "velk_associatedjobmethodresultprovider"};
    for (const char* name : names)
    {
        CIMProvider* p = PegasusCreateProvider(String(name));
        ASSERT_TRUE(p != 0) << name;
        CIMProvider* q = PegasusCreateProvider(String(name));
        EXPECT_NE(p, q);
        delete p;
        delete q;
    }
    CIMProvider* job = PegasusCreateProvider(String("velk_concretejobprovider"));
    EXPECT_TRUE(dynamic_cast<VELK_ConcreteJobProvider*>(job) != 0);
    delete job;

    EXPECT_TRUE(PegasusCreateProvider(String("VELK_ConcreteJob")) == 0);
    EXPECT_TRUE(PegasusCreateProvider(String("")) == 0);
    EXPECT_TRUE(
        PegasusCreateProvider(String("VELK_ConcreteJobProvider ")) == 0);
}

TEST(JobModuleEntry, ObjectPathConstructorIsRefused)
{
    EXPECT_CIM_ERROR(VELK_ConcreteJobProvider p{CIMObjectPath()},
        CIM_ERR_NOT_SUPPORTED,
        "VELK_ConcreteJobProvider does not support constructor with object "
        "path.");
}
