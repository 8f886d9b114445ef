#pragma once

#include <cstdint>

namespace Ostrel::TV::Tool {

/// Numbers that look like chance and are the same on every machine: SplitMix64.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    /// Another row of numbers, which this one's does not disturb.
    Random branch(std::uint64_t number) const { return Random(mix(state_ ^ mix(number + 1))); }

    /// From 0 to below the limit, which is not 0.
    std::uint32_t below(std::uint32_t limit) {
        state_ += 0x9E3779B97F4A7C15;
        return static_cast<std::uint32_t>((mix(state_) >> 32) * limit >> 32);
    }

    bool oneIn(std::uint32_t number) { return below(number) == 0; }

private:
    static std::uint64_t mix(std::uint64_t value) {
        value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
        value = (value ^ value >> 27) * 0x94D049BB133111EB;
        return value ^ value >> 31;
    }

    std::uint64_t state_;
};

} // namespace Ostrel::TV::Tool
