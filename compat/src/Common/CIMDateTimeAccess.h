//
// CIMDateTimeAccess: the text of a CIMDateTime written into a caller's
// buffer, for writers that would otherwise make a String of it (internal to
// libpegcommon).
//
#ifndef Pegasus_CIMDateTimeAccess_h
#define Pegasus_CIMDateTimeAccess_h

#include <cstddef>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/CIMDateTime.h>

PEGASUS_NAMESPACE_BEGIN

struct CIMDateTimeAccess
{
    // Length of the text.
    static const size_t TEXT_SIZE = 25;

    // Writes the text of toString() at out (TEXT_SIZE bytes of room);
    // returns its end.
    static char* text(const CIMDateTime& x, char* out);

    // The value in eight bytes and four (how a CIMValue keeps it), and back.
    static void pack(const CIMDateTime& x, Uint64& usec, Uint32& rest);
    static CIMDateTime unpack(Uint64 usec, Uint32 rest);
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMDateTimeAccess_h */
