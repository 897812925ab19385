// The operations a CIM server answers, in one abstract interface.
//
// Three parts of the system meet here: the server's router implements it,
// CIMOMHandle forwards provider up-calls to it, the CIM-XML request processor
// decodes an HTTP request into one call of it, and the client library
// implements it over CIM-XML. The signatures follow CIMOMHandle, so a call
// means the same thing whichever side makes it.
//
// Not part of the OpenPegasus API: provider modules never include this.
#ifndef Pegasus_Internal_CIMOperations_h
#define Pegasus_Internal_CIMOperations_h

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
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Internal/CIMResultSink.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_COMMON_LINKAGE CIMOperations
{
public:
    virtual ~CIMOperations() {}

    virtual CIMClass getClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean localOnly, Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) = 0;
    virtual Array<CIMClass> enumerateClasses(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin) = 0;
    virtual Array<CIMName> enumerateClassNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance) = 0;
    virtual void createClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMClass& newClass) = 0;
    virtual void modifyClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMClass& modifiedClass) = 0;
    virtual void deleteClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className) = 0;

    virtual CIMQualifierDecl getQualifier(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& qualifierName) = 0;
    virtual Array<CIMQualifierDecl> enumerateQualifiers(
        const OperationContext& context, const CIMNamespaceName& nameSpace) = 0;

    virtual CIMInstance getInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        Boolean localOnly, Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) = 0;
    virtual Array<CIMInstance> enumerateInstances(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList) = 0;
    virtual Array<CIMObjectPath> enumerateInstanceNames(
        const OperationContext& context, const CIMNamespaceName& nameSpace,
        const CIMName& className) = 0;
    // The same two enumerations, handing each object to the sink as soon as
    // it is available. By default they run the calls above and hand over
    // their results; a server overrides them to stream.
    virtual void enumerateInstancesTo(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList,
        CIMResultSink& sink)
    {
        Array<CIMInstance> a = enumerateInstances(context, nameSpace, className,
            deepInheritance, localOnly, includeQualifiers, includeClassOrigin, propertyList);
        for (Uint32 i = 0; i < a.size(); i++)
            sink.instance(a[i]);
    }
    virtual void enumerateInstanceNamesTo(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className, CIMResultSink& sink)
    {
        sink.paths(enumerateInstanceNames(context, nameSpace, className));
    }
    virtual CIMObjectPath createInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMInstance& newInstance) = 0;
    virtual void modifyInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMInstance& modifiedInstance,
        Boolean includeQualifiers, const CIMPropertyList& propertyList) = 0;
    virtual void deleteInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName) = 0;

    virtual Array<CIMObject> associators(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& assocClass, const CIMName& resultClass,
        const String& role, const String& resultRole,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) = 0;
    virtual Array<CIMObjectPath> associatorNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& assocClass, const CIMName& resultClass,
        const String& role, const String& resultRole) = 0;
    virtual Array<CIMObject> references(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) = 0;
    virtual Array<CIMObjectPath> referenceNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role) = 0;

    virtual CIMValue getProperty(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& propertyName) = 0;
    virtual void setProperty(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& propertyName, const CIMValue& newValue) = 0;

    virtual CIMValue invokeMethod(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& methodName, const Array<CIMParamValue>& inParameters,
        Array<CIMParamValue>& outParameters) = 0;
};

PEGASUS_NAMESPACE_END

#endif
