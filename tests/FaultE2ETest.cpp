// Faults end to end: array calls that fail and a semaphore that times out
// while clients keep asking (in-process server, faults switched through the
// simulator's control interface), a cimhost killed with SIGKILL and started
// again over the same state file, clients that hang up in the middle of an
// answer, and request bodies over the size limit.
#include "support/CimClientTest.h"
#include "support/HttpConnection.h"

#include <cimhost/EmbeddedServer.h>
#include <velkapi_control.hpp>

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Client/CIMClientException.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace
{

const CIMNamespaceName kNs("root/velk");
const std::string kNotFound = "VELK_ConcreteJobProvider CIM Object not found.";
// How the client reports the provider's exceptions: the code, then the
// description, which begins with the code's name.
const std::string kNotFoundError = "CIM 6: CIM_ERR_NOT_FOUND: " + kNotFound;
const std::string kFailedError = "CIM 1: CIM_ERR_FAILED: ";

using e2e::jobPath;
using e2e::text;

bool running(int state)
{
    return state >= 2 && state <= 6;
}

std::string taskId(const std::string& instanceId)
{
    return instanceId.substr(instanceId.find("task_id:") + 8);
}

struct Jobs
{
    std::vector<std::string> ids;            // in enumeration order
    std::map<std::string, int> states;
};

Jobs listJobs(CIMClient& client)
{
    Jobs jobs;
    Array<CIMInstance> all = client.enumerateInstances(kNs, CIMName("VELK_ConcreteJob"), true,
        false, false, false, CIMPropertyList());
    for (Uint32 i = 0; i < all.size(); i++)
    {
        std::string id = e2e::propertyText(all[i], "InstanceID");
        jobs.ids.push_back(id);
        jobs.states[id] = std::atoi(e2e::propertyText(all[i], "JobState").c_str());
    }
    return jobs;
}

// A copy of the demo array whose running tasks keep running for days, so
// that which jobs run does not change while a test looks at them.
std::string longRunningDemo()
{
    nlohmann::json state = nlohmann::json::parse(e2e::readFile(VELK_SOURCE_DIR "/demo/array.json"));
    for (nlohmann::json& task : state["tasks"])
        if (!task.contains("state") || task["state"] == "running")
            task["duration"] = 30 * 86400;
    return state.dump(2);
}

// ---------------------------------------------------------------------------
// Faults injected into the array while clients run.

// What a client saw, in a form that compares as text: "instances:21",
// "rc:4", "CIM 6: <description>", "other: <message>".
std::string answerOf(const std::function<std::string()>& request)
{
    std::string answer;
    const std::string outcome = e2e::outcome([&] { answer = request(); });
    return outcome == "ok" ? answer : outcome;
}

enum Phase
{
    Normal,
    ReadsFail,       // api_getTasks and api_getTaskDetail fail
    SemaphoreTimeout,
    ChangesFail,     // api_cancelTask and api_removeTasks fail
    PhaseCount
};

const char* const kPhaseNames[PhaseCount] = { "normal", "reads fail", "semaphore times out",
    "changes fail" };

class FaultsWhileServing : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        char tmpl[] = "/tmp/velk-faults-XXXXXX";
        ASSERT_NE(nullptr, ::mkdtemp(tmpl));
        dir = tmpl;
        std::ofstream(dir + "/array.json") << longRunningDemo();
        ::setenv("VELK_STATE_FILE", (dir + "/array.json").c_str(), 1);
        ::setenv("VELK_EVENT_LOG", (dir + "/array.json.events").c_str(), 1);
        ::setenv("VELK_LOG_FILE", (dir + "/array.json.log").c_str(), 1);
        ::setenv("VELK_LOG_LEVEL", "3", 1);
        ::setenv("CIMHOST_SOCKET", (dir + "/cimhost.socket").c_str(), 1);
        velksim::reset();
        velksim::loadStateFile(dir + "/array.json");

        e2e::Result added = e2e::run({VELK_BIN_DIR "/cimhost", "passwd", "add", "storageadmin",
            "--password-file", dir + "/cimhost.passwd"}, "faults-Pass-1\n");
        ASSERT_EQ(0, added.status) << added.out;

        cimhost::ServerOptions options;
        options.schemaFiles = {VELK_SOURCE_DIR "/schema/root.mof"};
        options.registrationDirs = {VELK_SOURCE_DIR "/schema/registration"};
        options.moduleDirs = {VELK_LIB_DIR};
        options.socketPath = dir + "/cimhost.socket";
        options.enableHttp = true;
        options.httpPort = 0;
        options.passwordFile = dir + "/cimhost.passwd";
        options.workerCount = kClients + 4;
        options.logFile = dir + "/cimhost.log";
        server = new cimhost::EmbeddedServer(options);
        server->start();
    }

    static void TearDownTestSuite()
    {
        if (server)
            server->stop();
        delete server;
        server = nullptr;
        velksim::clearFaults();
        velksim::reset();
        e2e::run({"rm", "-rf", dir});
    }

    static void connect(CIMClient& client)
    {
        client.connect("127.0.0.1", Uint32(server->httpPort()), "storageadmin", "faults-Pass-1");
    }

    static void enter(Phase phase)
    {
        velksim::clearFaults();
        switch (phase)
        {
        case ReadsFail:
            velksim::injectFault("api_getTasks", 13, "Array is busy");
            velksim::injectFault("api_getTaskDetail", 13, "Array is busy");
            break;
        case SemaphoreTimeout:
            velksim::injectSemaphoreTimeout();
            break;
        case ChangesFail:
            velksim::injectFault("api_cancelTask", 17, "Array refused the change");
            velksim::injectFault("api_removeTasks", 17, "Array refused the change");
            break;
        default:
            break;
        }
    }

    static constexpr int kClients = 6;
    static std::string dir;
    static cimhost::EmbeddedServer* server;
};

std::string FaultsWhileServing::dir;
cimhost::EmbeddedServer* FaultsWhileServing::server = nullptr;

// The requests the clients repeat, and the one right answer to each in
// every phase.
struct Request
{
    std::string name;
    std::function<std::string(CIMClient&)> send;
    std::string expected[PhaseCount];     // "" : not sent in that phase
    // A request that would change the array if it got through: faults are
    // not switched while one is under way.
    bool changes = false;
};

TEST_F(FaultsWhileServing, EveryAnswerIsTheSpecifiedOneAndServingGoesOnAfterwards)
{
    CIMClient probe;
    connect(probe);
    Jobs before = listJobs(probe);
    ASSERT_GE(before.ids.size(), 10u);
    std::vector<std::string> runningIds;
    std::vector<std::string> endedIds;
    for (const std::string& id : before.ids)
        (running(before.states[id]) ? runningIds : endedIds).push_back(id);
    ASSERT_GE(runningIds.size(), 2u);
    ASSERT_GE(endedIds.size(), 2u);
    const std::string run1 = runningIds[0];     // read, and refused deletion
    const std::string victimRun = runningIds[1]; // cancelled only while changes fail
    const std::string end1 = endedIds[0];        // read, and refused cancel
    const std::string victimEnd = endedIds[1];   // deleted only while changes fail
    Array<CIMObjectPath> services = probe.enumerateInstanceNames(kNs,
        CIMName("VELK_StorageConfigurationService"));
    ASSERT_EQ(1u, services.size());
    const CIMObjectPath service = services[0];
    const size_t ownedJobs = probe.associators(kNs, service, CIMName("VELK_OwningJobElement"),
        CIMName("VELK_ConcreteJob")).size();
    ASSERT_GT(ownedJobs, 0u);
    const std::string all = std::to_string(before.ids.size());
    const std::string stillActive = kFailedError + "Task " + taskId(run1) +
        " is still active and cannot be removed";

    std::vector<Request> requests = {
        {"EnumerateInstances", [](CIMClient& c) {
             return "instances:" + std::to_string(c.enumerateInstances(kNs,
                 CIMName("VELK_ConcreteJob"), true, false, false, false, CIMPropertyList()).size());
         }, {"instances:" + all, "instances:0", "instances:0", "instances:" + all}},
        {"EnumerateInstanceNames", [](CIMClient& c) {
             return "paths:" + std::to_string(
                 c.enumerateInstanceNames(kNs, CIMName("VELK_ConcreteJob")).size());
         }, {"paths:" + all, "paths:0", "paths:0", "paths:" + all}},
        {"GetInstance running", [run1](CIMClient& c) {
             return "instance:" + e2e::propertyText(c.getInstance(kNs, jobPath(run1), false, false,
                 false, CIMPropertyList()), "InstanceID");
         }, {"instance:" + run1, kNotFoundError + run1, kNotFoundError + run1,
             "instance:" + run1}},
        {"GetInstance ended", [end1](CIMClient& c) {
             return "instance:" + e2e::propertyText(c.getInstance(kNs, jobPath(end1), false, false,
                 false, CIMPropertyList()), "InstanceID");
         }, {"instance:" + end1, kNotFoundError + end1, kNotFoundError + end1,
             "instance:" + end1}},
        {"RequestStateChange ended", [end1](CIMClient& c) {
             return "rc:" + std::to_string(e2e::terminateJob(c, end1));
         }, {"rc:4", kNotFoundError, kNotFoundError, "rc:4"}},
        {"DeleteInstance running", [run1](CIMClient& c) {
             c.deleteInstance(kNs, jobPath(run1));
             return std::string("deleted");
         }, {stillActive, stillActive, kFailedError + "Semaphore Timed-Out",
             kFailedError + "Array refused the change"}},
        {"Associators service->jobs", [service](CIMClient& c) {
             return "objects:" + std::to_string(c.associators(kNs, service,
                 CIMName("VELK_OwningJobElement"), CIMName("VELK_ConcreteJob")).size());
         }, {"objects:" + std::to_string(ownedJobs), "objects:0", "objects:0",
             "objects:" + std::to_string(ownedJobs)}},
        {"RequestStateChange running", [victimRun](CIMClient& c) {
             return "rc:" + std::to_string(e2e::terminateJob(c, victimRun));
         }, {"", "", "", "rc:4"}, true},
        {"DeleteInstance ended", [victimEnd](CIMClient& c) {
             c.deleteInstance(kNs, jobPath(victimEnd));
             return std::string("deleted");
         }, {"", "", "", kFailedError + "Array refused the change"}, true},
    };

    // The phase in force; -1 while faults are being switched.
    std::atomic<int> phase(Normal);
    std::atomic<bool> stop(false);
    std::atomic<int> changesUnderWay(0);
    std::mutex mutex;
    std::map<std::string, int> wrong;      // wrong answer -> how often
    int strictAnswers[PhaseCount] = {};
    int lenientAnswers = 0;

    auto client = [&](int seed) {
        CIMClient c;
        connect(c);
        size_t next = size_t(seed);
        while (!stop)
        {
            const Request& r = requests[next++ % requests.size()];
            if (r.changes)
                changesUnderWay++;
            int p1 = phase;
            if (p1 < 0 || r.expected[p1].empty())
            {
                if (r.changes)
                    changesUnderWay--;
                std::this_thread::yield();
                continue;
            }
            std::string answer = answerOf([&] { return r.send(c); });
            int p2 = phase;
            if (r.changes)
                changesUnderWay--;
            std::lock_guard<std::mutex> lock(mutex);
            if (p1 == p2)
            {
                strictAnswers[p1]++;
                if (answer != r.expected[p1])
                    wrong[r.name + " (" + kPhaseNames[p1] + "): expected \"" +
                        r.expected[p1] + "\", got \"" + answer + "\""]++;
                continue;
            }
            // Sent while the faults changed: the answer of one of the phases.
            lenientAnswers++;
            bool known = false;
            for (const std::string& e : r.expected)
                known = known || (!e.empty() && answer == e);
            if (!known)
                wrong[r.name + " (between phases): got \"" + answer + "\""]++;
        }
    };

    std::vector<std::thread> threads;
    for (int i = 0; i < kClients; i++)
        threads.emplace_back(client, i * 3);
    const Phase plan[] = { Normal, ReadsFail, Normal, SemaphoreTimeout, Normal, ChangesFail,
        Normal };
    for (Phase p : plan)
    {
        phase = -1;
        while (changesUnderWay > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        enter(p);
        phase = p;
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    }
    stop = true;
    for (std::thread& t : threads)
        t.join();
    velksim::clearFaults();

    for (const auto& w : wrong)
        ADD_FAILURE() << w.second << " times " << w.first;
    for (int p = 0; p < PhaseCount; p++)
        EXPECT_GT(strictAnswers[p], kClients) << "too few answers while " << kPhaseNames[p];
    RecordProperty("lenient_answers", lenientAnswers);

    // Nothing changed on the array: the same jobs in the same states, the
    // victims of the refused changes included.
    Jobs after = listJobs(probe);
    EXPECT_EQ(before.ids, after.ids);
    EXPECT_EQ(before.states, after.states);
    EXPECT_EQ(4096u, e2e::terminateJob(probe, victimRun));
    EXPECT_NO_THROW(probe.deleteInstance(kNs, jobPath(victimEnd)));
    Jobs changed = listJobs(probe);
    EXPECT_EQ(before.ids.size() - 1, changed.ids.size());
    EXPECT_FALSE(running(changed.states[victimRun]));
}

// ---------------------------------------------------------------------------
// A killed cimhost loses nothing the array accepted.

TEST(KilledServer, ChangesTheArrayAcceptedSurviveSigkillAndRestart)
{
    e2e::DemoServer::Options options;
    e2e::DemoServer server(options);
    std::ofstream(server.stateFile()) << longRunningDemo();
    server.start();

    CIMClient client;
    e2e::connect(client, server);
    Jobs before = listJobs(client);
    std::vector<std::string> cancelled;
    std::vector<std::string> deleted;
    for (const std::string& id : before.ids)
    {
        if (running(before.states[id]) && cancelled.size() < 3)
            cancelled.push_back(id);
        else if (!running(before.states[id]) && deleted.size() < 3)
            deleted.push_back(id);
    }
    ASSERT_EQ(3u, cancelled.size());
    ASSERT_EQ(3u, deleted.size());
    for (const std::string& id : cancelled)
        ASSERT_EQ(4096u, e2e::terminateJob(client, id)) << id;
    for (const std::string& id : deleted)
        ASSERT_NO_THROW(client.deleteInstance(kNs, jobPath(id))) << id;
    Jobs changed = listJobs(client);
    client.disconnect();

    server.kill9();
    server.start();
    CIMClient again;
    e2e::connect(again, server);
    Jobs restarted = listJobs(again);
    EXPECT_EQ(changed.ids, restarted.ids);
    EXPECT_EQ(changed.states, restarted.states);
    EXPECT_EQ(before.ids.size() - deleted.size(), restarted.ids.size());
    for (const std::string& id : cancelled)
        EXPECT_EQ(8, restarted.states[id]) << id << " is not Terminated";
    for (const std::string& id : deleted)
    {
        EXPECT_EQ(0u, restarted.states.count(id)) << id;
        try
        {
            again.getInstance(kNs, jobPath(id), false, false, false, CIMPropertyList());
            ADD_FAILURE() << id << " is back";
        }
        catch (const CIMException& e)
        {
            EXPECT_EQ(CIM_ERR_NOT_FOUND, e.getCode());
            EXPECT_EQ("CIM_ERR_NOT_FOUND: " + kNotFound + id, text(e.getMessage()));
        }
    }

    // One event line per change, in the order they were made.
    std::vector<std::string> events = e2e::lines(e2e::readFile(server.eventLog()));
    ASSERT_EQ(cancelled.size() + deleted.size(), events.size()) << e2e::readFile(server.eventLog());
    for (size_t i = 0; i < events.size(); i++)
    {
        nlohmann::json ev = nlohmann::json::parse(events[i]);
        bool isCancel = i < cancelled.size();
        const std::string& id = isCancel ? cancelled[i] : deleted[i - cancelled.size()];
        EXPECT_EQ(isCancel ? "cancel" : "remove", ev["action"]) << events[i];
        EXPECT_EQ(std::vector<unsigned>{unsigned(std::stoul(taskId(id)))},
            ev["tasks"].get<std::vector<unsigned>>()) << events[i];
        EXPECT_EQ(0, ev["code"]) << events[i];
        EXPECT_EQ("storageadmin", ev["user"]) << events[i];
        EXPECT_EQ("127.0.0.1", ev["addr"]) << events[i];
        EXPECT_EQ(isCancel ? "VELK_ConcreteJob:RequestStateChange" : "VELK_ConcreteJob:DeleteInstance",
            ev["method"]) << events[i];
    }
    again.disconnect();
    EXPECT_EQ(0, server.stop());
}

// The demo array with `extra` more tasks, every other one ended (to delete)
// or running for days (to cancel).
std::string demoWithManyTasks(int extra)
{
    nlohmann::json state = nlohmann::json::parse(longRunningDemo());
    for (int i = 0; i < extra; i++)
    {
        nlohmann::json task = {{"id", 5000 + i}, {"type", "TASK_VVCOPY"},
            {"name", "vol_" + std::to_string(i) + "->vol_" + std::to_string(i) + "_copy"},
            {"user", "storageadmin"}, {"phases", {"copy"}}, {"step_max", 100}};
        if (i % 2)
        {
            task["start"] = "now-600";
            task["duration"] = 30 * 86400;
        }
        else
        {
            task["start"] = "now-9000";
            task["state"] = "completed";
            task["end"] = "now-8000";
        }
        state["tasks"].push_back(task);
    }
    return state.dump(2);
}

// Task id -> state name, as the state file holds them.
std::map<unsigned, std::string> tasksOnDisk(const std::string& stateFile)
{
    std::map<unsigned, std::string> out;
    const nlohmann::json state = nlohmann::json::parse(e2e::readFile(stateFile));
    for (const nlohmann::json& t : state["tasks"])
        out[t["id"].get<unsigned>()] = t.value("state", "running");
    return out;
}

TEST(KilledServer, EveryChangeOnDiskHasItsEventLineWhereverTheKillLands)
{
    e2e::DemoServer::Options options;
    e2e::DemoServer server(options);
    std::ofstream(server.stateFile()) << demoWithManyTasks(600);
    const std::string stale = server.stateFile() + ".tmp.";

    size_t changesSeen = 0;
    size_t linesBefore = 0;
    for (int round = 0; round < 8; round++)
    {
        // A temporary state file of a process that is gone, as a kill in the
        // middle of a write leaves it, is removed when the array is loaded.
        pid_t gone = ::fork();
        if (gone == 0)
            ::_exit(0);
        ::waitpid(gone, nullptr, 0);
        std::ofstream(stale + std::to_string(gone)) << "{\"half\":";

        std::map<unsigned, std::string> before = tasksOnDisk(server.stateFile());
        server.start();
        std::atomic<bool> stop{false};
        std::vector<std::thread> clients;
        for (int c = 0; c < 4; c++)
            clients.emplace_back([&, c] {
                try
                {
                    CIMClient client;
                    e2e::connect(client, server);
                    int n = 0;
                    for (const auto& task : before)
                    {
                        if (stop || task.first < 5000 || n++ % 4 != c)
                            continue;
                        std::string id = "KORVANE:task_id:" + std::to_string(task.first);
                        if (task.second == "running")
                            e2e::terminateJob(client, id);
                        else if (task.second == "completed")
                            client.deleteInstance(kNs, jobPath(id));
                    }
                }
                catch (const Exception&)
                {
                    // The server went away under the client.
                }
            });
        // Kill once the changes are under way, a little later each round.
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (e2e::lines(e2e::readFile(server.eventLog())).size() < linesBefore + 3
            && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        std::this_thread::sleep_for(std::chrono::milliseconds(25 * round));
        server.kill9();
        stop = true;
        for (std::thread& t : clients)
            t.join();

        // Every change the state file shows has its line, with the outcome
        // the client was given.
        std::map<unsigned, std::string> after = tasksOnDisk(server.stateFile());
        std::vector<std::string> events = e2e::lines(e2e::readFile(server.eventLog()));
        std::map<unsigned, std::set<std::string>> logged;
        for (size_t i = linesBefore; i < events.size(); i++)
        {
            nlohmann::json ev = nlohmann::json::parse(events[i]);
            if (ev["code"] == 0)
                for (unsigned id : ev["tasks"].get<std::vector<unsigned>>())
                    logged[id].insert(ev["action"].get<std::string>());
        }
        linesBefore = events.size();
        for (const auto& task : before)
        {
            auto now = after.find(task.first);
            if (now == after.end())
            {
                changesSeen++;
                EXPECT_EQ(1u, logged[task.first].count("remove"))
                    << "round " << round << ": task " << task.first << " removed without its line";
            }
            else if (now->second != task.second)
            {
                changesSeen++;
                EXPECT_EQ("cancelled", now->second) << task.first;
                EXPECT_EQ(1u, logged[task.first].count("cancel"))
                    << "round " << round << ": task " << task.first << " cancelled without its line";
            }
        }

        server.start();
        CIMClient again;
        e2e::connect(again, server);
        EXPECT_FALSE(listJobs(again).ids.empty());
        again.disconnect();
        for (const auto& entry : std::filesystem::directory_iterator(server.dir()))
            EXPECT_NE(0u, entry.path().string().rfind(stale, 0))
                << entry.path() << " is left after a restart";
        server.kill9();
    }
    EXPECT_GE(changesSeen, 5u) << "the kills came before the clients changed anything";
}

// ---------------------------------------------------------------------------
// Logs turned over by size, configured as an operator does.

TEST(Logs, ServerArrayAndEventLogsTurnOverAtTheirConfiguredSize)
{
    const std::pair<const char*, const char*> env[] = {{"VELK_EVENT_LOG_MAX_BYTES", "3000"},
        {"VELK_EVENT_LOG_KEEP", "2"}, {"VELK_LOG_MAX_BYTES", "3000"}, {"VELK_LOG_KEEP", "2"}};
    for (const auto& e : env)
        ::setenv(e.first, e.second, 1);
    e2e::DemoServer::Options options;
    options.extraArgs = {"--log-max-bytes", "3000", "--log-keep", "2"};
    e2e::DemoServer server(options);
    std::ofstream(server.stateFile()) << demoWithManyTasks(100);
    server.start();
    for (const auto& e : env)
        ::unsetenv(e.first);

    CIMClient client;
    e2e::connect(client, server);
    for (int i = 0; i < 100; i += 2)
        client.deleteInstance(kNs, jobPath("KORVANE:task_id:" + std::to_string(5000 + i)));
    client.disconnect();
    EXPECT_EQ(0, server.stop());

    for (const std::string& log : {server.serverLog(), server.arrayLog(), server.eventLog()})
    {
        EXPECT_TRUE(std::filesystem::exists(log + ".2")) << log << " was not turned over";
        EXPECT_FALSE(std::filesystem::exists(log + ".3")) << log;
        std::vector<std::string> all;
        for (const std::string& f : {log + ".2", log + ".1", log})
        {
            std::string text = e2e::readFile(f);
            EXPECT_LE(text.size(), 3000u) << f;
            EXPECT_EQ('\n', text.empty() ? '\n' : text.back()) << f;
            for (const std::string& line : e2e::lines(text))
                all.push_back(line);
        }
        // Each line whole: a time stamp in front, or one JSON record.
        const std::regex stamp("^[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}(\\.[0-9]{3})?Z ");
        for (const std::string& line : all)
            if (log == server.eventLog())
                EXPECT_EQ("remove", nlohmann::json::parse(line)["action"]) << line;
            else
                EXPECT_TRUE(std::regex_search(line, stamp)) << log << ": " << line;
    }
    // The newest deletion's line is in the current event log.
    std::vector<std::string> events = e2e::lines(e2e::readFile(server.eventLog()));
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(5098u, nlohmann::json::parse(events.back())["tasks"][0].get<unsigned>());
}

// ---------------------------------------------------------------------------
// Clients that hang up, and bodies over the limit.

const char* const kEnumerateJobs =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
    "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"4711\" PROTOCOLVERSION=\"1.0\">"
    "<SIMPLEREQ><IMETHODCALL NAME=\"EnumerateInstances\"><LOCALNAMESPACEPATH>"
    "<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"velk\"/></LOCALNAMESPACEPATH>"
    "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"VELK_ConcreteJob\"/></IPARAMVALUE>"
    "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>FALSE</VALUE></IPARAMVALUE>"
    "<IPARAMVALUE NAME=\"IncludeQualifiers\"><VALUE>TRUE</VALUE></IPARAMVALUE>"
    "<IPARAMVALUE NAME=\"IncludeClassOrigin\"><VALUE>TRUE</VALUE></IPARAMVALUE>"
    "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>\n";

class Hangups : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        e2e::DemoServer::Options options;
        options.extraArgs = {"--max-request-bytes", "4096", "--workers", "4"};
        server = new e2e::DemoServer(options);
        server->start();
    }
    static void TearDownTestSuite()
    {
        delete server;
        server = nullptr;
    }

    static int openSocket()
    {
        int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        a.sin_port = htons(uint16_t(server->port()));
        if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0)
        {
            ::close(fd);
            return -1;
        }
        return fd;
    }

    static std::string request(const std::string& body)
    {
        const e2e::DemoServer::Options& o = server->options();
        return e2e::HttpConnection::cimRequest("EnumerateInstances", "root%2Fvelk", body, o.user,
            o.password, false);
    }

    static bool sendAll(int fd, const std::string& data)
    {
        size_t done = 0;
        while (done < data.size())
        {
            ssize_t n = ::send(fd, data.data() + done, data.size() - done, MSG_NOSIGNAL);
            if (n <= 0)
                return false;
            done += size_t(n);
        }
        return true;
    }

    // Whether `in` holds a whole HTTP answer (headers and Content-Length).
    static bool wholeAnswer(const std::string& in)
    {
        std::string::size_type end = in.find("\r\n\r\n");
        if (end == std::string::npos)
            return false;
        std::string::size_type len = in.find("Content-Length: ");
        size_t body = len < end ? size_t(std::atol(in.c_str() + len + 16)) : 0;
        return in.size() >= end + 4 + body;
    }

    // Reads until `enough` bytes or one whole answer came, the peer closed,
    // or 10 s passed.
    static std::string receive(int fd, size_t enough)
    {
        std::string in;
        char buf[8192];
        auto until = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (in.size() < enough && !wholeAnswer(in) && std::chrono::steady_clock::now() < until)
        {
            pollfd p{fd, POLLIN, 0};
            if (::poll(&p, 1, 200) <= 0)
                continue;
            ssize_t n = ::recv(fd, buf, sizeof buf, 0);
            if (n <= 0)
                break;
            in.append(buf, size_t(n));
        }
        return in;
    }

    static size_t countJobs()
    {
        CIMClient client;
        e2e::connect(client, *server);
        return client.enumerateInstances(kNs, CIMName("VELK_ConcreteJob"), true, false, true,
            true, CIMPropertyList()).size();
    }

    static e2e::DemoServer* server;
};

e2e::DemoServer* Hangups::server = nullptr;

TEST_F(Hangups, ClientsThatCloseMidAnswerLeaveTheServerServing)
{
    const size_t jobs = countJobs();
    ASSERT_GT(jobs, 10u);

    // The raw request is a valid one: read whole, it is the full answer.
    int fd = openSocket();
    ASSERT_GE(fd, 0);
    const std::string body = kEnumerateJobs;
    ASSERT_TRUE(sendAll(fd, request(body)));
    std::string whole = receive(fd, 1u << 30);
    ::close(fd);
    ASSERT_EQ(0u, whole.find("HTTP/1.1 200")) << whole.substr(0, 200);
    ASSERT_NE(std::string::npos, whole.find("</CIM>"));
    ASSERT_GT(whole.size(), 20000u);

    // Many answers queued on each connection, a few bytes read, then gone;
    // half of the connections are reset rather than closed.
    std::vector<std::thread> hangups;
    for (int t = 0; t < 8; t++)
        hangups.emplace_back([&, t] {
            int s = openSocket();
            if (s < 0)
                return;
            std::string pipeline;
            for (int i = 0; i < 20; i++)
                pipeline += request(body);
            sendAll(s, pipeline);
            receive(s, 100);
            if (t % 2)
            {
                linger l{1, 0};
                ::setsockopt(s, SOL_SOCKET, SO_LINGER, &l, sizeof l);
            }
            ::close(s);
        });
    for (std::thread& t : hangups)
        t.join();

    // A request cut off in the middle of its body, and one in its headers.
    fd = openSocket();
    ASSERT_GE(fd, 0);
    std::string cut = request(body);
    ASSERT_TRUE(sendAll(fd, cut.substr(0, cut.size() - body.size() / 2)));
    ::close(fd);
    fd = openSocket();
    ASSERT_GE(fd, 0);
    ASSERT_TRUE(sendAll(fd, cut.substr(0, 40)));
    ::close(fd);

    EXPECT_EQ(jobs, countJobs());
    EXPECT_EQ(0, server->stop());
    server->start();
}

TEST_F(Hangups, BodiesOverTheLimitAreRefusedWith413)
{
    // Raw: a declared length over the limit is refused without the body.
    int fd = openSocket();
    ASSERT_GE(fd, 0);
    std::string big(8192, ' ');
    big.replace(0, std::char_traits<char>::length(kEnumerateJobs), kEnumerateJobs);
    ASSERT_TRUE(sendAll(fd, request(big)));
    std::string answer = receive(fd, 1u << 20);
    ::close(fd);
    EXPECT_EQ(0u, answer.find("HTTP/1.1 413 Payload Too Large\r\n")) << answer.substr(0, 200);

    // Through the client: a method call with a parameter too long to send.
    CIMClient client;
    e2e::connect(client, *server);
    Array<CIMParamValue> in;
    Array<CIMParamValue> out;
    in.append(CIMParamValue(String("RequestedState"), CIMValue(Uint16(4))));
    in.append(CIMParamValue(String("Comment"), CIMValue(String(std::string(6000, 'x').c_str()))));
    try
    {
        client.invokeMethod(kNs, jobPath("KORVANE:task_id:1001"), CIMName("RequestStateChange"),
            in, out);
        ADD_FAILURE() << "an oversized request was served";
    }
    catch (const CIMClientHTTPErrorException& e)
    {
        EXPECT_EQ(413u, e.getCode()) << text(e.getMessage());
    }

    // The server still answers normal requests, on a new connection and on
    // the client's own.
    EXPECT_GT(countJobs(), 10u);
    client.disconnect();
    e2e::connect(client, *server);
    EXPECT_GT(client.enumerateInstanceNames(kNs, CIMName("VELK_ConcreteJob")).size(), 10u);
}

} // namespace

// ---------------------------------------------------------------------------
// What the other classes answer while the array's semaphore times out: the
// job module's own classes what they answer for an array they cannot read
// (nothing, or not found), the server's companion classes CIM_ERR_FAILED
// with the reason.

TEST_F(FaultsWhileServing, SemaphoreTimeOutAnswersOfTheOtherClasses)
{
    CIMClient c;
    connect(c);
    Jobs jobs = listJobs(c);
    ASSERT_FALSE(jobs.ids.empty());
    const std::string job = jobs.ids[0];
    Array<CIMObjectPath> services = c.enumerateInstanceNames(kNs,
        CIMName("VELK_StorageConfigurationService"));
    ASSERT_EQ(1u, services.size());
    Array<CIMObjectPath> volumes = c.enumerateInstanceNames(kNs, CIMName("VELK_StorageVolume"));
    ASSERT_NE(0u, volumes.size());
    auto count = [](Uint32 n) { return "count:" + std::to_string(n); };
    auto enumerate = [&](const char* cls) {
        return [&c, count, cls] {
            return count(c.enumerateInstances(kNs, CIMName(cls), true, false, false, false,
                CIMPropertyList()).size());
        };
    };
    const std::string timedOut = kFailedError + "cim_sem_wait: Semaphore Timed-Out";
    struct Row
    {
        std::string name;
        std::function<std::string()> send;
        std::string expected;
    };
    std::vector<Row> rows = {
        {"EnumerateInstances VELK_MethodResult", enumerate("VELK_MethodResult"), "count:0"},
        {"EnumerateInstances VELK_OwningJobElement", enumerate("VELK_OwningJobElement"),
            "count:0"},
        {"EnumerateInstances VELK_AssociatedJobMethodResult",
            enumerate("VELK_AssociatedJobMethodResult"), "count:0"},
        {"GetError", [&] {
             Array<CIMParamValue> out;
             c.invokeMethod(kNs, jobPath(job), CIMName("GetError"), Array<CIMParamValue>(), out);
             return std::string("ok");
         }, kNotFoundError},
        {"References of the service", [&] {
             return count(c.references(kNs, services[0]).size());
         }, "count:0"},
        {"Associators of a job to its method result", [&] {
             return count(c.associators(kNs, jobPath(job),
                 CIMName("VELK_AssociatedJobMethodResult")).size());
         }, "CIM 6: CIM_ERR_NOT_FOUND: VELK_MethodResultProvider CIM Object not found." + job},
        {"Associators of a job to its volumes", [&] {
             return count(c.associators(kNs, jobPath(job),
                 CIMName("VELK_AffectedJobElement")).size());
         }, timedOut},
        {"EnumerateInstances VELK_StorageConfigurationService",
            enumerate("VELK_StorageConfigurationService"), timedOut},
        {"EnumerateInstances VELK_ReplicationService", enumerate("VELK_ReplicationService"),
            timedOut},
        {"EnumerateInstances VELK_StorageVolume", enumerate("VELK_StorageVolume"), timedOut},
        {"EnumerateInstances VELK_StorageSynchronized", enumerate("VELK_StorageSynchronized"),
            timedOut},
        {"GetInstance VELK_StorageVolume", [&] {
             c.getInstance(kNs, volumes[0], false, false, false, CIMPropertyList());
             return std::string("ok");
         }, timedOut},
    };
    // Every provider is started before the semaphore times out.
    for (const Row& r : rows)
        EXPECT_EQ(std::string::npos, answerOf(r.send).find("CIM ")) << r.name;

    velksim::injectSemaphoreTimeout();
    for (const Row& r : rows)
        EXPECT_EQ(r.expected, answerOf(r.send)) << r.name;
    velksim::clearFaults();
    EXPECT_EQ(jobs.ids, listJobs(c).ids);
}
