// VELK_MethodResult: one method result per job, derived from the jobs that
// the server lists, with the pre-call and post-call method-call indications
// of the call that started each job.
#include "VELK_MethodResultProvider.h"

#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Provider/ProviderException.h>

#include "VELK_Common.h"
#include "VELK_ConcreteJobProvider.h"
#include "VELK_StorageVolumeProvider.h"

#include <velkapi.h>

PEGASUS_NAMESPACE_BEGIN

static const String ClassName("VELK_MethodResultProvider");

namespace
{
const char* const NAMESPACE_VELK = "root/velk";

inline const char* cstr(const CString& s)
{
    return (const char*)s;
}


void checkClass(const CIMObjectPath& path)
{
    VELK_Common::checkClass(path, CIMName("VELK_MethodResult"), ClassName);
}

// Path of the storage synchronization between two volumes, with the roles
// in the order given.
CIMObjectPath syncPath(const CIMObjectPath& systemElement,
    const CIMObjectPath& syncedElement, const String& host)
{
    return VELK_Common::buildAssocPath(CIMName("VELK_StorageSynchronized"),
        "SystemElement", "SyncedElement", systemElement, syncedElement, host,
        NAMESPACE_VELK);
}
}

VELK_MethodResultProvider::VELK_MethodResultProvider()
{
}

VELK_MethodResultProvider::VELK_MethodResultProvider(const CIMObjectPath&)
{
    VELK_Common::refuseOperation(ClassName, "constructor with object path");
}

VELK_MethodResultProvider::~VELK_MethodResultProvider()
{
}

void VELK_MethodResultProvider::initialize(CIMOMHandle& cimom)
{
    log_message(4, "--> VELK_MethodResultProvider::initialize()\n");
    _cimom = cimom;
    _hostAddr = VELK_Common::getSystemHostName(cimom);
    _systemName = VELK_Common::getSystemName(cimom);
    log_message(4, "<--VELK_MethodResultProvider::initialize()\n");
}

void VELK_MethodResultProvider::terminate()
{
    delete this;
}

void VELK_MethodResultProvider::getInstance(
    const OperationContext& context,
    const CIMObjectPath& instanceReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    log_message(4, "--> VELK_MethodResultProvider::getInstance\n");
    VELK_Common::checkUser(context, ClassName, 106);
    checkClass(instanceReference);

    const String instanceID =
        VELK_Common::getInstanceIDKey(instanceReference, ClassName);

    Array<CIMInstance> instances = _buildInstances(context, instanceID,
        includeQualifiers, includeClassOrigin, propertyList);
    if (instances.size() != 1)
    {
        throw CIMObjectNotFoundException(
            ClassName + " CIM Object not found." + instanceID);
    }

    handler.processing();
    handler.deliver(instances[0]);
    handler.complete();
    log_message(4, "<-- VELK_MethodResultProvider::getInstance\n");
}

void VELK_MethodResultProvider::enumerateInstances(
    const OperationContext& context,
    const CIMObjectPath& classReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    log_message(4, "--> VELK_MethodResultProvider::enumerateInstances\n");
    VELK_Common::checkUser(context, ClassName, 192);
    checkClass(classReference);

    Array<CIMInstance> instances = _buildInstances(context, String::EMPTY,
        includeQualifiers, includeClassOrigin, propertyList);

    VELK_Common::deliverAll(handler, instances);
    log_message(4, "<-- VELK_MethodResultProvider::enumerateInstances\n");
}

void VELK_MethodResultProvider::enumerateInstanceNames(
    const OperationContext& context,
    const CIMObjectPath& classReference,
    ObjectPathResponseHandler& handler)
{
    log_message(4, "--> VELK_MethodResultProvider::enumerateInstanceNames\n");
    VELK_Common::checkUser(context, ClassName, 241);
    checkClass(classReference);

    Array<CIMObjectPath> paths = _buildRef(context);

    VELK_Common::deliverAll(handler, paths);
    log_message(4, "<-- VELK_MethodResultProvider::enumerateInstanceNames\n");
}

void VELK_MethodResultProvider::modifyInstance(
    const OperationContext&,
    const CIMObjectPath&,
    const CIMInstance&,
    const Boolean,
    const CIMPropertyList&,
    ResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "modifyInstance");
}

void VELK_MethodResultProvider::createInstance(
    const OperationContext&,
    const CIMObjectPath&,
    const CIMInstance&,
    ObjectPathResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "createInstance");
}

void VELK_MethodResultProvider::deleteInstance(
    const OperationContext&,
    const CIMObjectPath&,
    ResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "deleteInstance");
}

CIMObjectPath VELK_MethodResultProvider::buildObjectPath(
    const String& host,
    const String& instanceID)
{
    log_message(4, "--> VELK_MethodResultProvider::buildObjectPath()\n");
    CIMObjectPath path(host, CIMNamespaceName(NAMESPACE_VELK),
        CIMName("VELK_MethodResult"));
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"), instanceID,
        CIMKeyBinding::STRING));
    path.setKeyBindings(keys);
    log_message(4, "<-- VELK_MethodResultProvider::buildObjectPath()\n");
    return path;
}

Array<CIMInstance> VELK_MethodResultProvider::_buildInstances(
    const OperationContext& context,
    const String& jobInstanceID,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    log_message(4, "--> VELK_MethodResultProvider::_buildInstances\n");
    Array<CIMInstance> result;

    CIMClass methodResultClass = VELK_Common::getStoredCIMClass(_cimom,
        OperationContext(), CIMNamespaceName(NAMESPACE_VELK),
        CIMName("VELK_MethodResult"), false, includeQualifiers,
        includeClassOrigin, propertyList);

    Array<CIMInstance> jobs;
    if (jobInstanceID.size() != 0)
    {
        CIMObjectPath jobPath =
            VELK_ConcreteJobProvider::buildObjectPath(_hostAddr, jobInstanceID);
        try
        {
            jobs.append(_cimom.getInstance(context,
                CIMNamespaceName(NAMESPACE_VELK), jobPath, false, false, false,
                CIMPropertyList()));
        }
        catch (...)
        {
            log_message(4, "Job instance %s does not exist\n",
                cstr(jobInstanceID.getCString()));
            log_message(4, "<-- VELK_MethodResultProvider::_buildInstances\n");
            return result;
        }
    }
    else
    {
        jobs = _cimom.enumerateInstances(context,
            CIMNamespaceName(NAMESPACE_VELK), CIMName("VELK_ConcreteJob"),
            false, false, false, false, CIMPropertyList());
    }

    for (Uint32 i = 0; i < jobs.size(); i++)
    {
        result.append(
            _buildInstance(context, methodResultClass, jobs[i], _hostAddr));
    }
    log_message(4, "<-- VELK_MethodResultProvider::_buildInstances\n");
    return result;
}

CIMInstance VELK_MethodResultProvider::_buildInstance(
    const OperationContext& context,
    CIMClass methodResultClass,
    const CIMInstance& jobInstance,
    const String& host)
{
    log_message(4, "--> VELK_MethodResultProvider::_buildInstance()\n");
    CIMInstance instance = VELK_Common::buildInstanceSkeleton(methodResultClass);

    const String instanceID =
        VELK_Common::getStringProperty(jobInstance, "InstanceID");
    VELK_Common::setPropertyValue(instance, CIMName("InstanceID"), instanceID);

    const String name = VELK_Common::getStringProperty(jobInstance, "Name");
    VELK_Common::setPropertyValue(instance, CIMName("ElementName"), name);
    VELK_Common::setPropertyValue(instance, CIMName("Caption"), name);
    VELK_Common::setPropertyValue(instance, CIMName("Description"),
        String("MethodResult for job name ") + name);

    CIMInstance preCall =
        _constructInstMethodCallInst(context, jobInstance, true);
    VELK_Common::setPropertyValue(instance, CIMName("PreCallIndication"),
        preCall);
    CIMInstance postCall =
        _constructInstMethodCallInst(context, jobInstance, false);
    VELK_Common::setPropertyValue(instance, CIMName("PostCallIndication"),
        postCall);

    instance.setPath(buildObjectPath(host, instanceID));
    log_message(4, "<-- VELK_MethodResultProvider::_buildInstance()\n");
    return instance;
}

Array<CIMObjectPath> VELK_MethodResultProvider::_buildRef(
    const OperationContext& context)
{
    log_message(4, "--> VELK_MethodResultProvider::_buildRef\n");
    Array<CIMObjectPath> result;
    Array<CIMObjectPath> jobPaths = _cimom.enumerateInstanceNames(context,
        CIMNamespaceName(NAMESPACE_VELK), CIMName("VELK_ConcreteJob"));
    for (Uint32 i = 0; i < jobPaths.size(); i++)
    {
        result.append(buildObjectPath(_hostAddr,
            VELK_Common::getStringProperty(jobPaths[i], "InstanceID")));
    }
    log_message(4, "<-- VELK_MethodResultProvider::_buildRef\n");
    return result;
}

CIMInstance VELK_MethodResultProvider::_constructInstMethodCallInst(
    const OperationContext& context,
    const CIMInstance& jobInstance,
    Boolean preCall)
{
    log_message(4,
        "--> VELK_MethodResultProvider::_constructInstMethodCallInst()\n");
    CIMInstance indication(CIMName("CIM_InstMethodCall"));
    String methodName;

    Uint16 jobType = 0;
    if (VELK_Common::getProperty(jobInstance, "JobType", jobType) == 0)
    {
        switch (jobType)
        {
            case TASK_VVCOPY:
            case TASK_ONLINE_COPY:
                methodName = "AttachOrModifyReplica";
                break;
            case TASK_PROMOTESV:
            case TASK_PHYSCOPY_RESYNC:
                methodName = "ModifySynchronization";
                break;
            case TASK_SS_ACC:
                methodName = "UpdateDeltaSnapshotSpace";
                break;
            default:
                // A job type that stands for no method: no properties.
                return indication;
        }
    }

    indication.addProperty(
        CIMProperty(CIMName("MethodName"), CIMValue(methodName)));
    CIMObject parameters =
        _constructMethodParamObject(context, jobInstance, preCall);
    indication.addProperty(
        CIMProperty(CIMName("MethodParameters"), CIMValue(parameters)));
    indication.addProperty(CIMProperty(CIMName("PreCall"), CIMValue(preCall)));

    log_message(4,
        "<-- VELK_MethodResultProvider::_constructInstMethodCallInst()\n");
    return indication;
}

CIMObject VELK_MethodResultProvider::_constructMethodParamObject(
    const OperationContext& context,
    const CIMInstance& jobInstance,
    Boolean preCall)
{
    log_message(4,
        "--> VELK_MethodResultProvider::_constructMethodParamObject()\n");
    CIMInstance parameters(CIMName("__MethodParameters"));

    const String sourceName =
        VELK_Common::getStringProperty(jobInstance, "SourceElementName");
    const String targetName =
        VELK_Common::getStringProperty(jobInstance, "TargetElementName");

    CIMClass volumeClass = VELK_Common::getStoredCIMClass(_cimom,
        OperationContext(), CIMNamespaceName(NAMESPACE_VELK),
        CIMName("VELK_StorageVolume"), false, false, false, CIMPropertyList());

    CIMInstance source;
    CIMObjectPath sourcePath;
    if (sourceName.size() != 0)
    {
        source = VELK_StorageVolumeProvider::buildVVInstance(sourceName,
            _systemName, _hostAddr, volumeClass, false);
        if (!source.isUninitialized())
            sourcePath = source.getPath();
    }
    CIMInstance target;
    CIMObjectPath targetPath;
    if (targetName.size() != 0)
    {
        target = VELK_StorageVolumeProvider::buildVVInstance(targetName,
            _systemName, _hostAddr, volumeClass, false);
        if (!target.isUninitialized())
            targetPath = target.getPath();
    }

    Uint16 jobType = 0;
    if (VELK_Common::getProperty(jobInstance, "JobType", jobType) != 0)
    {
        log_message(4,
            "<-- VELK_MethodResultProvider::_constructMethodParamObject()\n");
        return CIMObject(parameters);
    }

    switch (jobType)
    {
        case TASK_VVCOPY:
        case TASK_ONLINE_COPY:
            parameters.addProperty(CIMProperty(CIMName("SourceElement"),
                source.isUninitialized() ? CIMValue() : CIMValue(sourcePath)));
            parameters.addProperty(CIMProperty(CIMName("TargetElement"),
                target.isUninitialized() ? CIMValue() : CIMValue(targetPath)));
            parameters.addProperty(
                CIMProperty(CIMName("CopyType"), CIMValue(Uint16(5))));
            break;

        case TASK_PROMOTESV:
        {
            parameters.addProperty(
                CIMProperty(CIMName("Operation"), CIMValue(Uint16(5))));
            CIMObjectPath synchronization;
            bool found = false;
            if (!source.isUninitialized())
            {
                CIMObjectPath sourceCopy = sourcePath;
                Array<CIMObjectPath> syncs = _cimom.enumerateInstanceNames(
                    context, CIMNamespaceName(NAMESPACE_VELK),
                    CIMName("VELK_StorageSynchronized"));
                for (Uint32 i = 0; i < syncs.size() && !found; i++)
                {
                    const Array<CIMKeyBinding>& keys =
                        syncs[i].getKeyBindings();
                    CIMObjectPath synced;
                    for (Uint32 k = 0; k < keys.size(); k++)
                    {
                        if (keys[k].getName().equal(CIMName("SyncedElement")))
                        {
                            synced = CIMObjectPath(keys[k].getValue());
                            break;
                        }
                    }
                    if (VELK_Common::matchObjectPath(synced, sourceCopy))
                    {
                        synchronization = syncs[i];
                        found = true;
                    }
                }
            }
            if (!found && !source.isUninitialized() &&
                !target.isUninitialized())
            {
                // The replica was made from the source: the target is the
                // system element here.
                synchronization = syncPath(targetPath, sourcePath, _hostAddr);
                found = true;
            }
            if (found)
            {
                parameters.addProperty(CIMProperty(CIMName("Synchronization"),
                    CIMValue(synchronization)));
            }
            break;
        }

        case TASK_PHYSCOPY_RESYNC:
            parameters.addProperty(
                CIMProperty(CIMName("Operation"), CIMValue(Uint16(4))));
            if (!source.isUninitialized() && !target.isUninitialized())
            {
                parameters.addProperty(CIMProperty(CIMName("Synchronization"),
                    CIMValue(syncPath(sourcePath, targetPath, _hostAddr))));
            }
            break;

        case TASK_SS_ACC:
            break;

        default:
            return CIMObject();
    }

    if (!preCall)
    {
        parameters.addProperty(
            CIMProperty(CIMName("Job"), CIMValue(jobInstance.getPath())));
        parameters.addProperty(CIMProperty(CIMName("ReturnValue"),
            CIMValue(String("Method Parameters Checked - Job Started"))));
        parameters.addProperty(
            CIMProperty(CIMName("ReturnValueType"), CIMValue(Uint16(9))));

        Uint16 jobState = 0;
        if (VELK_Common::getProperty(jobInstance, "JobState", jobState) == 0 &&
            jobState == 10)
        {
            Array<CIMParamValue> inParameters;
            Array<CIMParamValue> outParameters;
            _cimom.invokeMethod(context, CIMNamespaceName(NAMESPACE_VELK),
                jobInstance.getPath(), CIMName("GetError"), inParameters,
                outParameters);
            if (outParameters.size() != 0)
            {
                CIMInstance error;
                outParameters[0].getValue().get(error);
                Array<CIMInstance> errors;
                errors.append(error);
                parameters.addProperty(
                    CIMProperty(CIMName("Error"), CIMValue(errors)));
            }
        }
    }

    log_message(4,
        "<-- VELK_MethodResultProvider::_constructMethodParamObject()\n");
    return CIMObject(parameters);
}

PEGASUS_NAMESPACE_END
