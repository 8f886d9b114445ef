#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"
#include "clients/tool/QueryError.h"
#include "clients/tool/QueryMistake.h"
#include "commandline/UsageError.h"

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
        throw CommandLine::UsageError("--json and --format xml do not go together");
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

Command makeQuery(Session& session) {
    const auto expression = std::make_shared<std::string>();
    const auto format = std::make_shared<std::string>("json");
    return {.name = "query",
            .description = "Find events by an expression, with all that the guide holds",
            .notes =
                "Prints one document a line, as the service writes them, by start time.\n"
                "\n"
                "Fields are ServiceId, Start and End, times are seconds since 1970 (date +%s). Compare them "
                "with == < <= > >=, or with a list: ServiceId in (1000, 1001). Join comparisons with && "
                "and ||, and group them with ( ). Another name matches nothing.",
            .examples = {"ostrel-tv query 'ServiceId == 1043 && End > 1318748400 && Start < 1318752000'",
                         "ostrel-tv query 'ServiceId in (1043, 1044)' --format xml",
                         "ostrel-tv query '' | wc -l"},
            .options = {{.name = "EXPRESSION",
                         .description = "What must be true of an event; '' is true of each",
                         .read = utf8(*expression),
                         .isRequired = true},
                        {.name = "--format",
                         .description = "How the documents are written",
                         .read = text(*format),
                         .standard = *format,
                         .choices = {"json", "xml"}}},
            .strayHint = "put the expression in quotation marks",
            .run = [&session, expression, format] { showDocuments(session, *expression, *format); }};
}

} // namespace Ostrel::Client::Tool
