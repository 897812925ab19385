// Configuration macros, AutoPtr ownership and the trace macros as code
// written for the server uses them.
#include <gtest/gtest.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/PegasusVersion.h>
#include <Pegasus/Common/AutoPtr.h>
#include <Pegasus/Common/Tracer.h>
#include <Pegasus/Common/CIMType.h>

PEGASUS_USING_PEGASUS;
PEGASUS_USING_STD;

static_assert(sizeof(Uint64) == 8 && sizeof(Sint64) == 8, "64-bit integers");
static_assert(sizeof(Uint16) == 2 && sizeof(Char16) == 2, "16-bit units");
static_assert(PEG_NOT_FOUND == 0xFFFFFFFFu, "not-found marker");
static_assert(PEGASUS_UINT64_LITERAL(18446744073709551615) == ~Uint64(0), "literal macro");
static_assert(PEGASUS_SINT64_LITERAL(-1) == Sint64(-1), "literal macro");
static_assert(CIMTYPE_INSTANCE == 16 && CIMTYPE_REFERENCE == 14, "type numbering");

namespace
{

struct Counted
{
    explicit Counted(int& d) : deaths(d) {}
    ~Counted() { deaths++; }
    int& deaths;
};

int tracedFunction(int x)
{
    PEG_METHOD_ENTER(TRC_PROVIDERMANAGER, "Sample::tracedFunction");
    PEG_TRACE((TRC_PROVIDERMANAGER, Tracer::LEVEL3, "x=%d name=%s", x, "n"));
    PEG_TRACE_CSTRING(TRC_PROVIDERMANAGER, Tracer::LEVEL4, "plain text");
    PEG_METHOD_EXIT();
    return x + 1;
}

} // namespace

TEST(Config, VersionAndTypeNames)
{
    EXPECT_STREQ(PEGASUS_PRODUCT_VERSION, "2.14.4");
    EXPECT_STREQ(cimTypeToString(CIMTYPE_BOOLEAN), "boolean");
    EXPECT_STREQ(cimTypeToString(CIMTYPE_REAL64), "real64");
    EXPECT_STREQ(cimTypeToString(CIMTYPE_DATETIME), "datetime");
    EXPECT_STREQ(cimTypeToString(CIMTYPE_INSTANCE), "instance");
#ifndef PEGASUS_HAS_IDENTITY_IP_ADDRESS
    FAIL() << "feature macro missing";
#endif
}

TEST(Config, TraceMacrosLeaveCodeAlone)
{
    EXPECT_EQ(tracedFunction(1), 2);
    EXPECT_FALSE(Tracer::isTraceOn());
}

TEST(AutoPtr, OwnsReleasesAndResets)
{
    int deaths = 0;
    {
        AutoPtr<Counted> p(new Counted(deaths));
        p.reset(new Counted(deaths));
        EXPECT_EQ(deaths, 1);
        Counted* raw = p.release();
        EXPECT_EQ(p.get(), nullptr);
        delete raw;
        EXPECT_EQ(deaths, 2);
        p = new Counted(deaths);
    }
    EXPECT_EQ(deaths, 3);
}
