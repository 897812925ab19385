// The head of an HTTP request read straight from the connection's bytes,
// for the common case only: a POST request line with a plain target, HTTP/1.1,
// well-formed fields, one Content-Length and nothing that asks for more of
// the protocol (no Transfer-Encoding, Expect, Range, Content-Encoding,
// Accept-Encoding, form bodies). The fields come out as the HTTP library
// gives them to its handlers: values trimmed and percent-decoded, equal
// names in arrival order (and all names in the order of its field map,
// case-insensitive, where that tells: see parse()). Any other request is
// left to the library, which then reads the same bytes.
#ifndef CIMHOST_REQUEST_HEAD_H
#define CIMHOST_REQUEST_HEAD_H

#include <CimXml/CimXmlRequestProcessor.h>

#include <cstddef>
#include <string>

namespace cimhost
{

class RequestHead
{
public:
    enum class Result
    {
        Incomplete,  // the head has not arrived whole yet
        Plain,       // a request of the common case
        Other        // anything else: the library reads it
    };

    // The longest head taken: longer ones go to the library, which applies
    // its own limits to them.
    static constexpr size_t MAX_BYTES = 8192;
    static constexpr size_t MAX_FIELDS = 64;

    // Parses the head at the start of `data`.
    Result parse(const char* data, size_t size);

    // What a parse that returned Plain found.
    size_t headBytes() const { return _headBytes; }
    const std::string& target() const { return _target; }
    const Pegasus::CimXmlHeaders& fields() const { return _fields; }
    size_t contentLength() const { return _contentLength; }
    // The client asked for the connection to end after the answer.
    bool closeAfter() const { return _closeAfter; }

    // Names compared as the library's field map compares them.
    static bool nameLess(const std::string& a, const std::string& b);

private:
    Result parseFields(const char* p, const char* end);
    bool addField(const char* begin, const char* end);

    size_t _headBytes = 0;
    std::string _target;
    Pegasus::CimXmlHeaders _fields;
    size_t _used = 0;  // fields of this request so far
    size_t _contentLength = 0;
    bool _closeAfter = false;
};

} // namespace cimhost

#endif
