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

// The shapes the job module and the registration depend on.
TEST_F(SchemaTest, WholeTreeCompilesWithTheShapesProvidersUse)
{
    EXPECT_TRUE(repo->namespaceExists(VELK));
    EXPECT_TRUE(repo->namespaceExists(INTERNAL));
    EXPECT_TRUE(repo->isSubclassOf(VELK, CIMName("CIM_StorageVolume"), CIMName("CIM_ManagedElement")));
    EXPECT_EQ(keys(VELK, "CIM_ConcreteJob"), Names{"InstanceID"});
    EXPECT_EQ(keys(VELK, "CIM_OwningJobElement"), (Names{"OwningElement", "OwnedElement"}));
    EXPECT_EQ(keys(VELK, "CIM_AssociatedJobMethodResult"), (Names{"Job", "JobParameters"}));
    EXPECT_TRUE(repo->getFullClass(VELK, CIMName("CIM_OwningJobElement")).isAssociation());

    CIMClass job = repo->getFullClass(VELK, CIMName("CIM_ConcreteJob"));
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
