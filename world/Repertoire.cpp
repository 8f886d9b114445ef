#include "world/Repertoire.h"

#include "TV/server/dummy/world/ZoneClock.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <tuple>

namespace Ostrel::TV::Tool {

namespace {

/// Where a kind's days and programmes come from, by the ids of the built-in services.
struct Source {
    std::vector<int> weeks;
    std::vector<int> programmes; ///< of these come programmes alone
};

const std::array<Source, kindCount> sources = {{
    {{1043, 1033}, {1044, 1035, 1036}}, // General: these two have the news at ten
    {{1037, 1032, 1065, 1064, 1073, 1044, 1036}, {1067}}, // Entertainment
    {{1004, 1029, 1038, 1081, 1074, 1067}, {}}, // Factual
    {{1005, 1028, 1009}, {}}, // Film
    {{1050, 1076, 1024, 1025}, {}}, // News
    {{1012, 1013, 1084}, {}}, // Sport
    {{1048, 1049, 1083}, {}}, // Children
    {{1006, 1007, 1039}, {}}, // Music
    {{1008, 1070, 1014, 1071, 1072, 1011}, {}}, // Shopping
    {{1051, 1053, 1054, 1055, 1056, 1058, 1059, 1061, 1015, 1017, 1019, 1020, 1022, 1075, 1030}, {}}, // Radio
}};

constexpr std::int64_t secondsPerWeek = std::int64_t{minutesPerWeek} * 60;

int genre(const Strand& strand) {
    return strand.episodes.front()->Content & 0xF0;
}

} // namespace

bool hasCrid(const epgentry& row, std::uint32_t type) {
    return std::any_of(row.Crids, row.Crids + row.CridCount,
                       [&](const epgentry::Crid& crid) { return crid.CridType == type; });
}

std::int64_t sinceMonday(std::int64_t local) {
    constexpr std::int64_t firstMonday = 4 * std::int64_t{86400}; // 1970-01-05
    return ((local - firstMonday) % secondsPerWeek + secondsPerWeek) % secondsPerWeek;
}

int kindOfDay(WeekMinute start) {
    return std::max(start / minutesPerDay - 4, 0);
}

bool Strand::canReplace(const Strand& other, WeekMinute start) const {
    // The news belong to their time. Films and the like may be somewhat longer or shorter.
    const int latitude = isNews() ? 0 : 60;
    const int lengthLatitude = isOneOff() ? 15 : 0;
    return isOneOff() == other.isOneOff() && genre(*this) == genre(other) &&
           episodes.front()->UnsuitableBeforeWatershed == other.episodes.front()->UnsuitableBeforeWatershed &&
           std::abs(minutes - other.minutes) <= lengthLatitude &&
           std::any_of(starts.begin(), starts.end(), [&](WeekMinute time) {
               return kindOfDay(time) == kindOfDay(start) &&
                      std::abs(time % minutesPerDay - start % minutesPerDay) <= latitude;
           });
}

/// Takes what one kind shows apart.
class Repertoire::Builder {
public:
    Builder(const World& world, KindRepertoire& made) : world_(world), made_(made) {}

    void take(const Source& source) {
        for (const int id : source.weeks)
            made_.weeks.push_back(takeWeek(id));
        for (const int id : source.programmes)
            takeWeek(id);
        for (auto& week : made_.weeks)
            for (Slot& slot : week)
                giveChoice(slot);
    }

private:
    std::vector<const epgentry*> findRows(int id) const {
        std::vector<const epgentry*> rows;
        for (const epgentry& row : world_.rows)
            if (row.ServiceId == id)
                rows.push_back(&row);
        std::sort(rows.begin(), rows.end(), compareStartTimes());
        return rows;
    }

    std::int64_t localStart(const epgentry& row) const {
        return ZoneClock(world_.zoneOffsets).toLocal(row.Start);
    }

    /// The last seven days that begin and end at five in the morning, from Monday on.
    std::vector<Slot> takeWeek(int id) {
        auto rows = findRows(id);
        if (rows.empty())
            return {};
        constexpr std::int64_t dayBegins = 5 * std::int64_t{3600};
        const std::int64_t end = (localStart(*rows.back()) - dayBegins) / 86400 * 86400 + dayBegins;
        std::vector<Slot> week;
        for (const epgentry* row : rows)
            if (const auto start = localStart(*row); start >= end - secondsPerWeek && start < end)
                week.push_back(takeSlot(*row));
        std::sort(week.begin(), week.end(), [](const Slot& a, const Slot& b) { return a.start < b.start; });
        connect(week);
        return week;
    }

    Slot takeSlot(const epgentry& row) {
        Slot slot;
        slot.start = static_cast<WeekMinute>(sinceMonday(localStart(row)) / 60);
        slot.minutes = std::max((row.End - row.Start) / 60, 1);
        slot.strand = takeStrand(row, slot);
        Strand& strand = made_.strands[slot.strand];
        strand.starts.push_back(slot.start);
        const auto [first, isNew] = texts_.emplace(std::tuple(slot.strand, describe(row)), &row);
        if (isNew)
            strand.episodes.push_back(&row);
        shown_[slot.start] = first->second;
        return slot;
    }

    std::size_t takeStrand(const epgentry& row, const Slot& slot) {
        const auto [found, isNew] = strands_.emplace(std::tuple(std::string_view(title(row)), slot.minutes,
                                                                row.Content, row.UnsuitableBeforeWatershed),
                                                     made_.strands.size());
        if (isNew)
            made_.strands.push_back({.minutes = slot.minutes, .episodes = {}, .starts = {}});
        return found->second;
    }

    /// Finds out what follows what, and what is shown again.
    void connect(std::vector<Slot>& week) {
        std::map<const epgentry*, int> first;
        for (std::size_t i = 0; i != week.size(); ++i) {
            Slot& slot = week[i];
            const int next = i + 1 != week.size() ? week[i + 1].start : week.front().start + minutesPerWeek;
            slot.minutes = std::min(slot.minutes, next - slot.start);
            slot.leadsOn = slot.start + slot.minutes == next;
            const epgentry* const row = shown_.at(slot.start);
            const auto [earlier, isNew] = first.emplace(row, static_cast<int>(i));
            if (!isNew && hasCrid(*row, 1))
                slot.repeats = earlier->second;
        }
        shown_.clear();
    }

    void giveChoice(Slot& slot) const {
        for (std::size_t i = 0; i != made_.strands.size(); ++i)
            if (made_.strands[i].canReplace(made_.strands[slot.strand], slot.start))
                slot.choice.push_back(i);
    }

    const char* title(const epgentry& row) const {
        const char* const text = world_.text(row.Title);
        return text ? text : "";
    }

    std::string_view describe(const epgentry& row) const {
        const char* const text = world_.text(row.Description);
        return text ? text : "";
    }

    const World& world_;
    KindRepertoire& made_;
    std::map<std::tuple<std::string_view, int, int, bool>, std::size_t> strands_;
    std::map<std::tuple<std::size_t, std::string_view>, const epgentry*> texts_;
    std::map<WeekMinute, const epgentry*> shown_; ///< in the week being taken
};

Repertoire::Repertoire(const World& source) : world_(source) {
    for (std::size_t kind = 0; kind != kindCount; ++kind)
        Builder(world_, kinds_[kind]).take(sources[kind]);
}

} // namespace Ostrel::TV::Tool
