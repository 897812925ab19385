#include "ServerConfig.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <iostream>
#include <sys/stat.h>

namespace cimhost
{

namespace
{

bool exists(const std::string& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
}

} // namespace

CommandLine parseCommandLine(int argc, char** argv)
{
    CommandLine cl;
    ServerOptions& o = cl.options;
    o.enableHttp = true;

    CLI::App app{"cimhost: a CIM server for provider modules, speaking CIM-XML over HTTP"};
    app.set_config("--config", "", "configuration file (key = value, keys are the long option names)");

    bool noHttp = false;
    std::string socketPath = ServerOptions::defaultSocketPath();
    app.add_option("--http-address", o.httpAddress, "address of the HTTP listener")
        ->capture_default_str();
    app.add_option("--http-port", o.httpPort, "HTTP port (0 = any free port)")
        ->capture_default_str();
    app.add_flag("--no-http", noHttp, "no HTTP listener");
    app.add_option("--https-address", o.httpsAddress, "address of the HTTPS listener")
        ->capture_default_str();
    app.add_option("--https-port", o.httpsPort, "HTTPS port")->capture_default_str();
    app.add_option("--ssl-cert", o.sslCertificateFile, "server certificate (PEM): enables HTTPS");
    app.add_option("--ssl-key", o.sslKeyFile, "server key (PEM)");
    app.add_option("--socket", socketPath,
        "local Unix socket (empty: none); CIMHOST_SOCKET overrides")->capture_default_str();
    app.add_option("--schema", o.schemaFiles, "schema MOF file or directory (repeatable)");
    app.add_option("--registration", o.registrationDirs,
        "provider registration MOF file or directory (repeatable)");
    app.add_option("--module-dir", o.moduleDirs, "directory of provider modules (repeatable)");
    app.add_option("--password-file", o.passwordFile, "password file for HTTP Basic authentication");
    app.add_option("--administrator", o.administrators,
        "user who may change the schema and stored instances (repeatable, or "
        "comma-separated; default: nobody)")->delimiter(',');
    app.add_option("--log-file", o.logFile, "log file (default: standard error)");
    app.add_option("--log-level", o.logLevel, "off, error, warning, info or debug")
        ->capture_default_str();
    app.add_option("--log-max-bytes", o.logMaxBytes,
        "size at which the log file is turned over (0: never)")->capture_default_str();
    app.add_option("--log-keep", o.logKeep, "old log files kept")->capture_default_str();
    app.add_option("--workers", o.workerCount, "requests answered at once")
        ->capture_default_str()->check(CLI::Range(1, 1024));
    app.add_option("--host-name", o.hostName, "host name in object paths (default: this machine's)");
    app.add_option("--max-request-bytes", o.maxRequestBytes, "largest request body accepted")
        ->capture_default_str();
    app.add_option("--spool-dir", o.spoolDirectory,
        "directory where large answers sent with Content-Length wait to be sent "
        "(default: $TMPDIR, else /tmp)");
    app.add_option("--spool-after", o.spoolAfterBytes,
        "size past which such an answer moves to the spool directory (at least 262144)")
        ->capture_default_str();
    app.add_option("--header-timeout", o.headerTimeoutSeconds,
        "seconds a client may take for the TLS handshake and for the headers of one request")
        ->capture_default_str()->check(CLI::Range(1, 3600));
    app.add_option("--read-timeout", o.readTimeoutSeconds,
        "seconds a client may take to send the body of one request")
        ->capture_default_str()->check(CLI::Range(1, 3600));
    app.add_option("--max-connections", o.maxConnections, "open connections at most")
        ->capture_default_str()->check(CLI::Range(1, 100000));
    app.add_option("--max-connections-per-peer", o.maxConnectionsPerPeer,
        "open connections at most from one client address (one user on the local socket)")
        ->capture_default_str()->check(CLI::Range(1, 100000));
    app.add_option("--max-login-failures", o.maxLoginFailures,
        "failed logins per client address and minute before its logins are refused "
        "(0: no limit)")->capture_default_str()->check(CLI::Range(0, 1000000));

    CLI::Option* subscriptions = app.add_option("--subscription-file", o.subscriptionFile,
        "file that keeps indication subscriptions across restarts (default: "
        "cimhost.subscriptions beside the password file; empty: none)");
    app.add_option("--indication-queue", o.indicationQueueLimit,
        "indications waiting for one listener at most")
        ->capture_default_str()->check(CLI::Range(1, 1000000));

    CLI::App* passwd = app.add_subcommand("passwd", "manage the password file");
    passwd->require_subcommand(1);
    CLI::App* add = passwd->add_subcommand("add", "add a user or change its password "
        "(password from standard input, or asked for on a terminal)");
    CLI::App* remove = passwd->add_subcommand("remove", "remove a user");
    // Options of the server (--password-file above all) may follow the
    // subcommand.
    passwd->fallthrough();
    add->fallthrough();
    remove->fallthrough();
    add->add_option("user", cl.passwdUser, "user name")->required();
    remove->add_option("user", cl.passwdUser, "user name")->required();

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& e)
    {
        cl.action = CommandLine::Action::Exit;
        cl.exitCode = app.exit(e);
        return cl;
    }

    const char* env = std::getenv("CIMHOST_SOCKET");
    o.socketPath = (env && *env) ? std::string(env) : socketPath;
    o.enableHttp = !noHttp;
    if (subscriptions->count() == 0 && !o.passwordFile.empty())
    {
        size_t slash = o.passwordFile.rfind('/');
        o.subscriptionFile = (slash == std::string::npos ? std::string()
            : o.passwordFile.substr(0, slash + 1)) + "cimhost.subscriptions";
    }

#ifdef CIMHOST_SOURCE_DIR
    if (o.schemaFiles.empty() && exists(CIMHOST_SOURCE_DIR "/schema/root.mof"))
        o.schemaFiles.push_back(CIMHOST_SOURCE_DIR "/schema/root.mof");
    if (o.registrationDirs.empty() && exists(CIMHOST_SOURCE_DIR "/schema/registration"))
        o.registrationDirs.push_back(CIMHOST_SOURCE_DIR "/schema/registration");
#endif
#ifdef CIMHOST_MODULE_DIR
    if (o.moduleDirs.empty())
        o.moduleDirs.push_back(CIMHOST_MODULE_DIR);
#endif

    if (add->parsed())
        cl.action = CommandLine::Action::PasswdAdd;
    else if (remove->parsed())
        cl.action = CommandLine::Action::PasswdRemove;
    if (cl.action != CommandLine::Action::Serve && o.passwordFile.empty())
    {
        std::cerr << "cimhost passwd: --password-file is required" << std::endl;
        cl.action = CommandLine::Action::Exit;
        cl.exitCode = 2;
    }
    return cl;
}

} // namespace cimhost
