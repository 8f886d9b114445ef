#include "TV/server/dummy/DummyTVModule.h"

#include "TV/server/dummy/DummyTVModuleContext.h"
#include "TV/server/dummy/guide/GenreList.h"
#include "TV/server/dummy/guide/GuideTable.h"
#include "TV/server/dummy/guide/StartTimeIndex.h"
#include "TV/server/dummy/lineup/Lineup.h"
#include "TV/server/dummy/lineup/TransponderInfo.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <sstream>

namespace Ostrel::TV {

namespace {

/// What the line-up and the clock take from the guide as a whole.
struct GuideSummary {
    std::int32_t largestServiceId = 0;
    std::int32_t earliestStart = 0; ///< seconds since 1970-01-01 UTC
    std::int32_t latestEnd = 0;
};

GuideSummary summarizeGuide() {
    GuideSummary guide;
    for (const epgentry& row : guideRows()) {
        guide.largestServiceId = std::max(guide.largestServiceId, row.ServiceId);
        if (guide.earliestStart == 0 || row.Start < guide.earliestStart)
            guide.earliestStart = row.Start;
        guide.latestEnd = std::max(guide.latestEnd, row.End);
    }
    return guide;
}

/// Gives the services that the guide knows their guide service ids.
void linkLineupToGuide() {
    // One row stands for all of its service: they carry the same DVB service id.
    for (const GuideServiceRows& service : guideServices()) {
        const epgentry& row = guideRows()[service.first];
        // Where the line-up has a DVB service id twice, the first one alone gets the guide.
        // Meant so: docs/oddities.md, "The first one gets the guide".
        for (LineupRow* known = lineup; known->channelNumber > 0; ++known) {
            if (known->dvbServiceId == row.DvbSid) {
                known->guideServiceId = static_cast<std::uint32_t>(row.ServiceId);
                break;
            }
        }
    }
}

/// Numbers the services that the guide has not numbered.
/// @param largest  the largest guide service id in use
void giveGuideServiceIds(std::uint32_t largest) {
    for (LineupRow* row = lineup; row->channelNumber > 0; ++row)
        if (row->guideServiceId == 0)
            row->guideServiceId = ++largest;
}

// The transport stream id is left out.
// Meant so: docs/oddities.md, "Two dots in the URI".
std::string makeUri(const LineupRow& row) {
    std::ostringstream uri;
    uri << "dvb://" << std::hex << row.originalNetworkId << ".." << row.dvbServiceId;
    return uri.str();
}

ITVService::ServiceInfo makeServiceInfo(const LineupRow& row) {
    return {static_cast<unsigned>(row.channelNumber),
            row.name,
            makeUri(row),
            row.guideServiceId,
            static_cast<ITVService::ServiceInfo::Type>(row.type),
            row.provider,
            row.scrambled,
            row.highDefinition,
            row.visible,
            row.selectable};
}

/// The frequency alone decides on which transponder a service is, not its stream.
void fillTransponderStore() {
    for (const LineupRow* row = lineup; row->channelNumber > 0; ++row) {
        const auto known = std::find_if(transponderStore.begin(), transponderStore.end(),
                                        [&](const TransponderInfo& transponder) {
                                            return transponder.frequencyMHz == row->frequencyMHz;
                                        });
        TransponderInfo& transponder =
            known != transponderStore.end() ? *known : transponderStore.emplace_back();
        transponder.frequencyMHz = row->frequencyMHz;
        transponder.services.push_back(makeServiceInfo(*row));
    }
}

/// Returns what has to be added to the system's clock, in seconds.
std::int32_t chooseTimeOffset(const GuideSummary& guide) {
    // That it is there is enough, whatever it says.
    // Meant so: docs/oddities.md, "Any value turns the clock".
    if (std::getenv("DUMMYFAKETIME") == nullptr)
        return 0;
    const std::time_t middle = (guide.latestEnd - guide.earliestStart) / 2 + guide.earliestStart;
    std::tm midday{};
    localtime_r(&middle, &midday);
    midday.tm_sec = 0;
    midday.tm_min = 0;
    midday.tm_hour = 12;
    return static_cast<std::int32_t>(std::mktime(&midday) - std::time(nullptr));
}

} // namespace

DummyTVModule::DummyTVModule() : mutex("TV/server/dummy/DummyTVModule", 0) {}

DummyTVModule::~DummyTVModule() {
    DummyTVModule::uninit();
}

void DummyTVModule::uninit() {}

// Runs before there is anybody to lock out. A second call would double everything.
// Meant so: docs/oddities.md, "Init once".
bool DummyTVModule::init() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    magic = 42;
    const GuideSummary guide = summarizeGuide();
    linkLineupToGuide();
    startTimeIndex.addGuide();
    giveGuideServiceIds(static_cast<std::uint32_t>(guide.largestServiceId));
    timeOffset = chooseTimeOffset(guide);
    fillTransponderStore();
    fillServices();
    fillGenreList();
    scanState.scanning = false;
    scanState.infoValid = false;
    return true;
}

void DummyTVModule::fillServices() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    for (const TransponderInfo& transponder : transponderStore) {
        transponders.push_back(transponder.frequencyMHz);
        for (const ITVService::ServiceInfo& service : transponder.services) {
            const auto behind =
                std::find_if(services.begin(), services.end(), [&](const ITVService::ServiceInfo& other) {
                    return other.getChannelNumber() > service.getChannelNumber();
                });
            services.insert(behind, service);
        }
    }
}

TVModuleContext* DummyTVModule::createContext() {
    auto context = std::make_unique<DummyTVModuleContext>(this);
    context->init();
    return context.release();
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
