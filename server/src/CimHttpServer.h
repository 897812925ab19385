// The HTTP/1.1 listener of cimhost, on TCP, TLS over TCP, or a Unix domain
// socket.
//
// It is cpp-httplib's server with its own connection loop: every connection
// runs on its own thread (see ConnectionThreads), and the number of open
// connections is bounded in all and per peer (client address; user id on
// the Unix socket). A TLS handshake must finish, and each request's headers
// must arrive, within the header time-out; its body within the body
// time-out counted from the end of the headers. The headers are checked
// (see setHeaderCheck) before any byte of the body is read; a request the
// check answers, or that cannot be parsed, ends its connection. Keep-alive
// requests are served in turn; idle connections end after the keep-alive
// time-out (or at once when the server stops). Requests made with M-POST
// are served like POST (ConnectionInfo::mpost). For Unix sockets the peer's
// user id comes from SO_PEERCRED.
#ifndef CIMHOST_CIM_HTTP_SERVER_H
#define CIMHOST_CIM_HTTP_SERVER_H

#include "AnswerHead.h"
#include "BufferedAnswerBody.h"
#include "PasswordFile.h"
#include "RequestHead.h"

#include <httplib.h>
#include <openssl/ssl.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace cimhost
{

class ConnectionStream;
class Logger;

// What the request handlers know about the connection they run for.
struct ConnectionInfo
{
    bool local = false;      // Unix domain socket
    bool peerKnown = false;  // local: the peer's credentials were read
    std::string peerUser;    // local: user name of the peer's uid
    std::string remoteIp;    // TCP: client address; local: 127.0.0.1
    bool mpost = false;      // this request came as M-POST
    std::string user;        // the user the header check let in
    // TCP and TLS: the Authorization value the password file last accepted
    // on this connection, for whom, and how long that holds.
    std::string acceptedAuthorization;
    std::string acceptedUser;
    PasswordFile::Acceptance acceptance;
};

// The answer to a request the server read itself (see setPlainHandler).
struct PlainAnswer
{
    AnswerHead head;
    std::string body;
    // A large body, sent block by block instead of `body`.
    std::shared_ptr<BufferedAnswerBody> blocks;
    // Runs once the answer has been sent or has failed.
    std::function<void()> sent;
};

struct ListenerLimits
{
    int headerTimeoutSeconds = 10;
    int bodyTimeoutSeconds = 20;
    int keepAliveSeconds = 5;
    int maxConnections = 256;
    int maxConnectionsPerPeer = 32;
};

class CimHttpServer : public httplib::Server
{
public:
    enum class Kind
    {
        Tcp,
        Tls,
        Local
    };

    CimHttpServer(Kind kind, const ListenerLimits& limits, Logger& logger);
    ~CimHttpServer() override;

    // Tls: loads the certificate chain and key; false when they are not
    // usable.
    bool loadCertificate(const std::string& certificateFile, const std::string& keyFile);

    // Creates, binds and listens on the Unix socket (a stale socket file is
    // replaced, one a running server answers on is not; the file gets mode
    // 0666: the peer's uid is what counts).
    bool bindUnix(const std::string& path);

    // Runs once per request, when its headers have arrived and before its
    // body is read. Returns true when it answered the request itself (the
    // connection then closes after the answer); it may set
    // ConnectionInfo::user.
    using HeaderCheck = std::function<bool(const httplib::Request&, httplib::Response&)>;
    void setHeaderCheck(HeaderCheck check) { _headerCheck = std::move(check); }

    // Requests of the common case (see RequestHead) are read and answered
    // without the library's per-request objects once both are set. The
    // check says whether such a request passes the header check outright,
    // with nothing to log or count (it may set ConnectionInfo::user); a
    // request it does not pass goes through the library as any other. The
    // handler answers the requests that pass, or returns false, having done
    // nothing that shows, for one the library is to answer after all.
    using PlainCheck = std::function<bool(const RequestHead&)>;
    using PlainHandler =
        std::function<bool(const RequestHead&, const std::string& body, PlainAnswer&)>;
    void setPlainHandler(PlainCheck check, PlainHandler handler)
    {
        _plainCheck = std::move(check);
        _plainHandler = std::move(handler);
    }

    // The connection of the request being handled on this thread.
    static ConnectionInfo* currentConnection();

private:
    enum class Plain
    {
        NotTaken,  // left to the library, every byte still unread
        Served,    // answered; the connection goes on
        Ended      // answered, or failed while answering; the connection ends
    };

    bool process_and_close_socket(socket_t sock) override;
    // keepAlive: the Keep-Alive field's value once made; headText: room
    // for the answer's head.
    Plain servePlain(ConnectionStream& stream, RequestHead& head, std::string& keepAlive,
        std::string& headText, bool last);
    bool checkHeaders(const httplib::Request& req, httplib::Response& res);
    bool admit(const std::string& peer);
    void release(const std::string& peer);

    Kind _kind;
    ListenerLimits _limits;
    Logger& _logger;
    SSL_CTX* _tls = nullptr;
    HeaderCheck _headerCheck;
    PlainCheck _plainCheck;
    PlainHandler _plainHandler;

    std::mutex _peersMutex;
    std::map<std::string, int> _peers;  // open connections per peer
    int _open = 0;
};

} // namespace cimhost

#endif
