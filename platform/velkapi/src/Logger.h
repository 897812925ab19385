// The controller log behind log_message: a file with a level threshold,
// turned over by size, and an in-memory capture for tests.
#ifndef VELKSIM_LOGGER_H
#define VELKSIM_LOGGER_H

#include "velkapi_control.hpp"

#include <atomic>
#include <cstdint>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

namespace velksim {

// Used only inside the library: its calls are not resolved through the
// dynamic linker, which log_message, called for every trace line, notices.
class __attribute__((visibility("hidden"))) Logger {
public:
    static Logger& instance()
    {
        static Logger logger;
        return logger;
    }

    // Whether a line of this level goes anywhere (the file or the capture):
    // checked without the lock, so that log_message formats only lines that
    // are kept.
    bool wants(int level) const
    {
        return level <= wanted_.load(std::memory_order_relaxed);
    }

    // One log_message call, already formatted.
    void write(int level, const std::string& text);

    void setLevel(int level);
    int level();
    void setFile(const std::string& path);
    std::string file();

    void setCapture(bool on);
    std::vector<LogLine> lines(bool clear);

    // Back to the settings of the environment, capture off and cleared.
    void reset();

private:
    Logger();
    void applySettings();
    // Recomputes wanted_ after a change of the level, the file or the
    // capture (called with the lock held).
    void updateWanted();

    std::mutex mutex_;
    std::atomic<int> level_{3};
    std::atomic<bool> hasFile_{false};
    std::string path_;
    std::uint64_t maxBytes_ = 0;
    unsigned keep_ = 0;
    std::atomic<bool> capture_{false};
    // The highest level of line that goes anywhere: any level while
    // capturing, the threshold while there is a file, none otherwise.
    std::atomic<int> wanted_{std::numeric_limits<int>::min()};
    std::vector<LogLine> lines_;
};

} // namespace velksim

#endif
