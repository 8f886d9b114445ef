#include "Ostrel/runtime/LineLimit.h"

#include <gtest/gtest.h>

namespace Ostrel {
namespace {

using std::chrono::milliseconds;

const LineLimit::Clock::time_point start{std::chrono::hours(1)};
const LineLimit::Place place{5, "M", 1, "%s"};

unsigned countAdmitted(LineLimit& limit, const LineLimit::Place& where, unsigned lines,
                       LineLimit::Clock::time_point now) {
    unsigned admitted = 0;
    for (unsigned i = 0; i < lines; ++i)
        admitted += limit.admit(where, now);
    return admitted;
}

TEST(LineLimitTest, LetsTwentyOfAPlaceThroughInASecond) {
    LineLimit limit;
    EXPECT_EQ(countAdmitted(limit, place, 15, start), 15U);
    EXPECT_EQ(countAdmitted(limit, place, 15, start + milliseconds(999)), 5U);
    EXPECT_EQ(countAdmitted(limit, place, 30, start + milliseconds(1000)), 20U);
}

TEST(LineLimitTest, OtherPlacesAndLevelsCountByThemselves) {
    LineLimit limit;
    EXPECT_EQ(countAdmitted(limit, place, 1000, start), 20U);
    for (const LineLimit::Place& other :
         {LineLimit::Place{1, "M", 1, "%s"}, LineLimit::Place{5, "N", 1, "%s"},
          LineLimit::Place{5, "M", 2, "%s"}, LineLimit::Place{5, "M", 1, "other"}})
        EXPECT_EQ(countAdmitted(limit, other, 20, start), 20U);
}

TEST(LineLimitTest, TellsOnceHowManyWereLeftOutWhenTheSecondIsOver) {
    LineLimit limit;
    EXPECT_EQ(countAdmitted(limit, place, 20, start), 20U);
    EXPECT_TRUE(limit.takeLeftOut(start + milliseconds(1000)).empty());
    countAdmitted(limit, place, 1020, start + milliseconds(1000));
    EXPECT_TRUE(limit.takeLeftOut(start + milliseconds(1999)).empty());
    const auto leftOut = limit.takeLeftOut(start + milliseconds(2000));
    ASSERT_EQ(leftOut.size(), 1U);
    EXPECT_EQ(leftOut[0].place, place);
    EXPECT_EQ(leftOut[0].lines, 1000U);
    EXPECT_TRUE(limit.takeLeftOut(start + milliseconds(3000)).empty());
}

} // namespace
} // namespace Ostrel
