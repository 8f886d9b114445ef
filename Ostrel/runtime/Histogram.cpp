#include "Ostrel/runtime/Histogram.h"

#include <algorithm>
#include <string>

namespace Ostrel {

namespace {

/// All nine digits: a double would lose the last ones of a long sum.
std::string toSeconds(std::uint64_t nanoseconds) {
    constexpr std::uint64_t second = 1'000'000'000;
    const auto fraction = std::to_string(second + nanoseconds % second);
    return std::to_string(nanoseconds / second) + '.' + fraction.substr(1);
}

} // namespace

void Histogram::observe(std::chrono::nanoseconds time) noexcept {
    const auto bound =
        std::find_if(bounds.begin(), bounds.end(), [&](auto& each) { return time <= each.time; });
    buckets_[static_cast<std::size_t>(bound - bounds.begin())].fetch_add(1, std::memory_order_relaxed);
    sum_.fetch_add(static_cast<std::uint64_t>(time.count()), std::memory_order_relaxed);
}

std::uint64_t Histogram::getCount() const noexcept {
    std::uint64_t count = 0;
    for (const auto& bucket : buckets_)
        count += bucket.load(std::memory_order_relaxed);
    return count;
}

void Histogram::write(MetricsText& out, const MetricsText::Label& first,
                      const MetricsText::Label& second) const {
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < bounds.size(); ++i) {
        count += buckets_[i].load(std::memory_order_relaxed);
        out.add("_bucket", {first, second, {"le", bounds[i].seconds}}, std::to_string(count));
    }
    const auto all = std::to_string(count + buckets_.back().load(std::memory_order_relaxed));
    out.add("_bucket", {first, second, {"le", "+Inf"}}, all);
    out.add("_sum", {first, second}, toSeconds(sum_.load(std::memory_order_relaxed)));
    out.add("_count", {first, second}, all);
}

} // namespace Ostrel
