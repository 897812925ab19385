// Date/time parser: CIMDateTime(const String&) and set(const String&).
// A value that parses prints back as the very text it came from (the form
// is fixed: 25 characters, fields either all digits or all wildcards), and
// that text parses again to an equal value.
#include <cstddef>
#include <cstdint>

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>

#include "FuzzSupport.h"

PEGASUS_USING_PEGASUS;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    String input;
    if (!velkfuzz::toString(data, size, input))
        return 0;

    CIMDateTime value;
    try
    {
        value = CIMDateTime(input);
    }
    catch (const Exception&)
    {
        CIMDateTime reused(String("20200101000000.000000+060"));
        try
        {
            reused.set(input);
            velkfuzz::fail("constructor rejected the input but set() took it: " +
                velkfuzz::utf8(input));
        }
        catch (const Exception&)
        {
        }
        return 0;
    }

    CIMDateTime viaSet(String("00000001000000.000000:000"));
    viaSet.set(input);
    String text = value.toString();
    if (viaSet.toString() != text)
        velkfuzz::fail("set() and the constructor disagree on: " + velkfuzz::utf8(input));
    if (text != input)
        velkfuzz::fail("toString() changed the value: input " + velkfuzz::utf8(input) +
            " text " + velkfuzz::utf8(text));

    CIMDateTime again;
    try
    {
        again = CIMDateTime(text);
    }
    catch (const Exception& e)
    {
        velkfuzz::fail("toString() of a parsed value does not parse: " + velkfuzz::utf8(text) +
            " error " + velkfuzz::utf8(e.getMessage()));
    }
    if (again.toString() != text)
        velkfuzz::fail("round trip changed the text: " + velkfuzz::utf8(text) + " then " +
            velkfuzz::utf8(again.toString()));
    if (again.isInterval() != value.isInterval() || again.isTimeStamp() != value.isTimeStamp())
        velkfuzz::fail("round trip changed the kind: " + velkfuzz::utf8(text));
    if (again.toMicroSeconds() != value.toMicroSeconds())
        velkfuzz::fail("round trip changed the microseconds: " + velkfuzz::utf8(text));
    if (!(again == value) || again != value)
        velkfuzz::fail("round trip value compares unequal: " + velkfuzz::utf8(text));

    // Comparison and arithmetic against a fixed value of the same kind: any
    // outcome but a Pegasus exception or a plain result is a fault.
    CIMDateTime other(String(value.isInterval() ?
        "00000010120000.500000:000" : "20241231235959.999999-720"));
    try
    {
        (void)(value < other);
        (void)(value >= other);
        if (value.isInterval())
        {
            CIMDateTime sum = value + other;
            CIMDateTime diff = sum - other;
            (void)(value * 3);
            (void)(value / 7);
            (void)(sum / other);
            (void)diff.toString();
        }
        else
        {
            (void)CIMDateTime::getDifference(value, other);
            (void)(value - CIMDateTime(String("00000000000001.000000:000"))).toString();
        }
    }
    catch (const Exception&)
    {
    }
    return 0;
}
