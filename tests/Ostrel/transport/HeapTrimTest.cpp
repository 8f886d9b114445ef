#include "Ostrel/transport/HeapTrim.h"

#include <gtest/gtest.h>

#include <atomic>

namespace {

std::atomic<int> trims = 0;

} // namespace

/// In the place of the system's.
extern "C" int malloc_trim(std::size_t) noexcept {
    return ++trims;
}

namespace Ostrel {
namespace {

using namespace std::chrono_literals;

class HeapTrimTest : public testing::Test {
protected:
    /// Ticks after so many milliseconds with so many KiB under way.
    bool tick(int millis, std::size_t size) {
        return trim.tick(HeapTrim::Clock::time_point(1000s + std::chrono::milliseconds(millis)), size << 10);
    }

    HeapTrim trim;
};

TEST_F(HeapTrimTest, ItIsTimeAfterAQuietSecond) {
    trim.saw((1u << 20) + 1);
    EXPECT_TRUE(trim.isDue());
    EXPECT_FALSE(tick(0, 2000));
    EXPECT_FALSE(tick(250, 0));
    EXPECT_FALSE(tick(1000, 64));
    EXPECT_TRUE(trim.isDue());
    EXPECT_TRUE(tick(1250, 0));
    EXPECT_FALSE(trim.isDue());
    EXPECT_FALSE(tick(2500, 0));
}

TEST_F(HeapTrimTest, NotAfterSomethingSmall) {
    trim.saw(1u << 20);
    EXPECT_FALSE(trim.isDue());
    EXPECT_FALSE(tick(0, 0));
    EXPECT_FALSE(tick(2000, 0));
}

TEST_F(HeapTrimTest, NotWhileMuchIsUnderWay) {
    trim.saw(2u << 20);
    for (int millis = 0; millis < 10'000; millis += 500)
        EXPECT_FALSE(tick(millis, millis % 1000 == 0 ? 65 : 0));
    EXPECT_TRUE(trim.isDue());
}

TEST_F(HeapTrimTest, OnceForEachTimeOfMuch) {
    for (const int millis : {0, 10'000}) {
        trim.saw(2u << 20);
        EXPECT_FALSE(tick(millis, 0));
        EXPECT_TRUE(tick(millis + 1000, 0));
        EXPECT_FALSE(tick(millis + 2000, 0));
    }
}

TEST_F(HeapTrimTest, GivingBackAsksTheAllocator) {
    const int before = trims;
    HeapTrim::giveBack();
    EXPECT_EQ(trims, before + 1);
}

} // namespace

namespace Test {

int countTrims() {
    return trims;
}

} // namespace Test
} // namespace Ostrel
