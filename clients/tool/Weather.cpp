#include "clients/cpp/ValueText.h"
#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"
#include "commandline/UsageError.h"

#include <boost/json/parse.hpp>

#include <fstream>
#include <iostream>
#include <istream>
#include <memory>
#include <string>

namespace Ostrel::Client::Tool {

namespace {

using CommandLine::UsageError;
using CountedRule = Simulator::CountedRule;
using Delay = std::variant<std::uint32_t, std::vector<std::uint32_t>>;

constexpr std::uint32_t mostDelayMsec = 600000;

std::string describeDelay(const Delay& delay) {
    const auto* const fixed = std::get_if<std::uint32_t>(&delay);
    if (fixed != nullptr)
        return std::to_string(*fixed) + " ms late";
    const auto& range = std::get<std::vector<std::uint32_t>>(delay);
    return std::to_string(range.at(0)) + " to " + std::to_string(range.at(1)) + " ms late";
}

std::string listParts(const std::vector<std::string>& parts, const char* none) {
    std::string text;
    for (const auto& part : parts)
        text.append(text.empty() ? "" : ", ").append(part);
    return text.empty() ? none : text;
}

std::string describeEffect(const CountedRule& rule) {
    std::vector<std::string> parts;
    if (rule.delayMs)
        parts.push_back(describeDelay(*rule.delayMs));
    if (rule.error)
        parts.push_back("fails with " + *rule.error);
    if (rule.drop)
        parts.push_back(*rule.drop + " lost");
    return listParts(parts, "");
}

std::string describeWhen(const CountedRule& rule) {
    std::vector<std::string> parts;
    if (rule.after > 0)
        parts.push_back("after " + std::to_string(rule.after));
    if (rule.times)
        parts.push_back(*rule.times == 1 ? "once" : std::to_string(*rule.times) + " times");
    if (rule.probability < 1) {
        char percent[32];
        std::snprintf(percent, sizeof percent, "%g %%", rule.probability * 100);
        parts.emplace_back(percent);
    }
    return listParts(parts, "always");
}

void showWeather(const Session& session, const Simulator::Weather& weather) {
    if (session.json) {
        printJson(encode(weather));
        return;
    }
    if (weather.rules.empty()) {
        print("Fine: there are no rules.\n");
        return;
    }
    Table table({{"Method"},
                 {"Kind"},
                 {"Effect"},
                 {"When"},
                 {"Matched", Table::Align::Right},
                 {"Applied", Table::Align::Right}});
    for (const auto& rule : weather.rules) {
        table.add({rule.method, rule.notifications ? "notification" : "call", describeEffect(rule),
                   describeWhen(rule), std::to_string(rule.matched), std::to_string(rule.applied)});
    }
    print(table.format() + "Seed " + std::to_string(weather.seed) + "\n");
}

constexpr std::size_t mostOfAFile = 1u << 20; ///< bytes; the service takes no more in a message

/// Returns what a file holds, standard input for "-".
std::string readWeatherFile(const std::string& path, const std::string& name) {
    std::ifstream file(path == "-" ? std::string() : path);
    std::istream& in = path == "-" ? std::cin : file;
    std::string text(mostOfAFile + 1, '\0');
    if (!in || (!in.read(text.data(), std::streamsize(text.size())) && !in.eof()))
        throw UsageError(name + " cannot be read");
    text.resize(std::size_t(in.gcount()));
    if (text.size() > mostOfAFile)
        throw UsageError(name + " has more than 1 MiB");
    return text;
}

/// Sets what a file says, be it what "show" has printed. All else travels as it stands, so that the
/// service finds what is misspelt.
void setWeather(Session& session, const std::string& path) {
    const std::string name = path == "-" ? "standard input" : path;
    boost::json::error_code error;
    auto params = boost::json::parse(readWeatherFile(path, name), error);
    if (error)
        throw UsageError(name + " is not JSON: " + error.message());
    if (params.is_array())
        params = {{"rules", params}};
    auto* const rules = params.is_object() ? params.get_object().if_contains("rules") : nullptr;
    if (rules == nullptr || !rules->is_array())
        throw UsageError(name + " has no array of rules");
    for (auto& rule : rules->get_array()) {
        if (auto* const members = rule.if_object()) {
            members->erase("matched");
            members->erase("applied");
        }
    }
    const auto weather = session.getSimulatorClient().request("Simulator::weatherSet", toText(params));
    showWeather(session, decode<Simulator::Weather>(weather));
}

void addRule(Session& session, const Simulator::Rule& rule) {
    if (!rule.delayMs && !rule.error && !rule.drop)
        throw UsageError("what is to happen? give --delay, --error or --drop");
    auto simulator = session.getSimulator();
    const auto weather = simulator.weatherGet();
    Simulator::WeatherSetParams params{.rules = {}, .seed = weather.seed};
    for (const auto& counted : weather.rules)
        params.rules.push_back(decode<Simulator::Rule>(encode(counted)));
    params.rules.push_back(rule);
    showWeather(session, simulator.weatherSet(params));
}

/// Reads "500" and "200-800".
Delay readDelay(const std::string& text) {
    const auto read = [](const std::string& number) {
        return static_cast<std::uint32_t>(CommandLine::readWholeNumber(number, 0, mostDelayMsec));
    };
    const auto dash = text.find('-');
    if (dash == std::string::npos)
        return read(text);
    return std::vector{read(text.substr(0, dash)), read(text.substr(dash + 1))};
}

Command makeWeatherSet(Session& session) {
    const auto path = std::make_shared<std::string>();
    return {.name = "set",
            .description = "Replace all rules by those of a file",
            .notes =
                "The file has an array of rules, or an object with rules and a seed, as weather show --json "
                "prints and "
                "the description of Simulator::weatherSet has them. The counts begin anew. The same rules, "
                "seed and "
                "order of calls give the same weather.",
            .examples = {R"(echo '[{"method":"ITVGuide::*","delayMs":500}]' | ostrel-tv weather set -)"},
            .options = {{.name = "FILE",
                         .description = "JSON; - is standard input",
                         .read = text(*path),
                         .isRequired = true,
                         .isFile = true}},
            .run = [&session, path] { setWeather(session, *path); }};
}

Command makeWeatherAdd(Session& session) {
    const auto rule = std::make_shared<Simulator::Rule>();
    const auto probability = std::make_shared<std::optional<double>>();
    return {
        .name = "add",
        .description = "Add a rule behind the others",
        .notes = "For each call the rules are tried in their order; the first decides that matches and whose "
                 "dice fall. The counts and the dice begin anew, from the same seed.",
        .examples = {"ostrel-tv weather add --delay 200-800",
                     "ostrel-tv weather add --method '*::query*' --error TimedOut --probability 0.1",
                     "ostrel-tv weather add --method '*Set' --drop reply --after 2 --times 1",
                     "ostrel-tv weather add --notifications --drop notification --method '*Progress'"},
        .options = {{.name = "--method",
                     .value = "GLOB",
                     .description = "Which calls, by their full name; * is any run of characters",
                     .read = utf8(rule->method),
                     .standard = rule->method},
                    {.name = "--notifications",
                     .description = "For notifications of that name instead",
                     .read = CommandLine::flag(rule->notifications)},
                    {.name = "--delay",
                     .value = "MS",
                     .description = "So many milliseconds late, 500 or 200-800",
                     .read = [rule](const std::string& given) { rule->delayMs = readDelay(given); }},
                    {.name = "--error",
                     .value = "NAME",
                     .description = "Fail with NotSupported, TimedOut or another, and do not carry it out",
                     .read = text(rule->error),
                     .choices = {"InvalidParameter", "InvalidState", "OutOfMemory", "NotSupported",
                                 "TimedOut", "GenericFailure"}},
                    {.name = "--drop",
                     .description = "Lose it: the reply alone, the connection too, or what was sent",
                     .read = text(rule->drop),
                     .choices = {"reply", "connection", "request", "notification"}},
                    {.name = "--after",
                     .value = "N",
                     .description = "Let the first N pass",
                     .read = wholeNumber(rule->after)},
                    {.name = "--times",
                     .value = "N",
                     .description = "No more often than this",
                     .read = wholeNumber(rule->times)},
                    {.name = "--probability",
                     .value = "P",
                     .description = "How often, up to 1 for always",
                     .read = CommandLine::number(*probability, 0, 1)}},
        .run = [&session, rule, probability] {
            rule->probability = probability->value_or(rule->probability);
            addRule(session, *rule);
        }};
}

} // namespace

Command makeWeather(Session& session) {
    return {
        .name = "weather",
        .description = "Make calls and notifications late, fail or get lost",
        .notes =
            "It is for the service as all clients see it, never for these controls. A service that is no "
            "simulation has none.",
        .examples = {"ostrel-tv weather add --delay 500", "ostrel-tv weather show",
                     "ostrel-tv weather clear"},
        .commands = {{.name = "show",
                      .description = "Show the rules, and how often each matched and applied",
                      .examples = {"ostrel-tv weather show", "ostrel-tv weather show --json | jq .rules"},
                      .run = [&session] { showWeather(session, session.getSimulator().weatherGet()); }},
                     makeWeatherSet(session),
                     makeWeatherAdd(session),
                     {.name = "clear",
                      .description = "Remove all rules",
                      .examples = {"ostrel-tv weather clear"},
                      .run = [&session] { showWeather(session, session.getSimulator().weatherSet({})); }}}};
}

} // namespace Ostrel::Client::Tool
