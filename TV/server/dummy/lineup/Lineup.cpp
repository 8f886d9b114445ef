#include "TV/server/dummy/lineup/Lineup.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>

namespace Ostrel::TV {

namespace {

// The transport stream id is left out.
// Meant so: docs/oddities.md, "Two dots in the URI".
std::string makeUri(const LineupRow& row) {
    std::string uri = "dvb://";
    const auto addHex = [&](std::uint32_t number) {
        char digits[8];
        uri.append(digits, std::to_chars(std::begin(digits), std::end(digits), number, 16).ptr);
    };
    addHex(row.originalNetworkId);
    uri += "..";
    addHex(row.dvbServiceId);
    return uri;
}

ITVService::ServiceInfo makeServiceInfo(const LineupRow& row) {
    const char* const name = row.name;
    const char* const provider = row.provider;
    return {static_cast<unsigned>(row.channelNumber),
            name,
            makeUri(row),
            row.guideServiceId,
            static_cast<ITVService::ServiceInfo::Type>(row.type),
            provider ? provider : "",
            row.scrambled,
            row.highDefinition,
            row.visible,
            row.selectable};
}

auto hasFrequency(std::uint32_t frequencyMHz) {
    return [=](const TransponderInfo& transponder) { return transponder.frequencyMHz == frequencyMHz; };
}

Lineup theLineup;

} // namespace

Lineup& sharedLineup() {
    return theLineup;
}

void Lineup::load(std::span<const LineupRow> rows, std::span<const GuideLink> guide) {
    rows_.assign(rows.begin(), rows.end());
    linkToGuide(guide);
    std::uint32_t largest = 0;
    for (const GuideLink& link : guide)
        largest = std::max(largest, link.guideServiceId);
    numberTheRest(largest);
    fillTransponders();
}

void Lineup::linkToGuide(std::span<const GuideLink> guide) {
    for (const GuideLink& link : guide) {
        // Where the line-up has a DVB service id twice, the first one alone gets the guide.
        // Meant so: docs/oddities.md, "The first one gets the guide".
        const auto known = std::find_if(rows_.begin(), rows_.end(), [&](const LineupRow& row) {
            return row.dvbServiceId == link.dvbServiceId;
        });
        if (known != rows_.end())
            known->guideServiceId = link.guideServiceId;
    }
}

void Lineup::numberTheRest(std::uint32_t largest) {
    for (LineupRow& row : rows_)
        if (row.guideServiceId == 0)
            row.guideServiceId = ++largest;
}

/// The frequency alone decides on which transponder a service is, not its stream.
void Lineup::fillTransponders() {
    for (const LineupRow& row : rows_) {
        const auto known =
            std::find_if(transponders_.begin(), transponders_.end(), hasFrequency(row.frequencyMHz));
        TransponderInfo& transponder = known != transponders_.end() ? *known : transponders_.emplace_back();
        transponder.frequencyMHz = row.frequencyMHz;
        transponder.services.push_back(makeServiceInfo(row));
    }
}

const TransponderInfo* Lineup::findTransponder(std::uint32_t frequencyMHz) const {
    const auto found = std::find_if(transponders_.begin(), transponders_.end(), hasFrequency(frequencyMHz));
    return found != transponders_.end() ? &*found : nullptr;
}

} // namespace Ostrel::TV
