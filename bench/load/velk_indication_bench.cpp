// velk_indication_bench: what job indications cost and how fast they come.
// It starts cimhost over a generated array of long-running copy jobs with a
// short indication poll interval, and measures on loopback:
//
//   1. latency: one listener subscribes to the job indications; jobs are
//      cancelled one at a time through RequestStateChange, and for each the
//      time from the method's answer to the arrival of the indication that
//      shows the job's new state (an indication that came before the answer
//      counts as 0);
//   2. overhead: GetInstance throughput of VELK_ConcreteJob with keep-alive
//      clients, without subscriptions and with many (each its own filter,
//      destination and subscription, pointing at a listener that answers).
//
// Every subscription it makes is removed before it ends.
#include "IndicationWatch.h"
#include "LoadStats.h"
#include "support/DemoServer.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/Exception.h>

#include <CLI/CLI.hpp>

#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace
{

using Clock = std::chrono::steady_clock;
using velkload::LoadStats;

const CIMNamespaceName kNamespace("root/velk");
const char* const kUser = "storageadmin";
const char* const kPassword = "bench-Pass-4471";

struct Settings
{
    int changes = 20;
    int subscriptions = 100;
    int clients = 8;
    double seconds = 4.0;
    int pollMs = 50;
    int timeoutMs = 5000;
};

// `jobs` copy jobs that run for days, so that only cancellation changes them,
// and the array user the indication provider reads the jobs as.
std::string generateState(int jobs)
{
    std::string tasks;
    for (int i = 0; i < jobs; i++)
        tasks += std::string(i ? ",\n" : "") + "    {\"id\": " + std::to_string(1001 + i) +
            ", \"type\": \"TASK_VVCOPY\", \"name\": \"src" + std::to_string(i) + "->copy" +
            std::to_string(i) + "\", \"user\": \"storageadmin\", \"phases\": [\"copy\"], "
            "\"step_max\": 100, \"start\": \"now\", \"duration\": 10000000}";
    return "{\n  \"system\": {\"name\": \"VELK-IND-01\", \"host_name\": \"velk-ind\"},\n"
           "  \"users\": [{\"name\": \"root\", \"role\": \"super\", \"cim_access\": true},\n"
           "            {\"name\": \"storageadmin\", \"role\": \"super\", \"cim_access\": true}],\n"
           "  \"detail_retention_seconds\": 100000000,\n"
           "  \"tasks\": [\n" + tasks + "\n  ],\n"
           "  \"volumes\": []\n}\n";
}

void connect(CIMClient& client, int port)
{
    client.connect(String("127.0.0.1"), Uint32(port), String(kUser), String(kPassword));
}

String instanceId(const CIMObjectPath& path)
{
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    return keys.size() ? keys[0].getValue() : String();
}

// The value of an instance's property as text, "" when it has none.
String propertyText(const CIMInstance& inst, const char* name)
{
    Uint32 at = inst.findProperty(CIMName(name));
    return at == PEG_NOT_FOUND ? String() : inst.getProperty(at).getValue().toString();
}

bool embedded(const CIMInstance& indication, const char* name, CIMInstance& out)
{
    Uint32 at = indication.findProperty(CIMName(name));
    if (at == PEG_NOT_FOUND)
        return false;
    CIMValue v = indication.getProperty(at).getValue();
    if (v.isNull() || v.isArray() || v.getType() != CIMTYPE_INSTANCE)
        return false;
    v.get(out);
    return true;
}

// True when the indication tells that job `id` changed state or went away.
bool showsNewState(const CIMInstance& indication, const String& id)
{
    CIMInstance source;
    if (!embedded(indication, "SourceInstance", source) || propertyText(source, "InstanceID") != id)
        return false;
    if (indication.getClassName().equal(CIMName("CIM_InstDeletion")))
        return true;
    CIMInstance previous;
    return indication.getClassName().equal(CIMName("CIM_InstModification")) &&
        embedded(indication, "PreviousInstance", previous) &&
        propertyText(source, "JobState") != propertyText(previous, "JobState");
}

// Cancels the first `count` jobs one at a time and times their indications.
LoadStats latencies(CIMClient& client, velkjobs::IndicationWatch& watch,
    const Array<CIMObjectPath>& jobs, const Settings& s, int& missing)
{
    LoadStats stats;
    CIMInstance indication;
    // Whatever the subscription brought first is not a measured change.
    while (watch.next(10 * s.pollMs, indication))
        ;
    for (Uint32 i = 0; i < jobs.size() && int(i) < s.changes; i++)
    {
        Array<CIMParamValue> in;
        Array<CIMParamValue> out;
        in.append(CIMParamValue(String("RequestedState"), CIMValue(Uint16(4))));
        CIMValue rc = client.invokeMethod(kNamespace, jobs[i], CIMName("RequestStateChange"),
            in, out);
        Clock::time_point answered = Clock::now();
        Uint32 value = 0;
        if (!rc.isNull() && rc.getType() == CIMTYPE_UINT32 && !rc.isArray())
            rc.get(value);
        if (value != 0 && value != 4096)
            throw std::runtime_error("RequestStateChange answered " + std::to_string(value));
        const String id = instanceId(jobs[i]);
        Clock::time_point deadline = answered + std::chrono::milliseconds(s.timeoutMs);
        bool found = false;
        while (!found && Clock::now() < deadline)
        {
            int left = int(std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - Clock::now()).count());
            if (watch.next(left > 0 ? left : 1, indication) && showsNewState(indication, id))
            {
                found = true;
                stats.record(std::chrono::duration_cast<std::chrono::microseconds>(
                    Clock::now() - answered).count(), LoadStats::Ok);
            }
        }
        if (!found)
            missing++;
    }
    return stats;
}

// GetInstance answers per second of `clients` keep-alive clients.
double getInstanceRate(int port, const Array<CIMObjectPath>& jobs, const Settings& s)
{
    std::atomic<long> ok(0);
    std::atomic<long> failed(0);
    std::atomic<int> ready(0);
    std::atomic<bool> go(false);
    Clock::time_point deadline;
    std::vector<std::thread> threads;
    for (int t = 0; t < s.clients; t++)
        threads.emplace_back([&, t] {
            CIMClient c;
            try
            {
                connect(c, port);
            }
            catch (const Exception&)
            {
                failed++;
            }
            ready++;
            while (!go)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            for (Uint32 i = Uint32(t) * 7; Clock::now() < deadline; i++)
            {
                try
                {
                    CIMInstance inst = c.getInstance(kNamespace, jobs[i % jobs.size()], false);
                    ok++;
                }
                catch (const Exception&)
                {
                    failed++;
                }
            }
        });
    while (ready < s.clients)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Clock::time_point start = Clock::now();
    deadline = start + std::chrono::microseconds(std::int64_t(s.seconds * 1e6));
    go = true;
    for (std::thread& t : threads)
        t.join();
    double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    if (failed)
        throw std::runtime_error(std::to_string(failed.load()) + " GetInstance requests failed");
    return double(ok) / elapsed;
}

std::string text(const Exception& e)
{
    return std::string(e.getMessage().getCString());
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Measures cimhost's job indications: the latency from a job's cancellation to "
                 "its indication, and GetInstance throughput with and without subscriptions.");
    Settings s;
    app.add_option("--changes", s.changes, "jobs cancelled one at a time for the latency")
        ->check(CLI::Range(1, 1000));
    app.add_option("--subscriptions", s.subscriptions,
        "subscriptions (each with its own listener) during the second GetInstance run")
        ->check(CLI::Range(1, 500));
    app.add_option("--clients", s.clients, "concurrent GetInstance clients")
        ->check(CLI::Range(1, 64));
    app.add_option("--seconds", s.seconds, "length of each GetInstance run")
        ->check(CLI::Range(0.1, 600.0));
    app.add_option("--poll-ms", s.pollMs, "VELK_INDICATION_POLL_MS of the server")
        ->check(CLI::Range(1, 10000));
    app.add_option("--timeout-ms", s.timeoutMs, "how long to wait for each indication")
        ->check(CLI::Range(100, 600000));
    CLI11_PARSE(app, argc, argv);

    char dir[] = "/tmp/velk-ind-bench-XXXXXX";
    if (!::mkdtemp(dir))
    {
        std::fprintf(stderr, "velk_indication_bench: cannot make a temporary folder\n");
        return 2;
    }
    std::string stateFile = std::string(dir) + "/array.json";
    std::ofstream(stateFile) << generateState(s.changes + 20);
    ::setenv("VELK_INDICATION_POLL_MS", std::to_string(s.pollMs).c_str(), 1);

    int status = 0;
    try
    {
        e2e::DemoServer::Options options;
        options.stateTemplate = stateFile;
        options.user = kUser;
        options.password = kPassword;
        options.arrayLogLevel = "3";
        options.extraArgs = {"--workers", std::to_string(s.clients + 4)};
        e2e::DemoServer server(options);
        server.start();
        CIMClient client;
        connect(client, server.port());
        Array<CIMObjectPath> jobs = client.enumerateInstanceNames(kNamespace,
            CIMName("VELK_ConcreteJob"));
        if (jobs.size() == 0)
            throw std::runtime_error("the server has no jobs");

        // Overhead first, while every job still runs.
        double rate0 = getInstanceRate(server.port(), jobs, s);
        double rateN = 0;
        {
            std::vector<std::unique_ptr<velkjobs::IndicationWatch>> watches;
            for (int i = 0; i < s.subscriptions; i++)
                watches.emplace_back(new velkjobs::IndicationWatch(client, "127.0.0.1", 0));
            rateN = getInstanceRate(server.port(), jobs, s);
        }

        LoadStats stats;
        int missing = 0;
        {
            velkjobs::IndicationWatch watch(client, "127.0.0.1", 0);
            stats = latencies(client, watch, jobs, s, missing);
        }

        std::printf("velk_indication_bench: %u jobs, poll every %d ms, loopback\n",
            unsigned(jobs.size()), s.pollMs);
        std::printf("cancellation to indication: %zu of %d changes, median %.1f ms, "
                    "p90 %.1f ms, max %.1f ms\n",
            stats.count(), s.changes, stats.percentileMs(50), stats.percentileMs(90),
            stats.maxMs());
        if (missing)
        {
            std::printf("  %d indications did not come within %d ms\n", missing, s.timeoutMs);
            status = 1;
        }
        std::printf("GetInstance, %d keep-alive clients, %.1f s each:\n", s.clients, s.seconds);
        std::printf("  0 subscriptions:   %8.0f req/s\n", rate0);
        std::printf("  %d subscriptions: %8.0f req/s (%.2fx of the first)\n", s.subscriptions,
            rateN, rate0 > 0 ? rateN / rate0 : 0.0);
        client.disconnect();
        if (server.stop() != 0)
        {
            std::printf("cimhost did not stop cleanly\n");
            status = 1;
        }
    }
    catch (const Exception& e)
    {
        std::fprintf(stderr, "velk_indication_bench: %s\n", text(e).c_str());
        status = 1;
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "velk_indication_bench: %s\n", e.what());
        status = 1;
    }
    ::unlink(stateFile.c_str());
    ::rmdir(dir);
    return status;
}
