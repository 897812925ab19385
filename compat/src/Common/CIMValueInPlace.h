//
// CIMValueInPlace: parts of a CIMValue read where they lie, for writers
// that would otherwise copy them out (internal to libpegcommon).
//
#ifndef Pegasus_CIMValueInPlace_h
#define Pegasus_CIMValueInPlace_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMValue.h>

PEGASUS_NAMESPACE_BEGIN

template<class T> struct CIMValueAccess;

// What kind of value a CIMValue holds, read inline (its own accessors are
// calls into the library); CIMValue's friend.
template<>
struct CIMValueAccess<void>
{
    static CIMType type(const CIMValue& v) { return CIMType(v._type); }
    static bool isArray(const CIMValue& v) { return v._isArray; }
    static bool isNull(const CIMValue& v) { return v._isNull; }
};

struct CIMValueInPlace
{
    static CIMType type(const CIMValue& value) { return CIMValueAccess<void>::type(value); }
    static bool isArray(const CIMValue& value) { return CIMValueAccess<void>::isArray(value); }
    static bool isNull(const CIMValue& value) { return CIMValueAccess<void>::isNull(value); }

    // The string of a value that is a string, not null and not an array:
    // what get() would copy, without counting a reference to it.
    static const String& string(const CIMValue& value);
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMValueInPlace_h */
