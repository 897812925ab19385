#include "Logger.h"

#include <cctype>
#include <ctime>
#include <stdexcept>

namespace cimhost
{

Logger::Logger() : _level(LogLevel::Warning), _file(stderr), _ownsFile(false)
{
}

Logger::~Logger()
{
    if (_ownsFile)
        std::fclose(_file);
}

void Logger::open(const std::string& path, LogLevel level)
{
    std::lock_guard<std::mutex> lock(_mutex);
    std::FILE* file = stderr;
    bool owns = false;
    if (!path.empty())
    {
        file = std::fopen(path.c_str(), "a");
        if (!file)
            throw std::runtime_error("cannot open log file " + path);
        owns = true;
    }
    if (_ownsFile)
        std::fclose(_file);
    _file = file;
    _ownsFile = owns;
    _level = level;
}

LogLevel Logger::parseLevel(const std::string& text)
{
    std::string t;
    for (char c : text)
        t += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (t == "off")
        return LogLevel::Off;
    if (t == "error")
        return LogLevel::Error;
    if (t == "warning")
        return LogLevel::Warning;
    if (t == "info")
        return LogLevel::Info;
    if (t == "debug")
        return LogLevel::Debug;
    throw std::invalid_argument("unknown log level: " + text);
}

bool Logger::enabled(LogLevel level) const
{
    std::lock_guard<std::mutex> lock(_mutex);
    return level != LogLevel::Off && static_cast<int>(level) <= static_cast<int>(_level);
}

void Logger::log(LogLevel level, const std::string& message)
{
    static const char* const names[] = {"OFF", "ERROR", "WARNING", "INFO", "DEBUG"};
    std::lock_guard<std::mutex> lock(_mutex);
    if (level == LogLevel::Off || static_cast<int>(level) > static_cast<int>(_level))
        return;
    char stamp[32];
    std::time_t now = std::time(nullptr);
    std::tm tm;
    gmtime_r(&now, &tm);
    std::strftime(stamp, sizeof(stamp), "%Y-%m-%dT%H:%M:%SZ", &tm);
    std::fprintf(_file, "%s %s %s\n", stamp, names[static_cast<int>(level)],
        message.c_str());
    std::fflush(_file);
}

} // namespace cimhost
