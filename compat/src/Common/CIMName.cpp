//
// CIMName and CIMNamespaceName.
//
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMNameCast.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/InternalException.h>
#include "NameTable.h"
#include "StringRep.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

inline bool isNameStart(Uint16 c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
        (c >= 0x0080 && c <= 0xFFEF);
}

inline bool isNameChar(Uint16 c)
{
    return isNameStart(c) || (c >= '0' && c <= '9');
}

bool legalName(const Uint16* p, Uint32 n)
{
    if (n == 0 || !isNameStart(p[0]))
        return false;
    for (Uint32 i = 1; i < n; i++)
        if (!isNameChar(p[i]))
            return false;
    return true;
}

// The namespace text without its optional leading slash, if legal.
bool legalNamespace(const String& name, Uint32& skip)
{
    const Uint16* p = reinterpret_cast<const Uint16*>(name.getChar16Data());
    Uint32 n = name.size();
    skip = (n > 0 && p[0] == '/') ? 1 : 0;
    Uint32 start = skip;
    if (start >= n)
        return false;
    for (Uint32 i = start; i <= n; i++)
    {
        if (i == n || p[i] == '/')
        {
            if (!legalName(p + start, i - start))
                return false;
            start = i + 1;
        }
    }
    return true;
}

inline bool equalNoCaseASCII(const String& a, const char* b)
{
    const Char16* p = a.getChar16Data();
    Uint32 n = a.size();
    Uint32 i = 0;
    for (; i < n && b[i]; i++)
    {
        Uint16 x = p[i];
        Uint16 y = Uint8(b[i]);
        if (y >= 0x80)
            return String::equalNoCase(a, String(b));
        if (foldLowerASCII(x) != foldLowerASCII(y))
            return false;
    }
    return i == n && b[i] == 0;
}

} // namespace

Uint32 CIMNameLegalASCII(const char* str)
{
    if (!str)
        return 0;
    const Uint8* p = reinterpret_cast<const Uint8*>(str);
    if (!((p[0] >= 'A' && p[0] <= 'Z') || (p[0] >= 'a' && p[0] <= 'z') || p[0] == '_'))
        return 0;
    Uint32 i = 1;
    for (; p[i]; i++)
    {
        Uint8 c = p[i];
        if (!((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
            (c >= '0' && c <= '9')))
            return 0;
    }
    return i;
}

//
// CIMName
//

CIMName::CIMName()
{
}

CIMName::CIMName(const String& name) : cimName(name)
{
    if (!legal(name))
        throw InvalidNameException(name);
}

CIMName::CIMName(const char* name)
{
    if (!name)
        throw NullPointer();
    if (StringRep* rep = NameTable::intern(name))
    {
        cimName = StringRep::adopt(rep);
        return;
    }
    cimName = String(name);
    if (!legal(cimName))
        throw InvalidNameException(cimName);
}

CIMName& CIMName::operator=(const CIMName& name)
{
    cimName = name.cimName;
    return *this;
}

CIMName& CIMName::operator=(const String& name)
{
    if (!legal(name))
        throw InvalidNameException(name);
    cimName = name;
    return *this;
}

CIMName& CIMName::operator=(const char* name)
{
    return *this = CIMName(name);
}

const String& CIMName::getString() const
{
    return cimName;
}

Boolean CIMName::isNull() const
{
    return cimName.size() == 0;
}

void CIMName::clear()
{
    cimName.clear();
}

Boolean CIMName::equal(const CIMName& name) const
{
    return String::equalNoCase(cimName, name.cimName);
}

Boolean CIMName::equal(const char* name) const
{
    return equalNoCaseASCII(cimName, name);
}

Boolean CIMName::legal(const String& name)
{
    return legalName(reinterpret_cast<const Uint16*>(name.getChar16Data()), name.size());
}

Boolean operator==(const CIMName& name1, const CIMName& name2)
{
    return name1.equal(name2);
}

Boolean operator!=(const CIMName& name1, const CIMName& name2)
{
    return !name1.equal(name2);
}

//
// CIMNamespaceName
//

CIMNamespaceName::CIMNamespaceName()
{
}

CIMNamespaceName::CIMNamespaceName(const String& name)
{
    *this = name;
}

CIMNamespaceName::CIMNamespaceName(const char* name)
{
    *this = name;
}

CIMNamespaceName& CIMNamespaceName::operator=(const CIMNamespaceName& name)
{
    cimNamespaceName = name.cimNamespaceName;
    return *this;
}

CIMNamespaceName& CIMNamespaceName::operator=(const String& name)
{
    Uint32 skip;
    if (!legalNamespace(name, skip))
        throw InvalidNamespaceNameException(name);
    cimNamespaceName = skip ? name.subString(skip) : name;
    return *this;
}

CIMNamespaceName& CIMNamespaceName::operator=(const char* name)
{
    if (name)
    {
        if (StringRep* rep = NameTable::internNamespace(name))
        {
            cimNamespaceName = StringRep::adopt(rep);
            return *this;
        }
    }
    return *this = String(name);
}

const String& CIMNamespaceName::getString() const
{
    return cimNamespaceName;
}

Boolean CIMNamespaceName::isNull() const
{
    return cimNamespaceName.size() == 0;
}

void CIMNamespaceName::clear()
{
    cimNamespaceName.clear();
}

Boolean CIMNamespaceName::equal(const CIMNamespaceName& name) const
{
    return String::equalNoCase(cimNamespaceName, name.cimNamespaceName);
}

Boolean CIMNamespaceName::equal(const char* name) const
{
    return equalNoCaseASCII(cimNamespaceName, name);
}

Boolean CIMNamespaceName::legal(const String& name)
{
    Uint32 skip;
    return legalNamespace(name, skip);
}

Boolean operator==(const CIMNamespaceName& name1, const CIMNamespaceName& name2)
{
    return name1.equal(name2);
}

Boolean operator!=(const CIMNamespaceName& name1, const CIMNamespaceName& name2)
{
    return !name1.equal(name2);
}

PEGASUS_NAMESPACE_END
