#include "JobProviderTestSupport.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

#include <Pegasus/Common/CIMProperty.h>

namespace jobtest
{

std::unique_ptr<velktest::JobModuleServer> JobProviderTest::server;

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
    server.reset(new velktest::JobModuleServer(baseState().dump()));
}

void JobProviderTest::TearDownTestSuite()
{
    server.reset();
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
    CIMOMHandle handle = server->handle();
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

std::vector<CIMInstance> JobProviderTest::enumerate()
{
    RecordingInstanceHandler handler;
    provider->enumerateInstances(context(), classPath(), false, false,
        CIMPropertyList(), handler);
    std::vector<CIMInstance> out;
    for (Uint32 i = 0; i < handler.items.size(); i++)
        out.push_back(handler.items[i]);
    return out;
}

CIMValue prop(const CIMInstance& instance, const char* name)
{
    Uint32 pos = instance.findProperty(CIMName(name));
    if (pos == PEG_NOT_FOUND)
        return CIMValue();
    return instance.getProperty(pos).getValue();
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
