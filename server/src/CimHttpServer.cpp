#include "CimHttpServer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netdb.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <algorithm>
#include <vector>

namespace cimhost
{

namespace
{

thread_local const ConnectionInfo* tlsConnection = nullptr;

using Clock = std::chrono::steady_clock;

int remainingMs(Clock::time_point deadline)
{
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

bool pollFor(int sock, short events, int timeoutMs)
{
    pollfd p{sock, events, 0};
    for (;;)
    {
        int r = ::poll(&p, 1, timeoutMs);
        if (r < 0 && errno == EINTR)
            continue;
        return r > 0;
    }
}

// Bytes read from a connection and not consumed yet. It outlives the
// per-request streams, so nothing a client sent early is lost.
struct ReadBuffer
{
    std::string data;
    size_t pos = 0;

    size_t available() const { return data.size() - pos; }
    void compact()
    {
        if (pos == data.size())
        {
            data.clear();
            pos = 0;
        }
    }
};

// Reads more bytes into the buffer; false on end of stream, error or
// time-out.
bool fill(int sock, ReadBuffer& buffer, int timeoutMs)
{
    if (!pollFor(sock, POLLIN, timeoutMs))
        return false;
    char chunk[8192];
    for (;;)
    {
        ssize_t n = ::recv(sock, chunk, sizeof(chunk), 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        buffer.compact();
        buffer.data.append(chunk, static_cast<size_t>(n));
        return true;
    }
}

// One request's view of the socket. Reads must finish before the request's
// deadline, so a client that trickles bytes is cut off.
class DeadlineStream : public httplib::Stream
{
public:
    DeadlineStream(int sock, ReadBuffer& buffer, Clock::time_point deadline,
        int writeTimeoutMs, const ConnectionInfo& info)
        : _sock(sock), _buffer(buffer), _deadline(deadline), _writeTimeoutMs(writeTimeoutMs),
          _info(info)
    {
    }

    bool is_readable() const override
    {
        return _buffer.available() > 0 || pollFor(_sock, POLLIN, remainingMs(_deadline));
    }

    bool is_writable() const override
    {
        return pollFor(_sock, POLLOUT, _writeTimeoutMs);
    }

    ssize_t read(char* ptr, size_t size) override
    {
        if (_buffer.available() == 0 && !fill(_sock, _buffer, remainingMs(_deadline)))
            return -1;
        size_t n = std::min(size, _buffer.available());
        std::memcpy(ptr, _buffer.data.data() + _buffer.pos, n);
        _buffer.pos += n;
        return static_cast<ssize_t>(n);
    }

    ssize_t write(const char* ptr, size_t size) override
    {
        if (!is_writable())
            return -1;
        for (;;)
        {
            ssize_t n = ::send(_sock, ptr, size, MSG_NOSIGNAL);
            if (n < 0 && errno == EINTR)
                continue;
            return n;
        }
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override
    {
        ip = _info.remoteIp;
        port = 0;
        sockaddr_storage addr;
        socklen_t len = sizeof(addr);
        if (!_info.local &&
            ::getpeername(_sock, reinterpret_cast<sockaddr*>(&addr), &len) == 0)
        {
            if (addr.ss_family == AF_INET)
                port = ntohs(reinterpret_cast<sockaddr_in*>(&addr)->sin_port);
            else if (addr.ss_family == AF_INET6)
                port = ntohs(reinterpret_cast<sockaddr_in6*>(&addr)->sin6_port);
        }
    }

    void get_local_ip_and_port(std::string& ip, int& port) const override
    {
        ip.clear();
        port = 0;
        sockaddr_storage addr;
        socklen_t len = sizeof(addr);
        if (_info.local ||
            ::getsockname(_sock, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
            return;
        char host[NI_MAXHOST];
        char serv[NI_MAXSERV];
        if (::getnameinfo(reinterpret_cast<sockaddr*>(&addr), len, host, sizeof(host),
                serv, sizeof(serv), NI_NUMERICHOST | NI_NUMERICSERV) == 0)
        {
            ip = host;
            port = std::atoi(serv);
        }
    }

    socket_t socket() const override { return _sock; }

private:
    int _sock;
    ReadBuffer& _buffer;
    Clock::time_point _deadline;
    int _writeTimeoutMs;
    const ConnectionInfo& _info;
};

std::string peerAddress(int sock)
{
    sockaddr_storage addr;
    socklen_t len = sizeof(addr);
    if (::getpeername(sock, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
        return std::string();
    char host[NI_MAXHOST];
    if (::getnameinfo(reinterpret_cast<sockaddr*>(&addr), len, host, sizeof(host),
            nullptr, 0, NI_NUMERICHOST) != 0)
        return std::string();
    std::string ip = host;
    // IPv4 clients of a dual-stack socket appear as ::ffff:a.b.c.d.
    if (ip.compare(0, 7, "::ffff:") == 0 && ip.find('.') != std::string::npos)
        ip = ip.substr(7);
    return ip;
}

bool peerUser(int sock, std::string& user)
{
    ucred cred;
    socklen_t len = sizeof(cred);
    if (::getsockopt(sock, SOL_SOCKET, SO_PEERCRED, &cred, &len) != 0)
        return false;
    std::vector<char> buf(16384);
    passwd pw;
    passwd* result = nullptr;
    if (::getpwuid_r(cred.uid, &pw, buf.data(), buf.size(), &result) != 0 || !result)
        return false;
    user = result->pw_name;
    return true;
}

// Drops the "M-" of an M-POST request line, so that the HTTP parser sees
// POST. False when the connection ended or stalled.
bool stripExtensionMethod(int sock, ReadBuffer& buffer, Clock::time_point deadline,
    bool& mpost)
{
    static const char prefix[] = "M-POST ";
    const size_t want = sizeof(prefix) - 1;
    mpost = false;
    for (;;)
    {
        size_t have = std::min(buffer.available(), want);
        if (std::memcmp(buffer.data.data() + buffer.pos, prefix, have) != 0)
            return true;  // not M-POST
        if (have == want)
        {
            buffer.pos += 2;
            mpost = true;
            return true;
        }
        if (!fill(sock, buffer, remainingMs(deadline)))
            return buffer.available() > 0;
    }
}

} // namespace

CimHttpServer::CimHttpServer(bool local, int requestTimeoutSeconds)
    : _local(local), _requestTimeoutSeconds(requestTimeoutSeconds)
{
}

const ConnectionInfo* CimHttpServer::currentConnection()
{
    return tlsConnection;
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

bool CimHttpServer::waitForRequest(socket_t sock) const
{
    // Poll in short slices so that a stopping server drops idle connections.
    auto deadline = Clock::now() + std::chrono::seconds(keep_alive_timeout_sec_);
    while (svr_sock_ != INVALID_SOCKET)
    {
        int slice = std::min(remainingMs(deadline), 100);
        if (pollFor(sock, POLLIN, slice))
            return true;
        if (remainingMs(deadline) == 0)
            return false;
    }
    return false;
}

bool CimHttpServer::process_and_close_socket(socket_t sock)
{
    ConnectionInfo info;
    info.local = _local;
    if (_local)
    {
        info.remoteIp = "127.0.0.1";
        info.peerKnown = peerUser(sock, info.peerUser);
    }
    else
    {
        info.remoteIp = peerAddress(sock);
    }
    tlsConnection = &info;

    bool ret = false;
    size_t count = keep_alive_max_count_;
    int writeTimeoutMs = static_cast<int>(write_timeout_sec_ * 1000 + write_timeout_usec_ / 1000);
    ReadBuffer buffer;
    while (count > 0 && (buffer.available() > 0 || waitForRequest(sock)))
    {
        auto deadline = Clock::now() + std::chrono::seconds(_requestTimeoutSeconds);
        if (!stripExtensionMethod(sock, buffer, deadline, info.mpost))
            break;
        DeadlineStream stream(sock, buffer, deadline, writeTimeoutMs, info);
        bool closeConnection = count == 1;
        bool connectionClosed = false;
        ret = process_request(stream, closeConnection, connectionClosed,
            std::function<void(httplib::Request&)>());
        if (!ret || connectionClosed)
            break;
        --count;
    }

    tlsConnection = nullptr;
    ::shutdown(sock, SHUT_RDWR);
    ::close(sock);
    return ret;
}

} // namespace cimhost
