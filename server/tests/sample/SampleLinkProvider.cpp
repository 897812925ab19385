#include "SampleProviders.h"

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

bool roleMatches(const String& wanted, const char* role)
{
    return wanted.size() == 0 || String::equalNoCase(wanted, role);
}

bool classMatches(const CIMName& wanted, const char* className)
{
    return wanted.isNull() || wanted.equal(CIMName(className));
}

} // namespace

void SampleLinkProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
}

void SampleLinkProvider::terminate()
{
    delete this;
}

std::vector<SampleLinkProvider::Link> SampleLinkProvider::linksOf(
    const CIMObjectPath& objectName, const String& role, bool& objectIsWidget) const
{
    objectIsWidget = objectName.getClassName().equal(CIMName("Sample_Widget"));
    bool isGadget = objectName.getClassName().equal(CIMName("Sample_Gadget"));
    std::vector<Link> result;
    if (!objectIsWidget && !isGadget)
        return result;
    if (!roleMatches(role, objectIsWidget ? "Widget" : "Gadget"))
        return result;
    String key = keyValue(objectName, objectIsWidget ? "Id" : "Serial");
    const String& host = objectName.getHost();
    const CIMNamespaceName& ns = objectName.getNameSpace();
    SampleStore& store = SampleStore::instance();
    std::lock_guard<std::mutex> lock(store.mutex);
    for (const auto& l : store.links)
    {
        if ((objectIsWidget ? l.first : l.second) != key)
            continue;
        Link link;
        link.widget = SampleWidgetProvider::pathOf(host, ns, l.first);
        link.gadget = SampleGadgetProvider::pathOf(host, ns, l.second);
        Array<CIMKeyBinding> keys;
        keys.append(CIMKeyBinding(CIMName("Widget"), link.widget));
        keys.append(CIMKeyBinding(CIMName("Gadget"), link.gadget));
        link.self = CIMObjectPath(host, ns, CIMName("Sample_WidgetGadget"), keys);
        result.push_back(link);
    }
    return result;
}

CIMInstance SampleLinkProvider::buildLink(const Link& link)
{
    CIMInstance inst(CIMName("Sample_WidgetGadget"));
    inst.addProperty(CIMProperty(CIMName("Widget"), CIMValue(link.widget), 0,
        CIMName("Sample_Widget")));
    inst.addProperty(CIMProperty(CIMName("Gadget"), CIMValue(link.gadget), 0,
        CIMName("Sample_Gadget")));
    inst.setPath(link.self);
    return inst;
}

void SampleLinkProvider::associators(const OperationContext& context,
    const CIMObjectPath& objectName, const CIMName&, const CIMName& resultClass,
    const String& role, const String& resultRole, const Boolean, const Boolean,
    const CIMPropertyList&, ObjectResponseHandler& handler)
{
    bool isWidget = false;
    std::vector<Link> links = linksOf(objectName, role, isWidget);
    const char* otherClass = isWidget ? "Sample_Gadget" : "Sample_Widget";
    Array<CIMObject> objects;
    if (classMatches(resultClass, otherClass) &&
        roleMatches(resultRole, isWidget ? "Gadget" : "Widget"))
    {
        for (const Link& l : links)
        {
            // The associated object comes from its own provider.
            CIMInstance inst = _cimom.getInstance(context, objectName.getNameSpace(),
                isWidget ? l.gadget : l.widget, false, false, false, CIMPropertyList());
            objects.append(CIMObject(inst));
        }
    }
    handler.processing();
    handler.deliver(objects);
    handler.complete();
}

void SampleLinkProvider::associatorNames(const OperationContext&,
    const CIMObjectPath& objectName, const CIMName&, const CIMName& resultClass,
    const String& role, const String& resultRole, ObjectPathResponseHandler& handler)
{
    bool isWidget = false;
    std::vector<Link> links = linksOf(objectName, role, isWidget);
    handler.processing();
    if (classMatches(resultClass, isWidget ? "Sample_Gadget" : "Sample_Widget") &&
        roleMatches(resultRole, isWidget ? "Gadget" : "Widget"))
    {
        for (const Link& l : links)
            handler.deliver(isWidget ? l.gadget : l.widget);
    }
    handler.complete();
}

void SampleLinkProvider::references(const OperationContext&, const CIMObjectPath& objectName,
    const CIMName&, const String& role, const Boolean, const Boolean,
    const CIMPropertyList&, ObjectResponseHandler& handler)
{
    bool isWidget = false;
    std::vector<Link> links = linksOf(objectName, role, isWidget);
    handler.processing();
    for (const Link& l : links)
        handler.deliver(CIMObject(buildLink(l)));
    handler.complete();
}

void SampleLinkProvider::referenceNames(const OperationContext&,
    const CIMObjectPath& objectName, const CIMName&, const String& role,
    ObjectPathResponseHandler& handler)
{
    bool isWidget = false;
    std::vector<Link> links = linksOf(objectName, role, isWidget);
    handler.processing();
    for (const Link& l : links)
        handler.deliver(l.self);
    handler.complete();
}

void SampleLinkProvider::getInstance(const OperationContext&, const CIMObjectPath& ref,
    const Boolean, const Boolean, const CIMPropertyList&, InstanceResponseHandler& handler)
{
    CIMObjectPath widget;
    const Array<CIMKeyBinding>& keys = ref.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
        if (keys[i].getName().equal(CIMName("Widget")))
            widget = CIMObjectPath(keys[i].getValue());
    widget.setHost(ref.getHost());
    widget.setNameSpace(ref.getNameSpace());
    bool isWidget = false;
    for (const Link& l : linksOf(widget, String(), isWidget))
    {
        if (l.self.identical(ref))
        {
            handler.processing();
            handler.deliver(buildLink(l));
            handler.complete();
            return;
        }
    }
    throw CIMObjectNotFoundException("Sample_WidgetGadget not found");
}

void SampleLinkProvider::enumerateInstances(const OperationContext&,
    const CIMObjectPath& ref, const Boolean, const Boolean, const CIMPropertyList&,
    InstanceResponseHandler& handler)
{
    std::vector<String> ids;
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        for (const SampleWidget& w : store.widgets)
            ids.push_back(w.id);
    }
    handler.processing();
    for (const String& id : ids)
    {
        bool isWidget = false;
        CIMObjectPath widget =
            SampleWidgetProvider::pathOf(ref.getHost(), ref.getNameSpace(), id);
        for (const Link& l : linksOf(widget, String(), isWidget))
            handler.deliver(buildLink(l));
    }
    handler.complete();
}

void SampleLinkProvider::enumerateInstanceNames(const OperationContext& context,
    const CIMObjectPath& ref, ObjectPathResponseHandler& handler)
{
    (void)context;
    std::vector<String> ids;
    {
        SampleStore& store = SampleStore::instance();
        std::lock_guard<std::mutex> lock(store.mutex);
        for (const SampleWidget& w : store.widgets)
            ids.push_back(w.id);
    }
    handler.processing();
    for (const String& id : ids)
    {
        bool isWidget = false;
        CIMObjectPath widget =
            SampleWidgetProvider::pathOf(ref.getHost(), ref.getNameSpace(), id);
        for (const Link& l : linksOf(widget, String(), isWidget))
            handler.deliver(l.self);
    }
    handler.complete();
}

void SampleLinkProvider::modifyInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, const Boolean, const CIMPropertyList&, ResponseHandler&)
{
    throw CIMNotSupportedException("SampleLinkProvider does not support modifyInstance.");
}

void SampleLinkProvider::createInstance(const OperationContext&, const CIMObjectPath&,
    const CIMInstance&, ObjectPathResponseHandler&)
{
    throw CIMNotSupportedException("SampleLinkProvider does not support createInstance.");
}

void SampleLinkProvider::deleteInstance(const OperationContext&, const CIMObjectPath&,
    ResponseHandler&)
{
    throw CIMNotSupportedException("SampleLinkProvider does not support deleteInstance.");
}

PEGASUS_NAMESPACE_END
