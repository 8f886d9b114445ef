#include "soak/Tally.h"

#include <gtest/gtest.h>

namespace Ostrel::Soak {
namespace {

using namespace std::chrono_literals;

TEST(HistogramTest, QuantilesAreAtMostABucketTooLarge) {
    Histogram histogram;
    for (int i = 1; i <= 1000; ++i)
        histogram.add(std::chrono::milliseconds(i));
    EXPECT_EQ(histogram.getCount(), 1000u);
    for (const double part : {0.1, 0.5, 0.99}) {
        EXPECT_GE(histogram.getQuantile(part), 1000 * part);
        EXPECT_LE(histogram.getQuantile(part), 1060 * part);
    }
    EXPECT_EQ(histogram.getQuantile(1), 1000);
    EXPECT_EQ(histogram.getSlowest(), 1000);
}

TEST(HistogramTest, HasRoomForNothingAndForHours) {
    Histogram histogram;
    EXPECT_EQ(histogram.getQuantile(0.5), 0);
    histogram.add(0ns);
    EXPECT_LE(histogram.getQuantile(1), 0.002);
    histogram.add(24h);
    EXPECT_EQ(histogram.getSlowest(), 86'400'000);
}

TEST(TallyTest, KeepsTheFirstMistakesAndCountsAll) {
    Tally tally;
    for (int i = 0; i < 100; ++i)
        tally.addWrong(std::to_string(i));
    EXPECT_EQ(tally.getWrong(), 100u);
    ASSERT_LT(tally.getMistakes().size(), 100u);
    EXPECT_EQ(tally.getMistakes().front(), "0");
}

TEST(TallyTest, APhaseHasItsOwnLatencies) {
    Tally tally;
    tally.addReply(1h);
    tally.beginPhase();
    tally.addReply(1ms);
    EXPECT_EQ(tally.getReplies(), 2u);
    EXPECT_EQ(tally.getPhase().getCount(), 1u);
    EXPECT_EQ(tally.getPhase().getSlowest(), 1);
}

} // namespace
} // namespace Ostrel::Soak
