#include "MemoryTrimmer.h"

#include <malloc.h>

namespace cimhost
{

MemoryTrimmer::MemoryTrimmer(std::chrono::milliseconds quiet, std::function<void()> trim)
    : _quiet(quiet), _trim(trim ? std::move(trim) : [] { ::malloc_trim(0); })
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

void MemoryTrimmer::largeAnswerEnded()
{
    std::lock_guard<std::mutex> lock(_mutex);
    if (_stopping)
        return;
    _due = std::chrono::steady_clock::now() + _quiet;
    _pending = true;
    // The thread starts with the first large answer: most servers never
    // send one.
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
            // Woken early when another large answer moves the time on.
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
