// cimhost: serve CIM-XML over HTTP and the local socket until SIGTERM/SIGINT,
// or manage the password file ("cimhost passwd add|remove USER").
#include "PasswordFile.h"
#include "ServerConfig.h"

#include <cimhost/EmbeddedServer.h>

#include <csignal>
#include <malloc.h>
#include <iostream>
#include <pthread.h>
#include <string>
#include <termios.h>
#include <unistd.h>

using namespace cimhost;

namespace
{

std::string readPassword(bool& ok)
{
    std::string first;
    ok = false;
    if (!::isatty(STDIN_FILENO))
    {
        ok = static_cast<bool>(std::getline(std::cin, first));
        if (!first.empty() && first.back() == '\r')
            first.pop_back();
        return first;
    }
    termios old;
    ::tcgetattr(STDIN_FILENO, &old);
    termios quiet = old;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    std::string second;
    std::cerr << "Password: " << std::flush;
    bool got = static_cast<bool>(std::getline(std::cin, first));
    std::cerr << "\nPassword again: " << std::flush;
    got = got && static_cast<bool>(std::getline(std::cin, second));
    std::cerr << std::endl;
    ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &old);
    if (got && first != second)
    {
        std::cerr << "cimhost passwd: the passwords differ" << std::endl;
        return std::string();
    }
    ok = got;
    return first;
}

int passwd(const CommandLine& cl)
{
    try
    {
        PasswordFile file(cl.options.passwordFile);
        if (cl.action == CommandLine::Action::PasswdRemove)
        {
            if (!file.remove(cl.passwdUser))
            {
                std::cerr << "cimhost passwd: no user " << cl.passwdUser << std::endl;
                return 1;
            }
            return 0;
        }
        if (!PasswordFile::validUserName(cl.passwdUser))
        {
            std::cerr << "cimhost passwd: invalid user name" << std::endl;
            return 2;
        }
        bool ok = false;
        std::string password = readPassword(ok);
        if (!ok)
        {
            std::cerr << "cimhost passwd: no password given" << std::endl;
            return 1;
        }
        file.setPassword(cl.passwdUser, password);
        return 0;
    }
    catch (const std::exception& e)
    {
        std::cerr << "cimhost passwd: " << e.what() << std::endl;
        return 1;
    }
}

} // namespace

int main(int argc, char** argv)
{
    CommandLine cl = parseCommandLine(argc, argv);
    if (cl.action == CommandLine::Action::Exit)
        return cl.exitCode;
    if (cl.action != CommandLine::Action::Serve)
        return passwd(cl);

    // No fast bins: a large answer frees thousands of small objects at once,
    // and merging them as they are freed, while they are still in the
    // cache, costs less than gathering them from the fast bins at the next
    // large allocation. Freed memory also merges into larger blocks.
    mallopt(M_MXFAST, 0);

    // Every thread started from here on inherits the blocked signals; this
    // thread waits for them.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    EmbeddedServer server(cl.options);
    try
    {
        server.start();
    }
    catch (const std::exception& e)
    {
        std::cerr << "cimhost: " << e.what() << std::endl;
        return 1;
    }
    if (server.httpPort() > 0)
        std::cout << "cimhost: listening on http://" << cl.options.httpAddress << ":"
                  << server.httpPort() << std::endl;
    if (server.httpsPort() > 0)
        std::cout << "cimhost: listening on https://" << cl.options.httpsAddress << ":"
                  << server.httpsPort() << std::endl;
    if (!server.socketPath().empty())
        std::cout << "cimhost: listening on " << server.socketPath() << std::endl;

    int sig = 0;
    sigwait(&signals, &sig);
    std::cout << "cimhost: stopping on signal " << sig << std::endl;
    server.stop();
    return 0;
}
