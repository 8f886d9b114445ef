#pragma once

#include "TV/server/dummy/data/WorldWriter.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace Ostrel::TV::Tool {

/// What a made-up world shall be like.
struct SyntheticWish {
    std::uint32_t services = 1000; ///< 1 to mostServices; with stress more than stressServices
    std::uint32_t days = 14; ///< 1 to mostDays
    std::uint32_t seed = 7; ///< the same one gives the same world
    std::string start = "2011-10-12"; ///< the first day
    std::string zone = "Europe/London"; ///< that the broadcasters live by
    bool stress = false; ///< with what breaks layouts
};

constexpr std::uint32_t mostDays = 100;

/// Adds a made-up world to a writer, service by service.
///
/// @param progress  called with the number of services that are done
/// @throws UsageError  the first day is none, or the guide would reach past 2038-01-19
/// @throws std::runtime_error  the time zone is not known
void inventWorld(const SyntheticWish& wish, WorldWriter& world,
                 const std::function<void(std::size_t services)>& progress);

} // namespace Ostrel::TV::Tool
