#pragma once

#include "TV/server/dummy/lineup/TransponderInfo.h"
#include "TV/server/dummy/world/LineupRow.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Ostrel::TV {

/// What is on the air: the services of a world, and the transponders that carry them.
///
/// load() comes before anything is asked; from then on it is only read, by any thread and
/// without a lock.
class Lineup {
public:
    /// A service that the guide has events of: its DVB service_id and the id that they bear.
    struct GuideLink {
        std::uint32_t dvbServiceId, guideServiceId;
    };

    /// Takes the rows over, gives each its guide service id, and puts every service on its transponder.
    ///
    /// A row that the guide does not know is numbered on from the largest id of the guide, in the
    /// order of the table. A second call puts every service there a second time.
    /// @throws std::bad_alloc
    void load(std::span<const LineupRow> rows, std::span<const GuideLink> guide);

    /// None before load().
    std::span<const LineupRow> getRows() const { return rows_; }

    /// In the order in which the table names them; none before load().
    const std::vector<TransponderInfo>& getTransponders() const { return transponders_; }

    /// Returns null where nothing is sent. The pointer is good until the next load().
    const TransponderInfo* findTransponder(std::uint32_t frequencyMHz) const;

private:
    void linkToGuide(std::span<const GuideLink> guide);
    void numberTheRest(std::uint32_t largest);
    void fillTransponders();

    std::vector<LineupRow> rows_;
    std::vector<TransponderInfo> transponders_;
};

/// The line-up of all modules of the process. DummyTVModule::init() loads it.
Lineup& sharedLineup();

} // namespace Ostrel::TV
