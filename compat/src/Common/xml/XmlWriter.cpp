// Encoder of the CIM object model into CIM-XML.
#include <CimXml/XmlWriter.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMScope.h>
#include <Pegasus/Common/Exception.h>
#include "../CIMDateTimeAccess.h"
#include "../StringRep.h"
#include "../NameTable.h"
#include "../CIMValueInPlace.h"
#include <Pegasus/Internal/NumberText.h>
#include "../ObjectModelReps.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

// Decimal text of an integer or (shortest) real.
template <class T>
void appendInteger(std::string& out, T x)
{
    NumberText::append(out, x);
}

// A literal and its length.
struct Text
{
    const char* s;
    size_t n;
};

template <size_t N>
constexpr Text text(const char (&s)[N])
{
    return Text{s, N - 1};
}

template <size_t N>
inline char* put(char* d, const char (&s)[N])
{
    std::memcpy(d, s, N - 1);
    return d + N - 1;
}

inline char* put(char* d, Text t)
{
    std::memcpy(d, t.s, t.n);
    return d + t.n;
}

const char* typeName(CIMType type)
{
    if (type == CIMTYPE_INSTANCE || type == CIMTYPE_OBJECT)
        return "string";
    return cimTypeToString(type);
}

// An attribute text padded to a fixed size, so that it is copied with a
// copy of fixed size (the writer asks room for the whole slot).
struct Slot
{
    char s[32];
    size_t n;
};

template <size_t N>
constexpr Slot slot(const char (&text)[N])
{
    static_assert(N <= sizeof(Slot::s), "attribute text fits its slot");
    Slot x = {};
    for (size_t i = 0; i + 1 < N; i++)
        x.s[i] = text[i];
    x.n = N - 1;
    return x;
}

inline char* put(char* d, const Slot& slot)
{
    std::memcpy(d, slot.s, sizeof(slot.s));
    return d + slot.n;
}

// The TYPE attribute of each CIM type, as written on properties and
// qualifiers (embedded objects travel as strings); the last one for a type
// out of range.
constexpr Slot TYPE_ATTRS[] = {
    slot(" TYPE=\"boolean\""), slot(" TYPE=\"uint8\""), slot(" TYPE=\"sint8\""),
    slot(" TYPE=\"uint16\""), slot(" TYPE=\"sint16\""), slot(" TYPE=\"uint32\""),
    slot(" TYPE=\"sint32\""), slot(" TYPE=\"uint64\""), slot(" TYPE=\"sint64\""),
    slot(" TYPE=\"real32\""), slot(" TYPE=\"real64\""), slot(" TYPE=\"char16\""),
    slot(" TYPE=\"string\""), slot(" TYPE=\"datetime\""), slot(" TYPE=\"reference\""),
    slot(" TYPE=\"string\""), slot(" TYPE=\"string\""), slot(" TYPE=\"unknown\""),
};

inline const Slot& typeAttr(CIMType type)
{
    const Uint32 last = sizeof(TYPE_ATTRS) / sizeof(TYPE_ATTRS[0]) - 1;
    return TYPE_ATTRS[Uint32(type) < last ? Uint32(type) : last];
}

constexpr Slot EMBEDDED_ATTRS[] = {
    slot(""), slot(" EmbeddedObject=\"instance\""), slot(" EmbeddedObject=\"object\""),
};

// The EmbeddedObject attribute of a type; empty for the other types.
inline const Slot& embeddedAttr(CIMType type)
{
    return EMBEDDED_ATTRS[type == CIMTYPE_INSTANCE ? 1 : type == CIMTYPE_OBJECT ? 2 : 0];
}

Text valueTypeAttr(CIMKeyBinding::Type type)
{
    switch (type)
    {
        case CIMKeyBinding::BOOLEAN: return text("<KEYVALUE VALUETYPE=\"boolean\">");
        case CIMKeyBinding::NUMERIC: return text("<KEYVALUE VALUETYPE=\"numeric\">");
        default: return text("<KEYVALUE VALUETYPE=\"string\">");
    }
}

String descriptionOf(Uint32 code, const String& message)
{
    String d(cimStatusCodeToString(CIMStatusCode(code)));
    if (message.size())
    {
        d.append(String(": "));
        d.append(message);
    }
    return d;
}

// Bytes an escaped unit or byte may take at most ("&quot;").
const size_t ESCAPED_MAX = 6;
// Units escaped per room check: bounds the room a long text asks for.
const size_t ESCAPE_BLOCK = 4096;
// Room added beyond a request, so that the elements that follow find room
// without growing the output again (the room is zero-filled first, so it
// stays small).
const size_t SLACK = 128;
// Largest size of the last call taken as the size of the next one.
const size_t HINT_MAX = 64 * 1024;

// mode 0: element text; 1: element text carrying embedded XML (quotes
// escaped too); 2: attribute value.
inline bool plainChar(unsigned char c)
{
    return c >= 0x20 && c != '&' && c != '<' && c != '>' && c != '"';
}

// Writes one ASCII character, escaped as mode needs.
inline char* escapeAscii(char* d, unsigned c, int mode)
{
    switch (c)
    {
        case '&': return put(d, "&amp;");
        case '<': return put(d, "&lt;");
        case '>': return put(d, "&gt;");
        case '"':
            if (mode)
                return put(d, "&quot;");
            break;
        case '\r': return put(d, "&#13;");
        case '\n':
            if (mode == 2)
                return put(d, "&#10;");
            break;
        case '\t':
            if (mode == 2)
                return put(d, "&#9;");
            break;
        default:
            if (c < 0x20)
            {
                *d++ = '&';
                *d++ = '#';
                if (c >= 10)
                    *d++ = char('0' + c / 10);
                *d++ = char('0' + c % 10);
                *d++ = ';';
                return d;
            }
    }
    *d++ = char(c);
    return d;
}

// Escapes n bytes of UTF-8 at d (ESCAPED_MAX bytes of room per byte).
char* escapeBytes(char* d, const char* p, size_t n, int mode)
{
    size_t i = 0;
    while (i < n)
    {
        size_t run = i;
        while (run < n && plainChar((unsigned char)p[run]))
            run++;
        std::memcpy(d, p + i, run - i);
        d += run - i;
        i = run;
        if (i < n)
            d = escapeAscii(d, (unsigned char)p[i++], mode);
    }
    return d;
}

#if defined(__SSE2__)
// Narrows eight units to bytes, with saturation: a unit above 0x7F becomes
// a byte that is negative or zero, so that one signed test below 0x20 finds
// it with the control characters. Returns the mask of the units that are
// not plain ASCII.
inline unsigned otherBytes(__m128i units, __m128i& bytes)
{
    bytes = _mm_packus_epi16(units, units);
    __m128i other = _mm_or_si128(
        _mm_or_si128(_mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)),
            _mm_cmpeq_epi8(bytes, _mm_set1_epi8('&'))),
        _mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('<')),
                _mm_cmpeq_epi8(bytes, _mm_set1_epi8('>'))),
            _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'))));
    return unsigned(_mm_movemask_epi8(other)) & 0xFFu;
}

inline unsigned otherUnits(const Uint16* p, __m128i& bytes)
{
    return otherBytes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), bytes);
}

// The same for four units (the mask's low four bits).
inline unsigned otherUnits4(const Uint16* p, __m128i& bytes)
{
    return otherBytes(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), bytes) & 0xFu;
}
#endif

// Escapes n UTF-16 units as UTF-8 at d (ESCAPED_MAX bytes of room per
// unit). A lone surrogate becomes U+FFFD.
char* escapeUnits(char* d, const Uint16* p, size_t n, int mode)
{
#if defined(__SSE2__)
    // Four to seven units (most names and many values): the first four and
    // the last four, overlapping, when all are plain.
    if (n >= 4 && n < 8)
    {
        __m128i head, tail;
        if (otherUnits4(p, head) == 0 && otherUnits4(p + n - 4, tail) == 0)
        {
            int first = _mm_cvtsi128_si32(head);
            int last = _mm_cvtsi128_si32(tail);
            std::memcpy(d, &first, 4);
            std::memcpy(d + n - 4, &last, 4);
            return d + n;
        }
    }
#endif
    size_t i = 0;
    while (i < n)
    {
#if defined(__SSE2__)
        // Eight units at a time while they are plain ASCII. The eight bytes
        // are stored in any case; only the plain ones before the first
        // other unit count.
        __m128i bytes;
        while (n - i >= 8)
        {
            unsigned mask = otherUnits(p + i, bytes);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d), bytes);
            if (mask == 0)
            {
                d += 8;
                i += 8;
                continue;
            }
            unsigned plain = unsigned(__builtin_ctz(mask));
            d += plain;
            i += plain;
            break;
        }
        if (i == n)
            break;
        // A short tail is tested as the last eight units: when all are
        // plain, the ones before the tail were written one byte each, so
        // storing the eight bytes over them writes the same bytes again.
        if (n - i < 8 && n >= 8 && otherUnits(p + n - 8, bytes) == 0)
        {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(d - (8 - (n - i))), bytes);
            d += n - i;
            break;
        }
#endif
        Uint32 c = p[i++];
        if (c < 0x80)
        {
            if (plainChar((unsigned char)c))
                *d++ = char(c);
            else
                d = escapeAscii(d, c, mode);
            continue;
        }
        if (c >= 0xD800 && c <= 0xDBFF && i < n && p[i] >= 0xDC00 && p[i] <= 0xDFFF)
        {
            c = 0x10000 + ((c - 0xD800) << 10) + (p[i] - 0xDC00);
            i++;
        }
        else if (c >= 0xD800 && c <= 0xDFFF)
            c = 0xFFFD;
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

inline const Uint16* unitsOf(const Char16* s)
{
    static_assert(sizeof(Char16) == sizeof(Uint16), "Char16 is one UTF-16 unit");
    return reinterpret_cast<const Uint16*>(s);
}

// The text of a name, and whether it is null, read in place (a CIMName is
// its String, as CIMNameCast relies on too).
inline const String& nameText(const CIMName& name)
{
    static_assert(sizeof(CIMName) == sizeof(String), "CIMName holds one String");
    return reinterpret_cast<const String&>(name);
}

inline bool nullName(const CIMName& name)
{
    return StringRep::of(nameText(name))->size == 0;
}

} // namespace

// Opens raw writing for the outermost public call and closes it when that
// call returns or throws: _out then holds exactly the text written.
class XmlWriter::Scope
{
public:
    explicit Scope(XmlWriter& w) : _w(w)
    {
        if (_w._depth++ == 0)
        {
            _w._opened = _w._out.size();
            _w._p = _w._end = &_w._out[0] + _w._opened;
        }
    }
    ~Scope()
    {
        if (--_w._depth == 0)
        {
            size_t used = size_t(_w._p - _w._out.data());
            _w._lastSize = used - _w._opened;
            _w._out.resize(used);
            _w._p = _w._end = 0;
        }
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    XmlWriter& _w;
};

XmlWriter::XmlWriter(std::string& out, Uint32 flags)
    : _out(out), _p(0), _end(0), _opened(0), _lastSize(0), _depth(0), _flags(flags),
      _skipQualifiers(false)
{
}

void XmlWriter::_grow(size_t n)
{
    size_t used = size_t(_p - _out.data());
    // Room for what the last call wrote (objects of an enumeration are
    // alike), else half again what this call wrote so far.
    size_t written = used - _opened;
    size_t want = used + n + std::max(SLACK, written / 2);
    size_t hint = std::min(_lastSize, HINT_MAX);
    size_t expected = _opened + hint + hint / 8 + SLACK;
    if (want < expected)
        want = expected;
    // Within the capacity the string has, no more than it has: a sink that
    // reserved its block keeps it.
    if (want > _out.capacity() && used + n <= _out.capacity())
        want = _out.capacity();
    _out.resize(want);
    _p = &_out[0] + used;
    _end = &_out[0] + _out.size();
}

void XmlWriter::_escaped(const Char16* s, size_t n, int mode)
{
    const Uint16* p = unitsOf(s);
    while (n)
    {
        size_t k = n < ESCAPE_BLOCK ? n : ESCAPE_BLOCK;
        // A surrogate pair stays in one block.
        if (k < n && p[k - 1] >= 0xD800 && p[k - 1] <= 0xDBFF)
            k++;
        char* d = _room(k * ESCAPED_MAX);
        _p = escapeUnits(d, p, k, mode);
        p += k;
        n -= k;
    }
}

void XmlWriter::_escaped(const char* s, size_t n, int mode)
{
    while (n)
    {
        size_t k = n < ESCAPE_BLOCK ? n : ESCAPE_BLOCK;
        char* d = _room(k * ESCAPED_MAX);
        _p = escapeBytes(d, s, k, mode);
        s += k;
        n -= k;
    }
}

template <size_t L, size_t T>
void XmlWriter::_escaped(const char (&lead)[L], const String& s, int mode,
    const char (&trail)[T])
{
    const StringRep* rep = StringRep::of(s);
    size_t n = rep->size;
    if (NameTable::interned(rep))
    {
        // An interned name is ASCII that needs no escaping.
        char* d = _room(L - 1 + n + T - 1);
        std::memcpy(d, lead, L - 1);
        std::memcpy(d + L - 1, NameTable::bytesOf(rep), n);
        std::memcpy(d + L - 1 + n, trail, T - 1);
        _p = d + L - 1 + n + T - 1;
        return;
    }
    if (n > ESCAPE_BLOCK)
    {
        _text(lead, L - 1);
        _escaped(reinterpret_cast<const Char16*>(rep->data), n, mode);
        _text(trail, T - 1);
        return;
    }
    // One room check for the whole piece.
    char* d = _room(L - 1 + n * ESCAPED_MAX + T - 1);
    std::memcpy(d, lead, L - 1);
    d = escapeUnits(d + L - 1, rep->data, n, mode);
    std::memcpy(d, trail, T - 1);
    _p = d + T - 1;
}

template <size_t N>
void XmlWriter::_attr(const char (&lead)[N], const String& value)
{
    _escaped(lead, value, 2, "\"");
}

std::string XmlWriter::toUtf8(const String& s)
{
    if (s.size() == 0)
        return std::string();
    CString c = s.getCString();
    return std::string((const char*)c);
}

void XmlWriter::appendEscaped(std::string& out, const char* p, size_t n,
    bool attribute)
{
    XmlWriter w(out);
    Scope scope(w);
    w._escaped(p, n, attribute ? 2 : 0);
}

void XmlWriter::appendEscaped(std::string& out, const String& s, bool attribute)
{
    XmlWriter w(out);
    Scope scope(w);
    w._escaped(s.getChar16Data(), s.size(), attribute ? 2 : 0);
}

std::string XmlWriter::embeddedObjectText(const CIMConstObject& object)
{
    // Embedded text is read by XML parsers only (a strict client sees one
    // string), so it keeps every EmbeddedObject marking, arrays included:
    // without it a client would decode nested instances as strings.
    std::string text;
    XmlWriter w(text, EXTENDED);
    w.appendObject(object);
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

String XmlWriter::objectToXml(const CIMConstObject& object)
{
    return String(embeddedObjectText(object).c_str());
}

std::string XmlWriter::scalarText(const CIMValue& v)
{
    std::string out;
    switch (v.getType())
    {
        case CIMTYPE_BOOLEAN:
        {
            Boolean x; v.get(x); out = x ? "TRUE" : "FALSE"; break;
        }
        case CIMTYPE_UINT8: { Uint8 x; v.get(x); appendInteger(out, (unsigned)x); break; }
        case CIMTYPE_SINT8: { Sint8 x; v.get(x); appendInteger(out, (int)x); break; }
        case CIMTYPE_UINT16: { Uint16 x; v.get(x); appendInteger(out, x); break; }
        case CIMTYPE_SINT16: { Sint16 x; v.get(x); appendInteger(out, x); break; }
        case CIMTYPE_UINT32: { Uint32 x; v.get(x); appendInteger(out, x); break; }
        case CIMTYPE_SINT32: { Sint32 x; v.get(x); appendInteger(out, x); break; }
        case CIMTYPE_UINT64: { Uint64 x; v.get(x); appendInteger(out, x); break; }
        case CIMTYPE_SINT64: { Sint64 x; v.get(x); appendInteger(out, x); break; }
        case CIMTYPE_REAL32: { Real32 x; v.get(x); appendInteger(out, x); break; }
        case CIMTYPE_REAL64: { Real64 x; v.get(x); appendInteger(out, x); break; }
        case CIMTYPE_CHAR16:
        {
            Char16 x; v.get(x);
            out = toUtf8(String(&x, 1));
            break;
        }
        case CIMTYPE_STRING: { String x; v.get(x); out = toUtf8(x); break; }
        case CIMTYPE_DATETIME:
        {
            CIMDateTime x; v.get(x); out = toUtf8(x.toString()); break;
        }
        case CIMTYPE_REFERENCE:
        {
            CIMObjectPath x; v.get(x); out = toUtf8(x.toString()); break;
        }
        case CIMTYPE_OBJECT:
        {
            CIMObject x; v.get(x); out = embeddedObjectText(x); break;
        }
        case CIMTYPE_INSTANCE:
        {
            CIMInstance x; v.get(x); out = embeddedObjectText(x); break;
        }
    }
    return out;
}

// The <VALUE> element of one scalar, written straight into the output.
template <class T>
void XmlWriter::_valueOf(const T& x)
{
    char* d = _room(sizeof("<VALUE></VALUE>") - 1 + NumberText::MAX_CHARS);
    d = put(d, "<VALUE>");
    d = NumberText::write(d, x);
    _p = put(d, "</VALUE>");
}

template <>
void XmlWriter::_valueOf(const Boolean& x)
{
    if (x)
        _lit("<VALUE>TRUE</VALUE>");
    else
        _lit("<VALUE>FALSE</VALUE>");
}

template <>
void XmlWriter::_valueOf(const Uint8& x)
{
    _valueOf(unsigned(x));
}

template <>
void XmlWriter::_valueOf(const Sint8& x)
{
    _valueOf(int(x));
}

template <>
void XmlWriter::_valueOf(const Char16& x)
{
    char* d = _room(sizeof("<VALUE></VALUE>") - 1 + ESCAPED_MAX);
    d = put(d, "<VALUE>");
    Uint16 unit = x;
    d = escapeUnits(d, &unit, 1, 0);
    _p = put(d, "</VALUE>");
}

template <>
void XmlWriter::_valueOf(const String& x)
{
    _escaped("<VALUE>", x, 0, "</VALUE>");
}

template <>
void XmlWriter::_valueOf(const CIMDateTime& x)
{
    // Digits, '.', '*' and signs: nothing to escape.
    char* d = _room(sizeof("<VALUE></VALUE>") + CIMDateTimeAccess::TEXT_SIZE);
    d = put(d, "<VALUE>");
    d = CIMDateTimeAccess::text(x, d);
    _p = put(d, "</VALUE>");
}

template <class T>
void XmlWriter::_scalarValue(const CIMValue& v)
{
    T x;
    v.get(x);
    _valueOf(x);
}

// One <VALUE> element per element of an array value.
template <class T>
void XmlWriter::_arrayValues(const CIMValue& v)
{
    Array<T> a;
    v.get(a);
    for (Uint32 i = 0; i < a.size(); i++)
        _valueOf(a[i]);
}

void XmlWriter::appendValue(const CIMValue& v)
{
    if (CIMValueInPlace::isNull(v))
        return;
    Scope scope(*this);
    CIMType type = CIMValueInPlace::type(v);
    const bool isArray = CIMValueInPlace::isArray(v);
    bool embedded = type == CIMTYPE_OBJECT || type == CIMTYPE_INSTANCE;
    if (type == CIMTYPE_REFERENCE)
    {
        if (isArray)
        {
            Array<CIMObjectPath> a;
            v.get(a);
            _lit("<VALUE.REFARRAY>\n");
            for (Uint32 i = 0; i < a.size(); i++)
                appendValueReference(a[i]);
            _lit("</VALUE.REFARRAY>\n");
        }
        else
        {
            CIMObjectPath p;
            v.get(p);
            appendValueReference(p);
        }
        return;
    }
    if (!isArray && embedded)
    {
        std::string text = scalarText(v);
        _lit("<VALUE>");
        _escaped(text.data(), text.size(), 1);
        _lit("</VALUE>");
        return;
    }
    if (!isArray)
    {
        switch (type)
        {
            case CIMTYPE_BOOLEAN: _scalarValue<Boolean>(v); break;
            case CIMTYPE_UINT8: _scalarValue<Uint8>(v); break;
            case CIMTYPE_SINT8: _scalarValue<Sint8>(v); break;
            case CIMTYPE_UINT16: _scalarValue<Uint16>(v); break;
            case CIMTYPE_SINT16: _scalarValue<Sint16>(v); break;
            case CIMTYPE_UINT32: _scalarValue<Uint32>(v); break;
            case CIMTYPE_SINT32: _scalarValue<Sint32>(v); break;
            case CIMTYPE_UINT64: _scalarValue<Uint64>(v); break;
            case CIMTYPE_SINT64: _scalarValue<Sint64>(v); break;
            case CIMTYPE_REAL32: _scalarValue<Real32>(v); break;
            case CIMTYPE_REAL64: _scalarValue<Real64>(v); break;
            case CIMTYPE_CHAR16: _scalarValue<Char16>(v); break;
            case CIMTYPE_STRING: _valueOf(CIMValueInPlace::string(v)); break;
            case CIMTYPE_DATETIME: _scalarValue<CIMDateTime>(v); break;
            default: _lit("<VALUE></VALUE>"); break;
        }
        return;
    }
    _lit("<VALUE.ARRAY>");
    switch (type)
    {
        case CIMTYPE_BOOLEAN: _arrayValues<Boolean>(v); break;
        case CIMTYPE_UINT8: _arrayValues<Uint8>(v); break;
        case CIMTYPE_SINT8: _arrayValues<Sint8>(v); break;
        case CIMTYPE_UINT16: _arrayValues<Uint16>(v); break;
        case CIMTYPE_SINT16: _arrayValues<Sint16>(v); break;
        case CIMTYPE_UINT32: _arrayValues<Uint32>(v); break;
        case CIMTYPE_SINT32: _arrayValues<Sint32>(v); break;
        case CIMTYPE_UINT64: _arrayValues<Uint64>(v); break;
        case CIMTYPE_SINT64: _arrayValues<Sint64>(v); break;
        case CIMTYPE_REAL32: _arrayValues<Real32>(v); break;
        case CIMTYPE_REAL64: _arrayValues<Real64>(v); break;
        case CIMTYPE_CHAR16: _arrayValues<Char16>(v); break;
        case CIMTYPE_STRING: _arrayValues<String>(v); break;
        case CIMTYPE_DATETIME: _arrayValues<CIMDateTime>(v); break;
        case CIMTYPE_OBJECT:
        {
            Array<CIMObject> a;
            v.get(a);
            for (Uint32 i = 0; i < a.size(); i++)
            {
                std::string text = embeddedObjectText(a[i]);
                _lit("<VALUE>");
                _escaped(text.data(), text.size(), 1);
                _lit("</VALUE>");
            }
            break;
        }
        case CIMTYPE_INSTANCE:
        {
            Array<CIMInstance> a;
            v.get(a);
            for (Uint32 i = 0; i < a.size(); i++)
            {
                std::string text = embeddedObjectText(a[i]);
                _lit("<VALUE>");
                _escaped(text.data(), text.size(), 1);
                _lit("</VALUE>");
            }
            break;
        }
        case CIMTYPE_REFERENCE:
            break;
    }
    _lit("</VALUE.ARRAY>");
}

void XmlWriter::_appendReferenceContent(const CIMObjectPath& path)
{
    bool hasNs = !path.getNameSpace().isNull();
    bool hasHost = path.getHost().size() != 0;
    if (path.getKeyBindings().size() == 0)
    {
        if (hasNs && hasHost)
            appendClassPath(path);
        else if (hasNs)
            appendLocalClassPath(path);
        else
        {
            appendClassName(path.getClassName());
            _lit("\n");
        }
    }
    else
    {
        if (hasNs && hasHost)
            appendInstancePath(path);
        else if (hasNs)
            appendLocalInstancePath(path);
        else
            appendInstanceName(path);
    }
}

void XmlWriter::appendValueReference(const CIMObjectPath& reference)
{
    Scope scope(*this);
    _lit("<VALUE.REFERENCE>\n");
    _appendReferenceContent(reference);
    _lit("</VALUE.REFERENCE>\n");
}

void XmlWriter::appendClassName(const CIMName& className)
{
    Scope scope(*this);
    _escaped("<CLASSNAME NAME=\"", className.getString(), 2, "\"/>");
}

void XmlWriter::appendLocalNamespacePath(const CIMNamespaceName& nameSpace)
{
    Scope scope(*this);
    _lit("<LOCALNAMESPACEPATH>");
    const String& ns = nameSpace.getString();
    const Char16* p = ns.getChar16Data();
    size_t n = ns.size();
    size_t start = 0;
    while (start <= n)
    {
        size_t slash = start;
        while (slash < n && p[slash] != '/')
            slash++;
        if (slash > start)
        {
            _lit("<NAMESPACE NAME=\"");
            _escaped(p + start, slash - start, 2);
            _lit("\"/>");
        }
        start = slash + 1;
    }
    _lit("</LOCALNAMESPACEPATH>\n");
}

void XmlWriter::appendNamespacePath(const String& host,
    const CIMNamespaceName& nameSpace)
{
    Scope scope(*this);
    _escaped("<NAMESPACEPATH>\n<HOST>", host, 0, "</HOST>\n");
    appendLocalNamespacePath(nameSpace);
    _lit("</NAMESPACEPATH>\n");
}

void XmlWriter::appendLocalClassPath(const CIMObjectPath& path)
{
    Scope scope(*this);
    _lit("<LOCALCLASSPATH>\n");
    appendLocalNamespacePath(path.getNameSpace());
    appendClassName(path.getClassName());
    _lit("\n</LOCALCLASSPATH>\n");
}

void XmlWriter::appendClassPath(const CIMObjectPath& path)
{
    Scope scope(*this);
    _lit("<CLASSPATH>\n");
    appendNamespacePath(path.getHost(), path.getNameSpace());
    appendClassName(path.getClassName());
    _lit("\n</CLASSPATH>\n");
}

void XmlWriter::appendKeyBinding(const CIMKeyBinding& kb)
{
    Scope scope(*this);
    if (kb.getType() == CIMKeyBinding::REFERENCE)
    {
        _escaped("<KEYBINDING NAME=\"", kb.getName().getString(), 2, "\">\n");
        appendValueReference(CIMObjectPath(kb.getValue()));
        _lit("</KEYBINDING>\n");
        return;
    }
    _attr("<KEYBINDING NAME=\"", kb.getName().getString());
    Text keyValue = valueTypeAttr(kb.getType());
    // ">" then the KEYVALUE start tag.
    char* d = _room(1 + keyValue.n);
    *d++ = '>';
    _p = put(d, keyValue);
    _escaped("", kb.getValue(), 0, "</KEYVALUE></KEYBINDING>\n");
}

void XmlWriter::appendInstanceName(const CIMObjectPath& path)
{
    Scope scope(*this);
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    if (keys.size() == 1 && keys.getData()[0].getType() != CIMKeyBinding::REFERENCE)
    {
        const CIMKeyBinding& kb = keys.getData()[0];
        // The paths of an enumeration differ in their key's value only: the
        // text before it is made once for interned class and key names,
        // which stay what they are for as long as the process runs.
        const StringRep* cls = StringRep::of(nameText(path.getClassName()));
        const StringRep* key = StringRep::of(nameText(kb.getName()));
        if (NameTable::interned(cls) && NameTable::interned(key))
        {
            if (cls != _keyedHead.className || key != _keyedHead.keyName ||
                kb.getType() != _keyedHead.type)
            {
                std::string& h = _keyedHead.text;
                h.assign("<INSTANCENAME CLASSNAME=\"");
                h.append(NameTable::bytesOf(cls), cls->size);
                h.append("\">\n<KEYBINDING NAME=\"");
                h.append(NameTable::bytesOf(key), key->size);
                h.append("\">");
                Text keyValue = valueTypeAttr(kb.getType());
                h.append(keyValue.s, keyValue.n);
                _keyedHead.className = cls;
                _keyedHead.keyName = key;
                _keyedHead.type = kb.getType();
            }
            _text(_keyedHead.text.data(), _keyedHead.text.size());
            _escaped("", kb.getValue(), 0,
                "</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n");
            return;
        }
    }
    if (keys.size() == 0)
    {
        _escaped("<INSTANCENAME CLASSNAME=\"", path.getClassName().getString(), 2, "\"/>\n");
        return;
    }
    _escaped("<INSTANCENAME CLASSNAME=\"", path.getClassName().getString(), 2, "\">\n");
    for (Uint32 i = 0; i < keys.size(); i++)
        appendKeyBinding(keys[i]);
    _lit("</INSTANCENAME>\n");
}

void XmlWriter::appendInstanceNames(const Array<CIMObjectPath>& paths)
{
    // One call for the run: the room it grows serves every path.
    Scope scope(*this);
    for (Uint32 i = 0; i < paths.size(); i++)
        appendInstanceName(paths[i]);
}

void XmlWriter::appendLocalInstancePath(const CIMObjectPath& path)
{
    Scope scope(*this);
    _lit("<LOCALINSTANCEPATH>\n");
    appendLocalNamespacePath(path.getNameSpace());
    appendInstanceName(path);
    _lit("</LOCALINSTANCEPATH>\n");
}

void XmlWriter::appendInstancePath(const CIMObjectPath& path)
{
    Scope scope(*this);
    _lit("<INSTANCEPATH>\n");
    appendNamespacePath(path.getHost(), path.getNameSpace());
    appendInstanceName(path);
    _lit("</INSTANCEPATH>\n");
}

void XmlWriter::appendObjectPath(const CIMObjectPath& path, bool asClass)
{
    Scope scope(*this);
    _lit("<OBJECTPATH>\n");
    if (asClass)
        appendClassPath(path);
    else
        appendInstancePath(path);
    _lit("</OBJECTPATH>\n");
}

void XmlWriter::_appendFlavor(const CIMFlavor& flavor)
{
    if (!flavor.hasFlavor(CIMFlavor::OVERRIDABLE))
        _lit(" OVERRIDABLE=\"false\"");
    if (!flavor.hasFlavor(CIMFlavor::TOSUBCLASS))
        _lit(" TOSUBCLASS=\"false\"");
    if (flavor.hasFlavor(CIMFlavor::TRANSLATABLE))
        _lit(" TRANSLATABLE=\"true\"");
}

void XmlWriter::appendQualifier(const CIMConstQualifier& q)
{
    Scope scope(*this);
    _attr("<QUALIFIER NAME=\"", q.getName().getString());
    const Slot& type = typeAttr(q.getType());
    _text(type.s, type.n);
    if (q.getPropagated())
        _lit(" PROPAGATED=\"true\"");
    _appendFlavor(q.getFlavor());
    _lit(">");
    appendValue(q.getValue());
    _lit("</QUALIFIER>\n");
}

void XmlWriter::appendQualifierDecl(const CIMConstQualifierDecl& d)
{
    Scope writing(*this);
    _attr("<QUALIFIER.DECLARATION NAME=\"", d.getName().getString());
    const Slot& type = typeAttr(d.getType());
    _text(type.s, type.n);
    if (d.isArray())
        _lit(" ISARRAY=\"true\"");
    else
        _lit(" ISARRAY=\"false\"");
    if (d.getArraySize())
    {
        char* p = _room(13 + NumberText::MAX_CHARS);
        p = put(p, " ARRAYSIZE=\"");
        p = NumberText::write(p, d.getArraySize());
        _p = put(p, "\"");
    }
    _appendFlavor(d.getFlavor());
    _lit(">\n");
    const CIMScope& scope = d.getScope();
    static const struct { Text attr; const CIMScope* scope; } scopes[] = {
        { text(" CLASS=\"true\""), &CIMScope::CLASS },
        { text(" ASSOCIATION=\"true\""), &CIMScope::ASSOCIATION },
        { text(" REFERENCE=\"true\""), &CIMScope::REFERENCE },
        { text(" PROPERTY=\"true\""), &CIMScope::PROPERTY },
        { text(" METHOD=\"true\""), &CIMScope::METHOD },
        { text(" PARAMETER=\"true\""), &CIMScope::PARAMETER },
        { text(" INDICATION=\"true\""), &CIMScope::INDICATION },
    };
    _lit("<SCOPE");
    for (const auto& s : scopes)
        if (scope.hasScope(*s.scope))
            _text(s.attr.s, s.attr.n);
    _lit("></SCOPE>\n");
    if (!d.getValue().isNull())
    {
        appendValue(d.getValue());
        _lit("\n");
    }
    _lit("</QUALIFIER.DECLARATION>\n");
}

void XmlWriter::appendProperty(const CIMConstProperty& p)
{
    Scope scope(*this);
    _property(checkedRep(CIMRepAccess::rep(p)));
}

void XmlWriter::_property(const CIMPropertyRep* p)
{
    const CIMValue& v = p->value;
    const CIMPropertyDefinition* def = p->def;
    CIMType type = CIMValueInPlace::type(v);
    bool isArray = CIMValueInPlace::isArray(v);
    if (type == CIMTYPE_REFERENCE)
    {
        _attr("<PROPERTY.REFERENCE NAME=\"", nameText(def->name));
        if (!nullName(def->referenceClassName))
            _attr(" REFERENCECLASS=\"", nameText(def->referenceClassName));
    }
    else
    {
        if (isArray)
            _attr("<PROPERTY.ARRAY NAME=\"", nameText(def->name));
        else
            _attr("<PROPERTY NAME=\"", nameText(def->name));
        const Slot& typeText = typeAttr(type);
        char* d = _room(2 * sizeof(Slot::s) + 13 + NumberText::MAX_CHARS);
        d = put(d, typeText);
        if ((type == CIMTYPE_INSTANCE || type == CIMTYPE_OBJECT) &&
            (!isArray || (_flags & EXTENDED)))
            d = put(d, embeddedAttr(type));
        if (isArray && def->arraySize)
        {
            d = put(d, " ARRAYSIZE=\"");
            d = NumberText::write(d, def->arraySize);
            *d++ = '"';
        }
        _p = d;
    }
    if (!nullName(def->classOrigin))
        _attr(" CLASSORIGIN=\"", nameText(def->classOrigin));
    if (def->propagated)
        _lit(" PROPAGATED=\"true\">");
    else
        _lit(">");
    Uint32 nq = _skipQualifiers ? 0 : def->qualifiers.size();
    if (nq || (type == CIMTYPE_REFERENCE && !CIMValueInPlace::isNull(v)))
        _lit("\n");
    for (Uint32 i = 0; i < nq; i++)
        appendQualifier(CIMRepAccess::share<CIMConstQualifier>(def->qualifiers.at(i)));
    appendValue(v);
    if (type == CIMTYPE_REFERENCE)
        _lit("</PROPERTY.REFERENCE>\n");
    else if (isArray)
        _lit("</PROPERTY.ARRAY>\n");
    else
        _lit("</PROPERTY>\n");
}

void XmlWriter::appendParameter(const CIMConstParameter& p)
{
    Scope scope(*this);
    CIMType type = p.getType();
    Text element;
    if (type == CIMTYPE_REFERENCE)
        element = p.isArray() ? text("PARAMETER.REFARRAY") : text("PARAMETER.REFERENCE");
    else
        element = p.isArray() ? text("PARAMETER.ARRAY") : text("PARAMETER");
    _lit("<");
    _text(element.s, element.n);
    _attr(" NAME=\"", p.getName().getString());
    if (type == CIMTYPE_REFERENCE)
    {
        if (!p.getReferenceClassName().isNull())
            _attr(" REFERENCECLASS=\"", p.getReferenceClassName().getString());
    }
    else
    {
        const Slot& typeText = typeAttr(type);
        _text(typeText.s, typeText.n);
    }
    if (p.isArray() && p.getArraySize())
    {
        char* d = _room(13 + NumberText::MAX_CHARS);
        d = put(d, " ARRAYSIZE=\"");
        d = NumberText::write(d, p.getArraySize());
        _p = put(d, "\"");
    }
    _lit(">");
    Uint32 nq = p.getQualifierCount();
    if (nq)
        _lit("\n");
    for (Uint32 i = 0; i < nq; i++)
        appendQualifier(p.getQualifier(i));
    _lit("</");
    _text(element.s, element.n);
    _lit(">\n");
}

void XmlWriter::appendMethod(const CIMConstMethod& m)
{
    Scope scope(*this);
    _attr("<METHOD NAME=\"", m.getName().getString());
    const Slot& type = typeAttr(m.getType());
    _text(type.s, type.n);
    if (!m.getClassOrigin().isNull())
        _attr(" CLASSORIGIN=\"", m.getClassOrigin().getString());
    if (m.getPropagated())
        _lit(" PROPAGATED=\"true\"");
    _lit(">\n");
    for (Uint32 i = 0; i < m.getQualifierCount(); i++)
        appendQualifier(m.getQualifier(i));
    for (Uint32 i = 0; i < m.getParameterCount(); i++)
        appendParameter(m.getParameter(i));
    _lit("</METHOD>\n");
}

void XmlWriter::appendClass(const CIMConstClass& c)
{
    Scope scope(*this);
    _attr("<CLASS NAME=\"", c.getClassName().getString());
    if (!c.getSuperClassName().isNull())
        _attr(" SUPERCLASS=\"", c.getSuperClassName().getString());
    _lit(">\n");
    for (Uint32 i = 0; i < c.getQualifierCount(); i++)
        appendQualifier(c.getQualifier(i));
    for (Uint32 i = 0; i < c.getPropertyCount(); i++)
        appendProperty(c.getProperty(i));
    for (Uint32 i = 0; i < c.getMethodCount(); i++)
        appendMethod(c.getMethod(i));
    _lit("</CLASS>\n");
}

void XmlWriter::appendInstance(const CIMConstInstance& inst)
{
    Scope scope(*this);
    _escaped("<INSTANCE CLASSNAME=\"", inst.getClassName().getString(), 2, "\">\n");
    bool saved = _skipQualifiers;
    _skipQualifiers = (_flags & NO_INSTANCE_QUALIFIERS) != 0;
    if (!_skipQualifiers)
    {
        for (Uint32 i = 0; i < inst.getQualifierCount(); i++)
            appendQualifier(inst.getQualifier(i));
    }
    // The instance's own properties, read in place: no handle is copied.
    checkedRep(CIMRepAccess::rep(inst))->properties.forEach(
        [this](const CIMPropertyRep* rep) { _property(rep); });
    _skipQualifiers = saved;
    _lit("</INSTANCE>\n");
}

void XmlWriter::appendObject(const CIMConstObject& object)
{
    if (object.isClass())
        appendClass(CIMConstClass(object));
    else
        appendInstance(CIMConstInstance(object));
}

void XmlWriter::appendValueNamedInstance(const CIMConstInstance& inst)
{
    Scope scope(*this);
    _lit("<VALUE.NAMEDINSTANCE>\n");
    appendInstanceName(inst.getPath());
    appendInstance(inst);
    _lit("</VALUE.NAMEDINSTANCE>\n");
}

void XmlWriter::appendValueObjectWithPath(const CIMConstObject& object)
{
    Scope scope(*this);
    _lit("<VALUE.OBJECTWITHPATH>\n");
    if (object.isClass())
    {
        appendClassPath(object.getPath());
        appendClass(CIMConstClass(object));
    }
    else
    {
        appendInstancePath(object.getPath());
        appendInstance(CIMConstInstance(object));
    }
    _lit("</VALUE.OBJECTWITHPATH>\n");
}

void XmlWriter::appendValueObjectWithLocalPath(const CIMConstObject& object)
{
    Scope scope(*this);
    _lit("<VALUE.OBJECTWITHLOCALPATH>\n");
    if (object.isClass())
    {
        appendLocalClassPath(object.getPath());
        appendClass(CIMConstClass(object));
    }
    else
    {
        appendLocalInstancePath(object.getPath());
        appendInstance(CIMConstInstance(object));
    }
    _lit("</VALUE.OBJECTWITHLOCALPATH>\n");
}

void XmlWriter::appendParamValue(const CIMParamValue& pv)
{
    Scope scope(*this);
    CIMValue v = pv.getValue();
    CIMType type = v.getType();
    _attr("<PARAMVALUE NAME=\"", pv.getParameterName());
    if (pv.isTyped())
    {
        _lit(" PARAMTYPE=\"");
        _text(type == CIMTYPE_REFERENCE ? "reference" : typeName(type));
        _lit("\"");
    }
    const Slot& kind = embeddedAttr(type);
    _text(kind.s, kind.n);
    _lit(">");
    if (type == CIMTYPE_REFERENCE && !v.isNull())
        _lit("\n");
    appendValue(v);
    _lit("</PARAMVALUE>\n");
}

void XmlWriter::appendReturnValue(const CIMValue& v)
{
    Scope scope(*this);
    CIMType type = v.getType();
    _lit("<RETURNVALUE PARAMTYPE=\"");
    _text(type == CIMTYPE_REFERENCE ? "reference" : typeName(type));
    _lit("\"");
    if (_flags & EXTENDED)
    {
        const Slot& kind = embeddedAttr(type);
        _text(kind.s, kind.n);
    }
    _lit(">");
    if (type == CIMTYPE_REFERENCE && !v.isNull())
        _lit("\n");
    appendValue(v);
    _lit("</RETURNVALUE>\n");
}

void XmlWriter::appendError(Uint32 code, const String& description)
{
    Scope scope(*this);
    char* d = _room(13 + NumberText::MAX_CHARS);
    d = put(d, "<ERROR CODE=\"");
    _p = NumberText::write(d, code);
    _escaped("\" DESCRIPTION=\"", description, 2, "\"/>\n");
}

void XmlWriter::appendError(const CIMException& e)
{
    Scope scope(*this);
    Uint32 code = Uint32(e.getCode());
    String description = descriptionOf(code, e.getMessage());
    if (!(_flags & EXTENDED) || e.getErrorCount() == 0)
    {
        appendError(code, description);
        return;
    }
    char* d = _room(13 + NumberText::MAX_CHARS);
    d = put(d, "<ERROR CODE=\"");
    _p = NumberText::write(d, code);
    _escaped("\" DESCRIPTION=\"", description, 2, "\">\n");
    for (Uint32 i = 0; i < e.getErrorCount(); i++)
        appendInstance(e.getError(i));
    _lit("</ERROR>\n");
}

const char* XmlWriter::xmlDeclaration()
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n";
}

void XmlWriter::appendMessageStart(const String& messageId)
{
    Scope scope(*this);
    _lit("<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<MESSAGE");
    _attr(" ID=\"", messageId);
    _lit(" PROTOCOLVERSION=\"1.0\">\n");
}

void XmlWriter::appendRequestStart(const String& messageId)
{
    Scope scope(*this);
    appendMessageStart(messageId);
    _lit("<SIMPLEREQ>\n");
}

void XmlWriter::appendRequestEnd()
{
    Scope scope(*this);
    _lit("</SIMPLEREQ>\n</MESSAGE>\n</CIM>\n");
}

void XmlWriter::appendResponseStart(const String& messageId)
{
    Scope scope(*this);
    appendMessageStart(messageId);
    _lit("<SIMPLERSP>\n");
}

void XmlWriter::appendResponseEnd()
{
    Scope scope(*this);
    _lit("</SIMPLERSP>\n</MESSAGE>\n</CIM>\n");
}

void XmlWriter::appendStartTag(const char* name)
{
    Scope scope(*this);
    _lit("<");
    _text(name);
    _lit(">\n");
}

void XmlWriter::appendStartTag(const char* name, const char* attr,
    const String& value)
{
    Scope scope(*this);
    _lit("<");
    _text(name);
    _lit(" ");
    _text(attr);
    _attr("=\"", value);
    _lit(">\n");
}

void XmlWriter::appendEndTag(const char* name)
{
    Scope scope(*this);
    _lit("</");
    _text(name);
    _lit(">\n");
}

void XmlWriter::appendIParamStart(const char* name)
{
    Scope scope(*this);
    _lit("<IPARAMVALUE NAME=\"");
    _escaped(name, std::strlen(name), 2);
    _lit("\">");
}

void XmlWriter::appendIParamEnd()
{
    Scope scope(*this);
    _lit("</IPARAMVALUE>\n");
}

void XmlWriter::appendBooleanIParam(const char* name, Boolean value)
{
    Scope scope(*this);
    appendIParamStart(name);
    if (value)
        _lit("<VALUE>TRUE</VALUE>");
    else
        _lit("<VALUE>FALSE</VALUE>");
    appendIParamEnd();
}

void XmlWriter::appendClassNameIParam(const char* name, const CIMName& className)
{
    Scope scope(*this);
    appendIParamStart(name);
    appendClassName(className);
    appendIParamEnd();
}

void XmlWriter::appendStringIParam(const char* name, const String& value)
{
    Scope scope(*this);
    appendIParamStart(name);
    _valueOf(value);
    appendIParamEnd();
}

void XmlWriter::appendPropertyListIParam(const Array<CIMName>& names)
{
    Scope scope(*this);
    appendIParamStart("PropertyList");
    _lit("<VALUE.ARRAY>");
    for (Uint32 i = 0; i < names.size(); i++)
        _valueOf(names[i].getString());
    _lit("</VALUE.ARRAY>");
    appendIParamEnd();
}

std::string XmlWriter::percentEncode(const String& s)
{
    static const char hex[] = "0123456789ABCDEF";
    std::string utf8 = toUtf8(s);
    std::string out;
    for (unsigned char c : utf8)
    {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
            (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.' ||
            c == '!' || c == '~' || c == '*' || c == '\'' || c == '(' ||
            c == ')')
            out.push_back((char)c);
        else
        {
            out.push_back('%');
            out.push_back(hex[c >> 4]);
            out.push_back(hex[c & 15]);
        }
    }
    return out;
}

PEGASUS_NAMESPACE_END
