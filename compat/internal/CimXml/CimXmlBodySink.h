// Where the request processor writes the body of a 200 answer, in pieces:
// the transport decides whether to send text early (chunked) or to keep
// all of it until the end (Content-Length).
//
// Not part of the OpenPegasus API.
#ifndef CimXml_CimXmlBodySink_h
#define CimXml_CimXmlBodySink_h

#include <string>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_COMMON_LINKAGE CimXmlBodySink
{
public:
    virtual ~CimXmlBodySink() {}

    // `text` holds the body not yet taken, ending after a complete object.
    // The sink may take (send, or keep elsewhere) all of it and clear it.
    virtual void progress(std::string& text) = 0;

    // Whether some of the body already left, so that a failure can no
    // longer replace the answer.
    virtual bool sent() const = 0;

    // Drops what the sink took but has not sent: a failure replaces the
    // answer. Only called while sent() is false.
    virtual void discard() = 0;

    // The rest of the body. A non-zero code reports a failure that happened
    // after part of the body left: the body is complete XML all the same
    // and the failure (CIM status code and the ERROR description) must be
    // reported beside it.
    virtual void finish(std::string& text, Uint32 code, const String& description) = 0;
};

PEGASUS_NAMESPACE_END

#endif
