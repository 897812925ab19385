// Tests of the VELK_Common helpers that need no server: property access,
// date and time texts, object path matching and the event-log record.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/CIMProperty.h>

#include <velkapi_control.hpp>

#include "VELK_Common.h"

#include "ArrayTestSupport.h"

using namespace Pegasus;
using velktest::LogCapture;
using velktest::TimeZone;

namespace
{

std::string str(const String& s)
{
    return std::string((const char*)s.getCString());
}

CIMInstance jobLikeInstance()
{
    CIMInstance inst(CIMName("VELK_Test"));
    inst.addProperty(CIMProperty(CIMName("Name"), CIMValue(String("job"))));
    inst.addProperty(CIMProperty(CIMName("JobState"), CIMValue(Uint16(7))));
    inst.addProperty(
        CIMProperty(CIMName("Empty"), CIMValue(CIMTYPE_UINT16, false)));
    inst.addProperty(
        CIMProperty(CIMName("Note"), CIMValue(CIMTYPE_STRING, false)));
    return inst;
}

CIMObjectPath jobPath(const char* host, const char* ns, const char* cls,
    const char* id)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"), String(id),
        CIMKeyBinding::STRING));
    return CIMObjectPath(String(host), ns ? CIMNamespaceName(ns)
        : CIMNamespaceName(), CIMName(cls), keys);
}

} // namespace

// ---------------------------------------------------------------------------
// Property and parameter access
// ---------------------------------------------------------------------------

TEST(VelkCommonProperties, TypedGetterStatusesLeaveOutValueAloneUnlessFound)
{
    CIMInstance inst = jobLikeInstance();
    Uint16 v = 55;
    EXPECT_EQ(4, VELK_Common::getProperty(inst, "Empty", v));
    EXPECT_EQ(55, v);
    EXPECT_EQ(3, VELK_Common::getProperty(inst, "Missing", v));
    EXPECT_EQ(55, v);
    EXPECT_EQ(0, VELK_Common::getProperty(inst, "jobstate", v));
    EXPECT_EQ(7, v);

    Uint32 wrong = 0;
    EXPECT_THROW(VELK_Common::getProperty(inst, "JobState", wrong),
        TypeMismatchException);
}

TEST(VelkCommonProperties, GetParameterNullCountsAsAbsentAndWalkGoesOn)
{
    Array<CIMParamValue> params;
    params.append(CIMParamValue(String("Job"), CIMValue(CIMTYPE_UINT16, false)));
    Uint16 v = 1;
    EXPECT_EQ(3, VELK_Common::getParameter(params, "Job", v));
    EXPECT_EQ(3, VELK_Common::getParameter(params, "Other", v));
    EXPECT_EQ(1, v);

    params.append(CIMParamValue(String("job"), CIMValue(Uint16(12))));
    EXPECT_EQ(4, VELK_Common::getParameter(params, "JOB", v));
    EXPECT_EQ(12, v);
}

TEST(VelkCommonProperties, PropertyValueWithEmptyNameIsEmptyStringNotNull)
{
    LogCapture log;
    CIMInstance inst = jobLikeInstance();
    CIMValue v = VELK_Common::getPropertyValue(inst, "");
    EXPECT_FALSE(v.isNull());
    EXPECT_EQ(CIMTYPE_STRING, v.getType());
    String s;
    v.get(s);
    EXPECT_EQ("", str(s));
    std::vector<std::string> lines = log.texts();
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("-->VELK_Common::getStringProperty(), propertyName = \n",
        lines[0]);
    EXPECT_EQ("\tInvalid property name.\n", lines[1]);
    EXPECT_EQ(3, velksim::logLines()[1].level);

    EXPECT_TRUE(VELK_Common::getPropertyValue(inst, "Missing").isNull());
    EXPECT_EQ("", str(VELK_Common::getStringProperty(CIMInstance(), "Name")));
    EXPECT_EQ("", str(VELK_Common::getStringProperty(inst, "Note")));
    EXPECT_EQ("job", str(VELK_Common::getStringProperty(inst, "NAME")));
}

TEST(VelkCommonProperties, SettersNeverAddAndKeepTheDeclaredType)
{
    CIMInstance inst = jobLikeInstance();
    Uint32 before = inst.getPropertyCount();
    VELK_Common::setPropertyValue(inst, "NotThere", String("x"));
    EXPECT_EQ(before, inst.getPropertyCount());
    EXPECT_EQ(PEG_NOT_FOUND, inst.findProperty(CIMName("NotThere")));

    VELK_Common::setPropertyValue(inst, "Empty", Uint16(3));
    Uint16 v = 0;
    EXPECT_EQ(0, VELK_Common::getProperty(inst, "Empty", v));
    EXPECT_EQ(3, v);
    EXPECT_THROW(VELK_Common::setPropertyValue(inst, "Empty", Uint32(3)),
        TypeMismatchException);

    VELK_Common::setPropertyValueToNull(inst, "JobState", CIMTYPE_UINT16);
    EXPECT_EQ(4, VELK_Common::getProperty(inst, "JobState", v));
}

// ---------------------------------------------------------------------------
// Date and time
// ---------------------------------------------------------------------------

TEST(VelkCommonDateTime, TimeStampTextsInSeveralZones)
{
    struct Row
    {
        const char* tz;
        long t;
        const char* text;
    };
    const Row rows[] = {
        {"UTC0", 0, "19700101000000.000000+000"},
        {"UTC0", 1706745599L, "20240131235959.000000+000"},
        {"EST5", 1706745599L, "20240131185959.000000-300"},
        {"NPT-5:45", 1706745599L, "20240201054459.000000+345"},
        // Daylight saving comes from the zone rules.
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1706745599L,
            "20240201005959.000000+060"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1719835200L,
            "20240701140000.000000+120"},
        // West of Greenwich by less than an hour: the sign still shows.
        {"XXX0:30", 0, "19691231233000.000000-030"},
        // A year of three digits is padded to four.
        {"UTC0", -30636384833L, "09990304050607.000000+000"},
    };
    for (const Row& r : rows)
    {
        TimeZone tz(r.tz);
        EXPECT_EQ(r.text, str(VELK_Common::getCIMDateTime(r.t).toString()))
            << r.tz;
    }
}

TEST(VelkCommonDateTime, TimeZoneNames)
{
    const char* const rows[][2] = {{"UTC0", "GMT-0"}, {"CET-1", "GMT+1"},
        {"PST8", "GMT-8"}, {"IST-5:30", "GMT+5"}, {"XXX0:30", "GMT-0"}};
    for (const auto& r : rows)
    {
        TimeZone tz(r[0]);
        EXPECT_EQ(r[1], str(VELK_Common::getTimeZone())) << r[0];
    }
}

TEST(VelkCommonDateTime, ReadingBackTakesFieldsAsLocalTime)
{
    TimeZone tz("EST5");
    // The offset of the text is ignored: the fields are local time.
    EXPECT_EQ(1706745599L, VELK_Common::getDateTime(
        CIMDateTime(String("20240131185959.000000+000"))));
    EXPECT_EQ(0L, VELK_Common::getDateTime(
        CIMDateTime(String("00000030000000.000000:000"))));

    struct tm out;
    memset(&out, 0, sizeof(out));
    EXPECT_EQ(0, VELK_Common::_formatDateTime("00000101000000.000000+000",
        &out));
    EXPECT_EQ(-1, VELK_Common::_formatDateTime("18990101000000.000000+000",
        &out));
    EXPECT_EQ(-1, VELK_Common::_formatDateTime("20240001000000.000000+000",
        &out));
    // Month 13 is left to mktime, which rolls it into the next year.
    ASSERT_EQ(1, VELK_Common::_formatDateTime("20241301120000.000000+000",
        &out));
    EXPECT_EQ(12, out.tm_mon);
    time_t rolled = mktime(&out);
    struct tm back;
    localtime_r(&rolled, &back);
    EXPECT_EQ(2025 - 1900, back.tm_year);
    EXPECT_EQ(0, back.tm_mon);
}

// ---------------------------------------------------------------------------
// Object path matching
// ---------------------------------------------------------------------------

TEST(VelkCommonMatch, HostsAreIgnoredNamespacesClassesAndStringKeysCompared)
{
    const char* const id = "KORVANE:task_id:5";
    const struct
    {
        const char* host;
        const char* ns;
        const char* cls;
        const char* id;
        bool match;
    } rows[] = {
        {"hostB", "root/velk", "VELK_ConcreteJob", id, true},
        {"", "root/velk", "velk_concretejob", id, true},
        {"hostA", "root/other", "VELK_ConcreteJob", id, false},
        {"", 0, "VELK_ConcreteJob", id, false},
        {"hostA", "root/velk", "CIM_ConcreteJob", id, false},
        // String keys are compared exactly.
        {"hostA", "root/velk", "VELK_ConcreteJob", "korvane:task_id:5", false},
    };
    CIMObjectPath a = jobPath("hostA", "root/velk", "VELK_ConcreteJob", id);
    for (const auto& r : rows)
        EXPECT_EQ(r.match, VELK_Common::matchObjectPath(a,
            jobPath(r.host, r.ns, r.cls, r.id))) << r.host << " " << r.cls << " " << r.id;
}

TEST(VelkCommonMatch, ReferenceKeysOnOtherHostsAndKeyOrder)
{
    CIMObjectPath job1 = jobPath("hostA", "root/velk", "VELK_ConcreteJob",
        "KORVANE:task_id:5");
    CIMObjectPath job2 = jobPath("hostB", "root/velk", "VELK_ConcreteJob",
        "KORVANE:task_id:5");
    CIMObjectPath svc(String("hostA"), CIMNamespaceName("root/velk"),
        CIMName("VELK_ReplicationService"));
    Array<CIMKeyBinding> svcKeys;
    svcKeys.append(CIMKeyBinding(CIMName("Name"), String("rs"),
        CIMKeyBinding::STRING));
    svc.setKeyBindings(svcKeys);

    Array<CIMKeyBinding> k1;
    k1.append(CIMKeyBinding(CIMName("OwningElement"), svc.toString(),
        CIMKeyBinding::REFERENCE));
    k1.append(CIMKeyBinding(CIMName("OwnedElement"), job1.toString(),
        CIMKeyBinding::REFERENCE));
    CIMObjectPath assoc1(String("hostA"), CIMNamespaceName("root/velk"),
        CIMName("VELK_OwningJobElement"), k1);

    CIMObjectPath svcB = svc;
    svcB.setHost(String("hostB"));
    Array<CIMKeyBinding> k2;
    // Reverse order, other hosts, and one reference given as a string key.
    k2.append(CIMKeyBinding(CIMName("OwnedElement"), job2.toString(),
        CIMKeyBinding::STRING));
    k2.append(CIMKeyBinding(CIMName("OwningElement"), svcB.toString(),
        CIMKeyBinding::REFERENCE));
    CIMObjectPath assoc2(String(), CIMNamespaceName("root/velk"),
        CIMName("VELK_OwningJobElement"), k2);
    EXPECT_TRUE(VELK_Common::matchObjectPath(assoc1, assoc2));
    EXPECT_TRUE(VELK_Common::matchObjectPath(assoc2, assoc1));

    CIMObjectPath job9 = jobPath("hostA", "root/velk", "VELK_ConcreteJob",
        "KORVANE:task_id:9");
    Array<CIMKeyBinding> k3;
    k3.append(CIMKeyBinding(CIMName("OwningElement"), svc.toString(),
        CIMKeyBinding::REFERENCE));
    k3.append(CIMKeyBinding(CIMName("OwnedElement"), job9.toString(),
        CIMKeyBinding::REFERENCE));
    CIMObjectPath assoc3(String(), CIMNamespaceName("root/velk"),
        CIMName("VELK_OwningJobElement"), k3);
    EXPECT_FALSE(VELK_Common::matchObjectPath(assoc1, assoc3));
}

TEST(VelkCommonMatch, EmptyStringKeyMatchesOnlyEmpty)
{
    CIMObjectPath empty = jobPath("h", "root/velk", "VELK_ConcreteJob", "");
    EXPECT_TRUE(VELK_Common::matchObjectPath(empty,
        jobPath("", "root/velk", "VELK_ConcreteJob", "")));
    EXPECT_FALSE(VELK_Common::matchObjectPath(empty,
        jobPath("", "root/velk", "VELK_ConcreteJob", "x")));
    CIMObjectPath noKeys(String(), CIMNamespaceName("root/velk"),
        CIMName("VELK_ConcreteJob"));
    EXPECT_FALSE(VELK_Common::matchObjectPath(empty, noKeys));
}

// ---------------------------------------------------------------------------
// Event-log record
// ---------------------------------------------------------------------------

namespace
{

api_evtparam_t dirtyRecord()
{
    api_evtparam_t rec;
    memset(&rec, 'Z', sizeof(rec));
    return rec;
}

} // namespace

TEST(VelkCommonEvent, ClassAndMethodJoinedByColon)
{
    api_evtparam_t rec = dirtyRecord();
    EXPECT_EQ(0, VELK_Common::setEventParam(&rec, "VELK_ConcreteJob",
        "DeleteInstance", "", "alice", "10.0.0.7"));
    EXPECT_STREQ("VELK_ConcreteJob:DeleteInstance", rec.method);
    EXPECT_STREQ("", rec.inst_op);
    EXPECT_STREQ("", rec.inst_param);
    EXPECT_STREQ("alice", rec.user);
    EXPECT_STREQ("10.0.0.7", rec.addr);
    // strncpy semantics: the rest of a field is NUL.
    for (size_t i = 5; i < sizeof(rec.user); i++)
        EXPECT_EQ('\0', rec.user[i]);

    rec = dirtyRecord();
    VELK_Common::setEventParam(&rec, 0, "GetError", 0, 0, 0);
    EXPECT_STREQ(":GetError", rec.method);
    EXPECT_STREQ("", rec.inst_op);
    EXPECT_STREQ("", rec.user);
    EXPECT_STREQ("", rec.addr);

    rec = dirtyRecord();
    VELK_Common::setEventParam(&rec, "VELK_ConcreteJob", 0, 0, 0, 0);
    EXPECT_STREQ("VELK_ConcreteJob:", rec.method);
    rec = dirtyRecord();
    VELK_Common::setEventParam(&rec, 0, 0, 0, 0, 0);
    EXPECT_STREQ("", rec.method);
}

TEST(VelkCommonEvent, OverlongTextsAreCutAtTheirFields)
{
    api_evtparam_t rec = dirtyRecord();
    std::string cls(130, 'C');
    std::string user(40, 'u');
    std::string addr(60, '1');
    std::string op(20, 'o');
    VELK_Common::setEventParam(&rec, cls.c_str(), "RequestStateChange",
        op.c_str(), user.c_str(), addr.c_str());
    EXPECT_EQ(std::string(126, 'C') + ":", std::string(rec.method));
    EXPECT_EQ('\0', rec.method[127]);
    EXPECT_EQ(std::string(31, 'u'), std::string(rec.user));
    EXPECT_EQ(std::string(45, '1'), std::string(rec.addr));
    EXPECT_EQ(std::string(15, 'o'), std::string(rec.inst_op));

    rec = dirtyRecord();
    std::string cls100(100, 'K');
    VELK_Common::setEventParam(&rec, cls100.c_str(), std::string(50, 'm').c_str(),
        "", "", "");
    EXPECT_EQ(cls100 + ":" + std::string(26, 'm'), std::string(rec.method));

    rec = dirtyRecord();
    std::string text(300, 't');
    EXPECT_EQ(0, VELK_Common::setEventParam(&rec, "C", "M", "", "", "",
        text.c_str()));
    EXPECT_EQ(std::string(255, 't'), std::string(rec.inst_param));
    VELK_Common::setEventParam(&rec, "C", "M", "", "", "", 0);
    EXPECT_STREQ("", rec.inst_param);
}

TEST(VelkCommonEvent, NullRecordIsReportedInTheLog)
{
    LogCapture log;
    EXPECT_EQ(1, VELK_Common::setEventParam(0, "C", "M", "", "u", "a"));
    EXPECT_EQ(1, VELK_Common::setEventOp(0, "op"));
    std::vector<std::string> lines = log.texts(2);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("setEventParam: Unable to log event data. The control block "
        "pointer (eventp) is null.\n", lines[0]);
    EXPECT_EQ("setEventOp: Unable to log event data. The control block "
        "pointer (eventp) is null.\n", lines[1]);

    api_evtparam_t rec = dirtyRecord();
    VELK_Common::setEventParam(&rec, "C", "M", "", "u", "a");
    EXPECT_EQ(0, VELK_Common::setEventOp(&rec, "operation-name-too-long"));
    EXPECT_STREQ("operation-name-", rec.inst_op);
}

