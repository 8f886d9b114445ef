#pragma once

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/Task.h"

#include <chrono>
#include <ctime>

namespace Ostrel::Test {

/// Holds the clock at a time of the test's choice.
class HeldClock {
public:
    explicit HeldClock(std::time_t now) { Clock::set(now, 0); }

    /// Stops all tasks. The caller must not hold the turn.
    ~HeldClock() {
        stopTasks();
        Clock::release();
    }

    HeldClock(const HeldClock&) = delete;
    HeldClock& operator=(const HeldClock&) = delete;

    void set(std::time_t now) { Clock::set(now, {}); }
    void advance(std::time_t seconds) { set(Clock::now() + seconds); }

    /// Lets the tasks do what is due, which they have done when it returns.
    void run() { Clock::step(std::chrono::seconds(0)); }
};

} // namespace Ostrel::Test
