#include "world/SyntheticDays.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Ostrel::TV::Tool {

namespace {

constexpr std::size_t longestText = 255; ///< bytes
constexpr std::int64_t secondsPerWeek = std::int64_t{minutesPerWeek} * 60;
constexpr unsigned repeatImi = 49; ///< as in the built-in guide

} // namespace

std::string CridMaker::next() {
    constexpr std::string_view letters = "0123456789abcdefghijklmnopqrstuvwxyz";
    constexpr std::uint64_t most = 36ull * 36 * 36 * 36 * 36 * 36;
    std::uint64_t number = ++count_ * 1000003 * 1009 % most; // neither shares a factor with 36
    std::string crid = "/";
    for (int i = 0; i != 6; ++i, number /= 36)
        crid += letters[number % 36];
    return crid;
}

SyntheticDays::SyntheticDays(const Repertoire& repertoire, Kind kind, const Random& random, CridMaker& crids)
    : world_(repertoire.world()), kind_(repertoire.of(kind)), random_(random), crids_(crids),
      week_(kind_.weeks[random_.below(static_cast<std::uint32_t>(kind_.weeks.size()))]) {}

std::vector<SyntheticDays::Placed> SyntheticDays::place(const SyntheticSpan& span) const {
    std::vector<Placed> placed;
    std::size_t week = 0;
    for (auto monday = span.start - sinceMonday(span.start) - secondsPerWeek; monday < span.end;
         monday += secondsPerWeek, ++week)
        for (const Slot& slot : week_) {
            const auto start = monday + std::int64_t{slot.start} * 60;
            if (start + std::int64_t{slot.minutes} * 60 <= span.start || start >= span.end)
                continue;
            // Where clocks are put forward, an hour's slots would come after those behind them.
            const auto utc = span.toUtc(start);
            while (!placed.empty() && placed.back().start >= utc)
                placed.pop_back();
            placed.push_back({utc, &slot, week});
        }
    return placed;
}

std::vector<GuideEvent> SyntheticDays::layOut(const SyntheticSpan& span) {
    const auto placed = place(span);
    std::vector<GuideEvent> events;
    std::map<std::pair<std::size_t, const Slot*>, std::size_t> shown;
    for (std::size_t i = 0; i != placed.size(); ++i) {
        const Slot& slot = *placed[i].slot;
        const auto first = slot.repeats == Slot::nothing
                               ? shown.end()
                               : shown.find({placed[i].week, &week_[static_cast<std::size_t>(slot.repeats)]});
        GuideEvent event = first == shown.end() ? show(choose(slot)) : events[first->second];
        if (first != shown.end())
            event.imi = repeatImi;
        event.start = placed[i].start;
        event.end = event.start + std::int64_t{slot.minutes} * 60;
        // Where clocks are put back, what is on lasts until the next one.
        if (i + 1 != placed.size() && (slot.leadsOn || event.end > placed[i + 1].start))
            event.end = placed[i + 1].start;
        shown.emplace(std::pair(placed[i].week, &slot), events.size());
        events.push_back(std::move(event));
    }
    return events;
}

const Strand& SyntheticDays::choose(const Slot& slot) {
    const auto draw = [&]() -> const Strand& {
        return kind_.strands[slot.choice[random_.below(static_cast<std::uint32_t>(slot.choice.size()))]];
    };
    if (kind_.strands[slot.strand].isOneOff()) {
        constexpr int tries = 8;
        const Strand* strand = &draw();
        for (int i = 0; i != tries && !shownOnce_.insert(strand).second; ++i)
            strand = &draw();
        return *strand;
    }
    const Strand*& chosen = chosen_[{slot.strand, slot.start % minutesPerDay, kindOfDay(slot.start)}];
    if (chosen == nullptr)
        chosen = &draw();
    return *chosen;
}

GuideEvent SyntheticDays::show(const Strand& strand) {
    Run& run = runOf(strand);
    const epgentry& row = *strand.episodes[run.next];
    run.next = (run.next + 1) % strand.episodes.size();
    const auto text = [&](PoolText given) {
        const char* const found = world_.text(given);
        return std::string(found ? found : "");
    };
    GuideEvent event;
    event.content = row.Content;
    event.version = random_.below(7);
    event.late = row.UnsuitableBeforeWatershed;
    event.title = text(row.Title);
    event.synopsis = text(row.Description);
    event.guidance = text(row.Guidance);
    if (hasCrid(row, 1))
        event.crids.push_back({1, crids_.next()});
    if (hasCrid(row, 2)) {
        event.crids.push_back({2, run.crid});
        number(event, run);
    }
    for (std::uint32_t i = 0; i != row.CridCount; ++i)
        if (row.Crids[i].CridType == 3)
            event.crids.push_back({3, text(row.Crids[i].CridData)});
    return event;
}

void SyntheticDays::number(GuideEvent& event, Run& run) const {
    const std::string mark = " (S" + std::to_string(run.number / run.perSeason + 1) + " Ep" +
                             std::to_string(run.number % run.perSeason + 1) + ")";
    ++run.number;
    if (event.synopsis.size() + mark.size() <= longestText)
        event.synopsis += mark;
}

SyntheticDays::Run& SyntheticDays::runOf(const Strand& strand) {
    const auto [found, isNew] = runs_.try_emplace(&strand);
    if (isNew) {
        found->second.next = random_.below(static_cast<std::uint32_t>(strand.episodes.size()));
        found->second.number = random_.below(60);
        found->second.perSeason = 6 + random_.below(20);
        found->second.crid = crids_.next();
    }
    return found->second;
}

} // namespace Ostrel::TV::Tool
