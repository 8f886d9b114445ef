// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "TV/server/dummy/world/PoolText.h"

#include <cstdint>

namespace Ostrel::TV {

/// One broadcast event of a guide. A row whose ServiceId is 0 ends the table.
///
/// It has this layout in memory and in a compiled world alike.
struct epgentry {
    struct Crid {
        PoolText CridData;
        std::uint32_t CridType;
    };

    std::int32_t ServiceId; ///< guide service id, as ServiceInfo carries it
    std::int32_t Content; ///< DVB content code, -1 when none; only the low byte is a genre
    std::uint32_t CridCount; ///< how many of the Crids count, 0 to 10
    Crid Crids[10]; ///< content reference identifiers
    std::uint32_t CridImi; ///< tells instances of the same Crids apart; 0 when there is nothing to tell
    bool DataFromCurrentTs; ///< learnt from the stream that carries the service itself
    PoolText Description; ///< synopsis
    std::uint32_t DvbOid; ///< DVB original_network_id
    std::uint32_t DvbSid; ///< DVB service_id
    std::uint32_t DvbTid; ///< DVB transport_stream_id
    std::int32_t End; ///< seconds since 1970-01-01 UTC
    PoolText Guidance; ///< a warning for viewers
    bool IsHd; ///< in high definition
    std::uint32_t LinkedHdProgs; ///< ProgId of the linked HD event, 0 when none
    std::uint32_t LinkedHdSimulcastProgs; ///< ProgId of the HD simulcast, 0 when none
    bool Next; ///< stored mark; carried, never read
    bool Now; ///< stored mark; carried, never read
    std::uint32_t PreferredServiceNameId; ///< name to prefer for the service
    std::uint32_t ProgId; ///< event identifier, unique in the table
    std::uint32_t ScheduleVersion; ///< version of the schedule data
    std::uint32_t ServicePosition; ///< position carried with the event
    std::int32_t Start; ///< seconds since 1970-01-01 UTC
    PoolText Title;
    bool UnsuitableBeforeWatershed; ///< not to be viewed before 21:00 in London
};

/// Orders rows by their start; the only ordering of rows there is.
struct compareStartTimes {
    bool operator()(const epgentry* a, const epgentry* b) const noexcept { return a->Start < b->Start; }
};

} // namespace Ostrel::TV
