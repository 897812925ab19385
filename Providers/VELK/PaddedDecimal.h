// Decimal text as printf's "%0<width>d" writes it (a minus sign, then zeros
// up to the width, then the digits), made without printf: the providers
// write several such numbers for every job they build.
#ifndef VELK_PADDED_DECIMAL_H
#define VELK_PADDED_DECIMAL_H

namespace VelkText
{

// Writes value at out and returns the end of what it wrote (no terminator).
// The characters may be bytes or UTF-16 units (Char16), which a String takes
// without decoding them.
template <class CharT>
inline CharT* appendPaddedDecimal(CharT* out, long long value, int width)
{
    unsigned long long magnitude = value < 0
        ? 0ull - static_cast<unsigned long long>(value)
        : static_cast<unsigned long long>(value);
    char digits[24];
    int count = 0;
    do
    {
        digits[count++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    int used = count;
    if (value < 0)
    {
        *out++ = CharT('-');
        used++;
    }
    for (; used < width; used++)
        *out++ = CharT('0');
    while (count > 0)
        *out++ = CharT(digits[--count]);
    return out;
}

} // namespace VelkText

#endif
