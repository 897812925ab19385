// Small helpers shared by the companion providers.
#ifndef VELK_PROVIDERSUPPORT_H
#define VELK_PROVIDERSUPPORT_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

PEGASUS_NAMESPACE_BEGIN

// Namespace of the array's classes and the class scoping its elements.
#define VELK_NAMESPACE "root/velk"
#define VELK_SYSTEM_CLASS "CIM_ComputerSystem"

// Sets a property the instance has (from its class); others are left out.
inline void setIfPresent(CIMInstance& inst, const char* name, const CIMValue& value)
{
    const Uint32 pos = inst.findProperty(CIMName(name));
    if (pos != PEG_NOT_FOUND)
        inst.getProperty(pos).setValue(value);
}

// Value of the key binding of that name (case-insensitive), "" if none.
inline String keyValue(const CIMObjectPath& path, const char* name)
{
    const Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
        if (keys[i].getName().equal(CIMName(name)))
            return keys[i].getValue();
    return String();
}

PEGASUS_NAMESPACE_END

#endif
