#include <Pegasus/Common/CIMFlavor.h>

PEGASUS_NAMESPACE_BEGIN

const CIMFlavor CIMFlavor::NONE(0);
const CIMFlavor CIMFlavor::OVERRIDABLE(1);
const CIMFlavor CIMFlavor::ENABLEOVERRIDE(1);
const CIMFlavor CIMFlavor::TOSUBCLASS(2);
const CIMFlavor CIMFlavor::TOSUBELEMENTS(2);
const CIMFlavor CIMFlavor::TOINSTANCE(4);
const CIMFlavor CIMFlavor::TRANSLATABLE(8);
const CIMFlavor CIMFlavor::DISABLEOVERRIDE(16);
const CIMFlavor CIMFlavor::RESTRICTED(32);
const CIMFlavor CIMFlavor::DEFAULTS(3);

CIMFlavor& CIMFlavor::operator=(const CIMFlavor& flavor)
{
    cimFlavor = flavor.cimFlavor;
    return *this;
}

void CIMFlavor::addFlavor(const CIMFlavor& flavor)
{
    cimFlavor |= flavor.cimFlavor;
}

void CIMFlavor::removeFlavor(const CIMFlavor& flavor)
{
    cimFlavor &= ~flavor.cimFlavor;
}

Boolean CIMFlavor::hasFlavor(const CIMFlavor& flavor) const
{
    return (cimFlavor & flavor.cimFlavor) == flavor.cimFlavor;
}

Boolean CIMFlavor::equal(const CIMFlavor& flavor) const
{
    return cimFlavor == flavor.cimFlavor;
}

CIMFlavor CIMFlavor::operator+(const CIMFlavor& flavor) const
{
    return CIMFlavor(cimFlavor | flavor.cimFlavor);
}

String CIMFlavor::toString() const
{
    static const struct { Uint32 bit; const char* name; } names[] = {
        {1, "OVERRIDABLE"}, {2, "TOSUBCLASS"}, {4, "TOINSTANCE"},
        {8, "TRANSLATABLE"}, {16, "DISABLEOVERRIDE"}, {32, "RESTRICTED"}};
    String text;
    for (const auto& n : names)
    {
        if (cimFlavor & n.bit)
        {
            if (text.size())
                text.append(Char16(' '));
            text.append(String(n.name));
        }
    }
    return text;
}

PEGASUS_NAMESPACE_END
