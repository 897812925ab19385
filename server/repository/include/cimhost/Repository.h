// The class repository of cimhost: namespaces, qualifier declarations,
// classes with their inheritance resolved, and stored (static) instances.
//
// Every member is thread-safe: readers share the lock, writers take it alone.
// Objects handed out are clones: changing them never changes the repository.
//
// Errors are Pegasus::CIMException with the CIM status code a client sees:
//   unknown namespace                      CIM_ERR_INVALID_NAMESPACE, message = namespace name
//   getClass/getFullClass unknown class    CIM_ERR_NOT_FOUND, message = class name
//   class given to an enumeration, or the
//   class of an instance, is unknown       CIM_ERR_INVALID_CLASS, message = class name
//   unknown qualifier                      CIM_ERR_NOT_FOUND, message = qualifier name
//   instance not found                     CIM_ERR_NOT_FOUND, message = instance path
//                                          without host and namespace
//   instance exists already                CIM_ERR_ALREADY_EXISTS, message = instance path
//   class definition errors (addClass)     CIM_ERR_INVALID_SUPERCLASS, CIM_ERR_ALREADY_EXISTS,
//                                          CIM_ERR_INVALID_PARAMETER, with a sentence
#ifndef cimhost_Repository_h
#define cimhost_Repository_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

#include <memory>
#include <shared_mutex>

namespace cimhost {

class Repository
{
public:
    Repository();
    ~Repository();
    Repository(const Repository&) = delete;
    Repository& operator=(const Repository&) = delete;

    // ---- namespaces
    // Creates the namespace if it does not exist yet.
    void createNamespace(const Pegasus::CIMNamespaceName& nameSpace);
    bool namespaceExists(const Pegasus::CIMNamespaceName& nameSpace) const;
    // The name the namespace was created with (for an alias, the namespace
    // it names). CIM_ERR_INVALID_NAMESPACE when there is none.
    Pegasus::CIMNamespaceName canonicalNamespace(
        const Pegasus::CIMNamespaceName& nameSpace) const;
    // In creation order; aliases are not listed.
    Pegasus::Array<Pegasus::CIMNamespaceName> enumerateNamespaces() const;
    // Makes alias a second name of the existing namespace target: everything
    // asked of the alias is asked of the target. CIM_ERR_INVALID_NAMESPACE
    // when target does not exist, CIM_ERR_ALREADY_EXISTS when alias names a
    // namespace already.
    void addNamespaceAlias(const Pegasus::CIMNamespaceName& alias,
        const Pegasus::CIMNamespaceName& target);

    // ---- qualifier declarations
    // Adds the declaration, or replaces one of the same name.
    void setQualifier(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMQualifierDecl& decl);
    Pegasus::CIMQualifierDecl getQualifier(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& qualifierName) const;
    // In declaration order.
    Pegasus::Array<Pegasus::CIMQualifierDecl> enumerateQualifiers(
        const Pegasus::CIMNamespaceName& nameSpace) const;

    // ---- classes
    // Adds a class given with its own (local) elements only. The superclass
    // must exist. The stored class is resolved: inherited properties and
    // methods carry their class origin and propagated = true, overriding
    // elements have this class as origin, qualifiers flow down per flavor
    // (ToSubclass ones propagate, Restricted ones do not, DisableOverride
    // ones may not change value). Checks: no reference in a non-association
    // class, keys are not arrays, an override keeps the type, the class an
    // EmbeddedInstance qualifier names is defined already (or is this one).
    void addClass(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMClass& newClass);
    // CIM_ERR_CLASS_HAS_CHILDREN / CIM_ERR_CLASS_HAS_INSTANCES when not a leaf
    // or when instances are stored.
    void deleteClass(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className);

    // GetClass: localOnly drops propagated properties, methods and class
    // qualifiers; includeQualifiers = false drops every qualifier (class,
    // properties, methods, parameters); includeClassOrigin = false clears the
    // class origins; a non-null propertyList keeps only the listed properties.
    Pegasus::CIMClass getClass(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className,
        bool localOnly = true, bool includeQualifiers = true,
        bool includeClassOrigin = false,
        const Pegasus::CIMPropertyList& propertyList = Pegasus::CIMPropertyList()) const;

    // EnumerateClasses / EnumerateClassNames: a null className means the
    // top-level classes (deepInheritance = false) or every class (true);
    // otherwise the direct subclasses or the whole subtree, never the class
    // itself. Classes come in definition order (a superclass before its
    // subclasses).
    Pegasus::Array<Pegasus::CIMClass> enumerateClasses(
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className = Pegasus::CIMName(),
        bool deepInheritance = false, bool localOnly = true,
        bool includeQualifiers = true, bool includeClassOrigin = false) const;
    Pegasus::Array<Pegasus::CIMName> enumerateClassNames(
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className = Pegasus::CIMName(),
        bool deepInheritance = false) const;

    // The resolved class with everything: inherited elements, all
    // qualifiers, class origins.
    Pegasus::CIMClass getFullClass(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className) const;
    // The class as it was declared (local elements only).
    Pegasus::CIMClass getLocalClass(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className) const;

    // False for an unknown namespace too.
    bool classExists(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className) const;
    // True when className is baseClassName or derives from it; false when
    // either is unknown.
    bool isSubclassOf(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className,
        const Pegasus::CIMName& baseClassName) const;
    // Subclass names (not the class itself), direct ones only or the whole
    // subtree, in definition order. CIM_ERR_INVALID_CLASS for an unknown class.
    Pegasus::Array<Pegasus::CIMName> getSubclassNames(
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className, bool deep = true) const;
    // The superclass chain, direct superclass first, root class last.
    // CIM_ERR_INVALID_CLASS for an unknown class.
    Pegasus::Array<Pegasus::CIMName> getSuperClassNames(
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className) const;

    // ---- stored instances
    // Instance paths carry the namespace, no host, and the key bindings of
    // the class's Key properties. Keys match by name (any case) and typed
    // value; references ignore their host. A path names an instance of its
    // class or of a subclass.
    //
    // CreateInstance: the stored instance gets every property of the class in
    // class order (values given, else the class default); properties unknown
    // to the class or of the wrong type are CIM_ERR_INVALID_PARAMETER, so is a
    // key without value; an abstract class is CIM_ERR_INVALID_CLASS.
    Pegasus::CIMObjectPath createInstance(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMInstance& newInstance);
    // Instance qualifiers are never returned; includeClassOrigin = false
    // clears class origins; a non-null propertyList keeps the listed ones.
    Pegasus::CIMInstance getInstance(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName,
        bool includeClassOrigin = false,
        const Pegasus::CIMPropertyList& propertyList = Pegasus::CIMPropertyList()) const;
    // Instances of the class and its subclasses, in creation order per class,
    // classes in definition order. deepInheritance = false limits each
    // instance to the properties of className.
    Pegasus::Array<Pegasus::CIMInstance> enumerateInstances(
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className,
        bool deepInheritance = true, bool includeClassOrigin = false,
        const Pegasus::CIMPropertyList& propertyList = Pegasus::CIMPropertyList()) const;
    Pegasus::Array<Pegasus::CIMObjectPath> enumerateInstanceNames(
        const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className) const;
    // The instance is selected by modifiedInstance.getPath(). Without a
    // propertyList every property present is replaced, otherwise only the
    // listed ones (a listed property absent from modifiedInstance becomes
    // its class default). Unknown properties: CIM_ERR_NO_SUCH_PROPERTY;
    // wrong types: CIM_ERR_TYPE_MISMATCH; a changed key: CIM_ERR_INVALID_PARAMETER.
    void modifyInstance(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMInstance& modifiedInstance,
        const Pegasus::CIMPropertyList& propertyList = Pegasus::CIMPropertyList());
    void deleteInstance(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMObjectPath& instanceName);

private:
    struct Data;
    std::unique_ptr<Data> _data;
    mutable std::shared_mutex _mutex;
};

} // namespace cimhost

#endif
