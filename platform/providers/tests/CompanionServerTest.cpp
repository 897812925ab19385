// The companion providers served by an in-process cimhost over a simulated array.
#include "VELK_InternalCacheService.h"

#include <cimhost/EmbeddedServer.h>

#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <velkapi.h>
#include <velkapi_control.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace {

const char* const STATE = R"({
  "system": {"name": "ArrayOne", "host_name": "ctl1.example.test"},
  "users": [{"name": "root", "role": "super"}],
  "volumes": [
    {"name": "src1", "id": 1, "size_mib": 1024},
    {"name": "copy1", "id": 2, "type": "physical_copy", "copy_of": "src1", "size_mib": 1024},
    {"name": "snap1", "id": 3, "type": "snapshot", "copy_of": "src1", "size_mib": 1024},
    {"name": "lonely", "id": 4, "size_mib": 10}
  ],
  "synchronizations": [
    {"system": "src1", "synced": "copy1", "type": "clone", "state": "synchronized", "percent": 100,
     "when_synced": 1700000000},
    {"system": "src1", "synced": "snap1", "type": "snapshot", "state": "fractured", "percent": 40}
  ]
})";

const CIMNamespaceName VELK_NS("root/velk");
const CIMNamespaceName INTERNAL_NS("root/PG_Internal");

class CompanionServer : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        velksim::reset();
        velksim::setLogFile("");
        velksim::setEventLogFile("");
        velksim::loadStateJson(STATE);
        cimhost::ServerOptions opts;
        opts.schemaFiles = {std::string(VELK_SOURCE_DIR) + "/schema/root.mof"};
        opts.registrationDirs = {std::string(VELK_SOURCE_DIR) + "/schema/registration"};
        opts.moduleDirs = {VELK_LIB_DIR};
        opts.hostName = "testhost";
        opts.workerCount = 4;
        server = new cimhost::EmbeddedServer(opts);
        server->start();
    }
    static void TearDownTestSuite()
    {
        server->stop();
        delete server;
        server = nullptr;
        velksim::reset();
    }
    void SetUp() override
    {
        velksim::loadStateJson(STATE);
        handle = server->cimomHandle();
    }

    static std::string key(const CIMObjectPath& path, const char* name)
    {
        const Array<CIMKeyBinding> keys = path.getKeyBindings();
        for (Uint32 i = 0; i < keys.size(); i++)
            if (keys[i].getName().equal(CIMName(name)))
                return (const char*)keys[i].getValue().getCString();
        return "<none>";
    }
    static std::string text(const CIMObjectPath& path) { return (const char*)path.toString().getCString(); }

    static cimhost::EmbeddedServer* server;
    CIMOMHandle handle;
    OperationContext ctx;
};

cimhost::EmbeddedServer* CompanionServer::server = nullptr;

// The status code a call was refused with; CIM_ERR_SUCCESS if it was not.
template <class Call>
CIMStatusCode refusal(Call call)
{
    try {
        call();
    } catch (const CIMException& e) {
        return e.getCode();
    }
    return CIM_ERR_SUCCESS;
}

CIMObjectPath cachePath(const char* id = "localhost-InternalCache")
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"), String(id), CIMKeyBinding::STRING));
    return CIMObjectPath("localhost", INTERNAL_NS, CIMName("VELK_InternalCache"), keys);
}

TEST_F(CompanionServer, ServicesOneInstanceEachWithServiceKeys)
{
    const Array<CIMObjectPath> storage =
        handle.enumerateInstanceNames(ctx, VELK_NS, CIMName("VELK_StorageConfigurationService"));
    ASSERT_EQ(storage.size(), 1u);
    EXPECT_EQ(key(storage[0], "CreationClassName"), "VELK_StorageConfigurationService");
    EXPECT_EQ(key(storage[0], "Name"), "ArrayOne:StorageConfigurationService");
    EXPECT_EQ(key(storage[0], "SystemCreationClassName"), "CIM_ComputerSystem");
    EXPECT_EQ(key(storage[0], "SystemName"), "ArrayOne");

    const Array<CIMInstance> repl =
        handle.enumerateInstances(ctx, VELK_NS, CIMName("VELK_ReplicationService"), true, false, false, false,
                                  CIMPropertyList());
    ASSERT_EQ(repl.size(), 1u);
    EXPECT_EQ(key(repl[0].getPath(), "Name"), "ArrayOne:ReplicationService");
    CIMInstance got = handle.getInstance(ctx, VELK_NS, repl[0].getPath(), false, false, false, CIMPropertyList());
    const Uint32 pos = got.findProperty(CIMName("ElementName"));
    ASSERT_NE(pos, PEG_NOT_FOUND);
    EXPECT_EQ(got.getProperty(pos).getValue().toString(), "Replication Service");

    // A service of another array is not there.
    Array<CIMKeyBinding> keys = repl[0].getPath().getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); i++)
        if (keys[i].getName().equal(CIMName("SystemName")))
            keys[i].setValue("ArrayTwo");
    CIMObjectPath other = repl[0].getPath();
    other.setKeyBindings(keys);
    EXPECT_EQ(refusal([&] { handle.getInstance(ctx, VELK_NS, other, false, false, false, CIMPropertyList()); }),
              CIM_ERR_NOT_FOUND);
}

TEST_F(CompanionServer, VolumesAndSynchronizationsFollowTheArray)
{
    Array<CIMObjectPath> vols = handle.enumerateInstanceNames(ctx, VELK_NS, CIMName("VELK_StorageVolume"));
    std::set<std::string> names;
    for (Uint32 i = 0; i < vols.size(); i++)
        names.insert(key(vols[i], "DeviceID"));
    EXPECT_EQ(names, (std::set<std::string>{"src1", "copy1", "snap1", "lonely"}));

    const Array<CIMInstance> syncs = handle.enumerateInstances(ctx, VELK_NS, CIMName("VELK_StorageSynchronized"),
                                                               true, false, false, false, CIMPropertyList());
    ASSERT_EQ(syncs.size(), 2u);
    const CIMObjectPath system(key(syncs[0].getPath(), "SystemElement").c_str());
    const CIMObjectPath synced(key(syncs[0].getPath(), "SyncedElement").c_str());
    EXPECT_EQ(key(system, "DeviceID"), "src1");
    EXPECT_EQ(key(synced, "DeviceID"), "copy1");
    EXPECT_TRUE(synced.getClassName().equal(CIMName("VELK_StorageVolume")));
    // The referenced volume is there under that path.
    CIMInstance copy = handle.getInstance(ctx, VELK_NS, synced, false, false, false, CIMPropertyList());
    EXPECT_EQ(key(copy.getPath(), "DeviceID"), "copy1");
    // And the association itself.
    CIMInstance sync = handle.getInstance(ctx, VELK_NS, syncs[1].getPath(), false, false, false, CIMPropertyList());
    Uint16 state = 0;
    sync.getProperty(sync.findProperty(CIMName("SyncState"))).getValue().get(state);
    EXPECT_EQ(state, 13);

    // The array changes: the providers see it on the next request.
    velksim::loadStateJson(R"({"system": {"name": "ArrayOne", "host_name": "h"},
                               "volumes": [{"name": "only"}]})");
    vols = handle.enumerateInstanceNames(ctx, VELK_NS, CIMName("VELK_StorageVolume"));
    ASSERT_EQ(vols.size(), 1u);
    EXPECT_EQ(key(vols[0], "DeviceID"), "only");
    EXPECT_EQ(handle.enumerateInstanceNames(ctx, VELK_NS, CIMName("VELK_StorageSynchronized")).size(), 0u);
    EXPECT_EQ(refusal([&] { handle.getInstance(ctx, VELK_NS, synced, false, false, false, CIMPropertyList()); }),
              CIM_ERR_NOT_FOUND);
}

TEST_F(CompanionServer, SynchronizationAssociationsFromAVolume)
{
    const Array<CIMObjectPath> vols = handle.enumerateInstanceNames(ctx, VELK_NS, CIMName("VELK_StorageVolume"));
    CIMObjectPath src, copy;
    for (Uint32 i = 0; i < vols.size(); i++) {
        if (key(vols[i], "DeviceID") == "src1")
            src = vols[i];
        if (key(vols[i], "DeviceID") == "copy1")
            copy = vols[i];
    }
    Array<CIMObjectPath> copies = handle.associatorNames(ctx, VELK_NS, src, CIMName("VELK_StorageSynchronized"),
                                                         CIMName(), String(), String());
    std::set<std::string> names;
    for (Uint32 i = 0; i < copies.size(); i++)
        names.insert(key(copies[i], "DeviceID"));
    EXPECT_EQ(names, (std::set<std::string>{"copy1", "snap1"}));

    // From the copy, back to its source only, and only in the synced role.
    Array<CIMObject> sources = handle.associators(ctx, VELK_NS, copy, CIMName("VELK_StorageSynchronized"),
                                                  CIMName(), String("SyncedElement"), String(), false, false,
                                                  CIMPropertyList());
    ASSERT_EQ(sources.size(), 1u);
    EXPECT_EQ(key(sources[0].getPath(), "DeviceID"), "src1");
    EXPECT_EQ(handle.associatorNames(ctx, VELK_NS, copy, CIMName("VELK_StorageSynchronized"), CIMName(),
                                     String("SystemElement"), String())
                  .size(),
              0u);

    Array<CIMObjectPath> refs = handle.referenceNames(ctx, VELK_NS, copy, CIMName("VELK_StorageSynchronized"),
                                                      String());
    ASSERT_EQ(refs.size(), 1u);
    EXPECT_EQ(key(CIMObjectPath(key(refs[0], "SystemElement").c_str()), "DeviceID"), "src1");
}

TEST_F(CompanionServer, InternalCacheAnswersFromTheArrayState)
{
    Array<CIMParamValue> in, out;
    CIMValue rv = handle.invokeMethod(ctx, INTERNAL_NS, cachePath(), CIMName("GetSystemHostName"), in, out);
    Uint32 code = 99;
    rv.get(code);
    EXPECT_EQ(code, 0u);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].getParameterName(), "SystemHostName");
    EXPECT_EQ(out[0].getValue().toString(), "ctl1.example.test");

    handle.invokeMethod(ctx, INTERNAL_NS, cachePath(), CIMName("GetSystemName"), in, out);
    ASSERT_EQ(out.size(), 1u);
    EXPECT_EQ(out[0].getParameterName(), "SystemName");
    EXPECT_EQ(out[0].getValue().toString(), "ArrayOne");

    // Asked afresh each time.
    velksim::loadStateJson(R"({"system": {"name": "ArrayNine", "host_name": "ctl9"}})");
    handle.invokeMethod(ctx, INTERNAL_NS, cachePath(), CIMName("GetSystemHostName"), in, out);
    EXPECT_EQ(out[0].getValue().toString(), "ctl9");

    EXPECT_EQ(handle.enumerateInstanceNames(ctx, INTERNAL_NS, CIMName("VELK_InternalCache")).size(), 1u);
    EXPECT_EQ(refusal([&] {
                  handle.invokeMethod(ctx, INTERNAL_NS, cachePath("other-InternalCache"), CIMName("GetSystemName"), in, out);
              }),
              CIM_ERR_NOT_FOUND);
}

TEST_F(CompanionServer, ClassCacheAnswersWhatGetClassAnswers)
{
    VELK_InternalCacheService* cache = VELK_InternalCacheService::getInstance();
    ASSERT_EQ(cache, VELK_InternalCacheService::getInstance());
    cache->clear();
    Array<CIMName> props;
    props.append(CIMName("JobState"));
    props.append(CIMName("InstanceID"));
    const CIMPropertyList lists[] = {CIMPropertyList(), CIMPropertyList(props)};
    Uint32 expected = 0;
    for (const char* cls : {"VELK_ConcreteJob", "VELK_StorageVolume", "VELK_OwningJobElement"}) {
        for (int flags = 0; flags < 8; flags++) {
            for (const CIMPropertyList& pl : lists) {
                const Boolean lo = flags & 1, iq = flags & 2, ico = flags & 4;
                const CIMClass direct = handle.getClass(ctx, VELK_NS, CIMName(cls), lo, iq, ico, pl);
                const CIMClass cached = cache->getStoredCIMClass(handle, ctx, VELK_NS, CIMName(cls), lo, iq, ico, pl);
                EXPECT_TRUE(cached.identical(direct)) << cls << " flags " << flags;
                // Asked again: same answer from the cache, no new entry.
                EXPECT_TRUE(cache->getStoredCIMClass(handle, ctx, VELK_NS, CIMName(cls), lo, iq, ico, pl)
                                .identical(direct));
                EXPECT_EQ(cache->size(), ++expected);
            }
        }
    }
    // Class names compare without case.
    cache->getStoredCIMClass(handle, ctx, VELK_NS, CIMName("velk_concretejob"), false, false, false,
                             CIMPropertyList());
    EXPECT_EQ(cache->size(), expected);

    // A caller changing its copy changes nobody else's.
    CIMClass mine = cache->getStoredCIMClass(handle, ctx, VELK_NS, CIMName("VELK_ConcreteJob"), false, true, false,
                                             CIMPropertyList());
    const Uint32 count = mine.getPropertyCount();
    mine.removeProperty(0);
    EXPECT_EQ(cache->getStoredCIMClass(handle, ctx, VELK_NS, CIMName("VELK_ConcreteJob"), false, true, false,
                                       CIMPropertyList())
                  .getPropertyCount(),
              count);

    // Failures pass through and are not kept.
    EXPECT_EQ(refusal([&] {
                  cache->getStoredCIMClass(handle, ctx, VELK_NS, CIMName("VELK_NoSuchClass"), false, true, false,
                                           CIMPropertyList());
              }),
              CIM_ERR_NOT_FOUND);
    EXPECT_EQ(cache->size(), expected);

    // The same class in another namespace is another entry.
    const CIMClass internal = cache->getStoredCIMClass(handle, ctx, INTERNAL_NS, CIMName("VELK_InternalCache"),
                                                       false, true, false, CIMPropertyList());
    EXPECT_EQ(internal.getMethodCount(), 2u);
    EXPECT_EQ(cache->size(), expected + 1);
}

TEST_F(CompanionServer, ClassCacheFromManyThreads)
{
    VELK_InternalCacheService* cache = VELK_InternalCacheService::getInstance();
    cache->clear();
    const CIMClass direct = handle.getClass(ctx, VELK_NS, CIMName("VELK_ConcreteJob"), false, true, false,
                                            CIMPropertyList());
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; t++) {
        threads.emplace_back([&, t] {
            CIMOMHandle own = server->cimomHandle();
            OperationContext context;
            for (int k = 0; k < 25; k++) {
                const char* cls = (k + t) % 2 ? "VELK_ConcreteJob" : "VELK_MethodResult";
                CIMClass c = cache->getStoredCIMClass(own, context, VELK_NS, CIMName(cls), false, true, false,
                                                      CIMPropertyList());
                if ((k + t) % 2 && !c.identical(direct))
                    ++mismatches;
            }
        });
    }
    for (auto& th : threads)
        th.join();
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(cache->size(), 2u);
}

} // namespace
