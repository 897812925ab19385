// libFuzzer harness of the object path parser and the datetime parser.
//
// Whatever parses must print to text that parses back to an identical
// path with the same text and hash; whatever datetime text is accepted
// must print back unchanged.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_USING_PEGASUS;

namespace
{

void checkPath(const String& text)
{
    CIMObjectPath p;
    try
    {
        p.set(text);
    }
    catch (const MalformedObjectNameException&)
    {
        return;
    }
    String printed = p.toString();
    CIMObjectPath q(printed);   // must not throw
    if (!q.identical(p) || !String::equal(q.toString(), printed) ||
        q.makeHashCode() != p.makeHashCode())
        std::abort();
}

void checkDateTime(const String& text)
{
    CIMDateTime d;
    try
    {
        d.set(text);
    }
    catch (const InvalidDateTimeFormatException&)
    {
        return;
    }
    catch (const DateTimeOutOfRangeException&)
    {
        return;
    }
    if (!String::equal(d.toString(), text))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (bytes.find('\0') != std::string::npos)
        return 0;
    String text;
    try
    {
        text = String(bytes.c_str());
    }
    catch (const Exception&)
    {
        return 0;
    }
    checkPath(text);
    if (text.size() == 25)
        checkDateTime(text);
    return 0;
}
