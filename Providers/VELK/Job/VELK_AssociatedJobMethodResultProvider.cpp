// VELK_AssociatedJobMethodResult: a job to the method result of the call
// that started it, paired by their common InstanceID.
#include "VELK_AssociatedJobMethodResultProvider.h"

#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Provider/ProviderException.h>

#include "VELK_Common.h"
#include "VELK_ConcreteJobProvider.h"
#include "VELK_MethodResultProvider.h"

#include <velkapi.h>

PEGASUS_NAMESPACE_BEGIN

static const String ClassName("VELK_AssociatedJobMethodResultProvider");

namespace
{
const char* const NAMESPACE_VELK = "root/velk";

inline const char* cstr(const CString& s)
{
    return (const char*)s;
}

}

VELK_AssociatedJobMethodResultProvider::VELK_AssociatedJobMethodResultProvider()
{
}

VELK_AssociatedJobMethodResultProvider::
    ~VELK_AssociatedJobMethodResultProvider()
{
}

void VELK_AssociatedJobMethodResultProvider::initialize(CIMOMHandle& cimom)
{
    log_message(4,
        "--> VELK_AssociatedJobMethodResultProvider::initialize(cimom)\n)");
    _cimom = cimom;
    _assoClassName = CIMName("VELK_AssociatedJobMethodResult");
    _methodResultClassName = CIMName("VELK_MethodResult");
    _jobClassName = CIMName("VELK_ConcreteJob");
    _hostAddr = VELK_Common::getSystemHostName(cimom);
    log_message(4,
        "<-- VELK_AssociatedJobMethodResultProvider::initialize(cimom)\n)");
}

void VELK_AssociatedJobMethodResultProvider::terminate()
{
    delete this;
}

void VELK_AssociatedJobMethodResultProvider::associators(
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
    log_message(4, "-->VELK_AssociatedJobMethodResultProvider::associators\n");
    log_message(4,
        "VELK_AssociatedJobMethodResultProvider::associators: objectName = %s; "
        "associationClass = %s; resultClass = %s \n",
        cstr(objectName.toString().getCString()),
        cstr(associationClass.getString().getCString()),
        cstr(resultClass.getString().getCString()));
    VELK_Common::checkUser(context, ClassName, __LINE__);

    if (_invalidParms(objectName, role, resultRole, resultClass,
            "associators"))
    {
        log_message(2,
            "VELK_AssociatedJobMethodResultProvider::associators: invalid "
            "params: resultClass = %s \n",
            cstr(resultClass.getString().getCString()));
        return;
    }

    Array<CIMInstance> related = _getRelatedInstances(objectName, context,
        includeQualifiers, includeClassOrigin, propertyList);
    handler.processing();
    for (Uint32 i = 0; i < related.size(); i++)
        handler.deliver(CIMObject(related[i]));
    handler.complete();
    log_message(4, "<--VELK_AssociatedJobMethodResultProvider::associators\n");
}

void VELK_AssociatedJobMethodResultProvider::associatorNames(
    const OperationContext& context,
    const CIMObjectPath& objectName,
    const CIMName& associationClass,
    const CIMName& resultClass,
    const String& role,
    const String& resultRole,
    ObjectPathResponseHandler& handler)
{
    log_message(4,
        "-->VELK_AssociatedJobMethodResultProvider::associatorNames\n");
    log_message(4,
        "VELK_AssociatedJobMethodResultProvider::associatorNames: "
        "objectName = %s; associationClass = %s; resultClass = %s \n",
        cstr(objectName.toString().getCString()),
        cstr(associationClass.getString().getCString()),
        cstr(resultClass.getString().getCString()));
    VELK_Common::checkUser(context, ClassName, __LINE__);

    if (_invalidParms(objectName, role, resultRole, resultClass,
            "associatorNames"))
    {
        log_message(2,
            "VELK_AssociatedJobMethodResultProvider::associatorNames: invalid "
            "params: associationClass = %s, resultClass = %s\n",
            cstr(associationClass.getString().getCString()),
            cstr(resultClass.getString().getCString()));
        return;
    }

    Array<CIMObjectPath> related = _getRelatedInstanceNames(objectName, context);
    VELK_Common::deliverAll(handler, related);
    log_message(4,
        "<--VELK_AssociatedJobMethodResultProvider::associatorNames\n");
}

void VELK_AssociatedJobMethodResultProvider::references(
    const OperationContext& context,
    const CIMObjectPath& objectName,
    const CIMName& resultClass,
    const String& role,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    ObjectResponseHandler& handler)
{
    log_message(4, "-->VELK_AssociatedJobMethodResultProvider::references\n");
    log_message(4,
        "VELK_AssociatedJobMethodResultProvider::references: objectName = %s; "
        "resultClass = %s \n",
        cstr(objectName.toString().getCString()),
        cstr(resultClass.getString().getCString()));
    VELK_Common::checkUser(context, ClassName, __LINE__);

    if (_invalidParms(objectName, role, String::EMPTY, resultClass,
            "references"))
    {
        log_message(2,
            "VELK_AssociatedJobMethodResultProvider::references: invalid "
            "params: role = %s, resultClass = %s \n",
            cstr(role.getCString()),
            cstr(resultClass.getString().getCString()));
        return;
    }

    Array<CIMObjectPath> related = _getRelatedInstanceNames(objectName, context);
    const CIMName& className = objectName.getClassName();
    handler.processing();
    for (Uint32 i = 0; i < related.size(); i++)
    {
        if (className.equal(_methodResultClassName))
        {
            handler.deliver(CIMObject(_buildAssociationInstance(objectName,
                related[i], includeQualifiers, includeClassOrigin,
                propertyList)));
        }
        else if (className.equal(_jobClassName))
        {
            handler.deliver(CIMObject(_buildAssociationInstance(related[i],
                objectName, includeQualifiers, includeClassOrigin,
                propertyList)));
        }
    }
    handler.complete();
    log_message(4, "<--VELK_AssociatedJobMethodResultProvider::references\n");
}

void VELK_AssociatedJobMethodResultProvider::referenceNames(
    const OperationContext& context,
    const CIMObjectPath& objectName,
    const CIMName& resultClass,
    const String& role,
    ObjectPathResponseHandler& handler)
{
    log_message(4,
        "-->VELK_AssociatedJobMethodResultProvider::referenceNames\n");
    log_message(4,
        "VELK_AssociatedJobMethodResultProvider::referenceNames: "
        "objectName = %s; resultClass = %s",
        cstr(objectName.toString().getCString()),
        cstr(resultClass.getString().getCString()));
    VELK_Common::checkUser(context, ClassName, __LINE__);

    if (_invalidParms(objectName, role, String::EMPTY, resultClass,
            "referenceNames"))
    {
        log_message(2,
            "VELK_AssociatedJobMethodResultProvider::referenceNames: invalid "
            "params: role = %s, resultClass = %s \n",
            cstr(role.getCString()),
            cstr(resultClass.getString().getCString()));
        return;
    }

    Array<CIMObjectPath> related = _getRelatedInstanceNames(objectName, context);
    const CIMName& className = objectName.getClassName();
    handler.processing();
    for (Uint32 i = 0; i < related.size(); i++)
    {
        if (className.equal(_methodResultClassName))
            handler.deliver(_buildAssociationName(objectName, related[i]));
        else if (className.equal(_jobClassName))
            handler.deliver(_buildAssociationName(related[i], objectName));
    }
    handler.complete();
    log_message(4,
        "<--VELK_AssociatedJobMethodResultProvider::referenceNames\n");
}

void VELK_AssociatedJobMethodResultProvider::getInstance(
    const OperationContext& context,
    const CIMObjectPath& instanceReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    log_message(4,
        "-->VELK_AssociatedJobMethodResultProvider::getInstance() \n");
    VELK_Common::checkUser(context, ClassName, __LINE__);

    const Uint32 keyCount = instanceReference.getKeyBindings().size();
    if (keyCount != 2)
    {
        log_message(2,
            "VELK_AssociatedJobMethodResultProvider::getInstance(): Invalid "
            "number of keys (%d)\n", (int)keyCount);
        throw CIMInvalidParameterException(ClassName + " Expect two keys.");
    }

    Array<CIMInstance> all = _getInstances(context, includeQualifiers,
        includeClassOrigin, propertyList);
    for (Uint32 i = 0; i < all.size(); i++)
    {
        if (VELK_Common::matchObjectPath(all[i].getPath(), instanceReference))
        {
            handler.processing();
            handler.deliver(all[i]);
            handler.complete();
            log_message(4,
                "<-- VELK_AssociatedJobMethodResultProvider::getInstance()\n");
            return;
        }
    }
    throw CIMObjectNotFoundException(ClassName + " CIM Object not found.");
}

void VELK_AssociatedJobMethodResultProvider::enumerateInstances(
    const OperationContext& context,
    const CIMObjectPath& classReference,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList,
    InstanceResponseHandler& handler)
{
    (void)classReference;
    log_message(4,
        "-->VELK_AssociatedJobMethodResultProvider::enumerateInstances()\n");
    VELK_Common::checkUser(context, ClassName, __LINE__);

    Array<CIMInstance> all = _getInstances(context, includeQualifiers,
        includeClassOrigin, propertyList);
    VELK_Common::deliverAll(handler, all);
    log_message(4,
        "<-- VELK_AssociatedJobMethodResultProvider::enumerateInstances() \n");
}

void VELK_AssociatedJobMethodResultProvider::enumerateInstanceNames(
    const OperationContext& context,
    const CIMObjectPath& classReference,
    ObjectPathResponseHandler& handler)
{
    (void)classReference;
    log_message(4,
        "--> VELK_AssociatedJobMethodResultProvider::enumerateInstanceNames()"
        "\n");
    VELK_Common::checkUser(context, ClassName, __LINE__);

    Array<CIMObjectPath> all = _getInstanceNames(context);
    VELK_Common::deliverAll(handler, all);
    log_message(4,
        "<-- VELK_AssociatedJobMethodResultProvider::enumerateInstanceNames()"
        "\n");
}

void VELK_AssociatedJobMethodResultProvider::modifyInstance(
    const OperationContext&,
    const CIMObjectPath&,
    const CIMInstance&,
    const Boolean,
    const CIMPropertyList&,
    ResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "modifyInstance");
}

void VELK_AssociatedJobMethodResultProvider::createInstance(
    const OperationContext&,
    const CIMObjectPath&,
    const CIMInstance&,
    ObjectPathResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "createInstance");
}

void VELK_AssociatedJobMethodResultProvider::deleteInstance(
    const OperationContext&,
    const CIMObjectPath&,
    ResponseHandler&)
{
    VELK_Common::refuseOperation(ClassName, "deleteInstance");
}

bool VELK_AssociatedJobMethodResultProvider::_invalidParms(
    const CIMObjectPath& objectName,
    const String& role,
    const String& resultRole,
    const CIMName& resultClass,
    const String& method)
{
    const CIMName& className = objectName.getClassName();
    const bool isMethodResult = className.equal(_methodResultClassName);
    const bool isJob = className.equal(_jobClassName);

    // A job or method result of this module carries the organisation prefix
    // in its InstanceID.
    static const char* const identified[] = {
        "VELK_ConcreteJob", "CIM_ConcreteJob", "CIM_Job",
        "CIM_LogicalElement", "CIM_ManagedSystemElement",
        "CIM_ManagedElement", "CIM_MethodResult", "VELK_MethodResult"
    };
    if (VELK_Common::isOneOf(className, identified,
            sizeof(identified) / sizeof(identified[0])))
    {
        String id = VELK_Common::extractFromInstanceID(
            VELK_Common::getStringProperty(objectName, "InstanceID"));
        if (id.size() == 0)
            return true;
    }

    // The method result stands as JobParameters, the job as Job.
    if (VELK_Common::invalidRoles(role, resultRole, "JobParameters", "Job",
            isMethodResult, isJob))
        return true;

    if (String::equalNoCase(method, "references") ||
        String::equalNoCase(method, "referenceNames"))
    {
        static const char* const associations[] = {
            "CIM_AssociatedJobMethodResult", "VELK_AssociatedJobMethodResult"
        };
        return !resultClass.isNull() &&
            !VELK_Common::isOneOf(resultClass, associations, 2);
    }

    if (String::equalNoCase(method, "associators") ||
        String::equalNoCase(method, "associatorNames"))
    {
        static const char* const reachable[] = {
            "CIM_Job", "CIM_ConcreteJob", "VELK_ConcreteJob",
            "CIM_MethodResult", "VELK_MethodResult"
        };
        if (!resultClass.isNull() &&
            !VELK_Common::isOneOf(resultClass, reachable,
                sizeof(reachable) / sizeof(reachable[0])))
            return true;
        if (resultClass.equal(className))
            return true;
        if (className.equal(CIMName("VELK_ConcreteJob")) &&
            (resultClass.equal(CIMName("CIM_ConcreteJob")) ||
             resultClass.equal(CIMName("CIM_Job"))))
            return true;
        if (className.equal(CIMName("VELK_MethodResult")) &&
            resultClass.equal(CIMName("CIM_MethodResult")))
            return true;
        return false;
    }

    return false;
}

CIMObjectPath VELK_AssociatedJobMethodResultProvider::_buildAssociationName(
    const CIMObjectPath& jobParamPath,
    const CIMObjectPath& jobPath)
{
    return VELK_Common::buildAssocPath(_assoClassName, "JobParameters", "Job",
        jobParamPath, jobPath, _hostAddr, NAMESPACE_VELK);
}

CIMInstance VELK_AssociatedJobMethodResultProvider::_buildAssociationInstance(
    const CIMObjectPath& jobParamPath,
    const CIMObjectPath& jobPath,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    CIMClass assocClass = VELK_Common::getStoredCIMClass(_cimom,
        OperationContext(), CIMNamespaceName(NAMESPACE_VELK), _assoClassName,
        false, includeQualifiers, includeClassOrigin, propertyList);
    return VELK_Common::buildAssocInstance(_assoClassName, "JobParameters",
        "Job", jobParamPath, jobPath, assocClass, _hostAddr, NAMESPACE_VELK);
}

Array<CIMInstance> VELK_AssociatedJobMethodResultProvider::_getRelatedInstances(
    const CIMObjectPath& objectName,
    const OperationContext& context,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    const CIMName& className = objectName.getClassName();
    log_message(4,
        "-->VELK_AssociatedJobMethodResultProvider::_getRelatedInstances: "
        "className = %s \n", cstr(className.getString().getCString()));
    Array<CIMInstance> result;

    const String instanceID =
        VELK_Common::getStringProperty(objectName, "InstanceID");
    if (instanceID.size() == 0)
        return result;

    CIMObjectPath targetPath;
    if (className.equal(_methodResultClassName))
    {
        targetPath =
            VELK_ConcreteJobProvider::buildObjectPath(_hostAddr, instanceID);
    }
    else if (className.equal(_jobClassName))
    {
        targetPath =
            VELK_MethodResultProvider::buildObjectPath(_hostAddr, instanceID);
    }

    result.append(_cimom.getInstance(context, CIMNamespaceName(NAMESPACE_VELK),
        targetPath, false, includeQualifiers, includeClassOrigin,
        propertyList));
    log_message(4,
        "<--VELK_AssociatedJobMethodResultProvider::_getRelatedInstances\n");
    return result;
}

Array<CIMObjectPath>
VELK_AssociatedJobMethodResultProvider::_getRelatedInstanceNames(
    const CIMObjectPath& objectName,
    const OperationContext& context)
{
    log_message(4,
        "-->VELK_AssociatedJobMethodResultProvider::_getRelatedInstanceNames: "
        "className = %s \n",
        cstr(objectName.getClassName().getString().getCString()));
    Array<CIMInstance> related = _getRelatedInstances(objectName, context,
        false, false, CIMPropertyList(Array<CIMName>()));
    Array<CIMObjectPath> result;
    for (Uint32 i = 0; i < related.size(); i++)
        result.append(related[i].getPath());
    log_message(4,
        "<--VELK_AssociatedJobMethodResultProvider::_getRelatedInstanceNames\n");
    return result;
}

Array<CIMInstance> VELK_AssociatedJobMethodResultProvider::_getInstances(
    const OperationContext& context,
    const Boolean includeQualifiers,
    const Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    log_message(4, "-->VELK_AssociatedJobMethodResultProvider::_getInstances\n");
    Array<CIMInstance> result;
    Array<CIMObjectPath> allJobPaths = _cimom.enumerateInstanceNames(context,
        CIMNamespaceName(NAMESPACE_VELK), _jobClassName);
    for (Uint32 i = 0; i < allJobPaths.size(); i++)
    {
        const String instanceID =
            VELK_Common::getStringProperty(allJobPaths[i], "InstanceID");
        if (instanceID.size() == 0)
            continue;
        CIMObjectPath methodResPath =
            VELK_MethodResultProvider::buildObjectPath(_hostAddr, instanceID);
        result.append(_buildAssociationInstance(methodResPath, allJobPaths[i],
            includeQualifiers, includeClassOrigin, propertyList));
    }
    log_message(4, "<--VELK_AssociatedJobMethodResultProvider::_getInstances\n");
    return result;
}

Array<CIMObjectPath> VELK_AssociatedJobMethodResultProvider::_getInstanceNames(
    const OperationContext& context)
{
    log_message(4,
        "-->VELK_AssociatedJobMethodResultProvider::_getInstanceNames\n");
    Array<CIMInstance> all = _getInstances(context, false, false,
        CIMPropertyList(Array<CIMName>()));
    Array<CIMObjectPath> result;
    for (Uint32 i = 0; i < all.size(); i++)
        result.append(all[i].getPath());
    log_message(4,
        "<--VELK_AssociatedJobMethodResultProvider::_getInstanceNames\n");
    return result;
}

PEGASUS_NAMESPACE_END
