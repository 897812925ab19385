#include "VELK_AssociationWalker.h"

#include "VELK_InternalCacheService.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

// The path without host and namespace, reference keys likewise.
CIMObjectPath bare(const CIMObjectPath& path)
{
    Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
    {
        if (keys[i].getType() == CIMKeyBinding::REFERENCE)
            keys[i].setValue(bare(CIMObjectPath(keys[i].getValue())).toString());
    }
    return CIMObjectPath(String(), CIMNamespaceName(), path.getClassName(), keys);
}

Boolean named(const String& wanted, const CIMName& name)
{
    return wanted.size() == 0 || String::equalNoCase(wanted, name.getString());
}

} // namespace

Boolean VELK_AssociationWalker::samePath(const CIMObjectPath& a, const CIMObjectPath& b)
{
    return bare(a).identical(bare(b));
}

std::vector<VELK_AssociationWalker::Link> VELK_AssociationWalker::links(
    const Array<CIMInstance>& associations, const CIMObjectPath& objectName, const String& role,
    const String& resultRole)
{
    std::vector<Link> out;
    for (Uint32 i = 0; i < associations.size(); i++)
    {
        const CIMInstance& assoc = associations[i];
        for (Uint32 p = 0; p < assoc.getPropertyCount(); p++)
        {
            const CIMConstProperty from = assoc.getProperty(p);
            if (from.getType() != CIMTYPE_REFERENCE || from.getValue().isNull()
                || !named(role, from.getName()))
                continue;
            CIMObjectPath source;
            from.getValue().get(source);
            if (!samePath(source, objectName))
                continue;
            for (Uint32 q = 0; q < assoc.getPropertyCount(); q++)
            {
                const CIMConstProperty to = assoc.getProperty(q);
                if (q == p || to.getType() != CIMTYPE_REFERENCE || to.getValue().isNull()
                    || !named(resultRole, to.getName()))
                    continue;
                Link link;
                link.association = i;
                to.getValue().get(link.result);
                out.push_back(link);
            }
        }
    }
    return out;
}

std::vector<Uint32> VELK_AssociationWalker::referencing(const Array<CIMInstance>& associations,
    const CIMObjectPath& objectName, const String& role)
{
    std::vector<Uint32> out;
    for (Uint32 i = 0; i < associations.size(); i++)
    {
        const CIMInstance& assoc = associations[i];
        for (Uint32 p = 0; p < assoc.getPropertyCount(); p++)
        {
            const CIMConstProperty ref = assoc.getProperty(p);
            if (ref.getType() != CIMTYPE_REFERENCE || ref.getValue().isNull()
                || !named(role, ref.getName()))
                continue;
            CIMObjectPath target;
            ref.getValue().get(target);
            if (samePath(target, objectName))
            {
                out.push_back(i);
                break;
            }
        }
    }
    return out;
}

Boolean VELK_AssociationWalker::isA(CIMOMHandle& cimom, const CIMNamespaceName& nameSpace,
    const CIMName& className, const CIMName& wanted)
{
    if (wanted.isNull())
        return true;
    CIMName current = className;
    // Class hierarchies are shallow; the bound only guards against a cycle.
    for (int depth = 0; depth < 64 && !current.isNull(); depth++)
    {
        if (current.equal(wanted))
            return true;
        try
        {
            current = VELK_InternalCacheService::getInstance()->getStoredCIMClass(cimom,
                OperationContext(), nameSpace, current, true, false, false, CIMPropertyList())
                .getSuperClassName();
        }
        catch (const CIMException&)
        {
            return false;
        }
    }
    return false;
}

PEGASUS_NAMESPACE_END
