#include "HttpFrontEnd.h"
#include "CimHttpServer.h"
#include "Logger.h"
#include "PasswordFile.h"

#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/ContentLanguageList.h>
#include <Pegasus/Common/OperationContext.h>

#include <httplib.h>
#include <openssl/evp.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <unistd.h>

using namespace Pegasus;

namespace cimhost
{

namespace
{

std::string narrow(const String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

bool iequalsPrefix(const std::string& text, const std::string& prefix)
{
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); i++)
        if (std::tolower(static_cast<unsigned char>(text[i])) !=
            std::tolower(static_cast<unsigned char>(prefix[i])))
            return false;
    return true;
}

// The CIM status code of an answer that carries an ERROR element, or 0.
int errorCode(const std::string& body)
{
    // The ERROR element comes right after the response element's start tag.
    size_t pos = std::string(body, 0, std::min<size_t>(body.size(), 1024)).find("<ERROR ");
    if (pos == std::string::npos || pos > 1024)
        return 0;
    pos = body.find("CODE=\"", pos);
    if (pos == std::string::npos)
        return 0;
    return std::atoi(body.c_str() + pos + 6);
}

std::string headerValue(const httplib::Request& req, const char* name)
{
    // Also the "NN-" prefixed form of M-POST.
    for (const auto& h : req.headers)
    {
        const std::string& key = h.first;
        if (iequalsPrefix(key, name) && key.size() == std::strlen(name))
            return h.second;
        if (key.size() == std::strlen(name) + 3 && std::isdigit(static_cast<unsigned char>(key[0])) &&
            std::isdigit(static_cast<unsigned char>(key[1])) && key[2] == '-' &&
            iequalsPrefix(key.substr(3), name))
            return h.second;
    }
    return std::string();
}

} // namespace

HttpFrontEnd::HttpFrontEnd(const ServerOptions& options, CIMOperations& target,
    const String& hostName, PasswordFile* passwords, Logger& logger)
    : _options(options), _hostName(narrow(hostName)), _processor(target, hostName),
      _passwords(passwords), _logger(logger)
{
}

HttpFrontEnd::~HttpFrontEnd()
{
    stop();
}

bool HttpFrontEnd::decodeBasic(const std::string& header, std::string& user,
    std::string& password)
{
    if (!iequalsPrefix(header, "Basic "))
        return false;
    std::string b64 = header.substr(6);
    while (!b64.empty() && (b64.front() == ' ' || b64.front() == '\t'))
        b64.erase(0, 1);
    while (!b64.empty() && (b64.back() == ' ' || b64.back() == '\t'))
        b64.pop_back();
    if (b64.empty() || b64.size() % 4 != 0)
        return false;
    std::string out(b64.size() / 4 * 3 + 1, '\0');
    int n = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(&out[0]),
        reinterpret_cast<const unsigned char*>(b64.data()), static_cast<int>(b64.size()));
    if (n < 0)
        return false;
    size_t len = static_cast<size_t>(n);
    if (b64[b64.size() - 1] == '=')
        --len;
    if (b64[b64.size() - 2] == '=')
        --len;
    out.resize(len);
    size_t colon = out.find(':');
    if (colon == std::string::npos)
        return false;
    user = out.substr(0, colon);
    password = out.substr(colon + 1);
    return true;
}

void HttpFrontEnd::configure(httplib::Server& server, Transport transport)
{
    int workers = _options.workerCount > 0 ? _options.workerCount : 1;
    server.new_task_queue = [workers] { return new httplib::ThreadPool(workers); };
    server.set_payload_max_length(_options.maxRequestBytes);
    server.set_read_timeout(_options.readTimeoutSeconds, 0);
    server.set_write_timeout(_options.readTimeoutSeconds, 0);
    server.set_keep_alive_timeout(5);
    server.set_keep_alive_max_count(1000);
    server.set_tcp_nodelay(true);

    auto handler = [this, transport](const httplib::Request& req, httplib::Response& res) {
        handle(req, res, transport);
    };
    server.Post(".*", handler);
    auto notImplemented = [this](const httplib::Request& req, httplib::Response& res) {
        res.status = 501;
        _logger.warning(req.remote_addr + " " + req.method + " " + req.path + " -> 501");
    };
    server.Get(".*", notImplemented);
    server.Put(".*", notImplemented);
    server.Delete(".*", notImplemented);
    server.Patch(".*", notImplemented);
    server.Options(".*", notImplemented);
    server.set_exception_handler(
        [this](const httplib::Request& req, httplib::Response& res, std::exception_ptr ep) {
            std::string what = "unknown exception";
            try
            {
                if (ep)
                    std::rethrow_exception(ep);
            }
            catch (const std::exception& e)
            {
                what = e.what();
            }
            catch (...)
            {
            }
            _logger.error("internal failure serving " + req.method + " " + req.path +
                ": " + what);
            res.status = 500;
            res.body.clear();
        });
    server.set_error_handler([](const httplib::Request&, httplib::Response& res) {
        // HTTP-level errors have no body.
        res.body.clear();
    });
}

void HttpFrontEnd::handle(const httplib::Request& req, httplib::Response& res,
    Transport transport)
{
    auto started = std::chrono::steady_clock::now();
    const ConnectionInfo* conn =
        transport == Transport::Tls ? nullptr : CimHttpServer::currentConnection();
    std::string ip = conn ? conn->remoteIp : req.remote_addr;
    std::string user;
    std::string method = (conn && conn->mpost) ? "M-POST" : req.method;

    // Request line and Host come before authentication.
    if ((req.version == "HTTP/1.1" && !req.has_header("Host")) ||
        (method == "M-POST" && req.version != "HTTP/1.1"))
    {
        res.status = 400;
        res.set_header("Connection", "close");
        _logger.warning(ip + " " + method + " " + req.version + " without Host -> 400");
        return;
    }

    bool authenticated = false;
    if (transport == Transport::Local)
    {
        authenticated = conn && conn->peerKnown;
        if (authenticated)
            user = conn->peerUser;
    }
    else
    {
        std::string password;
        auto auth = req.headers.find("Authorization");
        if (auth != req.headers.end() && decodeBasic(auth->second, user, password))
            authenticated = _passwords && _passwords->verify(user, password);
        else
            user.clear();
    }
    if (!authenticated)
    {
        res.status = 401;
        res.set_header("WWW-Authenticate", "Basic realm=\"" + _hostName + "\"");
        _logger.warning(ip + " user \"" + user + "\" " + method + " " +
            headerValue(req, "CIMMethod") + " -> 401 authentication failed");
        return;
    }

    OperationContext context;
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
    context.insert(IdentityContainer(String(user.c_str()), String(ip.c_str())));
#else
    context.insert(IdentityContainer(String(user.c_str())));
#endif
    context.insert(AcceptLanguageListContainer(AcceptLanguageList()));
    context.insert(ContentLanguageListContainer(ContentLanguageList()));

    CimXmlHeaders headers;
    headers.reserve(req.headers.size());
    for (const auto& h : req.headers)
        headers.emplace_back(h.first, h.second);

    CimXmlHttpResponse answer = _processor.process(method, headers, req.body, context);

    res.status = static_cast<int>(answer.status);
    std::string contentType;
    for (const auto& h : answer.headers)
    {
        if (iequalsPrefix(h.first, "Content-Type") && h.first.size() == 12)
            contentType = h.second;
        else
            res.set_header(h.first.c_str(), h.second);
    }
    int code = answer.status == 200 ? errorCode(answer.body) : 0;
    if (!answer.body.empty() || !contentType.empty())
    {
        res.set_header("Content-Type", contentType.empty() ? "application/xml" : contentType);
        res.body = std::move(answer.body);
    }

    long ms = static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - started).count());
    std::string line = ip + " user \"" + user + "\" " + method + " " +
        headerValue(req, "CIMMethod") + " " + headerValue(req, "CIMObject") + " -> " +
        std::to_string(answer.status);
    if (code)
        line += " CIM error " + std::to_string(code);
    std::string cimError = answer.header("CIMError");
    if (!cimError.empty())
        line += " CIMError " + cimError;
    line += " (" + std::to_string(ms) + " ms)";
    if (answer.status != 200 || code)
        _logger.warning(line);
    else
        _logger.info(line);
}

void HttpFrontEnd::runListener(httplib::Server& server)
{
    _threads.emplace_back([&server] { server.listen_after_bind(); });
    // stop() only acts on a running server: wait until it runs.
    for (int i = 0; i < 5000 && !server.is_running(); i++)
        ::usleep(1000);
}

void HttpFrontEnd::start()
{
    if (_running)
        return;
    try
    {
        if (_options.enableHttp)
        {
            _http.reset(new CimHttpServer(false, _options.readTimeoutSeconds));
            configure(*_http, Transport::Tcp);
            if (_options.httpPort == 0)
                _httpPort = _http->bind_to_any_port(_options.httpAddress);
            else if (_http->bind_to_port(_options.httpAddress, _options.httpPort))
                _httpPort = _options.httpPort;
            if (_httpPort <= 0)
                throw std::runtime_error("cannot listen on " + _options.httpAddress + ":" +
                    std::to_string(_options.httpPort));
            runListener(*_http);
            _logger.info("listening on http://" + _options.httpAddress + ":" +
                std::to_string(_httpPort));
        }
        if (!_options.sslCertificateFile.empty() && !_options.sslKeyFile.empty())
        {
            auto* https = new httplib::SSLServer(_options.sslCertificateFile.c_str(),
                _options.sslKeyFile.c_str());
            _https.reset(https);
            if (!https->is_valid())
                throw std::runtime_error("cannot use certificate " +
                    _options.sslCertificateFile + " with key " + _options.sslKeyFile);
            configure(*_https, Transport::Tls);
            if (_options.httpsPort == 0)
                _httpsPort = _https->bind_to_any_port(_options.httpsAddress);
            else if (_https->bind_to_port(_options.httpsAddress, _options.httpsPort))
                _httpsPort = _options.httpsPort;
            if (_httpsPort <= 0)
                throw std::runtime_error("cannot listen on " + _options.httpsAddress + ":" +
                    std::to_string(_options.httpsPort));
            runListener(*_https);
            _logger.info("listening on https://" + _options.httpsAddress + ":" +
                std::to_string(_httpsPort));
        }
        if (!_options.socketPath.empty())
        {
            _local.reset(new CimHttpServer(true, _options.readTimeoutSeconds));
            configure(*_local, Transport::Local);
            if (!_local->bindUnix(_options.socketPath))
                throw std::runtime_error("cannot listen on socket " + _options.socketPath);
            _socketPath = _options.socketPath;
            runListener(*_local);
            _logger.info("listening on " + _socketPath);
        }
    }
    catch (...)
    {
        _running = true;
        stop();
        throw;
    }
    _running = true;
}

void HttpFrontEnd::stop()
{
    if (!_running)
        return;
    _running = false;
    if (_http)
        _http->stop();
    if (_https)
        _https->stop();
    if (_local)
        _local->stop();
    for (std::thread& t : _threads)
        if (t.joinable())
            t.join();
    _threads.clear();
    if (!_socketPath.empty())
        ::unlink(_socketPath.c_str());
    _http.reset();
    _https.reset();
    _local.reset();
}

} // namespace cimhost
