#ifndef Pegasus_CIMFlavor_h
#define Pegasus_CIMFlavor_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

PEGASUS_NAMESPACE_BEGIN

// The flavor of a qualifier: a set of bits with named constants.
class PEGASUS_COMMON_LINKAGE CIMFlavor
{
public:
    // Inline and constexpr so that the constants below are initialised
    // before any code runs.
    constexpr CIMFlavor() : cimFlavor(0) {}
    constexpr CIMFlavor(const CIMFlavor& flavor) : cimFlavor(flavor.cimFlavor) {}
    CIMFlavor& operator=(const CIMFlavor& flavor);

    void addFlavor(const CIMFlavor& flavor);
    void removeFlavor(const CIMFlavor& flavor);
    Boolean hasFlavor(const CIMFlavor& flavor) const;
    Boolean equal(const CIMFlavor& flavor) const;
    CIMFlavor operator+(const CIMFlavor& flavor) const;

    // Names of the bits that are set, separated by one space ("" when none).
    String toString() const;

    static const CIMFlavor NONE;
    static const CIMFlavor OVERRIDABLE;
    static const CIMFlavor ENABLEOVERRIDE;
    static const CIMFlavor TOSUBCLASS;
    static const CIMFlavor TOSUBELEMENTS;
    static const CIMFlavor TOINSTANCE;
    static const CIMFlavor TRANSLATABLE;
    static const CIMFlavor DISABLEOVERRIDE;
    static const CIMFlavor RESTRICTED;
    static const CIMFlavor DEFAULTS;

private:
    constexpr CIMFlavor(const Uint32 flavor) : cimFlavor(flavor) {}

    Uint32 cimFlavor;
};

PEGASUS_NAMESPACE_END

#endif
