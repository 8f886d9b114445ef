#pragma once

#include <chrono>
#include <string>

namespace Ostrel {

/// Writes to the log who was not let in and why: at most one line a second, since anybody can
/// make as many as they like. One thread.
class RefusalLog {
public:
    using Clock = std::chrono::steady_clock;

    /// @param why  for people; may end its line
    void write(const std::string& why, Clock::time_point now = Clock::now());

private:
    Clock::time_point silentUntil_ = Clock::time_point::min();
};

} // namespace Ostrel
