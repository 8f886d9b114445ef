#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Methods.h"
#include "clients/tool/Output.h"
#include "commandline/Suggestion.h"
#include "commandline/UsageError.h"

#include <boost/json/parse.hpp>

#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Client::Tool {

namespace {

namespace json = boost::json;

using CommandLine::UsageError;

struct CallOptions {
    std::string method;
    std::string payload;
    std::optional<std::string> list;
    std::optional<std::uint32_t> context;
};

constexpr const char* createContext = "ITVService::createContext";
constexpr const char* deleteContext = "ITVService::deleteContext";

constexpr const char* listMethods = "ITVService::serviceList"; // what their names begin with
constexpr std::int64_t noListSelected = 2; // the return code that they answer then

/// Whether the simulation's controls have the method: it takes no context, and its payload is the params.
bool isSimulators(const std::string& method) {
    return method.starts_with("Simulator::");
}

std::vector<std::string> getShortNames() {
    std::vector<std::string> names;
    for (const std::string method : methods)
        names.push_back(method.substr(method.find("::") + 2));
    return names;
}

/// Completes a method's name. A whole one is left to the service to judge.
std::string findMethod(const std::string& name) {
    if (name.find_first_of(":.") != std::string::npos)
        return name;
    for (const std::string_view method : methods) {
        if (method.substr(method.find("::") + 2) == name)
            return std::string(method);
    }
    const auto similar = CommandLine::suggest(name, getShortNames());
    throw UsageError("there is no method \"" + name + "\"" +
                     (similar.empty() ? "; ostrel-tv call --help lists them" : similar));
}

std::string formatMethods() {
    std::string text;
    std::string interface;
    for (const std::string method : methods) {
        const auto colon = method.find("::");
        if (method.substr(0, colon) != interface) {
            interface = method.substr(0, colon);
            text += "  " + interface + "\n";
        }
        text += "    " + method.substr(colon + 2) + "\n";
    }
    return text;
}

/// Returns the payload's text, from standard input for "-". It is sent as it stands.
std::string readPayload(std::string payload) {
    if (payload == "-")
        payload.assign(std::istreambuf_iterator<char>(std::cin), {});
    if (payload.empty())
        return payload;
    json::error_code error;
    json::parse(payload, error);
    if (error)
        throw UsageError("the payload is not JSON: " + error.message());
    return payload;
}

std::uint32_t readContext(const std::string& payload) {
    const auto value = json::parse(payload);
    const auto* members = value.if_object();
    const auto* context = members != nullptr ? members->if_contains("context") : nullptr;
    json::error_code error;
    const auto number = context != nullptr ? context->to_number<std::uint32_t>(error) : 0;
    if (context == nullptr || error)
        throw UsageError(R"(the payload of deleteContext is {"context":N})");
    return number;
}

/// Refuses what no service need be asked about, and returns the payload to send.
std::string checkPayload(const CallOptions& options, const std::string& method) {
    auto payload = readPayload(options.payload);
    if ((method == createContext || method == deleteContext || isSimulators(method)) && options.list)
        throw UsageError("--list goes with methods that use a context");
    if ((method == createContext || isSimulators(method)) && options.context)
        throw UsageError("--context goes with methods that use a context");
    if (method == deleteContext && options.context && !payload.empty())
        throw UsageError("name the context once, with --context or in the payload");
    if (method == deleteContext && !payload.empty())
        readContext(payload);
    return payload;
}

/// What to do about a refusal, where the service's text does not tell; may be empty.
std::string getHint(const ServiceError& error, const std::string& method) {
    if (error.member == "context")
        return "there is no such context; without --context a new one is made";
    if (error.returnCode == noListSelected && method.starts_with(listMethods))
        return "no list is selected; do it with --list all";
    return "";
}

std::string perform(Client& client, const CallOptions& options, const std::string& method,
                    const std::string& payload) {
    if (method == createContext)
        return std::to_string(client.createContext().getContext());
    if (options.context)
        client.useContext(*options.context);
    if (method == deleteContext) {
        client.deleteContext(payload.empty() ? client.getContext() : readContext(payload));
        return "null";
    }
    if (method.starts_with("rpc."))
        return client.request(method, payload);
    try {
        if (options.list)
            client.selectList(*options.list);
        return client.call(method, payload.empty() ? "{}" : payload);
    } catch (const ServiceError& error) {
        const auto hint = getHint(error, method);
        if (hint.empty())
            throw;
        ServiceError explained(error.code, error.what() + (": " + hint));
        explained.returnCode = error.returnCode;
        explained.name = error.name;
        throw explained;
    }
}

void callMethod(Session& session, const CallOptions& options) {
    const auto method = findMethod(options.method);
    const auto payload = checkPayload(options, method); // before a connection is made
    const auto result = isSimulators(method) ? session.getSimulatorClient().request(method, payload)
                                             : perform(session.getClient(), options, method, payload);
    if (session.json)
        printJson(result);
    else
        print(indented(result) + "\n");
}

} // namespace

Command makeCall(Session& session) {
    const auto options = std::make_shared<CallOptions>();
    return {
        .name = "call",
        .description = "Call any method and print its result as JSON",
        .notes =
            "A context is supplied: a new one, with no list selected yet. --list selects one in it; "
            "--context takes one that is there, such as createContext has printed, and makes none. "
            "deleteContext deletes the one of --context, and ends a running scan. The methods of Simulator "
            "use none.\n"
            "\n"
            "Methods:\n" +
            formatMethods(),
        .examples = {"ostrel-tv call serviceListRead '{\"limit\":3}' --list all", "ostrel-tv call utcTimeGet",
                     "ostrel-tv call signalStatusGet '{\"sourceId\":1}'",
                     "ostrel-tv call queryNowNextEventInfo '{\"id\":1043}' --json | jq -r '.[0].title'",
                     "echo '{\"query\":{\"serviceIdList\":[1043]}}' | ostrel-tv call queryEventInfo -",
                     "context=$(ostrel-tv call createContext)",
                     "ostrel-tv call serviceListSet '{\"base\":\"all\"}' --context \"$context\"",
                     "ostrel-tv call serviceListRead '{\"limit\":3}' --context \"$context\""},
        .options = {{.name = "METHOD",
                     .description = "ITVService::serviceListGet, or short serviceListGet",
                     .read = utf8(options->method),
                     .choices = getShortNames(),
                     .isRequired = true,
                     .isAnyOf = true},
                    {.name = "PAYLOAD",
                     .description = "The parameters as a JSON object, {} when left out; - reads them from "
                                    "standard input",
                     .read = text(options->payload)},
                    {.name = "--list",
                     .description = "Select this list of services first",
                     .read = text(options->list),
                     .choices = {"all", "new"}},
                    {.name = "--context",
                     .value = "N",
                     .description = "Use this context, and make none",
                     .read = wholeNumber(options->context)}},
        .run = [&session, options] { callMethod(session, *options); }};
}

} // namespace Ostrel::Client::Tool
