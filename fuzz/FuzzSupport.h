// Small helpers shared by the fuzz targets.
#ifndef velk_fuzz_FuzzSupport_h
#define velk_fuzz_FuzzSupport_h

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

namespace velkfuzz {

// The input as a String, or false when it is not valid UTF-8 (or too long
// for a String length).
inline bool toString(const uint8_t* data, size_t size, Pegasus::String& out)
{
    if (size > 0xFFFFFFu)
        return false;
    try
    {
        out = Pegasus::String(reinterpret_cast<const char*>(data), Pegasus::Uint32(size));
        return true;
    }
    catch (const Pegasus::Exception&)
    {
        return false;
    }
}

inline std::string utf8(const Pegasus::String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

// Stops the run with a message libFuzzer keeps next to the crash file.
[[noreturn]] inline void fail(const std::string& what)
{
    std::fprintf(stderr, "FUZZ CHECK FAILED: %s\n", what.c_str());
    std::fflush(stderr);
    std::abort();
}

} // namespace velkfuzz

#endif
