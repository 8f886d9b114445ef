// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "TV/server/dummy/world/PoolText.h"

#include <cstdint>

namespace Ostrel::TV {

/// One service of a line-up, as it stands in a world.
struct LineupRow {
    std::uint32_t frequencyMHz; ///< of its transponder
    std::int32_t channelNumber; ///< as shown to the viewer; 0 or less ends the table
    std::uint32_t type; ///< ITVService::ServiceInfo::Type
    PoolText name; ///< never absent
    std::uint32_t originalNetworkId; ///< DVB original_network_id
    std::uint32_t transportStreamId; ///< DVB transport_stream_id; carried, used nowhere
    std::uint32_t dvbServiceId; ///< DVB service_id
    std::uint32_t guideServiceId; ///< 0 in a world; Lineup::load() gives its own copy one
    PoolText provider; ///< absent when empty
    bool scrambled;
    bool highDefinition;
    bool visible;
    bool selectable;
};

} // namespace Ostrel::TV
