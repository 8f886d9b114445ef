#pragma once

#include <cstdint>

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
    std::uint32_t guideServiceId; ///< 0 until DummyTVModule::init() gives one
    const char* provider; ///< may be empty
    bool scrambled;
    bool highDefinition;
    bool visible;
    bool selectable;
};

/// The line-up, one table for all modules of the process. An all-zero row ends it.
extern LineupRow lineup[];

} // namespace Ostrel::TV
