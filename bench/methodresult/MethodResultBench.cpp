// enumerateInstances of VELK_MethodResult over an array with 1,000 jobs,
// and the parts that one enumeration is made of, so that the total can be
// split: the up-call that lists the jobs, the class lookups, the volume
// look-ups, the synchronization listings and the GetError calls.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <unistd.h>

#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <cimhost/EmbeddedServer.h>
#include <velkapi_control.hpp>

#include "VELK_Common.h"
#include "VELK_ConcreteJobProvider.h"
#include "VELK_MethodResultProvider.h"
#include "VELK_StorageVolumeProvider.h"

using namespace Pegasus;

namespace
{

const int kJobs = 1000;
const int kVolumes = 400;

// 1,000 tasks as an array might hold them: mostly volume copies, some
// promotions, resynchronizations, snapshot accounting, online copies and
// remote copies; one in twenty failed. 400 volumes, 100 synchronizations.
std::string arrayState()
{
    std::string s = R"({ "system": { "name": "BenchArray", "host_name": "ctl1", "id": 7 },
  "users": [ { "name": "root", "role": "super" } ],
  "remote_copy": { "enabled": true, "targets": [ { "name": "t1", "remote_system": "Far" } ],
    "links": [], "groups": [ { "name": "grp", "volumes": [], "targets": [ { "target": "t1", "remote_group": "grp.r" } ] } ] },
  "volumes": [)";
    for (int v = 0; v < kVolumes; v++)
    {
        char buf[96];
        snprintf(buf, sizeof(buf), "%s{ \"name\": \"vv%03d\", \"size_mib\": 1024 }",
            v ? "," : "", v);
        s += buf;
    }
    s += R"(], "synchronizations": [)";
    for (int k = 0; k < 100; k++)
    {
        char buf[96];
        snprintf(buf, sizeof(buf), "%s{ \"system\": \"vv%03d\", \"synced\": \"vv%03d\" }",
            k ? "," : "", 2 * k, 2 * k + 1);
        s += buf;
    }
    s += R"(], "tasks": [)";
    static const char* const types[] = { "TASK_VVCOPY", "TASK_VVCOPY", "TASK_VVCOPY",
        "TASK_VVCOPY", "TASK_PROMOTESV", "TASK_PHYSCOPY_RESYNC", "TASK_SS_ACC",
        "TASK_ONLINE_COPY", "TASK_RC_SYNC", "TASK_VVCOPY" };
    for (int t = 0; t < kJobs; t++)
    {
        const char* type = types[t % 10];
        const int src = (2 * t + 1) % kVolumes;
        const int dst = (2 * t) % kVolumes;
        char name[64];
        if (t % 10 == 6 || t % 10 == 8)
            snprintf(name, sizeof(name), t % 10 == 8 ? "grp" : "vv%03d", src);
        else if (t % 10 == 7)
            snprintf(name, sizeof(name), "vv%03d", dst);
        else
            snprintf(name, sizeof(name), "vv%03d->vv%03d", src, dst);
        char buf[512];
        if (t % 20 == 3)
            snprintf(buf, sizeof(buf), "%s{ \"id\": %d, \"type\": \"%s\", \"name\": \"%s\", "
                "\"start\": \"now-900\", \"state\": \"failed\", \"end\": \"now-800\", "
                "\"error\": 5, \"error_text\": \"source offline\" }", t ? "," : "", t + 1, type, name);
        else
            snprintf(buf, sizeof(buf), "%s{ \"id\": %d, \"type\": \"%s\", \"name\": \"%s\", "
                "\"start\": \"now-600\", \"state\": \"completed\", \"end\": \"now-60\" }",
                t ? "," : "", t + 1, type, name);
        s += buf;
    }
    s += "] }";
    return s;
}

class Counter : public InstanceResponseHandler
{
public:
    Uint32 count = 0;
    void processing() override {}
    void complete() override {}
    void deliver(const CIMInstance&) override { count++; }
    void deliver(const Array<CIMInstance>& a) override { count += a.size(); }
};

struct Server
{
    std::string dir;
    std::unique_ptr<cimhost::EmbeddedServer> server;
    VELK_MethodResultProvider* provider = nullptr;

    Server()
    {
        char tmpl[] = "/tmp/velk-bench-XXXXXX";
        dir = mkdtemp(tmpl);
        velksim::reset();
        velksim::setEventLogFile("");
        velksim::setLogFile("");
        velksim::setLogLevel(3);
        velksim::setClock(1700000000);
        velksim::loadStateJson(arrayState());

        cimhost::ServerOptions o;
        o.schemaFiles = { std::string(VELK_SOURCE_DIR) + "/schema/root.mof" };
        o.registrationDirs = { std::string(VELK_SOURCE_DIR) + "/schema/registration" };
        o.moduleDirs = { VELK_LIB_DIR };
        o.hostName = "ctl1";
        o.socketPath = dir + "/cimhost.socket";
        o.logFile = dir + "/server.log";
        setenv("CIMHOST_SOCKET", o.socketPath.c_str(), 1);
        server.reset(new cimhost::EmbeddedServer(o));
        server->start();

        provider = new VELK_MethodResultProvider();
        CIMOMHandle h = server->cimomHandle();
        provider->initialize(h);
    }

    ~Server()
    {
        provider->terminate();
        server->stop();
        server.reset();
        velksim::reset();
        std::string cmd = "rm -rf '" + dir + "'";
        if (std::system(cmd.c_str()) != 0)
        {
        }
    }
};

Server& env()
{
    static Server s;
    return s;
}

OperationContext rootContext()
{
    OperationContext c;
    c.insert(IdentityContainer(String("root")));
    return c;
}

void BM_EnumerateMethodResults(benchmark::State& state)
{
    Server& s = env();
    OperationContext ctx = rootContext();
    for (auto _ : state)
    {
        Counter c;
        s.provider->enumerateInstances(ctx, CIMObjectPath("VELK_MethodResult"),
            false, false, CIMPropertyList(), c);
        if (c.count != kJobs)
            state.SkipWithError("wrong number of method results");
    }
    state.SetItemsProcessed(state.iterations() * kJobs);
}
BENCHMARK(BM_EnumerateMethodResults)->Unit(benchmark::kMillisecond)->Iterations(5);

// The parts.

void BM_UpcallEnumerateJobs(benchmark::State& state)
{
    Server& s = env();
    CIMOMHandle h = s.server->cimomHandle();
    OperationContext ctx = rootContext();
    for (auto _ : state)
    {
        Array<CIMInstance> jobs = h.enumerateInstances(ctx, CIMNamespaceName("root/velk"),
            CIMName("VELK_ConcreteJob"), false, false, false, false, CIMPropertyList());
        benchmark::DoNotOptimize(jobs.size());
    }
}
BENCHMARK(BM_UpcallEnumerateJobs)->Unit(benchmark::kMillisecond);

void BM_StoredClassLookup(benchmark::State& state)
{
    Server& s = env();
    CIMOMHandle h = s.server->cimomHandle();
    for (auto _ : state)
    {
        CIMClass c = VELK_Common::getStoredCIMClass(h, OperationContext(),
            CIMNamespaceName("root/velk"), CIMName("VELK_StorageVolume"), false, false,
            false, CIMPropertyList());
        benchmark::DoNotOptimize(c.getPropertyCount());
    }
}
BENCHMARK(BM_StoredClassLookup)->Unit(benchmark::kMicrosecond);

void BM_VolumeLookup(benchmark::State& state)
{
    Server& s = env();
    CIMOMHandle h = s.server->cimomHandle();
    CIMClass cls = VELK_Common::getStoredCIMClass(h, OperationContext(),
        CIMNamespaceName("root/velk"), CIMName("VELK_StorageVolume"), false, false, false,
        CIMPropertyList());
    for (auto _ : state)
    {
        CIMInstance v = VELK_StorageVolumeProvider::buildVVInstance("vv123", "BenchArray",
            "ctl1", cls, false);
        benchmark::DoNotOptimize(v.isUninitialized());
    }
}
BENCHMARK(BM_VolumeLookup)->Unit(benchmark::kMicrosecond);

void BM_UpcallSynchronizationNames(benchmark::State& state)
{
    Server& s = env();
    CIMOMHandle h = s.server->cimomHandle();
    OperationContext ctx = rootContext();
    for (auto _ : state)
    {
        Array<CIMObjectPath> p = h.enumerateInstanceNames(ctx, CIMNamespaceName("root/velk"),
            CIMName("VELK_StorageSynchronized"));
        benchmark::DoNotOptimize(p.size());
    }
}
BENCHMARK(BM_UpcallSynchronizationNames)->Unit(benchmark::kMicrosecond);

void BM_UpcallGetError(benchmark::State& state)
{
    Server& s = env();
    CIMOMHandle h = s.server->cimomHandle();
    OperationContext ctx = rootContext();
    CIMObjectPath job = VELK_ConcreteJobProvider::buildObjectPath("ctl1",
        "KORVANE:task_id:4");
    for (auto _ : state)
    {
        Array<CIMParamValue> in, out;
        h.invokeMethod(ctx, CIMNamespaceName("root/velk"), job, CIMName("GetError"), in, out);
        benchmark::DoNotOptimize(out.size());
    }
}
BENCHMARK(BM_UpcallGetError)->Unit(benchmark::kMicrosecond);

// One step of the synchronization search of a promotion: the SyncedElement
// key of an association, read back as a path and compared with a volume.
void BM_SynchronizationMatch(benchmark::State& state)
{
    Server& s = env();
    CIMOMHandle h = s.server->cimomHandle();
    Array<CIMObjectPath> syncs = h.enumerateInstanceNames(rootContext(),
        CIMNamespaceName("root/velk"), CIMName("VELK_StorageSynchronized"));
    CIMObjectPath volume = VELK_StorageVolumeProvider::buildVVPath("vv123", "BenchArray", "ctl1");
    const CIMObjectPath& sync = syncs[syncs.size() - 1];
    for (auto _ : state)
    {
        const Array<CIMKeyBinding>& keys = sync.getKeyBindings();
        CIMObjectPath synced;
        for (Uint32 k = 0; k < keys.size(); k++)
        {
            if (keys[k].getName().equal(CIMName("SyncedElement")))
            {
                synced = CIMObjectPath(keys[k].getValue());
                break;
            }
        }
        benchmark::DoNotOptimize(VELK_Common::matchObjectPath(synced, volume));
    }
}
BENCHMARK(BM_SynchronizationMatch)->Unit(benchmark::kMicrosecond);

} // namespace


BENCHMARK_MAIN();
