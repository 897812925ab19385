// The sample provider module: widgets (instances and methods), gadgets
// (instances) and the association between them, kept in memory.
#ifndef SAMPLE_PROVIDERS_H
#define SAMPLE_PROVIDERS_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <mutex>
#include <vector>

PEGASUS_NAMESPACE_BEGIN

struct SampleWidget
{
    String id;
    String name;
    Uint32 size;
    Array<String> tags;
};

struct SampleGadget
{
    String serial;
    String model;
};

// The module's data, shared by its providers.
class SampleStore
{
public:
    static SampleStore& instance();

    std::mutex mutex;
    std::vector<SampleWidget> widgets;
    std::vector<SampleGadget> gadgets;
    std::vector<std::pair<String, String> > links;  // widget id, gadget serial

private:
    SampleStore();
};

class SampleWidgetProvider : public CIMInstanceProvider, public CIMMethodProvider
{
public:
    void initialize(CIMOMHandle& cimom) override;
    void terminate() override;

    void getInstance(const OperationContext& context, const CIMObjectPath& ref,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler) override;
    void enumerateInstances(const OperationContext& context, const CIMObjectPath& ref,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler) override;
    void enumerateInstanceNames(const OperationContext& context, const CIMObjectPath& ref,
        ObjectPathResponseHandler& handler) override;
    void modifyInstance(const OperationContext& context, const CIMObjectPath& ref,
        const CIMInstance& instance, const Boolean includeQualifiers,
        const CIMPropertyList& propertyList, ResponseHandler& handler) override;
    void createInstance(const OperationContext& context, const CIMObjectPath& ref,
        const CIMInstance& instance, ObjectPathResponseHandler& handler) override;
    void deleteInstance(const OperationContext& context, const CIMObjectPath& ref,
        ResponseHandler& handler) override;

    void invokeMethod(const OperationContext& context, const CIMObjectPath& ref,
        const CIMName& methodName, const Array<CIMParamValue>& inParameters,
        MethodResultResponseHandler& handler) override;

    static CIMObjectPath pathOf(const String& host, const CIMNamespaceName& ns,
        const String& id);
    static CIMInstance build(const SampleWidget& w, const String& host,
        const CIMNamespaceName& ns);

private:
    CIMOMHandle _cimom;
};

class SampleGadgetProvider : public CIMInstanceProvider
{
public:
    void initialize(CIMOMHandle& cimom) override;
    void terminate() override;

    void getInstance(const OperationContext& context, const CIMObjectPath& ref,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler) override;
    void enumerateInstances(const OperationContext& context, const CIMObjectPath& ref,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler) override;
    void enumerateInstanceNames(const OperationContext& context, const CIMObjectPath& ref,
        ObjectPathResponseHandler& handler) override;
    void modifyInstance(const OperationContext& context, const CIMObjectPath& ref,
        const CIMInstance& instance, const Boolean includeQualifiers,
        const CIMPropertyList& propertyList, ResponseHandler& handler) override;
    void createInstance(const OperationContext& context, const CIMObjectPath& ref,
        const CIMInstance& instance, ObjectPathResponseHandler& handler) override;
    void deleteInstance(const OperationContext& context, const CIMObjectPath& ref,
        ResponseHandler& handler) override;

    static CIMObjectPath pathOf(const String& host, const CIMNamespaceName& ns,
        const String& serial);
    static CIMInstance build(const SampleGadget& g, const String& host,
        const CIMNamespaceName& ns);
};

// Sample_WidgetGadget: instances and association traversals. Associated
// objects are fetched with up-calls through the server.
class SampleLinkProvider : public CIMAssociationProvider, public CIMInstanceProvider
{
public:
    void initialize(CIMOMHandle& cimom) override;
    void terminate() override;

    void associators(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& associationClass, const CIMName& resultClass, const String& role,
        const String& resultRole, const Boolean includeQualifiers,
        const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
        ObjectResponseHandler& handler) override;
    void associatorNames(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& associationClass, const CIMName& resultClass, const String& role,
        const String& resultRole, ObjectPathResponseHandler& handler) override;
    void references(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role, const Boolean includeQualifiers,
        const Boolean includeClassOrigin, const CIMPropertyList& propertyList,
        ObjectResponseHandler& handler) override;
    void referenceNames(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName& resultClass, const String& role,
        ObjectPathResponseHandler& handler) override;

    void getInstance(const OperationContext& context, const CIMObjectPath& ref,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler) override;
    void enumerateInstances(const OperationContext& context, const CIMObjectPath& ref,
        const Boolean includeQualifiers, const Boolean includeClassOrigin,
        const CIMPropertyList& propertyList, InstanceResponseHandler& handler) override;
    void enumerateInstanceNames(const OperationContext& context, const CIMObjectPath& ref,
        ObjectPathResponseHandler& handler) override;
    void modifyInstance(const OperationContext& context, const CIMObjectPath& ref,
        const CIMInstance& instance, const Boolean includeQualifiers,
        const CIMPropertyList& propertyList, ResponseHandler& handler) override;
    void createInstance(const OperationContext& context, const CIMObjectPath& ref,
        const CIMInstance& instance, ObjectPathResponseHandler& handler) override;
    void deleteInstance(const OperationContext& context, const CIMObjectPath& ref,
        ResponseHandler& handler) override;

private:
    // (link path, widget path, gadget path) of every link touching objectName.
    struct Link
    {
        CIMObjectPath self;
        CIMObjectPath widget;
        CIMObjectPath gadget;
    };
    std::vector<Link> linksOf(const CIMObjectPath& objectName, const String& role,
        bool& objectIsWidget) const;
    static CIMInstance buildLink(const Link& link);

    CIMOMHandle _cimom;
};

PEGASUS_NAMESPACE_END

#endif
