#pragma once

#include <ctime>
#include <optional>

namespace Ostrel {

/// What the service's clock is at the start, and after a reset.
struct ClockStart {
    std::optional<std::time_t> now = {}; ///< seconds since 1970-01-01 UTC; the system's when there is none
    bool atGuideMidday = false; ///< at midday, local time, of the day in the middle of the guide instead
    double speed = 1; ///< as in Clock::set()

    /// Whether the clock is the system's.
    bool isUntouched() const { return !now && !atGuideMidday && speed == 1; }
};

} // namespace Ostrel
