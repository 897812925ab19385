#ifndef Pegasus_CIMScope_h
#define Pegasus_CIMScope_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

PEGASUS_NAMESPACE_BEGIN

// Where a qualifier may be used: a set of bits with named constants.
class PEGASUS_COMMON_LINKAGE CIMScope
{
public:
    // Inline and constexpr so that the constants below are initialised
    // before any code runs.
    constexpr CIMScope() : cimScope(0) {}
    constexpr CIMScope(const CIMScope& scope) : cimScope(scope.cimScope) {}
    CIMScope& operator=(const CIMScope& scope);

    void addScope(const CIMScope& scope);
    Boolean hasScope(const CIMScope& scope) const;
    Boolean equal(const CIMScope& scope) const;
    CIMScope operator+(const CIMScope& scope) const;

    // "ANY" when every scope is set, otherwise the names of the bits that are
    // set separated by one space ("" when none).
    String toString() const;

    static const CIMScope NONE;
    static const CIMScope CLASS;
    static const CIMScope ASSOCIATION;
    static const CIMScope INDICATION;
    static const CIMScope PROPERTY;
    static const CIMScope REFERENCE;
    static const CIMScope METHOD;
    static const CIMScope PARAMETER;
    static const CIMScope ANY;

private:
    constexpr CIMScope(const Uint32 scope) : cimScope(scope) {}

    Uint32 cimScope;
};

PEGASUS_NAMESPACE_END

#endif
