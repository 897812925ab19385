// Splits MOF text into tokens: names, numbers, string and char16 literals,
// aliases, #pragma and punctuation. Comments and white space are skipped.
#ifndef cimhost_MofLexer_h
#define cimhost_MofLexer_h

#include <cstdint>
#include <string>

namespace cimhost {

enum class MofTokenKind
{
    End, Identifier, Integer, Real, String, Char, Alias, Pragma,
    LBrace, RBrace, LParen, RParen, LBracket, RBracket,
    Semicolon, Comma, Colon, Equals
};

struct MofToken
{
    MofTokenKind kind = MofTokenKind::End;
    std::string text;          // identifier, alias name (without $), string (escapes resolved, UTF-8)
    unsigned line = 0;
    bool negative = false;     // Integer: sign
    std::uint64_t magnitude = 0; // Integer: absolute value
    double real = 0;           // Real
    std::uint16_t character = 0; // Char
};

class MofLexer
{
public:
    // Errors are reported as MofError with this file name.
    MofLexer(const std::string& text, const std::string& fileName);

    const MofToken& peek();
    MofToken next();
    const std::string& fileName() const { return _file; }

    static const char* kindName(MofTokenKind kind);

private:
    void skipSpaceAndComments();
    MofToken scan();
    MofToken scanNumber();
    MofToken scanString();
    MofToken scanChar();
    std::uint32_t scanEscape(bool& wide);
    [[noreturn]] void fail(const std::string& message) const;

    std::string _text;
    std::string _file;
    std::size_t _pos = 0;
    unsigned _line = 1;
    bool _havePeek = false;
    MofToken _peek;
};

} // namespace cimhost

#endif
