// The server side of CIM-XML over HTTP, without the transport.
#include <CimXml/CimXmlRequestProcessor.h>

#include <cstring>
#include <exception>
#include <utility>
#include <vector>
#include <strings.h>

#include <CimXml/XmlWriter.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/Exception.h>
#include "XmlNodeReader.h"

PEGASUS_NAMESPACE_BEGIN

using namespace XmlNode;

namespace
{

// Prefix of the M-POST extension headers we send back.
const char* const RESPONSE_NS = "41";

// Bytes reserved for the text of an answer as it starts.
const size_t ANSWER_RESERVE = 8 * 1024;

std::string lower(std::string s)
{
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    return s;
}

std::string trimmed(const std::string& s)
{
    size_t b = s.find_first_not_of(" \t");
    if (b == std::string::npos)
        return std::string();
    size_t e = s.find_last_not_of(" \t");
    return s.substr(b, e - b + 1);
}

// Header lookup: "X" matches X or NN-X (two digits), case-insensitively.
// Repeated headers are joined with ", ".
bool findHeader(const CimXmlHeaders& headers, const char* name, std::string& value)
{
    bool found = false;
    size_t n = strlen(name);
    for (const auto& h : headers)
    {
        // The name as a C string: up to a NUL it may hold.
        const std::string& k = h.first;
        bool match = (k.size() >= n && (k.size() == n || k[n] == '\0') &&
                strcasecmp(k.c_str(), name) == 0) ||
            (k.size() == n + 3 && k[0] >= '0' && k[0] <= '9' && k[1] >= '0' &&
             k[1] <= '9' && k[2] == '-' && strcasecmp(k.c_str() + 3, name) == 0);
        if (!match)
            continue;
        if (found)
            value += ", ";
        else
            value.clear();
        const std::string& v = h.second;
        size_t b = v.find_first_not_of(" \t");
        if (b != std::string::npos)
            value.append(v, b, v.find_last_not_of(" \t") - b + 1);
        found = true;
    }
    return found;
}

// The HTTP-level failure of a request; becomes an error status.
struct HttpFailure
{
    Uint32 status;
    std::string cimError;
    std::string detail;
};

[[noreturn]] void httpFail(Uint32 status, const char* cimError, const std::string& detail)
{
    throw HttpFailure{status, cimError, detail};
}

bool contentTypeOk(const std::string& value)
{
    std::string v = lower(value);
    size_t semi = v.find(';');
    std::string media = trimmed(v.substr(0, semi));
    if (media != "application/xml" && media != "text/xml")
        return false;
    while (semi != std::string::npos)
    {
        size_t next = v.find(';', semi + 1);
        std::string param = trimmed(v.substr(semi + 1,
            next == std::string::npos ? std::string::npos : next - semi - 1));
        semi = next;
        if (param.empty())
            continue;
        size_t eq = param.find('=');
        if (eq == std::string::npos)
            return false;
        std::string key = trimmed(param.substr(0, eq));
        std::string val = trimmed(param.substr(eq + 1));
        if (key != "charset")
            continue;
        if (val.size() >= 2 && val.front() == '"' && val.back() == '"')
            val = val.substr(1, val.size() - 2);
        if (val != "utf-8")
            return false;
    }
    return true;
}

// "2.0", "2.3": the major number must be major, digits after the dot.
bool versionOk(const char* v, char major)
{
    if (!v || v[0] != major || v[1] != '.' || !v[2])
        return false;
    for (const char* p = v + 2; *p; p++)
        if (*p < '0' || *p > '9')
            return false;
    return true;
}

String str(const std::string& s)
{
    return toString(s.c_str());
}

std::string utf8(const String& s)
{
    return XmlWriter::toUtf8(s);
}

// --- comparing the CIMObject header with the XML target -------------------

bool pathsMatch(const CIMObjectPath& a, const CIMObjectPath& b);

bool keysMatch(const CIMKeyBinding& a, const CIMKeyBinding& b)
{
    if (!a.getName().equal(b.getName()))
        return false;
    if (a.getType() == CIMKeyBinding::REFERENCE ||
        b.getType() == CIMKeyBinding::REFERENCE)
    {
        try
        {
            return pathsMatch(CIMObjectPath(a.getValue()), CIMObjectPath(b.getValue()));
        }
        catch (const Exception&)
        {
            return a.getValue() == b.getValue();
        }
    }
    if (a.getType() == b.getType())
        return a == b;
    return a.getValue() == b.getValue();
}

// Structural comparison: class and namespace case-insensitive (namespace
// only when both have one), keys as an unordered set, HOST ignored.
bool pathsMatch(const CIMObjectPath& a, const CIMObjectPath& b)
{
    if (!a.getClassName().equal(b.getClassName()))
        return false;
    if (!a.getNameSpace().isNull() && !b.getNameSpace().isNull() &&
        !a.getNameSpace().equal(b.getNameSpace()))
        return false;
    const Array<CIMKeyBinding>& ka = a.getKeyBindings();
    const Array<CIMKeyBinding>& kb = b.getKeyBindings();
    if (ka.size() != kb.size())
        return false;
    for (Uint32 i = 0; i < ka.size(); i++)
    {
        bool found = false;
        for (Uint32 j = 0; j < kb.size() && !found; j++)
            found = keysMatch(ka[i], kb[j]);
        if (!found)
            return false;
    }
    return true;
}

bool namespaceMatches(const std::string& header, const CIMNamespaceName& ns)
{
    std::string h = header;
    while (!h.empty() && h[0] == '/')
        h.erase(0, 1);
    return strcasecmp(h.c_str(), utf8(ns.getString()).c_str()) == 0;
}

bool objectHeaderMatches(const std::string& header, const CIMObjectPath& target)
{
    try
    {
        CIMObjectPath p(str(header));
        if (p.getNameSpace().isNull())
            return false;
        return pathsMatch(p, target);
    }
    catch (const Exception&)
    {
    }
    // Some clients write key values the path parser does not take (for
    // example unquoted reference keys): compare namespace and class.
    size_t colon = header.find(':');
    if (colon == std::string::npos)
        return false;
    size_t dot = header.find('.', colon);
    std::string cls = header.substr(colon + 1,
        dot == std::string::npos ? std::string::npos : dot - colon - 1);
    return namespaceMatches(header.substr(0, colon), target.getNameSpace()) &&
        strcasecmp(cls.c_str(), utf8(target.getClassName().getString()).c_str()) == 0;
}

// --- intrinsic parameters --------------------------------------------------

[[noreturn]] void invalidParameter(const std::string& message)
{
    throw CIMException(CIM_ERR_INVALID_PARAMETER, str(message));
}

class IParams
{
public:
    IParams(const pugi::xml_node& call, const char* const* allowed)
    {
        for (pugi::xml_node p = nextElement(firstElement(call)); p; p = nextElement(p))
        {
            if (!is(p, "IPARAMVALUE"))
                invalidParameter(std::string("unexpected element ") + p.name());
            const char* n = attr(p, "NAME");
            if (!n)
                invalidParameter("IPARAMVALUE without NAME");
            bool known = false;
            for (const char* const* a = allowed; *a && !known; a++)
                known = strcasecmp(n, *a) == 0;
            if (!known)
                invalidParameter(std::string("unknown parameter ") + n);
            if (get(n))
                invalidParameter(std::string("duplicate parameter ") + n);
            _params.emplace_back(n, p);
        }
    }

    // The IPARAMVALUE, or an empty node when absent.
    pugi::xml_node get(const char* name) const
    {
        for (const auto& p : _params)
            if (strcasecmp(p.first, name) == 0)
                return p.second;
        return pugi::xml_node();
    }

    pugi::xml_node require(const char* name) const
    {
        pugi::xml_node p = get(name);
        if (!p)
            invalidParameter(std::string("missing parameter ") + name);
        return p;
    }

    // The single element inside a parameter, or empty for NULL.
    static pugi::xml_node content(const pugi::xml_node& p, const char* name)
    {
        pugi::xml_node c = firstElement(p);
        if (c && nextElement(c))
            invalidParameter(std::string("more than one value for ") + name);
        return c;
    }

    Boolean boolean(const char* name, Boolean dflt) const
    {
        pugi::xml_node p = get(name);
        if (!p)
            return dflt;
        pugi::xml_node v = content(p, name);
        if (!v || !is(v, "VALUE"))
            invalidParameter(std::string(name) + " must be TRUE or FALSE");
        Boolean b = false;
        wrap(name, [&] { scalar(text(v), CIMTYPE_BOOLEAN).get(b); });
        return b;
    }

    // False when absent or NULL.
    bool uint32(const char* name, Uint32& value) const
    {
        pugi::xml_node p = get(name);
        if (!p)
            return false;
        pugi::xml_node v = content(p, name);
        if (!v)
            return false;
        if (!is(v, "VALUE"))
            invalidParameter(std::string(name) + " must be a VALUE");
        wrap(name, [&] { scalar(text(v), CIMTYPE_UINT32).get(value); });
        return true;
    }

    CIMName className(const char* name, bool required) const
    {
        pugi::xml_node p = required ? require(name) : get(name);
        if (!p)
            return CIMName();
        pugi::xml_node v = content(p, name);
        if (!v)
        {
            if (required)
                invalidParameter(std::string("NULL ") + name);
            return CIMName();
        }
        if (!is(v, "CLASSNAME"))
            invalidParameter(std::string(name) + " must be a CLASSNAME");
        CIMName n;
        wrap(name, [&] { n = XmlNode::name(v, "NAME"); });
        return n;
    }

    CIMObjectPath instanceName(const char* name) const
    {
        pugi::xml_node v = content(require(name), name);
        if (!v || !is(v, "INSTANCENAME"))
            invalidParameter(std::string(name) + " must be an INSTANCENAME");
        CIMObjectPath path;
        wrap(name, [&] { path = XmlNode::instanceName(v); });
        return path;
    }

    CIMObjectPath objectName(const char* name, bool& isClass) const
    {
        pugi::xml_node v = content(require(name), name);
        if (!v || !(is(v, "INSTANCENAME") || is(v, "CLASSNAME")))
            invalidParameter(std::string(name) + " must be an INSTANCENAME or CLASSNAME");
        CIMObjectPath path;
        wrap(name, [&] { path = anyPath(v, &isClass); });
        return path;
    }

    String string(const char* name, bool required = false) const
    {
        pugi::xml_node p = required ? require(name) : get(name);
        if (!p)
            return String();
        pugi::xml_node v = content(p, name);
        if (!v)
        {
            if (required)
                invalidParameter(std::string("NULL ") + name);
            return String();
        }
        if (!is(v, "VALUE"))
            invalidParameter(std::string(name) + " must be a VALUE");
        String s;
        wrap(name, [&] { s = toString(text(v).c_str()); });
        return s;
    }

    CIMPropertyList propertyList() const
    {
        pugi::xml_node p = get("PropertyList");
        if (!p)
            return CIMPropertyList();
        pugi::xml_node v = content(p, "PropertyList");
        if (!v)
            return CIMPropertyList();
        if (!is(v, "VALUE.ARRAY"))
            invalidParameter("PropertyList must be a VALUE.ARRAY");
        Array<CIMName> names;
        wrap("PropertyList", [&] {
            for (pugi::xml_node e = firstElement(v); e; e = nextElement(e))
            {
                if (!is(e, "VALUE"))
                    fail("unexpected element");
                String n = toString(text(e).c_str());
                if (CIMName::legal(n))
                    names.append(CIMName(n));
            }
        });
        return CIMPropertyList(names);
    }

    template <class T, class F>
    T element(const char* name, const char* element, F decode) const
    {
        pugi::xml_node v = content(require(name), name);
        if (!v || !is(v, element))
            invalidParameter(std::string(name) + " must be " + element);
        T result;
        wrap(name, [&] { result = decode(v); });
        return result;
    }

    CIMValue newValue() const
    {
        pugi::xml_node p = get("NewValue");
        if (!p)
            return CIMValue(CIMTYPE_STRING, false);
        pugi::xml_node v = content(p, "NewValue");
        if (!v)
            return CIMValue(CIMTYPE_STRING, false);
        if (!(is(v, "VALUE") || is(v, "VALUE.ARRAY") || is(v, "VALUE.REFERENCE")))
            invalidParameter("NewValue must be a VALUE, VALUE.ARRAY or VALUE.REFERENCE");
        CIMValue value;
        wrap("NewValue", [&] { value = untypedValue(v); });
        return value;
    }

private:
    template <class F>
    static void wrap(const char* name, F f)
    {
        try
        {
            f();
        }
        catch (const CIMException&)
        {
            throw;
        }
        catch (const Exception& e)
        {
            invalidParameter(std::string("bad ") + name + ": " + utf8(e.getMessage()));
        }
    }

    std::vector<std::pair<const char*, pugi::xml_node>> _params;  // NAME as sent, in order
};

// Fills HOST and namespace of a result path that has none.
CIMObjectPath fullPath(const CIMObjectPath& p, const String& host,
    const CIMNamespaceName& ns)
{
    CIMObjectPath r = p;
    if (r.getNameSpace().isNull())
        r.setNameSpace(ns);
    if (r.getHost().size() == 0 && host.size())
    {
        try
        {
            r.setHost(host);
        }
        catch (const Exception&)
        {
        }
    }
    return r;
}

String descriptionText(Uint32 code, const String& message)
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

std::string CimXmlHttpResponse::header(const std::string& name) const
{
    for (const auto& h : headers)
        if (strcasecmp(h.first.c_str(), name.c_str()) == 0)
            return h.second;
    return std::string();
}

const char* CimXmlRequestProcessor::reasonPhrase(Uint32 status)
{
    switch (status)
    {
        case 200: return "OK";
        case 400: return "Bad Request";
        case 401: return "Unauthorized";
        case 403: return "Forbidden";
        case 405: return "Method Not Allowed";
        case 413: return "Payload Too Large";
        case 500: return "Internal Server Error";
        case 501: return "Not Implemented";
        case 503: return "Service Unavailable";
        default: return "Error";
    }
}

CimXmlHttpResponse CimXmlRequestProcessor::httpError(Uint32 status,
    const std::string& cimError, const String& detail)
{
    CimXmlHttpResponse r;
    r.status = status;
    r.reason = reasonPhrase(status);
    if (!cimError.empty())
        r.headers.push_back(std::make_pair(std::string("CIMError"), cimError));
    if (detail.size())
        r.headers.push_back(std::make_pair(std::string("PGErrorDetail"),
            XmlWriter::percentEncode(detail)));
    return r;
}

CimXmlRequestProcessor::CimXmlRequestProcessor(CIMOperations& target,
    const String& hostName, Uint32 flags, CIMPullOperations* pull)
    : _target(target), _pull(pull), _hostName(hostName), _flags(flags)
{
}

namespace
{

const char* const P_GETCLASS[] = { "ClassName", "LocalOnly", "IncludeQualifiers",
    "IncludeClassOrigin", "PropertyList", 0 };
const char* const P_ENUMCLASSES[] = { "ClassName", "DeepInheritance", "LocalOnly",
    "IncludeQualifiers", "IncludeClassOrigin", 0 };
const char* const P_ENUMCLASSNAMES[] = { "ClassName", "DeepInheritance", 0 };
const char* const P_CREATECLASS[] = { "NewClass", 0 };
const char* const P_MODIFYCLASS[] = { "ModifiedClass", 0 };
const char* const P_CLASSNAME[] = { "ClassName", 0 };
const char* const P_GETQUALIFIER[] = { "QualifierName", 0 };
const char* const P_NONE[] = { 0 };
const char* const P_GETINSTANCE[] = { "InstanceName", "LocalOnly", "IncludeQualifiers",
    "IncludeClassOrigin", "PropertyList", 0 };
const char* const P_ENUMINSTANCES[] = { "ClassName", "LocalOnly", "DeepInheritance",
    "IncludeQualifiers", "IncludeClassOrigin", "PropertyList", 0 };
const char* const P_CREATEINSTANCE[] = { "NewInstance", 0 };
const char* const P_MODIFYINSTANCE[] = { "ModifiedInstance", "IncludeQualifiers",
    "PropertyList", 0 };
const char* const P_INSTANCENAME[] = { "InstanceName", 0 };
const char* const P_ASSOCIATORS[] = { "ObjectName", "AssocClass", "ResultClass", "Role",
    "ResultRole", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList", 0 };
const char* const P_ASSOCIATORNAMES[] = { "ObjectName", "AssocClass", "ResultClass",
    "Role", "ResultRole", 0 };
const char* const P_REFERENCES[] = { "ObjectName", "ResultClass", "Role",
    "IncludeQualifiers", "IncludeClassOrigin", "PropertyList", 0 };
const char* const P_REFERENCENAMES[] = { "ObjectName", "ResultClass", "Role", 0 };
const char* const P_GETPROPERTY[] = { "InstanceName", "PropertyName", 0 };
const char* const P_SETPROPERTY[] = { "InstanceName", "PropertyName", "NewValue", 0 };

bool nameIs(const std::string& name, const char* op)
{
    return strcasecmp(name.c_str(), op) == 0;
}

// Writer flags for the instances of GetInstance and EnumerateInstances:
// their qualifiers are written only when the client asked for them.
Uint32 instanceFlags(Uint32 flags, Boolean includeQualifiers)
{
    return includeQualifiers ? flags & ~Uint32(XmlWriter::NO_INSTANCE_QUALIFIERS)
        : flags | XmlWriter::NO_INSTANCE_QUALIFIERS;
}

} // namespace

namespace
{

// The IRETURNVALUE of an intrinsic answer, opened with its first object.
struct ReturnValue
{
    std::string& out;
    CimXmlBodySink& body;
    bool open;

    void begin()
    {
        if (!open)
            out.append("<IRETURNVALUE>\n");
        open = true;
    }
};

// Encodes each object of an enumeration as it arrives and offers the text
// to the transport.
class StreamedResult : public CIMResultSink
{
public:
    StreamedResult(ReturnValue& rv, Uint32 flags) : _rv(rv), _w(rv.out, flags) {}

    void instance(const CIMInstance& instance) override
    {
        _rv.begin();
        _w.appendValueNamedInstance(instance);
        _rv.body.progress(_rv.out);
    }

    void path(const CIMObjectPath& path) override
    {
        _rv.begin();
        _w.appendInstanceName(path);
        _rv.body.progress(_rv.out);
    }

    void paths(const Array<CIMObjectPath>& chunk) override
    {
        if (chunk.size() == 0)
            return;
        _rv.begin();
        _w.appendInstanceNames(chunk);
        _rv.body.progress(_rv.out);
    }

private:
    ReturnValue& _rv;
    XmlWriter _w;
};

// Keeps the whole body in one string: the answer of process().
class StringBody : public CimXmlBodySink
{
public:
    explicit StringBody(std::string& body) : _body(body) {}
    void progress(std::string&) override {}
    bool sent() const override { return false; }
    void discard() override {}
    void finish(std::string& text, Uint32, const String&) override { _body.swap(text); }

private:
    std::string& _body;
};

} // namespace

// Executes one intrinsic call; writes the IRETURNVALUE (if any) to ret.out.
// Enumerations of instances and names stream their objects through
// ret.body; the caller closes an IRETURNVALUE left open.
static void executeIntrinsic(CIMOperations& target, const OperationContext& ctx,
    const std::string& op, const pugi::xml_node& call, const CIMNamespaceName& ns,
    const String& host, Uint32 flags, ReturnValue& ret)
{
    std::string rv;
    XmlWriter w(rv, flags | XmlWriter::NO_INSTANCE_QUALIFIERS);
    bool hasResult = false;

    if (nameIs(op, "GetClass"))
    {
        IParams p(call, P_GETCLASS);
        CIMClass c = target.getClass(ctx, ns, p.className("ClassName", true),
            p.boolean("LocalOnly", true), p.boolean("IncludeQualifiers", true),
            p.boolean("IncludeClassOrigin", false), p.propertyList());
        w.appendClass(c);
        hasResult = true;
    }
    else if (nameIs(op, "EnumerateClasses"))
    {
        IParams p(call, P_ENUMCLASSES);
        Array<CIMClass> a = target.enumerateClasses(ctx, ns,
            p.className("ClassName", false), p.boolean("DeepInheritance", false),
            p.boolean("LocalOnly", true), p.boolean("IncludeQualifiers", true),
            p.boolean("IncludeClassOrigin", false));
        for (Uint32 i = 0; i < a.size(); i++)
            w.appendClass(a[i]);
        hasResult = a.size() != 0;
    }
    else if (nameIs(op, "EnumerateClassNames"))
    {
        IParams p(call, P_ENUMCLASSNAMES);
        Array<CIMName> a = target.enumerateClassNames(ctx, ns,
            p.className("ClassName", false), p.boolean("DeepInheritance", false));
        for (Uint32 i = 0; i < a.size(); i++)
        {
            w.appendClassName(a[i]);
            rv.push_back('\n');
        }
        hasResult = a.size() != 0;
    }
    else if (nameIs(op, "CreateClass"))
    {
        IParams p(call, P_CREATECLASS);
        target.createClass(ctx, ns, p.element<CIMClass>("NewClass", "CLASS",
            [](const pugi::xml_node& n) { return cimClass(n); }));
    }
    else if (nameIs(op, "ModifyClass"))
    {
        IParams p(call, P_MODIFYCLASS);
        target.modifyClass(ctx, ns, p.element<CIMClass>("ModifiedClass", "CLASS",
            [](const pugi::xml_node& n) { return cimClass(n); }));
    }
    else if (nameIs(op, "DeleteClass"))
    {
        IParams p(call, P_CLASSNAME);
        target.deleteClass(ctx, ns, p.className("ClassName", true));
    }
    else if (nameIs(op, "GetQualifier"))
    {
        IParams p(call, P_GETQUALIFIER);
        String qn = p.string("QualifierName", true);
        if (!CIMName::legal(qn))
            invalidParameter("bad QualifierName");
        w.appendQualifierDecl(target.getQualifier(ctx, ns, CIMName(qn)));
        hasResult = true;
    }
    else if (nameIs(op, "EnumerateQualifiers"))
    {
        IParams p(call, P_NONE);
        Array<CIMQualifierDecl> a = target.enumerateQualifiers(ctx, ns);
        for (Uint32 i = 0; i < a.size(); i++)
            w.appendQualifierDecl(a[i]);
        hasResult = a.size() != 0;
    }
    else if (nameIs(op, "GetInstance"))
    {
        IParams p(call, P_GETINSTANCE);
        CIMObjectPath name = p.instanceName("InstanceName");
        Boolean includeQualifiers = p.boolean("IncludeQualifiers", false);
        CIMInstance inst = target.getInstance(ctx, ns, name,
            p.boolean("LocalOnly", true), includeQualifiers,
            p.boolean("IncludeClassOrigin", false), p.propertyList());
        // Written straight into the answer: a failure replaces the whole
        // text anyway.
        ret.begin();
        XmlWriter(ret.out, instanceFlags(flags, includeQualifiers)).appendInstance(inst);
    }
    else if (nameIs(op, "EnumerateInstances"))
    {
        IParams p(call, P_ENUMINSTANCES);
        Boolean includeQualifiers = p.boolean("IncludeQualifiers", false);
        StreamedResult streamed(ret, instanceFlags(flags, includeQualifiers));
        target.enumerateInstancesTo(ctx, ns,
            p.className("ClassName", true), p.boolean("DeepInheritance", true),
            p.boolean("LocalOnly", true), includeQualifiers,
            p.boolean("IncludeClassOrigin", false), p.propertyList(), streamed);
    }
    else if (nameIs(op, "EnumerateInstanceNames"))
    {
        IParams p(call, P_CLASSNAME);
        StreamedResult streamed(ret, flags | XmlWriter::NO_INSTANCE_QUALIFIERS);
        target.enumerateInstanceNamesTo(ctx, ns, p.className("ClassName", true), streamed);
    }
    else if (nameIs(op, "CreateInstance"))
    {
        IParams p(call, P_CREATEINSTANCE);
        CIMInstance inst = p.element<CIMInstance>("NewInstance", "INSTANCE",
            [](const pugi::xml_node& n) { return instance(n); });
        w.appendInstanceName(target.createInstance(ctx, ns, inst));
        hasResult = true;
    }
    else if (nameIs(op, "ModifyInstance"))
    {
        IParams p(call, P_MODIFYINSTANCE);
        CIMInstance inst = p.element<CIMInstance>("ModifiedInstance",
            "VALUE.NAMEDINSTANCE",
            [](const pugi::xml_node& n) { return valueNamedInstance(n); });
        target.modifyInstance(ctx, ns, inst, p.boolean("IncludeQualifiers", true),
            p.propertyList());
    }
    else if (nameIs(op, "DeleteInstance"))
    {
        IParams p(call, P_INSTANCENAME);
        target.deleteInstance(ctx, ns, p.instanceName("InstanceName"));
    }
    else if (nameIs(op, "Associators") || nameIs(op, "References"))
    {
        bool assoc = nameIs(op, "Associators");
        IParams p(call, assoc ? P_ASSOCIATORS : P_REFERENCES);
        bool isClass = false;
        CIMObjectPath objectName = p.objectName("ObjectName", isClass);
        Array<CIMObject> a;
        if (assoc)
            a = target.associators(ctx, ns, objectName,
                p.className("AssocClass", false), p.className("ResultClass", false),
                p.string("Role"), p.string("ResultRole"),
                p.boolean("IncludeQualifiers", false),
                p.boolean("IncludeClassOrigin", false), p.propertyList());
        else
            a = target.references(ctx, ns, objectName,
                p.className("ResultClass", false), p.string("Role"),
                p.boolean("IncludeQualifiers", false),
                p.boolean("IncludeClassOrigin", false), p.propertyList());
        for (Uint32 i = 0; i < a.size(); i++)
        {
            CIMObject o = a[i];
            CIMObjectPath full = fullPath(o.getPath(), host, ns);
            rv.append("<VALUE.OBJECTWITHPATH>\n");
            if (o.isClass())
            {
                w.appendClassPath(full);
                w.appendClass(CIMClass(o));
            }
            else
            {
                w.appendInstancePath(full);
                w.appendInstance(CIMInstance(o));
            }
            rv.append("</VALUE.OBJECTWITHPATH>\n");
        }
        hasResult = a.size() != 0;
    }
    else if (nameIs(op, "AssociatorNames") || nameIs(op, "ReferenceNames"))
    {
        bool assoc = nameIs(op, "AssociatorNames");
        IParams p(call, assoc ? P_ASSOCIATORNAMES : P_REFERENCENAMES);
        bool isClass = false;
        CIMObjectPath objectName = p.objectName("ObjectName", isClass);
        Array<CIMObjectPath> a;
        if (assoc)
            a = target.associatorNames(ctx, ns, objectName,
                p.className("AssocClass", false), p.className("ResultClass", false),
                p.string("Role"), p.string("ResultRole"));
        else
            a = target.referenceNames(ctx, ns, objectName,
                p.className("ResultClass", false), p.string("Role"));
        for (Uint32 i = 0; i < a.size(); i++)
            w.appendObjectPath(fullPath(a[i], host, ns),
                isClass && a[i].getKeyBindings().size() == 0);
        hasResult = a.size() != 0;
    }
    else if (nameIs(op, "GetProperty"))
    {
        IParams p(call, P_GETPROPERTY);
        CIMObjectPath name = p.instanceName("InstanceName");
        String pn = p.string("PropertyName", true);
        if (!CIMName::legal(pn))
            invalidParameter("bad PropertyName");
        CIMValue v = target.getProperty(ctx, ns, name, CIMName(pn));
        if (!v.isNull())
        {
            w.appendValue(v);
            if (rv.empty() || rv.back() != '\n')
                rv.push_back('\n');
        }
        hasResult = !v.isNull();
    }
    else if (nameIs(op, "SetProperty"))
    {
        IParams p(call, P_SETPROPERTY);
        CIMObjectPath name = p.instanceName("InstanceName");
        String pn = p.string("PropertyName", true);
        if (!CIMName::legal(pn))
            invalidParameter("bad PropertyName");
        target.setProperty(ctx, ns, name, CIMName(pn), p.newValue());
    }
    else
    {
        // An operation this server does not carry out (ExecQuery, the
        // qualifier writes, names it does not know): the bare status name.
        throw CIMException(CIM_ERR_NOT_SUPPORTED, String());
    }

    if (hasResult)
    {
        ret.begin();
        ret.out.append(rv);
    }
}

namespace
{

#define PULL_OPEN_PARAMS "FilterQueryLanguage", "FilterQuery", "OperationTimeout", \
    "ContinueOnError", "MaxObjectCount"
const char* const P_OPENENUMINSTANCES[] = { "ClassName", "DeepInheritance",
    "IncludeClassOrigin", "PropertyList", PULL_OPEN_PARAMS, 0 };
const char* const P_OPENENUMPATHS[] = { "ClassName", PULL_OPEN_PARAMS, 0 };
const char* const P_OPENASSOCIATORS[] = { "InstanceName", "AssocClass", "ResultClass",
    "Role", "ResultRole", "IncludeClassOrigin", "PropertyList", PULL_OPEN_PARAMS, 0 };
const char* const P_OPENASSOCIATORPATHS[] = { "InstanceName", "AssocClass",
    "ResultClass", "Role", "ResultRole", PULL_OPEN_PARAMS, 0 };
const char* const P_OPENREFERENCES[] = { "InstanceName", "ResultClass", "Role",
    "IncludeClassOrigin", "PropertyList", PULL_OPEN_PARAMS, 0 };
const char* const P_OPENREFERENCEPATHS[] = { "InstanceName", "ResultClass", "Role",
    PULL_OPEN_PARAMS, 0 };
#undef PULL_OPEN_PARAMS
const char* const P_PULL[] = { "EnumerationContext", "MaxObjectCount", 0 };
const char* const P_ENUMCONTEXT[] = { "EnumerationContext", 0 };

const char* const PULL_OPERATIONS[] = { "OpenEnumerateInstances",
    "OpenEnumerateInstancePaths", "OpenAssociatorInstances",
    "OpenAssociatorInstancePaths", "OpenReferenceInstances",
    "OpenReferenceInstancePaths", "PullInstancesWithPath", "PullInstancePaths",
    "CloseEnumeration", "EnumerationCount", 0 };

bool isPullOperation(const std::string& op)
{
    for (const char* const* p = PULL_OPERATIONS; *p; p++)
        if (nameIs(op, *p))
            return true;
    return false;
}

CIMPullRequest pullRequest(const IParams& p)
{
    CIMPullRequest r;
    pugi::xml_node language = p.get("FilterQueryLanguage");
    r.hasFilterQueryLanguage = language && IParams::content(language, "FilterQueryLanguage");
    r.filterQueryLanguage = p.string("FilterQueryLanguage");
    pugi::xml_node query = p.get("FilterQuery");
    r.hasFilterQuery = query && IParams::content(query, "FilterQuery");
    r.filterQuery = p.string("FilterQuery");
    r.hasOperationTimeout = p.uint32("OperationTimeout", r.operationTimeout);
    r.continueOnError = p.boolean("ContinueOnError", false);
    p.uint32("MaxObjectCount", r.maxObjectCount);
    return r;
}

// One page: IRETURNVALUE (always present, possibly empty), then the
// EndOfSequence and EnumerationContext output parameters.
void appendPage(std::string& out, Uint32 flags, const CIMPullResult& page,
    bool paths, const String& host, const CIMNamespaceName& ns)
{
    XmlWriter w(out, flags | XmlWriter::NO_INSTANCE_QUALIFIERS);
    out.append("<IRETURNVALUE>\n");
    if (paths)
    {
        for (Uint32 i = 0; i < page.paths.size(); i++)
            w.appendInstancePath(fullPath(page.paths[i], host, ns));
    }
    else
    {
        for (Uint32 i = 0; i < page.instances.size(); i++)
        {
            out.append("<VALUE.INSTANCEWITHPATH>\n");
            w.appendInstancePath(fullPath(page.instances[i].getPath(), host, ns));
            w.appendInstance(page.instances[i]);
            out.append("</VALUE.INSTANCEWITHPATH>\n");
        }
    }
    out.append("</IRETURNVALUE>\n");
    w.appendParamValue(CIMParamValue(String("EndOfSequence"),
        CIMValue(page.endOfSequence), true));
    w.appendParamValue(CIMParamValue(String("EnumerationContext"),
        CIMValue(page.enumerationContext), true));
}

// Executes one pull operation; appends its answer content to out.
void executePull(CIMPullOperations& target, const OperationContext& ctx,
    const std::string& op, const pugi::xml_node& call, const CIMNamespaceName& ns,
    const String& host, Uint32 flags, std::string& out)
{
    if (nameIs(op, "OpenEnumerateInstances"))
    {
        IParams p(call, P_OPENENUMINSTANCES);
        CIMPullResult r = target.openEnumerateInstances(ctx, ns,
            p.className("ClassName", true), p.boolean("DeepInheritance", true),
            p.boolean("IncludeClassOrigin", false), p.propertyList(), pullRequest(p));
        appendPage(out, flags, r, false, host, ns);
    }
    else if (nameIs(op, "OpenEnumerateInstancePaths"))
    {
        IParams p(call, P_OPENENUMPATHS);
        CIMPullResult r = target.openEnumerateInstancePaths(ctx, ns,
            p.className("ClassName", true), pullRequest(p));
        appendPage(out, flags, r, true, host, ns);
    }
    else if (nameIs(op, "OpenAssociatorInstances"))
    {
        IParams p(call, P_OPENASSOCIATORS);
        CIMPullResult r = target.openAssociatorInstances(ctx, ns,
            p.instanceName("InstanceName"), p.className("AssocClass", false),
            p.className("ResultClass", false), p.string("Role"), p.string("ResultRole"),
            p.boolean("IncludeClassOrigin", false), p.propertyList(), pullRequest(p));
        appendPage(out, flags, r, false, host, ns);
    }
    else if (nameIs(op, "OpenAssociatorInstancePaths"))
    {
        IParams p(call, P_OPENASSOCIATORPATHS);
        CIMPullResult r = target.openAssociatorInstancePaths(ctx, ns,
            p.instanceName("InstanceName"), p.className("AssocClass", false),
            p.className("ResultClass", false), p.string("Role"), p.string("ResultRole"),
            pullRequest(p));
        appendPage(out, flags, r, true, host, ns);
    }
    else if (nameIs(op, "OpenReferenceInstances"))
    {
        IParams p(call, P_OPENREFERENCES);
        CIMPullResult r = target.openReferenceInstances(ctx, ns,
            p.instanceName("InstanceName"), p.className("ResultClass", false),
            p.string("Role"), p.boolean("IncludeClassOrigin", false), p.propertyList(),
            pullRequest(p));
        appendPage(out, flags, r, false, host, ns);
    }
    else if (nameIs(op, "OpenReferenceInstancePaths"))
    {
        IParams p(call, P_OPENREFERENCEPATHS);
        CIMPullResult r = target.openReferenceInstancePaths(ctx, ns,
            p.instanceName("InstanceName"), p.className("ResultClass", false),
            p.string("Role"), pullRequest(p));
        appendPage(out, flags, r, true, host, ns);
    }
    else if (nameIs(op, "PullInstancesWithPath") || nameIs(op, "PullInstancePaths"))
    {
        bool paths = nameIs(op, "PullInstancePaths");
        IParams p(call, P_PULL);
        String name = p.string("EnumerationContext", true);
        Uint32 max = 0;
        if (!p.uint32("MaxObjectCount", max))
            invalidParameter("missing parameter MaxObjectCount");
        CIMPullResult r = paths ? target.pullInstancePaths(ctx, ns, name, max)
                                : target.pullInstancesWithPath(ctx, ns, name, max);
        appendPage(out, flags, r, paths, host, ns);
    }
    else if (nameIs(op, "CloseEnumeration"))
    {
        IParams p(call, P_ENUMCONTEXT);
        target.closeEnumeration(ctx, ns, p.string("EnumerationContext", true));
    }
    else
    {
        IParams p(call, P_ENUMCONTEXT);
        CIMValue count = target.enumerationCount(ctx, ns,
            p.string("EnumerationContext", true));
        if (!count.isNull())
        {
            out.append("<IRETURNVALUE>\n");
            XmlWriter(out, flags).appendValue(count);
            out.append("\n</IRETURNVALUE>\n");
        }
    }
}

} // namespace

struct CimXmlRequestProcessor::Call::Rep
{
    pugi::xml_document doc;
    pugi::xml_node call;
    bool intrinsic = true;
    std::string callName;
    String messageIdText;
    String callNameText;
    CIMNamespaceName ns;
    CIMObjectPath target;
};

CimXmlRequestProcessor::Call::Call() {}
CimXmlRequestProcessor::Call::~Call() {}
CimXmlRequestProcessor::Call::Call(Call&&) noexcept = default;
CimXmlRequestProcessor::Call& CimXmlRequestProcessor::Call::operator=(Call&&) noexcept = default;

bool CimXmlRequestProcessor::Call::manyObjects() const
{
    if (!_rep || !_rep->intrinsic)
        return false;
    static const char* const many[] = { "EnumerateInstances", "EnumerateInstanceNames",
        "Associators", "AssociatorNames", "References", "ReferenceNames",
        "EnumerateClasses", "EnumerateClassNames", "EnumerateQualifiers", 0 };
    for (const char* const* m = many; *m; m++)
        if (nameIs(_rep->callName, *m))
            return true;
    return false;
}

CimXmlHttpResponse CimXmlRequestProcessor::process(const std::string& httpMethod,
    const CimXmlHeaders& headers, const std::string& body,
    const OperationContext& context) const
{
    Call call;
    CimXmlHttpResponse r = prepare(httpMethod, headers, body, call);
    if (r.status == 200)
    {
        StringBody whole(r.body);
        run(call, context, whole);
    }
    return r;
}

CimXmlHttpResponse CimXmlRequestProcessor::prepare(const std::string& httpMethod,
    const CimXmlHeaders& headers, const std::string& body, Call& prepared) const
{
    bool mpost = httpMethod == "M-POST";
    if (!mpost && httpMethod != "POST")
        return httpError(501, std::string());

    prepared._rep.reset(new Call::Rep);
    Call::Rep& c = *prepared._rep;
    std::string messageId;
    std::string& callName = c.callName;
    String& messageIdText = c.messageIdText;
    String& callNameText = c.callNameText;
    bool& intrinsic = c.intrinsic;
    pugi::xml_document& doc = c.doc;
    pugi::xml_node& call = c.call;
    CIMNamespaceName& ns = c.ns;
    CIMObjectPath& target = c.target;

    try
    {
        // CIM headers.
        std::string operation;
        if (!findHeader(headers, "CIMOperation", operation))
            httpFail(400, "", "missing CIMOperation header");
        if (strcasecmp(operation.c_str(), "MethodCall") != 0)
            httpFail(400, "unsupported-operation", "CIMOperation is not MethodCall");
        std::string ignored;
        if (findHeader(headers, "CIMBatch", ignored))
            httpFail(501, "multiple-requests-unsupported", "batch requests are not supported");
        std::string rawMethod, rawObject, protocolVersion;
        bool hasProtocolVersion = findHeader(headers, "CIMProtocolVersion", protocolVersion);
        std::string cimMethod, cimObject;
        if (!findHeader(headers, "CIMMethod", rawMethod) || rawMethod.empty() ||
            !XmlReader::percentDecode(rawMethod, cimMethod) || cimMethod.empty() ||
            !XmlReader::isValidUtf8(cimMethod.data(), cimMethod.size()))
            httpFail(400, "header-mismatch", "missing or bad CIMMethod header");
        if (!findHeader(headers, "CIMObject", rawObject) || rawObject.empty() ||
            !XmlReader::percentDecode(rawObject, cimObject) || cimObject.empty() ||
            !XmlReader::isValidUtf8(cimObject.data(), cimObject.size()))
            httpFail(400, "header-mismatch", "missing or bad CIMObject header");

        std::string contentType;
        if (!findHeader(headers, "Content-Type", contentType) ||
            !contentTypeOk(contentType))
            httpFail(400, "", "bad Content-Type");

        if (!XmlReader::isValidUtf8(body.data(), body.size()))
            httpFail(400, "request-not-valid", "body is not valid UTF-8");

        try
        {
            parse(doc, body.data(), body.size());
        }
        catch (const CimXmlDecodeException& e)
        {
            httpFail(400, "request-not-well-formed", utf8(e.getMessage()));
        }

        try
        {
            pugi::xml_node cim = rootElement(doc, "CIM");
            const char* cimVersion = requireAttr(cim, "CIMVERSION");
            const char* dtdVersion = requireAttr(cim, "DTDVERSION");
            pugi::xml_node msg = firstElement(cim);
            if (!msg || !is(msg, "MESSAGE") || nextElement(msg))
                fail("CIM needs one MESSAGE");
            if (!versionOk(cimVersion, '2'))
                httpFail(501, "unsupported-cim-version", std::string("CIMVERSION ") + cimVersion);
            if (!versionOk(dtdVersion, '2'))
                httpFail(501, "unsupported-dtd-version", std::string("DTDVERSION ") + dtdVersion);
            messageId = requireAttr(msg, "ID");
            const char* pv = requireAttr(msg, "PROTOCOLVERSION");
            if (!versionOk(pv, '1'))
                httpFail(501, "unsupported-protocol-version", std::string("PROTOCOLVERSION ") + pv);
            if (hasProtocolVersion && protocolVersion != pv)
                httpFail(400, "header-mismatch", "CIMProtocolVersion does not match PROTOCOLVERSION");
            pugi::xml_node req = firstElement(msg);
            if (req && is(req, "MULTIREQ"))
                httpFail(400, "header-mismatch", "MULTIREQ without CIMBatch");
            if (!req || !is(req, "SIMPLEREQ") || nextElement(req))
                fail("MESSAGE needs one SIMPLEREQ");
            call = firstElement(req);
            while (call && is(call, "CORRELATOR"))
                call = nextElement(call);
            if (!call || nextElement(call))
                fail("SIMPLEREQ needs one IMETHODCALL or METHODCALL");
            if (is(call, "IMETHODCALL"))
                intrinsic = true;
            else if (is(call, "METHODCALL"))
                intrinsic = false;
            else
                fail(std::string("unexpected ") + call.name());
            callName = requireAttr(call, "NAME");
            if (callName.empty())
                fail("empty NAME");
            messageIdText = toString(messageId.c_str());
            callNameText = toString(callName.c_str());
            if (strcasecmp(callName.c_str(), cimMethod.c_str()) != 0)
                httpFail(400, "header-mismatch", "CIMMethod does not match " +
                    std::string(call.name()) + " NAME");
            pugi::xml_node t = firstElement(call);
            if (!t)
                fail(std::string(call.name()) + " without target");
            if (intrinsic)
            {
                ns = localNamespacePath(t);
                if (!namespaceMatches(cimObject, ns))
                    httpFail(400, "header-mismatch", "CIMObject does not match the namespace");
            }
            else
            {
                if (is(t, "LOCALINSTANCEPATH"))
                    target = localInstancePath(t);
                else if (is(t, "LOCALCLASSPATH"))
                    target = localClassPath(t);
                else
                    fail(std::string("METHODCALL: unexpected ") + t.name());
                ns = target.getNameSpace();
                if (!objectHeaderMatches(cimObject, target))
                    httpFail(400, "header-mismatch", "CIMObject does not match the target");
                if (!CIMName::legal(callNameText))
                    fail("illegal method name");
            }
        }
        catch (const CimXmlDecodeException& e)
        {
            httpFail(400, "request-not-valid", utf8(e.getMessage()));
        }
    }
    catch (const HttpFailure& f)
    {
        String detail;
        try
        {
            detail = String(f.detail.c_str());
        }
        catch (const Exception&)
        {
        }
        return httpError(f.status, f.cimError, detail);
    }
    catch (const Exception& e)
    {
        return httpError(500, std::string(), e.getMessage());
    }
    catch (const std::exception& e)
    {
        return httpError(500, std::string(), String(e.what()));
    }

    CimXmlHttpResponse r;
    r.status = 200;
    r.reason = "OK";
    r.headers.push_back(std::make_pair(std::string("Content-Type"),
        std::string("application/xml; charset=\"utf-8\"")));
    if (mpost)
    {
        r.headers.push_back(std::make_pair(std::string("Ext"), std::string()));
        r.headers.push_back(std::make_pair(std::string("Cache-Control"),
            std::string("no-cache")));
        r.headers.push_back(std::make_pair(std::string("Man"),
            std::string("http://www.dmtf.org/cim/mapping/http/v1.0; ns=") + RESPONSE_NS));
        r.headers.push_back(std::make_pair(std::string(RESPONSE_NS) + "-CIMOperation",
            std::string("MethodResponse")));
    }
    else
        r.headers.push_back(std::make_pair(std::string("CIMOperation"),
            std::string("MethodResponse")));
    return r;
}

Uint32 CimXmlRequestProcessor::run(Call& prepared, const OperationContext& context,
    CimXmlBodySink& sink) const
{
    Call::Rep& c = *prepared._rep;
    const char* element = c.intrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE";
    std::string text;
    // Room for a single object's answer from the start.
    text.reserve(ANSWER_RESERVE);
    {
        XmlWriter w(text, _flags);
        w.appendResponseStart(c.messageIdText);
        w.appendStartTag(element, "NAME", c.callNameText);
    }
    const std::string prologue = text;
    ReturnValue ret{text, sink, false};
    Uint32 code = 0;
    String lateDescription;

    // From here on, failures are CIM errors inside a 200 answer: an ERROR
    // element instead of the result while nothing has left, otherwise the
    // document is finished and the failure goes beside it.
    auto failed = [&](Uint32 failure, const String& message, const CIMException* e) {
        code = failure;
        if (!sink.sent())
        {
            sink.discard();
            text = prologue;
            ret.open = false;
            XmlWriter w(text, _flags);
            if (e)
                w.appendError(*e);
            else
                w.appendError(failure, descriptionText(failure, message));
            return;
        }
        lateDescription = descriptionText(failure, message);
    };
    try
    {
        if (c.intrinsic && _pull && isPullOperation(c.callName))
            executePull(*_pull, context, c.callName, c.call, c.ns, _hostName, _flags, text);
        else if (c.intrinsic)
            executeIntrinsic(_target, context, c.callName, c.call, c.ns, _hostName, _flags,
                ret);
        else
        {
            const pugi::xml_node& call = c.call;
            Array<CIMParamValue> in;
            for (pugi::xml_node p = nextElement(firstElement(call)); p; p = nextElement(p))
            {
                if (!is(p, "PARAMVALUE"))
                    invalidParameter(std::string("unexpected element ") + p.name());
                CIMParamValue pv;
                try
                {
                    pv = paramValue(p);
                }
                catch (const Exception& e)
                {
                    invalidParameter(utf8(e.getMessage()));
                }
                for (Uint32 i = 0; i < in.size(); i++)
                    if (String::equalNoCase(in[i].getParameterName(), pv.getParameterName()))
                        invalidParameter("duplicate parameter " +
                            utf8(pv.getParameterName()));
                in.append(pv);
            }
            Array<CIMParamValue> out;
            CIMValue rv = _target.invokeMethod(context, c.ns, c.target,
                CIMName(c.callNameText), in, out);
            XmlWriter w(text, _flags);
            w.appendReturnValue(rv);
            for (Uint32 i = 0; i < out.size(); i++)
            {
                if (out[i].isUninitialized() || out[i].getValue().isNull())
                    continue;
                w.appendParamValue(out[i]);
            }
        }
    }
    catch (const CIMException& e)
    {
        failed(Uint32(e.getCode()), e.getMessage(), &e);
    }
    catch (const Exception& e)
    {
        failed(CIM_ERR_FAILED, e.getMessage(), 0);
    }
    catch (const std::exception& e)
    {
        String message;
        try
        {
            message = String(e.what());
        }
        catch (const Exception&)
        {
            message = String("Unknown error.");
        }
        failed(CIM_ERR_FAILED, message, 0);
    }
    catch (...)
    {
        failed(CIM_ERR_FAILED, String("Unknown error."), 0);
    }

    if (ret.open)
        text.append("</IRETURNVALUE>\n");
    XmlWriter w(text, _flags);
    w.appendEndTag(element);
    w.appendResponseEnd();
    bool late = sink.sent() && code != 0;
    sink.finish(text, late ? code : 0, late ? lateDescription : String());
    return code;
}

PEGASUS_NAMESPACE_END
