// The connection and the request/response exchange behind CIMClient.
#ifndef Pegasus_CIMClientRep_h
#define Pegasus_CIMClientRep_h

#include <memory>
#include <mutex>
#include <string>

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>
#include <CimXml/XmlReader.h>
#include <Pegasus/Internal/InProcessServer.h>

namespace httplib
{
class ClientImpl;
}

PEGASUS_NAMESPACE_BEGIN

class CIMClientRep
{
public:
    CIMClientRep();
    ~CIMClientRep();

    Uint32 timeout() const;
    void setTimeout(Uint32 ms);

    void connect(const String& host, Uint32 port, const String& user,
        const String& password);
    // The server bound to this thread in process (see InProcessServer),
    // else the local socket.
    void connectLocal();
    void disconnect();

    // A fresh MESSAGE ID.
    String nextMessageId();

    // Sends one request and decodes the answer; CIM errors are thrown as
    // CIMException with the whole description as message.
    CimXmlIMethodResponse intrinsic(const String& methodName,
        const String& messageId, const String& cimObject, const std::string& body);
    CimXmlMethodResponse extrinsic(const String& methodName,
        const String& messageId, const String& cimObject, const std::string& body);

private:
    std::string _post(const String& methodName, const String& cimObject,
        const std::string& body);
    std::string _postInProcess(const String& methodName, const String& cimObject,
        const std::string& body);
    void _applyTimeout();

    mutable std::mutex _mutex;
    std::unique_ptr<httplib::ClientImpl> _http;
    std::shared_ptr<InProcessServer> _inProcess;
    Uint32 _timeoutMs;
    Uint64 _nextId;
};

PEGASUS_NAMESPACE_END

#endif
