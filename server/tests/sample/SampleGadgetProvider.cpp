#include "SampleProviders.h"

PEGASUS_NAMESPACE_BEGIN

CIMObjectPath SampleGadgetProvider::pathOf(const String& host, const CIMNamespaceName& ns,
    const String& serial)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Serial"), serial, CIMKeyBinding::STRING));
    return CIMObjectPath(host, ns, CIMName("Sample_Gadget"), keys);
}

CIMInstance SampleGadgetProvider::build(const SampleGadget& g, const String& host,
    const CIMNamespaceName& ns)
{
    CIMInstance inst(CIMName("Sample_Gadget"));
    inst.addProperty(CIMProperty(CIMName("Serial"), g.serial));
    inst.addProperty(CIMProperty(CIMName("Model"), g.model));
    inst.setPath(pathOf(host, ns, g.serial));
    return inst;
}

void SampleGadgetProvider::initialize(CIMOMHandle&)
{
}

void SampleGadgetProvider::terminate()
{
    delete this;
}

void SampleGadgetProvider::getInstance(const OperationContext&, const CIMObjectPath& ref,
    const Boolean, const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler)
{
    String serial;
    const Array<CIMKeyBinding>& keys = ref.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
        if (keys[i].getName().equal(CIMName("Serial")))
            serial = keys[i].getValue();
    CIMInstance inst;
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        for (const SampleGadget& g : store.gadgets)
            if (g.serial == serial)
                inst = build(g, ref.getHost(), ref.getNameSpace());
    }
    if (inst.isUninitialized())
        throw CIMObjectNotFoundException("Sample_Gadget \"" + serial + "\" not found");
    handler.processing();
    handler.deliver(inst);
    handler.complete();
}

void SampleGadgetProvider::enumerateInstances(const OperationContext&,
    const CIMObjectPath& ref, const Boolean, const Boolean, const CIMPropertyList&,
    InstanceResponseHandler& handler)
{
    Array<CIMInstance> all;
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        for (const SampleGadget& g : store.gadgets)
            all.append(build(g, ref.getHost(), ref.getNameSpace()));
    }
    handler.processing();
    for (Uint32 i = 0; i < all.size(); i++)
        handler.deliver(all[i]);
    handler.complete();
}

void SampleGadgetProvider::enumerateInstanceNames(const OperationContext&,
    const CIMObjectPath& ref, ObjectPathResponseHandler& handler)
{
    Array<CIMObjectPath> all;
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        for (const SampleGadget& g : store.gadgets)
            all.append(pathOf(ref.getHost(), ref.getNameSpace(), g.serial));
    }
    handler.processing();
    handler.deliver(all);
    handler.complete();
}

void SampleGadgetProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, const Boolean, const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException("SampleGadgetProvider does not support modifyInstance.");
}

void SampleGadgetProvider::createInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException("SampleGadgetProvider does not support createInstance.");
}

void SampleGadgetProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
    ResponseHandler&)
{
    throw CIMNotSupportedException("SampleGadgetProvider does not support deleteInstance.");
}

PEGASUS_NAMESPACE_END
