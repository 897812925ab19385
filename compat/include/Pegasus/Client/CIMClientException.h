// Failures of the client library that are not CIM errors.
#ifndef Pegasus_CIMClientException_h
#define Pegasus_CIMClientException_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Client/Linkage.h>

PEGASUS_NAMESPACE_BEGIN

// The server's HTTP answer could not be read as HTTP.
class PEGASUS_CLIENT_LINKAGE CIMClientMalformedHTTPException : public Exception
{
public:
    CIMClientMalformedHTTPException(const String& message);
};

// The server answered with an HTTP error status instead of a CIM answer.
// Message: "HTTP Error (<code> <reason phrase>)", followed by
// ": <CIMError>" and ": <detail>" when the server sent them.
class PEGASUS_CLIENT_LINKAGE CIMClientHTTPErrorException : public Exception
{
public:
    CIMClientHTTPErrorException(Uint32 httpStatusCode, const String& cimError,
        const String& cimErrorDetail);
    CIMClientHTTPErrorException(Uint32 httpStatusCode, const String& reasonPhrase,
        const String& cimError, const String& cimErrorDetail);
    CIMClientHTTPErrorException(const CIMClientHTTPErrorException& httpError);
    ~CIMClientHTTPErrorException();

    Uint32 getCode() const;
    String getCIMError() const;
    String getCIMErrorDetail() const;

private:
    Uint32 _code;
    String _cimError;
    String _cimErrorDetail;
};

// The answer was not well-formed XML.
class PEGASUS_CLIENT_LINKAGE CIMClientXmlException : public Exception
{
public:
    CIMClientXmlException(const String& message);
};

// The answer was XML but not the expected CIM-XML response.
class PEGASUS_CLIENT_LINKAGE CIMClientResponseException : public Exception
{
public:
    CIMClientResponseException(const String& message);
};

PEGASUS_NAMESPACE_END

#endif /* Pegasus_CIMClientException_h */
