#pragma once

#include "TV/server/dummy/world/World.h"

#include <cstdint>
#include <span>

namespace Ostrel::TV {

/// The world that all modules of the process simulate: the built-in one unless another was chosen.
const World& chosenWorld() noexcept;

// The tables of the chosen world.
inline std::span<const epgentry> guideRows() noexcept {
    return chosenWorld().rows;
}
inline std::span<const GuideRowFacts> guideRowFacts() noexcept {
    return chosenWorld().rowFacts;
}
inline std::span<const std::uint32_t> guideStartOrder() noexcept {
    return chosenWorld().startOrder;
}
inline std::span<const GuideServiceRows> guideServices() noexcept {
    return chosenWorld().services;
}
inline std::span<const LineupRow> lineupRows() noexcept {
    return chosenWorld().lineup;
}

} // namespace Ostrel::TV
