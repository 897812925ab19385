// The task queue of cimhost's listeners: one thread for each accepted
// connection, so that a connection waiting for a slow client holds nothing
// but its own thread. How many connections may be open at once is decided
// by the listener; the work of answering requests is bounded separately.
#ifndef CIMHOST_CONNECTION_THREADS_H
#define CIMHOST_CONNECTION_THREADS_H

#include <httplib.h>

#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace cimhost
{

class ConnectionThreads : public httplib::TaskQueue
{
public:
    ConnectionThreads() = default;
    ~ConnectionThreads() override;

    void enqueue(std::function<void()> fn) override;
    // Waits for every connection thread to end.
    void shutdown() override;

private:
    struct Worker
    {
        std::thread thread;
        bool done = false;
    };

    void reapFinished();  // with _mutex held

    std::mutex _mutex;
    std::condition_variable _changed;
    std::list<Worker> _workers;
};

} // namespace cimhost

#endif
