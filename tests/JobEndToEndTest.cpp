// End to end: cimhost serving the job module over a copy of the demo array,
// asked with the sblim wbemcli client over HTTP.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

namespace
{

const char kUser[] = "operator";
const char kPassword[] = "op-secret-7";

struct Result
{
    int status = -1;
    std::string out;
};

// Runs a program (no shell) and returns its exit status and its standard
// output and error together.
Result run(const std::vector<std::string>& argv, const std::string& input = "")
{
    int outPipe[2];
    int inPipe[2];
    if (pipe(outPipe) != 0 || pipe(inPipe) != 0)
        return Result();
    pid_t pid = fork();
    if (pid == 0)
    {
        dup2(inPipe[0], 0);
        dup2(outPipe[1], 1);
        dup2(outPipe[1], 2);
        close(inPipe[0]);
        close(inPipe[1]);
        close(outPipe[0]);
        close(outPipe[1]);
        std::vector<char*> args;
        for (const auto& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        execvp(args[0], args.data());
        _exit(127);
    }
    close(inPipe[0]);
    close(outPipe[1]);
    if (!input.empty() && write(inPipe[1], input.data(), input.size()) < 0)
        perror("write");
    close(inPipe[1]);
    Result r;
    char buf[4096];
    ssize_t n;
    while ((n = read(outPipe[0], buf, sizeof(buf))) > 0)
        r.out.append(buf, (size_t)n);
    close(outPipe[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

int freePort()
{
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr;
    memset(&addr, 0, sizeof(addr));
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    bind(fd, (sockaddr*)&addr, sizeof(addr));
    socklen_t len = sizeof(addr);
    getsockname(fd, (sockaddr*)&addr, &len);
    int port = ntohs(addr.sin_port);
    close(fd);
    return port;
}

bool accepting(int port)
{
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr;
    memset(&addr, 0, sizeof(addr));
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons((uint16_t)port);
    bool ok = connect(fd, (sockaddr*)&addr, sizeof(addr)) == 0;
    close(fd);
    return ok;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

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
        char pattern[] = "/tmp/velkjobe2e.XXXXXX";
        ASSERT_TRUE(mkdtemp(pattern) != nullptr);
        dir = pattern;
        state = dir + "/array.json";
        std::ofstream(state) << readFile(std::string(VELK_SOURCE_DIR) +
            "/demo/array.json");
        events = state + ".events";
        passwd = dir + "/cimhost.passwd";
        Result add = run({cimhost(), "passwd", "add", kUser,
            "--password-file", passwd}, std::string(kPassword) + "\n");
        ASSERT_EQ(0, add.status) << add.out;
        port = freePort();
        start();
    }

    void TearDown() override
    {
        stop();
        run({"rm", "-rf", dir});
    }

    static std::string cimhost()
    {
        return std::string(VELK_BIN_DIR) + "/cimhost";
    }

    void start()
    {
        std::vector<std::string> argv = {cimhost(),
            "--schema", std::string(VELK_SOURCE_DIR) + "/schema/root.mof",
            "--registration", std::string(VELK_SOURCE_DIR) +
                "/schema/registration",
            "--module-dir", VELK_LIB_DIR,
            "--password-file", passwd,
            "--socket", dir + "/cimhost.socket",
            "--http-address", "127.0.0.1",
            "--http-port", std::to_string(port),
            "--log-file", dir + "/cimhost.log",
            "--workers", "2"};
        pid = fork();
        if (pid == 0)
        {
            setenv("VELK_STATE_FILE", state.c_str(), 1);
            setenv("VELK_EVENT_LOG", events.c_str(), 1);
            setenv("VELK_LOG_FILE", (state + ".log").c_str(), 1);
            setenv("CIMHOST_SOCKET", (dir + "/cimhost.socket").c_str(), 1);
            int devnull = open("/dev/null", O_RDWR);
            dup2(devnull, 0);
            dup2(devnull, 1);
            std::vector<char*> args;
            for (auto& a : argv)
                args.push_back(const_cast<char*>(a.c_str()));
            args.push_back(nullptr);
            execv(args[0], args.data());
            _exit(127);
        }
        for (int i = 0; i < 300 && !accepting(port); i++)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ASSERT_TRUE(accepting(port)) << readFile(dir + "/cimhost.log");
    }

    void stop()
    {
        if (pid > 0)
        {
            kill(pid, SIGTERM);
            int status = 0;
            waitpid(pid, &status, 0);
        }
        pid = -1;
    }

    std::string url(const std::string& object = "VELK_ConcreteJob")
    {
        return "http://" + std::string(kUser) + ":" + kPassword +
            "@127.0.0.1:" + std::to_string(port) + "/root/velk:" + object;
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
        return run(argv);
    }

    std::string dir;
    std::string state;
    std::string events;
    std::string passwd;
    int port = 0;
    pid_t pid = -1;
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
