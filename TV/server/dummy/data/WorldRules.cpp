#include "TV/server/dummy/data/WorldRules.h"

#include "TV/server/dummy/data/ViewerText.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <set>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Ostrel::TV {

namespace {

constexpr std::uint32_t highestNumber = 0x7FFFFFFF; ///< that the text files can say
constexpr std::uint32_t highestDvbId = 0xFFFF;
constexpr std::int32_t noContent = -1, highestContent = 0xFFFF;
constexpr std::uint32_t highestCridType = 3;
constexpr std::uint32_t highestFrequency = 999;
constexpr std::int32_t highestChannelNumber = 9999;
constexpr std::uint32_t highestType = 3;
constexpr std::int32_t longestOffset = 86400;

bool isDvbId(std::uint32_t id) {
    return id >= 1 && id <= highestDvbId;
}

std::string among(const char* what, long long least, long long most) {
    return std::string(what) + " is not a number from " + std::to_string(least) + " to " +
           std::to_string(most);
}

/// Judges a world once.
class Judge {
public:
    Judge(const World& world, const WorldPlaces& places, WorldProblems& problems)
        : world_(world), places_(places), problems_(problems) {}

    void checkAll() {
        checkDescription();
        checkLineup();
        checkTexts();
        for (std::size_t i = 0; i != world_.rows.size(); ++i)
            checkRow(i);
        checkServices();
        checkProgrammes();
        checkLinks();
        checkStartOrder();
    }

private:
    void blameRow(std::size_t row, std::string reason) {
        problems_.add([&] { return places_.row(row); }, std::move(reason));
    }
    void blameLineup(std::size_t row, std::string reason) {
        problems_.add([&] { return places_.lineup(row); }, std::move(reason));
    }
    void blameWorld(std::string reason) { problems_.add(places_.world, std::move(reason)); }

    void checkDescription();
    void checkLineup();
    void checkLineupRow(std::size_t index);
    void checkTexts();
    void checkRow(std::size_t index);
    void checkCrids(std::size_t index);
    void checkServices();
    void checkServiceRows(const GuideServiceRows& service);
    void checkTimes(const GuideServiceRows& service);
    void checkProgrammes();
    void checkLinks();
    void checkStartOrder();

    const World& world_;
    const WorldPlaces& places_;
    WorldProblems& problems_;
    bool textsAreGood_ = true; ///< all of them, so that none need be looked at again
    std::vector<std::uint32_t> byProgramme_; ///< the rows in the order of their ProgIds; empty when they are
};

void Judge::checkDescription() {
    const auto isNameCharacter = [](char c) { return c > ' ' && c < '\x7F'; };
    if (world_.name.empty())
        blameWorld("the world has no name");
    if (const char* const fault = findTextFault(world_.name))
        blameWorld(fault);
    if (world_.timeZone.empty() ||
        !std::all_of(world_.timeZone.begin(), world_.timeZone.end(), isNameCharacter))
        blameWorld("the time zone has no name like Europe/London");
    const auto& offsets = world_.zoneOffsets;
    if (offsets.empty() || std::adjacent_find(offsets.begin(), offsets.end(), [](auto& a, auto& b) {
                               return a.from >= b.from;
                           }) != offsets.end())
        blameWorld("the offsets of the time zone are not in the order of time");
    if (std::any_of(offsets.begin(), offsets.end(), [](const ZoneOffset& offset) {
            return offset.seconds < -longestOffset || offset.seconds > longestOffset;
        }))
        blameWorld("the time zone is more than a day from UTC");
}

void Judge::checkLineup() {
    if (world_.lineup.empty())
        blameLineup(0, "there is no service in the line-up");
    std::set<std::int32_t> channelNumbers;
    std::set<std::uint32_t> dvbIds;
    for (std::size_t i = 0; i != world_.lineup.size(); ++i) {
        const LineupRow& row = world_.lineup[i];
        checkLineupRow(i);
        if (!channelNumbers.insert(row.channelNumber).second)
            blameLineup(i, "channel number " + std::to_string(row.channelNumber) + " is taken");
        if (!dvbIds.insert(row.dvbServiceId).second)
            blameLineup(i, "service " + std::to_string(row.dvbServiceId) + " is taken");
    }
}

void Judge::checkLineupRow(std::size_t index) {
    const LineupRow& row = world_.lineup[index];
    const auto check = [&](bool isGood, const char* what, long long most) {
        if (!isGood)
            blameLineup(index, among(what, 1, most));
    };
    check(row.frequencyMHz >= 1 && row.frequencyMHz <= highestFrequency, "the frequency", highestFrequency);
    check(row.channelNumber >= 1 && row.channelNumber <= highestChannelNumber, "the channel number",
          highestChannelNumber);
    check(row.type >= 1 && row.type <= highestType, "the type", highestType);
    check(isDvbId(row.originalNetworkId), "the network", highestDvbId);
    check(isDvbId(row.transportStreamId), "the stream", highestDvbId);
    check(isDvbId(row.dvbServiceId), "the service", highestDvbId);
    if (row.guideServiceId != 0)
        blameLineup(index, "a line-up does not know guide service ids");
    if (row.name.offset == 0 || *world_.text(row.name) == '\0')
        blameLineup(index, "the service has no name");
    for (const PoolText text : {row.name, row.provider}) {
        const std::string_view read = text.offset == 0 ? std::string_view() : world_.text(text);
        if (const char* const fault = findTextFault(read))
            blameLineup(index, fault);
        if (read.find('|') != std::string_view::npos)
            blameLineup(index, "a name holds a bar, which separates the fields of lineup.txt");
    }
}

/// All texts are looked through as they stand; those of the rows are looked at one by one only when
/// there is something to find.
void Judge::checkTexts() {
    for (std::size_t at = 0; at < world_.texts.size() && textsAreGood_;) {
        const std::string_view text = world_.texts.data() + at;
        textsAreGood_ = findTextFault(text) == nullptr;
        at += text.size() + 1;
    }
}

void Judge::checkRow(std::size_t index) {
    const epgentry& row = world_.rows[index];
    if (row.Start < 1 || row.Start >= row.End)
        blameRow(index, row.Start < 1 ? "does not start behind 1970-01-01T00:00:00Z"
                                      : "ends before it has lasted a second");
    if (row.ProgId < 1 || row.ProgId > highestNumber)
        blameRow(index, among("the programme", 1, highestNumber));
    if (row.Content < noContent || row.Content > highestContent)
        blameRow(index, among("the content code", 0, highestContent));
    if (row.CridImi > highestNumber || row.ScheduleVersion > highestNumber ||
        row.ServicePosition > highestNumber)
        blameRow(index, among("the imi, the version or the place", 0, highestNumber));
    checkCrids(index);
    if (textsAreGood_)
        return;
    for (const PoolText text : {row.Title, row.Description, row.Guidance}) {
        const std::string_view read = text.offset == 0 ? std::string_view() : world_.text(text);
        if (const char* const fault = findTextFault(read))
            blameRow(index, fault);
    }
}

void Judge::checkCrids(std::size_t index) {
    const epgentry& row = world_.rows[index];
    if (row.CridCount > std::size(row.Crids))
        return blameRow(index, "an event has at most " + std::to_string(std::size(row.Crids)) + " crids");
    for (const epgentry::Crid& crid : std::span(row.Crids).first(row.CridCount)) {
        const char* const text = world_.text(crid.CridData);
        if (const char* const fault = findCridFault(text == nullptr ? "" : text))
            blameRow(index, fault);
        if (crid.CridType < 1 || crid.CridType > highestCridType)
            blameRow(index, "a crid's type is 1, 2 or 3");
    }
}

void Judge::checkServices() {
    std::unordered_map<std::uint32_t, std::int32_t> dvbIds;
    std::size_t next = 0;
    std::int32_t before = 0;
    for (const GuideServiceRows& service : world_.services) {
        if (service.first != next || service.count == 0 || service.count > world_.rows.size() - next)
            return blameWorld("the services are not where the table of services says");
        if (service.serviceId <= before)
            blameRow(service.first, "the services are not in the order of their ids, from 1");
        before = service.serviceId;
        next += service.count;
        checkServiceRows(service);
        checkTimes(service);
        // The line-up finds its guide by this identifier alone.
        const epgentry& row = world_.rows[service.first];
        const auto [other, isNew] = dvbIds.emplace(row.DvbSid, service.serviceId);
        if (!isNew)
            blameRow(service.first, "service " + std::to_string(other->second) +
                                        " has the same DVB service id, " + std::to_string(row.DvbSid));
    }
    if (next != world_.rows.size())
        blameWorld("the services are not where the table of services says");
}

void Judge::checkServiceRows(const GuideServiceRows& service) {
    const auto rows = world_.rows.subspan(service.first, service.count);
    const epgentry& first = rows.front();
    if (!isDvbId(first.DvbOid) || !isDvbId(first.DvbTid) || !isDvbId(first.DvbSid))
        blameRow(service.first, among("one of the service's DVB identifiers", 1, highestDvbId));
    for (std::size_t i = 0; i != rows.size(); ++i) {
        const epgentry& row = rows[i];
        if (row.ServiceId != service.serviceId)
            blameRow(service.first + i,
                     "stands among the rows of service " + std::to_string(service.serviceId));
        if (row.DvbOid != first.DvbOid || row.DvbTid != first.DvbTid || row.DvbSid != first.DvbSid ||
            row.ServicePosition != first.ServicePosition)
            blameRow(service.first + i, "has other DVB identifiers or another place than its service");
        if (i != 0 && row.ProgId < rows[i - 1].ProgId)
            blameRow(service.first + i, "the rows of a service are not in the order of their programmes");
    }
}

/// No two events of a service are on at once.
void Judge::checkTimes(const GuideServiceRows& service) {
    std::vector<std::uint32_t> order(service.count);
    std::iota(order.begin(), order.end(), service.first);
    const auto startOf = [&](std::uint32_t row) { return world_.rows[row].Start; };
    if (!std::ranges::is_sorted(order, {}, startOf))
        std::ranges::stable_sort(order, {}, startOf);
    for (std::size_t i = 1; i != order.size(); ++i) {
        const epgentry &before = world_.rows[order[i - 1]], &row = world_.rows[order[i]];
        if (row.Start < before.End)
            blameRow(order[i], "starts before the event in front of it has ended, programme " +
                                   std::to_string(before.ProgId));
    }
}

void Judge::checkProgrammes() {
    const auto programmeOf = [&](std::uint32_t row) { return world_.rows[row].ProgId; };
    std::vector<std::uint32_t> order(world_.rows.size());
    std::iota(order.begin(), order.end(), 0u);
    if (!std::ranges::is_sorted(order, {}, programmeOf))
        std::ranges::stable_sort(order, {}, programmeOf);
    for (std::size_t i = 1; i < order.size(); ++i)
        if (programmeOf(order[i]) == programmeOf(order[i - 1]))
            blameRow(order[i], "programme " + std::to_string(programmeOf(order[i])) +
                                   " comes twice, before on service " +
                                   std::to_string(world_.rows[order[i - 1]].ServiceId));
    byProgramme_ = std::move(order);
}

void Judge::checkLinks() {
    const auto programmeOf = [&](std::uint32_t row) { return world_.rows[row].ProgId; };
    for (std::size_t i = 0; i != world_.rows.size(); ++i) {
        const epgentry& row = world_.rows[i];
        for (const std::uint32_t link : {row.LinkedHdProgs, row.LinkedHdSimulcastProgs}) {
            if (link == 0)
                continue;
            const auto twin = std::ranges::lower_bound(byProgramme_, link, {}, programmeOf);
            if (twin == byProgramme_.end() || programmeOf(*twin) != link || !world_.rows[*twin].IsHd ||
                world_.rows[*twin].ServiceId == row.ServiceId) {
                blameRow(i, "hd-event " + std::to_string(link) + " is not an HD event of another service");
                break;
            }
        }
    }
}

void Judge::checkStartOrder() {
    const auto& order = world_.startOrder;
    const auto isBefore = [&](std::uint32_t a, std::uint32_t b) {
        return std::pair(world_.rows[a].Start, a) < std::pair(world_.rows[b].Start, b);
    };
    bool isGood = order.size() == world_.rows.size();
    // Each is behind the one before it, so that none comes twice and none is missing.
    for (std::size_t i = 0; i != order.size() && isGood; ++i)
        isGood = order[i] < world_.rows.size() && (i == 0 || isBefore(order[i - 1], order[i]));
    if (!isGood)
        blameWorld("the order of starts is not the order of the events' starts");
}

} // namespace

WorldPlaces WorldPlaces::names(const World& world) {
    return {.row =
                [&world](std::size_t index) {
                    return "event " + std::to_string(world.rows[index].ProgId) + " of service " +
                           std::to_string(world.rows[index].ServiceId);
                },
            .lineup =
                [&world](std::size_t index) {
                    return index < world.lineup.size()
                               ? "channel " + std::to_string(world.lineup[index].channelNumber)
                               : "line-up";
                },
            .world = "world"};
}

void checkWorld(const World& world, const WorldPlaces& places, WorldProblems& problems) {
    Judge(world, places, problems).checkAll();
}

} // namespace Ostrel::TV
