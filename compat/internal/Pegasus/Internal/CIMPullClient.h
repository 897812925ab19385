// The pull operations over a connected CIMClient: Open... gives the first
// page and the enumeration context's name, Pull... the next pages, until a
// page ends the sequence; CloseEnumeration abandons an enumeration early.
// Errors are thrown as CIMClient's are (CIMException for a CIM error).
//
// Not part of the OpenPegasus API.
#ifndef Pegasus_Internal_CIMPullClient_h
#define Pegasus_Internal_CIMPullClient_h

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Client/Linkage.h>
#include <Pegasus/Internal/CIMPullOperations.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_CLIENT_LINKAGE CIMPullClient
{
public:
    explicit CIMPullClient(CIMClient& client);

    CIMPullResult openEnumerateInstances(const CIMNamespaceName& nameSpace,
        const CIMName& className, Boolean deepInheritance = true,
        Boolean includeClassOrigin = false,
        const CIMPropertyList& propertyList = CIMPropertyList(),
        const CIMPullRequest& request = CIMPullRequest());
    CIMPullResult openEnumerateInstancePaths(const CIMNamespaceName& nameSpace,
        const CIMName& className, const CIMPullRequest& request = CIMPullRequest());
    CIMPullResult openAssociatorInstances(const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& assocClass = CIMName(),
        const CIMName& resultClass = CIMName(), const String& role = String(),
        const String& resultRole = String(), Boolean includeClassOrigin = false,
        const CIMPropertyList& propertyList = CIMPropertyList(),
        const CIMPullRequest& request = CIMPullRequest());
    CIMPullResult openAssociatorInstancePaths(const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& assocClass = CIMName(),
        const CIMName& resultClass = CIMName(), const String& role = String(),
        const String& resultRole = String(),
        const CIMPullRequest& request = CIMPullRequest());
    CIMPullResult openReferenceInstances(const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& resultClass = CIMName(),
        const String& role = String(), Boolean includeClassOrigin = false,
        const CIMPropertyList& propertyList = CIMPropertyList(),
        const CIMPullRequest& request = CIMPullRequest());
    CIMPullResult openReferenceInstancePaths(const CIMNamespaceName& nameSpace,
        const CIMObjectPath& instanceName, const CIMName& resultClass = CIMName(),
        const String& role = String(), const CIMPullRequest& request = CIMPullRequest());

    CIMPullResult pullInstancesWithPath(const CIMNamespaceName& nameSpace,
        const String& enumerationContext, Uint32 maxObjectCount);
    CIMPullResult pullInstancePaths(const CIMNamespaceName& nameSpace,
        const String& enumerationContext, Uint32 maxObjectCount);
    void closeEnumeration(const CIMNamespaceName& nameSpace,
        const String& enumerationContext);
    // uint64, or NULL when the server does not know.
    CIMValue enumerationCount(const CIMNamespaceName& nameSpace,
        const String& enumerationContext);

private:
    CIMClient& _client;
};

PEGASUS_NAMESPACE_END

#endif
