// Association builders, response dispatch and InstanceID parts of
// VELK_Common.
#include <gtest/gtest.h>

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

#include "VELK_Common.h"
#include "RecordingHandlers.h"

using namespace Pegasus;
using velktest::InstanceRecorder;
using velktest::ObjectRecorder;
using velktest::PathRecorder;

namespace
{

CIMObjectPath jobPath(const String& host, const String& id)
{
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("InstanceID"), id, CIMKeyBinding::STRING));
    return CIMObjectPath(host, CIMNamespaceName("root/velk"),
        CIMName("VELK_ConcreteJob"), keys);
}

CIMObjectPath servicePath(const String& host)
{
    return CIMObjectPath(String("//") + host +
        "/root/velk:VELK_StorageConfigurationService.CreationClassName="
        "\"VELK_StorageConfigurationService\",Name=\"svc\","
        "SystemCreationClassName=\"VELK_StorageSystem\",SystemName=\"A1\"");
}

CIMClass owningJobElementClass()
{
    CIMClass cls(CIMName("VELK_OwningJobElement"));
    cls.addProperty(CIMProperty(CIMName("OwningElement"),
        CIMValue(CIMTYPE_REFERENCE, false), 0, CIMName("CIM_ManagedElement")));
    cls.addProperty(CIMProperty(CIMName("OwnedElement"),
        CIMValue(CIMTYPE_REFERENCE, false), 0, CIMName("CIM_ManagedElement")));
    cls.addProperty(CIMProperty(CIMName("Note"), CIMValue(String("x"))));
    return cls;
}

const Array<CIMKeyBinding>& keysOf(const CIMObjectPath& p)
{
    return p.getKeyBindings();
}

// Processing, one delivery and complete through the dispatch helpers; the
// sequence the recorder saw.
std::string dispatch(cim_handler_u h, cim_method_e m, const CIMInstance& inst,
    const velktest::Calls& rec)
{
    VELK_Common::handleProcessing(h, m);
    VELK_Common::handleDeliver(h, m, inst);
    VELK_Common::handleComplete(h, m);
    return rec.sequence();
}

} // namespace

TEST(AssocPath, ReferencesTakeTheGivenHostAndKeepTheirOwnNamespaceAndKeys)
{
    CIMObjectPath svc = servicePath("elsewhere");
    CIMObjectPath job = jobPath("other", "KORVANE:task_id:7");

    CIMObjectPath assoc = VELK_Common::buildAssocPath(
        CIMName("VELK_OwningJobElement"), "OwningElement", "OwnedElement",
        svc, job, "ctl1", "root/velk");

    EXPECT_EQ(String("ctl1"), assoc.getHost());
    EXPECT_EQ(String("root/velk"), assoc.getNameSpace().getString());
    EXPECT_EQ(String("VELK_OwningJobElement"),
        assoc.getClassName().getString());

    // Keys read back in the library's sorted order: OwnedElement first.
    const Array<CIMKeyBinding>& keys = keysOf(assoc);
    ASSERT_EQ(2u, keys.size());
    EXPECT_EQ(String("OwnedElement"), keys[0].getName().getString());
    EXPECT_EQ(String("OwningElement"), keys[1].getName().getString());
    EXPECT_EQ(CIMKeyBinding::REFERENCE, keys[0].getType());
    EXPECT_EQ(CIMKeyBinding::REFERENCE, keys[1].getType());

    CIMObjectPath owned(keys[0].getValue());
    CIMObjectPath owning(keys[1].getValue());
    EXPECT_EQ(String("ctl1"), owned.getHost());
    EXPECT_EQ(String("ctl1"), owning.getHost());
    EXPECT_EQ(String("VELK_ConcreteJob"), owned.getClassName().getString());
    EXPECT_EQ(String("KORVANE:task_id:7"),
        keysOf(owned)[0].getValue());
    EXPECT_EQ(4u, keysOf(owning).size());

    // The caller's paths are left as they were.
    EXPECT_EQ(String("elsewhere"), svc.getHost());
    EXPECT_EQ(String("other"), job.getHost());
}

TEST(AssocPath, GeneralFormSetsEachHostApart)
{
    CIMObjectPath assoc = VELK_Common::buildAssocPath(
        CIMName("VELK_AssociatedJobMethodResult"), "JobParameters", "Job",
        jobPath("x", "KORVANE:task_id:1"), jobPath("", "KORVANE:task_id:2"),
        "hostA", "hostB", "local", "root/velk");
    EXPECT_EQ(String("local"), assoc.getHost());
    const Array<CIMKeyBinding>& keys = keysOf(assoc);
    ASSERT_EQ(2u, keys.size());
    EXPECT_EQ(String("Job"), keys[0].getName().getString());
    EXPECT_EQ(String("hostB"), CIMObjectPath(keys[0].getValue()).getHost());
    EXPECT_EQ(String("JobParameters"), keys[1].getName().getString());
    EXPECT_EQ(String("hostA"), CIMObjectPath(keys[1].getValue()).getHost());
}

TEST(AssocInstance, ReferencePropertiesAndPathFromTheSameEnds)
{
    CIMObjectPath svc = servicePath("far");
    CIMObjectPath job = jobPath("", "KORVANE:task_id:9");

    CIMInstance inst = VELK_Common::buildAssocInstance(
        CIMName("VELK_OwningJobElement"), "OwningElement", "OwnedElement",
        svc, job, owningJobElementClass(), "ctl1", "root/velk");

    EXPECT_EQ(String("VELK_OwningJobElement"), inst.getClassName().getString());
    Uint32 owning = inst.findProperty(CIMName("OwningElement"));
    Uint32 owned = inst.findProperty(CIMName("OwnedElement"));
    ASSERT_NE(PEG_NOT_FOUND, owning);
    ASSERT_NE(PEG_NOT_FOUND, owned);

    CIMObjectPath owningValue;
    inst.getProperty(owning).getValue().get(owningValue);
    CIMObjectPath ownedValue;
    inst.getProperty(owned).getValue().get(ownedValue);
    EXPECT_EQ(String("ctl1"), owningValue.getHost());
    EXPECT_EQ(String("ctl1"), ownedValue.getHost());
    EXPECT_EQ(String("VELK_StorageConfigurationService"),
        owningValue.getClassName().getString());
    EXPECT_EQ(String("KORVANE:task_id:9"), keysOf(ownedValue)[0].getValue());

    // The class's other properties stay at their defaults.
    Uint32 note = inst.findProperty(CIMName("Note"));
    ASSERT_NE(PEG_NOT_FOUND, note);
    String noteValue;
    inst.getProperty(note).getValue().get(noteValue);
    EXPECT_EQ(String("x"), noteValue);

    EXPECT_TRUE(inst.getPath().identical(VELK_Common::buildAssocPath(
        CIMName("VELK_OwningJobElement"), "OwningElement", "OwnedElement",
        svc, job, "ctl1", "root/velk")));
}

TEST(Dispatch, EachMethodReachesItsHandlerInItsForm)
{
    CIMInstance inst(CIMName("VELK_ConcreteJob"));
    CIMObjectPath path = jobPath("ctl1", "KORVANE:task_id:3");
    inst.setPath(path);

    for (cim_method_e m : {VELKCIM_GETINSTANCE, VELKCIM_ENUMERATEINSTANCES})
    {
        InstanceRecorder rec;
        cim_handler_u h;
        h.instanceResponse = &rec;
        EXPECT_EQ("processing deliver complete", dispatch(h, m, inst, rec));
        ASSERT_EQ(1u, rec.items.size());
        EXPECT_TRUE(rec.items[0].identical(inst));
    }
    for (cim_method_e m : {VELKCIM_ASSOCIATORS, VELKCIM_REFERENCES})
    {
        ObjectRecorder rec;
        cim_handler_u h;
        h.objectResponse = &rec;
        EXPECT_EQ("processing deliver complete", dispatch(h, m, inst, rec));
        ASSERT_EQ(1u, rec.items.size());
        EXPECT_TRUE(rec.items[0].isInstance());
        EXPECT_TRUE(rec.items[0].getPath().identical(path));
    }
    for (cim_method_e m : {VELKCIM_ASSOCIATORNAMES, VELKCIM_REFERENCENAMES,
             VELKCIM_ENUMERATEINSTANCENAMES})
    {
        PathRecorder rec;
        cim_handler_u h;
        h.objectPathResponse = &rec;
        EXPECT_EQ("processing deliver complete", dispatch(h, m, inst, rec));
        ASSERT_EQ(1u, rec.items.size());
        // Only the path, with the host and namespace it carries.
        EXPECT_TRUE(rec.items[0].identical(path));
        EXPECT_EQ(String("ctl1"), rec.items[0].getHost());
    }
}

TEST(Dispatch, MethodOutsideTheEnumerationDoesNothing)
{
    InstanceRecorder rec;
    cim_handler_u h;
    h.instanceResponse = &rec;
    CIMInstance inst(CIMName("VELK_ConcreteJob"));
    VELK_Common::handleProcessing(h, static_cast<cim_method_e>(7));
    VELK_Common::handleDeliver(h, static_cast<cim_method_e>(-1), inst);
    VELK_Common::handleComplete(h, static_cast<cim_method_e>(42));
    EXPECT_TRUE(rec.calls.empty());
}

TEST(ExtractFromInstanceID, TakesWhatFollowsTheFirstMarker)
{
    EXPECT_EQ(String("1234"),
        VELK_Common::extractFromInstanceID("KORVANE:1234"));
    EXPECT_EQ(String("task_id:5"),
        VELK_Common::extractFromInstanceID("KORVANE:task_id:5"));
    EXPECT_EQ(String("7"), VELK_Common::extractFromInstanceID("xyzKORVANE:7"));
    EXPECT_EQ(String("KORVANE:2"),
        VELK_Common::extractFromInstanceID("KORVANE:KORVANE:2"));
    EXPECT_EQ(String(""), VELK_Common::extractFromInstanceID("KORVANE:"));
    EXPECT_EQ(String(""), VELK_Common::extractFromInstanceID("korvane:7"));
    EXPECT_EQ(String(""), VELK_Common::extractFromInstanceID("KORVANE7"));
    EXPECT_EQ(String(""), VELK_Common::extractFromInstanceID(""));
}
