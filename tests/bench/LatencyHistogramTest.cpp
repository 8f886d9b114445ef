#include "bench/LatencyHistogram.h"

#include <gtest/gtest.h>

namespace Ostrel::Bench {

namespace {

using namespace std::chrono_literals;

TEST(LatencyHistogramTest, KnowsNothingOfNoCalls) {
    const LatencyHistogram none;
    EXPECT_EQ(none.getCount(), 0u);
    EXPECT_EQ(none.getMicros(0.5), 0);
    EXPECT_EQ(none.getMicros(1), 0);
}

TEST(LatencyHistogramTest, KnowsShortTimesExactly) {
    LatencyHistogram histogram;
    for (int time = 1; time <= 100; ++time)
        histogram.add(std::chrono::nanoseconds(time));
    EXPECT_DOUBLE_EQ(histogram.getMicros(0), 0.001);
    EXPECT_DOUBLE_EQ(histogram.getMicros(0.5), 0.050);
    EXPECT_DOUBLE_EQ(histogram.getMicros(0.99), 0.099);
    EXPECT_DOUBLE_EQ(histogram.getMicros(1), 0.100);
}

TEST(LatencyHistogramTest, KnowsATimeOfAnyLengthToASixtyFourth) {
    for (auto time = 1ns; time < 1'000'000'000s; time = time * 5 / 3 + 1ns) {
        LatencyHistogram histogram;
        histogram.add(time);
        histogram.add(std::chrono::nanoseconds::max()); // so that the slowest does not tell
        const double micros = static_cast<double>(time.count()) / 1000;
        EXPECT_GE(histogram.getMicros(0.5), micros);
        EXPECT_LE(histogram.getMicros(0.5), micros * 65 / 64);
    }
}

TEST(LatencyHistogramTest, TellsTheSlowestExactly) {
    LatencyHistogram histogram;
    for (int i = 0; i < 999; ++i)
        histogram.add(10us);
    histogram.add(123'456'789ns);
    EXPECT_NEAR(histogram.getMicros(0.999), 10, 10. / 64);
    EXPECT_DOUBLE_EQ(histogram.getMicros(1), 123'456.789);
}

TEST(LatencyHistogramTest, TakesWhatAnotherKnows) {
    LatencyHistogram quick, slow;
    quick.add(1us);
    slow.add(1ms);
    slow.add(2ms);
    quick.add(slow);
    EXPECT_EQ(quick.getCount(), 3u);
    EXPECT_NEAR(quick.getMicros(0.5), 1000, 1000. / 64);
    EXPECT_DOUBLE_EQ(quick.getMicros(1), 2000);
}

TEST(LatencyHistogramTest, CountsWhatSeemsToComeBeforeItWasAskedForAsNothing) {
    LatencyHistogram histogram;
    histogram.add(-5ns);
    EXPECT_EQ(histogram.getCount(), 1u);
    EXPECT_EQ(histogram.getMicros(1), 0);
}

} // namespace

} // namespace Ostrel::Bench
