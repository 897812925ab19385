// A CIMOperations for the protocol tests: answers from a small in-memory
// set of EXM_Job instances and records what the processor passed in.
#ifndef CimXml_Tests_TestOperations_h
#define CimXml_Tests_TestOperations_h

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <Pegasus/Internal/CIMOperations.h>
#include <Pegasus/Common/Exception.h>

namespace cimxmltest
{

using namespace Pegasus;

struct Call
{
    std::string op;
    CIMNamespaceName ns;
    CIMObjectPath path;
    CIMName className;
    Boolean flags[4] = { false, false, false, false };
    CIMPropertyList propertyList;
    String role, resultRole;
    CIMName assocClass, resultClass;
    Array<CIMParamValue> in;
    CIMInstance instance;
    CIMValue value;
    String user;
};

class TestOperations : public CIMOperations
{
public:
    std::vector<Call> calls;
    // When set, every operation runs this first (to throw, to sleep, ...).
    void setBefore(std::function<void()> f)
    {
        std::lock_guard<std::mutex> lock(mutex);
        _before = f;
    }
    Array<CIMInstance> instances;
    CIMClass jobClass;
    mutable std::mutex mutex;

    TestOperations();

    Call last()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return calls.back();
    }

    CIMClass getClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean localOnly, Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) override;
    Array<CIMClass> enumerateClasses(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin) override;
    Array<CIMName> enumerateClassNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance) override;
    void createClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMClass& newClass) override;
    void modifyClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMClass& modifiedClass) override;
    void deleteClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className) override;
    CIMQualifierDecl getQualifier(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& qualifierName) override;
    Array<CIMQualifierDecl> enumerateQualifiers(
        const OperationContext& context, const CIMNamespaceName& nameSpace) override;
    CIMInstance getInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        Boolean localOnly, Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) override;
    Array<CIMInstance> enumerateInstances(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList) override;
    Array<CIMObjectPath> enumerateInstanceNames(
        const OperationContext& context, const CIMNamespaceName& nameSpace,
        const CIMName& className) override;
    CIMObjectPath createInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMInstance& newInstance) override;
    void modifyInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMInstance& modifiedInstance,
        Boolean includeQualifiers, const CIMPropertyList& propertyList) override;
    void deleteInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName) override;
    Array<CIMObject> associators(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& assocClass, const CIMName& resultClass,
        const String& role, const String& resultRole,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) override;
    Array<CIMObjectPath> associatorNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& assocClass, const CIMName& resultClass,
        const String& role, const String& resultRole) override;
    Array<CIMObject> references(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) override;
    Array<CIMObjectPath> referenceNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role) override;
    CIMValue getProperty(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& propertyName) override;
    void setProperty(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& propertyName, const CIMValue& newValue) override;
    CIMValue invokeMethod(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& methodName, const Array<CIMParamValue>& inParameters,
        Array<CIMParamValue>& outParameters) override;

private:
    std::function<void()> _before;
    void record(Call c, const OperationContext& context);
    CIMInstance find(const CIMObjectPath& path);
};

// The EXM_Job path of job n ("EXM:Job:<n>"), no host or namespace.
CIMObjectPath jobPath(int n);
// The CIM_Error instance of the method example.
CIMInstance errorInstance();

} // namespace cimxmltest

#endif
