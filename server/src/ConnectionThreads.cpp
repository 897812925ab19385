#include "ConnectionThreads.h"

#include <system_error>

namespace cimhost
{

ConnectionThreads::~ConnectionThreads()
{
    shutdown();
}

void ConnectionThreads::reapFinished()
{
    for (auto it = _workers.begin(); it != _workers.end();)
    {
        if (it->done)
        {
            it->thread.join();
            it = _workers.erase(it);
        }
        else
            ++it;
    }
}

void ConnectionThreads::enqueue(std::function<void()> fn)
{
    std::unique_lock<std::mutex> lock(_mutex);
    reapFinished();
    _workers.emplace_back();
    Worker* worker = &_workers.back();
    try
    {
        worker->thread = std::thread([this, worker, fn] {
            fn();
            std::lock_guard<std::mutex> lock(_mutex);
            worker->done = true;
            _changed.notify_all();
        });
    }
    catch (const std::system_error&)
    {
        // No thread to be had: serve the connection on the accepting thread
        // rather than leak it.
        _workers.pop_back();
        lock.unlock();
        fn();
    }
}

void ConnectionThreads::shutdown()
{
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] {
        for (const Worker& w : _workers)
            if (!w.done)
                return false;
        return true;
    });
    reapFinished();
}

} // namespace cimhost
