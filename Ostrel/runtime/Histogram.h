// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/runtime/MetricsText.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace Ostrel {

/// How long something has taken, each time. Observing takes no lock and allocates nothing; any thread
/// may do so.
class OSTREL_API Histogram {
public:
    void observe(std::chrono::nanoseconds time) noexcept;

    /// How often.
    std::uint64_t getCount() const noexcept;

    /// Writes the samples: what took up to so many seconds, how long all took together, and how many
    /// there were.
    void write(MetricsText& out, const MetricsText::Label& first, const MetricsText::Label& second) const;

private:
    struct Bound {
        std::chrono::nanoseconds time;
        const char* seconds; ///< the same for the page
    };

    /// Five for each three decades, from what a small request takes to what somebody gives up on.
    static constexpr std::array<Bound, 10> bounds{{{std::chrono::microseconds(10), "0.00001"},
                                                   {std::chrono::microseconds(50), "0.00005"},
                                                   {std::chrono::microseconds(250), "0.00025"},
                                                   {std::chrono::milliseconds(1), "0.001"},
                                                   {std::chrono::milliseconds(5), "0.005"},
                                                   {std::chrono::milliseconds(25), "0.025"},
                                                   {std::chrono::milliseconds(100), "0.1"},
                                                   {std::chrono::milliseconds(500), "0.5"},
                                                   {std::chrono::milliseconds(2500), "2.5"},
                                                   {std::chrono::seconds(10), "10"}}};

    std::array<std::atomic<std::uint64_t>, bounds.size() + 1> buckets_{}; ///< each without those below
    std::atomic<std::uint64_t> sum_ = 0; ///< nanoseconds
};

} // namespace Ostrel
