// A complete cimhost server inside the calling process: class repository,
// provider registry, provider manager, router, and optionally the HTTP
// listener and the local (Unix socket) listener.
//
// Tests of provider modules use it to get a real CIMOMHandle and real companion
// providers loaded by registration. CIMClient::connectLocal() made by a
// provider it runs reaches this server in process, with or without a socket.
#ifndef CIMHOST_EMBEDDED_SERVER_H
#define CIMHOST_EMBEDDED_SERVER_H

#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Internal/CIMOperations.h>

#include <memory>
#include <cstdint>
#include <string>
#include <vector>

namespace cimhost
{

struct ServerOptions
{
    // MOF files, or directories whose *.mof files are compiled in name order,
    // that make up the schema (classes, qualifiers, static instances).
    std::vector<std::string> schemaFiles;
    // MOF files or directories of provider registrations (PG_ProviderModule,
    // PG_Provider, PG_ProviderCapabilities instances), compiled after the
    // schema.
    std::vector<std::string> registrationDirs;
    // Directories searched, in order, for lib<Location>.so.
    std::vector<std::string> moduleDirs;
    // Host name put into the object paths given to providers. Empty: the
    // machine's host name.
    std::string hostName;

    // Local listener (Unix domain socket, peer uid trusted). Empty path: no
    // local listener. Use defaultSocketPath() for the standard one.
    std::string socketPath;

    // HTTP listener. Disabled unless enableHttp; port 0 picks a free port
    // (see EmbeddedServer::httpPort()).
    bool enableHttp = false;
    std::string httpAddress = "127.0.0.1";
    int httpPort = 5988;

    // HTTPS listener: enabled when both files are set. Port 0 = free port.
    std::string httpsAddress = "127.0.0.1";
    int httpsPort = 5989;
    std::string sslCertificateFile;
    std::string sslKeyFile;

    // Password file (user:hash lines) for HTTP Basic authentication. Every
    // TCP request must authenticate; an empty or missing file lets nobody in.
    std::string passwordFile;

    // User names that may change the schema (CreateClass, ModifyClass,
    // DeleteClass) and the stored instances of classes no provider serves
    // (CreateInstance, ModifyInstance, SetProperty, DeleteInstance). They
    // count alike over TCP, HTTPS and the local socket, where the peer's
    // user name is the name of its uid; root and the server's own uid get no
    // more than any other name. Empty (the default): nobody.
    std::vector<std::string> administrators;

    // Requests answered at once (at least 1). Each open connection has its
    // own thread; these bound the work on requests.
    int workerCount = 8;
    // Open connections at most, in all and from one client address (one
    // user id on the local socket); more are refused with 503.
    int maxConnections = 256;
    int maxConnectionsPerPeer = 32;
    // Failed logins from one client address within a minute after which its
    // credentials are not checked until the minute has passed (429);
    // credentials that passed within the last minute still pass. 0: no
    // limit.
    int maxLoginFailures = 10;

    // Request/error log; empty file = standard error. Levels: "error",
    // "warning", "info", "debug"; "off" disables logging.
    std::string logFile;
    std::string logLevel = "warning";
    // A log file that a line would take past logMaxBytes becomes <file>.1
    // (older ones <file>.2 ... <file>.<logKeep>, the oldest dropped) and the
    // line starts a new file. 0: no limit.
    std::uint64_t logMaxBytes = 10u * 1024u * 1024u;
    unsigned logKeep = 5;

    // Largest request body accepted, in bytes.
    size_t maxRequestBytes = 32u * 1024u * 1024u;
    // Directory of the unnamed files that hold large answers sent with
    // Content-Length until they are sent; empty: $TMPDIR, else /tmp. An
    // answer moves there once it is larger than spoolAfterBytes (at least
    // 256 KiB).
    std::string spoolDirectory;
    size_t spoolAfterBytes = 4u * 1024u * 1024u;
    // Seconds a client may take for the TLS handshake and for the headers
    // of one request, and then for its body.
    int headerTimeoutSeconds = 10;
    int readTimeoutSeconds = 20;

    // File that keeps indication subscriptions (filters, listener
    // destinations, subscriptions) across restarts; empty: kept in memory
    // only.
    std::string subscriptionFile;
    // Indications waiting for one listener at most, and tries of each
    // before the listener counts as gone.
    size_t indicationQueueLimit = 1000;
    int indicationAttempts = 4;

    // The socket path used when none is configured: $CIMHOST_SOCKET, else
    // /tmp/cimhost.socket.
    static std::string defaultSocketPath();
};

class EmbeddedServer
{
public:
    explicit EmbeddedServer(const ServerOptions& options);
    // Stops the server if it is running.
    ~EmbeddedServer();

    EmbeddedServer(const EmbeddedServer&) = delete;
    EmbeddedServer& operator=(const EmbeddedServer&) = delete;

    // Compiles the schema and registrations and starts the listeners.
    // Throws std::runtime_error with a clear message (a MOF error names file
    // and line) when start-up fails. Providers are loaded on first use.
    void start();

    // Stops accepting, waits for running requests, terminates every
    // initialized provider and unloads the modules. Idempotent.
    void stop();

    // A handle routed through this server, as a provider would receive it.
    Pegasus::CIMOMHandle cimomHandle();

    // The router: every operation as an in-process call.
    Pegasus::CIMOperations& operations();

    // The bound HTTP port (useful with port 0), or -1 without HTTP.
    int httpPort() const;
    // The bound HTTPS port, or -1 without HTTPS.
    int httpsPort() const;
    // The local socket path in use, empty without one.
    std::string socketPath() const;

    class Impl;

private:
    std::unique_ptr<Impl> _impl;
};

} // namespace cimhost

#endif
