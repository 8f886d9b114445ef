#pragma once

#include "bench/Crowd.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Ostrel::Bench {

/// How long the calls took that were due within a span of time; milliseconds. A reply that never
/// came counts with the time for which it was waited.
struct Latency {
    explicit Latency(const std::vector<Fate>& fates, Clock::time_point from = Clock::time_point::min(),
                     Clock::time_point to = Clock::time_point::max());

    std::size_t count = 0;
    std::size_t unanswered = 0;
    double p50 = 0;
    double p99 = 0;
    double slowest = 0;
    std::string slowestCall;
};

} // namespace Ostrel::Bench
