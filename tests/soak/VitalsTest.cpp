#include "soak/Vitals.h"

#include <gtest/gtest.h>

namespace Ostrel::Soak {
namespace {

/// A sample a second of memory that grows by so many MiB a minute, with a peak now and then.
std::vector<Vitals> samples(int seconds, double growth) {
    std::vector<Vitals> result;
    for (int i = 0; i <= seconds; ++i)
        result.push_back({double(i), 20 + growth * i / 60 + (i % 7 == 0 ? 100 : 0), 0, 0});
    return result;
}

TEST(GrowthTest, IsThatOfWhatStays) {
    EXPECT_NEAR(findGrowth(samples(600, 0)).value(), 0, 0.01);
    EXPECT_NEAR(findGrowth(samples(600, 2)).value(), 2, 0.05);
    EXPECT_NEAR(findGrowth(samples(60, -3)).value(), -3, 0.5);
}

TEST(GrowthTest, WhatDearAnswersTakeForAWhileIsNone) {
    auto busyEnd = samples(120, 0);
    for (std::size_t i = 90; i < busyEnd.size(); ++i)
        busyEnd[i].memoryMiB += 60;
    EXPECT_LT(findGrowth(busyEnd).value(), 1);
}

TEST(GrowthTest, NobodyKnowsItOfLessThanAMinute) {
    EXPECT_FALSE(findGrowth(samples(59, 5)));
    EXPECT_FALSE(findGrowth({}));
}

TEST(GaugeTest, IsFoundByItsWholeName) {
    const std::string metrics = "# TYPE ostrel_contexts gauge\nostrel_contexts_total 9\nostrel_contexts 3\n";
    EXPECT_EQ(findGauge(metrics, "ostrel_contexts"), 3);
    EXPECT_FALSE(findGauge(metrics, "ostrel_tasks"));
}

TEST(SanitizerReportTest, IsTheLineThatTellsOfIt) {
    EXPECT_EQ(findSanitizerReport("a line\nanother\n"), "");
    EXPECT_EQ(findSanitizerReport("a line\nWARNING: ThreadSanitizer: data race (pid=1)\nmore\n"),
              "WARNING: ThreadSanitizer: data race (pid=1)");
    EXPECT_EQ(findSanitizerReport("==1==ERROR: AddressSanitizer: heap-use-after-free"),
              "==1==ERROR: AddressSanitizer: heap-use-after-free");
    EXPECT_EQ(findSanitizerReport("x.cpp:1:2: runtime error: shift exponent\n"),
              "x.cpp:1:2: runtime error: shift exponent");
}

} // namespace
} // namespace Ostrel::Soak
