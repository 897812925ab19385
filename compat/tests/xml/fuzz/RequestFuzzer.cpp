// libFuzzer harness: a request body through the request processor (with
// CIM headers derived from the body so that most inputs reach the
// parameter decoding), then through the fragment and response decoders.
#include <cstdint>
#include <regex>
#include <string>

#include <CimXml/CimXmlRequestProcessor.h>
#include <CimXml/XmlReader.h>
#include <Pegasus/Common/OperationContext.h>

#include "TestOperations.h"

using namespace Pegasus;

namespace
{

std::string firstMatch(const std::string& body, const std::regex& re)
{
    std::smatch m;
    if (std::regex_search(body, m, re))
        return m[1];
    return std::string();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static cimxmltest::TestOperations ops;
    static CimXmlRequestProcessor processor(ops, String("fuzz.example.com"));
    static const std::regex callName("METHODCALL NAME=\"([^\"]*)\"");
    static const std::regex nsName("<NAMESPACE NAME=\"([^\"]*)\"");
    static const std::regex className("CLASSNAME=\"([^\"]*)\"|CLASSNAME NAME=\"([^\"]*)\"");

    ops.calls.clear();
    std::string body(reinterpret_cast<const char*>(data), size);
    std::string method = firstMatch(body, callName);
    std::string ns = firstMatch(body, nsName);
    std::string cls = firstMatch(body, className);
    // An unparsable path makes the processor compare namespace and class
    // only, which keeps keyed targets reachable.
    std::string object = body.find("<METHODCALL") != std::string::npos ?
        ns + ":" + cls + ".(" : ns;
    CimXmlHeaders headers = {
        {"Content-Type", "application/xml; charset=utf-8"},
        {"CIMOperation", "MethodCall"},
        {"CIMMethod", method.empty() ? std::string("X") : method},
        {"CIMObject", object.empty() ? std::string("root") : object},
    };
    OperationContext ctx;
    ctx.insert(IdentityContainer(String("fuzz"), String("127.0.0.1")));
    try
    {
        processor.process("POST", headers, body, ctx);
    }
    catch (...)
    {
        __builtin_trap();   // process() must never throw
    }
    try
    {
        XmlReader::decodeInstance(body);
    }
    catch (const Exception&)
    {
    }
    try
    {
        XmlReader::decodeClass(body);
    }
    catch (const Exception&)
    {
    }
    try
    {
        XmlReader::decodeIMethodResponse(body, String(method.c_str()), String());
    }
    catch (const Exception&)
    {
    }
    try
    {
        XmlReader::decodeMethodResponse(body, String(method.c_str()), String());
    }
    catch (const Exception&)
    {
    }
    return 0;
}
