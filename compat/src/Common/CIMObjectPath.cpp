//
// CIMKeyBinding and CIMObjectPath: storage rules, text form, parser,
// comparison and hashing of object paths.
//
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <arpa/inet.h>
#include <unistd.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMNameCast.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Internal/NumberText.h>
#include "StringRep.h"

PEGASUS_NAMESPACE_BEGIN

struct CIMObjectPathRep
{
    CIMObjectPathRep() : refs(1), withKeyList(false) {}
    CIMObjectPathRep(const CIMObjectPathRep& x)
        : refs(1), withKeyList(false), host(x.host), nameSpace(x.nameSpace),
          className(x.className), keyBindings(x.keyBindings) {}

    std::atomic<Uint32> refs;
    // Whether the rep lies in a block with the list of its one key.
    bool withKeyList;
    String host;
    CIMNamespaceName nameSpace;
    CIMName className;
    Array<CIMKeyBinding> keyBindings;

    // A path of one key keeps that key in the same allocation as its rep:
    // the rep, the key's list, the key, a count of holders and, when it is
    // short, the text of the key's value. The rep, the list and that text
    // each hold the block, as the list and the text may outlive the path
    // in copies of getKeyBindings() and getValue().
    static const size_t LIST_AT;
    static const size_t HOLDERS_AT;
    static const size_t VALUE_AT;
    // Longer values keep a representation of their own.
    static const Uint32 VALUE_IN_BLOCK_MAX = 64;
    static std::atomic<Uint32>& holders(char* block)
    {
        return *reinterpret_cast<std::atomic<Uint32>*>(block + HOLDERS_AT);
    }

    static CIMObjectPathRep* withKey(const String& host,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        const CIMKeyBinding& key)
    {
        const StringRep* value = StringRep::of(key._value);
        const bool valueInBlock =
            !StringRep::immortal(value) && value->size <= VALUE_IN_BLOCK_MAX;
        size_t bytes = valueInBlock
            ? VALUE_AT + offsetof(StringRep, data) + (size_t(value->size) + 1) * sizeof(Uint16)
            : HOLDERS_AT + sizeof(std::atomic<Uint32>);
        char* block = static_cast<char*>(::operator new(bytes));
        ArrayRepBase* list = reinterpret_cast<ArrayRepBase*>(block + LIST_AT);
        CIMKeyBinding* stored = reinterpret_cast<CIMKeyBinding*>(list + 1);
        if (valueInBlock)
        {
            // Names are shared; the value's text is copied in, so that
            // the one the caller made can go at once.
            StringRep* text = reinterpret_cast<StringRep*>(block + VALUE_AT);
            new (&text->refs) std::atomic<Uint32>(1);
            text->size = value->size;
            text->cap = value->size | StringRep::WITHIN;
            std::memcpy(text->data, value->data, (size_t(value->size) + 1) * sizeof(Uint16));
            new (stored) CIMKeyBinding();
            stored->_name = key._name;
            stored->_value = StringRep::adopt(text);
            stored->_type = key._type;
        }
        else
        {
            try
            {
                new (stored) CIMKeyBinding(key);
            }
            catch (...)
            {
                ::operator delete(block);
                throw;
            }
        }
        new (block + HOLDERS_AT) std::atomic<Uint32>(valueInBlock ? 3 : 2);
        new (&list->refs) std::atomic<Uint32>(1);
        list->size = 1;
        list->capacity = 1;
        list->within = Uint32(LIST_AT);
        CIMObjectPathRep* rep = new (block) CIMObjectPathRep();
        rep->withKeyList = true;
        rep->host = host;
        rep->nameSpace = nameSpace;
        rep->className = className;
        rep->keyBindings = Array<CIMKeyBinding>(list, Array<CIMKeyBinding>::Adopt());
        return rep;
    }

    // Makes rep (shared, unique or null) a path of these parts; the keys
    // are stored as they are.
    static void assign(CIMObjectPathRep*& rep, const String& host,
        const CIMNamespaceName& nameSpace, const CIMName& className,
        const Array<CIMKeyBinding>& keys)
    {
        if (keys.size() == 1)
        {
            CIMObjectPathRep* made = withKey(host, nameSpace, className, keys[0]);
            unref(rep);
            rep = made;
            return;
        }
        if (!rep || rep->refs.load(std::memory_order_acquire) != 1)
        {
            CIMObjectPathRep* made = new CIMObjectPathRep();
            unref(rep);
            rep = made;
        }
        rep->host = host;
        rep->nameSpace = nameSpace;
        rep->className = className;
        rep->keyBindings = keys;
    }

    // Gives up one hold on a block; the last frees it.
    static void release(char* block)
    {
        if (holders(block).fetch_sub(1, std::memory_order_acq_rel) == 1)
            ::operator delete(block);
    }

    static void unref(CIMObjectPathRep* rep)
    {
        if (!rep || rep->refs.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return;
        if (!rep->withKeyList)
        {
            delete rep;
            return;
        }
        rep->~CIMObjectPathRep();
        release(reinterpret_cast<char*>(rep));
    }
    static CIMObjectPathRep* ref(CIMObjectPathRep* rep)
    {
        if (rep)
            rep->refs.fetch_add(1, std::memory_order_relaxed);
        return rep;
    }
};

const size_t CIMObjectPathRep::LIST_AT =
    (sizeof(CIMObjectPathRep) + alignof(ArrayRepBase) - 1) & ~(alignof(ArrayRepBase) - 1);
const size_t CIMObjectPathRep::HOLDERS_AT =
    CIMObjectPathRep::LIST_AT + sizeof(ArrayRepBase) + sizeof(CIMKeyBinding);
const size_t CIMObjectPathRep::VALUE_AT =
    (CIMObjectPathRep::HOLDERS_AT + sizeof(std::atomic<Uint32>) + alignof(StringRep) - 1) &
    ~(alignof(StringRep) - 1);

void ArrayRepBase_releaseWithin(ArrayRepBase* list)
{
    // Only paths place a list within a block of their own.
    CIMObjectPathRep::release(reinterpret_cast<char*>(list) - list->within);
}

void StringRep::releaseWithin(StringRep* rep)
{
    // Only paths place a value's text within a block of their own.
    CIMObjectPathRep::release(reinterpret_cast<char*>(rep) - CIMObjectPathRep::VALUE_AT);
}

namespace
{

//
// Numbers in key values
//

inline bool isDigit(Uint16 c)
{
    return c >= '0' && c <= '9';
}

// Decimal or 0x-hexadecimal magnitude of p[0..n). With strict, a decimal
// number may not have leading zeros.
bool parseMagnitude(const Uint16* p, Uint32 n, bool strict, Uint64& x)
{
    if (n == 0)
        return false;
    x = 0;
    if (n > 2 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X'))
    {
        for (Uint32 i = 2; i < n; i++)
        {
            int h = NumberText::hexDigit(p[i]);
            if (h < 0 || (x >> 60) != 0)
                return false;
            x = (x << 4) | Uint64(h);
        }
        return true;
    }
    if (strict && n > 1 && p[0] == '0')
        return false;
    for (Uint32 i = 0; i < n; i++)
    {
        if (!isDigit(p[i]))
            return false;
        Uint64 d = Uint64(p[i] - '0');
        if (x > (~0ULL - d) / 10)
            return false;
        x = x * 10 + d;
    }
    return true;
}

bool parseUnsigned(const String& s, bool strict, Uint64& x)
{
    return parseMagnitude(reinterpret_cast<const Uint16*>(s.getChar16Data()), s.size(), strict, x);
}

bool parseSigned(const String& s, bool strict, Sint64& x)
{
    const Uint16* p = reinterpret_cast<const Uint16*>(s.getChar16Data());
    Uint32 n = s.size();
    bool negative = n > 0 && p[0] == '-';
    Uint64 m;
    if (!parseMagnitude(p + (negative ? 1 : 0), n - (negative ? 1 : 0), strict, m))
        return false;
    if (negative)
    {
        if (m > 0x8000000000000000ULL)
            return false;
        x = m == 0x8000000000000000ULL ? Sint64(-0x7FFFFFFFFFFFFFFFLL - 1) : -Sint64(m);
    }
    else
    {
        if (m > 0x7FFFFFFFFFFFFFFFULL)
            return false;
        x = Sint64(m);
    }
    return true;
}

bool parseReal(const String& s, Real64& x)
{
    CString c = s.getCString();
    const char* p = c;
    if (!*p)
        return false;
    char* end = 0;
    errno = 0;
    x = std::strtod(p, &end);
    return *end == 0 && errno == 0;
}

String decimalText(Uint64 u)
{
    char buf[NumberText::MAX_CHARS];
    return String(buf, Uint32(NumberText::write(buf, u) - buf));
}

String decimalText(Sint64 s)
{
    char buf[NumberText::MAX_CHARS];
    return String(buf, Uint32(NumberText::write(buf, s) - buf));
}

//
// Host names
//

bool validPort(const String& s, Uint32 start)
{
    Uint32 n = s.size();
    if (start >= n)
        return false;
    Uint32 port = 0;
    for (Uint32 i = start; i < n; i++)
    {
        Uint16 c = s[i];
        if (!isDigit(c))
            return false;
        port = port * 10 + Uint32(c - '0');
        if (port > 65535)
            return false;
    }
    return true;
}

bool validIPv4(const Uint16* p, Uint32 n)
{
    Uint32 parts = 0, i = 0;
    while (i <= n)
    {
        Uint32 start = i, value = 0;
        while (i < n && isDigit(p[i]))
        {
            value = value * 10 + Uint32(p[i] - '0');
            if (value > 255 || i - start >= 3)
                return false;
            i++;
        }
        if (i == start)
            return false;
        parts++;
        if (i == n)
            break;
        if (p[i] != '.')
            return false;
        i++;
    }
    return parts == 4;
}

bool validHostName(const Uint16* p, Uint32 n)
{
    if (n == 0)
        return false;
    Uint32 i = 0;
    bool lastAllDigits = false;
    while (true)
    {
        Uint32 start = i;
        bool allDigits = true;
        while (i < n && p[i] != '.')
        {
            Uint16 c = p[i];
            bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
            if (!letter && !isDigit(c) && c != '_' && !(c == '-' && i > start))
                return false;
            if (!isDigit(c))
                allDigits = false;
            i++;
        }
        if (i == start)
            return false;
        lastAllDigits = allDigits;
        if (i == n)
            break;
        i++;
        if (i == n)
            return false;
    }
    return !lastAllDigits;
}

// hostname[:port], IPv4[:port] or [IPv6][:port].
bool validLocator(const String& host)
{
    Uint32 n = host.size();
    if (n == 0)
        return false;
    const Uint16* p = reinterpret_cast<const Uint16*>(host.getChar16Data());
    if (p[0] == '[')
    {
        Uint32 close = host.find(Char16(']'));
        if (close == PEG_NOT_FOUND || close < 2)
            return false;
        CString addr = host.subString(1, close - 1).getCString();
        unsigned char buf[16];
        if (inet_pton(AF_INET6, addr, buf) != 1)
            return false;
        if (close + 1 == n)
            return true;
        return p[close + 1] == ':' && validPort(host, close + 2);
    }
    Uint32 colon = host.find(Char16(':'));
    Uint32 nameLen = colon == PEG_NOT_FOUND ? n : colon;
    if (colon != PEG_NOT_FOUND && !validPort(host, colon + 1))
        return false;
    return validIPv4(p, nameLen) || validHostName(p, nameLen);
}

bool isSystemHostName(const String& host)
{
    char buf[PEGASUS_MAXHOSTNAMELEN + 1];
    if (gethostname(buf, sizeof(buf)) != 0)
        return false;
    buf[sizeof(buf) - 1] = 0;
    try
    {
        return String::equalNoCase(host, String(buf));
    }
    catch (const Exception&)
    {
        return false;
    }
}

void checkHost(const String& host)
{
    if (!host.size())
        return;
    // A provider gives all its paths the same host text: the one this
    // thread last found valid is not parsed again. Holding it keeps its
    // representation from changing or being reused.
    thread_local String lastValid;
    if (StringRep::of(host) == StringRep::of(lastValid))
        return;
    if (!validLocator(host))
        throw MalformedObjectNameException(host + String(", reason:\"invalid hostname\""));
    lastValid = host;
}

//
// Text form
//

void appendQuoted(String& out, const String& value)
{
    out.append(Char16('"'));
    const Char16* p = value.getChar16Data();
    Uint32 n = value.size();
    Uint32 runStart = 0;
    for (Uint32 i = 0; i < n; i++)
    {
        Uint16 c = p[i];
        if (c == '\\' || c == '"')
        {
            out.append(p + runStart, i - runStart);
            out.append(Char16('\\'));
            runStart = i;
        }
    }
    out.append(p + runStart, n - runStart);
    out.append(Char16('"'));
}

void appendPathText(String& out, const String& host, const CIMNamespaceName& ns,
    const CIMName& className, const Array<CIMKeyBinding>& keys)
{
    if (host.size())
    {
        out.append(Char16('/'));
        out.append(Char16('/'));
        out.append(host);
        out.append(Char16('/'));
    }
    if (!ns.isNull() || host.size())
    {
        out.append(ns.getString());
        out.append(Char16(':'));
    }
    out.append(className.getString());
    for (Uint32 i = 0, n = keys.size(); i < n; i++)
    {
        const CIMKeyBinding& kb = keys[i];
        out.append(Char16(i == 0 ? '.' : ','));
        out.append(kb.getName().getString());
        out.append(Char16('='));
        if (kb.getType() == CIMKeyBinding::STRING || kb.getType() == CIMKeyBinding::REFERENCE)
            appendQuoted(out, kb.getValue());
        else
            out.append(kb.getValue());
    }
}

//
// Parser
//

struct ParsedPath
{
    String host;
    CIMNamespaceName nameSpace;
    CIMName className;
    Array<CIMKeyBinding> keys;
};

void sortKeys(Array<CIMKeyBinding>& keys);
bool parsePath(const String& text, ParsedPath& out, String& reason);

String pathText(const ParsedPath& p)
{
    String s;
    appendPathText(s, p.host, p.nameSpace, p.className, p.keys);
    return s;
}

// The normalised text of a reference value, or false if it is not a path.
bool normaliseReference(const String& value, String& normalised)
{
    ParsedPath p;
    String reason;
    if (!parsePath(value, p, reason))
        return false;
    normalised = pathText(p);
    return true;
}

bool containsUnit(const String& s, Uint16 c)
{
    return s.find(Char16(c)) != PEG_NOT_FOUND;
}

// Sets reason to the text of a key-value error and returns false.
bool keyError(String& reason, const char* what, const String& detail = String())
{
    reason = String("invalid key-value pair, ");
    reason.append(String(what));
    reason.append(detail);
    return false;
}

bool parseKeyBindings(const Uint16* p, Uint32 n, Uint32 i, Array<CIMKeyBinding>& keys,
    String& reason)
{
    while (i < n)
    {
        // Key name.
        Uint32 start = i;
        while (i < n && p[i] != '=')
            i++;
        if (i == n)
            return keyError(reason, "missing equal sign");
        String keyName(reinterpret_cast<const Char16*>(p + start), i - start);
        if (!CIMName::legal(keyName))
            return keyError(reason, "invalid key name:", keyName);
        i++;

        if (i < n && p[i] == '"')
        {
            // Find the closing quote first, so that the value is built
            // with one allocation of the right size.
            i++;
            Uint32 vstart = i;
            Uint32 escapes = 0;
            while (i < n && p[i] != '"')
            {
                if (p[i] == '\\')
                {
                    if (i + 1 >= n || (p[i + 1] != '\\' && p[i + 1] != '"'))
                        return keyError(reason, "malformed value");
                    escapes++;
                    i++;
                }
                i++;
            }
            if (i >= n)
                return keyError(reason, "missing quote in key value");
            String value;
            if (escapes == 0)
                value = String(reinterpret_cast<const Char16*>(p + vstart), i - vstart);
            else
            {
                value.reserveCapacity(i - vstart - escapes);
                for (Uint32 k = vstart; k < i; k++)
                {
                    if (p[k] == '\\')
                        k++;
                    value.append(Char16(p[k]));
                }
            }
            i++;

            CIMKeyBinding::Type type = CIMKeyBinding::STRING;
            if (containsUnit(value, '='))
            {
                ParsedPath ref;
                String refReason;
                if (parsePath(value, ref, refReason) && ref.keys.size() > 0)
                {
                    type = CIMKeyBinding::REFERENCE;
                    value = pathText(ref);
                }
            }
            keys.append(CIMKeyBinding(CIMNameCast(keyName), value, type));
        }
        else
        {
            Uint32 vstart = i;
            while (i < n && p[i] != ',')
                i++;
            String value(reinterpret_cast<const Char16*>(p + vstart), i - vstart);
            Uint16 first = value.size() ? Uint16(value[0]) : 0;
            if (first == 'T' || first == 't' || first == 'F' || first == 'f')
            {
                static const String trueText("TRUE");
                static const String falseText("FALSE");
                if (String::equalNoCase(value, trueText))
                    value = trueText;
                else if (String::equalNoCase(value, falseText))
                    value = falseText;
                else
                    return keyError(reason, "value should be TRUE or FALSE");
                keys.append(CIMKeyBinding(CIMNameCast(keyName), value, CIMKeyBinding::BOOLEAN));
            }
            else
            {
                if (first == '-')
                {
                    Sint64 x;
                    if (!parseSigned(value, true, x))
                        return keyError(reason, "invalid negative number value ", value);
                }
                else
                {
                    Uint64 x;
                    if (!parseUnsigned(value, true, x))
                        return keyError(reason, "invalid number value ", value);
                }
                keys.append(CIMKeyBinding(CIMNameCast(keyName), value, CIMKeyBinding::NUMERIC));
            }
        }

        if (i == n)
            break;
        if (p[i] != ',')
            return keyError(reason, "next key-value pair has to start with comma");
        i++;
    }
    return true;
}

bool parsePath(const String& text, ParsedPath& out, String& reason)
{
    const Uint16* p = reinterpret_cast<const Uint16*>(text.getChar16Data());
    Uint32 n = text.size();
    Uint32 i = 0;
    bool hasHost = false;

    if (n >= 2 && p[0] == '/' && p[1] == '/')
    {
        Uint32 slash = PEG_NOT_FOUND;
        for (Uint32 k = 2; k < n; k++)
            if (p[k] == '/')
            {
                slash = k;
                break;
            }
        if (slash == PEG_NOT_FOUND)
        {
            reason = String("missing slash after hostname");
            return false;
        }
        out.host = String(reinterpret_cast<const Char16*>(p + 2), slash - 2);
        if (!validLocator(out.host))
        {
            reason = String("invalid hostname");
            return false;
        }
        hasHost = true;
        i = slash + 1;
    }

    // A namespace is present if a ':' comes before the first '.'.
    Uint32 dot = PEG_NOT_FOUND, colon = PEG_NOT_FOUND;
    for (Uint32 k = i; k < n; k++)
    {
        if (p[k] == '.')
        {
            dot = k;
            break;
        }
        if (p[k] == ':' && colon == PEG_NOT_FOUND)
            colon = k;
    }
    if (colon != PEG_NOT_FOUND)
    {
        String ns(reinterpret_cast<const Char16*>(p + i), colon - i);
        if (!CIMNamespaceName::legal(ns))
        {
            reason = String("invalid namespace name");
            return false;
        }
        out.nameSpace = CIMNamespaceName(ns);
        i = colon + 1;
    }
    else if (hasHost)
    {
        reason = String("host specified, missing namespace");
        return false;
    }

    Uint32 classEnd = dot == PEG_NOT_FOUND ? n : dot;
    String className(reinterpret_cast<const Char16*>(p + i), classEnd - i);
    if (!CIMName::legal(className))
    {
        reason = String("class name ") + className + String(" not a legal CIM name");
        return false;
    }
    out.className = CIMNameCast(className);

    if (dot != PEG_NOT_FOUND)
    {
        if (!parseKeyBindings(p, n, dot + 1, out.keys, reason))
            return false;
        sortKeys(out.keys);
    }
    return true;
}

void sortKeys(Array<CIMKeyBinding>& keys)
{
    Uint32 n = keys.size();
    if (n < 2)
        return;
    // Stable insertion sort; key lists are short.
    bool sorted = true;
    for (Uint32 i = 1; i < n && sorted; i++)
        if (String::compareNoCase(keys[i - 1].getName().getString(),
                keys[i].getName().getString()) > 0)
            sorted = false;
    if (sorted)
        return;
    CIMKeyBinding* d = &keys[0];
    for (Uint32 i = 1; i < n; i++)
    {
        CIMKeyBinding x = d[i];
        Uint32 j = i;
        while (j > 0 && String::compareNoCase(d[j - 1].getName().getString(),
            x.getName().getString()) > 0)
        {
            d[j] = d[j - 1];
            j--;
        }
        d[j] = x;
    }
}

// Sorts the keys and replaces every reference value by its normalised
// text; throws MalformedObjectNameException for a reference that does not
// parse.
Array<CIMKeyBinding> storedKeys(const Array<CIMKeyBinding>& keyBindings)
{
    Array<CIMKeyBinding> keys(keyBindings);
    for (Uint32 i = 0, n = keys.size(); i < n; i++)
    {
        if (keys.getData()[i].getType() != CIMKeyBinding::REFERENCE)
            continue;
        String normalised;
        if (!normaliseReference(keys.getData()[i].getValue(), normalised))
            throw MalformedObjectNameException(keys.getData()[i].getValue());
        keys[i].setValue(normalised);
    }
    sortKeys(keys);
    return keys;
}

//
// Canonical text for hashing
//

String canonicalText(const String& host, const CIMNamespaceName& ns,
    const CIMName& className, const Array<CIMKeyBinding>& keys);

String canonicalReference(const String& value)
{
    ParsedPath p;
    String reason;
    if (!parsePath(value, p, reason))
        return value;
    return canonicalText(p.host, p.nameSpace, p.className, p.keys);
}

String canonicalText(const String& host, const CIMNamespaceName& ns,
    const CIMName& className, const Array<CIMKeyBinding>& keys)
{
    String h(host), n(ns.getString()), c(className.getString());
    h.toLower();
    n.toLower();
    c.toLower();
    Array<CIMKeyBinding> ck;
    ck.reserveCapacity(keys.size());
    for (Uint32 i = 0; i < keys.size(); i++)
    {
        const CIMKeyBinding& kb = keys[i];
        String name(kb.getName().getString());
        name.toLower();
        String value(kb.getValue());
        switch (kb.getType())
        {
            case CIMKeyBinding::BOOLEAN:
                value.toLower();
                break;
            case CIMKeyBinding::NUMERIC:
            {
                Uint64 u;
                Sint64 s;
                if (parseUnsigned(value, false, u))
                    value = decimalText(u);
                else if (parseSigned(value, false, s))
                    value = decimalText(s);
                break;
            }
            case CIMKeyBinding::REFERENCE:
                value = canonicalReference(value);
                break;
            default:
                break;
        }
        ck.append(CIMKeyBinding(CIMNameCast(name), value, kb.getType()));
    }
    String out;
    CIMNamespaceName cn;
    if (n.size())
        cn = CIMNamespaceNameCast(n);
    appendPathText(out, h, cn, CIMNameCast(c), ck);
    return out;
}

} // namespace

//
// CIMKeyBinding
//

CIMKeyBinding::CIMKeyBinding() : _type(STRING)
{
}

CIMKeyBinding::CIMKeyBinding(const CIMKeyBinding& x)
    : _name(x._name), _value(x._value), _type(x._type)
{
}

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const String& value, Type type)
    : _name(name), _value(value), _type(type)
{
}

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const CIMValue& value)
    : _name(name), _type(STRING)
{
    if (value.isArray())
        throw TypeMismatchException();
    switch (value.getType())
    {
        case CIMTYPE_BOOLEAN:
            _type = BOOLEAN;
            break;
        case CIMTYPE_CHAR16:
        case CIMTYPE_STRING:
        case CIMTYPE_DATETIME:
            _type = STRING;
            break;
        case CIMTYPE_REFERENCE:
            _type = REFERENCE;
            break;
        case CIMTYPE_OBJECT:
        case CIMTYPE_INSTANCE:
            throw TypeMismatchException();
        default:
            _type = NUMERIC;
            break;
    }
    _value = value.toString();
}

CIMKeyBinding::~CIMKeyBinding()
{
}

CIMKeyBinding& CIMKeyBinding::operator=(const CIMKeyBinding& x)
{
    _name = x._name;
    _value = x._value;
    _type = x._type;
    return *this;
}

const CIMName& CIMKeyBinding::getName() const
{
    return _name;
}

void CIMKeyBinding::setName(const CIMName& name)
{
    _name = name;
}

const String& CIMKeyBinding::getValue() const
{
    return _value;
}

void CIMKeyBinding::setValue(const String& value)
{
    _value = value;
}

CIMKeyBinding::Type CIMKeyBinding::getType() const
{
    return _type;
}

void CIMKeyBinding::setType(Type type)
{
    _type = type;
}

Boolean CIMKeyBinding::equal(CIMValue value)
{
    if (value.isArray())
        return false;

    CIMValue kbValue;
    try
    {
        switch (value.getType())
        {
            case CIMTYPE_CHAR16:
                if (_type != STRING)
                    return false;
                kbValue.set(_value.size() ? _value[0] : Char16());
                break;
            case CIMTYPE_DATETIME:
                if (_type != STRING)
                    return false;
                kbValue.set(CIMDateTime(_value));
                break;
            case CIMTYPE_STRING:
                if (_type != STRING)
                    return false;
                kbValue.set(_value);
                break;
            case CIMTYPE_REFERENCE:
                if (_type != REFERENCE)
                    return false;
                kbValue.set(CIMObjectPath(_value));
                break;
            case CIMTYPE_BOOLEAN:
                if (_type != BOOLEAN)
                    return false;
                if (String::equalNoCase(_value, String("TRUE")))
                    kbValue.set(true);
                else if (String::equalNoCase(_value, String("FALSE")))
                    kbValue.set(false);
                else
                    return false;
                break;
            case CIMTYPE_UINT8:
            case CIMTYPE_UINT16:
            case CIMTYPE_UINT32:
            case CIMTYPE_UINT64:
            {
                if (_type != NUMERIC)
                    return false;
                Uint64 x;
                if (!parseUnsigned(_value, false, x))
                    return false;
                CIMType t = value.getType();
                if ((t == CIMTYPE_UINT8 && x > 0xFF) ||
                    (t == CIMTYPE_UINT16 && x > 0xFFFF) ||
                    (t == CIMTYPE_UINT32 && x > 0xFFFFFFFFULL))
                    return false;
                if (t == CIMTYPE_UINT8)
                    kbValue.set(Uint8(x));
                else if (t == CIMTYPE_UINT16)
                    kbValue.set(Uint16(x));
                else if (t == CIMTYPE_UINT32)
                    kbValue.set(Uint32(x));
                else
                    kbValue.set(Uint64(x));
                break;
            }
            case CIMTYPE_SINT8:
            case CIMTYPE_SINT16:
            case CIMTYPE_SINT32:
            case CIMTYPE_SINT64:
            {
                if (_type != NUMERIC)
                    return false;
                Sint64 x;
                if (!parseSigned(_value, false, x))
                    return false;
                CIMType t = value.getType();
                if ((t == CIMTYPE_SINT8 && (x < -128 || x > 127)) ||
                    (t == CIMTYPE_SINT16 && (x < -32768 || x > 32767)) ||
                    (t == CIMTYPE_SINT32 && (x < -2147483647LL - 1 || x > 2147483647LL)))
                    return false;
                if (t == CIMTYPE_SINT8)
                    kbValue.set(Sint8(x));
                else if (t == CIMTYPE_SINT16)
                    kbValue.set(Sint16(x));
                else if (t == CIMTYPE_SINT32)
                    kbValue.set(Sint32(x));
                else
                    kbValue.set(Sint64(x));
                break;
            }
            case CIMTYPE_REAL32:
            case CIMTYPE_REAL64:
            {
                if (_type != NUMERIC)
                    return false;
                Real64 x;
                if (!parseReal(_value, x))
                    return false;
                if (value.getType() == CIMTYPE_REAL32)
                    kbValue.set(Real32(x));
                else
                    kbValue.set(x);
                break;
            }
            default:
                return false;
        }
    }
    catch (const Exception&)
    {
        return false;
    }
    return value.equal(kbValue);
}

Boolean operator==(const CIMKeyBinding& x, const CIMKeyBinding& y)
{
    if (!x.getName().equal(y.getName()) || x.getType() != y.getType())
        return false;
    switch (x.getType())
    {
        case CIMKeyBinding::REFERENCE:
        {
            ParsedPath a, b;
            String reason;
            if (parsePath(x.getValue(), a, reason) && parsePath(y.getValue(), b, reason))
            {
                return CIMObjectPath(a.host, a.nameSpace, a.className, a.keys).identical(
                    CIMObjectPath(b.host, b.nameSpace, b.className, b.keys));
            }
            return String::equal(x.getValue(), y.getValue());
        }
        case CIMKeyBinding::BOOLEAN:
            return String::equalNoCase(x.getValue(), y.getValue());
        case CIMKeyBinding::NUMERIC:
        {
            Uint64 ua, ub;
            if (parseUnsigned(x.getValue(), false, ua) && parseUnsigned(y.getValue(), false, ub))
                return ua == ub;
            Sint64 sa, sb;
            if (parseSigned(x.getValue(), false, sa) && parseSigned(y.getValue(), false, sb))
                return sa == sb;
            return String::equal(x.getValue(), y.getValue());
        }
        default:
            return String::equal(x.getValue(), y.getValue());
    }
}

//
// CIMObjectPath
//

namespace
{

const String& emptyString()
{
    static const String s;
    return s;
}

const CIMNamespaceName& emptyNamespace()
{
    static const CIMNamespaceName ns;
    return ns;
}

const CIMName& emptyName()
{
    static const CIMName n;
    return n;
}

const Array<CIMKeyBinding>& emptyKeys()
{
    static const Array<CIMKeyBinding> k;
    return k;
}

} // namespace

CIMObjectPath::CIMObjectPath() : _rep(0)
{
}

CIMObjectPath::CIMObjectPath(const CIMObjectPath& x)
    : _rep(CIMObjectPathRep::ref(x._rep))
{
}

CIMObjectPath::CIMObjectPath(CIMObjectPath&& x) noexcept : _rep(x._rep)
{
    x._rep = 0;
}

CIMObjectPath::CIMObjectPath(const String& objectName) : _rep(0)
{
    set(objectName);
}

CIMObjectPath::CIMObjectPath(
    const String& host,
    const CIMNamespaceName& nameSpace,
    const CIMName& className,
    const Array<CIMKeyBinding>& keyBindings)
    : _rep(0)
{
    set(host, nameSpace, className, keyBindings);
}

CIMObjectPath::~CIMObjectPath()
{
    CIMObjectPathRep::unref(_rep);
}

CIMObjectPath& CIMObjectPath::operator=(const CIMObjectPath& x)
{
    if (x._rep != _rep)
    {
        CIMObjectPathRep::ref(x._rep);
        CIMObjectPathRep::unref(_rep);
        _rep = x._rep;
    }
    return *this;
}

CIMObjectPath& CIMObjectPath::operator=(CIMObjectPath&& x) noexcept
{
    if (this != &x)
    {
        CIMObjectPathRep::unref(_rep);
        _rep = x._rep;
        x._rep = 0;
    }
    return *this;
}

void CIMObjectPath::_unshare()
{
    if (!_rep)
        _rep = new CIMObjectPathRep();
    else if (_rep->refs.load(std::memory_order_acquire) != 1)
    {
        CIMObjectPathRep* rep = new CIMObjectPathRep(*_rep);
        CIMObjectPathRep::unref(_rep);
        _rep = rep;
    }
}

void CIMObjectPath::clear()
{
    CIMObjectPathRep::unref(_rep);
    _rep = 0;
}

void CIMObjectPath::set(
    const String& host,
    const CIMNamespaceName& nameSpace,
    const CIMName& className,
    const Array<CIMKeyBinding>& keyBindings)
{
    checkHost(host);
    // One key that is not a reference is stored as it is.
    if (keyBindings.size() == 1 &&
        keyBindings[0].getType() != CIMKeyBinding::REFERENCE)
        CIMObjectPathRep::assign(_rep, host, nameSpace, className, keyBindings);
    else
        CIMObjectPathRep::assign(_rep, host, nameSpace, className, storedKeys(keyBindings));
}

void CIMObjectPath::set(const String& objectName)
{
    ParsedPath p;
    String reason;
    if (!parsePath(objectName, p, reason))
        throw MalformedObjectNameException(
            objectName + String(", reason:\"") + reason + String("\""));
    CIMObjectPathRep::assign(_rep, p.host, p.nameSpace, p.className, p.keys);
}

CIMObjectPath& CIMObjectPath::operator=(const String& objectName)
{
    set(objectName);
    return *this;
}

const String& CIMObjectPath::getHost() const
{
    return _rep ? _rep->host : emptyString();
}

void CIMObjectPath::setHost(const String& host)
{
    if (host.size() && !validLocator(host) && !isSystemHostName(host))
        throw MalformedObjectNameException(host + String(", reason:\"invalid hostname\""));
    _unshare();
    _rep->host = host;
}

const CIMNamespaceName& CIMObjectPath::getNameSpace() const
{
    return _rep ? _rep->nameSpace : emptyNamespace();
}

void CIMObjectPath::setNameSpace(const CIMNamespaceName& nameSpace)
{
    _unshare();
    _rep->nameSpace = nameSpace;
}

const CIMName& CIMObjectPath::getClassName() const
{
    return _rep ? _rep->className : emptyName();
}

void CIMObjectPath::setClassName(const CIMName& className)
{
    _unshare();
    _rep->className = className;
}

const Array<CIMKeyBinding>& CIMObjectPath::getKeyBindings() const
{
    return _rep ? _rep->keyBindings : emptyKeys();
}

void CIMObjectPath::setKeyBindings(const Array<CIMKeyBinding>& keyBindings)
{
    Array<CIMKeyBinding> keys = storedKeys(keyBindings);
    _unshare();
    _rep->keyBindings = keys;
}

String CIMObjectPath::toString() const
{
    String out;
    if (!_rep)
        return out;
    Uint32 estimate = _rep->host.size() + _rep->nameSpace.getString().size() +
        _rep->className.getString().size() + 4;
    for (Uint32 i = 0, n = _rep->keyBindings.size(); i < n; i++)
        estimate += _rep->keyBindings[i].getName().getString().size() +
            _rep->keyBindings[i].getValue().size() + 4;
    out.reserveCapacity(estimate);
    appendPathText(out, _rep->host, _rep->nameSpace, _rep->className, _rep->keyBindings);
    return out;
}

Boolean CIMObjectPath::identical(const CIMObjectPath& x) const
{
    if (_rep == x._rep)
        return true;
    if (!String::equalNoCase(getHost(), x.getHost()) ||
        !getNameSpace().equal(x.getNameSpace()) ||
        !getClassName().equal(x.getClassName()))
        return false;
    const Array<CIMKeyBinding>& a = getKeyBindings();
    const Array<CIMKeyBinding>& b = x.getKeyBindings();
    if (a.size() != b.size())
        return false;
    for (Uint32 i = 0, n = a.size(); i < n; i++)
        if (!(a[i] == b[i]))
            return false;
    return true;
}

Uint32 CIMObjectPath::makeHashCode() const
{
    String text = canonicalText(getHost(), getNameSpace(), getClassName(), getKeyBindings());
    Uint32 h = 0;
    const Char16* p = text.getChar16Data();
    for (Uint32 i = 0, n = text.size(); i < n; i++)
        h = h * 5 + Uint16(p[i]);
    return h;
}

Boolean operator==(const CIMObjectPath& x, const CIMObjectPath& y)
{
    return x.identical(y);
}

Boolean operator!=(const CIMObjectPath& x, const CIMObjectPath& y)
{
    return !x.identical(y);
}

PEGASUS_NAMESPACE_END
