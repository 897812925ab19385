#include "VELK_JobIndicationProvider.h"
#include "VELK_ArrayReader.h"
#include "VELK_JobIndicationBuilder.h"
#include "VELK_ProviderSupport.h"

#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

PEGASUS_NAMESPACE_BEGIN

namespace
{

const char* const JOB_CLASS = "VELK_ConcreteJob";

std::string taskSignature(const tsk_data_t& t)
{
    return std::to_string(t.tsk_done) + "/" + std::to_string(t.tsk_cancelled) + "/" +
        std::to_string(t.tsk_error) + "/" + std::to_string(t.tsk_curr_phase) + "/" +
        std::to_string(t.tsk_phase_max) + "/" + std::to_string(t.tsk_curr_step) + "/" +
        std::to_string(t.tsk_step_max) + "/" + std::to_string(t.tsk_end_time) + "/" +
        std::to_string(t.tsk_lastupdate_time);
}

// The task id that ends a job's InstanceID ("<system>:task_id:<id>"), or
// false.
Boolean taskIdOf(const CIMObjectPath& path, Uint32& id)
{
    std::string text = (const char*)keyValue(path, "InstanceID").getCString();
    size_t colon = text.rfind(':');
    std::string digits = colon == std::string::npos ? text : text.substr(colon + 1);
    if (digits.empty() || digits.size() > 10 ||
        digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    unsigned long long v = std::strtoull(digits.c_str(), 0, 10);
    if (v > 0xFFFFFFFFull)
        return false;
    id = static_cast<Uint32>(v);
    return true;
}

long intervalFromEnvironment()
{
    const char* text = std::getenv("VELK_INDICATION_POLL_MS");
    long ms = text ? std::strtol(text, 0, 10) : 0;
    return ms > 0 ? ms : 500;
}

} // namespace

VELK_JobIndicationProvider::VELK_JobIndicationProvider()
    : _intervalMs(500), _handler(0), _stopping(false)
{
}

VELK_JobIndicationProvider::~VELK_JobIndicationProvider()
{
}

void VELK_JobIndicationProvider::initialize(CIMOMHandle& cimom)
{
    _cimom = cimom;
    const char* user = std::getenv("VELK_INDICATION_USER");
    _user = String(user && *user ? user : "root");
    _intervalMs = intervalFromEnvironment();
}

void VELK_JobIndicationProvider::terminate()
{
    disableIndications();
    delete this;
}

void VELK_JobIndicationProvider::enableIndications(IndicationResponseHandler& handler)
{
    disableIndications();
    std::lock_guard<std::mutex> lock(_mutex);
    _handler = &handler;
    _stopping = false;
    _tasks.clear();
    _thread = std::thread([this] { run(); });
}

void VELK_JobIndicationProvider::disableIndications()
{
    {
        std::lock_guard<std::mutex> lock(_mutex);
        _stopping = true;
    }
    _wake.notify_all();
    if (_thread.joinable())
        _thread.join();
    std::lock_guard<std::mutex> lock(_mutex);
    _handler = 0;
}

OperationContext VELK_JobIndicationProvider::context() const
{
    OperationContext ctx;
    ctx.insert(IdentityContainer(_user));
    return ctx;
}

void VELK_JobIndicationProvider::run()
{
    Boolean first = true;
    for (;;)
    {
        try
        {
            poll(first);
            first = false;
        }
        catch (const Exception& e)
        {
            log_message(2, "VELK_JobIndicationProvider: %s\n",
                (const char*)e.getMessage().getCString());
        }
        catch (const std::exception& e)
        {
            log_message(2, "VELK_JobIndicationProvider: %s\n", e.what());
        }
        std::unique_lock<std::mutex> lock(_mutex);
        if (_wake.wait_for(lock, std::chrono::milliseconds(_intervalMs),
                [this] { return _stopping; }))
            return;
    }
}

void VELK_JobIndicationProvider::poll(Boolean first)
{
    const std::vector<tsk_data_t> tasks = VELK_ArrayReader::tasks();
    const CIMNamespaceName ns(VELK_NAMESPACE);
    const OperationContext ctx = context();

    std::vector<CIMInstance> indications;
    std::set<Uint32> seen;
    std::vector<Uint32> fresh;
    for (const tsk_data_t& t : tasks)
    {
        const Uint32 id = t.taskid.tid;
        seen.insert(id);
        const std::string signature = taskSignature(t);
        auto it = _tasks.find(id);
        if (it == _tasks.end())
        {
            fresh.push_back(id);
            _tasks[id] = TaskMark{signature, false, CIMInstance()};
            continue;
        }
        if (it->second.signature == signature)
            continue;
        it->second.signature = signature;
        if (!it->second.isJob)
            continue;
        CIMInstance current;
        try
        {
            current = _cimom.getInstance(ctx, ns, it->second.job.getPath(), false, false, false,
                CIMPropertyList());
        }
        catch (const CIMException& e)
        {
            if (e.getCode() != CIM_ERR_NOT_FOUND)
                throw;
        }
        if (current.isUninitialized())
        {
            indications.push_back(VELK_JobIndicationBuilder::deletion(it->second.job));
            it->second.isJob = false;
            it->second.job = CIMInstance();
            continue;
        }
        if (VELK_JobIndicationBuilder::changed(it->second.job, current))
            indications.push_back(
                VELK_JobIndicationBuilder::modification(it->second.job, current));
        it->second.job = current;
    }

    // Tasks that are gone.
    for (auto it = _tasks.begin(); it != _tasks.end();)
    {
        if (seen.count(it->first))
        {
            ++it;
            continue;
        }
        if (it->second.isJob)
            indications.push_back(VELK_JobIndicationBuilder::deletion(it->second.job));
        it = _tasks.erase(it);
    }

    // On the first read, every job at once.
    if (first)
    {
        Array<CIMInstance> jobs = _cimom.enumerateInstances(ctx, ns, CIMName(JOB_CLASS), true,
            false, false, false, CIMPropertyList());
        for (Uint32 i = 0; i < jobs.size(); i++)
        {
            Uint32 id = 0;
            auto it = taskIdOf(jobs[i].getPath(), id) ? _tasks.find(id) : _tasks.end();
            if (it == _tasks.end())
                continue;
            it->second.isJob = true;
            it->second.job = jobs[i];
        }
        return;
    }

    // New tasks: the jobs among them, found by their job names.
    if (!fresh.empty())
    {
        std::set<Uint32> wanted(fresh.begin(), fresh.end());
        Array<CIMObjectPath> names = _cimom.enumerateInstanceNames(ctx, ns, CIMName(JOB_CLASS));
        for (Uint32 i = 0; i < names.size(); i++)
        {
            Uint32 id = 0;
            if (!taskIdOf(names[i], id) || !wanted.count(id))
                continue;
            CIMInstance job;
            try
            {
                job = _cimom.getInstance(ctx, ns, names[i], false, false, false, CIMPropertyList());
            }
            catch (const CIMException& e)
            {
                if (e.getCode() != CIM_ERR_NOT_FOUND)
                    throw;
                continue;
            }
            TaskMark& mark = _tasks[id];
            mark.isJob = true;
            mark.job = job;
            indications.push_back(VELK_JobIndicationBuilder::creation(job));
        }
    }

    if (indications.empty())
        return;
    std::lock_guard<std::mutex> lock(_mutex);
    if (_handler && !_stopping)
        for (const CIMInstance& indication : indications)
            _handler->deliver(indication);
}

PEGASUS_NAMESPACE_END
