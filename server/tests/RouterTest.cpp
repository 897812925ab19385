// The router and provider manager against the test module: how providers are
// called (paths, contexts, split association requests, retyped parameters),
// what their handlers let through, how their failures reach the caller, and
// up-calls through CIMOMHandle.
#include "TestServer.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

using namespace Pegasus;
using cimhost_test::contextFor;
using cimhost_test::str;
using cimhost_test::takeCalls;

namespace
{

const CIMNamespaceName NS("root/test");

CIMObjectPath item(const char* cls, const char* id)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Id"), String(id), CIMKeyBinding::STRING));
    return CIMObjectPath(String(), CIMNamespaceName(), CIMName(cls), keys);
}

String label(const CIMInstance& inst)
{
    String s;
    inst.getProperty(inst.findProperty(CIMName("Label"))).getValue().get(s);
    return s;
}

std::vector<std::string> ids(const Array<CIMInstance>& list)
{
    std::vector<std::string> r;
    for (Uint32 i = 0; i < list.size(); i++)
    {
        String s;
        list[i].getProperty(list[i].findProperty(CIMName("Id"))).getValue().get(s);
        r.push_back(str(s));
    }
    return r;
}

bool contains(const std::vector<std::string>& calls, const std::string& line)
{
    return std::find(calls.begin(), calls.end(), line) != calls.end();
}

class RouterTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        server.reset(new cimhost::EmbeddedServer(cimhost_test::testModuleOptions()));
        server->start();
        ops = &server->operations();
        takeCalls();
    }

    void TearDown() override { server.reset(); }

    CIMInstance get(const CIMObjectPath& path, const char* user = "alice")
    {
        return ops->getInstance(contextFor(user), NS, path, false, false, false,
            CIMPropertyList());
    }

    Array<CIMInstance> enumerate(const char* cls, const char* user = "alice",
        bool deep = true)
    {
        return ops->enumerateInstances(contextFor(user), NS, CIMName(cls), deep, false,
            false, false, CIMPropertyList());
    }

    CIMValue invoke(const char* method, const Array<CIMParamValue>& in,
        Array<CIMParamValue>& out, const char* user = "alice")
    {
        return ops->invokeMethod(contextFor(user), NS, item("Test_Method", "m"),
            CIMName(method), in, out);
    }

    cimhost_test::ModulePin pin;
    std::unique_ptr<cimhost::EmbeddedServer> server;
    CIMOperations* ops = nullptr;
};

// ---- how providers are called

TEST_F(RouterTest, ProviderGetsServerHostRequestNamespaceAndIdentity)
{
    Array<CIMName> props;
    props.append(CIMName("Label"));
    CIMInstance inst = ops->getInstance(contextFor("alice", "192.0.2.7"), NS,
        item("Test_Item", "a"), false, false, false, CIMPropertyList(props));
    EXPECT_EQ("alice", str(label(inst)));
    std::vector<std::string> calls = takeCalls();
    EXPECT_TRUE(contains(calls,
        "getInstance //testhost/root/test:Test_Item.Id=\"a\" user=alice ip=192.0.2.7 props=Label"))
        << (calls.empty() ? "" : calls.back());
    // The class name stays as the client spelled it.
    get(item("TEST_item", "a"));
    EXPECT_TRUE(contains(takeCalls(),
        "getInstance //testhost/root/test:TEST_item.Id=\"a\" user=alice ip=10.1.2.3 props=NULL"));
}

TEST_F(RouterTest, ProviderIsCreatedAndInitializedOnceBeforeFirstOperation)
{
    get(item("Test_Item", "a"));
    get(item("Test_Item", "b"));
    std::vector<std::string> calls = takeCalls();
    ASSERT_GE(calls.size(), 4u);
    EXPECT_EQ("create TestItemProvider", calls[0]);
    EXPECT_EQ("TestItemProvider initialize", calls[1]);
    EXPECT_EQ(1, std::count(calls.begin(), calls.end(), "TestItemProvider initialize"));
}

TEST_F(RouterTest, EnumerationCoversSubclassesEachWithItsOwnPath)
{
    Array<CIMInstance> all = enumerate("Test_Item");
    ASSERT_EQ((std::vector<std::string>{"I1", "I2", "S1", "S2"}), ids(all));
    std::vector<std::string> calls = takeCalls();
    EXPECT_TRUE(contains(calls, "enumerateInstances //testhost/root/test:Test_Item"));
    EXPECT_TRUE(contains(calls, "enumerateInstances //testhost/root/test:Test_SubItem"));

    Array<CIMObjectPath> names =
        ops->enumerateInstanceNames(contextFor("alice"), NS, CIMName("Test_Item"));
    EXPECT_EQ(4u, names.size());
    EXPECT_NE(PEG_NOT_FOUND, all[2].findProperty(CIMName("Extra")));
    // A shallow enumeration drops the subclasses' own properties.
    Array<CIMInstance> shallow = enumerate("Test_Item", "alice", false);
    ASSERT_EQ(4u, shallow.size());
    EXPECT_EQ(PEG_NOT_FOUND, shallow[2].findProperty(CIMName("Extra")));
}

TEST_F(RouterTest, ClassWithoutProviderAnswersFromStoredInstances)
{
    Array<CIMInstance> stored = enumerate("Test_Unserved");
    ASSERT_EQ(1u, stored.size());
    EXPECT_EQ((std::vector<std::string>{"stored"}), ids(stored));
    CIMInstance one = get(item("Test_Unserved", "stored"));
    EXPECT_EQ(CIMName("Test_Unserved"), one.getClassName());
    try
    {
        get(item("Test_Unserved", "nothere"));
        FAIL();
    }
    catch (const CIMException& e)
    {
        EXPECT_EQ(CIM_ERR_NOT_FOUND, e.getCode());
    }
}

TEST_F(RouterTest, UnknownNamespaceAndClass)
{
    EXPECT_CIM_ERROR(ops->getInstance(contextFor("a"), CIMNamespaceName("root/none"),
                         item("Test_Item", "a"), false, false, false, CIMPropertyList()),
        CIM_ERR_INVALID_NAMESPACE, "root/none");
    EXPECT_CIM_ERROR(enumerate("Test_Nothing"), CIM_ERR_INVALID_CLASS, "Test_Nothing");
}

// ---- response handlers and exceptions

// What the test provider's getInstance does for a key, and the error the
// caller must see.
TEST_F(RouterTest, HandlerChecksAndProviderExceptionsBecomeCimErrors)
{
    const struct
    {
        const char* id;
        CIMStatusCode code;
        const char* message;
    } cases[] = {
        {"twice", CIM_ERR_FAILED, "Too many objects delivered."},
        {"none", CIM_ERR_FAILED, "Too few objects delivered."},
        {"nocomplete", CIM_ERR_FAILED, "Too few objects delivered."},
        {"uninit", CIM_ERR_FAILED, "The object is not initialized."},
        {"cimerror", CIM_ERR_NOT_FOUND, "Item cimerror not found"},
        {"traceable", CIM_ERR_ACCESS_DENIED, "Insufficient privilege for the user"},
        {"stdexc", CIM_ERR_FAILED, "std failure"},
        {"pegexc", CIM_ERR_FAILED, "plain failure"},
        {"other", CIM_ERR_FAILED, "Unknown error."},
        {"late", CIM_ERR_FAILED, "failed after complete"},   // thrown after complete()
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.id);
        EXPECT_CIM_ERROR(get(item("Test_Item", c.id)), c.code, c.message);
    }
    EXPECT_CIM_ERROR(enumerate("Test_Item", "throwafter"), CIM_ERR_NOT_SUPPORTED,
        "after complete");
}

TEST_F(RouterTest, CreateInstanceDeliveringTwoPathsIsTooMany)
{
    CIMInstance inst(CIMName("Test_Item"));
    inst.addProperty(CIMProperty(CIMName("Id"), String("new")));
    CIMObjectPath path = ops->createInstance(contextFor("a"), NS, inst);
    EXPECT_EQ("//testhost/root/test:Test_Item.Id=\"new\"", str(path.toString()));

    CIMInstance twice(CIMName("Test_Item"));
    twice.addProperty(CIMProperty(CIMName("Id"), String("twice")));
    EXPECT_CIM_ERROR(ops->createInstance(contextFor("a"), NS, twice), CIM_ERR_FAILED,
        "Too many objects delivered.");
}

TEST_F(RouterTest, EnumerationKeepsOnlyWhatCompleteOrFullChunksRelease)
{
    // Both classes' providers skip complete(): nothing at all.
    EXPECT_EQ(0u, enumerate("Test_Item", "nocomplete").size());
    // Deliveries after complete() are lost.
    EXPECT_EQ((std::vector<std::string>{"I1", "S1"}), ids(enumerate("Test_Item", "late")));
    // 250 objects without complete(): the two full chunks of a hundred.
    EXPECT_EQ(200u, enumerate("Test_Chunk").size());
    EXPECT_EQ(250u,
        ops->enumerateInstanceNames(contextFor("a"), NS, CIMName("Test_Chunk")).size());
}

// ---- association requests

TEST_F(RouterTest, AssociationRequestIsSplitPerRegisteredAssociationClass)
{
    Array<CIMObjectPath> names = ops->associatorNames(contextFor("a"), NS,
        item("Test_Item", "I1"), CIMName(), CIMName(), String(), String());
    ASSERT_EQ(2u, names.size());
    EXPECT_EQ("//testhost/root/test:Test_Item.Id=\"TestLinkAProvider\"",
        str(names[0].toString()));
    EXPECT_EQ("//testhost/root/test:Test_Item.Id=\"TestLinkBProvider\"",
        str(names[1].toString()));
    std::vector<std::string> calls = takeCalls();
    const std::string path = "//testhost/root/test:Test_Item.Id=\"I1\"";
    EXPECT_TRUE(contains(calls, "TestLinkAProvider associatorNames " + path +
        " assoc=Test_LinkA result=null role= resultRole="));
    EXPECT_TRUE(contains(calls, "TestLinkBProvider associatorNames " + path +
        " assoc=Test_LinkB result=null role= resultRole="));
    for (const std::string& c : calls)
        EXPECT_EQ(std::string::npos, c.find("TestLinkCProvider")) << c;
}

TEST_F(RouterTest, AssociatorFiltersPassThroughAndAssocClassSelects)
{
    Array<CIMObject> objs = ops->associators(contextFor("a"), NS, item("Test_Item", "I1"),
        CIMName("Test_LinkB"), CIMName("Test_Item"), String("Left"), String("Right"),
        false, false, CIMPropertyList());
    ASSERT_EQ(1u, objs.size());
    EXPECT_EQ("//testhost/root/test:Test_Item.Id=\"TestLinkBProvider\"",
        str(objs[0].getPath().toString()));
    std::vector<std::string> calls = takeCalls();
    EXPECT_TRUE(contains(calls, "TestLinkBProvider associators "
        "//testhost/root/test:Test_Item.Id=\"I1\" assoc=Test_LinkB result=Test_Item "
        "role=Left resultRole=Right"));
    for (const std::string& c : calls)
        EXPECT_EQ(std::string::npos, c.find("TestLinkAProvider")) << c;
}

TEST_F(RouterTest, ReferencesGetTheAssociationClassAsResultClass)
{
    ops->referenceNames(contextFor("a"), NS, item("Test_Item", "I1"), CIMName(), String());
    ops->references(contextFor("a"), NS, item("Test_Item", "I1"), CIMName("Test_LinkA"),
        String("Right"), false, false, CIMPropertyList());
    std::vector<std::string> calls = takeCalls();
    const std::string path = "//testhost/root/test:Test_Item.Id=\"I1\"";
    EXPECT_TRUE(contains(calls, "TestLinkAProvider referenceNames " + path +
        " assoc=null result=Test_LinkA role= resultRole="));
    EXPECT_TRUE(contains(calls, "TestLinkBProvider referenceNames " + path +
        " assoc=null result=Test_LinkB role= resultRole="));
    EXPECT_TRUE(contains(calls, "TestLinkAProvider references " + path +
        " assoc=null result=Test_LinkA role=Right resultRole="));
    EXPECT_EQ(3u, calls.size() - std::count_if(calls.begin(), calls.end(),
        [](const std::string& c) { return c.compare(0, 7, "create ") == 0; }));
}

TEST_F(RouterTest, RoleThatNoReferenceHasReachesNoProvider)
{
    EXPECT_EQ(0u, ops->associatorNames(contextFor("a"), NS, item("Test_Item", "I1"),
        CIMName(), CIMName(), String("Nope"), String()).size());
    for (const std::string& c : takeCalls())
        EXPECT_EQ(std::string::npos, c.find("associatorNames")) << c;
}

// ---- methods

TEST_F(RouterTest, UntypedInputParametersAreRetypedToTheDeclaredTypes)
{
    Array<CIMParamValue> in;
    in.append(CIMParamValue("A", CIMValue(String("5")), false));
    in.append(CIMParamValue("B", CIMValue(String("-7")), false));
    in.append(CIMParamValue("C", CIMValue(String("1.5")), false));
    in.append(CIMParamValue("D", CIMValue(String("TRUE")), false));
    in.append(CIMParamValue("E", CIMValue(String("text")), false));
    Array<String> f;
    f.append("1");
    f.append("2");
    in.append(CIMParamValue("F", CIMValue(f), false));
    in.append(CIMParamValue("G", CIMValue(String("20260101120000.000000+000")), false));
    in.append(CIMParamValue("I", CIMValue(String("z")), false));
    in.append(CIMParamValue("Unset", CIMValue(CIMTYPE_STRING, false), false));
    in.append(CIMParamValue("Emb", CIMValue(String("<INSTANCE CLASSNAME=\"Test_Item\">"
        "<PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>e</VALUE></PROPERTY></INSTANCE>")), false));
    in.append(CIMParamValue("Undeclared", CIMValue(String("u")), false));
    in.append(CIMParamValue("a", CIMValue(Uint8(9)), true));
    Array<CIMParamValue> out;
    CIMValue ret = invoke("Types", in, out);
    Uint32 count = 0;
    ret.get(count);
    EXPECT_EQ(12u, count);
    ASSERT_EQ(1u, out.size());
    Array<String> result;
    out[0].getValue().get(result);
    std::vector<std::string> got;
    for (Uint32 i = 0; i < result.size(); i++)
        got.push_back(str(result[i]));
    EXPECT_EQ((std::vector<std::string>{"A=uint8", "B=sint64", "C=real64", "D=boolean",
                  "E=string", "F=uint16[]", "G=datetime", "I=char16", "Unset=uint32 null",
                  "Emb=instance", "Undeclared=string untyped", "a=uint8"}),
        got);
}

TEST_F(RouterTest, BadParametersAndNullReturnsAreRefusedUndeclaredMethodsReachTheProvider)
{
    Array<CIMParamValue> out;
    Array<CIMParamValue> big;
    big.append(CIMParamValue("A", CIMValue(String("300")), false));
    EXPECT_CIM_ERROR(invoke("Types", big, out), CIM_ERR_INVALID_PARAMETER,
        "value \"300\" of parameter A is not a valid uint8");
    Array<CIMParamValue> scalar;
    scalar.append(CIMParamValue("F", CIMValue(String("1")), false));
    EXPECT_CIM_ERROR(invoke("Types", scalar, out), CIM_ERR_TYPE_MISMATCH, "F");
    // The provider decides what a name the class does not declare means.
    EXPECT_TRUE(invoke("Bogus", big, out).isNull());
    EXPECT_TRUE(contains(takeCalls(),
        "invokeMethod //testhost/root/test:Test_Method.Id=\"m\" Bogus user=alice"));
    EXPECT_CIM_ERROR(invoke("NullReturn", Array<CIMParamValue>(), out), CIM_ERR_FAILED,
        "The object is not initialized.");
}

TEST_F(RouterTest, SetPropertyRetypesAndModifiesThatPropertyOnlyGetPropertyReadsThroughGetInstance)
{
    ops->setProperty(contextFor("a"), NS, item("Test_Item", "a"), CIMName("Number"),
        CIMValue(String("42")));
    EXPECT_TRUE(contains(takeCalls(),
        "modifyInstance //testhost/root/test:Test_Item.Id=\"a\" props=Number Number=42:uint32"));
    EXPECT_CIM_ERROR(ops->setProperty(contextFor("a"), NS, item("Test_Item", "a"),
                         CIMName("Number"), CIMValue(String("many"))),
        CIM_ERR_INVALID_PARAMETER, "value \"many\" of parameter Number is not a valid uint32");
    EXPECT_CIM_ERROR(ops->setProperty(contextFor("a"), NS, item("Test_Item", "a"),
                         CIMName("Nope"), CIMValue(String("1"))),
        CIM_ERR_NO_SUCH_PROPERTY, "Nope");
    String s;
    ops->getProperty(contextFor("erin"), NS, item("Test_Item", "a"), CIMName("Label")).get(s);
    EXPECT_EQ("erin", str(s));
}

TEST_F(RouterTest, LastReturnValueWinsAndOutputParametersAccumulate)
{
    Array<CIMParamValue> out;
    out.append(CIMParamValue("Old", CIMValue(String("x"))));
    CIMValue ret = invoke("Twice", Array<CIMParamValue>(), out);
    Uint32 v = 0;
    ret.get(v);
    EXPECT_EQ(2u, v);
    ASSERT_EQ(2u, out.size());
    EXPECT_EQ("First", str(out[0].getParameterName()));
    EXPECT_EQ("Second", str(out[1].getParameterName()));
}

// ---- up-calls

TEST_F(RouterTest, UpCallsReenterWithTheCallersIdentityAndKeepErrorsAlsoFromInitialize)
{
    // Upcall(What) returns a count and the "Seen" output parameter.
    auto upcall = [&](const char* what, const char* user, Uint32* count = nullptr) {
        Array<CIMParamValue> in;
        in.append(CIMParamValue("What", CIMValue(String(what))));
        Array<CIMParamValue> out;
        CIMValue ret = invoke("Upcall", in, out, user);
        if (count)
            ret.get(*count);
        String seen;
        if (out.size())
            out[0].getValue().get(seen);
        return str(seen);
    };
    Uint32 count = 0;
    upcall("self", "alice", &count);   // re-enters the same provider
    EXPECT_EQ(4u, count);
    EXPECT_EQ("bob", upcall("identity", "bob"));
    EXPECT_EQ("", upcall("anonymous", "bob"));
    // invokeMethod replaces the caller's output parameters.
    EXPECT_EQ("Seen=carol;", upcall("method", "carol"));
    EXPECT_CIM_ERROR(upcall("error", "alice"), CIM_ERR_NOT_FOUND, "Item cimerror not found");
    // An up-call from initialize() reaches another provider.
    EXPECT_EQ("init saw fromInit", str(label(get(item("Test_InitUpcall", "q")))));
}

TEST_F(RouterTest, ConcurrentRequestsAndUpCallsDoNotDeadlock)
{
    std::atomic<int> ok{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; t++)
    {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 20; i++)
            {
                Array<CIMParamValue> in;
                in.append(CIMParamValue("What", CIMValue(String(t % 2 ? "self" : "assoc"))));
                Array<CIMParamValue> out;
                Uint32 n = 0;
                invoke("Upcall", in, out).get(n);
                if (n == (t % 2 ? 4u : 2u))
                    ++ok;
                if (get(item("Test_InitUpcall", "c")).isUninitialized() == false)
                    ++ok;
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(8 * 20 * 2, ok.load());
}

TEST_F(RouterTest, HandleFromServerRoutesLikeTheRouter)
{
    CIMOMHandle handle = server->cimomHandle();
    CIMInstance inst = handle.getInstance(contextFor("dave"), NS, item("Test_Item", "h"),
        false, false, false, CIMPropertyList());
    EXPECT_EQ("dave", str(label(inst)));
    EXPECT_CIM_ERROR(handle.getInstance(OperationContext(), NS, item("Test_Item", "stdexc"),
                         false, false, false, CIMPropertyList()),
        CIM_ERR_FAILED, "std failure");
}

TEST(CIMOMHandleTest, DefaultConstructedHandleThrowsClearError)
{
    CIMOMHandle handle;
    CIMOMHandle copy(handle);
    try
    {
        copy.enumerateInstanceNames(OperationContext(), NS, CIMName("Test_Item"));
        FAIL();
    }
    catch (const CIMException& e)
    {
        EXPECT_EQ(CIM_ERR_FAILED, e.getCode());
        EXPECT_NE(std::string::npos,
            str(e.getMessage()).find("CIMOMHandle is not connected to a CIM server"));
    }
}

// ---- provider loading

TEST_F(RouterTest, MissingModuleOrInterfaceIsAClearError)
{
    EXPECT_CIM_ERROR(get(item("Test_Missing", "a")), CIM_ERR_FAILED,
        "File \"libCimhostNoSuchModule.so\" was not found for provider module "
        "\"MissingModule\".");
    EXPECT_CIM_ERROR(get(item("Test_NoIface", "a")), CIM_ERR_NOT_SUPPORTED,
        "Invalid provider interface.");
    // The server goes on serving other classes.
    EXPECT_EQ("alice", str(label(get(item("Test_Item", "a")))));
}

TEST_F(RouterTest, NullProviderIsALoadFailure)
{
    try
    {
        get(item("Test_Null", "a"));
        FAIL();
    }
    catch (const CIMException& e)
    {
        EXPECT_EQ(CIM_ERR_FAILED, e.getCode());
        std::string msg = str(e.getMessage());
        EXPECT_EQ(0u, msg.find("ProviderLoadFailure (" VELK_LIB_DIR
                               "/libCimhostTestProvider.so:TestNullProvider): "))
            << msg;
    }
}

TEST_F(RouterTest, FailedInitializeIsTerminatedAndRetriedOnTheNextRequest)
{
    EXPECT_CIM_ERROR(get(item("Test_FailInit", "a")), CIM_ERR_FAILED,
        "provider initialization failed");
    std::vector<std::string> calls = takeCalls();
    EXPECT_TRUE(contains(calls, "TestFailInitProvider initialize 1"));
    EXPECT_TRUE(contains(calls, "TestFailInitProvider terminate"));
    get(item("Test_FailInit", "a"));
    EXPECT_TRUE(contains(takeCalls(), "TestFailInitProvider initialize 2"));
}

TEST_F(RouterTest, StopTerminatesInitializedProvidersNewestFirst)
{
    get(item("Test_Item", "a"));
    get(item("Test_InitUpcall", "a"));
    ops->associatorNames(contextFor("a"), NS, item("Test_Item", "I1"), CIMName("Test_LinkA"),
        CIMName(), String(), String());
    takeCalls();
    server->stop();
    std::vector<std::string> calls = takeCalls();
    EXPECT_EQ((std::vector<std::string>{"TestLinkAProvider terminate",
                  "TestInitUpcallProvider terminate", "TestItemProvider terminate"}),
        calls);
    // Stopping twice is harmless.
    server->stop();
}

} // namespace
