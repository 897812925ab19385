// The error a MOF compilation stops with: the file and line where it was
// detected and what is wrong there.
#ifndef cimhost_MofError_h
#define cimhost_MofError_h

#include <stdexcept>
#include <string>

namespace cimhost {

class MofError : public std::runtime_error
{
public:
    // what() is "<file>:<line>: <message>".
    MofError(const std::string& file, unsigned line, const std::string& message);

    const std::string& file() const { return _file; }
    unsigned line() const { return _line; }
    const std::string& message() const { return _message; }

private:
    std::string _file;
    unsigned _line;
    std::string _message;
};

} // namespace cimhost

#endif
