#include "TV/server/dummy/DummyTVModule.h"

#include "Ostrel/runtime/Clock.h"
#include "TV/server/TVModuleContext.h"
#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/guide/Today.h"
#include "TV/server/dummy/lineup/Lineup.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <span>
#include <vector>

namespace Ostrel::TV {

namespace {

/// The services that the guide has events of.
std::vector<Lineup::GuideLink> makeGuideLinks() {
    std::vector<Lineup::GuideLink> links;
    // One row stands for all of its service: they carry the same DVB service id.
    for (const GuideServiceRows& service : guideServices())
        links.push_back({guideRows()[service.first].DvbSid, static_cast<std::uint32_t>(service.serviceId)});
    return links;
}

} // namespace

DummyTVModule::DummyTVModule() : mutex("TV/server/dummy/DummyTVModule", 0) {}

DummyTVModule::~DummyTVModule() {
    DummyTVModule::uninit();
}

void DummyTVModule::uninit() {}

// Runs before there is anybody to lock out. A second call adds everything to what is there.
// Meant so: docs/oddities.md, "Init once".
bool DummyTVModule::init() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    magic = 42;
    initTime = Clock::now();
    Guide& guide = sharedGuide();
    if (keepsToday)
        today = std::make_unique<Today>(chosenWorld());
    else
        guide.addEvents();
    // That it is there is enough, whatever it says.
    // Meant so: docs/oddities.md, "Any value turns the clock".
    timeOffset = std::getenv("DUMMYFAKETIME") == nullptr
                     ? 0
                     : static_cast<std::int32_t>(getGuideMidday() - Clock::now());
    sharedLineup().load(lineupRows(), makeGuideLinks());
    addLineup(services, transponders);
    guide.addGenres();
    scanState.scanning = false;
    scanState.infoValid = false;
    return true;
}

void DummyTVModule::addLineup(Services& services, std::vector<std::uint32_t>& transponders) {
    std::vector<const ITVService::ServiceInfo*> order; // pointers, which are quicker to move about
    for (const ITVService::ServiceInfo& service : services)
        order.push_back(&service);
    for (const TransponderInfo& transponder : sharedLineup().getTransponders()) {
        transponders.push_back(transponder.frequencyMHz);
        for (const ITVService::ServiceInfo& service : transponder.services) {
            const auto behind = std::find_if(order.begin(), order.end(), [&](const auto* other) {
                return other->getChannelNumber() > service.getChannelNumber();
            });
            order.insert(behind, &service);
        }
    }
    Services all;
    all.reserve(order.size());
    for (const auto* service : order)
        all.push_back(*service);
    services.swap(all);
}

void DummyTVModule::reset() {
    Services all;
    std::vector<std::uint32_t> frequencies;
    addLineup(all, frequencies);

    const Mutex::Hold hold(mutex);
    services.swap(all);
    transponders.swap(frequencies);
    scannedServices.clear();
    scanState.stop();
    scanState = ScanState(); // its task finds no scan to come back for
    signalStatus = ITVService::SignalStatus();
    ++age;
}

// The one guide that never changes has no owner to count for.
std::shared_ptr<const Guide> DummyTVModule::guideAt(std::time_t now) const {
    return today ? today->guideAt(now)
                 : std::shared_ptr<const Guide>(std::shared_ptr<void>(), &sharedGuide());
}

std::shared_ptr<const Guide> DummyTVModule::guideNow() const {
    return guideAt(today ? Clock::now() + timeOffset : 0);
}

DummyTVModule::World DummyTVModule::describeWorld() const {
    constexpr std::time_t latest = std::numeric_limits<std::int32_t>::max(); // that the wire can tell
    const auto now = Clock::now() + timeOffset;
    const auto guide = guideAt(now);
    const TV::World& world = guide->world();
    return {.name = std::string(world.name),
            .services = static_cast<std::uint32_t>(sharedLineup().getRows().size()),
            .events = static_cast<std::uint32_t>(guide->index().size()),
            .start = guide->earliestStart(),
            .end = guide->latestEnd(),
            .builtIn = world.builtIn,
            .timeZone = std::string(world.timeZone),
            .turnsAt = today ? std::optional(std::min(today->turnBehind(now), latest)) : std::nullopt};
}

std::time_t DummyTVModule::getGuideMidday() const {
    const Guide& guide = sharedGuide();
    const std::time_t middle =
        today ? initTime : (guide.latestEnd() - guide.earliestStart()) / 2 + guide.earliestStart();
    std::tm midday{};
    localtime_r(&middle, &midday);
    midday.tm_sec = 0;
    midday.tm_min = 0;
    midday.tm_hour = 12;
    return std::mktime(&midday);
}

std::optional<std::time_t> DummyTVModule::findNextStart(std::optional<std::int32_t> serviceId,
                                                        std::time_t after) const {
    const auto guide = guideAt(after);
    const StartTimeIndex& index = guide->index();
    const std::span starts(index.columns().starts.get(), index.size()); // ascending
    if (!serviceId) {
        const auto found = std::upper_bound(starts.begin(), starts.end(), after);
        return found == starts.end() ? std::nullopt : std::optional<std::time_t>(*found);
    }
    const auto& positions = index.positionsOf(*serviceId);
    const auto found =
        std::upper_bound(positions.begin(), positions.end(), after,
                         [&](std::time_t time, std::uint32_t position) { return time < starts[position]; });
    return found == positions.end() ? std::nullopt : std::optional<std::time_t>(starts[*found]);
}

void DummyTVModule::deleteContext(TVModuleContext* context) {
    delete context;
}

// A frequency that is in the list already is added again.
// Meant so: docs/oddities.md, "Frequencies twice".
bool DummyTVModule::addTransponderUnderLock(unsigned frequencyMHz) {
    const auto behind = std::find_if(transponders.begin(), transponders.end(),
                                     [&](std::uint32_t otherMHz) { return otherMHz > frequencyMHz; });
    transponders.insert(behind, frequencyMHz);
    return true;
}

} // namespace Ostrel::TV
