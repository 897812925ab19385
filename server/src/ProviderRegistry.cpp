#include "ProviderRegistry.h"
#include "Logger.h"

#include <cimhost/Repository.h>

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <cctype>
#include <set>

using namespace Pegasus;

namespace cimhost
{

const char* const ProviderRegistry::INTEROP_NAMESPACE = "root/PG_InterOp";

namespace
{

std::string narrow(const String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

bool findValue(const CIMInstance& inst, const char* name, CIMValue& value)
{
    Uint32 pos = inst.findProperty(CIMName(name));
    if (pos == PEG_NOT_FOUND)
        return false;
    value = inst.getProperty(pos).getValue();
    return !value.isNull();
}

String stringProp(const CIMInstance& inst, const char* name)
{
    CIMValue v;
    String s;
    if (findValue(inst, name, v) && v.getType() == CIMTYPE_STRING && !v.isArray())
        v.get(s);
    return s;
}

Array<String> stringArrayProp(const CIMInstance& inst, const char* name)
{
    CIMValue v;
    Array<String> a;
    if (findValue(inst, name, v) && v.getType() == CIMTYPE_STRING)
    {
        if (v.isArray())
            v.get(a);
        else
        {
            String s;
            v.get(s);
            a.append(s);
        }
    }
    return a;
}

Array<Uint16> uint16ArrayProp(const CIMInstance& inst, const char* name)
{
    CIMValue v;
    Array<Uint16> a;
    if (findValue(inst, name, v) && v.getType() == CIMTYPE_UINT16)
    {
        if (v.isArray())
            v.get(a);
        else
        {
            Uint16 x;
            v.get(x);
            a.append(x);
        }
    }
    return a;
}

} // namespace

std::string ProviderRegistry::key(const String& text)
{
    std::string s;
    appendKey(s, text);
    return s;
}

void ProviderRegistry::appendKey(std::string& out, const String& text)
{
    // Names are ASCII nearly always: lower-cased straight from the text.
    const Char16* p = text.getChar16Data();
    Uint32 n = text.size();
    size_t start = out.size();
    out.resize(start + n);
    char* d = &out[start];
    for (Uint32 i = 0; i < n; i++)
    {
        Uint16 c = p[i];
        if (c == 0 || c >= 0x80)
        {
            out.resize(start);
            std::string s = narrow(text);
            for (char& ch : s)
                ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
            out += s;
            return;
        }
        d[i] = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
}

void ProviderRegistry::addModule(const ProviderModuleInfo& module)
{
    _modules[key(module.name)] = module;
}

void ProviderRegistry::addCapability(const ProviderCapability& capability)
{
    size_t index = _capabilities.size();
    _capabilities.push_back(capability);
    for (const CIMNamespaceName& ns : capability.namespaces)
    {
        _byClass.emplace(key(ns.getString()) + ":" +
            key(capability.className.getString()), index);
    }
}

const ProviderModuleInfo* ProviderRegistry::findModule(const String& name) const
{
    auto it = _modules.find(key(name));
    return it == _modules.end() ? nullptr : &it->second;
}

const ProviderCapability* ProviderRegistry::find(const CIMNamespaceName& nameSpace,
    const CIMName& className, unsigned type) const
{
    std::string k = key(nameSpace.getString());
    k += ':';
    appendKey(k, className.getString());
    auto range = _byClass.equal_range(k);
    for (auto it = range.first; it != range.second; ++it)
    {
        const ProviderCapability& cap = _capabilities[it->second];
        if (cap.types & type)
            return &cap;
    }
    return nullptr;
}

std::vector<const ProviderCapability*> ProviderRegistry::findAll(
    const CIMNamespaceName& nameSpace, unsigned type) const
{
    std::vector<const ProviderCapability*> result;
    std::string name = key(nameSpace.getString());
    auto alias = _aliases.find(name);
    std::string prefix = (alias == _aliases.end() ? name : alias->second) + ":";
    for (const ProviderCapability& cap : _capabilities)
    {
        if (!(cap.types & type))
            continue;
        for (const CIMNamespaceName& ns : cap.namespaces)
        {
            if (key(ns.getString()) + ":" == prefix)
            {
                result.push_back(&cap);
                break;
            }
        }
    }
    return result;
}

void ProviderRegistry::addNamespaceAlias(const CIMNamespaceName& alias,
    const CIMNamespaceName& target)
{
    const std::string from = key(target.getString());
    const std::string to = key(alias.getString());
    _aliases[to] = from;
    std::vector<std::pair<std::string, size_t>> added;
    for (const auto& entry : _byClass)
        if (entry.first.compare(0, from.size() + 1, from + ":") == 0)
            added.emplace_back(to + entry.first.substr(from.size()), entry.second);
    _byClass.insert(added.begin(), added.end());
}

void ProviderRegistry::load(const Repository& repository, Logger& logger)
{
    CIMNamespaceName interop(INTEROP_NAMESPACE);
    if (!repository.namespaceExists(interop))
    {
        logger.info("no namespace root/PG_InterOp: no providers registered");
        return;
    }

    static const char* const versions[] = {
        "2.1.0", "2.2.0", "2.3.0", "2.5.0", "2.6.0", "2.9.0"};

    if (repository.classExists(interop, CIMName("PG_ProviderModule")))
    {
        Array<CIMInstance> modules = repository.enumerateInstances(
            interop, CIMName("PG_ProviderModule"));
        for (Uint32 i = 0; i < modules.size(); i++)
        {
            ProviderModuleInfo m;
            m.name = stringProp(modules[i], "Name");
            m.location = stringProp(modules[i], "Location");
            m.interfaceType = stringProp(modules[i], "InterfaceType");
            m.interfaceVersion = stringProp(modules[i], "InterfaceVersion");
            if (m.interfaceType != "C++Default")
            {
                logger.error("provider module \"" + narrow(m.name) +
                    "\" rejected: unsupported InterfaceType \"" +
                    narrow(m.interfaceType) + "\"");
                continue;
            }
            bool versionOk = false;
            for (const char* v : versions)
                versionOk = versionOk || m.interfaceVersion == v;
            if (!versionOk)
            {
                logger.error("provider module \"" + narrow(m.name) +
                    "\" rejected: unsupported InterfaceVersion \"" +
                    narrow(m.interfaceVersion) + "\"");
                continue;
            }
            if (m.location.size() == 0)
            {
                logger.error("provider module \"" + narrow(m.name) +
                    "\" rejected: no Location");
                continue;
            }
            addModule(m);
        }
    }

    std::set<std::string> providers;
    if (repository.classExists(interop, CIMName("PG_Provider")))
    {
        Array<CIMInstance> list =
            repository.enumerateInstances(interop, CIMName("PG_Provider"));
        for (Uint32 i = 0; i < list.size(); i++)
        {
            String module = stringProp(list[i], "ProviderModuleName");
            String name = stringProp(list[i], "Name");
            if (!findModule(module))
            {
                logger.error("provider \"" + narrow(name) +
                    "\" rejected: unknown provider module \"" + narrow(module) + "\"");
                continue;
            }
            providers.insert(key(module) + "/" + key(name));
        }
    }

    if (repository.classExists(interop, CIMName("PG_ProviderCapabilities")))
    {
        Array<CIMInstance> list = repository.enumerateInstances(
            interop, CIMName("PG_ProviderCapabilities"));
        for (Uint32 i = 0; i < list.size(); i++)
        {
            ProviderCapability cap;
            cap.moduleName = stringProp(list[i], "ProviderModuleName");
            cap.providerName = stringProp(list[i], "ProviderName");
            cap.capabilityId = stringProp(list[i], "CapabilityID");
            String className = stringProp(list[i], "ClassName");
            if (!providers.count(key(cap.moduleName) + "/" + key(cap.providerName)))
            {
                logger.error("capabilities \"" + narrow(cap.capabilityId) +
                    "\" rejected: unknown provider \"" + narrow(cap.providerName) +
                    "\" of module \"" + narrow(cap.moduleName) + "\"");
                continue;
            }
            try
            {
                cap.className = CIMName(className);
                Array<String> namespaces = stringArrayProp(list[i], "Namespaces");
                for (Uint32 n = 0; n < namespaces.size(); n++)
                    cap.namespaces.push_back(CIMNamespaceName(namespaces[n]));
            }
            catch (const Exception& e)
            {
                logger.error("capabilities \"" + narrow(cap.capabilityId) +
                    "\" rejected: " + narrow(e.getMessage()));
                continue;
            }
            Array<Uint16> types = uint16ArrayProp(list[i], "ProviderType");
            for (Uint32 t = 0; t < types.size(); t++)
            {
                if (types[t] == 2)
                    cap.types |= PROVIDER_TYPE_INSTANCE;
                else if (types[t] == 3)
                    cap.types |= PROVIDER_TYPE_ASSOCIATION;
                else if (types[t] == 4)
                    cap.types |= PROVIDER_TYPE_INDICATION;
                else if (types[t] == 5)
                    cap.types |= PROVIDER_TYPE_METHOD;
                else
                    logger.warning("capabilities \"" + narrow(cap.capabilityId) +
                        "\": provider type " + std::to_string(types[t]) +
                        " is not served");
            }
            addCapability(cap);
            logger.info("registered " + narrow(cap.moduleName) + "/" +
                narrow(cap.providerName) + " for " + narrow(className));
        }
    }
}

} // namespace cimhost
