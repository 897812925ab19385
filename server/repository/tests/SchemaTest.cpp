// The real schema tree compiles, lands in the namespaces the server uses and
// has the shapes the providers rely on.
#include "TestSupport.h"

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>

#include <algorithm>
#include <dirent.h>
#include <vector>

using namespace Pegasus;
using namespace cimhost;
using namespace cimhost_test;

namespace {

const CIMNamespaceName VELK("root/velk");
const CIMNamespaceName INTERNAL("root/PG_Internal");
const CIMNamespaceName INTEROP("root/PG_InterOp");

std::vector<std::string> registrationFiles()
{
    std::vector<std::string> files;
    std::string dir = schemaDir() + "/registration";
    if (DIR* d = opendir(dir.c_str()))
    {
        while (dirent* e = readdir(d))
        {
            std::string n = e->d_name;
            if (n.size() > 4 && n.compare(n.size() - 4, 4, ".mof") == 0)
                files.push_back(dir + "/" + n);
        }
        closedir(d);
    }
    std::sort(files.begin(), files.end());
    return files;
}

class SchemaTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        repo = new Repository;
        MofCompiler c(*repo);
        c.compileFile(schemaDir() + "/root.mof");
        for (const std::string& f : registrationFiles())
            c.compileFile(f, "root/PG_InterOp");
    }
    static void TearDownTestSuite()
    {
        delete repo;
        repo = nullptr;
    }

    static std::vector<std::string> keys(const CIMNamespaceName& ns, const char* cls)
    {
        Array<CIMName> k;
        repo->getFullClass(ns, CIMName(cls)).getKeyNames(k);
        std::vector<std::string> out;
        for (Uint32 i = 0; i < k.size(); ++i)
            out.push_back(str(k[i].getString()));
        return out;
    }

    static Repository* repo;
};

Repository* SchemaTest::repo = nullptr;

using Names = std::vector<std::string>;

TEST_F(SchemaTest, WholeTreeCompilesIntoTheServerNamespaces)
{
    EXPECT_TRUE(repo->namespaceExists(VELK));
    EXPECT_TRUE(repo->namespaceExists(INTERNAL));
    EXPECT_TRUE(repo->namespaceExists(INTEROP));
    const char* classes[] = {"CIM_ManagedElement", "CIM_ManagedSystemElement", "CIM_LogicalElement",
        "CIM_EnabledLogicalElement", "CIM_System", "CIM_ComputerSystem", "CIM_Service",
        "CIM_StorageConfigurationService", "CIM_ReplicationService", "CIM_LogicalDevice",
        "CIM_StorageExtent", "CIM_StorageVolume", "CIM_Dependency", "CIM_Synchronized",
        "CIM_StorageSynchronized", "CIM_Job", "CIM_ConcreteJob", "CIM_OwningJobElement",
        "CIM_MethodResult", "CIM_AssociatedJobMethodResult", "CIM_Error", "CIM_Indication",
        "CIM_InstIndication", "CIM_InstMethodCall"};
    for (const char* c : classes)
        EXPECT_TRUE(repo->classExists(VELK, CIMName(c))) << c;
    EXPECT_TRUE(repo->classExists(INTEROP, CIMName("PG_ProviderCapabilities")));
    EXPECT_TRUE(repo->isSubclassOf(VELK, CIMName("CIM_StorageVolume"), CIMName("CIM_ManagedElement")));
}

TEST_F(SchemaTest, KeysAndInheritedShapes)
{
    EXPECT_EQ(keys(VELK, "CIM_ConcreteJob"), Names{"InstanceID"});
    EXPECT_EQ(keys(VELK, "CIM_ComputerSystem"), (Names{"CreationClassName", "Name"}));
    EXPECT_EQ(keys(VELK, "CIM_StorageVolume"),
        (Names{"SystemCreationClassName", "SystemName", "CreationClassName", "DeviceID"}));
    EXPECT_EQ(keys(VELK, "CIM_ReplicationService"),
        (Names{"SystemCreationClassName", "SystemName", "CreationClassName", "Name"}));
    EXPECT_EQ(keys(VELK, "CIM_StorageSynchronized"), (Names{"SystemElement", "SyncedElement"}));
    EXPECT_EQ(keys(VELK, "CIM_OwningJobElement"), (Names{"OwningElement", "OwnedElement"}));
    EXPECT_EQ(keys(VELK, "CIM_AssociatedJobMethodResult"), (Names{"Job", "JobParameters"}));
    EXPECT_TRUE(repo->getFullClass(VELK, CIMName("CIM_OwningJobElement")).isAssociation());

    CIMClass job = repo->getFullClass(VELK, CIMName("CIM_ConcreteJob"));
    CIMProperty id = job.getProperty(job.findProperty(CIMName("InstanceID")));
    EXPECT_EQ(str(id.getClassOrigin().getString()), "CIM_ConcreteJob");
    CIMProperty state = job.getProperty(job.findProperty(CIMName("OperationalStatus")));
    EXPECT_EQ(str(state.getClassOrigin().getString()), "CIM_ManagedSystemElement");
    EXPECT_TRUE(state.getPropagated());
    EXPECT_NE(state.findQualifier(CIMName("ValueMap")), PEG_NOT_FOUND);

    CIMMethod change = job.getMethod(job.findMethod(CIMName("RequestStateChange")));
    EXPECT_EQ(change.getType(), CIMTYPE_UINT32);
    EXPECT_EQ(change.getParameter(0).getType(), CIMTYPE_UINT16);
    CIMMethod getError = job.getMethod(job.findMethod(CIMName("GetError")));
    CIMParameter error = getError.getParameter(getError.findParameter(CIMName("Error")));
    EXPECT_EQ(error.getType(), CIMTYPE_INSTANCE);
    EXPECT_NE(error.findQualifier(CIMName("Out")), PEG_NOT_FOUND);

    CIMClass result = repo->getFullClass(VELK, CIMName("CIM_MethodResult"));
    EXPECT_EQ(result.getProperty(result.findProperty(CIMName("PreCallIndication"))).getType(), CIMTYPE_INSTANCE);

    EXPECT_EQ(keys(INTEROP, "PG_ProviderModule"), Names{"Name"});
    EXPECT_EQ(keys(INTEROP, "PG_Provider"), (Names{"ProviderModuleName", "Name"}));
    EXPECT_EQ(keys(INTEROP, "PG_ProviderCapabilities"),
        (Names{"ProviderModuleName", "ProviderName", "CapabilityID"}));
}

TEST_F(SchemaTest, RegistrationInstancesNameLoadableModules)
{
    if (registrationFiles().empty())
        GTEST_SKIP() << "no registration MOF in the tree yet";
    Array<CIMInstance> modules = repo->enumerateInstances(INTEROP, CIMName("PG_ProviderModule"));
    Array<CIMInstance> caps = repo->enumerateInstances(INTEROP, CIMName("PG_ProviderCapabilities"));
    EXPECT_GT(modules.size(), 0u);
    EXPECT_GT(caps.size(), 0u);
    for (Uint32 i = 0; i < caps.size(); ++i)
    {
        String cls;
        caps[i].getProperty(caps[i].findProperty(CIMName("ClassName"))).getValue().get(cls);
        Array<String> namespaces;
        caps[i].getProperty(caps[i].findProperty(CIMName("Namespaces"))).getValue().get(namespaces);
        for (Uint32 j = 0; j < namespaces.size(); ++j)
            EXPECT_TRUE(repo->classExists(CIMNamespaceName(namespaces[j]), CIMName(cls)))
                << str(cls) << " in " << str(namespaces[j]);
    }
}

} // namespace
