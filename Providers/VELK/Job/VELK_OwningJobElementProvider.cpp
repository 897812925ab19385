// VELK_OwningJobElement: the service that owns a job, to the job.
#include "VELK_OwningJobElementProvider.h"

#include <cstdlib>
#include <cstring>

#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Provider/ProviderException.h>

#include "VELK_Common.h"
#include "VELK_ConcreteJobProvider.h"

#include <velkapi.h>

PEGASUS_NAMESPACE_BEGIN

static const String ClassName("VELK_OwningJobElementProvider");

namespace
{
const char* const NAMESPACE_VELK = "root/velk";

inline const char* cstr(const CString& s)
{
    return (const char*)s;
}

}

VELK_OwningJobElementProvider::VELK_OwningJobElementProvider()
{
}

VELK_OwningJobElementProvider::~VELK_OwningJobElementProvider()
{
}

void VELK_OwningJobElementProvider::initialize(CIMOMHandle& cimom)
{
    log_message(4,
        "--> VELK_OwningJobElementProvider::initialize(cimom)\n)");
    _cimom = cimom;
    _assoClassName = CIMName("VELK_OwningJobElement");
    _storageSvcsClassName = CIMName("VELK_StorageConfigurationService");
    _replicaSvcsClassName = CIMName("VELK_ReplicationService");
    _jobClassName = CIMName("VELK_ConcreteJob");
    _hostAddr = VELK_Common::getSystemHostName(cimom);
    log_message(4,
        "<-- VELK_OwningJobElementProvider::initialize(cimom)\n)");
}

void VELK_OwningJobElementProvider::terminate()
{
    delete this;
}

void VELK_OwningJobElementProvider::associators(
    const OperationContext& context,
    const CIMObjectPath& objectName,
    const CIMName& associationClass,
    const CIMName& resultClass,
    const String& role,
    const String& resultRole,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    ObjectResponseHandler& handler)
{
    log_message(4,
        "->>VELK_OwningJobElementProvider::associators: objectName = %s; "
        "associationClass = %s; resultClass = %s \n",
        cstr(objectName.toString().getCString()),
        cstr(associationClass.getString().getCString()),
        cstr(resultClass.getString().getCString()));
    VELK_Common::checkUser(context, ClassName, __LINE__);

    if (_invalidParms(objectName, role, resultRole, resultClass,
            "associators"))
    {
        log_message(2,
            "VELK_OwningJobElementProvider::associators: invalid params: "
            "resultClass = %s \n",
            cstr(resultClass.getString().getCString()));
        return;
    }

    if (!_sourceExists(context, objectName, "associators"))
        return;

    cim_handler_u h;
    h.objectResponse = &handler;
    _deliverRelatedInstances(objectName, context, includeQualifiers,
        includeClassOrigin, propertyList, resultClass, VELKCIM_ASSOCIATORS, h);

    log_message(4, "<--VELK_OwningJobElementProvider::associators\n");
}

void VELK_OwningJobElementProvider::associatorNames(
    const OperationContext& context,
    const CIMObjectPath& objectName,
    const CIMName& associationClass,
    const CIMName& resultClass,
    const String& role,
    const String& resultRole,
    ObjectPathResponseHandler& handler)
{
    log_message(4,
        "-->VELK_OwningJobElementProvider::associatorNames: objectName = %s; "
        "associationClass = %s; resultClass = %s \n",
        cstr(objectName.toString().getCString()),
        cstr(associationClass.getString().getCString()),
        cstr(resultClass.getString().getCString()));
    VELK_Common::checkUser(context, ClassName, __LINE__);

    if (_invalidParms(objectName, role, resultRole, resultClass,
            "associatorNames"))
    {
        log_message(2,
            "VELK_OwningJobElementProvider::associatorNames: invalid params: "
            "associationClass = %s, resultClass = %s\n",
            cstr(associationClass.getString().getCString()),
            cstr(resultClass.getString().getCString()));
        return;
    }

    if (!_sourceExists(context, objectName, "associatorNames"))
        return;

    cim_handler_u h;
    h.objectPathResponse = &handler;
    _deliverRelatedInstances(objectName, context, false, false,
        CIMPropertyList(Array<CIMName>()), resultClass,
        VELKCIM_ASSOCIATORNAMES, h);

    log_message(4, "<--VELK_OwningJobElementProvider::associatorNames\n");
}

void VELK_OwningJobElementProvider::references(
    const OperationContext& context,
    const CIMObjectPath& objectName,
    const CIMName& resultClass,
    const String& role,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    ObjectResponseHandler& handler)
{
    log_message(4,
        "-->VELK_OwningJobElementProvider::references: objectName = %s; "
        "resultClass = %s \n",
        cstr(objectName.toString().getCString()),
        cstr(resultClass.getString().getCString()));
    VELK_Common::checkUser(context, ClassName, __LINE__);

    if (_invalidParms(objectName, role, String::EMPTY, resultClass,
            "references"))
    {
        log_message(2,
            "VELK_OwningJobElementProvider::references: invalid params: "
            "role = %s, resultClass = %s \n",
            cstr(role.getCString()),
            cstr(resultClass.getString().getCString()));
        return;
    }

    if (!_sourceExists(context, objectName, "references"))
        return;

    cim_handler_u h;
    h.objectResponse = &handler;
    _deliverRelatedInstances(objectName, context, includeQualifiers,
        includeClassOrigin, propertyList, resultClass, VELKCIM_REFERENCES, h);

    log_message(4, "<--VELK_OwningJobElementProvider::references\n");
}

void VELK_OwningJobElementProvider::referenceNames(
    const OperationContext& context,
    const CIMObjectPath& objectName,
    const CIMName& resultClass,
    const String& role,
    ObjectPathResponseHandler& handler)
{
    log_message(4,
        "-->VELK_OwningJobElementProvider::referenceNames: objectName = %s; "
        "resultClass = %s",
        cstr(objectName.toString().getCString()),
        cstr(resultClass.getString().getCString()));
    VELK_Common::checkUser(context, ClassName, __LINE__);

    if (_invalidParms(objectName, role, String::EMPTY, resultClass,
            "referenceNames"))
    {
        log_message(2,
            "VELK_OwningJobElementProvider::referenceNames: invalid params: "
            "role = %s, resultClass = %s \n",
            cstr(role.getCString()),
            cstr(resultClass.getString().getCString()));
        return;
    }

    if (!_sourceExists(context, objectName, "referenceNames"))
        return;

    cim_handler_u h;
    h.objectPathResponse = &handler;
    _deliverRelatedInstances(objectName, context, false, false,
        CIMPropertyList(Array<CIMName>()), resultClass,
        VELKCIM_REFERENCENAMES, h);

    log_message(4, "<--VELK_OwningJobElementProvider::referenceNames\n");
}

void VELK_OwningJobElementProvider::getInstance(
    const OperationContext& context,
    const CIMObjectPath& instanceReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    log_message(4, "-->VELK_OwningJobElementProvider::getInstance() \n");
    VELK_Common::checkUser(context, ClassName, __LINE__);

    const Uint32 keyCount = instanceReference.getKeyBindings().size();
    if (keyCount != 2)
    {
        log_message(2,
            "VELK_OwningJobElementProvider::getInstance(): Invalid number of "
            "keys (%d)\n", (int)keyCount);
        throw CIMInvalidParameterException(ClassName + " Expect two keys.");
    }

    CIMObjectPath owningPath(
        VELK_Common::getStringProperty(instanceReference, "OwningElement"));
    CIMObjectPath ownedPath(
        VELK_Common::getStringProperty(instanceReference, "OwnedElement"));

    try
    {
        _cimom.getInstance(context, CIMNamespaceName(NAMESPACE_VELK),
            owningPath, false, false, false, CIMPropertyList(Array<CIMName>()));
        _cimom.getInstance(context, CIMNamespaceName(NAMESPACE_VELK),
            ownedPath, false, false, false, CIMPropertyList(Array<CIMName>()));
    }
    catch (...)
    {
        throw CIMObjectNotFoundException(ClassName + " CIM Object not found.");
    }

    CIMInstance instance = _buildAssociationInstance(owningPath, ownedPath,
        includeQualifiers, includeClassOrigin, propertyList);
    handler.processing();
    handler.deliver(instance);
    handler.complete();
    log_message(4, "<-- VELK_OwningJobElementProvider::getInstance()\n");
}

void VELK_OwningJobElementProvider::enumerateInstances(
    const OperationContext& context,
    const CIMObjectPath& classReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    (void)classReference;
    log_message(4, "-->VELK_OwningJobElementProvider::enumerateInstances()\n");
    VELK_Common::checkUser(context, ClassName, __LINE__);

    cim_handler_u h;
    h.instanceResponse = &handler;
    _deliverRelatedInstances(CIMObjectPath(), context, includeQualifiers,
        includeClassOrigin, propertyList, CIMName(),
        VELKCIM_ENUMERATEINSTANCES, h);

    log_message(4,
        "<-- VELK_OwningJobElementProvider::enumerateInstances() \n");
}

void VELK_OwningJobElementProvider::enumerateInstanceNames(
    const OperationContext& context,
    const CIMObjectPath& classReference,
    ObjectPathResponseHandler& handler)
{
    (void)classReference;
    log_message(4,
        "--> VELK_OwningJobElementProvider::enumerateInstanceNames()\n");
    VELK_Common::checkUser(context, ClassName, __LINE__);

    cim_handler_u h;
    h.objectPathResponse = &handler;
    _deliverRelatedInstances(CIMObjectPath(), context, false, false,
        CIMPropertyList(Array<CIMName>()), CIMName(),
        VELKCIM_ENUMERATEINSTANCENAMES, h);

    log_message(4,
        "<-- VELK_OwningJobElementProvider::enumerateInstanceNames()\n");
}

void VELK_OwningJobElementProvider::modifyInstance(
    const OperationContext&,
    const CIMObjectPath&,
    const CIMInstance&,
    const Boolean,
    const CIMPropertyList&,
    ResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "modifyInstance");
}

void VELK_OwningJobElementProvider::createInstance(
    const OperationContext&,
    const CIMObjectPath&,
    const CIMInstance&,
    ObjectPathResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "createInstance");
}

void VELK_OwningJobElementProvider::deleteInstance(
    const OperationContext&,
    const CIMObjectPath&,
    ResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "deleteInstance");
}

bool VELK_OwningJobElementProvider::_invalidParms(
    const CIMObjectPath& objectName,
    const String& role,
    const String& resultRole,
    const CIMName& resultClass,
    const String& method)
{
    const CIMName& className = objectName.getClassName();
    const bool isService = className.equal(_storageSvcsClassName) ||
        className.equal(_replicaSvcsClassName);
    const bool isJob = className.equal(_jobClassName);

    // The service stands as OwningElement, the job as OwnedElement.
    if (VELK_Common::invalidRoles(role, resultRole, "OwningElement",
            "OwnedElement", isService, isJob))
        return true;

    if (String::equalNoCase(method, "references") ||
        String::equalNoCase(method, "referenceNames"))
    {
        static const char* const associations[] = {
            "CIM_OwningJobElement", "VELK_OwningJobElement"
        };
        return !resultClass.isNull() &&
            !VELK_Common::isOneOf(resultClass, associations, 2);
    }

    if (String::equalNoCase(method, "associators") ||
        String::equalNoCase(method, "associatorNames"))
    {
        if (!resultClass.isNull())
        {
            static const char* const reachable[] = {
                "CIM_Job", "CIM_ConcreteJob", "VELK_ConcreteJob",
                "CIM_ManagedElement", "CIM_ManagedSystemElement",
                "CIM_LogicalElement", "CIM_EnabledLogicalElement",
                "CIM_Service", "CIM_ReplicationService",
                "SNIA_ReplicationService", "VELK_ReplicationService",
                "CIM_StorageConfigurationService",
                "VELK_StorageConfigurationService"
            };
            if (!VELK_Common::isOneOf(resultClass, reachable,
                    sizeof(reachable) / sizeof(reachable[0])))
                return true;
        }
        if (resultClass.equal(className))
            return true;
        if (className.equal(CIMName("VELK_StorageConfigurationService")) &&
            resultClass.equal(CIMName("CIM_StorageConfigurationService")))
            return true;
        if (className.equal(CIMName("VELK_ConcreteJob")) &&
            (resultClass.equal(CIMName("CIM_ConcreteJob")) ||
             resultClass.equal(CIMName("CIM_Job"))))
            return true;
        return false;
    }

    return false;
}

bool VELK_OwningJobElementProvider::_loadServicePaths(
    CIMObjectPath& replicationSvcsPath,
    CIMObjectPath& storageSvcsPath)
{
    std::lock_guard<std::mutex> lock(_svcsPathsMutex);
    if (_replicationSvcsPaths.size() == 0)
    {
        _replicationSvcsPaths = _cimom.enumerateInstanceNames(
            OperationContext(), CIMNamespaceName(NAMESPACE_VELK),
            _replicaSvcsClassName);
    }
    if (_storageSvcsPaths.size() == 0)
    {
        _storageSvcsPaths = _cimom.enumerateInstanceNames(
            OperationContext(), CIMNamespaceName(NAMESPACE_VELK),
            _storageSvcsClassName);
    }
    if (_replicationSvcsPaths.size() == 0 || _storageSvcsPaths.size() == 0)
        return false;
    replicationSvcsPath = _replicationSvcsPaths[0];
    storageSvcsPath = _storageSvcsPaths[0];
    return true;
}

void VELK_OwningJobElementProvider::_deliverRelatedInstances(
    const CIMObjectPath& objectName,
    const OperationContext& context,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    const CIMName& resultClass,
    cim_method_e method,
    cim_handler_u handler)
{
    const CIMName className = objectName.getClassName();
    log_message(4,
        "-->VELK_OwningJobElementProvider::_getRelatedInstances: "
        "className = %s \n", cstr(className.getString().getCString()));

    api_Status_t status;
    api_initStatus(&status);
    api_rcopy_t rcopy;
    memset(&rcopy, 0, sizeof(rcopy));
    tsk_data_t* tasks = 0;
    int taskCount = 0;
    tsk_data_t oneTask;
    const tsk_data_t* taskList = 0;

    CIMObjectPath replicationSvcsPath;
    CIMObjectPath storageSvcsPath;
    if (!_loadServicePaths(replicationSvcsPath, storageSvcsPath))
    {
        log_message(2,
            "VELK_OwningJobElementProvider::_deliverRelatedInstances:missing "
            "VELK_RelicationService and/or VELK_StorageConfigurationService\n");
        return;
    }

    CIMClass jobClass = VELK_Common::getStoredCIMClass(_cimom, context,
        CIMNamespaceName(NAMESPACE_VELK), _jobClassName, false,
        includeQualifiers, includeClassOrigin, propertyList);

    const bool isStorageSvc = className.equal(_storageSvcsClassName);
    const bool isReplicaSvc = className.equal(_replicaSvcsClassName);
    const bool isJob = className.equal(_jobClassName);

    do
    {
        bool tasksRead = false;
        if (className.isNull() || isStorageSvc || isReplicaSvc)
        {
            if (cim_sem_wait() != 0)
            {
                errinfo_set_str(&status, 29, "Semaphore Timed-Out");
            }
            else
            {
                status = api_getTasks(2592000, API_TASK_READ_ALL, &taskCount,
                    &tasks);
                cim_sem_post();
                tasksRead = true;
            }
            taskList = tasks;
        }
        else if (isJob)
        {
            Uint32 taskId = VELK_ConcreteJobProvider::extractTaskIDFromInstanceID(
                VELK_Common::getStringProperty(objectName, "InstanceID"));
            memset(&oneTask, 0, sizeof(oneTask));
            status = VELK_ConcreteJobProvider::getTaskDetail(oneTask, taskId);
            tasksRead = true;
            taskList = &oneTask;
            taskCount = 1;
        }
        else
        {
            break;
        }

        if (!tasksRead || status.code != 0)
        {
            log_message(2,
                "VELK_OwningJobElementProvider::_deliverRelatedInstances: "
                "Problem getting tasks\n");
            break;
        }

        if (cim_sem_wait() != 0)
        {
            api_initStatus(&status);
            errinfo_set_str(&status, 29, "Semaphore Timed-Out");
        }
        else
        {
            status = api_getRCopy(3, &rcopy);
            cim_sem_post();
        }
        if (status.code != 0)
        {
            char errtxt[512];
            errtxt[0] = 0;
            api_getErrorTextNoNL(errtxt, (int)sizeof(errtxt), &status);
            log_message(2,
                "VELK_OwningJobElementProvider::_deliverRelatedInstances():"
                "api_getRCopy error (%d): %s\n", status.code, errtxt);
            break;
        }

        VELK_Common::handleProcessing(handler, method);
        for (int i = 0; i < taskCount; i++)
        {
            try
            {
                const tsk_data_t& task = taskList[i];
                if (!VELK_ConcreteJobProvider::supportedJobType(task.tsk_type))
                    continue;

                CIMObjectPath ownedPath =
                    VELK_ConcreteJobProvider::buildObjectPath(_hostAddr,
                        VELK_ConcreteJobProvider::makeUniqueID(
                            task.taskid.tid));
                const bool isRCopyJob =
                    VELK_ConcreteJobProvider::rcopyJobType(task.tsk_type);

                CIMObjectPath owningPath;
                CIMInstance instance;
                if (className.isNull())
                {
                    owningPath =
                        isRCopyJob ? replicationSvcsPath : storageSvcsPath;
                }
                else if (isStorageSvc)
                {
                    if (isRCopyJob)
                        continue;
                    owningPath = storageSvcsPath;
                    instance = VELK_ConcreteJobProvider::buildInstance(
                        rcopy, jobClass, task, _hostAddr);
                }
                else if (isReplicaSvc)
                {
                    if (!isRCopyJob)
                        continue;
                    owningPath = replicationSvcsPath;
                    instance = VELK_ConcreteJobProvider::buildInstance(
                        rcopy, jobClass, task, _hostAddr);
                }
                else if (isJob)
                {
                    if (isRCopyJob)
                    {
                        if (!resultClass.isNull() &&
                            (resultClass.equal(_storageSvcsClassName) ||
                             resultClass.equal(CIMName(
                                 "CIM_StorageConfigurationService"))))
                            continue;
                        owningPath = replicationSvcsPath;
                    }
                    else
                    {
                        if (!resultClass.isNull() &&
                            (resultClass.equal(_replicaSvcsClassName) ||
                             resultClass.equal(CIMName(
                                 "CIM_ReplicationService"))))
                            continue;
                        owningPath = storageSvcsPath;
                    }
                    instance = _cimom.getInstance(context,
                        CIMNamespaceName(NAMESPACE_VELK), owningPath, false,
                        includeQualifiers, includeClassOrigin, propertyList);
                }

                if (method != VELKCIM_ASSOCIATORS &&
                    method != VELKCIM_ASSOCIATORNAMES &&
                    !owningPath.getClassName().isNull() &&
                    !ownedPath.getClassName().isNull())
                {
                    instance = _buildAssociationInstance(owningPath, ownedPath,
                        includeQualifiers, includeClassOrigin, propertyList);
                }

                if (!instance.isUninitialized())
                    VELK_Common::handleDeliver(handler, method, instance);
            }
            catch (...)
            {
                log_message(2,
                    "Exception in "
                    "VELK_OwningJobElementProvider::_deliverRelatedInstances\n");
            }
        }
        VELK_Common::handleComplete(handler, method);
    } while (false);

    if (tasks)
        free(tasks);
    api_freeRCopy(&rcopy);
    log_message(4,
        "<--VELK_OwningJobElementProvider::_deliverRelatedInstances\n");
}

CIMObjectPath VELK_OwningJobElementProvider::_buildAssociationName(
    const CIMObjectPath& svcPath,
    const CIMObjectPath& jobPath)
{
    return VELK_Common::buildAssocPath(_assoClassName, "OwningElement",
        "OwnedElement", svcPath, jobPath, _hostAddr, NAMESPACE_VELK);
}

CIMInstance VELK_OwningJobElementProvider::_buildAssociationInstance(
    const CIMObjectPath& svcPath,
    const CIMObjectPath& jobPath,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    CIMClass assocClass = VELK_Common::getStoredCIMClass(_cimom,
        OperationContext(), CIMNamespaceName(NAMESPACE_VELK), _assoClassName,
        false, includeQualifiers, includeClassOrigin, propertyList);
    return VELK_Common::buildAssocInstance(_assoClassName, "OwningElement",
        "OwnedElement", svcPath, jobPath, assocClass, _hostAddr,
        NAMESPACE_VELK);
}

// The source object of an association request must exist; when the server
// cannot get it, the request is answered with nothing and one log line.
bool VELK_OwningJobElementProvider::_sourceExists(const OperationContext& context,
    const CIMObjectPath& objectName, const char* operation)
{
    try
    {
        _cimom.getInstance(context, CIMNamespaceName(NAMESPACE_VELK),
            objectName, false, false, false, CIMPropertyList(Array<CIMName>()));
    }
    catch (...)
    {
        log_message(2,
            "VELK_OwningJobElementProvider::%s\n\t error trying to "
            "getInstance of %s \n ",
            operation, cstr(objectName.toString().getCString()));
        return false;
    }
    return true;
}

PEGASUS_NAMESPACE_END
