//
// CIMDateTime: parsing, formatting, comparison and arithmetic of CIM time
// stamps and intervals.
//
#include <cstdio>
#include <ctime>
#include <sys/time.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>
#include "CIMDateTimeAccess.h"
#include <Pegasus/Internal/NumberText.h>

PEGASUS_NAMESPACE_BEGIN

const Uint32 CIMDateTime::WILDCARD = Uint32(-1);

namespace
{

const Uint64 USEC_PER_SEC = 1000000ULL;
const Uint64 USEC_PER_MIN = 60ULL * USEC_PER_SEC;
const Uint64 USEC_PER_HOUR = 60ULL * USEC_PER_MIN;
const Uint64 USEC_PER_DAY = 24ULL * USEC_PER_HOUR;

// Exclusive upper bounds of the two kinds of value: 10000 Gregorian years
// and 100000000 days.
const Uint64 TIMESTAMP_LIMIT = 315569520000000000ULL;
const Uint64 INTERVAL_LIMIT = 8640000000000000000ULL;

// Number of trailing digit positions that are '*' when the field at this
// index (and everything after it) is a wildcard. The 20 digit positions are
// the 14 before the dot and the 6 microsecond digits.
const Uint16 WILD_YEAR = 20;      // also the days of an interval
const Uint16 WILD_MONTH = 16;
const Uint16 WILD_DAY = 14;
const Uint16 WILD_HOURS = 12;
const Uint16 WILD_MINUTES = 10;
const Uint16 WILD_SECONDS = 8;
const Uint16 WILD_USEC = 6;

bool isLeapYear(Uint32 y)
{
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

Uint32 daysInMonth(Uint32 y, Uint32 m)
{
    static const Uint32 days[] = { 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31 };
    return (m == 2 && isLeapYear(y)) ? 29 : days[m - 1];
}

// Days from 0000-01-01 (proleptic Gregorian, year 0 a leap year) to y-m-d.
Uint64 daysFromCivil(Uint32 y, Uint32 m, Uint32 d)
{
    // Count from 0000-03-01 so that the leap day ends a year.
    Sint64 yy = Sint64(y) - (m <= 2 ? 1 : 0);
    Sint64 era = (yy >= 0 ? yy : yy - 399) / 400;
    Uint32 yoe = Uint32(yy - era * 400);
    Uint32 mp = m > 2 ? m - 3 : m + 9;
    Uint32 doy = (153 * mp + 2) / 5 + d - 1;
    Uint32 doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    // 0000-03-01 is day 60 after 0000-01-01.
    return Uint64(era * 146097 + Sint64(doe) + 60);
}

void civilFromDays(Uint64 days, Uint32& y, Uint32& m, Uint32& d)
{
    Sint64 z = Sint64(days) - 60;
    Sint64 era = (z >= 0 ? z : z - 146096) / 146097;
    Uint32 doe = Uint32(z - era * 146097);
    Uint32 yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    Sint64 yy = Sint64(yoe) + era * 400;
    Uint32 doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    Uint32 mp = (5 * doy + 2) / 153;
    d = doy - (153 * mp + 2) / 5 + 1;
    m = mp < 10 ? mp + 3 : mp - 9;
    y = Uint32(yy + (m <= 2 ? 1 : 0));
}

struct Fields
{
    Uint32 year;     // days for an interval
    Uint32 month;
    Uint32 day;
    Uint32 hours;
    Uint32 minutes;
    Uint32 seconds;
    Uint32 usec;
};

Fields splitTimeStamp(Uint64 usec)
{
    Fields f;
    Uint64 days = usec / USEC_PER_DAY;
    Uint64 rest = usec % USEC_PER_DAY;
    civilFromDays(days, f.year, f.month, f.day);
    f.hours = Uint32(rest / USEC_PER_HOUR);
    rest %= USEC_PER_HOUR;
    f.minutes = Uint32(rest / USEC_PER_MIN);
    rest %= USEC_PER_MIN;
    f.seconds = Uint32(rest / USEC_PER_SEC);
    f.usec = Uint32(rest % USEC_PER_SEC);
    return f;
}

Fields splitInterval(Uint64 usec)
{
    Fields f;
    f.year = Uint32(usec / USEC_PER_DAY);
    f.month = 0;
    f.day = 0;
    Uint64 rest = usec % USEC_PER_DAY;
    f.hours = Uint32(rest / USEC_PER_HOUR);
    rest %= USEC_PER_HOUR;
    f.minutes = Uint32(rest / USEC_PER_MIN);
    rest %= USEC_PER_MIN;
    f.seconds = Uint32(rest / USEC_PER_SEC);
    f.usec = Uint32(rest % USEC_PER_SEC);
    return f;
}

Uint64 joinTimeStamp(const Fields& f)
{
    return daysFromCivil(f.year, f.month, f.day) * USEC_PER_DAY +
        f.hours * USEC_PER_HOUR + f.minutes * USEC_PER_MIN +
        f.seconds * USEC_PER_SEC + f.usec;
}

Uint64 joinInterval(const Fields& f)
{
    return Uint64(f.year) * USEC_PER_DAY + f.hours * USEC_PER_HOUR +
        f.minutes * USEC_PER_MIN + f.seconds * USEC_PER_SEC + f.usec;
}

// The 21 characters before the sign: the digits of the value with the last
// numWildcards digit positions written as '*'.
void formatBody(Uint64 usec, bool interval, Uint16 numWildcards, char* out)
{
    Fields f = interval ? splitInterval(usec) : splitTimeStamp(usec);
    char* p = out;
    if (interval)
    {
        NumberText::fixed(p, 8, f.year % 100000000u);
        p += 8;
    }
    else
    {
        NumberText::fixed(p, 4, f.year % 10000u);
        NumberText::fixed(p + 4, 2, f.month);
        NumberText::fixed(p + 6, 2, f.day);
        p += 8;
    }
    NumberText::fixed(p, 2, f.hours);
    NumberText::fixed(p + 2, 2, f.minutes);
    NumberText::fixed(p + 4, 2, f.seconds);
    p[6] = '.';
    NumberText::fixed(p + 7, 6, f.usec);
    Uint16 left = numWildcards;
    for (int i = 20; i >= 0 && left > 0; i--)
    {
        if (out[i] == '.')
            continue;
        out[i] = '*';
        left--;
    }
    out[21] = 0;
}

// The numbers written in the digits at s + start (checked to be digits);
// len is even.
inline Uint32 twoDigitsAt(const char* s, int start)
{
    return Uint32(s[start] - '0') * 10 + Uint32(s[start + 1] - '0');
}

inline Uint32 digitsAt(const char* s, int start, int len)
{
    Uint32 v = 0;
    for (int i = start; i < start + len; i += 2)
        v = v * 100 + twoDigitsAt(s, i);
    return v;
}

void throwOutOfRange(const char* detail)
{
    throw DateTimeOutOfRangeException(String(detail));
}

// Checks and stores the clock part shared by time stamps and intervals, from
// the hours down; a wildcard field makes it and everything after it wild.
// Returns the number of wildcard characters (0 when none).
Uint16 setClockFields(Fields& f, Uint32 hours, Uint32 minutes, Uint32 seconds,
    Uint32 microseconds, Uint32 numSignificantMicrosecondDigits)
{
    if (hours == CIMDateTime::WILDCARD)
        return WILD_HOURS;
    if (hours > 23)
        throwOutOfRange("illegal hours number ");
    f.hours = hours;
    if (minutes == CIMDateTime::WILDCARD)
        return WILD_MINUTES;
    if (minutes > 59)
        throwOutOfRange("illegal minutes number");
    f.minutes = minutes;
    if (seconds == CIMDateTime::WILDCARD)
        return WILD_SECONDS;
    if (seconds > 59)
        throwOutOfRange("illegal seconds number");
    f.seconds = seconds;
    if (microseconds == CIMDateTime::WILDCARD)
        return WILD_USEC;
    if (microseconds > 999999)
        throwOutOfRange("illegal microseconds number");
    if (numSignificantMicrosecondDigits > 6)
        throwOutOfRange("illegal number of significant microsecond digits");
    Uint16 numWildcards = Uint16(6 - numSignificantMicrosecondDigits);
    Uint32 scale = 1;
    for (Uint16 i = 0; i < numWildcards; i++)
        scale *= 10;
    f.usec = microseconds / scale * scale;
    return numWildcards;
}


} // namespace

//
// Construction and assignment
//

CIMDateTime::CIMDateTime()
    : _usec(0), _utcOffset(0), _sign(':'), _numWildcards(0)
{
}

CIMDateTime::CIMDateTime(const CIMDateTime& x)
    : _usec(x._usec), _utcOffset(x._utcOffset), _sign(x._sign),
      _numWildcards(x._numWildcards)
{
}

CIMDateTime::CIMDateTime(const String& str)
    : _usec(0), _utcOffset(0), _sign(':'), _numWildcards(0)
{
    set(str);
}

CIMDateTime::CIMDateTime(Uint64 usec, Boolean isInterval)
    : _usec(0), _utcOffset(0), _sign(':'), _numWildcards(0)
{
    if (isInterval)
    {
        if (usec >= INTERVAL_LIMIT)
            throwOutOfRange("Cannot create a CIMDateTime interval greater than 100 million days");
        _usec = usec;
    }
    else
    {
        if (usec >= TIMESTAMP_LIMIT)
            throwOutOfRange("Cannot create a CIMDateTime time stamp beyond the year 9999");
        _usec = usec;
        _sign = '+';
    }
}

CIMDateTime::CIMDateTime(
    Uint32 year, Uint32 month, Uint32 day, Uint32 hours, Uint32 minutes,
    Uint32 seconds, Uint32 microseconds, Uint32 numSignificantMicrosecondDigits,
    Sint32 utcOffset)
    : _usec(0), _utcOffset(0), _sign(':'), _numWildcards(0)
{
    setTimeStamp(year, month, day, hours, minutes, seconds, microseconds,
        numSignificantMicrosecondDigits, utcOffset);
}

CIMDateTime::CIMDateTime(
    Uint32 days, Uint32 hours, Uint32 minutes, Uint32 seconds,
    Uint32 microseconds, Uint32 numSignificantMicrosecondDigits)
    : _usec(0), _utcOffset(0), _sign(':'), _numWildcards(0)
{
    setInterval(days, hours, minutes, seconds, microseconds,
        numSignificantMicrosecondDigits);
}

CIMDateTime::~CIMDateTime()
{
}

CIMDateTime& CIMDateTime::operator=(const CIMDateTime& x)
{
    _usec = x._usec;
    _utcOffset = x._utcOffset;
    _sign = x._sign;
    _numWildcards = x._numWildcards;
    return *this;
}

void CIMDateTime::clear()
{
    _usec = 0;
    _utcOffset = 0;
    _sign = ':';
    _numWildcards = 0;
}

//
// Text form
//

// The offset (at most 999 minutes from text, and what a time zone has from
// the clock) takes the low sixteen bits of rest, the sign the next eight and
// the number of wildcards (at most 20) the top eight.
void CIMDateTimeAccess::pack(const CIMDateTime& x, Uint64& usec, Uint32& rest)
{
    usec = x._usec;
    rest = (x._utcOffset & 0xFFFFu) | (Uint32(x._sign & 0xFFu) << 16) |
        (Uint32(x._numWildcards & 0xFFu) << 24);
}

CIMDateTime CIMDateTimeAccess::unpack(Uint64 usec, Uint32 rest)
{
    CIMDateTime x;
    x._usec = usec;
    x._utcOffset = rest & 0xFFFFu;
    x._sign = Uint16((rest >> 16) & 0xFFu);
    x._numWildcards = Uint16(rest >> 24);
    return x;
}

char* CIMDateTimeAccess::text(const CIMDateTime& x, char* out)
{
    formatBody(x._usec, x._sign == ':', x._numWildcards, out);
    out[21] = char(x._sign);
    NumberText::fixed(out + 22, 3, x._sign == ':' ? 0 : x._utcOffset % 1000u);
    return out + TEXT_SIZE;
}

String CIMDateTime::toString() const
{
    char buf[CIMDateTimeAccess::TEXT_SIZE + 1];
    return String(buf, Uint32(CIMDateTimeAccess::text(*this, buf) - buf));
}

void CIMDateTime::set(const String& str)
{
    clear();

    if (str.size() != 25)
        throw InvalidDateTimeFormatException();

    // The text as bytes, noting which positions hold something other than
    // a digit.
    char s[26];
    const Uint16* p = reinterpret_cast<const Uint16*>(str.getChar16Data());
    Uint32 notDigits = 0;
    for (Uint32 i = 0; i < 25; i++)
    {
        Uint16 c = p[i];
        if (c > 0x7F)
            throw InvalidDateTimeFormatException();
        s[i] = char(c);
        notDigits |= Uint32(Uint16(c - '0') > 9) << i;
    }
    s[25] = 0;

    char sign = s[21];
    if (sign != ':' && sign != '+' && sign != '-')
        throw InvalidDateTimeFormatException();
    if (s[14] != '.')
        throw InvalidDateTimeFormatException();
    bool interval = sign == ':';

    // The fields before the dot, as (start, length).
    static const int tsFields[][2] = { {0, 4}, {4, 2}, {6, 2}, {8, 2}, {10, 2}, {12, 2} };
    static const int ivFields[][2] = { {0, 8}, {8, 2}, {10, 2}, {12, 2} };
    const int (*fields)[2] = interval ? ivFields : tsFields;
    int numFields = interval ? 4 : 6;

    Uint32 values[6] = { 0, 0, 0, 0, 0, 0 };
    bool wild[6] = { false, false, false, false, false, false };
    bool wildcardSeen = false;
    Uint32 offset = 0;
    Uint32 usec = 0;
    Uint16 usecStars = 0;

    // Most texts have a digit in every position but the dot and the sign:
    // their numbers are read straight, without looking for wildcards.
    const bool plain = (notDigits & ~((1u << 14) | (1u << 21))) == 0;
    if (plain)
    {
        if (interval)
        {
            values[0] = digitsAt(s, 0, 8);
            values[1] = twoDigitsAt(s, 8);
            values[2] = twoDigitsAt(s, 10);
            values[3] = twoDigitsAt(s, 12);
        }
        else
        {
            values[0] = digitsAt(s, 0, 4);
            values[1] = twoDigitsAt(s, 4);
            values[2] = twoDigitsAt(s, 6);
            values[3] = twoDigitsAt(s, 8);
            values[4] = twoDigitsAt(s, 10);
            values[5] = twoDigitsAt(s, 12);
        }
        usec = digitsAt(s, 15, 6);
        offset = Uint32(s[22] - '0') * 100 + twoDigitsAt(s, 23);
        if (interval && offset != 0)
            throw InvalidDateTimeFormatException();
    }
    else
    {
        for (int i = 22; i < 25; i++)
        {
            if (s[i] < '0' || s[i] > '9')
                throw InvalidDateTimeFormatException();
            offset = offset * 10 + Uint32(s[i] - '0');
        }
        if (interval && offset != 0)
            throw InvalidDateTimeFormatException();

        for (int k = 0; k < numFields; k++)
        {
            int start = fields[k][0], len = fields[k][1];
            int digits = 0, stars = 0;
            Uint32 v = 0;
            for (int i = start; i < start + len; i++)
            {
                if (s[i] >= '0' && s[i] <= '9')
                {
                    digits++;
                    v = v * 10 + Uint32(s[i] - '0');
                }
                else if (s[i] == '*')
                    stars++;
                else
                    throw InvalidDateTimeFormatException();
            }
            if (stars == len)
            {
                wild[k] = true;
                wildcardSeen = true;
            }
            else if (digits != len || wildcardSeen)
                throw InvalidDateTimeFormatException();
            values[k] = v;
        }
    }

    // Microseconds: digits, then optionally '*' to the end.
    for (int i = 15; i < 21 && !plain; i++)
    {
        if (s[i] >= '0' && s[i] <= '9')
        {
            if (usecStars || wildcardSeen)
                throw InvalidDateTimeFormatException();
            usec = usec * 10 + Uint32(s[i] - '0');
        }
        else if (s[i] == '*')
        {
            usecStars++;
            usec *= 10;
        }
        else
            throw InvalidDateTimeFormatException();
    }

    Uint16 numWildcards = usecStars;
    for (int k = 0; k < numFields; k++)
        if (wild[k])
            numWildcards = Uint16(numWildcards + fields[k][1]);

    Fields f;
    if (interval)
    {
        f.year = values[0];
        f.month = 0;
        f.day = 0;
        f.hours = values[1];
        f.minutes = values[2];
        f.seconds = values[3];
    }
    else
    {
        f.year = values[0];
        f.month = wild[1] ? 1 : values[1];
        f.day = wild[2] ? 1 : values[2];
        f.hours = values[3];
        f.minutes = values[4];
        f.seconds = values[5];
        if (f.month < 1 || f.month > 12)
            throwOutOfRange("illegal month number");
        if (f.day < 1 || f.day > daysInMonth(f.year, f.month))
            throwOutOfRange("illegal day number");
    }
    f.usec = usec;
    if (f.hours > 23)
        throwOutOfRange("illegal hours number ");
    if (f.minutes > 59)
        throwOutOfRange("illegal minutes number");
    if (f.seconds > 59)
        throwOutOfRange("illegal seconds number");

    _usec = interval ? joinInterval(f) : joinTimeStamp(f);
    _utcOffset = offset;
    _sign = Uint16(sign);
    _numWildcards = numWildcards;
}

void CIMDateTime::setTimeStamp(
    Uint32 year, Uint32 month, Uint32 day, Uint32 hours, Uint32 minutes,
    Uint32 seconds, Uint32 microseconds, Uint32 numSignificantMicrosecondDigits,
    Sint32 utcOffset)
{
    clear();

    Fields f = { 0, 1, 1, 0, 0, 0, 0 };
    Uint16 numWildcards = 0;

    if (year == WILDCARD)
        numWildcards = WILD_YEAR;
    else if (year > 9999)
        throwOutOfRange("year is greater than 9999");
    else
        f.year = year;

    if (!numWildcards)
    {
        if (month == WILDCARD)
            numWildcards = WILD_MONTH;
        else if (month < 1 || month > 12)
            throwOutOfRange("illegal month number");
        else
            f.month = month;
    }
    if (!numWildcards)
    {
        if (day == WILDCARD)
            numWildcards = WILD_DAY;
        else if (day < 1 || day > daysInMonth(f.year, f.month))
            throwOutOfRange("illegal day number");
        else
            f.day = day;
    }
    if (!numWildcards)
        numWildcards = setClockFields(f, hours, minutes, seconds, microseconds,
            numSignificantMicrosecondDigits);

    if (utcOffset > 999 || utcOffset < -999)
        throwOutOfRange("illegal utcOffset");

    _usec = joinTimeStamp(f);
    _sign = utcOffset < 0 ? '-' : '+';
    _utcOffset = Uint32(utcOffset < 0 ? -utcOffset : utcOffset);
    _numWildcards = numWildcards;
}

void CIMDateTime::setInterval(
    Uint32 days, Uint32 hours, Uint32 minutes, Uint32 seconds,
    Uint32 microseconds, Uint32 numSignificantMicrosecondDigits)
{
    clear();

    Fields f = { 0, 0, 0, 0, 0, 0, 0 };
    Uint16 numWildcards = 0;

    if (days == WILDCARD)
        numWildcards = WILD_YEAR;
    else if (days > 99999999)
        throwOutOfRange("illegal days number");
    else
        f.year = days;

    if (!numWildcards)
        numWildcards = setClockFields(f, hours, minutes, seconds, microseconds,
            numSignificantMicrosecondDigits);

    _usec = joinInterval(f);
    _numWildcards = numWildcards;
}

//
// Queries
//

CIMDateTime CIMDateTime::getCurrentDateTime()
{
    struct timeval tv;
    gettimeofday(&tv, 0);
    time_t t = tv.tv_sec;
    struct tm local;
    localtime_r(&t, &local);

    Fields f;
    f.year = Uint32(local.tm_year + 1900);
    f.month = Uint32(local.tm_mon + 1);
    f.day = Uint32(local.tm_mday);
    f.hours = Uint32(local.tm_hour);
    f.minutes = Uint32(local.tm_min);
    // A leap second reads as the last second of the minute.
    f.seconds = Uint32(local.tm_sec > 59 ? 59 : local.tm_sec);
    f.usec = Uint32(tv.tv_usec);

    long offsetMinutes = local.tm_gmtoff / 60;
    CIMDateTime result;
    result._usec = joinTimeStamp(f);
    result._sign = offsetMinutes < 0 ? '-' : '+';
    result._utcOffset = Uint32(offsetMinutes < 0 ? -offsetMinutes : offsetMinutes);
    result._numWildcards = 0;
    return result;
}

Sint64 CIMDateTime::getDifference(CIMDateTime startTime, CIMDateTime finishTime)
{
    if (startTime.isInterval() != finishTime.isInterval())
        throw InvalidDateTimeFormatException();
    return Sint64(finishTime.toMicroSeconds() - startTime.toMicroSeconds());
}

Boolean CIMDateTime::isInterval() const
{
    return _sign == ':';
}

Boolean CIMDateTime::isInterval()
{
    return _sign == ':';
}

Boolean CIMDateTime::isTimeStamp() const
{
    return _sign != ':';
}

Uint64 CIMDateTime::toMicroSeconds() const
{
    if (_sign == ':' || _numWildcards >= WILD_HOURS)
        return _usec;
    Uint64 shift;
    if (_numWildcards >= WILD_MINUTES)
        shift = Uint64(_utcOffset / 60) * USEC_PER_HOUR;
    else
        shift = Uint64(_utcOffset) * USEC_PER_MIN;
    return _sign == '+' ? _usec - shift : _usec + shift;
}

//
// Comparison
//

namespace
{

// -1, 0 or 1. Time stamps compare by UTC instant; with wildcards only the
// digit positions that neither side wildcards count.
int compareDateTimes(const CIMDateTime& a, const CIMDateTime& b,
    Uint16 wildA, Uint16 wildB)
{
    if (a.isInterval() != b.isInterval())
        throw TypeMismatchException();
    Uint64 ua = a.toMicroSeconds();
    Uint64 ub = b.toMicroSeconds();
    Uint16 wild = wildA > wildB ? wildA : wildB;
    if (wild == 0)
        return ua < ub ? -1 : (ua > ub ? 1 : 0);
    char ta[32], tb[32];
    formatBody(ua, a.isInterval(), wild, ta);
    formatBody(ub, b.isInterval(), wild, tb);
    for (int i = 0; i < 21; i++)
        if (ta[i] != tb[i])
            return ta[i] < tb[i] ? -1 : 1;
    return 0;
}

} // namespace

Boolean CIMDateTime::equal(const CIMDateTime& x) const
{
    return compareDateTimes(*this, x, _numWildcards, x._numWildcards) == 0;
}

Boolean CIMDateTime::operator<(const CIMDateTime& x) const
{
    return compareDateTimes(*this, x, _numWildcards, x._numWildcards) < 0;
}

Boolean CIMDateTime::operator<=(const CIMDateTime& x) const
{
    return compareDateTimes(*this, x, _numWildcards, x._numWildcards) <= 0;
}

Boolean CIMDateTime::operator>(const CIMDateTime& x) const
{
    return compareDateTimes(*this, x, _numWildcards, x._numWildcards) > 0;
}

Boolean CIMDateTime::operator>=(const CIMDateTime& x) const
{
    return compareDateTimes(*this, x, _numWildcards, x._numWildcards) >= 0;
}

Boolean CIMDateTime::operator!=(const CIMDateTime& x) const
{
    return compareDateTimes(*this, x, _numWildcards, x._numWildcards) != 0;
}

Boolean operator==(const CIMDateTime& x, const CIMDateTime& y)
{
    return x.equal(y);
}

//
// Arithmetic
//

namespace
{

void throwNegative()
{
    throwOutOfRange("Result of subtracting two CIMDateTimes would be negative.");
}

void throwDivideByZero()
{
    throw Exception(String("Cannot divide a CIMDateTime by zero"));
}

} // namespace

CIMDateTime CIMDateTime::operator+(const CIMDateTime& x) const
{
    if (!x.isInterval())
        throw TypeMismatchException();
    CIMDateTime result(*this);
    result._usec = _usec + x._usec;
    if (isInterval() && x._numWildcards > result._numWildcards)
        result._numWildcards = x._numWildcards;
    return result;
}

CIMDateTime& CIMDateTime::operator+=(const CIMDateTime& x)
{
    return *this = *this + x;
}

CIMDateTime CIMDateTime::operator-(const CIMDateTime& x) const
{
    if (isInterval())
    {
        if (!x.isInterval())
            throw TypeMismatchException();
        if (x._usec > _usec)
            throwNegative();
        CIMDateTime result(*this);
        result._usec = _usec - x._usec;
        if (x._numWildcards > result._numWildcards)
            result._numWildcards = x._numWildcards;
        return result;
    }
    if (!x.isInterval())
    {
        Uint64 a = toMicroSeconds();
        Uint64 b = x.toMicroSeconds();
        if (b > a)
            throwNegative();
        return CIMDateTime(a - b, true);
    }
    // The result keeps this value's sign, offset and wildcards but is
    // computed from its UTC time.
    Uint64 a = toMicroSeconds();
    if (x._usec > a)
        throwNegative();
    CIMDateTime result(*this);
    result._usec = a - x._usec;
    return result;
}

CIMDateTime& CIMDateTime::operator-=(const CIMDateTime& x)
{
    if (!isInterval() && x.isInterval())
    {
        if (x._usec > _usec)
            throwNegative();
        _usec -= x._usec;
        return *this;
    }
    return *this = *this - x;
}

CIMDateTime CIMDateTime::operator*(Uint64 x) const
{
    if (!isInterval())
        throw TypeMismatchException();
    CIMDateTime result(*this);
    result._usec = _usec * x;
    return result;
}

CIMDateTime& CIMDateTime::operator*=(Uint64 x)
{
    return *this = *this * x;
}

CIMDateTime CIMDateTime::operator/(Uint64 num) const
{
    if (!isInterval())
        throw TypeMismatchException();
    if (num == 0)
        throwDivideByZero();
    CIMDateTime result(*this);
    result._usec = _usec / num;
    return result;
}

CIMDateTime& CIMDateTime::operator/=(Uint64 num)
{
    return *this = *this / num;
}

Uint64 CIMDateTime::operator/(const CIMDateTime& cdt) const
{
    if (!isInterval() || !cdt.isInterval())
        throw TypeMismatchException();
    if (cdt._usec == 0)
        throwDivideByZero();
    return _usec / cdt._usec;
}

PEGASUS_NAMESPACE_END
