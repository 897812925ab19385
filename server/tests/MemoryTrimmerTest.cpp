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

// Memory goes back after a quiet spell, again after each later large
// answer, and a trim still pending neither runs nor holds up the server's
// stop.
TEST(MemoryTrimmer, TrimsAfterEachQuietSpellAndStopsWithoutWaitingForOne)
{
    std::atomic<int> trims(0);
    {
        MemoryTrimmer trimmer(milliseconds(20), [&trims] { trims++; });
        trimmer.largeAnswerEnded();
        EXPECT_TRUE(waitFor(trims, 1));
        trimmer.largeAnswerEnded();
        EXPECT_TRUE(waitFor(trims, 2));
    }

    std::atomic<int> late(0);
    steady_clock::time_point start = steady_clock::now();
    {
        MemoryTrimmer trimmer(hours(1), [&late] { late++; });
        trimmer.largeAnswerEnded();
        trimmer.largeAnswerEnded();
    }
    EXPECT_LT(steady_clock::now() - start, minutes(5));
    EXPECT_EQ(0, late.load());
}
