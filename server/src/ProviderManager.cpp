#include "ProviderManager.h"
#include "Logger.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Internal/CIMOMHandleAccess.h>

#include <dlfcn.h>
#include <sys/stat.h>

using namespace Pegasus;

namespace cimhost
{

namespace
{

std::string narrow(const String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

typedef CIMProvider* (*CreateFunction)(const String&);

// ": " and the message of the exception being handled, for the log: the
// client only gets the documented "provider initialization failed".
std::string reasonOfCurrentException()
{
    try
    {
        throw;
    }
    catch (const Exception& e)
    {
        return ": " + narrow(e.getMessage());
    }
    catch (const std::exception& e)
    {
        return std::string(": ") + e.what();
    }
    catch (...)
    {
        return std::string();
    }
}

} // namespace

struct ProviderManager::Module
{
    std::mutex mutex;  // guards everything below; never held across initialize()
    ProviderModuleInfo info;
    void* library = nullptr;
    CreateFunction create = nullptr;
    std::string file;
    int liveProviders = 0;
};

struct ProviderManager::Entry
{
    enum State
    {
        Idle,
        Initializing,
        Ready
    };

    std::mutex mutex;
    std::condition_variable changed;
    State state = Idle;
    std::thread::id initializer;
    int activeOperations = 0;
    CIMProvider* provider = nullptr;
    CIMOMHandle* handle = nullptr;
    std::shared_ptr<Module> module;
    String name;
};

// ---- Lease

ProviderManager::Lease::Lease(std::shared_ptr<Entry> entry,
    const std::shared_ptr<InProcessServer>& localServer)
    : _entry(std::move(entry)),
      _binding(localServer ? new InProcessServer::Scope(localServer) : nullptr)
{
}

ProviderManager::Lease::Lease(Lease&& other) noexcept
    : _entry(std::move(other._entry)), _binding(std::move(other._binding))
{
}

ProviderManager::Lease& ProviderManager::Lease::operator=(Lease&& other) noexcept
{
    if (this != &other)
    {
        Lease old(std::move(*this));
        _entry = std::move(other._entry);
        _binding = std::move(other._binding);
    }
    return *this;
}

ProviderManager::Lease::~Lease()
{
    if (_entry)
    {
        std::lock_guard<std::mutex> lock(_entry->mutex);
        if (--_entry->activeOperations == 0)
            _entry->changed.notify_all();
    }
}

CIMProvider* ProviderManager::Lease::provider() const
{
    return _entry ? _entry->provider : nullptr;
}

// ---- ProviderManager

ProviderManager::ProviderManager(std::vector<std::string> moduleDirs, Logger& logger)
    : _moduleDirs(std::move(moduleDirs)), _logger(logger)
{
}

ProviderManager::~ProviderManager()
{
    shutdown();
}

void ProviderManager::setBackend(CIMOperations* backend)
{
    _backend = backend;
}

void ProviderManager::setLocalServer(std::shared_ptr<InProcessServer> server)
{
    _localServer = std::move(server);
}

std::shared_ptr<ProviderManager::Module> ProviderManager::module(
    const ProviderModuleInfo& info)
{
    std::lock_guard<std::mutex> lock(_mutex);
    std::shared_ptr<Module>& m = _modules[ProviderRegistry::key(info.name)];
    if (!m)
    {
        m = std::make_shared<Module>();
        m->info = info;
    }
    return m;
}

CIMProvider* ProviderManager::loadAndCreate(Module& module,
    const String& providerName, std::string& fileOut)
{
    std::lock_guard<std::mutex> lock(module.mutex);
    std::string base = "lib" + narrow(module.info.location) + ".so";
    if (!module.library)
    {
        std::string path;
        for (const std::string& dir : _moduleDirs)
        {
            std::string candidate = dir.empty() ? base : dir + "/" + base;
            struct stat st;
            if (::stat(candidate.c_str(), &st) == 0 && S_ISREG(st.st_mode))
            {
                path = candidate;
                break;
            }
        }
        if (path.empty())
        {
            throw CIMException(CIM_ERR_FAILED,
                String(("File \"" + base + "\" was not found for provider module \"" +
                    narrow(module.info.name) + "\".").c_str()));
        }
        std::string prefix =
            "ProviderLoadFailure (" + path + ":" + narrow(providerName) + "): ";
        void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!library)
        {
            const char* why = ::dlerror();
            throw CIMException(CIM_ERR_FAILED,
                String((prefix + "Cannot load library, error: " +
                    (why ? why : "unknown")).c_str()));
        }
        void* symbol = ::dlsym(library, "PegasusCreateProvider");
        if (!symbol)
        {
            ::dlclose(library);
            throw CIMException(CIM_ERR_FAILED,
                String((prefix + "Cannot find the library entry point "
                    "PegasusCreateProvider.").c_str()));
        }
        module.library = library;
        module.create = reinterpret_cast<CreateFunction>(symbol);
        module.file = path;
        _logger.info("loaded provider module " + narrow(module.info.name) +
            " from " + path);
    }
    fileOut = module.file;
    std::string prefix =
        "ProviderLoadFailure (" + module.file + ":" + narrow(providerName) + "): ";

    CIMProvider* provider = nullptr;
    try
    {
        provider = module.create(providerName);
    }
    catch (const Exception& e)
    {
        throw CIMException(CIM_ERR_FAILED, String((prefix +
            "PegasusCreateProvider failed: " + narrow(e.getMessage())).c_str()));
    }
    catch (const std::exception& e)
    {
        throw CIMException(CIM_ERR_FAILED, String((prefix +
            "PegasusCreateProvider failed: " + e.what()).c_str()));
    }
    catch (...)
    {
        throw CIMException(CIM_ERR_FAILED,
            String((prefix + "PegasusCreateProvider failed.").c_str()));
    }
    if (!provider)
    {
        if (module.liveProviders == 0)
        {
            ::dlclose(module.library);
            module.library = nullptr;
            module.create = nullptr;
        }
        throw CIMException(CIM_ERR_FAILED, String((prefix +
            "The provider is not a CIMProvider (PegasusCreateProvider returned "
            "no provider).").c_str()));
    }
    ++module.liveProviders;
    return provider;
}

void ProviderManager::releaseModule(Module& module)
{
    std::lock_guard<std::mutex> lock(module.mutex);
    if (--module.liveProviders == 0 && module.library)
    {
        ::dlclose(module.library);
        module.library = nullptr;
        module.create = nullptr;
        _logger.info("unloaded provider module " + narrow(module.info.name));
    }
}

ProviderManager::Lease ProviderManager::get(const ProviderModuleInfo& info,
    const String& providerName)
{
    std::string key = ProviderRegistry::key(info.name) + "/" + ProviderRegistry::key(providerName);
    std::shared_ptr<Entry> entry;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        if (_shuttingDown)
            throw CIMException(CIM_ERR_SERVER_IS_SHUTTING_DOWN, String());
        std::shared_ptr<Entry>& e = _entries[key];
        if (!e)
        {
            e = std::make_shared<Entry>();
            e->name = providerName;
        }
        entry = e;
    }

    std::unique_lock<std::mutex> lock(entry->mutex);
    for (;;)
    {
        if (entry->state == Entry::Ready)
        {
            ++entry->activeOperations;
            return Lease(entry, _localServer);
        }
        if (entry->state == Entry::Idle)
            break;
        if (entry->initializer == std::this_thread::get_id())
        {
            // A provider's initialize() reached the provider itself.
            throw CIMException(CIM_ERR_FAILED,
                String("provider initialization failed"));
        }
        entry->changed.wait(lock);
    }
    entry->state = Entry::Initializing;
    entry->initializer = std::this_thread::get_id();
    lock.unlock();

    std::shared_ptr<Module> mod = module(info);
    CIMProvider* provider = nullptr;
    CIMOMHandle* handle = nullptr;
    try
    {
        if (!_backend)
            throw CIMException(CIM_ERR_FAILED, String("no operation router"));
        std::string file;
        provider = loadAndCreate(*mod, providerName, file);
        handle = new CIMOMHandle(CIMOMHandleAccess::create(*_backend));
        try
        {
            InProcessServer::Scope binding(_localServer);
            provider->initialize(*handle);
        }
        catch (...)
        {
            _logger.error("provider " + narrow(providerName) + " of module " +
                narrow(info.name) + ": initialize() failed" + reasonOfCurrentException());
            try
            {
                provider->terminate();
            }
            catch (...)
            {
            }
            provider = nullptr;
            delete handle;
            handle = nullptr;
            releaseModule(*mod);
            throw CIMException(CIM_ERR_FAILED,
                String("provider initialization failed"));
        }
    }
    catch (...)
    {
        lock.lock();
        entry->state = Entry::Idle;
        entry->initializer = std::thread::id();
        entry->changed.notify_all();
        throw;
    }

    lock.lock();
    entry->provider = provider;
    entry->handle = handle;
    entry->module = mod;
    entry->state = Entry::Ready;
    entry->initializer = std::thread::id();
    ++entry->activeOperations;
    entry->changed.notify_all();
    lock.unlock();
    {
        std::lock_guard<std::mutex> guard(_mutex);
        _order.push_back(entry);
    }
    _logger.info("initialized provider " + narrow(providerName) + " of module " +
        narrow(info.name));
    return Lease(entry, _localServer);
}

void ProviderManager::shutdown()
{
    std::vector<std::shared_ptr<Entry>> order;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _shuttingDown = true;
        order.swap(_order);
    }
    for (auto it = order.rbegin(); it != order.rend(); ++it)
    {
        Entry& e = **it;
        std::unique_lock<std::mutex> lock(e.mutex);
        e.changed.wait(lock, [&] { return e.activeOperations == 0; });
        if (e.state != Entry::Ready)
            continue;
        CIMProvider* provider = e.provider;
        CIMOMHandle* handle = e.handle;
        std::shared_ptr<Module> mod = e.module;
        e.provider = nullptr;
        e.handle = nullptr;
        e.module.reset();
        e.state = Entry::Idle;
        lock.unlock();
        try
        {
            InProcessServer::Scope binding(_localServer);
            provider->terminate();
        }
        catch (...)
        {
            _logger.error("provider " + narrow(e.name) + ": terminate() failed");
        }
        // The provider object is not deleted: terminate() owns that.
        if (mod)
            releaseModule(*mod);
        delete handle;
        _logger.info("terminated provider " + narrow(e.name));
    }
}

size_t ProviderManager::activeProviderCount() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _order.size();
}

} // namespace cimhost
