// The command line and configuration file of the cimhost executable.
#ifndef CIMHOST_SERVER_CONFIG_H
#define CIMHOST_SERVER_CONFIG_H

#include <cimhost/EmbeddedServer.h>

#include <string>

namespace cimhost
{

struct CommandLine
{
    enum class Action
    {
        Serve,
        PasswdAdd,
        PasswdRemove,
        Exit  // --help and the like: exitCode tells
    };

    Action action = Action::Serve;
    int exitCode = 0;
    ServerOptions options;
    std::string passwdUser;
};

// Parses argv (and the configuration file named by --config, INI style
// "key = value" with the long option names as keys). Defaults: HTTP on
// 127.0.0.1:5988, the schema and registrations of the source tree, the
// build's library directory for modules, the socket of
// ServerOptions::defaultSocketPath(); CIMHOST_SOCKET overrides the
// configured socket path.
CommandLine parseCommandLine(int argc, char** argv);

} // namespace cimhost

#endif
