// CIMKeyBinding and CIMObjectPath: the text form, the parser and its error
// reasons, the storage rules (sorted keys, normalised references, host
// checks) and the equality that lookups rely on.
#include <gtest/gtest.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include "../TestSupport.h"

PEGASUS_USING_PEGASUS;

namespace
{

std::string text(const CIMObjectPath& p)
{
    return compattest::str(p.toString());
}

std::string parseError(const char* input)
{
    try
    {
        CIMObjectPath p(input);
    }
    catch (const MalformedObjectNameException& e)
    {
        return std::string((const char*)e.getMessage().getCString());
    }
    return "parsed";
}

CIMKeyBinding key(const char* name, const char* value, CIMKeyBinding::Type type)
{
    return CIMKeyBinding(CIMName(name), String(value), type);
}

} // namespace

TEST(CIMObjectPath, TextForm)
{
    Array<CIMKeyBinding> keys;
    keys.append(key("InstanceID", "ABC:task_id:7", CIMKeyBinding::STRING));
    CIMObjectPath job("myhost", CIMNamespaceName("root/sample"), CIMName("Sample_Job"), keys);
    EXPECT_EQ(text(job), "//myhost/root/sample:Sample_Job.InstanceID=\"ABC:task_id:7\"");

    Array<CIMKeyBinding> refs;
    refs.append(key("Dependent", "Sample_Job.InstanceID=\"X\"", CIMKeyBinding::REFERENCE));
    refs.append(key("Antecedent", "//myhost/root/sample:Sample_Service.Name=\"s1\"",
        CIMKeyBinding::REFERENCE));
    CIMObjectPath assoc(String(), CIMNamespaceName(), CIMName("Sample_Assoc"), refs);
    EXPECT_EQ(text(assoc),
        "Sample_Assoc.Antecedent=\"//myhost/root/sample:Sample_Service.Name=\\\"s1\\\"\","
        "Dependent=\"Sample_Job.InstanceID=\\\"X\\\"\"");

    Array<CIMKeyBinding> disk;
    disk.append(key("Online", "TRUE", CIMKeyBinding::BOOLEAN));
    disk.append(key("Id", "0x1F", CIMKeyBinding::NUMERIC));
    EXPECT_EQ(text(CIMObjectPath(String(), CIMNamespaceName(), CIMName("Sample_Disk"), disk)),
        "Sample_Disk.Id=0x1F,Online=TRUE");
}

TEST(CIMObjectPath, SettingPartsAndText)
{
    CIMObjectPath p;
    EXPECT_EQ(text(p), "");
    p.setClassName(CIMName("C"));
    p.setHost("h");
    EXPECT_EQ(text(p), "//h/:C");
    p.setNameSpace(CIMNamespaceName("root"));
    EXPECT_EQ(text(p), "//h/root:C");
    p.setHost(String());
    EXPECT_EQ(text(p), "root:C");

    // Setting from text replaces every part.
    p = CIMObjectPath("//h/root:A.k=1");
    p = String("B.x=\"y\"");
    EXPECT_EQ(p.getHost(), "");
    EXPECT_TRUE(p.getNameSpace().isNull());
    EXPECT_EQ(text(p), "B.x=\"y\"");
    p.set("ns:C");
    EXPECT_EQ(p.getKeyBindings().size(), 0u);
    EXPECT_EQ(text(p), "ns:C");
    EXPECT_THROW(p.set("ns:"), MalformedObjectNameException);
    p.clear();
    EXPECT_EQ(text(p), "");
    EXPECT_TRUE(p.getClassName().isNull());
}


// A path of one key keeps the key beside itself; the key list a caller
// copies out must stay whole after the path is gone or changed, and changes
// through either side must not reach the other.
TEST(CIMObjectPath, KeyListOfAOneKeyPathOutlivesThePath)
{
    Array<CIMKeyBinding> kept;
    CIMObjectPath copy;
    {
        CIMObjectPath p(String("h"), CIMNamespaceName("root/velk"), CIMName("VELK_ConcreteJob"),
            Array<CIMKeyBinding>(1, CIMKeyBinding(CIMName("InstanceID"), String("KORVANE:task_id:7"),
                CIMKeyBinding::STRING)));
        kept = p.getKeyBindings();
        copy = p;
        p.setKeyBindings(Array<CIMKeyBinding>());
        EXPECT_EQ(text(p), "//h/root/velk:VELK_ConcreteJob");
    }
    EXPECT_EQ(text(copy), "//h/root/velk:VELK_ConcreteJob.InstanceID=\"KORVANE:task_id:7\"");
    copy = CIMObjectPath();
    ASSERT_EQ(kept.size(), 1u);
    EXPECT_EQ(kept[0].getValue(), "KORVANE:task_id:7");
    kept[0].setValue("KORVANE:task_id:8");
    kept.append(CIMKeyBinding(CIMName("Other"), String("x"), CIMKeyBinding::STRING));
    EXPECT_EQ(kept[0].getValue(), "KORVANE:task_id:8");

    // Set again with one key, then from text with one key: the old list a
    // caller holds keeps its value.
    CIMObjectPath q("//h/root:A.k=\"1\"");
    Array<CIMKeyBinding> first = q.getKeyBindings();
    q.set("//h/root:A.k=\"2\"");
    q.set(String("h"), CIMNamespaceName("root"), CIMName("A"), first);
    EXPECT_EQ(first[0].getValue(), "1");
    EXPECT_EQ(text(q), "//h/root:A.k=\"1\"");

    // The text of the key's value, the last thing left of its path, is
    // rewritten within its length and then grown past it.
    String value;
    {
        CIMObjectPath p("//h/root:A.k=\"abc\"");
        value = p.getKeyBindings()[0].getValue();
        String other = value;
        other.append(Char16('d'));
        EXPECT_EQ(other, "abcd");
    }
    EXPECT_EQ(value, "abc");
    value.clear();
    value.append(String("xyz"));
    value.append(Char16('!'));
    EXPECT_EQ(value, "xyz!");
}
TEST(CIMObjectPath, ParseRoundTrips)
{
    const char* samples[] = {
        "//myhost/root/sample:Sample_Job.InstanceID=\"ABC:task_id:7\"",
        "//10.1.2.3:5988/root/cimv2:CIM_X.A=-12,B=FALSE,C=\"\"",
        "//[fe80::1]:5989/root:C.K=0x7fffFFFF",
        "root/interop:PG_ProviderModule.Name=\"VELK_JobModule\"",
        "Sample_Assoc.Antecedent=\"//h/ns:S.Name=\\\"s1\\\"\",Dependent=\"J.I=\\\"X\\\"\"",
        "CIM_Class",
        "C.Name=\"caf\xC3\xA9 \xE2\x82\xAC\"",
    };
    for (const char* s : samples)
        EXPECT_EQ(text(CIMObjectPath(s)), s);
    EXPECT_EQ(CIMObjectPath("C.Name=\"caf\xC3\xA9 \xE2\x82\xAC\"").getKeyBindings()[0]
        .getValue().size(), 6u);

    // Only backslash and quote are escaped in a string key.
    Array<CIMKeyBinding> keys;
    keys.append(key("K", "a\"b\\c,d=e'f", CIMKeyBinding::STRING));
    CIMObjectPath p(String(), CIMNamespaceName(), CIMName("C"), keys);
    EXPECT_EQ(text(p), "C.K=\"a\\\"b\\\\c,d=e'f\"");
    CIMObjectPath back(p.toString());
    EXPECT_EQ(back.getKeyBindings()[0].getValue(), "a\"b\\c,d=e'f");
    EXPECT_EQ(back.getKeyBindings()[0].getType(), CIMKeyBinding::STRING);
}

TEST(CIMObjectPath, ParserPieces)
{
    CIMObjectPath p("//Host:5988//root/cimv2:CIM_Job.b=1,A=\"x\",");
    EXPECT_EQ(p.getHost(), "Host:5988");
    EXPECT_EQ(p.getNameSpace().getString(), "root/cimv2");
    EXPECT_EQ(p.getClassName().getString(), "CIM_Job");
    ASSERT_EQ(p.getKeyBindings().size(), 2u);
    EXPECT_EQ(p.getKeyBindings()[0].getName().getString(), "A");
    EXPECT_EQ(p.getKeyBindings()[1].getName().getString(), "b");
    EXPECT_EQ(text(p), "//Host:5988/root/cimv2:CIM_Job.A=\"x\",b=1");

    // A colon after the first dot belongs to a key value.
    CIMObjectPath q("C.k=\"a:b\"");
    EXPECT_TRUE(q.getNameSpace().isNull());
    EXPECT_EQ(q.getClassName().getString(), "C");

    CIMObjectPath r("C.");
    EXPECT_EQ(r.getKeyBindings().size(), 0u);

    CIMObjectPath b("C.on=true,off=fAlSe");
    EXPECT_EQ(text(b), "C.off=FALSE,on=TRUE");
    EXPECT_EQ(b.getKeyBindings()[0].getType(), CIMKeyBinding::BOOLEAN);
    EXPECT_EQ(text(CIMObjectPath("C.n=-0x10,m=0")), "C.m=0,n=-0x10");
}

TEST(CIMObjectPath, QuotedValueTyping)
{
    CIMObjectPath ref("A.r=\"ns:C.K=\\\"1\\\"\"");
    EXPECT_EQ(ref.getKeyBindings()[0].getType(), CIMKeyBinding::REFERENCE);
    CIMObjectPath str("A.s=\"ns:C\"");
    EXPECT_EQ(str.getKeyBindings()[0].getType(), CIMKeyBinding::STRING);
    // A string that happens to look like a path with a key is a reference.
    CIMObjectPath look("A.s=\"a.b=1\"");
    EXPECT_EQ(look.getKeyBindings()[0].getType(), CIMKeyBinding::REFERENCE);
    CIMObjectPath eq("A.s=\"x = y\"");
    EXPECT_EQ(eq.getKeyBindings()[0].getType(), CIMKeyBinding::STRING);
}

TEST(CIMObjectPath, ReferenceValuesAreNormalised)
{
    CIMObjectPath parsed("A.r=\"B.z=1,y=\\\"q\\\"\"");
    EXPECT_EQ(parsed.getKeyBindings()[0].getValue(), "B.y=\"q\",z=1");

    Array<CIMKeyBinding> keys;
    keys.append(key("R", "//h/ns:B.z=1,Y=true", CIMKeyBinding::REFERENCE));
    CIMObjectPath p(String(), CIMNamespaceName(), CIMName("A"), keys);
    EXPECT_EQ(p.getKeyBindings()[0].getValue(), "//h/ns:B.Y=TRUE,z=1");

    Array<CIMKeyBinding> bad;
    bad.append(key("R", "not a path", CIMKeyBinding::REFERENCE));
    EXPECT_THROW(CIMObjectPath(String(), CIMNamespaceName(), CIMName("A"), bad),
        MalformedObjectNameException);
    CIMObjectPath q("A.k=1");
    EXPECT_THROW(q.setKeyBindings(bad), MalformedObjectNameException);
    EXPECT_EQ(text(q), "A.k=1");
}

TEST(CIMObjectPath, StoredKeysAreSortedNoCase)
{
    Array<CIMKeyBinding> keys;
    keys.append(key("zeta", "1", CIMKeyBinding::NUMERIC));
    keys.append(key("Beta", "2", CIMKeyBinding::NUMERIC));
    keys.append(key("alpha", "3", CIMKeyBinding::NUMERIC));
    CIMObjectPath p;
    p.setKeyBindings(keys);
    p.setClassName(CIMName("C"));
    EXPECT_EQ(text(p), "C.alpha=3,Beta=2,zeta=1");
    CIMObjectPath q;
    q.set(String(), CIMNamespaceName(), CIMName("C"), keys);
    EXPECT_EQ(text(q), "C.alpha=3,Beta=2,zeta=1");
}

TEST(CIMObjectPath, ParseErrors)
{
    struct Case { const char* input; const char* reason; };
    const Case cases[] = {
        { "//hostonly", "missing slash after hostname" },
        { "//bad host/ns:C", "invalid hostname" },
        { "//h/C.K=1", "host specified, missing namespace" },
        { "root//x:C", "invalid namespace name" },
        { "ns:9C", "class name 9C not a legal CIM name" },
        { "", "class name  not a legal CIM name" },
        { "C.K", "invalid key-value pair, missing equal sign" },
        { "C.9K=1", "invalid key-value pair, invalid key name:9K" },
        { "C.K=\"a\\b\"", "invalid key-value pair, malformed value" },
        { "C.K=\"abc", "invalid key-value pair, missing quote in key value" },
        { "C.K=Tru", "invalid key-value pair, value should be TRUE or FALSE" },
        { "C.K=-01", "invalid key-value pair, invalid negative number value -01" },
        { "C.K=012", "invalid key-value pair, invalid number value 012" },
        { "C.K=1.5", "invalid key-value pair, invalid number value 1.5" },
        { "C.K=+1", "invalid key-value pair, invalid number value +1" },
        { "C.K=", "invalid key-value pair, invalid number value " },
        { "C.K=18446744073709551616",
          "invalid key-value pair, invalid number value 18446744073709551616" },
        { "C.K=-9223372036854775809",
          "invalid key-value pair, invalid negative number value -9223372036854775809" },
        { "C.K=\"a\"B=1", "invalid key-value pair, next key-value pair has to start with comma" },
    };
    for (const Case& c : cases)
        EXPECT_EQ(parseError(c.input),
            std::string("malformed object name: ") + c.input + ", reason:\"" + c.reason + "\"");
    EXPECT_EQ(parseError("C.K=18446744073709551615,L=-9223372036854775808"), "parsed");
}

TEST(CIMObjectPath, HostValidation)
{
    const char* good[] = { "h", "host:5988", "my-host.example.com", "_srv", "10.0.0.1:80",
        "[::1]", "[fe80::1]:5989", "a1.b2" };
    for (const char* h : good)
        EXPECT_NO_THROW(CIMObjectPath(h, CIMNamespaceName("root"), CIMName("C"))) << h;
    const char* bad[] = { "bad host", "host:65536", "host:", "-host", "1.2.3", "a..b", "[::1",
        "[zz]:1", "h.123" };
    for (const char* h : bad)
        EXPECT_THROW(CIMObjectPath(h, CIMNamespaceName("root"), CIMName("C")),
            MalformedObjectNameException) << h;
    EXPECT_EQ(compattest::messageOf<MalformedObjectNameException>(
        [] { CIMObjectPath p("bad host", CIMNamespaceName(), CIMName("C")); }),
        "malformed object name: bad host, reason:\"invalid hostname\"");
    CIMObjectPath p;
    EXPECT_THROW(p.setHost("bad host"), MalformedObjectNameException);
}

TEST(CIMObjectPath, IdenticalIgnoresCaseAndKeyOrder)
{
    CIMObjectPath a("//Host/ROOT/x:CIM_Job.Name=\"n\",Id=16,Flag=true");
    CIMObjectPath b("//host/root/X:cim_job.flag=TRUE,id=0x10,name=\"n\"");
    EXPECT_TRUE(a.identical(b));
    EXPECT_TRUE(a == b);
    EXPECT_EQ(a.makeHashCode(), b.makeHashCode());

    EXPECT_FALSE(a == CIMObjectPath("//other/root/x:CIM_Job.Name=\"n\",Id=16,Flag=true"));
    EXPECT_TRUE(a != CIMObjectPath("//host/root/x:CIM_Job.Name=\"N\",Id=16,Flag=true"));

    // A host or a namespace makes paths different.
    CIMObjectPath local("CIM_Job.Id=1");
    CIMObjectPath withNs("root:CIM_Job.Id=1");
    CIMObjectPath withHost("//h/root:CIM_Job.Id=1");
    EXPECT_FALSE(local == withNs);
    EXPECT_FALSE(withNs == withHost);
    CIMObjectPath stripped(withHost);
    stripped.setHost(String());
    stripped.setNameSpace(CIMNamespaceName());
    EXPECT_TRUE(stripped == local);
    EXPECT_FALSE(withHost == local);   // the copy did not change the original

    // Reference keys compare as paths, their string keys by case.
    CIMObjectPath r("A.r=\"//H/NS:B.k=\\\"v\\\",n=1\"");
    CIMObjectPath s("a.R=\"//h/ns:b.N=0x1,K=\\\"v\\\"\"");
    EXPECT_TRUE(r == s);
    EXPECT_EQ(r.makeHashCode(), s.makeHashCode());
    EXPECT_FALSE(r == CIMObjectPath("A.r=\"//h/ns:B.k=\\\"V\\\",n=1\""));
}

TEST(CIMObjectPath, HashOfCanonicalText)
{
    // h = h * 5 + unit over the lower-cased text "c.k=16".
    Uint32 h = 0;
    for (char c : std::string("c.k=16"))
        h = h * 5 + Uint32(c);
    EXPECT_EQ(CIMObjectPath("C.K=0x10").makeHashCode(), h);
    EXPECT_NE(CIMObjectPath("C.s=\"A\"").makeHashCode(),
        CIMObjectPath("C.s=\"a\"").makeHashCode());
    EXPECT_NE(CIMObjectPath("ns:C.k=1").makeHashCode(), CIMObjectPath("C.k=1").makeHashCode());
}

TEST(CIMKeyBinding, Equality)
{
    EXPECT_TRUE(key("K", "16", CIMKeyBinding::NUMERIC) == key("k", "0x10", CIMKeyBinding::NUMERIC));
    EXPECT_TRUE(key("K", "-1", CIMKeyBinding::NUMERIC) == key("K", "-0x1", CIMKeyBinding::NUMERIC));
    EXPECT_FALSE(key("K", "1", CIMKeyBinding::NUMERIC) == key("K", "1", CIMKeyBinding::STRING));
    EXPECT_TRUE(key("K", "true", CIMKeyBinding::BOOLEAN) == key("K", "TRUE", CIMKeyBinding::BOOLEAN));
    EXPECT_FALSE(key("K", "abc", CIMKeyBinding::STRING) == key("K", "ABC", CIMKeyBinding::STRING));
    EXPECT_FALSE(key("K", "1", CIMKeyBinding::NUMERIC) == key("L", "1", CIMKeyBinding::NUMERIC));
    // References that do not parse compare as text.
    EXPECT_TRUE(key("R", "??", CIMKeyBinding::REFERENCE) == key("R", "??", CIMKeyBinding::REFERENCE));
}

TEST(CIMKeyBinding, FromValue)
{
    CIMKeyBinding b(CIMName("B"), CIMValue(true));
    EXPECT_EQ(b.getType(), CIMKeyBinding::BOOLEAN);
    EXPECT_EQ(b.getValue(), "TRUE");
    CIMKeyBinding n(CIMName("N"), CIMValue(Uint32(7)));
    EXPECT_EQ(n.getType(), CIMKeyBinding::NUMERIC);
    EXPECT_EQ(n.getValue(), "7");
    CIMKeyBinding r(CIMName("R"), CIMValue(Real64(2)));
    EXPECT_EQ(r.getValue(), "2.0000000000000000e+00");
    CIMKeyBinding d(CIMName("D"), CIMValue(CIMDateTime()));
    EXPECT_EQ(d.getType(), CIMKeyBinding::STRING);
    CIMKeyBinding p(CIMName("P"), CIMValue(CIMObjectPath("ns:C.K=1")));
    EXPECT_EQ(p.getType(), CIMKeyBinding::REFERENCE);
    EXPECT_EQ(p.getValue(), "ns:C.K=1");

    // The literal picks the Boolean overload of CIMValue.
    CIMKeyBinding pitfall(CIMName("S"), "text");
    EXPECT_EQ(pitfall.getType(), CIMKeyBinding::BOOLEAN);
    EXPECT_EQ(pitfall.getValue(), "TRUE");

    EXPECT_THROW(CIMKeyBinding(CIMName("A"), CIMValue(Array<Uint8>(1))), TypeMismatchException);
    EXPECT_THROW(CIMKeyBinding(CIMName("A"), CIMValue(CIMTYPE_INSTANCE, false)),
        TypeMismatchException);
}

TEST(CIMKeyBinding, EqualConvertsToTheValueType)
{
    CIMKeyBinding n = key("N", "42", CIMKeyBinding::NUMERIC);
    EXPECT_TRUE(n.equal(CIMValue(Uint8(42))));
    EXPECT_TRUE(n.equal(CIMValue(Sint64(42))));
    EXPECT_FALSE(n.equal(CIMValue(String("42"))));
    EXPECT_FALSE(key("N", "300", CIMKeyBinding::NUMERIC).equal(CIMValue(Uint8(44))));
    EXPECT_FALSE(key("N", "-1", CIMKeyBinding::NUMERIC).equal(CIMValue(Uint32(1))));
    EXPECT_TRUE(key("N", "1.5", CIMKeyBinding::NUMERIC).equal(CIMValue(Real64(1.5))));
    EXPECT_TRUE(key("S", "xyz", CIMKeyBinding::STRING).equal(CIMValue(Char16('x'))));
    EXPECT_TRUE(key("S", "20240101000000.000000+000", CIMKeyBinding::STRING)
        .equal(CIMValue(CIMDateTime(String("20240101010000.000000+060")))));
    EXPECT_FALSE(key("S", "not a date", CIMKeyBinding::STRING)
        .equal(CIMValue(CIMDateTime())));
    EXPECT_TRUE(key("R", "c.b=1,A=2", CIMKeyBinding::REFERENCE)
        .equal(CIMValue(CIMObjectPath("C.a=2,B=1"))));
    EXPECT_TRUE(key("B", "false", CIMKeyBinding::BOOLEAN).equal(CIMValue(false)));
    EXPECT_FALSE(n.equal(CIMValue(Array<Uint8>(1, 42))));
}
