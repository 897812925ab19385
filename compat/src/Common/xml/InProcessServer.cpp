// The thread's binding of an in-process CIM server.
#include <Pegasus/Internal/InProcessServer.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

thread_local std::shared_ptr<InProcessServer> boundServer;

} // namespace

InProcessServer::~InProcessServer()
{
}

std::shared_ptr<InProcessServer> InProcessServer::boundToThisThread()
{
    return boundServer;
}

InProcessServer::Scope::Scope(std::shared_ptr<InProcessServer> server)
    : _bound(server != nullptr)
{
    if (!_bound)
        return;
    _previous = std::move(boundServer);
    boundServer = std::move(server);
}

InProcessServer::Scope::~Scope()
{
    if (_bound)
        boundServer = std::move(_previous);
}

PEGASUS_NAMESPACE_END
