#include <Pegasus/Common/CIMScope.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{
const Uint32 ALL_SCOPES = 0x7F;
}

const CIMScope CIMScope::NONE(0);
const CIMScope CIMScope::CLASS(1);
const CIMScope CIMScope::ASSOCIATION(2);
const CIMScope CIMScope::INDICATION(4);
const CIMScope CIMScope::PROPERTY(8);
const CIMScope CIMScope::REFERENCE(16);
const CIMScope CIMScope::METHOD(32);
const CIMScope CIMScope::PARAMETER(64);
const CIMScope CIMScope::ANY(ALL_SCOPES);

CIMScope& CIMScope::operator=(const CIMScope& scope)
{
    cimScope = scope.cimScope;
    return *this;
}

void CIMScope::addScope(const CIMScope& scope)
{
    cimScope |= scope.cimScope;
}

Boolean CIMScope::hasScope(const CIMScope& scope) const
{
    return (cimScope & scope.cimScope) == scope.cimScope;
}

Boolean CIMScope::equal(const CIMScope& scope) const
{
    return cimScope == scope.cimScope;
}

CIMScope CIMScope::operator+(const CIMScope& scope) const
{
    return CIMScope(cimScope | scope.cimScope);
}

String CIMScope::toString() const
{
    if ((cimScope & ALL_SCOPES) == ALL_SCOPES)
        return String("ANY");
    static const struct { Uint32 bit; const char* name; } names[] = {
        {1, "CLASS"}, {2, "ASSOCIATION"}, {4, "INDICATION"}, {8, "PROPERTY"},
        {16, "REFERENCE"}, {32, "METHOD"}, {64, "PARAMETER"}};
    String text;
    for (const auto& n : names)
    {
        if (cimScope & n.bit)
        {
            if (text.size())
                text.append(Char16(' '));
            text.append(String(n.name));
        }
    }
    return text;
}

PEGASUS_NAMESPACE_END
