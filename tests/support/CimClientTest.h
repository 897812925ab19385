// What the end-to-end tests that speak CIM through CIMClient share: text of
// Pegasus strings and keys, job paths, a request's outcome as text, and a
// test suite over one cimhost with a client connected for each test.
#ifndef VELK_TESTS_CIMCLIENTTEST_H
#define VELK_TESTS_CIMCLIENTTEST_H

#include "support/DemoServer.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <string>

namespace e2e
{

inline std::string text(const Pegasus::String& s)
{
    return std::string(static_cast<const char*>(s.getCString()));
}

// The value of the key `name` of a path, "" when it has none.
inline std::string key(const Pegasus::CIMObjectPath& path, const char* name)
{
    Pegasus::Array<Pegasus::CIMKeyBinding> keys = path.getKeyBindings();
    for (Pegasus::Uint32 i = 0; i < keys.size(); i++)
        if (keys[i].getName().equal(Pegasus::CIMName(name)))
            return text(keys[i].getValue());
    return std::string();
}

// The value of a property as text (strings unquoted), "<null>" when the
// instance has no such property or its value is null.
inline std::string propertyText(const Pegasus::CIMConstInstance& inst, const char* name)
{
    const Pegasus::Uint32 pos = inst.findProperty(Pegasus::CIMName(name));
    if (pos == Pegasus::PEG_NOT_FOUND || inst.getProperty(pos).getValue().isNull())
        return "<null>";
    return text(inst.getProperty(pos).getValue().toString());
}

// root/velk:VELK_ConcreteJob.InstanceID=<instanceId>
inline Pegasus::CIMObjectPath jobPath(const std::string& instanceId)
{
    Pegasus::Array<Pegasus::CIMKeyBinding> keys;
    keys.append(Pegasus::CIMKeyBinding(Pegasus::CIMName("InstanceID"),
        Pegasus::String(instanceId.c_str()), Pegasus::CIMKeyBinding::STRING));
    return Pegasus::CIMObjectPath(Pegasus::String(), Pegasus::CIMNamespaceName("root/velk"),
        Pegasus::CIMName("VELK_ConcreteJob"), keys);
}

// RequestStateChange(RequestedState=4: terminate) of a job: its return
// value, 0 when there is none.
inline Pegasus::Uint32 terminateJob(Pegasus::CIMClient& client, const std::string& instanceId)
{
    Pegasus::Array<Pegasus::CIMParamValue> in;
    Pegasus::Array<Pegasus::CIMParamValue> out;
    in.append(Pegasus::CIMParamValue(Pegasus::String("RequestedState"),
        Pegasus::CIMValue(Pegasus::Uint16(4))));
    Pegasus::CIMValue rc = client.invokeMethod(Pegasus::CIMNamespaceName("root/velk"),
        jobPath(instanceId), Pegasus::CIMName("RequestStateChange"), in, out);
    Pegasus::Uint32 value = 0;
    if (!rc.isNull() && rc.getType() == Pegasus::CIMTYPE_UINT32)
        rc.get(value);
    return value;
}

// "ok", or what the client was told: "CIM <code>: <description>", or
// "other: <message>".
inline std::string outcome(const std::function<void()>& request)
{
    try
    {
        request();
        return "ok";
    }
    catch (const Pegasus::CIMException& e)
    {
        return "CIM " + std::to_string(int(e.getCode())) + ": " + text(e.getMessage());
    }
    catch (const Pegasus::Exception& e)
    {
        return "other: " + text(e.getMessage());
    }
    catch (const std::exception& e)
    {
        return std::string("other: ") + e.what();
    }
}

// Connects over TCP as `user` (default: the server's own user) with the
// server's password.
inline void connect(Pegasus::CIMClient& client, const DemoServer& server,
    const std::string& user = std::string())
{
    client.connect("127.0.0.1", Pegasus::Uint32(server.port()),
        Pegasus::String((user.empty() ? server.options().user : user).c_str()),
        Pegasus::String(server.options().password.c_str()));
}

// One cimhost over a copy of the demo array (host name velk-ctl01) for the
// whole suite, and a client connected to it for each test. A suite that
// needs another server defines its own SetUpTestSuite.
class CimClientTest : public ::testing::Test
{
protected:
    static DemoServer::Options demoOptions()
    {
        DemoServer::Options o;
        o.hostName = "velk-ctl01";
        return o;
    }
    static void SetUpTestSuite()
    {
        server = new DemoServer(demoOptions());
        server->start();
    }
    static void TearDownTestSuite()
    {
        delete server;
        server = nullptr;
    }
    void SetUp() override { connect(client, *server); }
    void TearDown() override { client.disconnect(); }

    static inline DemoServer* server = nullptr;
    Pegasus::CIMClient client;
};

} // namespace e2e

#endif
