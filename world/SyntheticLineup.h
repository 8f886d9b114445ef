#pragma once

#include "TV/server/dummy/data/LineupText.h"
#include "world/Random.h"
#include "world/Repertoire.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Ostrel::TV::Tool {

/// A service of a made-up world.
struct SyntheticService {
    enum class Twin { None, HighDefinition, OneHourLater };

    /// What is hard about it, in a world made to break layouts.
    enum class Stress {
        None,
        Crowded, ///< two thousand events
        Silent, ///< none
        Minutes, ///< events of one minute
        Endless, ///< events of thirty hours
        Gaps, ///< more than there are events
        RightToLeft, ///< all its texts
        Han, ///< all its texts
        Emoji, ///< all its texts
        Name, ///< its name alone
        Data, ///< no television, no radio, no events
    };

    Kind kind = Kind::General;
    Twin twin = Twin::None; ///< shows what the one before it that is no twin shows
    Stress stress = Stress::None;
    LineupService lineup;
    int guideId = 0;
};

/// Invents the services of a world: of each broadcaster some, those that it leads first and then
/// their twins. Names, channel numbers and DVB identifiers are unique; the frequencies are those
/// that a blind scan visits.
///
/// @param count  1 to mostServices
std::vector<SyntheticService> inventServices(std::size_t count, const Random& random);

/// Gives all services their identifiers and frequencies, by their place.
void identifyServices(std::vector<SyntheticService>& services);

constexpr std::size_t mostServices = 5000;
constexpr unsigned highestChannelNumber = 9999;

} // namespace Ostrel::TV::Tool
