#include "IndicationDestination.h"
#include "Logger.h"

#include <httplib.h>

#include <cctype>

namespace cimhost
{

bool IndicationDestination::parseUrl(const std::string& url, std::string& schemeHostPort,
    std::string& path, std::string& why)
{
    size_t colon = url.find("://");
    std::string scheme = colon == std::string::npos ? std::string() : url.substr(0, colon);
    for (char& c : scheme)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (scheme != "http" && scheme != "https")
    {
        why = "the destination must be an http or https URL";
        return false;
    }
    std::string rest = url.substr(colon + 3);
    size_t slash = rest.find('/');
    std::string authority = rest.substr(0, slash);
    path = slash == std::string::npos ? "/" : rest.substr(slash);
    if (authority.find('@') != std::string::npos)
    {
        why = "the destination URL must not carry credentials";
        return false;
    }
    std::string host = authority;
    std::string port;
    if (!authority.empty() && authority[0] == '[')
    {
        size_t close = authority.find(']');
        if (close == std::string::npos)
        {
            why = "the destination URL has a bad host";
            return false;
        }
        host = authority.substr(0, close + 1);
        if (close + 1 < authority.size())
        {
            if (authority[close + 1] != ':')
            {
                why = "the destination URL has a bad host";
                return false;
            }
            port = authority.substr(close + 2);
        }
    }
    else if (authority.find(':') != std::string::npos)
    {
        host = authority.substr(0, authority.find(':'));
        port = authority.substr(authority.find(':') + 1);
    }
    if (host.empty() || host.find_first_of(" \t\\?#") != std::string::npos)
    {
        why = "the destination URL has no valid host";
        return false;
    }
    if (authority.find(':') != std::string::npos && host[0] != '[' && port.empty())
    {
        why = "the destination URL has an empty port";
        return false;
    }
    if (!port.empty())
    {
        unsigned long n = 0;
        for (char c : port)
        {
            if (!std::isdigit(static_cast<unsigned char>(c)) || port.size() > 5)
            {
                why = "the destination URL has a bad port";
                return false;
            }
            n = n * 10 + static_cast<unsigned long>(c - '0');
        }
        if (n == 0 || n > 65535)
        {
            why = "the destination URL has a bad port";
            return false;
        }
    }
    if (path.find_first_of(" \t\r\n") != std::string::npos)
    {
        why = "the destination URL has a bad path";
        return false;
    }
    schemeHostPort = scheme + "://" + authority;
    return true;
}

IndicationDestination::IndicationDestination(const std::string& url,
    const Settings& settings, Logger& logger)
    : _url(url), _settings(settings), _logger(logger)
{
    std::string why;
    parseUrl(url, _schemeHostPort, _path, why);
    _thread = std::thread([this] { run(); });
}

IndicationDestination::~IndicationDestination()
{
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
    }
    _wake.notify_all();
    _thread.join();
}

void IndicationDestination::enqueue(std::shared_ptr<const std::string> body)
{
    size_t dropped = 0;
    bool full = false;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        if (_stopping)
            return;
        if (_queue.size() >= _settings.queueLimit)
        {
            full = _droppedFull++ == 0;
        }
        else
        {
            dropped = _droppedFull;
            _droppedFull = 0;
            _queue.push_back(std::move(body));
        }
    }
    if (full)
        _logger.warning("indication listener " + _url + ": queue full (" +
            std::to_string(_settings.queueLimit) + "); dropping indications");
    else
        _wake.notify_one();
    if (dropped)
        _logger.warning("indication listener " + _url + ": " + std::to_string(dropped) +
            " indications dropped while its queue was full");
}

std::string IndicationDestination::post(const std::string& body)
{
    httplib::Client client(_schemeHostPort);
    if (!client.is_valid())
        return "cannot use this URL";
    client.set_connection_timeout(_settings.timeoutSeconds, 0);
    client.set_read_timeout(_settings.timeoutSeconds, 0);
    client.set_write_timeout(_settings.timeoutSeconds, 0);
    httplib::Headers headers = {{"CIMExport", "MethodRequest"},
        {"CIMExportMethod", "ExportIndication"}};
    httplib::Result res =
        client.Post(_path.c_str(), headers, body, "application/xml; charset=\"utf-8\"");
    if (!res)
        return httplib::to_string(res.error());
    if (res->status != 200)
        return "HTTP status " + std::to_string(res->status);
    if (res->body.find("<ERROR") != std::string::npos)
        _logger.warning("indication listener " + _url + " refused an indication");
    return std::string();
}

void IndicationDestination::run()
{
    bool down = false;
    size_t droppedDown = 0;
    for (;;)
    {
        std::shared_ptr<const std::string> body;
        {
            std::unique_lock<std::mutex> lock(_mutex);
            _wake.wait(lock, [this] { return _stopping || !_queue.empty(); });
            if (_stopping)
                break;
            body = _queue.front();
        }
        std::string why;
        int attempts = down ? 1 : _settings.attempts;
        std::chrono::milliseconds pause = _settings.firstRetry;
        for (int a = 0; a < attempts; a++)
        {
            if (a > 0)
            {
                std::unique_lock<std::mutex> lock(_mutex);
                if (_wake.wait_for(lock, pause, [this] { return _stopping; }))
                    break;
                pause *= 2;
            }
            why = post(*body);
            if (why.empty())
                break;
        }
        {
            std::lock_guard<std::mutex> lock(_mutex);
            if (!_queue.empty())
                _queue.pop_front();
            if (_stopping)
                break;
        }
        if (why.empty() && down)
        {
            down = false;
            _logger.warning("indication listener " + _url + " is reachable again; " +
                std::to_string(droppedDown) + " indications were dropped");
            droppedDown = 0;
        }
        else if (!why.empty())
        {
            if (!down)
                _logger.warning("indication listener " + _url + " is not reachable: " + why +
                    "; dropping indications");
            down = true;
            droppedDown++;
        }
    }
}

} // namespace cimhost
