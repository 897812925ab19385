// An in-process server with the repository's schema, registrations and
// modules (the job module included) over a simulated array loaded from a
// JSON text. One per test process; tests reach the providers of the module
// through the server's handle, or create one directly and initialise it
// with that handle.
#ifndef VELK_TESTS_JobModuleServer_h
#define VELK_TESTS_JobModuleServer_h

#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <cimhost/EmbeddedServer.h>
#include "VELK_ConcreteJobProvider.h"
#include "VELK_MethodResultProvider.h"
#include <VELK_InternalCacheService.h>
#include <velkapi_control.hpp>

#include "RecordingHandlers.h"

namespace velktest
{

inline std::string readFile(const std::string& path)
{
    std::ifstream in(path.c_str(), std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

inline void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream out(path.c_str(), std::ios::binary);
    out << text;
    if (!out)
        throw std::runtime_error("cannot write " + path);
}

// A fresh directory under /tmp, removed by the owner.
inline std::string makeTempDir(const std::string& tag)
{
    std::string pattern = "/tmp/velk-" + tag + "-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (!mkdtemp(buf.data()))
        throw std::runtime_error("mkdtemp failed");
    return std::string(buf.data());
}

inline void removeTree(const std::string& dir)
{
    if (dir.empty() || dir.compare(0, 10, "/tmp/velk-") != 0)
        return;
    // Whatever cannot be removed is left behind in /tmp.
    if (std::system(("rm -rf '" + dir + "'").c_str()) != 0)
        return;
}

class JobModuleServer
{
public:
    // Starts a server over the array described by stateJson. `schemaEdit`,
    // when given, receives a copy of the schema directory tree (in a
    // temporary directory) to change before the server compiles it.
    explicit JobModuleServer(const std::string& stateJson,
        const std::function<void(const std::string&)>& schemaEdit = nullptr)
    {
        _dir = makeTempDir("jobtest");
        try
        {
            start(stateJson, schemaEdit);
        }
        catch (...)
        {
            _server.reset();
            removeTree(_dir);
            throw;
        }
    }

    ~JobModuleServer()
    {
        _server->stop();
        _server.reset();
        velksim::reset();
        removeTree(_dir);
    }

    Pegasus::CIMOMHandle handle() { return _server->cimomHandle(); }
    const std::string& dir() const { return _dir; }

private:
    void start(const std::string& stateJson,
        const std::function<void(const std::string&)>& schemaEdit)
    {
        velksim::reset();
        velksim::setEventLogFile("");
        velksim::setLogFile("");
        velksim::setClock(1700000000);
        velksim::loadStateJson(stateJson);
        velksim::setCapture(true);

        cimhost::ServerOptions options;
        if (schemaEdit)
        {
            const std::string copy = _dir + "/schema";
            std::string cmd = "cp -r '" + std::string(VELK_SOURCE_DIR) +
                "/schema' '" + copy + "'";
            if (std::system(cmd.c_str()) != 0)
                throw std::runtime_error("cannot copy the schema");
            schemaEdit(copy);
            options.schemaFiles = { copy + "/root.mof" };
            options.registrationDirs = { copy + "/registration" };
        }
        else
        {
            options.schemaFiles = { std::string(VELK_SOURCE_DIR) + "/schema/root.mof" };
            options.registrationDirs = {
                std::string(VELK_SOURCE_DIR) + "/schema/registration" };
        }
        options.moduleDirs = { VELK_LIB_DIR };
        options.hostName = "ctl1";
        options.socketPath = _dir + "/cimhost.socket";
        options.workerCount = 4;
        options.logFile = _dir + "/server.log";
        setenv("CIMHOST_SOCKET", options.socketPath.c_str(), 1);

        // The class cache outlives servers: forget an earlier server's schema.
        Pegasus::VELK_InternalCacheService::getInstance()->clear();
        _server.reset(new cimhost::EmbeddedServer(options));
        _server->start();
    }

    std::string _dir;
    std::unique_ptr<cimhost::EmbeddedServer> _server;
};

// The request context of a user, as the server gives it to a provider.
inline Pegasus::OperationContext userContext(const char* user)
{
    Pegasus::OperationContext context;
    context.insert(Pegasus::IdentityContainer(Pegasus::String(user)));
    return context;
}

// The captured log lines of one level, in order.
inline std::vector<std::string> logged(int level)
{
    std::vector<std::string> lines;
    for (const velksim::LogLine& l : velksim::logLines())
    {
        if (l.level == level)
            lines.push_back(l.text);
    }
    return lines;
}

inline bool loggedLine(int level, const std::string& text)
{
    for (const std::string& l : logged(level))
    {
        if (l == text)
            return true;
    }
    return false;
}

// ---- paths of the module's objects on the test server (host "ctl1") ----

inline Pegasus::String jobId(Pegasus::Uint32 task)
{
    return Pegasus::String(("KORVANE:task_id:" + std::to_string(task)).c_str());
}

inline Pegasus::CIMObjectPath jobPath(Pegasus::Uint32 task)
{
    return Pegasus::VELK_ConcreteJobProvider::buildObjectPath("ctl1",
        jobId(task));
}

inline Pegasus::CIMObjectPath resultPath(Pegasus::Uint32 task)
{
    return Pegasus::VELK_MethodResultProvider::buildObjectPath("ctl1",
        jobId(task));
}

// The value of a reference key of an association path, as a path.
inline Pegasus::CIMObjectPath keyRef(const Pegasus::CIMObjectPath& assoc,
    const char* name)
{
    const Pegasus::Array<Pegasus::CIMKeyBinding>& keys =
        assoc.getKeyBindings();
    for (Pegasus::Uint32 i = 0; i < keys.size(); i++)
    {
        if (keys[i].getName().equal(Pegasus::CIMName(name)))
            return Pegasus::CIMObjectPath(keys[i].getValue());
    }
    throw std::runtime_error(std::string("no key ") + name);
}

// Two paths name the same object, hosts aside.
inline bool sameObject(Pegasus::CIMObjectPath a, Pegasus::CIMObjectPath b)
{
    a.setHost(Pegasus::String::EMPTY);
    b.setHost(Pegasus::String::EMPTY);
    return a.identical(b);
}

// Sends one request of a screen row to an association provider named
// `name`. A rejected request delivers nothing and leaves the provider's
// "invalid params" line; an accepted one leaves no such line. Only an
// accepted request may fail later, on reading the other end, and only when
// `mayFail`.
template <class Provider>
void checkScreen(Provider& provider, const std::string& name,
    const Pegasus::OperationContext& context,
    const Pegasus::CIMObjectPath& source, const Pegasus::CIMName& assocClass,
    const ScreenCase& c, bool mayFail)
{
    using namespace Pegasus;
    const CIMName resultClass =
        *c.resultClass ? CIMName(c.resultClass) : CIMName();
    const std::string op = c.operation;
    const std::string tail = std::string("resultClass = ") + c.resultClass;
    const std::string prefix = name + "::" + op + ": invalid params: ";
    ObjectRecorder objects;
    PathRecorder paths;
    Calls* calls = &paths;
    std::string line;
    try
    {
        if (op == "associators")
        {
            calls = &objects;
            line = prefix + tail + " \n";
            provider.associators(context, source, assocClass, resultClass,
                c.role, c.resultRole, false, false, CIMPropertyList(),
                objects);
        }
        else if (op == "associatorNames")
        {
            line = prefix + "associationClass = " +
                (const char*)assocClass.getString().getCString() + ", " +
                tail + "\n";
            provider.associatorNames(context, source, assocClass,
                resultClass, c.role, c.resultRole, paths);
        }
        else if (op == "references")
        {
            calls = &objects;
            line = prefix + "role = " + c.role + ", " + tail + " \n";
            provider.references(context, source, resultClass, c.role, false,
                false, CIMPropertyList(), objects);
        }
        else
        {
            line = prefix + "role = " + c.role + ", " + tail + " \n";
            provider.referenceNames(context, source, resultClass, c.role,
                paths);
        }
    }
    catch (const CIMException&)
    {
        EXPECT_TRUE(mayFail && !c.rejected);
    }
    if (c.rejected)
    {
        EXPECT_TRUE(calls->calls.empty()) << calls->sequence();
        EXPECT_TRUE(loggedLine(2, line)) << line;
    }
    else
    {
        EXPECT_FALSE(loggedLine(2, line)) << line;
    }
}

} // namespace velktest

#endif
