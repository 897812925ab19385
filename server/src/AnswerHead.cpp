#include "AnswerHead.h"
#include "RequestHead.h"

#include <algorithm>
#include <strings.h>

namespace cimhost
{

namespace
{

const char* reason(int status)
{
    switch (status)
    {
        case 200: return "OK";
        case 400: return "Bad Request";
        case 401: return "Unauthorized";
        case 403: return "Forbidden";
        case 404: return "Not Found";
        case 413: return "Payload Too Large";
        case 429: return "Too Many Requests";
        case 500: return "Internal Server Error";
        case 501: return "Not Implemented";
        case 503: return "Service Unavailable";
        default: return "Internal Server Error";
    }
}

bool hasLineBreak(const std::string& text)
{
    for (char c : text)
        if (c == '\r' || c == '\n')
            return true;
    return false;
}

} // namespace

void AnswerHead::set(const std::string& name, const std::string& value)
{
    if (hasLineBreak(name) || hasLineBreak(value))
        return;
    // After the last field of a name not greater than this one.
    auto at = std::upper_bound(_fields.begin(), _fields.end(), name,
        [](const std::string& n, const std::pair<std::string, std::string>& f) {
            return RequestHead::nameLess(n, f.first);
        });
    _fields.emplace(at, name, value);
}

bool AnswerHead::has(const char* name) const
{
    for (const auto& f : _fields)
        if (::strcasecmp(f.first.c_str(), name) == 0)
            return true;
    return false;
}

void AnswerHead::write(std::string& out) const
{
    out += "HTTP/1.1 ";
    out += std::to_string(status);
    out += ' ';
    out += reason(status);
    out += "\r\n";
    for (const auto& f : _fields)
    {
        out += f.first;
        out += ": ";
        out += f.second;
        out += "\r\n";
    }
    out += "\r\n";
}

} // namespace cimhost
