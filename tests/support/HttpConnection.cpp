#include "HttpConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace e2e
{

namespace
{

std::string find(const HttpFields& fields, const std::string& name)
{
    for (const auto& f : fields)
        if (strcasecmp(f.first.c_str(), name.c_str()) == 0)
            return f.second;
    return std::string();
}

// "Name: value" into the fields; false when there is no colon.
bool addField(const std::string& line, HttpFields& fields)
{
    size_t colon = line.find(':');
    if (colon == std::string::npos)
        return false;
    size_t v = line.find_first_not_of(" \t", colon + 1);
    fields.emplace_back(line.substr(0, colon),
        v == std::string::npos ? std::string() : line.substr(v));
    return true;
}

std::string base64(const std::string& in)
{
    static const char table[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    size_t i = 0;
    for (; i + 2 < in.size(); i += 3)
    {
        unsigned v = (unsigned char)in[i] << 16 | (unsigned char)in[i + 1] << 8 |
            (unsigned char)in[i + 2];
        out += table[v >> 18];
        out += table[(v >> 12) & 63];
        out += table[(v >> 6) & 63];
        out += table[v & 63];
    }
    if (i < in.size())
    {
        unsigned v = (unsigned char)in[i] << 16;
        if (i + 1 < in.size())
            v |= (unsigned char)in[i + 1] << 8;
        out += table[v >> 18];
        out += table[(v >> 12) & 63];
        out += i + 1 < in.size() ? table[(v >> 6) & 63] : '=';
        out += '=';
    }
    return out;
}

} // namespace

std::string HttpAnswer::header(const std::string& name) const
{
    return find(headers, name);
}

std::string HttpAnswer::trailer(const std::string& name) const
{
    return find(trailers, name);
}

HttpConnection::HttpConnection(int port)
{
    _fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr;
    std::memset(&addr, 0, sizeof(addr));
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(port));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (_fd < 0 || ::connect(_fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0)
    {
        if (_fd >= 0)
            ::close(_fd);
        throw std::runtime_error("cannot connect to 127.0.0.1:" + std::to_string(port));
    }
    int one = 1;
    ::setsockopt(_fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one));
}

HttpConnection::~HttpConnection()
{
    ::close(_fd);
}

std::string HttpConnection::cimRequest(const std::string& method, const std::string& object,
    const std::string& body, const std::string& user, const std::string& password,
    bool acceptTrailers)
{
    std::string r = "POST /cimom HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                    "Content-Type: application/xml; charset=\"utf-8\"\r\n"
                    "CIMOperation: MethodCall\r\nCIMMethod: " + method +
        "\r\nCIMObject: " + object + "\r\nAuthorization: Basic " +
        base64(user + ":" + password) + "\r\n";
    if (acceptTrailers)
        r += "TE: trailers\r\n";
    r += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    r += body;
    return r;
}

bool HttpConnection::fill()
{
    if (_pos > 0 && _pos == _buffer.size())
    {
        _buffer.clear();
        _pos = 0;
    }
    char chunk[65536];
    for (;;)
    {
        ssize_t n = ::recv(_fd, chunk, sizeof(chunk), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        _buffer.append(chunk, static_cast<size_t>(n));
        return true;
    }
}

bool HttpConnection::readLine(std::string& line)
{
    for (;;)
    {
        size_t eol = _buffer.find("\r\n", _pos);
        if (eol != std::string::npos)
        {
            line.assign(_buffer, _pos, eol - _pos);
            _pos = eol + 2;
            return true;
        }
        if (!fill())
            return false;
    }
}

bool HttpConnection::readBytes(size_t n, std::string& out)
{
    while (n > 0)
    {
        if (_pos == _buffer.size() && !fill())
            return false;
        size_t take = std::min(n, _buffer.size() - _pos);
        out.append(_buffer, _pos, take);
        _pos += take;
        n -= take;
    }
    return true;
}

bool HttpConnection::roundTrip(const std::string& request, HttpAnswer& answer)
{
    // Emptied in place: a client that reuses its answer reuses its room.
    answer.status = 0;
    answer.headers.clear();
    answer.body.clear();
    answer.chunked = false;
    answer.chunks = 0;
    answer.trailers.clear();
    for (size_t sent = 0; sent < request.size();)
    {
        ssize_t n = ::send(_fd, request.data() + sent, request.size() - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        sent += static_cast<size_t>(n);
    }
    std::string line;
    if (!readLine(line) || line.compare(0, 5, "HTTP/") != 0 || line.size() < 12)
        return false;
    answer.status = std::atoi(line.c_str() + 9);
    while (readLine(line) && !line.empty())
        if (!addField(line, answer.headers))
            return false;
    if (strcasecmp(answer.header("Transfer-Encoding").c_str(), "chunked") == 0)
    {
        answer.chunked = true;
        for (;;)
        {
            if (!readLine(line))
                return false;
            char* end = nullptr;
            size_t size = std::strtoul(line.c_str(), &end, 16);
            if (end == line.c_str())
                return false;
            if (size == 0)
                break;
            std::string crlf;
            if (!readBytes(size, answer.body) || !readBytes(2, crlf) || crlf != "\r\n")
                return false;
            answer.chunks++;
        }
        while (readLine(line) && !line.empty())
            if (!addField(line, answer.trailers))
                return false;
        return line.empty();
    }
    size_t length = std::strtoul(answer.header("Content-Length").c_str(), nullptr, 10);
    answer.body.reserve(length);
    return readBytes(length, answer.body);
}

} // namespace e2e
