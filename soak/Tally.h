#pragma once

#include "bench/Crowd.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Ostrel::Soak {

using Clock = Bench::Clock;
using Seconds = Bench::Seconds;

/// How long many things took, in buckets that are 6 % wide.
class Histogram {
public:
    void add(Clock::duration took);
    void add(const Histogram& other);

    std::size_t getCount() const { return count_; }
    double getSlowest() const { return slowest_; } ///< milliseconds

    /// The time that such a part of all did not exceed, in milliseconds; 0 when there are none.
    /// @param part  from 0 to 1
    double getQuantile(double part) const;

private:
    static constexpr std::size_t steps = 12; ///< buckets from a time to its double
    std::array<std::size_t, 32 * steps> buckets_{};
    std::size_t count_ = 0;
    double slowest_ = 0;
};

/// What has come of the calls of the well-behaved.
class Tally {
public:
    /// Something that was not as it should be, for people.
    void addWrong(const std::string& what);
    void addReply(Clock::duration took);

    /// Latencies from now on belong to another phase.
    void beginPhase() { phase_ = {}; }
    const Histogram& getPhase() const { return phase_; }

    std::size_t getReplies() const { return replies_; }
    std::size_t getWrong() const { return wrong_; }

    /// The first of them.
    const std::vector<std::string>& getMistakes() const { return mistakes_; }

private:
    Histogram phase_;
    std::size_t replies_ = 0;
    std::size_t wrong_ = 0;
    std::vector<std::string> mistakes_;
};

} // namespace Ostrel::Soak
