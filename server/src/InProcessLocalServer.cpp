#include "InProcessLocalServer.h"

#include <Pegasus/Common/OperationContext.h>

#include <pwd.h>
#include <unistd.h>
#include <vector>

using namespace Pegasus;

namespace cimhost
{

namespace
{

// The name of the process's effective uid, as the local listener names a peer.
String processUserName()
{
    std::vector<char> buf(16384);
    passwd pw;
    passwd* result = nullptr;
    if (::getpwuid_r(::geteuid(), &pw, buf.data(), buf.size(), &result) != 0 || !result)
        return String();
    return String(result->pw_name);
}

} // namespace

InProcessLocalServer::InProcessLocalServer(CIMOperations& target, CIMPullOperations& pull,
    const String& hostName)
    : _processor(target, hostName, 0, &pull), _userName(processUserName())
{
}

CimXmlHttpResponse InProcessLocalServer::process(const CimXmlHeaders& headers,
    const std::string& body)
{
    if (!_open)
        return CimXmlRequestProcessor::httpError(503, std::string(),
            String("the CIM server is stopping"));
    OperationContext context;
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
    context.insert(IdentityContainer(_userName, String("127.0.0.1")));
#else
    context.insert(IdentityContainer(_userName));
#endif
    context.insert(AcceptLanguageListContainer(AcceptLanguageList()));
    context.insert(ContentLanguageListContainer(ContentLanguageList()));
    return _processor.process("POST", headers, body, context);
}

void InProcessLocalServer::close()
{
    _open = false;
}

} // namespace cimhost
