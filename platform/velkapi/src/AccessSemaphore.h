// The process-wide access semaphore of the management library.
#ifndef VELKSIM_ACCESSSEMAPHORE_H
#define VELKSIM_ACCESSSEMAPHORE_H

#include <condition_variable>
#include <mutex>

namespace velksim {

class AccessSemaphore {
public:
    static AccessSemaphore& instance();

    // 0 when taken, 1 when the wait timed out (or a time-out was injected).
    int wait();
    // 0 when given back, 1 when it was not taken.
    int post();

    void setTimeoutMs(long ms);   // negative: wait for ever
    long timeoutMs();
    void injectTimeouts(int times); // -1: until cleared, 0: none
    // Back to the environment's time-out, no injected time-outs, released.
    void reset();

private:
    AccessSemaphore();

    std::mutex mutex_;
    std::condition_variable cv_;
    bool taken_ = false;
    long timeoutMs_ = 30000;
    int injected_ = 0;
};

} // namespace velksim

#endif
