// How many requests cimhost answers at once: a counting semaphore that a
// request holds while the request processor and the providers work on it,
// and not while its connection waits for the client.
#ifndef CIMHOST_REQUEST_SLOTS_H
#define CIMHOST_REQUEST_SLOTS_H

#include <condition_variable>
#include <mutex>

namespace cimhost
{

class RequestSlots
{
public:
    explicit RequestSlots(int count);
    RequestSlots(const RequestSlots&) = delete;
    RequestSlots& operator=(const RequestSlots&) = delete;

    // Holds one slot for its lifetime, waiting for one to be free.
    class Hold
    {
    public:
        explicit Hold(RequestSlots& slots);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        RequestSlots& _slots;
    };

private:
    std::mutex _mutex;
    std::condition_variable _freed;
    int _free;
};

} // namespace cimhost

#endif
