#include "world/Figures.h"

#include "TV/server/dummy/world/ZoneClock.h"
#include "world/Scripts.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <span>
#include <unordered_map>

namespace Ostrel::TV::Tool {

namespace {

constexpr std::int64_t secondsPerDay = 86400;

std::string_view read(const World& world, PoolText text) {
    const char* const found = world.text(text);
    return found ? found : "";
}

} // namespace

Figures::Figures(const World& world) {
    countLineup(world);
    countGuide(world);
    countDays(world);
    countTexts(world);
}

void Figures::countLineup(const World& world) {
    for (const LineupRow& row : world.lineup) {
        services.push_back({.lineup = &row, .name = std::string(read(world, row.name))});
        ++(row.type == 1 ? television : row.type == 2 ? radio : data);
        frequencies.push_back(row.frequencyMHz);
    }
    std::sort(frequencies.begin(), frequencies.end());
    frequencies.erase(std::unique(frequencies.begin(), frequencies.end()), frequencies.end());
}

void Figures::countGuide(const World& world) {
    std::unordered_map<std::uint32_t, std::size_t> byDvbId;
    for (std::size_t i = 0; i != services.size(); ++i)
        byDvbId.emplace(services[i].lineup->dvbServiceId, i);
    shortestEvent = world.rows.empty() ? 0 : std::numeric_limits<std::int32_t>::max();
    for (const GuideServiceRows& each : world.services) {
        std::vector<const epgentry*> rows;
        for (const epgentry& row : world.rows.subspan(each.first, each.count))
            rows.push_back(&row);
        std::sort(rows.begin(), rows.end(), compareStartTimes());

        const auto known = byDvbId.find(rows.front()->DvbSid);
        Service& service = known != byDvbId.end() ? services[known->second] : services.emplace_back();
        service.guideId = each.serviceId;
        service.events = rows.size();
        service.firstStart = rows.front()->Start;
        service.lastEnd = rows.back()->End;
        for (std::size_t i = 0; i != rows.size(); ++i) {
            const auto length = rows[i]->End - rows[i]->Start;
            service.secondsOnAir += length;
            longestEvent = std::max(longestEvent, length);
            shortestEvent = std::min(shortestEvent, length);
            highDefinition += rows[i]->IsHd;
            links += rows[i]->LinkedHdProgs != 0;
            gaps += i != 0 && rows[i]->Start != rows[i - 1]->End;
        }
        firstStart = firstStart == 0 ? service.firstStart : std::min(firstStart, service.firstStart);
        lastEnd = std::max(lastEnd, service.lastEnd);
    }
    const auto number = [](const Service& service) {
        return service.lineup ? service.lineup->channelNumber : std::numeric_limits<std::int32_t>::max();
    };
    std::stable_sort(services.begin(), services.end(),
                     [&](const Service& a, const Service& b) { return number(a) < number(b); });
}

void Figures::countDays(const World& world) {
    if (world.rows.empty())
        return;
    const ZoneClock clock(world.zoneOffsets);
    const auto dayOf = [&](std::int32_t start) { return clock.toLocal(start) / secondsPerDay; };
    const auto first = dayOf(firstStart);
    std::vector<std::int32_t> latestService; // that was counted for a day
    for (const epgentry& row : world.rows) {
        const auto day = static_cast<std::size_t>(dayOf(row.Start) - first);
        if (day >= days.size()) {
            days.resize(day + 1);
            latestService.resize(day + 1);
        }
        ++days[day].events;
        // The rows of a service stand together.
        days[day].services += latestService[day] != row.ServiceId;
        latestService[day] = row.ServiceId;
    }
    for (std::size_t i = 0; i != days.size(); ++i)
        days[i].start = (first + static_cast<std::int64_t>(i)) * secondsPerDay;
}

void Figures::countTexts(const World& world) {
    std::unordered_map<std::uint32_t, ScriptSet> known; // by the offset of a text that comes again and again
    std::array<std::size_t, scriptCount> counts{};
    const auto look = [&](PoolText text) {
        const auto [found, isNew] = known.try_emplace(text.offset);
        if (isNew)
            found->second = findScripts(read(world, text));
        return found->second;
    };
    for (std::size_t i = 0; i != world.rows.size(); ++i) {
        const epgentry& row = world.rows[i];
        texts.longestTitle = std::max<std::size_t>(texts.longestTitle, world.rowFacts[i].title.length);
        texts.longestSynopsis =
            std::max<std::size_t>(texts.longestSynopsis, world.rowFacts[i].description.length);
        texts.withoutTitle += row.Title.offset == 0;
        texts.withoutSynopsis += row.Description.offset == 0;
        const ScriptSet found = look(row.Title) | look(row.Description);
        for (std::size_t script = 0; script != scriptCount; ++script)
            counts[script] += found[script];
    }
    for (std::size_t script = 0; script != scriptCount; ++script)
        if (counts[script] != 0)
            scripts.push_back({scriptName(script), counts[script]});
    std::stable_sort(scripts.begin(), scripts.end(),
                     [](const Script& a, const Script& b) { return a.events > b.events; });
}

} // namespace Ostrel::TV::Tool
