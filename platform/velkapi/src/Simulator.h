// The simulated array: its state, clock, faults, persistence and event log.
#ifndef VELKSIM_SIMULATOR_H
#define VELKSIM_SIMULATOR_H

#include "SimState.h"
#include "velkapi.h"
#include "velkapi_control.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace velksim {

class Simulator {
public:
    static Simulator& instance();

    // State.
    void loadFile(const std::string& path);
    void loadJson(const std::string& text, const std::string& writeBackPath);
    void reset();
    std::string stateJson();
    std::string statePath();

    // Clock.
    void setClock(std::int64_t t);
    void advanceClock(std::int64_t seconds);
    void useRealClock();
    std::int64_t now();

    // Faults of named calls.
    void injectFault(const std::string& call, int code, const std::string& text, int times);
    void clearFaults();
    // True (with code and text) when the call is to fail now.
    bool takeFault(const char* call, int* code, std::string* text);

    // Event log.
    void setEventLog(const std::string& path);
    std::string eventLog();
    void setCapture(bool on);
    std::vector<EventRecord> events(bool clear);

    // The operations of the C interface.
    int openForCimserver(const char* user);
    int authorize(const char* user, const char* ip, const char* operation);
    api_Status_t getTasks(std::int32_t maxAge, int mode, int* count, tsk_data_t** tasks);
    api_Status_t getTaskDetail(std::uint32_t id, tsk_data_t* task, char** detail);
    api_Status_t cancelTask(api_evtparam_t* eventp, std::uint32_t id);
    api_Status_t removeTasks(api_evtparam_t* eventp, const std::uint32_t* ids, int count, std::uint32_t domain,
                             std::uint32_t flags);
    api_Status_t getRCopy(int queryType, api_rcopy_t* rcopy);
    api_Status_t getSysInfo(api_sysinfo_t* info);
    api_Status_t getVolumes(int* count, api_vv_t** vvs);
    api_Status_t getVolume(const char* name, api_vv_t* vv);
    api_Status_t getVolumeSyncs(int* count, api_vvsync_t** syncs);

private:
    Simulator();

    struct Fault {
        int code;
        std::string text;
        int times;
    };

    std::int64_t nowLocked() const;
    // Loads VELK_STATE_FILE on first use (and again while it fails).
    bool ensureLoaded(api_Status_t* status);
    void install(ArrayState st, const std::string& path);
    // Writes the state back; false (with the reason) when it failed.
    bool writeBack(std::string* reason);
    // The two halves of writeBack: the state into a synced temporary file
    // beside the state file (*tmp; empty when there is no state file), then
    // that file renamed over the state file.
    bool stageState(std::string* tmp, std::string* reason);
    bool commitState(const std::string& tmp, std::string* reason);
    // Makes the change just made to state_ durable and records it in the
    // event log; on failure `undo` restores state_ and the call fails with
    // API_ERR_IO.
    api_Status_t commitChange(api_evtparam_t* eventp, int cbCode, const char* action,
                              const std::vector<std::uint32_t>& ids, const std::function<void()>& undo);
    // Removes temporary state files that a killed process left behind.
    void removeStaleTemporaries() const;
    void recordEvent(api_evtparam_t* eventp, int cbCode, const char* action, const std::vector<std::uint32_t>& ids,
                     const api_Status_t& status);
    Task* findTask(std::uint32_t id);

    std::mutex mutex_;
    bool loaded_ = false;
    std::string loadError_;
    std::string envStateFile_;
    ArrayState state_;
    std::string path_;
    bool fixedClock_ = false;
    std::int64_t clock_ = 0;
    std::map<std::string, Fault> faults_;
    std::string eventLog_;
    std::uint64_t eventLogMaxBytes_ = 0;
    unsigned eventLogKeep_ = 0;
    std::string eventLogFailed_;   // event log whose failure was reported
    bool capture_ = false;
    std::vector<EventRecord> events_;
};

} // namespace velksim

#endif
