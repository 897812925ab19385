// CIMDateTime: text form and validation, UTC instants, wildcards and the
// arithmetic table of time stamps and intervals.
#include <ctime>
#include <gtest/gtest.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>

#include "../TestSupport.h"

PEGASUS_USING_PEGASUS;

namespace
{

const Uint64 EPOCH_USEC = 62167219200000000ULL;   // 1970-01-01 UTC

std::string text(const CIMDateTime& d)
{
    return std::string((const char*)d.toString().getCString());
}

String outOfRangeMessage(const char* value)
{
    return compattest::messageOf<DateTimeOutOfRangeException>([&] { CIMDateTime(String(value)); });
}

} // namespace

TEST(CIMDateTime, TextRoundTrips)
{
    const char* samples[] = {
        "20240131235959.123456+060",
        "19991231000000.000000-300",
        "00000030000000.000000:000",
        "99999999235959.999999:000",
        "2024013123****.******+000",
        "20240131235959.123***-030",
        "**************.******+000",
        "00000012******.******:000",
    };
    for (const char* s : samples)
        EXPECT_EQ(text(CIMDateTime(String(s))), s);
    EXPECT_TRUE(CIMDateTime().isInterval());
    EXPECT_EQ(text(CIMDateTime()), "00000000000000.000000:000");
}

TEST(CIMDateTime, ShapeErrors)
{
    const char* bad[] = {
        "2024013123595.123456+060",     // 24 characters
        "20240131235959.123456*060",    // no sign
        "20240131235959,123456+060",    // no dot
        "2024013123595x.123456+060",    // not a digit
        "20240131**5959.123456+060",    // digits after a wildcard
        "2024013123*959.123456+060",    // digits mixed with '*'
        "20240131235959.1*3456+060",    // microsecond digit after '*'
        "00000001000000.000000:001",    // interval not ending in 000
        "20240131235959.123456+0a0",    // offset not numeric
    };
    for (const char* s : bad)
        EXPECT_THROW(CIMDateTime(String(s)), InvalidDateTimeFormatException) << s;
}

TEST(CIMDateTime, RangeErrorsAndMessages)
{
    const std::pair<const char*, const char*> cases[] = {
        {"20241301000000.000000+000", "illegal month number"},
        {"20240001000000.000000+000", "illegal month number"},
        {"20230229000000.000000+000", "illegal day number"},
        {"19000229000000.000000+000", "illegal day number"},
        {"20240100000000.000000+000", "illegal day number"},
        {"20240101240000.000000+000", "illegal hours number "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(outOfRangeMessage(c.first),
            String("DateTime is out of range : ") + c.second) << c.first;
    EXPECT_NO_THROW(CIMDateTime(String("20240229000000.000000+000")));
    EXPECT_NO_THROW(CIMDateTime(String("20000229000000.000000+000")));
    for (const char* bad : {"20240101006000.000000+000", "20240101000060.000000+000",
             "00000000240000.000000:000"})
        EXPECT_THROW(CIMDateTime(String(bad)), DateTimeOutOfRangeException) << bad;
}

TEST(CIMDateTime, FailedSetLeavesZeroInterval)
{
    CIMDateTime d(String("20240131235959.123456+060"));
    EXPECT_THROW(d.set("bad"), InvalidDateTimeFormatException);
    EXPECT_EQ(text(d), "00000000000000.000000:000");
    d.set("20240131235959.123456+060");
    EXPECT_THROW(d.set("20241301000000.000000+000"), DateTimeOutOfRangeException);
    EXPECT_TRUE(d.isInterval());
}

TEST(CIMDateTime, MicrosecondsAreUtcBothWays)
{
    EXPECT_EQ(CIMDateTime(String("19700101000000.000000+000")).toMicroSeconds(), EPOCH_USEC);
    EXPECT_EQ(CIMDateTime(String("19700101013000.000000+090")).toMicroSeconds(), EPOCH_USEC);
    EXPECT_EQ(CIMDateTime(String("19691231190000.000000-300")).toMicroSeconds(), EPOCH_USEC);
    // Wildcarded minutes: only the whole hours of the offset apply.
    EXPECT_EQ(CIMDateTime(String("1970010101****.******+090")).toMicroSeconds(), EPOCH_USEC);
    // Wildcarded hours: no offset at all.
    EXPECT_EQ(CIMDateTime(String("19700101******.******+090")).toMicroSeconds(), EPOCH_USEC);
    EXPECT_EQ(CIMDateTime(String("00000030000000.000000:000")).toMicroSeconds(),
        30ULL * 86400 * 1000000);

    // And back, up to the largest time stamp and interval.
    EXPECT_EQ(text(CIMDateTime(EPOCH_USEC + 1, false)), "19700101000000.000001+000");
    EXPECT_EQ(text(CIMDateTime(90061000001ULL, true)), "00000001010101.000001:000");
    EXPECT_THROW(CIMDateTime(315569520000000000ULL, false), DateTimeOutOfRangeException);
    EXPECT_NO_THROW(CIMDateTime(315569520000000000ULL - 1, false));
    EXPECT_EQ(text(CIMDateTime(315569520000000000ULL - 1, false)), "99991231235959.999999+000");
    EXPECT_THROW(CIMDateTime(8640000000000000000ULL, true), DateTimeOutOfRangeException);
}

TEST(CIMDateTime, FieldConstructorsAndWildcards)
{
    EXPECT_EQ(text(CIMDateTime(2024, 1, 31, 23, 59, 59, 123456, 3, -300)),
        "20240131235959.123***-300");
    EXPECT_EQ(text(CIMDateTime(2024, 1, 31, 23, CIMDateTime::WILDCARD, 7, 0, 6, 0)),
        "2024013123****.******+000");
    EXPECT_EQ(text(CIMDateTime(12, 3, 4, 5, 6, 6)), "00000012030405.000006:000");
    using compattest::messageOf;
    EXPECT_EQ(messageOf<DateTimeOutOfRangeException>(
        [] { CIMDateTime(10000, 1, 1, 0, 0, 0, 0, 6, 0); }),
        "DateTime is out of range : year is greater than 9999");
    EXPECT_EQ(messageOf<DateTimeOutOfRangeException>(
        [] { CIMDateTime(2024, 1, 1, 0, 0, 0, 0, 6, 1000); }),
        "DateTime is out of range : illegal utcOffset");
    EXPECT_THROW(CIMDateTime(2024, 2, 30, 0, 0, 0, 0, 6, 0), DateTimeOutOfRangeException);
    EXPECT_THROW(CIMDateTime(1, 0, 0, 0, 0, 7), DateTimeOutOfRangeException);
}

TEST(CIMDateTime, ComparisonsUseTheUtcInstantAndSkipWildcards)
{
    CIMDateTime a(String("20240101010000.000000+060"));
    CIMDateTime b(String("20240101000000.000000+000"));
    CIMDateTime later(String("20240101000001.000000+000"));
    EXPECT_TRUE(a == b);
    EXPECT_TRUE(a.equal(b));
    EXPECT_TRUE(a < later);
    EXPECT_TRUE(later >= b);
    CIMDateTime day(String("00000001000000.000000:000"));
    EXPECT_TRUE(day > CIMDateTime(String("00000000235959.999999:000")));

    CIMDateTime wild(String("2024013123****.******+000"));
    EXPECT_TRUE(wild == CIMDateTime(String("20240131231234.567890+000")));
    EXPECT_FALSE(wild == CIMDateTime(String("20240131221234.567890+000")));

    // A time stamp and an interval do not compare at all.
    EXPECT_THROW((void)(b == day), TypeMismatchException);
    EXPECT_THROW((void)(b < day), TypeMismatchException);
    EXPECT_THROW((void)b.equal(day), TypeMismatchException);
}

TEST(CIMDateTime, DifferenceOfTimeStampsIsAnInterval)
{
    CIMDateTime start(String("20240101230000.000000+000"));
    CIMDateTime end(String("20240102013000.500000+060"));   // 00:30:00.5 UTC
    CIMDateTime d = end - start;
    EXPECT_TRUE(d.isInterval());
    EXPECT_EQ(text(d), "00000000013000.500000:000");
    EXPECT_EQ(CIMDateTime::getDifference(start, end), 5400500000LL);
    EXPECT_EQ(CIMDateTime::getDifference(end, start), -5400500000LL);
    EXPECT_EQ(compattest::messageOf<DateTimeOutOfRangeException>([&] { (void)(start - end); }),
        "DateTime is out of range : Result of subtracting two CIMDateTimes would be negative.");
    EXPECT_THROW(CIMDateTime::getDifference(start, CIMDateTime()),
        InvalidDateTimeFormatException);
}

TEST(CIMDateTime, IntervalArithmetic)
{
    CIMDateTime hour(String("00000000010000.000000:000"));
    CIMDateTime day(String("00000001000000.000000:000"));
    EXPECT_EQ(text(day + hour), "00000001010000.000000:000");
    EXPECT_EQ(text(day - hour), "00000000230000.000000:000");
    EXPECT_THROW(hour - day, DateTimeOutOfRangeException);
    EXPECT_EQ(text(hour * 30), "00000001060000.000000:000");
    EXPECT_EQ(text(day / 48), "00000000003000.000000:000");
    EXPECT_EQ(day / hour, 24u);
    CIMDateTime x(day);
    x += hour;
    x *= 2;
    x /= 5;
    x -= hour;
    EXPECT_EQ(text(x), "00000000090000.000000:000");
    EXPECT_THROW(day / Uint64(0), Exception);
    EXPECT_THROW(day / CIMDateTime(), Exception);
}

TEST(CIMDateTime, TimeStampArithmetic)
{
    CIMDateTime ts(String("20240228230000.000000+000"));
    CIMDateTime iv(String("00000001020000.000000:000"));
    EXPECT_EQ(text(ts + iv), "20240301010000.000000+000");
    EXPECT_THROW(iv + ts, TypeMismatchException);
    EXPECT_THROW(iv - ts, TypeMismatchException);
    EXPECT_THROW(ts * 2, TypeMismatchException);
    EXPECT_THROW(ts / 2, TypeMismatchException);
    EXPECT_THROW(ts / iv, TypeMismatchException);

    // Subtracting an interval works on the UTC time but keeps the offset,
    // so a non-zero offset shifts the result; -= does not.
    CIMDateTime local(String("20240101120000.000000+060"));
    CIMDateTime hour(String("00000000010000.000000:000"));
    EXPECT_EQ(text(local - hour), "20240101100000.000000+060");
    CIMDateTime y(local);
    y -= hour;
    EXPECT_EQ(text(y), "20240101110000.000000+060");
}

TEST(CIMDateTime, CurrentDateTimeIsLocalWithOffset)
{
    time_t before = time(0);
    CIMDateTime now = CIMDateTime::getCurrentDateTime();
    time_t after = time(0);
    EXPECT_FALSE(now.isInterval());
    std::string s = text(now);
    ASSERT_EQ(s.size(), 25u);
    struct tm local;
    localtime_r(&before, &local);
    long offset = local.tm_gmtoff / 60;
    char expected[32];
    snprintf(expected, sizeof(expected), "%c%03ld", offset < 0 ? '-' : '+',
        offset < 0 ? -offset : offset);
    EXPECT_EQ(s.substr(21), expected);
    Uint64 unixUsec = now.toMicroSeconds() - EPOCH_USEC;
    EXPECT_GE(unixUsec / 1000000, Uint64(before));
    EXPECT_LE(unixUsec / 1000000, Uint64(after));
}
