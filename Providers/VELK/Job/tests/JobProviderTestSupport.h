// Shared pieces of the job provider tests: an in-process server with the
// registered companions, the simulated array loaded from a test state, and
// response handlers that record the order of their calls.
#ifndef VELK_JobProviderTestSupport_h
#define VELK_JobProviderTestSupport_h

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <cimhost/EmbeddedServer.h>
#include <velkapi_control.hpp>

#include "VELK_ConcreteJobProvider.h"

extern "C" Pegasus::CIMProvider* PegasusCreateProvider(
    const Pegasus::String& providerName);

namespace jobtest
{

using namespace Pegasus;

inline std::string str(const String& s)
{
    return std::string((const char*)s.getCString());
}

// The array clock of every test: 2023-11-14 22:13:20 UTC.
const std::int64_t T0 = 1700000000;

// An array with one task of each kind the module shows, one it hides, users
// of every kind and one remote-copy group.
nlohmann::json baseState();

// ---- recording response handlers ----

class RecordingInstanceHandler : public InstanceResponseHandler
{
public:
    std::vector<std::string> calls;
    std::vector<CIMInstance> instances;
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
    void deliver(const CIMInstance& instance) override
    {
        calls.push_back("deliver");
        instances.push_back(instance);
    }
    void deliver(const Array<CIMInstance>& list) override
    {
        for (Uint32 i = 0; i < list.size(); i++)
            deliver(list[i]);
    }
};

class RecordingPathHandler : public ObjectPathResponseHandler
{
public:
    std::vector<std::string> calls;
    std::vector<CIMObjectPath> paths;
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
    void deliver(const CIMObjectPath& path) override
    {
        calls.push_back("deliver");
        paths.push_back(path);
    }
    void deliver(const Array<CIMObjectPath>& list) override
    {
        for (Uint32 i = 0; i < list.size(); i++)
            deliver(list[i]);
    }
};

class RecordingHandler : public ResponseHandler
{
public:
    std::vector<std::string> calls;
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
};

class RecordingMethodHandler : public MethodResultResponseHandler
{
public:
    std::vector<std::string> calls;
    std::vector<CIMParamValue> params;
    std::vector<CIMValue> values;
    void processing() override { calls.push_back("processing"); }
    void complete() override { calls.push_back("complete"); }
    void deliverParamValue(const CIMParamValue& param) override
    {
        calls.push_back("deliverParamValue");
        params.push_back(param);
    }
    void deliverParamValue(const Array<CIMParamValue>& list) override
    {
        for (Uint32 i = 0; i < list.size(); i++)
            deliverParamValue(list[i]);
    }
    void deliver(const CIMValue& value) override
    {
        calls.push_back("deliver");
        values.push_back(value);
    }
    Uint32 returnValue() const
    {
        Uint32 v = 0xDEADBEEF;
        if (!values.empty())
            values.back().get(v);
        return v;
    }
};

// ---- the fixture ----

class JobProviderTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;
    void TearDown() override;

    // Loads a state into the simulated array (nothing written back).
    void loadState(const nlohmann::json& state);
    // A new provider from the module's factory, initialised on the server.
    VELK_ConcreteJobProvider* newProvider();

    OperationContext context(const char* user = "alice",
        const char* ip = "10.1.2.3");
    CIMObjectPath jobPath(const std::string& instanceID,
        const char* className = "VELK_ConcreteJob",
        const char* keyName = "InstanceID");
    CIMObjectPath classPath(const char* className = "VELK_ConcreteJob");

    // Log lines captured since the last clearCaptured().
    std::vector<velksim::LogLine> logLines();
    std::vector<std::string> logTexts(int level);

    std::vector<CIMInstance> enumerate();

    static std::unique_ptr<cimhost::EmbeddedServer> server;
    static std::string tempDir;
    VELK_ConcreteJobProvider* provider = 0;
};

// Value of a property, or a null CIMValue when the instance lacks it.
CIMValue prop(const CIMInstance& instance, const char* name);
bool hasProp(const CIMInstance& instance, const char* name);
std::string stringProp(const CIMInstance& instance, const char* name);
Uint16 uint16Prop(const CIMInstance& instance, const char* name);

// Runs `body`, expecting a CIMException with this code and message.
#define EXPECT_CIM_ERROR(body, code, message)                               \
    do                                                                      \
    {                                                                       \
        try                                                                 \
        {                                                                   \
            body;                                                           \
            ADD_FAILURE() << "no exception from " #body;                    \
        }                                                                   \
        catch (const Pegasus::CIMException& e)                              \
        {                                                                   \
            EXPECT_EQ(code, e.getCode());                                   \
            EXPECT_EQ(std::string(message), jobtest::str(e.getMessage()));  \
        }                                                                   \
    } while (0)

} // namespace jobtest

#endif
