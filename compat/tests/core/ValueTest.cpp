// CIMValue: the overloads code really picks, the strict typed reads, null
// values, equality, the display text and embedded objects.
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>

#include "../TestSupport.h"

PEGASUS_USING_PEGASUS;

TEST(CIMValue, ImplicitConversionPitfalls)
{
    CIMValue s("x");
    EXPECT_EQ(s.getType(), CIMTYPE_BOOLEAN);
    Boolean b = false;
    s.get(b);
    EXPECT_TRUE(b);

    CIMValue i(5);
    EXPECT_EQ(i.getType(), CIMTYPE_SINT32);
    Uint32 u = 0;
    EXPECT_THROW(i.get(u), TypeMismatchException);

    EXPECT_EQ(CIMValue(String("x")).getType(), CIMTYPE_STRING);
    EXPECT_EQ(CIMValue(Char16('c')).getType(), CIMTYPE_CHAR16);
    EXPECT_EQ(CIMValue(Uint16(7)).getType(), CIMTYPE_UINT16);
    EXPECT_EQ(CIMValue('c').getType(), CIMTYPE_SINT8);   // char is sint8
    Array<char> chars(2, 'b');
    CIMValue v(chars);
    EXPECT_EQ(v.getType(), CIMTYPE_SINT8);
    Array<Sint8> asSint8;
    v.get(asSint8);
    EXPECT_EQ(asSint8[1], Sint8('b'));
}

TEST(CIMValue, TypedReadsAreStrict)
{
    // The type check comes before the null check; a null read leaves the
    // target alone.
    CIMValue v;
    String s("untouched");
    EXPECT_THROW(v.get(s), TypeMismatchException);
    CIMValue nullString(CIMTYPE_STRING, false);
    nullString.get(s);
    EXPECT_EQ(s, "untouched");

    // Scalar and array never mix.
    CIMValue scalar(Uint32(3));
    Array<Uint32> arr;
    EXPECT_THROW(scalar.get(arr), TypeMismatchException);

    Array<Uint32> three(3, 9);
    CIMValue array(three);
    Uint32 x = 0;
    EXPECT_THROW(array.get(x), TypeMismatchException);
    array.get(arr);
    EXPECT_EQ(arr.size(), 3u);

    // No widening either.
    Uint64 wide = 0;
    EXPECT_THROW(scalar.get(wide), TypeMismatchException);
    Sint32 narrow = 0;
    EXPECT_THROW(scalar.get(narrow), TypeMismatchException);
}

TEST(CIMValue, SetAndAssignReplaceTypeAndArrayness)
{
    CIMValue d;
    EXPECT_TRUE(d.isNull());
    EXPECT_FALSE(d.isArray());
    EXPECT_EQ(d.getType(), CIMTYPE_BOOLEAN);
    EXPECT_EQ(d.toString(), "");

    CIMValue v(CIMTYPE_STRING, true, 4);
    EXPECT_TRUE(v.isNull());
    EXPECT_EQ(v.getArraySize(), 4u);
    v.set(Real64(2.5));
    EXPECT_FALSE(v.isNull());
    EXPECT_FALSE(v.isArray());
    EXPECT_EQ(v.getType(), CIMTYPE_REAL64);
    EXPECT_EQ(v.getArraySize(), 0u);
    v.setNullValue(CIMTYPE_DATETIME, false);
    EXPECT_TRUE(v.isNull());
    EXPECT_EQ(v.getType(), CIMTYPE_DATETIME);
    v.clear();
    EXPECT_EQ(v.getType(), CIMTYPE_BOOLEAN);

    CIMValue a(String("text"));
    CIMValue b(CIMTYPE_UINT64, true, 7);
    a = b;
    EXPECT_TRUE(a.isNull());
    EXPECT_TRUE(a.isArray());
    EXPECT_EQ(a.getType(), CIMTYPE_UINT64);
    b.assign(CIMValue(Uint64(1)));
    EXPECT_EQ(a.getArraySize(), 7u);
    const CIMValue& self = a;
    a = self;
    EXPECT_EQ(a.getArraySize(), 7u);
}

TEST(CIMValue, AssignmentBetweenEveryKindOfValueCopiesItWhole)
{
    auto values = [] {
        return std::vector<CIMValue>{
            CIMValue(),
            CIMValue(CIMTYPE_STRING, true, 3),
            CIMValue(CIMTYPE_DATETIME, false),
            CIMValue(Uint16(7)),
            CIMValue(Real64(-2.5)),
            CIMValue(Char16('x')),
            CIMValue(CIMDateTime(String("0000000102****.******:000"))),
            CIMValue(String("a string that is long enough to be its own")),
            CIMValue(Array<String>(2, String("element"))),
        };
    };
    const std::vector<CIMValue> expected = values();
    for (size_t to = 0; to < expected.size(); to++)
    {
        for (size_t from = 0; from < expected.size(); from++)
        {
            SCOPED_TRACE(std::to_string(from) + " over " + std::to_string(to));
            std::vector<CIMValue> fresh = values();
            CIMValue target = fresh[to];
            {
                CIMValue source = fresh[from];
                target = source;
                fresh.clear();
            }
            const CIMValue& want = expected[from];
            EXPECT_EQ(want.getType(), target.getType());
            EXPECT_EQ(want.isArray(), target.isArray());
            EXPECT_EQ(want.isNull(), target.isNull());
            EXPECT_EQ(want.getArraySize(), target.getArraySize());
            EXPECT_EQ(want.toString(), target.toString());
            EXPECT_TRUE(target.equal(want) || want.isNull());
        }
    }
}

TEST(CIMValue, DateTimesKeepEveryPartThroughCopiesAndProperties)
{
    // A value keeps a date-time in pieces: every part must come back.
    const char* texts[] = {
        "20240229235959.999999+999",
        "19700101000000.000000-720",
        "99991231235959.999999-001",
        "2024010112****.******+060",
        "20240101120000.123***+000",
        "99999999235959.999999:000",
        "00000000000000.000000:000",
        "0000000102****.******:000",
    };
    std::vector<CIMDateTime> dates;
    for (const char* text : texts)
        dates.push_back(CIMDateTime(String(text)));
    dates.push_back(CIMDateTime::getCurrentDateTime());
    for (const CIMDateTime& date : dates)
    {
        SCOPED_TRACE(date.toString());
        CIMValue value(date);
        CIMValue copy(value);
        CIMValue assigned(Uint32(1));
        assigned = value;
        CIMValue moved(std::move(copy));
        CIMProperty property("When", CIMValue(CIMTYPE_DATETIME, false));
        property.setValue(moved);
        for (const CIMValue& v : {value, assigned, moved, property.getValue()})
        {
            CIMDateTime back;
            v.get(back);
            EXPECT_EQ(date.toString(), back.toString());
            EXPECT_TRUE(back.equal(date));
            EXPECT_EQ(date.isInterval(), back.isInterval());
            EXPECT_TRUE(v.equal(CIMValue(date)));
            EXPECT_EQ(date.toString(), v.toString());
            EXPECT_EQ(0u, v.getArraySize());
        }
        // Nothing of the date-time stays behind in a null array.
        assigned.setNullValue(CIMTYPE_DATETIME, true, 3);
        EXPECT_EQ(3u, assigned.getArraySize());
        value.set(Array<CIMDateTime>(2, date));
        EXPECT_EQ(2u, value.getArraySize());
    }
}

TEST(CIMValue, EqualityRules)
{
    EXPECT_TRUE(CIMValue(Uint8(1)) == CIMValue(Uint8(1)));
    EXPECT_FALSE(CIMValue(Uint8(1)) == CIMValue(Uint16(1)));
    EXPECT_TRUE(CIMValue(CIMTYPE_STRING, false) == CIMValue(CIMTYPE_STRING, false));
    EXPECT_FALSE(CIMValue(CIMTYPE_STRING, false) == CIMValue(String("")));
    EXPECT_FALSE(CIMValue(CIMTYPE_STRING, false) == CIMValue(CIMTYPE_STRING, true));

    // References compare as paths, so key order and case do not matter.
    EXPECT_TRUE(CIMValue(CIMObjectPath("C.a=1,B=\"x\"")) ==
        CIMValue(CIMObjectPath("c.b=\"x\",A=1")));

    // A time stamp never compares with an interval, even for equality.
    CIMValue ts(CIMDateTime("20240101000000.000000+000"));
    CIMValue iv(CIMDateTime("00000001000000.000000:000"));
    EXPECT_THROW((void)(ts == iv), TypeMismatchException);

    Array<Sint16> a(2, 1), b(2, 1), c(3, 1);
    EXPECT_TRUE(CIMValue(a) == CIMValue(b));
    EXPECT_TRUE(CIMValue(a) != CIMValue(c));
}

TEST(CIMValue, DisplayText)
{
    EXPECT_EQ(CIMValue(true).toString(), "TRUE");
    EXPECT_EQ(CIMValue(Sint8(-3)).toString(), "-3");
    EXPECT_EQ(CIMValue(Uint8(200)).toString(), "200");
    EXPECT_EQ(CIMValue(Uint64(18446744073709551615ULL)).toString(), "18446744073709551615");
    EXPECT_EQ(CIMValue(Real64(1.5)).toString(), "1.5000000000000000e+00");
    EXPECT_EQ(CIMValue(Real32(0.25f)).toString(), "2.5000000000000000e-01");
    EXPECT_EQ(CIMValue(Char16(0xE9)).toString(), "\xC3\xA9");
    EXPECT_EQ(CIMValue(String("a \"b\"")).toString(), "a \"b\"");
    EXPECT_EQ(CIMValue(CIMDateTime()).toString(), "00000000000000.000000:000");
    EXPECT_EQ(CIMValue(CIMObjectPath("//h/ns:C.K=1")).toString(), "//h/ns:C.K=1");

    Array<Uint32> a;
    a.append(1);
    a.append(2);
    EXPECT_EQ(CIMValue(a).toString(), "1 2 ");
    EXPECT_EQ(CIMValue(Array<String>()).toString(), "");
    EXPECT_EQ(CIMValue(CIMTYPE_UINT32, true, 2).toString(), "");
}

TEST(CIMValue, EmbeddedInstanceIsStoredAndReturnedAsCloneAndWrittenAsCimXml)
{
    CIMInstance inst(CIMName("Sample_Job"));
    inst.addProperty(CIMProperty(CIMName("Name"), CIMValue(String("before"))));
    CIMValue v(inst);
    EXPECT_EQ(v.getType(), CIMTYPE_INSTANCE);

    // Changing the original after the store does not reach the value.
    inst.getProperty(0).setValue(CIMValue(String("after")));
    CIMInstance out;
    v.get(out);
    String name;
    out.getProperty(0).getValue().get(name);
    EXPECT_EQ(name, "before");

    // Nor does changing what get() returned.
    out.getProperty(0).setValue(CIMValue(String("changed")));
    CIMInstance again;
    v.get(again);
    again.getProperty(0).getValue().get(name);
    EXPECT_EQ(name, "before");

    CIMObject obj;
    EXPECT_THROW(v.get(obj), TypeMismatchException);
    EXPECT_THROW(CIMValue{CIMInstance()}, UninitializedObjectException);
    EXPECT_THROW(v.set(CIMObject()), UninitializedObjectException);

    // Its text is the CIM-XML instance; an embedded object keeps its type.
    std::string s = compattest::str(v.toString());
    EXPECT_EQ(s.rfind("<INSTANCE CLASSNAME=\"Sample_Job\"", 0), 0u) << s;
    EXPECT_NE(s.find("before"), std::string::npos) << s;
    EXPECT_EQ(s.substr(s.size() - 11), "</INSTANCE>") << s;
    CIMValue o{CIMObject(inst)};
    EXPECT_EQ(o.getType(), CIMTYPE_OBJECT);
    o.get(obj);
    EXPECT_TRUE(obj.isInstance());
}

namespace
{

// Round trip of one array type: type, size, element values, and the
// mismatch on the scalar read and on the neighbouring type.
template<class T, class Other>
void checkArrayRoundTrip(CIMType type, const T& a, const T& b)
{
    Array<T> in;
    in.append(a);
    in.append(b);
    CIMValue v(in);
    EXPECT_EQ(v.getType(), type) << cimTypeToString(type);
    EXPECT_TRUE(v.isArray());
    EXPECT_EQ(v.getArraySize(), 2u);
    Array<T> out;
    v.get(out);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_TRUE(CIMValue(out) == v) << cimTypeToString(type);
    T scalar(a);
    EXPECT_THROW(v.get(scalar), TypeMismatchException) << cimTypeToString(type);
    Array<Other> other;
    EXPECT_THROW(v.get(other), TypeMismatchException) << cimTypeToString(type);

    CIMValue nullArray(type, true, 3);
    Array<T> untouched(in);
    nullArray.get(untouched);
    EXPECT_EQ(untouched.size(), 2u);
    EXPECT_FALSE(nullArray == v);
    EXPECT_TRUE(nullArray.typeCompatible(v));
}

} // namespace

TEST(CIMValue, EveryArrayTypeRoundTrips)
{
    checkArrayRoundTrip<Boolean, Uint8>(CIMTYPE_BOOLEAN, true, false);
    checkArrayRoundTrip<Uint8, Sint8>(CIMTYPE_UINT8, 1, 255);
    checkArrayRoundTrip<Sint8, Uint8>(CIMTYPE_SINT8, -1, 127);
    checkArrayRoundTrip<Uint16, Char16>(CIMTYPE_UINT16, 1, 65535);
    checkArrayRoundTrip<Sint16, Uint16>(CIMTYPE_SINT16, -2, 2);
    checkArrayRoundTrip<Uint32, Sint32>(CIMTYPE_UINT32, 3, 4);
    checkArrayRoundTrip<Sint32, Uint32>(CIMTYPE_SINT32, -3, 4);
    checkArrayRoundTrip<Uint64, Sint64>(CIMTYPE_UINT64, 5, 6);
    checkArrayRoundTrip<Sint64, Uint64>(CIMTYPE_SINT64, -5, 6);
    checkArrayRoundTrip<Real32, Real64>(CIMTYPE_REAL32, 0.5f, 1.5f);
    checkArrayRoundTrip<Real64, Real32>(CIMTYPE_REAL64, 0.25, 2.5);
    checkArrayRoundTrip<Char16, Uint16>(CIMTYPE_CHAR16, Char16('a'), Char16(0x263A));
    checkArrayRoundTrip<String, CIMObjectPath>(CIMTYPE_STRING, String("a"), String("b"));
    checkArrayRoundTrip<CIMDateTime, String>(CIMTYPE_DATETIME,
        CIMDateTime(String("20240101000000.000000+000")), CIMDateTime());
    checkArrayRoundTrip<CIMObjectPath, String>(CIMTYPE_REFERENCE,
        CIMObjectPath("C.K=1"), CIMObjectPath("ns:D.K=\"x\""));
    checkArrayRoundTrip<CIMInstance, CIMObject>(CIMTYPE_INSTANCE,
        CIMInstance(CIMName("A")), CIMInstance(CIMName("B")));
    checkArrayRoundTrip<CIMObject, CIMInstance>(CIMTYPE_OBJECT,
        CIMObject(CIMInstance(CIMName("A"))), CIMObject(CIMInstance(CIMName("B"))));
}
