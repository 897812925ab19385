#include "Logger.h"

#include <cctype>
#include <ctime>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

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

void Logger::open(const std::string& path, LogLevel level, std::uint64_t maxBytes, unsigned keep)
{
    std::lock_guard<std::mutex> lock(_mutex);
    std::FILE* file = stderr;
    bool owns = false;
    std::uint64_t size = 0;
    if (!path.empty())
    {
        file = std::fopen(path.c_str(), "a");
        if (!file)
            throw std::runtime_error("cannot open log file " + path);
        owns = true;
        struct stat st;
        if (::fstat(::fileno(file), &st) == 0)
            size = static_cast<std::uint64_t>(st.st_size);
    }
    if (_ownsFile)
        std::fclose(_file);
    _file = file;
    _ownsFile = owns;
    _level = level;
    _path = path;
    _maxBytes = maxBytes;
    _keep = keep;
    _size = size;
}

void Logger::rotate()
{
    std::fclose(_file);
    // Oldest first, so that no rename lands on a file still to be moved.
    if (_keep == 0)
        ::unlink(_path.c_str());
    else
    {
        ::unlink((_path + "." + std::to_string(_keep)).c_str());
        for (unsigned i = _keep; i > 1; --i)
            ::rename((_path + "." + std::to_string(i - 1)).c_str(),
                (_path + "." + std::to_string(i)).c_str());
        ::rename(_path.c_str(), (_path + ".1").c_str());
    }
    _size = 0;
    _file = std::fopen(_path.c_str(), "a");
    if (!_file)
    {
        // The log goes on where the operator can still see it.
        _file = stderr;
        _ownsFile = false;
    }
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
    return level != LogLevel::Off && static_cast<int>(level) <= static_cast<int>(_level.load());
}

void Logger::log(LogLevel level, const std::string& message)
{
    static const char* const names[] = {"OFF", "ERROR", "WARNING", "INFO", "DEBUG"};
    if (!enabled(level))
        return;
    std::lock_guard<std::mutex> lock(_mutex);
    std::time_t now = std::time(nullptr);
    if (now != _stampTime)
    {
        std::tm tm;
        gmtime_r(&now, &tm);
        std::strftime(_stamp, sizeof(_stamp), "%Y-%m-%dT%H:%M:%SZ", &tm);
        _stampTime = now;
    }
    std::string& line = _line;
    line.assign(_stamp);
    line += ' ';
    line += names[static_cast<int>(level)];
    line += ' ';
    line += message;
    line += '\n';
    if (_ownsFile && _maxBytes > 0 && _size > 0 && _size + line.size() > _maxBytes)
        rotate();
    std::fwrite(line.data(), 1, line.size(), _file);
    std::fflush(_file);
    _size += line.size();
    // A very long line does not keep its room.
    if (line.capacity() > 4096)
        std::string().swap(line);
}

} // namespace cimhost
