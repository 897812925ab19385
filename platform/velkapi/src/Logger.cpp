#include "Logger.h"

#include "Settings.h"

#include <chrono>
#include <ctime>

namespace velksim {

Logger& Logger::instance()
{
    static Logger logger;
    return logger;
}

Logger::Logger()
{
    const Settings s = settingsFromEnvironment();
    level_ = s.logLevel;
    path_ = s.logFile;
}

Logger::~Logger()
{
    closeFile();
}

void Logger::closeFile()
{
    if (fp_)
        std::fclose(fp_);
    fp_ = nullptr;
    openFailed_ = false;
}

void Logger::write(int level, const std::string& text)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (capture_)
        lines_.push_back(LogLine{level, text});
    if (level > level_ || path_.empty())
        return;
    if (!fp_ && !openFailed_) {
        fp_ = std::fopen(path_.c_str(), "a");
        openFailed_ = fp_ == nullptr;
    }
    if (!fp_)
        return;
    const auto now = std::chrono::system_clock::now();
    const std::time_t secs = std::chrono::system_clock::to_time_t(now);
    const long millis = static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
    std::tm tm{};
    gmtime_r(&secs, &tm);
    char stamp[40];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%S", &tm);
    // One record a call: the text as given, closed by a line feed if it has none.
    std::fprintf(fp_, "%s.%03ldZ [%d] %s%s", stamp, millis, level, text.c_str(),
                 !text.empty() && text.back() == '\n' ? "" : "\n");
    std::fflush(fp_);
}

void Logger::setLevel(int level)
{
    std::lock_guard<std::mutex> lock(mutex_);
    level_ = level;
}

int Logger::level()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return level_;
}

void Logger::setFile(const std::string& path)
{
    std::lock_guard<std::mutex> lock(mutex_);
    closeFile();
    path_ = path;
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
    const Settings s = settingsFromEnvironment();
    std::lock_guard<std::mutex> lock(mutex_);
    closeFile();
    level_ = s.logLevel;
    path_ = s.logFile;
    capture_ = false;
    lines_.clear();
}

} // namespace velksim
