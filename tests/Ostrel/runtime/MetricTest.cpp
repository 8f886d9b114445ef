#include "Ostrel/runtime/Metric.h"

#include "Ostrel/runtime/Histogram.h"
#include "Ostrel/runtime/MetricsText.h"
#include "tests/support/Scrape.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Test {
namespace {

using namespace std::chrono_literals;

constexpr Metric::Family family{"a_test_total", "Counted in a test.", "kind"};
Counter second(family, "second");
Counter first(family, "first");
Gauge single({"a_test_gauge", "Gauged in a test."});

std::string writeAll() {
    MetricsText out;
    Metric::writeAll(out);
    return out.take();
}

TEST(MetricTest, APageHasEachFamilyOnceByNameAndItsSeriesByLabel) {
    single.set(-7);
    const auto page = writeAll();
    EXPECT_EQ(page.find(R"(# HELP a_test_gauge Gauged in a test.
# TYPE a_test_gauge gauge
a_test_gauge -7

# HELP a_test_total Counted in a test.
# TYPE a_test_total counter
a_test_total{kind="first"} 0
a_test_total{kind="second"} 0

)"),
              0u)
        << page.substr(0, 300);
    EXPECT_EQ(page.find("# HELP a_test_total", page.find("# HELP a_test_total") + 1), std::string::npos);
}

TEST(MetricTest, ThreadsLoseNothing) {
    const auto before = second.get();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int n = 0; n < 10'000; ++n) {
                second.increment();
                single.increment(2);
                single.decrement(2);
            }
        });
    single.set(0);
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(second.get() - before, 80'000);
    EXPECT_EQ(first.get(), 0);
}

TEST(HistogramTest, ATimeCountsInEveryBucketThatHasRoomForIt) {
    Histogram histogram;
    for (const auto time :
         {10'000ns, 10'001ns, 1'000'000ns, 24'999'999ns, 10'000'000'000ns, 10'000'000'001ns})
        histogram.observe(time);
    EXPECT_EQ(histogram.getCount(), 6u);
    MetricsText out;
    out.begin("h", "Help.", "histogram");
    histogram.write(out, {"a", "1"}, {"b", "2"});
    EXPECT_EQ(out.take(), R"(# HELP h Help.
# TYPE h histogram
h_bucket{a="1",b="2",le="0.00001"} 1
h_bucket{a="1",b="2",le="0.00005"} 2
h_bucket{a="1",b="2",le="0.00025"} 2
h_bucket{a="1",b="2",le="0.001"} 3
h_bucket{a="1",b="2",le="0.005"} 3
h_bucket{a="1",b="2",le="0.025"} 4
h_bucket{a="1",b="2",le="0.1"} 4
h_bucket{a="1",b="2",le="0.5"} 4
h_bucket{a="1",b="2",le="2.5"} 4
h_bucket{a="1",b="2",le="10"} 5
h_bucket{a="1",b="2",le="+Inf"} 6
h_sum{a="1",b="2"} 20.026020001
h_count{a="1",b="2"} 6
)");
}

} // namespace
} // namespace Ostrel::Test
