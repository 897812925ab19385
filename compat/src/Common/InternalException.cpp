//
// Internal exceptions and TraceableCIMException.
//
#include <cstdio>
#include <Pegasus/Common/InternalException.h>
#include "ExceptionRep.h"

PEGASUS_NAMESPACE_BEGIN

void ThrowUninitializedObjectException()
{
    throw UninitializedObjectException();
}

NullPointer::NullPointer()
    : Exception(String("null pointer"))
{
}

UndeclaredQualifier::UndeclaredQualifier(const String& qualifierName)
    : Exception(String("undeclared qualifier: ") + qualifierName)
{
}

BadQualifierScope::BadQualifierScope(
    const String& qualifierName,
    const String& scopeString)
    : Exception(String("qualifier invalid in this scope: ") + qualifierName +
          String(" scope=") + scopeString)
{
}

BadQualifierOverride::BadQualifierOverride(const String& qualifierName)
    : Exception(String("qualifier not overridable: ") + qualifierName)
{
}

BadQualifierType::BadQualifierType(const String& qualifierName)
    : Exception(String("CIMType of qualifier different than its declaration: ") +
          qualifierName)
{
}

InstantiatedAbstractClass::InstantiatedAbstractClass(const String& className)
    : Exception(String("attempted to instantiate an abstract class ") + className)
{
}

NoSuchProperty::NoSuchProperty(const String& propertyName)
    : Exception(String("no such property: ") + propertyName)
{
}

NoSuchFile::NoSuchFile(const String& fileName)
    : Exception(String("no such file: ") + fileName)
{
}

FileNotReadable::FileNotReadable(const String& fileName)
    : Exception(String("file not readable: ") + fileName)
{
}

CannotRemoveDirectory::CannotRemoveDirectory(const String& path)
    : Exception(String("cannot remove directory: ") + path)
{
}

CannotRemoveFile::CannotRemoveFile(const String& path)
    : Exception(String("cannot remove file: ") + path)
{
}

CannotRenameFile::CannotRenameFile(const String& path)
    : Exception(String("cannot rename file: ") + path)
{
}

NoSuchDirectory::NoSuchDirectory(const String& directoryName)
    : Exception(String("no such directory: ") + directoryName)
{
}

CannotCreateDirectory::CannotCreateDirectory(const String& path)
    : Exception(String("cannot create directory: ") + path)
{
}

CannotOpenFile::CannotOpenFile(const String& path)
    : Exception(String("cannot open file: ") + path)
{
}

NotImplemented::NotImplemented(const String& method)
    : Exception(String("not implemented: ") + method)
{
}

StackUnderflow::StackUnderflow()
    : Exception(String("stack underflow"))
{
}

StackOverflow::StackOverflow()
    : Exception(String("stack overflow"))
{
}

DynamicLoadFailed::DynamicLoadFailed(const String& libraryName)
    : Exception(String("load of dynamic library failed: ") + libraryName)
{
}

DynamicLookupFailed::DynamicLookupFailed(const String& symbolName)
    : Exception(String("lookup of symbol failed: ") + symbolName)
{
}

CannotOpenDirectory::CannotOpenDirectory(const String& path)
    : Exception(String("cannot open directory: ") + path)
{
}

ParseError::ParseError(const String& message)
    : Exception(String("parse error: ") + message)
{
}

MissingNullTerminator::MissingNullTerminator()
    : Exception(String("missing null terminator"))
{
}

MalformedLanguageHeaderException::MalformedLanguageHeaderException(const String& error)
    : Exception(String("malformed language header: ") + error)
{
}

InvalidAcceptLanguageHeader::InvalidAcceptLanguageHeader(const String& error)
    : Exception(String("invalid acceptlanguage header: ") + error)
{
}

InvalidContentLanguageHeader::InvalidContentLanguageHeader(const String& error)
    : Exception(String("invalid contentlanguage header: ") + error)
{
}

InvalidAuthHeader::InvalidAuthHeader()
    : Exception(String("Invalid Authorization header"))
{
}

UnauthorizedAccess::UnauthorizedAccess()
    : Exception(String("Unauthorized access"))
{
}

IncompatibleTypesException::IncompatibleTypesException()
    : Exception(String("incompatible types"))
{
}

InternalSystemError::InternalSystemError()
    : Exception(String("Unable to authenticate user"))
{
}

TooManyElementsException::TooManyElementsException()
    : Exception(String("More than 1000 elements in a container are not supported."))
{
}

//
// TraceableCIMException
//

TraceableCIMException::TraceableCIMException(
    CIMStatusCode code,
    const String& message,
    const String& file,
    Uint32 line)
    : CIMException(code, message)
{
    _rep->file = file;
    _rep->line = line;
}

TraceableCIMException::TraceableCIMException(
    const ContentLanguageList& langs,
    CIMStatusCode code,
    const String& message,
    const String& file,
    Uint32 line)
    : CIMException(code, message)
{
    _rep->file = file;
    _rep->line = line;
    _rep->contentLanguages = langs;
}

TraceableCIMException::TraceableCIMException(const CIMException& cimException)
    : CIMException(cimException)
{
}

String TraceableCIMException::getDescription() const
{
    String text(_rep->cimMessage);
    if (_rep->message.size())
    {
        text.append(String(": "));
        text.append(_rep->message);
    }
    return text;
}

String TraceableCIMException::getTraceDescription() const
{
    String text(_rep->file);
    char buf[32];
    std::snprintf(buf, sizeof(buf), "(%u): ", _rep->line);
    text.append(String(buf));
    text.append(getDescription());
    return text;
}

String TraceableCIMException::getCIMMessage() const
{
    return _rep->cimMessage;
}

void TraceableCIMException::setCIMMessage(const String& cimMessage)
{
    _rep->cimMessage = cimMessage;
}

String TraceableCIMException::getFile() const
{
    return _rep->file;
}

Uint32 TraceableCIMException::getLine() const
{
    return _rep->line;
}

const ContentLanguageList& TraceableCIMException::getContentLanguages() const
{
    return _rep->contentLanguages;
}

PEGASUS_NAMESPACE_END
