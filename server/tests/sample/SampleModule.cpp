// The sample provider module: widgets (instances and methods), gadgets
// (instances) and the association between them, kept in memory.
#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <mutex>
#include <utility>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace
{

struct Widget
{
    String id;
    String name;
    Uint32 size;
    Array<String> tags;
};

// The module's data, shared by its providers.
struct Store
{
    std::mutex mutex;
    std::vector<Widget> widgets;
    std::vector<std::pair<String, String>> gadgets;  // serial, model
    std::vector<std::pair<String, String>> links;    // widget id, gadget serial

    static Store& instance()
    {
        static Store store;
        return store;
    }

    std::vector<Widget>::iterator widget(const String& id)
    {
        for (auto it = widgets.begin(); it != widgets.end(); ++it)
            if (it->id == id)
                return it;
        throw CIMObjectNotFoundException("Sample_Widget \"" + id + "\" not found");
    }

private:
    Store()
    {
        Widget w1 = {"w1", "first", 10, Array<String>()};
        w1.tags.append("red");
        w1.tags.append("round");
        Widget w3 = {"w3", "third", 30, Array<String>()};
        w3.tags.append("blue");
        widgets = {w1, Widget{"w2", "second", 20, Array<String>()}, w3};
        gadgets = {{"g1", "Mk1"}, {"g2", "Mk2"}};
        links = {{"w1", "g1"}, {"w1", "g2"}, {"w2", "g1"}};
    }
};

String keyValue(const CIMObjectPath& path, const char* key)
{
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
        if (keys[i].getName().equal(CIMName(key)))
            return keys[i].getValue();
    return String();
}

CIMObjectPath pathOf(const CIMObjectPath& ref, const char* cls, const char* key,
    const String& value)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName(key), value, CIMKeyBinding::STRING));
    return CIMObjectPath(ref.getHost(), ref.getNameSpace(), CIMName(cls), keys);
}

CIMObjectPath widgetPath(const CIMObjectPath& ref, const String& id)
{
    return pathOf(ref, "Sample_Widget", "Id", id);
}

CIMObjectPath gadgetPath(const CIMObjectPath& ref, const String& serial)
{
    return pathOf(ref, "Sample_Gadget", "Serial", serial);
}

CIMInstance build(const Widget& w, const CIMObjectPath& ref)
{
    CIMInstance inst(CIMName("Sample_Widget"));
    inst.addProperty(CIMProperty(CIMName("Id"), w.id));
    inst.addProperty(CIMProperty(CIMName("Name"), w.name));
    inst.addProperty(CIMProperty(CIMName("Size"), w.size));
    inst.addProperty(CIMProperty(CIMName("Tags"), CIMValue(w.tags)));
    inst.setPath(widgetPath(ref, w.id));
    return inst;
}

CIMInstance build(const std::pair<String, String>& gadget, const CIMObjectPath& ref)
{
    CIMInstance inst(CIMName("Sample_Gadget"));
    inst.addProperty(CIMProperty(CIMName("Serial"), gadget.first));
    inst.addProperty(CIMProperty(CIMName("Model"), gadget.second));
    inst.setPath(gadgetPath(ref, gadget.first));
    return inst;
}

// Every object of one of the store's lists, as instances.
template <class List>
Array<CIMInstance> buildAll(const List& list, const CIMObjectPath& ref)
{
    Array<CIMInstance> result;
    std::lock_guard<std::mutex> lock(Store::instance().mutex);
    for (const auto& object : list)
        result.append(build(object, ref));
    return result;
}

// Instance operations the sample does not offer.
class ReadOnlyProvider : public CIMInstanceProvider
{
public:
    void terminate() override { delete this; }
    void modifyInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
        const Boolean, const CIMPropertyList&, ResponseHandler&) override
    {
        throw CIMNotSupportedException("modifyInstance");
    }
    void createInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
        ObjectPathResponseHandler&) override
    {
        throw CIMNotSupportedException("createInstance");
    }
    void deleteInstance(const OperationContext&, const CIMObjectPath&,
        ResponseHandler&) override
    {
        throw CIMNotSupportedException("deleteInstance");
    }

    // Every instance of the class.
    virtual Array<CIMInstance> all(const CIMObjectPath& ref) = 0;

    void enumerateInstances(const OperationContext&, const CIMObjectPath& ref, const Boolean,
        const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler) override
    {
        Array<CIMInstance> instances = all(ref);
        handler.processing();
        handler.deliver(instances);
        handler.complete();
    }
    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath& ref,
        ObjectPathResponseHandler& handler) override
    {
        Array<CIMInstance> instances = all(ref);
        handler.processing();
        for (Uint32 i = 0; i < instances.size(); i++)
            handler.deliver(instances[i].getPath());
        handler.complete();
    }
};

class SampleWidgetProvider : public ReadOnlyProvider, public CIMMethodProvider
{
public:
    void initialize(CIMOMHandle& cimom) override { _cimom = cimom; }
    void terminate() override { delete this; }

    Array<CIMInstance> all(const CIMObjectPath& ref) override
    {
        return buildAll(Store::instance().widgets, ref);
    }

    void getInstance(const OperationContext&, const CIMObjectPath& ref, const Boolean,
        const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler) override
    {
        CIMInstance inst;
        {
            Store& store = Store::instance();
            std::lock_guard<std::mutex> lock(store.mutex);
            inst = build(*store.widget(keyValue(ref, "Id")), ref);
        }
        handler.processing();
        handler.deliver(inst);
        handler.complete();
    }

    void deleteInstance(const OperationContext&, const CIMObjectPath& ref,
        ResponseHandler& handler) override
    {
        String id = keyValue(ref, "Id");
        {
            Store& store = Store::instance();
            std::lock_guard<std::mutex> lock(store.mutex);
            store.widgets.erase(store.widget(id));
            for (size_t i = store.links.size(); i-- > 0;)
                if (store.links[i].first == id)
                    store.links.erase(store.links.begin() + static_cast<long>(i));
        }
        handler.processing();
        handler.complete();
    }

    void invokeMethod(const OperationContext& context, const CIMObjectPath& ref,
        const CIMName& methodName, const Array<CIMParamValue>& in,
        MethodResultResponseHandler& handler) override
    {
        handler.processing();
        if (methodName.equal(CIMName("Resize")))
        {
            Uint32 newSize = 0;
            bool given = false;
            for (Uint32 i = 0; i < in.size(); i++)
                if (String::equalNoCase(in[i].getParameterName(), "NewSize") &&
                    !in[i].getValue().isNull())
                {
                    in[i].getValue().get(newSize);  // typed by the server
                    given = true;
                }
            if (!given)
                throw CIMInvalidParameterException("NewSize is required");
            Uint32 old = 0;
            {
                Store& store = Store::instance();
                std::lock_guard<std::mutex> lock(store.mutex);
                auto it = store.widget(keyValue(ref, "Id"));
                old = it->size;
                it->size = newSize;
            }
            handler.deliverParamValue(CIMParamValue("OldSize", CIMValue(old)));
            handler.deliver(CIMValue(Uint32(0)));
        }
        else if (methodName.equal(CIMName("Describe")))
        {
            Array<String> types;
            String summary;
            for (Uint32 i = 0; i < in.size(); i++)
            {
                const CIMValue& v = in[i].getValue();
                String entry = in[i].getParameterName() + ":" + cimTypeToString(v.getType());
                if (v.isArray())
                    entry.append("[]");
                if (v.isNull())
                    entry.append("=null");
                types.append(entry);
                summary.append(String(summary.size() ? "," : "") + entry);
            }
            handler.deliverParamValue(CIMParamValue("Types", CIMValue(types)));
            handler.deliver(CIMValue(summary));
        }
        else if (methodName.equal(CIMName("WhoAmI")))
        {
            IdentityContainer id = context.get(IdentityContainer::NAME);
            String address;
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
            address = id.getIpAddress();
#endif
            handler.deliverParamValue(CIMParamValue("Address", CIMValue(address)));
            handler.deliver(CIMValue(id.getUserName()));
        }
        else if (methodName.equal(CIMName("CountGadgets")))
        {
            // Re-enters the server: the association provider, which itself
            // up-calls the gadget provider.
            Array<CIMObject> gadgets = _cimom.associators(context, ref.getNameSpace(), ref,
                CIMName("Sample_WidgetGadget"), CIMName("Sample_Gadget"), String(), String(),
                false, false, CIMPropertyList());
            handler.deliver(CIMValue(Uint32(gadgets.size())));
        }
        else
            throw CIMMethodNotFoundException(methodName.getString());
        handler.complete();
    }

private:
    CIMOMHandle _cimom;
};

class SampleGadgetProvider : public ReadOnlyProvider
{
public:
    void initialize(CIMOMHandle&) override {}

    Array<CIMInstance> all(const CIMObjectPath& ref) override
    {
        return buildAll(Store::instance().gadgets, ref);
    }

    void getInstance(const OperationContext&, const CIMObjectPath& ref, const Boolean,
        const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler) override
    {
        String serial = keyValue(ref, "Serial");
        CIMInstance inst;
        {
            Store& store = Store::instance();
            std::lock_guard<std::mutex> lock(store.mutex);
            for (const auto& g : store.gadgets)
                if (g.first == serial)
                    inst = build(g, ref);
        }
        if (inst.isUninitialized())
            throw CIMObjectNotFoundException("Sample_Gadget \"" + serial + "\" not found");
        handler.processing();
        handler.deliver(inst);
        handler.complete();
    }
};

bool roleMatches(const String& wanted, const char* role)
{
    return wanted.size() == 0 || String::equalNoCase(wanted, role);
}

// Sample_WidgetGadget: association traversals. Associated objects are
// fetched with up-calls through the server.
class SampleLinkProvider : public CIMAssociationProvider
{
public:
    void initialize(CIMOMHandle& cimom) override { _cimom = cimom; }
    void terminate() override { delete this; }

    void associators(const OperationContext& context, const CIMObjectPath& objectName,
        const CIMName&, const CIMName& resultClass, const String& role,
        const String& resultRole, const Boolean, const Boolean, const CIMPropertyList&,
        ObjectResponseHandler& handler) override
    {
        bool isWidget = false;
        std::vector<Link> links = linksOf(objectName, role, isWidget);
        Array<CIMObject> objects;
        if (otherEndMatches(isWidget, resultClass, resultRole))
            for (const Link& l : links)
            {
                // The associated object comes from its own provider.
                objects.append(CIMObject(_cimom.getInstance(context,
                    objectName.getNameSpace(), isWidget ? l.gadget : l.widget, false, false,
                    false, CIMPropertyList())));
            }
        handler.processing();
        handler.deliver(objects);
        handler.complete();
    }

    void associatorNames(const OperationContext&, const CIMObjectPath& objectName,
        const CIMName&, const CIMName& resultClass, const String& role,
        const String& resultRole, ObjectPathResponseHandler& handler) override
    {
        bool isWidget = false;
        std::vector<Link> links = linksOf(objectName, role, isWidget);
        handler.processing();
        if (otherEndMatches(isWidget, resultClass, resultRole))
            for (const Link& l : links)
                handler.deliver(isWidget ? l.gadget : l.widget);
        handler.complete();
    }

    void references(const OperationContext&, const CIMObjectPath& objectName, const CIMName&,
        const String& role, const Boolean, const Boolean, const CIMPropertyList&,
        ObjectResponseHandler& handler) override
    {
        bool isWidget = false;
        std::vector<Link> links = linksOf(objectName, role, isWidget);
        handler.processing();
        for (const Link& l : links)
            handler.deliver(CIMObject(buildLink(l)));
        handler.complete();
    }

    void referenceNames(const OperationContext&, const CIMObjectPath& objectName,
        const CIMName&, const String& role, ObjectPathResponseHandler& handler) override
    {
        bool isWidget = false;
        std::vector<Link> links = linksOf(objectName, role, isWidget);
        handler.processing();
        for (const Link& l : links)
            handler.deliver(l.self);
        handler.complete();
    }

private:
    struct Link
    {
        CIMObjectPath self;
        CIMObjectPath widget;
        CIMObjectPath gadget;
    };

    static bool otherEndMatches(bool isWidget, const CIMName& resultClass,
        const String& resultRole)
    {
        return (resultClass.isNull() ||
                   resultClass.equal(CIMName(isWidget ? "Sample_Gadget" : "Sample_Widget"))) &&
            roleMatches(resultRole, isWidget ? "Gadget" : "Widget");
    }

    // Every link touching objectName in the given role.
    static std::vector<Link> linksOf(const CIMObjectPath& objectName, const String& role,
        bool& objectIsWidget)
    {
        objectIsWidget = objectName.getClassName().equal(CIMName("Sample_Widget"));
        bool isGadget = objectName.getClassName().equal(CIMName("Sample_Gadget"));
        std::vector<Link> result;
        if ((!objectIsWidget && !isGadget) ||
            !roleMatches(role, objectIsWidget ? "Widget" : "Gadget"))
            return result;
        String key = keyValue(objectName, objectIsWidget ? "Id" : "Serial");
        Store& store = Store::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        for (const auto& l : store.links)
        {
            if ((objectIsWidget ? l.first : l.second) != key)
                continue;
            Link link;
            link.widget = widgetPath(objectName, l.first);
            link.gadget = gadgetPath(objectName, l.second);
            Array<CIMKeyBinding> keys;
            keys.append(CIMKeyBinding(CIMName("Widget"), link.widget));
            keys.append(CIMKeyBinding(CIMName("Gadget"), link.gadget));
            link.self = CIMObjectPath(objectName.getHost(), objectName.getNameSpace(),
                CIMName("Sample_WidgetGadget"), keys);
            result.push_back(link);
        }
        return result;
    }

    static CIMInstance buildLink(const Link& link)
    {
        CIMInstance inst(CIMName("Sample_WidgetGadget"));
        inst.addProperty(CIMProperty(CIMName("Widget"), CIMValue(link.widget), 0,
            CIMName("Sample_Widget")));
        inst.addProperty(CIMProperty(CIMName("Gadget"), CIMValue(link.gadget), 0,
            CIMName("Sample_Gadget")));
        inst.setPath(link.self);
        return inst;
    }

    CIMOMHandle _cimom;
};

} // namespace

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String& name)
{
    if (String::equalNoCase(name, "SampleWidgetProvider"))
        return new SampleWidgetProvider();
    if (String::equalNoCase(name, "SampleGadgetProvider"))
        return new SampleGadgetProvider();
    if (String::equalNoCase(name, "SampleLinkProvider"))
        return new SampleLinkProvider();
    return 0;
}
