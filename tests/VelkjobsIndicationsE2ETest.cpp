// `velkjobs watch --indications` against cimhost: it subscribes, redraws as
// job indications arrive, and leaves no subscription behind, whether it ends
// by itself or by SIGTERM.
#include "support/CimClientTest.h"

#include <Pegasus/Client/CIMClient.h>

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <regex>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

PEGASUS_USING_PEGASUS;

namespace
{

// One copy job that moves a percent about every 0.3 s.
const char* const STATE = R"({
  "system": {"name": "ArrayOne", "host_name": "ctl1.example.test"},
  "users": [{"name": "root", "role": "super", "cim_access": true},
            {"name": "storageadmin", "role": "super", "cim_access": true},
            {"name": "nocim", "role": "super", "cim_access": false}],
  "tasks": [
    {"id": 1001, "type": "TASK_VVCOPY", "name": "src1->copy1", "user": "root", "phases": ["copy"],
     "step_max": 100, "start": "now", "duration": 30}
  ],
  "volumes": [{"name": "src1", "id": 1, "size_mib": 1024}, {"name": "copy1", "id": 2, "size_mib": 1024}]
})";

const CIMNamespaceName INTEROP("root/interop");

class VelkjobsIndications : public ::testing::Test
{
protected:
    void SetUp() override
    {
        server.reset(new e2e::DemoServer());
        std::ofstream(server->stateFile()) << STATE;
        // Users cimhost knows but the array refuses: one it does not know,
        // one without CIM access.
        for (const char* user : {"stranger", "nocim"})
            server->addUser(user);
        server->start();
        e2e::connect(client, *server);
    }
    void TearDown() override { client.disconnect(); }

    std::vector<std::string> velkjobs(std::vector<std::string> args) const
    {
        args.insert(args.begin(), {VELK_BIN_DIR "/velkjobs", "--url", server->url()});
        return args;
    }

    // Filters, destinations and subscriptions on the server.
    size_t subscriptionObjects()
    {
        return client.enumerateInstanceNames(INTEROP, CIMName("CIM_IndicationFilter")).size() +
            client.enumerateInstanceNames(INTEROP, CIMName("CIM_ListenerDestinationCIMXML")).size() +
            client.enumerateInstanceNames(INTEROP, CIMName("CIM_IndicationSubscription")).size();
    }

    std::unique_ptr<e2e::DemoServer> server;
    CIMClient client;
};

TEST_F(VelkjobsIndications, RedrawsAsIndicationsArriveAndUnsubscribesAtTheEndOrOnSigterm)
{
    e2e::Result r = e2e::run(velkjobs({"watch", "--indications", "--frames", "4"}));
    ASSERT_EQ(0, r.status) << r.out;
    // Four screens, the later ones drawn from indications: the job moved.
    std::vector<int> percents;
    std::regex bar("1001 .*\\] +([0-9]+)%");
    for (const std::string& line : e2e::lines(r.out))
    {
        std::smatch m;
        if (std::regex_search(line, m, bar))
            percents.push_back(std::stoi(m[1]));
    }
    ASSERT_EQ(4u, percents.size()) << r.out;
    EXPECT_LT(percents.front(), percents.back()) << r.out;
    EXPECT_EQ(0u, subscriptionObjects());

    // Ended by SIGTERM (as by Ctrl-C), it removes its subscription too.
    std::vector<std::string> args = velkjobs({"watch", "--indications"});
    std::vector<char*> argv;
    for (std::string& a : args)
        argv.push_back(&a[0]);
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    ASSERT_EQ(0, posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ));
    posix_spawn_file_actions_destroy(&actions);

    for (int i = 0; i < 200 && subscriptionObjects() < 3; i++)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(3u, subscriptionObjects());
    ::kill(pid, SIGTERM);
    int status = 0;
    ASSERT_EQ(pid, ::waitpid(pid, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(0u, subscriptionObjects());
}

TEST_F(VelkjobsIndications, UsersTheArrayRefusesCannotSubscribe)
{
    const char* const queries[] = {
        "SELECT * FROM CIM_InstModification WHERE SourceInstance ISA VELK_ConcreteJob",
        "SELECT * FROM CIM_InstIndication",
    };
    int n = 0;
    for (const char* user : {"stranger", "nocim"})
    {
        CIMClient refused;
        e2e::connect(refused, *server, user);
        for (const char* query : queries)
        {
            SCOPED_TRACE(std::string(user) + ": " + query);
            const String name = String(("refused" + std::to_string(n++)).c_str());
            CIMInstance f(CIMName("CIM_IndicationFilter"));
            f.addProperty(CIMProperty(CIMName("Name"), CIMValue(name)));
            f.addProperty(CIMProperty(CIMName("Query"), CIMValue(String(query))));
            f.addProperty(CIMProperty(CIMName("QueryLanguage"), CIMValue(String("WQL"))));
            f.addProperty(CIMProperty(CIMName("SourceNamespace"), CIMValue(String("root/velk"))));
            CIMObjectPath filter = refused.createInstance(INTEROP, f);
            CIMInstance d(CIMName("CIM_ListenerDestinationCIMXML"));
            d.addProperty(CIMProperty(CIMName("Name"), CIMValue(name)));
            d.addProperty(CIMProperty(CIMName("Destination"),
                CIMValue(String("http://127.0.0.1:9/"))));
            CIMObjectPath handler = refused.createInstance(INTEROP, d);
            CIMInstance s(CIMName("CIM_IndicationSubscription"));
            s.addProperty(CIMProperty(CIMName("Filter"), CIMValue(filter)));
            s.addProperty(CIMProperty(CIMName("Handler"), CIMValue(handler)));
            try
            {
                refused.createInstance(INTEROP, s);
                ADD_FAILURE() << "subscription accepted";
            }
            catch (const CIMException& e)
            {
                EXPECT_EQ(CIM_ERR_ACCESS_DENIED, e.getCode());
                EXPECT_EQ("CIM_ERR_ACCESS_DENIED: Insufficient privilege for the user",
                    std::string(e.getMessage().getCString()));
            }
            EXPECT_EQ(0u,
                client.enumerateInstanceNames(INTEROP, CIMName("CIM_IndicationSubscription")).size());
            // The same filter and handler are the array user's to join.
            CIMObjectPath joined = client.createInstance(INTEROP, s);
            client.deleteInstance(INTEROP, joined);
        }
    }
}

} // namespace
