// Gives the memory freed by large answers back to the system once the
// server has had no large answer for a while. Trimming right after each
// answer made the next large answer fault every page in again; waiting for
// a quiet spell keeps back-to-back large answers on warm memory while an
// idle server still shrinks.
#ifndef CIMHOST_MEMORY_TRIMMER_H
#define CIMHOST_MEMORY_TRIMMER_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace cimhost
{

class MemoryTrimmer
{
public:
    // `trim` gives free memory back (malloc_trim when empty); it runs on
    // the trimmer's own thread, `quiet` after the last large answer.
    explicit MemoryTrimmer(std::chrono::milliseconds quiet,
        std::function<void()> trim = std::function<void()>());
    // Drops a pending trim and joins the thread.
    ~MemoryTrimmer();
    MemoryTrimmer(const MemoryTrimmer&) = delete;
    MemoryTrimmer& operator=(const MemoryTrimmer&) = delete;

    // A large answer has ended: trim once no other has ended for `quiet`.
    void largeAnswerEnded();

private:
    void run();

    const std::chrono::milliseconds _quiet;
    const std::function<void()> _trim;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::chrono::steady_clock::time_point _due;
    bool _pending = false;
    bool _stopping = false;
    std::thread _thread;
};

} // namespace cimhost

#endif
