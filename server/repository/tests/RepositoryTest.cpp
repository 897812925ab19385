// The repository: inheritance resolution, class operations and their flags,
// stored instances, errors and concurrent use.
#include "TestSupport.h"

#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace Pegasus;
using namespace cimhost;
using namespace cimhost_test;

namespace {

const CIMNamespaceName NS("root/test");

const char* const HIERARCHY = R"(
    Qualifier T_Sticky : string = null, Scope(any), Flavor(DisableOverride, ToSubclass);
    Qualifier T_Local : string = null, Scope(any), Flavor(EnableOverride, Restricted);

    [Abstract, Version("1.0"), Description("root"), T_Local("only here"), T_Sticky("s")]
    class T_Base {
        [Key, Description("id")] string InstanceID;
        [Description("size of it"), T_Local("p")] uint32 Size = 4;
        string Name;
        [Description("run it")]
        uint32 Go([IN, Description("how")] uint16 How, [OUT] string Result);
    };
    [Description("middle")]
    class T_Mid : T_Base {
        [Override("Size")] uint32 Size;
        uint16 Extra = 1;
        uint32 Go([IN] uint16 How, [OUT] string Result);
    };
    class T_Leaf : T_Mid {
        [Description("leaf name")] string Name = "leaf";
    };
    class T_Other : t_base { };
    class T_Root2 { [Key] uint32 N; };
)";

class RepositoryTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        loadQualifiers(repo);
        MofCompiler(repo).compileString(HIERARCHY, "hierarchy.mof", "root/test");
    }

    static CIMProperty prop(CIMClass& c, const char* name)
    {
        Uint32 i = c.findProperty(CIMName(name));
        EXPECT_NE(i, PEG_NOT_FOUND) << name;
        return c.getProperty(i);
    }

    template <class T>
    static bool hasQualifier(const T& e, const char* name)
    {
        return e.findQualifier(CIMName(name)) != PEG_NOT_FOUND;
    }

    static std::vector<std::string> names(const Array<CIMName>& a)
    {
        std::vector<std::string> out;
        for (Uint32 i = 0; i < a.size(); ++i)
            out.push_back(str(a[i].getString()));
        return out;
    }

    Repository repo;
};

using Names = std::vector<std::string>;

TEST_F(RepositoryTest, ResolvedClassHasOriginsPropagationAndOverrides)
{
    CIMClass leaf = repo.getFullClass(NS, CIMName("t_leaf"));
    ASSERT_EQ(leaf.getPropertyCount(), 4u);
    // Inherited properties not declared again first, in the superclass's
    // order, then the class's own (overrides included).
    EXPECT_EQ(str(leaf.getProperty(0).getName().getString()), "InstanceID");
    EXPECT_EQ(str(leaf.getProperty(1).getName().getString()), "Size");
    EXPECT_EQ(str(leaf.getProperty(2).getName().getString()), "Extra");
    EXPECT_EQ(str(leaf.getProperty(3).getName().getString()), "Name");
    CIMClass midOrder = repo.getFullClass(NS, CIMName("T_Mid"));
    EXPECT_EQ(str(midOrder.getProperty(1).getName().getString()), "Name");
    EXPECT_EQ(str(midOrder.getProperty(2).getName().getString()), "Size");

    CIMProperty id = prop(leaf, "InstanceID");
    EXPECT_EQ(str(id.getClassOrigin().getString()), "T_Base");
    EXPECT_TRUE(id.getPropagated());
    ASSERT_TRUE(hasQualifier(id, "Key"));
    EXPECT_TRUE(id.getQualifier(id.findQualifier(CIMName("Key"))).getPropagated());

    CIMProperty size = prop(leaf, "Size");
    EXPECT_EQ(str(size.getClassOrigin().getString()), "T_Mid");
    EXPECT_TRUE(size.getPropagated());
    // The override without a default keeps the inherited one.
    Uint32 four = 0;
    size.getValue().get(four);
    EXPECT_EQ(four, 4u);
    EXPECT_TRUE(hasQualifier(size, "Description"));
    EXPECT_FALSE(hasQualifier(size, "T_Local"));   // Restricted: stays in T_Base
    EXPECT_FALSE(hasQualifier(size, "Override"));  // Restricted too

    CIMProperty name = prop(leaf, "Name");
    EXPECT_EQ(str(name.getClassOrigin().getString()), "T_Leaf");
    EXPECT_FALSE(name.getPropagated());
    String text;
    name.getValue().get(text);
    EXPECT_EQ(str(text), "leaf");
    CIMQualifier d = name.getQualifier(name.findQualifier(CIMName("Description")));
    EXPECT_FALSE(d.getPropagated());
    d.getValue().get(text);
    EXPECT_EQ(str(text), "leaf name");

    CIMClass mid = repo.getFullClass(NS, CIMName("T_Mid"));
    CIMProperty midSize = prop(mid, "Size");
    EXPECT_EQ(str(midSize.getClassOrigin().getString()), "T_Mid");
    EXPECT_FALSE(midSize.getPropagated());
    CIMQualifier inherited = midSize.getQualifier(midSize.findQualifier(CIMName("Description")));
    EXPECT_TRUE(inherited.getPropagated());

    // Class qualifiers: Abstract and T_Local are Restricted, T_Sticky flows down.
    EXPECT_TRUE(repo.getFullClass(NS, CIMName("T_Base")).isAbstract());
    EXPECT_FALSE(leaf.isAbstract());
    EXPECT_FALSE(hasQualifier(leaf, "Abstract"));
    EXPECT_FALSE(hasQualifier(leaf, "T_Local"));
    ASSERT_TRUE(hasQualifier(leaf, "T_Sticky"));
    EXPECT_TRUE(leaf.getQualifier(leaf.findQualifier(CIMName("T_Sticky"))).getPropagated());
    EXPECT_FALSE(hasQualifier(leaf, "Version"));   // Restricted

    // Methods: overridden in T_Mid, inherited into T_Leaf; parameter qualifiers merge.
    CIMMethod go = leaf.getMethod(leaf.findMethod(CIMName("Go")));
    EXPECT_EQ(str(go.getClassOrigin().getString()), "T_Mid");
    EXPECT_TRUE(go.getPropagated());
    CIMMethod midGo = mid.getMethod(mid.findMethod(CIMName("Go")));
    EXPECT_FALSE(midGo.getPropagated());
    EXPECT_TRUE(hasQualifier(midGo, "Description"));
    CIMParameter how = midGo.getParameter(midGo.findParameter(CIMName("How")));
    EXPECT_TRUE(hasQualifier(how, "Description"));

    Array<CIMName> keys;
    leaf.getKeyNames(keys);
    EXPECT_EQ(names(keys), Names{"InstanceID"});
}

TEST_F(RepositoryTest, DisableOverrideQualifierCannotChangeInSubclass)
{
    std::string message;
    CIMClass sub(CIMName("T_Bad"), CIMName("T_Base"));
    sub.addQualifier(CIMQualifier(CIMName("T_Sticky"), CIMValue(String("other")),
        CIMFlavor::DISABLEOVERRIDE + CIMFlavor::TOSUBCLASS));
    EXPECT_EQ(cimCode([&] { repo.addClass(NS, sub); }, &message), CIM_ERR_INVALID_PARAMETER);
    EXPECT_EQ(message, "qualifier T_Sticky of class T_Bad cannot be overridden (its flavor is DisableOverride)");
    CIMClass same(CIMName("T_Same"), CIMName("T_Base"));
    same.addQualifier(CIMQualifier(CIMName("T_Sticky"), CIMValue(String("s")),
        CIMFlavor::DISABLEOVERRIDE + CIMFlavor::TOSUBCLASS));
    EXPECT_NO_THROW(repo.addClass(NS, same));
}

TEST_F(RepositoryTest, GetClassFlags)
{
    // LocalOnly keeps what the class defines or overrides.
    CIMClass local = repo.getClass(NS, CIMName("T_Mid"), true, true, false);
    ASSERT_EQ(local.getPropertyCount(), 2u);
    EXPECT_EQ(str(local.getProperty(0).getName().getString()), "Size");
    EXPECT_EQ(str(local.getProperty(1).getName().getString()), "Extra");
    EXPECT_EQ(local.getMethodCount(), 1u);
    EXPECT_TRUE(local.getProperty(0).getClassOrigin().isNull());
    EXPECT_TRUE(hasQualifier(local, "Description"));
    EXPECT_FALSE(hasQualifier(local, "T_Sticky"));   // propagated class qualifier
    CIMClass leafLocal = repo.getClass(NS, CIMName("T_Leaf"));
    EXPECT_EQ(leafLocal.getPropertyCount(), 1u);
    EXPECT_EQ(leafLocal.getMethodCount(), 0u);

    // Everything, with class origins and no qualifiers anywhere.
    CIMClass bare = repo.getClass(NS, CIMName("T_Mid"), false, false, true);
    EXPECT_EQ(bare.getPropertyCount(), 4u);
    EXPECT_EQ(bare.getQualifierCount(), 0u);
    for (Uint32 i = 0; i < bare.getPropertyCount(); ++i)
    {
        EXPECT_EQ(bare.getProperty(i).getQualifierCount(), 0u);
        EXPECT_FALSE(bare.getProperty(i).getClassOrigin().isNull());
    }
    CIMMethod go = bare.getMethod(0);
    EXPECT_EQ(go.getQualifierCount(), 0u);
    EXPECT_EQ(go.getParameter(0).getQualifierCount(), 0u);
    EXPECT_EQ(str(go.getClassOrigin().getString()), "T_Mid");

    // Property list: case-insensitive, unknown names ignored, empty = none.
    Array<CIMName> list;
    list.append(CIMName("name"));
    list.append(CIMName("Bogus"));
    CIMClass some = repo.getClass(NS, CIMName("T_Leaf"), false, true, false, CIMPropertyList(list));
    ASSERT_EQ(some.getPropertyCount(), 1u);
    EXPECT_EQ(str(some.getProperty(0).getName().getString()), "Name");
    CIMClass none = repo.getClass(NS, CIMName("T_Leaf"), false, true, false, CIMPropertyList(Array<CIMName>()));
    EXPECT_EQ(none.getPropertyCount(), 0u);
    EXPECT_EQ(none.getMethodCount(), 1u);

    // A returned class is a copy.
    CIMClass copy = repo.getFullClass(NS, CIMName("T_Leaf"));
    copy.removeProperty(0);
    EXPECT_EQ(repo.getFullClass(NS, CIMName("T_Leaf")).getPropertyCount(), 4u);
}

TEST_F(RepositoryTest, EnumerationsAndHierarchyHelpers)
{
    EXPECT_EQ(names(repo.enumerateClassNames(NS)), (Names{"T_Base", "T_Root2"}));
    EXPECT_EQ(str(repo.getClass(NS, CIMName("T_Other")).getSuperClassName().getString()), "T_Base");
    EXPECT_EQ(str(repo.getLocalClass(NS, CIMName("T_Other")).getSuperClassName().getString()), "T_Base");
    EXPECT_EQ(names(repo.enumerateClassNames(NS, CIMName(), true)),
        (Names{"T_Base", "T_Mid", "T_Leaf", "T_Other", "T_Root2"}));
    EXPECT_EQ(names(repo.enumerateClassNames(NS, CIMName("T_Base"))), (Names{"T_Mid", "T_Other"}));
    EXPECT_EQ(names(repo.enumerateClassNames(NS, CIMName("T_BASE"), true)), (Names{"T_Mid", "T_Leaf", "T_Other"}));
    EXPECT_TRUE(names(repo.enumerateClassNames(NS, CIMName("T_Leaf"), true)).empty());

    Array<CIMClass> classes = repo.enumerateClasses(NS, CIMName("T_Base"), true, false, false, true);
    ASSERT_EQ(classes.size(), 3u);
    EXPECT_EQ(str(classes[1].getClassName().getString()), "T_Leaf");
    EXPECT_EQ(classes[1].getPropertyCount(), 4u);
    EXPECT_EQ(classes[1].getQualifierCount(), 0u);
    EXPECT_EQ(repo.enumerateClasses(NS, CIMName("T_Base"), false, true)[0].getPropertyCount(), 2u);

    EXPECT_TRUE(repo.isSubclassOf(NS, CIMName("T_Leaf"), CIMName("t_base")));
    EXPECT_TRUE(repo.isSubclassOf(NS, CIMName("T_Leaf"), CIMName("T_Leaf")));
    EXPECT_FALSE(repo.isSubclassOf(NS, CIMName("T_Base"), CIMName("T_Leaf")));
    EXPECT_FALSE(repo.isSubclassOf(NS, CIMName("T_Other"), CIMName("T_Mid")));
    EXPECT_FALSE(repo.isSubclassOf(NS, CIMName("T_Nope"), CIMName("T_Base")));
    EXPECT_EQ(names(repo.getSuperClassNames(NS, CIMName("T_Leaf"))), (Names{"T_Mid", "T_Base"}));
    EXPECT_TRUE(repo.getSuperClassNames(NS, CIMName("T_Base")).size() == 0);
    EXPECT_EQ(names(repo.getSubclassNames(NS, CIMName("T_Mid"))), Names{"T_Leaf"});
    EXPECT_EQ(names(repo.getSubclassNames(NS, CIMName("T_Base"), false)), (Names{"T_Mid", "T_Other"}));
}

TEST_F(RepositoryTest, ClassOperationErrors)
{
    std::string msg;
    EXPECT_EQ(cimCode([&] { repo.getClass(NS, CIMName("T_Nope")); }, &msg), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(msg, "T_Nope");
    EXPECT_EQ(cimCode([&] { repo.getClass(CIMNamespaceName("root/none"), CIMName("T_Base")); }, &msg),
        CIM_ERR_INVALID_NAMESPACE);
    EXPECT_EQ(msg, "root/none");
    EXPECT_EQ(cimCode([&] { repo.enumerateClassNames(NS, CIMName("T_Nope")); }), CIM_ERR_INVALID_CLASS);
    EXPECT_EQ(cimCode([&] { repo.enumerateClasses(NS, CIMName("T_Nope")); }), CIM_ERR_INVALID_CLASS);
    EXPECT_EQ(cimCode([&] { repo.enumerateClasses(CIMNamespaceName("root/none")); }), CIM_ERR_INVALID_NAMESPACE);
    EXPECT_EQ(cimCode([&] { repo.getSuperClassNames(NS, CIMName("T_Nope")); }), CIM_ERR_INVALID_CLASS);
    EXPECT_EQ(cimCode([&] { repo.getQualifier(NS, CIMName("Nope")); }), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(cimCode([&] { repo.addClass(NS, CIMClass(CIMName("T_X"), CIMName("T_Nope"))); }, &msg),
        CIM_ERR_INVALID_SUPERCLASS);
    EXPECT_EQ(msg, "superclass T_Nope is not defined in namespace root/test");
    EXPECT_EQ(cimCode([&] { repo.deleteClass(NS, CIMName("T_Mid")); }), CIM_ERR_CLASS_HAS_CHILDREN);
    EXPECT_EQ(cimCode([&] { repo.deleteClass(NS, CIMName("T_Leaf")); }), -1);
    EXPECT_EQ(names(repo.getSubclassNames(NS, CIMName("T_Mid"))), Names{});
    EXPECT_FALSE(repo.classExists(NS, CIMName("T_Leaf")));
    EXPECT_FALSE(repo.classExists(CIMNamespaceName("root/none"), CIMName("T_Base")));
}

TEST_F(RepositoryTest, AnAliasIsASecondNameOfItsNamespaceOnly)
{
    const CIMNamespaceName alias("test");
    repo.addNamespaceAlias(alias, NS);
    EXPECT_TRUE(repo.classExists(CIMNamespaceName("TEST"), CIMName("T_Leaf")));
    repo.addClass(alias, CIMClass(CIMName("T_ViaAlias"), CIMName("T_Leaf")));
    EXPECT_TRUE(repo.classExists(NS, CIMName("T_ViaAlias")));
    repo.createNamespace(alias);   // names a namespace already: nothing happens
    Array<CIMNamespaceName> all = repo.enumerateNamespaces();
    for (Uint32 i = 0; i < all.size(); ++i)
        EXPECT_FALSE(all[i].equal(alias));

    std::string msg;
    EXPECT_EQ(cimCode([&] { repo.addNamespaceAlias(CIMNamespaceName("other"), CIMNamespaceName("root/none")); },
        &msg), CIM_ERR_INVALID_NAMESPACE);
    EXPECT_EQ(msg, "root/none");
    EXPECT_FALSE(repo.namespaceExists(CIMNamespaceName("other")));
    EXPECT_EQ(cimCode([&] { repo.addNamespaceAlias(alias, NS); }), CIM_ERR_ALREADY_EXISTS);
    EXPECT_EQ(cimCode([&] { repo.addNamespaceAlias(NS, NS); }), CIM_ERR_ALREADY_EXISTS);
}

class InstanceTest : public RepositoryTest
{
protected:
    void SetUp() override
    {
        RepositoryTest::SetUp();
        MofCompiler(repo).compileString(R"(
            class T_Disk { [Key] uint32 Id; [Key] string Pool; string Label = "none"; boolean Online; };
            class T_BigDisk : T_Disk { uint64 Blocks; };
            [Association] class T_Uses {
                [Key] T_Disk REF Disk;
                [Key] T_Root2 REF User;
            };
            instance of T_Disk { Id = 16; Pool = "p1"; Online = true; };
            instance of T_BigDisk { Id = 17; Pool = "p1"; Blocks = 100; };
            instance of T_Root2 { N = 1; };
            instance of T_Uses { Disk = "T_Disk.Id=16,Pool=\"p1\""; User = "root/test:T_Root2.N=1"; };
        )", "disks.mof", "root/test");
    }
};

TEST_F(InstanceTest, CreateFillsClassPropertiesAndBuildsKeyPath)
{
    Array<CIMInstance> all = repo.enumerateInstances(NS, CIMName("T_Disk"));
    ASSERT_EQ(all.size(), 2u);
    CIMInstance d = all[0];
    EXPECT_EQ(str(d.getPath().toString()), "root/test:T_Disk.Id=16,Pool=\"p1\"");
    ASSERT_EQ(d.getPropertyCount(), 4u);
    String label;
    d.getProperty(d.findProperty(CIMName("Label"))).getValue().get(label);
    EXPECT_EQ(str(label), "none");
    EXPECT_TRUE(d.getProperty(0).getClassOrigin().isNull());
    EXPECT_EQ(all[1].getPropertyCount(), 5u);

    CIMInstance fresh(CIMName("T_Disk"));
    fresh.addProperty(CIMProperty(CIMName("Pool"), CIMValue(String("p2"))));
    fresh.addProperty(CIMProperty(CIMName("Id"), CIMValue(Uint32(3))));
    CIMObjectPath p = repo.createInstance(NS, fresh);
    EXPECT_EQ(str(p.toString()), "root/test:T_Disk.Id=3,Pool=\"p2\"");
    EXPECT_EQ(cimCode([&] { repo.createInstance(NS, fresh); }), CIM_ERR_ALREADY_EXISTS);

    std::string msg;
    CIMInstance wrong(CIMName("T_Disk"));
    wrong.addProperty(CIMProperty(CIMName("Id"), CIMValue(String("x"))));
    EXPECT_EQ(cimCode([&] { repo.createInstance(NS, wrong); }, &msg), CIM_ERR_INVALID_PARAMETER);
    EXPECT_EQ(msg, "property Id of class T_Disk has type uint32, the value given is string");
    CIMInstance extra(CIMName("T_Disk"));
    extra.addProperty(CIMProperty(CIMName("Colour"), CIMValue(Uint32(1))));
    EXPECT_EQ(cimCode([&] { repo.createInstance(NS, extra); }, &msg), CIM_ERR_INVALID_PARAMETER);
    EXPECT_EQ(msg, "class T_Disk has no property Colour");
    EXPECT_EQ(cimCode([&] { repo.createInstance(NS, CIMInstance(CIMName("T_Base"))); }), CIM_ERR_INVALID_CLASS);
    EXPECT_EQ(cimCode([&] { repo.createInstance(NS, CIMInstance(CIMName("T_Nope"))); }), CIM_ERR_INVALID_CLASS);
}

TEST_F(InstanceTest, GetMatchesKeysByValueNotSpelling)
{
    // Other key order and case, hexadecimal number, superclass name.
    CIMObjectPath p("t_disk.POOL=\"p1\",id=0x10");
    CIMInstance d = repo.getInstance(NS, p);
    EXPECT_EQ(str(d.getClassName().getString()), "T_Disk");
    EXPECT_EQ(repo.getInstance(NS, CIMObjectPath("T_Disk.Id=17,Pool=\"p1\"")).getPropertyCount(), 5u);
    EXPECT_EQ(cimCode([&] { repo.getInstance(NS, CIMObjectPath("T_Disk.Id=16,Pool=\"P1\"")); }), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(cimCode([&] { repo.getInstance(NS, CIMObjectPath("T_Disk.Id=16")); }), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(cimCode([&] { repo.getInstance(NS, CIMObjectPath("T_BigDisk.Id=16,Pool=\"p1\"")); }), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(cimCode([&] { repo.getInstance(NS, CIMObjectPath("T_Nope.Id=16")); }), CIM_ERR_INVALID_CLASS);

    // References match whatever host the client puts in, and with or without namespace.
    CIMObjectPath assoc("T_Uses.Disk=\"//client.example/root/test:T_Disk.Pool=\\\"p1\\\",Id=16\","
                        "User=\"T_Root2.N=1\"");
    EXPECT_EQ(repo.getInstance(NS, assoc).getPropertyCount(), 2u);

    Array<CIMName> list;
    list.append(CIMName("label"));
    CIMInstance only = repo.getInstance(NS, p, true, CIMPropertyList(list));
    ASSERT_EQ(only.getPropertyCount(), 1u);
    EXPECT_EQ(str(only.getProperty(0).getClassOrigin().getString()), "T_Disk");
}

TEST_F(InstanceTest, EnumerateCoversSubclassesAndHonoursDeepInheritance)
{
    Array<CIMObjectPath> names = repo.enumerateInstanceNames(NS, CIMName("T_Disk"));
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(str(names[1].toString()), "root/test:T_BigDisk.Id=17,Pool=\"p1\"");
    EXPECT_EQ(repo.enumerateInstanceNames(NS, CIMName("T_BigDisk")).size(), 1u);
    Array<CIMInstance> shallow = repo.enumerateInstances(NS, CIMName("T_Disk"), false);
    ASSERT_EQ(shallow.size(), 2u);
    EXPECT_EQ(shallow[1].getPropertyCount(), 4u);
    EXPECT_EQ(shallow[1].findProperty(CIMName("Blocks")), PEG_NOT_FOUND);
    EXPECT_EQ(repo.enumerateInstances(NS, CIMName("T_Base")).size(), 0u);
    EXPECT_EQ(cimCode([&] { repo.enumerateInstances(NS, CIMName("T_Nope")); }), CIM_ERR_INVALID_CLASS);
    EXPECT_EQ(cimCode([&] { repo.enumerateInstanceNames(CIMNamespaceName("root/none"), CIMName("T_Disk")); }),
        CIM_ERR_INVALID_NAMESPACE);
}

TEST_F(InstanceTest, ModifyAndDelete)
{
    CIMObjectPath p("T_Disk.Id=16,Pool=\"p1\"");
    CIMInstance change(CIMName("T_Disk"));
    change.setPath(p);
    change.addProperty(CIMProperty(CIMName("Label"), CIMValue(String("fast"))));
    change.addProperty(CIMProperty(CIMName("Id"), CIMValue(Uint32(16))));
    repo.modifyInstance(NS, change);
    CIMInstance d = repo.getInstance(NS, p);
    String label;
    d.getProperty(d.findProperty(CIMName("Label"))).getValue().get(label);
    EXPECT_EQ(str(label), "fast");
    Boolean online = false;
    d.getProperty(d.findProperty(CIMName("Online"))).getValue().get(online);
    EXPECT_TRUE(online);   // not given, not listed: unchanged

    // With a property list only the listed ones change; a listed one that is
    // absent goes back to the class default.
    Array<CIMName> list;
    list.append(CIMName("Online"));
    repo.modifyInstance(NS, change, CIMPropertyList(list));
    d = repo.getInstance(NS, p);
    d.getProperty(d.findProperty(CIMName("Label"))).getValue().get(label);
    EXPECT_EQ(str(label), "fast");
    EXPECT_TRUE(d.getProperty(d.findProperty(CIMName("Online"))).getValue().isNull());

    CIMInstance rekey(CIMName("T_Disk"));
    rekey.setPath(p);
    rekey.addProperty(CIMProperty(CIMName("Id"), CIMValue(Uint32(99))));
    EXPECT_EQ(cimCode([&] { repo.modifyInstance(NS, rekey); }), CIM_ERR_INVALID_PARAMETER);
    CIMInstance unknown(CIMName("T_Disk"));
    unknown.setPath(p);
    unknown.addProperty(CIMProperty(CIMName("Colour"), CIMValue(Uint32(1))));
    EXPECT_EQ(cimCode([&] { repo.modifyInstance(NS, unknown); }), CIM_ERR_NO_SUCH_PROPERTY);
    CIMInstance typed(CIMName("T_Disk"));
    typed.setPath(p);
    typed.addProperty(CIMProperty(CIMName("Label"), CIMValue(Uint32(1))));
    EXPECT_EQ(cimCode([&] { repo.modifyInstance(NS, typed); }), CIM_ERR_TYPE_MISMATCH);
    CIMInstance gone(CIMName("T_Disk"));
    gone.setPath(CIMObjectPath("T_Disk.Id=1,Pool=\"x\""));
    EXPECT_EQ(cimCode([&] { repo.modifyInstance(NS, gone); }), CIM_ERR_NOT_FOUND);

    EXPECT_EQ(cimCode([&] { repo.deleteClass(NS, CIMName("T_BigDisk")); }), CIM_ERR_CLASS_HAS_INSTANCES);
    repo.deleteInstance(NS, p);
    std::string msg;
    EXPECT_EQ(cimCode([&] { repo.getInstance(NS, p); }, &msg), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(msg, "T_Disk.Id=16,Pool=\"p1\"");
    EXPECT_EQ(cimCode([&] { repo.deleteInstance(NS, p); }), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(repo.enumerateInstanceNames(NS, CIMName("T_Disk")).size(), 1u);
}

TEST_F(InstanceTest, ConcurrentReadersAndWriters)
{
    const int writers = 2, perWriter = 200, readers = 4;
    std::atomic<bool> failed{false};
    std::vector<std::thread> threads;
    for (int w = 0; w < writers; ++w)
        threads.emplace_back([&, w] {
            for (int i = 0; i < perWriter; ++i)
            {
                CIMInstance inst(CIMName("T_BigDisk"));
                inst.addProperty(CIMProperty(CIMName("Id"), CIMValue(Uint32(1000 + i))));
                inst.addProperty(CIMProperty(CIMName("Pool"), CIMValue(String(w ? "w1" : "w0"))));
                repo.createInstance(NS, inst);
            }
        });
    for (int r = 0; r < readers; ++r)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i)
            {
                Uint32 n = repo.enumerateInstanceNames(NS, CIMName("T_Disk")).size();
                CIMClass c = repo.getClass(NS, CIMName("T_BigDisk"), false, true, true);
                if (n < 2 || c.getPropertyCount() != 5)
                    failed = true;
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_FALSE(failed);
    EXPECT_EQ(repo.enumerateInstances(NS, CIMName("T_BigDisk")).size(), Uint32(1 + writers * perWriter));
}

} // namespace
