// VELK_ConcreteJobProvider: the array's tasks as VELK_ConcreteJob instances.
#include "VELK_ConcreteJobProvider.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Provider/ProviderException.h>

#include "VELK_Common.h"
#include "PaddedDecimal.h"

PEGASUS_NAMESPACE_BEGIN

// First words of every exception message this provider raises itself.
static String ClassName("VELK_ConcreteJobProvider");

namespace
{

const char JOB_NAMESPACE[] = "root/velk";
const char JOB_CLASS[] = "VELK_ConcreteJob";
const char SOURCE_NAME[] = "VELK_ConcreteJobProvider";

// Seconds in 30 days: how far back ended tasks are asked for.
const velk_s32 TASK_MAX_AGE = 2592000;
const Uint32 NO_TASK = 0xFFFFFFFF;

const Uint32 REMOTE_COPY_TYPES = 0xa400f200;
const Uint32 LOCAL_COPY_TYPES = 0x01000d80;
const Uint32 REMOTE_COPY_GROUP_TYPES = 0xa400f000;
const Uint32 SUPPORTED_TYPES = 0xa500ff80;

bool inTypeSet(task_e type, Uint32 mask)
{
    int n = (int)type;
    if (n < 0 || n > 31)
        return false;
    return ((mask >> n) & 1u) != 0;
}

String fieldText(const char* field, size_t size)
{
    return String(field, (Uint32)strnlen(field, size));
}

// Counter arithmetic of the percentage in 32-bit two's complement, so odd
// counters give the same (wrapped) figures on every build.
int mul32(int a, int b)
{
    return (int)((Uint32)a * (Uint32)b);
}

int add32(int a, int b)
{
    return (int)((Uint32)a + (Uint32)b);
}

int div32(int a, int b)
{
    if (b == 0)
        return 0;
    if (a == INT_MIN && b == -1)
        return INT_MIN;
    return a / b;
}

void logCounters(const tsk_data_v103& task)
{
    log_message(3, "Phase Max=%d, Curr Phase=%d, Step max=%d, Curr Step=%d\n",
        task.tsk_phase_max, task.tsk_curr_phase, task.tsk_step_max,
        task.tsk_curr_step);
}

// Frees what the management library handed out, on every path.
struct TaskListGuard
{
    tsk_data_t* tasks = 0;
    ~TaskListGuard() { free(tasks); }
};

// A list of all tasks is megabytes, mostly gone from the cache by the time
// its records are read: the identity and type of the record after next are
// asked for while this one is turned into a job.
inline void prefetchTask(const tsk_data_t* tasks, int i, int count)
{
#if defined(__GNUC__)
    if (i + 2 < count)
    {
        __builtin_prefetch(&tasks[i + 2].taskid);
        __builtin_prefetch(&tasks[i + 2].tsk_type);
    }
#else
    (void)tasks;
    (void)i;
    (void)count;
#endif
}

struct RCopyGuard
{
    api_rcopy_t rcopy;
    RCopyGuard() { memset(&rcopy, 0, sizeof(rcopy)); }
    ~RCopyGuard() { api_freeRCopy(&rcopy); }
};

// Takes the access semaphore; on a time-out records it in the status.
bool takeSemaphore(api_Status_t& status)
{
    if (cim_sem_wait() != 0)
    {
        errinfo_set_str(&status, API_ERR_SEM_TIMEOUT, "Semaphore Timed-Out");
        return false;
    }
    return true;
}

String userNameOf(const OperationContext& context)
{
    IdentityContainer identity = context.get(IdentityContainer::NAME);
    return identity.getUserName();
}

String ipAddressOf(const OperationContext& context)
{
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
    IdentityContainer identity = context.get(IdentityContainer::NAME);
    return identity.getIpAddress();
#else
    (void)context;
    return String();
#endif
}

void checkUser(const String& userName)
{
    VELK_Common::checkUser(userName, SOURCE_NAME, __LINE__);
}

void checkJobClass(const CIMObjectPath& path)
{
    VELK_Common::checkClass(path, CIMName(JOB_CLASS), ClassName);
}

// The per-operation authorisation of the changing operations.
void authorizeOperation(const String& userName, const String& ipAddress,
    const String& className, const String& operation)
{
    String full_methodName = className + String(".") + operation;
    full_methodName.toLower();
    int auth_retCode = api_authorizeCIMUser(userName.getCString(),
        ipAddress.getCString(), full_methodName.getCString());
    if (auth_retCode == 0)
        return;
    if (auth_retCode == 1 || auth_retCode == 2)
    {
        throw TraceableCIMException(CIM_ERR_ACCESS_DENIED,
            "Insufficient generic privilege", SOURCE_NAME, __LINE__);
    }
    throw TraceableCIMException(CIM_ERR_NOT_SUPPORTED,
        "Does not support in generic!", SOURCE_NAME, __LINE__);
}

// The properties of a job that buildInstance sets, in the order of their
// names below.
enum JobProperty
{
    INSTANCE_ID,
    NAME,
    DESCRIPTION,
    CAPTION,
    ELEMENT_NAME,
    TIME_OF_LAST_STATE_CHANGE,
    SOURCE_ELEMENT_NAME,
    TARGET_ELEMENT_NAME,
    JOB_STATE,
    JOB_STATUS,
    OPERATIONAL_STATUS,
    STATUS_DESCRIPTIONS,
    PERCENT_COMPLETE,
    JOB_RUN_TIMES,
    DELETE_ON_COMPLETION,
    TIME_BEFORE_REMOVAL,
    START_TIME,
    TIME_SUBMITTED,
    ELAPSED_TIME,
    JOB_TYPE,
    OWNER,
    LOCAL_OR_UTC_TIME,
    ERROR_CODE,
    ERROR_DESCRIPTION,
    JOB_PROPERTY_COUNT
};

const char* const JOB_PROPERTY_NAMES[JOB_PROPERTY_COUNT] = {
    "InstanceID",
    "Name",
    "Description",
    "Caption",
    "ElementName",
    "TimeOfLastStateChange",
    "SourceElementName",
    "TargetElementName",
    "JobState",
    "JobStatus",
    "OperationalStatus",
    "StatusDescriptions",
    "PercentComplete",
    "JobRunTimes",
    "DeleteOnCompletion",
    "TimeBeforeRemoval",
    "StartTime",
    "TimeSubmitted",
    "ElapsedTime",
    "JobType",
    "Owner",
    "LocalOrUtcTime",
    "ErrorCode",
    "ErrorDescription"
};

// The names made once, shared by every job.
const Array<CIMName>& jobPropertyNames()
{
    static const Array<CIMName> names = [] {
        Array<CIMName> list;
        list.reserveCapacity(JOB_PROPERTY_COUNT);
        for (const char* name : JOB_PROPERTY_NAMES)
            list.append(CIMName(name));
        return list;
    }();
    return names;
}

// Where each job property lies in the instance (PEG_NOT_FOUND for one it
// lacks). Every instance built from one class has them at the same places.
void findJobProperties(const CIMInstance& instance, Array<Uint32>& slots)
{
    const Array<CIMName>& names = jobPropertyNames();
    slots.clear();
    slots.reserveCapacity(JOB_PROPERTY_COUNT);
    for (Uint32 i = 0; i < JOB_PROPERTY_COUNT; i++)
        slots.append(instance.findProperty(names[i]));
}

// Sets a job property where it lies; as VELK_Common::setPropertyValue, a
// property the instance lacks is not added.
template <class T>
void setJobProperty(CIMInstance& instance, const Array<Uint32>& slots,
    JobProperty property, const T& value)
{
    const Uint32 pos = slots[property];
    if (pos != PEG_NOT_FOUND)
        instance.getProperty(pos).setValue(CIMValue(value));
}

CIMProperty errorProperty(const char* name, const CIMValue& value)
{
    return CIMProperty(CIMName(name), value, 0, CIMName(), CIMName(), false);
}

} // namespace

// ---------------------------------------------------------------------------
// Lifecycle
// ---------------------------------------------------------------------------

VELK_ConcreteJobProvider::VELK_ConcreteJobProvider()
{
}

VELK_ConcreteJobProvider::VELK_ConcreteJobProvider(const CIMObjectPath&)
{
    VELK_Common::refuseOperation(ClassName, "constructor with object path");
}

VELK_ConcreteJobProvider::~VELK_ConcreteJobProvider()
{
}

void VELK_ConcreteJobProvider::initialize(CIMOMHandle& cimom)
{
    log_message(4, "--> VELK_ConcreteJobProvider::initialize()\n");
    _cimom = cimom;
    _hostAddr = VELK_Common::getSystemHostName(cimom);
    log_message(4, "<--VELK_ConcreteJobProvider::initialize()\n");
}

void VELK_ConcreteJobProvider::terminate()
{
    delete this;
}

// ---------------------------------------------------------------------------
// Task-to-job mapping
// ---------------------------------------------------------------------------

bool VELK_ConcreteJobProvider::supportedJobType(task_e type)
{
    log_message(4, "--> VELK_ConcreteJobProvider::supportedJobType\n");
    return inTypeSet(type, SUPPORTED_TYPES);
}

bool VELK_ConcreteJobProvider::rcopyJobType(task_e type)
{
    log_message(4, "--> VELK_ConcreteJobProvider::supportedJobType\n");
    return inTypeSet(type, REMOTE_COPY_TYPES);
}

bool VELK_ConcreteJobProvider::isRcopyGroupTarget(task_e type)
{
    log_message(4, "--> VELK_ConcreteJobProvider::supportedJobType\n");
    return inTypeSet(type, REMOTE_COPY_GROUP_TYPES);
}

String VELK_ConcreteJobProvider::getJobOwner(task_e type)
{
    log_message(4, "--> VELK_ConcreteJobProvider::getJobOwner\n");
    // One text of each kind serves every job.
    static const String replication("VELK_ReplicationService");
    static const String configuration("VELK_StorageConfigurationService");
    if (inTypeSet(type, REMOTE_COPY_TYPES))
        return replication;
    if (inTypeSet(type, LOCAL_COPY_TYPES))
        return configuration;
    return String();
}

Uint16 VELK_ConcreteJobProvider::getJobState(const tsk_data_v103& task)
{
    log_message(4, "--> VELK_ConcreteJobProvider::getJobState\n");
    Uint16 state;
    if (!task.tsk_done)
    {
        // A synchronising remote copy at 100 per cent counts as completed.
        if (task.tsk_type == TASK_RC_SYNC && getPercentComplete(task) == 100)
            state = 7;
        else
            state = 4;
    }
    else if (task.tsk_cancelled)
        state = 8;
    else if (task.tsk_error != 0)
        state = 10;
    else
        state = 7;
    log_message(4, "<-- VELK_ConcreteJobProvider::getJobState\n");
    return state;
}

String VELK_ConcreteJobProvider::getJobStatus(const tsk_data_v103& task)
{
    log_message(4, "--> VELK_ConcreteJobProvider::getJobStatus\n");
    static const String ok("OK");
    static const String stopped("Stopped");
    static const String error("Error");
    String status;
    if (!task.tsk_done)
        status = ok;
    else if (task.tsk_cancelled)
        status = stopped;
    else if (task.tsk_error != 0)
        status = error;
    else
        status = ok;
    log_message(4, "<-- VELK_ConcreteJobProvider::getJobStatus\n");
    return status;
}

Array<Uint16> VELK_ConcreteJobProvider::getJobOpStatus(
    const tsk_data_v103& task)
{
    log_message(4, "--> VELK_ConcreteJobProvider::getJobOpStatus\n");
    // One list of each kind, shared by every job of that kind.
    static const Uint16 runningCodes[] = {2};
    static const Uint16 stoppedCodes[] = {10};
    static const Uint16 failedCodes[] = {6, 17};
    static const Uint16 completedCodes[] = {2, 17};
    static const Array<Uint16> running(runningCodes, 1);
    static const Array<Uint16> stopped(stoppedCodes, 1);
    static const Array<Uint16> failed(failedCodes, 2);
    static const Array<Uint16> completed(completedCodes, 2);
    Array<Uint16> status;
    if (!task.tsk_done)
        status = running;
    else if (task.tsk_cancelled)
        status = stopped;
    else if (task.tsk_error != 0)
        status = failed;
    else
        status = completed;
    log_message(4, "<-- VELK_ConcreteJobProvider::getJobOpStatus\n");
    return status;
}

Array<String> VELK_ConcreteJobProvider::getJobStatusDescription(
    const tsk_data_v103& task)
{
    log_message(4, "--> VELK_ConcreteJobProvider::getJobStatusDescription\n");
    // One list of each kind, shared by every job of that kind.
    static const String runningTexts[] = {String("OK")};
    static const String stoppedTexts[] = {String("Stopped")};
    static const String failedTexts[] = {String("Error"), String("Completed")};
    static const String completedTexts[] = {String("OK"), String("Completed")};
    static const Array<String> running(runningTexts, 1);
    static const Array<String> stopped(stoppedTexts, 1);
    static const Array<String> failed(failedTexts, 2);
    static const Array<String> completed(completedTexts, 2);
    Array<String> descriptions;
    if (!task.tsk_done)
        descriptions = running;
    else if (task.tsk_cancelled)
        descriptions = stopped;
    else if (task.tsk_error != 0)
        descriptions = failed;
    else
        descriptions = completed;
    // Shares the exit line of getJobOpStatus.
    log_message(4, "<-- VELK_ConcreteJobProvider::getJobOpStatus\n");
    return descriptions;
}

Uint16 VELK_ConcreteJobProvider::getPercentComplete(const tsk_data_v103& task)
{
    if (task.tsk_done)
        return 100;

    const int phaseMax = task.tsk_phase_max;
    const int currPhase = task.tsk_curr_phase;
    const int stepMax = task.tsk_step_max;
    const int currStep = task.tsk_curr_step;
    int p;
    if (phaseMax < 2 && stepMax > 0)
    {
        p = div32(mul32(currStep, 100), stepMax);
    }
    else if (phaseMax < 1)
    {
        log_message(3, "both tsk_step_max && tsk_phase_max is 0\n");
        logCounters(task);
        p = 99;
    }
    else if (currPhase < phaseMax)
    {
        // A phase in progress counts as not yet begun.
        p = div32(mul32(currPhase, 100), phaseMax);
    }
    else if (stepMax >= 1)
    {
        p = div32(
            mul32(add32(mul32(phaseMax - 1, stepMax), currStep), 100),
            mul32(phaseMax, stepMax));
    }
    else
    {
        p = div32(mul32(phaseMax - 1, 100), phaseMax);
    }

    Uint16 percent = (Uint16)p;
    if (percent == 100)
    {
        if (task.tsk_type != TASK_RC_SYNC)
            percent = 99;
        log_message(3, "Task not done but completed at 100!\n");
        logCounters(task);
    }
    return percent;
}

CIMDateTime VELK_ConcreteJobProvider::buildCIMDateTimeInterval(
    Uint32 intervalDays, Uint32 intervalHours, Uint32 intervalMinutes,
    Uint32 intervalSecs, Uint32 intervalUSecs)
{
    log_message(4, "--> VELK_ConcreteJobProvider::buildCIMDateTimeInterval\n");
    CIMDateTime interval;
    if (intervalDays <= 99999999 && intervalHours <= 99 &&
        intervalMinutes <= 99 && intervalSecs <= 99 && intervalUSecs <= 999999)
    {
        // Fields that fit their widths of the text form "%08u%02u%02u%02u.%06u:000"
        // are given as they are, with the checks that text would meet.
        interval.setInterval(intervalDays, intervalHours, intervalMinutes,
            intervalSecs, intervalUSecs, 6);
        log_message(4,
            "<-- VELK_ConcreteJobProvider::buildCIMDateTimeInterval\n");
        return interval;
    }
    // Wider fields make a longer text, refused as the text form refuses it.
    char text[80];
    char* end = text;
    end = VelkText::appendPaddedDecimal(end, intervalDays, 8);
    end = VelkText::appendPaddedDecimal(end, intervalHours, 2);
    end = VelkText::appendPaddedDecimal(end, intervalMinutes, 2);
    end = VelkText::appendPaddedDecimal(end, intervalSecs, 2);
    *end++ = '.';
    end = VelkText::appendPaddedDecimal(end, intervalUSecs, 6);
    memcpy(end, ":000", 5);
    interval.set(String(text));
    log_message(4, "<-- VELK_ConcreteJobProvider::buildCIMDateTimeInterval\n");
    return interval;
}

// ---------------------------------------------------------------------------
// Job identity
// ---------------------------------------------------------------------------

String VELK_ConcreteJobProvider::makeUniqueID(Uint32 taskId)
{
    log_message(4, "--> VELK_ConcreteJobProvider::makeUniqueID\n");
    // "KORVANE" ":" "task_id:" and the digits, written as UTF-16 units that
    // the String takes as they are.
    static const char prefix[] = "KORVANE:task_id:";
    const Uint32 length = sizeof(prefix) - 1;
    Char16 text[32];
    for (Uint32 i = 0; i < length; i++)
        text[i] = Uint16(prefix[i]);
    const Char16* end =
        VelkText::appendPaddedDecimal(text + length, taskId, 0);
    log_message(4, "<-- VELK_ConcreteJobProvider::makeUniqueID\n");
    return String(text, Uint32(end - text));
}

Uint32 VELK_ConcreteJobProvider::extractTaskIDFromInstanceID(
    const String& instanceID)
{
    log_message(4,
        "--> VELK_ConcreteJobProvider::extractTaskIDFromInstanceID\n");
    // Read as "%u" reads: blanks, an optional sign (a minus sign wraps
    // modulo 2^32), then the digits up to the first other character. A
    // number too large for 32 bits names no task rather than a wrapped one.
    Uint32 taskId = NO_TASK;
    const String marker("task_id:");
    Uint32 pos = instanceID.find(marker);
    if (pos != PEG_NOT_FOUND)
    {
        Uint32 i = pos + marker.size();
        while (i < instanceID.size() && (instanceID[i] == ' ' ||
                (instanceID[i] >= '\t' && instanceID[i] <= '\r')))
            i++;
        bool negative = false;
        if (i < instanceID.size() && (instanceID[i] == '+' || instanceID[i] == '-'))
            negative = instanceID[i++] == '-';
        Uint32 end = i;
        while (end < instanceID.size() && instanceID[end] >= '0' &&
                instanceID[end] <= '9')
            end++;
        Uint32 value = 0;
        if (VELK_Common::parseUint32(instanceID.subString(i, end - i), value))
            taskId = negative ? Uint32(0u - value) : value;
    }
    log_message(4,
        "<-- VELK_ConcreteJobProvider::extractTaskIDFromInstanceID\n");
    return taskId;
}

CIMObjectPath VELK_ConcreteJobProvider::buildObjectPath(const String& host,
    const String& instanceID)
{
    Array<CIMKeyBinding> keys;
    return buildObjectPath(host, instanceID, keys);
}

CIMObjectPath VELK_ConcreteJobProvider::buildObjectPath(const String& host,
    const String& instanceID, Array<CIMKeyBinding>& keys)
{
    log_message(4, "--> VELK_ConcreteJobProvider::buildObjectPath\n");
    // The names are made once; every path shares them.
    static const CIMNamespaceName nameSpace(JOB_NAMESPACE);
    static const CIMName className(JOB_CLASS);
    static const CIMName keyName("InstanceID");
    // The list is refilled in place when the last path made from it did not
    // keep it.
    if (keys.size() == 1)
        keys[0].setValue(instanceID);
    else
    {
        keys.clear();
        keys.append(CIMKeyBinding(keyName, instanceID, CIMKeyBinding::STRING));
    }
    CIMObjectPath path(host, nameSpace, className, keys);
    log_message(4, "<-- VELK_ConcreteJobProvider::buildObjectPath\n");
    return path;
}

Array<CIMObjectPath> VELK_ConcreteJobProvider::_build_ref()
{
    log_message(4, "--> VELK_ConcreteJobProvider::_build_ref\n");
    Array<CIMObjectPath> paths;
    api_Status_t status;
    api_initStatus(&status);
    TaskListGuard list;
    int count = 0;
    bool taken = takeSemaphore(status);
    if (taken)
    {
        status = api_getTasks(TASK_MAX_AGE, API_TASK_READ_ALL, &count,
            &list.tasks);
        cim_sem_post();
    }
    if (taken && status.code == 0)
    {
        paths.reserveCapacity(Uint32(count));
        Array<CIMKeyBinding> keys;
        for (int i = 0; i < count; i++)
        {
            prefetchTask(list.tasks, i, count);
            if (supportedJobType(list.tasks[i].tsk_type))
            {
                paths.append(buildObjectPath(_hostAddr,
                    makeUniqueID(list.tasks[i].taskid.tid), keys));
            }
        }
    }
    log_message(4, "<-- VELK_ConcreteJobProvider::_build_ref\n");
    return paths;
}

// ---------------------------------------------------------------------------
// Job construction
// ---------------------------------------------------------------------------

api_Status_t VELK_ConcreteJobProvider::getTaskDetail(tsk_data_v103& task,
    Uint32 taskId)
{
    api_Status_t status;
    api_initStatus(&status);
    log_message(4, "--> VELK_ConcreteJobProvider::getTaskDetail\n");

    bool taken = takeSemaphore(status);
    if (taken)
    {
        status = api_getTaskDetail(taskId, &task, 0);
        cim_sem_post();
    }
    if (!taken || status.code != 0)
    {
        // Tasks the detail call no longer knows may still be in the list.
        api_initStatus(&status);
        TaskListGuard list;
        int count = 0;
        taken = takeSemaphore(status);
        if (taken)
        {
            status = api_getTasks(TASK_MAX_AGE, API_TASK_READ_ALL, &count,
                &list.tasks);
            cim_sem_post();
            if (status.code == 0)
            {
                for (int i = 0; i < count; i++)
                {
                    if (list.tasks[i].taskid.tid == taskId)
                    {
                        memcpy(&task, &list.tasks[i], sizeof(task));
                        break;
                    }
                }
            }
        }
    }

    if (!taken)
    {
        errinfo_set_str(&status, API_ERR_SEM_TIMEOUT,
            "semrc was not equal to API_SUCCESS");
        log_message(4,
            "VELK_ConcreteJobProvider::getTaskDetail: semrc was not "
            "API_SUCCESS\n");
    }
    log_message(4, "<-- VELK_ConcreteJobProvider::getTaskDetail\n");
    return status;
}

int VELK_ConcreteJobProvider::_remoteGroupName(const api_rcopy_t& rcopy,
    const String& groupName, String& targets, String& message)
{
    const rm_group_wrapper_t* wrapper = rcopy.groups;
    while (wrapper &&
        !String::equal(fieldText(wrapper->group.rm_hdr.rm_name,
            sizeof(wrapper->group.rm_hdr.rm_name)), groupName))
    {
        wrapper = wrapper->next;
    }
    if (!wrapper)
    {
        log_message(2, "VELK_ConcreteJobProvider: RemoteReplicationGroup %s "
            "does not exist\n", (const char*)groupName.getCString());
        message = String("RemoteReplicationGroup ") + groupName +
            String(" does not exist");
        return 7;
    }
    for (int i = 0; i < wrapper->gtarget_count; i++)
    {
        const rm_group_target_t& target = wrapper->gtargets[i];
        String targetName =
            fieldText(target.rm_target, sizeof(target.rm_target));
        String systemName = VELK_Common::RCTargetToSysname(rcopy, targetName);
        if (systemName.size() == 0)
            systemName = targetName;
        static const String comma(",");
        static const String colon(":");
        if (i > 0)
            targets.append(comma);
        targets.append(fieldText(target.rm_remote_group,
            sizeof(target.rm_remote_group)));
        targets.append(colon);
        targets.append(systemName);
    }
    return 0;
}

CIMInstance VELK_ConcreteJobProvider::buildInstance(const api_rcopy_t& rcopy,
    CIMClass cimClass, const tsk_data_v103& task, String host)
{
    Array<Uint32> slots;
    return buildInstance(rcopy, cimClass, task, host, slots);
}

CIMInstance VELK_ConcreteJobProvider::buildInstance(const api_rcopy_t& rcopy,
    const CIMClass& cimClass, const tsk_data_v103& task, const String& host,
    Array<Uint32>& slots)
{
    log_message(4, "--> VELK_ConcreteJobProvider::buildInstance\n");
    CIMInstance instance = VELK_Common::buildInstanceSkeleton(cimClass);
    if (slots.size() == 0)
        findJobProperties(instance, slots);

    const String instanceID = makeUniqueID(task.taskid.tid);
    setJobProperty(instance, slots, INSTANCE_ID, instanceID);

    const String name = fieldText(task.tsk_name, sizeof(task.tsk_name));
    setJobProperty(instance, slots, NAME, name);
    setJobProperty(instance, slots, DESCRIPTION, name);
    setJobProperty(instance, slots, CAPTION, name);

    Char16 idText[16];
    const Char16* idEnd =
        VelkText::appendPaddedDecimal(idText, task.taskid.tid, 0);
    setJobProperty(instance, slots, ELEMENT_NAME,
        String(idText, Uint32(idEnd - idText)));

    // The times of a task often repeat its last change (the start of a task
    // that has not moved, the end of one that ended): each is converted once.
    const CIMDateTime lastChange =
        VELK_Common::getCIMDateTime((long)task.tsk_lastupdate_time);
    auto dateTimeOf = [&task, &lastChange](long t) {
        return t == (long)task.tsk_lastupdate_time
            ? lastChange : VELK_Common::getCIMDateTime(t);
    };
    setJobProperty(instance, slots, TIME_OF_LAST_STATE_CHANGE,
        lastChange);

    switch (task.tsk_type)
    {
        case TASK_VVCOPY:
        case TASK_PROMOTESV:
        case TASK_PHYSCOPY_RESYNC:
        {
            // "source->target"
            static const String arrowText("->");
            Uint32 arrow = name.find(arrowText);
            if (arrow != PEG_NOT_FOUND)
            {
                String source = name.subString(0, arrow);
                String target = name.subString(arrow + 2);
                if (source.size() > 0)
                {
                    setJobProperty(instance, slots,
                        SOURCE_ELEMENT_NAME, source);
                }
                if (target.size() > 0)
                {
                    setJobProperty(instance, slots,
                        TARGET_ELEMENT_NAME, target);
                }
            }
            break;
        }
        case TASK_RC_SYNC:
        case TASK_RC_REVERSE:
        case TASK_RC_FAILOVER:
        case TASK_RC_RECOVER:
        case TASK_RC_RESTORE:
        case TASK_RC_SWITCHOVER:
        case TASK_RC_FAILSAFE:
        case TASK_RC_CHG_MODE:
        {
            setJobProperty(instance, slots, SOURCE_ELEMENT_NAME, name);
            if (task.tsk_type != TASK_RC_SYNC)
            {
                // The task is named after its remote-copy group.
                String targets;
                String message;
                if (_remoteGroupName(rcopy, name, targets, message) == 0)
                {
                    setJobProperty(instance, slots,
                        TARGET_ELEMENT_NAME, targets);
                }
            }
            break;
        }
        case TASK_ONLINE_COPY:
        {
            setJobProperty(instance, slots, TARGET_ELEMENT_NAME, name);
            char* detailText = 0;
            try
            {
                api_Status_t status;
                api_initStatus(&status);
                tsk_data_v103 fresh;
                memset(&fresh, 0, sizeof(fresh));
                if (takeSemaphore(status))
                {
                    status = api_getTaskDetail(task.taskid.tid, &fresh,
                        &detailText);
                    cim_sem_post();
                }
                if (status.code == 0 && detailText)
                {
                    static const char phrase[] = "Online copy from VV ";
                    const char* found = strstr(detailText, phrase);
                    if (found)
                    {
                        const char* source = found + strlen(phrase);
                        size_t length = strcspn(source, " ");
                        if (length > 0)
                        {
                            setJobProperty(instance, slots,
                                SOURCE_ELEMENT_NAME,
                                String(source, (Uint32)length));
                        }
                    }
                    setJobProperty(instance, slots,
                        TIME_OF_LAST_STATE_CHANGE,
                        VELK_Common::getCIMDateTime(
                            (long)fresh.tsk_lastupdate_time));
                }
            }
            catch (CIMException& e)
            {
                log_message(2, "Error in task details: %s, %s\n",
                    (const char*)name.getCString(),
                    (const char*)e.getMessage().getCString());
            }
            catch (...)
            {
                log_message(2, "Unknown Error in task details: %s\n",
                    (const char*)name.getCString());
            }
            free(detailText);
            break;
        }
        default:
            // TASK_SS_ACC has no element names.
            break;
    }

    setJobProperty(instance, slots, JOB_STATE, getJobState(task));
    setJobProperty(instance, slots, JOB_STATUS, getJobStatus(task));
    setJobProperty(instance, slots, OPERATIONAL_STATUS,
        getJobOpStatus(task));
    setJobProperty(instance, slots, STATUS_DESCRIPTIONS,
        getJobStatusDescription(task));
    setJobProperty(instance, slots, PERCENT_COMPLETE,
        getPercentComplete(task));

    Uint32 runTimes =
        (task.tsk_type == TASK_RC_SYNC && !task.tsk_done) ? 0 : 1;
    setJobProperty(instance, slots, JOB_RUN_TIMES, runTimes);
    setJobProperty(instance, slots, DELETE_ON_COMPLETION,
        Boolean(false));
    setJobProperty(instance, slots, TIME_BEFORE_REMOVAL,
        buildCIMDateTimeInterval(30, 0, 0, 0, 0));

    const CIMDateTime start = dateTimeOf((long)task.tsk_start_time);
    setJobProperty(instance, slots, START_TIME, start);
    setJobProperty(instance, slots, TIME_SUBMITTED, start);
    CIMDateTime elapsed;
    if (task.tsk_done)
        elapsed = dateTimeOf((long)task.tsk_end_time) - start;
    else
        elapsed = CIMDateTime::getCurrentDateTime() - start;
    setJobProperty(instance, slots, ELAPSED_TIME, elapsed);

    if (slots[JOB_TYPE] != PEG_NOT_FOUND)
    {
        setJobProperty(instance, slots, JOB_TYPE,
            Uint16(task.tsk_type));
    }
    setJobProperty(instance, slots, OWNER,
        getJobOwner(task.tsk_type));
    setJobProperty(instance, slots, LOCAL_OR_UTC_TIME, Uint16(2));
    setJobProperty(instance, slots, ERROR_CODE,
        Uint16(task.tsk_error));
    if (task.tsk_errorstr[0] != '\0')
    {
        setJobProperty(instance, slots, ERROR_DESCRIPTION,
            fieldText(task.tsk_errorstr, sizeof(task.tsk_errorstr)));
    }

    instance.setPath(buildObjectPath(host, instanceID));
    log_message(4, "<-- VELK_ConcreteJobProvider::buildInstance\n");
    return instance;
}

// ---------------------------------------------------------------------------
// Reading jobs
// ---------------------------------------------------------------------------

CIMInstance VELK_ConcreteJobProvider::_getInstance(const CIMObjectPath& path,
    Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    CIMInstance instance;
    log_message(4, "--> VELK_ConcreteJobProvider::_getInstance\n");

    CIMClass jobClass = VELK_Common::getStoredCIMClass(_cimom,
        OperationContext(), CIMNamespaceName(JOB_NAMESPACE),
        CIMName(JOB_CLASS), false, includeQualifiers, includeClassOrigin,
        propertyList);

    String instanceID = VELK_Common::getStringProperty(path, "InstanceID");
    Uint32 taskId = extractTaskIDFromInstanceID(instanceID);

    tsk_data_v103 task;
    memset(&task, 0, sizeof(task));
    api_Status_t status = getTaskDetail(task, taskId);

    if (status.code == 0 && supportedJobType(task.tsk_type))
    {
        RCopyGuard config;
        api_Status_t rcopyStatus;
        api_initStatus(&rcopyStatus);
        if (takeSemaphore(rcopyStatus))
        {
            rcopyStatus = api_getRCopy(API_RCOPY_QUERY_TYPE_ALL,
                &config.rcopy);
            cim_sem_post();
        }
        if (rcopyStatus.code != 0)
        {
            char errtxt[512];
            api_getErrorTextNoNL(errtxt, sizeof(errtxt), &rcopyStatus);
            log_message(2, "VELK_ConcreteJobProvider::_getInstances(): "
                "api_getRCopy error (%d): %s\n", rcopyStatus.code, errtxt);
        }
        instance = buildInstance(config.rcopy, jobClass, task, _hostAddr);
    }

    log_message(4, "<-- VELK_ConcreteJobProvider::_getInstances\n");
    return instance;
}

void VELK_ConcreteJobProvider::buildInstances(Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    Array<CIMInstance>& instances, const String& host, CIMOMHandle* cimom)
{
    CIMClass jobClass = VELK_Common::getStoredCIMClass(*cimom,
        OperationContext(), CIMNamespaceName(JOB_NAMESPACE),
        CIMName(JOB_CLASS), false, includeQualifiers, includeClassOrigin,
        propertyList);

    api_Status_t status;
    api_initStatus(&status);
    TaskListGuard list;
    int count = 0;
    if (!takeSemaphore(status))
        return;
    status = api_getTasks(TASK_MAX_AGE, API_TASK_READ_ALL, &count,
        &list.tasks);
    cim_sem_post();
    if (status.code != 0)
        return;

    // One remote-copy configuration serves every job of the list.
    RCopyGuard config;
    api_Status_t rcopyStatus;
    api_initStatus(&rcopyStatus);
    if (takeSemaphore(rcopyStatus))
    {
        rcopyStatus = api_getRCopy(API_RCOPY_QUERY_TYPE_ALL, &config.rcopy);
        cim_sem_post();
    }
    if (rcopyStatus.code != 0)
    {
        char errtxt[512];
        api_getErrorTextNoNL(errtxt, sizeof(errtxt), &rcopyStatus);
        log_message(2, "VELK_ConcreteJobProvider::buildInstances(): "
            "api_getRCopy error (%d): %s\n", rcopyStatus.code, errtxt);
    }

    // Every job is built from the same class: where its properties lie is
    // found once.
    Array<Uint32> slots;
    for (int i = 0; i < count; i++)
    {
        prefetchTask(list.tasks, i, count);
        if (supportedJobType(list.tasks[i].tsk_type))
        {
            instances.append(buildInstance(config.rcopy, jobClass,
                list.tasks[i], host, slots));
        }
    }
}

void VELK_ConcreteJobProvider::getInstance(
    const OperationContext& context,
    const CIMObjectPath& instanceReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    log_message(4, "--> VELK_ConcreteJobProvider::getInstance\n");
    checkUser(userNameOf(context));
    checkJobClass(instanceReference);

    const String instanceID =
        VELK_Common::getInstanceIDKey(instanceReference, ClassName);

    CIMInstance instance = _getInstance(instanceReference, includeQualifiers,
        includeClassOrigin, propertyList);
    if (instance.isUninitialized())
    {
        throw CIMObjectNotFoundException(ClassName +
            String(" CIM Object not found.") + instanceID);
    }

    handler.processing();
    handler.deliver(instance);
    handler.complete();
    log_message(4, "<-- VELK_ConcreteJobProvider::getInstance\n");
}

void VELK_ConcreteJobProvider::enumerateInstances(
    const OperationContext& context,
    const CIMObjectPath& classReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    log_message(4, "--> VELK_ConcreteJobProvider::enumerateInstances\n");
    checkUser(userNameOf(context));
    checkJobClass(classReference);

    Array<CIMInstance> instances;
    buildInstances(includeQualifiers, includeClassOrigin, propertyList,
        instances, _hostAddr, &_cimom);

    VELK_Common::deliverAll(handler, instances);
    log_message(4, "<-- VELK_ConcreteJobProvider::enumerateInstances\n");
}

void VELK_ConcreteJobProvider::enumerateInstanceNames(
    const OperationContext& context,
    const CIMObjectPath& classReference,
    ObjectPathResponseHandler& handler)
{
    log_message(4, "--> VELK_ConcreteJobProvider::enumerateInstanceNames\n");
    checkUser(userNameOf(context));
    checkJobClass(classReference);

    Array<CIMObjectPath> paths = _build_ref();

    VELK_Common::deliverAll(handler, paths);
    log_message(4, "<-- VELK_ConcreteJobProvider::enumerateInstanceNames\n");
}

void VELK_ConcreteJobProvider::modifyInstance(
    const OperationContext&,
    const CIMObjectPath&,
    const CIMInstance&,
    const Boolean,
    const CIMPropertyList&,
    ResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "modifyInstance");
}

void VELK_ConcreteJobProvider::createInstance(
    const OperationContext&,
    const CIMObjectPath&,
    const CIMInstance&,
    ObjectPathResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "createInstance");
}

// ---------------------------------------------------------------------------
// Changing the array
// ---------------------------------------------------------------------------

void VELK_ConcreteJobProvider::deleteInstance(
    const OperationContext& context,
    const CIMObjectPath& instanceReference,
    ResponseHandler& handler)
{
    log_message(4, "--> VELK_ConcreteJobProvider::deleteInstance()\n");

    const String auth_userName = userNameOf(context);
    const String auth_ip = ipAddressOf(context);
    const String auth_className =
        instanceReference.getClassName().getString();
    const String auth_methodName("DeleteInstance");

    checkUser(auth_userName);
    authorizeOperation(auth_userName, auth_ip, auth_className,
        auth_methodName);

    api_evtparam_t apiEvent;
    api_evtparam_t* apiEventp = &apiEvent;
    VELK_Common::setEventParam(apiEventp, auth_className.getCString(),
        "DeleteInstance", "", auth_userName.getCString(),
        auth_ip.getCString());

    // Deletion also accepts the base class.
    CIMName inputClassName = instanceReference.getClassName();
    if (!inputClassName.equal(CIMName("CIM_ConcreteJob")) &&
        !inputClassName.equal(CIMName(JOB_CLASS)))
    {
        throw CIMNotSupportedException(ClassName +
            String(" Invalid class name") + inputClassName.getString());
    }
    log_message(4, "\t className = %s\n",
        (const char*)inputClassName.getString().getCString());

    handler.processing();

    String instanceID =
        VELK_Common::getStringProperty(instanceReference, "InstanceID");
    Uint32 taskID = extractTaskIDFromInstanceID(instanceID);
    if (taskID == NO_TASK)
    {
        throw CIMOperationFailedException(ClassName +
            String(" Invalid key names or values"));
    }

    int semrc = cim_sem_wait();
    api_Status_t api_status;
    api_initStatus(&api_status);
    if (semrc != 0)
    {
        errinfo_set_str(&api_status, API_ERR_SEM_TIMEOUT,
            "Semaphore Timed-Out");
    }
    else
    {
        api_status = api_removeTasks(apiEventp, &taskID, 1, 0xFFFFFFFE, 0);
        cim_sem_post();
    }

    if (api_status.code == 0)
    {
        handler.complete();
        log_message(4, "<-- VELK_ConcreteJobProvider::deleteInstance()\n");
        return;
    }
    char errtxt[512];
    api_getErrorTextNoNL(errtxt, sizeof(errtxt), &api_status);
    throw CIMOperationFailedException(String(errtxt));
}

void VELK_ConcreteJobProvider::invokeMethod(
    const OperationContext& context,
    const CIMObjectPath& objectReference,
    const CIMName& methodName,
    const Array<CIMParamValue>& inParameters,
    MethodResultResponseHandler& handler)
{
    const String auth_userName = userNameOf(context);
    const String auth_ip = ipAddressOf(context);
    const String auth_className = objectReference.getClassName().getString();
    const String auth_methodName = methodName.getString();

    log_message(4,
        "--> VELK_ConcreteJobProvider::invokeMethod(), methodName = %s \n",
        (const char*)auth_methodName.getCString());

    checkUser(auth_userName);
    authorizeOperation(auth_userName, auth_ip, auth_className,
        auth_methodName);

    api_evtparam_t apiEvent;
    api_evtparam_t* apiEventp = &apiEvent;
    VELK_Common::setEventParam(apiEventp, auth_className.getCString(),
        auth_methodName.getCString(), "", auth_userName.getCString(),
        auth_ip.getCString());

    // The job is found by its whole path among the jobs there are now.
    bool found = false;
    String instanceID =
        VELK_Common::getStringProperty(objectReference, "InstanceID");
    if (instanceID.size() != 0)
    {
        Array<CIMInstance> instances;
        buildInstances(false, false, CIMPropertyList(), instances, _hostAddr,
            &_cimom);
        for (Uint32 i = 0; i < instances.size(); i++)
        {
            if (!VELK_Common::matchObjectPath(objectReference,
                    instances[i].getPath()))
            {
                continue;
            }
            found = true;
            if (methodName.equal(CIMName("RequestStateChange")))
            {
                _requestStateChange(apiEventp, instances[i].getPath(),
                    inParameters, handler);
            }
            else if (methodName.equal(CIMName("GetError")))
            {
                _getError(instances[i], inParameters, handler);
            }
            else
            {
                log_message(2, " unknown method %s\n",
                    (const char*)auth_methodName.getCString());
                handler.processing();
                handler.deliver(CIMValue(Uint32(2)));
                handler.complete();
            }
            break;
        }
    }

    if (!found)
    {
        throw CIMObjectNotFoundException(ClassName +
            String(" CIM Object not found."));
    }
    log_message(4, "<-- VELK_ConcreteJobProvider::invokeMethod()\n");
}

void VELK_ConcreteJobProvider::_requestStateChange(api_evtparam_t* apiEventp,
    const CIMObjectPath& instanceName,
    const Array<CIMParamValue>& inParameters,
    MethodResultResponseHandler& handler)
{
    Uint32 inparmSize = inParameters.size();
    int outstatus = 0;
    Uint16 requestedState = 0;
    log_message(4, "--> VELK_ConcreteJobProvider:: _requestStateChange\n");

    bool answered = false;
    if (inparmSize == 0)
    {
        log_message(2, " Invalid number of parameters\n");
        outstatus = 5;
        answered = true;
    }
    for (Uint32 i = 0; !answered && i < inparmSize; i++)
    {
        const String name = inParameters[i].getParameterName();
        log_message(4, "Param %s\n", (const char*)name.getCString());
        const CIMValue value = inParameters[i].getValue();
        if (String::equalNoCase(name, String("RequestedState")))
        {
            if (value.isNull())
            {
                log_message(2, "NULL RequestedState value\n");
                outstatus = 5;
                answered = true;
            }
            else
            {
                value.get(requestedState);
                if (requestedState != 4)
                {
                    log_message(2,
                        "Only a RequestedState of Terminate is supported\n");
                    outstatus = 1;
                    answered = true;
                }
            }
        }
        else if (String::equalNoCase(name, String("TimeoutPeriod")))
        {
            if (!value.isNull())
            {
                log_message(2, "TimeoutPeriod is not supported\n");
                outstatus = 4098;
                answered = true;
            }
        }
        else
        {
            log_message(2, "Invalid parameter\n");
            outstatus = 5;
            answered = true;
        }
    }

    if (!answered && requestedState != 4)
    {
        log_message(2, "Mandatory parameter RequestedState not present\n");
        outstatus = 5;
        answered = true;
    }

    if (!answered)
    {
        String instanceID =
            VELK_Common::getStringProperty(instanceName, "InstanceID");
        Uint32 taskID = extractTaskIDFromInstanceID(instanceID);

        api_Status_t api_status;
        api_initStatus(&api_status);
        int semrc = cim_sem_wait();
        api_initStatus(&api_status);
        if (semrc != 0)
        {
            errinfo_set_str(&api_status, API_ERR_SEM_TIMEOUT,
                "Semaphore Timed-Out");
        }
        else
        {
            api_status = api_cancelTask(apiEventp, taskID);
            cim_sem_post();
        }
        outstatus = (api_status.code != 0) ? 4 : 4096;
    }

    handler.processing();
    handler.deliver(CIMValue(Uint32(outstatus)));
    handler.complete();
    log_message(4, "Overall status of the operation = %d\n", outstatus);
    log_message(4, "<-- VELK_ConcreteJobProvider:: _requestStateChange\n");
}

void VELK_ConcreteJobProvider::_getError(const CIMInstance& jobInstance,
    const Array<CIMParamValue>& inParameters,
    MethodResultResponseHandler& handler)
{
    Uint32 inparmSize = inParameters.size();
    int outstatus = 0;
    Uint16 jobState = 0;
    CIMParamValue outParam;
    log_message(4, "--> VELK_ConcreteJobProvider:: _getError\n");

    if (inparmSize != 0)
    {
        log_message(2, " Invalid number of input parameters, should be 0\n");
        outstatus = 5;
    }
    else if (VELK_Common::getProperty(jobInstance, "JobState", jobState) == 0
        && (jobState == 10 || jobState == 8))
    {
        CIMInstance cimError(CIMName("CIM_Error"));
        Array<String> arg;
        cimError.addProperty(errorProperty("OwningEntity",
            CIMValue(String("SNIA"))));
        cimError.addProperty(errorProperty("MessageID",
            CIMValue(String("DRM26"))));
        cimError.addProperty(errorProperty("PerceivedSeverity",
            CIMValue(Uint16(2))));
        if (jobState == 10)
        {
            cimError.addProperty(errorProperty("ProbableCause",
                CIMValue(Uint16(8))));
            arg.append(String("Operation has failed"));
        }
        else
        {
            cimError.addProperty(errorProperty("ProbableCause",
                CIMValue(Uint16(48))));
            arg.append(String("Operation has been terminated by user"));
        }
        cimError.addProperty(errorProperty("Message", CIMValue(arg[0])));
        cimError.addProperty(errorProperty("MessageArguments",
            CIMValue(arg)));
        String errStr =
            VELK_Common::getStringProperty(jobInstance, "ErrorDescription");
        if (errStr.size() != 0)
        {
            cimError.addProperty(errorProperty("ProbableCauseDescription",
                CIMValue(errStr)));
        }
        cimError.addProperty(errorProperty("CIMStatusCode",
            CIMValue(Uint32(2))));
        cimError.addProperty(errorProperty("CIMStatusCodeDescription",
            CIMValue(String("CIM_ERR_ACCESS_DENIED"))));
        outParam = CIMParamValue(String("Error"), CIMValue(cimError), true);
    }

    handler.processing();
    if (!outParam.isUninitialized())
        handler.deliverParamValue(outParam);
    // The return value is 0 whatever the status above.
    handler.deliver(CIMValue(Uint32(0)));
    handler.complete();
    log_message(4, "Overall status of the operation = %d\n", outstatus);
    log_message(4, "<-- VELK_ConcreteJobProvider:: _getError\n");
}

PEGASUS_NAMESPACE_END
