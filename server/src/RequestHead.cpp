#include "RequestHead.h"

#include <Pegasus/Internal/NumberText.h>

#include <algorithm>
#include <cstring>

namespace cimhost
{

namespace
{

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool sameName(const std::string& name, const char* wanted)
{
    size_t n = std::strlen(wanted);
    if (name.size() != n)
        return false;
    for (size_t i = 0; i < n; i++)
        if (lower(name[i]) != lower(wanted[i]))
            return false;
    return true;
}

struct TokenChars
{
    TokenChars()
    {
        for (int c = 0; c < 256; c++)
            is[c] = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                (c != 0 && std::strchr("!#$%&'*+-.^_`|~", c) != nullptr);
    }
    bool is[256];
};

bool tokenChar(unsigned char c)
{
    static const TokenChars chars;
    return chars.is[c];
}

// The "NN-" prefix M-POST puts before the names of its fields.
bool prefixed(const std::string& name)
{
    return name.size() > 3 && name[0] >= '0' && name[0] <= '9' && name[1] >= '0' &&
        name[1] <= '9' && name[2] == '-';
}

// Characters of a target taken as it is: the library would decode nothing
// in it and find no query.
bool plainTargetChar(unsigned char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
        c == '/' || c == '.' || c == '_' || c == '-' || c == '~';
}

int hexValue(char c)
{
    return Pegasus::NumberText::hexDigit(static_cast<unsigned char>(c));
}

// A field value decoded as the library decodes it: "%XX" with two hex
// digits becomes that byte, any other "%" stays. False for the "%uXXXX"
// form, which it turns into UTF-8 (left to it).
bool decodeValue(const char* p, const char* end, std::string& out)
{
    const char* percent = static_cast<const char*>(std::memchr(p, '%', end - p));
    if (!percent)
    {
        out.assign(p, end);
        return true;
    }
    out.assign(p, percent);
    for (p = percent; p < end; p++)
    {
        if (*p != '%' || end - p < 2)
        {
            out += *p;
            continue;
        }
        if (p[1] == 'u')
        {
            if (end - p >= 6 && hexValue(p[2]) >= 0 && hexValue(p[3]) >= 0 &&
                hexValue(p[4]) >= 0 && hexValue(p[5]) >= 0)
                return false;
            out += *p;
            continue;
        }
        int high = hexValue(p[1]);
        int low = end - p >= 3 ? hexValue(p[2]) : -1;
        if (high < 0 || low < 0)
        {
            out += *p;
            continue;
        }
        out += static_cast<char>(high * 16 + low);
        p += 2;
    }
    return true;
}

enum class Special
{
    None,
    ContentLength,
    Connection,
    ContentType,
    Refused  // a field the common case does not take
};

// What a field name means to the common case; names looked at by length
// first, as most fields are none of these.
Special special(const std::string& name)
{
    switch (name.size())
    {
        case 5:
            return sameName(name, "Range") ? Special::Refused : Special::None;
        case 6:
            return sameName(name, "Expect") ? Special::Refused : Special::None;
        case 10:
            if (sameName(name, "Connection"))
                return Special::Connection;
            return sameName(name, "LOCAL_ADDR") || sameName(name, "LOCAL_PORT")
                ? Special::Refused
                : Special::None;
        case 11:
            return sameName(name, "REMOTE_ADDR") || sameName(name, "REMOTE_PORT")
                ? Special::Refused
                : Special::None;
        case 12:
            return sameName(name, "Content-Type") ? Special::ContentType : Special::None;
        case 14:
            return sameName(name, "Content-Length") ? Special::ContentLength : Special::None;
        case 15:
            return sameName(name, "Accept-Encoding") ? Special::Refused : Special::None;
        case 16:
            return sameName(name, "Content-Encoding") ? Special::Refused : Special::None;
        case 17:
            return sameName(name, "Transfer-Encoding") ? Special::Refused : Special::None;
        default:
            return Special::None;
    }
}

const char* const REQUEST_LINE_START = "POST ";
const char* const REQUEST_LINE_END = " HTTP/1.1";

} // namespace

bool RequestHead::nameLess(const std::string& a, const std::string& b)
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
        [](char x, char y) {
            return static_cast<unsigned char>(lower(x)) < static_cast<unsigned char>(lower(y));
        });
}

RequestHead::Result RequestHead::parse(const char* data, size_t size)
{
    _used = 0;
    _target.clear();
    _headBytes = 0;
    _contentLength = 0;
    _closeAfter = false;

    size_t startBytes = std::strlen(REQUEST_LINE_START);
    if (std::memcmp(data, REQUEST_LINE_START, std::min(size, startBytes)) != 0)
        return Result::Other;
    size_t limit = std::min(size, MAX_BYTES);
    const char* headEnd = nullptr;
    for (const char* p = data; limit - (p - data) >= 4;)
    {
        p = static_cast<const char*>(std::memchr(p, '\r', limit - (p - data) - 3));
        if (!p)
            break;
        if (p[1] == '\n' && p[2] == '\r' && p[3] == '\n')
        {
            headEnd = p;
            break;
        }
        p++;
    }
    if (!headEnd)
        return size >= MAX_BYTES ? Result::Other : Result::Incomplete;
    _headBytes = static_cast<size_t>(headEnd - data) + 4;

    // The request line.
    const char* lineEnd = static_cast<const char*>(std::memchr(data, '\r', headEnd + 2 - data));
    size_t endBytes = std::strlen(REQUEST_LINE_END);
    if (lineEnd[1] != '\n' || static_cast<size_t>(lineEnd - data) < startBytes + 1 + endBytes ||
        std::memcmp(lineEnd - endBytes, REQUEST_LINE_END, endBytes) != 0)
        return Result::Other;
    const char* target = data + startBytes;
    const char* targetEnd = lineEnd - endBytes;
    if (*target != '/')
        return Result::Other;
    for (const char* p = target; p < targetEnd; p++)
        if (!plainTargetChar(static_cast<unsigned char>(*p)))
            return Result::Other;
    _target.assign(target, targetEnd);

    if (lineEnd < headEnd)
    {
        Result r = parseFields(lineEnd + 2, headEnd + 2);
        if (r != Result::Plain)
            return r;
    }
    _fields.resize(_used);
    // In order by name, equal names keeping their order. Readers of the
    // fields look at one name at a time (joining equal names in order), so
    // the order among different names only tells when a name comes both
    // with and without the "NN-" prefix; without prefixed names the sort is
    // left out. An insertion sort: heads hold few fields.
    if (std::any_of(_fields.begin(), _fields.end(),
            [](const std::pair<std::string, std::string>& f) { return prefixed(f.first); }))
        for (size_t i = 1; i < _fields.size(); i++)
            for (size_t j = i; j > 0 && nameLess(_fields[j].first, _fields[j - 1].first); j--)
                std::swap(_fields[j], _fields[j - 1]);

    // What the common case allows, in the values the library would see.
    size_t contentLengths = 0;
    size_t connections = 0;
    for (const auto& f : _fields)
    {
        const std::string& name = f.first;
        const std::string& value = f.second;
        switch (special(name))
        {
            case Special::None:
                break;
            case Special::ContentLength:
            {
                if (++contentLengths > 1 || value.empty() || value.size() > 18)
                    return Result::Other;
                size_t n = 0;
                for (char c : value)
                {
                    if (c < '0' || c > '9')
                        return Result::Other;
                    n = n * 10 + static_cast<size_t>(c - '0');
                }
                _contentLength = n;
                break;
            }
            case Special::Connection:
                if (++connections > 1)
                    return Result::Other;
                _closeAfter = value == "close";
                break;
            case Special::ContentType:
                if (value.find("multipart/form-data") != std::string::npos ||
                    value.find("application/x-www-form-urlencoded") != std::string::npos)
                    return Result::Other;
                break;
            case Special::Refused:
                return Result::Other;
        }
    }
    if (contentLengths != 1)
        return Result::Other;
    return Result::Plain;
}

RequestHead::Result RequestHead::parseFields(const char* p, const char* end)
{
    // Each line ends in CR LF; `end` is past the last one.
    while (p < end)
    {
        const char* cr = static_cast<const char*>(std::memchr(p, '\r', end - p));
        if (!cr || cr[1] != '\n' || std::memchr(p, '\n', cr - p))
            return Result::Other;
        if (_used >= MAX_FIELDS || !addField(p, cr))
            return Result::Other;
        p = cr + 2;
    }
    return Result::Plain;
}

bool RequestHead::addField(const char* begin, const char* end)
{
    const char* colon = begin;
    while (colon < end && *colon != ':')
    {
        if (!tokenChar(static_cast<unsigned char>(*colon)))
            return false;
        colon++;
    }
    if (colon == begin || colon == end)
        return false;
    const char* value = colon + 1;
    while (value < end && (*value == ' ' || *value == '\t'))
        value++;
    while (end > value && (end[-1] == ' ' || end[-1] == '\t'))
        end--;
    if (value == end)
        return false;
    // The strings of the last request's fields are filled again: their
    // room is reused.
    if (_used == _fields.size())
        _fields.emplace_back();
    auto& field = _fields[_used++];
    field.first.assign(begin, colon);
    return decodeValue(value, end, field.second);
}

} // namespace cimhost
