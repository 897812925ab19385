#include "EnumerationContextTable.h"

#include "Router.h"

#include <Pegasus/Common/OperationContext.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <utility>

using namespace Pegasus;

namespace cimhost
{

namespace
{

typedef EnumerationContext::Kind Kind;
typedef EnumerationContext::Clock Clock;

std::string narrow(const String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

std::string userOf(const OperationContext& context)
{
    if (!context.contains(IdentityContainer::NAME))
        return std::string();
    IdentityContainer identity(context.get(IdentityContainer::NAME));
    return narrow(identity.getUserName());
}

// 128 random bits: a context name cannot be guessed.
std::string newContextName()
{
    std::random_device random;
    std::string name;
    for (int i = 0; i < 4; i++)
    {
        char part[9];
        std::snprintf(part, sizeof part, "%08x", static_cast<unsigned>(random()));
        name += part;
    }
    return name;
}

[[noreturn]] void invalidContext(const String& name)
{
    throw CIMException(CIM_ERR_INVALID_ENUMERATION_CONTEXT, name);
}

void checkRequest(const CIMPullRequest& request, Uint32 maxTimeout)
{
    if (request.continueOnError)
    {
        throw CIMException(CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED,
            String("ContinueOnError"));
    }
    if (request.hasFilterQuery || request.hasFilterQueryLanguage)
    {
        throw CIMException(CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED,
            request.hasFilterQueryLanguage ? request.filterQueryLanguage
                                           : request.filterQuery);
    }
    if (request.hasOperationTimeout &&
        (request.operationTimeout == 0 || request.operationTimeout > maxTimeout))
    {
        throw CIMException(CIM_ERR_INVALID_OPERATION_TIMEOUT,
            String(("OperationTimeout " + std::to_string(request.operationTimeout) +
                " (at most " + std::to_string(maxTimeout) + " seconds)").c_str()));
    }
}

// Association answers for an instance hold instances only.
void pushInstance(EnumerationContext& c, const CIMObject& object)
{
    if (object.isInstance())
        c.push(CIMInstance(object));
}

} // namespace

EnumerationContextTable::EnumerationContextTable(Router& router)
    : EnumerationContextTable(router, Limits())
{
}

EnumerationContextTable::EnumerationContextTable(Router& router, const Limits& limits)
    : _router(router), _limits(limits)
{
    _reaper = std::thread(&EnumerationContextTable::reaperLoop, this);
}

EnumerationContextTable::~EnumerationContextTable()
{
    shutdown();
}

void EnumerationContextTable::shutdown()
{
    std::vector<ContextPtr> all;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        if (_stopping && !_reaper.joinable())
            return;
        _stopping = true;
        for (auto& entry : _open)
            retireLocked(entry.second);
        _open.clear();
        all.swap(_retired);
        _wake.notify_all();
    }
    if (_reaper.joinable())
        _reaper.join();
    for (const ContextPtr& c : all)
    {
        c->cancel();
        c->join();
    }
}

size_t EnumerationContextTable::size() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _open.size() + _retired.size();
}

void EnumerationContextTable::retireLocked(const ContextPtr& c)
{
    c->cancel();
    _retired.push_back(c);
    _wake.notify_all();
}

void EnumerationContextTable::expireLocked(Clock::time_point now)
{
    for (auto it = _open.begin(); it != _open.end();)
    {
        if (!it->second->busy && it->second->deadline <= now)
        {
            retireLocked(it->second);
            it = _open.erase(it);
        }
        else
            ++it;
    }
}

void EnumerationContextTable::reap()
{
    std::vector<ContextPtr> ended;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        for (auto it = _retired.begin(); it != _retired.end();)
        {
            if ((*it)->producerEnded())
            {
                ended.push_back(*it);
                it = _retired.erase(it);
            }
            else
                ++it;
        }
    }
    for (const ContextPtr& c : ended)
        c->join();
}

// Expires contexts at their deadline and joins the producers of retired
// ones, so that a context nobody uses again is freed all the same.
void EnumerationContextTable::reaperLoop()
{
    std::unique_lock<std::mutex> lock(_mutex);
    while (!_stopping)
    {
        Clock::time_point now = Clock::now();
        expireLocked(now);
        Clock::time_point next = now + std::chrono::seconds(1);
        for (const auto& entry : _open)
            if (!entry.second->busy)
                next = std::min(next, entry.second->deadline);
        bool pending = !_retired.empty();
        lock.unlock();
        if (pending)
            reap();
        lock.lock();
        if (_stopping)
            break;
        // Retired producers are polled: they end soon after their cancel.
        if (!_retired.empty())
            next = std::min(next, Clock::now() + std::chrono::milliseconds(50));
        _wake.wait_until(lock, next);
    }
}

CIMPullResult EnumerationContextTable::open(const OperationContext& context,
    const CIMNamespaceName& nameSpace, Kind kind, const CIMPullRequest& request,
    EnumerationContext::Producer producer)
{
    checkRequest(request, _limits.maxOperationTimeout);
    std::chrono::seconds timeout(request.hasOperationTimeout
        ? request.operationTimeout : _limits.defaultOperationTimeout);
    std::string user = userOf(context);

    ContextPtr c;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        if (_stopping)
            throw CIMException(CIM_ERR_SERVER_IS_SHUTTING_DOWN, String());
        expireLocked(Clock::now());
        size_t total = _open.size() + _retired.size();
        size_t mine = 0;
        for (const auto& entry : _open)
            mine += entry.second->user() == user;
        for (const ContextPtr& r : _retired)
            mine += r->user() == user;
        if (total >= _limits.maxContexts)
        {
            throw CIMException(CIM_ERR_SERVER_LIMITS_EXCEEDED, String(("at most " +
                std::to_string(_limits.maxContexts) + " open enumerations").c_str()));
        }
        if (mine >= _limits.maxContextsPerUser)
        {
            throw CIMException(CIM_ERR_SERVER_LIMITS_EXCEEDED, String(("at most " +
                std::to_string(_limits.maxContextsPerUser) +
                " open enumerations per user").c_str()));
        }
        std::string name;
        do
            name = newContextName();
        while (_open.count(name));
        c = std::make_shared<EnumerationContext>(name, user, nameSpace, kind, timeout);
        c->busy = true;
        _open[name] = c;
    }
    try
    {
        c->start(std::move(producer));
    }
    catch (const std::exception& e)
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _open.erase(c->id());
        retireLocked(c);
        throw CIMException(CIM_ERR_FAILED, String(e.what()));
    }
    return page(c, request.maxObjectCount, true);
}

EnumerationContextTable::ContextPtr EnumerationContextTable::acquire(
    const OperationContext& context, const CIMNamespaceName& nameSpace, const String& name,
    Kind kind, bool anyKind)
{
    std::string key = narrow(name);
    std::string user = userOf(context);
    std::lock_guard<std::mutex> lock(_mutex);
    expireLocked(Clock::now());
    auto it = _open.find(key);
    if (it == _open.end())
        invalidContext(name);
    const ContextPtr& c = it->second;
    if (c->user() != user || nameSpace.isNull() || !c->nameSpace().equal(nameSpace))
        invalidContext(name);
    if (!anyKind && c->kind() != kind)
    {
        throw CIMException(CIM_ERR_INVALID_ENUMERATION_CONTEXT, String((key +
            (c->kind() == Kind::Instances ? " delivers instances, not paths"
                                          : " delivers paths, not instances")).c_str()));
    }
    if (c->busy)
    {
        throw CIMException(CIM_ERR_FAILED, String((key +
            " is in use by another operation").c_str()));
    }
    c->busy = true;
    return c;
}

void EnumerationContextTable::release(const ContextPtr& c)
{
    std::lock_guard<std::mutex> lock(_mutex);
    c->busy = false;
    c->deadline = Clock::now() + c->operationTimeout();
    _wake.notify_all();
}

CIMPullResult EnumerationContextTable::page(const ContextPtr& c, Uint32 maxObjectCount,
    bool first)
{
    EnumerationContext::Page p;
    try
    {
        p = c->take(std::min(maxObjectCount, _limits.maxObjectCount), first);
    }
    catch (...)
    {
        // The producer failed (the sequence ends with its error) or a close
        // abandoned this operation (and already retired the context).
        std::lock_guard<std::mutex> lock(_mutex);
        auto it = _open.find(c->id());
        if (it != _open.end() && it->second == c)
        {
            _open.erase(it);
            retireLocked(c);
        }
        throw;
    }

    CIMPullResult result;
    result.instances = p.instances;
    result.paths = p.paths;
    result.endOfSequence = p.endOfSequence;
    result.enumerationContext = String(c->id().c_str());
    if (p.endOfSequence)
    {
        std::lock_guard<std::mutex> lock(_mutex);
        auto it = _open.find(c->id());
        if (it != _open.end() && it->second == c)
        {
            _open.erase(it);
            retireLocked(c);
        }
    }
    else
        release(c);
    return result;
}

CIMPullResult EnumerationContextTable::openEnumerateInstances(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMName& className, Boolean deepInheritance, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList, const CIMPullRequest& request)
{
    Router& router = _router;
    return open(context, nameSpace, Kind::Instances, request,
        [=, &router](EnumerationContext& c) {
            router.enumerateInstances(context, nameSpace, className, deepInheritance,
                false, includeClassOrigin, propertyList,
                [&c](const CIMInstance& instance) { c.push(instance); });
        });
}

CIMPullResult EnumerationContextTable::openEnumerateInstancePaths(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMName& className, const CIMPullRequest& request)
{
    Router& router = _router;
    return open(context, nameSpace, Kind::Paths, request,
        [=, &router](EnumerationContext& c) {
            router.enumerateInstanceNames(context, nameSpace, className,
                [&c](const CIMObjectPath& path) { c.push(path); });
        });
}

CIMPullResult EnumerationContextTable::openAssociatorInstances(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& assocClass,
    const CIMName& resultClass, const String& role, const String& resultRole,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    const CIMPullRequest& request)
{
    Router& router = _router;
    return open(context, nameSpace, Kind::Instances, request,
        [=, &router](EnumerationContext& c) {
            router.associators(context, nameSpace, instanceName, assocClass, resultClass,
                role, resultRole, false, includeClassOrigin, propertyList,
                [&c](const CIMObject& object) { pushInstance(c, object); });
        });
}

CIMPullResult EnumerationContextTable::openAssociatorInstancePaths(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& assocClass,
    const CIMName& resultClass, const String& role, const String& resultRole,
    const CIMPullRequest& request)
{
    Router& router = _router;
    return open(context, nameSpace, Kind::Paths, request,
        [=, &router](EnumerationContext& c) {
            router.associatorNames(context, nameSpace, instanceName, assocClass,
                resultClass, role, resultRole,
                [&c](const CIMObjectPath& path) { c.push(path); });
        });
}

CIMPullResult EnumerationContextTable::openReferenceInstances(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& resultClass, const String& role,
    Boolean includeClassOrigin, const CIMPropertyList& propertyList,
    const CIMPullRequest& request)
{
    Router& router = _router;
    return open(context, nameSpace, Kind::Instances, request,
        [=, &router](EnumerationContext& c) {
            router.references(context, nameSpace, instanceName, resultClass, role, false,
                includeClassOrigin, propertyList,
                [&c](const CIMObject& object) { pushInstance(c, object); });
        });
}

CIMPullResult EnumerationContextTable::openReferenceInstancePaths(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const CIMObjectPath& instanceName, const CIMName& resultClass, const String& role,
    const CIMPullRequest& request)
{
    Router& router = _router;
    return open(context, nameSpace, Kind::Paths, request,
        [=, &router](EnumerationContext& c) {
            router.referenceNames(context, nameSpace, instanceName, resultClass, role,
                [&c](const CIMObjectPath& path) { c.push(path); });
        });
}

CIMPullResult EnumerationContextTable::pullInstancesWithPath(
    const OperationContext& context, const CIMNamespaceName& nameSpace,
    const String& enumerationContext, Uint32 maxObjectCount)
{
    return page(acquire(context, nameSpace, enumerationContext, Kind::Instances, false),
        maxObjectCount, false);
}

CIMPullResult EnumerationContextTable::pullInstancePaths(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const String& enumerationContext,
    Uint32 maxObjectCount)
{
    return page(acquire(context, nameSpace, enumerationContext, Kind::Paths, false),
        maxObjectCount, false);
}

void EnumerationContextTable::closeEnumeration(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const String& enumerationContext)
{
    std::string key = narrow(enumerationContext);
    std::string user = userOf(context);
    std::lock_guard<std::mutex> lock(_mutex);
    expireLocked(Clock::now());
    auto it = _open.find(key);
    if (it == _open.end() || it->second->user() != user || nameSpace.isNull() ||
        !it->second->nameSpace().equal(nameSpace))
        invalidContext(enumerationContext);
    // A pull waiting on this context is abandoned.
    retireLocked(it->second);
    _open.erase(it);
}

CIMValue EnumerationContextTable::enumerationCount(const OperationContext& context,
    const CIMNamespaceName& nameSpace, const String& enumerationContext)
{
    ContextPtr c = acquire(context, nameSpace, enumerationContext, Kind::Instances, true);
    CIMValue count = c->remaining();
    release(c);
    return count;
}

} // namespace cimhost
