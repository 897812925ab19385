// CIMClient: CIM operations encoded as CIM-XML requests.
#include <Pegasus/Client/CIMClient.h>

#include <CimXml/XmlWriter.h>
#include "CIMClientRep.h"
#include "IRequest.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

[[noreturn]] void unexpected(const char* what)
{
    throw CIMClientResponseException(String("unexpected response content: ") +
        String(what));
}

} // namespace

CIMClient::CIMClient() : _rep(new CIMClientRep)
{
}

CIMClient::~CIMClient()
{
    delete _rep;
}

Uint32 CIMClient::getTimeout() const
{
    return _rep->timeout();
}

void CIMClient::setTimeout(Uint32 timeoutMilliseconds)
{
    _rep->setTimeout(timeoutMilliseconds);
}

void CIMClient::connect(const String& host, const Uint32 portNumber,
    const String& userName, const String& password)
{
    _rep->connect(host, portNumber, userName, password);
}

void CIMClient::connectLocal()
{
    _rep->connectLocal();
}

void CIMClient::disconnect()
{
    _rep->disconnect();
}

CIMClass CIMClient::getClass(const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean localOnly, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    IRequest r(_rep, "GetClass", nameSpace);
    r.className("ClassName", className);
    r.boolean("LocalOnly", localOnly);
    r.boolean("IncludeQualifiers", includeQualifiers);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    r.propertyList(propertyList);
    CimXmlIMethodResponse a = r.send();
    if (a.classes.size() != 1)
        unexpected("GetClass needs one CLASS");
    return a.classes[0];
}

CIMInstance CIMClient::getInstance(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, Boolean localOnly, Boolean includeQualifiers,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    IRequest r(_rep, "GetInstance", nameSpace);
    r.instanceName("InstanceName", instanceName);
    r.boolean("LocalOnly", localOnly);
    r.boolean("IncludeQualifiers", includeQualifiers);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    r.propertyList(propertyList);
    CimXmlIMethodResponse a = r.send();
    if (a.instances.size() != 1)
        unexpected("GetInstance needs one INSTANCE");
    CIMInstance inst = a.instances[0];
    if (inst.getClassName().equal(instanceName.getClassName()))
        inst.setPath(instanceName);
    return inst;
}

void CIMClient::deleteClass(const CIMNamespaceName& nameSpace,
    const CIMName& className)
{
    IRequest r(_rep, "DeleteClass", nameSpace);
    r.className("ClassName", className);
    r.send();
}

void CIMClient::deleteInstance(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName)
{
    IRequest r(_rep, "DeleteInstance", nameSpace);
    r.instanceName("InstanceName", instanceName);
    r.send();
}

void CIMClient::createClass(const CIMNamespaceName& nameSpace,
    const CIMClass& newClass)
{
    IRequest r(_rep, "CreateClass", nameSpace);
    r.w().appendIParamStart("NewClass");
    r.w().appendClass(newClass);
    r.w().appendIParamEnd();
    r.send();
}

CIMObjectPath CIMClient::createInstance(const CIMNamespaceName& nameSpace,
    const CIMInstance& newInstance)
{
    IRequest r(_rep, "CreateInstance", nameSpace);
    r.w().appendIParamStart("NewInstance");
    r.w().appendInstance(newInstance);
    r.w().appendIParamEnd();
    CimXmlIMethodResponse a = r.send();
    if (a.paths.size() != 1)
        unexpected("CreateInstance needs one INSTANCENAME");
    return a.paths[0];
}

void CIMClient::modifyClass(const CIMNamespaceName& nameSpace,
    const CIMClass& modifiedClass)
{
    IRequest r(_rep, "ModifyClass", nameSpace);
    r.w().appendIParamStart("ModifiedClass");
    r.w().appendClass(modifiedClass);
    r.w().appendIParamEnd();
    r.send();
}

void CIMClient::modifyInstance(const CIMNamespaceName& nameSpace,
    const CIMInstance& modifiedInstance, Boolean includeQualifiers,
    const CIMPropertyList& propertyList)
{
    IRequest r(_rep, "ModifyInstance", nameSpace);
    r.w().appendIParamStart("ModifiedInstance");
    r.w().appendValueNamedInstance(modifiedInstance);
    r.w().appendIParamEnd();
    r.boolean("IncludeQualifiers", includeQualifiers);
    r.propertyList(propertyList);
    r.send();
}

Array<CIMClass> CIMClient::enumerateClasses(const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean deepInheritance, Boolean localOnly,
    Boolean includeQualifiers, Boolean includeClassOrigin)
{
    IRequest r(_rep, "EnumerateClasses", nameSpace);
    r.className("ClassName", className);
    r.boolean("DeepInheritance", deepInheritance);
    r.boolean("LocalOnly", localOnly);
    r.boolean("IncludeQualifiers", includeQualifiers);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    return r.send().classes;
}

Array<CIMName> CIMClient::enumerateClassNames(const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean deepInheritance)
{
    IRequest r(_rep, "EnumerateClassNames", nameSpace);
    r.className("ClassName", className);
    r.boolean("DeepInheritance", deepInheritance);
    return r.send().classNames;
}

Array<CIMInstance> CIMClient::enumerateInstances(const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean deepInheritance, Boolean localOnly,
    Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    IRequest r(_rep, "EnumerateInstances", nameSpace);
    r.className("ClassName", className);
    r.boolean("DeepInheritance", deepInheritance);
    r.boolean("LocalOnly", localOnly);
    r.boolean("IncludeQualifiers", includeQualifiers);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    r.propertyList(propertyList);
    return r.send().instances;
}

Array<CIMObjectPath> CIMClient::enumerateInstanceNames(
    const CIMNamespaceName& nameSpace, const CIMName& className)
{
    IRequest r(_rep, "EnumerateInstanceNames", nameSpace);
    r.className("ClassName", className);
    return r.send().paths;
}

Array<CIMObject> CIMClient::execQuery(const CIMNamespaceName& nameSpace,
    const String& queryLanguage, const String& query)
{
    IRequest r(_rep, "ExecQuery", nameSpace);
    r.w().appendStringIParam("QueryLanguage", queryLanguage);
    r.w().appendStringIParam("Query", query);
    CimXmlIMethodResponse a = r.send();
    Array<CIMObject> result = a.objects;
    for (Uint32 i = 0; i < a.instances.size(); i++)
        result.append(CIMObject(a.instances[i]));
    return result;
}

Array<CIMObject> CIMClient::associators(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& objectName, const CIMName& assocClass,
    const CIMName& resultClass, const String& role, const String& resultRole,
    Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    IRequest r(_rep, "Associators", nameSpace);
    r.objectName(objectName);
    r.className("AssocClass", assocClass);
    r.className("ResultClass", resultClass);
    r.string("Role", role);
    r.string("ResultRole", resultRole);
    r.boolean("IncludeQualifiers", includeQualifiers);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    r.propertyList(propertyList);
    return r.send().objects;
}

Array<CIMObjectPath> CIMClient::associatorNames(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& objectName, const CIMName& assocClass,
    const CIMName& resultClass, const String& role, const String& resultRole)
{
    IRequest r(_rep, "AssociatorNames", nameSpace);
    r.objectName(objectName);
    r.className("AssocClass", assocClass);
    r.className("ResultClass", resultClass);
    r.string("Role", role);
    r.string("ResultRole", resultRole);
    return r.send().paths;
}

Array<CIMObject> CIMClient::references(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& objectName, const CIMName& resultClass,
    const String& role, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    IRequest r(_rep, "References", nameSpace);
    r.objectName(objectName);
    r.className("ResultClass", resultClass);
    r.string("Role", role);
    r.boolean("IncludeQualifiers", includeQualifiers);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    r.propertyList(propertyList);
    return r.send().objects;
}

Array<CIMObjectPath> CIMClient::referenceNames(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& objectName, const CIMName& resultClass,
    const String& role)
{
    IRequest r(_rep, "ReferenceNames", nameSpace);
    r.objectName(objectName);
    r.className("ResultClass", resultClass);
    r.string("Role", role);
    return r.send().paths;
}

CIMValue CIMClient::getProperty(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& propertyName)
{
    IRequest r(_rep, "GetProperty", nameSpace);
    r.instanceName("InstanceName", instanceName);
    r.w().appendStringIParam("PropertyName", propertyName.getString());
    CimXmlIMethodResponse a = r.send();
    return a.hasValue ? a.value : CIMValue();
}

void CIMClient::setProperty(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& propertyName,
    const CIMValue& newValue)
{
    IRequest r(_rep, "SetProperty", nameSpace);
    r.instanceName("InstanceName", instanceName);
    r.w().appendStringIParam("PropertyName", propertyName.getString());
    if (!newValue.isNull())
    {
        r.w().appendIParamStart("NewValue");
        if (newValue.getType() == CIMTYPE_REFERENCE)
            r.w().out().push_back('\n');
        r.w().appendValue(newValue);
        r.w().appendIParamEnd();
    }
    r.send();
}

CIMQualifierDecl CIMClient::getQualifier(const CIMNamespaceName& nameSpace,
    const CIMName& qualifierName)
{
    IRequest r(_rep, "GetQualifier", nameSpace);
    r.w().appendStringIParam("QualifierName", qualifierName.getString());
    CimXmlIMethodResponse a = r.send();
    if (a.qualifierDecls.size() != 1)
        unexpected("GetQualifier needs one QUALIFIER.DECLARATION");
    return a.qualifierDecls[0];
}

void CIMClient::setQualifier(const CIMNamespaceName& nameSpace,
    const CIMQualifierDecl& qualifierDeclaration)
{
    IRequest r(_rep, "SetQualifier", nameSpace);
    r.w().appendIParamStart("QualifierDeclaration");
    r.w().appendQualifierDecl(qualifierDeclaration);
    r.w().appendIParamEnd();
    r.send();
}

void CIMClient::deleteQualifier(const CIMNamespaceName& nameSpace,
    const CIMName& qualifierName)
{
    IRequest r(_rep, "DeleteQualifier", nameSpace);
    r.w().appendStringIParam("QualifierName", qualifierName.getString());
    r.send();
}

Array<CIMQualifierDecl> CIMClient::enumerateQualifiers(
    const CIMNamespaceName& nameSpace)
{
    IRequest r(_rep, "EnumerateQualifiers", nameSpace);
    return r.send().qualifierDecls;
}

CIMValue CIMClient::invokeMethod(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& methodName,
    const Array<CIMParamValue>& inParameters, Array<CIMParamValue>& outParameters)
{
    CIMObjectPath target(String(), nameSpace, instanceName.getClassName(),
        instanceName.getKeyBindings());
    String id = _rep->nextMessageId();
    std::string body;
    XmlWriter w(body);
    w.appendRequestStart(id);
    w.appendStartTag("METHODCALL", "NAME", methodName.getString());
    if (target.getKeyBindings().size())
        w.appendLocalInstancePath(target);
    else
        w.appendLocalClassPath(target);
    for (Uint32 i = 0; i < inParameters.size(); i++)
        w.appendParamValue(inParameters[i]);
    w.appendEndTag("METHODCALL");
    w.appendRequestEnd();
    CimXmlMethodResponse a = _rep->extrinsic(methodName.getString(), id,
        target.toString(), body);
    outParameters = a.outParameters;
    return a.returnValue;
}

PEGASUS_NAMESPACE_END
