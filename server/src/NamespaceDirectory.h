// Makes the namespaces of the repository discoverable by clients, once the
// schema is compiled and the providers registered: "interop" becomes a second
// name of root/interop, in the repository and for the providers, and every
// namespace gets a __Namespace instance (its last path segment) in its parent
// namespace, where the parent declares that class.
#ifndef CIMHOST_NAMESPACEDIRECTORY_H
#define CIMHOST_NAMESPACEDIRECTORY_H

namespace cimhost
{

class ProviderRegistry;
class Repository;

class NamespaceDirectory
{
public:
    static void publish(Repository& repository, ProviderRegistry& registry);
};

} // namespace cimhost

#endif
