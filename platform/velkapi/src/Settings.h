// Settings of the simulated array, from the environment.
#ifndef VELKSIM_SETTINGS_H
#define VELKSIM_SETTINGS_H

#include <string>

namespace velksim {

struct Settings {
    std::string stateFile;     // VELK_STATE_FILE
    std::string eventLog;      // VELK_EVENT_LOG
    std::string logFile;       // VELK_LOG_FILE
    int logLevel = 3;          // VELK_LOG_LEVEL
    // Size at which a log is turned over (0: never) and how many old files
    // are kept.
    long logMaxBytes = 10L << 20;      // VELK_LOG_MAX_BYTES
    long logKeep = 5;                  // VELK_LOG_KEEP
    long eventLogMaxBytes = 10L << 20; // VELK_EVENT_LOG_MAX_BYTES
    long eventLogKeep = 10;            // VELK_EVENT_LOG_KEEP
    long semTimeoutMs = 30000; // VELK_SEM_TIMEOUT_MS; negative: wait for ever
};

// Reads the environment now (defaults for what is unset or malformed).
Settings settingsFromEnvironment();

} // namespace velksim

#endif
