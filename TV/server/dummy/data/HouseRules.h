#pragma once

#include "TV/server/dummy/data/WorldRules.h"

namespace Ostrel::TV {

/// Adds what the built-in world breaks of the house's own taste, which no other world needs to share:
/// what may be on before the watershed, how long an event is, what a crid looks like.
///
/// The world keeps the rules of all worlds.
void checkHouse(const World& world, const WorldPlaces& places, WorldProblems& problems);

} // namespace Ostrel::TV
