// The server's own answer to the local connections its providers open: a
// CIMClient::connectLocal() made on a thread that runs provider code reaches
// this server in process (see Pegasus::InProcessServer), not through the
// local socket. The request runs as one from the local socket would, with the
// user name of the server process's uid and the address 127.0.0.1.
#ifndef CIMHOST_IN_PROCESS_LOCAL_SERVER_H
#define CIMHOST_IN_PROCESS_LOCAL_SERVER_H

#include <Pegasus/Internal/CIMOperations.h>
#include <Pegasus/Internal/CIMPullOperations.h>
#include <Pegasus/Internal/InProcessServer.h>
#include <CimXml/CimXmlRequestProcessor.h>

#include <atomic>
#include <string>

namespace cimhost
{

class InProcessLocalServer : public Pegasus::InProcessServer
{
public:
    // `pull` serves the pull operations, as for the listeners.
    InProcessLocalServer(Pegasus::CIMOperations& target, Pegasus::CIMPullOperations& pull,
        const Pegasus::String& hostName);

    Pegasus::CimXmlHttpResponse process(const Pegasus::CimXmlHeaders& headers,
        const std::string& body) override;

    // From now on every request is answered 503: the server stops.
    void close();

private:
    Pegasus::CimXmlRequestProcessor _processor;
    Pegasus::String _userName;
    std::atomic<bool> _open{true};
};

} // namespace cimhost

#endif
