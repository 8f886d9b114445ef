#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace Ostrel::Bench {

/// How long many calls took, as HDR histograms keep it: each power of two has 64 buckets, so that a
/// time of any length is known to 1.6 % and millions of them take no more memory than one.
class LatencyHistogram {
public:
    void add(std::chrono::nanoseconds time) {
        const auto value = static_cast<std::uint64_t>(std::max<std::int64_t>(0, time.count()));
        ++buckets_[bucketOf(value)];
        ++count_;
        slowest_ = std::max(slowest_, value);
    }

    void add(const LatencyHistogram& other) {
        for (std::size_t i = 0; i != buckets_.size(); ++i)
            buckets_[i] += other.buckets_[i];
        count_ += other.count_;
        slowest_ = std::max(slowest_, other.slowest_);
    }

    std::uint64_t getCount() const { return count_; }

    /// The time within which this part of the calls was answered, in microseconds; 0 when there were none.
    /// @param part  0 to 1, such as 0.99; 1 is the slowest call, exactly
    double getMicros(double part) const {
        const auto wanted = static_cast<std::uint64_t>(std::ceil(part * static_cast<double>(count_)));
        std::uint64_t seen = 0;
        for (std::size_t i = 0; i != buckets_.size(); ++i)
            if ((seen += buckets_[i]) >= std::max<std::uint64_t>(1, wanted))
                return static_cast<double>(std::min(slowest_, lastOf(i))) / 1000;
        return 0;
    }

private:
    static constexpr unsigned partBits = 6;
    static constexpr std::size_t parts = 1u << partBits; ///< of a power of two

    /// Up to 127 ns each has a bucket; above, the first seven bits of a time choose one.
    static std::size_t bucketOf(std::uint64_t value) {
        const auto shift = std::max(0, int(std::bit_width(value)) - int(partBits) - 1);
        return static_cast<std::size_t>(shift) * parts + static_cast<std::size_t>(value >> shift);
    }

    static std::uint64_t lastOf(std::size_t bucket) {
        const auto shift = bucket < 2 * parts ? 0 : bucket / parts - 1;
        return ((bucket - shift * parts + 1) << shift) - 1;
    }

    std::array<std::uint64_t, (64 - partBits + 1) * parts> buckets_{};
    std::uint64_t count_ = 0;
    std::uint64_t slowest_ = 0; ///< nanoseconds
};

} // namespace Ostrel::Bench
