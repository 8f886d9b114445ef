#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Lineup.h"
#include "clients/tool/Output.h"
#include "clients/tool/Pager.h"

#include <limits>
#include <memory>
#include <stdexcept>

#include <unistd.h>

namespace Ostrel::Client::Tool {

namespace {

constexpr std::size_t nameColumn = 1;
constexpr std::size_t providerColumn = 5;

struct ServicesOptions {
    std::string list = "all";
    std::optional<std::int32_t> from;
    std::optional<std::uint32_t> limit;
    std::optional<std::uint32_t> channel;
    std::optional<std::string> uri;
};

std::string describeEmptyList(const std::string& list) {
    return list == "new" ? "no scan has found a new service; ostrel-tv scan blind starts one" : emptyLineup;
}

/// Says why there is nothing to show. A seek accepts the place behind the last service, so a list
/// may be read from there and yet be full.
std::string describeNothing(const ServicesOptions& options) {
    if (options.from.value_or(0) > 0)
        return "the list ends at position " + std::to_string(*options.from - 1);
    return describeEmptyList(options.list);
}

constexpr std::int64_t invalidParameter = 1; // the return code for what is not in the list

/// Makes a refusal say what was looked for, and whether there is anything at all.
template <class Seek>
void seekOrExplain(Client& client, const ServicesOptions& options, const std::string& what, Seek seek) {
    try {
        seek();
    } catch (const ServiceError& error) {
        if (error.returnCode != invalidParameter)
            throw;
        throw std::runtime_error(client.get(1).empty() ? describeEmptyList(options.list)
                                                       : what + "; ostrel-tv services lists them");
    }
}

void moveCursor(Client& client, const ServicesOptions& options) {
    if (options.channel) {
        seekOrExplain(client, options,
                      "no service has the channel number " + std::to_string(*options.channel),
                      [&] { client.seekByChannelNumber(*options.channel); });
    } else if (options.uri) {
        seekOrExplain(client, options, "no service has the URI " + *options.uri,
                      [&] { client.seekByUri(*options.uri); });
    } else if (options.from) {
        seekOrExplain(client, options, "no position " + std::to_string(*options.from) + " in the list",
                      [&] { client.seek(*options.from, Client::Whence::Start); });
    }
}

std::string describe(ServiceInfo::Type type) {
    switch (type) {
    case ServiceInfo::Type::Television:
        return "tv";
    case ServiceInfo::Type::Radio:
        return "radio";
    case ServiceInfo::Type::Data:
        return "data";
    }
    return std::to_string(static_cast<std::uint32_t>(type));
}

std::string describeFlags(const ServiceInfo& service) {
    std::string text;
    const auto add = [&text](bool isSet, const char* word) {
        if (isSet)
            text.append(text.empty() ? "" : " ").append(word);
    };
    add(service.highDefinition, "HD");
    add(service.scrambled, "scrambled");
    add(!service.visible, "hidden");
    add(!service.selectable, "locked");
    return text;
}

std::string formatTable(const std::vector<ServiceInfo>& services) {
    Table table({{"No.", Table::Align::Right},
                 {"Name"},
                 {"Kind"},
                 {"Guide", Table::Align::Right},
                 {"URI"},
                 {"Provider"},
                 {"Flags"}});
    for (const auto& service : services) {
        table.add({std::to_string(service.channelNumber), service.name, describe(service.type),
                   std::to_string(service.id), service.uri, service.provider, describeFlags(service)});
    }
    if (::isatty(STDOUT_FILENO) != 0) {
        table.fit(providerColumn, getTerminalWidth());
        table.fit(nameColumn, getTerminalWidth());
    }
    return table.format();
}

void showServices(Session& session, const ServicesOptions& options) {
    auto& client = session.getClient();
    client.selectList(options.list);
    moveCursor(client, options);
    const bool findsOne = options.channel || options.uri;
    const auto all = std::numeric_limits<std::uint32_t>::max();
    const auto services = readServices(client, options.limit.value_or(findsOne ? 1 : all));
    if (!session.json) {
        page(services.empty() ? asSentence(describeNothing(options)) : formatTable(services));
        return;
    }
    printJson(encode(services));
}

} // namespace

Command makeServices(Session& session) {
    const auto options = std::make_shared<ServicesOptions>();
    return {.name = "services",
            .description = "Show the services (channels)",
            .notes = "Guide is the id by which the guide knows the service. Flags name what is unusual: HD, "
                     "scrambled, hidden (left out of channel lists), locked (cannot be selected).\n"
                     "\n"
                     "On a terminal a list that is longer than the screen goes through $PAGER.",
            .examples = {"ostrel-tv services --limit 5", "ostrel-tv services --channel 4",
                         "ostrel-tv services --uri dvb://233a..1041 --limit 3",
                         "ostrel-tv services --json | jq -r '.[].name'"},
            .options = {{.name = "--list",
                         .description = "Which list: all services, or the new ones of the last scan",
                         .read = text(options->list),
                         .standard = options->list,
                         .choices = {"all", "new"}},
                        {.name = "--from",
                         .value = "N",
                         .description = "Begin at this position of the list, counted from 0",
                         .read = wholeNumber(options->from, 0, std::numeric_limits<std::int32_t>::max())},
                        {.name = "--limit",
                         .value = "N",
                         .description = "Show at most so many services",
                         .read = wholeNumber(options->limit, 1)},
                        {.name = "--channel",
                         .value = "N",
                         .description = "Find the service with this channel number; with --limit also those "
                                        "that follow it in the list",
                         .read = wholeNumber(options->channel),
                         .excludes = {"--from", "--uri"}},
                        {.name = "--uri",
                         .value = "URI",
                         .description = "Find the service with this URI, likewise",
                         .read = utf8(options->uri),
                         .excludes = {"--from"}}},
            .run = [&session, options] { showServices(session, *options); }};
}

} // namespace Ostrel::Client::Tool
