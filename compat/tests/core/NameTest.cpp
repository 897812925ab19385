// CIMName and CIMNamespaceName: legal-name rules, exceptions and messages,
// case-insensitive equality.
#include <gtest/gtest.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMNameCast.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_USING_PEGASUS;

TEST(CIMName, LegalNames)
{
    EXPECT_TRUE(CIMName::legal("CIM_ConcreteJob"));
    EXPECT_TRUE(CIMName::legal("_x9"));
    EXPECT_TRUE(CIMName::legal("\xC3\xA9t\xC3\xA9"));   // non-ASCII letters
    EXPECT_FALSE(CIMName::legal(""));
    EXPECT_FALSE(CIMName::legal("9lives"));
    EXPECT_FALSE(CIMName::legal("a-b"));
    EXPECT_FALSE(CIMName::legal("a b"));
    EXPECT_FALSE(CIMName::legal("a.b"));
    EXPECT_FALSE(CIMName::legal("\xEF\xBF\xBD"));        // U+FFFD is past 0xFFEF
}

TEST(CIMName, IllegalNameThrowsWithMessage)
{
    try
    {
        CIMName n("Bad Name");
        FAIL();
    }
    catch (const InvalidNameException& e)
    {
        EXPECT_EQ(e.getMessage(), "The CIM name is not valid: Bad Name");
    }
    EXPECT_THROW(CIMName(""), InvalidNameException);
    EXPECT_THROW(CIMName(String("1x")), InvalidNameException);
    CIMName n;
    EXPECT_THROW(n = String("a:b"), InvalidNameException);
    EXPECT_TRUE(n.isNull());
}

TEST(CIMName, NullOnlyFromDefaultOrClear)
{
    CIMName n;
    EXPECT_TRUE(n.isNull());
    n = CIMName("Name");
    EXPECT_FALSE(n.isNull());
    n.clear();
    EXPECT_TRUE(n.isNull());
}

TEST(CIMName, EqualityIgnoresCaseButKeepsSpelling)
{
    CIMName a("InstanceID");
    EXPECT_TRUE(a == CIMName("INSTANCEID"));
    EXPECT_TRUE(a.equal("instanceid"));
    EXPECT_FALSE(a != CIMName("instanceId"));
    EXPECT_EQ(a.getString(), "InstanceID");
    EXPECT_FALSE(a == CIMName("InstanceIDs"));
}

TEST(CIMName, ComparingWithIllegalLiteralThrows)
{
    CIMName a("Name");
    EXPECT_THROW((void)(a == "not legal"), InvalidNameException);
}

TEST(CIMNamespaceName, Rules)
{
    EXPECT_TRUE(CIMNamespaceName::legal("root/cimv2"));
    EXPECT_TRUE(CIMNamespaceName::legal("/root"));
    EXPECT_FALSE(CIMNamespaceName::legal(""));
    EXPECT_FALSE(CIMNamespaceName::legal("/"));
    EXPECT_FALSE(CIMNamespaceName::legal("root//cimv2"));
    EXPECT_FALSE(CIMNamespaceName::legal("root/"));
    EXPECT_FALSE(CIMNamespaceName::legal("root/9x"));
    EXPECT_FALSE(CIMNamespaceName::legal("//root"));
}

TEST(CIMNamespaceName, LeadingSlashIsDropped)
{
    CIMNamespaceName ns("/root/PG_InterOp");
    EXPECT_EQ(ns.getString(), "root/PG_InterOp");
    EXPECT_TRUE(ns == CIMNamespaceName("ROOT/pg_interop"));
}

TEST(CIMNamespaceName, IllegalThrowsNamespaceException)
{
    try
    {
        CIMNamespaceName ns("root/");
        FAIL();
    }
    catch (const InvalidNamespaceNameException& e)
    {
        EXPECT_EQ(e.getMessage(), "invalid CIM namespace name: root/");
    }
    CIMNamespaceName ns;
    EXPECT_TRUE(ns.isNull());
    EXPECT_THROW(ns = String(""), InvalidNamespaceNameException);
}

TEST(CIMNameCast, ViewsStringWithoutCopy)
{
    String s("Antecedent");
    const CIMName& n = CIMNameCast(s);
    EXPECT_EQ(&n.getString(), &s);
    EXPECT_TRUE(n.equal(CIMName("antecedent")));
    EXPECT_EQ(CIMNameLegalASCII("Name_1"), 6u);
    EXPECT_EQ(CIMNameLegalASCII("1Name"), 0u);
    EXPECT_EQ(CIMNameLegalASCII(""), 0u);
}
