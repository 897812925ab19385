//
// Unchecked views of a String as a CIMName or CIMNamespaceName, for strings
// already known to be legal names. Each name class holds exactly one String.
//
#ifndef Pegasus_CIMNameCast_h
#define Pegasus_CIMNameCast_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/CIMName.h>

PEGASUS_NAMESPACE_BEGIN

inline const CIMName& CIMNameCast(const String& str)
{
    static_assert(sizeof(CIMName) == sizeof(String), "CIMName holds one String");
    return *reinterpret_cast<const CIMName*>(&str);
}

inline const CIMNamespaceName& CIMNamespaceNameCast(const String& str)
{
    static_assert(sizeof(CIMNamespaceName) == sizeof(String),
        "CIMNamespaceName holds one String");
    return *reinterpret_cast<const CIMNamespaceName*>(&str);
}

// Returns the length of str if it is a legal CIM name made of ASCII
// characters only, otherwise 0.
PEGASUS_COMMON_LINKAGE Uint32 CIMNameLegalASCII(const char* str);

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMNameCast_h */
