// Failures of the client library that are not CIM errors.
#include <Pegasus/Client/CIMClientException.h>

#include <cstdio>

PEGASUS_NAMESPACE_BEGIN

namespace
{

String httpErrorMessage(Uint32 code, const String& reasonPhrase,
    const String& cimError, const String& cimErrorDetail)
{
    String m("HTTP Error (");
    char buf[16];
    snprintf(buf, sizeof(buf), "%u", code);
    m.append(String(buf));
    if (reasonPhrase.size())
    {
        m.append(String(" "));
        m.append(reasonPhrase);
    }
    m.append(String(")"));
    if (cimError.size())
    {
        m.append(String(": "));
        m.append(cimError);
    }
    if (cimErrorDetail.size())
    {
        m.append(String(": "));
        m.append(cimErrorDetail);
    }
    return m;
}

} // namespace

CIMClientMalformedHTTPException::CIMClientMalformedHTTPException(
    const String& message)
    : Exception(message)
{
}

CIMClientHTTPErrorException::CIMClientHTTPErrorException(Uint32 httpStatusCode,
    const String& cimError, const String& cimErrorDetail)
    : Exception(httpErrorMessage(httpStatusCode, String(), cimError, cimErrorDetail)),
      _code(httpStatusCode), _cimError(cimError), _cimErrorDetail(cimErrorDetail)
{
}

CIMClientHTTPErrorException::CIMClientHTTPErrorException(Uint32 httpStatusCode,
    const String& reasonPhrase, const String& cimError,
    const String& cimErrorDetail)
    : Exception(httpErrorMessage(httpStatusCode, reasonPhrase, cimError,
          cimErrorDetail)),
      _code(httpStatusCode), _cimError(cimError), _cimErrorDetail(cimErrorDetail)
{
}

CIMClientHTTPErrorException::CIMClientHTTPErrorException(
    const CIMClientHTTPErrorException& httpError)
    : Exception(httpError), _code(httpError._code),
      _cimError(httpError._cimError), _cimErrorDetail(httpError._cimErrorDetail)
{
}

CIMClientHTTPErrorException::~CIMClientHTTPErrorException()
{
}

Uint32 CIMClientHTTPErrorException::getCode() const
{
    return _code;
}

String CIMClientHTTPErrorException::getCIMError() const
{
    return _cimError;
}

String CIMClientHTTPErrorException::getCIMErrorDetail() const
{
    return _cimErrorDetail;
}

CIMClientXmlException::CIMClientXmlException(const String& message)
    : Exception(message)
{
}

CIMClientResponseException::CIMClientResponseException(const String& message)
    : Exception(message)
{
}

PEGASUS_NAMESPACE_END
