#include "Connection.h"

#include <cstdlib>

PEGASUS_USING_PEGASUS;

namespace velkjobs
{

Endpoint Connection::parseUrl(const std::string& url)
{
    Endpoint ep;
    std::string rest = url;
    std::string::size_type sep = rest.find("://");
    if (sep != std::string::npos)
    {
        ep.scheme = rest.substr(0, sep);
        rest = rest.substr(sep + 3);
    }
    if (ep.scheme != "http")
        throw UsageError("unsupported URL scheme \"" + ep.scheme + "\" (use http://)");

    std::string::size_type slash = rest.find('/');
    if (slash != std::string::npos)
        rest = rest.substr(0, slash);

    // The password may contain '@' or ':'; the host part follows the last '@'.
    std::string::size_type at = rest.rfind('@');
    if (at != std::string::npos)
    {
        std::string cred = rest.substr(0, at);
        rest = rest.substr(at + 1);
        std::string::size_type colon = cred.find(':');
        ep.user = cred.substr(0, colon);
        if (colon != std::string::npos)
            ep.password = cred.substr(colon + 1);
    }

    std::string hostPort = rest;
    std::string portText;
    if (!hostPort.empty() && hostPort[0] == '[')
    {
        std::string::size_type close = hostPort.find(']');
        if (close == std::string::npos)
            throw UsageError("malformed URL \"" + url + "\": missing ']'");
        ep.host = hostPort.substr(1, close - 1);
        if (close + 1 < hostPort.size())
        {
            if (hostPort[close + 1] != ':')
                throw UsageError("malformed URL \"" + url + "\"");
            portText = hostPort.substr(close + 2);
        }
    }
    else
    {
        std::string::size_type colon = hostPort.rfind(':');
        ep.host = hostPort.substr(0, colon);
        if (colon != std::string::npos)
            portText = hostPort.substr(colon + 1);
    }
    if (ep.host.empty())
        throw UsageError("malformed URL \"" + url + "\": no host");
    if (!portText.empty())
    {
        char* end = nullptr;
        unsigned long port = std::strtoul(portText.c_str(), &end, 10);
        if (*end != '\0' || port == 0 || port > 65535)
            throw UsageError("malformed URL \"" + url + "\": bad port \"" + portText + "\"");
        ep.port = static_cast<unsigned>(port);
    }
    return ep;
}

void Connection::open(CIMClient& client, const std::string& url, unsigned timeoutMs)
{
    client.setTimeout(timeoutMs);
    if (url.empty())
    {
        client.connectLocal();
        return;
    }
    Endpoint ep = parseUrl(url);
    client.connect(String(ep.host.c_str()), ep.port, String(ep.user.c_str()),
        String(ep.password.c_str()));
}

} // namespace velkjobs
