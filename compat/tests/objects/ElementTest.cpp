// Methods, parameters, qualifiers, const views and response handlers.
#include <gtest/gtest.h>

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/ResponseHandler.h>

PEGASUS_USING_PEGASUS;

TEST(Elements, ParameterAndMethodChecks)
{
    EXPECT_THROW(CIMParameter("Codes", CIMTYPE_UINT16, false, 4), TypeMismatchException);
    EXPECT_THROW(CIMParameter("Name", CIMTYPE_STRING, false, 0, "CIM_Job"),
        TypeMismatchException);
    CIMParameter fixed("Codes", CIMTYPE_UINT16, true, 4);
    EXPECT_TRUE(fixed.isArray());
    EXPECT_EQ(4u, fixed.getArraySize());

    CIMMethod method("RequestStateChange", CIMTYPE_UINT32, "CIM_EnabledLogicalElement", true);
    method.addParameter(fixed);
    method.addParameter(CIMParameter("Job", CIMTYPE_REFERENCE, false, 0, "CIM_ConcreteJob")
        .addQualifier(CIMQualifier("Out", CIMValue(true))));
    EXPECT_THROW(fixed.setName("Other"), Exception);
    method.removeParameter(0);
    fixed.setName("Other");
    EXPECT_EQ(0u, method.findParameter("JOB"));
    EXPECT_EQ(1u, method.getParameter(0).getQualifierCount());

    CIMClass cls("VELK_ConcreteJob");
    cls.addMethod(method);
    EXPECT_THROW(method.setName("Renamed"), Exception);
    CIMConstClass view(cls);
    CIMConstMethod m = view.getMethod(view.findMethod("requeststatechange"));
    EXPECT_EQ(CIMTYPE_UINT32, m.getType());
    EXPECT_TRUE(m.getPropagated());
    EXPECT_EQ(String("CIM_EnabledLogicalElement"), m.getClassOrigin().getString());
    EXPECT_EQ(CIMTYPE_REFERENCE, m.getParameter(0).getType());
    EXPECT_EQ(String("CIM_ConcreteJob"), m.getParameter(0).getReferenceClassName().getString());

    // Classes compare methods and their parameters too.
    CIMClass copy = cls.clone();
    EXPECT_TRUE(copy.identical(cls));
    copy.getMethod(0).getParameter(0).addQualifier(CIMQualifier("In", CIMValue(false)));
    EXPECT_FALSE(copy.identical(cls));
    CIMClass other = cls.clone();
    other.setSuperClassName("CIM_Job");
    EXPECT_FALSE(other.identical(cls));
    cls.removeMethod(0);
    EXPECT_EQ(PEG_NOT_FOUND, cls.findMethod("RequestStateChange"));
    method.setName("Renamed");
}

TEST(Elements, QualifierListsCompareByNameNotPosition)
{
    CIMProperty a("P", CIMValue(true));
    a.addQualifier(CIMQualifier("Key", CIMValue(true)));
    a.addQualifier(CIMQualifier("Required", CIMValue(true)));
    CIMProperty b("p", CIMValue(true));
    b.addQualifier(CIMQualifier("REQUIRED", CIMValue(true)));
    b.addQualifier(CIMQualifier("Key", CIMValue(true)));
    EXPECT_TRUE(a.identical(b));
    b.getQualifier(1).setPropagated(true);
    EXPECT_EQ(1u, b.getQualifier(1).getPropagated());
    EXPECT_FALSE(a.identical(b));
}

namespace
{

// The smallest handler a server could write: the base class keeps the context.
class ContextHandler : public InstanceResponseHandler
{
public:
    void processing() override {}
    void complete() override {}
    void deliver(const CIMInstance&) override {}
    void deliver(const Array<CIMInstance>&) override {}
    OperationContext context() const { return getContext(); }
};

}

TEST(Elements, ResponseHandlersKeepACopyOfTheirContext)
{
    ContextHandler handler;
    EXPECT_FALSE(handler.context().contains(ContentLanguageListContainer::NAME));
    ContentLanguageList langs;
    langs.append(LanguageTag("en"));
    OperationContext context;
    context.insert(ContentLanguageListContainer(langs));
    handler.setContext(context);
    context.clear();
    ContentLanguageListContainer stored =
        handler.context().get(ContentLanguageListContainer::NAME);
    EXPECT_TRUE(stored.getLanguages() == langs);
}

TEST(Elements, SharedPropertiesCountTheirContainers)
{
    CIMProperty shared("Name", CIMValue(String("x")));
    {
        CIMInstance a("A");
        CIMInstance b("B");
        a.addProperty(shared);
        b.addProperty(shared);
        // Changing it through one instance shows in the other.
        b.getProperty(0).setValue(CIMValue(String("y")));
        String v;
        a.getProperty(0).getValue().get(v);
        EXPECT_EQ(String("y"), v);

        a.removeProperty(0);
        EXPECT_THROW(shared.setName("Other"), Exception);
        b.instanceFilter(true, true, CIMPropertyList(Array<CIMName>()));
        EXPECT_EQ(0u, b.getPropertyCount());
        shared.setName("Other");

        CIMInstance c("C");
        c.addProperty(shared);
        EXPECT_THROW(shared.setName("Third"), Exception);
    }
    // The instance holding it is gone.
    shared.setName("Third");
    EXPECT_EQ(String("Third"), shared.getName().getString());
}

TEST(Elements, ClassCloneCopiesMethodsAndQualifiersDeeply)
{
    CIMClass cls("VELK_ConcreteJob", "CIM_ConcreteJob");
    cls.addQualifier(CIMQualifier("Version", CIMValue(String("2.1"))));
    cls.addProperty(CIMProperty("JobState", CIMValue(CIMTYPE_UINT16, false))
        .addQualifier(CIMQualifier("ValueMap", CIMValue(Array<String>(2, String("2"))))));
    cls.addMethod(CIMMethod("KillJob", CIMTYPE_UINT32)
        .addQualifier(CIMQualifier("Deprecated", CIMValue(true)))
        .addParameter(CIMParameter("DeleteOnKill", CIMTYPE_BOOLEAN)
            .addQualifier(CIMQualifier("In", CIMValue(true)))));

    CIMClass copy = CIMConstClass(cls).clone();
    EXPECT_TRUE(copy.identical(cls));
    copy.getMethod(0).getQualifier(0).setValue(CIMValue(false));
    copy.getMethod(0).getParameter(0).getQualifier(0).setValue(CIMValue(false));
    copy.getProperty(0).getQualifier(0).setValue(CIMValue(Array<String>()));
    copy.getQualifier(0).setValue(CIMValue(String("2.2")));
    copy.setSuperClassName("CIM_Job");

    Boolean flag = false;
    cls.getMethod(0).getQualifier(0).getValue().get(flag);
    EXPECT_TRUE(flag);
    cls.getMethod(0).getParameter(0).getQualifier(0).getValue().get(flag);
    EXPECT_TRUE(flag);
    Array<String> map;
    cls.getProperty(0).getQualifier(0).getValue().get(map);
    EXPECT_EQ(2u, map.size());
    EXPECT_EQ(String("CIM_ConcreteJob"), cls.getSuperClassName().getString());

    // Properties of the clone belong to it: renaming them is refused, and
    // the original's properties are other handles.
    EXPECT_THROW(copy.getProperty(0).setName("X"), Exception);
    copy.removeProperty(0);
    EXPECT_EQ(1u, cls.getPropertyCount());

    // A reference property without its class is refused through CIMObject too.
    CIMObject asObject(cls);
    EXPECT_THROW(asObject.addProperty(
        CIMProperty("Owner", CIMValue(CIMTYPE_REFERENCE, false))), TypeMismatchException);
    CIMObject instanceObject = CIMInstance("VELK_ConcreteJob");
    instanceObject.addProperty(CIMProperty("Owner", CIMValue(CIMTYPE_REFERENCE, false)));
    EXPECT_EQ(1u, instanceObject.getPropertyCount());
}
