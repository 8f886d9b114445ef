#pragma once

#include "TV/server/dummy/world/World.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::TV::Tool {

/// What a world is made of, counted.
struct Figures {
    struct Service {
        const LineupRow* lineup = nullptr; ///< null when no transponder carries it
        std::int32_t guideId = 0; ///< 0 when it has no guide
        std::string name; ///< of one that is not in the line-up empty
        std::size_t events = 0;
        std::int32_t firstStart = 0, lastEnd = 0;
        std::int64_t secondsOnAir = 0;
    };
    struct Day {
        std::int64_t start = 0; ///< local midnight, in seconds since 1970-01-01 of local time
        std::size_t events = 0; ///< that begin on it
        std::size_t services = 0; ///< that have such
    };
    struct Texts {
        std::size_t longestTitle = 0, longestSynopsis = 0; ///< bytes
        std::size_t withoutTitle = 0, withoutSynopsis = 0;
    };
    struct Script {
        std::string_view name;
        std::size_t events = 0; ///< whose title or synopsis has letters of it
    };

    /// @param world  must stay
    explicit Figures(const World& world);

    std::vector<Service> services; ///< by channel number, those that no transponder carries last
    std::vector<Day> days; ///< all from the first to the last, also those without events
    Texts texts;
    std::vector<Script> scripts; ///< the most frequent first
    std::size_t television = 0, radio = 0, data = 0; ///< of the line-up
    std::size_t highDefinition = 0; ///< events
    std::size_t links = 0; ///< events with a twin in high definition
    std::size_t gaps = 0; ///< between events of a service
    std::int32_t firstStart = 0, lastEnd = 0; ///< 0 when there is no event
    std::int32_t longestEvent = 0, shortestEvent = 0; ///< seconds
    std::vector<std::uint32_t> frequencies; ///< MHz, ascending

private:
    void countLineup(const World& world);
    void countGuide(const World& world);
    void countDays(const World& world);
    void countTexts(const World& world);
};

} // namespace Ostrel::TV::Tool
