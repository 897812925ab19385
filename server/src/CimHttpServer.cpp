#include "CimHttpServer.h"
#include "ConnectionStream.h"
#include "ConnectionThreads.h"
#include "Logger.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace cimhost
{

namespace
{

thread_local ConnectionInfo* tlsConnection = nullptr;
thread_local ConnectionStream* tlsStream = nullptr;
// Per request: whether the header check ran, and whether the connection
// ends after the answer.
thread_local bool tlsHeadersChecked = false;
thread_local bool tlsCloseAfterAnswer = false;
// The body's deadline was set for this request already (by a read the
// server began itself and left to the library).
thread_local bool tlsBodyDeadlineSet = false;

using Clock = ConnectionStream::Clock;

bool peerCredentials(int sock, ucred& cred)
{
    socklen_t len = sizeof(cred);
    return ::getsockopt(sock, SOL_SOCKET, SO_PEERCRED, &cred, &len) == 0;
}

bool userName(uid_t uid, std::string& user)
{
    std::vector<char> buf(16384);
    passwd pw;
    passwd* result = nullptr;
    if (::getpwuid_r(uid, &pw, buf.data(), buf.size(), &result) != 0 || !result)
        return false;
    user = result->pw_name;
    return true;
}

// Writes every byte (a write may take only some); false when the
// connection failed.
bool writeAll(ConnectionStream& stream, const char* data, size_t size)
{
    while (size > 0)
    {
        ssize_t n = stream.write(data, size);
        if (n <= 0)
            return false;
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// The largest body of a request the server reads itself.
const size_t PLAIN_BODY_MAX = 64 * 1024;

const char* const TOO_MANY_CONNECTIONS =
    "HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\nConnection: close\r\n"
    "Retry-After: 5\r\n\r\n";

} // namespace

CimHttpServer::CimHttpServer(Kind kind, const ListenerLimits& limits, Logger& logger)
    : _kind(kind), _limits(limits), _logger(logger)
{
    new_task_queue = [] { return new ConnectionThreads(); };
    set_keep_alive_timeout(limits.keepAliveSeconds);
    set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
        return checkHeaders(req, res) ? HandlerResponse::Handled : HandlerResponse::Unhandled;
    });
    // A client that waits for "100 Continue" gets it only once its headers
    // passed the check.
    set_expect_100_continue_handler([this](const httplib::Request& req, httplib::Response& res) {
        return checkHeaders(req, res) ? res.status : 100;
    });
}

CimHttpServer::~CimHttpServer()
{
    if (_tls)
        SSL_CTX_free(_tls);
}

ConnectionInfo* CimHttpServer::currentConnection()
{
    return tlsConnection;
}

bool CimHttpServer::loadCertificate(const std::string& certificateFile,
    const std::string& keyFile)
{
    if (_tls)
        SSL_CTX_free(_tls);
    _tls = SSL_CTX_new(TLS_server_method());
    if (!_tls)
        return false;
    SSL_CTX_set_min_proto_version(_tls, TLS1_2_VERSION);
    SSL_CTX_set_options(_tls, SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION);
    SSL_CTX_set_mode(_tls, SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    if (SSL_CTX_use_certificate_chain_file(_tls, certificateFile.c_str()) != 1 ||
        SSL_CTX_use_PrivateKey_file(_tls, keyFile.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_check_private_key(_tls) != 1)
    {
        SSL_CTX_free(_tls);
        _tls = nullptr;
        return false;
    }
    return true;
}

bool CimHttpServer::bindUnix(const std::string& path)
{
    sockaddr_un addr;
    std::memset(&addr, 0, sizeof(addr));
    addr.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(addr.sun_path))
        return false;
    std::memcpy(addr.sun_path, path.c_str(), path.size());

    struct stat st;
    if (::lstat(path.c_str(), &st) == 0 && S_ISSOCK(st.st_mode))
    {
        // A socket that still answers belongs to a running server.
        int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        bool alive = probe >= 0 &&
            ::connect(probe, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) == 0;
        if (probe >= 0)
            ::close(probe);
        if (alive)
            return false;
        ::unlink(path.c_str());
    }

    int sock = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (sock < 0)
        return false;
    if (::bind(sock, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0 ||
        ::chmod(path.c_str(), 0666) != 0 || ::listen(sock, SOMAXCONN) != 0)
    {
        ::close(sock);
        return false;
    }
    svr_sock_ = sock;
    return true;
}

bool CimHttpServer::admit(const std::string& peer)
{
    std::lock_guard<std::mutex> lock(_peersMutex);
    int& count = _peers[peer];
    if (_open >= _limits.maxConnections || count >= _limits.maxConnectionsPerPeer)
    {
        if (count == 0)
            _peers.erase(peer);
        return false;
    }
    ++count;
    ++_open;
    return true;
}

void CimHttpServer::release(const std::string& peer)
{
    std::lock_guard<std::mutex> lock(_peersMutex);
    auto it = _peers.find(peer);
    if (it != _peers.end() && --it->second <= 0)
        _peers.erase(it);
    --_open;
}

bool CimHttpServer::checkHeaders(const httplib::Request& req, httplib::Response& res)
{
    if (tlsHeadersChecked)
        return false;
    tlsHeadersChecked = true;
    if (tlsStream && !tlsBodyDeadlineSet)
        tlsStream->setDeadline(Clock::now() + std::chrono::seconds(_limits.bodyTimeoutSeconds));
    if (_headerCheck && _headerCheck(req, res))
    {
        tlsCloseAfterAnswer = true;
        return true;
    }
    return false;
}

CimHttpServer::Plain CimHttpServer::servePlain(ConnectionStream& stream, RequestHead& head,
    std::string& keepAlive, std::string& headText, bool last)
{
    for (;;)
    {
        RequestHead::Result r = head.parse(stream.pending(), stream.pendingSize());
        if (r == RequestHead::Result::Other)
            return Plain::NotTaken;
        if (r == RequestHead::Result::Plain)
            break;
        if (!stream.receiveMore())
            return Plain::NotTaken;
    }
    // Bodies are read whole into the stream's buffer first: large ones are
    // left to the library, which reads them in pieces.
    if (head.contentLength() > PLAIN_BODY_MAX || head.contentLength() > payload_max_length_ ||
        !_plainCheck(head))
        return Plain::NotTaken;
    // The body's time starts now, and stays where it is should the library
    // take the request over after all.
    stream.setDeadline(Clock::now() + std::chrono::seconds(_limits.bodyTimeoutSeconds));
    tlsBodyDeadlineSet = true;
    size_t total = head.headBytes() + head.contentLength();
    while (stream.pendingSize() < total)
        if (!stream.receiveMore())
            return Plain::NotTaken;
    std::string body(stream.pending() + head.headBytes(), head.contentLength());
    PlainAnswer answer;
    if (!_plainHandler(head, body, answer))
        return Plain::NotTaken;
    stream.consume(total);
    AnswerHead& h = answer.head;
    bool close = last || head.closeAfter();
    if (close)
        h.set("Connection", "close");
    else
    {
        if (keepAlive.empty())
            keepAlive = "timeout=" + std::to_string(keep_alive_timeout_sec_) +
                ", max=" + std::to_string(keep_alive_max_count_);
        h.set("Keep-Alive", keepAlive);
    }
    size_t size = answer.blocks ? answer.blocks->size() : answer.body.size();
    if (!h.has("Content-Length"))
        h.set("Content-Length", std::to_string(size));
    headText.clear();
    h.write(headText);
    // Head and body leave in one send: the stream holds small writes back.
    bool ok = writeAll(stream, headText.data(), headText.size());
    if (answer.blocks)
        for (size_t offset = 0; ok && offset < size;)
        {
            const char* data = nullptr;
            size_t n = answer.blocks->read(offset, data, size - offset);
            ok = n > 0 && writeAll(stream, data, n);
            offset += n;
        }
    else
        ok = ok && writeAll(stream, answer.body.data(), answer.body.size());
    ok = stream.flush() && ok;
    if (answer.sent)
        answer.sent();
    return ok && !close ? Plain::Served : Plain::Ended;
}

bool CimHttpServer::process_and_close_socket(socket_t sock)
{
    ConnectionInfo info;
    info.local = _kind == Kind::Local;
    int writeTimeoutMs = static_cast<int>(write_timeout_sec_ * 1000 + write_timeout_usec_ / 1000);
    std::string peer;
    {
        ConnectionStream stream(sock, _tls, info.local, writeTimeoutMs);
        if (info.local)
        {
            info.remoteIp = "127.0.0.1";
            ucred cred;
            if (peerCredentials(sock, cred))
            {
                peer = "uid " + std::to_string(cred.uid);
                info.peerKnown = userName(cred.uid, info.peerUser);
            }
        }
        else
        {
            int port = 0;
            stream.get_remote_ip_and_port(info.remoteIp, port);
            peer = info.remoteIp;
        }

        bool admitted = admit(peer);
        if (!admitted)
        {
            _logger.warning(info.remoteIp + (info.local ? " " + peer : std::string()) +
                " connection refused: " + std::to_string(_limits.maxConnectionsPerPeer) +
                " connections from this peer or " + std::to_string(_limits.maxConnections) +
                " in all are open");
            if (_kind != Kind::Tls)
                stream.sendRaw(TOO_MANY_CONNECTIONS);
        }
        auto now = Clock::now();
        auto headerTime = std::chrono::seconds(_limits.headerTimeoutSeconds);
        if (admitted && stream.handshake(now + headerTime))
        {
            tlsConnection = &info;
            tlsStream = &stream;
            // Kept for the connection, their room reused by every request.
            RequestHead head;
            std::string keepAlive;
            std::string headText;
            size_t count = keep_alive_max_count_;
            auto stopped = [this] { return svr_sock_ == INVALID_SOCKET; };
            stream.setStopped(stopped);
            while (count > 0 &&
                stream.waitForRequest(Clock::now() + std::chrono::seconds(keep_alive_timeout_sec_),
                    stopped))
            {
                stream.setDeadline(Clock::now() + headerTime);
                info.user.clear();
                tlsHeadersChecked = false;
                tlsCloseAfterAnswer = false;
                tlsBodyDeadlineSet = false;
                if (!stream.stripExtensionMethod(info.mpost))
                    break;
                if (_plainHandler)
                {
                    Plain plain = servePlain(stream, head, keepAlive, headText, count == 1);
                    if (plain == Plain::Ended)
                        break;
                    if (plain == Plain::Served)
                    {
                        --count;
                        continue;
                    }
                }
                bool connectionClosed = false;
                bool ok = process_request(stream, count == 1, connectionClosed,
                    std::function<void(httplib::Request&)>());
                ok = stream.flush() && ok;
                // A request that never reached the header check could not be
                // parsed: what follows it on the connection is not trusted.
                if (!ok || connectionClosed || tlsCloseAfterAnswer || !tlsHeadersChecked)
                    break;
                --count;
            }
            tlsConnection = nullptr;
            tlsStream = nullptr;
        }
        if (admitted)
            release(peer);
    }
    ::shutdown(sock, SHUT_RDWR);
    ::close(sock);
    return true;
}

} // namespace cimhost
