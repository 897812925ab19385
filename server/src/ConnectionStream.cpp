#include "ConnectionStream.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <openssl/err.h>

#include <algorithm>

namespace cimhost
{

namespace
{

int remainingMs(ConnectionStream::Clock::time_point deadline)
{
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - ConnectionStream::Clock::now()).count();
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

// After a TLS call that wants more I/O: waits for it; false on time-out or
// a failure of the connection.
bool waitForTls(SSL* ssl, int sock, int result, int timeoutMs)
{
    switch (SSL_get_error(ssl, result))
    {
        case SSL_ERROR_WANT_READ:
            return pollFor(sock, POLLIN, timeoutMs);
        case SSL_ERROR_WANT_WRITE:
            return pollFor(sock, POLLOUT, timeoutMs);
        default:
            return false;
    }
}

// Writes up to this size wait to leave with what follows them.
const size_t COALESCE_BYTES = 16 * 1024;

// How often a read waiting for its peer looks whether the server stops.
const int STOP_CHECK_MS = 100;

} // namespace

ConnectionStream::ConnectionStream(int sock, SSL_CTX* tls, bool local, int writeTimeoutMs)
    : _sock(sock), _local(local), _writeTimeoutMs(writeTimeoutMs), _deadline(Clock::now())
{
    if (tls)
    {
        // Non-blocking, so that a TLS record that arrives in pieces cannot
        // hold a read past its deadline.
        int flags = ::fcntl(sock, F_GETFL, 0);
        ::fcntl(sock, F_SETFL, flags | O_NONBLOCK);
        _ssl = SSL_new(tls);
        if (_ssl)
        {
            SSL_set_fd(_ssl, sock);
            SSL_set_accept_state(_ssl);
        }
    }
    else
    {
        // Waits for the next request are slices of this length (reads of a
        // request's bytes do not wait on the socket, see fill()).
        timeval slice{0, STOP_CHECK_MS * 1000};
        ::setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &slice, sizeof(slice));
    }
}

ConnectionStream::~ConnectionStream()
{
    flush();
    if (_ssl)
    {
        SSL_shutdown(_ssl);
        SSL_free(_ssl);
    }
}

bool ConnectionStream::handshake(Clock::time_point deadline)
{
    if (!_ssl)
        return true;
    for (;;)
    {
        ERR_clear_error();
        int r = SSL_do_handshake(_ssl);
        if (r == 1)
            return true;
        if (!waitForTls(_ssl, _sock, r, remainingMs(deadline)))
            return false;
    }
}

bool ConnectionStream::waitBefore(Clock::time_point deadline, short events) const
{
    for (;;)
    {
        int left = remainingMs(deadline);
        int slice = _stopped ? std::min(left, STOP_CHECK_MS) : left;
        if (pollFor(_sock, events, slice))
            return true;
        if (slice == left || _stopped())
            return false;
    }
}

bool ConnectionStream::receiveWithin()
{
    if (_ssl)
        return SSL_pending(_ssl) > 0 || pollFor(_sock, POLLIN, STOP_CHECK_MS);
    // One receive that waits under the socket's receive time-out (a slice,
    // set when the connection starts) instead of a poll and then a receive.
    char chunk[8192];
    ssize_t n = ::recv(_sock, chunk, sizeof(chunk), 0);
    if (n > 0)
    {
        keep(chunk, static_cast<size_t>(n));
        return true;
    }
    return n == 0 || (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
}

bool ConnectionStream::fill()
{
    // What the peer waits for before it sends more (a 100 Continue) leaves
    // first.
    if (!flush())
        return false;
    char chunk[8192];
    for (;;)
    {
        ssize_t n;
        if (_ssl)
        {
            ERR_clear_error();
            int r = SSL_read(_ssl, chunk, sizeof(chunk));
            if (r <= 0)
            {
                int error = SSL_get_error(_ssl, r);
                if ((error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE) ||
                    !waitBefore(_deadline, error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT))
                    return false;
                continue;
            }
            n = r;
        }
        else
        {
            // Most often the bytes are there already: read first, wait only
            // when nothing is.
            n = ::recv(_sock, chunk, sizeof(chunk), MSG_DONTWAIT);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            {
                if (!waitBefore(_deadline, POLLIN))
                    return false;
                continue;
            }
            if (n <= 0)
                return false;
        }
        keep(chunk, static_cast<size_t>(n));
        return true;
    }
}

void ConnectionStream::keep(const char* bytes, size_t size)
{
    if (_pos == _data.size())
    {
        _data.clear();
        _pos = 0;
    }
    _data.append(bytes, size);
}

bool ConnectionStream::stripExtensionMethod(bool& mpost)
{
    static const char prefix[] = "M-POST ";
    const size_t want = sizeof(prefix) - 1;
    mpost = false;
    for (;;)
    {
        size_t have = std::min(buffered(), want);
        if (std::memcmp(_data.data() + _pos, prefix, have) != 0)
            return true;  // not M-POST
        if (have == want)
        {
            _pos += 2;
            mpost = true;
            return true;
        }
        if (!fill())
            return buffered() > 0;
    }
}

void ConnectionStream::sendRaw(const std::string& text)
{
    write(text.data(), text.size());
    flush();
}

bool ConnectionStream::is_readable() const
{
    if (buffered() > 0)
        return true;
    // Whatever the peer may be waiting for leaves before the wait.
    if (!const_cast<ConnectionStream*>(this)->flush())
        return false;
    if (_ssl && SSL_pending(_ssl) > 0)
        return true;
    return waitBefore(_deadline, POLLIN);
}

bool ConnectionStream::is_writable() const
{
    return pollFor(_sock, POLLOUT, _writeTimeoutMs);
}

ssize_t ConnectionStream::read(char* ptr, size_t size)
{
    // The HTTP parser reads the request line and headers a byte at a time:
    // a buffered byte is taken without setting up for the general case.
    if (size == 1 && _pos < _data.size())
    {
        *ptr = _data[_pos++];
        return 1;
    }
    return readMore(ptr, size);
}

ssize_t ConnectionStream::readMore(char* ptr, size_t size)
{
    if (buffered() == 0 && !fill())
        return -1;
    size_t n = std::min(size, buffered());
    std::memcpy(ptr, _data.data() + _pos, n);
    _pos += n;
    return static_cast<ssize_t>(n);
}

ssize_t ConnectionStream::sendPieces(iovec* pieces, int count)
{
    msghdr message;
    std::memset(&message, 0, sizeof(message));
    message.msg_iov = pieces;
    message.msg_iovlen = static_cast<size_t>(count);
    for (;;)
    {
        ssize_t n = ::sendmsg(_sock, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n >= 0)
            return n;
        if (errno == EINTR)
            continue;
        if ((errno != EAGAIN && errno != EWOULDBLOCK) ||
            !pollFor(_sock, POLLOUT, _writeTimeoutMs))
            return -1;
    }
}

ssize_t ConnectionStream::writeNow(const char* ptr, size_t size)
{
    if (_ssl)
    {
        if (size == 0)
            return 0;
        for (;;)
        {
            ERR_clear_error();
            int r = SSL_write(_ssl, ptr, static_cast<int>(std::min<size_t>(size, 1 << 30)));
            if (r > 0)
                return r;
            if (!waitForTls(_ssl, _sock, r, _writeTimeoutMs))
                return -1;
        }
    }
    iovec piece{const_cast<char*>(ptr), size};
    return sendPieces(&piece, 1);
}

bool ConnectionStream::flush()
{
    size_t done = 0;
    while (done < _out.size())
    {
        ssize_t n = writeNow(_out.data() + done, _out.size() - done);
        if (n < 0)
        {
            _out.clear();
            return false;
        }
        done += static_cast<size_t>(n);
    }
    _out.clear();
    return true;
}

ssize_t ConnectionStream::write(const char* ptr, size_t size)
{
    if (_out.size() + size <= COALESCE_BYTES)
    {
        _out.append(ptr, size);
        return static_cast<ssize_t>(size);
    }
    if (_out.empty())
        return writeNow(ptr, size);
    if (_ssl)
        return flush() ? writeNow(ptr, size) : -1;
    // What waits and the new bytes in one send.
    iovec pieces[2] = {{&_out[0], _out.size()}, {const_cast<char*>(ptr), size}};
    size_t waiting = _out.size();
    ssize_t n;
    for (;;)
    {
        n = sendPieces(pieces, 2);
        if (n < 0)
        {
            _out.clear();
            return -1;
        }
        if (static_cast<size_t>(n) >= waiting)
            break;
        waiting -= static_cast<size_t>(n);
        pieces[0].iov_base = static_cast<char*>(pieces[0].iov_base) + n;
        pieces[0].iov_len = waiting;
    }
    _out.clear();
    return n - static_cast<ssize_t>(waiting);
}

namespace
{

// The numeric host and port of a socket address; false when it has none.
bool numericAddress(const sockaddr_storage& addr, socklen_t len, std::string& ip, int& port)
{
    char host[NI_MAXHOST];
    char serv[NI_MAXSERV];
    if (::getnameinfo(reinterpret_cast<const sockaddr*>(&addr), len, host, sizeof(host), serv,
            sizeof(serv), NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return false;
    ip = host;
    port = std::atoi(serv);
    return true;
}

} // namespace

void ConnectionStream::lookUpAddresses() const
{
    if (_addressesKnown)
        return;
    _addressesKnown = true;
    _remoteIp = _local ? "127.0.0.1" : std::string();
    if (_local)
        return;
    sockaddr_storage addr;
    socklen_t len = sizeof(addr);
    if (::getpeername(_sock, reinterpret_cast<sockaddr*>(&addr), &len) == 0 &&
        numericAddress(addr, len, _remoteIp, _remotePort))
    {
        // IPv4 clients of a dual-stack socket appear as ::ffff:a.b.c.d.
        if (_remoteIp.compare(0, 7, "::ffff:") == 0 && _remoteIp.find('.') != std::string::npos)
            _remoteIp = _remoteIp.substr(7);
    }
    len = sizeof(addr);
    if (::getsockname(_sock, reinterpret_cast<sockaddr*>(&addr), &len) != 0 ||
        !numericAddress(addr, len, _localIp, _localPort))
    {
        _localIp.clear();
        _localPort = 0;
    }
}

void ConnectionStream::get_remote_ip_and_port(std::string& ip, int& port) const
{
    lookUpAddresses();
    ip = _remoteIp;
    port = _remotePort;
}

void ConnectionStream::get_local_ip_and_port(std::string& ip, int& port) const
{
    lookUpAddresses();
    ip = _localIp;
    port = _localPort;
}

} // namespace cimhost
