// The handle a provider uses to call back into the CIM server.
//
// A handle obtained from the server (the one passed to initialize()) routes
// every call synchronously through the server's operation router, on the
// calling thread. Copies share one reference-counted representation.
#ifndef Pegasus_CIMOMHandle_h
#define Pegasus_CIMOMHandle_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/Linkage.h>

PEGASUS_NAMESPACE_BEGIN

class CIMOMHandleRep;
class CIMOMHandleAccess;

class PEGASUS_PROVIDER_LINKAGE CIMOMHandle
{
public:
    CIMOMHandle();
    CIMOMHandle(const CIMOMHandle&);
    ~CIMOMHandle();
    CIMOMHandle& operator=(const CIMOMHandle& handle);

    CIMClass getClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList);

    Array<CIMClass> enumerateClasses(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin);

    Array<CIMName> enumerateClassNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance);

    void createClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMClass& newClass);

    void modifyClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMClass& modifiedClass);

    void deleteClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className);

    CIMInstance getInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList);

    Array<CIMInstance> enumerateInstances(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList);

    Array<CIMObjectPath> enumerateInstanceNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className);

    CIMObjectPath createInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMInstance& newInstance);

    void modifyInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMInstance& modifiedInstance,
        Boolean includeQualifiers, const CIMPropertyList& propertyList);

    void deleteInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName);

    Array<CIMObject> execQuery(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const String& queryLanguage,
        const String& query);

    Array<CIMObject> associators(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& assocClass, const CIMName& resultClass,
        const String& role, const String& resultRole,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    Array<CIMObjectPath> associatorNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& assocClass, const CIMName& resultClass,
        const String& role, const String& resultRole);

    Array<CIMObject> references(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList);

    Array<CIMObjectPath> referenceNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role);

    CIMValue getProperty(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& propertyName);

    void setProperty(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& propertyName, const CIMValue& newValue);

    CIMValue invokeMethod(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& methodName, const Array<CIMParamValue>& inParameters,
        Array<CIMParamValue>& outParameters);

    // Counted hint: the provider must not be unloaded while the count is
    // above zero. Pair each call with allowProviderUnload().
    void disallowProviderUnload();
    void allowProviderUnload();

#ifdef PEGASUS_USE_EXPERIMENTAL_INTERFACES
    // Content languages of the last response received through this handle.
    OperationContext getResponseContext();
#endif

private:
    friend class CIMOMHandleAccess;
    CIMOMHandleRep* _rep;
};

PEGASUS_NAMESPACE_END

#endif
