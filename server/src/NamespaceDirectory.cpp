#include "NamespaceDirectory.h"
#include "ProviderRegistry.h"

#include <cimhost/Repository.h>

#include <Pegasus/Common/Exception.h>

using namespace Pegasus;

namespace cimhost
{

void NamespaceDirectory::publish(Repository& repository, ProviderRegistry& registry)
{
    const CIMNamespaceName interop("root/interop");
    const CIMNamespaceName alias("interop");
    if (repository.namespaceExists(interop) && !repository.namespaceExists(alias))
    {
        repository.addNamespaceAlias(alias, interop);
        registry.addNamespaceAlias(alias, interop);
    }

    const CIMName nsClass("__Namespace");
    const Array<CIMNamespaceName> all = repository.enumerateNamespaces();
    for (Uint32 i = 0; i < all.size(); i++)
    {
        const String name = all[i].getString();
        const Uint32 slash = name.reverseFind('/');
        if (slash == PEG_NOT_FOUND)
            continue;
        const CIMNamespaceName parent(name.subString(0, slash));
        if (!repository.classExists(parent, nsClass))
            continue;
        const String child = name.subString(slash + 1);
        Array<CIMKeyBinding> keys;
        keys.append(CIMKeyBinding(CIMName("Name"), child, CIMKeyBinding::STRING));
        CIMInstance inst(nsClass);
        inst.addProperty(CIMProperty(CIMName("Name"), child));
        inst.setPath(CIMObjectPath(String(), parent, nsClass, keys));
        try
        {
            repository.createInstance(parent, inst);
        }
        catch (const CIMException& e)
        {
            if (e.getCode() != CIM_ERR_ALREADY_EXISTS)
                throw;
        }
    }
}

} // namespace cimhost
