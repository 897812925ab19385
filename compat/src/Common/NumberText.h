// Text of numbers without printf, for every formatter of the common library:
// shortest decimal text of integers and reals, and fixed-width digit fields.
#ifndef Pegasus_Common_NumberText_h
#define Pegasus_Common_NumberText_h

#include <charconv>
#include <string>
#include <Pegasus/Common/Config.h>

PEGASUS_NAMESPACE_BEGIN

namespace NumberText
{

// Room for any integer or shortest real.
const size_t MAX_CHARS = 32;

// Writes x at out (MAX_CHARS of room); returns the end.
template <class T>
inline char* write(char* out, T x)
{
    return std::to_chars(out, out + MAX_CHARS, x).ptr;
}

template <class T>
inline void append(std::string& out, T x)
{
    char buf[MAX_CHARS];
    out.append(buf, write(buf, x));
}

// Exactly `width` digits of x, zero-padded (the low digits when x is wider).
inline void fixed(char* out, unsigned width, Uint64 x)
{
    for (unsigned i = width; i-- > 0;)
    {
        out[i] = char('0' + x % 10);
        x /= 10;
    }
}

} // namespace NumberText

PEGASUS_NAMESPACE_END

#endif
