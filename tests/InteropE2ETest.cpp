// End to end: discovery through the interop namespace, as a standard client
// does it, over HTTP with wbemcli and CIMClient: the namespaces, the object
// manager and its CIM-XML mechanism, and a walk from the registered profiles
// to the array's services and on to their jobs.
#include "support/CimClientTest.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>

using namespace Pegasus;

namespace
{

const std::set<std::string> kNamespaces = {"root", "root/velk", "root/PG_Internal", "root/PG_InterOp",
    "root/interop"};

// The Name key of a path wbemcli printed.
const std::regex kNameKey("[.,]Name=\"([^\"]*)\"");

class InteropE2E : public e2e::CimClientTest
{
protected:
    // The Name keys of the paths wbemcli lists for that class.
    static std::set<std::string> wbemcliNames(const std::string& ns, const std::string& className)
    {
        e2e::Result out = e2e::run({"wbemcli", "ein", server->url() + "/" + ns + ":" + className});
        EXPECT_EQ(0, out.status) << out.out;
        std::set<std::string> names;
        for (const std::string& line : e2e::lines(out.out))
        {
            std::smatch m;
            EXPECT_TRUE(std::regex_search(line, m, kNameKey)) << line;
            names.insert(m[1]);
            EXPECT_TRUE(className != "CIM_Namespace" ||
                line.find("ObjectManagerName=\"cimhost\"") != std::string::npos) << line;
        }
        return names;
    }
};

using e2e::key;
using e2e::text;
using e2e::propertyText;

TEST_F(InteropE2E, WbemcliListsEveryNamespaceFromTheInteropNamespaceUnderBothNames)
{
    EXPECT_EQ(kNamespaces, wbemcliNames("root/interop", "CIM_Namespace"));
    EXPECT_EQ(kNamespaces, wbemcliNames("interop", "CIM_Namespace"));
    // The older form: the children of root.
    EXPECT_EQ((std::set<std::string>{"velk", "PG_Internal", "PG_InterOp", "interop"}),
        wbemcliNames("root", "__Namespace"));
}

TEST_F(InteropE2E, TheObjectManagerIsReachedThroughCimXmlWithBasicAuthentication)
{
    const CIMNamespaceName interop("interop");
    Array<CIMInstance> managers = client.enumerateInstances(interop, CIMName("CIM_ObjectManager"));
    ASSERT_EQ(1u, managers.size());
    EXPECT_EQ("cimhost", propertyText(managers[0], "Name"));
    EXPECT_EQ("velk-ctl01", propertyText(managers[0], "SystemName"));

    // Its namespaces, listed and by association.
    std::set<std::string> listed;
    Array<CIMInstance> namespaces = client.enumerateInstances(interop, CIMName("CIM_Namespace"));
    for (Uint32 i = 0; i < namespaces.size(); i++)
        listed.insert(propertyText(namespaces[i], "Name"));
    EXPECT_EQ(kNamespaces, listed);
    Array<CIMObjectPath> spaces = client.associatorNames(interop, managers[0].getPath(),
        CIMName("CIM_NamespaceInManager"), CIMName("CIM_Namespace"), "Antecedent", "Dependent");
    std::set<std::string> names;
    for (Uint32 i = 0; i < spaces.size(); i++)
        names.insert(key(spaces[i], "Name"));
    EXPECT_EQ(kNamespaces, names);

    Array<CIMObject> mechanisms = client.associators(interop, managers[0].getPath(),
        CIMName("CIM_CommMechanismForManager"), CIMName("CIM_ObjectManagerCommunicationMechanism"));
    ASSERT_EQ(1u, mechanisms.size());
    const CIMInstance xml(mechanisms[0]);
    EXPECT_EQ("CIM_CIMXMLCommunicationMechanism", text(xml.getClassName().getString()));
    EXPECT_EQ("2", propertyText(xml, "CommunicationMechanism"));            // CIM-XML
    Array<Uint16> authentication;
    xml.getProperty(xml.findProperty(CIMName("AuthenticationMechanismsSupported"))).getValue().get(authentication);
    ASSERT_EQ(1u, authentication.size());
    EXPECT_EQ(3, authentication[0]);   // Basic
    EXPECT_EQ("1.0", propertyText(xml, "Version"));
    EXPECT_EQ("FALSE", propertyText(xml, "MultipleOperationsSupported"));

    // And back from the mechanism, which the subclass enumeration finds too.
    EXPECT_EQ(1u, client.enumerateInstanceNames(interop, CIMName("CIM_ObjectManagerCommunicationMechanism")).size());
    Array<CIMObjectPath> back = client.associatorNames(interop, xml.getPath(), CIMName("CIM_ServiceAccessBySAP"));
    ASSERT_EQ(1u, back.size());
    EXPECT_EQ("cimhost", key(back[0], "Name"));
}

std::set<std::string> taskIds(const Array<CIMObjectPath>& jobs)
{
    std::set<std::string> out;
    for (Uint32 i = 0; i < jobs.size(); i++)
    {
        const std::string id = key(jobs[i], "InstanceID");
        out.insert(id.substr(id.rfind(':') + 1));
    }
    return out;
}

TEST_F(InteropE2E, AProfileWalkLeadsFromTheRegisteredProfilesToTheJobsOfTheArray)
{
    const CIMNamespaceName interop("root/interop");
    Array<CIMInstance> profiles = client.enumerateInstances(interop, CIMName("CIM_RegisteredProfile"));
    std::set<std::string> registered;
    CIMObjectPath array;
    for (Uint32 i = 0; i < profiles.size(); i++)
    {
        registered.insert(propertyText(profiles[i], "RegisteredOrganization") + " "
            + propertyText(profiles[i], "RegisteredName") + " " + propertyText(profiles[i], "RegisteredVersion")
            + " " + text(profiles[i].getClassName().getString()));
        if (propertyText(profiles[i], "RegisteredName") == "Array")
            array = profiles[i].getPath();
    }
    EXPECT_EQ((std::set<std::string>{"11 Server 1.5.0 CIM_RegisteredProfile",
                  "11 Array 1.5.0 CIM_RegisteredProfile", "11 Job Control 1.5.0 CIM_RegisteredSubProfile"}),
        registered);

    // The array's profile references its job control subprofile, and back.
    Array<CIMObject> subs = client.associators(interop, array, CIMName("CIM_ReferencedProfile"),
        CIMName("CIM_RegisteredSubProfile"), "Antecedent", "Dependent");
    ASSERT_EQ(1u, subs.size());
    EXPECT_EQ("Job Control", propertyText(CIMInstance(subs[0]), "RegisteredName"));
    Array<CIMObjectPath> scoping = client.associatorNames(interop, subs[0].getPath(),
        CIMName("CIM_SubProfileRequiresProfile"), CIMName(), "Dependent");
    ASSERT_EQ(1u, scoping.size());
    EXPECT_EQ(key(array, "InstanceID"), key(scoping[0], "InstanceID"));
    EXPECT_EQ(0u, client.associatorNames(interop, subs[0].getPath(), CIMName("CIM_SubProfileRequiresProfile"),
                      CIMName(), "Antecedent").size());

    // Both profiles describe the two services that own the jobs ...
    for (const CIMObjectPath& profile : {array, subs[0].getPath()})
    {
        Array<CIMObject> services = client.associators(interop, profile,
            CIMName("CIM_ElementConformsToProfile"), CIMName("CIM_Service"), "ConformantStandard", "ManagedElement");
        std::set<std::string> classes;
        for (Uint32 i = 0; i < services.size(); i++)
        {
            classes.insert(text(services[i].getClassName().getString()));
            EXPECT_EQ("root/velk", text(services[i].getPath().getNameSpace().getString()));
        }
        EXPECT_EQ((std::set<std::string>{"VELK_ReplicationService", "VELK_StorageConfigurationService"}), classes);
        EXPECT_EQ(2u, client.referenceNames(interop, profile, CIMName("CIM_ElementConformsToProfile"),
                          "ConformantStandard").size());
        EXPECT_EQ(0u, client.referenceNames(interop, profile, CIMName("CIM_ElementConformsToProfile"),
                          "ManagedElement").size());
        EXPECT_EQ(0u, client.associatorNames(interop, profile, CIMName("CIM_ElementConformsToProfile"),
                          CIMName("CIM_ObjectManager")).size());
    }

    // ... and on to the jobs each owns.
    Array<CIMObjectPath> services = client.associatorNames(interop, array, CIMName("CIM_ElementConformsToProfile"));
    ASSERT_EQ(2u, services.size());
    for (Uint32 i = 0; i < services.size(); i++)
    {
        const Array<CIMObjectPath> jobs = client.associatorNames(CIMNamespaceName("root/velk"), services[i],
            CIMName("VELK_OwningJobElement"), CIMName("CIM_ConcreteJob"));
        if (services[i].getClassName().equal(CIMName("VELK_StorageConfigurationService")))
            EXPECT_EQ((std::set<std::string>{"1001", "1002", "1003", "1004", "1005", "1006", "1007", "1008",
                          "1009", "1010", "1011"}),
                taskIds(jobs));
        else
            EXPECT_EQ((std::set<std::string>{"1012", "1013", "1014", "1015", "1016", "1017", "1018", "1019",
                          "1020", "1021"}),
                taskIds(jobs));
    }

    // The server profile describes the object manager; each association
    // instance reads back by its own path.
    Array<CIMInstance> conformance = client.enumerateInstances(interop, CIMName("CIM_ElementConformsToProfile"));
    EXPECT_EQ(5u, conformance.size());
    for (Uint32 i = 0; i < conformance.size(); i++)
        EXPECT_EQ(propertyText(conformance[i], "ManagedElement"),
            propertyText(client.getInstance(interop, conformance[i].getPath()), "ManagedElement"));
}

} // namespace
