//
// Exceptions used inside the SDK and the server, and TraceableCIMException,
// a CIMException that records the source file and line that raised it.
//
#ifndef Pegasus_InternalException_h
#define Pegasus_InternalException_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/CIMStatusCode.h>

PEGASUS_NAMESPACE_BEGIN

class MessageLoaderParms;
class ContentLanguageList;

// Throws UninitializedObjectException if rep is null.
PEGASUS_COMMON_LINKAGE void ThrowUninitializedObjectException();

inline void CheckRep(void* rep)
{
    if (!rep)
        ThrowUninitializedObjectException();
}

class PEGASUS_COMMON_LINKAGE NullPointer : public Exception
{
public:
    NullPointer();
};

class PEGASUS_COMMON_LINKAGE UndeclaredQualifier : public Exception
{
public:
    UndeclaredQualifier(const String& qualifierName);
};

class PEGASUS_COMMON_LINKAGE BadQualifierScope : public Exception
{
public:
    BadQualifierScope(
        const String& qualifierName,
        const String& scopeString = String());
};

class PEGASUS_COMMON_LINKAGE BadQualifierOverride : public Exception
{
public:
    BadQualifierOverride(const String& qualifierName);
};

class PEGASUS_COMMON_LINKAGE BadQualifierType : public Exception
{
public:
    BadQualifierType(const String& qualifierName);
};

class PEGASUS_COMMON_LINKAGE InstantiatedAbstractClass : public Exception
{
public:
    InstantiatedAbstractClass(const String& className);
};

class PEGASUS_COMMON_LINKAGE NoSuchProperty : public Exception
{
public:
    NoSuchProperty(const String& propertyName);
};

class PEGASUS_COMMON_LINKAGE NoSuchFile : public Exception
{
public:
    NoSuchFile(const String& fileName);
};

class PEGASUS_COMMON_LINKAGE FileNotReadable : public Exception
{
public:
    FileNotReadable(const String& fileName);
};

class PEGASUS_COMMON_LINKAGE CannotRemoveDirectory : public Exception
{
public:
    CannotRemoveDirectory(const String& path);
};

class PEGASUS_COMMON_LINKAGE CannotRemoveFile : public Exception
{
public:
    CannotRemoveFile(const String& path);
};

class PEGASUS_COMMON_LINKAGE CannotRenameFile : public Exception
{
public:
    CannotRenameFile(const String& path);
};

class PEGASUS_COMMON_LINKAGE NoSuchDirectory : public Exception
{
public:
    NoSuchDirectory(const String& directoryName);
};

class PEGASUS_COMMON_LINKAGE CannotCreateDirectory : public Exception
{
public:
    CannotCreateDirectory(const String& path);
};

class PEGASUS_COMMON_LINKAGE CannotOpenFile : public Exception
{
public:
    CannotOpenFile(const String& path);
};

class PEGASUS_COMMON_LINKAGE NotImplemented : public Exception
{
public:
    NotImplemented(const String& method);
};

class PEGASUS_COMMON_LINKAGE StackUnderflow : public Exception
{
public:
    StackUnderflow();
};

class PEGASUS_COMMON_LINKAGE StackOverflow : public Exception
{
public:
    StackOverflow();
};

class PEGASUS_COMMON_LINKAGE DynamicLoadFailed : public Exception
{
public:
    DynamicLoadFailed(const String& libraryName);
};

class PEGASUS_COMMON_LINKAGE DynamicLookupFailed : public Exception
{
public:
    DynamicLookupFailed(const String& symbolName);
};

class PEGASUS_COMMON_LINKAGE CannotOpenDirectory : public Exception
{
public:
    CannotOpenDirectory(const String& path);
};

class PEGASUS_COMMON_LINKAGE ParseError : public Exception
{
public:
    ParseError(const String& message);
};

class PEGASUS_COMMON_LINKAGE MissingNullTerminator : public Exception
{
public:
    MissingNullTerminator();
};

class PEGASUS_COMMON_LINKAGE MalformedLanguageHeaderException : public Exception
{
public:
    MalformedLanguageHeaderException(const String& error);
};

class PEGASUS_COMMON_LINKAGE InvalidAcceptLanguageHeader : public Exception
{
public:
    InvalidAcceptLanguageHeader(const String& error);
};

class PEGASUS_COMMON_LINKAGE InvalidContentLanguageHeader : public Exception
{
public:
    InvalidContentLanguageHeader(const String& error);
};

class PEGASUS_COMMON_LINKAGE InvalidAuthHeader : public Exception
{
public:
    InvalidAuthHeader();
};

class PEGASUS_COMMON_LINKAGE UnauthorizedAccess : public Exception
{
public:
    UnauthorizedAccess();
};

class PEGASUS_COMMON_LINKAGE IncompatibleTypesException : public Exception
{
public:
    IncompatibleTypesException();
};

class PEGASUS_COMMON_LINKAGE InternalSystemError : public Exception
{
public:
    InternalSystemError();
};

class PEGASUS_COMMON_LINKAGE TooManyElementsException : public Exception
{
public:
    TooManyElementsException();
};

// Throws TooManyElementsException when a container would grow past
// 1000 elements.
#define PEGASUS_CHECK_CAPACITY_OVERFLOW(capacity) \
    do \
    { \
        if ((capacity) > 1000) \
            throw ::Pegasus::TooManyElementsException(); \
    } while (0)

// Like OpenPegasus, where its declaration needs headers that only internal
// builds reach, TraceableCIMException and its macros exist only for code
// built with PEGASUS_INTERNALONLY and PEGASUS_USE_EXPERIMENTAL_INTERFACES,
// as OpenPegasus builds its own providers.
#if defined(PEGASUS_INTERNALONLY) && defined(PEGASUS_USE_EXPERIMENTAL_INTERFACES)

class PEGASUS_COMMON_LINKAGE TraceableCIMException : public CIMException
{
public:
    TraceableCIMException(
        CIMStatusCode code,
        const String& message,
        const String& file,
        Uint32 line);

    TraceableCIMException(
        CIMStatusCode code,
        const MessageLoaderParms& parms,
        const String& file,
        Uint32 line);

    TraceableCIMException(
        const ContentLanguageList& langs,
        CIMStatusCode code,
        const String& message,
        const String& file,
        Uint32 line);

    TraceableCIMException(const CIMException& cimException);

    String getDescription() const;
    String getTraceDescription() const;
    String getCIMMessage() const;
    void setCIMMessage(const String& cimMessage);
    String getFile() const;
    Uint32 getLine() const;
    const ContentLanguageList& getContentLanguages() const;
};

#define PEGASUS_CIM_EXCEPTION(CODE, EXTRA_MESSAGE) \
    TraceableCIMException(CODE, EXTRA_MESSAGE, String(__FILE__), __LINE__)

#define PEGASUS_CIM_EXCEPTION_LANG(LANGS, CODE, EXTRA_MESSAGE) \
    TraceableCIMException( \
        LANGS, CODE, EXTRA_MESSAGE, String(__FILE__), __LINE__)

#define PEGASUS_CIM_EXCEPTION_L(CODE, MSG_PARMS) \
    TraceableCIMException(CODE, MSG_PARMS, String(__FILE__), __LINE__)

#endif /* PEGASUS_INTERNALONLY && PEGASUS_USE_EXPERIMENTAL_INTERFACES */

PEGASUS_NAMESPACE_END

#endif /* Pegasus_InternalException_h */
