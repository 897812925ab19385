#include "SampleProviders.h"

#include <Pegasus/Common/CIMDateTime.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

String keyValue(const CIMObjectPath& path, const char* key)
{
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
        if (keys[i].getName().equal(CIMName(key)))
            return keys[i].getValue();
    return String();
}

std::vector<SampleWidget>::iterator findWidget(SampleStore& store, const String& id)
{
    for (auto it = store.widgets.begin(); it != store.widgets.end(); ++it)
        if (it->id == id)
            return it;
    return store.widgets.end();
}

String typeName(const CIMValue& v)
{
    String s = cimTypeToString(v.getType());
    if (v.isArray())
        s.append("[]");
    return s;
}

} // namespace

CIMObjectPath SampleWidgetProvider::pathOf(const String& host, const CIMNamespaceName& ns,
    const String& id)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Id"), id, CIMKeyBinding::STRING));
    return CIMObjectPath(host, ns, CIMName("Sample_Widget"), keys);
}

CIMInstance SampleWidgetProvider::build(const SampleWidget& w, const String& host,
    const CIMNamespaceName& ns)
{
    CIMInstance inst(CIMName("Sample_Widget"));
    inst.addProperty(CIMProperty(CIMName("Id"), w.id));
    inst.addProperty(CIMProperty(CIMName("Name"), w.name));
    inst.addProperty(CIMProperty(CIMName("Size"), w.size));
    inst.addProperty(CIMProperty(CIMName("Tags"), CIMValue(w.tags)));
    inst.setPath(pathOf(host, ns, w.id));
    return inst;
}

void SampleWidgetProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
}

void SampleWidgetProvider::terminate()
{
    delete this;
}

void SampleWidgetProvider::getInstance(const OperationContext&, const CIMObjectPath& ref,
    const Boolean, const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler)
{
    String id = keyValue(ref, "Id");
    CIMInstance inst;
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        auto it = findWidget(store, id);
        if (it == store.widgets.end())
            throw CIMObjectNotFoundException("Sample_Widget \"" + id + "\" not found");
        inst = build(*it, ref.getHost(), ref.getNameSpace());
    }
    handler.processing();
    handler.deliver(inst);
    handler.complete();
}

void SampleWidgetProvider::enumerateInstances(const OperationContext&,
    const CIMObjectPath& ref, const Boolean, const Boolean, const CIMPropertyList&,
    InstanceResponseHandler& handler)
{
    Array<CIMInstance> all;
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        for (const SampleWidget& w : store.widgets)
            all.append(build(w, ref.getHost(), ref.getNameSpace()));
    }
    handler.processing();
    handler.deliver(all);
    handler.complete();
}

void SampleWidgetProvider::enumerateInstanceNames(const OperationContext&,
    const CIMObjectPath& ref, ObjectPathResponseHandler& handler)
{
    Array<CIMObjectPath> all;
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        for (const SampleWidget& w : store.widgets)
            all.append(pathOf(ref.getHost(), ref.getNameSpace(), w.id));
    }
    handler.processing();
    handler.deliver(all);
    handler.complete();
}

void SampleWidgetProvider::modifyInstance(const OperationContext&, const CIMObjectPath& ref,
    const CIMInstance& instance, const Boolean, const CIMPropertyList& propertyList,
    ResponseHandler& handler)
{
    String id = keyValue(ref, "Id");
    SampleStore& store = SampleStore::instance();
    {
        std::lock_guard<std::mutex> lock(store.mutex);
        auto it = findWidget(store, id);
        if (it == store.widgets.end())
            throw CIMObjectNotFoundException("Sample_Widget \"" + id + "\" not found");
        for (Uint32 i = 0; i < instance.getPropertyCount(); i++)
        {
            CIMConstProperty p = instance.getProperty(i);
            if (!propertyList.useThisProperty(p.getName()) || p.getValue().isNull())
                continue;
            if (p.getName().equal(CIMName("Name")))
                p.getValue().get(it->name);
            else if (p.getName().equal(CIMName("Size")))
                p.getValue().get(it->size);
            else if (p.getName().equal(CIMName("Tags")))
                p.getValue().get(it->tags);
        }
    }
    handler.processing();
    handler.complete();
}

void SampleWidgetProvider::createInstance(const OperationContext&, const CIMObjectPath& ref,
    const CIMInstance& instance, ObjectPathResponseHandler& handler)
{
    SampleWidget w = {String(), String(), 0, Array<String>()};
    Uint32 pos = instance.findProperty(CIMName("Id"));
    if (pos == PEG_NOT_FOUND || instance.getProperty(pos).getValue().isNull())
        throw CIMInvalidParameterException("Id is required");
    instance.getProperty(pos).getValue().get(w.id);
    if ((pos = instance.findProperty(CIMName("Name"))) != PEG_NOT_FOUND &&
        !instance.getProperty(pos).getValue().isNull())
        instance.getProperty(pos).getValue().get(w.name);
    if ((pos = instance.findProperty(CIMName("Size"))) != PEG_NOT_FOUND &&
        !instance.getProperty(pos).getValue().isNull())
        instance.getProperty(pos).getValue().get(w.size);
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        if (findWidget(store, w.id) != store.widgets.end())
            throw CIMObjectAlreadyExistsException("Sample_Widget \"" + w.id + "\" exists");
        store.widgets.push_back(w);
    }
    handler.processing();
    handler.deliver(pathOf(ref.getHost(), ref.getNameSpace(), w.id));
    handler.complete();
}

void SampleWidgetProvider::deleteInstance(const OperationContext&, const CIMObjectPath& ref,
    ResponseHandler& handler)
{
    String id = keyValue(ref, "Id");
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        auto it = findWidget(store, id);
        if (it == store.widgets.end())
            throw CIMObjectNotFoundException("Sample_Widget \"" + id + "\" not found");
        store.widgets.erase(it);
        for (size_t i = store.links.size(); i-- > 0;)
            if (store.links[i].first == id)
                store.links.erase(store.links.begin() + static_cast<long>(i));
    }
    handler.processing();
    handler.complete();
}

void SampleWidgetProvider::invokeMethod(const OperationContext& context,
    const CIMObjectPath& ref, const CIMName& methodName,
    const Array<CIMParamValue>& inParameters, MethodResultResponseHandler& handler)
{
    if (methodName.equal(CIMName("Resize")))
    {
        Uint32 newSize = 0;
        bool given = false;
        for (Uint32 i = 0; i < inParameters.size(); i++)
        {
            if (String::equalNoCase(inParameters[i].getParameterName(), "NewSize") &&
                !inParameters[i].getValue().isNull())
            {
                inParameters[i].getValue().get(newSize);  // typed by the server
                given = true;
            }
        }
        if (!given)
            throw CIMInvalidParameterException("NewSize is required");
        String id = keyValue(ref, "Id");
        Uint32 old = 0;
        {
            SampleStore& store = SampleStore::instance();
            std::lock_guard<std::mutex> lock(store.mutex);
            auto it = findWidget(store, id);
            if (it == store.widgets.end())
                throw CIMObjectNotFoundException("Sample_Widget \"" + id + "\" not found");
            old = it->size;
            it->size = newSize;
        }
        handler.processing();
        handler.deliverParamValue(CIMParamValue("OldSize", CIMValue(old)));
        handler.deliver(CIMValue(Uint32(0)));
        handler.complete();
        return;
    }
    if (methodName.equal(CIMName("Describe")))
    {
        Array<String> types;
        String summary;
        for (Uint32 i = 0; i < inParameters.size(); i++)
        {
            String entry = inParameters[i].getParameterName() + ":" +
                typeName(inParameters[i].getValue());
            if (inParameters[i].getValue().isNull())
                entry.append("=null");
            types.append(entry);
            if (summary.size())
                summary.append(",");
            summary.append(entry);
        }
        handler.processing();
        handler.deliverParamValue(CIMParamValue("Types", CIMValue(types)));
        handler.deliver(CIMValue(summary));
        handler.complete();
        return;
    }
    if (methodName.equal(CIMName("WhoAmI")))
    {
        IdentityContainer id = context.get(IdentityContainer::NAME);
        String address;
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
        address = id.getIpAddress();
#endif
        handler.processing();
        handler.deliverParamValue(CIMParamValue("Address", CIMValue(address)));
        handler.deliver(CIMValue(id.getUserName()));
        handler.complete();
        return;
    }
    if (methodName.equal(CIMName("CountGadgets")))
    {
        // Re-enters the server: the association provider, which itself
        // up-calls the gadget provider.
        Array<CIMObject> gadgets = _cimom.associators(context, ref.getNameSpace(), ref,
            CIMName("Sample_WidgetGadget"), CIMName("Sample_Gadget"), String(), String(),
            false, false, CIMPropertyList());
        handler.processing();
        handler.deliver(CIMValue(Uint32(gadgets.size())));
        handler.complete();
        return;
    }
    throw CIMMethodNotFoundException(methodName.getString());
}

PEGASUS_NAMESPACE_END
