#include "Ostrel/transport/Patience.h"

#include <gtest/gtest.h>

namespace Ostrel {
namespace {

using namespace std::chrono_literals;

constexpr Patience::Clock::time_point start{1000s};
constexpr auto never = Patience::Clock::time_point::max();

TEST(PatienceTest, RunsOutWhenItsTimeIsOver) {
    Patience patience;
    EXPECT_EQ(patience.getEnd(), never);
    patience.begin(10s, start);
    EXPECT_EQ(patience.getEnd(), start + 10s);
    patience.begin(10s, start + 7s);
    EXPECT_EQ(patience.getEnd(), start + 17s);
    patience.begin(0s, start);
    EXPECT_EQ(patience.getEnd(), never);
}

TEST(PatienceTest, StandsStill) {
    Patience patience;
    patience.begin(10s, start);
    patience.run(false, start + 4s);
    EXPECT_EQ(patience.getEnd(), never);
    patience.run(false, start + 50s);
    patience.run(true, start + 100s);
    EXPECT_EQ(patience.getEnd(), start + 106s);
    patience.run(true, start + 101s);
    EXPECT_EQ(patience.getEnd(), start + 106s);
}

TEST(PatienceTest, BeginsWhileItStandsStill) {
    Patience patience;
    patience.run(false, start);
    patience.begin(10s, start + 1s);
    EXPECT_EQ(patience.getEnd(), never);
    patience.run(true, start + 5s);
    EXPECT_EQ(patience.getEnd(), start + 15s);
}

} // namespace
} // namespace Ostrel
