#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/GuideClock.h"
#include "clients/tool/Lineup.h"
#include "clients/tool/Output.h"
#include "clients/tool/Pager.h"
#include "clients/tool/TimeSpan.h"
#include "commandline/Moment.h"
#include "commandline/UsageError.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <memory>
#include <set>
#include <utility>

#include <unistd.h>

namespace Ostrel::Client::Tool {

namespace {

using CommandLine::Moment;
using CommandLine::UsageError;

/// More services and a time do not fit into one query, see Client::queryEvents().
constexpr std::size_t mostServicesAsked = 13;

constexpr std::size_t guideNameColumn = 1;
constexpr std::size_t guideTitleColumn = 3;
constexpr std::size_t genreColumn = 4;

struct GuideOptions {
    std::vector<std::int32_t> services;
    std::vector<std::uint32_t> channels;
    std::optional<Moment> from;
    std::optional<Moment> to;
    bool strict = false;
    std::vector<std::string> genres;
    std::vector<std::string> texts;
    bool allTexts = false;
    bool inDescription = false;
    std::vector<std::string> sort;
    std::optional<std::uint32_t> offset;
    std::optional<std::uint32_t> count;
};

std::optional<std::uint8_t> readGenreCode(const std::string& text) {
    unsigned code = 0;
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto* end = text.data() + text.size();
    const auto [stop, error] =
        std::from_chars(text.data() + (isHexadecimal ? 2 : 0), end, code, isHexadecimal ? 16 : 10);
    if (error != std::errc() || stop != end || code > 255)
        return std::nullopt;
    return static_cast<std::uint8_t>(code);
}

std::string toLower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

/// Returns the codes whose text is this one, or else those whose text it is a part of.
std::vector<std::uint32_t> findGenre(const std::vector<GenreStringMap>& genres, const std::string& wanted) {
    const auto word = toLower(wanted);
    std::vector<std::uint32_t> same;
    std::vector<std::uint32_t> similar;
    for (const auto& genre : genres) {
        const auto text = toLower(genre.text);
        if (text == word)
            same.push_back(genre.code);
        if (text.find(word) != std::string::npos)
            similar.push_back(genre.code);
    }
    if (word.empty() || similar.empty())
        throw UsageError("no genre is called \"" + wanted + "\"; ostrel-tv genres lists them");
    return same.empty() ? similar : same;
}

std::vector<std::uint32_t> findGenres(Client& client, const std::vector<std::string>& wanted) {
    std::vector<std::uint32_t> codes;
    std::vector<GenreStringMap> genres;
    for (const auto& text : wanted) {
        if (const auto code = readGenreCode(text)) {
            codes.push_back(*code);
            continue;
        }
        if (genres.empty())
            genres = client.getGenres();
        const auto found = findGenre(genres, text);
        codes.insert(codes.end(), found.begin(), found.end());
    }
    return codes;
}

bool needNow(const GuideOptions& options) {
    return (options.from && options.from->needsNow()) || (options.to && options.to->needsNow());
}

std::optional<Query::TimeRange> findTimeRange(Client& client, const GuideOptions& options) {
    if (!options.from && !options.to)
        return std::nullopt;
    const std::int64_t now = needNow(options) ? client.getUtcTime() : 0;
    Query::TimeRange range;
    range.strict = options.strict;
    if (options.from)
        range.base = options.from->getSeconds(now);
    if (options.to)
        range.limit = options.to->getSeconds(now);
    if (range.base > range.limit) {
        throw UsageError("--from " + options.from->getText() + " is later than --to " +
                         options.to->getText());
    }
    return range;
}

/// A slice of so many events. Its end is where numbers end when nothing is said about it.
std::optional<Query::SliceRange> findSlice(const GuideOptions& options) {
    if (!options.offset && !options.count)
        return std::nullopt;
    Query::SliceRange slice;
    slice.base = options.offset.value_or(0);
    if (options.count)
        slice.limit = slice.base + std::min(*options.count, slice.limit - slice.base);
    return slice;
}

Query makeQuery(Client& client, const GuideOptions& options) {
    Query query;
    query.timeRange = findTimeRange(client, options);
    query.genreList = findGenres(client, options.genres);
    query.stringList = options.texts;
    query.stringAnd = options.allTexts;
    query.stringMatchDescription = options.inDescription;
    for (std::size_t i = 0; i < options.sort.size(); ++i) {
        auto& priority =
            options.sort[i] == "service" ? query.orderByServiceIdPriority : query.orderByStartTimePriority;
        priority = static_cast<std::int32_t>(i);
    }
    query.sliceRange = findSlice(options);
    return query;
}

std::set<std::int32_t> chooseServices(const std::vector<ServiceInfo>& lineup, const GuideOptions& options) {
    std::set<std::int32_t> ids(options.services.begin(), options.services.end());
    for (const auto channel : options.channels) {
        for (const auto& service : findChannel(lineup, channel))
            ids.insert(static_cast<std::int32_t>(service.id));
    }
    return ids;
}

void dropFirst(std::vector<EventInfo>& events, std::uint32_t count) {
    events.erase(events.begin(), events.begin() + std::min<std::ptrdiff_t>(count, std::ssize(events)));
}

/// Asks for the events of all services and keeps those of some.
std::vector<EventInfo> findAmongAll(Client& client, Query query, const std::set<std::int32_t>& ids) {
    const auto slice = query.sliceRange.value_or(Query::SliceRange());
    query.sliceRange.reset();
    auto events = client.queryEvents(query);
    std::erase_if(events, [&](const EventInfo& event) {
        return ids.count(static_cast<std::int32_t>(event.serviceId)) == 0;
    });
    if (slice.limit < events.size())
        events.resize(slice.limit);
    dropFirst(events, slice.base);
    return events;
}

std::vector<EventInfo> findEvents(Client& client, Query query, const std::set<std::int32_t>& ids) {
    if (ids.size() > mostServicesAsked)
        return findAmongAll(client, std::move(query), ids);
    query.serviceIdList.assign(ids.begin(), ids.end());
    // Once it has sorted, the service answers a slice past the end with all that there is:
    // docs/oddities.md, "Two ways to slice".
    const bool isSorted = query.orderByServiceIdPriority >= 0;
    const auto dropped = isSorted && query.sliceRange ? std::exchange(query.sliceRange->base, 0) : 0;
    auto events = client.queryEvents(query);
    dropFirst(events, dropped);
    return events;
}

std::string describeGenres(const EventInfo& event, const std::vector<GenreStringMap>& genres) {
    std::string text;
    for (const auto code : event.genres) {
        const auto genre = std::find_if(genres.begin(), genres.end(),
                                        [&](const GenreStringMap& each) { return each.code == code; });
        if (genre != genres.end())
            text.append(text.empty() ? "" : ", ").append(genre->text);
    }
    return text;
}

std::string formatTable(const std::vector<EventInfo>& events, const std::vector<ServiceInfo>& lineup,
                        const std::vector<GenreStringMap>& genres) {
    Table table({{"No.", Table::Align::Right}, {"Name"}, {"Time"}, {"Title"}, {"Genre"}});
    for (const auto& event : events) {
        const auto service = std::find_if(lineup.begin(), lineup.end(), [&](const ServiceInfo& each) {
            return each.id == event.serviceId;
        });
        const bool isKnown = service != lineup.end();
        table.add({isKnown ? std::to_string(service->channelNumber) : "",
                   isKnown ? service->name : "service " + std::to_string(event.serviceId),
                   formatDayAndSpan(event), event.title, describeGenres(event, genres)});
    }
    if (::isatty(STDOUT_FILENO) != 0) {
        table.fit(genreColumn, getTerminalWidth());
        table.fit(guideTitleColumn, getTerminalWidth());
        table.fit(guideNameColumn, getTerminalWidth());
    }
    return table.format();
}

void showGuide(Session& session, const GuideOptions& options) {
    auto& client = session.getClient();
    const bool needsLineup = !session.json || !options.channels.empty();
    const auto lineup = needsLineup ? readLineup(client) : std::vector<ServiceInfo>();
    const auto events = findEvents(client, makeQuery(client, options), chooseServices(lineup, options));
    if (session.json) {
        printJson(encode(events));
        return;
    }
    if (!events.empty()) {
        page(formatTable(events, lineup, client.getGenres()));
        return;
    }
    print("The guide has no such event.\n" +
          (needNow(options) ? describeFarClock(client, client.getUtcTime()) : std::string()));
}

/// Refuses what no service need be asked about.
void checkOptions(const GuideOptions& options) {
    if (options.strict && !options.from && !options.to)
        throw UsageError("--strict goes with --from or --to");
}

/// Reads "service", "start", or both in either order.
CommandLine::Reader sortKeys(std::vector<std::string>& keys) {
    return [&keys](const std::string& given) {
        const auto comma = given.find(',');
        keys = {given.substr(0, comma)};
        if (comma != std::string::npos)
            keys.push_back(given.substr(comma + 1));
    };
}

CommandLine::Reader moment(std::optional<Moment>& place) {
    return [&place](const std::string& given) { place.emplace(given); };
}

std::vector<Option> makeFilters(GuideOptions& options) {
    return {{.name = "--service",
             .value = "ID",
             .description = "Only the service with this guide id; may be given again",
             .read = wholeNumber(options.services, 0, std::numeric_limits<std::int32_t>::max()),
             .mayRepeat = true},
            {.name = "--channel",
             .value = "N",
             .description = "Only the service with this channel number, likewise",
             .read = wholeNumber(options.channels),
             .mayRepeat = true},
            {.name = "--from",
             .value = "TIME",
             .description = "Only what is on after this time",
             .read = moment(options.from)},
            {.name = "--to",
             .value = "TIME",
             .description = "Only what begins before this time",
             .read = moment(options.to)},
            {.name = "--strict",
             .description = "Only what begins and ends between these times",
             .read = CommandLine::flag(options.strict)},
            {.name = "--genre",
             .value = "GENRE",
             .description = "Only this genre, by its code or its text or a part of it; may be given again",
             .read = text(options.genres),
             .mayRepeat = true},
            {.name = "--text",
             .value = "TEXT",
             .description = "Only with this text in the title, letter by letter; when given again, with one "
                            "of them",
             .read = utf8(options.texts),
             .mayRepeat = true},
            {.name = "--all-texts",
             .description = "Only with all these texts",
             .read = CommandLine::flag(options.allTexts),
             .needs = {"--text"}},
            {.name = "--in-description",
             .description = "Look for the texts in the description too",
             .read = CommandLine::flag(options.inDescription),
             .needs = {"--text"}},
            {.name = "--sort",
             .value = "KEY[,KEY]",
             .description = "Sort by service, start, or both in either order",
             .read = sortKeys(options.sort),
             .standard = "start",
             .choices = {"service", "start", "service,start", "start,service"}},
            {.name = "--offset",
             .value = "N",
             .description = "Leave out so many of the events found",
             .read = wholeNumber(options.offset)},
            {.name = "--count,--limit",
             .value = "N",
             .description = "Show at most so many events",
             .read = wholeNumber(options.count, 1)}};
}

} // namespace

Command makeGuide(Session& session) {
    const auto options = std::make_shared<GuideOptions>();
    return {.name = "guide",
            .description = "Find events in the guide",
            .notes = "TIME is 2011-10-12, 2011-10-12T20:00 (local; Z or +01:00 behind it for another zone), "
                     "@1318449600 (seconds since 1970), now, or +2h, -30m, +1d12h from now on. Now is what "
                     "the service's clock says. +1 behind a time is the day after.\n"
                     "\n"
                     "On a terminal a list that is longer than the screen goes through $PAGER.",
            .examples = {"ostrel-tv guide --channel 1 --from now --to +6h",
                         "ostrel-tv guide --genre comedy --from now --to +1d --sort service,start",
                         "ostrel-tv guide --text News --text Weather --all-texts --in-description",
                         "ostrel-tv guide --service 1043 --json | jq -r '.[].title'"},
            .options = makeFilters(*options),
            .run = [&session, options] {
                checkOptions(*options);
                showGuide(session, *options);
            }};
}

} // namespace Ostrel::Client::Tool
