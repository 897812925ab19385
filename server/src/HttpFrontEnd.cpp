#include "HttpFrontEnd.h"
#include "BufferedAnswerBody.h"
#include "ChunkedAnswerBody.h"
#include "CimHttpServer.h"
#include "Logger.h"
#include "PasswordFile.h"

#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/ContentLanguageList.h>
#include <Pegasus/Common/OperationContext.h>

#include <httplib.h>
#include <openssl/evp.h>

#include <CimXml/XmlReader.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <strings.h>
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

// The first value of a field; also in the "NN-" prefixed form of M-POST.
template <class Fields>
std::string fieldValue(const Fields& fields, const char* name)
{
    size_t n = std::strlen(name);
    for (const auto& h : fields)
    {
        const std::string& key = h.first;
        if (key.size() == n && ::strcasecmp(key.c_str(), name) == 0)
            return h.second;
        if (key.size() == n + 3 && std::isdigit(static_cast<unsigned char>(key[0])) &&
            std::isdigit(static_cast<unsigned char>(key[1])) && key[2] == '-' &&
            ::strcasecmp(key.c_str() + 3, name) == 0)
            return h.second;
    }
    return std::string();
}

std::string headerValue(const httplib::Request& req, const char* name)
{
    return fieldValue(req.headers, name);
}

// Gives set(name, value) every field of a prepared answer but Content-Type,
// which it returns ("" when there is none).
template <class Set>
std::string answerFields(const CimXmlHttpResponse& answer, Set set)
{
    std::string contentType;
    for (const auto& h : answer.headers)
    {
        if (iequalsPrefix(h.first, "Content-Type") && h.first.size() == 12)
            contentType = h.second;
        else
            set(h.first, h.second);
    }
    return contentType;
}

// Appends text from the client as it goes into a log line: quotes,
// backslashes, control characters and bytes of invalid UTF-8 escaped, so
// that nothing a client sends can end a line or forge another one.
void appendLogText(std::string& out, const std::string& text)
{
    bool plain = true;
    for (unsigned char c : text)
        if (c < 0x20 || c >= 0x7F || c == '"' || c == '\\')
        {
            plain = false;
            break;
        }
    if (plain)
    {
        out += text;
        return;
    }
    bool utf8 = XmlReader::isValidUtf8(text.data(), text.size());
    for (unsigned char c : text)
    {
        if (c == '"' || c == '\\')
        {
            out += '\\';
            out += static_cast<char>(c);
        }
        else if (c < 0x20 || c == 0x7F || (c >= 0x80 && !utf8))
        {
            char buf[8];
            std::snprintf(buf, sizeof(buf), "\\x%02X", c);
            out += buf;
        }
        else
            out += static_cast<char>(c);
    }
}

std::string logText(const std::string& text)
{
    std::string out;
    out.reserve(text.size());
    appendLogText(out, text);
    return out;
}

// The header fields the check looks at, found in one pass over the request's
// fields (names compared as the field map compares them).
struct CheckedFields
{
    template <class Fields>
    explicit CheckedFields(const Fields& headers)
    {
        for (const auto& h : headers)
        {
            const std::string& name = h.first;
            if (sameName(name, "Host"))
                hosts++;
            else if (sameName(name, "Content-Length"))
            {
                if (contentLengths++ == 0)
                    contentLength = &h.second;
            }
            else if (sameName(name, "Transfer-Encoding"))
                transferEncodings++;
            else if (sameName(name, "Authorization"))
            {
                if (authorizations++ == 0)
                    authorization = &h.second;
            }
        }
    }

    static bool sameName(const std::string& name, const char* wanted)
    {
        size_t n = std::strlen(wanted);
        if (name.size() != n)
            return false;
        for (size_t i = 0; i < n; i++)
            if (std::tolower(static_cast<unsigned char>(name[i])) !=
                std::tolower(static_cast<unsigned char>(wanted[i])))
                return false;
        return true;
    }

    size_t hosts = 0;
    size_t contentLengths = 0;
    size_t transferEncodings = 0;
    size_t authorizations = 0;
    const std::string* contentLength = nullptr;  // the first
    const std::string* authorization = nullptr;  // the first
};

// One Content-Length of digits only, and no Transfer-Encoding beside it.
bool contentLengthOk(const CheckedFields& fields)
{
    if (fields.contentLengths == 0)
        return true;
    if (fields.contentLengths > 1 || fields.transferEncodings > 0)
        return false;
    const std::string& value = *fields.contentLength;
    if (value.empty() || value.size() > 18)
        return false;
    for (char c : value)
        if (c < '0' || c > '9')
            return false;
    return true;
}

// An answer the header check gives: no body, and the connection closes.
void refuse(httplib::Response& res, int status)
{
    res.status = status;
    res.body.clear();
    res.set_header("Connection", "close");
}

std::string spoolDirectoryOf(const ServerOptions& options)
{
    if (!options.spoolDirectory.empty())
        return options.spoolDirectory;
    const char* tmp = std::getenv("TMPDIR");
    return tmp && *tmp ? tmp : "/tmp";
}

} // namespace

HttpFrontEnd::HttpFrontEnd(const ServerOptions& options, CIMOperations& target,
    CIMPullOperations& pull, const String& hostName, PasswordFile* passwords,
    Logger& logger)
    : _options(options), _hostName(narrow(hostName)), _processor(target, hostName, 0, &pull),
      _passwords(passwords), _logger(logger),
      _throttle(options.maxLoginFailures, std::chrono::minutes(1)),
      _slots(options.workerCount), _trimmer(TRIM_QUIET, TRIM_AFTER_BYTES),
      _spoolDirectory(spoolDirectoryOf(options))
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
    // Only the one encoding of these bytes is accepted: no stray padding
    // bits, no characters the decoder skipped.
    std::string again(4 * ((len + 2) / 3) + 1, '\0');
    int m = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&again[0]),
        reinterpret_cast<const unsigned char*>(out.data()), static_cast<int>(len));
    if (m < 0 || again.compare(0, static_cast<size_t>(m), b64) != 0 ||
        static_cast<size_t>(m) != b64.size())
        return false;
    size_t colon = out.find(':');
    if (colon == std::string::npos || out.find('\0') != std::string::npos)
        return false;
    user = out.substr(0, colon);
    password = out.substr(colon + 1);
    return true;
}

void HttpFrontEnd::configure(CimHttpServer& server, Transport transport)
{
    server.set_payload_max_length(_options.maxRequestBytes);
    server.set_write_timeout(_options.readTimeoutSeconds, 0);
    server.set_keep_alive_max_count(1000);
    server.set_tcp_nodelay(true);

    server.setHeaderCheck([this, transport](const httplib::Request& req, httplib::Response& res) {
        return checkHeaders(req, res, transport);
    });
    server.Post(".*", [this](const httplib::Request& req, httplib::Response& res) {
        handle(req, res);
    });
    server.setPlainHandler(
        [this, transport](const RequestHead& head) { return passesAtOnce(head, transport); },
        [this](const RequestHead& head, const std::string& body, PlainAnswer& answer) {
            return answerPlain(head, body, answer);
        });
    server.set_exception_handler(
        [this](const httplib::Request& req, httplib::Response& res, std::exception_ptr ep) {
            logFailure(req.method, req.path, ep);
            res.status = 500;
            res.body.clear();
        });
    server.set_error_handler([](const httplib::Request&, httplib::Response& res) {
        // HTTP-level errors have no body.
        res.body.clear();
    });
}

bool HttpFrontEnd::checkHeaders(const httplib::Request& req, httplib::Response& res,
    Transport transport)
{
    ConnectionInfo* conn = CimHttpServer::currentConnection();
    const std::string& ip = conn->remoteIp;
    std::string method = conn->mpost ? "M-POST" : req.method;

    if (req.method != "POST")
    {
        refuse(res, 501);
        _logger.warning(ip + " " + logText(method) + " " + logText(req.path) + " -> 501");
        return true;
    }
    CheckedFields fields(req.headers);
    // Request line and Host come before authentication.
    if ((req.version == "HTTP/1.1" && fields.hosts == 0) ||
        (method == "M-POST" && req.version != "HTTP/1.1"))
    {
        refuse(res, 400);
        _logger.warning(ip + " " + method + " " + logText(req.version) + " without Host -> 400");
        return true;
    }
    if (!contentLengthOk(fields))
    {
        refuse(res, 400);
        _logger.warning(ip + " " + method + " with conflicting Content-Length -> 400");
        return true;
    }

    std::string user;
    bool authenticated = false;
    if (transport == Transport::Local)
    {
        authenticated = conn->peerKnown;
        if (authenticated)
            user = conn->peerUser;
    }
    else
    {
        const std::string* authorization =
            fields.authorizations == 1 ? fields.authorization : nullptr;
        // The credentials this connection sent last time need no new check
        // while the password file says they still hold.
        if (authorization && _passwords && !conn->acceptedAuthorization.empty() &&
            *authorization == conn->acceptedAuthorization &&
            _passwords->stillAccepted(conn->acceptance))
        {
            authenticated = true;
            user = conn->acceptedUser;
        }
        std::string password;
        PasswordFile::Acceptance acceptance;
        if (!authenticated && authorization && decodeBasic(*authorization, user, password) &&
            PasswordFile::validUserName(user) && _passwords)
        {
            conn->acceptedAuthorization.clear();
            if (_passwords->recentlyVerified(user, password, &acceptance))
                authenticated = true;
            else if (_throttle.blocked(ip))
            {
                refuse(res, 429);
                res.set_header("Retry-After", "60");
                _logger.warning(ip + " user \"" + logText(user) + "\" " + method + " " +
                    logText(headerValue(req, "CIMMethod")) +
                    " -> 429 too many failed logins from this address");
                return true;
            }
            else if (_passwords->verify(user, password, &acceptance))
                authenticated = true;
            else
                _throttle.failed(ip);
            if (authenticated && acceptance.generation != 0)
            {
                conn->acceptedAuthorization = *authorization;
                conn->acceptedUser = user;
                conn->acceptance = acceptance;
            }
        }
    }
    if (!authenticated)
    {
        refuse(res, 401);
        res.set_header("WWW-Authenticate", "Basic realm=\"" + _hostName + "\"");
        _logger.warning(ip + " user \"" + logText(user) + "\" " + method + " " +
            logText(headerValue(req, "CIMMethod")) + " -> 401 authentication failed");
        return true;
    }
    conn->user = user;
    return false;
}

void HttpFrontEnd::handle(const httplib::Request& req, httplib::Response& res)
{
    std::shared_ptr<Answer> state =
        newAnswer(req.method, headerValue(req, "CIMMethod"), headerValue(req, "CIMObject"));

    CimXmlHeaders headers;
    headers.reserve(req.headers.size());
    for (const auto& h : req.headers)
        headers.emplace_back(h.first, h.second);

    std::unique_ptr<RequestSlots::Hold> slot(new RequestSlots::Hold(_slots));
    CimXmlHttpResponse answer = _processor.prepare(state->method, headers, req.body,
        state->call);

    res.status = static_cast<int>(answer.status);
    std::string fieldPrefix;
    std::string contentType =
        answerFields(answer, [&](const std::string& name, const std::string& value) {
            res.set_header(name.c_str(), value);
            if (name.size() == 15 && name.compare(2, 13, "-CIMOperation") == 0)
                fieldPrefix = name.substr(0, 3);
        });
    if (answer.status != 200)
    {
        if (!contentType.empty())
            res.set_header("Content-Type", contentType);
        logAnswer(*state, answer.status, 0, answer.header("CIMError"));
        return;
    }
    if (contentType.empty())
        contentType = "application/xml";

    if (state->call.manyObjects() && req.version == "HTTP/1.1" &&
        acceptsTrailers(headerValue(req, "TE")))
    {
        // Sent while it is produced; the chunk framing and the trailer are
        // written here, the library passes the bytes through.
        res.set_header("Transfer-Encoding", "chunked");
        res.set_header("Trailer", fieldPrefix + "CIMStatusCode, " + fieldPrefix +
            "CIMStatusCodeDescription");
        // The request holds its slot again while the answer is produced.
        slot.reset();
        res.set_content_provider(contentType,
            [this, state, fieldPrefix](size_t, httplib::DataSink& sink) {
                RequestSlots::Hold running(_slots);
                ChunkedAnswerBody body(
                    [&sink](const char* data, size_t size) { return sink.write(data, size); },
                    fieldPrefix);
                Uint32 code = _processor.run(state->call, state->context, body);
                state->call = CimXmlRequestProcessor::Call();
                sink.done();
                logAnswer(*state, 200, code, std::string());
                _trimmer.answered(body.bytes());
                return body.ok();
            });
        return;
    }

    std::shared_ptr<BufferedAnswerBody> body = runBuffered(*state, slot);
    size_t size = body->size();
    if (size < BufferedAnswerBody::BLOCK_BYTES)
    {
        res.set_content(body->take(), contentType.c_str());
        return;
    }
    res.set_content_provider(size, contentType,
        [body](size_t offset, size_t length, httplib::DataSink& sink) {
            const char* data = nullptr;
            size_t n = body->read(offset, data, length);
            return n > 0 && sink.write(data, n);
        },
        [body](bool) { body->discard(); });
}

std::shared_ptr<BufferedAnswerBody> HttpFrontEnd::runBuffered(Answer& state,
    std::unique_ptr<RequestSlots::Hold>& slot)
{
    auto body = std::make_shared<BufferedAnswerBody>(_spoolDirectory, _options.spoolAfterBytes);
    Uint32 code = _processor.run(state.call, state.context, *body);
    slot.reset();
    state.call = CimXmlRequestProcessor::Call();
    logAnswer(state, 200, code, std::string());
    _trimmer.answered(body->size());
    if (!body->spoolFailure().empty())
        _logger.warning("answer of " + std::to_string(body->size()) + " bytes held in memory: " +
            "cannot write to spool directory \"" + logText(_spoolDirectory) + "\": " +
            body->spoolFailure());
    return body;
}

std::shared_ptr<HttpFrontEnd::Answer> HttpFrontEnd::newAnswer(const std::string& method,
    std::string cimMethod, std::string cimObject)
{
    auto started = std::chrono::steady_clock::now();
    const ConnectionInfo* conn = CimHttpServer::currentConnection();

    // What the log line of this request needs once the answer is out; the
    // line itself is made only when it is written.
    auto state = std::make_shared<Answer>();
    state->started = started;
    state->ip = conn->remoteIp;
    state->user = conn->user;
    state->method = conn->mpost ? "M-POST" : method;
    state->cimMethod = std::move(cimMethod);
    state->cimObject = std::move(cimObject);
    OperationContext& context = state->context;
#ifdef PEGASUS_HAS_IDENTITY_IP_ADDRESS
    context.insert(IdentityContainer(String(state->user.c_str()), String(state->ip.c_str())));
#else
    context.insert(IdentityContainer(String(state->user.c_str())));
#endif
    context.insert(AcceptLanguageListContainer(AcceptLanguageList()));
    context.insert(ContentLanguageListContainer(ContentLanguageList()));
    return state;
}

void HttpFrontEnd::logFailure(const std::string& method, const std::string& path,
    std::exception_ptr failure)
{
    std::string what = "unknown exception";
    try
    {
        if (failure)
            std::rethrow_exception(failure);
    }
    catch (const std::exception& e)
    {
        what = e.what();
    }
    catch (...)
    {
    }
    _logger.error("internal failure serving " + method + " " + logText(path) + ": " + what);
}

bool HttpFrontEnd::passesAtOnce(const RequestHead& head, Transport transport)
{
    // The request line is POST (or M-POST) in HTTP/1.1 by construction.
    ConnectionInfo* conn = CimHttpServer::currentConnection();
    CheckedFields fields(head.fields());
    if (fields.hosts == 0 || !contentLengthOk(fields))
        return false;
    if (transport == Transport::Local)
    {
        if (!conn->peerKnown)
            return false;
        conn->user = conn->peerUser;
        return true;
    }
    // Only the credentials this connection had accepted: any other check
    // counts failures or logs, and is left to the usual path.
    if (fields.authorizations != 1 || !_passwords || conn->acceptedAuthorization.empty() ||
        *fields.authorization != conn->acceptedAuthorization ||
        !_passwords->stillAccepted(conn->acceptance))
        return false;
    conn->user = conn->acceptedUser;
    return true;
}

bool HttpFrontEnd::answerPlain(const RequestHead& head, const std::string& body,
    PlainAnswer& out)
{
    // As the library's path answers: the same answer, log line and failure.
    try
    {
        std::shared_ptr<Answer> state = newAnswer("POST", fieldValue(head.fields(), "CIMMethod"),
            fieldValue(head.fields(), "CIMObject"));
        std::unique_ptr<RequestSlots::Hold> slot(new RequestSlots::Hold(_slots));
        CimXmlHttpResponse answer =
            _processor.prepare(state->method, head.fields(), body, state->call);

        out.head.status = static_cast<int>(answer.status);
        std::string contentType =
            answerFields(answer, [&out](const std::string& name, const std::string& value) {
                out.head.set(name, value);
            });
        if (answer.status != 200)
        {
            if (!contentType.empty())
                out.head.set("Content-Type", contentType);
            logAnswer(*state, answer.status, 0, answer.header("CIMError"));
            return true;
        }
        if (contentType.empty())
            contentType = "application/xml";
        // An answer sent while it is produced, in chunks with trailer
        // fields, is the library's: nothing has been run, logged or sent
        // yet, and it reads the request again.
        if (state->call.manyObjects() && acceptsTrailers(fieldValue(head.fields(), "TE")))
            return false;

        std::shared_ptr<BufferedAnswerBody> sink = runBuffered(*state, slot);
        out.head.set("Content-Type", contentType);
        if (sink->size() < BufferedAnswerBody::BLOCK_BYTES)
        {
            out.body = sink->take();
            return true;
        }
        out.blocks = sink;
        out.sent = [sink] { sink->discard(); };
    }
    catch (...)
    {
        logFailure("POST", head.target(), std::current_exception());
        out.head.status = 500;
        out.body.clear();
        out.blocks.reset();
        out.sent = nullptr;
    }
    return true;
}

bool HttpFrontEnd::acceptsTrailers(std::string te)
{
    for (char& c : te)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    size_t pos = 0;
    while (pos < te.size())
    {
        size_t end = te.find(',', pos);
        if (end == std::string::npos)
            end = te.size();
        std::string token = te.substr(pos, end - pos);
        token = token.substr(0, token.find(';'));
        token.erase(0, token.find_first_not_of(" \t"));
        token.erase(token.find_last_not_of(" \t") + 1);
        if (token == "trailers" || token == "chunked")
            return true;
        pos = end + 1;
    }
    return false;
}

void HttpFrontEnd::logAnswer(const Answer& answer, Uint32 status, Uint32 code,
    const std::string& cimError)
{
    LogLevel level = status != 200 || code ? LogLevel::Warning : LogLevel::Info;
    if (!_logger.enabled(level))
        return;
    long ms = static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - answer.started).count());
    std::string line;
    line.reserve(96 + answer.user.size() + answer.cimMethod.size() + answer.cimObject.size());
    line += answer.ip;
    line += " user \"";
    appendLogText(line, answer.user);
    line += "\" ";
    line += answer.method;
    line += ' ';
    appendLogText(line, answer.cimMethod);
    line += ' ';
    appendLogText(line, answer.cimObject);
    line += " -> ";
    line += std::to_string(status);
    if (code)
    {
        line += " CIM error ";
        line += std::to_string(code);
    }
    if (!cimError.empty())
    {
        line += " CIMError ";
        line += cimError;
    }
    line += " (";
    line += std::to_string(ms);
    line += " ms)";
    _logger.log(level, line);
}

void HttpFrontEnd::runListener(httplib::Server& server)
{
    _threads.emplace_back([&server] { server.listen_after_bind(); });
    // stop() only acts on a running server: wait until it runs.
    for (int i = 0; i < 5000 && !server.is_running(); i++)
        ::usleep(1000);
}

ListenerLimits HttpFrontEnd::limits() const
{
    ListenerLimits l;
    l.headerTimeoutSeconds = _options.headerTimeoutSeconds;
    l.bodyTimeoutSeconds = _options.readTimeoutSeconds;
    l.maxConnections = _options.maxConnections;
    l.maxConnectionsPerPeer = _options.maxConnectionsPerPeer;
    return l;
}

void HttpFrontEnd::start()
{
    if (_running)
        return;
    try
    {
        if (_options.enableHttp)
        {
            _http.reset(new CimHttpServer(CimHttpServer::Kind::Tcp, limits(), _logger));
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
            _https.reset(new CimHttpServer(CimHttpServer::Kind::Tls, limits(), _logger));
            if (!_https->loadCertificate(_options.sslCertificateFile, _options.sslKeyFile))
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
            _local.reset(new CimHttpServer(CimHttpServer::Kind::Local, limits(), _logger));
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
