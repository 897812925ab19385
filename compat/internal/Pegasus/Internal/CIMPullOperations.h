// The pull operations (open an enumeration, pull it page by page, close it),
// in one abstract interface beside CIMOperations.
//
// The server implements it with its table of enumeration contexts; the
// CIM-XML request processor decodes the Open.../Pull.../CloseEnumeration/
// EnumerationCount calls into it; the client side (CIMPullClient) sends
// them. An enumeration context is named by an opaque string that the
// server hands out with the first page.
//
// Not part of the OpenPegasus API: provider modules never include this.
#ifndef Pegasus_Internal_CIMPullOperations_h
#define Pegasus_Internal_CIMPullOperations_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>

PEGASUS_NAMESPACE_BEGIN

// The parameters every Open... operation takes besides its own. A filter
// or ContinueOnError = true is refused by the server with the standard
// error; a NULL OperationTimeout lets the server choose.
struct CIMPullRequest
{
    Boolean hasFilterQueryLanguage = false;
    String filterQueryLanguage;
    Boolean hasFilterQuery = false;
    String filterQuery;
    Boolean hasOperationTimeout = false;
    Uint32 operationTimeout = 0;        // seconds
    Boolean continueOnError = false;
    Uint32 maxObjectCount = 0;          // objects in the first page
};

// One page of an enumeration. instances (each with its full path) answer the
// ...Instances operations and PullInstancesWithPath, paths the ...Paths
// operations and PullInstancePaths. At the end of the sequence the server
// has already freed the context.
struct CIMPullResult
{
    Array<CIMInstance> instances;
    Array<CIMObjectPath> paths;
    Boolean endOfSequence = false;
    String enumerationContext;
};

class CIMPullOperations
{
public:
    virtual ~CIMPullOperations() {}

    virtual CIMPullResult openEnumerateInstances(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, const CIMPullRequest& request) = 0;
    virtual CIMPullResult openEnumerateInstancePaths(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        const CIMPullRequest& request) = 0;
    virtual CIMPullResult openAssociatorInstances(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& assocClass, const CIMName& resultClass, const String& role,
        const String& resultRole, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, const CIMPullRequest& request) = 0;
    virtual CIMPullResult openAssociatorInstancePaths(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& assocClass, const CIMName& resultClass, const String& role,
        const String& resultRole, const CIMPullRequest& request) = 0;
    virtual CIMPullResult openReferenceInstances(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& resultClass, const String& role, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, const CIMPullRequest& request) = 0;
    virtual CIMPullResult openReferenceInstancePaths(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& resultClass, const String& role,
        const CIMPullRequest& request) = 0;

    virtual CIMPullResult pullInstancesWithPath(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const String& enumerationContext,
        Uint32 maxObjectCount) = 0;
    virtual CIMPullResult pullInstancePaths(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const String& enumerationContext,
        Uint32 maxObjectCount) = 0;
    virtual void closeEnumeration(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const String& enumerationContext) = 0;
    // The number of objects still to come (uint64), or NULL when the server
    // does not know it yet.
    virtual CIMValue enumerationCount(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const String& enumerationContext) = 0;
};

PEGASUS_NAMESPACE_END

#endif
