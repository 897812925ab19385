//
// String and CString.
//
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <ostream>
#include <string>
#include <vector>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/InternalException.h>
#include "NameTable.h"
#include "StringRep.h"

PEGASUS_NAMESPACE_BEGIN

StringRep StringRep::emptyRep = { {StringRep::IMMORTAL}, 0, 0, {0} };

const String String::EMPTY;

[[gnu::noinline]] void StringRep::destroy(StringRep* rep)
{
    if (rep->cap & WITHIN)
        releaseWithin(rep);
    else
        ::operator delete(rep);
}

StringRep* StringRep::alloc(Uint32 cap)
{
    if (cap >= WITHIN)
        throw std::bad_alloc();
    void* p = ::operator new(offsetof(StringRep, data) + (size_t(cap) + 1) * sizeof(Uint16));
    StringRep* rep = static_cast<StringRep*>(p);
    new (&rep->refs) std::atomic<Uint32>(1);
    rep->size = 0;
    rep->cap = cap;
    rep->data[0] = 0;
    return rep;
}

namespace
{

inline StringRep* makeRep(const Uint16* data, Uint32 n)
{
    if (n == 0)
        return &StringRep::emptyRep;
    StringRep* rep = StringRep::alloc(n);
    std::memcpy(rep->data, data, n * sizeof(Uint16));
    rep->data[n] = 0;
    rep->size = n;
    return rep;
}

Uint32 char16Length(const Char16* str)
{
    const Uint16* p = reinterpret_cast<const Uint16*>(str);
    Uint32 n = 0;
    while (p[n])
        n++;
    return n;
}

[[noreturn]] void throwBadUTF8(const char* str, Uint32 n, Uint32 index, Uint32 seqLen)
{
    String text("The byte sequence starting at index ");
    char buf[32];
    std::snprintf(buf, sizeof(buf), "%u", index);
    text.append(String(buf));
    text.append(String(" is not valid UTF-8 encoding:"));
    for (Uint32 i = index; i < n && i < index + seqLen; i++)
    {
        std::snprintf(buf, sizeof(buf), " 0x%02X", unsigned(Uint8(str[i])));
        text.append(String(buf));
    }
    throw Exception(text);
}

// Length of the UTF-8 sequence a lead byte starts, 0 if it cannot start one.
inline Uint32 utf8SequenceLength(Uint8 c)
{
    if (c < 0x80)
        return 1;
    if (c >= 0xC2 && c <= 0xDF)
        return 2;
    if (c >= 0xE0 && c <= 0xEF)
        return 3;
    if (c >= 0xF0 && c <= 0xF4)
        return 4;
    return 0;
}

// Decodes n bytes of UTF-8 into a new representation.
StringRep* decodeUTF8(const char* str, Uint32 n)
{
    if (!str)
        throw NullPointer();
    if (n == 0)
        return &StringRep::emptyRep;

    StringRep* rep = StringRep::alloc(n);
    Uint16* out = rep->data;
    const Uint8* s = reinterpret_cast<const Uint8*>(str);
    Uint32 i = 0;
    // Plain ASCII, the common text, is widened eight bytes at a time up to
    // the first byte that is not.
    for (; i + 8 <= n; i += 8, out += 8)
    {
        Uint64 word;
        std::memcpy(&word, s + i, 8);
        if (word & 0x8080808080808080ull)
            break;
        for (Uint32 k = 0; k < 8; k++)
            out[k] = s[i + k];
    }
    try
    {
        while (i < n)
        {
            Uint8 c = s[i];
            if (c < 0x80)
            {
                *out++ = c;
                i++;
                continue;
            }
            Uint32 len = utf8SequenceLength(c);
            if (len == 0 || i + len > n)
                throwBadUTF8(str, n, i, len ? len : 1);
            Uint32 cp = 0;
            Uint8 c1 = s[i + 1];
            // Second-byte ranges exclude overlong forms, surrogates and
            // code points past U+10FFFF.
            Uint8 lo = 0x80, hi = 0xBF;
            if (c == 0xE0) lo = 0xA0;
            else if (c == 0xED) hi = 0x9F;
            else if (c == 0xF0) lo = 0x90;
            else if (c == 0xF4) hi = 0x8F;
            if (c1 < lo || c1 > hi)
                throwBadUTF8(str, n, i, len);
            for (Uint32 k = 2; k < len; k++)
                if ((s[i + k] & 0xC0) != 0x80)
                    throwBadUTF8(str, n, i, len);
            if (len == 2)
                cp = ((c & 0x1F) << 6) | (c1 & 0x3F);
            else if (len == 3)
                cp = ((c & 0x0F) << 12) | ((c1 & 0x3F) << 6) | (s[i + 2] & 0x3F);
            else
                cp = ((c & 0x07) << 18) | ((c1 & 0x3F) << 12) |
                    ((s[i + 2] & 0x3F) << 6) | (s[i + 3] & 0x3F);
            if (cp >= 0x10000)
            {
                cp -= 0x10000;
                *out++ = Uint16(0xD800 + (cp >> 10));
                *out++ = Uint16(0xDC00 + (cp & 0x3FF));
            }
            else
                *out++ = Uint16(cp);
            i += len;
        }
    }
    catch (...)
    {
        StringRep::unref(rep);
        throw;
    }
    rep->size = Uint32(out - rep->data);
    rep->data[rep->size] = 0;
    return rep;
}

inline Uint32 checkedLength(const char* str)
{
    if (!str)
        throw NullPointer();
    return Uint32(std::strlen(str));
}

// Bytes of the UTF-8 encoding of n units: a surrogate pair is one character
// of four bytes, a lone surrogate is encoded as it stands, in three.
size_t utf8Length(const Uint16* p, Uint32 n)
{
    size_t bytes = n;
    for (Uint32 i = 0; i < n; i++)
    {
        Uint32 c = p[i];
        if (c < 0x80)
            continue;
        bytes += c < 0x800 ? 1 : 2;
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < n && p[i + 1] >= 0xDC00 && p[i + 1] <= 0xDFFF)
            i++;
    }
    return bytes;
}

// Writes the UTF-8 encoding of n units at d (utf8Length bytes); returns the
// end.
char* encodeUTF8(const Uint16* p, Uint32 n, char* d)
{
    for (Uint32 i = 0; i < n; i++)
    {
        Uint32 c = p[i];
        if (c < 0x80)
        {
            *d++ = char(c);
            continue;
        }
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < n &&
            p[i + 1] >= 0xDC00 && p[i + 1] <= 0xDFFF)
        {
            c = 0x10000 + ((c - 0xD800) << 10) + (p[i + 1] - 0xDC00);
            i++;
        }
        if (c < 0x800)
        {
            *d++ = char(0xC0 | (c >> 6));
            *d++ = char(0x80 | (c & 0x3F));
        }
        else if (c < 0x10000)
        {
            *d++ = char(0xE0 | (c >> 12));
            *d++ = char(0x80 | ((c >> 6) & 0x3F));
            *d++ = char(0x80 | (c & 0x3F));
        }
        else
        {
            *d++ = char(0xF0 | (c >> 18));
            *d++ = char(0x80 | ((c >> 12) & 0x3F));
            *d++ = char(0x80 | ((c >> 6) & 0x3F));
            *d++ = char(0x80 | (c & 0x3F));
        }
    }
    return d;
}

int compareUnits(const Uint16* a, Uint32 na, const Uint16* b, Uint32 nb, bool noCase)
{
    Uint32 n = na < nb ? na : nb;
    for (Uint32 i = 0; i < n; i++)
    {
        int x = noCase ? foldLowerASCII(a[i]) : a[i];
        int y = noCase ? foldLowerASCII(b[i]) : b[i];
        if (x != y)
            return x - y;
    }
    if (na == nb)
        return 0;
    return na < nb ? -1 : 1;
}

// Compares a string with a UTF-8 literal without converting the literal
// while it is ASCII: 1 equal, 0 different, -1 undecided (the literal has a
// non-ASCII byte, so it must be decoded and checked).
int equalLiteral(const Uint16* p, Uint32 n, const char* lit, bool noCase)
{
    if (!lit)
        throw NullPointer();
    bool same = true;
    Uint32 i = 0;
    for (; lit[i]; i++)
    {
        Uint8 c = Uint8(lit[i]);
        if (c >= 0x80)
            return -1;
        if (same && (i >= n ||
            (p[i] != c && (!noCase || foldLowerASCII(p[i]) != foldLowerASCII(c)))))
            same = false;
    }
    return same && i == n ? 1 : 0;
}

} // namespace

//
// CString
//

CString::CString() : _rep(0)
{
}

CString::CString(char* cstr) : _rep(cstr)
{
}

CString::CString(const CString& cstr) : _rep(0)
{
    if (cstr._rep)
    {
        size_t n = std::strlen(cstr._rep) + 1;
        _rep = new char[n];
        std::memcpy(_rep, cstr._rep, n);
    }
}

CString::~CString()
{
    delete [] _rep;
}

CString& CString::operator=(const CString& cstr)
{
    if (this != &cstr)
    {
        CString tmp(cstr);
        char* t = _rep;
        _rep = tmp._rep;
        tmp._rep = t;
    }
    return *this;
}

CString::operator const char*() const
{
    return _rep;
}

//
// String
//

String::String() : _rep(&StringRep::emptyRep)
{
}

String::String(const String& str) : _rep(str._rep)
{
    StringRep::ref(_rep);
}

String::String(String&& str) noexcept : _rep(str._rep)
{
    str._rep = &StringRep::emptyRep;
}

String::String(const String& str, Uint32 n) : _rep(&StringRep::emptyRep)
{
    if (n > str._rep->size)
        throw IndexOutOfBoundsException();
    _rep = makeRep(str._rep->data, n);
}

String::String(const Char16* str) : _rep(&StringRep::emptyRep)
{
    if (!str)
        throw NullPointer();
    _rep = makeRep(reinterpret_cast<const Uint16*>(str), char16Length(str));
}

String::String(const Char16* str, Uint32 n) : _rep(&StringRep::emptyRep)
{
    if (!str)
        throw NullPointer();
    _rep = makeRep(reinterpret_cast<const Uint16*>(str), n);
}

String::String(const char* str) : _rep(decodeUTF8(str, checkedLength(str)))
{
}

String::String(const char* str, Uint32 n) : _rep(decodeUTF8(str, n))
{
}

String::String(const String& s1, const String& s2) : _rep(&StringRep::emptyRep)
{
    Uint32 n = s1._rep->size + s2._rep->size;
    if (n == 0)
        return;
    _rep = StringRep::alloc(n);
    std::memcpy(_rep->data, s1._rep->data, s1._rep->size * sizeof(Uint16));
    std::memcpy(_rep->data + s1._rep->size, s2._rep->data, s2._rep->size * sizeof(Uint16));
    _rep->size = n;
    _rep->data[n] = 0;
}

String::String(const String& s1, const char* s2) : String(s1, String(s2))
{
}

String::String(const char* s1, const String& s2) : String(String(s1), s2)
{
}

String::~String()
{
    StringRep::unref(_rep);
}

String& String::operator=(const String& str)
{
    return assign(str);
}

String& String::operator=(String&& str) noexcept
{
    if (this != &str)
    {
        StringRep::unref(_rep);
        _rep = str._rep;
        str._rep = &StringRep::emptyRep;
    }
    return *this;
}

String& String::operator=(const char* str)
{
    return assign(str);
}

String& String::assign(const String& str)
{
    if (_rep != str._rep)
    {
        StringRep::ref(str._rep);
        StringRep::unref(_rep);
        _rep = str._rep;
    }
    return *this;
}

String& String::assign(const Char16* str)
{
    return *this = String(str);
}

String& String::assign(const Char16* str, Uint32 n)
{
    return *this = String(str, n);
}

String& String::assign(const char* str)
{
    return *this = String(str);
}

String& String::assign(const char* str, Uint32 n)
{
    return *this = String(str, n);
}

void String::clear()
{
    if (_rep->size == 0)
        return;
    if (_rep->refs.load(std::memory_order_acquire) == 1)
    {
        _rep->size = 0;
        _rep->data[0] = 0;
    }
    else
    {
        StringRep::unref(_rep);
        _rep = &StringRep::emptyRep;
    }
}

// Makes the representation private to this string with room for at least
// minCapacity units.
void String::_unshare(Uint32 minCapacity)
{
    bool shared = _rep == &StringRep::emptyRep ||
        _rep->refs.load(std::memory_order_acquire) != 1;
    Uint32 had = StringRep::capacity(_rep);
    if (!shared && had >= minCapacity)
        return;
    Uint32 cap = minCapacity;
    if (cap < _rep->size)
        cap = _rep->size;
    if (!shared && cap < 2 * had)
        cap = 2 * had;
    if (cap == 0)
        cap = 8;
    StringRep* rep = StringRep::alloc(cap);
    std::memcpy(rep->data, _rep->data, (_rep->size + 1) * sizeof(Uint16));
    rep->size = _rep->size;
    StringRep::unref(_rep);
    _rep = rep;
}

void String::reserveCapacity(Uint32 capacity)
{
    if (capacity > StringRep::capacity(_rep))
        _unshare(capacity);
}

Uint32 String::size() const
{
    return _rep->size;
}

const Char16* String::getChar16Data() const
{
    return reinterpret_cast<const Char16*>(_rep->data);
}

CString String::getCString() const
{
    // An interned name keeps its bytes beside it.
    if (NameTable::interned(_rep))
    {
        char* p = new char[_rep->size + 1];
        std::memcpy(p, NameTable::bytesOf(_rep), _rep->size);
        p[_rep->size] = 0;
        return CString(p);
    }
    char* p = new char[utf8Length(_rep->data, _rep->size) + 1];
    *encodeUTF8(_rep->data, _rep->size, p) = 0;
    return CString(p);
}

Char16& String::operator[](Uint32 index)
{
    if (index > _rep->size)
        throw IndexOutOfBoundsException();
    _unshare(_rep->size);
    return reinterpret_cast<Char16*>(_rep->data)[index];
}

const Char16 String::operator[](Uint32 index) const
{
    if (index > _rep->size)
        throw IndexOutOfBoundsException();
    return Char16(_rep->data[index]);
}

String& String::append(const Char16& c)
{
    Uint32 n = _rep->size;
    _unshare(n + 1);
    _rep->data[n] = Uint16(c);
    _rep->data[n + 1] = 0;
    _rep->size = n + 1;
    return *this;
}

String& String::append(const Char16* str, Uint32 n)
{
    if (n == 0)
        return *this;
    if (!str)
        throw NullPointer();
    // str may point into this string.
    const Uint16* src = reinterpret_cast<const Uint16*>(str);
    if (src >= _rep->data && src <= _rep->data + _rep->size)
        return append(String(str, n));
    Uint32 size = _rep->size;
    _unshare(size + n);
    std::memcpy(_rep->data + size, src, n * sizeof(Uint16));
    _rep->size = size + n;
    _rep->data[_rep->size] = 0;
    return *this;
}

String& String::append(const String& str)
{
    if (_rep->size == 0)
        return assign(str);
    if (str._rep->size == 0)
        return *this;
    String keep(str);
    Uint32 size = _rep->size;
    Uint32 n = keep._rep->size;
    _unshare(size + n);
    std::memcpy(_rep->data + size, keep._rep->data, n * sizeof(Uint16));
    _rep->size = size + n;
    _rep->data[_rep->size] = 0;
    return *this;
}

String& String::append(const char* str)
{
    return append(String(str));
}

String& String::append(const char* str, Uint32 size)
{
    return append(String(str, size));
}

void String::remove(Uint32 index, Uint32 size)
{
    if (index > _rep->size)
        throw IndexOutOfBoundsException();
    if (size == PEG_NOT_FOUND)
        size = _rep->size - index;
    if (size > _rep->size - index)
        throw IndexOutOfBoundsException();
    if (size == 0)
        return;
    _unshare(_rep->size);
    Uint32 rest = _rep->size - index - size;
    std::memmove(_rep->data + index, _rep->data + index + size, (rest + 1) * sizeof(Uint16));
    _rep->size -= size;
}

String String::subString(Uint32 index, Uint32 n) const
{
    Uint32 size = _rep->size;
    if (index >= size)
        return String();
    if (n > size - index)
        n = size - index;
    if (index == 0 && n == size)
        return *this;
    return String(makeRep(_rep->data + index, n));
}

Uint32 String::find(Char16 c) const
{
    const Uint16* p = _rep->data;
    Uint16 x = c;
    for (Uint32 i = 0, n = _rep->size; i < n; i++)
        if (p[i] == x)
            return i;
    return PEG_NOT_FOUND;
}

Uint32 String::find(Uint32 index, Char16 c) const
{
    if (index > _rep->size)
        throw IndexOutOfBoundsException();
    const Uint16* p = _rep->data;
    Uint16 x = c;
    for (Uint32 i = index, n = _rep->size; i < n; i++)
        if (p[i] == x)
            return i;
    return PEG_NOT_FOUND;
}

Uint32 String::find(const String& s) const
{
    Uint32 n = _rep->size, m = s._rep->size;
    if (m == 0 || m > n)
        return PEG_NOT_FOUND;
    const Uint16* p = _rep->data;
    const Uint16* q = s._rep->data;
    for (Uint32 i = 0; i + m <= n; i++)
        if (p[i] == q[0] && std::memcmp(p + i, q, m * sizeof(Uint16)) == 0)
            return i;
    return PEG_NOT_FOUND;
}

Uint32 String::find(const char* s) const
{
    return find(String(s));
}

Uint32 String::reverseFind(Char16 c) const
{
    const Uint16* p = _rep->data;
    Uint16 x = c;
    for (Uint32 i = _rep->size; i > 0; i--)
        if (p[i - 1] == x)
            return i - 1;
    return PEG_NOT_FOUND;
}

void String::toLower()
{
    for (Uint32 i = 0; i < _rep->size; i++)
    {
        if (_rep->data[i] >= 'A' && _rep->data[i] <= 'Z')
        {
            _unshare(_rep->size);
            for (; i < _rep->size; i++)
                _rep->data[i] = foldLowerASCII(_rep->data[i]);
            return;
        }
    }
}

void String::toUpper()
{
    for (Uint32 i = 0; i < _rep->size; i++)
    {
        if (_rep->data[i] >= 'a' && _rep->data[i] <= 'z')
        {
            _unshare(_rep->size);
            for (; i < _rep->size; i++)
                _rep->data[i] = foldUpperASCII(_rep->data[i]);
            return;
        }
    }
}

void String::appendPrintf(const char* format, ...)
{
    char small[256];
    va_list ap;
    va_start(ap, format);
    int n = std::vsnprintf(small, sizeof(small), format, ap);
    va_end(ap);
    if (n < 0)
        return;
    if (size_t(n) < sizeof(small))
    {
        append(String(small, Uint32(n)));
        return;
    }
    std::vector<char> big(size_t(n) + 1);
    va_start(ap, format);
    std::vsnprintf(big.data(), big.size(), format, ap);
    va_end(ap);
    append(String(big.data(), Uint32(n)));
}

int String::compare(const String& s1, const String& s2, Uint32 n)
{
    Uint32 n1 = s1._rep->size < n ? s1._rep->size : n;
    Uint32 n2 = s2._rep->size < n ? s2._rep->size : n;
    return compareUnits(s1._rep->data, n1, s2._rep->data, n2, false);
}

int String::compare(const String& s1, const String& s2)
{
    return compareUnits(s1._rep->data, s1._rep->size, s2._rep->data, s2._rep->size, false);
}

int String::compare(const String& s1, const char* s2)
{
    return compare(s1, String(s2));
}

int String::compareNoCase(const String& s1, const String& s2)
{
    return compareUnits(s1._rep->data, s1._rep->size, s2._rep->data, s2._rep->size, true);
}

Boolean String::equal(const String& s1, const String& s2)
{
    return s1._rep == s2._rep || (s1._rep->size == s2._rep->size &&
        std::memcmp(s1._rep->data, s2._rep->data, s1._rep->size * sizeof(Uint16)) == 0);
}

Boolean String::equal(const String& s1, const char* s2)
{
    int r = equalLiteral(s1._rep->data, s1._rep->size, s2, false);
    return r < 0 ? equal(s1, String(s2)) : r == 1;
}

Boolean String::equalNoCase(const String& s1, const String& s2)
{
    if (s1._rep == s2._rep)
        return true;
    Uint32 n = s1._rep->size;
    if (n != s2._rep->size)
        return false;
    const Uint16* p = s1._rep->data;
    const Uint16* q = s2._rep->data;
    // Names are mostly spelled alike: try the plain comparison first.
    if (std::memcmp(p, q, n * sizeof(Uint16)) == 0)
        return true;
    for (Uint32 i = 0; i < n; i++)
        if (p[i] != q[i] && foldLowerASCII(p[i]) != foldLowerASCII(q[i]))
            return false;
    return true;
}

Boolean String::equalNoCase(const String& s1, const char* s2)
{
    int r = equalLiteral(s1._rep->data, s1._rep->size, s2, true);
    return r < 0 ? equalNoCase(s1, String(s2)) : r == 1;
}

//
// Free functions
//

Boolean operator==(const String& str1, const String& str2)
{
    return String::equal(str1, str2);
}

Boolean operator==(const String& str1, const char* str2)
{
    return String::equal(str1, str2);
}

Boolean operator==(const char* str1, const String& str2)
{
    return String::equal(str2, str1);
}

Boolean operator!=(const String& str1, const String& str2)
{
    return !String::equal(str1, str2);
}

Boolean operator!=(const String& str1, const char* str2)
{
    return !(str1 == str2);
}

Boolean operator!=(const char* str1, const String& str2)
{
    return !(str1 == str2);
}

Boolean operator<(const String& str1, const String& str2)
{
    return String::compare(str1, str2) < 0;
}

Boolean operator<=(const String& str1, const String& str2)
{
    return String::compare(str1, str2) <= 0;
}

Boolean operator>(const String& str1, const String& str2)
{
    return String::compare(str1, str2) > 0;
}

Boolean operator>=(const String& str1, const String& str2)
{
    return String::compare(str1, str2) >= 0;
}

Boolean operator<(const String& str1, const char* str2) { return str1 < String(str2); }
Boolean operator<(const char* str1, const String& str2) { return String(str1) < str2; }
Boolean operator<=(const String& str1, const char* str2) { return str1 <= String(str2); }
Boolean operator<=(const char* str1, const String& str2) { return String(str1) <= str2; }
Boolean operator>(const String& str1, const char* str2) { return str1 > String(str2); }
Boolean operator>(const char* str1, const String& str2) { return String(str1) > str2; }
Boolean operator>=(const String& str1, const char* str2) { return str1 >= String(str2); }
Boolean operator>=(const char* str1, const String& str2) { return String(str1) >= str2; }

String operator+(const String& str1, const String& str2)
{
    return String(str1, str2);
}

String operator+(const String& s1, const char* s2)
{
    return String(s1, String(s2));
}

String operator+(const char* s1, const String& s2)
{
    return String(String(s1), s2);
}

PEGASUS_STD(ostream)& operator<<(PEGASUS_STD(ostream)& os, const String& str)
{
    const Char16* p = str.getChar16Data();
    for (Uint32 i = 0, n = str.size(); i < n; i++)
    {
        Uint16 c = p[i];
        if (c > 0 && c <= 0xFF)
            os << char(c);
        else
        {
            char buf[8];
            std::snprintf(buf, sizeof(buf), "\\x%04X", unsigned(c));
            os << buf;
        }
    }
    return os;
}

PEGASUS_NAMESPACE_END
