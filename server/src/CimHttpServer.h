// The HTTP/1.1 listener of cimhost, on TCP or on a Unix domain socket.
//
// It is cpp-httplib's server with its own connection loop: every connection
// runs on one worker of the pool, keep-alive requests are served in turn,
// idle connections end after the keep-alive time-out (or at once when the
// server stops), and a request must arrive completely within the read
// time-out. Requests made with M-POST are served like POST (the handler sees
// ConnectionInfo::mpost). For Unix sockets the peer's user id comes from
// SO_PEERCRED.
#ifndef CIMHOST_CIM_HTTP_SERVER_H
#define CIMHOST_CIM_HTTP_SERVER_H

#include <httplib.h>

#include <string>

namespace cimhost
{

// What the request handler knows about the connection it runs for.
struct ConnectionInfo
{
    bool local = false;      // Unix domain socket
    bool peerKnown = false;  // local: the peer's credentials were read
    std::string peerUser;    // local: user name of the peer's uid
    std::string remoteIp;    // TCP: client address; local: 127.0.0.1
    bool mpost = false;      // this request came as M-POST
};

class CimHttpServer : public httplib::Server
{
public:
    explicit CimHttpServer(bool local, int requestTimeoutSeconds);

    // Creates, binds and listens on the Unix socket (a stale socket file is
    // replaced, one a running server answers on is not; the file gets mode
    // 0666: the peer's uid is what counts).
    bool bindUnix(const std::string& path);

    // The connection of the request being handled on this thread.
    static const ConnectionInfo* currentConnection();

private:
    bool process_and_close_socket(socket_t sock) override;
    bool waitForRequest(socket_t sock) const;

    bool _local;
    int _requestTimeoutSeconds;
};

} // namespace cimhost

#endif
