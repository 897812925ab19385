// The pull operations encoded as CIM-XML requests.
#include <Pegasus/Internal/CIMPullClient.h>

#include <string>

#include "CIMClientRep.h"
#include "IRequest.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

void uint32IParam(IRequest& r, const char* name, Uint32 value)
{
    r.w().appendIParamStart(name);
    r.w().appendValue(CIMValue(value));
    r.w().appendIParamEnd();
}

// The parameters every Open... operation shares; NULL ones are left out.
void openParams(IRequest& r, const CIMPullRequest& request)
{
    if (request.hasFilterQueryLanguage)
        r.w().appendStringIParam("FilterQueryLanguage", request.filterQueryLanguage);
    if (request.hasFilterQuery)
        r.w().appendStringIParam("FilterQuery", request.filterQuery);
    if (request.hasOperationTimeout)
        uint32IParam(r, "OperationTimeout", request.operationTimeout);
    if (request.continueOnError)
        r.boolean("ContinueOnError", true);
    uint32IParam(r, "MaxObjectCount", request.maxObjectCount);
}

CIMPullResult page(const CimXmlIMethodResponse& a)
{
    CIMPullResult result;
    result.instances = a.instances;
    result.paths = a.paths;
    bool haveEnd = false;
    for (Uint32 i = 0; i < a.outParameters.size(); i++)
    {
        const CIMParamValue& p = a.outParameters[i];
        CIMValue v = p.getValue();
        if (String::equalNoCase(p.getParameterName(), "EndOfSequence") && !v.isNull())
        {
            if (v.getType() == CIMTYPE_BOOLEAN)
                v.get(result.endOfSequence);
            else
            {
                String text;
                v.get(text);
                result.endOfSequence = String::equalNoCase(text, "TRUE");
            }
            haveEnd = true;
        }
        else if (String::equalNoCase(p.getParameterName(), "EnumerationContext") &&
            !v.isNull() && v.getType() == CIMTYPE_STRING)
            v.get(result.enumerationContext);
    }
    if (!haveEnd || (!result.endOfSequence && result.enumerationContext.size() == 0))
    {
        throw CIMClientResponseException(String(
            "unexpected response content: pull answer without EndOfSequence or "
            "EnumerationContext"));
    }
    return result;
}

void contextParam(IRequest& r, const String& enumerationContext)
{
    r.w().appendStringIParam("EnumerationContext", enumerationContext);
}

} // namespace

CIMPullClient::CIMPullClient(CIMClient& client) : _client(client)
{
}

CIMPullResult CIMPullClient::openEnumerateInstances(const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean deepInheritance, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, const CIMPullRequest& request)
{
    IRequest r(_client._rep, "OpenEnumerateInstances", nameSpace);
    r.className("ClassName", className);
    r.boolean("DeepInheritance", deepInheritance);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    r.propertyList(propertyList);
    openParams(r, request);
    return page(r.send());
}

CIMPullResult CIMPullClient::openEnumerateInstancePaths(const CIMNamespaceName& nameSpace,
    const CIMName& className, const CIMPullRequest& request)
{
    IRequest r(_client._rep, "OpenEnumerateInstancePaths", nameSpace);
    r.className("ClassName", className);
    openParams(r, request);
    return page(r.send());
}

CIMPullResult CIMPullClient::openAssociatorInstances(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& assocClass,
    const CIMName& resultClass, const String& role, const String& resultRole,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    const CIMPullRequest& request)
{
    IRequest r(_client._rep, "OpenAssociatorInstances", nameSpace);
    r.instanceName("InstanceName", instanceName);
    r.className("AssocClass", assocClass);
    r.className("ResultClass", resultClass);
    r.string("Role", role);
    r.string("ResultRole", resultRole);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    r.propertyList(propertyList);
    openParams(r, request);
    return page(r.send());
}

CIMPullResult CIMPullClient::openAssociatorInstancePaths(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& assocClass,
    const CIMName& resultClass, const String& role, const String& resultRole,
    const CIMPullRequest& request)
{
    IRequest r(_client._rep, "OpenAssociatorInstancePaths", nameSpace);
    r.instanceName("InstanceName", instanceName);
    r.className("AssocClass", assocClass);
    r.className("ResultClass", resultClass);
    r.string("Role", role);
    r.string("ResultRole", resultRole);
    openParams(r, request);
    return page(r.send());
}

CIMPullResult CIMPullClient::openReferenceInstances(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& resultClass, const String& role,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    const CIMPullRequest& request)
{
    IRequest r(_client._rep, "OpenReferenceInstances", nameSpace);
    r.instanceName("InstanceName", instanceName);
    r.className("ResultClass", resultClass);
    r.string("Role", role);
    r.boolean("IncludeClassOrigin", includeClassOrigin);
    r.propertyList(propertyList);
    openParams(r, request);
    return page(r.send());
}

CIMPullResult CIMPullClient::openReferenceInstancePaths(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& resultClass, const String& role,
    const CIMPullRequest& request)
{
    IRequest r(_client._rep, "OpenReferenceInstancePaths", nameSpace);
    r.instanceName("InstanceName", instanceName);
    r.className("ResultClass", resultClass);
    r.string("Role", role);
    openParams(r, request);
    return page(r.send());
}

CIMPullResult CIMPullClient::pullInstancesWithPath(const CIMNamespaceName& nameSpace,
    const String& enumerationContext, Uint32 maxObjectCount)
{
    IRequest r(_client._rep, "PullInstancesWithPath", nameSpace);
    contextParam(r, enumerationContext);
    uint32IParam(r, "MaxObjectCount", maxObjectCount);
    return page(r.send());
}

CIMPullResult CIMPullClient::pullInstancePaths(const CIMNamespaceName& nameSpace,
    const String& enumerationContext, Uint32 maxObjectCount)
{
    IRequest r(_client._rep, "PullInstancePaths", nameSpace);
    contextParam(r, enumerationContext);
    uint32IParam(r, "MaxObjectCount", maxObjectCount);
    return page(r.send());
}

void CIMPullClient::closeEnumeration(const CIMNamespaceName& nameSpace,
    const String& enumerationContext)
{
    IRequest r(_client._rep, "CloseEnumeration", nameSpace);
    contextParam(r, enumerationContext);
    r.send();
}

CIMValue CIMPullClient::enumerationCount(const CIMNamespaceName& nameSpace,
    const String& enumerationContext)
{
    IRequest r(_client._rep, "EnumerationCount", nameSpace);
    contextParam(r, enumerationContext);
    CimXmlIMethodResponse a = r.send();
    if (!a.hasValue || a.value.isNull())
        return CIMValue(CIMTYPE_UINT64, false);
    String text;
    a.value.get(text);
    return XmlReader::scalarFromText(text, CIMTYPE_UINT64);
}

PEGASUS_NAMESPACE_END
