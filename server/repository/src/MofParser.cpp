#include "MofParser.h"
#include "Text.h"

#include <cimhost/MofError.h>

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/Exception.h>

#include <fstream>
#include <limits>
#include <sstream>

using namespace Pegasus;

namespace cimhost {

namespace {

const unsigned MAX_INCLUDE_DEPTH = 32;

bool readFile(const std::string& path, std::string& text)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream s;
    s << in.rdbuf();
    text = s.str();
    return true;
}

std::string directoryOf(const std::string& path)
{
    std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos)
        return std::string();
    return path.substr(0, slash + 1);
}

const char* typeName(CIMType type)
{
    return cimTypeToString(type);
}

std::string describe(const MofToken& t)
{
    if (t.kind == MofTokenKind::Identifier)
        return "'" + t.text + "'";
    if (t.kind == MofTokenKind::String)
        return "string \"" + t.text + "\"";
    return MofLexer::kindName(t.kind);
}

struct ScopeName
{
    const char* name;
    const CIMScope* scope;
};

const ScopeName SCOPES[] = {
    {"class", &CIMScope::CLASS}, {"association", &CIMScope::ASSOCIATION},
    {"indication", &CIMScope::INDICATION}, {"property", &CIMScope::PROPERTY},
    {"reference", &CIMScope::REFERENCE}, {"method", &CIMScope::METHOD},
    {"parameter", &CIMScope::PARAMETER}, {"any", &CIMScope::ANY},
};

bool scopesMeet(const CIMScope& a, const CIMScope& b)
{
    for (const auto& s : SCOPES)
    {
        if (s.scope == &CIMScope::ANY)
            continue;
        if (a.hasScope(*s.scope) && b.hasScope(*s.scope))
            return true;
    }
    return false;
}

// Applies one flavor keyword; false if the keyword is unknown.
bool applyFlavor(CIMFlavor& flavor, const std::string& word)
{
    std::string w = lowerKey(word);
    if (w == "enableoverride")
    {
        flavor.removeFlavor(CIMFlavor::DISABLEOVERRIDE);
        flavor.addFlavor(CIMFlavor::ENABLEOVERRIDE);
    }
    else if (w == "disableoverride")
    {
        flavor.removeFlavor(CIMFlavor::ENABLEOVERRIDE);
        flavor.addFlavor(CIMFlavor::DISABLEOVERRIDE);
    }
    else if (w == "tosubclass")
    {
        flavor.removeFlavor(CIMFlavor::RESTRICTED);
        flavor.addFlavor(CIMFlavor::TOSUBCLASS);
    }
    else if (w == "restricted")
    {
        flavor.removeFlavor(CIMFlavor::TOSUBCLASS);
        flavor.addFlavor(CIMFlavor::RESTRICTED);
    }
    else if (w == "translatable")
        flavor.addFlavor(CIMFlavor::TRANSLATABLE);
    else if (w == "toinstance")
        flavor.addFlavor(CIMFlavor::TOINSTANCE);
    else
        return false;
    return true;
}

[[noreturn]] void valueError(const std::string& file, const MofValue& v, const std::string& what,
    const std::string& problem)
{
    throw MofError(file, v.line, what + ": " + problem);
}

[[noreturn]] void typeMismatch(const std::string& file, const MofValue& v, const std::string& what,
    CIMType type)
{
    valueError(file, v, what, std::string("the value does not fit type ") + typeName(type));
}

CIMValue convertScalar(const MofValue& v, CIMType type, const std::string& what,
    const std::string& file, const MofSession* session)
{
    auto integer = [&](std::int64_t lo, std::uint64_t hi) -> std::int64_t {
        if (v.kind != MofValue::Integer)
            typeMismatch(file, v, what, type);
        if (v.negative)
        {
            std::uint64_t limit = std::uint64_t(-(lo + 1)) + 1;
            if (lo == 0 || v.magnitude > limit)
                valueError(file, v, what, std::string("value out of range for ") + typeName(type));
            return v.magnitude == limit ? lo : -std::int64_t(v.magnitude);
        }
        if (v.magnitude > hi)
            valueError(file, v, what, std::string("value out of range for ") + typeName(type));
        return std::int64_t(v.magnitude);
    };
    switch (type)
    {
    case CIMTYPE_BOOLEAN:
        if (v.kind != MofValue::Boolean)
            typeMismatch(file, v, what, type);
        return CIMValue(Boolean(v.boolean));
    case CIMTYPE_UINT8: return CIMValue(Uint8(integer(0, 0xFF)));
    case CIMTYPE_SINT8: return CIMValue(Sint8(integer(-0x80, 0x7F)));
    case CIMTYPE_UINT16: return CIMValue(Uint16(integer(0, 0xFFFF)));
    case CIMTYPE_SINT16: return CIMValue(Sint16(integer(-0x8000, 0x7FFF)));
    case CIMTYPE_UINT32: return CIMValue(Uint32(integer(0, 0xFFFFFFFFull)));
    case CIMTYPE_SINT32: return CIMValue(Sint32(integer(-0x80000000ll, 0x7FFFFFFF)));
    case CIMTYPE_UINT64:
        if (v.kind != MofValue::Integer)
            typeMismatch(file, v, what, type);
        if (v.negative)
            valueError(file, v, what, "value out of range for uint64");
        return CIMValue(Uint64(v.magnitude));
    case CIMTYPE_SINT64:
        return CIMValue(Sint64(integer(std::numeric_limits<std::int64_t>::min(),
            std::uint64_t(std::numeric_limits<std::int64_t>::max()))));
    case CIMTYPE_REAL32:
    case CIMTYPE_REAL64:
    {
        double d;
        if (v.kind == MofValue::Real)
            d = v.real;
        else if (v.kind == MofValue::Integer)
            d = v.negative ? -double(v.magnitude) : double(v.magnitude);
        else
            typeMismatch(file, v, what, type);
        if (type == CIMTYPE_REAL32)
            return CIMValue(Real32(d));
        return CIMValue(Real64(d));
    }
    case CIMTYPE_CHAR16:
        if (v.kind == MofValue::Char)
            return CIMValue(Char16(v.character));
        if (v.kind == MofValue::String && v.text.size() == 1)
            return CIMValue(Char16(Uint16((unsigned char)v.text[0])));
        typeMismatch(file, v, what, type);
    case CIMTYPE_STRING:
        if (v.kind != MofValue::String)
            typeMismatch(file, v, what, type);
        try
        {
            return CIMValue(toPeg(v.text));
        }
        catch (const Exception& e)
        {
            valueError(file, v, what, toStd(e.getMessage()));
        }
    case CIMTYPE_DATETIME:
        if (v.kind != MofValue::String)
            typeMismatch(file, v, what, type);
        try
        {
            return CIMValue(CIMDateTime(toPeg(v.text)));
        }
        catch (const Exception&)
        {
            valueError(file, v, what, "invalid datetime value \"" + v.text + "\"");
        }
    case CIMTYPE_REFERENCE:
        if (v.kind == MofValue::Alias)
        {
            if (!session)
                typeMismatch(file, v, what, type);
            auto it = session->aliases.find(lowerKey(v.text));
            if (it == session->aliases.end())
                valueError(file, v, what, "alias $" + v.text + " is not defined");
            return CIMValue(it->second.path);
        }
        if (v.kind != MofValue::String)
            typeMismatch(file, v, what, type);
        try
        {
            return CIMValue(CIMObjectPath(toPeg(v.text)));
        }
        catch (const Exception& e)
        {
            valueError(file, v, what, toStd(e.getMessage()));
        }
    case CIMTYPE_INSTANCE:
    case CIMTYPE_OBJECT:
    {
        if (v.kind != MofValue::Alias || !session)
            valueError(file, v, what, "an embedded instance is given as an alias ($name)");
        auto it = session->aliases.find(lowerKey(v.text));
        if (it == session->aliases.end())
            valueError(file, v, what, "alias $" + v.text + " is not defined");
        if (type == CIMTYPE_INSTANCE)
            return CIMValue(it->second.instance);
        return CIMValue(CIMObject(it->second.instance));
    }
    }
    typeMismatch(file, v, what, type);
}

template <class T>
CIMValue convertArray(const MofValue& v, CIMType type, const std::string& what,
    const std::string& file, const MofSession* session)
{
    Array<T> items;
    if (v.kind == MofValue::Array)
    {
        for (const MofValue& e : v.elements)
        {
            if (e.kind == MofValue::Null)
                valueError(file, e, what, "array elements may not be NULL");
            T x;
            convertScalar(e, type, what, file, session).get(x);
            items.append(x);
        }
    }
    else
    {
        T x;
        convertScalar(v, type, what, file, session).get(x);
        items.append(x);
    }
    return CIMValue(items);
}

} // namespace

CIMValue MofParser::convert(const MofValue& value, CIMType type, bool isArray,
    const std::string& what, const std::string& file, const MofSession* session)
{
    if (value.kind == MofValue::Null)
        return CIMValue(type, isArray);
    if (!isArray)
    {
        if (value.kind == MofValue::Array)
            valueError(file, value, what, std::string("an array is given for a scalar of type ") + typeName(type));
        return convertScalar(value, type, what, file, session);
    }
    switch (type)
    {
    case CIMTYPE_BOOLEAN: return convertArray<Boolean>(value, type, what, file, session);
    case CIMTYPE_UINT8: return convertArray<Uint8>(value, type, what, file, session);
    case CIMTYPE_SINT8: return convertArray<Sint8>(value, type, what, file, session);
    case CIMTYPE_UINT16: return convertArray<Uint16>(value, type, what, file, session);
    case CIMTYPE_SINT16: return convertArray<Sint16>(value, type, what, file, session);
    case CIMTYPE_UINT32: return convertArray<Uint32>(value, type, what, file, session);
    case CIMTYPE_SINT32: return convertArray<Sint32>(value, type, what, file, session);
    case CIMTYPE_UINT64: return convertArray<Uint64>(value, type, what, file, session);
    case CIMTYPE_SINT64: return convertArray<Sint64>(value, type, what, file, session);
    case CIMTYPE_REAL32: return convertArray<Real32>(value, type, what, file, session);
    case CIMTYPE_REAL64: return convertArray<Real64>(value, type, what, file, session);
    case CIMTYPE_CHAR16: return convertArray<Char16>(value, type, what, file, session);
    case CIMTYPE_STRING: return convertArray<String>(value, type, what, file, session);
    case CIMTYPE_DATETIME: return convertArray<CIMDateTime>(value, type, what, file, session);
    case CIMTYPE_REFERENCE: return convertArray<CIMObjectPath>(value, type, what, file, session);
    case CIMTYPE_INSTANCE: return convertArray<CIMInstance>(value, type, what, file, session);
    case CIMTYPE_OBJECT: return convertArray<CIMObject>(value, type, what, file, session);
    }
    valueError(file, value, what, "unsupported type");
}

MofParser::MofParser(MofCompiler& compiler, MofSession& session, const std::string& text,
    const std::string& fileName, const std::string& nameSpace)
    : _compiler(compiler), _session(session), _lexer(text, fileName), _file(fileName),
      _nameSpace(nameSpace)
{
}

void MofParser::fail(unsigned line, const std::string& message) const
{
    throw MofError(_file, line, message);
}

void MofParser::unexpected(const MofToken& token, const char* expected) const
{
    fail(token.line, std::string("expected ") + expected + ", found " + describe(token));
}

MofToken MofParser::expect(MofTokenKind kind, const char* what)
{
    MofToken t = _lexer.next();
    if (t.kind != kind)
        unexpected(t, what);
    _line = t.line;
    return t;
}

std::string MofParser::expectName(const char* what)
{
    return expect(MofTokenKind::Identifier, what).text;
}

bool MofParser::peekKeyword(const char* word)
{
    const MofToken& t = _lexer.peek();
    return t.kind == MofTokenKind::Identifier && lowerKey(t.text) == word;
}

bool MofParser::acceptKeyword(const char* word)
{
    if (!peekKeyword(word))
        return false;
    _line = _lexer.next().line;
    return true;
}

CIMNamespaceName MofParser::currentNamespace()
{
    CIMNamespaceName ns{toPeg(_nameSpace)};
    _compiler._repository.createNamespace(ns);
    return ns;
}

void MofParser::parse()
{
    for (;;)
    {
        const MofToken& t = _lexer.peek();
        if (t.kind == MofTokenKind::End)
            return;
        unsigned line = t.line;
        _line = line;
        try
        {
            if (t.kind == MofTokenKind::Pragma)
                parsePragma();
            else if (t.kind == MofTokenKind::LBracket)
            {
                std::vector<MofQualifier> qualifiers = parseQualifierList();
                if (acceptKeyword("class"))
                    parseClass(qualifiers, line);
                else if (acceptKeyword("instance"))
                    parseInstance(qualifiers, line);
                else
                    unexpected(_lexer.peek(), "'class' or 'instance' after the qualifier list");
            }
            else if (peekKeyword("class"))
            {
                _lexer.next();
                parseClass({}, line);
            }
            else if (peekKeyword("instance"))
            {
                _lexer.next();
                parseInstance({}, line);
            }
            else if (peekKeyword("qualifier"))
            {
                _lexer.next();
                parseQualifierDeclaration();
            }
            else
                unexpected(t, "a class, instance or qualifier declaration or #pragma");
        }
        catch (const CIMException& e)
        {
            fail(line, toStd(e.getMessage()));
        }
        catch (const Exception& e)
        {
            fail(_line, toStd(e.getMessage()));
        }
    }
}

void MofParser::parsePragma()
{
    unsigned line = expect(MofTokenKind::Pragma, "#pragma").line;
    std::string name = lowerKey(expectName("a pragma name"));
    expect(MofTokenKind::LParen, "'('");
    MofToken arg = expect(MofTokenKind::String, "a string");
    std::string value = arg.text;
    while (_lexer.peek().kind == MofTokenKind::String)
        value += _lexer.next().text;
    expect(MofTokenKind::RParen, "')'");

    if (name == "include")
    {
        std::string path = (!value.empty() && value[0] == '/') ? value : directoryOf(_file) + value;
        std::string text;
        if (!readFile(path, text))
            fail(line, "cannot open included file \"" + value + "\" (" + path + ")");
        if (_session.depth >= MAX_INCLUDE_DEPTH)
            fail(line, "includes nested too deeply (loop?) at \"" + value + "\"");
        ++_session.depth;
        MofParser included(_compiler, _session, text, path, _nameSpace);
        included.parse();
        --_session.depth;
        ++_compiler._files;
    }
    else if (name == "namespace")
    {
        try
        {
            CIMNamespaceName ns{toPeg(value)};
            _nameSpace = toStd(ns.getString());
        }
        catch (const Exception&)
        {
            fail(line, "invalid namespace name \"" + value + "\"");
        }
        currentNamespace();
    }
    else if (name == "locale" || name == "instancelocale" || name == "nonlocal"
        || name == "nonlocaltype" || name == "source" || name == "sourcetype"
        || name == "comment")
    {
        // Accepted and without effect here.
    }
    else
        fail(line, "unknown pragma '" + name + "'");
}

std::vector<MofQualifier> MofParser::parseQualifierList()
{
    std::vector<MofQualifier> list;
    expect(MofTokenKind::LBracket, "'['");
    for (;;)
    {
        MofQualifier q;
        MofToken name = expect(MofTokenKind::Identifier, "a qualifier name");
        q.name = name.text;
        q.line = name.line;
        if (_lexer.peek().kind == MofTokenKind::LParen)
        {
            _lexer.next();
            q.value = parseConstant();
            q.hasValue = true;
            expect(MofTokenKind::RParen, "')'");
        }
        else if (_lexer.peek().kind == MofTokenKind::LBrace)
        {
            q.value = parseConstant();
            q.hasValue = true;
        }
        if (_lexer.peek().kind == MofTokenKind::Colon)
        {
            _lexer.next();
            q.flavors.push_back(expectName("a flavor"));
            while (_lexer.peek().kind == MofTokenKind::Identifier)
                q.flavors.push_back(_lexer.next().text);
        }
        list.push_back(q);
        MofToken sep = _lexer.next();
        _line = sep.line;
        if (sep.kind == MofTokenKind::RBracket)
            return list;
        if (sep.kind != MofTokenKind::Comma)
            unexpected(sep, "',' or ']' in the qualifier list");
    }
}

MofValue MofParser::parseConstant()
{
    MofToken t = _lexer.next();
    _line = t.line;
    MofValue v;
    v.line = t.line;
    switch (t.kind)
    {
    case MofTokenKind::String:
        v.kind = MofValue::String;
        v.text = t.text;
        while (_lexer.peek().kind == MofTokenKind::String)
            v.text += _lexer.next().text;
        return v;
    case MofTokenKind::Integer:
        v.kind = MofValue::Integer;
        v.negative = t.negative;
        v.magnitude = t.magnitude;
        return v;
    case MofTokenKind::Real:
        v.kind = MofValue::Real;
        v.real = t.real;
        return v;
    case MofTokenKind::Char:
        v.kind = MofValue::Char;
        v.character = t.character;
        return v;
    case MofTokenKind::Alias:
        v.kind = MofValue::Alias;
        v.text = t.text;
        return v;
    case MofTokenKind::Identifier:
    {
        std::string w = lowerKey(t.text);
        if (w == "true" || w == "false")
        {
            v.kind = MofValue::Boolean;
            v.boolean = w == "true";
            return v;
        }
        if (w == "null")
            return v;
        break;
    }
    case MofTokenKind::LBrace:
    {
        v.kind = MofValue::Array;
        if (_lexer.peek().kind == MofTokenKind::RBrace)
        {
            _lexer.next();
            return v;
        }
        for (;;)
        {
            if (_lexer.peek().kind == MofTokenKind::LBrace)
                unexpected(_lexer.peek(), "a constant (arrays do not nest)");
            v.elements.push_back(parseConstant());
            MofToken sep = _lexer.next();
            _line = sep.line;
            if (sep.kind == MofTokenKind::RBrace)
                return v;
            if (sep.kind != MofTokenKind::Comma)
                unexpected(sep, "',' or '}' in the array");
        }
    }
    default:
        break;
    }
    unexpected(t, "a constant value");
}

MofValue MofParser::parseInitializer()
{
    return parseConstant();
}

bool MofParser::parseArraySpec(Uint32& size)
{
    size = 0;
    if (_lexer.peek().kind != MofTokenKind::LBracket)
        return false;
    _lexer.next();
    if (_lexer.peek().kind == MofTokenKind::Integer)
    {
        MofToken n = _lexer.next();
        if (n.negative || n.magnitude == 0 || n.magnitude > 0xFFFFFFFFull)
            fail(n.line, "invalid array size");
        size = Uint32(n.magnitude);
    }
    expect(MofTokenKind::RBracket, "']'");
    return true;
}

bool MofParser::parseDataType(const std::string& word, CIMType& type) const
{
    static const struct
    {
        const char* name;
        CIMType type;
    } TYPES[] = {
        {"boolean", CIMTYPE_BOOLEAN}, {"uint8", CIMTYPE_UINT8}, {"sint8", CIMTYPE_SINT8},
        {"uint16", CIMTYPE_UINT16}, {"sint16", CIMTYPE_SINT16}, {"uint32", CIMTYPE_UINT32},
        {"sint32", CIMTYPE_SINT32}, {"uint64", CIMTYPE_UINT64}, {"sint64", CIMTYPE_SINT64},
        {"real32", CIMTYPE_REAL32}, {"real64", CIMTYPE_REAL64}, {"char16", CIMTYPE_CHAR16},
        {"string", CIMTYPE_STRING}, {"datetime", CIMTYPE_DATETIME},
    };
    std::string w = lowerKey(word);
    for (const auto& t : TYPES)
        if (w == t.name)
        {
            type = t.type;
            return true;
        }
    return false;
}

CIMQualifier MofParser::makeQualifier(const MofQualifier& q, const CIMScope& scope,
    const char* elementKind)
{
    CIMNamespaceName ns = currentNamespace();
    CIMQualifierDecl decl;
    try
    {
        decl = _compiler._repository.getQualifier(ns, CIMName(toPeg(q.name)));
    }
    catch (const CIMException&)
    {
        fail(q.line, "qualifier " + q.name + " is not declared in namespace " + _nameSpace);
    }
    std::string name = toStd(decl.getName().getString());
    if (!scopesMeet(decl.getScope(), scope))
        fail(q.line, "qualifier " + name + " may not be used on " + elementKind + " (its scope is "
            + toStd(decl.getScope().toString()) + ")");
    CIMValue value;
    if (!q.hasValue)
    {
        if (decl.getType() != CIMTYPE_BOOLEAN || decl.isArray())
            fail(q.line, "qualifier " + name + " needs a value of type "
                + typeName(decl.getType()) + (decl.isArray() ? "[]" : ""));
        value = CIMValue(Boolean(true));
    }
    else
        value = convert(q.value, decl.getType(), decl.isArray(), "qualifier " + name, _file, nullptr);
    CIMFlavor flavor = decl.getFlavor();
    for (const std::string& f : q.flavors)
        if (!applyFlavor(flavor, f))
            fail(q.line, "unknown flavor '" + f + "' on qualifier " + name);
    return CIMQualifier(decl.getName(), value, flavor);
}

template <class T>
void MofParser::addQualifiers(T& element, const std::vector<MofQualifier>& qualifiers,
    const CIMScope& scope, const char* elementKind)
{
    for (const MofQualifier& q : qualifiers)
    {
        CIMQualifier qualifier = makeQualifier(q, scope, elementKind);
        _line = q.line;
        if (element.findQualifier(qualifier.getName()) != PEG_NOT_FOUND)
            fail(q.line, "qualifier " + toStd(qualifier.getName().getString()) + " is given twice");
        element.addQualifier(qualifier);
    }
}

void MofParser::parseQualifierDeclaration()
{
    std::string name = expectName("a qualifier name");
    unsigned line = _line;
    expect(MofTokenKind::Colon, "':'");
    std::string typeWord = expectName("a type");
    CIMType type;
    if (!parseDataType(typeWord, type))
        fail(_line, "unknown type '" + typeWord + "' for qualifier " + name);
    Uint32 arraySize = 0;
    bool isArray = parseArraySpec(arraySize);
    CIMValue value(type, isArray, arraySize);
    if (_lexer.peek().kind == MofTokenKind::Equals)
    {
        _lexer.next();
        value = convert(parseInitializer(), type, isArray, "default of qualifier " + name, _file, nullptr);
    }
    CIMScope scope;
    bool haveScope = false;
    CIMFlavor flavor = CIMFlavor::DEFAULTS;
    while (_lexer.peek().kind == MofTokenKind::Comma)
    {
        _lexer.next();
        std::string word = lowerKey(expectName("'Scope' or 'Flavor'"));
        expect(MofTokenKind::LParen, "'('");
        for (;;)
        {
            MofToken item = expect(MofTokenKind::Identifier, word == "scope" ? "a scope" : "a flavor");
            if (word == "scope")
            {
                bool found = false;
                for (const auto& s : SCOPES)
                    if (lowerKey(item.text) == s.name)
                    {
                        scope.addScope(*s.scope);
                        found = true;
                    }
                if (!found)
                    fail(item.line, "unknown scope '" + item.text + "'");
                haveScope = true;
            }
            else if (word == "flavor")
            {
                if (!applyFlavor(flavor, item.text))
                    fail(item.line, "unknown flavor '" + item.text + "'");
            }
            else
                fail(item.line, "expected 'Scope' or 'Flavor' in the declaration of qualifier " + name);
            MofToken sep = _lexer.next();
            if (sep.kind == MofTokenKind::RParen)
                break;
            if (sep.kind != MofTokenKind::Comma)
                unexpected(sep, "',' or ')'");
        }
    }
    expect(MofTokenKind::Semicolon, "';' after the qualifier declaration");
    if (!haveScope)
        fail(line, "qualifier " + name + " has no scope");
    _line = line;
    CIMQualifierDecl decl(CIMName(toPeg(name)), value, scope, flavor, arraySize);
    _compiler._repository.setQualifier(currentNamespace(), decl);
    ++_compiler._qualifiers;
}

void MofParser::parseClass(const std::vector<MofQualifier>& qualifiers, unsigned line)
{
    std::string className = expectName("a class name");
    std::string superName;
    if (_lexer.peek().kind == MofTokenKind::Colon)
    {
        _lexer.next();
        superName = expectName("a superclass name");
    }
    CIMNamespaceName ns = currentNamespace();
    Repository& repo = _compiler._repository;
    CIMClass cls(CIMName(toPeg(className)),
        superName.empty() ? CIMName() : CIMName(toPeg(superName)));
    addQualifiers(cls, qualifiers, CIMScope::CLASS + CIMScope::ASSOCIATION + CIMScope::INDICATION,
        "a class");
    if (!_compiler._allowExperimental)
    {
        Uint32 i = cls.findQualifier(CIMName("Experimental"));
        Boolean experimental = false;
        if (i != PEG_NOT_FOUND && !cls.getQualifier(i).getValue().isNull()
            && cls.getQualifier(i).getValue().getType() == CIMTYPE_BOOLEAN)
            cls.getQualifier(i).getValue().get(experimental);
        if (experimental)
            fail(line, "class " + className + " is experimental and experimental classes are not allowed");
    }
    expect(MofTokenKind::LBrace, "'{'");

    auto checkReferenceClass = [&](const std::string& ref, unsigned refLine) {
        if (lowerKey(ref) != lowerKey(className) && !repo.classExists(ns, CIMName(toPeg(ref))))
            fail(refLine, "class " + ref + " named in a reference is not defined in namespace " + _nameSpace);
    };

    while (_lexer.peek().kind != MofTokenKind::RBrace)
    {
        std::vector<MofQualifier> featureQualifiers;
        if (_lexer.peek().kind == MofTokenKind::LBracket)
            featureQualifiers = parseQualifierList();
        MofToken typeToken = expect(MofTokenKind::Identifier, "a type or '}'");
        unsigned featureLine = typeToken.line;
        if (acceptKeyword("ref"))
        {
            std::string name = expectName("a reference name");
            checkReferenceClass(typeToken.text, featureLine);
            CIMValue value(CIMTYPE_REFERENCE, false);
            if (_lexer.peek().kind == MofTokenKind::Equals)
            {
                _lexer.next();
                value = convert(parseInitializer(), CIMTYPE_REFERENCE, false,
                    "default of reference " + name, _file, &_session);
            }
            expect(MofTokenKind::Semicolon, "';' after the reference");
            _line = featureLine;
            CIMProperty p(CIMName(toPeg(name)), value, 0, CIMName(toPeg(typeToken.text)));
            addQualifiers(p, featureQualifiers, CIMScope::REFERENCE, "a reference");
            if (cls.findProperty(p.getName()) != PEG_NOT_FOUND)
                fail(featureLine, "property " + name + " is declared twice in class " + className);
            cls.addProperty(p);
            continue;
        }
        CIMType type;
        if (!parseDataType(typeToken.text, type))
        {
            if (repo.classExists(ns, CIMName(toPeg(typeToken.text))))
                fail(featureLine, "unknown type '" + typeToken.text + "' (a reference is written "
                    + typeToken.text + " REF <name>)");
            fail(featureLine, "unknown type '" + typeToken.text + "'");
        }
        std::string name = expectName("a property or method name");
        if (_lexer.peek().kind == MofTokenKind::LParen)
        {
            _lexer.next();
            CIMMethod m(CIMName(toPeg(name)), type);
            addQualifiers(m, featureQualifiers, CIMScope::METHOD, "a method");
            if (_lexer.peek().kind != MofTokenKind::RParen)
            {
                for (;;)
                {
                    std::vector<MofQualifier> paramQualifiers;
                    if (_lexer.peek().kind == MofTokenKind::LBracket)
                        paramQualifiers = parseQualifierList();
                    MofToken paramType = expect(MofTokenKind::Identifier, "a parameter type");
                    CIMName refClass;
                    CIMType ptype;
                    if (acceptKeyword("ref"))
                    {
                        checkReferenceClass(paramType.text, paramType.line);
                        refClass = CIMName(toPeg(paramType.text));
                        ptype = CIMTYPE_REFERENCE;
                    }
                    else if (!parseDataType(paramType.text, ptype))
                        fail(paramType.line, "unknown type '" + paramType.text + "'");
                    std::string pname = expectName("a parameter name");
                    Uint32 size = 0;
                    bool isArray = parseArraySpec(size);
                    CIMParameter param(CIMName(toPeg(pname)), ptype, isArray, size, refClass);
                    addQualifiers(param, paramQualifiers, CIMScope::PARAMETER, "a parameter");
                    if (m.findParameter(param.getName()) != PEG_NOT_FOUND)
                        fail(paramType.line, "parameter " + pname + " is declared twice in method " + name);
                    m.addParameter(param);
                    MofToken sep = _lexer.next();
                    if (sep.kind == MofTokenKind::RParen)
                        break;
                    if (sep.kind != MofTokenKind::Comma)
                        unexpected(sep, "',' or ')' in the parameter list");
                }
            }
            else
                _lexer.next();
            expect(MofTokenKind::Semicolon, "';' after the method");
            if (cls.findMethod(m.getName()) != PEG_NOT_FOUND)
                fail(featureLine, "method " + name + " is declared twice in class " + className);
            _line = featureLine;
            cls.addMethod(m);
            continue;
        }
        Uint32 size = 0;
        bool isArray = parseArraySpec(size);
        CIMValue value(type, isArray, size);
        if (_lexer.peek().kind == MofTokenKind::Equals)
        {
            _lexer.next();
            MofValue init = parseInitializer();
            value = convert(init, type, isArray, "default of property " + name, _file, &_session);
            if (isArray && size != 0 && !value.isNull() && value.getArraySize() != size)
                fail(init.line, "property " + name + " has " + std::to_string(size)
                    + " elements but its default has " + std::to_string(value.getArraySize()));
        }
        expect(MofTokenKind::Semicolon, "';' after the property");
        _line = featureLine;
        CIMProperty p(CIMName(toPeg(name)), value, size);
        addQualifiers(p, featureQualifiers, CIMScope::PROPERTY, "a property");
        if (cls.findProperty(p.getName()) != PEG_NOT_FOUND)
            fail(featureLine, "property " + name + " is declared twice in class " + className);
        cls.addProperty(p);
    }
    expect(MofTokenKind::RBrace, "'}'");
    expect(MofTokenKind::Semicolon, "';' after the class");
    try
    {
        repo.addClass(ns, cls);
    }
    catch (const CIMException& e)
    {
        fail(line, "class " + className + ": " + toStd(e.getMessage()));
    }
    ++_compiler._classes;
}

void MofParser::parseInstance(const std::vector<MofQualifier>&, unsigned line)
{
    if (!acceptKeyword("of"))
        unexpected(_lexer.peek(), "'of' after 'instance'");
    std::string className = expectName("a class name");
    std::string alias;
    if (acceptKeyword("as"))
        alias = expect(MofTokenKind::Alias, "an alias ($name)").text;
    CIMNamespaceName ns = currentNamespace();
    Repository& repo = _compiler._repository;
    CIMClass cls;
    try
    {
        cls = repo.getFullClass(ns, CIMName(toPeg(className)));
    }
    catch (const CIMException&)
    {
        fail(_line, "class " + className + " is not defined in namespace " + _nameSpace);
    }
    CIMInstance inst(cls.getClassName());
    expect(MofTokenKind::LBrace, "'{'");
    while (_lexer.peek().kind != MofTokenKind::RBrace)
    {
        if (_lexer.peek().kind == MofTokenKind::LBracket)
            parseQualifierList();   // instance-level qualifiers are not kept
        MofToken nameToken = expect(MofTokenKind::Identifier, "a property name or '}'");
        expect(MofTokenKind::Equals, "'='");
        MofValue init = parseInitializer();
        expect(MofTokenKind::Semicolon, "';' after the property value");
        _line = nameToken.line;
        Uint32 idx = cls.findProperty(CIMName(toPeg(nameToken.text)));
        if (idx == PEG_NOT_FOUND)
            fail(nameToken.line, "class " + className + " has no property " + nameToken.text);
        CIMProperty cp = cls.getProperty(idx);
        if (inst.findProperty(cp.getName()) != PEG_NOT_FOUND)
            fail(nameToken.line, "property " + nameToken.text + " is given twice");
        CIMValue value = convert(init, cp.getType(), cp.isArray(),
            "property " + toStd(cp.getName().getString()), _file, &_session);
        inst.addProperty(CIMProperty(cp.getName(), value, 0, cp.getReferenceClassName()));
    }
    expect(MofTokenKind::RBrace, "'}'");
    expect(MofTokenKind::Semicolon, "';' after the instance");
    CIMObjectPath path;
    try
    {
        path = repo.createInstance(ns, inst);
    }
    catch (const CIMException& e)
    {
        fail(line, "instance of " + className + ": " + toStd(e.getMessage()));
    }
    if (!alias.empty())
    {
        std::string key = lowerKey(alias);
        if (_session.aliases.count(key))
            fail(line, "alias $" + alias + " is defined twice");
        _session.aliases[key] = MofSession::AliasTarget{path, repo.getInstance(ns, path, true)};
    }
    ++_compiler._instances;
}

} // namespace cimhost
