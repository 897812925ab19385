// Pieces shared by the tests of VELK_Common and of the job module: the
// captured log lines of the array library, a time zone for one scope, and
// no log or event files of the array.
#ifndef VELK_TESTS_ArrayTestSupport_h
#define VELK_TESTS_ArrayTestSupport_h

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <velkapi_control.hpp>

namespace velktest
{

// Captures the log lines of the library for one scope.
class LogCapture
{
public:
    LogCapture()
    {
        velksim::setCapture(true);
        velksim::clearCaptured();
    }
    ~LogCapture() { velksim::setCapture(false); }
    std::vector<velksim::LogLine> lines() const { return velksim::logLines(); }
    // The texts of one level, or of all levels for 0.
    std::vector<std::string> texts(int level = 0) const
    {
        std::vector<std::string> out;
        for (const auto& line : velksim::logLines())
            if (level == 0 || line.level == level)
                out.push_back(line.text);
        return out;
    }
};

// Sets TZ for the scope and restores it.
class TimeZone
{
public:
    explicit TimeZone(const char* tz)
    {
        const char* old = getenv("TZ");
        _had = old != 0;
        if (_had)
            _old = old;
        setenv("TZ", tz, 1);
        tzset();
    }
    ~TimeZone()
    {
        if (_had)
            setenv("TZ", _old.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool _had;
    std::string _old;
};

// No log or event files of the array, in every test binary that includes
// this header.
class QuietArray : public ::testing::Environment
{
public:
    void SetUp() override
    {
        velksim::setLogFile("");
        velksim::setEventLogFile("");
    }
};

inline ::testing::Environment* const quietArray =
    ::testing::AddGlobalTestEnvironment(new QuietArray);

} // namespace velktest

#endif
