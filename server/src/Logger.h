// The request and error log of cimhost: one line per event, with a UTC time
// stamp and the level, to a file or to standard error. A file is turned over
// by size, between lines.
#ifndef CIMHOST_LOGGER_H
#define CIMHOST_LOGGER_H

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <string>

namespace cimhost
{

enum class LogLevel
{
    Off = 0,
    Error = 1,
    Warning = 2,
    Info = 3,
    Debug = 4
};

class Logger
{
public:
    Logger();
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    // Empty path: standard error. Throws std::runtime_error when the file
    // cannot be opened. A line that would take the file past maxBytes (0: no
    // limit) first turns it over: <path> becomes <path>.1, older files move
    // up to <path>.<keep> and the oldest is removed.
    void open(const std::string& path, LogLevel level, std::uint64_t maxBytes = 0,
        unsigned keep = 0);

    // "off", "error", "warning", "info", "debug" (any case); throws
    // std::invalid_argument for anything else.
    static LogLevel parseLevel(const std::string& text);

    bool enabled(LogLevel level) const;
    void log(LogLevel level, const std::string& message);

    void error(const std::string& message) { log(LogLevel::Error, message); }
    void warning(const std::string& message) { log(LogLevel::Warning, message); }
    void info(const std::string& message) { log(LogLevel::Info, message); }
    void debug(const std::string& message) { log(LogLevel::Debug, message); }

private:
    void rotate();

    mutable std::mutex _mutex;
    std::atomic<LogLevel> _level;  // read without the mutex: most lines are not written
    std::FILE* _file;
    bool _ownsFile;
    std::string _path;
    std::uint64_t _maxBytes = 0;
    unsigned _keep = 0;
    std::uint64_t _size = 0;
    // The time stamp of the last line, made again only when the second
    // changes; and the line being written, whose room is kept.
    std::time_t _stampTime = -1;
    char _stamp[32] = {};
    std::string _line;
};

} // namespace cimhost

#endif
