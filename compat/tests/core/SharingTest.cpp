// Values shared between threads: copies made concurrently from one value
// and then changed must neither race nor leak changes into each other.
#include <thread>
#include <vector>
#include <gtest/gtest.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMName.h>
#include <cstdio>

PEGASUS_USING_PEGASUS;

TEST(Sharing, ConcurrentCopiesOfOneValueStayIndependent)
{
    const String name("VELK-ARRAY-01");
    Array<String> list;
    for (int i = 0; i < 8; i++)
        list.append(name);
    const Array<String> sharedList(list);
    const CIMObjectPath sharedPath(String("//h/root/velk:VELK_ConcreteJob.InstanceID=\"VELK:7\""));
    const CIMValue sharedValue(sharedList);

    const int threads = 8;
    std::vector<int> failures(threads, 0);
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; t++)
    {
        pool.emplace_back([&, t]()
        {
            for (int i = 0; i < 2000; i++)
            {
                String s(name);
                s.append(Char16('0' + t));
                if (s.size() != name.size() + 1 || s[s.size() - 1] != Char16('0' + t))
                    failures[t]++;

                Array<String> a(sharedList);
                a[0] = s;
                a.remove(1);
                if (a.size() != 7 || sharedList.size() != 8 || sharedList[0] != name)
                    failures[t]++;

                CIMObjectPath p(sharedPath);
                p.setHost(String("host") + String(t % 2 ? "a" : "b"));
                if (sharedPath.getHost() != "h")
                    failures[t]++;

                CIMValue v(sharedValue);
                Array<String> out;
                v.get(out);
                out.append(s);
                v.set(out);
                if (v.getArraySize() != 9 || sharedValue.getArraySize() != 8)
                    failures[t]++;
            }
        });
    }
    for (std::thread& th : pool)
        th.join();
    for (int t = 0; t < threads; t++)
        EXPECT_EQ(failures[t], 0) << "thread " << t;
    EXPECT_EQ(name, "VELK-ARRAY-01");
    EXPECT_EQ(sharedPath.toString(), "//h/root/velk:VELK_ConcreteJob.InstanceID=\"VELK:7\"");
}

TEST(Sharing, NamesMadeConcurrentlyFromTheSameTextsAgree)
{
    const int threads = 8;
    std::vector<int> failures(threads, 0);
    std::vector<std::thread> pool;
    for (int t = 0; t < threads; t++)
    {
        pool.emplace_back([&, t]()
        {
            char text[32];
            for (int i = 0; i < 500; i++)
            {
                // Every thread makes the same names, in a different case.
                std::snprintf(text, sizeof(text), t % 2 ? "Shared_%d" : "SHARED_%d", i);
                CIMName name(text);
                CIMName copy(name);
                String changed = copy.getString();
                changed.append(Char16('x'));
                if (name.getString() != text || !name.equal(CIMName(String(text))) ||
                    changed.size() != name.getString().size() + 1)
                {
                    failures[t]++;
                }
            }
        });
    }
    for (std::thread& th : pool)
        th.join();
    for (int t = 0; t < threads; t++)
        EXPECT_EQ(failures[t], 0) << "thread " << t;
}

// The last of a one-key path, the copies of its key list and of its key's
// value to go frees what they share, whichever thread drops it.
TEST(Sharing, APathAndItsKeyListsDroppedOnDifferentThreads)
{
    for (int round = 0; round < 200; round++)
    {
        CIMObjectPath* path = new CIMObjectPath(String("//h/root:A.k=\"v\""));
        std::vector<Array<CIMKeyBinding>> lists(4, path->getKeyBindings());
        std::vector<String> values(lists.size(), path->getKeyBindings()[0].getValue());
        std::vector<int> failures(lists.size(), 0);
        std::vector<std::thread> pool;
        for (size_t t = 0; t < lists.size(); t++)
            pool.emplace_back([&lists, &values, &failures, t]()
            {
                Array<CIMKeyBinding> mine;
                mine.swap(lists[t]);
                if (mine.size() != 1 || mine[0].getValue() != "v")
                    failures[t]++;
                mine.clear();
                String value;
                std::swap(value, values[t]);
                value.append(Char16('w'));
                if (value != "vw")
                    failures[t]++;
            });
        delete path;
        for (std::thread& th : pool)
            th.join();
        for (size_t t = 0; t < lists.size(); t++)
            ASSERT_EQ(failures[t], 0) << "round " << round;
    }
}
