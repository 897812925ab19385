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
    long semTimeoutMs = 30000; // VELK_SEM_TIMEOUT_MS; negative: wait for ever
};

// Reads the environment now (defaults for what is unset or malformed).
Settings settingsFromEnvironment();

} // namespace velksim

#endif
