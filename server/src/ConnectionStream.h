// One accepted connection of cimhost as the HTTP parser's stream: plain TCP,
// a Unix socket, or TLS over TCP (the handshake done here, under a
// deadline). Reads must finish before the current deadline, which the
// server moves from the header phase to the body phase of each request, so
// a client that trickles bytes is cut off whatever it sends. Bytes read and
// not consumed yet stay in the stream for the next request on the
// connection. Small writes wait in the stream and leave with the next
// larger one or at flush(), so that the head and body of an answer go out
// in one send.
#ifndef CIMHOST_CONNECTION_STREAM_H
#define CIMHOST_CONNECTION_STREAM_H

#include <httplib.h>
#include <openssl/ssl.h>
#include <sys/uio.h>

#include <chrono>
#include <functional>
#include <string>

namespace cimhost
{

class ConnectionStream : public httplib::Stream
{
public:
    using Clock = std::chrono::steady_clock;

    // tls: the server context for a TLS connection, or null. local: a Unix
    // socket (no peer address).
    ConnectionStream(int sock, SSL_CTX* tls, bool local, int writeTimeoutMs);
    ~ConnectionStream() override;
    ConnectionStream(const ConnectionStream&) = delete;
    ConnectionStream& operator=(const ConnectionStream&) = delete;

    // The TLS handshake (nothing without TLS); false when it fails or does
    // not finish before the deadline.
    bool handshake(Clock::time_point deadline);

    // Waits until a request starts arriving, in short slices so that
    // stopped() ends the wait; false on time-out, end of stream or stop.
    template <class Stopped>
    bool waitForRequest(Clock::time_point deadline, Stopped stopped)
    {
        while (!stopped())
        {
            if (buffered() > 0 || receiveWithin())
                return true;
            if (Clock::now() >= deadline)
                return false;
        }
        return false;
    }

    void setDeadline(Clock::time_point deadline) { _deadline = deadline; }

    // Tells reads that the server is stopping: a read waiting for the peer
    // then gives up at once instead of at its deadline.
    void setStopped(std::function<bool()> stopped) { _stopped = std::move(stopped); }

    // Drops the "M-" of an M-POST request line, so that the HTTP parser sees
    // POST. False when the connection ended or stalled before the method.
    bool stripExtensionMethod(bool& mpost);

    // The bytes received and not read yet; receiveMore() adds to them
    // (waiting until the deadline), consume() takes them as read.
    const char* pending() const { return _data.data() + _pos; }
    size_t pendingSize() const { return buffered(); }
    bool receiveMore() { return fill(); }
    void consume(size_t size) { _pos += size; }

    // Sends raw bytes (an answer given before any request was parsed).
    void sendRaw(const std::string& text);

    // Sends the writes still waiting; false when the connection failed.
    bool flush();

    // httplib::Stream
    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* ptr, size_t size) override;
    ssize_t write(const char* ptr, size_t size) override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    socket_t socket() const override { return _sock; }

private:
    size_t buffered() const { return _data.size() - _pos; }
    // Waits a short slice for bytes from the peer, keeping what arrives;
    // true when some did or the connection ended or failed (the
    // next read tells which).
    bool receiveWithin();
    // Polls for events until the deadline, in short slices while the server
    // may stop; false on time-out or stop.
    bool waitBefore(Clock::time_point deadline, short events) const;
    bool fill();  // reads more bytes before the deadline
    void keep(const char* bytes, size_t size);  // bytes received, to be read
    // read() beyond one buffered byte; kept out of line so that the
    // one-byte path stays a leaf.
    __attribute__((noinline)) ssize_t readMore(char* ptr, size_t size);
    // Sends from the pieces given, waiting up to the write time-out for
    // room; the bytes sent, or -1.
    ssize_t sendPieces(iovec* pieces, int count);
    ssize_t writeNow(const char* ptr, size_t size);
    void lookUpAddresses() const;

    int _sock;
    SSL* _ssl = nullptr;
    bool _local;
    int _writeTimeoutMs;
    Clock::time_point _deadline;
    std::function<bool()> _stopped;
    std::string _data;
    size_t _pos = 0;
    std::string _out;  // written, not sent yet
    // The peer's and our own address, looked up once for the connection.
    mutable bool _addressesKnown = false;
    mutable std::string _remoteIp;
    mutable int _remotePort = 0;
    mutable std::string _localIp;
    mutable int _localPort = 0;
};

} // namespace cimhost

#endif
