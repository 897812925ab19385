// The request and error log of cimhost: one line per event, with a UTC time
// stamp and the level, to a file or to standard error.
#ifndef CIMHOST_LOGGER_H
#define CIMHOST_LOGGER_H

#include <cstdio>
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
    // cannot be opened.
    void open(const std::string& path, LogLevel level);

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
    mutable std::mutex _mutex;
    LogLevel _level;
    std::FILE* _file;
    bool _ownsFile;
};

} // namespace cimhost

#endif
