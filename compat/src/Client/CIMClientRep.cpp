// The connection and the request/response exchange behind CIMClient.
#include "CIMClientRep.h"

#include <chrono>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <httplib.h>

#include <Pegasus/Client/CIMClientException.h>
#include <Pegasus/Common/Exception.h>
#include <CimXml/XmlWriter.h>

PEGASUS_NAMESPACE_BEGIN

namespace
{

const char* const DEFAULT_LOCAL_SOCKET = "/tmp/cimhost.socket";

// Writing to a connection the server has closed raises SIGPIPE, which would
// end the client's process. While a request is exchanged the signal is held
// on this thread only; one raised by the exchange is taken off again, so the
// write just fails and the process's own handling of the signal is untouched.
class SigpipeHold
{
public:
    SigpipeHold()
    {
        sigemptyset(&_pipe);
        sigaddset(&_pipe, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        _wasPending = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &_pipe, &_saved);
    }
    ~SigpipeHold()
    {
        if (!_wasPending)
        {
            sigset_t pending;
            sigpending(&pending);
            if (sigismember(&pending, SIGPIPE) == 1)
            {
                timespec none = { 0, 0 };
                sigtimedwait(&_pipe, nullptr, &none);
            }
        }
        pthread_sigmask(SIG_SETMASK, &_saved, nullptr);
    }
    SigpipeHold(const SigpipeHold&) = delete;
    SigpipeHold& operator=(const SigpipeHold&) = delete;

private:
    sigset_t _pipe;
    sigset_t _saved;
    bool _wasPending = false;
};

std::string utf8(const String& s)
{
    return XmlWriter::toUtf8(s);
}

String fromUtf8(const std::string& s)
{
    try
    {
        return String(s.c_str());
    }
    catch (const Exception&)
    {
        return String();
    }
}

// The same exchange over a Unix domain socket: only the way the socket is
// opened differs.
class LocalClientImpl : public httplib::ClientImpl
{
public:
    explicit LocalClientImpl(const std::string& path)
        : httplib::ClientImpl("localhost", 0), _path(path)
    {
    }

protected:
    bool create_and_connect_socket(Socket& socket, httplib::Error& error) override
    {
        int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0)
        {
            error = httplib::Error::Connection;
            return false;
        }
        sockaddr_un addr;
        memset(&addr, 0, sizeof(addr));
        addr.sun_family = AF_UNIX;
        strncpy(addr.sun_path, _path.c_str(), sizeof(addr.sun_path) - 1);
        if (::connect(fd, (sockaddr*)&addr, sizeof(addr)) != 0)
        {
            ::close(fd);
            error = httplib::Error::Connection;
            return false;
        }
        socket.sock = fd;
        return true;
    }

private:
    std::string _path;
};

// Opens and closes one connection, so that connect() reports a server that
// does not listen. Returns an error text, or "" on success.
std::string probeTcp(const std::string& host, Uint32 port, Uint32 timeoutMs)
{
    addrinfo hints;
    memset(&hints, 0, sizeof(hints));
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* res = 0;
    std::string service = std::to_string(port);
    int rc = getaddrinfo(host.c_str(), service.c_str(), &hints, &res);
    if (rc != 0)
        return std::string("cannot resolve ") + host + ": " + gai_strerror(rc);
    std::string err = "no address";
    for (addrinfo* a = res; a; a = a->ai_next)
    {
        int fd = ::socket(a->ai_family, a->ai_socktype | SOCK_CLOEXEC, a->ai_protocol);
        if (fd < 0)
        {
            err = strerror(errno);
            continue;
        }
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
        int c = ::connect(fd, a->ai_addr, a->ai_addrlen);
        if (c != 0 && errno == EINPROGRESS)
        {
            pollfd p = { fd, POLLOUT, 0 };
            int n = poll(&p, 1, int(timeoutMs));
            if (n == 1)
            {
                int soerr = 0;
                socklen_t len = sizeof(soerr);
                getsockopt(fd, SOL_SOCKET, SO_ERROR, &soerr, &len);
                c = soerr == 0 ? 0 : -1;
                errno = soerr;
            }
            else
            {
                c = -1;
                errno = ETIMEDOUT;
            }
        }
        if (c == 0)
        {
            ::close(fd);
            freeaddrinfo(res);
            return std::string();
        }
        err = strerror(errno);
        ::close(fd);
    }
    freeaddrinfo(res);
    return err;
}

std::string probeLocal(const std::string& path)
{
    int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return strerror(errno);
    sockaddr_un addr;
    memset(&addr, 0, sizeof(addr));
    addr.sun_family = AF_UNIX;
    strncpy(addr.sun_path, path.c_str(), sizeof(addr.sun_path) - 1);
    int c = ::connect(fd, (sockaddr*)&addr, sizeof(addr));
    std::string err = c == 0 ? std::string() : std::string(strerror(errno));
    ::close(fd);
    return err;
}

[[noreturn]] void throwDecodeFailure(const CimXmlDecodeException& e)
{
    if (!e.wellFormed())
        throw CIMClientXmlException(e.getMessage());
    throw CIMClientResponseException(e.getMessage());
}

void throwCimError(Uint32 code, const String& description,
    const Array<CIMInstance>& instances)
{
    throw CIMException(CIMStatusCode(code), description, instances);
}

} // namespace

CIMClientRep::CIMClientRep() : _timeoutMs(20000), _nextId(1000)
{
}

CIMClientRep::~CIMClientRep()
{
}

Uint32 CIMClientRep::timeout() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _timeoutMs;
}

void CIMClientRep::_applyTimeout()
{
    if (!_http)
        return;
    time_t sec = time_t(_timeoutMs / 1000);
    time_t usec = time_t((_timeoutMs % 1000) * 1000);
    _http->set_connection_timeout(sec, usec);
    _http->set_read_timeout(sec, usec);
    _http->set_write_timeout(sec, usec);
}

void CIMClientRep::setTimeout(Uint32 ms)
{
    std::lock_guard<std::mutex> lock(_mutex);
    _timeoutMs = ms;
    _applyTimeout();
}

void CIMClientRep::connect(const String& host, Uint32 port, const String& user,
    const String& password)
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_http || _inProcess)
        throw AlreadyConnectedException();
    if (host.size() == 0 && port == 0)
    {
        // The local domain socket.
        const char* env = getenv("CIMHOST_SOCKET");
        std::string path = env && *env ? env : DEFAULT_LOCAL_SOCKET;
        std::string err = probeLocal(path);
        if (!err.empty())
            throw CannotConnectException(fromUtf8("Cannot connect to local CIM server " +
                path + ": " + err));
        _http.reset(new LocalClientImpl(path));
    }
    else
    {
        std::string h = host.size() ? utf8(host) : std::string("localhost");
        if (h.find_first_of(" /\\@") != std::string::npos || port > 65535)
            throw InvalidLocatorException(host);
        std::string probeHost = h;
        if (probeHost.size() > 2 && probeHost.front() == '[' && probeHost.back() == ']')
            probeHost = probeHost.substr(1, probeHost.size() - 2);
        std::string err = probeTcp(probeHost, port, _timeoutMs);
        if (!err.empty())
            throw CannotConnectException(fromUtf8("Cannot connect to " + h + ":" +
                std::to_string(port) + ": " + err));
        _http.reset(new httplib::ClientImpl(probeHost, int(port)));
    }
    _http->set_keep_alive(true);
    _http->set_tcp_nodelay(true);
    if (user.size() && password.size())
        _http->set_basic_auth(utf8(user), utf8(password));
    _applyTimeout();
}

void CIMClientRep::connectLocal()
{
    std::shared_ptr<InProcessServer> server = InProcessServer::boundToThisThread();
    if (!server)
    {
        connect(String(), 0, String(), String());
        return;
    }
    std::lock_guard<std::mutex> lock(_mutex);
    if (_http || _inProcess)
        throw AlreadyConnectedException();
    _inProcess = server;
}

void CIMClientRep::disconnect()
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_http)
        _http->stop();
    _http.reset();
    _inProcess.reset();
}

String CIMClientRep::nextMessageId()
{
    std::lock_guard<std::mutex> lock(_mutex);
    return String(std::to_string(++_nextId).c_str());
}

std::string CIMClientRep::_post(const String& methodName, const String& cimObject,
    const std::string& body)
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_inProcess)
        return _postInProcess(methodName, cimObject, body);
    if (!_http)
        throw NotConnectedException();
    httplib::Headers headers = {
        { "CIMOperation", "MethodCall" },
        { "CIMMethod", XmlWriter::percentEncode(methodName) },
        { "CIMObject", XmlWriter::percentEncode(cimObject) },
        { "CIMProtocolVersion", "1.0" },
    };
    SigpipeHold sigpipe;
    for (int attempt = 0;; attempt++)
    {
        auto start = std::chrono::steady_clock::now();
        httplib::Result res = _http->Post("/cimom", headers, body,
            "application/xml; charset=\"utf-8\"");
        if (!res)
        {
            httplib::Error err = res.error();
            auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now() - start).count();
            if (err == httplib::Error::ConnectionTimeout ||
                ((err == httplib::Error::Read || err == httplib::Error::Write) &&
                 Uint64(elapsed) + 50 >= _timeoutMs))
                throw ConnectionTimeoutException();
            // The request did not go out on a kept-alive connection the
            // server had just closed: one more try on a fresh connection.
            if (attempt == 0 && err == httplib::Error::Write)
                continue;
            if (err == httplib::Error::Connection)
                throw CannotConnectException(String("Cannot connect to the CIM server"));
            throw CIMClientMalformedHTTPException(fromUtf8(
                "HTTP exchange failed: " + httplib::to_string(err)));
        }
        if (res->status != 200)
        {
            std::string detail;
            std::string raw = res->get_header_value("PGErrorDetail");
            if (!XmlReader::percentDecode(raw, detail))
                detail = raw;
            throw CIMClientHTTPErrorException(Uint32(res->status),
                fromUtf8(res->reason), fromUtf8(res->get_header_value("CIMError")),
                fromUtf8(detail));
        }
        return res->body;
    }
}

// The same exchange with the server of this process; the answer is checked
// like one that came over HTTP.
std::string CIMClientRep::_postInProcess(const String& methodName,
    const String& cimObject, const std::string& body)
{
    CimXmlHeaders headers = {
        { "CIMOperation", "MethodCall" },
        { "CIMMethod", XmlWriter::percentEncode(methodName) },
        { "CIMObject", XmlWriter::percentEncode(cimObject) },
        { "CIMProtocolVersion", "1.0" },
        { "Content-Type", "application/xml; charset=\"utf-8\"" },
    };
    CimXmlHttpResponse res = _inProcess->process(headers, body);
    if (res.status != 200)
    {
        std::string detail;
        std::string raw = res.header("PGErrorDetail");
        if (!XmlReader::percentDecode(raw, detail))
            detail = raw;
        throw CIMClientHTTPErrorException(res.status, fromUtf8(res.reason),
            fromUtf8(res.header("CIMError")), fromUtf8(detail));
    }
    return res.body;
}

CimXmlIMethodResponse CIMClientRep::intrinsic(const String& methodName,
    const String& messageId, const String& cimObject, const std::string& body)
{
    std::string answer = _post(methodName, cimObject, body);
    CimXmlIMethodResponse r;
    try
    {
        r = XmlReader::decodeIMethodResponse(answer, methodName, messageId);
    }
    catch (const CimXmlDecodeException& e)
    {
        throwDecodeFailure(e);
    }
    if (r.isError)
        throwCimError(r.errorCode, r.errorDescription, r.errorInstances);
    return r;
}

CimXmlMethodResponse CIMClientRep::extrinsic(const String& methodName,
    const String& messageId, const String& cimObject, const std::string& body)
{
    std::string answer = _post(methodName, cimObject, body);
    CimXmlMethodResponse r;
    try
    {
        r = XmlReader::decodeMethodResponse(answer, methodName, messageId);
    }
    catch (const CimXmlDecodeException& e)
    {
        throwDecodeFailure(e);
    }
    if (r.isError)
        throwCimError(r.errorCode, r.errorDescription, r.errorInstances);
    return r;
}

PEGASUS_NAMESPACE_END
