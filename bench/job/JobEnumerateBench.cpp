// Enumerating the jobs of an array with 10,000 tasks, in process: the class
// comes from the server's class cache, the tasks from the simulated array.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <string>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <cimhost/EmbeddedServer.h>
#include <velkapi_control.hpp>

#include "VELK_ConcreteJobProvider.h"

extern "C" Pegasus::CIMProvider* PegasusCreateProvider(
    const Pegasus::String& providerName);

using namespace Pegasus;

namespace
{

const int kTasks = 10000;
const std::int64_t kNow = 1700000000;

// A handler that only counts what the provider delivers.
template <class Base, class Item>
class Counting : public Base
{
public:
    size_t delivered = 0;
    void processing() override {}
    void complete() override {}
    void deliver(const Item&) override { delivered++; }
    void deliver(const Array<Item>& list) override { delivered += list.size(); }
};
using CountingHandler = Counting<InstanceResponseHandler, CIMInstance>;

// A handler that keeps what the provider delivers.
class HoldingHandler : public InstanceResponseHandler
{
public:
    Array<CIMInstance> held;
    void processing() override {}
    void complete() override {}
    void deliver(const CIMInstance& x) override { held.append(x); }
    void deliver(const Array<CIMInstance>& list) override { held.appendArray(list); }
};
using CountingPathHandler = Counting<ObjectPathResponseHandler, CIMObjectPath>;

// Every supported kind of task in turn, in every state.
std::string largeArray()
{
    using nlohmann::json;
    const char* types[] = {"TASK_VVCOPY", "TASK_PROMOTESV", "TASK_RC_SYNC",
        "TASK_SS_ACC", "TASK_PHYSCOPY_RESYNC", "TASK_RC_FAILOVER",
        "TASK_RC_RECOVER", "TASK_ONLINE_COPY"};
    const char* states[] = {"running", "completed", "failed", "cancelled"};
    json tasks = json::array();
    for (int i = 0; i < kTasks; i++)
    {
        const char* state = states[i % 4];
        json t = {{"id", i + 1}, {"type", types[i % 8]},
            {"name", i % 8 == 5 || i % 8 == 6 ? std::string("grpA")
                                              : "vol" + std::to_string(i) + "->copy"},
            {"phases", json::array({"one", "two"})}, {"step_max", 10},
            {"start", kNow - 86400}, {"state", state}};
        if (std::string(state) != "running")
            t["end"] = kNow - 3600;
        else
            t["curr_step"] = i % 10;
        if (std::string(state) == "failed")
        {
            t["error"] = 3;
            t["error_text"] = "copy failed";
        }
        if (i % 8 == 7)
            t["detail"] = "Online copy from VV src" + std::to_string(i) + " x";
        tasks.push_back(t);
    }
    json state = {
        {"system", {{"name", "BenchArray"}, {"host_name", "bencharray"}}},
        {"users", json::array({{{"name", "bench"}, {"role", "super"}}})},
        {"tasks", tasks},
        {"volumes", json::array()},
        {"synchronizations", json::array()},
        {"remote_copy",
         {{"targets", json::array({{{"name", "tA"}, {"remote_system", "Two"}}})},
          {"links", json::array()},
          {"groups", json::array({{{"name", "grpA"},
              {"targets", json::array({{{"target", "tA"},
                  {"remote_group", "grpA.r"}}})}}})}}},
    };
    return state.dump();
}

struct World
{
    std::string dir;
    std::unique_ptr<cimhost::EmbeddedServer> server;
    VELK_ConcreteJobProvider* provider = 0;

    World()
    {
        char pattern[] = "/tmp/velkjobbench.XXXXXX";
        if (!mkdtemp(pattern))
            abort();
        dir = pattern;
        velksim::reset();
        velksim::setLogFile("");
        velksim::setEventLogFile("");
        velksim::setLogLevel(2);
        velksim::setClock(kNow);
        velksim::loadStateJson(largeArray());

        const std::string socket = dir + "/cimhost.socket";
        setenv("CIMHOST_SOCKET", socket.c_str(), 1);
        cimhost::ServerOptions options;
        options.schemaFiles.push_back(std::string(VELK_SOURCE_DIR) +
            "/schema/root.mof");
        options.registrationDirs.push_back(std::string(VELK_SOURCE_DIR) +
            "/schema/registration");
        options.moduleDirs.push_back(VELK_LIB_DIR);
        options.socketPath = socket;
        options.workerCount = 2;
        options.logLevel = "error";
        options.logFile = dir + "/server.log";
        server.reset(new cimhost::EmbeddedServer(options));
        server->start();

        provider = dynamic_cast<VELK_ConcreteJobProvider*>(
            PegasusCreateProvider(String("VELK_ConcreteJobProvider")));
        CIMOMHandle handle = server->cimomHandle();
        provider->initialize(handle);
    }

    ~World()
    {
        provider->terminate();
        server->stop();
        std::string cmd = "rm -rf '" + dir + "'";
        if (std::system(cmd.c_str()) != 0)
            fprintf(stderr, "could not remove %s\n", dir.c_str());
    }
};

World& world()
{
    static World w;
    return w;
}

// The caller of every benchmark call, and the class the calls ask for.
OperationContext benchContext()
{
    OperationContext context;
    context.insert(IdentityContainer(String("bench")));
    return context;
}

CIMObjectPath jobClassPath()
{
    return CIMObjectPath(String(), CIMNamespaceName("root/velk"), CIMName("VELK_ConcreteJob"));
}

// Runs one enumeration of the module per iteration; call delivers to a
// fresh handler and returns how many objects it got.
template <class Handler, class Call>
void runEnumeration(benchmark::State& state, Call call)
{
    World& w = world();
    const OperationContext context = benchContext();
    const CIMObjectPath classPath = jobClassPath();
    size_t jobs = 0;
    for (auto _ : state)
    {
        Handler handler;
        call(*w.provider, context, classPath, handler);
        jobs = handler.delivered;
        benchmark::DoNotOptimize(jobs);
    }
    if (jobs != (size_t)kTasks)
        state.SkipWithError("not every task became a job");
    state.SetItemsProcessed(state.iterations() * (int64_t)jobs);
    state.counters["per_job"] = benchmark::Counter(
        (double)state.iterations() * (double)jobs,
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_EnumerateJobs(benchmark::State& state)
{
    runEnumeration<CountingHandler>(state,
        [](VELK_ConcreteJobProvider& p, const OperationContext& context,
            const CIMObjectPath& classPath, CountingHandler& handler) {
            p.enumerateInstances(context, classPath, false, false, CIMPropertyList(),
                handler);
        });
}

BENCHMARK(BM_EnumerateJobs)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// The heap the built jobs hold while a server keeps them all for its answer:
// bytes the allocator has handed out, with their headers, per job kept.
void BM_HeldJobBytes(benchmark::State& state)
{
    World& w = world();
    const OperationContext context = benchContext();
    const CIMObjectPath classPath = jobClassPath();
    double perJob = 0;
    for (auto _ : state)
    {
        malloc_trim(0);
        const struct mallinfo2 before = mallinfo2();
        HoldingHandler handler;
        w.provider->enumerateInstances(context, classPath, false, false,
            CIMPropertyList(), handler);
        const struct mallinfo2 after = mallinfo2();
        const double held = double(after.uordblks + after.hblkhd) -
            double(before.uordblks + before.hblkhd);
        perJob = handler.held.size() ? held / handler.held.size() : 0;
    }
    state.counters["bytes_per_job"] = perJob;
}

BENCHMARK(BM_HeldJobBytes)->Iterations(1);

void BM_EnumerateJobNames(benchmark::State& state)
{
    runEnumeration<CountingPathHandler>(state,
        [](VELK_ConcreteJobProvider& p, const OperationContext& context,
            const CIMObjectPath& classPath, CountingPathHandler& handler) {
            p.enumerateInstanceNames(context, classPath, handler);
        });
}

BENCHMARK(BM_EnumerateJobNames)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace

BENCHMARK_MAIN();
