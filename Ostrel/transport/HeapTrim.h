#pragma once

#include <chrono>
#include <cstddef>
#include <limits>

namespace Ostrel {

/// Knows when it is time to give memory back to the system that something large has left behind:
/// once it has become quiet. The allocator keeps what was freed and never asked for again.
class HeapTrim {
public:
    using Clock = std::chrono::steady_clock;

    /// More than anything that is under way.
    static constexpr std::size_t everything = std::numeric_limits<std::size_t>::max();

    /// What is under way has come to so many bytes.
    void saw(std::size_t bytes) noexcept { due_ = due_ || bytes > large; }

    /// Whether tick() is to be called now and then.
    bool isDue() const { return due_; }

    /// Whether to give back now: there has been little under way for a second.
    /// @param bytes  that are under way
    bool tick(Clock::time_point now, std::size_t bytes);

    /// Gives back, which may take a while.
    static void giveBack() noexcept;

private:
    static constexpr std::size_t large = 1u << 20;
    static constexpr std::size_t little = 64u << 10;
    static constexpr std::chrono::seconds quiet{1};

    bool due_ = false;
    bool wasQuiet_ = false; ///< at the last tick
    Clock::time_point quietSince_;
};

} // namespace Ostrel
