#pragma once

#include <chrono>
#include <cstddef>
#include <future>

namespace Ostrel {

/// Gives memory back to the system that something large has left behind, once it has become
/// quiet: the allocator keeps what was freed and never asked for again.
///
/// It gives back on a thread of its own, since that may take a while.
class HeapTrim {
public:
    using Clock = std::chrono::steady_clock;

    /// What is under way has come to so many bytes.
    void saw(std::size_t bytes) noexcept { due_ = due_ || bytes > large; }

    /// Whether tick() is to be called now and then.
    bool isDue() const { return due_; }

    /// Gives back when there has been little under way for a second.
    /// @param bytes  that are under way
    void tick(Clock::time_point now, std::size_t bytes);

private:
    static constexpr std::size_t large = 1u << 20;
    static constexpr std::size_t little = 64u << 10;
    static constexpr std::chrono::seconds quiet{1};

    bool due_ = false;
    bool wasQuiet_ = false; ///< at the last tick
    Clock::time_point quietSince_;
    std::future<void> trim_; ///< the latest
};

} // namespace Ostrel
