// Gives the memory freed by answers back to the system once the server has
// answered a good many bytes (one large answer, a pull walk, a burst of small
// ones) and then been quiet for a while. Trimming right after each answer
// made the next large answer fault every page in again; waiting for a quiet
// spell keeps back-to-back answers on warm memory while an idle server still
// shrinks.
#ifndef CIMHOST_MEMORY_TRIMMER_H
#define CIMHOST_MEMORY_TRIMMER_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>

namespace cimhost
{

class MemoryTrimmer
{
public:
    // `trim` gives free memory back (malloc_trim when empty); it runs on
    // the trimmer's own thread, `quiet` after an answer of at least
    // `afterBytes` (the last of them), or after smaller answers that came
    // to that many bytes since the last trim.
    MemoryTrimmer(std::chrono::milliseconds quiet, std::size_t afterBytes,
        std::function<void()> trim = std::function<void()>());
    // Drops a pending trim and joins the thread.
    ~MemoryTrimmer();
    MemoryTrimmer(const MemoryTrimmer&) = delete;
    MemoryTrimmer& operator=(const MemoryTrimmer&) = delete;

    // An answer of `bytes` has been made.
    void answered(std::size_t bytes);

private:
    void run();

    const std::chrono::milliseconds _quiet;
    const std::size_t _afterBytes;
    const std::function<void()> _trim;
    // Bytes answered since the last trim was asked for; counted without
    // the lock, as every answer adds to it.
    std::atomic<std::size_t> _since{0};
    std::mutex _mutex;
    std::condition_variable _changed;
    std::chrono::steady_clock::time_point _due;
    bool _pending = false;
    bool _stopping = false;
    std::thread _thread;
};

} // namespace cimhost

#endif
