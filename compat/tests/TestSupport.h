// Helpers shared by the SDK's tests: the text of a String, and the message
// (or CIM code and message) of the exception a call throws.
#ifndef Compat_Tests_TestSupport_h
#define Compat_Tests_TestSupport_h

#include <string>

#include <gtest/gtest.h>
#include <Pegasus/Common/Exception.h>

namespace compattest
{

inline std::string str(const Pegasus::String& s)
{
    return std::string((const char*)s.getCString());
}

// The message of the E that f() throws; a test failure when it throws none.
template<class E, class F>
Pegasus::String messageOf(F f)
{
    try
    {
        f();
    }
    catch (const E& e)
    {
        return e.getMessage();
    }
    ADD_FAILURE() << "no exception";
    return Pegasus::String("no exception");
}

// "<code> <message>" of the CIMException that f() throws.
template<class F>
std::string cimErrorOf(F f)
{
    try
    {
        f();
    }
    catch (const Pegasus::CIMException& e)
    {
        return std::to_string(int(e.getCode())) + " " + str(e.getMessage());
    }
    ADD_FAILURE() << "no exception";
    return "no exception";
}

} // namespace compattest

#endif
