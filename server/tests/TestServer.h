// Helpers shared by the server's unit tests: an in-process server over the
// test module, contexts, and the call record of the test module.
#ifndef CIMHOST_TEST_SERVER_H
#define CIMHOST_TEST_SERVER_H

#include <cimhost/EmbeddedServer.h>

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>

#include <dlfcn.h>
#include <string>
#include <vector>

namespace cimhost_test
{

inline cimhost::ServerOptions testModuleOptions()
{
    cimhost::ServerOptions o;
    o.schemaFiles = {VELK_SOURCE_DIR "/schema/root.mof",
        VELK_SOURCE_DIR "/server/tests/module/TestModule.mof"};
    o.registrationDirs = {VELK_SOURCE_DIR "/server/tests/module/registration"};
    o.moduleDirs = {VELK_LIB_DIR};
    o.hostName = "testhost";
    o.socketPath.clear();
    o.enableHttp = false;
    o.logLevel = "off";
    o.workerCount = 4;
    return o;
}

inline Pegasus::OperationContext contextFor(const char* user, const char* ip = "10.1.2.3")
{
    Pegasus::OperationContext context;
    context.insert(Pegasus::IdentityContainer(Pegasus::String(user), Pegasus::String(ip)));
    return context;
}

// Keeps the test module loaded while it lives, so that its call record
// survives the server unloading the module.
class ModulePin
{
public:
    ModulePin() : _lib(::dlopen(VELK_LIB_DIR "/libCimhostTestProvider.so", RTLD_NOW)) {}
    ~ModulePin()
    {
        if (_lib)
            ::dlclose(_lib);
    }
    ModulePin(const ModulePin&) = delete;
    ModulePin& operator=(const ModulePin&) = delete;

private:
    void* _lib;
};

// What the test module recorded since the last call (and forgets it).
inline std::vector<std::string> takeCalls()
{
    void* lib = ::dlopen(VELK_LIB_DIR "/libCimhostTestProvider.so", RTLD_NOW);
    if (!lib)
        return {};
    typedef std::vector<std::string> (*Take)();
    Take take = reinterpret_cast<Take>(::dlsym(lib, "cimhostTestTakeCalls"));
    std::vector<std::string> calls = take ? take() : std::vector<std::string>();
    ::dlclose(lib);
    return calls;
}

inline std::string str(const Pegasus::String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

} // namespace cimhost_test

// Expects the statement to throw CIMException with this code and raw message.
#define EXPECT_CIM_ERROR(statement, code, message)                                   \
    do                                                                               \
    {                                                                                \
        try                                                                          \
        {                                                                            \
            statement;                                                               \
            ADD_FAILURE() << "no exception from " #statement;                        \
        }                                                                            \
        catch (const Pegasus::CIMException& e)                                       \
        {                                                                            \
            EXPECT_EQ(code, e.getCode());                                            \
            EXPECT_EQ(std::string(message), cimhost_test::str(e.getMessage()));      \
        }                                                                            \
    } while (0)

#endif
