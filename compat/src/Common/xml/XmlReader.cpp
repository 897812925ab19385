// Decoder of CIM-XML into the CIM object model.
#include "XmlNodeReader.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMScope.h>

PEGASUS_NAMESPACE_BEGIN

CimXmlDecodeException::CimXmlDecodeException(const String& message,
    Boolean wellFormed)
    : Exception(message), _wellFormed(wellFormed)
{
}

namespace XmlNode
{

void fail(const std::string& message)
{
    throw CimXmlDecodeException(String(message.c_str()));
}

void parse(pugi::xml_document& doc, const char* data, size_t size)
{
    pugi::xml_parse_result r = doc.load_buffer(data, size,
        pugi::parse_default | pugi::parse_ws_pcdata, pugi::encoding_utf8);
    if (!r)
    {
        std::string m = "XML not well-formed at offset ";
        m += std::to_string(r.offset);
        m += ": ";
        m += r.description();
        throw CimXmlDecodeException(String(m.c_str()), false);
    }
}

pugi::xml_node rootElement(const pugi::xml_document& doc, const char* name)
{
    pugi::xml_node root;
    for (pugi::xml_node c = doc.first_child(); c; c = c.next_sibling())
    {
        if (c.type() != pugi::node_element)
            continue;
        if (root)
            fail("more than one top-level element");
        root = c;
    }
    if (!root)
        fail("no element");
    if (name && strcmp(root.name(), name) != 0)
        fail(std::string("expected ") + name + ", found " + root.name());
    return root;
}

bool is(const pugi::xml_node& n, const char* name)
{
    return strcmp(n.name(), name) == 0;
}

const char* attr(const pugi::xml_node& n, const char* name)
{
    pugi::xml_attribute a = n.attribute(name);
    return a ? a.value() : 0;
}

const char* requireAttr(const pugi::xml_node& n, const char* name)
{
    const char* v = attr(n, name);
    if (!v)
        fail(std::string(n.name()) + ": missing " + name + " attribute");
    return v;
}

String toString(const char* utf8)
{
    try
    {
        return String(utf8);
    }
    catch (const Exception&)
    {
        fail("invalid UTF-8");
    }
}

std::string text(const pugi::xml_node& n)
{
    std::string s;
    for (pugi::xml_node c = n.first_child(); c; c = c.next_sibling())
    {
        if (c.type() == pugi::node_pcdata || c.type() == pugi::node_cdata)
            s += c.value();
    }
    return s;
}

CIMName name(const pugi::xml_node& n, const char* attrName)
{
    const char* v = requireAttr(n, attrName);
    if (!CIMName::legal(toString(v)))
        fail(std::string(n.name()) + ": illegal name \"" + v + "\"");
    return CIMName(toString(v));
}

static bool equalNoCase(const char* a, const char* b)
{
    return strcasecmp(a, b) == 0;
}

bool boolAttr(const pugi::xml_node& n, const char* name, bool dflt)
{
    const char* v = attr(n, name);
    if (!v)
        return dflt;
    if (equalNoCase(v, "true"))
        return true;
    if (equalNoCase(v, "false"))
        return false;
    fail(std::string(n.name()) + ": " + name + " must be true or false");
}

static const char* const typeNames[] = {
    "boolean", "uint8", "sint8", "uint16", "sint16", "uint32", "sint32",
    "uint64", "sint64", "real32", "real64", "char16", "string", "datetime",
    "reference" };

bool typeByName(const char* s, CIMType& type)
{
    for (unsigned i = 0; i < sizeof(typeNames) / sizeof(typeNames[0]); i++)
    {
        if (strcmp(s, typeNames[i]) == 0)
        {
            type = CIMType(i);
            return true;
        }
    }
    return false;
}

CIMType typeAttr(const pugi::xml_node& n, const char* name)
{
    const char* v = requireAttr(n, name);
    CIMType t;
    if (!typeByName(v, t))
        fail(std::string(n.name()) + ": unknown type \"" + v + "\"");
    return t;
}

pugi::xml_node firstElement(const pugi::xml_node& n)
{
    pugi::xml_node c = n.first_child();
    while (c && c.type() != pugi::node_element)
        c = c.next_sibling();
    return c;
}

pugi::xml_node nextElement(const pugi::xml_node& n)
{
    pugi::xml_node c = n.next_sibling();
    while (c && c.type() != pugi::node_element)
        c = c.next_sibling();
    return c;
}

// ---------------------------------------------------------------------------
// Scalars

static std::string trim(const std::string& s)
{
    size_t b = 0, e = s.size();
    while (b < e && (s[b] == ' ' || s[b] == '\t' || s[b] == '\n' || s[b] == '\r'))
        b++;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t' || s[e - 1] == '\n' ||
        s[e - 1] == '\r'))
        e--;
    return s.substr(b, e - b);
}

// Magnitude of an integer literal: [+|-] (decimal | 0x hex).
static bool parseMagnitude(const std::string& s, bool& negative, Uint64& mag)
{
    size_t i = 0;
    negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-'))
    {
        negative = s[i] == '-';
        i++;
    }
    if (i >= s.size())
        return false;
    mag = 0;
    if (s.size() - i > 2 && s[i] == '0' && (s[i + 1] == 'x' || s[i + 1] == 'X'))
    {
        for (i += 2; i < s.size(); i++)
        {
            char c = s[i];
            unsigned d;
            if (c >= '0' && c <= '9') d = c - '0';
            else if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
            else if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
            else return false;
            if (mag > (std::numeric_limits<Uint64>::max() >> 4))
                return false;
            mag = (mag << 4) | d;
        }
        return true;
    }
    for (; i < s.size(); i++)
    {
        char c = s[i];
        if (c < '0' || c > '9')
            return false;
        Uint64 d = Uint64(c - '0');
        if (mag > (std::numeric_limits<Uint64>::max() - d) / 10)
            return false;
        mag = mag * 10 + d;
    }
    return true;
}

static bool parseUnsigned(const std::string& s, Uint64 max, Uint64& out)
{
    bool neg;
    if (!parseMagnitude(s, neg, out))
        return false;
    if (neg && out != 0)
        return false;
    return out <= max;
}

static bool parseSigned(const std::string& s, Sint64 min, Sint64 max, Sint64& out)
{
    bool neg;
    Uint64 mag;
    if (!parseMagnitude(s, neg, mag))
        return false;
    if (neg)
    {
        if (mag > Uint64(max) + 1)
            return false;
        out = mag == Uint64(max) + 1 ? Sint64(-max - 1) : -Sint64(mag);
    }
    else
    {
        if (mag > Uint64(max))
            return false;
        out = Sint64(mag);
    }
    return out >= min && out <= max;
}

// Decimal or exponent form; an overflow to infinity is an error, an
// underflow to a subnormal or zero is not.
static bool parseReal(const std::string& s, double& out)
{
    if (s.empty())
        return false;
    const char* p = s.c_str();
    char* end = 0;
    errno = 0;
    out = strtod(p, &end);
    return end == p + s.size() && !(errno == ERANGE && std::isinf(out));
}

static bool parseReal32(const std::string& s, float& out)
{
    if (s.empty())
        return false;
    const char* p = s.c_str();
    char* end = 0;
    errno = 0;
    out = strtof(p, &end);
    return end == p + s.size() && !(errno == ERANGE && std::isinf(out));
}

CIMValue scalar(const std::string& raw, CIMType type)
{
    std::string s = (type == CIMTYPE_STRING || type == CIMTYPE_CHAR16 ||
        type == CIMTYPE_OBJECT || type == CIMTYPE_INSTANCE) ? raw : trim(raw);
    Uint64 u;
    Sint64 i;
    switch (type)
    {
        case CIMTYPE_BOOLEAN:
            if (strcasecmp(s.c_str(), "TRUE") == 0)
                return CIMValue(true);
            if (strcasecmp(s.c_str(), "FALSE") == 0)
                return CIMValue(false);
            break;
        case CIMTYPE_UINT8:
            if (parseUnsigned(s, 0xFF, u)) return CIMValue(Uint8(u));
            break;
        case CIMTYPE_UINT16:
            if (parseUnsigned(s, 0xFFFF, u)) return CIMValue(Uint16(u));
            break;
        case CIMTYPE_UINT32:
            if (parseUnsigned(s, 0xFFFFFFFFu, u)) return CIMValue(Uint32(u));
            break;
        case CIMTYPE_UINT64:
            if (parseUnsigned(s, std::numeric_limits<Uint64>::max(), u))
                return CIMValue(Uint64(u));
            break;
        case CIMTYPE_SINT8:
            if (parseSigned(s, -128, 127, i)) return CIMValue(Sint8(i));
            break;
        case CIMTYPE_SINT16:
            if (parseSigned(s, -32768, 32767, i)) return CIMValue(Sint16(i));
            break;
        case CIMTYPE_SINT32:
            if (parseSigned(s, std::numeric_limits<Sint32>::min(),
                std::numeric_limits<Sint32>::max(), i))
                return CIMValue(Sint32(i));
            break;
        case CIMTYPE_SINT64:
            if (parseSigned(s, std::numeric_limits<Sint64>::min(),
                std::numeric_limits<Sint64>::max(), i))
                return CIMValue(Sint64(i));
            break;
        case CIMTYPE_REAL32:
        {
            float f;
            if (parseReal32(s, f))
                return CIMValue(Real32(f));
            break;
        }
        case CIMTYPE_REAL64:
        {
            double d;
            if (parseReal(s, d))
                return CIMValue(Real64(d));
            break;
        }
        case CIMTYPE_CHAR16:
        {
            String str = toString(s.c_str());
            if (str.size() == 1)
                return CIMValue(str[0]);
            break;
        }
        case CIMTYPE_STRING:
            return CIMValue(toString(s.c_str()));
        case CIMTYPE_DATETIME:
            try
            {
                return CIMValue(CIMDateTime(toString(s.c_str())));
            }
            catch (const Exception&)
            {
            }
            break;
        case CIMTYPE_REFERENCE:
            try
            {
                return CIMValue(CIMObjectPath(toString(s.c_str())));
            }
            catch (const Exception&)
            {
            }
            break;
        case CIMTYPE_OBJECT:
            return CIMValue(embeddedObject(s, false));
        case CIMTYPE_INSTANCE:
            return CIMValue(CIMInstance(embeddedObject(s, true)));
    }
    fail(std::string("invalid ") + cimTypeToString(type) + " value \"" + raw + "\"");
}

// ---------------------------------------------------------------------------
// Values

bool isValueElement(const pugi::xml_node& n)
{
    return is(n, "VALUE") || is(n, "VALUE.ARRAY") || is(n, "VALUE.REFERENCE") ||
        is(n, "VALUE.REFARRAY");
}

template <class T>
static CIMValue arrayOf(const pugi::xml_node& n, CIMType type)
{
    Array<T> a;
    for (pugi::xml_node c = firstElement(n); c; c = nextElement(c))
    {
        if (!is(c, "VALUE"))
            fail(std::string("VALUE.ARRAY: unexpected ") + c.name());
        T x;
        scalar(text(c), type).get(x);
        a.append(x);
    }
    return CIMValue(a);
}

static CIMValue refArray(const pugi::xml_node& n)
{
    Array<CIMObjectPath> a;
    for (pugi::xml_node c = firstElement(n); c; c = nextElement(c))
    {
        if (!is(c, "VALUE.REFERENCE"))
            fail(std::string("VALUE.REFARRAY: unexpected ") + c.name());
        a.append(valueReference(c));
    }
    return CIMValue(a);
}

CIMValue value(const pugi::xml_node& n, CIMType type)
{
    if (is(n, "VALUE.REFERENCE"))
    {
        if (type != CIMTYPE_REFERENCE)
            fail("VALUE.REFERENCE for a non-reference value");
        return CIMValue(valueReference(n));
    }
    if (is(n, "VALUE.REFARRAY"))
    {
        if (type != CIMTYPE_REFERENCE)
            fail("VALUE.REFARRAY for a non-reference value");
        return refArray(n);
    }
    if (is(n, "VALUE"))
    {
        if (firstElement(n))
            fail("VALUE: unexpected element content");
        return scalar(text(n), type);
    }
    if (!is(n, "VALUE.ARRAY"))
        fail(std::string("expected a value, found ") + n.name());
    switch (type)
    {
        case CIMTYPE_BOOLEAN: return arrayOf<Boolean>(n, type);
        case CIMTYPE_UINT8: return arrayOf<Uint8>(n, type);
        case CIMTYPE_SINT8: return arrayOf<Sint8>(n, type);
        case CIMTYPE_UINT16: return arrayOf<Uint16>(n, type);
        case CIMTYPE_SINT16: return arrayOf<Sint16>(n, type);
        case CIMTYPE_UINT32: return arrayOf<Uint32>(n, type);
        case CIMTYPE_SINT32: return arrayOf<Sint32>(n, type);
        case CIMTYPE_UINT64: return arrayOf<Uint64>(n, type);
        case CIMTYPE_SINT64: return arrayOf<Sint64>(n, type);
        case CIMTYPE_REAL32: return arrayOf<Real32>(n, type);
        case CIMTYPE_REAL64: return arrayOf<Real64>(n, type);
        case CIMTYPE_CHAR16: return arrayOf<Char16>(n, type);
        case CIMTYPE_STRING: return arrayOf<String>(n, type);
        case CIMTYPE_DATETIME: return arrayOf<CIMDateTime>(n, type);
        case CIMTYPE_OBJECT: return arrayOf<CIMObject>(n, type);
        case CIMTYPE_INSTANCE: return arrayOf<CIMInstance>(n, type);
        case CIMTYPE_REFERENCE: break;
    }
    fail("VALUE.ARRAY for a reference value");
}

CIMValue untypedValue(const pugi::xml_node& n)
{
    if (is(n, "VALUE.REFERENCE") || is(n, "VALUE.REFARRAY"))
        return value(n, CIMTYPE_REFERENCE);
    return value(n, CIMTYPE_STRING);
}

// ---------------------------------------------------------------------------
// Names and paths

CIMNamespaceName localNamespacePath(const pugi::xml_node& n)
{
    if (!is(n, "LOCALNAMESPACEPATH"))
        fail(std::string("expected LOCALNAMESPACEPATH, found ") + n.name());
    std::string ns;
    for (pugi::xml_node c = firstElement(n); c; c = nextElement(c))
    {
        if (!is(c, "NAMESPACE"))
            fail(std::string("LOCALNAMESPACEPATH: unexpected ") + c.name());
        if (!ns.empty())
            ns += '/';
        ns += requireAttr(c, "NAME");
    }
    if (ns.empty())
        fail("LOCALNAMESPACEPATH without NAMESPACE");
    String s = toString(ns.c_str());
    if (!CIMNamespaceName::legal(s))
        fail("illegal namespace \"" + ns + "\"");
    return CIMNamespaceName(s);
}

void namespacePath(const pugi::xml_node& n, String& host, CIMNamespaceName& ns)
{
    if (!is(n, "NAMESPACEPATH"))
        fail(std::string("expected NAMESPACEPATH, found ") + n.name());
    pugi::xml_node h = firstElement(n);
    if (!h || !is(h, "HOST"))
        fail("NAMESPACEPATH without HOST");
    host = toString(trim(text(h)).c_str());
    pugi::xml_node l = nextElement(h);
    if (!l)
        fail("NAMESPACEPATH without LOCALNAMESPACEPATH");
    ns = localNamespacePath(l);
    if (nextElement(l))
        fail("NAMESPACEPATH: unexpected content");
}

static CIMObjectPath makePath(const String& host, const CIMNamespaceName& ns,
    const CIMName& className, const Array<CIMKeyBinding>& keys)
{
    CIMObjectPath p;
    try
    {
        p.set(String(), ns, className, keys);
    }
    catch (const Exception& e)
    {
        fail(std::string("bad object path: ") + (const char*)e.getMessage().getCString());
    }
    if (host.size())
    {
        try
        {
            p.setHost(host);
        }
        catch (const Exception&)
        {
            fail(std::string("bad host \"") + (const char*)host.getCString() + "\"");
        }
    }
    return p;
}

CIMKeyBinding keyBinding(const pugi::xml_node& n)
{
    CIMName keyName = name(n, "NAME");
    pugi::xml_node v = firstElement(n);
    if (!v || nextElement(v))
        fail("KEYBINDING needs exactly one KEYVALUE or VALUE.REFERENCE");
    if (is(v, "VALUE.REFERENCE"))
    {
        try
        {
            return CIMKeyBinding(keyName, CIMValue(valueReference(v)));
        }
        catch (const CimXmlDecodeException&)
        {
            throw;
        }
        catch (const Exception&)
        {
            fail("bad reference key " + std::string(keyName.getString().getCString()));
        }
    }
    if (!is(v, "KEYVALUE"))
        fail(std::string("KEYBINDING: unexpected ") + v.name());
    const char* vt = attr(v, "VALUETYPE");
    const char* exact = attr(v, "TYPE");
    std::string t = text(v);
    if (exact)
    {
        CIMType type;
        if (!typeByName(exact, type) || type == CIMTYPE_REFERENCE)
            fail(std::string("KEYVALUE: bad TYPE \"") + exact + "\"");
        CIMValue cv = scalar(t, type);
        if (type == CIMTYPE_STRING || type == CIMTYPE_CHAR16 || type == CIMTYPE_DATETIME)
            return CIMKeyBinding(keyName, toString(type == CIMTYPE_STRING ? t.c_str() :
                trim(t).c_str()), CIMKeyBinding::STRING);
        if (type == CIMTYPE_BOOLEAN)
            return CIMKeyBinding(keyName, cv);
        return CIMKeyBinding(keyName, toString(trim(t).c_str()), CIMKeyBinding::NUMERIC);
    }
    if (!vt || strcmp(vt, "string") == 0)
        return CIMKeyBinding(keyName, toString(t.c_str()), CIMKeyBinding::STRING);
    if (strcmp(vt, "boolean") == 0)
    {
        CIMValue cv = scalar(t, CIMTYPE_BOOLEAN);
        return CIMKeyBinding(keyName, cv);
    }
    if (strcmp(vt, "numeric") == 0)
    {
        std::string s = trim(t);
        bool neg;
        Uint64 mag;
        double d;
        if (!parseMagnitude(s, neg, mag) && !parseReal(s, d))
            fail("KEYVALUE: bad numeric value \"" + t + "\"");
        return CIMKeyBinding(keyName, toString(s.c_str()), CIMKeyBinding::NUMERIC);
    }
    fail(std::string("KEYVALUE: bad VALUETYPE \"") + vt + "\"");
}

CIMObjectPath instanceName(const pugi::xml_node& n)
{
    if (!is(n, "INSTANCENAME"))
        fail(std::string("expected INSTANCENAME, found ") + n.name());
    CIMName className = name(n, "CLASSNAME");
    Array<CIMKeyBinding> keys;
    for (pugi::xml_node c = firstElement(n); c; c = nextElement(c))
    {
        if (!is(c, "KEYBINDING"))
            fail(std::string("INSTANCENAME: unexpected ") + c.name());
        keys.append(keyBinding(c));
    }
    return makePath(String(), CIMNamespaceName(), className, keys);
}

CIMObjectPath localInstancePath(const pugi::xml_node& n)
{
    pugi::xml_node l = firstElement(n);
    if (!l)
        fail("LOCALINSTANCEPATH without LOCALNAMESPACEPATH");
    CIMNamespaceName ns = localNamespacePath(l);
    pugi::xml_node i = nextElement(l);
    if (!i || nextElement(i))
        fail("LOCALINSTANCEPATH needs one INSTANCENAME");
    CIMObjectPath p = instanceName(i);
    p.setNameSpace(ns);
    return p;
}

CIMObjectPath instancePath(const pugi::xml_node& n)
{
    pugi::xml_node np = firstElement(n);
    if (!np)
        fail("INSTANCEPATH without NAMESPACEPATH");
    String host;
    CIMNamespaceName ns;
    namespacePath(np, host, ns);
    pugi::xml_node i = nextElement(np);
    if (!i || nextElement(i))
        fail("INSTANCEPATH needs one INSTANCENAME");
    CIMObjectPath p = instanceName(i);
    return makePath(host, ns, p.getClassName(), p.getKeyBindings());
}

static CIMName className(const pugi::xml_node& n)
{
    if (!n || !is(n, "CLASSNAME"))
        fail("expected CLASSNAME");
    return name(n, "NAME");
}

CIMObjectPath localClassPath(const pugi::xml_node& n)
{
    pugi::xml_node l = firstElement(n);
    if (!l)
        fail("LOCALCLASSPATH without LOCALNAMESPACEPATH");
    CIMNamespaceName ns = localNamespacePath(l);
    pugi::xml_node c = nextElement(l);
    CIMName cn = className(c);
    if (nextElement(c))
        fail("LOCALCLASSPATH: unexpected content");
    return makePath(String(), ns, cn, Array<CIMKeyBinding>());
}

CIMObjectPath classPath(const pugi::xml_node& n)
{
    pugi::xml_node np = firstElement(n);
    if (!np)
        fail("CLASSPATH without NAMESPACEPATH");
    String host;
    CIMNamespaceName ns;
    namespacePath(np, host, ns);
    pugi::xml_node c = nextElement(np);
    CIMName cn = className(c);
    if (nextElement(c))
        fail("CLASSPATH: unexpected content");
    return makePath(host, ns, cn, Array<CIMKeyBinding>());
}

CIMObjectPath anyPath(const pugi::xml_node& n, bool* isClass)
{
    bool cls = false;
    CIMObjectPath p;
    if (is(n, "INSTANCENAME"))
        p = instanceName(n);
    else if (is(n, "LOCALINSTANCEPATH"))
        p = localInstancePath(n);
    else if (is(n, "INSTANCEPATH"))
        p = instancePath(n);
    else if (is(n, "CLASSNAME"))
    {
        cls = true;
        p = makePath(String(), CIMNamespaceName(), className(n), Array<CIMKeyBinding>());
    }
    else if (is(n, "LOCALCLASSPATH"))
    {
        cls = true;
        p = localClassPath(n);
    }
    else if (is(n, "CLASSPATH"))
    {
        cls = true;
        p = classPath(n);
    }
    else if (is(n, "OBJECTPATH"))
    {
        pugi::xml_node c = firstElement(n);
        if (!c || nextElement(c) || !(is(c, "INSTANCEPATH") || is(c, "CLASSPATH")))
            fail("OBJECTPATH needs one INSTANCEPATH or CLASSPATH");
        return anyPath(c, isClass);
    }
    else
        fail(std::string("expected an object path, found ") + n.name());
    if (isClass)
        *isClass = cls;
    return p;
}

CIMObjectPath valueReference(const pugi::xml_node& n)
{
    if (!is(n, "VALUE.REFERENCE"))
        fail(std::string("expected VALUE.REFERENCE, found ") + n.name());
    // A reference key holds the text of its path, escaped once more at every
    // level, so the text doubles with each level: refuse deep nesting before
    // the innermost path is decoded.
    Uint32 depth = 1;
    for (pugi::xml_node a = n.parent(); a; a = a.parent())
        if (is(a, "VALUE.REFERENCE") && ++depth > XmlReader::MAX_REFERENCE_DEPTH)
            fail("reference keys nested deeper than " +
                std::to_string(XmlReader::MAX_REFERENCE_DEPTH) + " levels");
    pugi::xml_node c = firstElement(n);
    if (!c || nextElement(c) || is(c, "OBJECTPATH"))
        fail("VALUE.REFERENCE needs one path element");
    return anyPath(c);
}

// ---------------------------------------------------------------------------
// Qualifiers

CIMFlavor flavor(const pugi::xml_node& n)
{
    CIMFlavor f = CIMFlavor::NONE;
    f.addFlavor(boolAttr(n, "OVERRIDABLE", true) ? CIMFlavor::OVERRIDABLE :
        CIMFlavor::DISABLEOVERRIDE);
    f.addFlavor(boolAttr(n, "TOSUBCLASS", true) ? CIMFlavor::TOSUBCLASS :
        CIMFlavor::RESTRICTED);
    if (boolAttr(n, "TOINSTANCE", false))
        f.addFlavor(CIMFlavor::TOINSTANCE);
    if (boolAttr(n, "TRANSLATABLE", false))
        f.addFlavor(CIMFlavor::TRANSLATABLE);
    return f;
}

CIMQualifier qualifier(const pugi::xml_node& n)
{
    CIMName qn = name(n, "NAME");
    CIMType type = typeAttr(n, "TYPE");
    if (type == CIMTYPE_REFERENCE)
        fail("QUALIFIER of type reference");
    pugi::xml_node v = firstElement(n);
    CIMValue cv(type, false);
    if (v)
    {
        if (nextElement(v) || !(is(v, "VALUE") || is(v, "VALUE.ARRAY")))
            fail("QUALIFIER: unexpected content");
        cv = value(v, type);
    }
    try
    {
        return CIMQualifier(qn, cv, flavor(n), boolAttr(n, "PROPAGATED", false));
    }
    catch (const Exception& e)
    {
        fail(std::string("QUALIFIER: ") + (const char*)e.getMessage().getCString());
    }
}

CIMQualifierDecl qualifierDecl(const pugi::xml_node& n)
{
    CIMName qn = name(n, "NAME");
    CIMType type = typeAttr(n, "TYPE");
    bool isArray = boolAttr(n, "ISARRAY", false);
    Uint32 arraySize = 0;
    if (const char* as = attr(n, "ARRAYSIZE"))
    {
        Uint64 u;
        if (!parseUnsigned(trim(as), 0xFFFFFFFFu, u))
            fail("QUALIFIER.DECLARATION: bad ARRAYSIZE");
        arraySize = Uint32(u);
    }
    CIMScope scope = CIMScope::NONE;
    CIMValue cv(type, isArray, arraySize);
    for (pugi::xml_node c = firstElement(n); c; c = nextElement(c))
    {
        if (is(c, "SCOPE"))
        {
            static const struct { const char* name; const CIMScope* scope; } scopes[] = {
                { "CLASS", &CIMScope::CLASS },
                { "ASSOCIATION", &CIMScope::ASSOCIATION },
                { "REFERENCE", &CIMScope::REFERENCE },
                { "PROPERTY", &CIMScope::PROPERTY },
                { "METHOD", &CIMScope::METHOD },
                { "PARAMETER", &CIMScope::PARAMETER },
                { "INDICATION", &CIMScope::INDICATION },
            };
            for (const auto& s : scopes)
                if (boolAttr(c, s.name, false))
                    scope.addScope(*s.scope);
        }
        else if (is(c, "VALUE") || is(c, "VALUE.ARRAY"))
        {
            if (is(c, "VALUE.ARRAY") != isArray)
                fail("QUALIFIER.DECLARATION: value does not match ISARRAY");
            cv = value(c, type);
        }
        else
            fail(std::string("QUALIFIER.DECLARATION: unexpected ") + c.name());
    }
    try
    {
        return CIMQualifierDecl(qn, cv, scope, flavor(n), arraySize);
    }
    catch (const Exception& e)
    {
        fail(std::string("QUALIFIER.DECLARATION: ") +
            (const char*)e.getMessage().getCString());
    }
}

// ---------------------------------------------------------------------------
// Properties, parameters, methods, classes, instances

// EmbeddedObject / EMBEDDEDOBJECT attribute: 0 none, 1 object, 2 instance.
static int embeddedAttr(const pugi::xml_node& n)
{
    const char* e = attr(n, "EmbeddedObject");
    if (!e)
        e = attr(n, "EMBEDDEDOBJECT");
    if (!e)
        return 0;
    if (equalNoCase(e, "object"))
        return 1;
    if (equalNoCase(e, "instance"))
        return 2;
    fail(std::string(n.name()) + ": bad EmbeddedObject \"" + e + "\"");
}

static Uint32 arraySizeAttr(const pugi::xml_node& n)
{
    const char* as = attr(n, "ARRAYSIZE");
    if (!as)
        return 0;
    Uint64 u;
    if (!parseUnsigned(trim(as), 0xFFFFFFFFu, u))
        fail(std::string(n.name()) + ": bad ARRAYSIZE");
    return Uint32(u);
}

CIMProperty property(const pugi::xml_node& n)
{
    bool isRef = is(n, "PROPERTY.REFERENCE");
    bool isArray = is(n, "PROPERTY.ARRAY");
    if (!isRef && !isArray && !is(n, "PROPERTY"))
        fail(std::string("expected a property, found ") + n.name());
    CIMName pn = name(n, "NAME");
    CIMName origin;
    if (const char* co = attr(n, "CLASSORIGIN"))
        origin = CIMName(toString(co));
    bool propagated = boolAttr(n, "PROPAGATED", false);
    CIMType type = CIMTYPE_REFERENCE;
    CIMName refClass;
    Uint32 arraySize = 0;
    if (isRef)
    {
        if (const char* rc = attr(n, "REFERENCECLASS"))
            refClass = CIMName(toString(rc));
    }
    else
    {
        type = attr(n, "TYPE") ? typeAttr(n, "TYPE") : CIMTYPE_STRING;
        if (type == CIMTYPE_REFERENCE)
            fail(std::string(n.name()) + ": type reference");
        arraySize = isArray ? arraySizeAttr(n) : 0;
    }
    // Qualifiers first; they may mark a string as an embedded object.
    Array<CIMQualifier> quals;
    pugi::xml_node valueNode;
    for (pugi::xml_node c = firstElement(n); c; c = nextElement(c))
    {
        if (is(c, "QUALIFIER") && !valueNode)
            quals.append(qualifier(c));
        else if (!valueNode && isValueElement(c))
            valueNode = c;
        else
            fail(std::string(n.name()) + ": unexpected " + c.name());
    }
    int embedded = isRef ? 0 : embeddedAttr(n);
    if (embedded && type != CIMTYPE_STRING)
        fail(std::string(n.name()) + ": EmbeddedObject on a non-string");
    if (!embedded && type == CIMTYPE_STRING)
    {
        for (Uint32 i = 0; i < quals.size(); i++)
        {
            if (quals[i].getName().equal(CIMName("EmbeddedInstance")))
                embedded = 2;
            else if (quals[i].getName().equal(CIMName("EmbeddedObject")) && !embedded)
            {
                Boolean b = false;
                const CIMValue& qv = quals[i].getValue();
                if (qv.getType() == CIMTYPE_BOOLEAN && !qv.isArray() && !qv.isNull())
                    qv.get(b);
                if (b)
                    embedded = 1;
            }
        }
    }
    if (embedded == 1)
        type = CIMTYPE_OBJECT;
    else if (embedded == 2)
        type = CIMTYPE_INSTANCE;

    CIMValue cv(type, isArray, arraySize);
    if (valueNode)
    {
        if (isRef != is(valueNode, "VALUE.REFERENCE") ||
            (!isRef && isArray != is(valueNode, "VALUE.ARRAY")))
            fail(std::string(n.name()) + ": value element does not match");
        cv = value(valueNode, type);
    }
    CIMProperty p;
    try
    {
        p = CIMProperty(pn, cv, arraySize, refClass, origin, propagated);
    }
    catch (const Exception& e)
    {
        fail(std::string(n.name()) + ": " + (const char*)e.getMessage().getCString());
    }
    for (Uint32 i = 0; i < quals.size(); i++)
    {
        try
        {
            p.addQualifier(quals[i]);
        }
        catch (const Exception& e)
        {
            fail(std::string("QUALIFIER: ") + (const char*)e.getMessage().getCString());
        }
    }
    return p;
}

CIMParameter parameter(const pugi::xml_node& n)
{
    bool isRef = is(n, "PARAMETER.REFERENCE") || is(n, "PARAMETER.REFARRAY");
    bool isArray = is(n, "PARAMETER.ARRAY") || is(n, "PARAMETER.REFARRAY");
    if (!isRef && !isArray && !is(n, "PARAMETER"))
        fail(std::string("expected a parameter, found ") + n.name());
    CIMName pn = name(n, "NAME");
    CIMType type = CIMTYPE_REFERENCE;
    CIMName refClass;
    if (isRef)
    {
        if (const char* rc = attr(n, "REFERENCECLASS"))
            refClass = CIMName(toString(rc));
    }
    else
        type = typeAttr(n, "TYPE");
    CIMParameter p;
    try
    {
        p = CIMParameter(pn, type, isArray, isArray ? arraySizeAttr(n) : 0, refClass);
        for (pugi::xml_node c = firstElement(n); c; c = nextElement(c))
        {
            if (!is(c, "QUALIFIER"))
                fail(std::string(n.name()) + ": unexpected " + c.name());
            p.addQualifier(qualifier(c));
        }
    }
    catch (const CimXmlDecodeException&)
    {
        throw;
    }
    catch (const Exception& e)
    {
        fail(std::string(n.name()) + ": " + (const char*)e.getMessage().getCString());
    }
    return p;
}

CIMMethod method(const pugi::xml_node& n)
{
    if (!is(n, "METHOD"))
        fail(std::string("expected METHOD, found ") + n.name());
    CIMName mn = name(n, "NAME");
    CIMType type = attr(n, "TYPE") ? typeAttr(n, "TYPE") : CIMTYPE_UINT32;
    CIMName origin;
    if (const char* co = attr(n, "CLASSORIGIN"))
        origin = CIMName(toString(co));
    CIMMethod m;
    try
    {
        m = CIMMethod(mn, type, origin, boolAttr(n, "PROPAGATED", false));
        for (pugi::xml_node c = firstElement(n); c; c = nextElement(c))
        {
            if (is(c, "QUALIFIER"))
                m.addQualifier(qualifier(c));
            else
                m.addParameter(parameter(c));
        }
    }
    catch (const CimXmlDecodeException&)
    {
        throw;
    }
    catch (const Exception& e)
    {
        fail(std::string("METHOD: ") + (const char*)e.getMessage().getCString());
    }
    return m;
}

CIMClass cimClass(const pugi::xml_node& n)
{
    if (!is(n, "CLASS"))
        fail(std::string("expected CLASS, found ") + n.name());
    CIMName cn = name(n, "NAME");
    CIMName super;
    if (attr(n, "SUPERCLASS"))
        super = name(n, "SUPERCLASS");
    CIMClass c;
    try
    {
        c = CIMClass(cn, super);
        for (pugi::xml_node e = firstElement(n); e; e = nextElement(e))
        {
            if (is(e, "QUALIFIER"))
                c.addQualifier(qualifier(e));
            else if (is(e, "METHOD"))
                c.addMethod(method(e));
            else
                c.addProperty(property(e));
        }
    }
    catch (const CimXmlDecodeException&)
    {
        throw;
    }
    catch (const Exception& e)
    {
        fail(std::string("CLASS: ") + (const char*)e.getMessage().getCString());
    }
    return c;
}

CIMInstance instance(const pugi::xml_node& n)
{
    if (!is(n, "INSTANCE"))
        fail(std::string("expected INSTANCE, found ") + n.name());
    CIMName cn = name(n, "CLASSNAME");
    CIMInstance inst;
    try
    {
        inst = CIMInstance(cn);
        for (pugi::xml_node e = firstElement(n); e; e = nextElement(e))
        {
            if (is(e, "QUALIFIER"))
                inst.addQualifier(qualifier(e));
            else
                inst.addProperty(property(e));
        }
    }
    catch (const CimXmlDecodeException&)
    {
        throw;
    }
    catch (const Exception& e)
    {
        fail(std::string("INSTANCE: ") + (const char*)e.getMessage().getCString());
    }
    return inst;
}

CIMObject object(const pugi::xml_node& n)
{
    if (is(n, "CLASS"))
        return CIMObject(cimClass(n));
    if (is(n, "INSTANCE"))
        return CIMObject(instance(n));
    fail(std::string("expected CLASS or INSTANCE, found ") + n.name());
}

CIMObject embeddedObject(const std::string& text, bool instanceOnly)
{
    pugi::xml_document doc;
    try
    {
        parse(doc, text.data(), text.size());
    }
    catch (const CimXmlDecodeException& e)
    {
        fail(std::string("embedded object: ") + (const char*)e.getMessage().getCString());
    }
    pugi::xml_node root = rootElement(doc, 0);
    if (instanceOnly && !is(root, "INSTANCE"))
        fail(std::string("embedded instance expected, found ") + root.name());
    return object(root);
}

CIMInstance valueNamedInstance(const pugi::xml_node& n)
{
    if (!is(n, "VALUE.NAMEDINSTANCE"))
        fail(std::string("expected VALUE.NAMEDINSTANCE, found ") + n.name());
    pugi::xml_node in = firstElement(n);
    if (!in)
        fail("VALUE.NAMEDINSTANCE without INSTANCENAME");
    CIMObjectPath p = instanceName(in);
    pugi::xml_node i = nextElement(in);
    if (!i || nextElement(i))
        fail("VALUE.NAMEDINSTANCE needs one INSTANCE");
    CIMInstance inst = instance(i);
    try
    {
        inst.setPath(p);
    }
    catch (const Exception&)
    {
        fail("VALUE.NAMEDINSTANCE: name and instance disagree on the class");
    }
    return inst;
}

CIMObject valueObjectWithPath(const pugi::xml_node& n)
{
    bool local = is(n, "VALUE.OBJECTWITHLOCALPATH");
    if (!local && !is(n, "VALUE.OBJECTWITHPATH"))
        fail(std::string("expected VALUE.OBJECTWITHPATH, found ") + n.name());
    pugi::xml_node pn = firstElement(n);
    if (!pn)
        fail("VALUE.OBJECTWITHPATH without a path");
    bool isClassPath = false;
    if (local ? !(is(pn, "LOCALINSTANCEPATH") || is(pn, "LOCALCLASSPATH")) :
        !(is(pn, "INSTANCEPATH") || is(pn, "CLASSPATH")))
        fail(std::string(n.name()) + ": unexpected " + pn.name());
    CIMObjectPath p = anyPath(pn, &isClassPath);
    pugi::xml_node o = nextElement(pn);
    if (!o || nextElement(o) || is(o, isClassPath ? "INSTANCE" : "CLASS"))
        fail(std::string(n.name()) + ": path and object do not match");
    CIMObject obj = object(o);
    try
    {
        obj.setPath(p);
    }
    catch (const Exception&)
    {
        fail(std::string(n.name()) + ": path and object disagree on the class");
    }
    return obj;
}

CIMParamValue paramValue(const pugi::xml_node& n)
{
    if (!is(n, "PARAMVALUE"))
        fail(std::string("expected PARAMVALUE, found ") + n.name());
    const char* pname = requireAttr(n, "NAME");
    if (!*pname)
        fail("PARAMVALUE: empty NAME");
    const char* ptype = attr(n, "PARAMTYPE");
    int embedded = embeddedAttr(n);
    bool typed = ptype != 0 || embedded != 0;
    CIMType type = CIMTYPE_STRING;
    if (ptype && !typeByName(ptype, type))
        fail(std::string("PARAMVALUE: unknown PARAMTYPE \"") + ptype + "\"");
    if (embedded)
    {
        if (type != CIMTYPE_STRING)
            fail("PARAMVALUE: EmbeddedObject on a non-string");
        type = embedded == 1 ? CIMTYPE_OBJECT : CIMTYPE_INSTANCE;
    }
    pugi::xml_node v = firstElement(n);
    CIMValue cv(type, false);
    if (v)
    {
        if (nextElement(v) || !isValueElement(v))
            fail("PARAMVALUE: unexpected content");
        if (is(v, "VALUE.REFERENCE") || is(v, "VALUE.REFARRAY"))
        {
            if (ptype && type != CIMTYPE_REFERENCE)
                fail("PARAMVALUE: reference value for a non-reference PARAMTYPE");
            type = CIMTYPE_REFERENCE;
            typed = true;
        }
        else if (type == CIMTYPE_REFERENCE)
            fail("PARAMVALUE: reference PARAMTYPE without VALUE.REFERENCE");
        cv = value(v, type);
    }
    return CIMParamValue(toString(pname), cv, typed);
}

} // namespace XmlNode

// ---------------------------------------------------------------------------
// XmlReader: text entry points

namespace
{

template <class R, class F>
R decodeFragment(const std::string& xml, const char* element, F f)
{
    pugi::xml_document doc;
    XmlNode::parse(doc, xml.data(), xml.size());
    return f(XmlNode::rootElement(doc, element));
}

} // namespace

CIMValue XmlReader::scalarFromText(const String& text, CIMType type)
{
    return XmlNode::scalar(std::string((const char*)text.getCString()), type);
}

Boolean XmlReader::typeFromName(const String& name, CIMType& type)
{
    return XmlNode::typeByName((const char*)name.getCString(), type);
}

CIMValue XmlReader::decodeValue(const std::string& xml, CIMType type)
{
    return decodeFragment<CIMValue>(xml, 0,
        [type](const pugi::xml_node& n) { return XmlNode::value(n, type); });
}

CIMObjectPath XmlReader::decodeValueReference(const std::string& xml)
{
    return decodeFragment<CIMObjectPath>(xml, "VALUE.REFERENCE",
        [](const pugi::xml_node& n) { return XmlNode::valueReference(n); });
}

CIMObjectPath XmlReader::decodeObjectPath(const std::string& xml)
{
    return decodeFragment<CIMObjectPath>(xml, 0,
        [](const pugi::xml_node& n) { return XmlNode::anyPath(n); });
}

CIMNamespaceName XmlReader::decodeLocalNamespacePath(const std::string& xml)
{
    return decodeFragment<CIMNamespaceName>(xml, "LOCALNAMESPACEPATH",
        [](const pugi::xml_node& n) { return XmlNode::localNamespacePath(n); });
}

CIMKeyBinding XmlReader::decodeKeyBinding(const std::string& xml)
{
    return decodeFragment<CIMKeyBinding>(xml, "KEYBINDING",
        [](const pugi::xml_node& n) { return XmlNode::keyBinding(n); });
}

CIMQualifier XmlReader::decodeQualifier(const std::string& xml)
{
    return decodeFragment<CIMQualifier>(xml, "QUALIFIER",
        [](const pugi::xml_node& n) { return XmlNode::qualifier(n); });
}

CIMQualifierDecl XmlReader::decodeQualifierDecl(const std::string& xml)
{
    return decodeFragment<CIMQualifierDecl>(xml, "QUALIFIER.DECLARATION",
        [](const pugi::xml_node& n) { return XmlNode::qualifierDecl(n); });
}

CIMProperty XmlReader::decodeProperty(const std::string& xml)
{
    return decodeFragment<CIMProperty>(xml, 0,
        [](const pugi::xml_node& n) { return XmlNode::property(n); });
}

CIMParameter XmlReader::decodeParameter(const std::string& xml)
{
    return decodeFragment<CIMParameter>(xml, 0,
        [](const pugi::xml_node& n) { return XmlNode::parameter(n); });
}

CIMMethod XmlReader::decodeMethod(const std::string& xml)
{
    return decodeFragment<CIMMethod>(xml, "METHOD",
        [](const pugi::xml_node& n) { return XmlNode::method(n); });
}

CIMClass XmlReader::decodeClass(const std::string& xml)
{
    return decodeFragment<CIMClass>(xml, "CLASS",
        [](const pugi::xml_node& n) { return XmlNode::cimClass(n); });
}

CIMInstance XmlReader::decodeInstance(const std::string& xml)
{
    return decodeFragment<CIMInstance>(xml, "INSTANCE",
        [](const pugi::xml_node& n) { return XmlNode::instance(n); });
}

CIMObject XmlReader::decodeObject(const std::string& xml)
{
    return decodeFragment<CIMObject>(xml, 0,
        [](const pugi::xml_node& n) { return XmlNode::object(n); });
}

CIMObject XmlReader::decodeEmbeddedObject(const String& text, Boolean instanceOnly)
{
    return XmlNode::embeddedObject(std::string((const char*)text.getCString()),
        instanceOnly);
}

CIMInstance XmlReader::decodeValueNamedInstance(const std::string& xml)
{
    return decodeFragment<CIMInstance>(xml, "VALUE.NAMEDINSTANCE",
        [](const pugi::xml_node& n) { return XmlNode::valueNamedInstance(n); });
}

CIMObject XmlReader::decodeValueObjectWithPath(const std::string& xml)
{
    return decodeFragment<CIMObject>(xml, 0,
        [](const pugi::xml_node& n) { return XmlNode::valueObjectWithPath(n); });
}

CIMParamValue XmlReader::decodeParamValue(const std::string& xml)
{
    return decodeFragment<CIMParamValue>(xml, "PARAMVALUE",
        [](const pugi::xml_node& n) { return XmlNode::paramValue(n); });
}

// ---------------------------------------------------------------------------
// Responses

namespace
{

using namespace XmlNode;

// Walks CIM/MESSAGE/SIMPLERSP and returns the response element.
pugi::xml_node responseElement(const pugi::xml_document& doc,
    const char* element, const String& methodName, const String& messageId)
{
    pugi::xml_node cim = rootElement(doc, "CIM");
    pugi::xml_node msg = firstElement(cim);
    if (!msg || !is(msg, "MESSAGE"))
        fail("CIM without MESSAGE");
    const char* id = requireAttr(msg, "ID");
    if (messageId.size() && toString(id) != messageId)
        fail(std::string("response MESSAGE ID ") + id + " does not match the request");
    pugi::xml_node rsp = firstElement(msg);
    if (!rsp || !is(rsp, "SIMPLERSP"))
        fail("MESSAGE without SIMPLERSP");
    pugi::xml_node r = firstElement(rsp);
    if (!r || !is(r, element))
        fail(std::string("SIMPLERSP without ") + element);
    const char* n = requireAttr(r, "NAME");
    if (!String::equalNoCase(toString(n), methodName))
        fail(std::string(element) + " NAME " + n + " does not match the request");
    return r;
}

void decodeError(const pugi::xml_node& e, Boolean& isError, Uint32& code,
    String& description, Array<CIMInstance>& instances)
{
    isError = true;
    Uint64 u;
    if (!parseUnsigned(trim(requireAttr(e, "CODE")), 0xFFFFFFFFu, u))
        fail("ERROR: bad CODE");
    code = Uint32(u);
    if (const char* d = attr(e, "DESCRIPTION"))
        description = toString(d);
    for (pugi::xml_node c = firstElement(e); c; c = nextElement(c))
        instances.append(instance(c));
}

} // namespace

// The content of an IRETURNVALUE.
static void decodeIReturnValue(const pugi::xml_node& c, CimXmlIMethodResponse& out)
{
    for (pugi::xml_node e = firstElement(c); e; e = nextElement(e))
    {
        if (is(e, "CLASSNAME"))
            out.classNames.append(name(e, "NAME"));
        else if (is(e, "INSTANCENAME") || is(e, "OBJECTPATH") ||
            is(e, "INSTANCEPATH") || is(e, "CLASSPATH") ||
            is(e, "LOCALINSTANCEPATH") || is(e, "LOCALCLASSPATH"))
            out.paths.append(anyPath(e));
        else if (is(e, "CLASS"))
            out.classes.append(cimClass(e));
        else if (is(e, "INSTANCE"))
            out.instances.append(instance(e));
        else if (is(e, "VALUE.NAMEDINSTANCE"))
            out.instances.append(valueNamedInstance(e));
        else if (is(e, "VALUE.INSTANCEWITHPATH"))
        {
            pugi::xml_node p = firstElement(e);
            pugi::xml_node i = p ? nextElement(p) : pugi::xml_node();
            if (!p || !is(p, "INSTANCEPATH") || !i || !is(i, "INSTANCE") || nextElement(i))
                fail("VALUE.INSTANCEWITHPATH needs INSTANCEPATH and INSTANCE");
            CIMInstance inst = instance(i);
            inst.setPath(instancePath(p));
            out.instances.append(inst);
        }
        else if (is(e, "VALUE.OBJECTWITHPATH") || is(e, "VALUE.OBJECTWITHLOCALPATH"))
            out.objects.append(valueObjectWithPath(e));
        else if (is(e, "VALUE.OBJECT"))
        {
            pugi::xml_node o = firstElement(e);
            if (!o)
                fail("empty VALUE.OBJECT");
            out.objects.append(object(o));
        }
        else if (is(e, "QUALIFIER.DECLARATION"))
            out.qualifierDecls.append(qualifierDecl(e));
        else if (isValueElement(e))
        {
            if (out.hasValue)
                fail("IRETURNVALUE with more than one value");
            out.hasValue = true;
            out.value = untypedValue(e);
        }
        else
            fail(std::string("IRETURNVALUE: unexpected ") + e.name());
    }
}

CimXmlIMethodResponse XmlReader::decodeIMethodResponse(const std::string& body,
    const String& methodName, const String& messageId)
{
    pugi::xml_document doc;
    XmlNode::parse(doc, body.data(), body.size());
    pugi::xml_node r = responseElement(doc, "IMETHODRESPONSE", methodName, messageId);
    CimXmlIMethodResponse out;
    pugi::xml_node c = firstElement(r);
    if (!c)
        return out;
    if (is(c, "ERROR"))
    {
        decodeError(c, out.isError, out.errorCode, out.errorDescription,
            out.errorInstances);
        return out;
    }
    if (is(c, "IRETURNVALUE"))
    {
        out.hasReturnValue = true;
        decodeIReturnValue(c, out);
        c = nextElement(c);
    }
    for (; c; c = nextElement(c))
    {
        if (!is(c, "PARAMVALUE"))
            fail(std::string("IMETHODRESPONSE: unexpected ") + c.name());
        out.outParameters.append(paramValue(c));
    }
    return out;
}

CimXmlMethodResponse XmlReader::decodeMethodResponse(const std::string& body,
    const String& methodName, const String& messageId)
{
    pugi::xml_document doc;
    XmlNode::parse(doc, body.data(), body.size());
    pugi::xml_node r = responseElement(doc, "METHODRESPONSE", methodName, messageId);
    CimXmlMethodResponse out;
    for (pugi::xml_node c = firstElement(r); c; c = nextElement(c))
    {
        if (is(c, "ERROR"))
        {
            decodeError(c, out.isError, out.errorCode, out.errorDescription,
                out.errorInstances);
            return out;
        }
        if (is(c, "RETURNVALUE"))
        {
            const char* ptype = attr(c, "PARAMTYPE");
            int embedded = embeddedAttr(c);
            CIMType type = CIMTYPE_STRING;
            if (ptype && !typeByName(ptype, type))
                fail(std::string("RETURNVALUE: unknown PARAMTYPE \"") + ptype + "\"");
            if (embedded)
                type = embedded == 1 ? CIMTYPE_OBJECT : CIMTYPE_INSTANCE;
            out.hasReturnValue = true;
            pugi::xml_node v = firstElement(c);
            if (!v)
                out.returnValue = CIMValue(type, false);
            else if (is(v, "VALUE.REFERENCE"))
                out.returnValue = CIMValue(valueReference(v));
            else
                out.returnValue = value(v, type);
        }
        else if (is(c, "PARAMVALUE"))
            out.outParameters.append(paramValue(c));
        else
            fail(std::string("METHODRESPONSE: unexpected ") + c.name());
    }
    return out;
}

Boolean XmlReader::percentDecode(const std::string& in, std::string& out)
{
    out.clear();
    for (size_t i = 0; i < in.size(); i++)
    {
        char c = in[i];
        if (c != '%')
        {
            out.push_back(c);
            continue;
        }
        if (i + 2 >= in.size())
            return false;
        int v = 0;
        for (int k = 1; k <= 2; k++)
        {
            char h = in[i + k];
            v <<= 4;
            if (h >= '0' && h <= '9') v |= h - '0';
            else if (h >= 'a' && h <= 'f') v |= h - 'a' + 10;
            else if (h >= 'A' && h <= 'F') v |= h - 'A' + 10;
            else return false;
        }
        out.push_back((char)v);
        i += 2;
    }
    return true;
}

Boolean XmlReader::isValidUtf8(const char* data, size_t size)
{
    const unsigned char* p = (const unsigned char*)data;
    size_t i = 0;
    while (i < size)
    {
        // Eight ASCII bytes at a time: most texts are ASCII throughout.
        if (size - i >= 8)
        {
            Uint64 word;
            memcpy(&word, p + i, 8);
            if ((word & 0x8080808080808080ULL) == 0)
            {
                i += 8;
                continue;
            }
        }
        unsigned char c = p[i];
        if (c < 0x80)
        {
            i++;
            continue;
        }
        size_t n;
        Uint32 cp;
        if (c >= 0xC2 && c <= 0xDF) { n = 1; cp = c & 0x1F; }
        else if (c >= 0xE0 && c <= 0xEF) { n = 2; cp = c & 0x0F; }
        else if (c >= 0xF0 && c <= 0xF4) { n = 3; cp = c & 0x07; }
        else return false;
        if (i + n >= size)
            return false;
        for (size_t k = 1; k <= n; k++)
        {
            if ((p[i + k] & 0xC0) != 0x80)
                return false;
            cp = (cp << 6) | (p[i + k] & 0x3F);
        }
        if ((n == 2 && cp < 0x800) || (n == 3 && (cp < 0x10000 || cp > 0x10FFFF)) ||
            (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += n + 1;
    }
    return true;
}

PEGASUS_NAMESPACE_END
