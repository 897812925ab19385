// End to end: cimhost serving the job module over a copy of the demo array,
// asked with the sblim wbemcli client over HTTP.
#include "support/DemoServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace
{

using e2e::readFile;
using e2e::Result;

const char kUser[] = "operator";
const char kPassword[] = "op-secret-7";

// The task ids of the demo array that are jobs, in task order.
std::vector<int> demoJobIds(const std::string& stateFile)
{
    static const std::set<std::string> supported = {"TASK_VVCOPY",
        "TASK_PROMOTESV", "TASK_RC_SYNC", "TASK_SS_ACC",
        "TASK_PHYSCOPY_RESYNC", "TASK_RC_REVERSE", "TASK_RC_FAILOVER",
        "TASK_RC_RECOVER", "TASK_RC_RESTORE", "TASK_ONLINE_COPY",
        "TASK_RC_SWITCHOVER", "TASK_RC_FAILSAFE", "TASK_RC_CHG_MODE"};
    nlohmann::json state = nlohmann::json::parse(readFile(stateFile));
    std::vector<int> ids;
    for (const auto& t : state["tasks"])
        if (supported.count(t["type"].get<std::string>()))
            ids.push_back(t["id"].get<int>());
    return ids;
}

// Task ids named in wbemcli output, one per object, in output order.
std::vector<int> idsIn(const std::string& text)
{
    std::vector<int> ids;
    std::istringstream in(text);
    std::string line;
    std::regex re("VELK_ConcreteJob\\.InstanceID=\"KORVANE:task_id:([0-9]+)\"");
    while (std::getline(in, line))
    {
        std::smatch m;
        if (std::regex_search(line, m, re))
            ids.push_back(std::stoi(m[1]));
    }
    return ids;
}

// The properties wbemcli -nl prints for the object whose path names the
// task: name -> text.
std::map<std::string, std::string> propertiesOf(const std::string& text,
    int taskId)
{
    std::map<std::string, std::string> props;
    std::istringstream in(text);
    std::string line;
    std::string marker = "KORVANE:task_id:" + std::to_string(taskId) + "\"";
    bool inside = false;
    std::regex pathLine("^\\S*VELK_ConcreteJob\\.InstanceID=");
    while (std::getline(in, line))
    {
        if (std::regex_search(line, pathLine))
        {
            inside = line.find(marker) != std::string::npos;
            continue;
        }
        if (!inside || line.size() < 2 || line[0] != '-')
            continue;
        size_t eq = line.find('=');
        if (eq == std::string::npos)
            continue;
        std::string value = line.substr(eq + 1);
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        props[line.substr(1, eq - 1)] = value;
    }
    return props;
}

class JobEndToEnd : public ::testing::Test
{
protected:
    void SetUp() override
    {
        e2e::DemoServer::Options options;
        options.user = kUser;
        options.password = kPassword;
        options.extraArgs = {"--workers", "2"};
        server = std::make_unique<e2e::DemoServer>(options);
        server->start();
        state = server->stateFile();
        events = server->eventLog();
    }

    std::string url(const std::string& object = "VELK_ConcreteJob")
    {
        return server->velkUrl(object);
    }

    std::string jobUrl(int taskId)
    {
        return url("VELK_ConcreteJob.InstanceID=\"KORVANE:task_id:" +
            std::to_string(taskId) + "\"");
    }

    Result wbemcli(const std::vector<std::string>& args)
    {
        std::vector<std::string> argv = {"wbemcli"};
        argv.insert(argv.end(), args.begin(), args.end());
        return e2e::run(argv);
    }

    void stop() { server->stop(); }
    void start() { server->start(); }

    std::unique_ptr<e2e::DemoServer> server;
    std::string state;
    std::string events;
};

} // namespace

TEST_F(JobEndToEnd, EnumerationShowsEveryJobOfTheDemoArrayAndOnlyThose)
{
    std::vector<int> expected = demoJobIds(state);
    ASSERT_EQ(21u, expected.size());

    Result names = wbemcli({"ein", url()});
    ASSERT_EQ(0, names.status) << names.out;
    EXPECT_EQ(expected, idsIn(names.out)) << names.out;

    Result instances = wbemcli({"-nl", "ei", url()});
    ASSERT_EQ(0, instances.status) << instances.out;
    EXPECT_EQ(expected, idsIn(instances.out)) << instances.out;

    // A running copy, a failed copy, a cancelled promote, a failover.
    auto running = propertiesOf(instances.out, 1001);
    EXPECT_EQ("1001", running["ElementName"]);
    EXPECT_EQ("vol_db01->vol_db01_copy", running["Name"]);
    EXPECT_EQ("vol_db01", running["SourceElementName"]);
    EXPECT_EQ("vol_db01_copy", running["TargetElementName"]);
    EXPECT_EQ("4", running["JobState"]);
    EXPECT_EQ("OK", running["JobStatus"]);
    EXPECT_EQ("7", running["JobType"]);
    EXPECT_EQ("VELK_StorageConfigurationService", running["Owner"]);
    EXPECT_EQ("00000030000000.000000:000", running["TimeBeforeRemoval"]);

    auto failed = propertiesOf(instances.out, 1003);
    EXPECT_EQ("10", failed["JobState"]);
    EXPECT_EQ("Error", failed["JobStatus"]);
    EXPECT_EQ("28", failed["ErrorCode"]);
    EXPECT_EQ("100", failed["PercentComplete"]);

    auto cancelled = propertiesOf(instances.out, 1005);
    EXPECT_EQ("8", cancelled["JobState"]);
    EXPECT_EQ("Stopped", cancelled["JobStatus"]);

    auto failover = propertiesOf(instances.out, 1015);
    EXPECT_EQ("rcg_finance", failover["SourceElementName"]);
    EXPECT_EQ("VELK_ReplicationService", failover["Owner"]);
    EXPECT_FALSE(failover["TargetElementName"].empty());

    // getInstance gives the same job.
    Result one = wbemcli({"-nl", "gi", jobUrl(1003)});
    ASSERT_EQ(0, one.status) << one.out;
    auto got = propertiesOf(one.out, 1003);
    EXPECT_EQ("10", got["JobState"]);
    EXPECT_EQ("28", got["ErrorCode"]);

    // Tasks of other kinds are not jobs.
    Result sched = wbemcli({"gi", jobUrl(1022)});
    EXPECT_NE(0, sched.status);
    EXPECT_NE(std::string::npos, sched.out.find("CIM_ERR_NOT_FOUND")) << sched.out;
}

TEST_F(JobEndToEnd, DeletingCompletedAndRunningJobs)
{
    Result done = wbemcli({"di", jobUrl(1002)});
    EXPECT_EQ(0, done.status) << done.out;
    std::vector<int> left = idsIn(wbemcli({"ein", url()}).out);
    EXPECT_EQ(left.end(), std::find(left.begin(), left.end(), 1002));
    EXPECT_EQ(20u, left.size());

    Result running = wbemcli({"di", jobUrl(1001)});
    EXPECT_NE(0, running.status);
    EXPECT_NE(std::string::npos,
        running.out.find("Task 1001 is still active and cannot be removed"))
        << running.out;
    left = idsIn(wbemcli({"ein", url()}).out);
    EXPECT_NE(left.end(), std::find(left.begin(), left.end(), 1001));
}

TEST_F(JobEndToEnd, TerminatingARunningJobSurvivesARestart)
{
    Result call = wbemcli({"cm", jobUrl(1004),
        "RequestStateChange.RequestedState=4"});
    ASSERT_EQ(0, call.status) << call.out;
    EXPECT_NE(std::string::npos, call.out.find("4096")) << call.out;

    auto props = propertiesOf(
        wbemcli({"-nl", "gi", jobUrl(1004)}).out, 1004);
    EXPECT_EQ("8", props["JobState"]);
    EXPECT_EQ("Stopped", props["JobStatus"]);

    // The change is in the state file: a new server still shows it.
    stop();
    start();
    props = propertiesOf(
        wbemcli({"-nl", "gi", jobUrl(1004)}).out, 1004);
    EXPECT_EQ("8", props["JobState"]);

    // One event line naming who, from where, and what.
    std::istringstream lines(readFile(events));
    std::vector<std::string> cancels;
    std::string line;
    while (std::getline(lines, line))
        if (line.find("RequestStateChange") != std::string::npos)
            cancels.push_back(line);
    ASSERT_EQ(1u, cancels.size()) << readFile(events);
    EXPECT_NE(std::string::npos, cancels[0].find(kUser)) << cancels[0];
    EXPECT_NE(std::string::npos, cancels[0].find("127.0.0.1")) << cancels[0];
    EXPECT_NE(std::string::npos,
        cancels[0].find("VELK_ConcreteJob:RequestStateChange")) << cancels[0];
}

TEST_F(JobEndToEnd, GetErrorOfAFailedJobIsAnEmbeddedError)
{
    Result call = wbemcli({"cm", jobUrl(1003), "GetError"});
    ASSERT_EQ(0, call.status) << call.out;
    EXPECT_NE(std::string::npos, call.out.find("CIM_Error")) << call.out;
    EXPECT_NE(std::string::npos, call.out.find("Operation has failed"))
        << call.out;
}
