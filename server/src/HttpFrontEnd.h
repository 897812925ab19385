// The listeners of cimhost: HTTP on TCP (Basic authentication against the
// password file), HTTPS when a certificate and key are configured, and the
// local Unix socket (the peer's uid is trusted). Each checks a request's
// headers and credentials before its body is read (answering 400, 401, 429
// or 501 and closing the connection when they do not pass), hands CIM-XML
// requests to the request processor with an OperationContext holding the
// authenticated user and the client's address, at most workerCount at a
// time, and logs every request (with the texts that came from the client
// escaped).
#ifndef CIMHOST_HTTP_FRONT_END_H
#define CIMHOST_HTTP_FRONT_END_H

#include <cimhost/EmbeddedServer.h>

#include "LoginThrottle.h"
#include "MemoryTrimmer.h"
#include "RequestSlots.h"

#include <CimXml/CimXmlRequestProcessor.h>
#include <Pegasus/Common/OperationContext.h>

#include <chrono>
#include <exception>
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

class BufferedAnswerBody;
class CimHttpServer;
class Logger;
class RequestHead;
struct PlainAnswer;
struct ListenerLimits;
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
        Pegasus::CIMPullOperations& pull, const Pegasus::String& hostName,
        PasswordFile* passwords, Logger& logger);
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
    // the header is not Basic, not in canonical base64, or the user or the
    // password holds a NUL.
    static bool decodeBasic(const std::string& header, std::string& user,
        std::string& password);

private:
    // An answer in progress: what its run and its log line need.
    struct Answer
    {
        std::chrono::steady_clock::time_point started;
        std::string ip;
        std::string user;
        std::string method;     // POST or M-POST
        std::string cimMethod;  // the CIMMethod and CIMObject headers as sent
        std::string cimObject;
        Pegasus::OperationContext context;
        Pegasus::CimXmlRequestProcessor::Call call;
    };

    // Memory freed by answers goes back to the system once they come to
    // this many bytes and the server has been quiet for TRIM_QUIET.
    static constexpr size_t TRIM_AFTER_BYTES = 4 * 1024 * 1024;
    static constexpr std::chrono::milliseconds TRIM_QUIET{1000};

    // The state of an answer about to be made, its operation context set up.
    std::shared_ptr<Answer> newAnswer(const std::string& method, std::string cimMethod,
        std::string cimObject);
    void logFailure(const std::string& method, const std::string& path,
        std::exception_ptr failure);
    // The header check of a request the server read itself, for requests
    // that pass it outright (see CimHttpServer::setPlainHandler).
    bool passesAtOnce(const RequestHead& head, Transport transport);
    // False, with nothing done, for a request whose answer the library
    // sends (a chunked one).
    bool answerPlain(const RequestHead& head, const std::string& body, PlainAnswer& out);
    // Whether the client takes a chunked answer with trailer fields (the TE
    // field's value).
    static bool acceptsTrailers(std::string te);
    void logAnswer(const Answer& answer, Pegasus::Uint32 status, Pegasus::Uint32 code,
        const std::string& cimError);
    // Runs a prepared call into a body kept whole, gives the request's slot
    // back, logs the answer and counts it for the trimmer.
    std::shared_ptr<BufferedAnswerBody> runBuffered(Answer& state,
        std::unique_ptr<RequestSlots::Hold>& slot);
    void configure(CimHttpServer& server, Transport transport);
    bool checkHeaders(const httplib::Request& req, httplib::Response& res, Transport transport);
    void handle(const httplib::Request& req, httplib::Response& res);
    void runListener(httplib::Server& server);
    ListenerLimits limits() const;

    ServerOptions _options;
    std::string _hostName;
    Pegasus::CimXmlRequestProcessor _processor;
    PasswordFile* _passwords;
    Logger& _logger;
    LoginThrottle _throttle;
    RequestSlots _slots;
    MemoryTrimmer _trimmer;
    const std::string _spoolDirectory;

    std::unique_ptr<CimHttpServer> _http;
    std::unique_ptr<CimHttpServer> _https;
    std::unique_ptr<CimHttpServer> _local;
    std::vector<std::thread> _threads;
    int _httpPort = -1;
    int _httpsPort = -1;
    std::string _socketPath;
    bool _running = false;
};

} // namespace cimhost

#endif
