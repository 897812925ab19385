// The request processor on complete exchanges: the documented examples
// byte for byte, header checks, HTTP-level and CIM-level errors.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include <CimXml/CimXmlRequestProcessor.h>
#include <CimXml/XmlReader.h>
#include <CimXml/XmlWriter.h>
#include <Pegasus/Common/OperationContext.h>

#include "TestOperations.h"
#include "../TestSupport.h"

using namespace Pegasus;
using namespace cimxmltest;
using compattest::str;

namespace
{

struct HttpMessage
{
    std::string startLine;
    CimXmlHeaders headers;
    std::string body;
};

std::string readFile(const std::string& name)
{
    std::ifstream in(std::string(VELK_SOURCE_DIR) + "/compat/tests/xml/data/" + name,
        std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// An HTTP message as the documentation prints it: LF line ends, a blank
// line, the body.
HttpMessage readMessage(const std::string& name)
{
    std::string text = readFile(name);
    HttpMessage m;
    size_t split = text.find("\n\n");
    std::string head = text.substr(0, split);
    m.body = text.substr(split + 2);
    std::istringstream lines(head);
    std::getline(lines, m.startLine);
    std::string line;
    while (std::getline(lines, line))
    {
        size_t colon = line.find(':');
        std::string value = line.substr(colon + 1);
        if (!value.empty() && value[0] == ' ')
            value.erase(0, 1);
        m.headers.push_back(std::make_pair(line.substr(0, colon), value));
    }
    return m;
}

std::string headerOf(const CimXmlHeaders& headers, const std::string& name)
{
    for (const auto& h : headers)
        if (h.first == name)
            return h.second;
    return "<absent>";
}

OperationContext contextFor(const char* user)
{
    OperationContext ctx;
    ctx.insert(IdentityContainer(String(user), String("127.0.0.1")));
    return ctx;
}

class RequestProcessorTest : public ::testing::Test
{
protected:
    TestOperations ops;
    CimXmlRequestProcessor processor{ops, String("cimsrv.example.com")};

    CimXmlHttpResponse post(const CimXmlHeaders& headers, const std::string& body)
    {
        return processor.process("POST", headers, body, contextFor("admin"));
    }

    static CimXmlHeaders headers(const std::string& method, const std::string& object)
    {
        return CimXmlHeaders{
            {"Content-Type", "application/xml; charset=\"utf-8\""},
            {"CIMOperation", "MethodCall"},
            {"CIMMethod", method},
            {"CIMObject", object}};
    }

    // Replays the documented request <name>_request.http and compares the
    // answer with <name>_response.http.
    CimXmlHttpResponse replay(const char* method, const std::string& name)
    {
        HttpMessage req = readMessage(name + "_request.http");
        HttpMessage expected = readMessage(name + "_response.http");
        CimXmlHttpResponse r = processor.process(method, req.headers, req.body,
            contextFor("admin"));
        EXPECT_EQ(200u, r.status);
        EXPECT_EQ(expected.body, r.body);
        EXPECT_EQ(headerOf(expected.headers, "Content-Length"), std::to_string(r.body.size()));
        return r;
    }

    static std::string envelope(const std::string& call)
    {
        return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
            "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n"
            "<MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">\n<SIMPLEREQ>\n" + call +
            "</SIMPLEREQ>\n</MESSAGE>\n</CIM>\n";
    }

    static std::string imethod(const std::string& name, const std::string& params)
    {
        return envelope("<IMETHODCALL NAME=\"" + name + "\"><LOCALNAMESPACEPATH>"
            "<NAMESPACE NAME=\"root\"></NAMESPACE><NAMESPACE NAME=\"exm\"></NAMESPACE>"
            "</LOCALNAMESPACEPATH>" + params + "</IMETHODCALL>\n");
    }

    // Runs an intrinsic call and returns the ERROR code (0 when none).
    Uint32 errorCodeOf(const std::string& name, const std::string& params,
        std::string* description = 0)
    {
        CimXmlHttpResponse r = post(headers(name, "root%2Fexm"), imethod(name, params));
        EXPECT_EQ(200u, r.status) << r.header("CIMError");
        CimXmlIMethodResponse d = XmlReader::decodeIMethodResponse(r.body,
            String(name.c_str()), String("4711"));
        if (description)
            *description = (const char*)d.errorDescription.getCString();
        return d.isError ? d.errorCode : 0;
    }
};

const char* const INSTANCE_NAME_17 =
    "<IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME CLASSNAME=\"EXM_Job\">"
    "<KEYBINDING NAME=\"InstanceID\"><KEYVALUE VALUETYPE=\"string\">EXM:Job:17</KEYVALUE>"
    "</KEYBINDING></INSTANCENAME></IPARAMVALUE>";

} // namespace

// --- the documented exchanges, byte for byte -------------------------------

TEST_F(RequestProcessorTest, EnumerateInstanceNamesExampleIsAnsweredByteForByte)
{
    CimXmlHttpResponse r = replay("POST", "enum_names");
    EXPECT_EQ("OK", r.reason);
    EXPECT_EQ(headerOf(readMessage("enum_names_response.http").headers, "Content-Type"),
        r.header("Content-Type"));
    EXPECT_EQ("MethodResponse", r.header("CIMOperation"));
    Call c = ops.last();
    EXPECT_EQ("enumerateInstanceNames", c.op);
    EXPECT_EQ("root/exm", str(c.ns.getString()));
    EXPECT_EQ("admin", str(c.user));
}

TEST_F(RequestProcessorTest, MPostGetInstanceOfAssociationExampleIsAnsweredByteForByte)
{
    CimXmlHttpResponse r = replay("M-POST", "get_assoc");
    HttpMessage expected = readMessage("get_assoc_response.http");
    // Ext, Cache-Control, Man and the prefixed CIMOperation, as documented.
    CimXmlHeaders expectedHeaders;
    for (const auto& h : expected.headers)
        if (h.first != "Content-Length")
            expectedHeaders.push_back(h);
    EXPECT_EQ(expectedHeaders, r.headers);

    Call c = ops.last();
    EXPECT_EQ("getInstance", c.op);
    EXPECT_FALSE(c.flags[0]);   // LocalOnly FALSE as sent
    EXPECT_FALSE(c.flags[1]);   // IncludeQualifiers default FALSE
    EXPECT_FALSE(c.flags[2]);   // IncludeClassOrigin FALSE as sent
    EXPECT_TRUE(c.propertyList.isNull());
    const Array<CIMKeyBinding>& keys = c.path.getKeyBindings();
    ASSERT_EQ(2u, keys.size());
    Uint32 k = keys[0].getName().equal(CIMName("OwningElement")) ? 0 : 1;
    EXPECT_EQ(CIMKeyBinding::REFERENCE, keys[k].getType());
    CIMObjectPath owning(keys[k].getValue());
    EXPECT_EQ("cimsrv.example.com", str(owning.getHost()));
    EXPECT_EQ("EXM_JobService", str(owning.getClassName().getString()));
}

TEST_F(RequestProcessorTest, InvokeMethodExampleReturnsEmbeddedInstanceByteForByte)
{
    replay("POST", "invoke");
    Call c = ops.last();
    EXPECT_EQ("invokeMethod", c.op);
    EXPECT_EQ("root/exm", str(c.ns.getString()));
    ASSERT_EQ(1u, c.in.size());
    EXPECT_TRUE(c.in[0].isTyped());
    Uint16 index = 0;
    c.in[0].getValue().get(index);
    EXPECT_EQ(2, index);
}

TEST_F(RequestProcessorTest, InvokeMethodOnUnknownJobGivesTheDocumentedError)
{
    HttpMessage req = readMessage("invoke_request.http");
    std::string body = req.body;
    body.replace(body.find("EXM:Job:17"), 10, "EXM:Job:99");
    for (auto& h : req.headers)
        if (h.first == "CIMObject")
            h.second = "root%2Fexm%3AEXM_Job.InstanceID=\"EXM:Job:99\"";
    CimXmlHttpResponse r = processor.process("POST", req.headers, body,
        contextFor("admin"));
    EXPECT_EQ(200u, r.status);
    std::string expected = readFile("invoke_not_found.xml");
    EXPECT_NE(std::string::npos, r.body.find(expected)) << r.body;
}

// --- CIM errors inside a 200 answer ------------------------------------------

// With a message the description is "CIM_ERR_NOT_FOUND: <message>", which the
// client test CimErrorsArriveWithCodeAndWholeDescription checks end to end.
TEST_F(RequestProcessorTest, CimExceptionWithoutMessageIsItsSymbolicName)
{
    std::string description;
    ops.setBefore([] { throw CIMException(CIM_ERR_ACCESS_DENIED); });
    EXPECT_EQ(2u, errorCodeOf("GetInstance", INSTANCE_NAME_17, &description));
    EXPECT_EQ("CIM_ERR_ACCESS_DENIED", description);
}

TEST_F(RequestProcessorTest, OtherExceptionsBecomeCimErrFailed)
{
    const std::pair<void (*)(), const char*> cases[] = {
        {[] { throw Exception(String("disk on fire")); }, "CIM_ERR_FAILED: disk on fire"},
        {[] { throw std::runtime_error("bad alloc somewhere"); },
            "CIM_ERR_FAILED: bad alloc somewhere"},
        {[] { throw 42; }, "CIM_ERR_FAILED: Unknown error."},
    };
    for (const auto& c : cases)
    {
        ops.setBefore(c.first);
        std::string description;
        EXPECT_EQ(1u, errorCodeOf("EnumerateInstanceNames",
            "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>",
            &description));
        EXPECT_EQ(c.second, description);
    }
}

TEST_F(RequestProcessorTest, ParameterProblemsAreInvalidParameterAndUnknownOperationsNotSupported)
{
    // Missing required parameter.
    EXPECT_EQ(4u, errorCodeOf("GetInstance", ""));
    // Duplicate parameter, names compared case-insensitively.
    EXPECT_EQ(4u, errorCodeOf("EnumerateInstanceNames",
        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>"
        "<IPARAMVALUE NAME=\"classname\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>"));
    // Undefined parameter.
    EXPECT_EQ(4u, errorCodeOf("EnumerateInstanceNames",
        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>"
        "<IPARAMVALUE NAME=\"Bogus\"><VALUE>1</VALUE></IPARAMVALUE>"));
    // A flag that is not a boolean, and a NULL flag.
    EXPECT_EQ(4u, errorCodeOf("GetInstance",
        std::string(INSTANCE_NAME_17) +
        "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>maybe</VALUE></IPARAMVALUE>"));
    EXPECT_EQ(4u, errorCodeOf("GetInstance",
        std::string(INSTANCE_NAME_17) + "<IPARAMVALUE NAME=\"LocalOnly\"/>"));
    // Unknown intrinsic methods and the ones left out.
    EXPECT_EQ(7u, errorCodeOf("FrobnicateInstances", ""));
    EXPECT_EQ(7u, errorCodeOf("OpenEnumerateInstances", ""));
    EXPECT_EQ(7u, errorCodeOf("ExecQuery", ""));
    EXPECT_TRUE(ops.calls.empty());
}

TEST_F(RequestProcessorTest, FlagsDefaultsPropertyListAndParameterOrder)
{
    // Flags before the instance name, any case, no IncludeClassOrigin.
    EXPECT_EQ(0u, errorCodeOf("GetInstance",
        "<IPARAMVALUE NAME=\"localonly\"><VALUE>false</VALUE></IPARAMVALUE>"
        "<IPARAMVALUE NAME=\"PropertyList\"><VALUE.ARRAY><VALUE>JobState</VALUE>"
        "</VALUE.ARRAY></IPARAMVALUE>" + std::string(INSTANCE_NAME_17)));
    Call c = ops.last();
    EXPECT_FALSE(c.flags[0]);
    EXPECT_FALSE(c.flags[1]);
    EXPECT_FALSE(c.flags[2]);
    ASSERT_FALSE(c.propertyList.isNull());
    ASSERT_EQ(1u, c.propertyList.size());
    EXPECT_TRUE(c.propertyList[0].equal(CIMName("JobState")));

    // Defaults of EnumerateInstances; an empty PropertyList array is "none".
    EXPECT_EQ(0u, errorCodeOf("EnumerateInstances",
        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>"
        "<IPARAMVALUE NAME=\"PropertyList\"><VALUE.ARRAY></VALUE.ARRAY></IPARAMVALUE>"));
    c = ops.last();
    EXPECT_TRUE(c.flags[0]);    // DeepInheritance TRUE
    EXPECT_TRUE(c.flags[1]);    // LocalOnly TRUE
    EXPECT_FALSE(c.flags[2]);   // IncludeQualifiers FALSE
    EXPECT_FALSE(c.propertyList.isNull());
    EXPECT_EQ(0u, c.propertyList.size());

    // GetClass defaults.
    EXPECT_EQ(0u, errorCodeOf("GetClass",
        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>"));
    c = ops.last();
    EXPECT_TRUE(c.flags[0]);
    EXPECT_TRUE(c.flags[1]);
    EXPECT_FALSE(c.flags[2]);
}

TEST_F(RequestProcessorTest, AssociationResultsCarryFullPathsAndANullRoleIsEmpty)
{
    CimXmlHttpResponse r = post(headers("Associators", "root%2Fexm"),
        imethod("Associators",
            "<IPARAMVALUE NAME=\"ObjectName\"><INSTANCENAME CLASSNAME=\"EXM_JobService\">"
            "<KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">jobsvc</KEYVALUE>"
            "</KEYBINDING></INSTANCENAME></IPARAMVALUE>"
            "<IPARAMVALUE NAME=\"AssocClass\"><CLASSNAME NAME=\"EXM_OwningJobElement\"/>"
            "</IPARAMVALUE><IPARAMVALUE NAME=\"Role\"><VALUE>OwningElement</VALUE>"
            "</IPARAMVALUE><IPARAMVALUE NAME=\"ResultRole\"/>"));
    ASSERT_EQ(200u, r.status);
    // (AssocClass, ResultClass and Role arriving is checked through the client.)
    EXPECT_EQ(0u, ops.last().resultRole.size());
    CimXmlIMethodResponse d = XmlReader::decodeIMethodResponse(r.body,
        String("Associators"), String("4711"));
    ASSERT_EQ(1u, d.objects.size());
    EXPECT_EQ("//cimsrv.example.com/root/exm:EXM_Job.InstanceID=\"EXM:Job:17\"",
        str(d.objects[0].getPath().toString()));
    EXPECT_NE(std::string::npos, r.body.find("<VALUE.OBJECTWITHPATH>\n<INSTANCEPATH>"));

    r = post(headers("AssociatorNames", "root%2Fexm"),
        imethod("AssociatorNames",
            "<IPARAMVALUE NAME=\"ObjectName\"><INSTANCENAME CLASSNAME=\"EXM_Job\"/>"
            "</IPARAMVALUE>"));
    d = XmlReader::decodeIMethodResponse(r.body, String("AssociatorNames"), String("4711"));
    ASSERT_EQ(1u, d.paths.size());
    EXPECT_EQ("//cimsrv.example.com/root/exm:EXM_Job.InstanceID=\"EXM:Job:17\"",
        str(d.paths[0].toString()));
    EXPECT_NE(std::string::npos, r.body.find("<OBJECTPATH>\n<INSTANCEPATH>"));

    // An empty result leaves IRETURNVALUE out.
    r = post(headers("References", "root%2Fexm"),
        imethod("References",
            "<IPARAMVALUE NAME=\"ObjectName\"><INSTANCENAME CLASSNAME=\"EXM_Job\"/>"
            "</IPARAMVALUE>"));
    EXPECT_EQ(std::string::npos, r.body.find("IRETURNVALUE"));
    EXPECT_NE(std::string::npos, r.body.find("<IMETHODRESPONSE NAME=\"References\">\n"
        "</IMETHODRESPONSE>"));
}

TEST_F(RequestProcessorTest, UntypedMethodParametersStayUntyped)
{
    std::string body = envelope(
        "<METHODCALL NAME=\"GetErrorRecord\"><LOCALINSTANCEPATH><LOCALNAMESPACEPATH>"
        "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"exm\"/></LOCALNAMESPACEPATH>"
        "<INSTANCENAME CLASSNAME=\"EXM_Job\"><KEYBINDING NAME=\"InstanceID\">"
        "<KEYVALUE VALUETYPE=\"string\">EXM:Job:17</KEYVALUE></KEYBINDING></INSTANCENAME>"
        "</LOCALINSTANCEPATH>"
        "<PARAMVALUE NAME=\"Index\"><VALUE> 2 </VALUE></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Names\"><VALUE.ARRAY><VALUE>a</VALUE><VALUE>b</VALUE>"
        "</VALUE.ARRAY></PARAMVALUE>"
        "<PARAMVALUE NAME=\"Nothing\"/>"
        "</METHODCALL>\n");
    // wbemcli's header style: only the namespace separators escaped.
    CimXmlHttpResponse r = post(headers("GetErrorRecord",
        "root%2Fexm%3AEXM_Job.InstanceID=\"EXM:Job:17\""), body);
    ASSERT_EQ(200u, r.status) << r.header("CIMError");
    Call c = ops.last();
    ASSERT_EQ(3u, c.in.size());
    EXPECT_FALSE(c.in[0].isTyped());
    String s;
    c.in[0].getValue().get(s);
    EXPECT_EQ(" 2 ", str(s));
    EXPECT_FALSE(c.in[1].isTyped());
    Array<String> names;
    c.in[1].getValue().get(names);
    ASSERT_EQ(2u, names.size());
    EXPECT_EQ("b", str(names[1]));
    EXPECT_FALSE(c.in[2].isTyped());
    EXPECT_TRUE(c.in[2].getValue().isNull());
    // NULL outputs are left out; the return value comes first.
    EXPECT_EQ(std::string::npos, r.body.find("Unset"));
    EXPECT_LT(r.body.find("<RETURNVALUE PARAMTYPE=\"uint32\"><VALUE>0</VALUE>"),
        r.body.find("<PARAMVALUE NAME=\"Error\""));
}

TEST_F(RequestProcessorTest, StaticMethodCallOnClassPath)
{
    std::string body = envelope(
        "<METHODCALL NAME=\"Bogus\"><LOCALCLASSPATH><LOCALNAMESPACEPATH>"
        "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"exm\"/></LOCALNAMESPACEPATH>"
        "<CLASSNAME NAME=\"EXM_Job\"/></LOCALCLASSPATH></METHODCALL>\n");
    CimXmlHttpResponse r = post(headers("Bogus", "root/exm:EXM_Job"), body);
    ASSERT_EQ(200u, r.status);
    EXPECT_NE(std::string::npos, r.body.find(
        "<METHODRESPONSE NAME=\"Bogus\">\n<ERROR CODE=\"17\" "
        "DESCRIPTION=\"CIM_ERR_METHOD_NOT_FOUND: Bogus\"/>\n</METHODRESPONSE>"));
    Call c = ops.last();
    EXPECT_EQ(0u, c.path.getKeyBindings().size());
    EXPECT_TRUE(c.path.getClassName().equal(CIMName("EXM_Job")));
}

TEST_F(RequestProcessorTest, SetPropertyNewValueArrivesAsTextForRetyping)
{
    EXPECT_EQ(0u, errorCodeOf("SetProperty",
        "<IPARAMVALUE NAME=\"PropertyName\"><VALUE>JobState</VALUE></IPARAMVALUE>"
        "<IPARAMVALUE NAME=\"NewValue\"><VALUE>9</VALUE></IPARAMVALUE>" +
        std::string(INSTANCE_NAME_17)));
    Call c = ops.last();
    EXPECT_TRUE(c.className.equal(CIMName("JobState")));
    EXPECT_EQ(CIMTYPE_STRING, c.value.getType());
    String s;
    c.value.get(s);
    EXPECT_EQ("9", str(s));
}

// --- HTTP-level failures --------------------------------------------------------

TEST_F(RequestProcessorTest, HttpLevelFailuresGetStatusAndCimErrorHeader)
{
    std::string good = imethod("EnumerateInstanceNames",
        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>");
    CimXmlHeaders h = headers("EnumerateInstanceNames", "root%2Fexm");

    struct Case
    {
        const char* what;
        std::string method;
        CimXmlHeaders headers;
        std::string body;
        Uint32 status;
        const char* cimError;
    };
    auto without = [&](const char* name) {
        CimXmlHeaders r;
        for (const auto& x : h)
            if (x.first != name)
                r.push_back(x);
        return r;
    };
    auto with = [&](const char* name, const char* value) {
        CimXmlHeaders r = without(name);
        r.push_back({name, value});
        return r;
    };
    auto replaced = [&](const std::string& from, const std::string& to) {
        std::string b = good;
        b.replace(b.find(from), from.size(), to);
        return b;
    };
    CimXmlHeaders twice = h;
    twice.push_back({"CIMOperation", "MethodCall"});

    std::vector<Case> cases = {
        {"GET", "GET", h, good, 501, ""},
        {"no CIMOperation", "POST", without("CIMOperation"), good, 400, ""},
        {"CIMOperation not MethodCall", "POST", with("CIMOperation", "MethodResponse"),
            good, 400, "unsupported-operation"},
        {"repeated CIMOperation", "POST", twice, good, 400, "unsupported-operation"},
        {"batch", "POST", with("CIMBatch", "CIMBatch"), good, 501,
            "multiple-requests-unsupported"},
        {"no CIMMethod", "POST", without("CIMMethod"), good, 400, "header-mismatch"},
        {"CIMMethod differs", "POST", with("CIMMethod", "EnumerateInstances"), good, 400,
            "header-mismatch"},
        {"CIMObject differs", "POST", with("CIMObject", "root%2Fother"), good, 400,
            "header-mismatch"},
        {"bad escape", "POST", with("CIMObject", "root%2"), good, 400, "header-mismatch"},
        {"protocol version differs", "POST", with("CIMProtocolVersion", "1.1"), good, 400,
            "header-mismatch"},
        {"bad content type", "POST", with("Content-Type", "text/plain"), good, 400, ""},
        {"bad charset", "POST", with("Content-Type", "text/xml; charset=latin1"), good,
            400, ""},
        {"not UTF-8", "POST", h, replaced("EXM_Job", "EXM_J\xff" "b"), 400,
            "request-not-valid"},
        {"not well-formed", "POST", h, replaced("</IMETHODCALL>", "</IMETHODCAL>"), 400,
            "request-not-well-formed"},
        {"no namespace path", "POST", h,
            replaced("<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"></NAMESPACE>"
                "<NAMESPACE NAME=\"exm\"></NAMESPACE></LOCALNAMESPACEPATH>", ""),
            400, "request-not-valid"},
        {"no MESSAGE ID", "POST", h, replaced(" ID=\"4711\"", ""), 400,
            "request-not-valid"},
        {"CIM version 3", "POST", h, replaced("CIMVERSION=\"2.0\"", "CIMVERSION=\"3.0\""),
            501, "unsupported-cim-version"},
        {"DTD version 2.x", "POST", h, replaced("DTDVERSION=\"2.0\"", "DTDVERSION=\"2.x\""),
            501, "unsupported-dtd-version"},
        {"protocol 2.0", "POST", h,
            replaced("PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"2.0\""), 501,
            "unsupported-protocol-version"},
    };
    std::string multi = good;
    multi.replace(multi.find("<SIMPLEREQ>"), 11, "<MULTIREQ>");
    multi.replace(multi.find("</SIMPLEREQ>"), 12, "</MULTIREQ>");
    cases.push_back({"MULTIREQ without CIMBatch", "POST", h, multi, 400, "header-mismatch"});

    for (const Case& k : cases)
    {
        CimXmlHttpResponse r = processor.process(k.method, k.headers, k.body,
            contextFor("admin"));
        EXPECT_EQ(k.status, r.status) << k.what;
        EXPECT_EQ(std::string(k.cimError), r.header("CIMError")) << k.what;
        EXPECT_TRUE(r.body.empty()) << k.what;
    }
    EXPECT_TRUE(ops.calls.empty());
}

TEST_F(RequestProcessorTest, HeaderComparisonIgnoresEscapingStyleCaseAndKeyOrder)
{
    std::string body = envelope(
        "<METHODCALL NAME=\"GetErrorRecord\"><LOCALINSTANCEPATH><LOCALNAMESPACEPATH>"
        "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"exm\"/></LOCALNAMESPACEPATH>"
        "<INSTANCENAME CLASSNAME=\"EXM_Job\">"
        "<KEYBINDING NAME=\"InstanceID\"><KEYVALUE VALUETYPE=\"string\">EXM:Job:17</KEYVALUE></KEYBINDING>"
        "<KEYBINDING NAME=\"Slot\"><KEYVALUE VALUETYPE=\"numeric\">16</KEYVALUE></KEYBINDING>"
        "</INSTANCENAME></LOCALINSTANCEPATH></METHODCALL>\n");
    const std::pair<const char*, bool> objects[] = {
        {"root%2Fexm%3AEXM_Job.InstanceID%3D%22EXM%3AJob%3A17%22%2CSlot%3D16", true},
        {"ROOT/EXM:exm_job.Slot=0x10,instanceid=\"EXM:Job:17\"", true},
        {"root/exm:EXM_Job.InstanceID=\"EXM:Job:18\",Slot=16", false},
        {"root/exm:EXM_Job.InstanceID=\"EXM:Job:17\"", false},
        {"root/other:EXM_Job.InstanceID=\"EXM:Job:17\",Slot=16", false},
    };
    for (const auto& o : objects)
    {
        CimXmlHttpResponse r = post(headers("geterrorrecord", o.first), body);
        EXPECT_EQ(o.second ? 200u : 400u, r.status) << o.first;
        EXPECT_EQ(o.second ? "" : "header-mismatch", r.header("CIMError")) << o.first;
    }
}

TEST_F(RequestProcessorTest, HttpErrorHelperBuildsBodylessAnswer)
{
    CimXmlHttpResponse r = CimXmlRequestProcessor::httpError(400,
        "request-not-valid", String("bad thing: x"));
    EXPECT_EQ(400u, r.status);
    EXPECT_EQ("Bad Request", r.reason);
    EXPECT_EQ("request-not-valid", r.header("CIMError"));
    EXPECT_EQ("bad%20thing%3A%20x", r.header("PGErrorDetail"));
    EXPECT_TRUE(r.body.empty());
}

// Instance qualifiers go out on GetInstance and EnumerateInstances only when
// the client asks for them; association answers never carry them.
TEST_F(RequestProcessorTest, InstanceQualifiersOnlyWhenAskedForOnInstanceOperations)
{
    CIMProperty p = ops.instances[0].getProperty(0);
    p.addQualifier(CIMQualifier(CIMName("Key"), CIMValue(true)));
    ops.instances[0].addQualifier(CIMQualifier(CIMName("Description"),
        CIMValue(String("job"))));
    const std::string yes = "<IPARAMVALUE NAME=\"IncludeQualifiers\"><VALUE>TRUE</VALUE></IPARAMVALUE>";
    const std::string no = "<IPARAMVALUE NAME=\"IncludeQualifiers\"><VALUE>FALSE</VALUE></IPARAMVALUE>";
    const std::string jobClass = "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>";
    const std::string service = "<IPARAMVALUE NAME=\"ObjectName\"><INSTANCENAME CLASSNAME=\"EXM_JobService\">"
        "<KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">jobsvc</KEYVALUE>"
        "</KEYBINDING></INSTANCENAME></IPARAMVALUE>";
    const struct
    {
        const char* op;
        std::string params;
        bool qualifiers;
    } cases[] = {
        {"GetInstance", INSTANCE_NAME_17 + yes, true},
        {"GetInstance", INSTANCE_NAME_17 + no, false},
        {"GetInstance", INSTANCE_NAME_17, false},
        {"EnumerateInstances", jobClass + yes, true},
        {"EnumerateInstances", jobClass, false},
        {"Associators", service + yes, false},
    };
    for (const auto& c : cases)
    {
        CimXmlHttpResponse r = post(headers(c.op, "root%2Fexm"), imethod(c.op, c.params));
        ASSERT_EQ(200u, r.status);
        EXPECT_NE(std::string::npos, r.body.find("<INSTANCE CLASSNAME=\"EXM_Job\">\n"))
            << c.op << " " << c.params;
        EXPECT_EQ(c.qualifiers, r.body.find("<QUALIFIER NAME=\"Description\"") != std::string::npos)
            << c.op << " " << c.params;
        EXPECT_EQ(c.qualifiers, r.body.find("<QUALIFIER NAME=\"Key\"") != std::string::npos)
            << c.op << " " << c.params;
    }
}

TEST(RequestProcessorExtended, ErrorInstancesAndEmbeddedReturnValuesOnlyWhenAskedFor)
{
    TestOperations ops;
    CimXmlRequestProcessor extended(ops, String("h"), XmlWriter::EXTENDED);
    CimXmlRequestProcessor strict(ops, String("h"));
    ops.setBefore([] {
        throw CIMException(CIM_ERR_FAILED, String("copy failed"), errorInstance());
    });
    CimXmlHeaders h = {
        {"Content-Type", "text/xml"}, {"CIMOperation", "MethodCall"},
        {"CIMMethod", "EnumerateInstanceNames"}, {"CIMObject", "root/exm"}};
    std::string body = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"9\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLEREQ><IMETHODCALL NAME=\"EnumerateInstanceNames\"><LOCALNAMESPACEPATH>"
        "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"exm\"/></LOCALNAMESPACEPATH>"
        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"EXM_Job\"/></IPARAMVALUE>"
        "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    OperationContext ctx;

    CimXmlHttpResponse r = strict.process("POST", h, body, ctx);
    EXPECT_NE(std::string::npos, r.body.find(
        "<ERROR CODE=\"1\" DESCRIPTION=\"CIM_ERR_FAILED: copy failed\"/>"));

    r = extended.process("POST", h, body, ctx);
    EXPECT_NE(std::string::npos, r.body.find(
        "<ERROR CODE=\"1\" DESCRIPTION=\"CIM_ERR_FAILED: copy failed\">\n"
        "<INSTANCE CLASSNAME=\"CIM_Error\">"));
    CimXmlIMethodResponse d = XmlReader::decodeIMethodResponse(r.body,
        String("EnumerateInstanceNames"), String("9"));
    ASSERT_TRUE(d.isError);
    ASSERT_EQ(1u, d.errorInstances.size());
    EXPECT_TRUE(d.errorInstances[0].identical(errorInstance()));

    std::string out;
    XmlWriter(out, XmlWriter::EXTENDED).appendReturnValue(CIMValue(errorInstance()));
    EXPECT_EQ(0u, out.find("<RETURNVALUE PARAMTYPE=\"string\" EmbeddedObject=\"instance\">"));
    CimXmlMethodResponse m = XmlReader::decodeMethodResponse(
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"3\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLERSP><METHODRESPONSE NAME=\"M\">" + out +
        "</METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>", String("M"), String("3"));
    EXPECT_EQ(CIMTYPE_INSTANCE, m.returnValue.getType());
}
