// velkapi_control.hpp - control of the simulated array behind libvelkapi.
//
// For tests and tools only: providers talk to the array through velkapi.h.
// Every function is thread-safe and acts on the one array of the process,
// the same one the C interface serves.
#ifndef VELKAPI_CONTROL_HPP
#define VELKAPI_CONTROL_HPP

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace velksim {

// A state file or state text that could not be loaded. what() names the
// file (or "<string>"), the place in it and the reason, for example
//   /tmp/a.json: /tasks/3/type: unknown task type "TASK_FOO"
//   /tmp/a.json:4:17: bad JSON: syntax error while parsing object key
//   /tmp/a.json: cannot read: No such file or directory
class StateError : public std::runtime_error {
public:
    explicit StateError(const std::string& what) : std::runtime_error(what) {}
};

// Loads the array from a state file; later changes are written back to it.
// Throws StateError; on failure the previous state stays in force.
void loadStateFile(const std::string& path);

// Loads the array from JSON text. Changes are written back to writeBackPath
// when it is not empty, else kept in memory only. Throws StateError.
void loadStateJson(const std::string& json, const std::string& writeBackPath = "");

// Forgets the loaded state, faults, captures, the fixed clock and every
// setting made here; the next call of the library configures itself from
// the environment again and loads VELK_STATE_FILE.
void reset();

// The current array as JSON text, in the state file format (times as
// seconds since the epoch).
std::string stateJson();

// The path changes are written back to ("" when none).
std::string stateFilePath();

// Clock of the array: fixed at a time, moved, or back to real time.
void setClock(std::int64_t epochSeconds);
void advanceClock(std::int64_t seconds);   // fixes the clock first if it runs
void useRealClock();
std::int64_t now();

// Faults. The named C call (for example "api_getTasks", "api_cancelTask",
// "api_velkOpenForCimserver") fails with code and text, `times` times
// (-1: until cleared). Calls returning api_Status_t return that code and
// text; calls returning int return the code. A later injection for the
// same call replaces the earlier one.
void injectFault(const std::string& call, int code, const std::string& text, int times = -1);
// cim_sem_wait answers "timed out" at once, `times` times (-1: until cleared).
void injectSemaphoreTimeout(int times = -1);
void clearFaults();

// Settings that otherwise come from the environment.
void setSemaphoreTimeoutMs(long ms);
void setLogLevel(int level);
void setLogFile(const std::string& path);       // "" : no log file
void setEventLogFile(const std::string& path);  // "" : no event log file
int logLevel();
long semaphoreTimeoutMs();
std::string logFile();
std::string eventLogFile();

// Capture of log_message calls (every level, whatever the threshold) and of
// event records, in memory. Off until switched on.
struct LogLine {
    int level;
    std::string text;   // exactly as formatted, line feed included when given
};

struct EventRecord {
    std::int64_t time;        // array clock when recorded
    int cb_code;              // API_EVT_TASK_CANCEL or API_EVT_TASK_REMOVE
    std::string user;
    std::string addr;
    std::string method;
    std::string inst_op;
    std::string inst_param;
    std::string action;       // "cancel" or "remove"
    std::vector<std::uint32_t> taskIds;
    int code;                 // status code of the call (0 = done)
    std::string result;       // error text, "" when done
    std::string line;         // the line written to the event log (no line feed)
};

void setCapture(bool on);
std::vector<LogLine> logLines();
std::vector<LogLine> takeLogLines();   // returns and clears
std::vector<EventRecord> events();
std::vector<EventRecord> takeEvents(); // returns and clears
void clearCaptured();

} // namespace velksim

#endif
