// The exception family: texts, codes, hierarchy, and the descriptions of
// TraceableCIMException.
#include <exception>
#include <type_traits>
#include <gtest/gtest.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Provider/ProviderException.h>

#include "../TestSupport.h"

PEGASUS_USING_PEGASUS;

static_assert(!std::is_base_of<std::exception, Exception>::value,
    "SDK exceptions are not standard exceptions");

TEST(Exception, GeneralTexts)
{
    // (The texts other tests of this group check exactly are not repeated.)
    EXPECT_EQ(IndexOutOfBoundsException().getMessage(), "index out of bounds");
    EXPECT_EQ(TypeMismatchException().getMessage(), "type mismatch");
    EXPECT_EQ(TypeMismatchException("x").getMessage(), "type mismatch: x");
    EXPECT_EQ(InvalidDateTimeFormatException().getMessage(), "invalid datetime format");
    EXPECT_EQ(InvalidLocatorException("h").getMessage(), "Invalid locator: h");
    EXPECT_EQ(CannotConnectException("refused").getMessage(), "refused");
    EXPECT_EQ(AlreadyConnectedException().getMessage(), "already connected");
    EXPECT_EQ(NotConnectedException().getMessage(), "not connected");
    EXPECT_EQ(ConnectionTimeoutException().getMessage(), "connection timed out");
    EXPECT_EQ(NoSuchProperty("P").getMessage(), "no such property: P");
    EXPECT_EQ(TooManyElementsException().getMessage(),
        "More than 1000 elements in a container are not supported.");
}

TEST(Exception, TypedCIMExceptionsCarryTheirCodes)
{
    struct Case { CIMException e; CIMStatusCode code; };
    Case cases[] = {
        { CIMOperationFailedException("m"), CIM_ERR_FAILED },
        { CIMAccessDeniedException("m"), CIM_ERR_ACCESS_DENIED },
        { CIMInvalidParameterException("m"), CIM_ERR_INVALID_PARAMETER },
        { CIMObjectNotFoundException("m"), CIM_ERR_NOT_FOUND },
        { CIMNotSupportedException("m"), CIM_ERR_NOT_SUPPORTED },
        { CIMObjectAlreadyExistsException("m"), CIM_ERR_ALREADY_EXISTS },
        { CIMPropertyNotFoundException("m"), CIM_ERR_NO_SUCH_PROPERTY },
        { CIMMethodNotFoundException("m"), CIM_ERR_METHOD_NOT_FOUND },
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(c.e.getCode(), c.code);
        EXPECT_EQ(c.e.getMessage(), "m");
    }
}

TEST(Exception, CatchByBaseKeepsCodeAndMessage)
{
    // The typed CIM exceptions are one type: any of them catches the others.
    EXPECT_EQ(compattest::messageOf<CIMOperationFailedException>(
        [] { throw CIMObjectNotFoundException("Job 7 not found"); }), "Job 7 not found");
    EXPECT_EQ(compattest::cimErrorOf([] { throw CIMObjectNotFoundException("x"); }), "6 x");
    EXPECT_EQ(compattest::messageOf<Exception>([] { throw CIMAccessDeniedException("no"); }),
        "no");
}

TEST(Exception, CopyAndAssignAreDeep)
{
    CIMException a(CIM_ERR_INVALID_CLASS, "first");
    CIMException b(a);
    CIMException c;
    EXPECT_EQ(c.getCode(), CIM_ERR_SUCCESS);
    EXPECT_EQ(c.getMessage(), "");
    c = a;
    a = CIMException(CIM_ERR_FAILED, "second");
    EXPECT_EQ(b.getCode(), CIM_ERR_INVALID_CLASS);
    EXPECT_EQ(c.getMessage(), "first");
    EXPECT_EQ(a.getMessage(), "second");
}

TEST(Exception, ErrorInstances)
{
    CIMInstance err(CIMName("CIM_Error"));
    CIMException e(CIM_ERR_FAILED, "m", err);
    EXPECT_EQ(e.getErrorCount(), 1u);
    e.addError(CIMInstance(CIMName("CIM_Error")));
    CIMException copy(e);
    EXPECT_EQ(copy.getErrorCount(), 2u);
    EXPECT_TRUE(copy.getError(0).identical(CIMConstInstance(err)));
    EXPECT_THROW(copy.getError(2), IndexOutOfBoundsException);
}

TEST(TraceableCIMException, Descriptions)
{
    TraceableCIMException e = PEGASUS_CIM_EXCEPTION(CIM_ERR_NOT_FOUND, "Job 7 not found");
    EXPECT_EQ(e.getCode(), CIM_ERR_NOT_FOUND);
    EXPECT_EQ(e.getMessage(), "Job 7 not found");
    EXPECT_EQ(e.getDescription(), "CIM_ERR_NOT_FOUND: Job 7 not found");
    EXPECT_EQ(e.getCIMMessage(), "CIM_ERR_NOT_FOUND");
    EXPECT_EQ(e.getFile(), String(__FILE__));
    EXPECT_GT(e.getLine(), 0u);

    TraceableCIMException t(CIM_ERR_FAILED, String(), "Router.cpp", 42);
    EXPECT_EQ(t.getDescription(), "CIM_ERR_FAILED");
    EXPECT_EQ(t.getTraceDescription(), "Router.cpp(42): CIM_ERR_FAILED");
    TraceableCIMException m(CIM_ERR_FAILED, "boom", "f", 1);
    EXPECT_EQ(m.getTraceDescription(), "f(1): CIM_ERR_FAILED: boom");

    TraceableCIMException fromPlain(CIMNotSupportedException("nope"));
    EXPECT_EQ(fromPlain.getDescription(), "CIM_ERR_NOT_SUPPORTED: nope");
    EXPECT_EQ(fromPlain.getLine(), 0u);
}

TEST(CIMStatusCode, Texts)
{
    EXPECT_STREQ(cimStatusCodeToString(CIM_ERR_SUCCESS), "CIM_ERR_SUCCESS");
    EXPECT_STREQ(cimStatusCodeToString(CIM_ERR_ACCESS_DENIED), "CIM_ERR_ACCESS_DENIED");
    EXPECT_STREQ(cimStatusCodeToString(CIM_ERR_METHOD_NOT_FOUND), "CIM_ERR_METHOD_NOT_FOUND");
    EXPECT_STREQ(cimStatusCodeToString(CIMStatusCode(18)), "empty");
    EXPECT_STREQ(cimStatusCodeToString(CIMStatusCode(19)), "empty");
    EXPECT_STREQ(cimStatusCodeToString(CIM_ERR_NAMESPACE_NOT_EMPTY), "CIM_ERR_NAMESPACE_NOT_EMPTY");
    EXPECT_STREQ(cimStatusCodeToString(CIM_ERR_SERVER_IS_SHUTTING_DOWN),
        "CIM_ERR_SERVER_IS_SHUTTING_DOWN");
    EXPECT_STREQ(cimStatusCodeToString(CIMStatusCode(29)), "Unrecognized CIM status code");
}
