// String and CString: UTF-8 input, UTF-16 indexing, copy independence and
// the boundary rules of find, subString, remove and operator[].
#include <sstream>
#include <gtest/gtest.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/InternalException.h>

#include "../TestSupport.h"

PEGASUS_USING_PEGASUS;

TEST(String, Utf8InputCountsUtf16Units)
{
    // e-acute is one unit, the G clef (U+1D11E) a surrogate pair.
    String s("\xC3\xA9\xF0\x9D\x84\x9E!");
    ASSERT_EQ(s.size(), 4u);
    EXPECT_EQ(Uint16(s[0]), 0x00E9);
    EXPECT_EQ(Uint16(s[1]), 0xD834);
    EXPECT_EQ(Uint16(s[2]), 0xDD1E);
    EXPECT_STREQ((const char*)s.getCString(), "\xC3\xA9\xF0\x9D\x84\x9E!");

    // Back to UTF-8: three-byte characters, and lone surrogates written as
    // they stand; an interned name from its own bytes.
    const Char16 units[] = {0x20AC, 0xD834, 'x', 0xDD1E, 0x7FF, 0xD834, 0};
    EXPECT_STREQ((const char*)String(units).getCString(),
        "\xE2\x82\xAC\xED\xA0\xB4x\xED\xB4\x9E\xDF\xBF\xED\xA0\xB4");
    EXPECT_STREQ((const char*)CIMName("InstanceID").getString().getCString(), "InstanceID");
    EXPECT_STREQ((const char*)String().getCString(), "");
}

TEST(String, InvalidUtf8AndNullPointerThrow)
{
    std::string msg = compattest::str(
        compattest::messageOf<Exception>([] { String s("ab\xE9z"); }));   // a lone Latin-1 byte
    EXPECT_EQ(msg.rfind(
        "The byte sequence starting at index 2 is not valid UTF-8 encoding:", 0), 0u) << msg;
    EXPECT_THROW(String("\xC0\xAF"), Exception);        // overlong
    EXPECT_THROW(String("\xED\xA0\x80"), Exception);    // surrogate
    EXPECT_THROW(String("\xE2\x82"), Exception);        // truncated
    const char* p = 0;
    EXPECT_EQ(compattest::messageOf<NullPointer>([&] { String s(p); }), "null pointer");
}

TEST(String, CopiesAreIndependent)
{
    String a("shared");
    String b(a);
    b[0] = 'S';
    b.append(Char16('!'));
    EXPECT_EQ(a, "shared");
    EXPECT_EQ(b, "Shared!");
    String c(a);
    c.toUpper();
    EXPECT_EQ(a, "shared");
    EXPECT_EQ(c, "SHARED");
    String d(a);
    d.remove(0, 1);
    EXPECT_EQ(a, "shared");
    EXPECT_EQ(d, "hared");
}

TEST(String, BoundaryRules)
{
    String a("abc");
    EXPECT_EQ(String(a, 3), "abc");
    EXPECT_THROW(String(a, 4), IndexOutOfBoundsException);
    const String& ca = a;
    EXPECT_EQ(Uint16(ca[3]), 0);   // the terminator
    EXPECT_THROW(ca[4], IndexOutOfBoundsException);

    String s("a.b.c");
    EXPECT_EQ(s.find('.'), 1u);
    EXPECT_EQ(s.reverseFind('.'), 3u);
    EXPECT_EQ(s.find(2, '.'), 3u);
    EXPECT_EQ(s.find(5, '.'), PEG_NOT_FOUND);
    EXPECT_THROW(s.find(6, '.'), IndexOutOfBoundsException);
    EXPECT_EQ(s.find(String("b.c")), 2u);
    EXPECT_EQ(s.find(String()), PEG_NOT_FOUND);
    EXPECT_EQ(s.find("c"), 4u);

    // subString never throws; remove does, and then changes nothing.
    String h("hello");
    EXPECT_EQ(h.subString(1, 3), "ell");
    EXPECT_EQ(h.subString(3, 100), "lo");
    EXPECT_EQ(h.subString(5), "");
    EXPECT_EQ(h.subString(99, 2), "");
    h.remove(3);
    h.remove(1, 1);
    EXPECT_EQ(h, "hl");
    EXPECT_THROW(h.remove(1, 2), IndexOutOfBoundsException);
    EXPECT_THROW(h.remove(3), IndexOutOfBoundsException);
    EXPECT_EQ(h, "hl");
}

TEST(String, CompareReturnsUnitDifference)
{
    EXPECT_EQ(String::compare(String("abc"), String("abd")), 'c' - 'd');
    EXPECT_EQ(String::compare(String("ab"), String("abc")), -1);
    EXPECT_EQ(String::compare(String("abc"), String("ab")), 1);
    EXPECT_EQ(String::compare(String("abc"), String("abc")), 0);
    EXPECT_EQ(String::compare(String("abX"), String("abY"), 2), 0);
    EXPECT_EQ(String::compareNoCase(String("ABC"), String("abd")), 'c' - 'd');
    EXPECT_TRUE(String("a") < String("b"));
    EXPECT_TRUE(String("B") < String("a"));
}

TEST(String, NoCaseIsAsciiOnly)
{
    EXPECT_TRUE(String::equalNoCase(String("CIM_Job"), String("cim_JOB")));
    EXPECT_FALSE(String::equalNoCase(String("abc"), String("abcd")));
    // U+00C9 and U+00E9 differ only in case outside ASCII.
    EXPECT_FALSE(String::equalNoCase(String("\xC3\x89"), String("\xC3\xA9")));
    String s("Mixed \xC3\x89 Case");
    s.toLower();
    EXPECT_EQ(s, "mixed \xC3\x89 case");
}

TEST(String, ConcatenationAndPrintf)
{
    String a("job");
    String b = a + String(":") + "7";
    EXPECT_EQ(b, "job:7");
    EXPECT_EQ("x" + a, "xjob");
    String c;
    c.appendPrintf("%s-%05u", "id", 42u);
    EXPECT_EQ(c, "id-00042");
    String big;
    big.appendPrintf("%0300d", 1);
    EXPECT_EQ(big.size(), 300u);
}

TEST(String, StreamWritesNonLatin1AsEscapes)
{
    std::ostringstream os;
    os << String("A\xC3\xA9\xE2\x82\xAC");   // A, e-acute, euro sign
    EXPECT_EQ(os.str(), "A\xE9\\x20AC");
}

TEST(CString, CopyOwnsItsBytes)
{
    CString a = String("text").getCString();
    CString b(a);
    a = String("other").getCString();
    EXPECT_STREQ((const char*)b, "text");
    EXPECT_STREQ((const char*)a, "other");
    CString empty;
    EXPECT_EQ((const char*)empty, nullptr);
}

TEST(String, ComparisonWithLiterals)
{
    String s("abc");
    EXPECT_TRUE(s == "abc");
    EXPECT_TRUE("abc" == s);
    EXPECT_FALSE(s == "ab");
    EXPECT_FALSE(s == "abcd");
    EXPECT_FALSE(s == "");
    EXPECT_TRUE(String() == "");
    EXPECT_TRUE(String::equalNoCase(s, "ABC"));
    EXPECT_FALSE(String::equal(s, "ABC"));
    EXPECT_TRUE(String("caf\xC3\xA9") == "caf\xC3\xA9");
    EXPECT_FALSE(String("cafe") == "caf\xC3\xA9");
    // The literal is UTF-8 even when the comparison could stop early.
    EXPECT_THROW((void)(s == "xy\xE9"), Exception);
}
