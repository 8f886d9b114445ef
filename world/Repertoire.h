#pragma once

#include "TV/server/dummy/world/World.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Ostrel::TV::Tool {

/// What a service is like.
enum class Kind { General, Entertainment, Factual, Film, News, Sport, Children, Music, Shopping, Radio };
constexpr std::size_t kindCount = 10;

/// Minutes since midnight between Sunday and Monday, in the local time of those who broadcast.
using WeekMinute = int;
constexpr WeekMinute minutesPerDay = 24 * 60, minutesPerWeek = 7 * minutesPerDay;

/// A programme as the built-in guide shows it, in events of one length.
struct Strand {
    int minutes = 0; ///< length of an event
    std::vector<const epgentry*> episodes; ///< no two that say the same
    std::vector<WeekMinute> starts; ///< when it is shown

    bool isNews() const { return (episodes.front()->Content & 0xF0) == 0x20; }

    /// A film, or what else is shown once and perhaps again.
    bool isOneOff() const { return episodes.size() == 1 && starts.size() <= 2 && !isNews(); }

    /// Whether it could be shown in another one's place, at a time when that is shown: it is alike,
    /// and comes about then on such a day.
    bool canReplace(const Strand& other, WeekMinute start) const;
};

/// A place in a service's week.
struct Slot {
    static constexpr int nothing = -1;

    WeekMinute start = 0;
    int minutes = 0;
    bool leadsOn = false; ///< the next one begins as it ends
    std::size_t strand = 0; ///< of its kind's strands, what the built-in guide shows here
    std::vector<std::size_t> choice{}; ///< what may be shown here, that one among them
    int repeats = nothing; ///< an earlier slot of the week whose episode is shown again
};

/// What services of a kind have to show.
struct KindRepertoire {
    std::vector<std::vector<Slot>> weeks; ///< one of a service each, in the order of time
    std::vector<Strand> strands;
};

/// The built-in guide taken apart, to make other guides of it.
class Repertoire {
public:
    /// @param source  the built-in world; its rows are pointed to
    explicit Repertoire(const World& source);

    const World& world() const { return world_; }
    const KindRepertoire& of(Kind kind) const { return kinds_[static_cast<std::size_t>(kind)]; }

private:
    class Builder;

    World world_;
    std::array<KindRepertoire, kindCount> kinds_;
};

/// Whether a row bears a content reference identifier of a type.
bool hasCrid(const epgentry& row, std::uint32_t type);

/// Local seconds since the last midnight between Sunday and Monday.
std::int64_t sinceMonday(std::int64_t local);

/// 0 from Monday to Friday, which are alike, 1 and 2 for Saturday and Sunday.
int kindOfDay(WeekMinute start);

} // namespace Ostrel::TV::Tool
