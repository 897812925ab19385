// Hardening end to end, against cimhost over TCP and its local socket: who
// may change the schema and the stored instances, job keys that must name
// exactly one job, and providers' local connections that reach their own
// server whatever the socket configuration and however busy the socket is.
#include "support/CimClientTest.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Client/CIMClientException.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace
{

const CIMNamespaceName kVelk("root/velk");
const CIMNamespaceName kInterop("root/PG_InterOp");

using e2e::jobPath;
using e2e::outcome;
using e2e::text;

int codeOf(const std::string& outcomeText)
{
    if (outcomeText.compare(0, 4, "CIM ") != 0)
        return outcomeText == "ok" ? 0 : -1;
    return std::atoi(outcomeText.c_str() + 4);
}

std::string processUser()
{
    passwd* pw = ::getpwuid(::geteuid());
    return pw ? pw->pw_name : "";
}

void connectLocal(CIMClient& client, const e2e::DemoServer& server)
{
    ::setenv("CIMHOST_SOCKET", server.socketPath().c_str(), 1);
    client.connectLocal();
    ::unsetenv("CIMHOST_SOCKET");
}

// A class of the test's own, in root/velk.
CIMClass probeClass()
{
    CIMClass c(CIMName("HARDENING_Probe"));
    CIMProperty key(CIMName("Id"), CIMValue(String()));
    key.addQualifier(CIMQualifier(CIMName("Key"), CIMValue(Boolean(true))));
    c.addProperty(key);
    c.addProperty(CIMProperty(CIMName("Note"), CIMValue(String())));
    return c;
}

CIMInstance probeInstance(const char* id, const char* note)
{
    CIMInstance i(CIMName("HARDENING_Probe"));
    i.addProperty(CIMProperty(CIMName("Id"), CIMValue(String(id))));
    i.addProperty(CIMProperty(CIMName("Note"), CIMValue(String(note))));
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Id"), String(id), CIMKeyBinding::STRING));
    i.setPath(CIMObjectPath(String(), kVelk, CIMName("HARDENING_Probe"), keys));
    return i;
}

// Every kind of change of the schema or of stored instances a client can ask
// for. The first five, in order, make the probe class and an instance of it,
// change and remove them again.
struct Change
{
    std::string name;
    std::function<void(CIMClient&)> send;
};

std::vector<Change> repositoryChanges(const Array<CIMObjectPath>& storedModules)
{
    return {
        {"CreateClass", [](CIMClient& c) { c.createClass(kVelk, probeClass()); }},
        {"CreateInstance", [](CIMClient& c) {
             c.createInstance(kVelk, probeInstance("p1", "first"));
         }},
        {"ModifyInstance", [](CIMClient& c) {
             c.modifyInstance(kVelk, probeInstance("p1", "second"), false, CIMPropertyList());
         }},
        {"DeleteInstance", [](CIMClient& c) {
             c.deleteInstance(kVelk, probeInstance("p1", "").getPath());
         }},
        {"DeleteClass", [](CIMClient& c) { c.deleteClass(kVelk, CIMName("HARDENING_Probe")); }},
        // Changes of what the server serves from: refused to all but
        // administrators; administrators get past the check and are refused
        // by the operation itself (ModifyClass is not served), or are not
        // asked (the job class and the registrations stay).
        {"ModifyClass", [](CIMClient& c) {
             c.modifyClass(kVelk, c.getClass(kVelk, CIMName("VELK_ConcreteJob")));
         }},
        {"DeleteClass VELK_ConcreteJob", [](CIMClient& c) {
             c.deleteClass(kVelk, CIMName("VELK_ConcreteJob"));
         }},
        {"DeleteInstance of a registration", [storedModules](CIMClient& c) {
             c.deleteInstance(kInterop, storedModules[0]);
         }},
    };
}

Uint32 jobCount(CIMClient& client)
{
    return client.enumerateInstanceNames(kVelk, CIMName("VELK_ConcreteJob")).size();
}

} // namespace

// ---------------------------------------------------------------------------
// Changes of the schema and of stored instances need an administrator.

TEST(RepositoryAuthorization, OnlyAdministratorsChangeTheSchemaAndStoredInstances)
{
    e2e::DemoServer::Options options;
    options.extraArgs = {"--administrator", "storageadmin"};
    e2e::DemoServer server(options);
    // operator may edit the array, monitor only browse it, stranger is not
    // one of its users at all: to the repository all three are alike.
    for (const char* user : {"operator", "monitor", "stranger"})
        server.addUser(user);
    server.start();

    CIMClient admin;
    e2e::connect(admin, server);
    const Uint32 jobs = jobCount(admin);
    ASSERT_GT(jobs, 0u);
    Array<CIMObjectPath> modules =
        admin.enumerateInstanceNames(kInterop, CIMName("PG_ProviderModule"));
    ASSERT_GT(modules.size(), 0u);
    std::vector<Change> changes = repositoryChanges(modules);
    // The administrator makes a class and a stored instance of it.
    ASSERT_EQ("ok", outcome([&] { changes[0].send(admin); }));
    ASSERT_EQ("ok", outcome([&] { changes[1].send(admin); }));
    auto note = [&] {
        CIMInstance i = admin.getInstance(kVelk, probeInstance("p1", "").getPath());
        String value;
        i.getProperty(i.findProperty(CIMName("Note"))).getValue().get(value);
        return text(value);
    };

    for (const char* user : {"operator", "monitor", "stranger"})
    {
        CIMClient c;
        e2e::connect(c, server, user);
        for (const Change& change : changes)
        {
            std::string got = outcome([&] { change.send(c); });
            EXPECT_EQ(2, codeOf(got)) << user << " " << change.name << ": " << got;
            std::string op = change.name.substr(0, change.name.find(' '));
            EXPECT_NE(std::string::npos, got.find(op + ": only an administrator may change "
                "the schema or stored instances")) << user << " " << change.name << ": " << got;
        }
        // Reading the repository stays open to every authenticated user.
        EXPECT_EQ("ok", outcome([&] { c.getClass(kVelk, CIMName("VELK_ConcreteJob")); })) << user;
        EXPECT_EQ("ok", outcome([&] {
            c.getInstance(kVelk, probeInstance("p1", "").getPath());
        })) << user;
        EXPECT_EQ("ok", outcome([&] {
            c.enumerateInstanceNames(kInterop, CIMName("PG_ProviderModule"));
        })) << user;
    }
    // Nothing changed: the jobs are served, the registrations and the
    // stored instance are as they were.
    EXPECT_EQ(jobs, jobCount(admin));
    EXPECT_EQ(modules.size(),
        admin.enumerateInstanceNames(kInterop, CIMName("PG_ProviderModule")).size());
    EXPECT_EQ("first", note());

    // The administrator gets through the rest; ModifyClass itself is not
    // served.
    EXPECT_EQ("ok", outcome([&] { changes[2].send(admin); }));
    EXPECT_EQ("second", note());
    EXPECT_EQ("ok", outcome([&] { changes[3].send(admin); }));
    EXPECT_EQ("ok", outcome([&] { changes[4].send(admin); }));
    EXPECT_NE("ok", outcome([&] { admin.getClass(kVelk, CIMName("HARDENING_Probe")); }));
    EXPECT_EQ(7, codeOf(outcome([&] { changes[5].send(admin); })));
    EXPECT_EQ(jobs, jobCount(admin));
}

TEST(RepositoryAuthorization, LocalSocketPeersAreAdministratorsOnlyByName)
{
    const std::string me = processUser();
    ASSERT_FALSE(me.empty());
    std::vector<Change> changes = repositoryChanges(Array<CIMObjectPath>());
    {
        // The peer's uid counts by its name only: unlisted, it may not change
        // anything, root and the server's own uid included.
        e2e::DemoServer::Options options;
        options.extraArgs = {"--administrator", "storageadmin,someone_else"};
        e2e::DemoServer server(options);
        server.start();
        CIMClient local;
        connectLocal(local, server);
        ASSERT_GT(jobCount(local), 0u);
        EXPECT_EQ(2, codeOf(outcome([&] { changes[0].send(local); })));
        EXPECT_EQ(2, codeOf(outcome([&] { changes[6].send(local); })));
        EXPECT_GT(jobCount(local), 0u);
    }
    {
        // Listed in the configuration file, it may; storageadmin, no longer
        // listed, may not.
        const std::string config = "/tmp/velk-hardening-" + std::to_string(::getpid()) + ".conf";
        std::ofstream(config) << "administrator = " << me << "\n";
        e2e::DemoServer::Options options;
        options.extraArgs = {"--config", config};
        e2e::DemoServer server(options);
        server.start();
        ::unlink(config.c_str());
        CIMClient network;
        e2e::connect(network, server);
        EXPECT_EQ(2, codeOf(outcome([&] { changes[0].send(network); })));
        CIMClient local;
        connectLocal(local, server);
        EXPECT_EQ("ok", outcome([&] { changes[0].send(local); }));
        EXPECT_EQ("ok", outcome([&] { changes[4].send(local); }));
        EXPECT_GT(jobCount(local), 0u);
    }
}

// ---------------------------------------------------------------------------
// A task number too large for 32 bits names no task: it never wraps onto
// another task.

namespace
{

// The tasks of the state file (id, type and state), and the event log: what
// a refused request must leave as it was.
std::string arrayTasks(const e2e::DemoServer& server)
{
    nlohmann::json state = nlohmann::json::parse(e2e::readFile(server.stateFile()));
    nlohmann::json tasks = nlohmann::json::array();
    for (const auto& t : state["tasks"])
        tasks.push_back({t["id"], t["type"], t.value("state", "running")});
    return tasks.dump();
}

} // namespace

TEST(JobKeys, NumbersBeyond32BitsNameNoTask)
{
    e2e::DemoServer server;
    server.start();
    CIMClient c;
    e2e::connect(c, server);

    // Task 1002 is an ended copy, which the array would let go.
    const char* const keys[] = {
        "KORVANE:task_id:4294968298",       // 1002 + 2^32
        "KORVANE:task_id:-4294968298",
        "KORVANE:task_id:18446744073709552618", // 1002 + 2^64
    };
    const std::string notFound = "VELK_ConcreteJobProvider CIM Object not found.";
    const std::string tasksBefore = arrayTasks(server);
    const std::string eventsBefore = e2e::readFile(server.eventLog());

    for (const char* key : keys)
    {
        std::string got = outcome([&] {
            c.getInstance(kVelk, jobPath(key), false, false, false, CIMPropertyList());
        });
        EXPECT_EQ(6, codeOf(got)) << "GetInstance " << key << ": " << got;
        EXPECT_NE(std::string::npos, got.find(notFound + key)) << "GetInstance " << got;

        got = outcome([&] { c.deleteInstance(kVelk, jobPath(key)); });
        EXPECT_EQ("CIM 1", got.substr(0, 5)) << "DeleteInstance " << key << ": " << got;
        EXPECT_NE(std::string::npos,
            got.find("VELK_ConcreteJobProvider Invalid key names or values")) << got;

        got = outcome([&] { e2e::terminateJob(c, key); });
        EXPECT_EQ(6, codeOf(got)) << "RequestStateChange " << key << ": " << got;
        EXPECT_EQ(got.size() - notFound.size(), got.rfind(notFound))
            << "RequestStateChange " << got;
    }
    EXPECT_EQ(tasksBefore, arrayTasks(server));
    EXPECT_EQ(eventsBefore, e2e::readFile(server.eventLog()));

    // The task's own key names the job: the array lets the ended copy go.
    EXPECT_EQ("ok", outcome([&] { c.deleteInstance(kVelk, jobPath("KORVANE:task_id:1002")); }));
    EXPECT_EQ(6, codeOf(outcome([&] {
        c.getInstance(kVelk, jobPath("KORVANE:task_id:1002"), false, false, false,
            CIMPropertyList());
    })));
}

// ---------------------------------------------------------------------------
// Providers reach their own server in process: job requests work whatever
// the socket configuration, and while others hold every socket worker.

namespace
{

void expectJobsServed(const e2e::DemoServer& server)
{
    CIMClient c;
    e2e::connect(c, server);
    std::string got = outcome([&] {
        Array<CIMObjectPath> paths =
            c.enumerateInstanceNames(kVelk, CIMName("VELK_ConcreteJob"));
        ASSERT_GT(paths.size(), 0u);
        c.getInstance(kVelk, paths[0], false, false, false, CIMPropertyList());
        c.enumerateInstances(kVelk, CIMName("VELK_MethodResult"), true, false, false, false,
            CIMPropertyList());
    });
    EXPECT_EQ("ok", got);
    EXPECT_EQ(std::string::npos,
        e2e::readFile(server.serverLog()).find("initialize() failed"));
}

} // namespace

// With --socket PATH that CIMHOST_SOCKET does not name, and with no socket.
TEST(ProviderUpCalls, ReachTheirOwnServerWhateverSocketIsConfigured)
{
    for (bool withSocket : {true, false})
    {
        SCOPED_TRACE(withSocket ? "--socket PATH, no variable" : "--socket \"\"");
        e2e::DemoServer::Options options;
        options.socketVariable = false;
        options.socket = withSocket;
        e2e::DemoServer server(options);
        server.start();
        expectJobsServed(server);
    }
}

TEST(ProviderUpCalls, ReachTheirOwnServerWhileIdleConnectionsFillTheSocket)
{
    e2e::DemoServer::Options options;
    options.extraArgs = {"--max-connections", "4", "--max-connections-per-peer", "4"};
    e2e::DemoServer server(options);
    server.start();

    // Connections that never send a request, as many as the socket takes.
    // The server admits each on its own thread, so a later client can be
    // admitted before an idle one, which is then turned away: such an idle
    // connection is opened again until the server holds all four and turns
    // a local client away.
    auto openIdle = [&server] {
        int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un addr;
        std::memset(&addr, 0, sizeof addr);
        addr.sun_family = AF_UNIX;
        std::strncpy(addr.sun_path, server.socketPath().c_str(), sizeof addr.sun_path - 1);
        if (fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0)
        {
            ::close(fd);
            fd = -1;
        }
        return fd;
    };
    std::vector<int> idle;
    for (int i = 0; i < 4; i++)
    {
        idle.push_back(openIdle());
        ASSERT_GE(idle.back(), 0);
    }
    bool full = false;
    for (int attempt = 0; attempt < 50 && !full; attempt++)
    {
        for (int& fd : idle)
        {
            pollfd p{fd, POLLIN, 0};
            if (::poll(&p, 1, 0) > 0)
            {
                ::close(fd);
                fd = openIdle();
                ASSERT_GE(fd, 0);
            }
        }
        CIMClient local;
        local.setTimeout(5000);
        connectLocal(local, server);
        full = outcome([&] { jobCount(local); }) != "ok";
        if (!full)
            ::usleep(100 * 1000);
    }
    EXPECT_TRUE(full) << "the socket never filled up";

    // The job providers start now, and ask their server all the same.
    expectJobsServed(server);
    for (int fd : idle)
        ::close(fd);
}
