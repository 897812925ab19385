// The server side of CIM-XML over HTTP, without the transport.
//
// The HTTP server hands over the method, the request headers and the body
// of one request, the OperationContext it built (IdentityContainer with the
// authenticated user and the client's address), and gets back the complete
// HTTP answer. In between, the processor checks the CIM headers against the
// body, decodes the IMETHODCALL or METHODCALL into one call of the
// CIMOperations target, and encodes the result or the error.
//
// Transport matters stay with the caller: Host, Content-Length and chunked
// framing, authentication, Connection handling. The answer never carries a
// Content-Length header; the transport adds it.
//
// A transport that sends answers while they are produced uses prepare()
// and run(): prepare() gives the HTTP error or the headers of the 200
// answer, run() executes the call and writes the body to a CimXmlBodySink,
// one object at a time.
//
// process() is const and keeps no state between calls: several threads may
// use one processor at once, provided the target is thread-safe.
//
// Not part of the OpenPegasus API.
#ifndef CimXml_CimXmlRequestProcessor_h
#define CimXml_CimXmlRequestProcessor_h

#include <memory>
#include <string>
#include <utility>
#include <vector>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Internal/CIMOperations.h>
#include <Pegasus/Internal/CIMPullOperations.h>
#include <CimXml/CimXmlBodySink.h>

PEGASUS_NAMESPACE_BEGIN

typedef std::vector<std::pair<std::string, std::string> > CimXmlHeaders;

struct PEGASUS_COMMON_LINKAGE CimXmlHttpResponse
{
    Uint32 status = 200;        // 200, 400, 401, 500, 501, 503
    std::string reason;         // "OK", "Bad Request", ...
    CimXmlHeaders headers;      // in order; no Content-Length
    std::string body;           // empty for HTTP-level errors

    // Value of the first header of that name (case-insensitive), or "".
    std::string header(const std::string& name) const;
};

class PEGASUS_COMMON_LINKAGE CimXmlRequestProcessor
{
public:
    // hostName fills the HOST of full paths (INSTANCEPATH, CLASSPATH) in
    // answers whose objects carry none. flags are XmlWriter flags
    // (XmlWriter::EXTENDED adds what strict clients cannot parse). The pull
    // operations go to `pull`; without one they are CIM_ERR_NOT_SUPPORTED.
    CimXmlRequestProcessor(CIMOperations& target, const String& hostName,
        Uint32 flags = 0, CIMPullOperations* pull = 0);

    // httpMethod: "POST" or "M-POST" (anything else: 501). headers: as
    // received, in any case, repeated names allowed (they are joined with
    // ", "), the prefixed "NN-" forms of M-POST included.
    CimXmlHttpResponse process(const std::string& httpMethod,
        const CimXmlHeaders& headers, const std::string& body,
        const OperationContext& context) const;

    // A decoded request, ready to run.
    class PEGASUS_COMMON_LINKAGE Call
    {
    public:
        Call();
        ~Call();
        Call(Call&&) noexcept;
        Call& operator=(Call&&) noexcept;

        // Whether the answer may hold many objects (an enumeration or an
        // association query), so that sending it while it is produced pays.
        bool manyObjects() const;

        struct Rep;

    private:
        friend class CimXmlRequestProcessor;
        std::unique_ptr<Rep> _rep;
    };

    // Checks and decodes a request like process(). Answers the HTTP-level
    // error, or status 200 with the answer's headers and an empty body: then
    // `call` is ready for run(). The body is not needed after this.
    CimXmlHttpResponse prepare(const std::string& httpMethod,
        const CimXmlHeaders& headers, const std::string& body, Call& call) const;

    // Executes a prepared call and writes the body of its answer to `sink`.
    // Returns the CIM status code the answer carries (0: success), in its
    // ERROR element or, when part of the body had left, through finish().
    Uint32 run(Call& call, const OperationContext& context, CimXmlBodySink& sink) const;

    // An HTTP-level error answer with an empty body: status, reason phrase,
    // optional CIMError header and optional PGErrorDetail (%-encoded).
    // E.g. httpError(400, "request-not-well-formed", "...").
    static CimXmlHttpResponse httpError(Uint32 status, const std::string& cimError,
        const String& detail = String());
    static const char* reasonPhrase(Uint32 status);

private:
    CIMOperations& _target;
    CIMPullOperations* _pull;
    String _hostName;
    Uint32 _flags;
};

PEGASUS_NAMESPACE_END

#endif
