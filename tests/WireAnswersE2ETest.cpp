// End to end: what a CIM client decodes from cimhost's CIM-XML answers about
// jobs: embedded instances nested in embedded objects, instance qualifiers on
// request, method names the class does not declare, and the error texts the
// server writes itself.
#include "support/CimClientTest.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/Exception.h>

using namespace Pegasus;

namespace
{

const CIMNamespaceName kVelk("root/velk");
const CIMNamespaceName kInterop("root/PG_InterOp");

// The array knows a rule for this job method name, which the class does not
// declare; it has none for kUnruledMethod.
const char kRuledMethod[] = "Defragment";
const char kUnruledMethod[] = "Frobnicate";

CIMObjectPath jobPath(const char* className, int taskId)
{
    return CIMObjectPath(String((std::string(className) + ".InstanceID=\"KORVANE:task_id:" +
        std::to_string(taskId) + "\"").c_str()));
}

class WireAnswers : public e2e::CimClientTest
{
protected:
    static void SetUpTestSuite()
    {
        server = new e2e::DemoServer(demoOptions());
        nlohmann::json state = nlohmann::json::parse(e2e::readFile(server->stateFile()));
        state["cim_operations"][std::string("velk_concretejob.") + kRuledMethod] = "browse";
        std::ofstream(server->stateFile()) << state.dump(1);
        server->start();
    }

    // The description of the CIM error the call answers ("" if none).
    static std::string errorOf(const std::function<void()>& call)
    {
        try
        {
            call();
        }
        catch (const CIMException& e)
        {
            return e2e::text(e.getMessage());
        }
        return std::string();
    }
};

bool hasQualifier(const CIMConstInstance& instance, const char* name)
{
    return instance.findQualifier(CIMName(name)) != PEG_NOT_FOUND;
}

bool hasQualifier(const CIMConstInstance& instance, const char* property, const char* name)
{
    Uint32 p = instance.findProperty(CIMName(property));
    return p != PEG_NOT_FOUND &&
        instance.getProperty(p).findQualifier(CIMName(name)) != PEG_NOT_FOUND;
}

Uint32 qualifierCount(const CIMConstInstance& instance)
{
    Uint32 n = instance.getQualifierCount();
    for (Uint32 i = 0; i < instance.getPropertyCount(); i++)
        n += instance.getProperty(i).getQualifierCount();
    return n;
}

} // namespace

TEST_F(WireAnswers, EmbeddedInstancesInsideEmbeddedObjectsDecodeAsInstances)
{
    // The failed job's method result: PostCallIndication is an embedded
    // CIM_InstMethodCall whose MethodParameters object holds the job's
    // errors as an array of embedded CIM_Error instances.
    Array<CIMInstance> results = client.enumerateInstances(kVelk, CIMName("VELK_MethodResult"));
    CIMInstance failed;
    for (Uint32 i = 0; i < results.size(); i++)
        if (e2e::text(results[i].getPath().toString()).find("task_id:1003") != std::string::npos)
            failed = results[i];
    ASSERT_FALSE(failed.isUninitialized());

    Uint32 post = failed.findProperty(CIMName("PostCallIndication"));
    ASSERT_NE(PEG_NOT_FOUND, post);
    CIMValue postValue = failed.getProperty(post).getValue();
    ASSERT_EQ(CIMTYPE_INSTANCE, postValue.getType());
    CIMInstance call;
    postValue.get(call);
    Uint32 mp = call.findProperty(CIMName("MethodParameters"));
    ASSERT_NE(PEG_NOT_FOUND, mp);
    CIMValue paramsValue = call.getProperty(mp).getValue();
    ASSERT_EQ(CIMTYPE_OBJECT, paramsValue.getType());
    CIMObject params;
    paramsValue.get(params);

    Uint32 e = params.findProperty(CIMName("Error"));
    ASSERT_NE(PEG_NOT_FOUND, e);
    CIMValue errors = params.getProperty(e).getValue();
    ASSERT_EQ(CIMTYPE_INSTANCE, errors.getType());
    ASSERT_TRUE(errors.isArray());
    Array<CIMInstance> list;
    errors.get(list);
    ASSERT_EQ(1u, list.size());
    EXPECT_EQ("CIM_Error", e2e::text(list[0].getClassName().getString()));
    EXPECT_NE(PEG_NOT_FOUND, list[0].findProperty(CIMName("CIMStatusCode")));
}

// IncludeQualifiers on instance operations: the class's qualifiers that
// flow to instances, on the instance and on each property; none without it.
// Jobs come from their provider, registration records from the repository.
TEST_F(WireAnswers, InstanceQualifiersOnlyWhenAskedAndOnlyThoseThatFlowToInstances)
{
    const CIMObjectPath module(String("PG_ProviderModule.Name=\"VELK_JobProvider\""));
    struct Case
    {
        const char* what;
        std::function<CIMInstance(Boolean)> get;
    };
    const std::vector<Case> sources = {
        {"GetInstance of a job", [&](Boolean q) {
             return client.getInstance(kVelk, jobPath("VELK_ConcreteJob", 1001), false, q);
         }},
        {"EnumerateInstances of jobs", [&](Boolean q) {
             Array<CIMInstance> all = client.enumerateInstances(
                 kVelk, CIMName("VELK_ConcreteJob"), true, false, q);
             return all.size() ? all[0] : CIMInstance();
         }},
        {"GetInstance of a stored record", [&](Boolean q) {
             return client.getInstance(kInterop, module, false, q);
         }},
        {"EnumerateInstances of stored records", [&](Boolean q) {
             Array<CIMInstance> all = client.enumerateInstances(
                 kInterop, CIMName("PG_ProviderModule"), true, false, q);
             return all.size() ? all[0] : CIMInstance();
         }},
    };
    for (const Case& c : sources)
    {
        SCOPED_TRACE(c.what);
        CIMInstance plain = c.get(false);
        ASSERT_FALSE(plain.isUninitialized());
        EXPECT_EQ(0u, qualifierCount(plain));

        CIMInstance qualified = c.get(true);
        ASSERT_FALSE(qualified.isUninitialized());
        EXPECT_TRUE(hasQualifier(qualified, "Description"));
        EXPECT_EQ(plain.getPropertyCount(), qualified.getPropertyCount());
    }

    CIMInstance job = sources[0].get(true);
    EXPECT_TRUE(hasQualifier(job, "InstanceID", "Key"));
    EXPECT_TRUE(hasQualifier(job, "InstanceID", "Description"));
    EXPECT_TRUE(hasQualifier(job, "JobType", "ValueMap"));

    // A stored record gets them from its class: Restricted ones (Version of
    // the class, Override of a property) stay with the class.
    CIMInstance record = sources[2].get(true);
    EXPECT_FALSE(hasQualifier(record, "Version"));
    EXPECT_TRUE(hasQualifier(record, "Name", "Key"));
    EXPECT_TRUE(hasQualifier(record, "Name", "MaxLen"));
    EXPECT_TRUE(hasQualifier(record, "Name", "Description"));
    EXPECT_FALSE(hasQualifier(record, "Name", "Override"));
    EXPECT_TRUE(hasQualifier(record, "Vendor", "Required"));
}

// A method the class does not declare reaches the job provider, which
// answers from the array's authorisation: no rule for the name refuses it,
// an allowed name on an existing job answers 2. Errors the server writes
// itself, without a provider: the status name, then what was missing as the
// client named it.
TEST_F(WireAnswers, UndeclaredMethodsReachTheJobProviderAndServerWrittenErrors)
{
    Array<CIMParamValue> in, out;
    CIMValue rc = client.invokeMethod(kVelk, jobPath("VELK_ConcreteJob", 1001),
        CIMName(kRuledMethod), in, out);
    ASSERT_EQ(CIMTYPE_UINT32, rc.getType());
    Uint32 value = 0;
    rc.get(value);
    EXPECT_EQ(2u, value);
    EXPECT_EQ(0u, out.size());

    const struct
    {
        const char* what;
        std::function<void()> call;
        std::string description;
    } cases[] = {
        {"a method without a rule", [&] {
             client.invokeMethod(kVelk, jobPath("VELK_ConcreteJob", 1001),
                 CIMName(kUnruledMethod), in, out);
         }, "CIM_ERR_NOT_SUPPORTED: Does not support in generic!"},
        {"a method with a rule on a job that does not exist", [&] {
             client.invokeMethod(kVelk, jobPath("VELK_ConcreteJob", 999999),
                 CIMName(kRuledMethod), in, out);
         }, "CIM_ERR_NOT_FOUND: VELK_ConcreteJobProvider CIM Object not found."},
        {"ExecQuery", [&] {
             client.execQuery(kVelk, "WQL", "SELECT * FROM VELK_ConcreteJob");
         }, "CIM_ERR_NOT_SUPPORTED"},
        {"GetInstance on the superclass, which no provider serves", [&] {
             client.getInstance(kVelk, jobPath("CIM_ConcreteJob", 1001));
         }, "CIM_ERR_NOT_FOUND: CIM_ConcreteJob.InstanceID=\"KORVANE:task_id:1001\""},
        {"a declared method of the superclass", [&] {
             client.invokeMethod(kVelk, jobPath("CIM_ConcreteJob", 1001),
                 CIMName("GetError"), in, out);
         }, "CIM_ERR_METHOD_NOT_AVAILABLE: GetError"},
        {"an undeclared method of the superclass", [&] {
             client.invokeMethod(kVelk, jobPath("CIM_ConcreteJob", 1001),
                 CIMName(kUnruledMethod), in, out);
         }, std::string("CIM_ERR_METHOD_NOT_FOUND: ") + kUnruledMethod},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.description, errorOf(c.call)) << c.what;
}
