//
// CIMDateTime: a CIM time stamp (yyyymmddhhmmss.mmmmmmsutc) or interval
// (ddddddddhhmmss.mmmmmm:000), possibly with wildcarded trailing fields.
//
#ifndef Pegasus_CIMDateTime_h
#define Pegasus_CIMDateTime_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Array.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_COMMON_LINKAGE CIMDateTime
{
public:
#ifdef PEGASUS_USE_EXPERIMENTAL_INTERFACES
    static const Uint32 WILDCARD;
#endif

    CIMDateTime();
    CIMDateTime(const CIMDateTime& x);
    CIMDateTime(const String& str);
    CIMDateTime(Uint64 usec, Boolean isInterval);

#ifdef PEGASUS_USE_EXPERIMENTAL_INTERFACES
    CIMDateTime(
        Uint32 year,
        Uint32 month,
        Uint32 day,
        Uint32 hours,
        Uint32 minutes,
        Uint32 seconds,
        Uint32 microseconds,
        Uint32 numSignificantMicrosecondDigits,
        Sint32 utcOffset);

    CIMDateTime(
        Uint32 days,
        Uint32 hours,
        Uint32 minutes,
        Uint32 seconds,
        Uint32 microseconds,
        Uint32 numSignificantMicrosecondDigits);
#endif

    ~CIMDateTime();

    CIMDateTime& operator=(const CIMDateTime& x);

    String toString() const;
    void set(const String& str);

#ifdef PEGASUS_USE_EXPERIMENTAL_INTERFACES
    void setTimeStamp(
        Uint32 year,
        Uint32 month,
        Uint32 day,
        Uint32 hours,
        Uint32 minutes,
        Uint32 seconds,
        Uint32 microseconds,
        Uint32 numSignificantMicrosecondDigits,
        Sint32 utcOffset);

    void setInterval(
        Uint32 days,
        Uint32 hours,
        Uint32 minutes,
        Uint32 seconds,
        Uint32 microseconds,
        Uint32 numSignificantMicrosecondDigits);
#endif

    void clear();

    static CIMDateTime getCurrentDateTime();
    static Sint64 getDifference(CIMDateTime startTime, CIMDateTime finishTime);

    Boolean isInterval() const;
    Boolean isInterval();

#ifdef PEGASUS_USE_EXPERIMENTAL_INTERFACES
    Boolean isTimeStamp() const;
#endif

    Boolean equal(const CIMDateTime& x) const;
    Uint64 toMicroSeconds() const;

    CIMDateTime operator+(const CIMDateTime& x) const;
    CIMDateTime& operator+=(const CIMDateTime& x);
    CIMDateTime operator-(const CIMDateTime& x) const;
    CIMDateTime& operator-=(const CIMDateTime& x);
    CIMDateTime operator*(Uint64 x) const;
    CIMDateTime& operator*=(Uint64 x);
    CIMDateTime operator/(Uint64 num) const;
    CIMDateTime& operator/=(Uint64 num);
    Uint64 operator/(const CIMDateTime& cdt) const;

    Boolean operator<(const CIMDateTime& x) const;
    Boolean operator<=(const CIMDateTime& x) const;
    Boolean operator>(const CIMDateTime& x) const;
    Boolean operator>=(const CIMDateTime& x) const;
    Boolean operator!=(const CIMDateTime& x) const;

private:
    // The value lives in place (no heap): for a time stamp the local time in
    // microseconds since 0000-01-01 00:00 with the offset in minutes, for an
    // interval its length. _numWildcards counts the trailing digit positions
    // written as '*' (0..20).
    Uint64 _usec;
    Uint32 _utcOffset;
    Uint16 _sign;           // '+', '-' (time stamp) or ':' (interval)
    Uint16 _numWildcards;

    friend struct CIMDateTimeAccess;
};

PEGASUS_COMMON_LINKAGE Boolean operator==(const CIMDateTime& x, const CIMDateTime& y);

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMDateTime_h */
