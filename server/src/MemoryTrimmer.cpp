#include "MemoryTrimmer.h"

#include <malloc.h>

namespace cimhost
{

MemoryTrimmer::MemoryTrimmer(std::chrono::milliseconds quiet, std::size_t afterBytes,
    std::function<void()> trim)
    : _quiet(quiet), _afterBytes(afterBytes),
      _trim(trim ? std::move(trim) : [] { ::malloc_trim(0); })
{
}

MemoryTrimmer::~MemoryTrimmer()
{
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
    }
    _changed.notify_all();
    if (_thread.joinable())
        _thread.join();
}

void MemoryTrimmer::answered(std::size_t bytes)
{
    bool large = bytes >= _afterBytes;
    if (!large)
    {
        std::size_t since = _since.fetch_add(bytes, std::memory_order_relaxed) + bytes;
        if (since < _afterBytes)
            return;
    }
    std::lock_guard<std::mutex> lock(_mutex);
    _since.store(0, std::memory_order_relaxed);
    if (_stopping)
        return;
    // A large answer moves a pending trim on, so that back-to-back large
    // answers stay on warm memory; small ones only ask for a trim, so that
    // steady small traffic does not put one off for ever.
    if (_pending && !large)
        return;
    _due = std::chrono::steady_clock::now() + _quiet;
    _pending = true;
    // The thread starts with the first trim asked for: a server of small
    // answers may never need one.
    if (!_thread.joinable())
        _thread = std::thread(&MemoryTrimmer::run, this);
    _changed.notify_all();
}

void MemoryTrimmer::run()
{
    std::unique_lock<std::mutex> lock(_mutex);
    while (!_stopping)
    {
        if (!_pending)
        {
            _changed.wait(lock);
            continue;
        }
        if (std::chrono::steady_clock::now() < _due)
        {
            // Woken early when more answers move the time on.
            _changed.wait_until(lock, _due);
            continue;
        }
        _pending = false;
        lock.unlock();
        _trim();
        lock.lock();
    }
}

} // namespace cimhost
