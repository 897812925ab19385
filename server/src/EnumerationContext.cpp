#include "EnumerationContext.h"

#include "ResponseCollectors.h"

#include <algorithm>
#include <exception>
#include <utility>

using namespace Pegasus;

namespace cimhost
{

EnumerationContext::EnumerationContext(const std::string& id, const std::string& user,
    const CIMNamespaceName& nameSpace, Kind kind, std::chrono::seconds operationTimeout)
    : _id(id), _user(user), _nameSpace(nameSpace), _kind(kind),
      _operationTimeout(operationTimeout), _capacity(RESPONSE_CHUNK_SIZE)
{
}

EnumerationContext::~EnumerationContext()
{
    cancel();
    join();
}

void EnumerationContext::start(Producer producer)
{
    try
    {
        _thread = std::thread(&EnumerationContext::run, this, std::move(producer));
    }
    catch (...)
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _ended = true;
        throw;
    }
}

void EnumerationContext::run(Producer producer)
{
    CIMException error;
    bool failed = true;
    try
    {
        producer(*this);
        failed = false;
    }
    catch (const CIMException& e)
    {
        error = e;
    }
    catch (const Exception& e)
    {
        error = CIMException(CIM_ERR_FAILED, e.getMessage());
    }
    catch (const std::exception& e)
    {
        error = CIMException(CIM_ERR_FAILED, String(e.what()));
    }
    catch (...)
    {
        error = CIMException(CIM_ERR_FAILED, String("Unknown error."));
    }
    std::lock_guard<std::mutex> lock(_mutex);
    _ended = true;
    _failed = failed;
    if (failed)
        _error = error;
    _ready.notify_all();
}

size_t EnumerationContext::queued() const
{
    return _kind == Kind::Instances ? _instances.size() : _paths.size();
}

template <class T>
void EnumerationContext::pushOne(std::deque<T>& queue, const T& object)
{
    std::unique_lock<std::mutex> lock(_mutex);
    _space.wait(lock, [this] { return _cancelled || queued() < _capacity; });
    if (_cancelled)
        throw CIMException(CIM_ERR_FAILED, String("The enumeration was closed."));
    queue.push_back(object);
    _ready.notify_all();
}

void EnumerationContext::push(const CIMInstance& instance)
{
    pushOne(_instances, instance);
}

void EnumerationContext::push(const CIMObjectPath& path)
{
    pushOne(_paths, path);
}

EnumerationContext::Page EnumerationContext::take(Uint32 maxObjectCount, bool first)
{
    std::unique_lock<std::mutex> lock(_mutex);
    _capacity = std::max<size_t>(maxObjectCount, RESPONSE_CHUNK_SIZE);
    _space.notify_all();
    size_t wanted = first ? std::max<size_t>(maxObjectCount, 1) : maxObjectCount;
    _ready.wait(lock, [&] { return _cancelled || _ended || queued() >= wanted; });
    if (_cancelled)
        throw CIMException(CIM_ERR_PULL_HAS_BEEN_ABANDONED, String(_id.c_str()));

    Page page;
    size_t n = std::min<size_t>(maxObjectCount, queued());
    if (n == 0 && _ended && _failed)
        throw _error;
    for (size_t i = 0; i < n; i++)
    {
        if (_kind == Kind::Instances)
        {
            page.instances.append(_instances.front());
            _instances.pop_front();
        }
        else
        {
            page.paths.append(_paths.front());
            _paths.pop_front();
        }
    }
    page.endOfSequence = _ended && !_failed && queued() == 0;
    _space.notify_all();
    return page;
}

CIMValue EnumerationContext::remaining() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (!_ended || _failed)
        return CIMValue(CIMTYPE_UINT64, false);
    return CIMValue(Uint64(queued()));
}

void EnumerationContext::cancel()
{
    std::lock_guard<std::mutex> lock(_mutex);
    _cancelled = true;
    _space.notify_all();
    _ready.notify_all();
}

bool EnumerationContext::cancelled() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _cancelled;
}

bool EnumerationContext::producerEnded() const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return _ended;
}

void EnumerationContext::join()
{
    if (_thread.joinable())
        _thread.join();
}

} // namespace cimhost
