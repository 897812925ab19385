// The companions over the demo array, asked by wbemcli through the cimhost executable.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <random>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// Runs a shell command; exit status and everything it printed.
std::pair<int, std::string> shell(const std::string& command)
{
    std::string text;
    FILE* p = ::popen((command + " 2>&1").c_str(), "r");
    if (!p)
        return {-1, text};
    char buf[4096];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, p)) > 0;)
        text.append(buf, n);
    const int rc = ::pclose(p);
    return {WIFEXITED(rc) ? WEXITSTATUS(rc) : -1, text};
}

std::vector<std::string> nonEmptyLines(const std::string& text)
{
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (!line.empty())
            out.push_back(line);
    return out;
}

bool listening(int port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(static_cast<uint16_t>(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
    ::close(fd);
    return ok;
}

int unusedPort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
    socklen_t len = sizeof a;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
    ::close(fd);
    return ntohs(a.sin_port);
}

class CompanionWbemcli : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (shell("command -v wbemcli").first != 0)
            return;
        char tmpl[] = "/tmp/velk-companions-XXXXXX";
        dir = ::mkdtemp(tmpl);
        shell("cp '" VELK_SOURCE_DIR "/demo/array.json' '" + dir + "/array.json'");
        std::random_device rd;
        for (int i = 0; i < 16; ++i)
            password += "abcdefghijkmnpqrstuvwxyz23456789"[rd() % 32];
        const auto added = shell("printf '%s\\n' '" + password + "' | '" VELK_BIN_DIR "/cimhost' passwd add"
                                 " --password-file '" + dir + "/passwd' monitor");
        ASSERT_EQ(added.first, 0) << added.second;
        port = unusedPort();
        pid = ::fork();
        if (pid == 0) {
            ::setenv("VELK_STATE_FILE", (dir + "/array.json").c_str(), 1);
            ::setenv("VELK_LOG_FILE", (dir + "/velk.log").c_str(), 1);
            ::setenv("VELK_EVENT_LOG", (dir + "/events").c_str(), 1);
            const std::string portText = std::to_string(port);
            const std::string passwd = dir + "/passwd", socket = dir + "/socket", log = dir + "/cimhost.log";
            ::execl(VELK_BIN_DIR "/cimhost", "cimhost", "--http-address", "127.0.0.1", "--http-port",
                    portText.c_str(), "--socket", socket.c_str(), "--password-file", passwd.c_str(), "--schema",
                    VELK_SOURCE_DIR "/schema/root.mof", "--registration", VELK_SOURCE_DIR "/schema/registration",
                    "--module-dir", VELK_LIB_DIR, "--log-file", log.c_str(), static_cast<char*>(nullptr));
            ::_exit(127);
        }
        for (int i = 0; i < 300 && !listening(port); ++i) {
            int status = 0;
            ASSERT_NE(::waitpid(pid, &status, WNOHANG), pid) << "cimhost ended at start";
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        ASSERT_TRUE(listening(port));
    }

    static void TearDownTestSuite()
    {
        if (pid > 0) {
            ::kill(pid, SIGTERM);
            int status = 0;
            ::waitpid(pid, &status, 0);
            pid = -1;
        }
        if (!dir.empty())
            shell("rm -rf '" + dir + "'");
    }

    void SetUp() override
    {
        if (dir.empty())
            GTEST_SKIP() << "wbemcli is not installed";
    }

    static std::string url(const std::string& nameSpace, const std::string& object)
    {
        return "'http://monitor:" + password + "@127.0.0.1:" + std::to_string(port) + "/" + nameSpace + ":"
               + object + "'";
    }

    static std::vector<std::string> wbemcli(const std::string& args)
    {
        const auto out = shell("wbemcli " + args);
        EXPECT_EQ(out.first, 0) << "wbemcli " << args << "\n" << out.second;
        return nonEmptyLines(out.second);
    }

    static std::string dir, password;
    static int port;
    static pid_t pid;
};

std::string CompanionWbemcli::dir;
std::string CompanionWbemcli::password;
int CompanionWbemcli::port = 0;
pid_t CompanionWbemcli::pid = -1;

TEST_F(CompanionWbemcli, ListsTheServices)
{
    auto storage = wbemcli("ein " + url("root/velk", "VELK_StorageConfigurationService"));
    ASSERT_EQ(storage.size(), 1u);
    EXPECT_NE(storage[0].find("Name=\"VELK-ARRAY-01:StorageConfigurationService\""), std::string::npos) << storage[0];
    auto replication = wbemcli("ein " + url("root/velk", "VELK_ReplicationService"));
    ASSERT_EQ(replication.size(), 1u);
    EXPECT_NE(replication[0].find("SystemName=\"VELK-ARRAY-01\""), std::string::npos) << replication[0];
}

TEST_F(CompanionWbemcli, ListsVolumesAndSynchronizations)
{
    auto volumes = wbemcli("ein " + url("root/velk", "VELK_StorageVolume"));
    EXPECT_EQ(volumes.size(), 19u);
    auto syncs = wbemcli("ein " + url("root/velk", "VELK_StorageSynchronized"));
    EXPECT_EQ(syncs.size(), 8u);
    const std::string volume = "VELK_StorageVolume.CreationClassName=\"VELK_StorageVolume\",DeviceID=\"vol_db01\","
                               "SystemCreationClassName=\"CIM_ComputerSystem\",SystemName=\"VELK-ARRAY-01\"";
    auto copies = wbemcli("ain -ac VELK_StorageSynchronized " + url("root/velk", volume));
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_NE(copies[0].find("DeviceID=\"vol_db01_copy\""), std::string::npos) << copies[0];
    EXPECT_NE(copies[1].find("DeviceID=\"snap_db01\""), std::string::npos) << copies[1];
}

TEST_F(CompanionWbemcli, InvokesTheInternalCacheMethods)
{
    const std::string cache = "VELK_InternalCache.InstanceID=\"localhost-InternalCache\"";
    auto host = wbemcli("cm " + url("root/PG_Internal", cache) + " GetSystemHostName");
    ASSERT_EQ(host.size(), 1u);
    EXPECT_NE(host[0].find("GetSystemHostName: 0, SystemHostName (string): velk-ctl01"), std::string::npos) << host[0];
    auto name = wbemcli("cm " + url("root/PG_Internal", cache) + " GetSystemName");
    ASSERT_EQ(name.size(), 1u);
    EXPECT_NE(name[0].find("SystemName (string): VELK-ARRAY-01"), std::string::npos) << name[0];
}

} // namespace
