// Instances built from classes, instance paths, filtering.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/InternalException.h>

PEGASUS_USING_PEGASUS;

namespace
{

// A job class as the server returns it: inherited properties with class
// origins, a key, defaults, qualifiers on the class and on properties.
CIMClass jobClass()
{
    CIMClass cls("VELK_ConcreteJob", "CIM_ConcreteJob");
    cls.setPath(CIMObjectPath("//server/root/velk:VELK_ConcreteJob"));
    cls.addQualifier(CIMQualifier("Description", CIMValue(String("A job"))));
    cls.addProperty(CIMProperty("InstanceID", CIMValue(CIMTYPE_STRING, false),
        0, CIMName(), "CIM_ManagedElement", true)
        .addQualifier(CIMQualifier("Key", CIMValue(true))));
    cls.addProperty(CIMProperty("Name", CIMValue(CIMTYPE_STRING, false),
        0, CIMName(), "CIM_ManagedSystemElement", true)
        .addQualifier(CIMQualifier("Key", CIMValue(false))));
    cls.addProperty(CIMProperty("DeleteOnCompletion", CIMValue(true),
        0, CIMName(), "CIM_Job", true));
    cls.addProperty(CIMProperty("Owner", CIMValue(CIMTYPE_REFERENCE, false),
        0, "CIM_System", "VELK_ConcreteJob"));
    cls.addProperty(CIMProperty("Codes", CIMValue(Array<Uint16>(2, 5)),
        2, CIMName(), "VELK_ConcreteJob"));
    cls.getProperty(4).addQualifier(CIMQualifier("ValueMap",
        CIMValue(String("1")), CIMFlavor::TOINSTANCE));
    return cls;
}

CIMPropertyList names(std::initializer_list<const char*> list)
{
    Array<CIMName> a;
    for (const char* n : list)
        a.append(CIMName(n));
    return CIMPropertyList(a);
}

}

TEST(BuildInstance, WithoutQualifiersOrClassOrigin)
{
    CIMClass cls = jobClass();
    CIMInstance inst = cls.buildInstance(false, false, CIMPropertyList());

    EXPECT_EQ(String("VELK_ConcreteJob"), inst.getPath().toString());
    EXPECT_EQ(0u, inst.getQualifierCount());
    ASSERT_EQ(5u, inst.getPropertyCount());
    const char* order[] = {"InstanceID", "Name", "DeleteOnCompletion", "Owner", "Codes"};
    for (Uint32 i = 0; i < 5; i++)
    {
        CIMConstProperty p = inst.getProperty(i);
        EXPECT_EQ(String(order[i]), p.getName().getString());
        EXPECT_EQ(0u, p.getQualifierCount());
        EXPECT_TRUE(p.getClassOrigin().isNull());
        EXPECT_TRUE(p.getValue().equal(cls.getProperty(i).getValue()));
    }
    EXPECT_TRUE(inst.getProperty(0).getPropagated());
    EXPECT_FALSE(inst.getProperty(3).getPropagated());
    EXPECT_EQ(CIMTYPE_STRING, inst.getProperty(0).getType());
    EXPECT_TRUE(inst.getProperty(0).getValue().isNull());
    EXPECT_EQ(String("CIM_System"), inst.getProperty(3).getReferenceClassName().getString());
    EXPECT_EQ(2u, inst.getProperty(4).getArraySize());
    // The class keeps its class origins.
    EXPECT_EQ(String("CIM_Job"), cls.getProperty(2).getClassOrigin().getString());
}

TEST(BuildInstance, WithQualifiersAndClassOriginCopiesThem)
{
    CIMClass cls = jobClass();
    CIMInstance inst = cls.buildInstance(true, true, CIMPropertyList());

    ASSERT_EQ(1u, inst.getQualifierCount());
    EXPECT_EQ(String("Description"), inst.getQualifier(0).getName().getString());
    EXPECT_EQ(1u, inst.getProperty(0).getQualifierCount());
    EXPECT_TRUE(inst.getProperty(4).getQualifier(0).getFlavor().hasFlavor(CIMFlavor::TOINSTANCE));
    EXPECT_EQ(String("CIM_ManagedElement"), inst.getProperty(0).getClassOrigin().getString());

    // Everything is copied: changing the instance leaves the class alone.
    inst.getQualifier(0).setValue(CIMValue(String("changed")));
    inst.getProperty(0).getQualifier(0).setValue(CIMValue(false));
    inst.getProperty(2).setValue(CIMValue(false));
    String d;
    cls.getQualifier(0).getValue().get(d);
    EXPECT_EQ(String("A job"), d);
    Boolean b = false;
    cls.getProperty(0).getQualifier(0).getValue().get(b);
    EXPECT_TRUE(b);
    cls.getProperty(2).getValue().get(b);
    EXPECT_TRUE(b);
    EXPECT_TRUE(cls.hasKeys());
}

TEST(BuildInstance, PropertyListSelectsInClassOrder)
{
    CIMClass cls = jobClass();
    CIMInstance some = cls.buildInstance(false, true,
        names({"codes", "Unknown", "INSTANCEID"}));
    ASSERT_EQ(2u, some.getPropertyCount());
    EXPECT_EQ(String("InstanceID"), some.getProperty(0).getName().getString());
    EXPECT_EQ(String("Codes"), some.getProperty(1).getName().getString());
    EXPECT_EQ(String("VELK_ConcreteJob"), some.getProperty(1).getClassOrigin().getString());

    CIMInstance none = cls.buildInstance(true, true, CIMPropertyList(Array<CIMName>()));
    EXPECT_EQ(0u, none.getPropertyCount());
    EXPECT_EQ(1u, none.getQualifierCount());
}

TEST(BuildInstance, BuildPathUsesTheKeysOfTheClass)
{
    CIMClass cls = jobClass();
    Array<CIMName> keys;
    cls.getKeyNames(keys);
    ASSERT_EQ(1u, keys.size());
    EXPECT_EQ(String("InstanceID"), keys[0].getString());

    CIMInstance inst = cls.buildInstance(false, false, CIMPropertyList());
    inst.getProperty(0).setValue(CIMValue(String("VELK:task:7")));
    inst.setPath(CIMObjectPath("//h/root/velk:VELK_ConcreteJob.InstanceID=\"old\""));
    CIMObjectPath path = inst.buildPath(cls);
    EXPECT_EQ(String("VELK_ConcreteJob.InstanceID=\"VELK:task:7\""), path.toString());
    // buildPath does not update the stored path.
    EXPECT_EQ(String("//h/root/velk:VELK_ConcreteJob.InstanceID=\"old\""),
        inst.getPath().toString());

    CIMClass keyless("VELK_Setting");
    keyless.addProperty(CIMProperty("Value", CIMValue(Uint32(3))));
    CIMInstance setting("VELK_Setting");
    EXPECT_EQ(String("VELK_Setting"), setting.buildPath(keyless).toString());

    CIMInstance missing("VELK_ConcreteJob");
    try
    {
        missing.buildPath(cls);
        FAIL() << "no exception";
    }
    catch (const NoSuchProperty& e)
    {
        EXPECT_EQ(String("no such property: InstanceID"), e.getMessage());
    }
}

TEST(BuildInstance, InstanceFilterRemovesWhatWasNotAskedFor)
{
    CIMClass cls = jobClass();
    CIMInstance inst = cls.buildInstance(true, true, CIMPropertyList());
    CIMProperty owner = inst.getProperty(3);

    inst.instanceFilter(true, true, CIMPropertyList());
    EXPECT_EQ(5u, inst.getPropertyCount());
    EXPECT_EQ(1u, inst.getQualifierCount());

    inst.instanceFilter(false, false, names({"Owner", "InstanceID"}));
    ASSERT_EQ(2u, inst.getPropertyCount());
    EXPECT_EQ(String("InstanceID"), inst.getProperty(0).getName().getString());
    EXPECT_EQ(0u, inst.getQualifierCount());
    EXPECT_EQ(0u, inst.getProperty(0).getQualifierCount());
    EXPECT_TRUE(inst.getProperty(1).getClassOrigin().isNull());
    // Kept properties are still the same handles.
    EXPECT_TRUE(owner.getClassOrigin().isNull());

    inst.filter(false, false, CIMPropertyList(Array<CIMName>()));
    EXPECT_EQ(2u, inst.getPropertyCount());
}

TEST(BuildInstance, QualifierTestsNeedTheValueTrue)
{
    CIMClass assoc("VELK_OwningJobElement");
    EXPECT_FALSE(assoc.isAssociation());
    assoc.addQualifier(CIMQualifier("ASSOCIATION", CIMValue(true)));
    assoc.addQualifier(CIMQualifier("Abstract", CIMValue(false)));
    EXPECT_TRUE(assoc.isAssociation());
    EXPECT_FALSE(assoc.isAbstract());
    EXPECT_FALSE(assoc.hasKeys());
    CIMConstClass view(assoc);
    EXPECT_TRUE(view.isAssociation());
}

TEST(BuildInstance, SharedClassServesConcurrentBuilders)
{
    // The class cache hands one class, a clone, to every worker thread.
    CIMClass cls = jobClass().clone();
    std::vector<std::thread> workers;
    std::atomic<Uint32> built(0);
    for (int t = 0; t < 4; t++)
    {
        workers.emplace_back([cls, &built] {
            for (int i = 0; i < 500; i++)
            {
                CIMClass mine = cls;
                CIMInstance inst = mine.buildInstance(i % 2 == 0, i % 3 == 0,
                    CIMPropertyList());
                inst.getProperty(0).setValue(CIMValue(String("id")));
                CIMObject obj = inst;
                if (CIMInstance(obj).buildPath(mine).getKeyBindings().size() == 1)
                    built++;
            }
        });
    }
    for (std::thread& w : workers)
        w.join();
    EXPECT_EQ(2000u, built.load());
    EXPECT_TRUE(cls.getProperty(0).getValue().isNull());
}

TEST(BuildInstance, PropertiesOutliveTheirInstanceOnAnyThread)
{
    CIMClass cls = jobClass();
    CIMProperty kept;
    CIMConstProperty keptFromClone;
    {
        CIMInstance inst = cls.buildInstance(true, true, CIMPropertyList());
        kept = inst.getProperty(2);
        CIMInstance copy = inst.clone();
        keptFromClone = copy.getProperty(4);
        copy.getProperty(4).setValue(CIMValue(Array<Uint16>(2, 7)));
        inst.removeProperty(0);
    }
    // The handles stay usable after their instances are gone, and the last
    // of them may be released on another thread.
    std::thread([&kept] {
        kept.setValue(CIMValue(false));
        EXPECT_EQ(String("DeleteOnCompletion"), kept.getName().getString());
        kept = CIMProperty();
    }).join();
    Array<Uint16> codes;
    keptFromClone.getValue().get(codes);
    EXPECT_EQ(Array<Uint16>(2, 7), codes);
    EXPECT_EQ(1u, keptFromClone.getQualifierCount());
    EXPECT_EQ(String("VELK_ConcreteJob"), keptFromClone.getClassOrigin().getString());
    EXPECT_TRUE(cls.getProperty(2).getValue().equal(CIMValue(true)));
}

TEST(BuildInstance, LookupsFollowAddedRemovedAndFilteredProperties)
{
    CIMClass cls("Wide");
    for (Uint32 i = 0; i < 12; i++)
    {
        String name("P");
        name.appendPrintf("%u", i);
        cls.addProperty(CIMProperty(CIMName(name), CIMValue(i)));
    }
    CIMInstance inst = cls.buildInstance(false, false, CIMPropertyList());
    CIMInstance copy = inst.clone();
    EXPECT_EQ(7u, inst.findProperty("p7"));

    inst.removeProperty(0);
    inst.addProperty(CIMProperty("Extra", CIMValue(true)));
    EXPECT_EQ(6u, inst.findProperty("P7"));
    EXPECT_EQ(PEG_NOT_FOUND, inst.findProperty("P0"));
    EXPECT_EQ(11u, inst.findProperty("EXTRA"));
    for (Uint32 i = 0; i < inst.getPropertyCount(); i++)
    {
        String lower = inst.getProperty(i).getName().getString();
        lower.toLower();
        EXPECT_EQ(i, inst.findProperty(CIMName(lower))) << lower;
    }

    // The clone and the class keep their own properties.
    EXPECT_EQ(7u, copy.findProperty("P7"));
    EXPECT_EQ(0u, copy.findProperty("P0"));
    EXPECT_EQ(PEG_NOT_FOUND, copy.findProperty("Extra"));
    cls.removeProperty(3);
    EXPECT_EQ(6u, cls.findProperty("P7"));
    CIMInstance after = cls.buildInstance(false, false, CIMPropertyList());
    EXPECT_EQ(6u, after.findProperty("p7"));
    EXPECT_EQ(PEG_NOT_FOUND, after.findProperty("P3"));

    // Selected and filtered instances hold fewer properties, in class order.
    CIMInstance selected = cls.buildInstance(false, false, names({"P10", "P2"}));
    EXPECT_EQ(1u, selected.findProperty("P10"));
    after.instanceFilter(false, false, names({"P9", "P1"}));
    EXPECT_EQ(1u, after.findProperty("P9"));
    EXPECT_EQ(PEG_NOT_FOUND, after.findProperty("P7"));
}

TEST(BuildInstance, ChangingOneCopyLeavesTheOthersAlone)
{
    // Clones and built instances share what their properties have in common
    // until one of them changes; whichever changes, and however, the others
    // must answer as before. What they must answer is built afresh.
    struct Change
    {
        const char* what;
        std::function<void(CIMProperty)> apply;
    };
    const Change changes[] = {
        {"value", [](CIMProperty p) { p.setValue(CIMValue(String("x"))); }},
        {"qualifier value",
            [](CIMProperty p) { p.getQualifier(0).setValue(CIMValue(false)); }},
        {"qualifier added",
            [](CIMProperty p) { p.addQualifier(CIMQualifier("Required", CIMValue(true))); }},
        {"qualifier removed", [](CIMProperty p) { p.removeQualifier(0); }},
        {"class origin", [](CIMProperty p) { p.setClassOrigin("Other"); }},
        {"propagated", [](CIMProperty p) { p.setPropagated(false); }},
    };
    const char* targets[] = {"class", "clone", "instance"};
    for (const Change& change : changes)
    {
        for (int target = 0; target < 3; target++)
        {
            SCOPED_TRACE(std::string(change.what) + " of the " + targets[target]);
            CIMClass cached = jobClass().clone();
            CIMClass clone = cached.clone();
            CIMInstance full = cached.buildInstance(true, true, CIMPropertyList());
            CIMInstance bare = cached.buildInstance(false, false, CIMPropertyList());
            CIMInstance noOrigin = cached.buildInstance(true, false, CIMPropertyList());

            CIMProperty changed = target == 0 ? cached.getProperty(0)
                : target == 1 ? clone.getProperty(0) : full.getProperty(0);
            change.apply(changed);

            const CIMClass expectedClass = jobClass();
            const CIMInstance expectedFull =
                jobClass().buildInstance(true, true, CIMPropertyList());
            EXPECT_EQ(target != 0, cached.identical(expectedClass));
            EXPECT_EQ(target != 1, clone.identical(expectedClass));
            EXPECT_EQ(target != 2, full.identical(expectedFull));
            EXPECT_TRUE(bare.identical(
                jobClass().buildInstance(false, false, CIMPropertyList())));
            EXPECT_TRUE(noOrigin.identical(
                jobClass().buildInstance(true, false, CIMPropertyList())));
            // A later copy of what changed shows the change.
            CIMProperty again = target == 2
                ? full.clone().getProperty(0) : CIMProperty(changed).clone();
            EXPECT_TRUE(again.identical(changed));
        }
    }
}

TEST(BuildInstance, CopiesFollowEarlierHandlesAndLaterChanges)
{
    CIMClass cached = jobClass().clone();

    // A qualifier handle taken before a clone changes the original only.
    CIMQualifier key = cached.getProperty(0).getQualifier(0);
    CIMClass clone = cached.clone();
    CIMInstance inst = cached.buildInstance(true, true, CIMPropertyList());
    key.setValue(CIMValue(false));
    EXPECT_TRUE(clone.identical(jobClass()));
    EXPECT_TRUE(inst.identical(jobClass().buildInstance(true, true, CIMPropertyList())));
    EXPECT_FALSE(cached.hasKeys());

    // A built property is renamed only once out of its instance, and then
    // alone; it outlives the instance.
    CIMProperty taken;
    {
        CIMInstance built = clone.buildInstance(true, true, CIMPropertyList());
        taken = built.getProperty(1);
        EXPECT_THROW(taken.setName("Renamed"), Exception);
        built.removeProperty(1);
        taken.setName("Renamed");
        EXPECT_EQ(1u, built.findProperty("DeleteOnCompletion"));
    }
    EXPECT_EQ(String("Renamed"), taken.getName().getString());
    EXPECT_EQ(String("Name"), clone.getProperty(1).getName().getString());
    EXPECT_EQ(1u, taken.getQualifierCount());

    // Instances built after a change to the class show it, however many
    // were built (and gone) before, with or without qualifiers and origin.
    for (int round = 0; round < 2; round++)
    {
        SCOPED_TRACE(round);
        CIMClass cls = jobClass().clone();
        for (int i = 0; i < 2; i++)
        {
            cls.buildInstance(false, false, CIMPropertyList());
            cls.buildInstance(false, true, CIMPropertyList());
        }
        CIMInstance before = cls.buildInstance(false, true, CIMPropertyList());
        if (round == 1)
            before = CIMInstance();
        cls.getProperty(2).setClassOrigin("Changed");
        cls.getProperty(2).setPropagated(false);
        CIMInstance withOrigin = cls.buildInstance(false, true, CIMPropertyList());
        CIMInstance without = cls.buildInstance(false, false, CIMPropertyList());
        EXPECT_EQ(String("Changed"), withOrigin.getProperty(2).getClassOrigin().getString());
        EXPECT_FALSE(withOrigin.getProperty(2).getPropagated());
        EXPECT_FALSE(without.getProperty(2).getPropagated());
        EXPECT_TRUE(without.getProperty(2).getClassOrigin().isNull());
        if (round == 0)
        {
            EXPECT_EQ(String("CIM_Job"), before.getProperty(2).getClassOrigin().getString());
            EXPECT_TRUE(before.getProperty(2).getPropagated());
        }
    }
}

TEST(BuildInstance, LongListsKeepOrderValuesAndHandlesAcrossTheirWhole)
{
    // Seventy properties: more than one allocation holds for an instance.
    const Uint32 n = 70;
    CIMClass cls("Long");
    for (Uint32 i = 0; i < n; i++)
    {
        String name("P");
        name.appendPrintf("%u", i);
        cls.addProperty(CIMProperty(CIMName(name), CIMValue(i)));
    }
    auto expectList = [](const CIMConstInstance& inst, const std::vector<Uint32>& numbers) {
        ASSERT_EQ(numbers.size(), inst.getPropertyCount());
        for (Uint32 pos = 0; pos < numbers.size(); pos++)
        {
            String name("p");
            name.appendPrintf("%u", numbers[pos]);
            SCOPED_TRACE(name);
            EXPECT_EQ(pos, inst.findProperty(CIMName(name)));
            Uint32 value = 0;
            inst.getProperty(pos).getValue().get(value);
            EXPECT_EQ(numbers[pos], value % 1000);
        }
    };
    std::vector<Uint32> all;
    for (Uint32 i = 0; i < n; i++)
        all.push_back(i);

    CIMInstance inst = cls.buildInstance(false, false, CIMPropertyList());
    CIMInstance copy = inst.clone();
    expectList(inst, all);
    expectList(copy, all);
    CIMProperty kept = inst.getProperty(65);
    inst.getProperty(31).setValue(CIMValue(Uint32(1031)));
    inst.getProperty(65).setValue(CIMValue(Uint32(1065)));

    // Removed and added properties, in order, values kept.
    inst.removeProperty(30);
    inst.addProperty(CIMProperty("P70", CIMValue(Uint32(70))));
    std::vector<Uint32> changed(all.begin(), all.begin() + 30);
    for (Uint32 i = 31; i <= n; i++)
        changed.push_back(i);
    expectList(inst, changed);
    Uint32 value = 0;
    inst.getProperty(30).getValue().get(value);
    EXPECT_EQ(1031u, value);
    expectList(copy, all);
    copy.getProperty(31).getValue().get(value);
    EXPECT_EQ(31u, value);

    expectList(cls.buildInstance(false, false, names({"P69", "P0", "P35"})), {0, 35, 69});
    CIMInstance filtered = cls.buildInstance(false, false, CIMPropertyList());
    filtered.instanceFilter(false, false, names({"P64", "P1", "P33"}));
    expectList(filtered, {1, 33, 64});

    // A handle outlives its instance, whose last copy goes on another thread.
    std::thread([&inst, &copy] {
        inst = CIMInstance();
        copy = CIMInstance();
    }).join();
    kept.getValue().get(value);
    EXPECT_EQ(1065u, value);
    EXPECT_EQ(String("P65"), kept.getName().getString());
}

TEST(BuildInstance, InstancesStartWithTheirClassNameAsTheirOnlyPath)
{
    CIMClass cls = jobClass();
    CIMInstance first = cls.buildInstance(false, false, CIMPropertyList());
    CIMInstance second = cls.clone().buildInstance(true, true, CIMPropertyList());
    for (const CIMInstance& inst : {first, second})
    {
        EXPECT_EQ(String("VELK_ConcreteJob"), inst.getPath().toString());
        EXPECT_TRUE(inst.getPath().getNameSpace().isNull());
    }

    // A path given to one instance leaves the class and the others alone.
    first.setPath(CIMObjectPath("//h/root/velk:VELK_ConcreteJob.InstanceID=\"1\""));
    EXPECT_EQ(String("VELK_ConcreteJob"), second.getPath().toString());
    EXPECT_EQ(String("//server/root/velk:VELK_ConcreteJob"), cls.getPath().toString());

    // The class name as the class spells it when the instance is built,
    // whichever handle set the class's path.
    cls.setPath(CIMObjectPath("//server/root/velk:velk_concretejob"));
    EXPECT_EQ(String("velk_concretejob"),
        cls.buildInstance(false, false, CIMPropertyList()).getPath().toString());
    CIMObject object = cls;
    object.setPath(CIMObjectPath("//server/root/velk:VELK_CONCRETEJOB"));
    EXPECT_EQ(String("VELK_CONCRETEJOB"),
        cls.buildInstance(false, false, CIMPropertyList()).getClassName().getString());
    EXPECT_EQ(String("VELK_ConcreteJob"), second.getClassName().getString());
}

TEST(BuildInstance, HandlesAndTheirInstanceReleasedAtOnceOnTwoThreads)
{
    CIMClass cls("Long");
    for (Uint32 i = 0; i < 70; i++)
    {
        String name("P");
        name.appendPrintf("%u", i);
        cls.addProperty(CIMProperty(CIMName(name), CIMValue(String(name))));
    }
    for (int round = 0; round < 200; round++)
    {
        CIMInstance inst = cls.buildInstance(false, false, CIMPropertyList());
        if (round % 2)
            inst = inst.clone();
        std::vector<CIMProperty> held;
        for (Uint32 i = round % 3; i < inst.getPropertyCount(); i += 3)
            held.push_back(inst.getProperty(i));
        std::atomic<bool> go(false);
        std::thread other([&held, &go] {
            while (!go.load())
                ;
            held.clear();
        });
        go.store(true);
        inst = CIMInstance();
        other.join();
    }
    EXPECT_EQ(String("P69"), cls.getProperty(69).getValue().toString());
}
