//
// Exception, the general exceptions and CIMException.
//
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/CIMInstance.h>
#include "ExceptionRep.h"

PEGASUS_NAMESPACE_BEGIN

//
// Exception
//

Exception::Exception() : _rep(new ExceptionRep())
{
}

Exception::Exception(const String& message) : _rep(new ExceptionRep(message))
{
}

Exception::Exception(const Exception& exception)
    : _rep(new ExceptionRep(*exception._rep))
{
}

Exception::~Exception()
{
    delete _rep;
}

Exception& Exception::operator=(const Exception& exception)
{
    if (this != &exception)
        *_rep = *exception._rep;
    return *this;
}

const String& Exception::getMessage() const
{
    return _rep->message;
}

const ContentLanguageList& Exception::getContentLanguages() const
{
    return _rep->contentLanguages;
}

void Exception::setContentLanguages(const ContentLanguageList& langs)
{
    _rep->contentLanguages = langs;
}

//
// General exceptions
//

IndexOutOfBoundsException::IndexOutOfBoundsException()
    : Exception(String("index out of bounds"))
{
}

AlreadyExistsException::AlreadyExistsException(const String& message)
    : Exception(String("already exists: ") + message)
{
}

InvalidNameException::InvalidNameException(const String& name)
    : Exception(String("The CIM name is not valid: ") + name)
{
}

InvalidNamespaceNameException::InvalidNamespaceNameException(const String& name)
    : Exception(String("invalid CIM namespace name: ") + name)
{
}

UninitializedObjectException::UninitializedObjectException()
    : Exception(String("uninitialized object"))
{
}

TypeMismatchException::TypeMismatchException()
    : Exception(String("type mismatch"))
{
}

TypeMismatchException::TypeMismatchException(const String& message)
    : Exception(String("type mismatch: ") + message)
{
}

DynamicCastFailedException::DynamicCastFailedException()
    : Exception(String("dynamic cast failed"))
{
}

InvalidDateTimeFormatException::InvalidDateTimeFormatException()
    : Exception(String("invalid datetime format"))
{
}

MalformedObjectNameException::MalformedObjectNameException(const String& objectName)
    : Exception(String("malformed object name: ") + objectName)
{
}

BindFailedException::BindFailedException(const String& message)
    : Exception(String("Bind failed: ") + message)
{
}

InvalidLocatorException::InvalidLocatorException(const String& locator)
    : Exception(String("Invalid locator: ") + locator)
{
}

CannotCreateSocketException::CannotCreateSocketException()
    : Exception(String("Cannot create socket"))
{
}

CannotConnectException::CannotConnectException(const String& message)
    : Exception(message)
{
}

AlreadyConnectedException::AlreadyConnectedException()
    : Exception(String("already connected"))
{
}

NotConnectedException::NotConnectedException()
    : Exception(String("not connected"))
{
}

ConnectionTimeoutException::ConnectionTimeoutException()
    : Exception(String("connection timed out"))
{
}

SSLException::SSLException(const String& message)
    : Exception(String("SSL Exception: ") + message)
{
}

DateTimeOutOfRangeException::DateTimeOutOfRangeException(const String& message)
    : Exception(String("DateTime is out of range : ") + message)
{
}

InvalidEnumerationContextException::InvalidEnumerationContextException()
    : Exception(String("invalid enumeration context"))
{
}

//
// CIMException
//

CIMException::CIMException(CIMStatusCode code, const String& message)
    : Exception(message)
{
    _rep->code = code;
    _rep->cimMessage = String(cimStatusCodeToString(code));
}

CIMException::CIMException(
    CIMStatusCode code,
    const String& message,
    const CIMInstance& instance)
    : Exception(message)
{
    _rep->code = code;
    _rep->cimMessage = String(cimStatusCodeToString(code));
    _rep->errors.append(instance);
}

CIMException::CIMException(
    CIMStatusCode code,
    const String& message,
    const Array<CIMInstance>& instances)
    : Exception(message)
{
    _rep->code = code;
    _rep->cimMessage = String(cimStatusCodeToString(code));
    _rep->errors = instances;
}

CIMException::CIMException(const CIMException& cimException)
    : Exception(cimException)
{
}

CIMException& CIMException::operator=(const CIMException& cimException)
{
    Exception::operator=(cimException);
    return *this;
}

CIMException::~CIMException()
{
}

CIMStatusCode CIMException::getCode() const
{
    return _rep->code;
}

Uint32 CIMException::getErrorCount() const
{
    return _rep->errors.size();
}

CIMConstInstance CIMException::getError(Uint32 index) const
{
    return CIMConstInstance(_rep->errors[index]);
}

void CIMException::addError(const CIMInstance& instance)
{
    _rep->errors.append(instance);
}

PEGASUS_NAMESPACE_END
