#include "Simulator.h"

#include "AccessSemaphore.h"
#include "Logger.h"
#include "RotatingLog.h"
#include "Settings.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace velksim {

namespace {

api_Status_t okStatus()
{
    api_Status_t s;
    api_initStatus(&s);
    return s;
}

api_Status_t errStatus(int code, const std::string& text)
{
    api_Status_t s;
    api_initStatus(&s);
    errinfo_set_str(&s, code, text.c_str());
    return s;
}

std::string field(const char* p, std::size_t n)
{
    return std::string(p, strnlen(p, n));
}

void copyText(char* dst, std::size_t size, const std::string& src)
{
    const std::size_t n = std::min(src.size(), size - 1);
    std::memcpy(dst, src.data(), n);
    dst[n] = '\0';
}

std::string lower(const char* s)
{
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return out;
}

std::string isoTime(std::int64_t t)
{
    const std::time_t secs = static_cast<std::time_t>(t);
    std::tm tm{};
    gmtime_r(&secs, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &tm);
    return buf;
}

bool readFile(const std::string& path, std::string* text, std::string* reason)
{
    std::FILE* fp = std::fopen(path.c_str(), "rb");
    if (!fp) {
        *reason = std::strerror(errno);
        return false;
    }
    text->clear();
    char buf[8192];
    std::size_t n = 0;
    while ((n = std::fread(buf, 1, sizeof buf, fp)) > 0)
        text->append(buf, n);
    const bool bad = std::ferror(fp) != 0;
    const int err = errno;
    std::fclose(fp);
    if (bad) {
        *reason = std::strerror(err);
        return false;
    }
    return true;
}

} // namespace

Simulator& Simulator::instance()
{
    static Simulator sim;
    return sim;
}

Simulator::Simulator()
{
    const Settings s = settingsFromEnvironment();
    envStateFile_ = s.stateFile;
    eventLog_ = s.eventLog;
    eventLogMaxBytes_ = static_cast<std::uint64_t>(s.eventLogMaxBytes);
    eventLogKeep_ = static_cast<unsigned>(s.eventLogKeep);
}

std::int64_t Simulator::nowLocked() const
{
    return fixedClock_ ? clock_ : static_cast<std::int64_t>(std::time(nullptr));
}

void Simulator::install(ArrayState st, const std::string& path)
{
    state_ = std::move(st);
    path_ = path;
    loaded_ = true;
    loadError_.clear();
    removeStaleTemporaries();
}

void Simulator::removeStaleTemporaries() const
{
    if (path_.empty())
        return;
    const std::string::size_type slash = path_.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : path_.substr(0, slash + 1);
    const std::string prefix = (slash == std::string::npos ? path_ : path_.substr(slash + 1)) + ".tmp.";
    DIR* d = ::opendir(dir.c_str());
    if (!d)
        return;
    while (const dirent* e = ::readdir(d)) {
        const std::string name = e->d_name;
        if (name.compare(0, prefix.size(), prefix) != 0)
            continue;
        // <state>.tmp.<pid>: another live process may be writing its own.
        char* end = nullptr;
        const long pid = std::strtol(name.c_str() + prefix.size(), &end, 10);
        if (*end || end == name.c_str() + prefix.size() || pid <= 0)
            continue;
        if (pid != ::getpid() && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH))
            continue;
        const std::string full = (slash == std::string::npos ? std::string() : dir) + name;
        if (::unlink(full.c_str()) == 0)
            Logger::instance().write(3, "velkapi: removed the stale temporary state file " + full + "\n");
    }
    ::closedir(d);
}

void Simulator::loadFile(const std::string& path)
{
    std::string text, reason;
    if (!readFile(path, &text, &reason))
        throw StateError(path + ": cannot read: " + reason);
    const std::int64_t t = now();
    ArrayState st = parseState(text, path, t);
    std::lock_guard<std::mutex> lock(mutex_);
    install(std::move(st), path);
}

void Simulator::loadJson(const std::string& text, const std::string& writeBackPath)
{
    const std::int64_t t = now();
    ArrayState st = parseState(text, writeBackPath.empty() ? std::string("<string>") : writeBackPath, t);
    std::lock_guard<std::mutex> lock(mutex_);
    install(std::move(st), writeBackPath);
    std::string reason;
    if (!writeBack(&reason))
        throw StateError(writeBackPath + ": cannot write: " + reason);
}

bool Simulator::ensureLoaded(api_Status_t* status)
{
    if (loaded_)
        return true;
    std::string text, reason, error;
    if (!readFile(envStateFile_, &text, &reason)) {
        error = envStateFile_ + ": cannot read: " + reason;
    } else {
        try {
            install(parseState(text, envStateFile_, nowLocked()), envStateFile_);
            return true;
        } catch (const StateError& e) {
            error = e.what();
        }
    }
    if (error != loadError_) {
        loadError_ = error;
        Logger::instance().write(2, "velkapi: the array state could not be loaded: " + error + "\n");
    }
    *status = errStatus(API_ERR_NO_STATE, "The array state could not be loaded: " + error);
    return false;
}

void Simulator::reset()
{
    const Settings s = settingsFromEnvironment();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        loaded_ = false;
        loadError_.clear();
        state_ = ArrayState();
        path_.clear();
        envStateFile_ = s.stateFile;
        eventLog_ = s.eventLog;
        eventLogMaxBytes_ = static_cast<std::uint64_t>(s.eventLogMaxBytes);
        eventLogKeep_ = static_cast<unsigned>(s.eventLogKeep);
        fixedClock_ = false;
        clock_ = 0;
        faults_.clear();
        capture_ = false;
        events_.clear();
        eventLogFailed_.clear();
    }
    Logger::instance().reset();
    AccessSemaphore::instance().reset();
}

std::string Simulator::stateJson()
{
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        throw StateError(loadError_);
    return serializeState(state_);
}

std::string Simulator::statePath()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return path_;
}

bool Simulator::writeBack(std::string* reason)
{
    std::string tmp;
    return stageState(&tmp, reason) && commitState(tmp, reason);
}

bool Simulator::stageState(std::string* tmp, std::string* reason)
{
    tmp->clear();
    if (path_.empty())
        return true;
    const std::string text = serializeState(state_);
    const std::string name = path_ + ".tmp." + std::to_string(::getpid());
    const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        *reason = name + ": " + std::strerror(errno);
        return false;
    }
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            *reason = name + ": " + std::strerror(errno);
            ::close(fd);
            ::unlink(name.c_str());
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    if (::fsync(fd) != 0 || ::close(fd) != 0) {
        *reason = name + ": " + std::strerror(errno);
        ::unlink(name.c_str());
        return false;
    }
    *tmp = name;
    return true;
}

bool Simulator::commitState(const std::string& tmp, std::string* reason)
{
    if (tmp.empty())
        return true;
    if (::rename(tmp.c_str(), path_.c_str()) != 0) {
        *reason = path_ + ": " + std::strerror(errno);
        ::unlink(tmp.c_str());
        return false;
    }
    return true;
}

api_Status_t Simulator::commitChange(api_evtparam_t* eventp, int cbCode, const char* action,
                                     const std::vector<std::uint32_t>& ids, const std::function<void()>& undo)
{
    // The event line is written and synced after the new state is staged
    // and before the rename makes it the array's state. Whenever the process
    // dies, the state file holds either the old state, or the new one with
    // its line already in the event log: a change never lacks its line.
    // Killed between the two, the log holds a line for a change that did not
    // happen, which an audit can tell from the state; a missing line it could
    // not tell at all.
    std::string tmp, reason;
    if (stageState(&tmp, &reason)) {
        const api_Status_t done = okStatus();
        recordEvent(eventp, cbCode, action, ids, done);
        if (commitState(tmp, &reason))
            return done;
        // The line just written announced the change: a second line says
        // that it did not happen after all.
    }
    undo();
    const api_Status_t st = errStatus(API_ERR_IO, "The array state could not be written: " + reason);
    Logger::instance().write(2, "velkapi: " + field(st.parms, sizeof st.parms) + "\n");
    recordEvent(eventp, cbCode, action, ids, st);
    return st;
}

void Simulator::setClock(std::int64_t t)
{
    std::lock_guard<std::mutex> lock(mutex_);
    fixedClock_ = true;
    clock_ = t;
}

void Simulator::advanceClock(std::int64_t seconds)
{
    std::lock_guard<std::mutex> lock(mutex_);
    clock_ = nowLocked() + seconds;
    fixedClock_ = true;
}

void Simulator::useRealClock()
{
    std::lock_guard<std::mutex> lock(mutex_);
    fixedClock_ = false;
}

std::int64_t Simulator::now()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return nowLocked();
}

void Simulator::injectFault(const std::string& call, int code, const std::string& text, int times)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (times == 0)
        faults_.erase(call);
    else
        faults_[call] = Fault{code, text, times};
}

void Simulator::clearFaults()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        faults_.clear();
    }
    AccessSemaphore::instance().injectTimeouts(0);
}

bool Simulator::takeFault(const char* call, int* code, std::string* text)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = faults_.find(call);
    if (it == faults_.end())
        return false;
    *code = it->second.code;
    *text = it->second.text;
    if (it->second.times > 0 && --it->second.times == 0)
        faults_.erase(it);
    return true;
}

void Simulator::setEventLog(const std::string& path)
{
    std::lock_guard<std::mutex> lock(mutex_);
    eventLog_ = path;
}

std::string Simulator::eventLog()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return eventLog_;
}

void Simulator::setCapture(bool on)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        capture_ = on;
    }
    Logger::instance().setCapture(on);
}

std::vector<EventRecord> Simulator::events(bool clear)
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<EventRecord> out = events_;
    if (clear)
        events_.clear();
    return out;
}

void Simulator::recordEvent(api_evtparam_t* eventp, int cbCode, const char* action,
                            const std::vector<std::uint32_t>& ids, const api_Status_t& status)
{
    EventRecord ev;
    ev.time = nowLocked();
    ev.cb_code = cbCode;
    if (eventp) {
        eventp->cb_code = cbCode;
        ev.user = field(eventp->user, sizeof eventp->user);
        ev.addr = field(eventp->addr, sizeof eventp->addr);
        ev.method = field(eventp->method, sizeof eventp->method);
        ev.inst_op = field(eventp->inst_op, sizeof eventp->inst_op);
        ev.inst_param = field(eventp->inst_param, sizeof eventp->inst_param);
    }
    ev.action = action;
    ev.taskIds = ids;
    ev.code = status.code;
    if (status.code != API_SUCCESS)
        ev.result = field(status.parms, sizeof status.parms);
    const nlohmann::json j = {{"time", isoTime(ev.time)}, {"cb_code", ev.cb_code}, {"user", ev.user},
                              {"addr", ev.addr}, {"method", ev.method}, {"inst_op", ev.inst_op},
                              {"inst_param", ev.inst_param}, {"action", ev.action}, {"tasks", ev.taskIds},
                              {"code", ev.code}, {"result", ev.result}};
    ev.line = j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    if (!eventLog_.empty()) {
        const bool ok = RotatingLog(eventLog_, eventLogMaxBytes_, eventLogKeep_).append(ev.line, true);
        // Reported once per file, not on every event.
        if (!ok && eventLogFailed_ != eventLog_) {
            eventLogFailed_ = eventLog_;
            Logger::instance().write(2, "velkapi: cannot append to the event log " + eventLog_ + ": "
                                            + std::strerror(errno) + "\n");
        } else if (ok && eventLogFailed_ == eventLog_) {
            eventLogFailed_.clear();
        }
    }
    if (capture_)
        events_.push_back(std::move(ev));
}

Task* Simulator::findTask(std::uint32_t id)
{
    auto it = std::lower_bound(state_.tasks.begin(), state_.tasks.end(), id,
                               [](const Task& t, std::uint32_t v) { return t.id < v; });
    return it != state_.tasks.end() && it->id == id ? &*it : nullptr;
}

int Simulator::openForCimserver(const char* user)
{
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return API_ERR_NO_STATE;
    if (!user)
        return 1;
    for (const auto& u : state_.users)
        if (u.name == user)
            return u.cimAccess ? 0 : 2;
    return 1;
}

int Simulator::authorize(const char* user, const char* ip, const char* operation)
{
    (void)ip;
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return API_AUTH_NO_USER;
    if (!operation)
        return API_AUTH_NO_RULE;
    auto rule = state_.operations.find(lower(operation));
    if (rule == state_.operations.end())
        return API_AUTH_NO_RULE;
    if (!user)
        return API_AUTH_NO_USER;
    for (const auto& u : state_.users) {
        if (u.name != user)
            continue;
        if (!u.cimAccess)
            return API_AUTH_NO_USER;
        return static_cast<int>(u.role) >= static_cast<int>(rule->second) ? API_AUTH_ALLOWED
                                                                            : API_AUTH_NO_PRIVILEGE;
    }
    return API_AUTH_NO_USER;
}

namespace {

// The list of all tasks is megabytes: the next record's memory is asked for
// while this one is written, so that writing it does not wait for it.
inline void prefetchRecord(tsk_data_t* list, int i, int count)
{
#if defined(__GNUC__)
    if (i < count) {
        const char* p = reinterpret_cast<const char*>(&list[i]);
        for (std::size_t at = 0; at < sizeof(tsk_data_t); at += 64)
            __builtin_prefetch(p + at, 1);
    }
#else
    (void)list;
    (void)i;
    (void)count;
#endif
}

} // namespace

api_Status_t Simulator::getTasks(std::int32_t maxAge, int mode, int* count, tsk_data_t** tasks)
{
    if (!count || !tasks)
        return errStatus(API_ERR_INVALID_ARG, "api_getTasks: null count or task list pointer");
    *count = 0;
    *tasks = nullptr;
    if (mode < API_TASK_READ_ACTIVE || mode > API_TASK_READ_ALL)
        return errStatus(API_ERR_INVALID_ARG, "api_getTasks: invalid read mode " + std::to_string(mode));
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    const std::int64_t t = nowLocked();
    if (state_.tasks.empty())
        return okStatus();
    // Records are written straight into the list the caller gets: room for
    // every task, of which those the mode keeps are filled.
    tsk_data_t* out = static_cast<tsk_data_t*>(std::malloc(state_.tasks.size() * sizeof(tsk_data_t)));
    if (!out)
        return errStatus(API_ERR_FAILED, "api_getTasks: out of memory");
    int kept = 0;
    const int total = static_cast<int>(state_.tasks.size());
    for (const auto& task : state_.tasks) {
        tsk_data_t& rec = out[kept];
        prefetchRecord(out, kept + 1, total);
        taskRecord(task, t, &rec);
        if (rec.tsk_done && maxAge > 0 && rec.tsk_end_time < t - maxAge)
            continue;
        const bool failed = rec.tsk_done && (rec.tsk_cancelled || rec.tsk_error != 0);
        const bool keep = mode == API_TASK_READ_ALL || (mode == API_TASK_READ_ACTIVE && !rec.tsk_done)
                          || (mode == API_TASK_READ_COMPLETE && rec.tsk_done && !failed)
                          || (mode == API_TASK_READ_FAIL && failed);
        if (keep)
            kept++;
    }
    if (kept == 0) {
        std::free(out);
        out = nullptr;
    }
    *tasks = out;
    *count = kept;
    return okStatus();
}

api_Status_t Simulator::getTaskDetail(std::uint32_t id, tsk_data_t* task, char** detail)
{
    if (detail)
        *detail = nullptr;
    if (!task)
        return errStatus(API_ERR_INVALID_ARG, "api_getTaskDetail: null task record pointer");
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    const std::int64_t t = nowLocked();
    const Task* found = findTask(id);
    std::int64_t end = 0;
    if (found && state_.detailRetention > 0 && taskEnded(*found, t, &end) && end < t - state_.detailRetention)
        found = nullptr;
    if (!found)
        return errStatus(API_ERR_NO_SUCH_TASK, "Task " + std::to_string(id) + " does not exist");
    taskRecord(*found, t, task);
    if (detail) {
        std::string text = found->detail;
        if (text.empty()) {
            text = std::string(taskTypeName(found->type)) + " task " + std::to_string(found->id) + " \""
                   + found->name + "\"";
            if (!found->user.empty())
                text += " started by " + found->user;
        }
        *detail = strdup(text.c_str());
    }
    return okStatus();
}

api_Status_t Simulator::cancelTask(api_evtparam_t* eventp, std::uint32_t id)
{
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    const std::int64_t t = nowLocked();
    Task* task = findTask(id);
    if (!task) {
        st = errStatus(API_ERR_NO_SUCH_TASK, "Task " + std::to_string(id) + " does not exist");
    } else if (taskEnded(*task, t, nullptr)) {
        st = errStatus(API_ERR_TASK_ENDED, "Task " + std::to_string(id) + " has already ended and cannot be cancelled");
    } else {
        const Task before = *task;
        settleTask(*task, t);
        task->state = TaskState::Cancelled;
        task->end = t;
        task->lastUpdate = t;
        task->error = 0;
        task->errorText.clear();
        return commitChange(eventp, API_EVT_TASK_CANCEL, "cancel", {id}, [&] { *task = before; });
    }
    recordEvent(eventp, API_EVT_TASK_CANCEL, "cancel", {id}, st);
    return st;
}

api_Status_t Simulator::removeTasks(api_evtparam_t* eventp, const std::uint32_t* ids, int count,
                                    std::uint32_t domain, std::uint32_t flags)
{
    if (count <= 0 || !ids)
        return errStatus(API_ERR_INVALID_ARG, "api_removeTasks: no task ids given");
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    const std::vector<std::uint32_t> list(ids, ids + count);
    const std::int64_t t = nowLocked();
    st = okStatus();
    if (flags != API_REMOVE_FLAGS_NONE) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "api_removeTasks: unsupported flags 0x%x", flags);
        st = errStatus(API_ERR_INVALID_ARG, buf);
    }
    for (std::uint32_t id : list) {
        if (st.code != API_SUCCESS)
            break;
        const Task* task = findTask(id);
        if (!task)
            st = errStatus(API_ERR_NO_SUCH_TASK, "Task " + std::to_string(id) + " does not exist");
        else if (!taskEnded(*task, t, nullptr))
            st = errStatus(API_ERR_TASK_ACTIVE, "Task " + std::to_string(id) + " is still active and cannot be removed");
        else if (domain != API_DOMAIN_ANY && task->domain != domain)
            st = errStatus(API_ERR_NOT_IN_DOMAIN, "Task " + std::to_string(id) + " is not in domain "
                                                      + std::to_string(domain));
    }
    if (st.code == API_SUCCESS) {
        const std::vector<Task> before = state_.tasks;
        state_.tasks.erase(std::remove_if(state_.tasks.begin(), state_.tasks.end(),
                                          [&](const Task& task) {
                                              return std::find(list.begin(), list.end(), task.id) != list.end();
                                          }),
                           state_.tasks.end());
        return commitChange(eventp, API_EVT_TASK_REMOVE, "remove", list,
                            [&] { state_.tasks = before; });
    }
    recordEvent(eventp, API_EVT_TASK_REMOVE, "remove", list, st);
    return st;
}

api_Status_t Simulator::getRCopy(int queryType, api_rcopy_t* rc)
{
    if (!rc)
        return errStatus(API_ERR_INVALID_ARG, "api_getRCopy: null configuration pointer");
    std::memset(rc, 0, sizeof *rc);
    if (queryType < API_RCOPY_QUERY_TYPE_ALL || queryType > API_RCOPY_QUERY_TYPE_GROUP)
        return errStatus(API_ERR_INVALID_ARG, "api_getRCopy: invalid query type " + std::to_string(queryType));
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    copyText(rc->sys.rm_sysname, sizeof rc->sys.rm_sysname, state_.systemName);
    rc->sys.rm_sysid = state_.systemId;
    rc->sys.rm_enabled = state_.rcEnabled ? 1 : 0;

    const bool wantTargets = queryType != API_RCOPY_QUERY_TYPE_LINK;
    const bool wantLinks = queryType == API_RCOPY_QUERY_TYPE_ALL || queryType == API_RCOPY_QUERY_TYPE_LINK;
    const bool wantGroups = queryType == API_RCOPY_QUERY_TYPE_ALL || queryType == API_RCOPY_QUERY_TYPE_GROUP;
    if (wantTargets && !state_.rcTargets.empty()) {
        rc->targets = static_cast<rm_target_t*>(std::calloc(state_.rcTargets.size(), sizeof(rm_target_t)));
        for (std::size_t i = 0; i < state_.rcTargets.size(); ++i) {
            const RcTarget& src = state_.rcTargets[i];
            rm_target_t& dst = rc->targets[i];
            copyText(dst.rm_hdr.rm_name, sizeof dst.rm_hdr.rm_name, src.name);
            dst.rm_hdr.rm_id = static_cast<velk_u32>(i + 1);
            dst.rm_hdr.rm_state = 1;
            copyText(dst.rm_remote_sysname, sizeof dst.rm_remote_sysname, src.remoteSystem);
            dst.rm_remote_sysid = src.remoteId;
            dst.rm_link_type = src.linkType;
            dst.rm_link_count = static_cast<int>(std::count_if(
                state_.rcLinks.begin(), state_.rcLinks.end(), [&](const RcLink& l) { return l.target == src.name; }));
        }
        rc->target_count = static_cast<int>(state_.rcTargets.size());
    }
    if (wantLinks && !state_.rcLinks.empty()) {
        rc->links = static_cast<rm_link_t*>(std::calloc(state_.rcLinks.size(), sizeof(rm_link_t)));
        for (std::size_t i = 0; i < state_.rcLinks.size(); ++i) {
            const RcLink& src = state_.rcLinks[i];
            rm_link_t& dst = rc->links[i];
            copyText(dst.rm_target, sizeof dst.rm_target, src.target);
            copyText(dst.rm_local_port, sizeof dst.rm_local_port, src.localPort);
            copyText(dst.rm_remote_addr, sizeof dst.rm_remote_addr, src.remoteAddr);
            dst.rm_link_state = src.up ? 1 : 0;
        }
        rc->link_count = static_cast<int>(state_.rcLinks.size());
    }
    if (wantGroups) {
        rm_group_wrapper_t** tail = &rc->groups;
        velk_u32 gid = 0;
        for (const RcGroup& g : state_.rcGroups) {
            auto* w = static_cast<rm_group_wrapper_t*>(std::calloc(1, sizeof(rm_group_wrapper_t)));
            copyText(w->group.rm_hdr.rm_name, sizeof w->group.rm_hdr.rm_name, g.name);
            w->group.rm_hdr.rm_id = ++gid;
            w->group.rm_hdr.rm_state = 1;
            w->group.rm_role = g.role;
            w->group.rm_mode = g.mode;
            w->group.rm_vv_count = static_cast<velk_u32>(g.volumes.size());
            if (!g.targets.empty()) {
                w->gtargets = static_cast<rm_group_target_t*>(std::calloc(g.targets.size(), sizeof(rm_group_target_t)));
                for (std::size_t k = 0; k < g.targets.size(); ++k) {
                    rm_group_target_t& d = w->gtargets[k];
                    copyText(d.rm_target, sizeof d.rm_target, g.targets[k].target);
                    copyText(d.rm_remote_group, sizeof d.rm_remote_group, g.targets[k].remoteGroup);
                    d.rm_mode = g.targets[k].mode;
                    d.rm_sync_period = g.targets[k].syncPeriod;
                    d.rm_state = 1;
                }
                w->gtarget_count = static_cast<int>(g.targets.size());
            }
            *tail = w;
            tail = &w->next;
        }
    }
    return okStatus();
}

api_Status_t Simulator::getSysInfo(api_sysinfo_t* info)
{
    if (!info)
        return errStatus(API_ERR_INVALID_ARG, "api_getSysInfo: null pointer");
    std::memset(info, 0, sizeof *info);
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    copyText(info->sys_name, sizeof info->sys_name, state_.systemName);
    copyText(info->host_name, sizeof info->host_name, state_.hostName);
    copyText(info->serial, sizeof info->serial, state_.serial);
    copyText(info->model, sizeof info->model, state_.model);
    info->sys_id = state_.systemId;
    return okStatus();
}

namespace {

void volumeRecord(const Volume& v, api_vv_t* out)
{
    std::memset(out, 0, sizeof *out);
    out->vv_id = v.id;
    copyText(out->vv_name, sizeof out->vv_name, v.name);
    copyText(out->vv_wwn, sizeof out->vv_wwn, v.wwn);
    out->vv_type = v.type;
    out->vv_state = v.state;
    out->vv_block_size = v.blockSize;
    out->vv_size_mib = v.sizeMiB;
    copyText(out->vv_cpg, sizeof out->vv_cpg, v.cpg);
    copyText(out->vv_copy_of, sizeof out->vv_copy_of, v.copyOf);
}

} // namespace

api_Status_t Simulator::getVolumes(int* count, api_vv_t** vvs)
{
    if (!count || !vvs)
        return errStatus(API_ERR_INVALID_ARG, "api_getVolumes: null pointer");
    *count = 0;
    *vvs = nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    if (!state_.volumes.empty()) {
        *vvs = static_cast<api_vv_t*>(std::calloc(state_.volumes.size(), sizeof(api_vv_t)));
        for (std::size_t i = 0; i < state_.volumes.size(); ++i)
            volumeRecord(state_.volumes[i], &(*vvs)[i]);
    }
    *count = static_cast<int>(state_.volumes.size());
    return okStatus();
}

api_Status_t Simulator::getVolume(const char* name, api_vv_t* vv)
{
    if (!name || !vv)
        return errStatus(API_ERR_INVALID_ARG, "api_getVolume: null pointer");
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    for (const auto& v : state_.volumes) {
        if (v.name == name) {
            volumeRecord(v, vv);
            return okStatus();
        }
    }
    return errStatus(API_ERR_NO_SUCH_OBJECT, std::string("Volume ") + name + " does not exist");
}

api_Status_t Simulator::getVolumeSyncs(int* count, api_vvsync_t** syncs)
{
    if (!count || !syncs)
        return errStatus(API_ERR_INVALID_ARG, "api_getVolumeSyncs: null pointer");
    *count = 0;
    *syncs = nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    api_Status_t st;
    if (!ensureLoaded(&st))
        return st;
    if (!state_.syncs.empty()) {
        *syncs = static_cast<api_vvsync_t*>(std::calloc(state_.syncs.size(), sizeof(api_vvsync_t)));
        for (std::size_t i = 0; i < state_.syncs.size(); ++i) {
            const Synchronization& s = state_.syncs[i];
            api_vvsync_t& d = (*syncs)[i];
            copyText(d.system_vv, sizeof d.system_vv, s.systemVolume);
            copyText(d.synced_vv, sizeof d.synced_vv, s.syncedVolume);
            d.sync_type = s.syncType;
            d.sync_state = s.syncState;
            d.copy_type = s.copyType;
            d.sync_maintained = s.maintained ? 1 : 0;
            d.percent_synced = s.percent;
            d.when_synced = s.whenSynced;
        }
    }
    *count = static_cast<int>(state_.syncs.size());
    return okStatus();
}

} // namespace velksim
