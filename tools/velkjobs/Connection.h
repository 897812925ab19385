// Where velkjobs connects and as whom: a wbemcli-style URL or the local socket.
#ifndef VELKJOBS_CONNECTION_H
#define VELKJOBS_CONNECTION_H

#include <Pegasus/Client/CIMClient.h>

#include <stdexcept>
#include <string>

namespace velkjobs
{

struct Endpoint
{
    std::string scheme = "http";
    std::string user;
    std::string password;
    std::string host = "localhost";
    unsigned port = 5988;
};

class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

class Connection
{
public:
    // Parses "http://[user[:password]@]host[:port][/...]". A missing port is
    // 5988 for http; https is refused (this client has no TLS).
    static Endpoint parseUrl(const std::string& url);

    // Connects `client` to the URL, or to the server's local socket when the
    // URL is empty.
    static void open(Pegasus::CIMClient& client, const std::string& url,
        unsigned timeoutMs);
};

} // namespace velkjobs

#endif
