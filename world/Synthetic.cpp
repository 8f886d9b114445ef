#include "world/Synthetic.h"

#include "TV/server/dummy/data/ZoneOffsets.h"
#include "TV/server/dummy/world/BuiltInWorld.h"
#include "commandline/UsageError.h"
#include "world/Stress.h"
#include "world/SyntheticDays.h"
#include "world/SyntheticLineup.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <span>
#include <vector>

namespace Ostrel::TV::Tool {

namespace {

using CommandLine::UsageError;

std::int64_t readDay(const std::string& text) {
    using namespace std::chrono;
    int year = 0, end = 0;
    unsigned month = 0, day = 0;
    const bool isRead = std::sscanf(text.c_str(), "%4d-%2u-%2u%n", &year, &month, &day, &end) == 3;
    const year_month_day date{std::chrono::year{year}, std::chrono::month{month}, std::chrono::day{day}};
    if (!isRead || static_cast<std::size_t>(end) != text.size() || !date.ok())
        throw UsageError("\"" + text + "\" is not a day like 2011-10-12");
    return sys_seconds(sys_days(date)).time_since_epoch().count();
}

SyntheticSpan makeSpan(const SyntheticWish& wish) {
    constexpr std::int64_t day = 86400, week = 7 * day, latestEnd = 0x7FFFFFFF;
    SyntheticSpan span;
    span.start = readDay(wish.start);
    span.end = span.start + wish.days * day;
    if (span.start < week || span.end + week > latestEnd)
        throw UsageError("the guide would begin before 1970-01-08 or reach past 2038-01-12");
    span.offsets = readZoneOffsets(wish.zone, static_cast<std::int32_t>(span.start - week),
                                   static_cast<std::int32_t>(span.end + week));
    return span;
}

/// Writes services with their events.
class Author {
public:
    Author(const SyntheticWish& wish, WorldWriter& world)
        : wish_(wish), world_(world), random_(wish.seed), span_(makeSpan(wish)), repertoire_(builtInWorld()),
          services_(invent()) {}

    const std::vector<SyntheticService>& services() const { return services_; }

    void writeLineup() {
        std::vector<const LineupService*> lineup;
        for (const SyntheticService& service : services_)
            lineup.push_back(&service.lineup);
        std::stable_sort(lineup.begin(), lineup.end(), [](const LineupService* a, const LineupService* b) {
            return a->frequencyMHz < b->frequencyMHz;
        });
        for (const LineupService* service : lineup)
            world_.addToLineup(*service);
    }

    /// Writes what a service shows, and its twins behind it.
    void write(std::size_t leader) {
        auto events = layOut(leader);
        std::size_t twin = leader + 1;
        for (; twin != services_.size() && services_[twin].twin != SyntheticService::Twin::None; ++twin)
            writeTwin(twin, events);
        number(events, leader);
        add(leader, events);
    }

private:
    std::vector<SyntheticService> invent() const {
        auto services = inventServices(wish_.services - (wish_.stress ? stressServices : 0), random_);
        if (wish_.stress)
            addStressServices(services);
        return services;
    }

    std::vector<GuideEvent> layOut(std::size_t index) {
        using Stress = SyntheticService::Stress;
        const SyntheticService& service = services_[index];
        const Random random = random_.branch(1000 + index);
        if (service.stress != Stress::None && service.stress != Stress::Name)
            return layOutStress(service.stress, span_, random);
        auto events = SyntheticDays(repertoire_, service.kind, random, crids_).layOut(span_);
        if (wish_.stress)
            spoil(events, random.branch(1), nextStressText_);
        return events;
    }

    void writeTwin(std::size_t twin, std::vector<GuideEvent>& events) {
        auto copy = events;
        number(copy, twin);
        const bool isLater = services_[twin].twin == SyntheticService::Twin::OneHourLater;
        for (std::size_t i = 0; i != copy.size(); ++i) {
            copy[i].hdLink = 0;
            copy[i].hd = !isLater;
            if (isLater) {
                copy[i].start += 3600;
                copy[i].end += 3600;
            } else {
                events[i].hdLink = copy[i].programme;
            }
        }
        add(twin, copy);
    }

    /// Programmes are numbered so that the order of the numbers is not the order of time, as on the air.
    static void number(std::vector<GuideEvent>& events, std::size_t service) {
        constexpr unsigned eventBits = 14, mask = (1u << 28) - 1;
        for (std::size_t i = 0; i != events.size(); ++i)
            events[i].programme =
                ((static_cast<unsigned>(service) << eventBits | static_cast<unsigned>(i)) * 0x9E3779B1u &
                 mask) +
                1;
    }

    void add(std::size_t index, const std::vector<GuideEvent>& events) {
        constexpr std::size_t places = 64; // that there are
        const SyntheticService& from = services_[index];
        GuideService service;
        service.id = from.guideId;
        service.network = from.lineup.network;
        service.stream = from.lineup.stream;
        service.dvbId = from.lineup.dvbId;
        service.place = index < places ? static_cast<unsigned>(index) + 1 : 0;
        for (const GuideEvent& event : events)
            world_.add(service, event);
    }

    const SyntheticWish& wish_;
    WorldWriter& world_;
    Random random_;
    SyntheticSpan span_;
    Repertoire repertoire_;
    CridMaker crids_;
    std::size_t nextStressText_ = 0;
    std::vector<SyntheticService> services_;
};

} // namespace

void inventWorld(const SyntheticWish& wish, WorldWriter& world,
                 const std::function<void(std::size_t services)>& progress) {
    Author author(wish, world);
    world.describe("synthetic-" + std::to_string(wish.seed) + (wish.stress ? "-stress" : ""), wish.zone);
    author.writeLineup();
    for (std::size_t i = 0; i != author.services().size(); ++i) {
        if (author.services()[i].twin == SyntheticService::Twin::None)
            author.write(i);
        progress(i + 1);
    }
}

} // namespace Ostrel::TV::Tool
