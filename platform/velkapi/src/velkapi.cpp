// The C entry points of libvelkapi.
#include "velkapi.h"

#include "AccessSemaphore.h"
#include "Logger.h"
#include "Simulator.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using velksim::AccessSemaphore;
using velksim::Logger;
using velksim::Simulator;

namespace {

// An injected failure of the named call, as a status record.
bool injected(const char* call, api_Status_t* status)
{
    int code = 0;
    std::string text;
    if (!Simulator::instance().takeFault(call, &code, &text))
        return false;
    api_initStatus(status);
    errinfo_set_str(status, code, text.c_str());
    return true;
}

// An injected failure of a call that answers an int.
bool injectedCode(const char* call, int* code)
{
    std::string text;
    return Simulator::instance().takeFault(call, code, &text);
}

} // namespace

extern "C" {

void api_initStatus(api_Status_t* status)
{
    if (status)
        std::memset(status, 0, sizeof *status);
}

void errinfo_set_str(api_Status_t* status, int code, const char* text)
{
    if (!status)
        return;
    status->code = code;
    std::memset(status->parms, 0, sizeof status->parms);
    if (text)
        std::strncpy(status->parms, text, sizeof status->parms - 1);
}

int api_getErrorTextNoNL(char* buf, int size, const api_Status_t* status)
{
    if (!buf || size <= 0)
        return 0;
    std::string text;
    if (!status) {
        text = "Error: no status";
    } else {
        text.assign(status->parms, strnlen(status->parms, sizeof status->parms));
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
            text.pop_back();
        if (text.empty())
            text = status->code == API_SUCCESS ? "Success" : "Error " + std::to_string(status->code);
    }
    const std::size_t n = std::min(text.size(), static_cast<std::size_t>(size - 1));
    std::memcpy(buf, text.data(), n);
    buf[n] = '\0';
    return static_cast<int>(n);
}

int api_velkOpenForCimserver(const char* userName)
{
    int code = 0;
    if (injectedCode("api_velkOpenForCimserver", &code))
        return code;
    return Simulator::instance().openForCimserver(userName);
}

int api_authorizeCIMUser(const char* userName, const char* ipAddress, const char* operation)
{
    int code = 0;
    if (injectedCode("api_authorizeCIMUser", &code))
        return code;
    return Simulator::instance().authorize(userName, ipAddress, operation);
}

int cim_sem_wait(void)
{
    return AccessSemaphore::instance().wait();
}

int cim_sem_post(void)
{
    return AccessSemaphore::instance().post();
}

namespace {

// Formats and writes one line that the log wants. Apart from log_message so
// that a call whose line goes nowhere returns before any of this is set up.
__attribute__((noinline)) void writeFormatted(int level, const char* format, va_list ap)
{
    va_list again;
    va_copy(again, ap);
    char small[1024];
    const int n = std::vsnprintf(small, sizeof small, format, ap);
    if (n >= 0 && static_cast<std::size_t>(n) < sizeof small) {
        va_end(again);
        Logger::instance().write(level, std::string(small, static_cast<std::size_t>(n)));
        return;
    }
    if (n < 0) {
        va_end(again);
        return;
    }
    std::vector<char> big(static_cast<std::size_t>(n) + 1);
    std::vsnprintf(big.data(), big.size(), format, again);
    va_end(again);
    Logger::instance().write(level, std::string(big.data(), static_cast<std::size_t>(n)));
}

} // namespace

void log_message(int level, const char* format, ...)
{
    if (!format || !Logger::instance().wants(level))
        return;
    va_list ap;
    va_start(ap, format);
    writeFormatted(level, format, ap);
    va_end(ap);
}

api_Status_t api_getTasks(velk_s32 maxAgeSecs, int readMode, int* count, tsk_data_t** tasks)
{
    api_Status_t st;
    if (injected("api_getTasks", &st)) {
        if (count)
            *count = 0;
        if (tasks)
            *tasks = nullptr;
        return st;
    }
    return Simulator::instance().getTasks(maxAgeSecs, readMode, count, tasks);
}

api_Status_t api_getTaskDetail(velk_u32 taskID, tsk_data_t* task, char** detailText)
{
    api_Status_t st;
    if (injected("api_getTaskDetail", &st)) {
        if (detailText)
            *detailText = nullptr;
        return st;
    }
    return Simulator::instance().getTaskDetail(taskID, task, detailText);
}

api_Status_t api_cancelTask(api_evtparam_t* eventp, velk_u32 taskID)
{
    api_Status_t st;
    if (injected("api_cancelTask", &st))
        return st;
    return Simulator::instance().cancelTask(eventp, taskID);
}

api_Status_t api_removeTasks(api_evtparam_t* eventp, const velk_u32* taskIDs, int count, velk_u32 domainID,
                             velk_u32 flags)
{
    api_Status_t st;
    if (injected("api_removeTasks", &st))
        return st;
    return Simulator::instance().removeTasks(eventp, taskIDs, count, domainID, flags);
}

api_Status_t api_getRCopy(int queryType, api_rcopy_t* rcopy)
{
    api_Status_t st;
    if (injected("api_getRCopy", &st))
        return st;
    return Simulator::instance().getRCopy(queryType, rcopy);
}

void api_freeRCopy(api_rcopy_t* rcopy)
{
    if (!rcopy)
        return;
    std::free(rcopy->targets);
    std::free(rcopy->links);
    rm_group_wrapper_t* w = rcopy->groups;
    while (w) {
        rm_group_wrapper_t* next = w->next;
        std::free(w->gtargets);
        std::free(w);
        w = next;
    }
    rcopy->targets = nullptr;
    rcopy->target_count = 0;
    rcopy->links = nullptr;
    rcopy->link_count = 0;
    rcopy->groups = nullptr;
}

api_Status_t api_getSysInfo(api_sysinfo_t* info)
{
    api_Status_t st;
    if (injected("api_getSysInfo", &st))
        return st;
    return Simulator::instance().getSysInfo(info);
}

api_Status_t api_getVolumes(int* count, api_vv_t** vvs)
{
    api_Status_t st;
    if (injected("api_getVolumes", &st)) {
        if (count)
            *count = 0;
        if (vvs)
            *vvs = nullptr;
        return st;
    }
    return Simulator::instance().getVolumes(count, vvs);
}

api_Status_t api_getVolume(const char* name, api_vv_t* vv)
{
    api_Status_t st;
    if (injected("api_getVolume", &st))
        return st;
    return Simulator::instance().getVolume(name, vv);
}

api_Status_t api_getVolumeSyncs(int* count, api_vvsync_t** syncs)
{
    api_Status_t st;
    if (injected("api_getVolumeSyncs", &st)) {
        if (count)
            *count = 0;
        if (syncs)
            *syncs = nullptr;
        return st;
    }
    return Simulator::instance().getVolumeSyncs(count, syncs);
}

} // extern "C"
