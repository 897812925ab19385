// CIMName and CIMNamespaceName: legal-name rules, exceptions and messages,
// case-insensitive equality.
#include <cstdio>
#include <string>
#include <gtest/gtest.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMNameCast.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/InternalException.h>

#include "../TestSupport.h"

PEGASUS_USING_PEGASUS;
using compattest::messageOf;
using compattest::str;

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

TEST(CIMNamespaceName, Rules)
{
    const std::pair<const char*, bool> cases[] = {
        {"root/cimv2", true}, {"/root", true}, {"", false}, {"/", false},
        {"root//cimv2", false}, {"root/", false}, {"root/9x", false}, {"//root", false},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(CIMNamespaceName::legal(c.first), c.second) << c.first;
        // Made from the same literal twice, the second time from the table
        // of names already made.
        for (int round = 0; round < 2; round++)
        {
            if (c.second)
                EXPECT_EQ(str(CIMNamespaceName(c.first).getString()),
                    c.first[0] == '/' ? c.first + 1 : c.first);
            else
                EXPECT_THROW(CIMNamespaceName x(c.first), InvalidNamespaceNameException);
        }
    }
    // A namespace of several segments made from a literal is still no name.
    EXPECT_THROW(CIMName("root/cimv2"), InvalidNameException);

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

TEST(CIMName, EqualityIgnoresCaseNamesKeepTheirSpellingAndCopiesStayIndependent)
{
    CIMName a("JobState"), b("JOBSTATE"), c(String("jobstate"));
    EXPECT_EQ(str(a.getString()), "JobState");
    EXPECT_EQ(str(b.getString()), "JOBSTATE");
    EXPECT_TRUE(a == b && b == c && c == a);
    EXPECT_TRUE(a.equal("jobstate"));
    EXPECT_FALSE(a != CIMName("jobState"));
    EXPECT_FALSE(a == CIMName("JobStates"));

    // Changing a copy of a name's text changes neither that name nor names
    // made later from the same text.
    String text = a.getString();
    text[0] = 'X';
    text.append(Char16('s'));
    EXPECT_EQ(str(text), "XobStates");
    EXPECT_EQ(str(a.getString()), "JobState");
    EXPECT_EQ(str(CIMName("JobState").getString()), "JobState");

    // One buffer filled with different texts gives different names.
    char buffer[16] = "Alpha";
    CIMName first(buffer);
    std::snprintf(buffer, sizeof(buffer), "Beta");
    CIMName second(buffer);
    EXPECT_EQ(str(first.getString()), "Alpha");
    EXPECT_EQ(str(second.getString()), "Beta");

    // Long and non-ASCII names follow the same rules as any other.
    const std::string longName(200, 'n');
    EXPECT_EQ(CIMName(longName.c_str()).getString().size(), 200u);
    EXPECT_TRUE(CIMName("\xC3\xA9t\xC3\xA9").equal(CIMName(String("\xC3\xA9t\xC3\xA9"))));
    EXPECT_THROW(CIMName(static_cast<const char*>(0)), NullPointer);

    // Lookups match names made from literals with names made from strings,
    // whatever the case of either.
    CIMInstance inst("C");
    inst.addProperty(CIMProperty(CIMName(String("percentComplete")), CIMValue(Uint16(5))));
    inst.addProperty(CIMProperty(CIMName("ElapsedTime"), CIMValue(Uint32(1))));
    EXPECT_EQ(0u, inst.findProperty(CIMName("PercentComplete")));
    EXPECT_EQ(1u, inst.findProperty(CIMName(String("ELAPSEDTIME"))));
}

TEST(CIMName, TextsMadeInOneBufferInTurnGiveTheirOwnNames)
{
    // Names are looked up by the address of their text first; a buffer
    // reused for other texts must still give each its own name.
    char buffer[32];
    const char* texts[] = {"Alpha", "Beta", "Alpha", "Alph", "AlphaBeta", "root/velk",
        "Alpha", "Name"};
    for (const char* text : texts)
    {
        SCOPED_TRACE(text);
        std::snprintf(buffer, sizeof(buffer), "%s", text);
        EXPECT_EQ(String(text), CIMNamespaceName(buffer).getString());
        if (std::string(text).find('/') == std::string::npos)
            EXPECT_EQ(String(text), CIMName(buffer).getString());
        else
            EXPECT_THROW(CIMName(static_cast<const char*>(buffer)), InvalidNameException);
    }
}
