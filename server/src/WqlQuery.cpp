#include "WqlQuery.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <cctype>
#include <cstdlib>
#include <vector>

using namespace Pegasus;

namespace cimhost
{

namespace
{

struct Token
{
    enum Kind { Ident, String, Number, Symbol, End } kind;
    std::string text;
    size_t pos;
};

[[noreturn]] void invalid(const std::string& why)
{
    throw CIMException(CIM_ERR_INVALID_QUERY, String(why.c_str()));
}

[[noreturn]] void unsupported(const std::string& what)
{
    throw CIMException(CIM_ERR_NOT_SUPPORTED, String(what.c_str()));
}

bool equalNoCase(const std::string& a, const char* b)
{
    size_t i = 0;
    for (; i < a.size() && b[i]; i++)
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return i == a.size() && !b[i];
}

std::vector<Token> tokenize(const std::string& s)
{
    std::vector<Token> tokens;
    size_t i = 0;
    while (i < s.size())
    {
        unsigned char c = static_cast<unsigned char>(s[i]);
        if (std::isspace(c))
        {
            i++;
            continue;
        }
        size_t start = i;
        if (std::isalpha(c) || c == '_')
        {
            while (i < s.size() && (std::isalnum(static_cast<unsigned char>(s[i])) || s[i] == '_'))
                i++;
            tokens.push_back({Token::Ident, s.substr(start, i - start), start});
        }
        else if (std::isdigit(c) || ((c == '-' || c == '+') && i + 1 < s.size() &&
                     std::isdigit(static_cast<unsigned char>(s[i + 1]))))
        {
            i++;
            while (i < s.size() && (std::isalnum(static_cast<unsigned char>(s[i])) ||
                       s[i] == '.' || s[i] == '+' || s[i] == '-'))
            {
                if ((s[i] == '+' || s[i] == '-') && s[i - 1] != 'e' && s[i - 1] != 'E')
                    break;
                i++;
            }
            tokens.push_back({Token::Number, s.substr(start, i - start), start});
        }
        else if (c == '\'' || c == '"')
        {
            std::string text;
            i++;
            for (;;)
            {
                if (i >= s.size())
                    invalid("unterminated string at position " + std::to_string(start + 1));
                if (s[i] == static_cast<char>(c))
                {
                    // A doubled quote stands for one quote.
                    if (i + 1 < s.size() && s[i + 1] == static_cast<char>(c))
                    {
                        text += s[i];
                        i += 2;
                        continue;
                    }
                    i++;
                    break;
                }
                text += s[i++];
            }
            tokens.push_back({Token::String, text, start});
        }
        else
        {
            static const char* const twoChar[] = {"<>", "!=", "<=", ">="};
            std::string sym(1, static_cast<char>(c));
            for (const char* t : twoChar)
                if (s.compare(i, 2, t) == 0)
                    sym = t;
            if (sym.size() == 1 && std::string("*(),.=<>").find(static_cast<char>(c)) ==
                    std::string::npos)
                invalid(std::string("unexpected character '") + static_cast<char>(c) +
                    "' at position " + std::to_string(start + 1));
            i += sym.size();
            tokens.push_back({Token::Symbol, sym, start});
        }
    }
    tokens.push_back({Token::End, std::string(), s.size()});
    return tokens;
}

// A scalar to compare.
struct Scalar
{
    enum Kind { Null, Number, Text, Bool } kind = Null;
    long double number = 0;
    std::string text;
    bool flag = false;
};

} // namespace

struct WqlQuery::Node
{
    enum Kind { Or, And, Not, Compare, IsA, IsNull, IsNotNull } kind;
    std::shared_ptr<const Node> left, right;
    // Operands of Compare/IsNull; for IsA, a.path names the instance.
    struct Operand
    {
        bool literal = false;
        Scalar value;                      // literal
        std::vector<std::string> path;     // property, or instance.property
    } a, b;
    std::string op;
    CIMName className;                     // IsA
};

namespace
{

typedef WqlQuery::Node Node;

class Parser
{
public:
    explicit Parser(const std::string& text) : _tokens(tokenize(text)) {}

    WqlQuery::Node::Operand operand()
    {
        Node::Operand o;
        const Token& t = next();
        if (t.kind == Token::String)
        {
            o.literal = true;
            o.value.kind = Scalar::Text;
            o.value.text = t.text;
            return o;
        }
        if (t.kind == Token::Number)
        {
            char* end = nullptr;
            o.literal = true;
            o.value.kind = Scalar::Number;
            o.value.number = std::strtold(t.text.c_str(), &end);
            if (*end)
                invalid("bad number \"" + t.text + "\" at position " + std::to_string(t.pos + 1));
            return o;
        }
        if (t.kind != Token::Ident)
            fail(t, "a property or a value");
        if (equalNoCase(t.text, "TRUE") || equalNoCase(t.text, "FALSE"))
        {
            o.literal = true;
            o.value.kind = Scalar::Bool;
            o.value.flag = equalNoCase(t.text, "TRUE");
            return o;
        }
        if (equalNoCase(t.text, "NULL"))
        {
            o.literal = true;
            return o;
        }
        if (reserved(t.text))
            fail(t, "a property or a value");
        o.path.push_back(t.text);
        while (peek().kind == Token::Symbol && peek().text == ".")
        {
            next();
            const Token& p = next();
            if (p.kind != Token::Ident)
                fail(p, "a property name");
            o.path.push_back(p.text);
        }
        if (o.path.size() > 2)
            unsupported("property paths deeper than instance.property are not supported");
        if (peek().kind == Token::Symbol && peek().text == "(")
            unsupported("functions are not supported in filter queries");
        return o;
    }

    std::shared_ptr<const Node> predicate()
    {
        auto node = std::make_shared<Node>();
        node->a = operand();
        const Token& t = next();
        if (t.kind == Token::Ident && equalNoCase(t.text, "ISA"))
        {
            if (node->a.literal || node->a.path.size() != 1)
                invalid("ISA needs an embedded instance property on its left");
            const Token& c = next();
            if (c.kind != Token::Ident)
                fail(c, "a class name");
            node->kind = Node::IsA;
            node->className = CIMName(String(c.text.c_str()));
            return node;
        }
        if (t.kind == Token::Ident && equalNoCase(t.text, "IS"))
        {
            node->kind = Node::IsNull;
            if (peek().kind == Token::Ident && equalNoCase(peek().text, "NOT"))
            {
                next();
                node->kind = Node::IsNotNull;
            }
            const Token& n = next();
            if (n.kind != Token::Ident || !equalNoCase(n.text, "NULL"))
                fail(n, "NULL");
            return node;
        }
        if (t.kind == Token::Ident && (equalNoCase(t.text, "LIKE") || equalNoCase(t.text, "IN") ||
                                          equalNoCase(t.text, "BETWEEN")))
            unsupported("the " + t.text + " operator is not supported in filter queries");
        if (t.kind != Token::Symbol ||
            (t.text != "=" && t.text != "<>" && t.text != "!=" && t.text != "<" &&
                t.text != ">" && t.text != "<=" && t.text != ">="))
            fail(t, "a comparison operator");
        node->kind = Node::Compare;
        node->op = t.text == "!=" ? "<>" : t.text;
        node->b = operand();
        return node;
    }

    std::shared_ptr<const Node> factor()
    {
        const Token& t = peek();
        if (t.kind == Token::Ident && equalNoCase(t.text, "NOT"))
        {
            next();
            auto node = std::make_shared<Node>();
            node->kind = Node::Not;
            node->left = factor();
            return node;
        }
        if (t.kind == Token::Symbol && t.text == "(")
        {
            next();
            if (++_depth > 64)
                invalid("the condition nests too deeply");
            auto inner = expression();
            --_depth;
            expect(")");
            return inner;
        }
        return predicate();
    }

    std::shared_ptr<const Node> term()
    {
        auto left = factor();
        while (peek().kind == Token::Ident && equalNoCase(peek().text, "AND"))
        {
            next();
            auto node = std::make_shared<Node>();
            node->kind = Node::And;
            node->left = left;
            node->right = factor();
            left = node;
        }
        return left;
    }

    std::shared_ptr<const Node> expression()
    {
        auto left = term();
        while (peek().kind == Token::Ident && equalNoCase(peek().text, "OR"))
        {
            next();
            auto node = std::make_shared<Node>();
            node->kind = Node::Or;
            node->left = left;
            node->right = term();
            left = node;
        }
        return left;
    }

    void query(CIMName& from, std::shared_ptr<const Node>& where)
    {
        expectWord("SELECT");
        const Token& star = next();
        if (star.kind == Token::Ident && !reserved(star.text))
            unsupported("only SELECT * is supported in filter queries");
        if (star.kind != Token::Symbol || star.text != "*")
            fail(star, "*");
        expectWord("FROM");
        const Token& cls = next();
        if (cls.kind != Token::Ident || reserved(cls.text))
            fail(cls, "a class name");
        from = CIMName(String(cls.text.c_str()));
        if (peek().kind == Token::Symbol && peek().text == ",")
            unsupported("a filter query selects from one class");
        if (peek().kind == Token::Ident && equalNoCase(peek().text, "WHERE"))
        {
            next();
            where = expression();
        }
        if (peek().kind != Token::End)
            fail(peek(), "the end of the query");
    }

private:
    static bool reserved(const std::string& word)
    {
        static const char* const words[] = {"SELECT", "FROM", "WHERE", "AND", "OR", "NOT",
            "ISA", "IS", "NULL", "LIKE", "TRUE", "FALSE"};
        for (const char* w : words)
            if (equalNoCase(word, w))
                return true;
        return false;
    }

    const Token& peek() const { return _tokens[_pos]; }
    const Token& next()
    {
        const Token& t = _tokens[_pos];
        if (t.kind != Token::End)
            _pos++;
        return t;
    }
    [[noreturn]] void fail(const Token& t, const std::string& wanted)
    {
        if (t.kind == Token::End)
            invalid("expected " + wanted + " at the end of the query");
        invalid("expected " + wanted + " at position " + std::to_string(t.pos + 1) +
            ", found \"" + t.text + "\"");
    }
    void expect(const char* symbol)
    {
        const Token& t = next();
        if (t.kind != Token::Symbol || t.text != symbol)
            fail(t, std::string("\"") + symbol + "\"");
    }
    void expectWord(const char* word)
    {
        const Token& t = next();
        if (t.kind != Token::Ident || !equalNoCase(t.text, word))
            fail(t, word);
    }

    std::vector<Token> _tokens;
    size_t _pos = 0;
    int _depth = 0;
};

Scalar scalarOf(const CIMValue& v)
{
    Scalar s;
    if (v.isNull() || v.isArray())
        return s;
    switch (v.getType())
    {
    case CIMTYPE_BOOLEAN:
    {
        Boolean b;
        v.get(b);
        s.kind = Scalar::Bool;
        s.flag = b;
        return s;
    }
#define VELK_WQL_NUMBER(T, CT) \
    case CT: \
    { \
        T x; \
        v.get(x); \
        s.kind = Scalar::Number; \
        s.number = static_cast<long double>(x); \
        return s; \
    }
    VELK_WQL_NUMBER(Uint8, CIMTYPE_UINT8)
    VELK_WQL_NUMBER(Sint8, CIMTYPE_SINT8)
    VELK_WQL_NUMBER(Uint16, CIMTYPE_UINT16)
    VELK_WQL_NUMBER(Sint16, CIMTYPE_SINT16)
    VELK_WQL_NUMBER(Uint32, CIMTYPE_UINT32)
    VELK_WQL_NUMBER(Sint32, CIMTYPE_SINT32)
    VELK_WQL_NUMBER(Uint64, CIMTYPE_UINT64)
    VELK_WQL_NUMBER(Sint64, CIMTYPE_SINT64)
    VELK_WQL_NUMBER(Real32, CIMTYPE_REAL32)
    VELK_WQL_NUMBER(Real64, CIMTYPE_REAL64)
#undef VELK_WQL_NUMBER
    case CIMTYPE_STRING:
    case CIMTYPE_DATETIME:
    case CIMTYPE_CHAR16:
        s.kind = Scalar::Text;
        s.text = static_cast<const char*>(v.toString().getCString());
        return s;
    default:
        return s;
    }
}

bool embeddedInstance(const CIMInstance& indication, const std::string& name, CIMInstance& out)
{
    Uint32 i = indication.findProperty(CIMName(String(name.c_str())));
    if (i == PEG_NOT_FOUND)
        return false;
    CIMValue v = indication.getProperty(i).getValue();
    if (v.isNull() || v.isArray())
        return false;
    if (v.getType() == CIMTYPE_INSTANCE)
    {
        v.get(out);
        return !out.isUninitialized();
    }
    if (v.getType() == CIMTYPE_OBJECT)
    {
        CIMObject o;
        v.get(o);
        if (o.isUninitialized() || !o.isInstance())
            return false;
        out = CIMInstance(o);
        return true;
    }
    return false;
}

Scalar resolve(const Node::Operand& o, const CIMInstance& indication)
{
    if (o.literal)
        return o.value;
    CIMInstance source = indication;
    if (o.path.size() == 2 && !embeddedInstance(indication, o.path[0], source))
        return Scalar();
    Uint32 i = source.findProperty(CIMName(String(o.path.back().c_str())));
    if (i == PEG_NOT_FOUND)
        return Scalar();
    return scalarOf(source.getProperty(i).getValue());
}

// A string compared with a number counts as that number when it is one.
Scalar asNumber(const std::string& text)
{
    Scalar s;
    char* end = nullptr;
    long double n = std::strtold(text.c_str(), &end);
    if (!text.empty() && !*end)
    {
        s.kind = Scalar::Number;
        s.number = n;
    }
    return s;
}

bool compare(const Scalar& a, const Scalar& b, const std::string& op)
{
    if (a.kind == Scalar::Null || b.kind == Scalar::Null)
        return false;
    int order = 0;
    if (a.kind == Scalar::Number && b.kind == Scalar::Number)
        order = a.number < b.number ? -1 : (a.number > b.number ? 1 : 0);
    else if (a.kind == Scalar::Bool && b.kind == Scalar::Bool)
        order = int(a.flag) - int(b.flag);
    else if (a.kind == Scalar::Text && b.kind == Scalar::Text)
        order = a.text.compare(b.text);
    else if (a.kind == Scalar::Number && b.kind == Scalar::Text)
        return compare(a, asNumber(b.text), op);
    else if (a.kind == Scalar::Text && b.kind == Scalar::Number)
        return compare(asNumber(a.text), b, op);
    else
        return false;
    if (op == "=")
        return order == 0;
    if (op == "<>")
        return order != 0;
    if (op == "<")
        return order < 0;
    if (op == ">")
        return order > 0;
    if (op == "<=")
        return order <= 0;
    return order >= 0;
}

bool evaluate(const Node& n, const CIMInstance& indication, const WqlQuery::IsA& isA)
{
    switch (n.kind)
    {
    case Node::Or:
        return evaluate(*n.left, indication, isA) || evaluate(*n.right, indication, isA);
    case Node::And:
        return evaluate(*n.left, indication, isA) && evaluate(*n.right, indication, isA);
    case Node::Not:
        return !evaluate(*n.left, indication, isA);
    case Node::IsA:
    {
        CIMInstance embedded;
        return embeddedInstance(indication, n.a.path[0], embedded) &&
            isA(embedded.getClassName(), n.className);
    }
    case Node::IsNull:
    case Node::IsNotNull:
    {
        bool null = resolve(n.a, indication).kind == Scalar::Null;
        if (null && !n.a.literal && n.a.path.size() == 1)
        {
            // An embedded instance is not a scalar but is not null either.
            CIMInstance embedded;
            null = !embeddedInstance(indication, n.a.path[0], embedded);
        }
        return n.kind == Node::IsNull ? null : !null;
    }
    case Node::Compare:
        return compare(resolve(n.a, indication), resolve(n.b, indication), n.op);
    }
    return false;
}

} // namespace

WqlQuery WqlQuery::parse(const std::string& text)
{
    WqlQuery q;
    try
    {
        Parser(text).query(q._from, q._where);
    }
    catch (const InvalidNameException&)
    {
        invalid("bad class name in the query");
    }
    return q;
}

namespace
{

void collectSourceClasses(const Node* n, std::vector<CIMName>& out)
{
    if (!n)
        return;
    if (n->kind == Node::IsA && equalNoCase(n->a.path[0], "SourceInstance"))
    {
        for (const CIMName& c : out)
            if (c.equal(n->className))
                return;
        out.push_back(n->className);
        return;
    }
    collectSourceClasses(n->left.get(), out);
    collectSourceClasses(n->right.get(), out);
}

} // namespace

std::vector<CIMName> WqlQuery::sourceClasses() const
{
    std::vector<CIMName> out;
    collectSourceClasses(_where.get(), out);
    return out;
}

bool WqlQuery::matches(const CIMInstance& indication, const IsA& isA) const
{
    return !_where || evaluate(*_where, indication, isA);
}

} // namespace cimhost
