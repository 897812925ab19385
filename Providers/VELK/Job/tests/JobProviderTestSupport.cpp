#include "JobProviderTestSupport.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

#include <Pegasus/Common/CIMProperty.h>

namespace jobtest
{

std::unique_ptr<cimhost::EmbeddedServer> JobProviderTest::server;
std::string JobProviderTest::tempDir;

nlohmann::json baseState()
{
    using nlohmann::json;
    json tasks = json::array({
        // a running volume copy, one phase, 50 of 200 steps
        {{"id", 101}, {"type", "TASK_VVCOPY"}, {"name", "vol1->vol1copy"},
         {"phases", json::array({"copy"})}, {"step_max", 200}, {"curr_step", 50},
         {"start", T0 - 600}, {"state", "running"}},
        // a schedule: never a job
        {{"id", 102}, {"type", "TASK_SCHED"}, {"name", "nightly"},
         {"phases", json::array()}, {"start", T0 - 500}, {"state", "running"}},
        // a finished failover of group grpA
        {{"id", 103}, {"type", "TASK_RC_FAILOVER"}, {"name", "grpA"},
         {"phases", json::array({"failover"})}, {"start", T0 - 7200}, {"state", "completed"},
         {"end", T0 - 3600}},
        // a synchronising remote copy whose counters say 100
        {{"id", 104}, {"type", "TASK_RC_SYNC"}, {"name", "grpA"},
         {"phases", json::array({"sync"})}, {"step_max", 10}, {"curr_step", 10},
         {"start", T0 - 300}, {"state", "running"}},
        // a failed promote with an error text
        {{"id", 105}, {"type", "TASK_PROMOTESV"}, {"name", "->vol2"},
         {"phases", json::array({"promote"})}, {"start", T0 - 5000}, {"state", "failed"},
         {"end", T0 - 4000}, {"error", 5}, {"error_text", "disk gone"}},
        // a running online copy with a detail text
        {{"id", 106}, {"type", "TASK_ONLINE_COPY"}, {"name", "dstvol"},
         {"phases", json::array({"a", "b", "c", "d"})}, {"step_max", 10},
         {"curr_phase", 2}, {"curr_step", 3}, {"start", T0 - 900},
         {"state", "running"}, {"last_update", T0 - 60},
         {"detail", "Online copy from VV srcvol to dstvol"}},
        // a cancelled resync
        {{"id", 107}, {"type", "TASK_PHYSCOPY_RESYNC"}, {"name", "vol3"},
         {"phases", json::array({"resync"})}, {"start", T0 - 800}, {"state", "cancelled"},
         {"end", T0 - 700}},
        // a recover of a group the array does not know
        {{"id", 108}, {"type", "TASK_RC_RECOVER"}, {"name", "nogroup"},
         {"phases", json::array({"recover"})}, {"step_max", 4}, {"curr_step", 1},
         {"start", T0 - 100}, {"state", "running"}},
        // a finished snapshot access task
        {{"id", 109}, {"type", "TASK_SS_ACC"}, {"name", "snap"},
         {"phases", json::array({"x"})}, {"start", T0 - 400}, {"state", "completed"},
         {"end", T0 - 200}},
    });
    json state = {
        {"system", {{"name", "ArrayOne"}, {"host_name", "velkarray1"},
                    {"serial", "1234567"}, {"model", "V400"}, {"id", 7}}},
        {"users", json::array({
            {{"name", "alice"}, {"role", "edit"}},
            {{"name", "bob"}, {"role", "browse"}},
            {{"name", "eve"}, {"role", "edit"}, {"cim_access", false}},
            {{"name", "root"}, {"role", "super"}},
        })},
        {"cim_operations", {{"velk_concretejob.foo", "browse"}}},
        {"tasks", tasks},
        {"volumes", json::array()},
        {"synchronizations", json::array()},
        {"remote_copy",
         {{"enabled", true},
          {"targets", json::array({{{"name", "tA"}, {"remote_system", "ArrayTwo"}}})},
          {"links", json::array()},
          {"groups", json::array({{{"name", "grpA"},
              {"targets", json::array({
                  {{"target", "tA"}, {"remote_group", "grpA.r"}},
                  {{"target", "tGone"}, {"remote_group", "grpA.r2"}}})}}})}}},
    };
    return state;
}

void JobProviderTest::SetUpTestSuite()
{
    char pattern[] = "/tmp/velkjobtest.XXXXXX";
    ASSERT_TRUE(mkdtemp(pattern) != 0);
    tempDir = pattern;

    velksim::reset();
    velksim::setLogFile("");
    velksim::setEventLogFile("");
    velksim::setClock(T0);
    velksim::loadStateJson(baseState().dump());

    const std::string socket = tempDir + "/cimhost.socket";
    setenv("CIMHOST_SOCKET", socket.c_str(), 1);

    cimhost::ServerOptions options;
    options.schemaFiles.push_back(std::string(VELK_SOURCE_DIR) +
        "/schema/root.mof");
    options.registrationDirs.push_back(std::string(VELK_SOURCE_DIR) +
        "/schema/registration");
    options.moduleDirs.push_back(VELK_LIB_DIR);
    options.hostName = "cimhosttest";
    options.socketPath = socket;
    options.workerCount = 2;
    options.logFile = tempDir + "/server.log";
    options.logLevel = "error";
    server.reset(new cimhost::EmbeddedServer(options));
    server->start();
}

void JobProviderTest::TearDownTestSuite()
{
    if (server)
        server->stop();
    server.reset();
    velksim::reset();
    std::string cmd = "rm -rf '" + tempDir + "'";
    if (std::system(cmd.c_str()) != 0)
        fprintf(stderr, "could not remove %s\n", tempDir.c_str());
}

void JobProviderTest::SetUp()
{
    ASSERT_TRUE(server != nullptr);
    velksim::clearFaults();
    velksim::setClock(T0);
    loadState(baseState());
    provider = newProvider();
    velksim::setCapture(true);
    velksim::clearCaptured();
}

void JobProviderTest::TearDown()
{
    velksim::setCapture(false);
    velksim::clearCaptured();
    velksim::clearFaults();
    if (provider)
        provider->terminate();
    provider = 0;
}

void JobProviderTest::loadState(const nlohmann::json& state)
{
    velksim::loadStateJson(state.dump());
}

VELK_ConcreteJobProvider* JobProviderTest::newProvider()
{
    CIMProvider* created =
        PegasusCreateProvider(String("VELK_ConcreteJobProvider"));
    VELK_ConcreteJobProvider* job =
        dynamic_cast<VELK_ConcreteJobProvider*>(created);
    if (!job)
        return 0;
    CIMOMHandle handle = server->cimomHandle();
    job->initialize(handle);
    return job;
}

OperationContext JobProviderTest::context(const char* user, const char* ip)
{
    OperationContext ctx;
    ctx.insert(IdentityContainer(String(user), String(ip)));
    return ctx;
}

CIMObjectPath JobProviderTest::jobPath(const std::string& instanceID,
    const char* className, const char* keyName)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName(keyName), String(instanceID.c_str()),
        CIMKeyBinding::STRING));
    return CIMObjectPath(String("cimhosttest"), CIMNamespaceName("root/velk"),
        CIMName(className), keys);
}

CIMObjectPath JobProviderTest::classPath(const char* className)
{
    return CIMObjectPath(String("cimhosttest"), CIMNamespaceName("root/velk"),
        CIMName(className));
}

std::vector<velksim::LogLine> JobProviderTest::logLines()
{
    return velksim::logLines();
}

std::vector<std::string> JobProviderTest::logTexts(int level)
{
    std::vector<std::string> out;
    for (const auto& line : velksim::logLines())
        if (line.level == level)
            out.push_back(line.text);
    return out;
}

std::vector<CIMInstance> JobProviderTest::enumerate()
{
    RecordingInstanceHandler handler;
    provider->enumerateInstances(context(), classPath(), false, false,
        CIMPropertyList(), handler);
    return handler.instances;
}

CIMValue prop(const CIMInstance& instance, const char* name)
{
    Uint32 pos = instance.findProperty(CIMName(name));
    if (pos == PEG_NOT_FOUND)
        return CIMValue();
    return instance.getProperty(pos).getValue();
}

bool hasProp(const CIMInstance& instance, const char* name)
{
    return instance.findProperty(CIMName(name)) != PEG_NOT_FOUND;
}

std::string stringProp(const CIMInstance& instance, const char* name)
{
    CIMValue v = prop(instance, name);
    if (v.isNull() || v.getType() != CIMTYPE_STRING || v.isArray())
        return "<none>";
    String s;
    v.get(s);
    return str(s);
}

Uint16 uint16Prop(const CIMInstance& instance, const char* name)
{
    CIMValue v = prop(instance, name);
    Uint16 n = 0xBEEF;
    if (!v.isNull() && v.getType() == CIMTYPE_UINT16 && !v.isArray())
        v.get(n);
    return n;
}

} // namespace jobtest
