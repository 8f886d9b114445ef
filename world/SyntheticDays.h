#pragma once

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/world/ZoneClock.h"
#include "world/Random.h"
#include "world/Repertoire.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace Ostrel::TV::Tool {

/// The days of a guide, by the clocks of those who broadcast.
struct SyntheticSpan {
    std::int64_t start = 0, end = 0; ///< midnights, in seconds since 1970-01-01 of local time
    std::vector<ZoneOffset> offsets;

    std::int64_t toUtc(std::int64_t local) const { return ZoneClock(offsets).toUtc(local); }
};

/// Numbers content reference identifiers through, so that none comes twice.
class CridMaker {
public:
    std::string next();

private:
    std::uint64_t count_ = 0;
};

/// Lays out the days of one service: those of the built-in guide with other programmes in them,
/// the same ones at the same time from day to day.
class SyntheticDays {
public:
    SyntheticDays(const Repertoire& repertoire, Kind kind, const Random& random, CridMaker& crids);

    /// The events that are on the air in a span, in the order of time, without their identifiers.
    std::vector<GuideEvent> layOut(const SyntheticSpan& span);

private:
    /// A programme that this service shows, and how far it has come.
    struct Run {
        std::size_t next = 0; ///< of the strand's episodes
        unsigned number = 0, perSeason = 1;
        std::string crid; ///< the series'
    };
    struct Placed {
        std::int64_t start; ///< UTC
        const Slot* slot;
        std::size_t week;
    };

    std::vector<Placed> place(const SyntheticSpan& span) const;
    const Strand& choose(const Slot& slot);
    GuideEvent show(const Strand& strand);
    void number(GuideEvent& event, Run& run) const;
    Run& runOf(const Strand& strand);

    const World& world_;
    const KindRepertoire& kind_;
    Random random_;
    CridMaker& crids_;
    const std::vector<Slot>& week_;
    std::map<std::tuple<std::size_t, int, int>, const Strand*> chosen_; ///< for strand, time and kind of day
    std::map<const Strand*, Run> runs_;
    std::set<const Strand*> shownOnce_;
};

} // namespace Ostrel::TV::Tool
