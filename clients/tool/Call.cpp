#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

#include <boost/json/parse.hpp>

#include <CLI/CLI.hpp>

#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace Ostrel::Client::Tool {

namespace {

namespace json = boost::json;

constexpr const char* createContext = "ITVService::createContext";
constexpr const char* deleteContext = "ITVService::deleteContext";

constexpr const char* methods[] = {
    createContext,
    deleteContext,
    "ITVService::serviceListSet",
    "ITVService::serviceListSeek",
    "ITVService::serviceListSeekByUri",
    "ITVService::serviceListSeekByChannelNumber",
    "ITVService::serviceListGet",
    "ITVService::serviceListRead",
    "ITVService::serviceListDelete",
    "ITVService::serviceListDeleteAll",
    "ITVService::nowNextGet",
    "ITVService::signalStatusGet",
    "ITVService::utcTimeGet",
    "ITVConfig::transponderListAdd",
    "ITVConfig::transponderListDeleteAll",
    "ITVConfig::scanStart",
    "ITVConfig::scanHomeStart",
    "ITVConfig::scanBlindStart",
    "ITVConfig::scanStop",
    "ITVConfig::scanInfoGet",
    "ITVGuide::query",
    "ITVGuide::queryEventInfo",
    "ITVGuide::queryNowNextEventInfo",
    "ITVGuide::getGenreStringMapList",
};

/// Completes a method's name. A whole one is left to the service to judge.
std::string findMethod(const std::string& name) {
    if (name.find_first_of(":.") != std::string::npos)
        return name;
    std::vector<std::string> found;
    for (const std::string method : methods) {
        if (method.substr(method.find("::") + 2) == name)
            found.push_back(method);
    }
    if (found.empty())
        throw UsageError("there is no method \"" + name + "\"; ostrel-tv call --help lists them");
    if (found.size() > 1)
        throw UsageError("\"" + name + "\" may be " + found[0] + " or " + found[1]);
    return found.front();
}

std::string listMethods() {
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

json::value perform(Client& client, const std::string& method, const std::string& payload) {
    if (method == createContext)
        return client.createContext();
    if (method == deleteContext) {
        client.deleteContext(payload.empty() ? client.getContext() : readContext(payload));
        return nullptr;
    }
    if (method.starts_with("rpc."))
        return client.request(method, payload);
    return client.call(method, payload);
}

void callMethod(Session& session, const std::string& name, const std::string& argument) {
    const auto method = findMethod(name);
    const auto payload = readPayload(argument);
    if (method == deleteContext && !payload.empty())
        readContext(payload); // before a connection is made
    const auto result = perform(session.getClient(), method, payload);
    if (session.json)
        printJson(result);
    else
        print(indented(result) + "\n");
}

} // namespace

void addCall(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("call", "Call any method and print its result as JSON");
    const auto method = std::make_shared<std::string>();
    const auto payload = std::make_shared<std::string>();
    command->add_option("METHOD", *method, "ITVService::serviceListGet, or short serviceListGet")
        ->required()
        ->check(utf8())
        ->type_name("");
    command
        ->add_option("PAYLOAD", *payload, "The parameters as a JSON object; - reads them from standard input")
        ->type_name("");
    command->footer("The context is supplied. Every call has a fresh one, with no list selected yet.\n"
                    "deleteContext takes {\"context\":N}; it ends a running scan.\n"
                    "\n"
                    "Methods:\n" +
                    listMethods() +
                    "\n"
                    "Examples:\n"
                    "  ostrel-tv call serviceListSet '{\"base\":\"all\"}'\n"
                    "  ostrel-tv call scanBlindStart '{\"sourceId\":1,\"useNIT\":0}'\n"
                    "  ostrel-tv call queryNowNextEventInfo '{\"id\":1}' --json | jq -r '.[0].title'\n"
                    "  ostrel-tv call ITVGuide::queryEventInfo - < query.json");
    command->callback([&action, method, payload] {
        action = [method, payload](Session& session) { callMethod(session, *method, *payload); };
    });
}

} // namespace Ostrel::Client::Tool
