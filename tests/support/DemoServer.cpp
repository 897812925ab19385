#include "DemoServer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace e2e
{

Result run(const std::vector<std::string>& argv, const std::string& input,
    const std::vector<std::string>& env)
{
    Result r;
    int out[2];
    int in[2];
    if (::pipe(out) != 0)
        return r;
    if (::pipe(in) != 0)
    {
        ::close(out[0]);
        ::close(out[1]);
        return r;
    }
    pid_t pid = ::fork();
    if (pid == 0)
    {
        ::dup2(in[0], 0);
        ::dup2(out[1], 1);
        ::dup2(out[1], 2);
        ::close(in[0]);
        ::close(in[1]);
        ::close(out[0]);
        ::close(out[1]);
        for (const std::string& e : env)
            ::putenv(const_cast<char*>(e.c_str()));
        std::vector<char*> args;
        for (const std::string& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        ::execvp(args[0], args.data());
        ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    if (!input.empty() && ::write(in[1], input.data(), input.size()) < 0)
        r.out = "(could not write the input)\n";
    ::close(in[1]);
    char buf[4096];
    ssize_t n;
    while ((n = ::read(out[0], buf, sizeof buf)) > 0)
        r.out.append(buf, static_cast<size_t>(n));
    ::close(out[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line))
        if (!line.empty())
            result.push_back(line);
    return result;
}

DemoServer::DemoServer() : DemoServer(Options()) {}

DemoServer::DemoServer(Options options) : _options(std::move(options))
{
    if (_options.schemaFiles.empty())
        _options.schemaFiles.push_back(VELK_SOURCE_DIR "/schema/root.mof");
    if (_options.registrationDirs.empty())
        _options.registrationDirs.push_back(VELK_SOURCE_DIR "/schema/registration");
    if (_options.stateTemplate.empty())
        _options.stateTemplate = VELK_SOURCE_DIR "/demo/array.json";
    if (_options.cimhost.empty())
        _options.cimhost = VELK_BIN_DIR "/cimhost";
    if (_options.moduleDir.empty())
        _options.moduleDir = VELK_LIB_DIR;

    char tmpl[] = "/tmp/velk-e2e-XXXXXX";
    if (!::mkdtemp(tmpl))
        throw std::runtime_error("cannot make a temporary folder");
    _dir = tmpl;
    std::ofstream(stateFile()) << readFile(_options.stateTemplate);
    addUser(_options.user);
}

void DemoServer::addUser(const std::string& user) const
{
    Result added = run({_options.cimhost, "passwd", "add", user,
        "--password-file", _dir + "/cimhost.passwd"}, _options.password + "\n");
    if (added.status != 0)
        throw std::runtime_error("cimhost passwd add " + user + " failed: " + added.out);
}

DemoServer::~DemoServer()
{
    stop();
    run({"rm", "-rf", _dir});
}

std::vector<std::string> DemoServer::clientEnv() const
{
    return {"CIMHOST_SOCKET=" + socketPath()};
}

void DemoServer::start()
{
    std::vector<std::string> argv = {_options.cimhost, "--http-address", "127.0.0.1",
        "--http-port", "0", "--module-dir", _options.moduleDir,
        "--password-file", _dir + "/cimhost.passwd",
        "--socket", _options.socket ? socketPath() : std::string(),
        "--log-file", serverLog(), "--log-level", "info"};
    for (const std::string& s : _options.schemaFiles)
        argv.insert(argv.end(), {"--schema", s});
    for (const std::string& r : _options.registrationDirs)
        argv.insert(argv.end(), {"--registration", r});
    if (!_options.hostName.empty())
        argv.insert(argv.end(), {"--host-name", _options.hostName});
    argv.insert(argv.end(), _options.extraArgs.begin(), _options.extraArgs.end());

    int out[2];
    if (::pipe(out) != 0)
        throw std::runtime_error("pipe failed");
    _pid = ::fork();
    if (_pid == 0)
    {
        // A test that dies takes its server along, rather than leaving it
        // to hold the test's output open.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(out[1], 1);
        ::close(out[0]);
        ::close(out[1]);
        ::setenv("VELK_STATE_FILE", stateFile().c_str(), 1);
        ::setenv("VELK_EVENT_LOG", eventLog().c_str(), 1);
        ::setenv("VELK_LOG_FILE", arrayLog().c_str(), 1);
        ::setenv("VELK_LOG_LEVEL", _options.arrayLogLevel.c_str(), 1);
        if (_options.socket && _options.socketVariable)
            ::setenv("CIMHOST_SOCKET", socketPath().c_str(), 1);
        else
            ::unsetenv("CIMHOST_SOCKET");
        for (const std::string& e : _options.environment)
            ::putenv(const_cast<char*>(e.c_str()));
        std::vector<char*> args;
        for (const std::string& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        ::execv(args[0], args.data());
        ::_exit(127);
    }
    ::close(out[1]);
    // cimhost names its HTTP address on the first line it prints.
    std::string line;
    char c;
    pollfd p{out[0], POLLIN, 0};
    while (::poll(&p, 1, 30000) > 0 && ::read(out[0], &c, 1) == 1 && c != '\n')
        line += c;
    ::close(out[0]);
    std::string::size_type colon = line.rfind(':');
    if (line.find("http://") == std::string::npos || colon == std::string::npos)
    {
        stop();
        throw std::runtime_error("cimhost did not start: " + line + "\n" + readFile(serverLog()));
    }
    _port = std::atoi(line.c_str() + colon + 1);
}

int DemoServer::stop()
{
    if (_pid <= 0)
        return 0;
    ::kill(_pid, SIGTERM);
    int status = 0;
    ::waitpid(_pid, &status, 0);
    _pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void DemoServer::kill9()
{
    if (_pid <= 0)
        return;
    ::kill(_pid, SIGKILL);
    int status = 0;
    ::waitpid(_pid, &status, 0);
    _pid = -1;
}

std::string DemoServer::url() const
{
    return "http://" + _options.user + ":" + _options.password + "@127.0.0.1:" +
        std::to_string(_port);
}

std::string DemoServer::velkUrl(const std::string& rest) const
{
    return url() + "/root/velk:" + rest;
}

} // namespace e2e
