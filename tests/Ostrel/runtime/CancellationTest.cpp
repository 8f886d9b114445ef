#include "Ostrel/runtime/Cancellation.h"

#include <gtest/gtest.h>

#include <thread>

namespace Ostrel {
namespace {

TEST(CancellationTest, NothingHappensOutsideOfAScope) {
    EXPECT_NO_THROW(Cancellation::check());
}

TEST(CancellationTest, ChecksThrowOnceItIsWanted) {
    std::atomic<bool> wanted = false;
    const Cancellation scope(wanted);
    EXPECT_NO_THROW(Cancellation::check());
    wanted = true;
    EXPECT_THROW(Cancellation::check(), Cancelled);
}

TEST(CancellationTest, TheInnerScopeCountsUntilItEnds) {
    std::atomic<bool> outerWanted = true;
    std::atomic<bool> innerWanted = false;
    const Cancellation outer(outerWanted);
    {
        const Cancellation inner(innerWanted);
        EXPECT_NO_THROW(Cancellation::check());
    }
    EXPECT_THROW(Cancellation::check(), Cancelled);
}

TEST(CancellationTest, OtherThreadsAreLeftAlone) {
    std::atomic<bool> wanted = true;
    const Cancellation scope(wanted);
    std::thread([] { EXPECT_NO_THROW(Cancellation::check()); }).join();
}

} // namespace
} // namespace Ostrel
