// End to end: the volumes the demo array's copy jobs work on, as
// VELK_AffectedJobElement, asked over HTTP with CIMClient and wbemcli from
// the job side and from the volume side, with every association filter.
#include "support/CimClientTest.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>

using namespace Pegasus;

namespace
{

const CIMNamespaceName kVelk("root/velk");

class AffectedJobElementE2E : public e2e::CimClientTest
{
};

using e2e::key;

// "1001" from a job path, "vol_db01" from a volume path.
std::string shortName(const CIMObjectPath& path)
{
    const std::string id = key(path, "InstanceID");
    if (!id.empty())
        return id.substr(id.rfind(':') + 1);
    return key(path, "DeviceID");
}

CIMObjectPath job(const std::string& task)
{
    return e2e::jobPath("KORVANE:task_id:" + task);
}

CIMObjectPath volume(const std::string& name)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("CreationClassName"), "VELK_StorageVolume", CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("DeviceID"), String(name.c_str()), CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("SystemCreationClassName"), "CIM_ComputerSystem",
        CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(CIMName("SystemName"), "VELK-ARRAY-01", CIMKeyBinding::STRING));
    return CIMObjectPath(String(), kVelk, CIMName("VELK_StorageVolume"), keys);
}

std::set<std::string> names(const Array<CIMObjectPath>& paths)
{
    std::set<std::string> out;
    for (Uint32 i = 0; i < paths.size(); i++)
        out.insert(shortName(paths[i]));
    return out;
}

CIMObjectPath ref(const CIMInstance& assoc, const char* name)
{
    CIMObjectPath p;
    assoc.getProperty(assoc.findProperty(CIMName(name))).getValue().get(p);
    return p;
}

// "1004 vol_db01" -> "2,4"
std::string effects(const CIMInstance& assoc)
{
    const Uint32 pos = assoc.findProperty(CIMName("ElementEffects"));
    if (pos == PEG_NOT_FOUND)
        return "absent";
    Array<Uint16> values;
    assoc.getProperty(pos).getValue().get(values);
    std::string out;
    for (Uint32 i = 0; i < values.size(); i++)
        out += (i ? "," : "") + std::to_string(values[i]);
    return out;
}

// Source volumes are read (3 Performance Impact), targets written (2
// Exclusive Use), a promoted snapshot's base has its data replaced too (4
// Element Integrity). The online copy's source comes from the task detail.
// Snapshot space accounting (1006, 1007), remote copies and tasks that are
// no jobs (the conversion 1027) affect no volume.
const std::map<std::string, std::string> kEffects = {
    {"1001 vol_db01", "3"}, {"1001 vol_db01_copy", "2"},
    {"1002 vol_app02", "3"}, {"1002 vol_app02_copy", "2"},
    {"1003 vol_arch01", "3"}, {"1003 vol_arch01_copy", "2"},
    {"1004 snap_db01", "3"}, {"1004 vol_db01", "2,4"},
    {"1005 snap_mail01", "3"}, {"1005 vol_mail01", "2,4"},
    {"1008 vol_app01", "3"}, {"1008 vol_app01_pc", "2"},
    {"1009 vol_web02", "3"}, {"1009 vol_web02_pc", "2"},
    {"1010 vol_web01", "3"}, {"1010 vol_web01_oc", "2"},
    {"1011 vol_hr01", "3"}, {"1011 vol_hr01_oc", "2"},
};

TEST_F(AffectedJobElementE2E, EveryCopyJobIsLinkedToItsSourceAndTargetWithTheirEffects)
{
    Array<CIMInstance> all = client.enumerateInstances(kVelk, CIMName("VELK_AffectedJobElement"));
    std::map<std::string, std::string> got;
    for (Uint32 i = 0; i < all.size(); i++)
    {
        got[shortName(ref(all[i], "AffectingElement")) + " " + shortName(ref(all[i], "AffectedElement"))] =
            effects(all[i]);
        // Each instance can be read back by its own path.
        if (i == 0)
        {
            CIMInstance again = client.getInstance(kVelk, all[i].getPath());
            EXPECT_EQ(effects(all[i]), effects(again));
        }
    }
    EXPECT_EQ(kEffects, got);
    EXPECT_EQ(kEffects.size(), client.enumerateInstanceNames(kVelk, CIMName("CIM_AffectedJobElement")).size());

    // A path that pairs a job with a volume it does not touch names nothing.
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("AffectedElement"), CIMValue(volume("vol_fin01"))));
    keys.append(CIMKeyBinding(CIMName("AffectingElement"), CIMValue(job("1001"))));
    try
    {
        client.getInstance(kVelk, CIMObjectPath(String(), kVelk, CIMName("VELK_AffectedJobElement"), keys));
        ADD_FAILURE() << "a job and a volume it does not touch were linked";
    }
    catch (const CIMException& e)
    {
        EXPECT_EQ(CIM_ERR_NOT_FOUND, e.getCode());
    }
}

struct Walk
{
    const char* from;   // "job 1004" or "volume vol_db01"
    const char* assocClass;
    const char* resultClass;
    const char* role;
    const char* resultRole;
    std::set<std::string> expected;
};

CIMObjectPath start(const std::string& from)
{
    const size_t blank = from.find(' ');
    return from.compare(0, blank, "job") == 0 ? job(from.substr(blank + 1))
                                              : volume(from.substr(blank + 1));
}

CIMName nameOrNull(const char* s)
{
    return *s ? CIMName(s) : CIMName();
}

TEST_F(AffectedJobElementE2E, AssociatorsInBothDirectionsHonourEveryFilter)
{
    const std::set<std::string> none;
    const Walk walks[] = {
        {"job 1004", "VELK_AffectedJobElement", "", "", "", {"snap_db01", "vol_db01"}},
        {"job 1004", "CIM_AffectedJobElement", "CIM_StorageExtent", "AffectingElement", "AffectedElement",
            {"snap_db01", "vol_db01"}},
        {"job 1004", "CIM_AffectedJobElement", "CIM_Job", "", "", none},
        {"job 1004", "CIM_AffectedJobElement", "", "AffectedElement", "", none},
        {"job 1004", "CIM_AffectedJobElement", "", "", "AffectingElement", none},
        {"job 1010", "CIM_AffectedJobElement", "VELK_StorageVolume", "", "", {"vol_web01", "vol_web01_oc"}},
        {"job 1006", "CIM_AffectedJobElement", "", "", "", none},
        {"job 1012", "CIM_AffectedJobElement", "", "", "", none},
        {"job 9999", "CIM_AffectedJobElement", "", "", "", none},
        {"volume vol_db01", "", "", "", "", {"1001", "1004"}},
        {"volume vol_db01", "CIM_AffectedJobElement", "CIM_ConcreteJob", "AffectedElement", "AffectingElement",
            {"1001", "1004"}},
        {"volume vol_db01", "CIM_AffectedJobElement", "CIM_StorageVolume", "", "", none},
        {"volume vol_db01", "CIM_AffectedJobElement", "", "AffectingElement", "", none},
        {"volume vol_db01", "CIM_AffectedJobElement", "", "", "AffectedElement", none},
        {"volume vol_db01", "CIM_OwningJobElement", "", "", "", none},
        {"volume vol_web01_oc", "VELK_AffectedJobElement", "VELK_ConcreteJob", "", "", {"1010"}},
        {"volume vol_fin01", "CIM_AffectedJobElement", "", "", "", none},
    };
    for (const Walk& w : walks)
    {
        SCOPED_TRACE(std::string(w.from) + " assocClass=" + w.assocClass + " resultClass=" + w.resultClass
            + " role=" + w.role + " resultRole=" + w.resultRole);
        const CIMObjectPath from = start(w.from);
        // Without an association class a volume also reaches its
        // synchronizations' volumes: only the jobs count.
        auto reached = [&](const Array<CIMObjectPath>& paths) {
            std::set<std::string> got = names(paths);
            for (auto it = got.begin(); !*w.assocClass && it != got.end();)
                it = it->compare(0, 1, "1") == 0 ? std::next(it) : got.erase(it);
            return got;
        };
        EXPECT_EQ(w.expected, reached(client.associatorNames(kVelk, from,
            nameOrNull(w.assocClass), nameOrNull(w.resultClass), w.role, w.resultRole)));
        Array<CIMObject> objects = client.associators(kVelk, from, nameOrNull(w.assocClass),
            nameOrNull(w.resultClass), w.role, w.resultRole);
        Array<CIMObjectPath> objectPaths;
        for (Uint32 i = 0; i < objects.size(); i++)
            objectPaths.append(objects[i].getPath());
        EXPECT_EQ(w.expected, reached(objectPaths));
    }
}

TEST_F(AffectedJobElementE2E, ReferencesInBothDirectionsHonourRoleAndResultClass)
{
    struct Refs
    {
        const char* from;
        const char* resultClass;
        const char* role;
        std::map<std::string, std::string> expected;   // "job volume" -> effects
    };
    const Refs cases[] = {
        {"volume vol_db01", "CIM_AffectedJobElement", "", {{"1001 vol_db01", "3"}, {"1004 vol_db01", "2,4"}}},
        {"volume vol_db01", "VELK_AffectedJobElement", "AffectedElement",
            {{"1001 vol_db01", "3"}, {"1004 vol_db01", "2,4"}}},
        {"volume vol_db01", "CIM_AffectedJobElement", "AffectingElement", {}},
        {"volume vol_db01", "CIM_OwningJobElement", "", {}},
        {"job 1010", "CIM_AffectedJobElement", "AffectingElement",
            {{"1010 vol_web01", "3"}, {"1010 vol_web01_oc", "2"}}},
        {"job 1010", "CIM_AffectedJobElement", "AffectedElement", {}},
    };
    for (const Refs& r : cases)
    {
        SCOPED_TRACE(std::string(r.from) + " resultClass=" + r.resultClass + " role=" + r.role);
        Array<CIMObject> refs = client.references(kVelk, start(r.from), CIMName(r.resultClass), r.role);
        std::map<std::string, std::string> got;
        for (Uint32 i = 0; i < refs.size(); i++)
        {
            const CIMInstance assoc(refs[i]);
            got[shortName(ref(assoc, "AffectingElement")) + " " + shortName(ref(assoc, "AffectedElement"))] =
                effects(assoc);
        }
        EXPECT_EQ(r.expected, got);
        EXPECT_EQ(r.expected.size(),
            client.referenceNames(kVelk, start(r.from), CIMName(r.resultClass), r.role).size());
    }
}

TEST_F(AffectedJobElementE2E, WbemcliWalksFromAJobToItsVolumesAndBack)
{
    const std::string jobPath = "VELK_ConcreteJob.InstanceID=\"KORVANE:task_id:1001\"";
    e2e::Result fromJob = e2e::run({"wbemcli", "ain", "-ac", "VELK_AffectedJobElement",
        server->velkUrl(jobPath)});
    ASSERT_EQ(0, fromJob.status) << fromJob.out;
    EXPECT_NE(std::string::npos, fromJob.out.find("DeviceID=\"vol_db01\""));
    EXPECT_NE(std::string::npos, fromJob.out.find("DeviceID=\"vol_db01_copy\""));
    EXPECT_EQ(2u, e2e::lines(fromJob.out).size()) << fromJob.out;

    e2e::Result fromVolume = e2e::run({"wbemcli", "ain", "-ac", "CIM_AffectedJobElement",
        server->velkUrl("VELK_StorageVolume.CreationClassName=\"VELK_StorageVolume\",DeviceID=\"vol_db01_copy\","
                        "SystemCreationClassName=\"CIM_ComputerSystem\",SystemName=\"VELK-ARRAY-01\"")});
    ASSERT_EQ(0, fromVolume.status) << fromVolume.out;
    ASSERT_EQ(1u, e2e::lines(fromVolume.out).size()) << fromVolume.out;
    EXPECT_NE(std::string::npos, fromVolume.out.find("KORVANE:task_id:1001"));
}

} // namespace
