// Cost of the CIM-XML mapping alone, without HTTP: an EnumerateInstances
// answer of 10,000 instances of a 30-property class encoded and decoded,
// and a GetInstance request through the request processor.
#include <benchmark/benchmark.h>

#include <string>

#include <CimXml/CimXmlRequestProcessor.h>
#include <CimXml/XmlReader.h>
#include <CimXml/XmlWriter.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/OperationContext.h>

using namespace Pegasus;

namespace
{

// 30 properties: a key, strings, integers, a datetime, an array.
CIMInstance makeInstance(Uint32 n)
{
    CIMInstance i(CIMName("EXM_Bench"));
    String id("EXM:Bench:");
    id.append(String(std::to_string(n).c_str()));
    i.addProperty(CIMProperty(CIMName("InstanceID"), CIMValue(id)));
    for (Uint32 k = 0; k < 10; k++)
    {
        String name("Text");
        name.append(String(std::to_string(k).c_str()));
        i.addProperty(CIMProperty(CIMName(name), CIMValue(String("some text & more"))));
    }
    for (Uint32 k = 0; k < 16; k++)
    {
        String name("Count");
        name.append(String(std::to_string(k).c_str()));
        i.addProperty(CIMProperty(CIMName(name), CIMValue(Uint32(n * 31 + k))));
    }
    i.addProperty(CIMProperty(CIMName("Started"),
        CIMValue(CIMDateTime(String("20240131120000.000000+060")))));
    i.addProperty(CIMProperty(CIMName("Elapsed"),
        CIMValue(CIMDateTime(String("00000000000512.000000:000")))));
    Array<Uint16> st;
    st.append(2);
    st.append(17);
    i.addProperty(CIMProperty(CIMName("OperationalStatus"), CIMValue(st)));
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"), id, CIMKeyBinding::STRING));
    i.setPath(CIMObjectPath(String(), CIMNamespaceName(), CIMName("EXM_Bench"), keys));
    return i;
}

const Array<CIMInstance>& instances()
{
    static Array<CIMInstance> all = [] {
        Array<CIMInstance> a;
        for (Uint32 n = 0; n < 10000; n++)
            a.append(makeInstance(n));
        return a;
    }();
    return all;
}

std::string encodeAll()
{
    std::string body;
    XmlWriter w(body, XmlWriter::NO_INSTANCE_QUALIFIERS);
    w.appendResponseStart(String("1"));
    w.appendStartTag("IMETHODRESPONSE", "NAME", String("EnumerateInstances"));
    w.appendStartTag("IRETURNVALUE");
    const Array<CIMInstance>& a = instances();
    for (Uint32 i = 0; i < a.size(); i++)
        w.appendValueNamedInstance(a[i]);
    w.appendEndTag("IRETURNVALUE");
    w.appendEndTag("IMETHODRESPONSE");
    w.appendResponseEnd();
    return body;
}

void BM_EncodeEnumeration10k(benchmark::State& state)
{
    instances();
    size_t bytes = 0;
    for (auto _ : state)
    {
        std::string body = encodeAll();
        bytes = body.size();
        benchmark::DoNotOptimize(body.data());
    }
    state.counters["bytes"] = double(bytes);
}
BENCHMARK(BM_EncodeEnumeration10k)->Unit(benchmark::kMillisecond);

void BM_DecodeEnumeration10k(benchmark::State& state)
{
    std::string body = encodeAll();
    for (auto _ : state)
    {
        CimXmlIMethodResponse r = XmlReader::decodeIMethodResponse(body,
            String("EnumerateInstances"), String("1"));
        benchmark::DoNotOptimize(r.instances.size());
    }
}
BENCHMARK(BM_DecodeEnumeration10k)->Unit(benchmark::kMillisecond);

// Answers GetInstance from one prepared instance.
class OneInstance : public CIMOperations
{
public:
    CIMInstance inst = makeInstance(17);

#define NOT_USED(...) { throw CIMException(CIM_ERR_NOT_SUPPORTED); }
    CIMClass getClass(const OperationContext&, const CIMNamespaceName&, const CIMName&,
        Boolean, Boolean, Boolean, const CIMPropertyList&) override NOT_USED()
    Array<CIMClass> enumerateClasses(const OperationContext&, const CIMNamespaceName&,
        const CIMName&, Boolean, Boolean, Boolean, Boolean) override NOT_USED()
    Array<CIMName> enumerateClassNames(const OperationContext&, const CIMNamespaceName&,
        const CIMName&, Boolean) override NOT_USED()
    void createClass(const OperationContext&, const CIMNamespaceName&,
        const CIMClass&) override NOT_USED()
    void modifyClass(const OperationContext&, const CIMNamespaceName&,
        const CIMClass&) override NOT_USED()
    void deleteClass(const OperationContext&, const CIMNamespaceName&,
        const CIMName&) override NOT_USED()
    CIMQualifierDecl getQualifier(const OperationContext&, const CIMNamespaceName&,
        const CIMName&) override NOT_USED()
    Array<CIMQualifierDecl> enumerateQualifiers(const OperationContext&,
        const CIMNamespaceName&) override NOT_USED()
    CIMInstance getInstance(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, Boolean, Boolean, Boolean, const CIMPropertyList&) override
    {
        return inst;
    }
    Array<CIMInstance> enumerateInstances(const OperationContext&, const CIMNamespaceName&,
        const CIMName&, Boolean, Boolean, Boolean, Boolean,
        const CIMPropertyList&) override NOT_USED()
    Array<CIMObjectPath> enumerateInstanceNames(const OperationContext&,
        const CIMNamespaceName&, const CIMName&) override NOT_USED()
    CIMObjectPath createInstance(const OperationContext&, const CIMNamespaceName&,
        const CIMInstance&) override NOT_USED()
    void modifyInstance(const OperationContext&, const CIMNamespaceName&,
        const CIMInstance&, Boolean, const CIMPropertyList&) override NOT_USED()
    void deleteInstance(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&) override NOT_USED()
    Array<CIMObject> associators(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName&, const CIMName&, const String&,
        const String&, Boolean, Boolean, const CIMPropertyList&) override NOT_USED()
    Array<CIMObjectPath> associatorNames(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName&, const CIMName&, const String&,
        const String&) override NOT_USED()
    Array<CIMObject> references(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName&, const String&, Boolean, Boolean,
        const CIMPropertyList&) override NOT_USED()
    Array<CIMObjectPath> referenceNames(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName&, const String&) override NOT_USED()
    CIMValue getProperty(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName&) override NOT_USED()
    void setProperty(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName&, const CIMValue&) override NOT_USED()
    CIMValue invokeMethod(const OperationContext&, const CIMNamespaceName&,
        const CIMObjectPath&, const CIMName&, const Array<CIMParamValue>&,
        Array<CIMParamValue>&) override NOT_USED()
#undef NOT_USED
};

void BM_ProcessGetInstance(benchmark::State& state)
{
    OneInstance ops;
    CimXmlRequestProcessor processor(ops, String("bench.example.com"));
    CimXmlHeaders headers = {
        {"Content-Type", "application/xml; charset=\"utf-8\""},
        {"CIMOperation", "MethodCall"},
        {"CIMMethod", "GetInstance"},
        {"CIMObject", "root%2Fexm"}};
    std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLEREQ><IMETHODCALL NAME=\"GetInstance\"><LOCALNAMESPACEPATH>"
        "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"exm\"/></LOCALNAMESPACEPATH>"
        "<IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME CLASSNAME=\"EXM_Bench\">"
        "<KEYBINDING NAME=\"InstanceID\"><KEYVALUE VALUETYPE=\"string\">EXM:Bench:17"
        "</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE>"
        "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>\n";
    OperationContext ctx;
    ctx.insert(IdentityContainer(String("bench"), String("127.0.0.1")));
    for (auto _ : state)
    {
        CimXmlHttpResponse r = processor.process("POST", headers, body, ctx);
        benchmark::DoNotOptimize(r.body.data());
    }
}
BENCHMARK(BM_ProcessGetInstance)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
