// Object path parser: CIMObjectPath(const String&) and set(const String&).
// An input either fails with a Pegasus exception or parses; a path that
// parses must parse again from its own toString() into an identical path,
// and that text must be stable.
#include <cstddef>
#include <cstdint>

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Exception.h>

#include "FuzzSupport.h"

PEGASUS_USING_PEGASUS;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    String input;
    if (!velkfuzz::toString(data, size, input))
        return 0;

    CIMObjectPath path;
    try
    {
        path = CIMObjectPath(input);
    }
    catch (const Exception&)
    {
        // set() on a used path must fail the same way and leave no trace
        // of the old value behind that a later set() could trip over.
        CIMObjectPath reused("Fuzz_Class.Key=\"old\"");
        try
        {
            reused.set(input);
            velkfuzz::fail("constructor rejected the input but set() took it: " +
                velkfuzz::utf8(input));
        }
        catch (const Exception&)
        {
        }
        reused.set("Fuzz_Class.Key=\"new\"");
        return 0;
    }

    CIMObjectPath viaSet("//h/ns:Other.K=1");
    viaSet.set(input);
    if (!viaSet.identical(path))
        velkfuzz::fail("set() and the constructor disagree on: " + velkfuzz::utf8(input));

    String text = path.toString();
    CIMObjectPath again;
    try
    {
        again = CIMObjectPath(text);
    }
    catch (const Exception& e)
    {
        velkfuzz::fail("toString() of a parsed path does not parse: input " +
            velkfuzz::utf8(input) + " text " + velkfuzz::utf8(text) + " error " +
            velkfuzz::utf8(e.getMessage()));
    }
    if (!again.identical(path))
        velkfuzz::fail("round trip changed the path: input " + velkfuzz::utf8(input) +
            " text " + velkfuzz::utf8(text) + " re-parsed " + velkfuzz::utf8(again.toString()));
    if (again.toString() != text)
        velkfuzz::fail("toString() is not stable: " + velkfuzz::utf8(text) + " then " +
            velkfuzz::utf8(again.toString()));
    // Equality must agree with identity.
    if (!(again == path))
        velkfuzz::fail("identical paths compare unequal: " + velkfuzz::utf8(text));
    return 0;
}
