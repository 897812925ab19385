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

#include <velkapi_control.hpp>

#include "JobModuleServer.h"
#include "RecordingHandlers.h"

#include "VELK_ConcreteJobProvider.h"

extern "C" Pegasus::CIMProvider* PegasusCreateProvider(
    const Pegasus::String& providerName);

namespace jobtest
{

using namespace Pegasus;

using velktest::propertyNames;
using velktest::str;

// The array clock of every test: 2023-11-14 22:13:20 UTC.
const std::int64_t T0 = 1700000000;

// An array with one task of each kind the module shows, one it hides, users
// of every kind and one remote-copy group.
nlohmann::json baseState();

// The recorders shared with the association tests.
typedef velktest::InstanceRecorder RecordingInstanceHandler;
typedef velktest::PathRecorder RecordingPathHandler;
typedef velktest::PlainRecorder RecordingHandler;
typedef velktest::MethodRecorder RecordingMethodHandler;

// The captured log lines of one level, and whether one of them is `text`.
using velktest::logged;
using velktest::loggedLine;

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

    std::vector<CIMInstance> enumerate();

    static std::unique_ptr<velktest::JobModuleServer> server;
    VELK_ConcreteJobProvider* provider = 0;
};

// Value of a property, or a null CIMValue when the instance lacks it.
CIMValue prop(const CIMInstance& instance, const char* name);
std::string stringProp(const CIMInstance& instance, const char* name);
Uint16 uint16Prop(const CIMInstance& instance, const char* name);

} // namespace jobtest

#endif
