// Numbers and their text without printf, for the common library and the
// server: shortest decimal text of integers and reals, fixed-width digit
// fields, and the values of hexadecimal digits.
#ifndef Pegasus_Internal_NumberText_h
#define Pegasus_Internal_NumberText_h

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

// The value of a hexadecimal digit in either case (a byte or a UTF-16 unit),
// or -1 for any other character.
inline int hexDigit(unsigned c)
{
    if (c >= '0' && c <= '9')
        return int(c - '0');
    if (c >= 'a' && c <= 'f')
        return int(c - 'a' + 10);
    if (c >= 'A' && c <= 'F')
        return int(c - 'A' + 10);
    return -1;
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
