#include "TV/server/dummy/world/ZoneClock.h"
#include "commandline/Output.h"
#include "commandline/Table.h"
#include "commandline/Text.h"
#include "commandline/Values.h"
#include "world/Commands.h"
#include "world/Figures.h"
#include "world/WorldInput.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

namespace Ostrel::TV::Tool {

namespace {

using CommandLine::printable;
using CommandLine::Table;

struct Settings {
    std::string path;
    bool services = false, days = false, json = false;
};

/// "2011-10-12", or with a time "2011-10-12 23:35".
std::string formatTime(std::int64_t seconds, bool withTime = true) {
    using namespace std::chrono;
    const sys_seconds time{std::chrono::seconds{seconds}};
    const auto day = floor<days>(time);
    const year_month_day date{day};
    const hh_mm_ss clock{time - day};
    char text[48];
    const int size = std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(date.year()),
                                   static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    std::string formatted(text, static_cast<std::size_t>(size));
    if (withTime) {
        std::snprintf(text, sizeof text, " %02d:%02d", static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()));
        formatted += text;
    }
    return formatted;
}

std::string weekday(std::int64_t seconds) {
    using namespace std::chrono;
    constexpr const char* names[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    return names[std::chrono::weekday(floor<days>(sys_seconds{std::chrono::seconds{seconds}})).c_encoding()];
}

/// "11,658".
std::string group(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, ",");
    return digits;
}

std::string formatLength(std::int32_t seconds) {
    if (seconds < 60)
        return std::to_string(seconds) + " s";
    const int minutes = seconds / 60;
    return minutes < 60 ? std::to_string(minutes) + " min"
                        : std::to_string(minutes / 60) + " h" +
                              (minutes % 60 != 0 ? " " + std::to_string(minutes % 60) + " min" : "");
}

const char* kindOf(const Figures::Service& service) {
    if (service.lineup == nullptr)
        return "";
    return service.lineup->type == 1 ? "tv" : service.lineup->type == 2 ? "radio" : "data";
}

std::string describeWorld(const World& world, const Figures& figures) {
    const ZoneClock clock(world.zoneOffsets);
    std::vector<std::pair<std::string, std::string>> lines{
        {"World", std::string(world.name)},
        {"Time zone", std::string(world.timeZone)},
        {"Line-up", group(world.lineup.size()) + " services: " + group(figures.television) + " tv, " +
                        group(figures.radio) + " radio, " + group(figures.data) + " data"},
        {"Frequencies", figures.frequencies.empty()
                            ? "none"
                            : group(figures.frequencies.size()) + ", from " +
                                  std::to_string(figures.frequencies.front()) + " to " +
                                  std::to_string(figures.frequencies.back()) + " MHz"},
        {"Guide", group(world.rows.size()) + " events of " + group(world.services.size()) + " services"}};
    if (!world.rows.empty()) {
        const auto span = [](std::int64_t first, std::int64_t last) {
            return formatTime(first) + " to " + formatTime(last);
        };
        lines.insert(
            lines.end(),
            {{"From, to", span(clock.toLocal(figures.firstStart), clock.toLocal(figures.lastEnd)) + " there"},
             {"", span(figures.firstStart, figures.lastEnd) + " UTC"},
             {"Events", "from " + formatLength(figures.shortestEvent) + " to " +
                            formatLength(figures.longestEvent) + "; " + group(figures.gaps) + " gaps"},
             {"In HD", group(figures.highDefinition) + " events; " + group(figures.links) +
                           " others have a link to theirs"},
             {"Titles", "up to " + group(figures.texts.longestTitle) + " bytes; " +
                            "none: " + group(figures.texts.withoutTitle)},
             {"Synopses", "up to " + group(figures.texts.longestSynopsis) + " bytes; " +
                              "none: " + group(figures.texts.withoutSynopsis)}});
        std::string scripts;
        for (const auto& script : figures.scripts)
            scripts += (scripts.empty() ? "" : ", ") + std::string(script.name) + " " + group(script.events);
        lines.emplace_back("Scripts", scripts);
    }
    std::string text;
    for (const auto& [name, value] : lines)
        text += name + std::string(13 - name.size(), ' ') + printable(value) + "\n";
    return text;
}

std::string listServices(const World& world, const Figures& figures) {
    const ZoneClock clock(world.zoneOffsets);
    using Align = Table::Align;
    Table table({{"Channel", Align::Right},
                 {"Service"},
                 {"Kind"},
                 {"MHz", Align::Right},
                 {"Guide", Align::Right},
                 {"Events", Align::Right},
                 {"From"},
                 {"To"}});
    for (const auto& service : figures.services) {
        const bool hasGuide = service.guideId != 0;
        const auto time = [&](std::int32_t utc) { return hasGuide ? formatTime(clock.toLocal(utc)) : ""; };
        table.add({service.lineup ? std::to_string(service.lineup->channelNumber) : "-", service.name,
                   kindOf(service), service.lineup ? std::to_string(service.lineup->frequencyMHz) : "-",
                   hasGuide ? std::to_string(service.guideId) : "-", group(service.events),
                   time(service.firstStart), time(service.lastEnd)});
    }
    constexpr std::size_t nameColumn = 1;
    if (::isatty(STDOUT_FILENO) != 0)
        table.fit(nameColumn, CommandLine::getTerminalWidth());
    return table.format();
}

std::string listDays(const Figures& figures) {
    using Align = Table::Align;
    Table table({{"Day"}, {""}, {"Events", Align::Right}, {"Services", Align::Right}});
    for (const auto& day : figures.days)
        table.add({formatTime(day.start, false), weekday(day.start), group(day.events), group(day.services)});
    return table.format();
}

boost::json::array toJson(const std::vector<Figures::Service>& services) {
    boost::json::array list;
    for (const auto& service : services) {
        boost::json::object each{{"name", service.name}, {"events", service.events}};
        if (const LineupRow* const row = service.lineup) {
            each["channelNumber"] = row->channelNumber;
            each["type"] = kindOf(service);
            each["frequencyMHz"] = row->frequencyMHz;
            each["network"] = row->originalNetworkId;
            each["stream"] = row->transportStreamId;
            each["dvbService"] = row->dvbServiceId;
        }
        if (service.guideId != 0) {
            each["guideId"] = service.guideId;
            each["firstStart"] = service.firstStart;
            each["lastEnd"] = service.lastEnd;
            each["secondsOnAir"] = service.secondsOnAir;
        }
        list.push_back(std::move(each));
    }
    return list;
}

std::string toJson(const World& world, const Figures& figures) {
    boost::json::array days;
    for (const auto& day : figures.days)
        days.push_back(boost::json::object{
            {"date", formatTime(day.start, false)}, {"events", day.events}, {"services", day.services}});
    boost::json::object scripts;
    for (const auto& script : figures.scripts)
        scripts[script.name] = script.events;
    return boost::json::serialize(boost::json::object{{"name", std::string_view(world.name)},
                                                      {"zone", std::string_view(world.timeZone)},
                                                      {"builtIn", world.builtIn},
                                                      {"events", world.rows.size()},
                                                      {"firstStart", figures.firstStart},
                                                      {"lastEnd", figures.lastEnd},
                                                      {"shortestEvent", figures.shortestEvent},
                                                      {"longestEvent", figures.longestEvent},
                                                      {"gaps", figures.gaps},
                                                      {"highDefinition", figures.highDefinition},
                                                      {"links", figures.links},
                                                      {"longestTitle", figures.texts.longestTitle},
                                                      {"longestSynopsis", figures.texts.longestSynopsis},
                                                      {"withoutTitle", figures.texts.withoutTitle},
                                                      {"withoutSynopsis", figures.texts.withoutSynopsis},
                                                      {"scripts", std::move(scripts)},
                                                      {"days", std::move(days)},
                                                      {"services", toJson(figures.services)}});
}

void show(const Settings& settings) {
    const WorldInput input(settings.path);
    const World& world = input.world();
    const Figures figures(world);
    if (settings.json)
        return CommandLine::print(toJson(world, figures) + "\n");
    if (settings.services)
        return CommandLine::print(listServices(world, figures));
    CommandLine::print(settings.days ? listDays(figures) : describeWorld(world, figures));
}

} // namespace

Command makeShow() {
    using namespace CommandLine;
    const auto settings = std::make_shared<Settings>();
    return {.name = "show",
            .description = "Tell what a world is made of",
            .notes =
                "Without an option: its name and zone, its line-up, when its guide begins and ends, how long "
                "its events and texts are, and in which scripts they are written. Local times are those of "
                "the world's own zone. What breaks a rule is told as by ostrel-world check.",
            .examples = {"ostrel-world show", "ostrel-world show my-world --services",
                         "ostrel-world show my.world --json | jq '.services[] | select(.events == 0).name'"},
            .options = {{.name = "WORLD",
                         .description =
                             "A folder of text files or a compiled file; the built-in world without it",
                         .read = text(settings->path),
                         .isFile = true},
                        {.name = "--services",
                         .description = "List its services",
                         .read = flag(settings->services),
                         .excludes = {"--days", "--json"}},
                        {.name = "--days",
                         .description = "List its days, by the clocks of its zone",
                         .read = flag(settings->days),
                         .excludes = {"--json"}},
                        {.name = "--json",
                         .description =
                             "Print all of that as JSON for a script; times are seconds since 1970-01-01 UTC",
                         .read = flag(settings->json)}},
            .run = [settings] { show(*settings); }};
}

} // namespace Ostrel::TV::Tool
