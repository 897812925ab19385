// Handle semantics, uninitialised handles, names and duplicates of the
// object model.
#include <gtest/gtest.h>

#include "../TestSupport.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/InternalException.h>

PEGASUS_USING_PEGASUS;
using compattest::messageOf;

namespace
{

Uint32 u32(const CIMValue& v)
{
    Uint32 x = 0;
    v.get(x);
    return x;
}

CIMInstance jobInstance()
{
    CIMInstance inst("VELK_Job");
    inst.addProperty(CIMProperty("InstanceID", CIMValue(String("J1"))));
    inst.addProperty(CIMProperty("Progress", CIMValue(Uint32(10))));
    inst.addQualifier(CIMQualifier("Description", CIMValue(String("d"))));
    return inst;
}

}

TEST(ObjectHandles, PropertyFromInstanceChangesTheInstance)
{
    CIMInstance inst = jobInstance();
    CIMInstance alias = inst;
    inst.getProperty(1).setValue(CIMValue(Uint32(55)));
    EXPECT_EQ(55u, u32(alias.getProperty(alias.findProperty("progress")).getValue()));

    // addProperty stores the handle, not a copy.
    CIMProperty p("Extra", CIMValue(Uint32(1)));
    inst.addProperty(p);
    p.setValue(CIMValue(Uint32(2)));
    EXPECT_EQ(2u, u32(alias.getProperty(2).getValue()));

    // A CIMObject made from the instance shares it both ways.
    CIMObject obj(inst);
    obj.getProperty(0).setValue(CIMValue(String("J2")));
    String id;
    inst.getProperty(0).getValue().get(id);
    EXPECT_EQ(String("J2"), id);
    CIMInstance back(obj);
    back.removeProperty(2);
    EXPECT_EQ(2u, inst.getPropertyCount());
}

TEST(ObjectHandles, CloneIsDeepAndIndependent)
{
    CIMInstance inst = jobInstance();
    inst.getProperty(0).addQualifier(CIMQualifier("Key", CIMValue(true)));
    CIMInstance copy = inst.clone();
    EXPECT_TRUE(copy.identical(inst));

    copy.getProperty(1).setValue(CIMValue(Uint32(99)));
    copy.getQualifier(0).setValue(CIMValue(String("changed")));
    copy.getProperty(0).removeQualifier(0);
    copy.addProperty(CIMProperty("New", CIMValue(true)));

    EXPECT_EQ(10u, u32(inst.getProperty(1).getValue()));
    String d;
    inst.getQualifier(0).getValue().get(d);
    EXPECT_EQ(String("d"), d);
    EXPECT_EQ(1u, inst.getProperty(0).getQualifierCount());
    EXPECT_EQ(2u, inst.getPropertyCount());
    EXPECT_FALSE(copy.identical(inst));

    CIMParamValue pv("Job", CIMValue(Uint32(1)));
    CIMParamValue pvAlias = pv;
    CIMParamValue pvClone = pv.clone();
    CIMValue v(Uint32(7));
    pv.setValue(v);
    EXPECT_EQ(7u, u32(pvAlias.getValue()));
    EXPECT_EQ(1u, u32(pvClone.getValue()));
}

TEST(ObjectHandles, UninitializedHandlesThrowExceptDocumentedMembers)
{
    CIMInstance inst;
    CIMClass cls;
    CIMObject obj;
    CIMProperty prop;
    CIMQualifier qual;
    CIMMethod meth;
    CIMParameter param;
    CIMParamValue pv;
    CIMQualifierDecl decl;
    CIMConstInstance cinst;
    CIMConstClass ccls;
    CIMConstObject cobj;

    // Copying, assigning and destroying are fine.
    CIMInstance inst2 = inst;
    inst2 = inst;
    CIMConstObject cobj2 = obj;

    EXPECT_TRUE(inst.isUninitialized());
    EXPECT_TRUE(cobj2.isUninitialized());
    EXPECT_FALSE(obj.isClass());
    EXPECT_FALSE(obj.isInstance());
    EXPECT_FALSE(cobj.isClass());

    EXPECT_EQ(String("uninitialized object"),
        messageOf<UninitializedObjectException>([&] { inst.getClassName(); }));
    EXPECT_THROW(inst.getPropertyCount(), UninitializedObjectException);
    EXPECT_THROW(inst.findProperty("A"), UninitializedObjectException);
    EXPECT_THROW(inst.clone(), UninitializedObjectException);
    EXPECT_THROW(cls.buildInstance(false, false, CIMPropertyList()),
        UninitializedObjectException);
    EXPECT_THROW(cls.hasKeys(), UninitializedObjectException);
    EXPECT_THROW(obj.getPath(), UninitializedObjectException);
    EXPECT_THROW(obj.toString(), UninitializedObjectException);
    EXPECT_THROW(prop.getValue(), UninitializedObjectException);
    EXPECT_THROW(prop.setValue(CIMValue(true)), UninitializedObjectException);
    EXPECT_THROW(qual.getFlavor(), UninitializedObjectException);
    EXPECT_THROW(meth.getParameterCount(), UninitializedObjectException);
    EXPECT_THROW(param.getType(), UninitializedObjectException);
    EXPECT_THROW(pv.getValue(), UninitializedObjectException);
    EXPECT_THROW(decl.getScope(), UninitializedObjectException);
    EXPECT_THROW(cinst.getPath(), UninitializedObjectException);
    Array<CIMName> keys;
    EXPECT_THROW(ccls.getKeyNames(keys), UninitializedObjectException);

    // Null names and uninitialised arguments.
    CIMInstance good("A");
    EXPECT_THROW(good.addProperty(CIMProperty()), UninitializedObjectException);
    EXPECT_THROW(good.addQualifier(CIMQualifier()), UninitializedObjectException);
    EXPECT_THROW(good.identical(CIMConstInstance()), UninitializedObjectException);
    EXPECT_THROW(CIMInstance x((CIMName())), UninitializedObjectException);
    EXPECT_THROW(CIMClass x((CIMName())), UninitializedObjectException);
    EXPECT_THROW(CIMProperty(CIMName(), CIMValue(true)), UninitializedObjectException);
    EXPECT_THROW(CIMQualifier(CIMName(), CIMValue(true)), UninitializedObjectException);
    EXPECT_THROW(CIMMethod(CIMName(), CIMTYPE_UINT32), UninitializedObjectException);
    EXPECT_THROW(CIMParamValue(String(), CIMValue(true)), UninitializedObjectException);
    CIMProperty named("P", CIMValue(true));
    EXPECT_THROW(named.setName(CIMName()), UninitializedObjectException);
}

TEST(ObjectHandles, NamesAreCaseInsensitiveAndDuplicatesRejected)
{
    CIMInstance inst = jobInstance();
    EXPECT_EQ(0u, inst.findProperty("INSTANCEID"));
    EXPECT_EQ(PEG_NOT_FOUND, inst.findProperty("Missing"));
    EXPECT_EQ(0u, inst.findQualifier("description"));
    EXPECT_EQ(PEG_NOT_FOUND, inst.findQualifier("Key"));

    EXPECT_EQ(String("already exists: property \"PROGRESS\""),
        messageOf<AlreadyExistsException>([&] {
            inst.addProperty(CIMProperty("PROGRESS", CIMValue(Uint32(0))));
        }));
    // The existing property is kept.
    EXPECT_EQ(10u, u32(inst.getProperty(1).getValue()));
    EXPECT_EQ(2u, inst.getPropertyCount());

    EXPECT_EQ(String("already exists: qualifier \"DESCRIPTION\""),
        messageOf<AlreadyExistsException>([&] {
            inst.addQualifier(CIMQualifier("DESCRIPTION", CIMValue(String("x"))));
        }));

    CIMClass cls("C");
    cls.addMethod(CIMMethod("Start", CIMTYPE_UINT32));
    EXPECT_EQ(String("already exists: method \"start\""),
        messageOf<AlreadyExistsException>([&] {
            cls.addMethod(CIMMethod("start", CIMTYPE_UINT32));
        }));
    CIMMethod m = cls.getMethod(cls.findMethod("START"));
    m.addParameter(CIMParameter("Job", CIMTYPE_REFERENCE, false, 0, "CIM_Job"));
    EXPECT_EQ(String("already exists: parameter \"JOB\""),
        messageOf<AlreadyExistsException>([&] {
            m.addParameter(CIMParameter("JOB", CIMTYPE_STRING));
        }));
    EXPECT_EQ(0u, cls.getMethod(0).findParameter("job"));
    EXPECT_EQ(PEG_NOT_FOUND, m.findParameter("Other"));

    EXPECT_THROW(inst.getProperty(2), IndexOutOfBoundsException);
    EXPECT_THROW(inst.removeProperty(2), IndexOutOfBoundsException);
    EXPECT_THROW(inst.getQualifier(1), IndexOutOfBoundsException);
    EXPECT_THROW(cls.getMethod(1), IndexOutOfBoundsException);
    EXPECT_THROW(m.getParameter(1), IndexOutOfBoundsException);

    // A property in a container cannot be renamed (its name is its key).
    CIMProperty p = inst.getProperty(0);
    EXPECT_EQ(String("Attempted to change the name of a property already in a container."),
        messageOf<Exception>([&] { p.setName("Renamed"); }));
    inst.removeProperty(0);
    p.setName("Renamed");
    EXPECT_EQ(String("Renamed"), p.getName().getString());
}

TEST(ObjectHandles, ContainersHoldAtMostOneThousandElements)
{
    CIMInstance inst("C");
    for (Uint32 i = 0; i < 1000; i++)
    {
        String name("P");
        name.appendPrintf("%u", i);
        inst.addProperty(CIMProperty(name, CIMValue(i)));
    }
    EXPECT_THROW(inst.addProperty(CIMProperty("Last", CIMValue(true))),
        TooManyElementsException);
    EXPECT_EQ(1000u, inst.getPropertyCount());
}

TEST(ObjectHandles, PropertyTypeIsThatOfItsValue)
{
    CIMProperty b("Flag", CIMValue());
    EXPECT_EQ(CIMTYPE_BOOLEAN, b.getType());
    EXPECT_THROW(b.setValue(CIMValue(String("x"))), TypeMismatchException);

    CIMProperty u16("Port", CIMValue(CIMTYPE_UINT16, false));
    EXPECT_THROW(u16.setValue(CIMValue(Uint32(1))), TypeMismatchException);
    EXPECT_THROW(u16.setValue(CIMValue(Array<Uint16>())), TypeMismatchException);
    u16.setValue(CIMValue(Uint16(5988)));
    u16.setValue(CIMValue(CIMTYPE_UINT16, false));
    EXPECT_TRUE(u16.getValue().isNull());

    // Fixed-size arrays keep their size.
    Array<Uint8> three(3);
    CIMProperty fixed("Bytes", CIMValue(three), 3);
    EXPECT_EQ(3u, fixed.getArraySize());
    EXPECT_THROW(fixed.setValue(CIMValue(Array<Uint8>(2))), TypeMismatchException);
    fixed.setValue(CIMValue(Array<Uint8>(3, 7)));
    EXPECT_THROW(CIMProperty("Bytes", CIMValue(three), 4), TypeMismatchException);
    EXPECT_THROW(CIMProperty("S", CIMValue(Uint8(1)), 1), TypeMismatchException);

    // References: no arrays, reference class only on references, and a
    // class needs the reference class.
    EXPECT_THROW(CIMProperty("R", CIMValue(CIMTYPE_REFERENCE, true)), TypeMismatchException);
    EXPECT_THROW(CIMProperty("S", CIMValue(String("x")), 0, "CIM_Job"), TypeMismatchException);
    CIMProperty ref("Job", CIMValue(CIMTYPE_REFERENCE, false));
    CIMInstance inst("A");
    inst.addProperty(ref);
    CIMClass cls("A");
    EXPECT_THROW(cls.addProperty(CIMProperty("Job", CIMValue(CIMTYPE_REFERENCE, false))),
        TypeMismatchException);
    cls.addProperty(CIMProperty("Job", CIMValue(CIMTYPE_REFERENCE, false), 0, "CIM_Job"));
    EXPECT_EQ(String("CIM_Job"), cls.getProperty(0).getReferenceClassName().getString());
}

TEST(ObjectHandles, ObjectConversions)
{
    CIMClass cls("VELK_Job", "CIM_ConcreteJob");
    CIMInstance inst("VELK_Job");

    CIMObject fromClass(cls);
    CIMObject fromInstance = inst;
    EXPECT_TRUE(fromClass.isClass());
    EXPECT_FALSE(fromClass.isInstance());
    EXPECT_TRUE(fromInstance.isInstance());

    EXPECT_EQ(String("dynamic cast failed"),
        messageOf<DynamicCastFailedException>([&] { CIMInstance x(fromClass); }));
    EXPECT_THROW(CIMClass x(fromInstance), DynamicCastFailedException);
    EXPECT_THROW(CIMInstance x((CIMObject())), DynamicCastFailedException);
    EXPECT_THROW(CIMClass x((CIMObject())), DynamicCastFailedException);
    EXPECT_THROW(CIMConstClass x((CIMConstObject(inst))), DynamicCastFailedException);

    CIMClass again(fromClass);
    again.setSuperClassName("Other");
    EXPECT_EQ(String("Other"), cls.getSuperClassName().getString());

    // The text form is the CIM-XML element of its kind.
    String text = fromInstance.toString();
    EXPECT_EQ(0u, text.find(String("<INSTANCE CLASSNAME=\"VELK_Job\">")));
    EXPECT_EQ(0u, CIMConstObject(cls).toString().find(
        String("<CLASS NAME=\"VELK_Job\" SUPERCLASS=\"Other\">")));

    // A clone of an object keeps its kind.
    EXPECT_TRUE(fromClass.clone().isClass());
    EXPECT_TRUE(CIMConstObject(inst).clone().isInstance());
    // A class and an instance of the same name are not identical.
    EXPECT_FALSE(fromClass.identical(fromInstance));
}

TEST(ObjectHandles, SetPathChecksTheClassName)
{
    CIMInstance inst("VELK_Job");
    EXPECT_EQ(String("VELK_Job"), inst.getPath().toString());

    CIMObjectPath other("//h/root/velk:Other.InstanceID=\"1\"");
    EXPECT_THROW(inst.setPath(other), TypeMismatchException);
    EXPECT_THROW(inst.setPath(CIMObjectPath()), UninitializedObjectException);

    CIMObjectPath path("//h/root/velk:velk_job.InstanceID=\"1\"");
    inst.setPath(path);
    EXPECT_EQ(path.toString(), inst.getPath().toString());
    EXPECT_TRUE(inst.getClassName().equal(CIMName("VELK_JOB")));
}

TEST(ObjectHandles, IdenticalComparesOrderValuesAndQualifiers)
{
    CIMInstance a("C");
    a.addProperty(CIMProperty("X", CIMValue(Uint32(1))));
    a.addProperty(CIMProperty("Y", CIMValue(Uint32(2))));
    CIMInstance b("C");
    b.addProperty(CIMProperty("Y", CIMValue(Uint32(2))));
    b.addProperty(CIMProperty("X", CIMValue(Uint32(1))));
    EXPECT_FALSE(a.identical(b));

    CIMInstance c = a.clone();
    EXPECT_TRUE(a.identical(c));
    c.getProperty(0).addQualifier(CIMQualifier("Key", CIMValue(true)));
    EXPECT_FALSE(a.identical(c));

    CIMInstance d = a.clone();
    d.getProperty(1).setClassOrigin("C");
    EXPECT_FALSE(a.identical(d));
}

TEST(ObjectHandles, QualifierFlavorsAndDeclarations)
{
    CIMQualifier q("Key", CIMValue(true), CIMFlavor::TOSUBCLASS);
    q.setFlavor(CIMFlavor::DISABLEOVERRIDE);
    EXPECT_TRUE(q.getFlavor().hasFlavor(CIMFlavor::TOSUBCLASS));
    EXPECT_TRUE(q.getFlavor().hasFlavor(CIMFlavor::DISABLEOVERRIDE));
    q.unsetFlavor(CIMFlavor::TOSUBCLASS);
    EXPECT_FALSE(q.getFlavor().hasFlavor(CIMFlavor::TOSUBCLASS));
    EXPECT_EQ(String("TOSUBCLASS TRANSLATABLE"),
        (CIMFlavor::TRANSLATABLE + CIMFlavor::TOSUBELEMENTS).toString());
    EXPECT_TRUE(CIMFlavor::DEFAULTS.equal(CIMFlavor::OVERRIDABLE + CIMFlavor::TOSUBCLASS));

    CIMQualifierDecl decl("Key", CIMValue(false), CIMScope::PROPERTY + CIMScope::REFERENCE);
    EXPECT_TRUE(decl.getFlavor().equal(CIMFlavor::DEFAULTS));
    EXPECT_TRUE(decl.getScope().hasScope(CIMScope::REFERENCE));
    EXPECT_FALSE(decl.getScope().hasScope(CIMScope::CLASS));
    EXPECT_EQ(String("PROPERTY REFERENCE"), decl.getScope().toString());
    EXPECT_EQ(String("ANY"), CIMScope::ANY.toString());
    CIMQualifierDecl copy = decl.clone();
    EXPECT_TRUE(copy.identical(decl));
    copy.setValue(CIMValue(true));
    EXPECT_FALSE(copy.identical(decl));
}
