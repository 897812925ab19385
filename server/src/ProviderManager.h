// Loads provider modules and keeps their providers, as the reference server's
// default C++ provider manager does: one dlopen per module, providers created
// with PegasusCreateProvider(name) on their first request, initialize() once
// before the first operation, terminate() at shutdown.
//
// No lock is held while a provider's initialize() runs, except the provider's
// own "being initialized" state: other providers (and up-calls from
// initialize() into them) proceed; a second request for the same provider
// waits until initialization ends.
#ifndef CIMHOST_PROVIDER_MANAGER_H
#define CIMHOST_PROVIDER_MANAGER_H

#include "ProviderRegistry.h"

#include <Pegasus/Common/Config.h>
#include <Pegasus/Provider/CIMOMHandle.h>
#include <Pegasus/Provider/CIMProvider.h>
#include <Pegasus/Internal/CIMOperations.h>
#include <Pegasus/Internal/InProcessServer.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace cimhost
{

class Logger;

class ProviderManager
{
    struct Module;
    struct Entry;

public:
    // A provider in use by one operation; the provider is not terminated
    // while a lease on it exists. While it lives, the thread that took it is
    // bound to the server's in-process local connection (setLocalServer).
    class Lease
    {
    public:
        Lease() = default;
        Lease(Lease&& other) noexcept;
        Lease& operator=(Lease&& other) noexcept;
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease();

        Pegasus::CIMProvider* provider() const;

    private:
        friend class ProviderManager;
        Lease(std::shared_ptr<Entry> entry,
            const std::shared_ptr<Pegasus::InProcessServer>& localServer);
        std::shared_ptr<Entry> _entry;
        std::unique_ptr<Pegasus::InProcessServer::Scope> _binding;
    };

    ProviderManager(std::vector<std::string> moduleDirs, Logger& logger);
    ~ProviderManager();
    ProviderManager(const ProviderManager&) = delete;
    ProviderManager& operator=(const ProviderManager&) = delete;

    // The router that handles of providers forward to. Set before use.
    void setBackend(Pegasus::CIMOperations* backend);
    // The server that CIMClient::connectLocal() reaches in process from
    // provider code: initialize(), every operation (through its lease) and
    // terminate(). Set before use; none: the local socket.
    void setLocalServer(std::shared_ptr<Pegasus::InProcessServer> server);

    // The initialized provider, loading and initializing it first if needed.
    // Throws CIMException (CIM_ERR_FAILED) with the documented texts:
    //   File "lib<Location>.so" was not found for provider module "<module>".
    //   ProviderLoadFailure (<file>:<provider>): <reason>
    //   provider initialization failed
    // and CIM_ERR_SERVER_IS_SHUTTING_DOWN after shutdown() began.
    Lease get(const ProviderModuleInfo& module, const Pegasus::String& providerName);

    // Waits for running operations, calls terminate() on every initialized
    // provider (most recently initialized first) and unloads the modules.
    void shutdown();

    // Number of providers initialized and not yet terminated.
    size_t activeProviderCount() const;

private:
    std::shared_ptr<Module> module(const ProviderModuleInfo& info);
    Pegasus::CIMProvider* loadAndCreate(Module& module,
        const Pegasus::String& providerName, std::string& fileOut);
    void releaseModule(Module& module);

    std::vector<std::string> _moduleDirs;
    Logger& _logger;
    Pegasus::CIMOperations* _backend = nullptr;
    std::shared_ptr<Pegasus::InProcessServer> _localServer;

    mutable std::mutex _mutex;  // guards the maps, _order and _shuttingDown
    std::map<std::string, std::shared_ptr<Module>> _modules;
    std::map<std::string, std::shared_ptr<Entry>> _entries;
    std::vector<std::shared_ptr<Entry>> _order;  // initialization order
    bool _shuttingDown = false;
};

} // namespace cimhost

#endif
