// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <chrono>
#include <ctime>
#include <optional>

namespace Ostrel {

/// The clock that module code and its tasks live by: one for the process.
///
/// Until it is steered it is the C library's time(), and tasks sleep as long as they say. Steered
/// it says what it was told, runs as fast as it was told, and tasks sleep by it: while it stands
/// still nobody wakes. However fast it runs it waits for who is late: a task wakes at its time.
///
/// Set forward, it wakes who would have woken meanwhile, at the time that it then says. Set back,
/// it leaves everybody as much sleep as was left. A steered clock stands still at its end, in 2106.
///
/// Any thread may call any operation, with or without the turn.
class OSTREL_API Clock {
public:
    /// What module code asks instead of time(): seconds since 1970-01-01 UTC.
    static std::time_t now();

    static constexpr double fastest = 3600;

    struct Reading {
        std::time_t now; ///< seconds since 1970-01-01 UTC
        double speed; ///< seconds in a second; 1 unless it is steered
    };
    static Reading read();

    /// Steers it; what is absent stays as it is. A step that is under way ends where it is.
    /// @param now    seconds since 1970-01-01 UTC, up to 2106
    /// @param speed  from 0, where it stands still, to fastest
    static void set(std::optional<std::time_t> now, std::optional<double> speed);

    /// Leaves it to the C library again. A step that is under way ends where it is.
    static void release();

    /// Lets time pass at once: wakes the tasks that are due meanwhile one by one, in the order of
    /// their times, each with the clock at its time, and lets it run until it sleeps again or ends.
    /// Between them the clock stands; afterwards it runs on as fast as before. It is steered then.
    ///
    /// First it waits until the tasks that are awake sleep; when it returns, all that was due has
    /// been done. Nothing at all is a step as well. Steps of several threads go one after the other.
    ///
    /// The turn is given up for as long as it takes, see Turn::Pause. A task that sleeps for
    /// nothing sleeps for a millisecond.
    ///
    /// @returns whether it came to its end; otherwise the host stops, or somebody has set the clock
    /// @throws Cancelled  see Cancellation; the clock goes on from where it is
    static bool step(std::chrono::milliseconds duration);

    /// The same up to a time; when that has passed, as a step of nothing.
    static bool stepTo(std::time_t time);
};

} // namespace Ostrel
