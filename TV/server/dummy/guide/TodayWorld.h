#pragma once

#include "TV/server/dummy/world/World.h"
#include "TV/server/dummy/world/ZoneClock.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// The days of a world that are laid end to end to make a guide without end, in local time.
///
/// As many whole weeks of it as there are, so that a Sunday stays a Sunday. Of a world shorter than a
/// week all days, half a day or more being one: each stands on its own day of the week, and on the days
/// that are missing they take turns, the first one first.
///
/// Of events that are weeks from the others, only where most of them are.
///
/// They begin at midnight; when the world begins, where it has as many days only from then on. Days that
/// are laid begin at the same time of day, and are numbered from 1970-01-01.
class RepeatedDays {
public:
    /// @param world  must stay where it is
    explicit RepeatedDays(const World& world);

    /// What clocks of the world's zone show.
    std::int64_t toLocal(std::int64_t utc) const { return clock_.toLocal(utc); }

    /// When they begin, local time of the world.
    std::int64_t begin() const { return begin_; }
    std::int32_t count() const { return count_; }

    /// The repeated day, from 0, in which a local time of the world is; outside of 0 to count() - 1
    /// it is not repeated.
    std::int64_t find(std::int64_t local) const;

    /// Which repeated day is laid on a day.
    std::int32_t laidOn(std::int64_t day) const;

    /// The day in which a local time of the viewer is.
    std::int64_t dayAt(std::int64_t local) const;
    /// When it begins, local time.
    std::int64_t beginOf(std::int64_t day) const;

private:
    const ZoneClock clock_;
    std::int64_t begin_ = 0;
    std::int32_t count_ = 1;
};

/// A world whose days are those of another one, laid around a day of the viewer's. It has rows of its
/// own, and shares line-up and texts.
///
/// Events keep their local times. What does not fit is cut: what runs on where another day follows
/// than did ends with that day's first event (or lasts until then, if nothing was between events on
/// either side), and what falls into an hour that the viewer's clocks leave out is left out. Nothing
/// ever overlaps within a service.
///
/// An event's ProgId says its day and its number within the repeated day: it is the same whenever that
/// day is laid. Links to HD events lead to those of the same day; where that was not laid there is none.
/// Series and episodes keep their CRIDs. What 32 bits cannot say in seconds since 1970 is left out.
class TodayWorld {
public:
    /// The days that are laid, the last one included.
    struct Window {
        std::int64_t first, last;
    };

    /// @param source  must stay where it is
    /// @param days    of the source
    /// @param zone    the viewer's, a name of the IANA's database or empty
    /// @param offsets of that zone over the window and a day more
    TodayWorld(const World& source, const RepeatedDays& days, Window window, const std::string& zone,
               std::vector<ZoneOffset> offsets);

    TodayWorld(const TodayWorld&) = delete;
    TodayWorld& operator=(const TodayWorld&) = delete;

    /// Stays where this one is.
    const World& world() const { return world_; }

private:
    class Laying;

    const std::string zone_;
    const std::vector<ZoneOffset> offsets_;
    std::vector<epgentry> rows_;
    std::vector<GuideRowFacts> rowFacts_;
    std::vector<std::uint32_t> startOrder_;
    std::vector<GuideServiceRows> services_;
    World world_;
};

} // namespace Ostrel::TV
