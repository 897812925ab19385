// The simulated array's data: what the state file holds.
#ifndef VELKSIM_SIMSTATE_H
#define VELKSIM_SIMSTATE_H

#include "velkapi.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velksim {

enum class Role { Browse = 1, Edit = 2, Super = 3 };

struct User {
    std::string name;
    Role role = Role::Browse;
    bool cimAccess = true;
};

enum class TaskState { Running, Completed, Failed, Cancelled };

// A task's phase names, never changed once made: tasks with the same names
// share one list (an array repeats a few lists over many tasks).
using PhaseNames = std::shared_ptr<const std::vector<std::string>>;

// The list of no phases, shared.
const PhaseNames& noPhases();

// Members ordered by size, so that the many tasks of an array carry no
// padding.
struct Task {
    std::uint32_t id = 0;
    int type = 0;
    std::string name;
    std::string user;
    std::string errorText;
    std::string detail;
    PhaseNames phases = noPhases();
    std::int64_t start = 0;
    // Seconds from start to the natural end; 0: the counters below are fixed
    // and the task does not end by itself.
    std::int64_t duration = 0;
    std::int64_t end = 0;
    std::int64_t lastUpdate = -1;         // -1: derived from the progress
    int priority = MED_PRI;
    int stepMax = 0;
    int currPhase = 0;
    int currStep = 0;
    TaskState state = TaskState::Running;
    // For an ended task its error (errorText above); for a running one how
    // it will end.
    int error = 0;
    std::uint32_t flags = 0;
    int writtenToPr = 0;
    std::uint32_t domain = 0xFFFFFFFFu;   // no domain
};

struct RcTarget {
    std::string name;
    std::string remoteSystem;
    std::uint32_t remoteId = 0;
    int linkType = RM_LINK_IP;
};

struct RcLink {
    std::string target;
    std::string localPort;
    std::string remoteAddr;
    bool up = true;
};

struct RcGroupTarget {
    std::string target;
    std::string remoteGroup;
    int mode = RM_MODE_PERIODIC;
    std::uint32_t syncPeriod = 0;
};

struct RcGroup {
    std::string name;
    int role = RM_ROLE_PRIMARY;
    int mode = RM_MODE_PERIODIC;
    std::vector<std::string> volumes;
    std::vector<RcGroupTarget> targets;
};

struct Volume {
    std::uint32_t id = 0;
    std::string name;
    std::string wwn;
    int type = VV_TYPE_BASE;
    int state = VV_STATE_NORMAL;
    std::uint32_t blockSize = 512;
    std::uint64_t sizeMiB = 0;
    std::string cpg;
    std::string copyOf;
};

struct Synchronization {
    std::string systemVolume;
    std::string syncedVolume;
    int syncType = VV_SYNC_TYPE_CLONE;
    int syncState = VV_SYNC_STATE_SYNCHRONIZED;
    int copyType = 0;
    bool maintained = false;
    int percent = 100;
    std::int64_t whenSynced = 0;
};

struct ArrayState {
    std::string systemName;
    std::string hostName;
    std::string serial;
    std::string model;
    std::uint32_t systemId = 0;
    std::int64_t detailRetention = 86400;   // seconds; <= 0: forever
    std::vector<User> users;
    std::map<std::string, Role> operations;  // lower-cased operation -> least role
    std::vector<Task> tasks;                 // ascending id
    bool rcEnabled = true;
    std::vector<RcTarget> rcTargets;
    std::vector<RcLink> rcLinks;
    std::vector<RcGroup> rcGroups;
    std::vector<Volume> volumes;
    std::vector<Synchronization> syncs;
};

// Parses a state text. `source` names the file in messages; `now` resolves
// relative times ("now", "now-600"). Throws StateError.
ArrayState parseState(const std::string& text, const std::string& source, std::int64_t now);
// The state as JSON text (absolute times).
std::string serializeState(const ArrayState& state);

// The task as it stands at time `now`: a running task whose time is up has
// ended. Fills `out` (all other bytes zero).
void taskRecord(const Task& task, std::int64_t now, tsk_data_t* out);
// Whether the task has ended at `now`, and when.
bool taskEnded(const Task& task, std::int64_t now, std::int64_t* endTime);
// Freezes a running task at `now` (counters and natural end made explicit).
void settleTask(Task& task, std::int64_t now);

const char* taskTypeName(int type);
const char* roleName(Role role);
std::map<std::string, Role> defaultOperations();

} // namespace velksim

#endif
