#include "Ostrel/runtime/Timeline.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

namespace Ostrel {
namespace {

using namespace std::chrono_literals;

constexpr std::time_t noon = 1318766400;
constexpr auto begin = Timeline::Real::time_point(1000h);

TEST(TimelineTest, UntouchedItPassesAsTheSystemsDoes) {
    const Timeline timeline(begin);
    EXPECT_FALSE(timeline.isSteered());
    EXPECT_EQ(timeline.getSpeed(), 1);
    EXPECT_EQ(timeline.getPassed(begin + 1500ms), 1500ms);
    EXPECT_EQ(timeline.when(2s, begin), begin + 2s + 1ns);
    const auto before = std::time(nullptr);
    EXPECT_GE(timeline.getNow(begin), before);
    EXPECT_LE(timeline.getNow(begin), std::time(nullptr));
}

struct SpeedRow {
    std::string name;
    double speed;
    Timeline::Span real;
    std::time_t now; ///< from noon on
    Timeline::Span passed;
};

class SpeedTable : public testing::TestWithParam<SpeedRow> {};

// clang-format off
const SpeedRow speedRows[] = {
    {"StandsStill",       0,           1000h,  0,      0s},
    {"Tenth",             0.1,         25s,    2,      2500ms},
    {"AsTheSystem",       1,           59999ms, 59,    59999ms},
    {"AMinuteASecond",    60,          800ms,  48,     48s},
    {"AnHourASecond",     3600,        10ms,   36,     36s},
    {"AFractionOfANanosecond", 1e-9,   1s,     0,      1ns},
};
// clang-format on

TEST_P(SpeedTable, PassesSoFast) {
    const auto& row = GetParam();
    Timeline timeline(begin);
    timeline.steer(noon, row.speed, begin);
    EXPECT_TRUE(timeline.isSteered());
    EXPECT_EQ(timeline.getSpeed(), row.speed);
    EXPECT_EQ(timeline.getNow(begin), noon);
    const auto before = timeline.getPassed(begin);
    EXPECT_EQ(timeline.getNow(begin + row.real), noon + row.now);
    EXPECT_EQ(timeline.getPassed(begin + row.real) - before, row.passed);
    const auto when = timeline.when(before + 1s, begin);
    ASSERT_EQ(when.has_value(), row.speed > 0);
    if (!when)
        return;
    EXPECT_LE(*when, begin + 1h) << "and then looks again";
    EXPECT_EQ(timeline.getPassed(*when) >= before + 1s, row.speed > 1.0 / 3600) << "and never too early";
}

INSTANTIATE_TEST_SUITE_P(Speeds, SpeedTable, testing::ValuesIn(speedRows),
                         [](const auto& row) { return row.param.name; });

TEST(TimelineTest, AnotherSpeedGoesOnFromWhereItIs) {
    Timeline timeline(begin);
    timeline.steer(noon, 10, begin);
    timeline.steer({}, 0.5, begin + 1s);
    EXPECT_EQ(timeline.getNow(begin + 1s), noon + 10);
    EXPECT_EQ(timeline.getNow(begin + 5s), noon + 12);
    timeline.steer({}, 0, begin + 5s);
    EXPECT_EQ(timeline.getNow(begin + 100h), noon + 12);
}

TEST(TimelineTest, SetForwardSoMuchHasPassed) {
    Timeline timeline(begin);
    timeline.steer(noon, 2, begin);
    EXPECT_EQ(timeline.steer(noon + 100, {}, begin + 10s), 20s) << "until then";
    EXPECT_EQ(timeline.getPassed(begin + 10s), 80s);
    EXPECT_EQ(timeline.getNow(begin + 11s), noon + 102);
}

TEST(TimelineTest, SetBackNothingHasPassed) {
    Timeline timeline(begin);
    timeline.steer(noon, 2, begin);
    timeline.steer(noon - 100, {}, begin + 10s);
    EXPECT_EQ(timeline.getPassed(begin + 10s), 0s);
    EXPECT_EQ(timeline.getPassed(begin + 11s), 2s);
    EXPECT_EQ(timeline.getNow(begin + 11s), noon - 98);
}

TEST(TimelineTest, BeforeTheEpochSecondsAreWholeToo) {
    Timeline timeline(begin);
    timeline.steer(-10, 0.5, begin);
    EXPECT_EQ(timeline.getNow(begin + 1s), -10);
    EXPECT_EQ(timeline.getNow(begin + 2s), -9);
}

TEST(TimelineTest, ReleasedItIsTheSystemsAgain) {
    Timeline timeline(begin);
    timeline.steer(noon, 60, begin);
    timeline.release(begin + 1s);
    EXPECT_FALSE(timeline.isSteered());
    EXPECT_EQ(timeline.getSpeed(), 1);
    EXPECT_GE(timeline.getNow(begin), std::time(nullptr) - 1);
    const auto before = timeline.getPassed(begin + 1s);
    EXPECT_GT(before, 24h * 365) << "from 2011 until today";
    EXPECT_EQ(timeline.getPassed(begin + 2s) - before, 1s);
}

TEST(TimelineTest, StandingItGoesWhereItIsTold) {
    Timeline timeline(begin);
    timeline.steer(noon, 60, begin);
    EXPECT_GT(timeline.stand(begin + 1s), 0s);
    EXPECT_EQ(timeline.when(1s, begin), std::nullopt);
    EXPECT_EQ(timeline.getNow(begin + 5s), noon + 60);
    EXPECT_EQ(timeline.getPassedAt(noon + 63), 3s);
    timeline.advance(3s);
    timeline.advance(2s);
    EXPECT_EQ(timeline.getNow(begin + 5s), noon + 63) << "and never back";
    timeline.goOn(begin + 9s);
    EXPECT_EQ(timeline.getNow(begin + 9s), noon + 63);
    EXPECT_EQ(timeline.getNow(begin + 10s), noon + 123);
}

TEST(TimelineTest, AtItsLimitItWaitsAndThenIsWhereItWouldHaveBeen) {
    Timeline timeline(begin);
    timeline.steer(noon, 60, begin);
    timeline.limit(30s);
    EXPECT_EQ(timeline.getNow(begin + 400ms), noon + 24);
    EXPECT_EQ(timeline.getNow(begin + 2s), noon + 30);
    EXPECT_EQ(timeline.when(40s, begin + 2s), std::nullopt) << "the limit says when";
    EXPECT_EQ(timeline.when(180s, begin + 2s), begin + 3s + 1ns);
    timeline.limit(40s);
    EXPECT_EQ(timeline.getNow(begin + 2s), noon + 40);
    timeline.limit(Timeline::Span::max());
    EXPECT_EQ(timeline.getNow(begin + 2s), noon + 120);
    timeline.limit(0s);
    timeline.steer(noon + 500, {}, begin + 2s);
    EXPECT_EQ(timeline.getNow(begin + 2s), noon + 500) << "set it goes beyond";
}

TEST(TimelineTest, AtItsLastSecondItStandsStill) {
    Timeline timeline(begin);
    timeline.steer(Timeline::last - 1, 3600, begin);
    EXPECT_EQ(timeline.getNow(begin + 24h * 365 * 100), Timeline::last);
    EXPECT_EQ(timeline.when(timeline.getPassed(begin) + 2s, begin), std::nullopt);
    timeline.stand(begin);
    timeline.advance(Timeline::Span::max());
    EXPECT_EQ(timeline.getNow(begin), Timeline::last);
}

TEST(TimelineTest, NoWayOfSettingItRunsOver) {
    Timeline timeline(begin);
    for (int round = 0; round < 100; ++round) {
        timeline.steer(INT64_MAX, 3600, begin);
        EXPECT_EQ(timeline.getNow(begin), Timeline::last);
        timeline.steer(INT64_MIN, {}, begin);
        EXPECT_EQ(timeline.getNow(begin), Timeline::first);
        timeline.stand(begin);
        timeline.advance(Timeline::Span::max());
        timeline.goOn(begin);
        EXPECT_EQ(timeline.getNow(begin + 1h), Timeline::last);
        timeline.release(begin);
    }
}

} // namespace
} // namespace Ostrel
