#include "SimState.h"

#include "velkapi_control.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>

namespace velksim {

using nlohmann::json;

namespace {

const char* const kTaskTypeNames[TASK_LAST + 1] = {
    "TASK_REGMOVE", "TASK_LD_COMPACT", "TASK_CPG_COMPACT", "TASK_SDTUNE", "TASK_VVTUNE",
    "TASK_VVTUNE_ROLLBACK", "TASK_VVTUNE_RESTART", "TASK_VVCOPY", "TASK_PROMOTESV",
    "TASK_RC_SYNC", "TASK_SS_ACC", "TASK_PHYSCOPY_RESYNC", "TASK_RC_REVERSE",
    "TASK_RC_FAILOVER", "TASK_RC_RECOVER", "TASK_RC_RESTORE", "TASK_SCHED", "TASK_SYS_SCHED",
    "TASK_BACKGROUND", "TASK_VVIMPORT", "TASK_CHECKVV", "TASK_TUNESYS", "TASK_NODERESCUE",
    "TASK_VVCONVERT", "TASK_ONLINE_COPY", "TASK_RCDV_REPAIR", "TASK_RC_SWITCHOVER",
    "TASK_DEFRAG", "TASK_ENCRYPT_CHANGE", "TASK_RC_FAILSAFE", "TASK_TPVV_USR_TUNE",
    "TASK_RC_CHG_MODE", "TASK_CREATE_SV", "TASK_ONLINE_PROMOTE", "TASK_RELOCATEPD",
    "TASK_DEDUP_DRYRUN", "TASK_LAST"};

// Reads values out of the JSON tree, naming the place of every fault.
class Reader {
public:
    Reader(const std::string& source, std::int64_t now) : source_(source), now_(now) {}

    [[noreturn]] void fail(const std::string& place, const std::string& reason) const
    {
        throw StateError(source_ + ": " + (place.empty() ? std::string("/") : place) + ": " + reason);
    }

    const json& member(const json& obj, const std::string& place, const char* key) const
    {
        auto it = obj.find(key);
        if (it == obj.end())
            fail(place, std::string("missing \"") + key + "\"");
        return *it;
    }

    void requireObject(const json& v, const std::string& place) const
    {
        if (!v.is_object())
            fail(place, "expected an object");
    }

    const json& array(const json& obj, const std::string& place, const char* key) const
    {
        static const json empty = json::array();
        auto it = obj.find(key);
        if (it == obj.end())
            return empty;
        if (!it->is_array())
            fail(place + "/" + key, "expected an array");
        return *it;
    }

    std::string str(const json& obj, const std::string& place, const char* key, const std::string& def,
                    bool required = false, std::size_t maxLen = 0) const
    {
        auto it = obj.find(key);
        if (it == obj.end()) {
            if (required)
                fail(place, std::string("missing \"") + key + "\"");
            return def;
        }
        if (!it->is_string())
            fail(place + "/" + key, "expected a string");
        std::string s = it->get<std::string>();
        if (maxLen && s.size() > maxLen)
            fail(place + "/" + key, "longer than " + std::to_string(maxLen) + " characters");
        return s;
    }

    std::int64_t integer(const json& obj, const std::string& place, const char* key, std::int64_t def,
                         std::int64_t lo, std::int64_t hi, bool required = false) const
    {
        auto it = obj.find(key);
        if (it == obj.end()) {
            if (required)
                fail(place, std::string("missing \"") + key + "\"");
            return def;
        }
        if (!it->is_number_integer())
            fail(place + "/" + key, "expected an integer");
        std::int64_t v = 0;
        if (it->is_number_unsigned()) {
            auto u = it->get<std::uint64_t>();
            if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
                fail(place + "/" + key, "out of range");
            v = static_cast<std::int64_t>(u);
        } else {
            v = it->get<std::int64_t>();
        }
        if (v < lo || v > hi)
            fail(place + "/" + key, "out of range (" + std::to_string(lo) + " to " + std::to_string(hi) + ")");
        return v;
    }

    bool boolean(const json& obj, const std::string& place, const char* key, bool def) const
    {
        auto it = obj.find(key);
        if (it == obj.end())
            return def;
        if (!it->is_boolean())
            fail(place + "/" + key, "expected true or false");
        return it->get<bool>();
    }

    // A time: seconds since the epoch, or "now", "now-<s>", "now+<s>".
    std::int64_t time(const json& obj, const std::string& place, const char* key, std::int64_t def,
                      bool required = false) const
    {
        auto it = obj.find(key);
        if (it == obj.end()) {
            if (required)
                fail(place, std::string("missing \"") + key + "\"");
            return def;
        }
        if (it->is_number_integer())
            return integer(obj, place, key, def, 0, std::numeric_limits<std::int64_t>::max() / 2);
        if (it->is_string()) {
            const std::string s = it->get<std::string>();
            if (s == "now")
                return now_;
            if (s.size() > 4 && s.compare(0, 3, "now") == 0 && (s[3] == '-' || s[3] == '+')) {
                const std::string digits = s.substr(4);
                if (!digits.empty() && digits.size() < 12
                    && std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
                    std::int64_t off = std::stoll(digits);
                    return s[3] == '-' ? now_ - off : now_ + off;
                }
            }
            fail(place + "/" + key, "bad time \"" + s + "\" (seconds since 1970, \"now\", \"now-N\" or \"now+N\")");
        }
        fail(place + "/" + key, "expected a time");
    }

    template <typename T>
    T choice(const json& obj, const std::string& place, const char* key, T def,
             const std::vector<std::pair<const char*, T>>& names) const
    {
        auto it = obj.find(key);
        if (it == obj.end())
            return def;
        if (!it->is_string())
            fail(place + "/" + key, "expected a string");
        const std::string s = it->get<std::string>();
        for (const auto& n : names)
            if (s == n.first)
                return n.second;
        std::string allowed;
        for (const auto& n : names)
            allowed += std::string(allowed.empty() ? "" : ", ") + n.first;
        fail(place + "/" + key, "unknown value \"" + s + "\" (one of " + allowed + ")");
    }

private:
    std::string source_;
    std::int64_t now_;
};

const std::vector<std::pair<const char*, Role>> kRoles = {
    {"browse", Role::Browse}, {"edit", Role::Edit}, {"super", Role::Super}};
const std::vector<std::pair<const char*, TaskState>> kStates = {
    {"running", TaskState::Running}, {"completed", TaskState::Completed},
    {"failed", TaskState::Failed}, {"cancelled", TaskState::Cancelled}};
const std::vector<std::pair<const char*, int>> kPriorities = {
    {"none", NO_PRI}, {"high", HIGH_PRI}, {"med", MED_PRI}, {"low", LOW_PRI}};
const std::vector<std::pair<const char*, int>> kLinkTypes = {{"IP", RM_LINK_IP}, {"FC", RM_LINK_FC}};
const std::vector<std::pair<const char*, int>> kGroupRoles = {
    {"primary", RM_ROLE_PRIMARY}, {"secondary", RM_ROLE_SECONDARY}};
const std::vector<std::pair<const char*, int>> kModes = {
    {"sync", RM_MODE_SYNC}, {"periodic", RM_MODE_PERIODIC}, {"async", RM_MODE_ASYNC}};
const std::vector<std::pair<const char*, int>> kVolumeTypes = {
    {"base", VV_TYPE_BASE}, {"snapshot", VV_TYPE_SNAPSHOT}, {"physical_copy", VV_TYPE_PHYSICAL_COPY}};
const std::vector<std::pair<const char*, int>> kVolumeStates = {
    {"normal", VV_STATE_NORMAL}, {"degraded", VV_STATE_DEGRADED}, {"failed", VV_STATE_FAILED}};
const std::vector<std::pair<const char*, int>> kSyncTypes = {
    {"mirror", VV_SYNC_TYPE_MIRROR}, {"snapshot", VV_SYNC_TYPE_SNAPSHOT}, {"clone", VV_SYNC_TYPE_CLONE}};
const std::vector<std::pair<const char*, int>> kSyncStates = {
    {"synchronized", VV_SYNC_STATE_SYNCHRONIZED}, {"fractured", VV_SYNC_STATE_FRACTURED},
    {"synchronizing", VV_SYNC_STATE_SYNCHRONIZING}};

template <typename T>
const char* nameOf(T v, const std::vector<std::pair<const char*, T>>& names)
{
    for (const auto& n : names)
        if (n.second == v)
            return n.first;
    return names.front().first;
}

std::string lower(std::string s)
{
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return s;
}

int parseTaskType(const Reader& r, const json& t, const std::string& place)
{
    const json& v = r.member(t, place, "type");
    if (v.is_string()) {
        const std::string s = v.get<std::string>();
        for (int i = 0; i < TASK_LAST; ++i)
            if (s == kTaskTypeNames[i])
                return i;
        r.fail(place + "/type", "unknown task type \"" + s + "\"");
    }
    if (v.is_number_integer()) {
        const std::int64_t n = v.get<std::int64_t>();
        if (n >= 0 && n < TASK_LAST)
            return static_cast<int>(n);
        r.fail(place + "/type", "unknown task type " + std::to_string(n));
    }
    r.fail(place + "/type", "expected a task type name or number");
}

Task parseTask(const Reader& r, const json& t, const std::string& place)
{
    r.requireObject(t, place);
    Task task;
    task.id = static_cast<std::uint32_t>(r.integer(t, place, "id", 0, 0, 0xFFFFFFFFll, true));
    task.type = parseTaskType(r, t, place);
    task.name = r.str(t, place, "name", "", true, TSK_NAME_LEN - 1);
    task.user = r.str(t, place, "user", "", false, TSK_USER_LEN - 1);
    task.priority = r.choice(t, place, "priority", static_cast<int>(MED_PRI), kPriorities);
    const json& phases = r.array(t, place, "phases");
    if (phases.size() > TSK_MAX_PHASES)
        r.fail(place + "/phases", "more than " + std::to_string(TSK_MAX_PHASES) + " phases");
    std::vector<std::string> phaseNames;
    phaseNames.reserve(phases.size());
    for (std::size_t i = 0; i < phases.size(); ++i) {
        const std::string p = place + "/phases/" + std::to_string(i);
        if (!phases[i].is_string())
            r.fail(p, "expected a string");
        std::string name = phases[i].get<std::string>();
        if (name.size() >= TSK_PHASE_NAME_LEN)
            r.fail(p, "longer than " + std::to_string(TSK_PHASE_NAME_LEN - 1) + " characters");
        phaseNames.push_back(std::move(name));
    }
    if (!phaseNames.empty())
        task.phases = std::make_shared<const std::vector<std::string>>(std::move(phaseNames));
    task.stepMax = static_cast<int>(r.integer(t, place, "step_max", 0, 0, 1000000));
    task.start = r.time(t, place, "start", 0, true);
    task.duration = r.integer(t, place, "duration", 0, 0, 100ll * 365 * 86400);
    task.state = r.choice(t, place, "state", TaskState::Running, kStates);
    const int phaseMax = static_cast<int>(task.phases->size());
    const bool ended = task.state != TaskState::Running;
    task.currPhase = static_cast<int>(r.integer(t, place, "curr_phase", ended ? phaseMax : (phaseMax ? 1 : 0),
                                                -1000000, 1000000));
    task.currStep = static_cast<int>(r.integer(t, place, "curr_step", ended ? task.stepMax : 0, -1000000, 1000000));
    task.error = static_cast<int>(r.integer(t, place, "error", 0, std::numeric_limits<int>::min(),
                                            std::numeric_limits<int>::max()));
    task.errorText = r.str(t, place, "error_text", "", false, TSK_ERRORSTR_LEN - 1);
    if (ended) {
        task.end = r.time(t, place, "end", 0, true);
        if (task.end < task.start)
            r.fail(place + "/end", "ends before it starts");
    } else if (t.contains("end")) {
        r.fail(place + "/end", "a running task has no end");
    }
    if (task.state == TaskState::Failed && task.error == 0)
        r.fail(place + "/error", "a failed task needs a non-zero error");
    task.detail = r.str(t, place, "detail", "");
    task.flags = static_cast<std::uint32_t>(r.integer(t, place, "flags", 0, 0, 0xFFFFFFFFll));
    task.writtenToPr = static_cast<int>(r.integer(t, place, "written_to_pr", 0, 0, 1));
    task.domain = static_cast<std::uint32_t>(r.integer(t, place, "domain", 0xFFFFFFFFll, 0, 0xFFFFFFFFll));
    task.lastUpdate = r.time(t, place, "last_update", -1);
    return task;
}

} // namespace

const PhaseNames& noPhases()
{
    static const PhaseNames none = std::make_shared<const std::vector<std::string>>();
    return none;
}

const char* taskTypeName(int type)
{
    return type >= 0 && type <= TASK_LAST ? kTaskTypeNames[type] : "";
}

const char* roleName(Role role)
{
    return nameOf(role, kRoles);
}

std::map<std::string, Role> defaultOperations()
{
    return {
        {"velk_concretejob.deleteinstance", Role::Edit},
        {"velk_concretejob.requeststatechange", Role::Edit},
        {"velk_concretejob.geterror", Role::Browse},
        {"cim_concretejob.deleteinstance", Role::Edit},
        {"cim_concretejob.requeststatechange", Role::Edit},
        {"cim_concretejob.geterror", Role::Browse},
        {"velk_storageconfigurationservice.createormodifyelementfrompool", Role::Edit},
        {"velk_storageconfigurationservice.returntostoragepool", Role::Edit},
        {"velk_replicationservice.createelementreplica", Role::Edit},
        {"velk_replicationservice.modifyreplicasynchronization", Role::Edit},
        {"velk_storagevolume.requeststatechange", Role::Super},
    };
}

ArrayState parseState(const std::string& text, const std::string& source, std::int64_t now)
{
    json root;
    try {
        root = json::parse(text);
    } catch (const json::parse_error& e) {
        // Turn the byte offset into line and column.
        std::size_t line = 1, col = 1;
        const std::size_t upto = std::min<std::size_t>(e.byte ? e.byte - 1 : 0, text.size());
        for (std::size_t i = 0; i < upto; ++i) {
            if (text[i] == '\n') {
                ++line;
                col = 1;
            } else {
                ++col;
            }
        }
        std::string reason = e.what();
        const auto pos = reason.find("; last read");
        const auto colon = reason.find(": ");
        if (colon != std::string::npos)
            reason = reason.substr(colon + 2, pos == std::string::npos ? std::string::npos : pos - colon - 2);
        throw StateError(source + ":" + std::to_string(line) + ":" + std::to_string(col) + ": bad JSON: " + reason);
    }

    Reader r(source, now);
    ArrayState st;
    r.requireObject(root, "");

    const json& sys = r.member(root, "", "system");
    r.requireObject(sys, "/system");
    st.systemName = r.str(sys, "/system", "name", "", true, 63);
    st.hostName = r.str(sys, "/system", "host_name", "", true, 255);
    st.serial = r.str(sys, "/system", "serial", "", false, 31);
    st.model = r.str(sys, "/system", "model", "", false, 31);
    st.systemId = static_cast<std::uint32_t>(r.integer(sys, "/system", "id", 0, 0, 0xFFFFFFFFll));
    st.detailRetention = r.integer(root, "", "detail_retention_seconds", 86400, -1,
                                   std::numeric_limits<std::int64_t>::max() / 2);

    const json& users = r.array(root, "", "users");
    std::set<std::string> userNames;
    for (std::size_t i = 0; i < users.size(); ++i) {
        const std::string p = "/users/" + std::to_string(i);
        r.requireObject(users[i], p);
        User u;
        u.name = r.str(users[i], p, "name", "", true, API_EVT_USER_LEN - 1);
        u.role = r.choice(users[i], p, "role", Role::Browse, kRoles);
        u.cimAccess = r.boolean(users[i], p, "cim_access", true);
        if (!userNames.insert(u.name).second)
            r.fail(p + "/name", "duplicate user \"" + u.name + "\"");
        st.users.push_back(u);
    }

    st.operations = defaultOperations();
    if (root.contains("cim_operations")) {
        const json& ops = root["cim_operations"];
        r.requireObject(ops, "/cim_operations");
        for (auto it = ops.begin(); it != ops.end(); ++it) {
            const json holder = {{it.key(), it.value()}};
            st.operations[lower(it.key())] = r.choice(holder, "/cim_operations", it.key().c_str(), Role::Super, kRoles);
        }
    }

    const json& tasks = r.array(root, "", "tasks");
    std::map<std::uint32_t, std::size_t> seen;
    // Exactly the room the tasks need: the list lives as long as the array.
    st.tasks.reserve(tasks.size());
    // Equal phase lists are kept once.
    std::map<std::vector<std::string>, PhaseNames> phaseLists;
    for (std::size_t i = 0; i < tasks.size(); ++i) {
        const std::string p = "/tasks/" + std::to_string(i);
        Task t = parseTask(r, tasks[i], p);
        auto known = phaseLists.find(*t.phases);
        if (known != phaseLists.end())
            t.phases = known->second;
        else
            phaseLists.emplace(*t.phases, t.phases);
        auto ins = seen.emplace(t.id, i);
        if (!ins.second)
            r.fail(p + "/id", "duplicate task id " + std::to_string(t.id) + " (also /tasks/"
                                  + std::to_string(ins.first->second) + ")");
        st.tasks.push_back(std::move(t));
    }
    std::sort(st.tasks.begin(), st.tasks.end(), [](const Task& a, const Task& b) { return a.id < b.id; });

    const json& vols = r.array(root, "", "volumes");
    std::set<std::string> volNames;
    for (std::size_t i = 0; i < vols.size(); ++i) {
        const std::string p = "/volumes/" + std::to_string(i);
        r.requireObject(vols[i], p);
        Volume v;
        v.name = r.str(vols[i], p, "name", "", true, VV_NAME_LEN - 1);
        v.id = static_cast<std::uint32_t>(r.integer(vols[i], p, "id", static_cast<std::int64_t>(i + 1), 0, 0xFFFFFFFFll));
        v.wwn = r.str(vols[i], p, "wwn", "", false, 39);
        v.type = r.choice(vols[i], p, "type", static_cast<int>(VV_TYPE_BASE), kVolumeTypes);
        v.state = r.choice(vols[i], p, "state", static_cast<int>(VV_STATE_NORMAL), kVolumeStates);
        v.blockSize = static_cast<std::uint32_t>(r.integer(vols[i], p, "block_size", 512, 1, 1 << 20));
        v.sizeMiB = static_cast<std::uint64_t>(r.integer(vols[i], p, "size_mib", 0, 0, 1ll << 50));
        v.cpg = r.str(vols[i], p, "cpg", "", false, VV_NAME_LEN - 1);
        v.copyOf = r.str(vols[i], p, "copy_of", "", false, VV_NAME_LEN - 1);
        if (!volNames.insert(v.name).second)
            r.fail(p + "/name", "duplicate volume \"" + v.name + "\"");
        st.volumes.push_back(v);
    }

    const json& syncs = r.array(root, "", "synchronizations");
    for (std::size_t i = 0; i < syncs.size(); ++i) {
        const std::string p = "/synchronizations/" + std::to_string(i);
        r.requireObject(syncs[i], p);
        Synchronization s;
        s.systemVolume = r.str(syncs[i], p, "system", "", true, VV_NAME_LEN - 1);
        s.syncedVolume = r.str(syncs[i], p, "synced", "", true, VV_NAME_LEN - 1);
        if (!volNames.count(s.systemVolume))
            r.fail(p + "/system", "no volume \"" + s.systemVolume + "\"");
        if (!volNames.count(s.syncedVolume))
            r.fail(p + "/synced", "no volume \"" + s.syncedVolume + "\"");
        s.syncType = r.choice(syncs[i], p, "type", static_cast<int>(VV_SYNC_TYPE_CLONE), kSyncTypes);
        s.syncState = r.choice(syncs[i], p, "state", static_cast<int>(VV_SYNC_STATE_SYNCHRONIZED), kSyncStates);
        s.copyType = static_cast<int>(r.integer(syncs[i], p, "copy_type", 0, 0, 65535));
        s.maintained = r.boolean(syncs[i], p, "maintained", false);
        s.percent = static_cast<int>(r.integer(syncs[i], p, "percent", 100, 0, 100));
        s.whenSynced = r.time(syncs[i], p, "when_synced", 0);
        st.syncs.push_back(s);
    }

    if (root.contains("remote_copy")) {
        const json& rc = root["remote_copy"];
        r.requireObject(rc, "/remote_copy");
        st.rcEnabled = r.boolean(rc, "/remote_copy", "enabled", true);
        const json& targets = r.array(rc, "/remote_copy", "targets");
        for (std::size_t i = 0; i < targets.size(); ++i) {
            const std::string p = "/remote_copy/targets/" + std::to_string(i);
            r.requireObject(targets[i], p);
            RcTarget t;
            t.name = r.str(targets[i], p, "name", "", true, RM_NAME_LEN - 1);
            t.remoteSystem = r.str(targets[i], p, "remote_system", "", false, RM_NAME_LEN - 1);
            t.remoteId = static_cast<std::uint32_t>(r.integer(targets[i], p, "remote_id", 0, 0, 0xFFFFFFFFll));
            t.linkType = r.choice(targets[i], p, "link_type", static_cast<int>(RM_LINK_IP), kLinkTypes);
            st.rcTargets.push_back(t);
        }
        const json& links = r.array(rc, "/remote_copy", "links");
        for (std::size_t i = 0; i < links.size(); ++i) {
            const std::string p = "/remote_copy/links/" + std::to_string(i);
            r.requireObject(links[i], p);
            RcLink l;
            l.target = r.str(links[i], p, "target", "", true, RM_NAME_LEN - 1);
            l.localPort = r.str(links[i], p, "local_port", "", false, 15);
            l.remoteAddr = r.str(links[i], p, "remote_addr", "", false, 47);
            l.up = r.boolean(links[i], p, "up", true);
            st.rcLinks.push_back(l);
        }
        const json& groups = r.array(rc, "/remote_copy", "groups");
        for (std::size_t i = 0; i < groups.size(); ++i) {
            const std::string p = "/remote_copy/groups/" + std::to_string(i);
            r.requireObject(groups[i], p);
            RcGroup g;
            g.name = r.str(groups[i], p, "name", "", true, RM_NAME_LEN - 1);
            g.role = r.choice(groups[i], p, "role", static_cast<int>(RM_ROLE_PRIMARY), kGroupRoles);
            g.mode = r.choice(groups[i], p, "mode", static_cast<int>(RM_MODE_PERIODIC), kModes);
            const json& gv = r.array(groups[i], p, "volumes");
            for (std::size_t k = 0; k < gv.size(); ++k) {
                if (!gv[k].is_string())
                    r.fail(p + "/volumes/" + std::to_string(k), "expected a string");
                g.volumes.push_back(gv[k].get<std::string>());
            }
            const json& gt = r.array(groups[i], p, "targets");
            for (std::size_t k = 0; k < gt.size(); ++k) {
                const std::string q = p + "/targets/" + std::to_string(k);
                r.requireObject(gt[k], q);
                RcGroupTarget t;
                t.target = r.str(gt[k], q, "target", "", true, RM_NAME_LEN - 1);
                t.remoteGroup = r.str(gt[k], q, "remote_group", "", true, RM_NAME_LEN - 1);
                t.mode = r.choice(gt[k], q, "mode", g.mode, kModes);
                t.syncPeriod = static_cast<std::uint32_t>(r.integer(gt[k], q, "sync_period", 0, 0, 0xFFFFFFFFll));
                g.targets.push_back(t);
            }
            st.rcGroups.push_back(g);
        }
    }
    return st;
}

std::string serializeState(const ArrayState& st)
{
    json root = json::object();
    root["system"] = {{"name", st.systemName}, {"host_name", st.hostName}, {"serial", st.serial},
                      {"model", st.model}, {"id", st.systemId}};
    root["detail_retention_seconds"] = st.detailRetention;
    json users = json::array();
    for (const auto& u : st.users)
        users.push_back({{"name", u.name}, {"role", roleName(u.role)}, {"cim_access", u.cimAccess}});
    root["users"] = users;
    const auto defaults = defaultOperations();
    json ops = json::object();
    for (const auto& op : st.operations) {
        auto d = defaults.find(op.first);
        if (d == defaults.end() || d->second != op.second)
            ops[op.first] = roleName(op.second);
    }
    if (!ops.empty())
        root["cim_operations"] = ops;
    json tasks = json::array();
    for (const auto& t : st.tasks) {
        json j = {{"id", t.id}, {"type", taskTypeName(t.type)}, {"name", t.name}};
        if (!t.user.empty())
            j["user"] = t.user;
        j["priority"] = nameOf(t.priority, kPriorities);
        j["phases"] = *t.phases;
        j["step_max"] = t.stepMax;
        j["start"] = t.start;
        if (t.duration)
            j["duration"] = t.duration;
        else
            j["curr_phase"] = t.currPhase, j["curr_step"] = t.currStep;
        j["state"] = nameOf(t.state, kStates);
        if (t.state != TaskState::Running) {
            j["end"] = t.end;
            j["curr_phase"] = t.currPhase;
            j["curr_step"] = t.currStep;
        }
        if (t.error)
            j["error"] = t.error;
        if (!t.errorText.empty())
            j["error_text"] = t.errorText;
        if (!t.detail.empty())
            j["detail"] = t.detail;
        if (t.flags)
            j["flags"] = t.flags;
        if (t.writtenToPr)
            j["written_to_pr"] = t.writtenToPr;
        if (t.domain != 0xFFFFFFFFu)
            j["domain"] = t.domain;
        if (t.lastUpdate >= 0)
            j["last_update"] = t.lastUpdate;
        tasks.push_back(j);
    }
    root["tasks"] = tasks;
    json vols = json::array();
    for (const auto& v : st.volumes) {
        json j = {{"name", v.name}, {"id", v.id}, {"type", nameOf(v.type, kVolumeTypes)},
                  {"state", nameOf(v.state, kVolumeStates)}, {"block_size", v.blockSize}, {"size_mib", v.sizeMiB}};
        if (!v.wwn.empty())
            j["wwn"] = v.wwn;
        if (!v.cpg.empty())
            j["cpg"] = v.cpg;
        if (!v.copyOf.empty())
            j["copy_of"] = v.copyOf;
        vols.push_back(j);
    }
    root["volumes"] = vols;
    json syncs = json::array();
    for (const auto& s : st.syncs)
        syncs.push_back({{"system", s.systemVolume}, {"synced", s.syncedVolume},
                         {"type", nameOf(s.syncType, kSyncTypes)}, {"state", nameOf(s.syncState, kSyncStates)},
                         {"copy_type", s.copyType}, {"maintained", s.maintained}, {"percent", s.percent},
                         {"when_synced", s.whenSynced}});
    root["synchronizations"] = syncs;
    json rc = {{"enabled", st.rcEnabled}};
    json targets = json::array();
    for (const auto& t : st.rcTargets)
        targets.push_back({{"name", t.name}, {"remote_system", t.remoteSystem}, {"remote_id", t.remoteId},
                           {"link_type", nameOf(t.linkType, kLinkTypes)}});
    rc["targets"] = targets;
    json links = json::array();
    for (const auto& l : st.rcLinks)
        links.push_back({{"target", l.target}, {"local_port", l.localPort}, {"remote_addr", l.remoteAddr}, {"up", l.up}});
    rc["links"] = links;
    json groups = json::array();
    for (const auto& g : st.rcGroups) {
        json gt = json::array();
        for (const auto& t : g.targets)
            gt.push_back({{"target", t.target}, {"remote_group", t.remoteGroup}, {"mode", nameOf(t.mode, kModes)},
                          {"sync_period", t.syncPeriod}});
        groups.push_back({{"name", g.name}, {"role", nameOf(g.role, kGroupRoles)}, {"mode", nameOf(g.mode, kModes)},
                          {"volumes", g.volumes}, {"targets", gt}});
    }
    rc["groups"] = groups;
    root["remote_copy"] = rc;
    return root.dump(2) + "\n";
}

bool taskEnded(const Task& task, std::int64_t now, std::int64_t* endTime)
{
    if (task.state != TaskState::Running) {
        if (endTime)
            *endTime = task.end;
        return true;
    }
    if (task.duration > 0 && now >= task.start + task.duration) {
        if (endTime)
            *endTime = task.start + task.duration;
        return true;
    }
    return false;
}

namespace {

// Counters and last change of a running, time-driven task at `now`.
void progressAt(const Task& task, std::int64_t now, int* phase, int* step, std::int64_t* lastChange)
{
    const int phaseMax = static_cast<int>(task.phases->size());
    const std::int64_t units = static_cast<std::int64_t>(std::max(phaseMax, 1)) * std::max(task.stepMax, 1);
    std::int64_t elapsed = std::min(std::max<std::int64_t>(now - task.start, 0), task.duration);
    std::int64_t done = elapsed * units / task.duration;
    if (done >= units)
        done = units - 1;
    const int perPhase = std::max(task.stepMax, 1);
    *phase = phaseMax ? static_cast<int>(done / perPhase) + 1 : 0;
    *step = task.stepMax ? static_cast<int>(done % perPhase) : 0;
    *lastChange = task.start + (done * task.duration + units - 1) / units;
}

void copyText(char* dst, std::size_t size, const std::string& src)
{
    const std::size_t n = std::min(src.size(), size - 1);
    std::memcpy(dst, src.data(), n);
    dst[n] = '\0';
}

} // namespace

void settleTask(Task& task, std::int64_t now)
{
    if (task.state != TaskState::Running)
        return;
    std::int64_t end = 0;
    if (taskEnded(task, now, &end)) {
        task.state = task.error ? TaskState::Failed : TaskState::Completed;
        task.end = end;
        task.currPhase = static_cast<int>(task.phases->size());
        task.currStep = task.stepMax;
        return;
    }
    if (task.duration > 0) {
        std::int64_t last = 0;
        progressAt(task, now, &task.currPhase, &task.currStep, &last);
        if (task.lastUpdate < 0)
            task.lastUpdate = last;
    }
}

void taskRecord(const Task& task, std::int64_t now, tsk_data_t* out)
{
    std::memset(out, 0, sizeof(*out));
    out->taskid.tid = task.id;
    copyText(out->tsk_name, sizeof(out->tsk_name), task.name);
    out->tsk_type = static_cast<task_e>(task.type);
    const std::vector<std::string>& phases = *task.phases;
    for (std::size_t i = 0; i < phases.size() && i < TSK_MAX_PHASES; ++i)
        copyText(out->tsk_phase_names[i], TSK_PHASE_NAME_LEN, phases[i]);
    out->tsk_written_to_pr = task.writtenToPr;
    out->tsk_phase_max = static_cast<int>(phases.size());
    out->tsk_step_max = task.stepMax;
    out->tsk_flags = task.flags;
    out->tsk_start_time = task.start;
    out->tsk_pri = static_cast<tsk_pri_e>(task.priority);
    copyText(out->tsk_user, sizeof(out->tsk_user), task.user);

    std::int64_t end = 0;
    if (taskEnded(task, now, &end)) {
        out->tsk_done = 1;
        out->tsk_cancelled = task.state == TaskState::Cancelled ? 1 : 0;
        out->tsk_error = task.error;
        copyText(out->tsk_errorstr, sizeof(out->tsk_errorstr), task.errorText);
        out->tsk_end_time = end;
        if (task.state == TaskState::Running) {
            out->tsk_curr_phase = out->tsk_phase_max;
            out->tsk_curr_step = task.stepMax;
        } else {
            out->tsk_curr_phase = task.currPhase;
            out->tsk_curr_step = task.currStep;
        }
        out->tsk_lastupdate_time = task.lastUpdate >= 0 && task.state != TaskState::Running ? std::max(task.lastUpdate, end) : end;
        return;
    }
    if (task.duration > 0) {
        std::int64_t last = task.start;
        progressAt(task, now, &out->tsk_curr_phase, &out->tsk_curr_step, &last);
        out->tsk_lastupdate_time = std::max(last, task.lastUpdate);
    } else {
        out->tsk_curr_phase = task.currPhase;
        out->tsk_curr_step = task.currStep;
        out->tsk_lastupdate_time = task.lastUpdate >= 0 ? task.lastUpdate : task.start;
    }
}

} // namespace velksim
