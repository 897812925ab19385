#include "Logger.h"

#include "RotatingLog.h"
#include "Settings.h"

#include <chrono>
#include <cstdio>
#include <ctime>

namespace velksim {

Logger::Logger()
{
    applySettings();
}

void Logger::applySettings()
{
    const Settings s = settingsFromEnvironment();
    level_ = s.logLevel;
    path_ = s.logFile;
    hasFile_ = !path_.empty();
    maxBytes_ = static_cast<std::uint64_t>(s.logMaxBytes);
    keep_ = static_cast<unsigned>(s.logKeep);
    updateWanted();
}

void Logger::updateWanted()
{
    int wanted = std::numeric_limits<int>::min();
    if (capture_)
        wanted = std::numeric_limits<int>::max();
    else if (hasFile_)
        wanted = level_;
    wanted_ = wanted;
}

void Logger::write(int level, const std::string& text)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (capture_)
        lines_.push_back(LogLine{level, text});
    if (level > level_ || path_.empty())
        return;
    const auto now = std::chrono::system_clock::now();
    const std::time_t secs = std::chrono::system_clock::to_time_t(now);
    const long millis = static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
    std::tm tm{};
    gmtime_r(&secs, &tm);
    char stamp[40];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", &tm);
    // One record a call: the text as given, closed by one line feed.
    char head[64];
    std::snprintf(head, sizeof head, "%s.%03ldZ [%d] ", stamp, millis, level);
    std::string line = head + text;
    if (!line.empty() && line.back() == '\n')
        line.pop_back();
    // A log that cannot be written loses the line; the call goes on.
    RotatingLog(path_, maxBytes_, keep_).append(line, false);
}

void Logger::setLevel(int level)
{
    std::lock_guard<std::mutex> lock(mutex_);
    level_ = level;
    updateWanted();
}

int Logger::level()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return level_;
}

void Logger::setFile(const std::string& path)
{
    std::lock_guard<std::mutex> lock(mutex_);
    path_ = path;
    hasFile_ = !path_.empty();
    updateWanted();
}

std::string Logger::file()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return path_;
}

void Logger::setCapture(bool on)
{
    std::lock_guard<std::mutex> lock(mutex_);
    capture_ = on;
    updateWanted();
}

std::vector<LogLine> Logger::lines(bool clear)
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<LogLine> out = lines_;
    if (clear)
        lines_.clear();
    return out;
}

void Logger::reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    capture_ = false;
    applySettings();
    lines_.clear();
}

} // namespace velksim
