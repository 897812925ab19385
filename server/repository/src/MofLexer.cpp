#include "MofLexer.h"

#include <cimhost/MofError.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>

namespace cimhost {

namespace {

bool isNameStart(unsigned char c)
{
    return std::isalpha(c) || c == '_' || c >= 0x80;
}

bool isNameChar(unsigned char c)
{
    return std::isalnum(c) || c == '_' || c >= 0x80;
}

void appendUtf8(std::string& out, std::uint32_t cp)
{
    if (cp < 0x80)
        out += char(cp);
    else if (cp < 0x800)
    {
        out += char(0xC0 | (cp >> 6));
        out += char(0x80 | (cp & 0x3F));
    }
    else
    {
        out += char(0xE0 | (cp >> 12));
        out += char(0x80 | ((cp >> 6) & 0x3F));
        out += char(0x80 | (cp & 0x3F));
    }
}

} // namespace

MofLexer::MofLexer(const std::string& text, const std::string& fileName)
    : _text(text), _file(fileName)
{
    // A UTF-8 byte order mark is not part of the text.
    if (_text.compare(0, 3, "\xEF\xBB\xBF") == 0)
        _pos = 3;
}

const char* MofLexer::kindName(MofTokenKind kind)
{
    switch (kind)
    {
    case MofTokenKind::End: return "end of file";
    case MofTokenKind::Identifier: return "a name";
    case MofTokenKind::Integer: return "an integer";
    case MofTokenKind::Real: return "a real number";
    case MofTokenKind::String: return "a string";
    case MofTokenKind::Char: return "a char16 literal";
    case MofTokenKind::Alias: return "an alias";
    case MofTokenKind::Pragma: return "#pragma";
    case MofTokenKind::LBrace: return "'{'";
    case MofTokenKind::RBrace: return "'}'";
    case MofTokenKind::LParen: return "'('";
    case MofTokenKind::RParen: return "')'";
    case MofTokenKind::LBracket: return "'['";
    case MofTokenKind::RBracket: return "']'";
    case MofTokenKind::Semicolon: return "';'";
    case MofTokenKind::Comma: return "','";
    case MofTokenKind::Colon: return "':'";
    case MofTokenKind::Equals: return "'='";
    }
    return "?";
}

void MofLexer::fail(const std::string& message) const
{
    throw MofError(_file, _line, message);
}

const MofToken& MofLexer::peek()
{
    if (!_havePeek)
    {
        _peek = scan();
        _havePeek = true;
    }
    return _peek;
}

MofToken MofLexer::next()
{
    if (_havePeek)
    {
        _havePeek = false;
        return _peek;
    }
    return scan();
}

void MofLexer::skipSpaceAndComments()
{
    for (;;)
    {
        while (_pos < _text.size() && std::isspace((unsigned char)_text[_pos]))
        {
            if (_text[_pos] == '\n')
                ++_line;
            ++_pos;
        }
        if (_pos + 1 < _text.size() && _text[_pos] == '/' && _text[_pos + 1] == '/')
        {
            while (_pos < _text.size() && _text[_pos] != '\n')
                ++_pos;
            continue;
        }
        if (_pos + 1 < _text.size() && _text[_pos] == '/' && _text[_pos + 1] == '*')
        {
            unsigned startLine = _line;
            _pos += 2;
            for (;;)
            {
                if (_pos + 1 >= _text.size())
                    throw MofError(_file, startLine, "unterminated comment");
                if (_text[_pos] == '*' && _text[_pos + 1] == '/')
                {
                    _pos += 2;
                    break;
                }
                if (_text[_pos] == '\n')
                    ++_line;
                ++_pos;
            }
            continue;
        }
        return;
    }
}

MofToken MofLexer::scan()
{
    skipSpaceAndComments();
    MofToken t;
    t.line = _line;
    if (_pos >= _text.size())
        return t;

    unsigned char c = (unsigned char)_text[_pos];
    auto single = [&](MofTokenKind k) {
        ++_pos;
        t.kind = k;
        return t;
    };
    switch (c)
    {
    case '{': return single(MofTokenKind::LBrace);
    case '}': return single(MofTokenKind::RBrace);
    case '(': return single(MofTokenKind::LParen);
    case ')': return single(MofTokenKind::RParen);
    case '[': return single(MofTokenKind::LBracket);
    case ']': return single(MofTokenKind::RBracket);
    case ';': return single(MofTokenKind::Semicolon);
    case ',': return single(MofTokenKind::Comma);
    case ':': return single(MofTokenKind::Colon);
    case '=': return single(MofTokenKind::Equals);
    case '"': return scanString();
    case '\'': return scanChar();
    default: break;
    }
    if (c == '#')
    {
        std::size_t start = ++_pos;
        while (_pos < _text.size() && isNameChar((unsigned char)_text[_pos]))
            ++_pos;
        std::string word = _text.substr(start, _pos - start);
        for (auto& ch : word)
            ch = char(std::tolower((unsigned char)ch));
        if (word != "pragma")
            fail("unknown directive '#" + word + "'");
        t.kind = MofTokenKind::Pragma;
        return t;
    }
    if (c == '$')
    {
        std::size_t start = ++_pos;
        while (_pos < _text.size() && isNameChar((unsigned char)_text[_pos]))
            ++_pos;
        if (_pos == start)
            fail("'$' must be followed by an alias name");
        t.kind = MofTokenKind::Alias;
        t.text = _text.substr(start, _pos - start);
        return t;
    }
    if (std::isdigit(c) || c == '.' || ((c == '-' || c == '+') && _pos + 1 < _text.size()
        && (std::isdigit((unsigned char)_text[_pos + 1]) || _text[_pos + 1] == '.')))
        return scanNumber();
    if (isNameStart(c))
    {
        std::size_t start = _pos;
        while (_pos < _text.size() && isNameChar((unsigned char)_text[_pos]))
            ++_pos;
        t.kind = MofTokenKind::Identifier;
        t.text = _text.substr(start, _pos - start);
        return t;
    }
    fail(std::string("unexpected character '") + char(c) + "'");
}

MofToken MofLexer::scanNumber()
{
    MofToken t;
    t.line = _line;
    std::size_t start = _pos;
    if (_text[_pos] == '-' || _text[_pos] == '+')
    {
        t.negative = _text[_pos] == '-';
        ++_pos;
    }
    std::size_t digits = _pos;
    while (_pos < _text.size() && (std::isalnum((unsigned char)_text[_pos]) || _text[_pos] == '.'
        || ((_text[_pos] == '-' || _text[_pos] == '+') && (_text[_pos - 1] == 'e' || _text[_pos - 1] == 'E')
            && !(_pos >= digits + 2 && (_text[digits + 1] == 'x' || _text[digits + 1] == 'X')))))
        ++_pos;
    std::string word = _text.substr(digits, _pos - digits);
    std::string all = _text.substr(start, _pos - start);
    auto bad = [&]() { fail("invalid number '" + all + "'"); };

    bool isReal = word.find('.') != std::string::npos
        || (word.find_first_of("eE") != std::string::npos && word.size() > 1
            && !(word.size() > 1 && (word[1] == 'x' || word[1] == 'X')));
    if (isReal)
    {
        for (char ch : word)
            if (!(std::isdigit((unsigned char)ch) || ch == '.' || ch == 'e' || ch == 'E' || ch == '+' || ch == '-'))
                bad();
        errno = 0;
        char* end = nullptr;
        double v = std::strtod(all.c_str(), &end);
        if (end != all.c_str() + all.size() || errno == ERANGE)
            bad();
        t.kind = MofTokenKind::Real;
        t.real = v;
        return t;
    }

    int base = 10;
    std::string body = word;
    if (word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X'))
    {
        base = 16;
        body = word.substr(2);
    }
    else if (word.size() > 1 && (word.back() == 'b' || word.back() == 'B'))
    {
        base = 2;
        body = word.substr(0, word.size() - 1);
    }
    else if (word.size() > 1 && word[0] == '0')
    {
        base = 8;
        body = word.substr(1);
    }
    if (body.empty())
        bad();
    std::uint64_t value = 0;
    for (char ch : body)
    {
        int d = 0;
        if (std::isdigit((unsigned char)ch))
            d = ch - '0';
        else if (std::isxdigit((unsigned char)ch))
            d = 10 + (std::tolower((unsigned char)ch) - 'a');
        else
            bad();
        if (d >= base)
            bad();
        if (value > (UINT64_MAX - std::uint64_t(d)) / std::uint64_t(base))
            fail("number '" + all + "' is out of range");
        value = value * std::uint64_t(base) + std::uint64_t(d);
    }
    t.kind = MofTokenKind::Integer;
    t.magnitude = value;
    if (value == 0)
        t.negative = false;
    return t;
}

std::uint32_t MofLexer::scanEscape(bool& wide)
{
    // _pos is on the character after the backslash.
    wide = false;
    if (_pos >= _text.size())
        fail("unterminated string");
    char c = _text[_pos++];
    switch (c)
    {
    case 'b': return '\b';
    case 't': return '\t';
    case 'n': return '\n';
    case 'f': return '\f';
    case 'r': return '\r';
    case '"': return '"';
    case '\'': return '\'';
    case '\\': return '\\';
    case 'x':
    case 'X':
    {
        std::uint32_t v = 0;
        int n = 0;
        while (n < 4 && _pos < _text.size() && std::isxdigit((unsigned char)_text[_pos]))
        {
            char h = _text[_pos++];
            v = v * 16 + (std::isdigit((unsigned char)h) ? h - '0' : 10 + (std::tolower((unsigned char)h) - 'a'));
            ++n;
        }
        if (n == 0)
            fail("escape '\\x' needs hexadecimal digits");
        wide = true;
        return v;
    }
    default:
        fail(std::string("invalid escape '\\") + c + "'");
    }
}

MofToken MofLexer::scanString()
{
    MofToken t;
    t.line = _line;
    t.kind = MofTokenKind::String;
    ++_pos;
    for (;;)
    {
        if (_pos >= _text.size() || _text[_pos] == '\n')
            throw MofError(_file, t.line, "unterminated string");
        char c = _text[_pos];
        if (c == '"')
        {
            ++_pos;
            return t;
        }
        if (c == '\\')
        {
            ++_pos;
            bool wide;
            std::uint32_t cp = scanEscape(wide);
            if (wide)
                appendUtf8(t.text, cp);
            else
                t.text += char(cp);
            continue;
        }
        t.text += c;
        ++_pos;
    }
}

MofToken MofLexer::scanChar()
{
    MofToken t;
    t.line = _line;
    t.kind = MofTokenKind::Char;
    ++_pos;
    if (_pos >= _text.size() || _text[_pos] == '\n' || _text[_pos] == '\'')
        fail("invalid char16 literal");
    if (_text[_pos] == '\\')
    {
        ++_pos;
        bool wide;
        t.character = std::uint16_t(scanEscape(wide));
    }
    else
    {
        // One UTF-8 encoded character (up to three bytes: char16 is one unit).
        unsigned char c = (unsigned char)_text[_pos++];
        std::uint32_t cp = c;
        int extra = c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
        if (c >= 0xF0)
            fail("char16 literal outside the basic multilingual plane");
        cp = extra == 2 ? (c & 0x0F) : extra == 1 ? (c & 0x1F) : c;
        for (int i = 0; i < extra; ++i)
        {
            if (_pos >= _text.size())
                fail("invalid char16 literal");
            cp = (cp << 6) | ((unsigned char)_text[_pos++] & 0x3F);
        }
        t.character = std::uint16_t(cp);
    }
    if (_pos >= _text.size() || _text[_pos] != '\'')
        fail("char16 literal must hold exactly one character");
    ++_pos;
    return t;
}

} // namespace cimhost
