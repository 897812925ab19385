// One open pull enumeration of cimhost.
//
// The operation that produces the objects (a streamed router call) runs on a
// thread of its own and hands each object to push(), which blocks while the
// queue of objects not yet pulled is full. The client's pulls take pages
// from the queue and so pace the producer: memory per context stays at
// about one page, whatever the number of objects. cancel() (close, expiry,
// shutdown) wakes a blocked producer, whose push() then throws, so that the
// provider call unwinds and the thread ends.
//
// The producer's thread is joined by join() (or the destructor); the table
// of contexts decides when.
#ifndef CIMHOST_ENUMERATION_CONTEXT_H
#define CIMHOST_ENUMERATION_CONTEXT_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace cimhost
{

class EnumerationContext
{
public:
    // What the context delivers: instances with their paths, or paths only.
    enum class Kind
    {
        Instances,
        Paths
    };

    struct Page
    {
        Pegasus::Array<Pegasus::CIMInstance> instances;
        Pegasus::Array<Pegasus::CIMObjectPath> paths;
        bool endOfSequence = false;
    };

    typedef std::function<void(EnumerationContext&)> Producer;
    typedef std::chrono::steady_clock Clock;

    EnumerationContext(const std::string& id, const std::string& user,
        const Pegasus::CIMNamespaceName& nameSpace, Kind kind,
        std::chrono::seconds operationTimeout);
    // Cancels and joins the producer.
    ~EnumerationContext();
    EnumerationContext(const EnumerationContext&) = delete;
    EnumerationContext& operator=(const EnumerationContext&) = delete;

    const std::string& id() const { return _id; }
    const std::string& user() const { return _user; }
    const Pegasus::CIMNamespaceName& nameSpace() const { return _nameSpace; }
    Kind kind() const { return _kind; }
    std::chrono::seconds operationTimeout() const { return _operationTimeout; }

    // Runs the producer on a thread of its own. Whatever it throws ends the
    // sequence with that error (as a CIMException).
    void start(Producer producer);

    // Producer side: queue one object, waiting while the queue is full.
    // Throws once the context is cancelled.
    void push(const Pegasus::CIMInstance& instance);
    void push(const Pegasus::CIMObjectPath& path);

    // Consumer side: waits until maxObjectCount objects are queued (at least
    // one when `first`, for the open operation), the producer has ended, or
    // the context is cancelled, then takes up to maxObjectCount objects.
    // The page ends the sequence when the producer ended without error and
    // nothing is left. Throws the producer's error once the objects before
    // it are taken, and CIM_ERR_PULL_HAS_BEEN_ABANDONED when cancelled while
    // waiting. The queue may hold up to max(maxObjectCount, one response
    // chunk) objects until the next take.
    Page take(Pegasus::Uint32 maxObjectCount, bool first);

    // Objects still to come (uint64) once the producer has ended without
    // error, NULL before.
    Pegasus::CIMValue remaining() const;

    // Stops the producer (its next or current push() throws) and any take()
    // waiting for objects. Idempotent.
    void cancel();
    bool cancelled() const;
    // The producer has returned (or thrown).
    bool producerEnded() const;
    // Waits for the producer's thread; call after cancel() or once it ended.
    void join();

    // Bookkeeping of the table of contexts, guarded by the table's lock.
    bool busy = false;
    Clock::time_point deadline;

private:
    template <class T>
    void pushOne(std::deque<T>& queue, const T& object);
    size_t queued() const;
    void run(Producer producer);

    const std::string _id;
    const std::string _user;
    const Pegasus::CIMNamespaceName _nameSpace;
    const Kind _kind;
    const std::chrono::seconds _operationTimeout;

    mutable std::mutex _mutex;
    std::condition_variable _space;     // push() waits for room
    std::condition_variable _ready;     // take() waits for objects or the end
    std::deque<Pegasus::CIMInstance> _instances;
    std::deque<Pegasus::CIMObjectPath> _paths;
    size_t _capacity;
    bool _cancelled = false;
    bool _ended = false;
    bool _failed = false;
    Pegasus::CIMException _error;

    std::thread _thread;
};

} // namespace cimhost

#endif
