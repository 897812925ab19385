#include "AccessSemaphore.h"

#include "Settings.h"

#include <chrono>

namespace velksim {

AccessSemaphore& AccessSemaphore::instance()
{
    static AccessSemaphore sem;
    return sem;
}

AccessSemaphore::AccessSemaphore() : timeoutMs_(settingsFromEnvironment().semTimeoutMs) {}

int AccessSemaphore::wait()
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (injected_ != 0) {
        if (injected_ > 0)
            --injected_;
        return 1;
    }
    if (timeoutMs_ < 0) {
        cv_.wait(lock, [this] { return !taken_; });
    } else if (!cv_.wait_for(lock, std::chrono::milliseconds(timeoutMs_), [this] { return !taken_; })) {
        return 1;
    }
    taken_ = true;
    return 0;
}

int AccessSemaphore::post()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!taken_)
            return 1;
        taken_ = false;
    }
    cv_.notify_one();
    return 0;
}

void AccessSemaphore::setTimeoutMs(long ms)
{
    std::lock_guard<std::mutex> lock(mutex_);
    timeoutMs_ = ms;
}

long AccessSemaphore::timeoutMs()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return timeoutMs_;
}

void AccessSemaphore::injectTimeouts(int times)
{
    std::lock_guard<std::mutex> lock(mutex_);
    injected_ = times;
}

void AccessSemaphore::reset()
{
    const long ms = settingsFromEnvironment().semTimeoutMs;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        timeoutMs_ = ms;
        injected_ = 0;
        taken_ = false;
    }
    cv_.notify_all();
}

} // namespace velksim
