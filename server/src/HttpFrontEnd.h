// The listeners of cimhost: HTTP on TCP (Basic authentication against the
// password file), HTTPS when a certificate and key are configured, and the
// local Unix socket (the peer's uid is trusted). Each hands CIM-XML requests
// to the request processor with an OperationContext holding the
// authenticated user and the client's address, and logs every request.
#ifndef CIMHOST_HTTP_FRONT_END_H
#define CIMHOST_HTTP_FRONT_END_H

#include <cimhost/EmbeddedServer.h>

#include <CimXml/CimXmlRequestProcessor.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace httplib
{
class Server;
class Request;
struct Response;
}

namespace cimhost
{

class CimHttpServer;
class Logger;
class PasswordFile;

class HttpFrontEnd
{
public:
    enum class Transport
    {
        Tcp,
        Tls,
        Local
    };

    HttpFrontEnd(const ServerOptions& options, Pegasus::CIMOperations& target,
        const Pegasus::String& hostName, PasswordFile* passwords, Logger& logger);
    ~HttpFrontEnd();
    HttpFrontEnd(const HttpFrontEnd&) = delete;
    HttpFrontEnd& operator=(const HttpFrontEnd&) = delete;

    // Binds every configured listener and starts serving. Throws
    // std::runtime_error when a listener cannot be set up.
    void start();
    // Stops accepting, lets running requests finish, closes idle
    // connections, joins the workers. Idempotent.
    void stop();

    int httpPort() const { return _httpPort; }
    int httpsPort() const { return _httpsPort; }
    const std::string& socketPath() const { return _socketPath; }

    // "user:password" from an "Authorization: Basic ..." value; false when
    // the header is not Basic or not decodable.
    static bool decodeBasic(const std::string& header, std::string& user,
        std::string& password);

private:
    void configure(httplib::Server& server, Transport transport);
    void handle(const httplib::Request& req, httplib::Response& res, Transport transport);
    void runListener(httplib::Server& server);

    ServerOptions _options;
    std::string _hostName;
    Pegasus::CimXmlRequestProcessor _processor;
    PasswordFile* _passwords;
    Logger& _logger;

    std::unique_ptr<CimHttpServer> _http;
    std::unique_ptr<httplib::Server> _https;
    std::unique_ptr<CimHttpServer> _local;
    std::vector<std::thread> _threads;
    int _httpPort = -1;
    int _httpsPort = -1;
    std::string _socketPath;
    bool _running = false;
};

} // namespace cimhost

#endif
