#include "Settings.h"

#include <cerrno>
#include <cstdlib>

namespace velksim {

namespace {

const char* env(const char* name)
{
    const char* v = std::getenv(name);
    return v && *v ? v : nullptr;
}

bool parseLong(const char* text, long* out)
{
    errno = 0;
    char* end = nullptr;
    long v = std::strtol(text, &end, 10);
    if (errno || end == text || *end)
        return false;
    *out = v;
    return true;
}

} // namespace

Settings settingsFromEnvironment()
{
    Settings s;
    s.stateFile = env("VELK_STATE_FILE") ? env("VELK_STATE_FILE") : "/var/lib/velk/array.json";
    s.eventLog = env("VELK_EVENT_LOG") ? env("VELK_EVENT_LOG") : s.stateFile + ".events";
    s.logFile = env("VELK_LOG_FILE") ? env("VELK_LOG_FILE") : s.stateFile + ".log";
    long v = 0;
    if (env("VELK_LOG_LEVEL") && parseLong(env("VELK_LOG_LEVEL"), &v))
        s.logLevel = static_cast<int>(v);
    const struct {
        const char* name;
        long* value;
    } sizes[] = {{"VELK_LOG_MAX_BYTES", &s.logMaxBytes},
                 {"VELK_LOG_KEEP", &s.logKeep},
                 {"VELK_EVENT_LOG_MAX_BYTES", &s.eventLogMaxBytes},
                 {"VELK_EVENT_LOG_KEEP", &s.eventLogKeep}};
    for (const auto& size : sizes)
        if (env(size.name) && parseLong(env(size.name), &v) && v >= 0)
            *size.value = v;
    if (env("VELK_SEM_TIMEOUT_MS") && parseLong(env("VELK_SEM_TIMEOUT_MS"), &v))
        s.semTimeoutMs = v;
    return s;
}

} // namespace velksim
