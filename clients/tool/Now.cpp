#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/GuideClock.h"
#include "clients/tool/Lineup.h"
#include "clients/tool/Output.h"
#include "clients/tool/TimeSpan.h"

#include <limits>
#include <memory>

#include <unistd.h>

namespace Ostrel::Client::Tool {

namespace {

constexpr std::size_t firstPage = 20; // services that a terminal shows at once
constexpr std::size_t nowNameColumn = 1;
constexpr std::size_t nowTitleColumn = 3;

struct NowOptions {
    std::optional<std::uint32_t> channel;
    bool all = false;
};

/// A service and what it shows: the event on air and, where it follows at once, the next one.
struct Showing {
    ServiceInfo service;
    std::vector<EventInfo> events;
};

std::vector<ServiceInfo> chooseServices(const std::vector<ServiceInfo>& lineup, const NowOptions& options) {
    if (options.channel)
        return findChannel(lineup, *options.channel);
    if (options.all)
        return lineup;
    std::vector<ServiceInfo> listed;
    std::copy_if(lineup.begin(), lineup.end(), std::back_inserter(listed),
                 [](const ServiceInfo& service) { return service.visible; });
    return listed;
}

/// Leaves out services with nothing on air.
std::vector<Showing> findShowings(Client& client, const NowOptions& options) {
    const auto most = options.channel || options.all ? std::numeric_limits<std::size_t>::max() : firstPage;
    std::vector<Showing> showings;
    for (const auto& service : chooseServices(readLineup(client), options)) {
        if (showings.size() == most)
            break;
        if (auto events = client.getNowNext(service.id); !events.empty())
            showings.push_back({service, std::move(events)});
    }
    return showings;
}

std::string formatTable(const std::vector<Showing>& showings, std::int64_t now) {
    Table table({{"No.", Table::Align::Right}, {"Name"}, {"Time"}, {"Title"}, {"Left"}});
    for (const auto& [service, events] : showings) {
        table.add({std::to_string(service.channelNumber), service.name, formatSpan(events[0]),
                   events[0].title, formatTimeLeft(events[0], now)});
        if (events.size() > 1)
            table.add({"", "", formatSpan(events[1]), events[1].title, ""});
    }
    if (::isatty(STDOUT_FILENO) != 0) {
        table.fit(nowTitleColumn, getTerminalWidth());
        table.fit(nowNameColumn, getTerminalWidth());
    }
    return table.format();
}

std::string showingToJson(const Showing& showing) {
    return R"({"service":)" + encode(showing.service) + R"(,"now":)" + encode(showing.events[0]) +
           R"(,"next":)" + (showing.events.size() > 1 ? encode(showing.events[1]) : "null") + "}";
}

std::string describeSilence(Client& client, const NowOptions& options, std::int64_t now) {
    if (readLineup(client).empty())
        return asSentence(emptyLineup);
    const auto time = static_cast<std::time_t>(now);
    std::tm local{};
    localtime_r(&time, &local);
    return "The guide has nothing for " + formatTime("%Y-%m-%d %H:%M", local) + ", the service's time" +
           (options.channel ? ", on channel " + std::to_string(*options.channel) : "") + ".\n" +
           describeFarClock(client, now);
}

std::string describeRest(const std::vector<Showing>& showings, const NowOptions& options) {
    if (options.all || options.channel || showings.size() < firstPage)
        return "";
    return "These are the first " + std::to_string(firstPage) +
           "; ostrel-tv now --all shows every service.\n";
}

void showNow(Session& session, const NowOptions& options) {
    auto& client = session.getClient();
    const auto showings = findShowings(client, options);
    if (session.json) {
        std::string list;
        for (const auto& showing : showings)
            list.append(list.empty() ? "" : ",").append(showingToJson(showing));
        printJson("[" + list + "]");
        return;
    }
    const auto now = client.getUtcTime();
    print(showings.empty() ? describeSilence(client, options, now)
                           : formatTable(showings, now) + describeRest(showings, options));
}

} // namespace

Command makeNow(Session& session) {
    const auto options = std::make_shared<NowOptions>();
    return {.name = "now",
            .description = "Show what is on, and what comes next",
            .notes =
                "Without a channel the first 20 services with something on air. Times are local; the bar "
                "fills as time passes, and what is left of it stands behind.",
            .examples = {"ostrel-tv now", "ostrel-tv now 4",
                         "ostrel-tv now --all --json | jq -r '.[] | .service.name + \": \" + .now.title'"},
            .options = {{.name = "CHANNEL",
                         .description = "Only the service with this channel number",
                         .read = wholeNumber(options->channel)},
                        {.name = "--all",
                         .description = "Show every service, also those that channel lists leave out",
                         .read = CommandLine::flag(options->all),
                         .excludes = {"CHANNEL"}}},
            .run = [&session, options] { showNow(session, *options); }};
}

} // namespace Ostrel::Client::Tool
