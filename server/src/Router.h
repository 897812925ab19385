// The operation router of cimhost: every CIM operation, from a client (via
// the CIM-XML request processor) or from a provider (via CIMOMHandle), comes
// here and goes to the class repository or to the registered provider.
//
// Providers are called the way the reference server's default C++ provider
// manager calls them:
// - object paths given to providers carry host = the server's host name and
//   namespace = the request namespace; the class name is spelled as the
//   client sent it (enumerations of subclasses use the subclass's name);
// - the OperationContext is built fresh for each call and holds the
//   IdentityContainer (user, client address), AcceptLanguageListContainer and
//   ContentLanguageListContainer of the request;
// - enumerateInstances/enumerateInstanceNames cover the class and all its
//   subclasses, whatever deepInheritance says: each class goes to its own
//   instance provider, classes without one to the repository's stored
//   instances. With deepInheritance = false, instances of subclasses keep only
//   the properties of the requested class;
// - association requests go to every association provider registered for an
//   association class (in the request namespace) that references the
//   object's class (or a superclass of it) and matches the assocClass filter
//   (associators, associatorNames) or the resultClass filter (references,
//   referenceNames) and the role; associationClass (resp. resultClass) is
//   replaced by that registered class, other filters pass through;
//   association classes without a provider contribute nothing;
// - untyped method input parameters are retyped to the method's declared
//   parameter types;
// - provider exceptions become CIMException: CIM ones keep code and message,
//   others give CIM_ERR_FAILED with their message or "Unknown error.".
// - with includeQualifiers, instances (and their properties) carry the
//   qualifiers of their class that flow to instances (ToSubclass or
//   ToInstance flavor), besides those the provider put there;
// - invokeMethod goes to the class's method provider whether the class
//   declares the method or not: the provider answers unknown names.
// Instance operations on classes without an instance provider use the
// repository's stored instances; invokeMethod on a class without a method
// provider is CIM_ERR_METHOD_NOT_AVAILABLE, or CIM_ERR_METHOD_NOT_FOUND when
// the class does not declare the method. Creating and deleting indication
// filters, listener destinations and subscriptions goes to the indication
// service, for any user (subscribing changes no schema and no array);
// modifying them is CIM_ERR_NOT_SUPPORTED.
//
// Changes to the schema (CreateClass, ModifyClass, DeleteClass) and to the
// repository's stored instances (CreateInstance, ModifyInstance, SetProperty,
// DeleteInstance of classes without an instance provider) are reserved to the
// administrators; anyone else gets CIM_ERR_ACCESS_DENIED before anything is
// changed. Reading the repository is open to every authenticated user. A
// request whose context has no IdentityContainer comes from inside the
// process (a provider's up-call with a fresh context, an embedding program)
// and is not checked: every request from a listener carries one.
//
// Calls run on the calling thread; an up-call from a provider re-enters the
// router directly. The router holds no lock while a provider runs.
#ifndef CIMHOST_ROUTER_H
#define CIMHOST_ROUTER_H

#include "ProviderManager.h"
#include "ProviderRegistry.h"

#include <Pegasus/Internal/CIMOperations.h>

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace cimhost
{

class Repository;
class IndicationService;

class Router : public Pegasus::CIMOperations
{
public:
    Router(Repository& repository, const ProviderRegistry& registry,
        ProviderManager& providers, const Pegasus::String& hostName);

    const Pegasus::String& hostName() const { return _hostName; }

    // The user names that may change the schema and the stored instances.
    // Set before serving; empty (the default): nobody.
    void setAdministrators(const std::vector<std::string>& userNames);
    // Instance operations on indication filters, listener destinations and
    // subscriptions go to this service (set before use; may be null).
    void setIndicationService(IndicationService* service) { _indications = service; }

    Pegasus::CIMClass getClass(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        Pegasus::Boolean localOnly, Pegasus::Boolean includeQualifiers,
        Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList) override;
    Pegasus::Array<Pegasus::CIMClass> enumerateClasses(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        Pegasus::Boolean deepInheritance, Pegasus::Boolean localOnly,
        Pegasus::Boolean includeQualifiers, Pegasus::Boolean includeClassOrigin) override;
    Pegasus::Array<Pegasus::CIMName> enumerateClassNames(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        Pegasus::Boolean deepInheritance) override;
    void createClass(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMClass& newClass) override;
    void modifyClass(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMClass& modifiedClass) override;
    void deleteClass(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className) override;

    Pegasus::CIMQualifierDecl getQualifier(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& qualifierName) override;
    Pegasus::Array<Pegasus::CIMQualifierDecl> enumerateQualifiers(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace) override;

    Pegasus::CIMInstance getInstance(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName, Pegasus::Boolean localOnly,
        Pegasus::Boolean includeQualifiers, Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList) override;
    Pegasus::Array<Pegasus::CIMInstance> enumerateInstances(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        Pegasus::Boolean deepInheritance, Pegasus::Boolean localOnly,
        Pegasus::Boolean includeQualifiers, Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList) override;
    Pegasus::Array<Pegasus::CIMObjectPath> enumerateInstanceNames(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className) override;
    void enumerateInstancesTo(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        Pegasus::Boolean deepInheritance, Pegasus::Boolean localOnly,
        Pegasus::Boolean includeQualifiers, Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList,
        Pegasus::CIMResultSink& sink) override;
    void enumerateInstanceNamesTo(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        Pegasus::CIMResultSink& sink) override;
    Pegasus::CIMObjectPath createInstance(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMInstance& newInstance) override;
    void modifyInstance(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMInstance& modifiedInstance,
        Pegasus::Boolean includeQualifiers,
        const Pegasus::CIMPropertyList& propertyList) override;
    void deleteInstance(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName) override;

    Pegasus::Array<Pegasus::CIMObject> associators(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole, Pegasus::Boolean includeQualifiers,
        Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList) override;
    Pegasus::Array<Pegasus::CIMObjectPath> associatorNames(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole) override;
    Pegasus::Array<Pegasus::CIMObject> references(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& resultClass,
        const Pegasus::String& role, Pegasus::Boolean includeQualifiers,
        Pegasus::Boolean includeClassOrigin,
        const Pegasus::CIMPropertyList& propertyList) override;
    Pegasus::Array<Pegasus::CIMObjectPath> referenceNames(
        const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& resultClass,
        const Pegasus::String& role) override;

    Pegasus::CIMValue getProperty(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName,
        const Pegasus::CIMName& propertyName) override;
    void setProperty(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName,
        const Pegasus::CIMName& propertyName,
        const Pegasus::CIMValue& newValue) override;

    Pegasus::CIMValue invokeMethod(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName, const Pegasus::CIMName& methodName,
        const Pegasus::Array<Pegasus::CIMParamValue>& inParameters,
        Pegasus::Array<Pegasus::CIMParamValue>& outParameters) override;

    // The enumerations and association queries again, streamed: each object
    // goes to the sink as soon as the provider releases it (in the same order
    // and form as the array answers above, which are built on these). An
    // exception the sink throws stops the operation and leaves as a
    // CIMException; objects already given to the sink stay given.
    typedef std::function<void(const Pegasus::CIMInstance&)> InstanceSink;
    typedef std::function<void(const Pegasus::CIMObjectPath&)> PathSink;
    typedef std::function<void(const Pegasus::CIMObject&)> ObjectSink;
    void enumerateInstances(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        Pegasus::Boolean deepInheritance, Pegasus::Boolean includeQualifiers,
        Pegasus::Boolean includeClassOrigin, const Pegasus::CIMPropertyList& propertyList,
        const InstanceSink& sink);
    void enumerateInstanceNames(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        const PathSink& sink);
    // The same, a run of paths at a time as the provider releases them.
    typedef std::function<void(const Pegasus::Array<Pegasus::CIMObjectPath>&)> PathChunkSink;
    void enumerateInstanceNameChunks(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className,
        const PathChunkSink& sink);
    void associators(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole, Pegasus::Boolean includeQualifiers,
        Pegasus::Boolean includeClassOrigin, const Pegasus::CIMPropertyList& propertyList,
        const ObjectSink& sink);
    void associatorNames(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole, const PathSink& sink);
    void references(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& resultClass,
        const Pegasus::String& role, Pegasus::Boolean includeQualifiers,
        Pegasus::Boolean includeClassOrigin, const Pegasus::CIMPropertyList& propertyList,
        const ObjectSink& sink);
    void referenceNames(const Pegasus::OperationContext& context,
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& resultClass,
        const Pegasus::String& role, const PathSink& sink);

    // Retypes untyped (string) input parameters to the declared parameter
    // types of the method. Null values become typed nulls; an array/scalar
    // mismatch is CIM_ERR_TYPE_MISMATCH, an unparsable value
    // CIM_ERR_INVALID_PARAMETER. Undeclared parameters stay untyped.
    static Pegasus::Array<Pegasus::CIMParamValue> retypeParameters(
        const Pegasus::CIMConstMethod& method,
        const Pegasus::Array<Pegasus::CIMParamValue>& inParameters);

    // One value to the declared type: untyped strings are parsed (embedded
    // objects decoded), null becomes a typed null, typed values stay.
    static Pegasus::CIMValue retypeValue(const Pegasus::String& name, Pegasus::CIMType type,
        Pegasus::Boolean isArray, const Pegasus::CIMValue& value);

private:
    struct AssociationClass
    {
        Pegasus::CIMName name;
        // (reference property name, referenced class)
        std::vector<std::pair<Pegasus::CIMName, Pegasus::CIMName>> references;
    };

    void checkNamespace(const Pegasus::CIMNamespaceName& nameSpace) const;
    // CIM_ERR_ACCESS_DENIED unless the request's user is an administrator.
    void requireAdministrator(const Pegasus::OperationContext& context,
        const char* operation) const;
    void checkClass(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className) const;
    ProviderManager::Lease lease(const ProviderCapability& capability);
    Pegasus::CIMObjectPath providerPath(const Pegasus::CIMObjectPath& path,
        const Pegasus::CIMNamespaceName& nameSpace) const;
    void completePath(Pegasus::CIMObjectPath& path,
        const Pegasus::CIMNamespaceName& nameSpace) const;
    Pegasus::CIMInstance withPath(const Pegasus::CIMInstance& instance,
        const Pegasus::CIMNamespaceName& nameSpace) const;
    // For includeQualifiers: gives each instance the qualifiers of its class
    // (and each property those of its declaration) that flow to instances.
    void addClassQualifiers(Pegasus::Array<Pegasus::CIMInstance>& instances,
        const Pegasus::CIMNamespaceName& nameSpace) const;
    // The same for one instance; `classes` caches the classes looked up.
    typedef std::map<std::string, Pegasus::CIMClass> ClassCache;
    Pegasus::CIMInstance withQualifiersOfClass(const Pegasus::CIMInstance& instance,
        const Pegasus::CIMNamespaceName& nameSpace, ClassCache& classes) const;
    std::vector<Pegasus::CIMName> associationClassesFor(
        const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& objectClass,
        const Pegasus::CIMName& filter, const Pegasus::String& role);
    void invalidateClassCaches();
    // Runs `call(provider, associationClass, handler)` on the association
    // provider of every association class that can link objects of
    // `objectName`'s class (narrowed by `filter` and `role`), and streams what
    // they release to `sink`, with host and namespace completed.
    template <class Collector, class Result, class Call>
    void gatherAssociations(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& filter,
        const Pegasus::String& role, Call call,
        const std::function<void(const Result&)>& sink);
    void completeResult(Pegasus::CIMObject& object,
        const Pegasus::CIMNamespaceName& nameSpace) const;
    void completeResult(Pegasus::CIMObjectPath& path,
        const Pegasus::CIMNamespaceName& nameSpace) const;

    Repository& _repository;
    const ProviderRegistry& _registry;
    ProviderManager& _providers;
    Pegasus::String _hostName;
    std::set<std::string> _administrators;  // written before serving only
    IndicationService* _indications = nullptr;

    std::mutex _cacheMutex;  // guards _associations
    std::map<std::string, std::vector<AssociationClass>> _associations;
};

} // namespace cimhost

#endif
