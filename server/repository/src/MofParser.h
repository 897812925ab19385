// Parses the MOF of one file and hands each declaration to the repository.
// Included files get a parser of their own that shares the compilation state
// (aliases, include depth).
#ifndef cimhost_MofParser_h
#define cimhost_MofParser_h

#include "MofLexer.h"

#include <cimhost/MofCompiler.h>
#include <cimhost/Repository.h>

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMScope.h>
#include <Pegasus/Common/CIMValue.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace cimhost {

// A constant as written in the MOF, before it is given a CIM type.
struct MofValue
{
    enum Kind { Null, Integer, Real, String, Char, Boolean, Alias, Array };
    Kind kind = Null;
    unsigned line = 0;
    bool negative = false;
    std::uint64_t magnitude = 0;
    double real = 0;
    std::string text;               // String, Alias
    std::uint16_t character = 0;
    bool boolean = false;
    std::vector<MofValue> elements; // Array
};

struct MofQualifier
{
    std::string name;
    unsigned line = 0;
    bool hasValue = false;
    MofValue value;
    std::vector<std::string> flavors;
};

// What the parsers of one compilation share.
struct MofSession
{
    struct AliasTarget
    {
        Pegasus::CIMObjectPath path;
        Pegasus::CIMInstance instance;
    };
    std::map<std::string, AliasTarget> aliases;   // lower-case alias name
    unsigned depth = 0;
};

class MofParser
{
public:
    MofParser(MofCompiler& compiler, MofSession& session, const std::string& text,
        const std::string& fileName, const std::string& nameSpace);

    void parse();

    // Converts a MOF constant to a value of the given type.
    static Pegasus::CIMValue convert(const MofValue& value, Pegasus::CIMType type,
        bool isArray, const std::string& what, const std::string& file,
        const MofSession* session);

private:
    MofToken expect(MofTokenKind kind, const char* what);
    std::string expectName(const char* what);
    bool peekKeyword(const char* word);
    bool acceptKeyword(const char* word);
    [[noreturn]] void fail(unsigned line, const std::string& message) const;
    [[noreturn]] void unexpected(const MofToken& token, const char* expected) const;

    void parsePragma();
    void parseQualifierDeclaration();
    void parseClass(const std::vector<MofQualifier>& qualifiers, unsigned line);
    void parseInstance(const std::vector<MofQualifier>& qualifiers, unsigned line);
    std::vector<MofQualifier> parseQualifierList();
    MofValue parseConstant();
    MofValue parseInitializer();
    bool parseArraySpec(Pegasus::Uint32& size);
    bool parseDataType(const std::string& word, Pegasus::CIMType& type) const;

    // The resolved qualifier for an element of the given scope.
    Pegasus::CIMQualifier makeQualifier(const MofQualifier& q, const Pegasus::CIMScope& scope,
        const char* elementKind);
    template <class T>
    void addQualifiers(T& element, const std::vector<MofQualifier>& qualifiers,
        const Pegasus::CIMScope& scope, const char* elementKind);

    Pegasus::CIMNamespaceName currentNamespace();

    MofCompiler& _compiler;
    MofSession& _session;
    MofLexer _lexer;
    std::string _file;
    std::string _nameSpace;
    unsigned _line = 0;
};

} // namespace cimhost

#endif
