#include <cimhost/EmbeddedServer.h>

#include "HttpFrontEnd.h"
#include "InProcessLocalServer.h"
#include "IndicationService.h"
#include "Logger.h"
#include "NamespaceDirectory.h"
#include "PasswordFile.h"
#include "EnumerationContextTable.h"
#include "ProviderManager.h"
#include "ProviderRegistry.h"
#include "Router.h"

#include <cimhost/MofCompiler.h>
#include <cimhost/MofError.h>
#include <cimhost/Repository.h>

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Internal/CIMOMHandleAccess.h>

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <mutex>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

using namespace Pegasus;

namespace cimhost
{

namespace
{

bool isDirectory(const std::string& path)
{
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// A file, or the *.mof files of a directory in name order.
std::vector<std::string> mofFiles(const std::string& entry)
{
    std::vector<std::string> files;
    if (!isDirectory(entry))
    {
        files.push_back(entry);
        return files;
    }
    DIR* dir = ::opendir(entry.c_str());
    if (!dir)
        throw std::runtime_error("cannot read directory " + entry);
    while (dirent* e = ::readdir(dir))
    {
        std::string name = e->d_name;
        if (name.size() > 4 && name.compare(name.size() - 4, 4, ".mof") == 0)
            files.push_back(entry + "/" + name);
    }
    ::closedir(dir);
    std::sort(files.begin(), files.end());
    return files;
}

std::string machineHostName()
{
    char buf[256];
    if (::gethostname(buf, sizeof(buf)) != 0)
        return "localhost";
    buf[sizeof(buf) - 1] = '\0';
    return buf;
}

} // namespace

std::string ServerOptions::defaultSocketPath()
{
    const char* env = std::getenv("CIMHOST_SOCKET");
    if (env && *env)
        return env;
    return "/tmp/cimhost.socket";
}

class EmbeddedServer::Impl
{
public:
    explicit Impl(const ServerOptions& options) : options(options) {}

    ServerOptions options;
    std::mutex mutex;
    bool started = false;
    bool stopped = false;
    Logger logger;
    Repository repository;
    ProviderRegistry registry;
    std::unique_ptr<ProviderManager> providers;
    std::unique_ptr<Router> router;
    std::unique_ptr<EnumerationContextTable> contexts;
    std::shared_ptr<InProcessLocalServer> localServer;
    std::unique_ptr<IndicationService> indications;
    std::unique_ptr<PasswordFile> passwords;
    std::unique_ptr<HttpFrontEnd> frontEnd;
};

EmbeddedServer::EmbeddedServer(const ServerOptions& options) : _impl(new Impl(options))
{
}

EmbeddedServer::~EmbeddedServer()
{
    stop();
}

void EmbeddedServer::start()
{
    Impl& d = *_impl;
    std::lock_guard<std::mutex> lock(d.mutex);
    if (d.started)
        throw std::runtime_error("the server was already started");
    d.started = true;

    d.logger.open(d.options.logFile, Logger::parseLevel(d.options.logLevel), d.options.logMaxBytes,
        d.options.logKeep);
    std::string host = d.options.hostName.empty() ? machineHostName() : d.options.hostName;

    MofCompiler compiler(d.repository);
    try
    {
        for (const std::string& entry : d.options.schemaFiles)
            for (const std::string& file : mofFiles(entry))
                compiler.compileFile(file);
        for (const std::string& entry : d.options.registrationDirs)
            for (const std::string& file : mofFiles(entry))
                compiler.compileFile(file, ProviderRegistry::INTEROP_NAMESPACE);
    }
    catch (const MofError& e)
    {
        d.logger.error(e.what());
        throw std::runtime_error(e.what());
    }
    catch (const Exception& e)
    {
        std::string msg = static_cast<const char*>(e.getMessage().getCString());
        d.logger.error("schema: " + msg);
        throw std::runtime_error("schema: " + msg);
    }
    d.logger.info("schema compiled: " + std::to_string(compiler.classCount()) +
        " classes, " + std::to_string(compiler.instanceCount()) + " instances");

    d.registry.load(d.repository, d.logger);
    NamespaceDirectory::publish(d.repository, d.registry);
    d.providers.reset(new ProviderManager(d.options.moduleDirs, d.logger));
    d.router.reset(new Router(d.repository, d.registry, *d.providers,
        String(host.c_str())));
    d.router->setAdministrators(d.options.administrators);
    d.providers->setBackend(d.router.get());
    d.contexts.reset(new EnumerationContextTable(*d.router));
    // Providers' local connections reach this server in process, whatever
    // socket is configured (or none).
    d.localServer = std::make_shared<InProcessLocalServer>(*d.router, *d.contexts,
        String(host.c_str()));
    d.providers->setLocalServer(d.localServer);

    IndicationDestination::Settings delivery;
    delivery.queueLimit = std::max<size_t>(1, d.options.indicationQueueLimit);
    delivery.attempts = std::max(1, d.options.indicationAttempts);
    d.indications.reset(new IndicationService(d.repository, d.registry, *d.providers,
        String(host.c_str()), d.options.subscriptionFile, delivery, d.logger));
    d.router->setIndicationService(d.indications.get());
    try
    {
        d.indications->start();
    }
    catch (const std::exception& e)
    {
        d.logger.error(e.what());
        throw;
    }

    if (!d.options.passwordFile.empty())
        d.passwords.reset(new PasswordFile(d.options.passwordFile));
    d.frontEnd.reset(new HttpFrontEnd(d.options, *d.router, *d.contexts,
        String(host.c_str()), d.passwords.get(), d.logger));
    d.frontEnd->start();
    d.logger.info("cimhost started as host " + host);
}

void EmbeddedServer::stop()
{
    Impl& d = *_impl;
    std::lock_guard<std::mutex> lock(d.mutex);
    if (!d.started || d.stopped)
        return;
    d.stopped = true;
    if (d.frontEnd)
        d.frontEnd->stop();
    // Open enumerations hold provider calls: end them before the providers.
    if (d.contexts)
        d.contexts->shutdown();
    if (d.indications)
        d.indications->stop();
    if (d.providers)
        d.providers->shutdown();
    if (d.localServer)
        d.localServer->close();
    d.logger.info("cimhost stopped");
}

CIMOMHandle EmbeddedServer::cimomHandle()
{
    if (!_impl->router)
        throw std::logic_error("the server is not started");
    return CIMOMHandleAccess::create(*_impl->router);
}

CIMOperations& EmbeddedServer::operations()
{
    if (!_impl->router)
        throw std::logic_error("the server is not started");
    return *_impl->router;
}

int EmbeddedServer::httpPort() const
{
    return _impl->frontEnd ? _impl->frontEnd->httpPort() : -1;
}

int EmbeddedServer::httpsPort() const
{
    return _impl->frontEnd ? _impl->frontEnd->httpsPort() : -1;
}

std::string EmbeddedServer::socketPath() const
{
    return _impl->frontEnd ? _impl->frontEnd->socketPath() : std::string();
}

} // namespace cimhost
