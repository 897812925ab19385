// Operation contexts, property lists, language lists.
#include <gtest/gtest.h>

#include "../TestSupport.h"

#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/InternalException.h>

PEGASUS_USING_PEGASUS;
using compattest::messageOf;

TEST(OperationContextRules, GetInsertSetRemove)
{
    OperationContext context;
    EXPECT_FALSE(context.contains(IdentityContainer::NAME));
    EXPECT_EQ(String("object not found"),
        messageOf<Exception>([&] { context.get(IdentityContainer::NAME); }));
    EXPECT_EQ(String("object not found"),
        messageOf<Exception>([&] { context.set(IdentityContainer("bob")); }));
    EXPECT_EQ(String("object not found"),
        messageOf<Exception>([&] { context.remove("TimeoutContainer"); }));

    context.insert(IdentityContainer("alice", "10.0.0.5"));
    context.insert(TimeoutContainer(30));
    EXPECT_EQ(String("object already exists."),
        messageOf<Exception>([&] { context.insert(IdentityContainer("bob")); }));

    IdentityContainer id = context.get(IdentityContainer::NAME);
    EXPECT_EQ(String("alice"), id.getUserName());
    EXPECT_EQ(String("10.0.0.5"), id.getIpAddress());

    context.set(IdentityContainer("bob"));
    IdentityContainer replaced = context.get("IdentityContainer");
    EXPECT_EQ(String("bob"), replaced.getUserName());
    EXPECT_EQ(String(), replaced.getIpAddress());

    // Names are exact.
    EXPECT_FALSE(context.contains("identitycontainer"));

    context.remove(TimeoutContainer::NAME);
    EXPECT_FALSE(context.contains(TimeoutContainer::NAME));
    context.clear();
    EXPECT_FALSE(context.contains(IdentityContainer::NAME));

    // A container of another type does not convert.
    context.insert(TimeoutContainer(5));
    EXPECT_EQ(String("dynamic cast failed"),
        messageOf<DynamicCastFailedException>([&] {
            IdentityContainer bad(context.get(TimeoutContainer::NAME));
        }));
    EXPECT_EQ(5u, TimeoutContainer(context.get(TimeoutContainer::NAME)).getTimeOut());
}

TEST(OperationContextRules, LanguageContainers)
{
    AcceptLanguageList accept;
    accept.insert(LanguageTag("fr"), 0.5f);
    accept.insert(LanguageTag("en-US"), 1.0f);
    accept.insert(LanguageTag("de"), 0.5f);
    ASSERT_EQ(3u, accept.size());
    EXPECT_EQ(String("en-US"), accept.getLanguageTag(0).toString());
    EXPECT_EQ(String("fr"), accept.getLanguageTag(1).toString());
    EXPECT_EQ(String("de"), accept.getLanguageTag(2).toString());
    EXPECT_EQ(1u, accept.find(LanguageTag("FR")));
    EXPECT_THROW(accept.insert(LanguageTag("it"), 1.5f), InvalidAcceptLanguageHeader);

    ContentLanguageList content;
    content.append(LanguageTag("en-US"));
    OperationContext context;
    context.insert(AcceptLanguageListContainer(accept));
    context.insert(ContentLanguageListContainer(content));
    AcceptLanguageListContainer a = context.get(AcceptLanguageListContainer::NAME);
    ContentLanguageListContainer c = context.get(ContentLanguageListContainer::NAME);
    EXPECT_TRUE(a.getLanguages() == accept);
    EXPECT_TRUE(c.getLanguages() == content);
    EXPECT_TRUE(c.getLanguages() != ContentLanguageList());

    LanguageTag tag("zh-TW-hant");
    EXPECT_EQ(String("zh"), tag.getLanguage());
    EXPECT_EQ(String("TW"), tag.getCountry());
    EXPECT_EQ(String("hant"), tag.getVariant());
    EXPECT_EQ(String("Invalid language tag \"en_US\"."),
        messageOf<Exception>([] { LanguageTag bad("en_US"); }));
    EXPECT_THROW(LanguageTag("toolongtag"), Exception);
    EXPECT_THROW(LanguageTag().toString(), UninitializedObjectException);
}

TEST(PropertyList, NullEmptyAndNames)
{
    CIMPropertyList null;
    EXPECT_TRUE(null.isNull());
    EXPECT_EQ(0u, null.size());
    EXPECT_EQ(String("NULL"), null.toString());
    EXPECT_TRUE(null.useThisProperty("Anything"));

    CIMPropertyList empty((Array<CIMName>()));
    EXPECT_FALSE(empty.isNull());
    EXPECT_EQ(String("EMPTY"), empty.toString());
    EXPECT_FALSE(empty.useThisProperty("Anything"));

    Array<CIMName> n;
    n.append("InstanceID");
    n.append("JobState");
    CIMPropertyList two(n);
    EXPECT_EQ(String("InstanceID, JobState"), two.toString());
    EXPECT_TRUE(two.contains("jobstate"));
    EXPECT_FALSE(two.contains("Name"));
    EXPECT_EQ(String("JobState"), two[1].getString());
    EXPECT_THROW(two[2], IndexOutOfBoundsException);

    // A value: copies are independent.
    CIMPropertyList copy = two;
    copy.clear();
    EXPECT_TRUE(copy.isNull());
    EXPECT_EQ(2u, two.size());

    n.append(CIMName());
    EXPECT_THROW(CIMPropertyList bad(n), UninitializedObjectException);
    EXPECT_THROW(copy.set(n), UninitializedObjectException);
}

TEST(PropertyList, AppendReplacesWithDeduplicatedNames)
{
    CIMPropertyList list;
    Array<String> none;
    list.append(none);
    EXPECT_FALSE(list.isNull());
    EXPECT_EQ(0u, list.size());

    Array<String> names;
    names.append("Name");
    names.append("Status");
    names.append("NAME");
    list.append(names);
    EXPECT_EQ(String("Name, Status"), list.toString());

    list.append(none);
    EXPECT_EQ(2u, list.size());
}

namespace
{

// A container of the caller's own that counts its live copies, to see what
// the context clones and destroys.
class CountingContainer : virtual public OperationContext::Container
{
public:
    static int live;
    explicit CountingContainer(int v) : value(v) { live++; }
    CountingContainer(const CountingContainer& x)
        : OperationContext::Container(), value(x.value)
    {
        live++;
    }
    ~CountingContainer() { live--; }
    String getName() const override { return String("CountingContainer"); }
    OperationContext::Container* clone() const override
    {
        return new CountingContainer(*this);
    }
    void destroy() override { delete this; }
    int value;
};

int CountingContainer::live = 0;

}

TEST(OperationContextRules, OwnsClonesOfWhatItIsGiven)
{
    {
        CountingContainer mine(1);
        OperationContext context;
        context.insert(mine);
        EXPECT_EQ(2, CountingContainer::live);
        mine.value = 5;
        EXPECT_EQ(1, dynamic_cast<const CountingContainer&>(
            context.get("CountingContainer")).value);

        context.set(CountingContainer(2));
        EXPECT_EQ(2, CountingContainer::live);
        {
            OperationContext copy = context;
            EXPECT_EQ(3, CountingContainer::live);
            copy = OperationContext();
            EXPECT_EQ(2, CountingContainer::live);
        }
        context.remove("CountingContainer");
        EXPECT_EQ(1, CountingContainer::live);
        context.insert(CountingContainer(3));
        EXPECT_EQ(2, CountingContainer::live);
    }
    EXPECT_EQ(0, CountingContainer::live);
}
