//
// CIMValueInPlace: parts of a CIMValue read where they lie, for writers
// that would otherwise copy them out (internal to libpegcommon).
//
#ifndef Pegasus_CIMValueInPlace_h
#define Pegasus_CIMValueInPlace_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMValue.h>

PEGASUS_NAMESPACE_BEGIN

struct CIMValueInPlace
{
    // The string of a value that is a string, not null and not an array:
    // what get() would copy, without counting a reference to it.
    static const String& string(const CIMValue& value);
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMValueInPlace_h */
