// A CIMOperations for the protocol tests: answers from a small in-memory
// set of EXM_Job instances and records what the processor passed in.
#ifndef CimXml_Tests_TestOperations_h
#define CimXml_Tests_TestOperations_h

#include <functional>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>

#include <Pegasus/Internal/CIMOperations.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>

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

// The EXM_Job path of job n ("EXM:Job:<n>"), no host or namespace.
inline CIMObjectPath jobPath(int n)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"),
        String(("EXM:Job:" + std::to_string(n)).c_str()), CIMKeyBinding::STRING));
    return CIMObjectPath(String(), CIMNamespaceName(), CIMName("EXM_Job"), keys);
}

// The CIM_Error instance of the method example.
inline CIMInstance errorInstance()
{
    CIMInstance e(CIMName("CIM_Error"));
    e.addProperty(CIMProperty(CIMName("ErrorType"), CIMValue(Uint16(4))));
    e.addProperty(CIMProperty(CIMName("PerceivedSeverity"), CIMValue(Uint16(5))));
    e.addProperty(CIMProperty(CIMName("CIMStatusCode"), CIMValue(Uint32(1))));
    e.addProperty(CIMProperty(CIMName("Message"),
        CIMValue(String("Copy of \"v1\" failed: source & target overlap"))));
    return e;
}

// A record of one call: its operation, namespace, flags in the order of the
// signature and property list.
inline Call call(const char* op, const CIMNamespaceName& ns,
    std::initializer_list<Boolean> flags = {},
    const CIMPropertyList& propertyList = CIMPropertyList())
{
    Call c;
    c.op = op;
    c.ns = ns;
    Uint32 i = 0;
    for (Boolean f : flags)
        c.flags[i++] = f;
    c.propertyList = propertyList;
    return c;
}

// A record of a call on an object path.
inline Call call(const char* op, const CIMNamespaceName& ns, const CIMObjectPath& path,
    std::initializer_list<Boolean> flags = {},
    const CIMPropertyList& propertyList = CIMPropertyList())
{
    Call c = call(op, ns, flags, propertyList);
    c.path = path;
    return c;
}

inline CIMObjectPath hostPath(const char* cls, const Array<CIMKeyBinding>& keys)
{
    return CIMObjectPath(String("cimsrv.example.com"), CIMNamespaceName("root/exm"),
        CIMName(cls), keys);
}

class TestOperations : public CIMOperations
{
public:
    std::vector<Call> calls;
    Array<CIMInstance> instances;
    CIMClass jobClass;
    mutable std::mutex mutex;

    TestOperations()
    {
        for (int n = 17; n <= 18; n++)
        {
            CIMInstance i(CIMName("EXM_Job"));
            i.addProperty(CIMProperty(CIMName("InstanceID"),
                CIMValue(String(("EXM:Job:" + std::to_string(n)).c_str()))));
            i.addProperty(CIMProperty(CIMName("JobState"), CIMValue(Uint16(7))));
            i.setPath(jobPath(n));
            instances.append(i);
        }
        jobClass = CIMClass(CIMName("EXM_Job"), CIMName("CIM_ConcreteJob"));
        jobClass.addQualifier(CIMQualifier(CIMName("Description"),
            CIMValue(String("Example job class")), CIMFlavor::DEFAULTS + CIMFlavor::TRANSLATABLE));
        CIMProperty id(CIMName("InstanceID"), CIMValue(CIMTYPE_STRING, false), 0, CIMName(),
            CIMName("CIM_ManagedElement"), true);
        id.addQualifier(CIMQualifier(CIMName("Key"), CIMValue(true),
            CIMFlavor::TOSUBCLASS + CIMFlavor::DISABLEOVERRIDE));
        jobClass.addProperty(id);
        CIMMethod m(CIMName("GetErrorRecord"), CIMTYPE_UINT32, CIMName("EXM_Job"));
        CIMParameter index(CIMName("Index"), CIMTYPE_UINT16);
        index.addQualifier(CIMQualifier(CIMName("In"), CIMValue(true),
            CIMFlavor::TOSUBCLASS + CIMFlavor::DISABLEOVERRIDE));
        m.addParameter(index);
        jobClass.addMethod(m);
    }

    // When set, every operation runs this first (to throw, to sleep, ...).
    void setBefore(std::function<void()> f)
    {
        std::lock_guard<std::mutex> lock(mutex);
        _before = f;
    }

    Call last()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return calls.back();
    }

    CIMClass getClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className, Boolean localOnly,
        Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) override
    {
        Call c = call("getClass", nameSpace,
            {localOnly, includeQualifiers, includeClassOrigin}, propertyList);
        c.className = className;
        record(c, context);
        if (!className.equal(CIMName("EXM_Job")))
            throw CIMException(CIM_ERR_NOT_FOUND, className.getString());
        return jobClass.clone();
    }

    Array<CIMClass> enumerateClasses(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin) override
    {
        Call c = call("enumerateClasses", nameSpace,
            {deepInheritance, localOnly, includeQualifiers, includeClassOrigin});
        c.className = className;
        record(c, context);
        return Array<CIMClass>(1, jobClass.clone());
    }

    Array<CIMName> enumerateClassNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance) override
    {
        Call c = call("enumerateClassNames", nameSpace, {deepInheritance});
        c.className = className;
        record(c, context);
        Array<CIMName> a;
        a.append(CIMName("EXM_Job"));
        a.append(CIMName("EXM_JobService"));
        return a;
    }

    void createClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMClass&) override
    {
        record(call("createClass", nameSpace), context);
    }

    void modifyClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMClass&) override
    {
        record(call("modifyClass", nameSpace), context);
    }

    void deleteClass(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName&) override
    {
        record(call("deleteClass", nameSpace), context);
        throw CIMException(CIM_ERR_NOT_SUPPORTED);
    }

    CIMQualifierDecl getQualifier(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& qualifierName) override
    {
        record(call("getQualifier", nameSpace), context);
        return CIMQualifierDecl(qualifierName, CIMValue(false),
            CIMScope::PROPERTY + CIMScope::REFERENCE,
            CIMFlavor::TOSUBCLASS + CIMFlavor::DISABLEOVERRIDE);
    }

    Array<CIMQualifierDecl> enumerateQualifiers(
        const OperationContext& context, const CIMNamespaceName& nameSpace) override
    {
        record(call("enumerateQualifiers", nameSpace), context);
        Array<CIMQualifierDecl> a;
        a.append(CIMQualifierDecl(CIMName("Key"), CIMValue(false),
            CIMScope::PROPERTY + CIMScope::REFERENCE,
            CIMFlavor::TOSUBCLASS + CIMFlavor::DISABLEOVERRIDE));
        a.append(CIMQualifierDecl(CIMName("ValueMap"), CIMValue(CIMTYPE_STRING, true),
            CIMScope::PROPERTY + CIMScope::METHOD + CIMScope::PARAMETER));
        return a;
    }

    CIMInstance getInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        Boolean localOnly, Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) override
    {
        record(call("getInstance", nameSpace, instanceName,
            {localOnly, includeQualifiers, includeClassOrigin}, propertyList), context);
        if (instanceName.getClassName().equal(CIMName("EXM_OwningJobElement")))
        {
            Array<CIMKeyBinding> svc;
            svc.append(CIMKeyBinding(CIMName("CreationClassName"), String("EXM_JobService"),
                CIMKeyBinding::STRING));
            svc.append(CIMKeyBinding(CIMName("Name"), String("jobsvc"), CIMKeyBinding::STRING));
            CIMInstance i(CIMName("EXM_OwningJobElement"));
            i.addProperty(CIMProperty(CIMName("OwningElement"),
                CIMValue(hostPath("EXM_JobService", svc)), 0, CIMName("CIM_ManagedElement")));
            i.addProperty(CIMProperty(CIMName("OwnedElement"),
                CIMValue(hostPath("EXM_Job", jobPath(17).getKeyBindings())), 0,
                CIMName("CIM_Job")));
            return i;
        }
        CIMInstance i = find(instanceName);
        i.setPath(CIMObjectPath(String(), CIMNamespaceName(), instanceName.getClassName(),
            instanceName.getKeyBindings()));
        return i;
    }

    Array<CIMInstance> enumerateInstances(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        Boolean deepInheritance, Boolean localOnly, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList) override
    {
        Call c = call("enumerateInstances", nameSpace,
            {deepInheritance, localOnly, includeQualifiers, includeClassOrigin}, propertyList);
        c.className = className;
        record(c, context);
        Array<CIMInstance> a;
        for (Uint32 i = 0; i < instances.size(); i++)
            if (instances[i].getClassName().equal(className))
                a.append(instances[i].clone());
        return a;
    }

    Array<CIMObjectPath> enumerateInstanceNames(
        const OperationContext& context, const CIMNamespaceName& nameSpace,
        const CIMName& className) override
    {
        Call c = call("enumerateInstanceNames", nameSpace);
        c.className = className;
        record(c, context);
        Array<CIMObjectPath> a;
        for (Uint32 i = 0; i < instances.size(); i++)
            if (instances[i].getClassName().equal(className))
                a.append(instances[i].getPath());
        return a;
    }

    CIMObjectPath createInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMInstance& newInstance) override
    {
        Call c = call("createInstance", nameSpace);
        c.instance = newInstance;
        record(c, context);
        return jobPath(19);
    }

    void modifyInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMInstance& modifiedInstance,
        Boolean includeQualifiers, const CIMPropertyList& propertyList) override
    {
        Call c = call("modifyInstance", nameSpace, modifiedInstance.getPath(),
            {includeQualifiers}, propertyList);
        c.instance = modifiedInstance;
        record(c, context);
    }

    void deleteInstance(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName) override
    {
        record(call("deleteInstance", nameSpace, instanceName), context);
        find(instanceName);
    }

    Array<CIMObject> associators(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& assocClass, const CIMName& resultClass, const String& role,
        const String& resultRole, Boolean includeQualifiers, Boolean includeClassOrigin,
        const CIMPropertyList& propertyList) override
    {
        Call c = call("associators", nameSpace, objectName,
            {includeQualifiers, includeClassOrigin}, propertyList);
        c.assocClass = assocClass;
        c.resultClass = resultClass;
        c.role = role;
        c.resultRole = resultRole;
        record(c, context);
        return Array<CIMObject>(1, CIMObject(instances[0].clone()));
    }

    Array<CIMObjectPath> associatorNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& assocClass, const CIMName& resultClass, const String& role,
        const String& resultRole) override
    {
        Call c = call("associatorNames", nameSpace, objectName);
        c.assocClass = assocClass;
        c.resultClass = resultClass;
        c.role = role;
        c.resultRole = resultRole;
        record(c, context);
        return Array<CIMObjectPath>(1, jobPath(17));
    }

    Array<CIMObject> references(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role, Boolean includeQualifiers,
        Boolean includeClassOrigin, const CIMPropertyList& propertyList) override
    {
        Call c = call("references", nameSpace, objectName,
            {includeQualifiers, includeClassOrigin}, propertyList);
        c.resultClass = resultClass;
        c.role = role;
        record(c, context);
        return Array<CIMObject>();
    }

    Array<CIMObjectPath> referenceNames(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role) override
    {
        Call c = call("referenceNames", nameSpace, objectName);
        c.resultClass = resultClass;
        c.role = role;
        record(c, context);
        return Array<CIMObjectPath>();
    }

    CIMValue getProperty(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& propertyName) override
    {
        Call c = call("getProperty", nameSpace, instanceName);
        c.className = propertyName;
        record(c, context);
        CIMInstance i = find(instanceName);
        Uint32 pos = i.findProperty(propertyName);
        if (pos == PEG_NOT_FOUND)
            throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, propertyName.getString());
        return i.getProperty(pos).getValue();
    }

    void setProperty(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& propertyName, const CIMValue& newValue) override
    {
        Call c = call("setProperty", nameSpace, instanceName);
        c.className = propertyName;
        c.value = newValue;
        record(c, context);
    }

    CIMValue invokeMethod(const OperationContext& context,
        const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
        const CIMName& methodName, const Array<CIMParamValue>& inParameters,
        Array<CIMParamValue>& outParameters) override
    {
        Call c = call("invokeMethod", nameSpace, instanceName);
        c.className = methodName;
        c.in = inParameters;
        record(c, context);
        if (instanceName.getKeyBindings().size())
            find(instanceName);
        if (!methodName.equal(CIMName("GetErrorRecord")))
            throw CIMException(CIM_ERR_METHOD_NOT_FOUND, methodName.getString());
        outParameters.append(CIMParamValue(String("Error"), CIMValue(errorInstance())));
        outParameters.append(CIMParamValue(String("Unset"), CIMValue(CIMTYPE_STRING, false)));
        return CIMValue(Uint32(0));
    }

private:
    std::function<void()> _before;

    void record(Call c, const OperationContext& context)
    {
        if (context.contains(IdentityContainer::NAME))
            c.user = IdentityContainer(context.get(IdentityContainer::NAME)).getUserName();
        std::function<void()> before;
        {
            std::lock_guard<std::mutex> lock(mutex);
            calls.push_back(c);
            before = _before;
        }
        if (before)
            before();
    }

    CIMInstance find(const CIMObjectPath& path)
    {
        CIMObjectPath local(String(), CIMNamespaceName(), path.getClassName(),
            path.getKeyBindings());
        for (Uint32 i = 0; i < instances.size(); i++)
            if (instances[i].getPath() == local)
                return instances[i].clone();
        String detail = path.getClassName().getString();
        const Array<CIMKeyBinding>& keys = path.getKeyBindings();
        for (Uint32 i = 0; i < keys.size(); i++)
        {
            detail.append(String(i ? "," : " "));
            detail.append(keys[i].getName().getString());
            detail.append(String("=\""));
            detail.append(keys[i].getValue());
            detail.append(String("\""));
        }
        throw CIMException(CIM_ERR_NOT_FOUND, detail);
    }
};

} // namespace cimxmltest

#endif
