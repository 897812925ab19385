// The MOF compiler: literals, declarations, instances, includes, namespaces
// and the errors it stops with, in text and in files on disk.
#include "TestSupport.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMScope.h>

#include <algorithm>
#include <dirent.h>
#include <fstream>
#include <vector>

using namespace Pegasus;
using namespace cimhost;
using namespace cimhost_test;

namespace {

const CIMNamespaceName NS("root/test");

class MofCompilerTest : public ::testing::Test
{
protected:
    void SetUp() override { loadQualifiers(repo); }

    void compile(const std::string& text, const std::string& file = "test.mof")
    {
        MofCompiler(repo).compileString(text, file, "root/test");
    }

    // The error a compilation stops with ("" if it succeeds).
    std::string error(const std::string& text, const std::string& file = "bad.mof")
    {
        try
        {
            compile(text, file);
        }
        catch (const MofError& e)
        {
            return e.what();
        }
        return "";
    }

    CIMValue defaultOf(const char* cls, const char* prop)
    {
        CIMClass c = repo.getFullClass(NS, CIMName(cls));
        return c.getProperty(c.findProperty(CIMName(prop))).getValue();
    }

    Repository repo;
};

template <class T>
T get(const CIMValue& v)
{
    T x{};
    v.get(x);
    return x;
}

TEST_F(MofCompilerTest, LiteralsOfEveryKindBecomeTypedDefaults)
{
    compile(R"(
        class T_Lit {
            uint8 Hex = 0x1F;
            sint8 MinS8 = -128;
            uint16 Octal = 017;
            uint32 Binary = 101b;
            sint64 MinS64 = -9223372036854775808;
            uint64 MaxU64 = 18446744073709551615;
            real64 Real = -1.5e3;
            real32 Half = .5;
            boolean Flag = TRUE;
            boolean Off = false;
            char16 Letter = 'A';
            char16 Escaped = '\x263A';
            char16 Quote = '\'';
            string Text = "a\"b\\c\t" "\x41" /* joined */ "z";
            datetime When = "20240131235959.123456+060";
            string List[] = { "x", "y" };
            uint16 Fixed[3] = { 1, 2, 3 };
            string Nothing = NULL;
            uint32 NoDefault;
        };)");
    EXPECT_EQ(get<Uint8>(defaultOf("T_Lit", "Hex")), 0x1F);
    EXPECT_EQ(get<Sint8>(defaultOf("T_Lit", "MinS8")), -128);
    EXPECT_EQ(get<Uint16>(defaultOf("T_Lit", "Octal")), 15);
    EXPECT_EQ(get<Uint32>(defaultOf("T_Lit", "Binary")), 5u);
    EXPECT_EQ(get<Sint64>(defaultOf("T_Lit", "MinS64")), INT64_MIN);
    EXPECT_EQ(get<Uint64>(defaultOf("T_Lit", "MaxU64")), UINT64_MAX);
    EXPECT_EQ(get<Real64>(defaultOf("T_Lit", "Real")), -1500.0);
    EXPECT_EQ(get<Real32>(defaultOf("T_Lit", "Half")), 0.5f);
    EXPECT_TRUE(get<Boolean>(defaultOf("T_Lit", "Flag")));
    EXPECT_FALSE(get<Boolean>(defaultOf("T_Lit", "Off")));
    EXPECT_EQ(Uint16(get<Char16>(defaultOf("T_Lit", "Letter"))), 'A');
    EXPECT_EQ(Uint16(get<Char16>(defaultOf("T_Lit", "Escaped"))), 0x263A);
    EXPECT_EQ(Uint16(get<Char16>(defaultOf("T_Lit", "Quote"))), '\'');
    EXPECT_EQ(str(get<String>(defaultOf("T_Lit", "Text"))), "a\"b\\c\tAz");
    EXPECT_EQ(str(get<CIMDateTime>(defaultOf("T_Lit", "When")).toString()), "20240131235959.123456+060");
    Array<String> list = get<Array<String>>(defaultOf("T_Lit", "List"));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(str(list[1]), "y");
    CIMClass c = repo.getFullClass(NS, CIMName("T_Lit"));
    CIMProperty fixed = c.getProperty(c.findProperty(CIMName("Fixed")));
    EXPECT_EQ(fixed.getArraySize(), 3u);
    EXPECT_EQ(get<Array<Uint16>>(fixed.getValue())[2], 3);
    CIMValue nothing = defaultOf("T_Lit", "Nothing");
    EXPECT_TRUE(nothing.isNull());
    EXPECT_EQ(nothing.getType(), CIMTYPE_STRING);
    EXPECT_EQ(defaultOf("T_Lit", "NoDefault").getType(), CIMTYPE_UINT32);
    EXPECT_TRUE(defaultOf("T_Lit", "NoDefault").isNull());
}

TEST_F(MofCompilerTest, ErrorsNameFileAndLine)
{
    const std::pair<const char*, const char*> cases[] = {
        {"class T_A {\n  uint8 X = 256;\n};\n",
            "bad.mof:2: default of property X: value out of range for uint8"},
        {"class T_B {\n  uint32 X = -1;\n};",
            "bad.mof:2: default of property X: value out of range for uint32"},
        {"class T_C {\n  string S = \"open\n\";};", "bad.mof:2: unterminated string"},
        {"/* a\n comment\n */ class T_D {\n  integer X;\n};", "bad.mof:4: unknown type 'integer'"},
        {"class T_E {\n  uint8 X\n};", "bad.mof:3: expected ';' after the property, found '}'"},
        {"// c\nclass T_F : T_Nope {\n};",
            "bad.mof:2: class T_F: superclass T_Nope is not defined in namespace root/test"},
        {"\n[Frobnicate]\nclass T_G { };",
            "bad.mof:2: qualifier Frobnicate is not declared in namespace root/test"},
        {"[Key]\nclass T_H { };",
            "bad.mof:1: qualifier Key may not be used on a class (its scope is PROPERTY REFERENCE)"},
        {"class T_I {\n  string A;\n  uint8 a;\n};",
            "bad.mof:3: property a is declared twice in class T_I"},
        {"class T_J {\n  [MaxLen] string A;\n};",
            "bad.mof:2: qualifier MaxLen needs a value of type uint32"},
        {"class T_K { string A = 5; };",
            "bad.mof:1: default of property A: the value does not fit type string"},
        {"#pragma frob(\"x\")\n", "bad.mof:1: unknown pragma 'frob'"},
        {"class T_L { uint8 X = 12abc; };", "bad.mof:1: invalid number '12abc'"},
        {"class T_M {\n/* never closed\n", "bad.mof:2: unterminated comment"},
        {"class T_N { datetime D = \"yesterday\"; };",
            "bad.mof:1: default of property D: invalid datetime value \"yesterday\""},
        {"class T_O { uint16 F[2] = {1, 2, 3}; };",
            "bad.mof:1: property F has 2 elements but its default has 3"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(error(c.first), c.second) << c.first;
}

TEST_F(MofCompilerTest, ByteOrderMarkAndCrLfLineEndsAreAccepted)
{
    compile("\xEF\xBB\xBF// saved by an editor\r\nclass T_Bom {\r\n  string S = \"x\";\r\n};\r\n");
    EXPECT_TRUE(repo.classExists(NS, CIMName("T_Bom")));
    EXPECT_EQ(error("\xEF\xBB\xBF\r\n\r\nclass T_Bom2 { strng S; };"), "bad.mof:3: unknown type 'strng'");
}

TEST_F(MofCompilerTest, ClassRulesAreErrors)
{
    compile("class T_Base { [Key] string Id; string Name; };");
    EXPECT_EQ(error("class T_Sub : T_Base {\n  [Key(false)] string Id;\n};"),
        "bad.mof:1: class T_Sub: qualifier Key of property Id cannot be overridden (its flavor is DisableOverride)");
    EXPECT_EQ(error("class T_Sub2 : T_Base { uint32 Name; };"),
        "bad.mof:1: class T_Sub2: property Name overrides the one of class T_Base with another type");
    EXPECT_EQ(error("class T_NoAssoc {\n  [Key] T_Base REF R;\n};"),
        "bad.mof:1: class T_NoAssoc: reference R is not allowed in a class that is not an association");
    EXPECT_EQ(error("class T_KeyArray { [Key] string K[]; };"),
        "bad.mof:1: class T_KeyArray: key property K cannot be an array");
    EXPECT_EQ(error("[Association] class T_A2 {\n  [Key] T_Missing REF R;\n};"),
        "bad.mof:2: class T_Missing named in a reference is not defined in namespace root/test");
    EXPECT_EQ(error("class T_Base { };"), "bad.mof:1: class T_Base: class T_Base is already defined");
    EXPECT_EQ(error("[Association] class T_A3 {\n  T_Base Other;\n};"),
        "bad.mof:2: unknown type 'T_Base' (a reference is written T_Base REF <name>)");
}

TEST_F(MofCompilerTest, QualifierDeclarationsKeepTypeScopeFlavorAndDefault)
{
    compile(R"(
        Qualifier T_Plain : string = "dflt", Scope(property, method);
        Qualifier T_Sealed : uint32[] = {1, 2}, Scope(class, association),
            Flavor(DisableOverride, Restricted, Translatable);
        Qualifier T_Any : boolean = false, Scope(any);)");
    CIMQualifierDecl plain = repo.getQualifier(NS, CIMName("t_plain"));
    EXPECT_EQ(str(plain.getName().getString()), "T_Plain");
    EXPECT_EQ(plain.getType(), CIMTYPE_STRING);
    EXPECT_EQ(str(get<String>(plain.getValue())), "dflt");
    EXPECT_TRUE(plain.getScope().hasScope(CIMScope::PROPERTY));
    EXPECT_TRUE(plain.getScope().hasScope(CIMScope::METHOD));
    EXPECT_FALSE(plain.getScope().hasScope(CIMScope::CLASS));
    EXPECT_TRUE(plain.getFlavor().equal(CIMFlavor::DEFAULTS));

    CIMQualifierDecl sealed = repo.getQualifier(NS, CIMName("T_Sealed"));
    EXPECT_TRUE(sealed.isArray());
    EXPECT_EQ(get<Array<Uint32>>(sealed.getValue()).size(), 2u);
    EXPECT_TRUE(sealed.getFlavor().hasFlavor(CIMFlavor::DISABLEOVERRIDE));
    EXPECT_FALSE(sealed.getFlavor().hasFlavor(CIMFlavor::ENABLEOVERRIDE));
    EXPECT_TRUE(sealed.getFlavor().hasFlavor(CIMFlavor::RESTRICTED));
    EXPECT_FALSE(sealed.getFlavor().hasFlavor(CIMFlavor::TOSUBCLASS));
    EXPECT_TRUE(sealed.getFlavor().hasFlavor(CIMFlavor::TRANSLATABLE));
    EXPECT_TRUE(repo.getQualifier(NS, CIMName("T_Any")).getScope().equal(CIMScope::ANY));

    EXPECT_EQ(error("Qualifier T_X : string, Flavor(Restricted);"), "bad.mof:1: qualifier T_X has no scope");
    EXPECT_EQ(error("Qualifier T_Y : string, Scope(everywhere);"), "bad.mof:1: unknown scope 'everywhere'");
}

TEST_F(MofCompilerTest, QualifierUseTakesDeclaredFlavorUnlessOverridden)
{
    compile(R"(
        [Description("base") : DisableOverride Restricted]
        class T_Q {
            [Description("plain"), ValueMap{"1", "2"}, Values{"One", "Two"}, MaxLen(10)]
            string P;
        };)");
    CIMClass c = repo.getLocalClass(NS, CIMName("T_Q"));
    CIMQualifier d = c.getQualifier(c.findQualifier(CIMName("Description")));
    EXPECT_TRUE(d.getFlavor().hasFlavor(CIMFlavor::DISABLEOVERRIDE));
    EXPECT_TRUE(d.getFlavor().hasFlavor(CIMFlavor::RESTRICTED));
    EXPECT_TRUE(d.getFlavor().hasFlavor(CIMFlavor::TRANSLATABLE));
    CIMProperty p = c.getProperty(0);
    CIMQualifier pd = p.getQualifier(p.findQualifier(CIMName("Description")));
    EXPECT_TRUE(pd.getFlavor().hasFlavor(CIMFlavor::ENABLEOVERRIDE));
    EXPECT_TRUE(pd.getFlavor().hasFlavor(CIMFlavor::TOSUBCLASS));
    EXPECT_EQ(get<Array<String>>(p.getQualifier(p.findQualifier(CIMName("Values"))).getValue()).size(), 2u);
    EXPECT_EQ(get<Uint32>(p.getQualifier(p.findQualifier(CIMName("MaxLen"))).getValue()), 10u);
    // A single value for an array qualifier is a one-element array.
    compile("class T_Q2 { [ValueMap(\"7\")] uint8 V; };");
    CIMClass c2 = repo.getLocalClass(NS, CIMName("T_Q2"));
    CIMProperty v = c2.getProperty(0);
    EXPECT_EQ(get<Array<String>>(v.getQualifier(0).getValue()).size(), 1u);
}

TEST_F(MofCompilerTest, MethodsParametersAndEmbeddedTypes)
{
    compile(R"(
        class T_Err { string Message; };
        class T_Svc {
            [Key] string Name;
            [EmbeddedInstance("T_Err")] string LastError;
            [EmbeddedObject] string Anything[];
            uint32 Run(
                [IN, Required] uint16 Mode,
                [IN(false), OUT] T_Svc REF Self,
                [IN] string Names[],
                [OUT, EmbeddedInstance("T_Err")] string Error,
                [IN] uint8 Fixed[4]);
            boolean Ping();
        };)");
    CIMClass c = repo.getFullClass(NS, CIMName("T_Svc"));
    EXPECT_EQ(c.getProperty(c.findProperty(CIMName("LastError"))).getType(), CIMTYPE_INSTANCE);
    CIMProperty any = c.getProperty(c.findProperty(CIMName("Anything")));
    EXPECT_EQ(any.getType(), CIMTYPE_OBJECT);
    EXPECT_TRUE(any.isArray());
    ASSERT_NE(c.findMethod(CIMName("run")), PEG_NOT_FOUND);
    CIMMethod m = c.getMethod(c.findMethod(CIMName("Run")));
    EXPECT_EQ(m.getType(), CIMTYPE_UINT32);
    ASSERT_EQ(m.getParameterCount(), 5u);
    EXPECT_EQ(str(m.getParameter(0).getName().getString()), "Mode");
    EXPECT_EQ(m.getParameter(0).getType(), CIMTYPE_UINT16);
    CIMParameter self = m.getParameter(1);
    EXPECT_EQ(self.getType(), CIMTYPE_REFERENCE);
    EXPECT_EQ(str(self.getReferenceClassName().getString()), "T_Svc");
    EXPECT_TRUE(m.getParameter(2).isArray());
    EXPECT_EQ(m.getParameter(2).getArraySize(), 0u);
    EXPECT_EQ(m.getParameter(3).getType(), CIMTYPE_INSTANCE);
    EXPECT_EQ(m.getParameter(4).getArraySize(), 4u);
    CIMParameter out = m.getParameter(3);
    EXPECT_NE(out.findQualifier(CIMName("Out")), PEG_NOT_FOUND);
    EXPECT_EQ(c.getMethod(c.findMethod(CIMName("Ping"))).getParameterCount(), 0u);
    // The class as declared keeps the string type.
    CIMClass local = repo.getLocalClass(NS, CIMName("T_Svc"));
    EXPECT_EQ(local.getProperty(local.findProperty(CIMName("LastError"))).getType(), CIMTYPE_STRING);
}

TEST_F(MofCompilerTest, EmbeddedInstanceClassMustBeDefinedFirst)
{
    // Named by a property, a method, a parameter: refused until the class
    // exists, whatever the element; a class may embed itself.
    const std::pair<const char*, const char*> cases[] = {
        {"class T_P {\n  [EmbeddedInstance(\"T_Later\")] string E;\n};",
            "bad.mof:1: class T_P: the EmbeddedInstance qualifier of property E names class "
            "T_Later, which is not defined"},
        {"class T_M {\n  [EmbeddedInstance(\"T_Later\")] string Get();\n};",
            "bad.mof:1: class T_M: the EmbeddedInstance qualifier of method Get names class "
            "T_Later, which is not defined"},
        {"class T_Q {\n  uint32 Run([IN, EmbeddedInstance(\"t_later\")] string S);\n};",
            "bad.mof:1: class T_Q: the EmbeddedInstance qualifier of parameter S of method Run "
            "names class t_later, which is not defined"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(error(c.first), c.second) << c.first;
        EXPECT_FALSE(repo.classExists(NS, CIMName("T_P")));
    }
    compile("class T_Later { string Message; };\n"
            "class T_Self { [EmbeddedInstance(\"T_Self\")] string Parent; };");
    for (const auto& c : cases)
        EXPECT_EQ(error(c.first), "") << c.first;
    // The same rule holds for a class created over the wire.
    CIMClass direct(CIMName("T_Direct"));
    CIMProperty p(CIMName("E"), CIMValue(CIMTYPE_STRING, false));
    p.addQualifier(CIMQualifier(CIMName("EmbeddedInstance"), String("T_Nowhere")));
    direct.addProperty(p);
    std::string message;
    EXPECT_EQ(cimCode([&] { repo.addClass(NS, direct); }, &message), int(CIM_ERR_INVALID_PARAMETER));
    EXPECT_EQ(message, "the EmbeddedInstance qualifier of property E names class T_Nowhere, "
        "which is not defined");
}

TEST_F(MofCompilerTest, ExperimentalClassesOnlyWhenAllowed)
{
    const std::string mof = "class T_Final { };\n"
                            "[Experimental] class T_New : T_Final { };\n"
                            "[Experimental(false)] class T_Done : T_Final { };\n";
    MofCompiler strict(repo);
    EXPECT_TRUE(strict.allowExperimental());
    strict.setAllowExperimental(false);
    try
    {
        strict.compileString(mof, "exp.mof", "root/test");
        ADD_FAILURE() << "an experimental class was accepted";
    }
    catch (const MofError& e)
    {
        EXPECT_STREQ(e.what(),
            "exp.mof:2: class T_New is experimental and experimental classes are not allowed");
    }
    EXPECT_TRUE(repo.classExists(NS, CIMName("T_Final")));
    EXPECT_FALSE(repo.classExists(NS, CIMName("T_New")));

    Repository other;
    loadQualifiers(other);
    MofCompiler(other).compileString(mof, "exp.mof", "root/test");
    EXPECT_TRUE(other.classExists(NS, CIMName("T_New")));
    EXPECT_TRUE(other.classExists(NS, CIMName("T_Done")));
}

TEST_F(MofCompilerTest, InstancesWithAliasesReferencesAndEmbeddedValues)
{
    compile(R"(
        class T_Node { [Key] string Id; uint32 Size = 7; [EmbeddedInstance("T_Node")] string Inner; };
        [Association] class T_Link {
            [Key] T_Node REF From;
            [Key] T_Node REF To;
        };
        instance of T_Node as $a { Id = "a"; };
        instance of T_Node as $B { Id = "b"; Size = 9; Inner = $a; };
        instance of T_Link { From = $a; To = $b; };
        instance of T_Link { From = "T_Node.Id=\"b\""; To = "root/test:T_Node.Id=\"a\""; };
    )");
    Array<CIMInstance> nodes = repo.enumerateInstances(NS, CIMName("T_Node"));
    ASSERT_EQ(nodes.size(), 2u);
    CIMInstance b = nodes[1];
    EXPECT_EQ(get<Uint32>(b.getProperty(b.findProperty(CIMName("Size"))).getValue()), 9u);
    EXPECT_EQ(get<Uint32>(nodes[0].getProperty(nodes[0].findProperty(CIMName("Size"))).getValue()), 7u);
    CIMInstance inner = get<CIMInstance>(b.getProperty(b.findProperty(CIMName("Inner"))).getValue());
    EXPECT_EQ(str(inner.getClassName().getString()), "T_Node");

    Array<CIMInstance> links = repo.enumerateInstances(NS, CIMName("T_Link"));
    ASSERT_EQ(links.size(), 2u);
    CIMObjectPath from = get<CIMObjectPath>(links[0].getProperty(links[0].findProperty(CIMName("From"))).getValue());
    EXPECT_EQ(str(from.toString()), "root/test:T_Node.Id=\"a\"");
    // The reference written as text names the same instance.
    CIMObjectPath to = get<CIMObjectPath>(links[1].getProperty(links[1].findProperty(CIMName("To"))).getValue());
    EXPECT_EQ(str(to.toString()), "root/test:T_Node.Id=\"a\"");

    EXPECT_EQ(error("instance of T_Node {\n  Id = \"c\";\n  Colour = 1;\n};"),
        "bad.mof:3: class T_Node has no property Colour");
    EXPECT_EQ(error("instance of T_Link { From = $nobody; To = $a; };"),
        "bad.mof:1: property From: alias $nobody is not defined");
    EXPECT_EQ(error("\ninstance of T_Node { Id = \"a\"; };"),
        "bad.mof:2: instance of T_Node: root/test:T_Node.Id=\"a\"");
    EXPECT_EQ(error("instance of T_Node { Size = 1; };"),
        "bad.mof:1: instance of T_Node: key property Id of class T_Node has no value");
    EXPECT_EQ(error("instance of T_Nothing { };"), "bad.mof:1: class T_Nothing is not defined in namespace root/test");
}

TEST_F(MofCompilerTest, IncludesAreRelativeAndNamespacesScopedPerFile)
{
    TempDir dir;
    dir.write("sub/two.mof", "class T_Two { };\n");
    dir.write("sub/one.mof",
        "#pragma include(\"two.mof\")\n"
        "#pragma namespace(\"root/other\")\n"
        "#pragma include(\"../quals.mof\")\n"
        "class T_One { };\n");
    dir.write("quals.mof", "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);\n");
    std::string main = dir.write("main.mof",
        "// the entry file\n"
        "#pragma locale(\"en_US\")\n"
        "#pragma namespace(\"root/first\")\n"
        "#pragma include(\"quals.mof\")\n"
        "#pragma include(\"sub/one.mof\")\n"
        "class T_Main { [Key] string K; };\n");
    Repository r;
    MofCompiler c(r);
    c.compileFile(main);
    EXPECT_EQ(c.fileCount(), 5u);
    EXPECT_EQ(c.classCount(), 3u);
    EXPECT_TRUE(r.classExists(CIMNamespaceName("root/first"), CIMName("T_Two")));
    EXPECT_TRUE(r.classExists(CIMNamespaceName("root/other"), CIMName("T_One")));
    EXPECT_TRUE(r.classExists(CIMNamespaceName("root/first"), CIMName("T_Main")));
    EXPECT_FALSE(r.classExists(CIMNamespaceName("root/other"), CIMName("T_Main")));
    EXPECT_FALSE(r.namespaceExists(CIMNamespaceName("root/cimv2")));

    // A missing include names the including file and line (an error inside an
    // included file is in mof/bad/included_error.mof).
    std::string entry2 = dir.write("entry2.mof", "\n#pragma include(\"gone.mof\")\n");
    try
    {
        MofCompiler(r).compileFile(entry2);
        FAIL() << "no error";
    }
    catch (const MofError& e)
    {
        EXPECT_EQ(std::string(e.what()), entry2 + ":2: cannot open included file \"gone.mof\" (" + dir.path()
            + "/gone.mof)");
    }
    dir.write("loop.mof", "#pragma include(\"loop.mof\")\n");
    EXPECT_THROW(MofCompiler(r).compileFile(dir.path() + "/loop.mof"), MofError);
    EXPECT_THROW(MofCompiler(r).compileFile(dir.path() + "/absent.mof"), MofError);
}

// Bad files on disk: the first line of each says which error (file, line,
// message) it must stop with.
TEST(MofFiles, EachBadFileStopsWithItsError)
{
    std::vector<std::string> files;
    std::string dir = std::string(VELK_SOURCE_DIR) + "/server/repository/tests/mof/bad";
    DIR* d = opendir(dir.c_str());
    ASSERT_NE(d, nullptr);
    while (dirent* e = readdir(d))
    {
        std::string n = e->d_name;
        if (n.size() > 4 && n.compare(n.size() - 4, 4, ".mof") == 0)
            files.push_back(n);
    }
    closedir(d);
    std::sort(files.begin(), files.end());
    ASSERT_GE(files.size(), 8u);
    for (const std::string& name : files)
    {
        SCOPED_TRACE(name);
        std::ifstream in(dir + "/" + name);
        std::string first;
        std::getline(in, first);
        const std::string tag = "// expect ";
        ASSERT_EQ(first.compare(0, tag.size(), tag), 0) << "first line must say what to expect";
        std::string expect = first.substr(tag.size());
        std::string expectFile = name;
        if (expect.find(".mof ") != std::string::npos)
        {
            expectFile = expect.substr(0, expect.find(' '));
            expect = expect.substr(expectFile.size() + 1);
        }
        unsigned line = unsigned(std::stoul(expect));
        std::string message = expect.substr(expect.find(": ") + 2);
        Repository repo;
        try
        {
            MofCompiler(repo).compileFile(dir + "/" + name);
            ADD_FAILURE() << "compiled without error";
        }
        catch (const MofError& e)
        {
            EXPECT_EQ(e.file(), dir + "/" + expectFile);
            EXPECT_EQ(e.line(), line);
            EXPECT_EQ(e.message(), message);
        }
    }
}

} // namespace
