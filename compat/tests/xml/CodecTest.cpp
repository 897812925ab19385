// CIM-XML codec: exact output of each element kind, round trips, tolerant
// input, escaping and embedded objects.
#include <gtest/gtest.h>

#include <regex>
#include <vector>

#include <CimXml/XmlReader.h>
#include <CimXml/XmlWriter.h>
#include <Pegasus/Common/CIMDateTime.h>

#include "TestOperations.h"
#include "../TestSupport.h"

using namespace Pegasus;

namespace
{

using compattest::str;

std::string encodeValue(const CIMValue& v)
{
    std::string out;
    XmlWriter(out).appendValue(v);
    return out;
}

template <class F>
std::string encode(F f)
{
    std::string out;
    XmlWriter w(out);
    f(w);
    return out;
}

CIMObjectPath serviceRef()
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Name"), String("jobsvc"), CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("CreationClassName"), String("EXM_JobService"),
        CIMKeyBinding::STRING));
    return CIMObjectPath(String("cimsrv.example.com"), CIMNamespaceName("root/exm"),
        CIMName("EXM_JobService"), keys);
}

// An instance with every kind of property.
CIMInstance richInstance()
{
    CIMInstance i(CIMName("EXM_Rich"));
    i.addProperty(CIMProperty(CIMName("B"), CIMValue(true)));
    i.addProperty(CIMProperty(CIMName("U8"), CIMValue(Uint8(255))));
    i.addProperty(CIMProperty(CIMName("S8"), CIMValue(Sint8(-128))));
    i.addProperty(CIMProperty(CIMName("U16"), CIMValue(Uint16(65535))));
    i.addProperty(CIMProperty(CIMName("S16"), CIMValue(Sint16(-32768))));
    i.addProperty(CIMProperty(CIMName("U32"), CIMValue(Uint32(4294967295u))));
    i.addProperty(CIMProperty(CIMName("S32"), CIMValue(Sint32(-2147483647 - 1))));
    i.addProperty(CIMProperty(CIMName("U64"), CIMValue(Uint64(18446744073709551615ull))));
    i.addProperty(CIMProperty(CIMName("S64"), CIMValue(Sint64(-9223372036854775807ll - 1))));
    i.addProperty(CIMProperty(CIMName("R32"), CIMValue(Real32(0.1f))));
    i.addProperty(CIMProperty(CIMName("R64"), CIMValue(Real64(-2.5e-300))));
    i.addProperty(CIMProperty(CIMName("C16"), CIMValue(Char16(0x00E9))));
    i.addProperty(CIMProperty(CIMName("Str"),
        CIMValue(String("a & b < c > d \"q\" 'x'\ttab\nline\r\nend \xc3\xa9"))));
    i.addProperty(CIMProperty(CIMName("Empty"), CIMValue(String(""))));
    i.addProperty(CIMProperty(CIMName("Null"), CIMValue(CIMTYPE_STRING, false)));
    i.addProperty(CIMProperty(CIMName("When"),
        CIMValue(CIMDateTime(String("20240131120000.000000+060")))));
    i.addProperty(CIMProperty(CIMName("Elapsed"),
        CIMValue(CIMDateTime(String("00000001020304.000000:000")))));
    Array<Uint16> status;
    status.append(2);
    status.append(17);
    i.addProperty(CIMProperty(CIMName("OperationalStatus"), CIMValue(status)));
    i.addProperty(CIMProperty(CIMName("NoStatus"), CIMValue(Array<String>())));
    i.addProperty(CIMProperty(CIMName("NullArray"), CIMValue(CIMTYPE_SINT64, true)));
    Array<String> strs;
    strs.append(String("x<y"));
    strs.append(String(""));
    i.addProperty(CIMProperty(CIMName("Strs"), CIMValue(strs)));
    i.addProperty(CIMProperty(CIMName("Owner"), CIMValue(serviceRef()), 0,
        CIMName("CIM_ManagedElement")));
    i.addProperty(CIMProperty(CIMName("NoOwner"), CIMValue(CIMTYPE_REFERENCE, false), 0,
        CIMName("CIM_ManagedElement")));
    i.addProperty(CIMProperty(CIMName("Error"), CIMValue(cimxmltest::errorInstance())));
    return i;
}

// The class the test operations serve, with more of every kind.
CIMClass richClass()
{
    CIMClass c = cimxmltest::TestOperations().jobClass;
    Array<String> vm;
    vm.append(String("0"));
    vm.append(String("1"));
    c.addQualifier(CIMQualifier(CIMName("ValueMap"), CIMValue(vm),
        CIMFlavor::OVERRIDABLE + CIMFlavor::RESTRICTED, true));
    c.addProperty(CIMProperty(CIMName("Priority"), CIMValue(Uint32(5)), 0, CIMName(),
        CIMName("EXM_Job")));
    c.addProperty(CIMProperty(CIMName("Slots"), CIMValue(CIMTYPE_UINT8, true, 4), 4));
    c.addProperty(CIMProperty(CIMName("Owner"), CIMValue(CIMTYPE_REFERENCE, false), 0,
        CIMName("CIM_ManagedElement")));
    CIMMethod m = c.getMethod(0);
    m.addQualifier(CIMQualifier(CIMName("Description"), CIMValue(String("Get it")),
        CIMFlavor::DEFAULTS));
    CIMParameter err(CIMName("Error"), CIMTYPE_STRING);
    err.addQualifier(CIMQualifier(CIMName("EmbeddedInstance"), CIMValue(String("CIM_Error")),
        CIMFlavor::DEFAULTS));
    m.addParameter(err);
    m.addParameter(CIMParameter(CIMName("Errors"), CIMTYPE_STRING, true));
    m.addParameter(CIMParameter(CIMName("Fixed"), CIMTYPE_SINT32, true, 3));
    m.addParameter(CIMParameter(CIMName("Job"), CIMTYPE_REFERENCE, false, 0,
        CIMName("CIM_ConcreteJob")));
    m.addParameter(CIMParameter(CIMName("Jobs"), CIMTYPE_REFERENCE, true, 0,
        CIMName("CIM_ConcreteJob")));
    c.addMethod(CIMMethod(CIMName("Kill"), CIMTYPE_BOOLEAN, CIMName("CIM_Job"), true));
    return c;
}

} // namespace

// --- exact output ------------------------------------------------------------

TEST(CimXmlWriter, ScalarTextOfEveryType)
{
    Array<Uint16> a;
    a.append(2);
    a.append(17);
    const std::pair<CIMValue, const char*> cases[] = {
        {CIMValue(true), "<VALUE>TRUE</VALUE>"},
        {CIMValue(false), "<VALUE>FALSE</VALUE>"},
        {CIMValue(Sint8(-128)), "<VALUE>-128</VALUE>"},
        {CIMValue(Uint8(255)), "<VALUE>255</VALUE>"},
        {CIMValue(Uint64(18446744073709551615ull)), "<VALUE>18446744073709551615</VALUE>"},
        {CIMValue(Sint64(-9223372036854775807ll - 1)), "<VALUE>-9223372036854775808</VALUE>"},
        {CIMValue(Real64(1.5)), "<VALUE>1.5</VALUE>"},
        {CIMValue(Real32(0.1f)), "<VALUE>0.1</VALUE>"},
        {CIMValue(Char16(0xE9)), "<VALUE>\xc3\xa9</VALUE>"},
        {CIMValue(CIMDateTime(String("00000001020304.000000:000"))),
            "<VALUE>00000001020304.000000:000</VALUE>"},
        {CIMValue(String("")), "<VALUE></VALUE>"},
        {CIMValue(CIMTYPE_UINT32, false), ""},
        {CIMValue(CIMTYPE_UINT32, true), ""},
        {CIMValue(a), "<VALUE.ARRAY><VALUE>2</VALUE><VALUE>17</VALUE></VALUE.ARRAY>"},
        {CIMValue(Array<Boolean>()), "<VALUE.ARRAY></VALUE.ARRAY>"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.second, encodeValue(c.first));
}

TEST(CimXmlWriter, EscapingUsesNamedEntitiesAndKeepsCarriageReturns)
{
    EXPECT_EQ("<VALUE>a &amp; b &lt;c&gt; \"q\" 'x'\tline\nCR&#13;end</VALUE>",
        encodeValue(CIMValue(String("a & b <c> \"q\" 'x'\tline\nCR\rend"))));
    std::string out;
    XmlWriter::appendEscaped(out, String("say \"hi\" & <go>\n"), true);
    EXPECT_EQ("say &quot;hi&quot; &amp; &lt;go&gt;&#10;", out);
}

// Plain ASCII is copied several units at a time: a unit that needs escaping
// or encoding must come out right wherever it falls in such a run, also
// across the ends of a run and of the pieces a long text is written in.
TEST(CimXmlWriter, EscapingAndEncodingAtEveryPositionOfAPlainRun)
{
    struct Case
    {
        std::vector<Uint16> units;
        const char* text;       // element text
        const char* attribute;  // attribute value
    };
    const Case cases[] = {
        { { '&' }, "&amp;", "&amp;" },
        { { '<' }, "&lt;", "&lt;" },
        { { '>' }, "&gt;", "&gt;" },
        { { '"' }, "\"", "&quot;" },
        { { '\r' }, "&#13;", "&#13;" },
        { { '\n' }, "\n", "&#10;" },
        { { 0x01 }, "&#1;", "&#1;" },
        { { 0x7F }, "\x7F", "\x7F" },
        { { 0xE9 }, "\xC3\xA9", "\xC3\xA9" },
        { { 0x100 }, "\xC4\x80", "\xC4\x80" },
        { { 0x20AC }, "\xE2\x82\xAC", "\xE2\x82\xAC" },
        { { 0x8000 }, "\xE8\x80\x80", "\xE8\x80\x80" },
        { { 0xD83D, 0xDE00 }, "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80" },
        { { 0xD83D }, "\xEF\xBF\xBD", "\xEF\xBF\xBD" },
        { { 0xDE00 }, "\xEF\xBF\xBD", "\xEF\xBF\xBD" },
    };
    // Short runs, and runs around the length written per piece.
    const size_t lengths[] = { 1, 3, 4, 5, 7, 8, 17, 24, 4095, 4096, 4097, 8193 };
    for (const Case& c : cases)
    {
        for (size_t length : lengths)
        {
            std::vector<size_t> positions;
            for (size_t at = 0; at < length && at < 18; at++)
                positions.push_back(at);
            for (size_t at : { length - 1, length / 2, size_t(4094), size_t(4095), size_t(4096) })
                if (at < length)
                    positions.push_back(at);
            for (size_t at : positions)
            {
                std::vector<Uint16> units(length, Uint16('a' + at % 26));
                units.insert(units.begin() + long(at), c.units.begin(), c.units.end());
                String s(reinterpret_cast<const Char16*>(units.data()), Uint32(units.size()));
                std::string before(at, char('a' + at % 26));
                std::string after(length - at, char('a' + at % 26));
                SCOPED_TRACE("unit " + std::to_string(c.units[0]) + " at " + std::to_string(at) +
                    " of " + std::to_string(length));
                std::string text = "x";
                XmlWriter::appendEscaped(text, s, false);
                EXPECT_EQ("x" + before + c.text + after, text);
                std::string attribute;
                XmlWriter::appendEscaped(attribute, s, true);
                EXPECT_EQ(before + c.attribute + after, attribute);
                EXPECT_EQ("<VALUE>" + before + c.text + after + "</VALUE>",
                    encodeValue(CIMValue(s)));
            }
        }
    }
}

TEST(CimXmlWriter, InstancePropertiesInTheStrictClientForm)
{
    CIMInstance i(CIMName("EXM_Job"));
    i.addProperty(CIMProperty(CIMName("InstanceID"), CIMValue(String("EXM:Job:17"))));
    i.addProperty(CIMProperty(CIMName("JobState"), CIMValue(Uint16(7))));
    i.addProperty(CIMProperty(CIMName("ElapsedTime"),
        CIMValue(CIMDateTime(String("00000000000512.000000:000")))));
    i.addProperty(CIMProperty(CIMName("ErrorDescription"), CIMValue(CIMTYPE_STRING, false)));
    Array<Uint16> st;
    st.append(2);
    st.append(17);
    i.addProperty(CIMProperty(CIMName("OperationalStatus"), CIMValue(st)));
    std::string out = encode([&](XmlWriter& w) { w.appendInstance(i); });
    EXPECT_EQ(
        "<INSTANCE CLASSNAME=\"EXM_Job\">\n"
        "<PROPERTY NAME=\"InstanceID\" TYPE=\"string\"><VALUE>EXM:Job:17</VALUE></PROPERTY>\n"
        "<PROPERTY NAME=\"JobState\" TYPE=\"uint16\"><VALUE>7</VALUE></PROPERTY>\n"
        "<PROPERTY NAME=\"ElapsedTime\" TYPE=\"datetime\"><VALUE>00000000000512.000000:000</VALUE></PROPERTY>\n"
        "<PROPERTY NAME=\"ErrorDescription\" TYPE=\"string\"></PROPERTY>\n"
        "<PROPERTY.ARRAY NAME=\"OperationalStatus\" TYPE=\"uint16\"><VALUE.ARRAY><VALUE>2</VALUE><VALUE>17</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>\n"
        "</INSTANCE>\n", out);
}

TEST(CimXmlWriter, ClassWithQualifiersMethodsAndParameters)
{
    // The class the test operations serve, with an output parameter added.
    CIMClass c = cimxmltest::TestOperations().jobClass;
    CIMParameter err(CIMName("Error"), CIMTYPE_STRING);
    err.addQualifier(CIMQualifier(CIMName("In"), CIMValue(false),
        CIMFlavor::TOSUBCLASS + CIMFlavor::DISABLEOVERRIDE));
    err.addQualifier(CIMQualifier(CIMName("Out"), CIMValue(true),
        CIMFlavor::TOSUBCLASS + CIMFlavor::DISABLEOVERRIDE));
    err.addQualifier(CIMQualifier(CIMName("EmbeddedInstance"), CIMValue(String("CIM_Error")),
        CIMFlavor::DEFAULTS));
    c.getMethod(0).addParameter(err);
    std::string out = encode([&](XmlWriter& w) { w.appendClass(c); });
    EXPECT_EQ(
        "<CLASS NAME=\"EXM_Job\" SUPERCLASS=\"CIM_ConcreteJob\">\n"
        "<QUALIFIER NAME=\"Description\" TYPE=\"string\" TRANSLATABLE=\"true\"><VALUE>Example job class</VALUE></QUALIFIER>\n"
        "<PROPERTY NAME=\"InstanceID\" TYPE=\"string\" CLASSORIGIN=\"CIM_ManagedElement\" PROPAGATED=\"true\">\n"
        "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\" OVERRIDABLE=\"false\"><VALUE>TRUE</VALUE></QUALIFIER>\n"
        "</PROPERTY>\n"
        "<METHOD NAME=\"GetErrorRecord\" TYPE=\"uint32\" CLASSORIGIN=\"EXM_Job\">\n"
        "<PARAMETER NAME=\"Index\" TYPE=\"uint16\">\n"
        "<QUALIFIER NAME=\"In\" TYPE=\"boolean\" OVERRIDABLE=\"false\"><VALUE>TRUE</VALUE></QUALIFIER>\n"
        "</PARAMETER>\n"
        "<PARAMETER NAME=\"Error\" TYPE=\"string\">\n"
        "<QUALIFIER NAME=\"In\" TYPE=\"boolean\" OVERRIDABLE=\"false\"><VALUE>FALSE</VALUE></QUALIFIER>\n"
        "<QUALIFIER NAME=\"Out\" TYPE=\"boolean\" OVERRIDABLE=\"false\"><VALUE>TRUE</VALUE></QUALIFIER>\n"
        "<QUALIFIER NAME=\"EmbeddedInstance\" TYPE=\"string\"><VALUE>CIM_Error</VALUE></QUALIFIER>\n"
        "</PARAMETER>\n"
        "</METHOD>\n"
        "</CLASS>\n", out);
}

TEST(CimXmlWriter, PathsAndKeyBindings)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Owner"), CIMValue(serviceRef())));
    keys.append(CIMKeyBinding(CIMName("Slot"), String("3"), CIMKeyBinding::NUMERIC));
    keys.append(CIMKeyBinding(CIMName("Online"), String("TRUE"), CIMKeyBinding::BOOLEAN));
    CIMObjectPath p(String("h1"), CIMNamespaceName("root/exm"), CIMName("EXM_Disk"), keys);
    std::string out = encode([&](XmlWriter& w) { w.appendInstancePath(p); });
    EXPECT_EQ(
        "<INSTANCEPATH>\n<NAMESPACEPATH>\n<HOST>h1</HOST>\n"
        "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"exm\"/></LOCALNAMESPACEPATH>\n"
        "</NAMESPACEPATH>\n"
        "<INSTANCENAME CLASSNAME=\"EXM_Disk\">\n"
        "<KEYBINDING NAME=\"Online\"><KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE></KEYBINDING>\n"
        "<KEYBINDING NAME=\"Owner\">\n<VALUE.REFERENCE>\n<INSTANCEPATH>\n<NAMESPACEPATH>\n"
        "<HOST>cimsrv.example.com</HOST>\n"
        "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"exm\"/></LOCALNAMESPACEPATH>\n"
        "</NAMESPACEPATH>\n<INSTANCENAME CLASSNAME=\"EXM_JobService\">\n"
        "<KEYBINDING NAME=\"CreationClassName\"><KEYVALUE VALUETYPE=\"string\">EXM_JobService</KEYVALUE></KEYBINDING>\n"
        "<KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">jobsvc</KEYVALUE></KEYBINDING>\n"
        "</INSTANCENAME>\n</INSTANCEPATH>\n</VALUE.REFERENCE>\n</KEYBINDING>\n"
        "<KEYBINDING NAME=\"Slot\"><KEYVALUE VALUETYPE=\"numeric\">3</KEYVALUE></KEYBINDING>\n"
        "</INSTANCENAME>\n</INSTANCEPATH>\n", out);

    CIMObjectPath keyless(String(), CIMNamespaceName(), CIMName("EXM_Single"));
    EXPECT_EQ("<INSTANCENAME CLASSNAME=\"EXM_Single\"/>\n",
        encode([&](XmlWriter& w) { w.appendInstanceName(keyless); }));
    CIMObjectPath cls(String(), CIMNamespaceName("root/exm"), CIMName("EXM_Job"));
    EXPECT_EQ("<LOCALCLASSPATH>\n<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>"
        "<NAMESPACE NAME=\"exm\"/></LOCALNAMESPACEPATH>\n<CLASSNAME NAME=\"EXM_Job\"/>\n"
        "</LOCALCLASSPATH>\n",
        encode([&](XmlWriter& w) { w.appendLocalClassPath(cls); }));
}

// One writer, one-key names of changing classes, key names and key types in
// turn: each keeps its own head, and values are escaped.
TEST(CimXmlWriter, OneKeyNamesInARunKeepTheirOwnHeads)
{
    auto path = [](const CIMName& cls, const CIMName& key, const char* value,
                    CIMKeyBinding::Type type) {
        return CIMObjectPath(String(), CIMNamespaceName(), cls,
            Array<CIMKeyBinding>(1, CIMKeyBinding(key, String(value), type)));
    };
    Array<CIMObjectPath> run;
    run.append(path(CIMName("EXM_Job"), CIMName("InstanceID"), "a<1", CIMKeyBinding::STRING));
    run.append(path(CIMName("EXM_Job"), CIMName("InstanceID"), "2", CIMKeyBinding::NUMERIC));
    run.append(path(CIMName("EXM_Disk"), CIMName("InstanceID"), "3", CIMKeyBinding::NUMERIC));
    run.append(path(CIMName("EXM_Disk"), CIMName("Slot"), "4", CIMKeyBinding::NUMERIC));
    run.append(path(CIMName(String("EXM_Other")), CIMName(String("Key")), "&", CIMKeyBinding::STRING));
    run.append(path(CIMName("EXM_Job"), CIMName("InstanceID"), "6", CIMKeyBinding::STRING));
    auto name = [](const char* cls, const char* key, const char* type, const char* value) {
        return std::string("<INSTANCENAME CLASSNAME=\"") + cls + "\">\n<KEYBINDING NAME=\"" + key +
            "\"><KEYVALUE VALUETYPE=\"" + type + "\">" + value +
            "</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n";
    };
    std::string expected = name("EXM_Job", "InstanceID", "string", "a&lt;1") +
        name("EXM_Job", "InstanceID", "numeric", "2") + name("EXM_Disk", "InstanceID", "numeric", "3") +
        name("EXM_Disk", "Slot", "numeric", "4") + name("EXM_Other", "Key", "string", "&amp;") +
        name("EXM_Job", "InstanceID", "string", "6");
    EXPECT_EQ(expected, encode([&](XmlWriter& w) { w.appendInstanceNames(run); }));
    EXPECT_EQ(expected, encode([&](XmlWriter& w) {
        for (Uint32 i = 0; i < run.size(); i++)
            w.appendInstanceName(run[i]);
    }));
}

TEST(CimXmlWriter, OutputFollowsTheStrictClientRules)
{
    CIMInstance i = richInstance();
    Array<CIMKeyBinding> k;
    k.append(CIMKeyBinding(CIMName("Id"), String("1"), CIMKeyBinding::NUMERIC));
    i.setPath(CIMObjectPath(String(), CIMNamespaceName(), CIMName("EXM_Rich"), k));
    CIMClass c = richClass();
    std::string out = encode([&](XmlWriter& w) {
        w.appendValueNamedInstance(i);
        w.appendClass(c);
        w.appendParamValue(CIMParamValue(String("E"), CIMValue(cimxmltest::errorInstance())));
        w.appendReturnValue(CIMValue(cimxmltest::errorInstance()));
    });
    EXPECT_EQ(std::string::npos, out.find("VALUE.NULL"));
    EXPECT_EQ(std::string::npos, out.find("xml:lang"));
    EXPECT_EQ(std::string::npos, out.find("CDATA"));
    EXPECT_EQ(std::string::npos, out.find("EMBEDDEDOBJECT"));
    // No numeric references except the carriage return of the string.
    EXPECT_EQ(std::regex_replace(out, std::regex("&#13;"), "").find("&#"),
        std::string::npos);
    // Empty-element tags only for NAMESPACE, CLASSNAME and key-less INSTANCENAME.
    std::smatch m;
    std::string rest = out;
    while (std::regex_search(rest, m, std::regex("<([A-Z.]+)[^<>]*/>")))
    {
        std::string tag = m[1];
        EXPECT_TRUE(tag == "NAMESPACE" || tag == "CLASSNAME" || tag == "INSTANCENAME")
            << tag;
        rest = m.suffix();
    }
    // EmbeddedObject neither on PROPERTY.ARRAY nor on RETURNVALUE.
    EXPECT_EQ(std::string::npos, out.find("<RETURNVALUE PARAMTYPE=\"string\" Embedded"));
    EXPECT_NE(std::string::npos, out.find(
        "<PARAMVALUE NAME=\"E\" PARAMTYPE=\"string\" EmbeddedObject=\"instance\">"));
}

// --- round trips ------------------------------------------------------------

TEST(CimXmlRoundTrip, ValuesOfEveryTypeAndTheInstanceHoldingThem)
{
    CIMInstance i = richInstance();
    for (Uint32 k = 0; k < i.getPropertyCount(); k++)
    {
        CIMValue v = i.getProperty(k).getValue();
        if (v.isNull())
            continue;
        std::string xml = encodeValue(v);
        CIMValue back = XmlReader::decodeValue(xml, v.getType());
        EXPECT_TRUE(back == v) << str(i.getProperty(k).getName().getString()) << ": " << xml;
    }
    // Exact round trip of binary floating point.
    CIMValue r(Real64(0.1 + 0.2));
    EXPECT_TRUE(XmlReader::decodeValue(encodeValue(r), CIMTYPE_REAL64) == r);
    CIMValue f(Real32(3.4028235e38f));
    EXPECT_TRUE(XmlReader::decodeValue(encodeValue(f), CIMTYPE_REAL32) == f);

    std::string xml = encode([&](XmlWriter& w) { w.appendInstance(i); });
    CIMInstance back = XmlReader::decodeInstance(xml);
    EXPECT_TRUE(back.identical(i)) << xml;
    EXPECT_EQ(CIMTYPE_INSTANCE,
        back.getProperty(back.findProperty(CIMName("Error"))).getType());
}

TEST(CimXmlRoundTrip, ClassWithQualifierFlavorsMethodsAndEveryParameterKind)
{
    CIMClass c = richClass();
    std::string xml = encode([&](XmlWriter& w) { w.appendClass(c); });
    CIMClass back = XmlReader::decodeClass(xml);
    EXPECT_TRUE(back.identical(c)) << xml;
    EXPECT_NE(std::string::npos, xml.find("<PARAMETER.REFARRAY NAME=\"Jobs\" "
        "REFERENCECLASS=\"CIM_ConcreteJob\"></PARAMETER.REFARRAY>"));
    EXPECT_NE(std::string::npos, xml.find("<PARAMETER.ARRAY NAME=\"Fixed\" TYPE=\"sint32\" "
        "ARRAYSIZE=\"3\"></PARAMETER.ARRAY>"));
    EXPECT_NE(std::string::npos, xml.find("<QUALIFIER NAME=\"ValueMap\" TYPE=\"string\" "
        "PROPAGATED=\"true\" TOSUBCLASS=\"false\">"));
}

TEST(CimXmlRoundTrip, QualifierDeclarations)
{
    // Key (flavors set) and ValueMap (an array, default flavors).
    Array<CIMQualifierDecl> decls = cimxmltest::TestOperations().enumerateQualifiers(
        OperationContext(), CIMNamespaceName("root/exm"));
    ASSERT_EQ(2u, decls.size());
    for (Uint32 i = 0; i < decls.size(); i++)
    {
        std::string xml = encode([&](XmlWriter& w) { w.appendQualifierDecl(decls[i]); });
        EXPECT_TRUE(XmlReader::decodeQualifierDecl(xml).identical(decls[i])) << xml;
    }
    EXPECT_EQ("<QUALIFIER.DECLARATION NAME=\"ValueMap\" TYPE=\"string\" ISARRAY=\"true\">\n"
        "<SCOPE PROPERTY=\"true\" METHOD=\"true\" PARAMETER=\"true\"></SCOPE>\n"
        "</QUALIFIER.DECLARATION>\n",
        encode([&](XmlWriter& w) { w.appendQualifierDecl(decls[1]); }));
}

TEST(CimXmlRoundTrip, EveryPathElement)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Owner"), CIMValue(serviceRef())));
    keys.append(CIMKeyBinding(CIMName("Id"), String("-12"), CIMKeyBinding::NUMERIC));
    keys.append(CIMKeyBinding(CIMName("Name"), String("a\"b\\c&<d>"), CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("On"), String("FALSE"), CIMKeyBinding::BOOLEAN));
    CIMObjectPath full(String("cimsrv.example.com:5988"), CIMNamespaceName("root/exm"),
        CIMName("EXM_Disk"), keys);
    CIMObjectPath local(String(), CIMNamespaceName("root/exm"), CIMName("EXM_Disk"), keys);
    CIMObjectPath bare(String(), CIMNamespaceName(), CIMName("EXM_Disk"), keys);
    CIMObjectPath cls(String("h"), CIMNamespaceName("root/exm"), CIMName("EXM_Disk"));
    CIMObjectPath lcls(String(), CIMNamespaceName("root/exm"), CIMName("EXM_Disk"));
    CIMObjectPath ncls(String(), CIMNamespaceName(), CIMName("EXM_Disk"));

    typedef void (*Append)(XmlWriter&, const CIMObjectPath&);
    const std::pair<Append, CIMObjectPath> elements[] = {
        {[](XmlWriter& w, const CIMObjectPath& p) { w.appendInstancePath(p); }, full},
        {[](XmlWriter& w, const CIMObjectPath& p) { w.appendLocalInstancePath(p); }, local},
        {[](XmlWriter& w, const CIMObjectPath& p) { w.appendInstanceName(p); }, bare},
        {[](XmlWriter& w, const CIMObjectPath& p) { w.appendObjectPath(p, false); }, full},
        {[](XmlWriter& w, const CIMObjectPath& p) { w.appendClassPath(p); }, cls},
        {[](XmlWriter& w, const CIMObjectPath& p) { w.appendObjectPath(p, true); }, cls},
        {[](XmlWriter& w, const CIMObjectPath& p) { w.appendLocalClassPath(p); }, lcls},
        {[](XmlWriter& w, const CIMObjectPath& p) { w.appendClassName(p.getClassName()); },
            ncls},
    };
    for (const auto& e : elements)
    {
        std::string xml = encode([&](XmlWriter& w) { e.first(w, e.second); });
        EXPECT_TRUE(XmlReader::decodeObjectPath(xml) == e.second) << xml;
    }
    // References of every shape inside VALUE.REFERENCE.
    for (const CIMObjectPath& p : {full, local, bare, cls, lcls, ncls})
    {
        std::string xml = encodeValue(CIMValue(p));
        EXPECT_TRUE(XmlReader::decodeValueReference(xml) == p) << xml;
    }
    Array<CIMObjectPath> refs;
    refs.append(full);
    refs.append(bare);
    CIMValue refArray(refs);
    std::string xml = encodeValue(refArray);
    EXPECT_EQ(0u, xml.find("<VALUE.REFARRAY>\n<VALUE.REFERENCE>"));
    EXPECT_TRUE(XmlReader::decodeValue(xml, CIMTYPE_REFERENCE) == refArray);
    EXPECT_TRUE(XmlReader::decodeLocalNamespacePath(
        "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"></NAMESPACE><NAMESPACE NAME=\"a\"/>"
        "<NAMESPACE NAME=\"b\"/></LOCALNAMESPACEPATH>").equal(CIMNamespaceName("root/a/b")));
}

TEST(CimXmlRoundTrip, NestedReferenceKeysUpToTheDepthLimit)
{
    // Level 1 is a plain path; each further level has the previous one as
    // its reference key.
    auto nested = [](Uint32 levels) {
        Array<CIMKeyBinding> keys;
        keys.append(CIMKeyBinding(CIMName("Id"), String("a\"b"), CIMKeyBinding::STRING));
        CIMObjectPath p(String(), CIMNamespaceName("root/exm"), CIMName("EXM_Disk"), keys);
        for (Uint32 i = 1; i < levels; i++)
        {
            Array<CIMKeyBinding> outer;
            outer.append(CIMKeyBinding(CIMName("Inner"), CIMValue(p)));
            p = CIMObjectPath(String(), CIMNamespaceName(), CIMName("EXM_Link"), outer);
        }
        return p;
    };
    // The outermost path is an INSTANCENAME, so its keys hold levels - 1
    // VALUE.REFERENCE elements nested in one another.
    const struct
    {
        Uint32 levels;
        bool decodes;
    } cases[] = {
        {3, true},
        {XmlReader::MAX_REFERENCE_DEPTH + 1, true},
        {XmlReader::MAX_REFERENCE_DEPTH + 2, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.levels);
        CIMObjectPath p = nested(c.levels);
        std::string xml = encode([&](XmlWriter& w) { w.appendInstanceName(p); });
        if (c.decodes)
        {
            EXPECT_TRUE(XmlReader::decodeObjectPath(xml) == p);
            continue;
        }
        try
        {
            XmlReader::decodeObjectPath(xml);
            ADD_FAILURE() << "decoded";
        }
        catch (const CimXmlDecodeException& e)
        {
            EXPECT_EQ("reference keys nested deeper than 8 levels", str(e.getMessage()));
        }
    }
}

TEST(CimXmlRoundTrip, NamedInstanceAndObjectsWithPaths)
{
    CIMInstance i = richInstance();
    Array<CIMKeyBinding> k;
    k.append(CIMKeyBinding(CIMName("Id"), String("1"), CIMKeyBinding::NUMERIC));
    i.setPath(CIMObjectPath(String(), CIMNamespaceName(), CIMName("EXM_Rich"), k));
    CIMInstance named = XmlReader::decodeValueNamedInstance(
        encode([&](XmlWriter& w) { w.appendValueNamedInstance(i); }));
    EXPECT_TRUE(named.identical(i));

    CIMInstance j = i.clone();
    j.setPath(CIMObjectPath(String("h"), CIMNamespaceName("root/exm"), CIMName("EXM_Rich"), k));
    CIMObject o = XmlReader::decodeValueObjectWithPath(
        encode([&](XmlWriter& w) { w.appendValueObjectWithPath(CIMObject(j)); }));
    EXPECT_TRUE(o.isInstance());
    EXPECT_TRUE(o.getPath() == j.getPath());
    EXPECT_TRUE(CIMInstance(o).identical(j));

    CIMInstance l = i.clone();
    l.setPath(CIMObjectPath(String(), CIMNamespaceName("root/exm"), CIMName("EXM_Rich"), k));
    o = XmlReader::decodeValueObjectWithPath(
        encode([&](XmlWriter& w) { w.appendValueObjectWithLocalPath(CIMObject(l)); }));
    EXPECT_TRUE(o.getPath() == l.getPath());

    CIMClass c = richClass();
    c.setPath(CIMObjectPath(String("h"), CIMNamespaceName("root/exm"), CIMName("EXM_Job")));
    o = XmlReader::decodeValueObjectWithPath(
        encode([&](XmlWriter& w) { w.appendValueObjectWithPath(CIMObject(c)); }));
    EXPECT_TRUE(o.isClass());
    EXPECT_TRUE(CIMClass(o).identical(c));
}

TEST(CimXmlRoundTrip, ParamValuesTypedUntypedEmbeddedAndReferences)
{
    std::vector<CIMParamValue> pvs = {
        CIMParamValue(String("Index"), CIMValue(Uint16(2))),
        CIMParamValue(String("Names"), CIMValue(Array<String>())),
        CIMParamValue(String("Job"), CIMValue(serviceRef())),
        CIMParamValue(String("Error"), CIMValue(cimxmltest::errorInstance())),
        CIMParamValue(String("Obj"), CIMValue(CIMObject(cimxmltest::errorInstance()))),
        CIMParamValue(String("Nothing"), CIMValue(CIMTYPE_DATETIME, false)),
        CIMParamValue(String("Raw"), CIMValue(String("5")), false),
    };
    for (const CIMParamValue& pv : pvs)
    {
        std::string xml = encode([&](XmlWriter& w) { w.appendParamValue(pv); });
        CIMParamValue back = XmlReader::decodeParamValue(xml);
        EXPECT_EQ(str(pv.getParameterName()), str(back.getParameterName()));
        EXPECT_EQ(pv.isTyped(), back.isTyped()) << xml;
        EXPECT_TRUE(back.getValue() == pv.getValue()) << xml;
    }
}

TEST(CimXmlEmbedded, DoubleEscapingOfAnEmbeddedInstance)
{
    std::string out = encode([&](XmlWriter& w) {
        w.appendParamValue(CIMParamValue(String("Error"),
            CIMValue(cimxmltest::errorInstance())));
    });
    EXPECT_NE(std::string::npos, out.find(
        "&lt;PROPERTY NAME=&quot;Message&quot; TYPE=&quot;string&quot;&gt;&lt;VALUE&gt;"
        "Copy of &quot;v1&quot; failed: source &amp;amp; target overlap&lt;/VALUE&gt;"));
    EXPECT_EQ(std::string::npos, out.find("&lt;/INSTANCE&gt;\n"));

    // Both attribute spellings, a CDATA section, and the EmbeddedInstance
    // qualifier without attribute.
    const char* inner = "<INSTANCE CLASSNAME=\"CIM_Error\"><PROPERTY NAME=\"Message\" "
        "TYPE=\"string\"><VALUE>a &amp; b</VALUE></PROPERTY></INSTANCE>";
    CIMParamValue pv = XmlReader::decodeParamValue(
        std::string("<PARAMVALUE NAME=\"E\" PARAMTYPE=\"string\" EMBEDDEDOBJECT=\"instance\">"
            "<VALUE><![CDATA[") + inner + "]]></VALUE></PARAMVALUE>");
    ASSERT_EQ(CIMTYPE_INSTANCE, pv.getValue().getType());
    CIMInstance e;
    pv.getValue().get(e);
    String msg;
    e.getProperty(e.findProperty(CIMName("Message"))).getValue().get(msg);
    EXPECT_EQ("a & b", str(msg));

    CIMProperty p = XmlReader::decodeProperty(
        "<PROPERTY NAME=\"E\" TYPE=\"string\"><QUALIFIER NAME=\"EmbeddedInstance\" "
        "TYPE=\"string\"><VALUE>CIM_Error</VALUE></QUALIFIER><VALUE>&lt;INSTANCE "
        "CLASSNAME=\"CIM_Error\"/&gt;</VALUE></PROPERTY>");
    EXPECT_EQ(CIMTYPE_INSTANCE, p.getType());

    // Text that is not an instance where one is required.
    EXPECT_THROW(XmlReader::decodeParamValue(
        "<PARAMVALUE NAME=\"E\" PARAMTYPE=\"string\" EmbeddedObject=\"instance\">"
        "<VALUE>&lt;CLASS NAME=\"X\"/&gt;</VALUE></PARAMVALUE>"), CimXmlDecodeException);
    EXPECT_THROW(XmlReader::decodeParamValue(
        "<PARAMVALUE NAME=\"E\" PARAMTYPE=\"string\" EmbeddedObject=\"instance\">"
        "<VALUE>not xml</VALUE></PARAMVALUE>"), CimXmlDecodeException);
    EXPECT_THROW(XmlReader::decodeParamValue(
        "<PARAMVALUE NAME=\"E\" PARAMTYPE=\"uint8\" EmbeddedObject=\"instance\">"
        "<VALUE>1</VALUE></PARAMVALUE>"), CimXmlDecodeException);
    EXPECT_EQ(XmlReader::decodeEmbeddedObject(String(inner), true).isInstance(), true);
}

// --- tolerant input, strict values --------------------------------------------

TEST(CimXmlReader, ScalarTextRules)
{
    auto scalar = [](const char* text, CIMType t) {
        return XmlReader::scalarFromText(String(text), t);
    };
    EXPECT_TRUE(scalar(" true\n", CIMTYPE_BOOLEAN) == CIMValue(true));
    EXPECT_TRUE(scalar("False", CIMTYPE_BOOLEAN) == CIMValue(false));
    EXPECT_TRUE(scalar("+42", CIMTYPE_UINT8) == CIMValue(Uint8(42)));
    EXPECT_TRUE(scalar("0x1F", CIMTYPE_UINT16) == CIMValue(Uint16(31)));
    EXPECT_TRUE(scalar("-0X10", CIMTYPE_SINT32) == CIMValue(Sint32(-16)));
    EXPECT_TRUE(scalar("-128", CIMTYPE_SINT8) == CIMValue(Sint8(-128)));
    EXPECT_TRUE(scalar("-2.5e-3", CIMTYPE_REAL64) == CIMValue(Real64(-2.5e-3)));
    EXPECT_TRUE(scalar("1.5E+00", CIMTYPE_REAL32) == CIMValue(Real32(1.5)));
    EXPECT_TRUE(scalar("  padded  ", CIMTYPE_STRING) == CIMValue(String("  padded  ")));
    EXPECT_TRUE(scalar("20240131******.******+000", CIMTYPE_DATETIME) ==
        CIMValue(CIMDateTime(String("20240131******.******+000"))));

    const std::pair<const char*, CIMType> bad[] = {
        {"yes", CIMTYPE_BOOLEAN}, {"256", CIMTYPE_UINT8}, {"-1", CIMTYPE_UINT32},
        {"128", CIMTYPE_SINT8}, {"-129", CIMTYPE_SINT8}, {"1.5", CIMTYPE_UINT16},
        {"", CIMTYPE_SINT64}, {"18446744073709551616", CIMTYPE_UINT64},
        {"9223372036854775808", CIMTYPE_SINT64}, {"0x", CIMTYPE_UINT32},
        {"1e400", CIMTYPE_REAL64}, {"1e39", CIMTYPE_REAL32}, {"abc", CIMTYPE_REAL64},
        {"ab", CIMTYPE_CHAR16}, {"", CIMTYPE_CHAR16}, {"2024", CIMTYPE_DATETIME},
        {"20241331000000.000000+000", CIMTYPE_DATETIME},
    };
    for (const auto& b : bad)
        EXPECT_THROW(scalar(b.first, b.second), CimXmlDecodeException)
            << b.first << " as " << cimTypeToString(b.second);
}

TEST(CimXmlReader, ToleratesAttributeOrderEmptyElementsAndReferences)
{
    CIMInstance i = XmlReader::decodeInstance(
        "<INSTANCE CLASSNAME=\"EXM_Job\" xml:lang=\"en\">\n"
        "  <QUALIFIER TYPE=\"boolean\" NAME=\"Deprecated\"><VALUE>TRUE</VALUE></QUALIFIER>\n"
        "  <PROPERTY TYPE=\"uint16\" NAME=\"JobState\">\n   <VALUE> 7 </VALUE>\n  </PROPERTY>\n"
        "  <PROPERTY NAME=\"Note\" TYPE=\"string\"><VALUE>&#65;&#x42;&apos;</VALUE></PROPERTY>\n"
        "  <PROPERTY NAME=\"Null\" TYPE=\"string\"/>\n"
        "  <PROPERTY.ARRAY NAME=\"A\" TYPE=\"sint8\"><VALUE.ARRAY/></PROPERTY.ARRAY>\n"
        "</INSTANCE>");
    ASSERT_EQ(4u, i.getPropertyCount());
    EXPECT_TRUE(i.getProperty(0).getValue() == CIMValue(Uint16(7)));
    EXPECT_TRUE(i.getProperty(1).getValue() == CIMValue(String("AB'")));
    EXPECT_TRUE(i.getProperty(2).getValue().isNull());
    EXPECT_EQ(CIMTYPE_STRING, i.getProperty(2).getType());
    EXPECT_EQ(0u, i.getProperty(3).getValue().getArraySize());
    EXPECT_FALSE(i.getProperty(3).getValue().isNull());

    // A KEYVALUE without VALUETYPE is a string; TYPE is honoured.
    CIMKeyBinding kb = XmlReader::decodeKeyBinding(
        "<KEYBINDING NAME=\"Id\"><KEYVALUE>007</KEYVALUE></KEYBINDING>");
    EXPECT_EQ(CIMKeyBinding::STRING, kb.getType());
    EXPECT_EQ("007", str(kb.getValue()));
    kb = XmlReader::decodeKeyBinding(
        "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"numeric\" TYPE=\"uint8\">7</KEYVALUE>"
        "</KEYBINDING>");
    EXPECT_EQ(CIMKeyBinding::NUMERIC, kb.getType());
    EXPECT_THROW(XmlReader::decodeKeyBinding(
        "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"numeric\" TYPE=\"uint8\">700</KEYVALUE>"
        "</KEYBINDING>"), CimXmlDecodeException);
    EXPECT_THROW(XmlReader::decodeKeyBinding(
        "<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"numeric\">seven</KEYVALUE>"
        "</KEYBINDING>"), CimXmlDecodeException);
}

TEST(CimXmlReader, MalformedInputIsRejected)
{
    try
    {
        XmlReader::decodeInstance("<INSTANCE CLASSNAME=\"X\"><PROPERTY></INSTANCE>");
        FAIL();
    }
    catch (const CimXmlDecodeException& e)
    {
        EXPECT_FALSE(e.wellFormed());
    }
    const char* invalid[] = {
        "<INSTANCE/>",
        "<INSTANCE CLASSNAME=\"1bad\"/>",
        "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"P\" TYPE=\"int\"/></INSTANCE>",
        "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"P\" TYPE=\"uint8\"><VALUE>1</VALUE>"
            "<VALUE>2</VALUE></PROPERTY></INSTANCE>",
        "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"P\" TYPE=\"uint8\"><VALUE.ARRAY/>"
            "</PROPERTY></INSTANCE>",
        "<INSTANCE CLASSNAME=\"X\"><PROPERTY NAME=\"P\" TYPE=\"uint8\"/>"
            "<PROPERTY NAME=\"p\" TYPE=\"uint8\"/></INSTANCE>",
        "<INSTANCE CLASSNAME=\"X\"><BOGUS/></INSTANCE>",
    };
    for (const char* x : invalid)
    {
        try
        {
            XmlReader::decodeInstance(x);
            ADD_FAILURE() << x;
        }
        catch (const CimXmlDecodeException& e)
        {
            EXPECT_TRUE(e.wellFormed()) << x;
        }
    }
    EXPECT_THROW(XmlReader::decodeObjectPath("<INSTANCENAME CLASSNAME=\"X\"><KEYVALUE>1"
        "</KEYVALUE></INSTANCENAME>"), CimXmlDecodeException);
    EXPECT_THROW(XmlReader::decodeLocalNamespacePath("<LOCALNAMESPACEPATH/>"),
        CimXmlDecodeException);
}

TEST(CimXmlReader, ResponsesDecodeResultsAndErrors)
{
    std::string body;
    XmlWriter w(body);
    w.appendResponseStart(String("77"));
    w.appendStartTag("IMETHODRESPONSE", "NAME", String("GetInstance"));
    w.appendError(Uint32(6), String("CIM_ERR_NOT_FOUND: gone"));
    w.appendEndTag("IMETHODRESPONSE");
    w.appendResponseEnd();
    CimXmlIMethodResponse r = XmlReader::decodeIMethodResponse(body,
        String("getinstance"), String("77"));
    EXPECT_TRUE(r.isError);
    EXPECT_EQ(6u, r.errorCode);
    EXPECT_EQ("CIM_ERR_NOT_FOUND: gone", str(r.errorDescription));
    EXPECT_THROW(XmlReader::decodeIMethodResponse(body, String("GetInstance"),
        String("78")), CimXmlDecodeException);
    EXPECT_THROW(XmlReader::decodeIMethodResponse(body, String("GetClass"),
        String("77")), CimXmlDecodeException);
    EXPECT_THROW(XmlReader::decodeMethodResponse(body, String("GetInstance"),
        String("77")), CimXmlDecodeException);
}

TEST(CimXmlHeaders, PercentCodingAndUtf8Validation)
{
    EXPECT_EQ("root%2Fexm%3AEXM_Job.InstanceID%3D%22EXM%3AJob%3A17%22",
        XmlWriter::percentEncode(String("root/exm:EXM_Job.InstanceID=\"EXM:Job:17\"")));
    std::string out;
    EXPECT_TRUE(XmlReader::percentDecode("root%2fexm%3AEXM_Job.x=\"a b\"", out));
    EXPECT_EQ("root/exm:EXM_Job.x=\"a b\"", out);
    EXPECT_FALSE(XmlReader::percentDecode("a%2", out));
    EXPECT_FALSE(XmlReader::percentDecode("a%zz", out));
    std::string good = "plain \xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80";
    EXPECT_TRUE(XmlReader::isValidUtf8(good.data(), good.size()));
    EXPECT_FALSE(XmlReader::isValidUtf8("\xc0\xaf", 2));       // overlong
    EXPECT_FALSE(XmlReader::isValidUtf8("\xed\xa0\x80", 3));   // surrogate
    EXPECT_FALSE(XmlReader::isValidUtf8("\xe2\x82", 2));       // truncated
    EXPECT_FALSE(XmlReader::isValidUtf8("\xff", 1));
}
