// A CIM server in the calling process, as the client library's local
// connection can reach it.
//
// A process that is itself a CIM server binds its server to the threads that
// run provider code (initialize(), operations, terminate()). There,
// CIMClient::connectLocal() connects to the bound server in process instead of
// opening the local socket: a provider's up-call reaches its own server
// whatever socket option or variable is in force, and never waits for a
// socket worker that other clients may hold. On threads without a binding,
// connectLocal() opens the local socket as before.
//
// Not part of the OpenPegasus API: provider modules never include this.
#ifndef Pegasus_Internal_InProcessServer_h
#define Pegasus_Internal_InProcessServer_h

#include <memory>
#include <string>

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <CimXml/CimXmlRequestProcessor.h>

PEGASUS_NAMESPACE_BEGIN

class PEGASUS_COMMON_LINKAGE InProcessServer
{
public:
    virtual ~InProcessServer();

    // Answers one CIM-XML request (method POST, its headers and body) the way
    // the server's local listener answers it. A server that no longer serves
    // answers 503.
    virtual CimXmlHttpResponse process(const CimXmlHeaders& headers,
        const std::string& body) = 0;

    // The server bound to the calling thread, or null.
    static std::shared_ptr<InProcessServer> boundToThisThread();

    // Binds a server to the calling thread while it lives; the binding in
    // force before comes back when it ends. A null server changes nothing.
    class PEGASUS_COMMON_LINKAGE Scope
    {
    public:
        explicit Scope(std::shared_ptr<InProcessServer> server);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        bool _bound;
        std::shared_ptr<InProcessServer> _previous;
    };
};

PEGASUS_NAMESPACE_END

#endif
