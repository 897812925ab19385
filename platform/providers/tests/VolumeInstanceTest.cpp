// buildVVInstance against the VELK_StorageVolume class of our schema.
#include "VELK_StorageVolumeProvider.h"

#include <cimhost/MofCompiler.h>
#include <cimhost/Repository.h>

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Provider/ProviderException.h>

#include <velkapi.h>
#include <velkapi_control.hpp>

#include <gtest/gtest.h>

#include <string>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace {

const char* const STATE = R"({
  "system": {"name": "ArrayOne", "host_name": "ctl1"},
  "users": [{"name": "root", "role": "super"}],
  "volumes": [
    {"name": "vol1", "id": 1, "wwn": "60A0B0C0D0E0F0100000000000000001", "size_mib": 1024,
     "block_size": 512, "cpg": "fc_r6"},
    {"name": "vol1c", "id": 2, "type": "physical_copy", "copy_of": "vol1", "size_mib": 1024,
     "state": "degraded"}
  ]
})";

class VolumeInstance : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        repo = new cimhost::Repository();
        cimhost::MofCompiler compiler(*repo);
        compiler.compileFile(std::string(VELK_SOURCE_DIR) + "/schema/root.mof");
    }
    static void TearDownTestSuite()
    {
        delete repo;
        repo = nullptr;
    }
    void SetUp() override
    {
        velksim::reset();
        velksim::setLogFile("");
        velksim::setEventLogFile("");
        velksim::loadStateJson(STATE);
        volumeClass = repo->getClass(CIMNamespaceName("root/velk"), CIMName("VELK_StorageVolume"), false, true, false);
    }
    void TearDown() override { velksim::reset(); }

    CIMInstance build(const char* name, bool copyOf = false)
    {
        return VELK_StorageVolumeProvider::buildVVInstance(name, "ArrayOne", "ctl1", volumeClass, copyOf);
    }

    template <typename T>
    T value(const CIMInstance& inst, const char* name)
    {
        const Uint32 pos = inst.findProperty(CIMName(name));
        EXPECT_NE(pos, PEG_NOT_FOUND) << name;
        T out = T();
        inst.getProperty(pos).getValue().get(out);
        return out;
    }

    static cimhost::Repository* repo;
    CIMClass volumeClass;
};

cimhost::Repository* VolumeInstance::repo = nullptr;

TEST_F(VolumeInstance, FullInstanceWithItsPath)
{
    CIMInstance inst = build("vol1");
    ASSERT_FALSE(inst.isUninitialized());
    EXPECT_EQ(inst.getPropertyCount(), volumeClass.getPropertyCount());
    EXPECT_EQ(value<String>(inst, "DeviceID"), "vol1");
    EXPECT_EQ(value<String>(inst, "SystemName"), "ArrayOne");
    EXPECT_EQ(value<String>(inst, "CreationClassName"), "VELK_StorageVolume");
    EXPECT_EQ(value<String>(inst, "SystemCreationClassName"), "CIM_ComputerSystem");
    EXPECT_EQ(value<String>(inst, "Name"), "60A0B0C0D0E0F0100000000000000001");
    EXPECT_EQ(value<Uint64>(inst, "BlockSize"), 512u);
    EXPECT_EQ(value<Uint64>(inst, "NumberOfBlocks"), 2097152u);
    EXPECT_EQ(value<Uint16>(inst, "VolumeType"), 1u);
    EXPECT_EQ(value<String>(inst, "ProvisioningGroup"), "fc_r6");
    EXPECT_EQ(value<Array<Uint16>>(inst, "OperationalStatus")[0], 2u);

    const CIMObjectPath& path = inst.getPath();
    EXPECT_EQ(path.getHost(), "ctl1");
    EXPECT_TRUE(path.getNameSpace().equal(CIMNamespaceName("root/velk")));
    EXPECT_TRUE(path.getClassName().equal(CIMName("VELK_StorageVolume")));
    EXPECT_EQ(path.getKeyBindings().size(), 4u);
    EXPECT_EQ(path.toString(), VELK_StorageVolumeProvider::buildVVPath("vol1", "ArrayOne", "ctl1").toString());
    EXPECT_EQ(path.toString(), "//ctl1/root/velk:VELK_StorageVolume.CreationClassName=\"VELK_StorageVolume\","
                               "DeviceID=\"vol1\",SystemCreationClassName=\"CIM_ComputerSystem\",SystemName=\"ArrayOne\"");

    CIMInstance copy = build("vol1c", true);
    EXPECT_EQ(value<String>(copy, "CopyOf"), "vol1");
    EXPECT_EQ(value<Array<Uint16>>(copy, "OperationalStatus")[0], 3u);
    EXPECT_GT(copy.getQualifierCount(), 0u);
}

TEST_F(VolumeInstance, NoSuchVolumeGivesAnUninitializedInstance)
{
    EXPECT_TRUE(build("ghost").isUninitialized());
    EXPECT_TRUE(build("").isUninitialized());
    // Volume names are exact.
    EXPECT_TRUE(build("VOL1").isUninitialized());
}

TEST_F(VolumeInstance, ArrayFailuresAreOperationFailures)
{
    // The code and message building vol1 fails with.
    auto failure = [&] {
        try {
            build("vol1");
        } catch (const CIMException& e) {
            return std::make_pair(e.getCode(), std::string((const char*)e.getMessage().getCString()));
        }
        return std::make_pair(CIM_ERR_SUCCESS, std::string("no exception"));
    };
    velksim::injectSemaphoreTimeout(1);
    EXPECT_EQ(failure(), std::make_pair(CIM_ERR_FAILED, std::string("cim_sem_wait: Semaphore Timed-Out")));
    velksim::injectFault("api_getVolume", 8, "volume table locked", 1);
    EXPECT_EQ(failure(), std::make_pair(CIM_ERR_FAILED, std::string("api_getVolume: volume table locked")));
    // The semaphore was given back each time.
    EXPECT_EQ(cim_sem_wait(), 0);
    cim_sem_post();
    EXPECT_FALSE(build("vol1").isUninitialized());
}

} // namespace
