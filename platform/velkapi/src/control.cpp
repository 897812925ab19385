// The control interface of the simulated array (velkapi_control.hpp).
#include "velkapi_control.hpp"

#include "AccessSemaphore.h"
#include "Logger.h"
#include "Simulator.h"

namespace velksim {

void loadStateFile(const std::string& path)
{
    Simulator::instance().loadFile(path);
}

void loadStateJson(const std::string& json, const std::string& writeBackPath)
{
    Simulator::instance().loadJson(json, writeBackPath);
}

void reset()
{
    Simulator::instance().reset();
}

std::string stateJson()
{
    return Simulator::instance().stateJson();
}

std::string stateFilePath()
{
    return Simulator::instance().statePath();
}

void setClock(std::int64_t epochSeconds)
{
    Simulator::instance().setClock(epochSeconds);
}

void advanceClock(std::int64_t seconds)
{
    Simulator::instance().advanceClock(seconds);
}

void useRealClock()
{
    Simulator::instance().useRealClock();
}

std::int64_t now()
{
    return Simulator::instance().now();
}

void injectFault(const std::string& call, int code, const std::string& text, int times)
{
    if (call == "cim_sem_wait")
        AccessSemaphore::instance().injectTimeouts(times);
    else
        Simulator::instance().injectFault(call, code, text, times);
}

void injectSemaphoreTimeout(int times)
{
    AccessSemaphore::instance().injectTimeouts(times);
}

void clearFaults()
{
    Simulator::instance().clearFaults();
}

void setSemaphoreTimeoutMs(long ms)
{
    AccessSemaphore::instance().setTimeoutMs(ms);
}

long semaphoreTimeoutMs()
{
    return AccessSemaphore::instance().timeoutMs();
}

void setLogLevel(int level)
{
    Logger::instance().setLevel(level);
}

int logLevel()
{
    return Logger::instance().level();
}

void setLogFile(const std::string& path)
{
    Logger::instance().setFile(path);
}

std::string logFile()
{
    return Logger::instance().file();
}

void setEventLogFile(const std::string& path)
{
    Simulator::instance().setEventLog(path);
}

std::string eventLogFile()
{
    return Simulator::instance().eventLog();
}

void setCapture(bool on)
{
    Simulator::instance().setCapture(on);
}

std::vector<LogLine> logLines()
{
    return Logger::instance().lines(false);
}

std::vector<LogLine> takeLogLines()
{
    return Logger::instance().lines(true);
}

std::vector<EventRecord> events()
{
    return Simulator::instance().events(false);
}

std::vector<EventRecord> takeEvents()
{
    return Simulator::instance().events(true);
}

void clearCaptured()
{
    Logger::instance().lines(true);
    Simulator::instance().events(true);
}

} // namespace velksim
