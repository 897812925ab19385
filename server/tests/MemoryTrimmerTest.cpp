#include "MemoryTrimmer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

using cimhost::MemoryTrimmer;
using namespace std::chrono;

namespace
{

bool waitFor(const std::atomic<int>& count, int atLeast)
{
    steady_clock::time_point until = steady_clock::now() + seconds(30);
    while (count < atLeast && steady_clock::now() < until)
        std::this_thread::sleep_for(milliseconds(5));
    return count >= atLeast;
}

} // namespace

// Memory goes back after a quiet spell that follows enough answered bytes,
// whether one large answer or many small ones made them up, again after
// each later such run; small answers do not put off a trim that large ones
// asked for; and a trim still pending neither runs nor holds up the
// server's stop.
TEST(MemoryTrimmer, TrimsAfterEachQuietSpellAndStopsWithoutWaitingForOne)
{
    std::atomic<int> trims(0);
    {
        MemoryTrimmer trimmer(milliseconds(20), 1000, [&trims] { trims++; });
        trimmer.answered(1000);
        EXPECT_TRUE(waitFor(trims, 1));
        for (int i = 0; i < 9; i++)
            trimmer.answered(100);
        std::this_thread::sleep_for(milliseconds(100));
        EXPECT_EQ(1, trims.load()) << "900 bytes asked for a trim";
        trimmer.answered(100);
        EXPECT_TRUE(waitFor(trims, 2));
    }
    {
        std::atomic<int> trimmed(0);
        MemoryTrimmer trimmer(milliseconds(200), 1000, [&trimmed] { trimmed++; });
        trimmer.answered(5000);
        steady_clock::time_point until = steady_clock::now() + seconds(30);
        while (trimmed == 0 && steady_clock::now() < until)
        {
            trimmer.answered(600);
            std::this_thread::sleep_for(milliseconds(5));
        }
        EXPECT_EQ(1, trimmed.load()) << "steady small answers put the trim off";
    }

    std::atomic<int> late(0);
    steady_clock::time_point start = steady_clock::now();
    {
        MemoryTrimmer trimmer(hours(1), 10, [&late] { late++; });
        trimmer.answered(4096);
        trimmer.answered(4096);
    }
    EXPECT_LT(steady_clock::now() - start, minutes(5));
    EXPECT_EQ(0, late.load());
}
