#include "Ostrel/runtime/WallClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace Ostrel {
namespace {

std::chrono::nanoseconds readByC() {
    std::timespec now{};
    std::timespec_get(&now, TIME_UTC);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// The years past 2038 are tried with a whole host: tests/faults/ProcessTest.cpp.
TEST(WallClockTest, ItIsTheCLibrarysToTheNanosecond) {
    for (int i = 0; i < 1000; ++i) {
        const auto before = readByC();
        const auto now = wallClock().time_since_epoch();
        EXPECT_LE(before, now);
        EXPECT_LE(now, readByC());
    }
}

} // namespace
} // namespace Ostrel
