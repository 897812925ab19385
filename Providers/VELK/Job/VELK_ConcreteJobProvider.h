// VELK_ConcreteJobProvider: the array's tasks as VELK_ConcreteJob instances.
//
// Instance provider (get, enumerate, enumerate names, delete) and method
// provider (RequestStateChange, GetError) of "VELK_ConcreteJob" in
// "root/velk". The task-to-job functions are static so that the other
// providers of the module build jobs, paths and keys exactly the same way.
#ifndef VELK_ConcreteJobProvider_h
#define VELK_ConcreteJobProvider_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <velkapi.h>

PEGASUS_NAMESPACE_BEGIN

class VELK_ConcreteJobProvider :
    public CIMInstanceProvider,
    public CIMMethodProvider
{
public:
    VELK_ConcreteJobProvider();
    // Always throws CIMNotSupportedException.
    VELK_ConcreteJobProvider(const CIMObjectPath& path);
    virtual ~VELK_ConcreteJobProvider();

    virtual void initialize(CIMOMHandle& cimom);
    virtual void terminate();

    virtual void getInstance(
        const OperationContext& context,
        const CIMObjectPath& instanceReference,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList,
        InstanceResponseHandler& handler);

    virtual void enumerateInstances(
        const OperationContext& context,
        const CIMObjectPath& classReference,
        const Boolean includeQualifiers,
        const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList,
        InstanceResponseHandler& handler);

    virtual void enumerateInstanceNames(
        const OperationContext& context,
        const CIMObjectPath& classReference,
        ObjectPathResponseHandler& handler);

    virtual void modifyInstance(
        const OperationContext& context,
        const CIMObjectPath& instanceReference,
        const CIMInstance& instanceObject,
        const Boolean includeQualifiers,
        const CIMPropertyList& propertyList,
        ResponseHandler& handler);

    virtual void createInstance(
        const OperationContext& context,
        const CIMObjectPath& instanceReference,
        const CIMInstance& instanceObject,
        ObjectPathResponseHandler& handler);

    virtual void deleteInstance(
        const OperationContext& context,
        const CIMObjectPath& instanceReference,
        ResponseHandler& handler);

    virtual void invokeMethod(
        const OperationContext& context,
        const CIMObjectPath& objectReference,
        const CIMName& methodName,
        const Array<CIMParamValue>& inParameters,
        MethodResultResponseHandler& handler);

    // ---- task-to-job mapping ----
    static bool supportedJobType(task_e type);
    static bool rcopyJobType(task_e type);
    static bool isRcopyGroupTarget(task_e type);
    static String getJobOwner(task_e type);
    static Uint16 getJobState(const tsk_data_v103& task);
    static String getJobStatus(const tsk_data_v103& task);
    static Array<Uint16> getJobOpStatus(const tsk_data_v103& task);
    static Array<String> getJobStatusDescription(const tsk_data_v103& task);
    static Uint16 getPercentComplete(const tsk_data_v103& task);
    static CIMDateTime buildCIMDateTimeInterval(Uint32 intervalDays,
        Uint32 intervalHours, Uint32 intervalMinutes, Uint32 intervalSecs,
        Uint32 intervalUSecs);

    // ---- job identity ----
    static String makeUniqueID(Uint32 taskId);
    static Uint32 extractTaskIDFromInstanceID(const String& instanceID);
    static CIMObjectPath buildObjectPath(const String& host,
        const String& instanceID);
    // The same, refilling a key list the caller keeps for a run of paths.
    static CIMObjectPath buildObjectPath(const String& host,
        const String& instanceID, Array<CIMKeyBinding>& keys);
    Array<CIMObjectPath> _build_ref();

    // ---- job construction ----
    static CIMInstance buildInstance(const api_rcopy_t& rcopy,
        CIMClass cimClass, const tsk_data_v103& task, String host);
    // The same; `slots` holds where the job's properties lie in instances
    // of this class: found in the first instance built when it is empty,
    // then kept for the next ones built from the same class.
    static CIMInstance buildInstance(const api_rcopy_t& rcopy,
        const CIMClass& cimClass, const tsk_data_v103& task,
        const String& host, Array<Uint32>& slots);
    static int _remoteGroupName(const api_rcopy_t& rcopy,
        const String& groupName, String& targets, String& message);
    // Fills `task` with the freshest record of the task; the caller zeroes
    // it first (a task found nowhere leaves it as given).
    static api_Status_t getTaskDetail(tsk_data_v103& task, Uint32 taskId);

    // ---- reading jobs ----
    CIMInstance _getInstance(const CIMObjectPath& path,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);
    static void buildInstances(Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList,
        Array<CIMInstance>& instances, const String& host,
        CIMOMHandle* cimom);

private:
    void _requestStateChange(api_evtparam_t* apiEventp,
        const CIMObjectPath& instanceName,
        const Array<CIMParamValue>& inParameters,
        MethodResultResponseHandler& handler);
    void _getError(const CIMInstance& jobInstance,
        const Array<CIMParamValue>& inParameters,
        MethodResultResponseHandler& handler);

    CIMOMHandle _cimom;
    String _hostAddr;
};

PEGASUS_NAMESPACE_END

#endif
