#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Lineup.h"
#include "clients/tool/Output.h"
#include "clients/tool/Table.h"

#include <boost/json/array.hpp>

#include <CLI/CLI.hpp>

#include <limits>
#include <memory>

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

/// Makes a refusal say what was looked for.
template <class Seek> void seekOrExplain(const std::string& what, Seek seek) {
    try {
        seek();
    } catch (const ServiceError& error) {
        ServiceError explained(error.code, what + ": " + error.what());
        explained.returnCode = error.returnCode;
        explained.name = error.name;
        throw explained;
    }
}

void moveCursor(Client& client, const ServicesOptions& options) {
    if (options.channel) {
        seekOrExplain("no service has the channel number " + std::to_string(*options.channel),
                      [&] { client.seekByChannelNumber(*options.channel); });
    } else if (options.uri) {
        seekOrExplain("no service has the URI " + *options.uri, [&] { client.seekByUri(*options.uri); });
    } else if (options.from) {
        seekOrExplain("no position " + std::to_string(*options.from) + " in the list",
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
        print(services.empty() ? "The list has no such service.\n" : formatTable(services));
        return;
    }
    boost::json::array array;
    for (const auto& service : services)
        array.push_back(encode(service));
    printJson(array);
}

} // namespace

void addServices(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("services", "Show the services (channels)");
    const auto options = std::make_shared<ServicesOptions>();
    command->add_option("--list", options->list, "Which list: all services, or the new ones of the last scan")
        ->check(CLI::IsMember({"all", "new"}).description(""))
        ->type_name("all|new")
        ->capture_default_str();
    auto* from =
        command->add_option("--from", options->from, "Begin at this position of the list, counted from 0")
            ->transform(wholeNumber(std::numeric_limits<std::int32_t>::max()))
            ->type_name("N");
    command->add_option("--limit", options->limit, "Show at most so many services")
        ->transform(wholeNumber())
        ->type_name("N");
    auto* channel = command
                        ->add_option("--channel", options->channel,
                                     "Find the service with this channel number;\n"
                                     "with --limit also those that follow it in the list")
                        ->transform(wholeNumber())
                        ->type_name("N");
    auto* uri = command->add_option("--uri", options->uri, "Find the service with this URI, likewise")
                    ->check(utf8())
                    ->type_name("URI");
    channel->excludes(from)->excludes(uri);
    uri->excludes(from);
    command->footer("Guide is the id by which the guide knows the service. Flags name what is unusual:\n"
                    "HD, scrambled, hidden (left out of channel lists), locked (cannot be selected).\n"
                    "\n"
                    "Examples:\n"
                    "  ostrel-tv services --limit 5\n"
                    "  ostrel-tv services --channel 4\n"
                    "  ostrel-tv services --uri dvb://233a..1041 --limit 3\n"
                    "  ostrel-tv services --json | jq -r '.[].name'");
    command->callback(
        [&action, options] { action = [options](Session& session) { showServices(session, *options); }; });
}

} // namespace Ostrel::Client::Tool
