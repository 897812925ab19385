#include "IndicationService.h"
#include "Logger.h"

#include <cimhost/Repository.h>

#include <CimXml/XmlWriter.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>

#include <algorithm>
#include <cctype>
#include <set>

using namespace Pegasus;

namespace cimhost
{

namespace
{

const CIMName FILTER_CLASS("CIM_IndicationFilter");
const CIMName DESTINATION_CLASS("CIM_ListenerDestinationCIMXML");
const CIMName SUBSCRIPTION_CLASS("CIM_IndicationSubscription");
const CIMName INDICATION_CLASS("CIM_Indication");
const CIMName MANAGED_ELEMENT_CLASS("CIM_ManagedElement");

std::string narrow(const String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

std::string lower(const String& s)
{
    std::string r = narrow(s);
    for (char& c : r)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return r;
}

[[noreturn]] void refuse(CIMStatusCode code, const std::string& message)
{
    throw CIMException(code, String(message.c_str()));
}

// The property's value, or a null value when the instance has none.
CIMValue valueOf(const CIMInstance& instance, const char* name)
{
    Uint32 i = instance.findProperty(CIMName(name));
    return i == PEG_NOT_FOUND ? CIMValue() : instance.getProperty(i).getValue();
}

// The string property, "" when missing, null or not a string.
String stringOf(const CIMInstance& instance, const char* name)
{
    CIMValue v = valueOf(instance, name);
    String s;
    if (!v.isNull() && !v.isArray() && v.getType() == CIMTYPE_STRING)
        v.get(s);
    return s;
}

void setString(CIMInstance& instance, const char* name, const String& value)
{
    Uint32 i = instance.findProperty(CIMName(name));
    if (i != PEG_NOT_FOUND)
        instance.removeProperty(i);
    instance.addProperty(CIMProperty(CIMName(name), CIMValue(value)));
}

// An identity for an instance path that does not depend on the host, on the
// case of names, on the order of the keys or on how references in keys are
// spelled.
std::string pathKey(const Repository& repository, const CIMNamespaceName& defaultNamespace,
    const CIMObjectPath& path)
{
    CIMNamespaceName ns = path.getNameSpace().isNull() ? defaultNamespace : path.getNameSpace();
    if (repository.namespaceExists(ns))
        ns = repository.canonicalNamespace(ns);
    std::vector<std::string> keys;
    const Array<CIMKeyBinding>& bindings = path.getKeyBindings();
    for (Uint32 i = 0; i < bindings.size(); i++)
    {
        std::string value = narrow(bindings[i].getValue());
        if (bindings[i].getType() == CIMKeyBinding::REFERENCE)
        {
            try
            {
                value = "{" + pathKey(repository, ns, CIMObjectPath(bindings[i].getValue())) + "}";
            }
            catch (const Exception&)
            {
                // Not a path: compared as text.
            }
        }
        keys.push_back(lower(bindings[i].getName().getString()) + "=" + value);
    }
    std::sort(keys.begin(), keys.end());
    std::string key = lower(ns.getString()) + ":" + lower(path.getClassName().getString());
    for (const std::string& k : keys)
        key += "," + k;
    return key;
}

std::string exportRequest(unsigned long messageId, const CIMInstance& indication)
{
    std::string out = XmlWriter::xmlDeclaration();
    out += "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<MESSAGE ID=\"" +
        std::to_string(messageId) + "\" PROTOCOLVERSION=\"1.0\">\n<SIMPLEEXPREQ>\n"
        "<EXPMETHODCALL NAME=\"ExportIndication\">\n<EXPPARAMVALUE NAME=\"NewIndication\">\n";
    XmlWriter writer(out, XmlWriter::NO_INSTANCE_QUALIFIERS);
    writer.appendInstance(indication);
    out += "</EXPPARAMVALUE>\n</EXPMETHODCALL>\n</SIMPLEEXPREQ>\n</MESSAGE>\n</CIM>\n";
    return out;
}

} // namespace

// Given to an enabled indication provider; forwards what it delivers.
class IndicationService::Handler : public IndicationResponseHandler
{
public:
    Handler(IndicationService& service, std::vector<CIMNamespaceName> namespaces)
        : _service(service), _namespaces(std::move(namespaces))
    {
    }

    void processing() override {}
    void complete() override {}

    void deliver(const CIMIndication& indication) override
    {
        if (indication.isUninitialized())
            throw CIMException(CIM_ERR_FAILED, String("The object is not initialized."));
        _service.dispatch(_namespaces, indication);
    }
    void deliver(const Array<CIMIndication>& indications) override
    {
        for (Uint32 i = 0; i < indications.size(); i++)
            deliver(indications[i]);
    }
    void deliver(const OperationContext&, const CIMIndication& indication) override
    {
        deliver(indication);
    }
    void deliver(const OperationContext&, const Array<CIMIndication>& indications) override
    {
        deliver(indications);
    }

private:
    IndicationService& _service;
    const std::vector<CIMNamespaceName> _namespaces;
};

struct IndicationService::EnabledProvider
{
    String name;
    int references = 0;
    ProviderManager::Lease lease;
    CIMIndicationProvider* provider = nullptr;
    std::unique_ptr<Handler> handler;
};

IndicationService::IndicationService(Repository& repository,
    const ProviderRegistry& registry, ProviderManager& providers, const String& hostName,
    const std::string& subscriptionFile, const IndicationDestination::Settings& settings,
    Logger& logger)
    : _repository(repository), _registry(registry), _providers(providers),
      _hostName(hostName), _store(subscriptionFile), _settings(settings), _logger(logger),
      _routes(std::make_shared<const std::vector<Route>>())
{
}

IndicationService::~IndicationService()
{
    stop();
}

bool IndicationService::handles(const CIMName& className)
{
    return className.equal(FILTER_CLASS) || className.equal(DESTINATION_CLASS) ||
        className.equal(SUBSCRIPTION_CLASS);
}

void IndicationService::start()
{
    std::vector<SubscriptionStore::Record> records = _store.load();
    std::lock_guard<std::mutex> lock(_mutex);
    for (const SubscriptionStore::Record& r : records)
    {
        try
        {
            addLocked(r.nameSpace, r.instance, false);
        }
        catch (const Exception& e)
        {
            _logger.error("subscription file " + _store.path() + ": " +
                narrow(r.instance.getClassName().getString()) + " not restored: " +
                narrow(e.getMessage()));
        }
    }
    if (!records.empty())
        _logger.info("restored " + std::to_string(_subscriptions.size()) +
            " indication subscriptions");
}

void IndicationService::stop()
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_stopped)
        return;
    _stopped = true;
    {
        std::lock_guard<std::mutex> routes(_routesMutex);
        _routes = std::make_shared<const std::vector<Route>>();
    }
    for (auto& e : _enabled)
    {
        try
        {
            e.second->provider->disableIndications();
        }
        catch (...)
        {
            _logger.error("indication provider " + narrow(e.second->name) +
                ": disableIndications failed");
        }
    }
    _enabled.clear();
    _destinations.clear();
}

CIMInstance IndicationService::withSystemKeys(const CIMInstance& instance) const
{
    CIMInstance copy = instance.clone();
    if (stringOf(copy, "SystemCreationClassName").size() == 0)
        setString(copy, "SystemCreationClassName", String("CIM_ComputerSystem"));
    if (stringOf(copy, "SystemName").size() == 0)
        setString(copy, "SystemName", _hostName);
    if (stringOf(copy, "CreationClassName").size() == 0)
        setString(copy, "CreationClassName", copy.getClassName().getString());
    if (stringOf(copy, "Name").size() == 0)
        refuse(CIM_ERR_INVALID_PARAMETER, "the property Name is required");
    return copy;
}

IndicationService::Filter IndicationService::checkFilter(const CIMNamespaceName& nameSpace,
    const CIMInstance& instance) const
{
    Filter f;
    f.nameSpace = nameSpace;
    String language = stringOf(instance, "QueryLanguage");
    String text = stringOf(instance, "Query");
    if (language.size() == 0)
        refuse(CIM_ERR_INVALID_PARAMETER, "the property QueryLanguage is required");
    if (text.size() == 0)
        refuse(CIM_ERR_INVALID_PARAMETER, "the property Query is required");
    if (!String::equalNoCase(language, "WQL"))
        refuse(CIM_ERR_NOT_SUPPORTED,
            "the query language " + narrow(language) + " is not supported");
    f.query = std::make_shared<const WqlQuery>(WqlQuery::parse(narrow(text)));

    CIMValue many = valueOf(instance, "SourceNamespaces");
    if (!many.isNull() && many.isArray() && many.getType() == CIMTYPE_STRING)
    {
        Array<String> names;
        many.get(names);
        for (Uint32 i = 0; i < names.size(); i++)
            f.sourceNamespaces.push_back(CIMNamespaceName(names[i]));
    }
    if (f.sourceNamespaces.empty())
    {
        String one = stringOf(instance, "SourceNamespace");
        f.sourceNamespaces.push_back(one.size() ? CIMNamespaceName(one) : nameSpace);
    }
    for (CIMNamespaceName& sn : f.sourceNamespaces)
    {
        if (!_repository.namespaceExists(sn))
            refuse(CIM_ERR_INVALID_PARAMETER,
                "the source namespace " + narrow(sn.getString()) + " does not exist");
        sn = _repository.canonicalNamespace(sn);
        if (!_repository.classExists(sn, f.query->fromClass()))
            refuse(CIM_ERR_INVALID_QUERY, "the class " +
                narrow(f.query->fromClass().getString()) + " does not exist in namespace " +
                narrow(sn.getString()));
        if (!_repository.isSubclassOf(sn, f.query->fromClass(), INDICATION_CLASS))
            refuse(CIM_ERR_INVALID_QUERY, "the class " +
                narrow(f.query->fromClass().getString()) + " is not an indication class");
    }
    f.instance = instance;
    return f;
}

std::string IndicationService::referenceKey(const CIMNamespaceName& nameSpace,
    const CIMInstance& instance, const char* property) const
{
    CIMValue v = valueOf(instance, property);
    if (v.isNull() || v.isArray() || v.getType() != CIMTYPE_REFERENCE)
        refuse(CIM_ERR_INVALID_PARAMETER, std::string("the reference ") + property +
            " is required");
    CIMObjectPath path;
    v.get(path);
    return pathKey(_repository, nameSpace, path);
}

std::vector<std::pair<CIMNamespaceName, CIMName>> IndicationService::sourcesOf(
    const Filter& filter) const
{
    std::vector<std::pair<CIMNamespaceName, CIMName>> sources;
    std::vector<CIMName> classes = filter.query->sourceClasses();
    if (!classes.empty())
    {
        for (const CIMNamespaceName& sn : filter.sourceNamespaces)
            for (const CIMName& c : classes)
                sources.emplace_back(sn, c);
        return sources;
    }
    // No class named: whatever the selected providers raise, in the
    // namespaces they raise it for.
    std::set<std::string> seen;
    for (const ProviderCapability* cap : providersFor(filter))
        for (const CIMNamespaceName& ns : cap->namespaces)
            if (std::find(filter.sourceNamespaces.begin(), filter.sourceNamespaces.end(), ns) !=
                    filter.sourceNamespaces.end() &&
                seen.insert(lower(ns.getString())).second)
                sources.emplace_back(ns, MANAGED_ELEMENT_CLASS);
    return sources;
}

CIMObjectPath IndicationService::createInstance(const CIMNamespaceName& nameSpace,
    const CIMInstance& newInstance, const ReadCheck& mayRead)
{
    std::vector<std::pair<CIMNamespaceName, CIMName>> sources;
    std::shared_ptr<const WqlQuery> checked;
    std::string filterKey;
    if (newInstance.getClassName().equal(SUBSCRIPTION_CLASS))
    {
        std::lock_guard<std::mutex> lock(_mutex);
        filterKey = referenceKey(nameSpace, newInstance, "Filter");
        auto f = _filters.find(filterKey);
        if (f != _filters.end())
        {
            sources = sourcesOf(f->second);
            checked = f->second.query;
        }
    }
    // Read as the user, without the lock: the read calls providers.
    for (const auto& source : sources)
        mayRead(source.first, source.second);

    std::lock_guard<std::mutex> lock(_mutex);
    if (_stopped)
        refuse(CIM_ERR_SERVER_IS_SHUTTING_DOWN, "the server is shutting down");
    if (checked)
    {
        auto f = _filters.find(filterKey);
        if (f != _filters.end() && f->second.query != checked)
            refuse(CIM_ERR_FAILED, "the filter of the subscription changed; try again");
    }
    return addLocked(nameSpace, newInstance, true);
}

CIMObjectPath IndicationService::addLocked(const CIMNamespaceName& nameSpace,
    const CIMInstance& newInstance, bool save)
{
    const CIMName className = newInstance.getClassName();
    CIMInstance instance = className.equal(SUBSCRIPTION_CLASS)
        ? newInstance.clone() : withSystemKeys(newInstance);
    Filter filter;
    std::string url;
    std::string filterKey, destinationKey;
    bool enabled = true;
    if (className.equal(FILTER_CLASS))
    {
        filter = checkFilter(nameSpace, instance);
    }
    else if (className.equal(DESTINATION_CLASS))
    {
        url = narrow(stringOf(instance, "Destination"));
        std::string hostPort, path, why;
        if (url.empty())
            refuse(CIM_ERR_INVALID_PARAMETER, "the property Destination is required");
        if (!IndicationDestination::parseUrl(url, hostPort, path, why))
            refuse(CIM_ERR_INVALID_PARAMETER, why + ": " + url);
        CIMValue protocol = valueOf(instance, "Protocol");
        Uint16 p = 2;
        if (!protocol.isNull() && protocol.getType() == CIMTYPE_UINT16 && !protocol.isArray())
            protocol.get(p);
        if (p != 2)
            refuse(CIM_ERR_NOT_SUPPORTED, "only CIM-XML listeners (Protocol 2) are supported");
    }
    else
    {
        filterKey = referenceKey(nameSpace, instance, "Filter");
        destinationKey = referenceKey(nameSpace, instance, "Handler");
        if (!_filters.count(filterKey))
            refuse(CIM_ERR_INVALID_PARAMETER, "the filter of the subscription does not exist");
        if (!_destinations.count(destinationKey))
            refuse(CIM_ERR_INVALID_PARAMETER,
                "the handler of the subscription does not exist");
        CIMValue state = valueOf(instance, "SubscriptionState");
        Uint16 s = 2;
        if (!state.isNull() && state.getType() == CIMTYPE_UINT16 && !state.isArray())
            state.get(s);
        if (s != 2 && s != 3 && s != 4)
            refuse(CIM_ERR_NOT_SUPPORTED, "SubscriptionState must be 2 (Enabled) or 4 (Disabled)");
        enabled = s != 4;
    }

    CIMObjectPath path = _repository.createInstance(nameSpace, instance);
    std::string key = pathKey(_repository, nameSpace, path);
    if (className.equal(FILTER_CLASS))
        _filters[key] = filter;
    else if (className.equal(DESTINATION_CLASS))
        _destinations[key] = Destination{nameSpace,
            std::make_shared<IndicationDestination>(url, _settings, _logger), instance};
    else
        _subscriptions[key] =
            Subscription{nameSpace, filterKey, destinationKey, enabled, instance};

    if (save)
    {
        try
        {
            saveLocked();
        }
        catch (const std::exception& e)
        {
            _filters.erase(key);
            _destinations.erase(key);
            _subscriptions.erase(key);
            CIMObjectPath stored(path);
            stored.setNameSpace(nameSpace);
            _repository.deleteInstance(nameSpace, stored);
            _logger.error(e.what());
            refuse(CIM_ERR_FAILED, e.what());
        }
    }
    if (className.equal(SUBSCRIPTION_CLASS))
    {
        publishLocked();
        if (enabled)
            retainProviders(_filters[filterKey]);
    }
    return path;
}

void IndicationService::deleteInstance(const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName)
{
    std::lock_guard<std::mutex> lock(_mutex);
    std::string key = pathKey(_repository, nameSpace, instanceName);
    for (const auto& s : _subscriptions)
        if (s.second.filterKey == key || s.second.destinationKey == key)
            refuse(CIM_ERR_FAILED,
                "a filter or handler that a subscription refers to cannot be deleted");
    CIMObjectPath path(instanceName);
    path.setHost(String());
    path.setNameSpace(nameSpace);
    _repository.deleteInstance(nameSpace, path);

    auto sub = _subscriptions.find(key);
    if (sub != _subscriptions.end())
    {
        Subscription gone = sub->second;
        _subscriptions.erase(sub);
        publishLocked();
        if (gone.enabled)
            releaseProviders(_filters[gone.filterKey]);
    }
    _filters.erase(key);
    _destinations.erase(key);
    try
    {
        saveLocked();
    }
    catch (const std::exception& e)
    {
        // The instance is gone from this run; a restart would bring it back.
        _logger.error(e.what());
        refuse(CIM_ERR_FAILED, e.what());
    }
}

void IndicationService::saveLocked()
{
    std::vector<SubscriptionStore::Record> records;
    for (const auto& f : _filters)
        records.push_back({f.second.nameSpace, f.second.instance});
    for (const auto& d : _destinations)
        records.push_back({d.second.nameSpace, d.second.instance});
    for (const auto& s : _subscriptions)
        records.push_back({s.second.nameSpace, s.second.instance});
    _store.save(records);
}

void IndicationService::publishLocked()
{
    auto routes = std::make_shared<std::vector<Route>>();
    for (const auto& s : _subscriptions)
    {
        if (!s.second.enabled)
            continue;
        const Filter& f = _filters.at(s.second.filterKey);
        routes->push_back(
            Route{f.sourceNamespaces, f.query, _destinations.at(s.second.destinationKey).listener});
    }
    std::lock_guard<std::mutex> lock(_routesMutex);
    _routes = routes;
}

std::vector<const ProviderCapability*> IndicationService::providersFor(
    const Filter& filter) const
{
    std::vector<const ProviderCapability*> result;
    const CIMName& from = filter.query->fromClass();
    for (const CIMNamespaceName& sn : filter.sourceNamespaces)
        for (const ProviderCapability* cap : _registry.findAll(sn, PROVIDER_TYPE_INDICATION))
            if (_repository.isSubclassOf(sn, cap->className, from) ||
                _repository.isSubclassOf(sn, from, cap->className))
                result.push_back(cap);
    return result;
}

void IndicationService::retainProviders(const Filter& filter)
{
    std::set<std::string> seen;
    for (const ProviderCapability* cap : providersFor(filter))
    {
        std::string key = lower(cap->moduleName) + "/" + lower(cap->providerName);
        if (!seen.insert(key).second)
            continue;
        auto it = _enabled.find(key);
        if (it != _enabled.end())
        {
            it->second->references++;
            continue;
        }
        std::unique_ptr<EnabledProvider> e(new EnabledProvider);
        e->name = cap->providerName;
        try
        {
            const ProviderModuleInfo* module = _registry.findModule(cap->moduleName);
            if (!module)
                refuse(CIM_ERR_FAILED, "unknown provider module " + narrow(cap->moduleName));
            e->lease = _providers.get(*module, cap->providerName);
            e->provider = dynamic_cast<CIMIndicationProvider*>(e->lease.provider());
            if (!e->provider)
                refuse(CIM_ERR_FAILED, "not an indication provider");
            e->handler.reset(new Handler(*this, cap->namespaces));
            e->provider->enableIndications(*e->handler);
        }
        catch (const Exception& ex)
        {
            _logger.error("indication provider " + narrow(cap->providerName) +
                " not enabled: " + narrow(ex.getMessage()));
            continue;
        }
        catch (const std::exception& ex)
        {
            _logger.error("indication provider " + narrow(cap->providerName) +
                " not enabled: " + ex.what());
            continue;
        }
        e->references = 1;
        _logger.info("indication provider " + narrow(cap->providerName) + " enabled");
        _enabled[key] = std::move(e);
    }
}

void IndicationService::releaseProviders(const Filter& filter)
{
    std::set<std::string> seen;
    for (const ProviderCapability* cap : providersFor(filter))
    {
        std::string key = lower(cap->moduleName) + "/" + lower(cap->providerName);
        if (!seen.insert(key).second)
            continue;
        auto it = _enabled.find(key);
        if (it == _enabled.end() || --it->second->references > 0)
            continue;
        try
        {
            it->second->provider->disableIndications();
        }
        catch (...)
        {
            _logger.error("indication provider " + narrow(cap->providerName) +
                ": disableIndications failed");
        }
        _logger.info("indication provider " + narrow(cap->providerName) + " disabled");
        _enabled.erase(it);
    }
}

void IndicationService::dispatch(const std::vector<CIMNamespaceName>& namespaces,
    const CIMInstance& indication)
{
    std::shared_ptr<const std::vector<Route>> routes;
    {
        std::lock_guard<std::mutex> lock(_routesMutex);
        routes = _routes;
    }
    std::shared_ptr<const std::string> body;
    std::vector<const IndicationDestination*> sent;
    const CIMName className = indication.getClassName();
    for (const Route& route : *routes)
    {
        if (std::find(sent.begin(), sent.end(), route.listener.get()) != sent.end())
            continue;
        for (const CIMNamespaceName& ns : namespaces)
        {
            if (std::find(route.sourceNamespaces.begin(), route.sourceNamespaces.end(), ns) ==
                route.sourceNamespaces.end())
                continue;
            WqlQuery::IsA isA = [&](const CIMName& name, const CIMName& base) {
                return _repository.isSubclassOf(ns, name, base);
            };
            if (!isA(className, route.query->fromClass()) ||
                !route.query->matches(indication, isA))
                continue;
            if (!body)
                body = std::make_shared<const std::string>(exportRequest(++_messageId, indication));
            route.listener->enqueue(body);
            sent.push_back(route.listener.get());
            break;
        }
    }
}

} // namespace cimhost
