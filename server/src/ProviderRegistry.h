// Which provider serves which class: read at start-up from the registration
// instances (PG_ProviderModule, PG_Provider, PG_ProviderCapabilities) stored
// in the interop namespace, immutable afterwards.
#ifndef CIMHOST_PROVIDER_REGISTRY_H
#define CIMHOST_PROVIDER_REGISTRY_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/CIMName.h>

#include <map>
#include <string>
#include <vector>

namespace cimhost
{

class Repository;
class Logger;

// Provider types of PG_ProviderCapabilities.ProviderType.
enum ProviderTypeBits : unsigned
{
    PROVIDER_TYPE_INSTANCE = 1u << 2,
    PROVIDER_TYPE_ASSOCIATION = 1u << 3,
    PROVIDER_TYPE_INDICATION = 1u << 4,
    PROVIDER_TYPE_METHOD = 1u << 5
};

struct ProviderModuleInfo
{
    Pegasus::String name;
    Pegasus::String location;  // library base name: lib<location>.so
    Pegasus::String interfaceType;
    Pegasus::String interfaceVersion;
};

struct ProviderCapability
{
    Pegasus::String moduleName;
    Pegasus::String providerName;
    Pegasus::String capabilityId;
    Pegasus::CIMName className;
    std::vector<Pegasus::CIMNamespaceName> namespaces;
    unsigned types = 0;  // ProviderTypeBits
};

class ProviderRegistry
{
public:
    static const char* const INTEROP_NAMESPACE;  // "root/PG_InterOp"

    ProviderRegistry() = default;

    // Reads the registrations. Modules with an interface other than
    // C++Default (versions 2.1.0 ... 2.9.0), providers without a module and
    // capabilities without a provider are rejected: logged and left out.
    void load(const Repository& repository, Logger& logger);

    // Registers a capability directly (used by tests and by load()).
    void addModule(const ProviderModuleInfo& module);
    void addCapability(const ProviderCapability& capability);

    const ProviderModuleInfo* findModule(const Pegasus::String& name) const;

    // The capability serving the class in the namespace with the given type,
    // or 0.
    const ProviderCapability* find(const Pegasus::CIMNamespaceName& nameSpace,
        const Pegasus::CIMName& className, unsigned type) const;

    // Every capability with the given type in the namespace.
    std::vector<const ProviderCapability*> findAll(
        const Pegasus::CIMNamespaceName& nameSpace, unsigned type) const;

    // Serves in alias whatever is registered for target (the repository's
    // second name of a namespace), for registrations made so far.
    void addNamespaceAlias(const Pegasus::CIMNamespaceName& alias,
        const Pegasus::CIMNamespaceName& target);

    size_t capabilityCount() const { return _capabilities.size(); }

    // A name as modules, providers and classes are looked up: lower-case
    // UTF-8.
    static std::string key(const Pegasus::String& text);

private:
    static void appendKey(std::string& out, const Pegasus::String& text);

    std::map<std::string, ProviderModuleInfo> _modules;
    std::vector<ProviderCapability> _capabilities;
    // namespace:class (lower case) -> indexes into _capabilities
    std::multimap<std::string, size_t> _byClass;
    // alias (lower case) -> namespace it names (lower case)
    std::map<std::string, std::string> _aliases;
};

} // namespace cimhost

#endif
