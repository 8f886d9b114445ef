#pragma once

#include "TV/server/dummy/data/WorldProblems.h"
#include "TV/server/dummy/world/World.h"

#include <cstddef>
#include <functional>
#include <string>

namespace Ostrel::TV {

/// How people are told where something of a world stands.
struct WorldPlaces {
    std::function<std::string(std::size_t row)> row; ///< by its index among the rows
    std::function<std::string(std::size_t row)>
        lineup; ///< by its index in the line-up; of the line-up when it has no such row
    std::string world; ///< of its name and its time zone

    /// Names what stands there: "event 65576035 of service 1000", "channel 10".
    /// @param world  must stay where it is
    static WorldPlaces names(const World& world);
};

/// Adds every rule that a world breaks of those that all worlds keep: the rest of the house counts on
/// them.
///
/// The tables may hold any numbers, but texts must be where the rows say, and the terminating rows
/// there.
void checkWorld(const World& world, const WorldPlaces& places, WorldProblems& problems);

} // namespace Ostrel::TV
