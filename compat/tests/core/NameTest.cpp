// CIMName and CIMNamespaceName: legal-name rules, exceptions and messages,
// case-insensitive equality.
#include <gtest/gtest.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMNameCast.h>
#include <Pegasus/Common/Exception.h>

#include "../TestSupport.h"

PEGASUS_USING_PEGASUS;
using compattest::messageOf;

TEST(CIMName, LegalNames)
{
    const std::pair<const char*, bool> cases[] = {
        {"CIM_ConcreteJob", true}, {"_x9", true},
        {"\xC3\xA9t\xC3\xA9", true},        // non-ASCII letters
        {"", false}, {"9lives", false}, {"a-b", false}, {"a b", false}, {"a.b", false},
        {"\xEF\xBF\xBD", false},             // U+FFFD is past 0xFFEF
    };
    for (const auto& c : cases)
        EXPECT_EQ(CIMName::legal(c.first), c.second) << c.first;
}

TEST(CIMName, IllegalNameThrowsWithMessage)
{
    EXPECT_EQ(messageOf<InvalidNameException>([] { CIMName n("Bad Name"); }),
        "The CIM name is not valid: Bad Name");
    EXPECT_THROW(CIMName(""), InvalidNameException);
    EXPECT_THROW(CIMName(String("1x")), InvalidNameException);
    CIMName n;
    EXPECT_THROW(n = String("a:b"), InvalidNameException);
    EXPECT_TRUE(n.isNull());
    // Comparing with an illegal literal converts it first.
    EXPECT_THROW((void)(CIMName("Name") == "not legal"), InvalidNameException);
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

TEST(CIMNamespaceName, Rules)
{
    const std::pair<const char*, bool> cases[] = {
        {"root/cimv2", true}, {"/root", true}, {"", false}, {"/", false},
        {"root//cimv2", false}, {"root/", false}, {"root/9x", false}, {"//root", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(CIMNamespaceName::legal(c.first), c.second) << c.first;

    // A leading slash is dropped; equality ignores case.
    CIMNamespaceName ns("/root/PG_InterOp");
    EXPECT_EQ(ns.getString(), "root/PG_InterOp");
    EXPECT_TRUE(ns == CIMNamespaceName("ROOT/pg_interop"));

    EXPECT_EQ(messageOf<InvalidNamespaceNameException>([] { CIMNamespaceName x("root/"); }),
        "invalid CIM namespace name: root/");
    CIMNamespaceName empty;
    EXPECT_TRUE(empty.isNull());
    EXPECT_THROW(empty = String(""), InvalidNamespaceNameException);
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
