// A plain HTTP/1.1 client connection to a loopback port, for tests and
// benchmarks that must see the wire as it is: status, headers, the body
// with chunked framing removed, and the trailer fields of a chunked answer.
#ifndef VELK_TESTS_HTTPCONNECTION_H
#define VELK_TESTS_HTTPCONNECTION_H

#include <string>
#include <utility>
#include <vector>

namespace e2e
{

typedef std::vector<std::pair<std::string, std::string>> HttpFields;

struct HttpAnswer
{
    int status = 0;
    HttpFields headers;
    std::string body;              // decoded
    bool chunked = false;
    size_t chunks = 0;             // data chunks of a chunked body
    HttpFields trailers;

    // First value of that name (case-insensitive), or "".
    std::string header(const std::string& name) const;
    std::string trailer(const std::string& name) const;
};

class HttpConnection
{
public:
    // Connects to 127.0.0.1:port; throws std::runtime_error when it cannot.
    explicit HttpConnection(int port);
    ~HttpConnection();
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    // Sends the request and reads one answer; false when the connection
    // failed or the answer is not well-framed HTTP.
    bool roundTrip(const std::string& request, HttpAnswer& answer);

    // A CIM-XML POST: intrinsic method `method` on namespace path `object`
    // (already %-encoded), Basic credentials, and "TE: trailers" when asked.
    static std::string cimRequest(const std::string& method, const std::string& object,
        const std::string& body, const std::string& user, const std::string& password,
        bool acceptTrailers);

private:
    bool readLine(std::string& line);
    bool readBytes(size_t n, std::string& out);
    bool fill();

    int _fd = -1;
    std::string _buffer;
    size_t _pos = 0;
};

} // namespace e2e

#endif
