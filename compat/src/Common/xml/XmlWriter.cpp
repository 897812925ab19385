// Encoder of the CIM object model into CIM-XML.
#include <CimXml/XmlWriter.h>

#include <charconv>
#include <cstdio>
#include <cstring>

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMScope.h>
#include <Pegasus/Common/Exception.h>
#include "../NumberText.h"

PEGASUS_NAMESPACE_BEGIN

namespace
{

// Decimal text of an integer or (shortest) real.
template <class T>
void appendInteger(std::string& out, T x)
{
    NumberText::append(out, x);
}

const char* typeName(CIMType type)
{
    if (type == CIMTYPE_INSTANCE || type == CIMTYPE_OBJECT)
        return "string";
    return cimTypeToString(type);
}

const char* embeddedKind(CIMType type)
{
    if (type == CIMTYPE_INSTANCE)
        return "instance";
    if (type == CIMTYPE_OBJECT)
        return "object";
    return 0;
}

const char* valueTypeOf(CIMKeyBinding::Type type)
{
    switch (type)
    {
        case CIMKeyBinding::BOOLEAN: return "boolean";
        case CIMKeyBinding::NUMERIC: return "numeric";
        default: return "string";
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

} // namespace

XmlWriter::XmlWriter(std::string& out, Uint32 flags) : _out(out), _flags(flags), _skipQualifiers(false)
{
}

std::string XmlWriter::toUtf8(const String& s)
{
    if (s.size() == 0)
        return std::string();
    CString c = s.getCString();
    return std::string((const char*)c);
}

// mode 0: element text; 1: element text carrying embedded XML (quotes
// escaped too); 2: attribute value.
static inline bool plainChar(unsigned char c)
{
    return c >= 0x20 && c != '&' && c != '<' && c != '>' && c != '"';
}

static void escapeTo(std::string& out, const char* p, size_t n, int mode)
{
    for (size_t i = 0; i < n; i++)
    {
        // Runs of characters that need no escaping go out in one piece.
        size_t run = i;
        while (run < n && plainChar((unsigned char)p[run]))
            run++;
        if (run > i)
        {
            out.append(p + i, run - i);
            i = run;
            if (i == n)
                break;
        }
        unsigned char c = (unsigned char)p[i];
        switch (c)
        {
            case '&': out.append("&amp;"); break;
            case '<': out.append("&lt;"); break;
            case '>': out.append("&gt;"); break;
            case '"':
                if (mode)
                    out.append("&quot;");
                else
                    out.push_back('"');
                break;
            case '\r': out.append("&#13;"); break;
            case '\n':
                if (mode == 2)
                    out.append("&#10;");
                else
                    out.push_back('\n');
                break;
            case '\t':
                if (mode == 2)
                    out.append("&#9;");
                else
                    out.push_back('\t');
                break;
            default:
                if (c < 0x20)
                {
                    out.append("&#");
                    appendInteger(out, (unsigned)c);
                    out.push_back(';');
                }
                else
                    out.push_back((char)c);
        }
    }
}

void XmlWriter::appendEscaped(std::string& out, const char* p, size_t n,
    bool attribute)
{
    escapeTo(out, p, n, attribute ? 2 : 0);
}

// Escapes UTF-16 text straight into UTF-8 output (no intermediate copy).
// ASCII goes through escapeTo's rules; a lone surrogate becomes U+FFFD.
static void escapeUtf16To(std::string& out, const String& s, int mode)
{
    const Char16* p = s.getChar16Data();
    Uint32 n = s.size();
    for (Uint32 i = 0; i < n; i++)
    {
        // Runs of plain ASCII are narrowed in place, in one piece.
        Uint32 run = i;
        while (run < n && Uint16(p[run]) < 0x80 && plainChar((unsigned char)Uint16(p[run])))
            run++;
        if (run > i)
        {
            size_t at = out.size();
            out.resize(at + (run - i));
            char* d = &out[at];
            for (Uint32 k = i; k < run; k++)
                *d++ = char(Uint16(p[k]));
            i = run;
            if (i == n)
                break;
        }
        Uint32 c = Uint16(p[i]);
        if (c < 0x80)
        {
            char ch = char(c);
            if (c >= 0x20 && ch != '&' && ch != '<' && ch != '>' && ch != '"')
                out.push_back(ch);
            else
                escapeTo(out, &ch, 1, mode);
            continue;
        }
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < n && Uint16(p[i + 1]) >= 0xDC00 &&
            Uint16(p[i + 1]) <= 0xDFFF)
        {
            c = 0x10000 + ((c - 0xD800) << 10) + (Uint16(p[i + 1]) - 0xDC00);
            i++;
        }
        else if (c >= 0xD800 && c <= 0xDFFF)
            c = 0xFFFD;
        if (c < 0x800)
        {
            out.push_back(char(0xC0 | (c >> 6)));
            out.push_back(char(0x80 | (c & 0x3F)));
        }
        else if (c < 0x10000)
        {
            out.push_back(char(0xE0 | (c >> 12)));
            out.push_back(char(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(char(0x80 | (c & 0x3F)));
        }
        else
        {
            out.push_back(char(0xF0 | (c >> 18)));
            out.push_back(char(0x80 | ((c >> 12) & 0x3F)));
            out.push_back(char(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(char(0x80 | (c & 0x3F)));
        }
    }
}

void XmlWriter::appendEscaped(std::string& out, const String& s, bool attribute)
{
    escapeUtf16To(out, s, attribute ? 2 : 0);
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

void XmlWriter::_appendAttr(const char* name, const String& value)
{
    _out.push_back(' ');
    _out.append(name);
    _out.append("=\"");
    appendEscaped(_out, value, true);
    _out.push_back('"');
}

void XmlWriter::_appendAttr(const char* name, const char* value)
{
    _out.push_back(' ');
    _out.append(name);
    _out.append("=\"");
    appendEscaped(_out, value, strlen(value), true);
    _out.push_back('"');
}

// The escaped element text of one scalar, written straight into out.
static void appendElementText(std::string& out, Boolean x)
{
    out.append(x ? "TRUE" : "FALSE");
}
static void appendElementText(std::string& out, Uint8 x) { appendInteger(out, unsigned(x)); }
static void appendElementText(std::string& out, Sint8 x) { appendInteger(out, int(x)); }
static void appendElementText(std::string& out, Uint16 x) { appendInteger(out, x); }
static void appendElementText(std::string& out, Sint16 x) { appendInteger(out, x); }
static void appendElementText(std::string& out, Uint32 x) { appendInteger(out, x); }
static void appendElementText(std::string& out, Sint32 x) { appendInteger(out, x); }
static void appendElementText(std::string& out, Uint64 x) { appendInteger(out, x); }
static void appendElementText(std::string& out, Sint64 x) { appendInteger(out, x); }
static void appendElementText(std::string& out, Real32 x) { appendInteger(out, x); }
static void appendElementText(std::string& out, Real64 x) { appendInteger(out, x); }
static void appendElementText(std::string& out, const Char16& x)
{
    escapeUtf16To(out, String(&x, 1), 0);
}
static void appendElementText(std::string& out, const String& x)
{
    escapeUtf16To(out, x, 0);
}
static void appendElementText(std::string& out, const CIMDateTime& x)
{
    escapeUtf16To(out, x.toString(), 0);
}

template <class T>
static void appendScalarText(std::string& out, const CIMValue& v)
{
    T x;
    v.get(x);
    appendElementText(out, x);
}

// Writes one <VALUE> element per element of an array value.
template <class T>
static void appendArrayElements(XmlWriter& w, const CIMValue& v)
{
    Array<T> a;
    v.get(a);
    std::string& out = w.out();
    for (Uint32 i = 0; i < a.size(); i++)
    {
        out.append("<VALUE>");
        appendElementText(out, a[i]);
        out.append("</VALUE>");
    }
}

void XmlWriter::appendValue(const CIMValue& v)
{
    if (v.isNull())
        return;
    CIMType type = v.getType();
    bool embedded = type == CIMTYPE_OBJECT || type == CIMTYPE_INSTANCE;
    if (type == CIMTYPE_REFERENCE)
    {
        if (v.isArray())
        {
            Array<CIMObjectPath> a;
            v.get(a);
            _out.append("<VALUE.REFARRAY>\n");
            for (Uint32 i = 0; i < a.size(); i++)
                appendValueReference(a[i]);
            _out.append("</VALUE.REFARRAY>\n");
        }
        else
        {
            CIMObjectPath p;
            v.get(p);
            appendValueReference(p);
        }
        return;
    }
    if (!v.isArray() && type == CIMTYPE_STRING)
    {
        String x;
        v.get(x);
        _out.append("<VALUE>");
        escapeUtf16To(_out, x, 0);
        _out.append("</VALUE>");
        return;
    }
    if (!v.isArray() && embedded)
    {
        std::string text = scalarText(v);
        _out.append("<VALUE>");
        escapeTo(_out, text.data(), text.size(), 1);
        _out.append("</VALUE>");
        return;
    }
    if (!v.isArray())
    {
        _out.append("<VALUE>");
        switch (type)
        {
            case CIMTYPE_BOOLEAN: appendScalarText<Boolean>(_out, v); break;
            case CIMTYPE_UINT8: appendScalarText<Uint8>(_out, v); break;
            case CIMTYPE_SINT8: appendScalarText<Sint8>(_out, v); break;
            case CIMTYPE_UINT16: appendScalarText<Uint16>(_out, v); break;
            case CIMTYPE_SINT16: appendScalarText<Sint16>(_out, v); break;
            case CIMTYPE_UINT32: appendScalarText<Uint32>(_out, v); break;
            case CIMTYPE_SINT32: appendScalarText<Sint32>(_out, v); break;
            case CIMTYPE_UINT64: appendScalarText<Uint64>(_out, v); break;
            case CIMTYPE_SINT64: appendScalarText<Sint64>(_out, v); break;
            case CIMTYPE_REAL32: appendScalarText<Real32>(_out, v); break;
            case CIMTYPE_REAL64: appendScalarText<Real64>(_out, v); break;
            case CIMTYPE_CHAR16: appendScalarText<Char16>(_out, v); break;
            case CIMTYPE_DATETIME: appendScalarText<CIMDateTime>(_out, v); break;
            default: break;
        }
        _out.append("</VALUE>");
        return;
    }
    _out.append("<VALUE.ARRAY>");
    switch (type)
    {
        case CIMTYPE_BOOLEAN: appendArrayElements<Boolean>(*this, v); break;
        case CIMTYPE_UINT8: appendArrayElements<Uint8>(*this, v); break;
        case CIMTYPE_SINT8: appendArrayElements<Sint8>(*this, v); break;
        case CIMTYPE_UINT16: appendArrayElements<Uint16>(*this, v); break;
        case CIMTYPE_SINT16: appendArrayElements<Sint16>(*this, v); break;
        case CIMTYPE_UINT32: appendArrayElements<Uint32>(*this, v); break;
        case CIMTYPE_SINT32: appendArrayElements<Sint32>(*this, v); break;
        case CIMTYPE_UINT64: appendArrayElements<Uint64>(*this, v); break;
        case CIMTYPE_SINT64: appendArrayElements<Sint64>(*this, v); break;
        case CIMTYPE_REAL32: appendArrayElements<Real32>(*this, v); break;
        case CIMTYPE_REAL64: appendArrayElements<Real64>(*this, v); break;
        case CIMTYPE_CHAR16: appendArrayElements<Char16>(*this, v); break;
        case CIMTYPE_STRING: appendArrayElements<String>(*this, v); break;
        case CIMTYPE_DATETIME: appendArrayElements<CIMDateTime>(*this, v); break;
        case CIMTYPE_OBJECT:
        {
            Array<CIMObject> a;
            v.get(a);
            for (Uint32 i = 0; i < a.size(); i++)
            {
                std::string text = embeddedObjectText(a[i]);
                _out.append("<VALUE>");
                escapeTo(_out, text.data(), text.size(), 1);
                _out.append("</VALUE>");
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
                _out.append("<VALUE>");
                escapeTo(_out, text.data(), text.size(), 1);
                _out.append("</VALUE>");
            }
            break;
        }
        case CIMTYPE_REFERENCE:
            break;
    }
    _out.append("</VALUE.ARRAY>");
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
            _out.push_back('\n');
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
    _out.append("<VALUE.REFERENCE>\n");
    _appendReferenceContent(reference);
    _out.append("</VALUE.REFERENCE>\n");
}

void XmlWriter::appendClassName(const CIMName& className)
{
    _out.append("<CLASSNAME");
    _appendAttr("NAME", className.getString());
    _out.append("/>");
}

void XmlWriter::appendLocalNamespacePath(const CIMNamespaceName& nameSpace)
{
    _out.append("<LOCALNAMESPACEPATH>");
    std::string ns = toUtf8(nameSpace.getString());
    size_t start = 0;
    while (start <= ns.size())
    {
        size_t slash = ns.find('/', start);
        if (slash == std::string::npos)
            slash = ns.size();
        if (slash > start)
        {
            _out.append("<NAMESPACE NAME=\"");
            appendEscaped(_out, ns.data() + start, slash - start, true);
            _out.append("\"/>");
        }
        start = slash + 1;
    }
    _out.append("</LOCALNAMESPACEPATH>\n");
}

void XmlWriter::appendNamespacePath(const String& host,
    const CIMNamespaceName& nameSpace)
{
    _out.append("<NAMESPACEPATH>\n<HOST>");
    appendEscaped(_out, host, false);
    _out.append("</HOST>\n");
    appendLocalNamespacePath(nameSpace);
    _out.append("</NAMESPACEPATH>\n");
}

void XmlWriter::appendLocalClassPath(const CIMObjectPath& path)
{
    _out.append("<LOCALCLASSPATH>\n");
    appendLocalNamespacePath(path.getNameSpace());
    appendClassName(path.getClassName());
    _out.append("\n</LOCALCLASSPATH>\n");
}

void XmlWriter::appendClassPath(const CIMObjectPath& path)
{
    _out.append("<CLASSPATH>\n");
    appendNamespacePath(path.getHost(), path.getNameSpace());
    appendClassName(path.getClassName());
    _out.append("\n</CLASSPATH>\n");
}

void XmlWriter::appendKeyBinding(const CIMKeyBinding& kb)
{
    _out.append("<KEYBINDING");
    _appendAttr("NAME", kb.getName().getString());
    _out.push_back('>');
    if (kb.getType() == CIMKeyBinding::REFERENCE)
    {
        _out.push_back('\n');
        appendValueReference(CIMObjectPath(kb.getValue()));
    }
    else
    {
        _out.append("<KEYVALUE");
        _appendAttr("VALUETYPE", valueTypeOf(kb.getType()));
        _out.push_back('>');
        appendEscaped(_out, kb.getValue(), false);
        _out.append("</KEYVALUE>");
    }
    _out.append("</KEYBINDING>\n");
}

void XmlWriter::appendInstanceName(const CIMObjectPath& path)
{
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    _out.append("<INSTANCENAME");
    _appendAttr("CLASSNAME", path.getClassName().getString());
    if (keys.size() == 0)
    {
        _out.append("/>\n");
        return;
    }
    _out.append(">\n");
    for (Uint32 i = 0; i < keys.size(); i++)
        appendKeyBinding(keys[i]);
    _out.append("</INSTANCENAME>\n");
}

void XmlWriter::appendLocalInstancePath(const CIMObjectPath& path)
{
    _out.append("<LOCALINSTANCEPATH>\n");
    appendLocalNamespacePath(path.getNameSpace());
    appendInstanceName(path);
    _out.append("</LOCALINSTANCEPATH>\n");
}

void XmlWriter::appendInstancePath(const CIMObjectPath& path)
{
    _out.append("<INSTANCEPATH>\n");
    appendNamespacePath(path.getHost(), path.getNameSpace());
    appendInstanceName(path);
    _out.append("</INSTANCEPATH>\n");
}

void XmlWriter::appendObjectPath(const CIMObjectPath& path, bool asClass)
{
    _out.append("<OBJECTPATH>\n");
    if (asClass)
        appendClassPath(path);
    else
        appendInstancePath(path);
    _out.append("</OBJECTPATH>\n");
}

void XmlWriter::_appendFlavor(const CIMFlavor& flavor)
{
    if (!flavor.hasFlavor(CIMFlavor::OVERRIDABLE))
        _appendAttr("OVERRIDABLE", "false");
    if (!flavor.hasFlavor(CIMFlavor::TOSUBCLASS))
        _appendAttr("TOSUBCLASS", "false");
    if (flavor.hasFlavor(CIMFlavor::TRANSLATABLE))
        _appendAttr("TRANSLATABLE", "true");
}

void XmlWriter::appendQualifier(const CIMConstQualifier& q)
{
    _out.append("<QUALIFIER");
    _appendAttr("NAME", q.getName().getString());
    _appendAttr("TYPE", typeName(q.getType()));
    if (q.getPropagated())
        _appendAttr("PROPAGATED", "true");
    _appendFlavor(q.getFlavor());
    _out.push_back('>');
    appendValue(q.getValue());
    _out.append("</QUALIFIER>\n");
}

void XmlWriter::appendQualifierDecl(const CIMConstQualifierDecl& d)
{
    _out.append("<QUALIFIER.DECLARATION");
    _appendAttr("NAME", d.getName().getString());
    _appendAttr("TYPE", typeName(d.getType()));
    _appendAttr("ISARRAY", d.isArray() ? "true" : "false");
    if (d.getArraySize())
    {
        std::string n;
        appendInteger(n, d.getArraySize());
        _appendAttr("ARRAYSIZE", n.c_str());
    }
    _appendFlavor(d.getFlavor());
    _out.append(">\n");
    const CIMScope& scope = d.getScope();
    static const struct { const char* name; const CIMScope* scope; } scopes[] = {
        { "CLASS", &CIMScope::CLASS },
        { "ASSOCIATION", &CIMScope::ASSOCIATION },
        { "REFERENCE", &CIMScope::REFERENCE },
        { "PROPERTY", &CIMScope::PROPERTY },
        { "METHOD", &CIMScope::METHOD },
        { "PARAMETER", &CIMScope::PARAMETER },
        { "INDICATION", &CIMScope::INDICATION },
    };
    _out.append("<SCOPE");
    for (const auto& s : scopes)
        if (scope.hasScope(*s.scope))
            _appendAttr(s.name, "true");
    _out.append("></SCOPE>\n");
    if (!d.getValue().isNull())
    {
        appendValue(d.getValue());
        _out.push_back('\n');
    }
    _out.append("</QUALIFIER.DECLARATION>\n");
}

void XmlWriter::appendProperty(const CIMConstProperty& p)
{
    const CIMValue& v = p.getValue();
    CIMType type = p.getType();
    const char* element;
    if (type == CIMTYPE_REFERENCE)
        element = "PROPERTY.REFERENCE";
    else if (p.isArray())
        element = "PROPERTY.ARRAY";
    else
        element = "PROPERTY";
    _out.push_back('<');
    _out.append(element);
    _appendAttr("NAME", p.getName().getString());
    if (type == CIMTYPE_REFERENCE)
    {
        if (!p.getReferenceClassName().isNull())
            _appendAttr("REFERENCECLASS", p.getReferenceClassName().getString());
    }
    else
    {
        _appendAttr("TYPE", typeName(type));
        const char* kind = embeddedKind(type);
        if (kind && (!p.isArray() || (_flags & EXTENDED)))
            _appendAttr("EmbeddedObject", kind);
        if (p.isArray() && p.getArraySize())
        {
            std::string n;
            appendInteger(n, p.getArraySize());
            _appendAttr("ARRAYSIZE", n.c_str());
        }
    }
    if (!p.getClassOrigin().isNull())
        _appendAttr("CLASSORIGIN", p.getClassOrigin().getString());
    if (p.getPropagated())
        _appendAttr("PROPAGATED", "true");
    _out.push_back('>');
    Uint32 nq = _skipQualifiers ? 0 : p.getQualifierCount();
    if (nq || (type == CIMTYPE_REFERENCE && !v.isNull()))
        _out.push_back('\n');
    for (Uint32 i = 0; i < nq; i++)
        appendQualifier(p.getQualifier(i));
    appendValue(v);
    _out.append("</");
    _out.append(element);
    _out.append(">\n");
}

void XmlWriter::appendParameter(const CIMConstParameter& p)
{
    CIMType type = p.getType();
    const char* element;
    if (type == CIMTYPE_REFERENCE)
        element = p.isArray() ? "PARAMETER.REFARRAY" : "PARAMETER.REFERENCE";
    else
        element = p.isArray() ? "PARAMETER.ARRAY" : "PARAMETER";
    _out.push_back('<');
    _out.append(element);
    _appendAttr("NAME", p.getName().getString());
    if (type == CIMTYPE_REFERENCE)
    {
        if (!p.getReferenceClassName().isNull())
            _appendAttr("REFERENCECLASS", p.getReferenceClassName().getString());
    }
    else
        _appendAttr("TYPE", typeName(type));
    if (p.isArray() && p.getArraySize())
    {
        std::string n;
        appendInteger(n, p.getArraySize());
        _appendAttr("ARRAYSIZE", n.c_str());
    }
    _out.push_back('>');
    Uint32 nq = p.getQualifierCount();
    if (nq)
        _out.push_back('\n');
    for (Uint32 i = 0; i < nq; i++)
        appendQualifier(p.getQualifier(i));
    _out.append("</");
    _out.append(element);
    _out.append(">\n");
}

void XmlWriter::appendMethod(const CIMConstMethod& m)
{
    _out.append("<METHOD");
    _appendAttr("NAME", m.getName().getString());
    _appendAttr("TYPE", typeName(m.getType()));
    if (!m.getClassOrigin().isNull())
        _appendAttr("CLASSORIGIN", m.getClassOrigin().getString());
    if (m.getPropagated())
        _appendAttr("PROPAGATED", "true");
    _out.append(">\n");
    for (Uint32 i = 0; i < m.getQualifierCount(); i++)
        appendQualifier(m.getQualifier(i));
    for (Uint32 i = 0; i < m.getParameterCount(); i++)
        appendParameter(m.getParameter(i));
    _out.append("</METHOD>\n");
}

void XmlWriter::appendClass(const CIMConstClass& c)
{
    _out.append("<CLASS");
    _appendAttr("NAME", c.getClassName().getString());
    if (!c.getSuperClassName().isNull())
        _appendAttr("SUPERCLASS", c.getSuperClassName().getString());
    _out.append(">\n");
    for (Uint32 i = 0; i < c.getQualifierCount(); i++)
        appendQualifier(c.getQualifier(i));
    for (Uint32 i = 0; i < c.getPropertyCount(); i++)
        appendProperty(c.getProperty(i));
    for (Uint32 i = 0; i < c.getMethodCount(); i++)
        appendMethod(c.getMethod(i));
    _out.append("</CLASS>\n");
}

void XmlWriter::appendInstance(const CIMConstInstance& inst)
{
    _out.append("<INSTANCE");
    _appendAttr("CLASSNAME", inst.getClassName().getString());
    _out.append(">\n");
    bool saved = _skipQualifiers;
    _skipQualifiers = (_flags & NO_INSTANCE_QUALIFIERS) != 0;
    if (!_skipQualifiers)
    {
        for (Uint32 i = 0; i < inst.getQualifierCount(); i++)
            appendQualifier(inst.getQualifier(i));
    }
    for (Uint32 i = 0; i < inst.getPropertyCount(); i++)
        appendProperty(inst.getProperty(i));
    _skipQualifiers = saved;
    _out.append("</INSTANCE>\n");
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
    _out.append("<VALUE.NAMEDINSTANCE>\n");
    appendInstanceName(inst.getPath());
    appendInstance(inst);
    _out.append("</VALUE.NAMEDINSTANCE>\n");
}

void XmlWriter::appendValueObjectWithPath(const CIMConstObject& object)
{
    _out.append("<VALUE.OBJECTWITHPATH>\n");
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
    _out.append("</VALUE.OBJECTWITHPATH>\n");
}

void XmlWriter::appendValueObjectWithLocalPath(const CIMConstObject& object)
{
    _out.append("<VALUE.OBJECTWITHLOCALPATH>\n");
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
    _out.append("</VALUE.OBJECTWITHLOCALPATH>\n");
}

void XmlWriter::appendParamValue(const CIMParamValue& pv)
{
    CIMValue v = pv.getValue();
    CIMType type = v.getType();
    _out.append("<PARAMVALUE");
    _appendAttr("NAME", pv.getParameterName());
    if (pv.isTyped())
        _appendAttr("PARAMTYPE",
            type == CIMTYPE_REFERENCE ? "reference" : typeName(type));
    if (const char* kind = embeddedKind(type))
        _appendAttr("EmbeddedObject", kind);
    _out.push_back('>');
    if (type == CIMTYPE_REFERENCE && !v.isNull())
        _out.push_back('\n');
    appendValue(v);
    _out.append("</PARAMVALUE>\n");
}

void XmlWriter::appendReturnValue(const CIMValue& v)
{
    CIMType type = v.getType();
    _out.append("<RETURNVALUE");
    _appendAttr("PARAMTYPE",
        type == CIMTYPE_REFERENCE ? "reference" : typeName(type));
    const char* kind = embeddedKind(type);
    if (kind && (_flags & EXTENDED))
        _appendAttr("EmbeddedObject", kind);
    _out.push_back('>');
    if (type == CIMTYPE_REFERENCE && !v.isNull())
        _out.push_back('\n');
    appendValue(v);
    _out.append("</RETURNVALUE>\n");
}

void XmlWriter::appendError(Uint32 code, const String& description)
{
    _out.append("<ERROR");
    std::string n;
    appendInteger(n, code);
    _appendAttr("CODE", n.c_str());
    _appendAttr("DESCRIPTION", description);
    _out.append("/>\n");
}

void XmlWriter::appendError(const CIMException& e)
{
    Uint32 code = Uint32(e.getCode());
    String description = descriptionOf(code, e.getMessage());
    if (!(_flags & EXTENDED) || e.getErrorCount() == 0)
    {
        appendError(code, description);
        return;
    }
    _out.append("<ERROR");
    std::string n;
    appendInteger(n, code);
    _appendAttr("CODE", n.c_str());
    _appendAttr("DESCRIPTION", description);
    _out.append(">\n");
    for (Uint32 i = 0; i < e.getErrorCount(); i++)
        appendInstance(e.getError(i));
    _out.append("</ERROR>\n");
}

const char* XmlWriter::xmlDeclaration()
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n";
}

void XmlWriter::appendMessageStart(const String& messageId)
{
    _out.append(xmlDeclaration());
    _out.append("<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<MESSAGE");
    _appendAttr("ID", messageId);
    _appendAttr("PROTOCOLVERSION", "1.0");
    _out.append(">\n");
}

void XmlWriter::appendRequestStart(const String& messageId)
{
    appendMessageStart(messageId);
    _out.append("<SIMPLEREQ>\n");
}

void XmlWriter::appendRequestEnd()
{
    _out.append("</SIMPLEREQ>\n</MESSAGE>\n</CIM>\n");
}

void XmlWriter::appendResponseStart(const String& messageId)
{
    appendMessageStart(messageId);
    _out.append("<SIMPLERSP>\n");
}

void XmlWriter::appendResponseEnd()
{
    _out.append("</SIMPLERSP>\n</MESSAGE>\n</CIM>\n");
}

void XmlWriter::appendStartTag(const char* name)
{
    _out.push_back('<');
    _out.append(name);
    _out.append(">\n");
}

void XmlWriter::appendStartTag(const char* name, const char* attr,
    const String& value)
{
    _out.push_back('<');
    _out.append(name);
    _appendAttr(attr, value);
    _out.append(">\n");
}

void XmlWriter::appendEndTag(const char* name)
{
    _out.append("</");
    _out.append(name);
    _out.append(">\n");
}

void XmlWriter::appendIParamStart(const char* name)
{
    _out.append("<IPARAMVALUE");
    _appendAttr("NAME", name);
    _out.push_back('>');
}

void XmlWriter::appendIParamEnd()
{
    _out.append("</IPARAMVALUE>\n");
}

void XmlWriter::appendBooleanIParam(const char* name, Boolean value)
{
    appendIParamStart(name);
    _out.append(value ? "<VALUE>TRUE</VALUE>" : "<VALUE>FALSE</VALUE>");
    appendIParamEnd();
}

void XmlWriter::appendClassNameIParam(const char* name, const CIMName& className)
{
    appendIParamStart(name);
    appendClassName(className);
    appendIParamEnd();
}

void XmlWriter::appendStringIParam(const char* name, const String& value)
{
    appendIParamStart(name);
    _out.append("<VALUE>");
    appendEscaped(_out, value, false);
    _out.append("</VALUE>");
    appendIParamEnd();
}

void XmlWriter::appendPropertyListIParam(const Array<CIMName>& names)
{
    appendIParamStart("PropertyList");
    _out.append("<VALUE.ARRAY>");
    for (Uint32 i = 0; i < names.size(); i++)
    {
        _out.append("<VALUE>");
        appendEscaped(_out, names[i].getString(), false);
        _out.append("</VALUE>");
    }
    _out.append("</VALUE.ARRAY>");
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
