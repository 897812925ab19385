// Conversions between std::string (UTF-8) and Pegasus::String, and the
// lower-case keys the repository indexes names with.
#ifndef cimhost_repository_Text_h
#define cimhost_repository_Text_h

#include <Pegasus/Common/String.h>

#include <cctype>
#include <string>

namespace cimhost {

inline std::string toStd(const Pegasus::String& s)
{
    Pegasus::CString c = s.getCString();
    return std::string(static_cast<const char*>(c));
}

inline Pegasus::String toPeg(const std::string& s)
{
    return Pegasus::String(s.c_str());
}

inline std::string lowerKey(const std::string& s)
{
    std::string out(s);
    for (auto& c : out)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

inline std::string lowerKey(const Pegasus::String& s)
{
    return lowerKey(toStd(s));
}

} // namespace cimhost

#endif
