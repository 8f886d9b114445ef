#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"
#include "clients/tool/QueryMistake.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include <unistd.h>

namespace Ostrel::Client::Tool {

namespace {

constexpr std::int64_t notSupported = 4; // the return code for an expression that does not parse

std::vector<std::string> findDocuments(Client& client, const std::string& expression,
                                       const std::string& format) {
    try {
        return client.query(expression, "quoril" + format);
    } catch (const ServiceError& error) {
        const auto mistake =
            error.returnCode == notSupported ? findQueryMistake(expression) : std::optional<QueryMistake>();
        if (!mistake)
            throw;
        throw QueryError("the query is refused: " + mistake->reason,
                         pointAt(expression, mistake->position, getTerminalWidth(STDERR_FILENO)));
    }
}

void showDocuments(Session& session, const std::string& expression, const std::string& format) {
    if (session.json && format != "json")
        throw UsageError("--json and --format xml do not go together");
    const bool isTerminal = ::isatty(STDOUT_FILENO) != 0;
    std::string text;
    const auto documents = findDocuments(session.getClient(), expression, format);
    for (const auto& document : documents)
        text.append(isTerminal ? printable(document) : document).append("\n");
    print(text);
    if (const auto stranger = findUnknownField(expression); stranger && documents.empty()) {
        std::cerr << "ostrel-tv: nothing matches: there is no field " + *stranger +
                         ", only ServiceId, Start and End\n"
                  << std::flush;
    }
}

} // namespace

void addQuery(CLI::App& app, Action& action) {
    auto* command =
        app.add_subcommand("query", "Find events by an expression, with all that the guide holds");
    const auto expression = std::make_shared<std::string>();
    const auto format = std::make_shared<std::string>("json");
    command->add_option("EXPRESSION", *expression, "What must be true of an event; '' is true of each")
        ->required()
        ->check(utf8())
        ->type_name("");
    command->add_option("--format", *format, "How the documents are written")
        ->check(CLI::IsMember({"json", "xml"}).description(""))
        ->type_name("json|xml")
        ->capture_default_str();
    command->footer("Prints one document a line, as the service writes them, by start time.\n"
                    "\n"
                    "Fields are ServiceId, Start and End, times are seconds since 1970 (date +%s). Compare\n"
                    "them with == < <= > >=, or with a list: ServiceId in (1000, 1001). Join comparisons\n"
                    "with && and ||, and group them with ( ). Another name matches nothing.\n"
                    "\n"
                    "Examples:\n"
                    "  ostrel-tv query 'ServiceId == 1043 && End > 1318748400 && Start < 1318752000'\n"
                    "  ostrel-tv query 'ServiceId in (1000, 1001)' --format xml\n"
                    "  ostrel-tv query '' | wc -l");
    command->callback([&action, expression, format] {
        action = [expression, format](Session& session) { showDocuments(session, *expression, *format); };
    });
}

} // namespace Ostrel::Client::Tool
