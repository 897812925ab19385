// CIM-XML request processing: one HTTP request (method, headers, body)
// through CimXmlRequestProcessor against a CIMOperations target that answers
// every call with a small fixed result, an echo of what it was given, or an
// exception, so that both the decoding and the encoding paths run. Every
// 200 answer must decode again with our own response decoder. The body then
// also goes through the fragment and response decoders of XmlReader.
//
// Input: either a bare XML body (starting with '<'; the CIM headers are then
// derived from it so that most inputs get past the header checks), or an
// HTTP request: request line (its first word is the method), header lines,
// an empty line, the body.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <pugixml.hpp>

#include <CimXml/CimXmlRequestProcessor.h>
#include <CimXml/XmlReader.h>
#include <CimXml/XmlWriter.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Internal/CIMOperations.h>

#include "FuzzSupport.h"

PEGASUS_USING_PEGASUS;

namespace
{

// How the target answers the current input.
enum class Answer { Fixed, Echo, CimError, PlainError };

CIMObjectPath fixedPath()
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"), String("Fuzz:1 <&\"'>"),
        CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("Index"), String("42"), CIMKeyBinding::NUMERIC));
    keys.append(CIMKeyBinding(CIMName("Enabled"), String("TRUE"), CIMKeyBinding::BOOLEAN));
    keys.append(CIMKeyBinding(CIMName("Owner"),
        String("//host.example/root/fuzz:Fuzz_Owner.Name=\"o\\\"1\""), CIMKeyBinding::REFERENCE));
    return CIMObjectPath(String(), CIMNamespaceName("root/fuzz"), CIMName("Fuzz_Thing"), keys);
}

CIMInstance fixedInstance()
{
    CIMInstance embedded(CIMName("Fuzz_Error"));
    embedded.addProperty(CIMProperty(CIMName("Message"), CIMValue(String("a & b < c"))));
    embedded.addProperty(CIMProperty(CIMName("Code"), CIMValue(Uint16(7))));

    CIMInstance inst(CIMName("Fuzz_Thing"));
    inst.addProperty(CIMProperty(CIMName("InstanceID"), CIMValue(String("Fuzz:1 <&\"'>"))));
    inst.addProperty(CIMProperty(CIMName("Index"), CIMValue(Uint32(42))));
    inst.addProperty(CIMProperty(CIMName("Enabled"), CIMValue(Boolean(true))));
    inst.addProperty(CIMProperty(CIMName("Weight"), CIMValue(Real64(-2.5e-7))));
    inst.addProperty(CIMProperty(CIMName("Small"), CIMValue(Sint8(-128))));
    inst.addProperty(CIMProperty(CIMName("Big"), CIMValue(Uint64(18446744073709551615ULL))));
    inst.addProperty(CIMProperty(CIMName("Letter"), CIMValue(Char16(0xE9))));
    inst.addProperty(CIMProperty(CIMName("When"),
        CIMValue(CIMDateTime(String("20240229235959.123456-300")))));
    Array<String> names;
    names.append(String("one"));
    names.append(String(""));
    names.append(String("thr\xc3\xa9" "e"));
    inst.addProperty(CIMProperty(CIMName("Names"), CIMValue(names)));
    inst.addProperty(CIMProperty(CIMName("Nothing"), CIMValue(CIMTYPE_UINT16, false)));
    inst.addProperty(CIMProperty(CIMName("Owner"),
        CIMValue(CIMObjectPath("//host.example/root/fuzz:Fuzz_Owner.Name=\"o1\"")), 0,
        CIMName("Fuzz_Owner")));
    inst.addProperty(CIMProperty(CIMName("Error"), CIMValue(embedded)));
    inst.addQualifier(CIMQualifier(CIMName("Description"), CIMValue(String("fixed"))));
    inst.setPath(fixedPath());
    return inst;
}

CIMClass fixedClass()
{
    CIMClass cls(CIMName("Fuzz_Thing"), CIMName("Fuzz_Base"));
    cls.addQualifier(CIMQualifier(CIMName("Description"), CIMValue(String("A \"thing\"."))));
    CIMProperty key(CIMName("InstanceID"), CIMValue(CIMTYPE_STRING, false));
    key.addQualifier(CIMQualifier(CIMName("Key"), CIMValue(Boolean(true))));
    cls.addProperty(key);
    cls.addProperty(CIMProperty(CIMName("Index"), CIMValue(Uint32(1)), 0, CIMName(),
        CIMName("Fuzz_Base"), true));
    Array<Uint16> states;
    states.append(2);
    states.append(3);
    cls.addProperty(CIMProperty(CIMName("States"), CIMValue(states)));
    cls.addProperty(CIMProperty(CIMName("Owner"), CIMValue(CIMTYPE_REFERENCE, false), 0,
        CIMName("Fuzz_Owner")));
    CIMMethod method(CIMName("Start"), CIMTYPE_UINT32);
    method.addParameter(CIMParameter(CIMName("Count"), CIMTYPE_UINT16));
    method.addParameter(CIMParameter(CIMName("Names"), CIMTYPE_STRING, true, 4));
    method.addParameter(CIMParameter(CIMName("Job"), CIMTYPE_REFERENCE, false, 0,
        CIMName("Fuzz_Job")));
    cls.addMethod(method);
    return cls;
}

class FuzzOperations : public CIMOperations
{
public:
    Answer answer = Answer::Fixed;

    CIMClass getClass(const OperationContext&, const CIMNamespaceName&,
        const CIMName& className, Boolean, Boolean, Boolean,
        const CIMPropertyList&) override
    {
        check();
        if (answer == Answer::Echo)
            return CIMClass(className);
        return _class;
    }
    Array<CIMClass> enumerateClasses(const OperationContext&, const CIMNamespaceName&,
        const CIMName&, Boolean, Boolean, Boolean, Boolean) override
    {
        check();
        Array<CIMClass> a;
        a.append(_class);
        return a;
    }
    Array<CIMName> enumerateClassNames(const OperationContext&, const CIMNamespaceName&,
        const CIMName& className, Boolean) override
    {
        check();
        Array<CIMName> a;
        a.append(CIMName("Fuzz_Thing"));
        if (!className.isNull())
            a.append(className);
        return a;
    }
    void createClass(const OperationContext&, const CIMNamespaceName&,
        const CIMClass&) override { check(); }
    void modifyClass(const OperationContext&, const CIMNamespaceName&,
        const CIMClass&) override { check(); }
    void deleteClass(const OperationContext&, const CIMNamespaceName&,
        const CIMName&) override { check(); }

    CIMQualifierDecl getQualifier(const OperationContext&, const CIMNamespaceName&,
        const CIMName&) override
    {
        check();
        return _qualifier;
    }
    Array<CIMQualifierDecl> enumerateQualifiers(const OperationContext&,
        const CIMNamespaceName&) override
    {
        check();
        Array<CIMQualifierDecl> a;
        a.append(_qualifier);
        return a;
    }

    CIMInstance getInstance(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath& instanceName, Boolean, Boolean, Boolean,
        const CIMPropertyList&) override
    {
        check();
        CIMInstance i = _instance.clone();
        if (answer == Answer::Echo)
            i.setPath(instanceName);
        return i;
    }
    Array<CIMInstance> enumerateInstances(const OperationContext&, const CIMNamespaceName&,
        const CIMName&, Boolean, Boolean, Boolean, Boolean, const CIMPropertyList&) override
    {
        check();
        Array<CIMInstance> a;
        a.append(_instance);
        return a;
    }
    Array<CIMObjectPath> enumerateInstanceNames(const OperationContext&,
        const CIMNamespaceName&, const CIMName&) override
    {
        check();
        Array<CIMObjectPath> a;
        a.append(_instance.getPath());
        return a;
    }
    CIMObjectPath createInstance(const OperationContext&, const CIMNamespaceName&,
        const CIMInstance& newInstance) override
    {
        check();
        return answer == Answer::Echo ? newInstance.getPath() : _instance.getPath();
    }
    void modifyInstance(const OperationContext&, const CIMNamespaceName&,
        const CIMInstance&, Boolean, const CIMPropertyList&) override { check(); }
    void deleteInstance(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&) override { check(); }

    Array<CIMObject> associators(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath& objectName, const CIMName&, const CIMName&, const String&,
        const String&, Boolean, Boolean, const CIMPropertyList&) override
    {
        return objects(objectName);
    }
    Array<CIMObjectPath> associatorNames(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath& objectName, const CIMName&, const CIMName&, const String&,
        const String&) override
    {
        return paths(objectName);
    }
    Array<CIMObject> references(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath& objectName, const CIMName&, const String&, Boolean, Boolean,
        const CIMPropertyList&) override
    {
        return objects(objectName);
    }
    Array<CIMObjectPath> referenceNames(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath& objectName, const CIMName&, const String&) override
    {
        return paths(objectName);
    }

    CIMValue getProperty(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName& propertyName) override
    {
        check();
        if (answer == Answer::Echo)
            return CIMValue(propertyName.getString());
        return _instance.getProperty(1).getValue();
    }
    void setProperty(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName&, const CIMValue&) override { check(); }

    CIMValue invokeMethod(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath& instanceName, const CIMName&,
        const Array<CIMParamValue>& inParameters,
        Array<CIMParamValue>& outParameters) override
    {
        check();
        if (answer == Answer::Echo)
        {
            outParameters = inParameters;
            outParameters.append(CIMParamValue(String("Target"), CIMValue(instanceName)));
            return inParameters.size() ? inParameters[0].getValue() : CIMValue(Uint32(0));
        }
        outParameters.append(CIMParamValue(String("Job"), CIMValue(fixedPath())));
        outParameters.append(CIMParamValue(String("Error"),
            _instance.getProperty(_instance.getPropertyCount() - 1).getValue()));
        outParameters.append(CIMParamValue(String("Missing"), CIMValue(CIMTYPE_STRING, false)));
        return CIMValue(Uint32(4096));
    }

private:
    const CIMInstance _instance = fixedInstance();
    const CIMClass _class = fixedClass();
    const CIMQualifierDecl _qualifier = CIMQualifierDecl(CIMName("Fuzz_Tag"),
        CIMValue(Array<String>()), CIMScope::CLASS + CIMScope::PROPERTY,
        CIMFlavor::OVERRIDABLE + CIMFlavor::TOSUBCLASS + CIMFlavor::TRANSLATABLE, 0);

    void check() const
    {
        if (answer == Answer::CimError)
            throw CIMException(CIM_ERR_NOT_FOUND, String("no such thing: \"<&>\""));
        if (answer == Answer::PlainError)
            throw Exception(String("something broke"));
    }
    Array<CIMObject> objects(const CIMObjectPath& objectName) const
    {
        check();
        Array<CIMObject> a;
        CIMInstance i = _instance.clone();
        if (answer == Answer::Echo)
            i.setPath(objectName);
        a.append(CIMObject(i));
        if (objectName.getKeyBindings().size() == 0)
        {
            CIMClass c = _class.clone();
            c.setPath(CIMObjectPath(String(), CIMNamespaceName("root/fuzz"), c.getClassName()));
            a.append(CIMObject(c));
        }
        return a;
    }
    Array<CIMObjectPath> paths(const CIMObjectPath& objectName) const
    {
        check();
        Array<CIMObjectPath> a;
        a.append(_instance.getPath());
        if (answer == Answer::Echo)
            a.append(objectName);
        return a;
    }
};

// Text of the first NAME="..." attribute after `element` (raw, unescaped).
std::string attributeAfter(const std::string& body, const char* element, size_t from = 0)
{
    size_t p = body.find(element, from);
    if (p == std::string::npos)
        return std::string();
    p = body.find("NAME=\"", p);
    if (p == std::string::npos)
        return std::string();
    p += 6;
    size_t e = body.find('"', p);
    return e == std::string::npos ? std::string() : body.substr(p, e - p);
}

std::string percentEncode(const std::string& s)
{
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : s)
    {
        if (std::isalnum(c) || c == '_' || c == '.' || c == '-' || c == '"' || c == '=' ||
            c == ',')
            out += char(c);
        else
        {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    return out;
}

// Headers for a bare body: CIMMethod from the call's NAME, CIMObject from the
// NAMESPACE elements (and, for METHODCALL, the class name; the processor
// compares namespace and class when the header is not a parsable path).
CimXmlHeaders derivedHeaders(const std::string& body)
{
    bool extrinsic = body.find("<METHODCALL") != std::string::npos;
    std::string method = attributeAfter(body, extrinsic ? "<METHODCALL" : "<IMETHODCALL");
    std::string ns;
    size_t p = 0;
    while ((p = body.find("<NAMESPACE NAME=\"", p)) != std::string::npos)
    {
        p += 17;
        size_t e = body.find('"', p);
        if (e == std::string::npos)
            break;
        if (!ns.empty())
            ns += '/';
        ns += body.substr(p, e - p);
        if (body.compare(e, 20, "\"/></LOCALNAMESPACEP") == 0 ||
            body.compare(e, 21, "\"/>\n</LOCALNAMESPACEP") == 0)
            break;
    }
    std::string object = ns;
    if (extrinsic)
    {
        std::string cls;
        size_t a = body.find("CLASSNAME=\"");
        size_t b = body.find("<CLASSNAME NAME=\"");
        size_t c = a < b ? (a == std::string::npos ? a : a + 11) :
            (b == std::string::npos ? b : b + 17);
        if (c != std::string::npos)
        {
            size_t e = body.find('"', c);
            if (e != std::string::npos)
                cls = body.substr(c, e - c);
        }
        object = ns + ":" + cls + ".(";
    }
    return CimXmlHeaders{
        {"Content-Type", "application/xml; charset=\"utf-8\""},
        {"CIMProtocolVersion", "1.0"},
        {"CIMOperation", "MethodCall"},
        {"CIMMethod", percentEncode(method.empty() ? std::string("X") : method)},
        {"CIMObject", percentEncode(object.empty() ? std::string("root") : object)},
    };
}

// Splits "METHOD ...\nName: value\n...\n\nbody".
void splitRequest(const std::string& input, std::string& method, CimXmlHeaders& headers,
    std::string& body)
{
    size_t pos = 0;
    bool first = true;
    while (pos < input.size())
    {
        size_t e = input.find('\n', pos);
        if (e == std::string::npos)
            e = input.size();
        std::string line = input.substr(pos, e - pos);
        pos = e + 1;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty())
            break;
        if (first)
        {
            method = line.substr(0, line.find(' '));
            first = false;
            continue;
        }
        size_t colon = line.find(':');
        std::string name = line.substr(0, colon);
        std::string value;
        if (colon != std::string::npos)
        {
            value = line.substr(colon + 1);
            value.erase(0, value.find_first_not_of(" \t") == std::string::npos ?
                value.size() : value.find_first_not_of(" \t"));
        }
        headers.push_back(std::make_pair(name, value));
    }
    body = pos < input.size() ? input.substr(pos) : std::string();
}

// Our own answer must decode with our own response decoder.
void checkAnswer(const CimXmlHttpResponse& r)
{
    if (r.status != 200)
    {
        if (!r.body.empty())
            velkfuzz::fail("HTTP error answer with a body");
        return;
    }
    pugi::xml_document doc;
    if (!doc.load_buffer(r.body.data(), r.body.size()))
        velkfuzz::fail("answer is not well-formed XML:\n" + r.body);
    pugi::xml_node msg = doc.child("CIM").child("MESSAGE");
    pugi::xml_node rsp = msg.child("SIMPLERSP").first_child();
    String id, name;
    try
    {
        id = String(msg.attribute("ID").value());
        name = String(rsp.attribute("NAME").value());
    }
    catch (const Exception&)
    {
        velkfuzz::fail("answer carries a MESSAGE ID or NAME that is not UTF-8:\n" + r.body);
    }
    try
    {
        if (std::string(rsp.name()) == "IMETHODRESPONSE")
            (void)XmlReader::decodeIMethodResponse(r.body, name, id);
        else
            (void)XmlReader::decodeMethodResponse(r.body, name, id);
    }
    catch (const Exception& e)
    {
        velkfuzz::fail("our response decoder rejects our answer (" +
            velkfuzz::utf8(e.getMessage()) + "):\n" + r.body);
    }
}

bool tracing()
{
    static const bool trace = std::getenv("VELK_FUZZ_TRACE") != nullptr;
    return trace;
}

// What our decoder takes from the body must survive our encoder and our
// decoder unchanged (EXTENDED keeps the embedded-object markings).
void checkCodecRoundTrips(const std::string& body)
{
    CIMObject object;
    bool haveObject = true;
    try
    {
        object = XmlReader::decodeObject(body);
    }
    catch (const Exception&)
    {
        haveObject = false;
    }
    if (haveObject)
    {
        std::string text;
        XmlWriter(text, XmlWriter::EXTENDED).appendObject(object);
        CIMObject again;
        try
        {
            again = XmlReader::decodeObject(text);
        }
        catch (const Exception& e)
        {
            velkfuzz::fail("a decoded object does not decode after encoding (" +
                velkfuzz::utf8(e.getMessage()) + "):\n" + text);
        }
        if (!again.identical(object))
            velkfuzz::fail("a decoded object changes in an encode/decode round trip:\n" + text);
        if (tracing())
            std::fprintf(stderr, "object round trip ok\n");
    }

    CIMObjectPath path;
    try
    {
        path = XmlReader::decodeObjectPath(body);
    }
    catch (const Exception&)
    {
        return;
    }
    std::string text;
    XmlWriter(text, XmlWriter::EXTENDED).appendValueReference(path);
    CIMObjectPath again;
    try
    {
        again = XmlReader::decodeValueReference(text);
    }
    catch (const Exception& e)
    {
        velkfuzz::fail("a decoded path does not decode after encoding (" +
            velkfuzz::utf8(e.getMessage()) + "):\n" + text);
    }
    if (!again.identical(path))
        velkfuzz::fail("a decoded path changes in an encode/decode round trip:\n" + text);
    if (tracing())
        std::fprintf(stderr, "path round trip ok\n");
}

template <class F>
void tolerate(F f)
{
    try
    {
        f();
    }
    catch (const Exception&)
    {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static FuzzOperations ops;
    static CimXmlRequestProcessor processor(ops, String("fuzz.example.com"));
    static CimXmlRequestProcessor extended(ops, String("fuzz.example.com"), XmlWriter::EXTENDED);

    std::string input(reinterpret_cast<const char*>(data), size);
    std::string method = "POST";
    CimXmlHeaders headers;
    std::string body;
    if (!input.empty() && input[0] == '<')
    {
        body = input;
        headers = derivedHeaders(body);
    }
    else
        splitRequest(input, method, headers, body);

    static const Answer answers[] = { Answer::Fixed, Answer::Echo, Answer::CimError,
        Answer::PlainError };
    ops.answer = answers[size % 4];

    OperationContext ctx;
    ctx.insert(IdentityContainer(String("fuzz"), String("127.0.0.1")));
    const CimXmlRequestProcessor& p = (size / 4) % 2 ? extended : processor;
    // process() answers every input; an exception escaping it is a fault
    // that libFuzzer reports as a crash.
    CimXmlHttpResponse r = p.process(method, headers, body, ctx);
    if (tracing())
        std::fprintf(stderr, "status %u CIMError \"%s\" PGErrorDetail \"%s\"\n%s\n",
            unsigned(r.status), r.header("CIMError").c_str(), r.header("PGErrorDetail").c_str(),
            r.body.substr(0, 600).c_str());
    checkAnswer(r);

    String none;
    tolerate([&] { (void)XmlReader::decodeIMethodResponse(body, String("GetInstance"), none); });
    tolerate([&] { (void)XmlReader::decodeMethodResponse(body, String("GetErrorRecord"), none); });
    checkCodecRoundTrips(body);
    tolerate([&] { (void)XmlReader::decodeValueObjectWithPath(body); });
    tolerate([&] { (void)XmlReader::decodeParamValue(body); });
    return 0;
}
