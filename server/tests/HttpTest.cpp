// The HTTP side of cimhost: authentication, the local socket's trust of the
// peer's uid, HTTP-level errors, slow clients, M-POST and keep-alive, and
// chunked answers with trailers.
#include "BufferedAnswerBody.h"
#include "PasswordFile.h"
#include "TestServer.h"
#include "support/HttpConnection.h"

#include <httplib.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <vector>
#include <unistd.h>

namespace
{

const char* const ENUM_NAMES =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"
    "<SIMPLEREQ><IMETHODCALL NAME=\"EnumerateInstanceNames\"><LOCALNAMESPACEPATH>"
    "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"test\"/></LOCALNAMESPACEPATH>"
    "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"Test_Item\"/></IPARAMVALUE>"
    "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";

const char* const WHO_AM_I =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"4712\" PROTOCOLVERSION=\"1.0\">"
    "<SIMPLEREQ><METHODCALL NAME=\"WhoAmI\"><LOCALINSTANCEPATH><LOCALNAMESPACEPATH>"
    "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"test\"/></LOCALNAMESPACEPATH>"
    "<INSTANCENAME CLASSNAME=\"Test_Method\"><KEYBINDING NAME=\"Id\">"
    "<KEYVALUE VALUETYPE=\"string\">m</KEYVALUE></KEYBINDING></INSTANCENAME>"
    "</LOCALINSTANCEPATH></METHODCALL></SIMPLEREQ></MESSAGE></CIM>";

httplib::Headers cimHeaders(const char* method, const char* object)
{
    return {{"CIMOperation", "MethodCall"}, {"CIMMethod", method}, {"CIMObject", object}};
}

std::string basic(const std::string& user, const std::string& password)
{
    std::string plain = user + ":" + password;
    std::string out(4 * ((plain.size() + 2) / 3) + 1, '\0');
    int n = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(&out[0]),
        reinterpret_cast<const unsigned char*>(plain.data()), static_cast<int>(plain.size()));
    out.resize(static_cast<size_t>(n));
    return "Basic " + out;
}

std::string request(const std::string& method, const std::string& body,
    const std::string& extraHeaders)
{
    return method + " /cimom HTTP/1.1\r\nHost: localhost\r\n"
        "Content-Type: application/xml; charset=\"utf-8\"\r\n"
        "Content-Length: " + std::to_string(body.size()) + "\r\n" + extraHeaders + "\r\n" + body;
}

// Reads one HTTP response (headers and Content-Length body) from a socket.
std::string readResponse(int fd)
{
    std::string data;
    char buf[4096];
    size_t headerEnd = std::string::npos;
    size_t want = std::string::npos;
    for (;;)
    {
        if (headerEnd == std::string::npos)
        {
            headerEnd = data.find("\r\n\r\n");
            if (headerEnd != std::string::npos)
            {
                size_t cl = data.find("Content-Length: ");
                size_t len = cl == std::string::npos || cl > headerEnd
                    ? 0 : std::stoul(data.substr(cl + 16));
                want = headerEnd + 4 + len;
            }
        }
        if (want != std::string::npos && data.size() >= want)
            return data.substr(0, want);
        ssize_t n = ::recv(fd, buf, sizeof(buf), 0);
        if (n <= 0)
            return data;
        data.append(buf, static_cast<size_t>(n));
    }
}

// Reads `count` responses sent back to back (headers and Content-Length
// bodies), however they arrive.
std::vector<std::string> readResponses(int fd, size_t count)
{
    std::vector<std::string> out;
    std::string data;
    char buf[4096];
    while (out.size() < count)
    {
        size_t headerEnd = data.find("\r\n\r\n");
        if (headerEnd != std::string::npos)
        {
            size_t cl = data.find("Content-Length: ");
            size_t len = cl == std::string::npos || cl > headerEnd
                ? 0 : std::stoul(data.substr(cl + 16));
            size_t want = headerEnd + 4 + len;
            if (data.size() >= want)
            {
                out.push_back(data.substr(0, want));
                data.erase(0, want);
                continue;
            }
        }
        ssize_t n = ::recv(fd, buf, sizeof(buf), 0);
        if (n <= 0)
        {
            out.push_back(data);
            break;
        }
        data.append(buf, static_cast<size_t>(n));
    }
    out.resize(count);
    return out;
}

int connectTcp(int port)
{
    int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(port));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0)
    {
        ::close(fd);
        return -1;
    }
    return fd;
}

int connectUnix(const std::string& path)
{
    int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    std::snprintf(addr.sun_path, sizeof(addr.sun_path), "%s", path.c_str());
    if (::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)) != 0)
    {
        ::close(fd);
        return -1;
    }
    return fd;
}

std::string roundTrip(int fd, const std::string& req)
{
    ::send(fd, req.data(), req.size(), MSG_NOSIGNAL);
    return readResponse(fd);
}

// Headers of an EnumerateInstanceNames request with these extra lines and
// no body.
std::string headersOnly(const std::string& extraHeaders)
{
    return "POST /cimom HTTP/1.1\r\nHost: localhost\r\n"
        "Content-Type: application/xml; charset=\"utf-8\"\r\n"
        "CIMOperation: MethodCall\r\nCIMMethod: EnumerateInstanceNames\r\n"
        "CIMObject: root%2Ftest\r\n" + extraHeaders + "\r\n";
}

size_t occurrences(const std::string& text, const std::string& what)
{
    size_t n = 0;
    for (size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + 1))
        n++;
    return n;
}

// True when the server closes the connection (within 5 s) after any answer.
bool closedByServer(int fd)
{
    timeval tv{5, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
    char buf[256];
    for (;;)
    {
        ssize_t n = ::recv(fd, buf, sizeof(buf), 0);
        if (n <= 0)
            return n == 0;
    }
}

// True when the server has neither answered nor closed the connection.
bool stillOpen(int fd)
{
    pollfd p{fd, POLLIN, 0};
    return ::poll(&p, 1, 0) == 0;
}

class HttpTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char dir[] = "/tmp/cimhost-http-XXXXXX";
        tmp = ::mkdtemp(dir);
        cimhost::PasswordFile(tmp + "/passwd").setPassword("alice", "secret");
        restart([](cimhost::ServerOptions&) {});
    }

    // (Re)starts the server with the fixture's options as changed by adjust.
    template <class Adjust>
    void restart(Adjust adjust)
    {
        client.reset();
        server.reset();
        cimhost::ServerOptions o = cimhost_test::testModuleOptions();
        o.enableHttp = true;
        o.httpPort = 0;
        o.passwordFile = tmp + "/passwd";
        o.socketPath = tmp + "/cimhost.socket";
        o.headerTimeoutSeconds = 1;
        o.readTimeoutSeconds = 1;
        o.maxRequestBytes = 4096;
        adjust(o);
        server.reset(new cimhost::EmbeddedServer(o));
        server->start();
        port = server->httpPort();
        client.reset(new httplib::Client("127.0.0.1", port));
    }

    void TearDown() override
    {
        client.reset();
        server.reset();
        std::system(("rm -rf " + tmp).c_str());
    }

    httplib::Result post(const std::string& body, httplib::Headers headers,
        const char* auth = nullptr)
    {
        if (auth)
            headers.emplace("Authorization", auth);
        return client->Post("/cimom", headers, body, "application/xml; charset=\"utf-8\"");
    }

    // EnumerateInstanceNames of Test_Item with these credentials (none if empty).
    httplib::Result enumNames(const std::string& auth = basic("alice", "secret"))
    {
        return post(ENUM_NAMES, cimHeaders("EnumerateInstanceNames", "root%2Ftest"),
            auth.empty() ? nullptr : auth.c_str());
    }

    std::string tmp;
    std::unique_ptr<cimhost::EmbeddedServer> server;
    std::unique_ptr<httplib::Client> client;
    int port = -1;
};

TEST_F(HttpTest, RequestsWithoutValidCredentialsGetTheBasicChallenge)
{
    const std::string refused[] = {"", basic("alice", "Secret"), basic("mallory", "secret"),
        "Digest username=\"alice\""};
    for (const std::string& auth : refused)
    {
        SCOPED_TRACE(auth);
        auto res = enumNames(auth);
        ASSERT_TRUE(res);
        EXPECT_EQ(401, res->status);
        EXPECT_EQ("Basic realm=\"testhost\"", res->get_header_value("WWW-Authenticate"));
        EXPECT_TRUE(res->body.empty());
    }
}

// Over TCP the provider sees the authenticated user and the client's
// address; over the local socket, the peer's user. A second server does not
// take over a live socket.
TEST_F(HttpTest, ProvidersSeeTheCallerOverTcpAndOverTheLocalSocket)
{
    auto res = post(WHO_AM_I, cimHeaders("WhoAmI", "root%2Ftest%3ATest_Method.Id%3D%22m%22"),
        basic("alice", "secret").c_str());
    ASSERT_TRUE(res);
    EXPECT_EQ(200, res->status);
    EXPECT_NE(std::string::npos, res->body.find(">alice<")) << res->body;
    EXPECT_NE(std::string::npos, res->body.find(">127.0.0.1<")) << res->body;

    int fd = connectUnix(server->socketPath());
    ASSERT_GE(fd, 0);
    std::string local = roundTrip(fd, request("POST", WHO_AM_I,
        "CIMOperation: MethodCall\r\nCIMMethod: WhoAmI\r\n"
        "CIMObject: root%2Ftest%3ATest_Method.Id%3D%22m%22\r\n"));
    ::close(fd);
    passwd* pw = ::getpwuid(::geteuid());
    ASSERT_NE(nullptr, pw);
    EXPECT_EQ(0u, local.find("HTTP/1.1 200")) << local;
    EXPECT_NE(std::string::npos, local.find(">" + std::string(pw->pw_name) + "<")) << local;

    cimhost::ServerOptions o = cimhost_test::testModuleOptions();
    o.socketPath = server->socketPath();
    cimhost::EmbeddedServer second(o);
    EXPECT_THROW(second.start(), std::runtime_error);
    fd = connectUnix(server->socketPath());
    EXPECT_GE(fd, 0);
    if (fd >= 0)
        ::close(fd);
}

// Refused requests: malformed XML, an oversized body, other methods, no
// Host; the server keeps serving.
TEST_F(HttpTest, BadRequestsAreRefusedAndTheServerKeepsServing)
{
    auto bad = post("<CIM><MESSAGE", cimHeaders("EnumerateInstanceNames", "root%2Ftest"),
        basic("alice", "secret").c_str());
    ASSERT_TRUE(bad);
    EXPECT_EQ(400, bad->status);
    EXPECT_EQ("request-not-well-formed", bad->get_header_value("CIMError"));
    std::string big(8192, ' ');
    auto res = post(big, cimHeaders("EnumerateInstanceNames", "root%2Ftest"),
        basic("alice", "secret").c_str());
    ASSERT_TRUE(res);
    EXPECT_EQ(413, res->status);
    auto get = client->Get("/cimom");
    ASSERT_TRUE(get);
    EXPECT_EQ(501, get->status);

    // Without Host: refused before authentication.
    int fd = connectTcp(port);
    ASSERT_GE(fd, 0);
    std::string req = request("POST", ENUM_NAMES,
        "CIMOperation: MethodCall\r\nCIMMethod: EnumerateInstanceNames\r\n"
        "CIMObject: root%2Ftest\r\n");
    req.erase(req.find("Host: localhost\r\n"), 17);
    std::string noHost = roundTrip(fd, req);
    ::close(fd);
    EXPECT_EQ(0u, noHost.find("HTTP/1.1 400")) << noHost;

    auto good = enumNames();
    ASSERT_TRUE(good);
    EXPECT_EQ(200, good->status);
    EXPECT_EQ("MethodResponse", good->get_header_value("CIMOperation"));
    EXPECT_EQ(4u, occurrences(good->body, "<INSTANCENAME CLASSNAME=\"")) << good->body;
}

TEST_F(HttpTest, SlowClientIsCutOffWhileOthersAreServed)
{
    int slow = connectTcp(port);
    ASSERT_GE(slow, 0);
    std::string partial = "POST /cimom HTTP/1.1\r\nHost: localhost\r\n";
    ::send(slow, partial.data(), partial.size(), MSG_NOSIGNAL);

    auto res = enumNames();
    ASSERT_TRUE(res);
    EXPECT_EQ(200, res->status);

    timeval tv{5, 0};
    ::setsockopt(slow, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
    auto started = std::chrono::steady_clock::now();
    std::string answer = readResponse(slow);
    auto waited = std::chrono::steady_clock::now() - started;
    ::close(slow);
    EXPECT_LT(waited, std::chrono::seconds(4));
    EXPECT_EQ(std::string::npos, answer.find(" 200 "));
}

TEST_F(HttpTest, DeeplyNestedReferenceKeysAreRefusedAsAnInvalidParameter)
{
    // 27 levels: decoded naively, the innermost key text would be escaped
    // into hundreds of megabytes.
    std::string key = "<KEYVALUE VALUETYPE=\"string\">x\"y</KEYVALUE>";
    for (int i = 0; i < 27; i++)
        key = "<VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"Test_Item\"><KEYBINDING NAME=\"Id\">" +
            key + "</KEYBINDING></INSTANCENAME></VALUE.REFERENCE>";
    std::string body = std::string(ENUM_NAMES);
    body.replace(body.find("EnumerateInstanceNames"), 22, "GetInstance");
    body.replace(body.find("<IPARAMVALUE"), body.find("</IMETHODCALL>") - body.find("<IPARAMVALUE"),
        "<IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME CLASSNAME=\"Test_Item\">"
        "<KEYBINDING NAME=\"Id\">" + key + "</KEYBINDING></INSTANCENAME></IPARAMVALUE>");
    auto res = post(body, cimHeaders("GetInstance", "root%2Ftest"), basic("alice", "secret").c_str());
    ASSERT_TRUE(res);
    EXPECT_EQ(200, res->status);
    EXPECT_NE(std::string::npos, res->body.find("<ERROR CODE=\"4\" DESCRIPTION=\""
        "CIM_ERR_INVALID_PARAMETER: bad InstanceName: reference keys nested deeper than 8 levels\""))
        << res->body;
    auto good = enumNames();
    ASSERT_TRUE(good);
    EXPECT_EQ(200, good->status);
}

TEST_F(HttpTest, HeadersAreCheckedBeforeTheBodyAndARefusalClosesTheConnection)
{
    std::string alice = "Authorization: " + basic("alice", "secret") + "\r\n";
    std::string padded = basic("alice", "secret1");
    std::string loosePadding = padded;
    loosePadding.replace(loosePadding.find("MQ=="), 4, "MR==");
    const struct
    {
        const char* what;
        std::string headers;
        const char* status;
    } cases[] = {
        {"no credentials", "Content-Length: 1000\r\n", "401"},
        {"no credentials, waiting for 100 Continue", "Content-Length: 1000\r\n"
            "Expect: 100-continue\r\n", "401"},
        {"wrong password", "Content-Length: 1000\r\nAuthorization: " + basic("alice", "wrong") +
            "\r\n", "401"},
        {"unknown user", "Content-Length: 1000\r\nAuthorization: " + basic("nobody", "secret") +
            "\r\n", "401"},
        {"NUL in the password", "Content-Length: 1000\r\nAuthorization: " +
            basic("alice", std::string("secret\0x", 8)) + "\r\n", "401"},
        {"NUL in the user", "Content-Length: 1000\r\nAuthorization: " +
            basic(std::string("alice\0", 6), "secret") + "\r\n", "401"},
        {"non-canonical base64", "Content-Length: 1000\r\nAuthorization: " + loosePadding +
            "\r\n", "401"},
        {"base64 without padding", "Content-Length: 1000\r\nAuthorization: " +
            padded.substr(0, padded.size() - 2) + "\r\n", "401"},
        {"two Authorization headers", "Content-Length: 1000\r\n" + alice + alice, "401"},
        {"duplicate Content-Length", "Content-Length: 1000\r\nContent-Length: 1000\r\n" + alice,
            "400"},
        {"conflicting Content-Length", "Content-Length: 1000\r\ncontent-length: 10\r\n" + alice,
            "400"},
        {"signed Content-Length", "Content-Length: +1000\r\n" + alice, "400"},
        {"Content-Length and chunked", "Content-Length: 1000\r\n"
            "Transfer-Encoding: chunked\r\n" + alice, "400"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        int fd = connectTcp(port);
        ASSERT_GE(fd, 0);
        // The body is never sent: an answer proves it was not waited for.
        std::string res = roundTrip(fd, headersOnly(c.headers));
        EXPECT_EQ(0u, res.find("HTTP/1.1 " + std::string(c.status))) << res;
        EXPECT_NE(std::string::npos, res.find("Connection: close")) << res;
        EXPECT_TRUE(closedByServer(fd));
        ::close(fd);
    }
    // The canonical form of the same credentials passes.
    auto res = enumNames(padded);
    ASSERT_TRUE(res);
    EXPECT_EQ(401, res->status);
    cimhost::PasswordFile(tmp + "/passwd").setPassword("alice", "secret1");
    res = enumNames(padded);
    ASSERT_TRUE(res);
    EXPECT_EQ(200, res->status);
}

TEST_F(HttpTest, HostileConnectionsKeepNeitherALoggedInClientNorTheServerStopWaiting)
{
    restart([](cimhost::ServerOptions& o) {
        o.workerCount = 2;
        // Longer than any test may run: the server must not wait for them.
        o.headerTimeoutSeconds = 600;
        o.readTimeoutSeconds = 600;
    });
    std::string alice = "Authorization: " + basic("alice", "secret") + "\r\n";
    std::vector<int> held;
    for (int i = 0; i < 8; i++)
    {
        // Headers that never end.
        int slow = connectTcp(port);
        ASSERT_GE(slow, 0);
        std::string partial = "POST /cimom HTTP/1.1\r\nHost: localhost\r\n";
        ::send(slow, partial.data(), partial.size(), MSG_NOSIGNAL);
        held.push_back(slow);
        // A logged-in client whose body never comes.
        int lying = connectTcp(port);
        ASSERT_GE(lying, 0);
        std::string req = headersOnly("Content-Length: 4000\r\n" + alice) + "<CIM>";
        ::send(lying, req.data(), req.size(), MSG_NOSIGNAL);
        held.push_back(lying);
    }
    for (int i = 0; i < 8; i++)
    {
        // Without credentials: a lying Content-Length, and keep-alive
        // requests answered 401 over and over.
        for (const std::string& req : {headersOnly("Content-Length: 4000\r\n"),
                 request("POST", ENUM_NAMES, "Connection: keep-alive\r\n"
                     "CIMOperation: MethodCall\r\nCIMMethod: EnumerateInstanceNames\r\n"
                     "CIMObject: root%2Ftest\r\n") + request("POST", ENUM_NAMES, "")})
        {
            int fd = connectTcp(port);
            ASSERT_GE(fd, 0);
            std::string res = roundTrip(fd, req);
            EXPECT_EQ(0u, res.find("HTTP/1.1 401")) << res;
            EXPECT_TRUE(closedByServer(fd));
            ::close(fd);
        }
    }

    auto res = enumNames();
    ASSERT_TRUE(res);
    EXPECT_EQ(200, res->status);
    EXPECT_NE(std::string::npos, res->body.find("<INSTANCENAME CLASSNAME=\"Test_Item\""));
    for (int fd : held)
        EXPECT_TRUE(stillOpen(fd));

    // Stopping does not wait for their deadlines: it closes them.
    client.reset();
    server.reset();
    for (int fd : held)
    {
        EXPECT_TRUE(closedByServer(fd));
        ::close(fd);
    }
}

TEST_F(HttpTest, ConnectionsFromOnePeerAreBounded)
{
    restart([](cimhost::ServerOptions& o) { o.maxConnectionsPerPeer = 2; });
    std::string req = request("POST", ENUM_NAMES, "Authorization: " +
        basic("alice", "secret") + "\r\nCIMOperation: MethodCall\r\n"
        "CIMMethod: EnumerateInstanceNames\r\nCIMObject: root%2Ftest\r\n");
    int first = connectTcp(port);
    int second = connectTcp(port);
    ASSERT_GE(first, 0);
    ASSERT_GE(second, 0);
    EXPECT_EQ(0u, roundTrip(first, req).find("HTTP/1.1 200"));
    EXPECT_EQ(0u, roundTrip(second, req).find("HTTP/1.1 200"));
    int third = connectTcp(port);
    ASSERT_GE(third, 0);
    std::string refused = roundTrip(third, req);
    EXPECT_EQ(0u, refused.find("HTTP/1.1 503")) << refused;
    ::close(third);
    ::close(first);
    // Once the server has seen the first one go, a new one is served.
    std::string answer;
    for (int i = 0; i < 50 && answer.find("HTTP/1.1 200") != 0; i++)
    {
        ::usleep(100000);
        int fd = connectTcp(port);
        ASSERT_GE(fd, 0);
        answer = roundTrip(fd, req);
        ::close(fd);
    }
    EXPECT_EQ(0u, answer.find("HTTP/1.1 200")) << answer;
    ::close(second);
}

TEST_F(HttpTest, WrongPasswordFloodDoesNotLockOutLoggedInUsers)
{
    cimhost::PasswordFile(tmp + "/passwd").setPassword("bob", "hunter2");
    restart([](cimhost::ServerOptions& o) { o.maxLoginFailures = 3; });
    auto status = [&](const std::string& user, const std::string& password) {
        auto res = enumNames(basic(user, password));
        return res ? res->status : -1;
    };
    EXPECT_EQ(200, status("alice", "secret"));
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(401, status("mallory", "guess" + std::to_string(i)));
    EXPECT_EQ(429, status("mallory", "guess3"));
    EXPECT_EQ(429, status("alice", "wrong"));
    // Credentials checked a moment ago still pass; others wait their turn.
    EXPECT_EQ(200, status("alice", "secret"));
    EXPECT_EQ(429, status("bob", "hunter2"));
}

TEST_F(HttpTest, ClientTextsAreEscapedInLogLines)
{
    restart([&](cimhost::ServerOptions& o) {
        o.logFile = tmp + "/cimhost.log";
        o.logLevel = "warning";
    });
    const struct
    {
        std::string user;
        const char* logged;
    } cases[] = {
        // (Basic credentials end the user name at the first colon.)
        {"eve\r\n2026-01-01 INFO 127.0.0.1 user \"root\"",
            "user \"eve\\x0D\\x0A2026-01-01 INFO 127.0.0.1 user \\\"root\\\"\""},
        {"a\\b\x1b[2J\x7f", "user \"a\\\\b\\x1B[2J\\x7F\""},
        {"caf\xc3\xa9", "user \"caf\xc3\xa9\""},
        {"bad\xff", "user \"bad\\xFF\""},
    };
    for (const auto& c : cases)
    {
        auto res = enumNames(basic(c.user, "x"));
        ASSERT_TRUE(res);
        EXPECT_EQ(401, res->status);
    }
    server.reset();
    std::ifstream in(tmp + "/cimhost.log");
    std::vector<std::string> refused;
    for (std::string line; std::getline(in, line);)
    {
        EXPECT_EQ(0u, line.find("20")) << line;
        if (line.find(" -> 401 ") != std::string::npos)
            refused.push_back(line);
    }
    ASSERT_EQ(4u, refused.size());
    for (size_t i = 0; i < 4; i++)
        EXPECT_NE(std::string::npos, refused[i].find(std::string(" 127.0.0.1 ") +
            cases[i].logged + " POST EnumerateInstanceNames -> 401 authentication failed"))
            << refused[i];
}

std::string enumerateCall(const char* method, const char* className)
{
    return std::string("<?xml version=\"1.0\" encoding=\"utf-8\" ?>"
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"4713\" PROTOCOLVERSION=\"1.0\">"
        "<SIMPLEREQ><IMETHODCALL NAME=\"") + method + "\"><LOCALNAMESPACEPATH>"
        "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"test\"/></LOCALNAMESPACEPATH>"
        "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"" + className + "\"/></IPARAMVALUE>"
        "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
}

// Large enumerations: chunked with "TE: trailers", Content-Length without,
// the same document either way. A large Content-Length answer waits in an
// unnamed spool file, or in memory when the spool directory is unusable.
TEST_F(HttpTest, LargeAnswersAreChunkedOnlyForClientsThatAcceptTrailers)
{
    ASSERT_EQ(0, ::mkdir((tmp + "/spool").c_str(), 0700));
    restart([&](cimhost::ServerOptions& o) {
        o.spoolDirectory = tmp + "/spool";
        o.spoolAfterBytes = cimhost::BufferedAnswerBody::BLOCK_BYTES;
        o.logFile = tmp + "/cimhost.log";
        o.logLevel = "warning";
    });
    cimhost::PasswordFile(tmp + "/passwd").setPassword("many", "pw");
    struct Case
    {
        const char* method;
        const char* element;
        size_t count;
    };
    std::string spooledBody;
    for (const Case& c : {Case{"EnumerateInstances", "<VALUE.NAMEDINSTANCE>", 4000},
             Case{"EnumerateInstanceNames", "<INSTANCENAME ", 250}})
    {
        SCOPED_TRACE(c.method);
        e2e::HttpConnection conn(port);
        e2e::HttpAnswer chunked;
        e2e::HttpAnswer whole;
        std::string body = enumerateCall(c.method, "Test_Chunk");
        ASSERT_TRUE(conn.roundTrip(e2e::HttpConnection::cimRequest(c.method, "root%2Ftest",
            body, "many", "pw", true), chunked));
        ASSERT_TRUE(conn.roundTrip(e2e::HttpConnection::cimRequest(c.method, "root%2Ftest",
            body, "many", "pw", false), whole));

        EXPECT_EQ(200, chunked.status);
        EXPECT_TRUE(chunked.chunked);
        EXPECT_EQ("", chunked.header("Content-Length"));
        EXPECT_EQ("", chunked.trailer("CIMStatusCode"));
        EXPECT_EQ(200, whole.status);
        EXPECT_FALSE(whole.chunked);
        EXPECT_EQ(std::to_string(whole.body.size()), whole.header("Content-Length"));
        EXPECT_EQ("MethodResponse", whole.header("CIMOperation"));
        EXPECT_EQ(whole.body, chunked.body);
        EXPECT_EQ(c.count, occurrences(chunked.body, c.element));
        if (std::string(c.method) == "EnumerateInstances")
        {
            EXPECT_GT(chunked.chunks, 1u);
            EXPECT_GT(whole.body.size(), 2 * cimhost::BufferedAnswerBody::BLOCK_BYTES);
            spooledBody = whole.body;
        }
    }
    EXPECT_EQ(0u, ::rmdir((tmp + "/spool").c_str())) << "a spool file was left behind";

    restart([&](cimhost::ServerOptions& o) {
        o.spoolDirectory = tmp + "/spool";
        o.spoolAfterBytes = cimhost::BufferedAnswerBody::BLOCK_BYTES;
        o.logFile = tmp + "/cimhost.log";
        o.logLevel = "warning";
    });
    e2e::HttpConnection conn(port);
    e2e::HttpAnswer inMemory;
    ASSERT_TRUE(conn.roundTrip(e2e::HttpConnection::cimRequest("EnumerateInstances",
        "root%2Ftest", enumerateCall("EnumerateInstances", "Test_Chunk"), "many", "pw", false),
        inMemory));
    EXPECT_EQ(200, inMemory.status);
    EXPECT_EQ(spooledBody, inMemory.body);
    server.reset();
    std::ifstream in(tmp + "/cimhost.log");
    std::string log((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(std::string::npos, log.find(" WARNING answer of " +
        std::to_string(spooledBody.size()) + " bytes held in memory: cannot write to spool "
        "directory \"" + tmp + "/spool\": No such file or directory\n")) << log;
}

// A failure after the first chunk left: the document is finished without
// an ERROR element and the CIM status travels in the trailer. Before any
// chunk left, or without "TE: trailers", the ERROR element replaces the
// result as always.
TEST_F(HttpTest, FailureAfterTheFirstChunkArrivesInTheTrailer)
{
    cimhost::PasswordFile(tmp + "/passwd").setPassword("manyfail", "pw");
    cimhost::PasswordFile(tmp + "/passwd").setPassword("throwafter", "pw");
    std::string body = enumerateCall("EnumerateInstances", "Test_Chunk");
    e2e::HttpConnection conn(port);
    e2e::HttpAnswer late;
    ASSERT_TRUE(conn.roundTrip(e2e::HttpConnection::cimRequest("EnumerateInstances",
        "root%2Ftest", body, "manyfail", "pw", true), late));
    EXPECT_EQ(200, late.status);
    ASSERT_TRUE(late.chunked);
    EXPECT_GT(late.chunks, 1u);
    EXPECT_EQ("CIMStatusCode, CIMStatusCodeDescription", late.header("Trailer"));
    EXPECT_EQ("1", late.trailer("CIMStatusCode"));
    EXPECT_EQ("CIM_ERR_FAILED%3A%20the%20array%20went%20away",
        late.trailer("CIMStatusCodeDescription"));
    EXPECT_EQ(std::string::npos, late.body.find("<ERROR"));
    EXPECT_NE(std::string::npos, late.body.find("</IRETURNVALUE>\n</IMETHODRESPONSE>\n"));
    EXPECT_EQ("</CIM>", late.body.substr(late.body.find_last_not_of('\n') - 5, 6));

    e2e::HttpAnswer whole;
    ASSERT_TRUE(conn.roundTrip(e2e::HttpConnection::cimRequest("EnumerateInstances",
        "root%2Ftest", body, "manyfail", "pw", false), whole));
    EXPECT_FALSE(whole.chunked);
    EXPECT_NE(std::string::npos, whole.body.find("<ERROR CODE=\"1\" "
        "DESCRIPTION=\"CIM_ERR_FAILED: the array went away\"/>"));
    EXPECT_EQ(0u, occurrences(whole.body, "<VALUE.NAMEDINSTANCE>"));

    e2e::HttpAnswer early;
    ASSERT_TRUE(conn.roundTrip(e2e::HttpConnection::cimRequest("EnumerateInstances",
        "root%2Ftest", enumerateCall("EnumerateInstances", "Test_Item"), "throwafter", "pw",
        true), early));
    EXPECT_TRUE(early.chunked);
    EXPECT_TRUE(early.trailers.empty());
    EXPECT_NE(std::string::npos, early.body.find("<ERROR CODE=\"7\" "));
    EXPECT_EQ(0u, occurrences(early.body, "<VALUE.NAMEDINSTANCE>"));
}

TEST_F(HttpTest, MPostAndKeepAliveOnOneConnection)
{
    int fd = connectTcp(port);
    ASSERT_GE(fd, 0);
    std::string auth = "Authorization: " + basic("alice", "secret") + "\r\n";
    std::string first = roundTrip(fd, request("M-POST", ENUM_NAMES,
        auth + "Man: http://www.dmtf.org/cim/mapping/http/v1.0; ns=73\r\n"
        "73-CIMOperation: MethodCall\r\n73-CIMMethod: EnumerateInstanceNames\r\n"
        "73-CIMObject: root%2Ftest\r\n"));
    EXPECT_EQ(0u, first.find("HTTP/1.1 200")) << first;
    EXPECT_NE(std::string::npos, first.find("<INSTANCENAME")) << first;
    std::string second = roundTrip(fd, request("POST", ENUM_NAMES,
        auth + "CIMOperation: MethodCall\r\nCIMMethod: EnumerateInstanceNames\r\n"
        "CIMObject: root%2Ftest\r\n"));
    EXPECT_EQ(0u, second.find("HTTP/1.1 200")) << second;
    ::close(fd);
}

// Once a connection has logged in, the server reads its requests itself;
// the answers, and whether the connection stays, are the same as on a new
// connection, also for pipelined requests.
TEST_F(HttpTest, ALoggedInConnectionIsAnsweredAsANewOneIs)
{
    std::string auth = "Authorization: " + basic("alice", "secret") + "\r\n";
    std::string cim = "CIMOperation: MethodCall\r\nCIMMethod: EnumerateInstanceNames\r\n"
                      "CIMObject: root%2Ftest\r\n";
    std::string whoAmI = "CIMOperation: MethodCall\r\nCIMMethod: WhoAmI\r\n"
                         "CIMObject: root%2ftest%3ATest_Method.Id%3D%22m%22\r\n";
    const struct
    {
        const char* what;
        std::string request;
        bool stays;
    } cases[] = {
        {"POST", request("POST", ENUM_NAMES, auth + cim), true},
        {"M-POST", request("M-POST", ENUM_NAMES, auth +
             "Man: http://www.dmtf.org/cim/mapping/http/v1.0; ns=73\r\n"
             "73-CIMOperation: MethodCall\r\n73-CIMMethod: EnumerateInstanceNames\r\n"
             "73-CIMObject: root%2Ftest\r\n"), true},
        {"percent-encoded fields, lower-case names", request("POST", WHO_AM_I,
             auth + "cimoperation: MethodCall\r\ncimmethod: Who%41mI\r\n"
             "CIMObject: root%2ftest%3ATest_Method.Id%3D%22m%22\r\nX-Note: 100%\r\n"), true},
        {"malformed XML", request("POST", "<CIM><MESSAGE", auth + cim), true},
        {"CIMMethod not the method called", request("POST", WHO_AM_I, auth + cim), true},
        {"TE: trailers, one object", request("POST", WHO_AM_I, auth + whoAmI + "TE: trailers\r\n"),
             true},
        {"Connection: close", request("POST", WHO_AM_I, auth + whoAmI + "Connection: close\r\n"),
             false},
        {"other credentials", request("POST", ENUM_NAMES,
             "Authorization: " + basic("alice", "wrong") + "\r\n" + cim), false},
        {"no Host", [&] {
             std::string r = request("POST", ENUM_NAMES, auth + cim);
             return r.erase(r.find("Host: localhost\r\n"), 17);
         }(), false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        int fresh = connectTcp(port);
        ASSERT_GE(fresh, 0);
        std::string expected = roundTrip(fresh, c.request);
        if (!c.stays)
        {
            EXPECT_TRUE(closedByServer(fresh));
        }
        ::close(fresh);

        int fd = connectTcp(port);
        ASSERT_GE(fd, 0);
        std::string login = request("POST", ENUM_NAMES, auth + cim);
        EXPECT_EQ(0u, roundTrip(fd, login).find("HTTP/1.1 200"));
        EXPECT_EQ(expected, roundTrip(fd, c.request));
        if (c.stays)
        {
            // Two requests sent at once are answered in turn.
            std::string both = c.request + login;
            ::send(fd, both.data(), both.size(), MSG_NOSIGNAL);
            std::vector<std::string> answers = readResponses(fd, 2);
            EXPECT_EQ(expected, answers[0]);
            EXPECT_EQ(0u, answers[1].find("HTTP/1.1 200"));
        }
        else
        {
            EXPECT_TRUE(closedByServer(fd));
        }
        ::close(fd);
    }
}

// A connection that logged in keeps its credentials only while the password
// file still accepts them: a change of the file refuses its next request.
TEST_F(HttpTest, AChangedPasswordFileRefusesTheNextRequestOfALoggedInConnection)
{
    const std::string path = tmp + "/passwd";
    const struct
    {
        const char* what;
        std::function<void()> change;
    } cases[] = {
        {"password changed", [&] { cimhost::PasswordFile(path).setPassword("alice", "other"); }},
        {"user removed", [&] { cimhost::PasswordFile(path).remove("alice"); }},
        {"account disabled in place", [&] {
             std::string line;
             std::getline(std::ifstream(path), line);
             std::ofstream(path, std::ios::trunc) << "alice:!" << line.substr(6) << "\n";
         }},
    };
    std::string enumNames = request("POST", ENUM_NAMES, "Authorization: " +
        basic("alice", "secret") + "\r\nCIMOperation: MethodCall\r\n"
        "CIMMethod: EnumerateInstanceNames\r\nCIMObject: root%2Ftest\r\n");
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        cimhost::PasswordFile(path).setPassword("alice", "secret");
        int fd = connectTcp(port);
        ASSERT_GE(fd, 0);
        EXPECT_EQ(0u, roundTrip(fd, enumNames).find("HTTP/1.1 200"));
        EXPECT_EQ(0u, roundTrip(fd, enumNames).find("HTTP/1.1 200"));
        c.change();
        std::string refused = roundTrip(fd, enumNames);
        EXPECT_EQ(0u, refused.find("HTTP/1.1 401")) << refused;
        ::close(fd);
    }
}

// A throw-away self-signed certificate for localhost and its key, as PEM.
bool writeSelfSignedCertificate(const std::string& certFile, const std::string& keyFile)
{
    EVP_PKEY* key = EVP_RSA_gen(2048);
    X509* cert = X509_new();
    bool ok = key && cert;
    if (ok)
    {
        ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
        X509_gmtime_adj(X509_getm_notBefore(cert), 0);
        X509_gmtime_adj(X509_getm_notAfter(cert), 86400);
        X509_set_pubkey(cert, key);
        X509_NAME* name = X509_get_subject_name(cert);
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
            reinterpret_cast<const unsigned char*>("localhost"), -1, -1, 0);
        X509_set_issuer_name(cert, name);
        ok = X509_sign(cert, key, EVP_sha256()) > 0;
    }
    FILE* c = ok ? std::fopen(certFile.c_str(), "w") : nullptr;
    FILE* k = ok ? std::fopen(keyFile.c_str(), "w") : nullptr;
    ok = c && k && PEM_write_X509(c, cert) &&
        PEM_write_PrivateKey(k, key, nullptr, nullptr, 0, nullptr, nullptr);
    if (c)
        std::fclose(c);
    if (k)
        std::fclose(k);
    X509_free(cert);
    EVP_PKEY_free(key);
    return ok;
}

// A server answering HTTPS only, with a throw-away certificate and alice's
// password in dir.
cimhost::ServerOptions httpsOptions(const std::string& dir)
{
    EXPECT_TRUE(writeSelfSignedCertificate(dir + "/cert.pem", dir + "/key.pem"));
    cimhost::PasswordFile(dir + "/passwd").setPassword("alice", "secret");
    cimhost::ServerOptions o = cimhost_test::testModuleOptions();
    o.enableHttp = false;
    o.httpsPort = 0;
    o.sslCertificateFile = dir + "/cert.pem";
    o.sslKeyFile = dir + "/key.pem";
    o.passwordFile = dir + "/passwd";
    return o;
}

httplib::Result tlsEnumNames(int port, const std::string& auth)
{
    httplib::SSLClient client("127.0.0.1", port);
    client.enable_server_certificate_verification(false);
    httplib::Headers h = cimHeaders("EnumerateInstanceNames", "root%2Ftest");
    if (!auth.empty())
        h.emplace("Authorization", auth);
    return client.Post("/cimom", h, ENUM_NAMES, "application/xml");
}

TEST(HttpsTest, ServesOverTlsWithTheSameAuthenticationAndNeedsACertificate)
{
    char dir[] = "/tmp/cimhost-tls-XXXXXX";
    std::string tmp = ::mkdtemp(dir);
    cimhost::ServerOptions o = httpsOptions(tmp);
    {
        cimhost::EmbeddedServer server(o);
        server.start();
        EXPECT_EQ(-1, server.httpPort());
        ASSERT_GT(server.httpsPort(), 0);
        auto anonymous = tlsEnumNames(server.httpsPort(), "");
        ASSERT_TRUE(anonymous);
        EXPECT_EQ(401, anonymous->status);
        auto res = tlsEnumNames(server.httpsPort(), basic("alice", "secret"));
        ASSERT_TRUE(res);
        EXPECT_EQ(200, res->status);
        EXPECT_NE(std::string::npos, res->body.find("<INSTANCENAME CLASSNAME=\"Test_Item\""));
    }
    o.sslCertificateFile = tmp + "/missing.pem";
    cimhost::EmbeddedServer unusable(o);
    EXPECT_THROW(unusable.start(), std::runtime_error);
    std::system(("rm -rf " + tmp).c_str());
}

TEST(HttpsTest, SlowHandshakesWaitOnTheirOwnAndAreCutOff)
{
    char dir[] = "/tmp/cimhost-tls-XXXXXX";
    std::string tmp = ::mkdtemp(dir);
    cimhost::ServerOptions o = httpsOptions(tmp);
    o.workerCount = 1;
    for (int headerTimeout : {60, 1})
    {
        SCOPED_TRACE(headerTimeout);
        o.headerTimeoutSeconds = headerTimeout;
        cimhost::EmbeddedServer server(o);
        server.start();
        // Connections that start a handshake and never finish it.
        std::vector<int> held;
        for (int i = 0; i < 8; i++)
        {
            int fd = connectTcp(server.httpsPort());
            ASSERT_GE(fd, 0);
            ::send(fd, "\x16\x03\x01", 3, MSG_NOSIGNAL);
            held.push_back(fd);
        }
        if (headerTimeout == 60)
        {
            auto res = tlsEnumNames(server.httpsPort(), basic("alice", "secret"));
            ASSERT_TRUE(res);
            EXPECT_EQ(200, res->status);
        }
        for (int fd : held)
        {
            // Open while the time-out runs, closed by the server after it.
            EXPECT_TRUE(headerTimeout == 60 ? stillOpen(fd) : closedByServer(fd));
            ::close(fd);
        }
    }
    std::system(("rm -rf " + tmp).c_str());
}

} // namespace
