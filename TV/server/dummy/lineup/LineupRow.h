#pragma once

#include <cstdint>
#include <span>

namespace Ostrel::TV {

/// One service of the built-in line-up.
struct LineupRow {
    std::uint32_t frequencyMHz; ///< of its transponder
    std::int32_t channelNumber; ///< as shown to the viewer; 0 or less ends the table
    std::uint32_t type; ///< ITVService::ServiceInfo::Type
    const char* name;
    std::uint32_t originalNetworkId; ///< DVB original_network_id
    std::uint32_t transportStreamId; ///< DVB transport_stream_id; carried, used nowhere
    std::uint32_t dvbServiceId; ///< DVB service_id
    std::uint32_t guideServiceId; ///< 0 until Lineup::load() gives one
    const char* provider; ///< may be empty
    bool scrambled;
    bool highDefinition;
    bool visible;
    bool selectable;
};

/// The table that the build makes, for sharedLineup() to write into. The all-zero row that ends
/// it follows behind the last one.
std::span<LineupRow> lineupRows() noexcept;

} // namespace Ostrel::TV
