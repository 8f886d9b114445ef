#include "Ostrel/transport/HeapTrim.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

std::atomic<int> trims = 0;
std::atomic<std::thread::id> trimmer;

} // namespace

/// In the place of the system's.
extern "C" int malloc_trim(std::size_t) noexcept {
    trimmer = std::this_thread::get_id();
    return ++trims;
}

namespace Ostrel {
namespace {

using namespace std::chrono_literals;

class HeapTrimTest : public testing::Test {
protected:
    HeapTrimTest() { trims = 0; }

    /// Ticks after so many milliseconds with so many KiB under way.
    void tick(int millis, std::size_t size) {
        trim_->tick(HeapTrim::Clock::time_point(1000s + std::chrono::milliseconds(millis)), size << 10);
    }

    /// Its end waits for what it has begun.
    int countTrims() {
        trim_.reset();
        return trims;
    }

    std::unique_ptr<HeapTrim> trim_ = std::make_unique<HeapTrim>();
};

TEST_F(HeapTrimTest, GivesBackAfterAQuietSecond) {
    trim_->saw((1u << 20) + 1);
    EXPECT_TRUE(trim_->isDue());
    tick(0, 2000);
    tick(250, 0);
    tick(1000, 64);
    EXPECT_TRUE(trim_->isDue());
    tick(1250, 0);
    EXPECT_FALSE(trim_->isDue());
    tick(2500, 0);
    EXPECT_EQ(countTrims(), 1);
    EXPECT_NE(trimmer.load(), std::this_thread::get_id());
}

TEST_F(HeapTrimTest, NotAfterSomethingSmall) {
    trim_->saw(1u << 20);
    EXPECT_FALSE(trim_->isDue());
    tick(0, 0);
    tick(2000, 0);
    EXPECT_EQ(countTrims(), 0);
}

TEST_F(HeapTrimTest, NotWhileMuchIsUnderWay) {
    trim_->saw(2u << 20);
    for (int millis = 0; millis < 10'000; millis += 500)
        tick(millis, millis % 1000 == 0 ? 65 : 0);
    EXPECT_TRUE(trim_->isDue());
    EXPECT_EQ(countTrims(), 0);
}

TEST_F(HeapTrimTest, OnceForEachTimeOfMuch) {
    for (const int millis : {0, 10'000}) {
        trim_->saw(2u << 20);
        tick(millis, 0);
        tick(millis + 1000, 0);
        tick(millis + 2000, 0);
    }
    EXPECT_EQ(countTrims(), 2);
}

} // namespace

namespace Test {

int countTrims() {
    return trims;
}

} // namespace Test
} // namespace Ostrel
