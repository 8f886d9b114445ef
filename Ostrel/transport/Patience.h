#pragma once

#include <chrono>

namespace Ostrel {

/// A time that runs out, but stands still while nobody can be blamed.
class Patience {
public:
    using Clock = std::chrono::steady_clock;

    /// Begins anew.
    /// @param time  how long it lasts; zero for ever
    void begin(Clock::duration time, Clock::time_point now) {
        endless_ = time == Clock::duration::zero();
        left_ = time;
        since_ = now;
    }

    /// Lets it run or stand still from now on.
    void run(bool running, Clock::time_point now) {
        if (running_ && !running)
            left_ -= now - since_;
        else if (!running_ && running)
            since_ = now;
        running_ = running;
    }

    /// When it runs out, unless it stands still before that; max() for never.
    Clock::time_point getEnd() const {
        return running_ && !endless_ ? since_ + left_ : Clock::time_point::max();
    }

private:
    bool endless_ = true;
    bool running_ = true;
    Clock::duration left_{}; ///< at since_
    Clock::time_point since_;
};

} // namespace Ostrel
