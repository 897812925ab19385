// Array<T>: value semantics over a shared representation, bounds, and
// element types with non-trivial copies.
#include <gtest/gtest.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Exception.h>

PEGASUS_USING_PEGASUS;

TEST(Array, CopiesAreIndependent)
{
    Array<String> a;
    a.append(String("one"));
    a.append(String("two"));
    Array<String> b(a);
    b[0] = String("uno");
    b.append(String("three"));
    EXPECT_EQ(a.size(), 2u);
    EXPECT_EQ(a[0], "one");
    EXPECT_EQ(b[0], "uno");
    EXPECT_EQ(b.size(), 3u);

    Array<String> c(a);
    c.clear();
    EXPECT_EQ(a.size(), 2u);
    Array<String> d(a);
    d.remove(0);
    EXPECT_EQ(a[0], "one");
    EXPECT_EQ(d[0], "two");
}

TEST(Array, SizedConstructorsAndBounds)
{
    Array<Uint32> z(3);
    ASSERT_EQ(z.size(), 3u);
    EXPECT_EQ(z[0] + z[1] + z[2], 0u);
    Array<Sint32> a;
    a.append(1);
    EXPECT_THROW(a[1], IndexOutOfBoundsException);
    const Array<Sint32>& ca = a;
    EXPECT_THROW(ca[5], IndexOutOfBoundsException);
    EXPECT_THROW(a.insert(2, 9), IndexOutOfBoundsException);
    a.insert(1, 9);
    EXPECT_EQ(a[1], 9);
}

TEST(Array, InsertPrependAndRemoveKeepOrder)
{
    Array<CIMName> a;
    a.append(CIMName("B"));
    a.prepend(CIMName("A"));
    a.append(CIMName("D"));
    a.insert(2, CIMName("C"));
    ASSERT_EQ(a.size(), 4u);
    EXPECT_EQ(a[0].getString(), "A");
    EXPECT_EQ(a[2].getString(), "C");
    a.remove(1, 2);
    ASSERT_EQ(a.size(), 2u);
    EXPECT_EQ(a[1].getString(), "D");
    a.grow(2, CIMName("E"));
    EXPECT_EQ(a.size(), 4u);
    EXPECT_EQ(a[3].getString(), "E");
}

TEST(Array, AppendingOwnElementIsSafe)
{
    Array<String> a;
    a.append(String("first"));
    for (int i = 0; i < 40; i++)
        a.append(a[0]);
    EXPECT_EQ(a[40], "first");
    a.appendArray(a);
    EXPECT_EQ(a.size(), 82u);
    a.insert(1, a.getData(), 2);
    EXPECT_EQ(a.size(), 84u);
    EXPECT_EQ(a[2], "first");
}
