#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"
#include "commandline/UsageError.h"

#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>

#include <unistd.h>

namespace Ostrel::Client::Tool {

namespace {

using CommandLine::UsageError;

constexpr std::uint32_t kiloHertzPerMegaHertz = 1000;

struct AddOptions {
    std::optional<std::uint32_t> frequencyMHz;
    std::optional<std::uint32_t> frequencyKHz;
    std::uint32_t source = 0;
};

struct ClearOptions {
    bool yes = false;
    std::uint32_t source = 0;
};

void addTransponder(Session& session, const AddOptions& options) {
    if (!options.frequencyMHz && !options.frequencyKHz)
        throw UsageError("which frequency? give MHZ or --khz N");
    const auto frequencyKHz =
        options.frequencyKHz ? *options.frequencyKHz : *options.frequencyMHz * kiloHertzPerMegaHertz;
    session.getClient().addTransponder(options.source, frequencyKHz);
    if (session.json)
        printJson(R"({"added":true})");
    else
        print("Added " + std::to_string(frequencyKHz / kiloHertzPerMegaHertz) + " MHz.\n");
}

void askWhetherToClear() {
    if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDERR_FILENO) == 0)
        throw UsageError("this removes all transponders and all services; say so with --yes");
    std::cerr << "This removes all transponders and all services, for every client. Go on? [y/N] "
              << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes")
        throw std::runtime_error("nothing was removed");
}

void clearTransponders(Session& session, const ClearOptions& options) {
    if (!options.yes)
        askWhetherToClear();
    session.getClient().clearTransponders(options.source);
    if (session.json)
        printJson(R"({"cleared":true})");
    else
        print("All transponders and services are removed.\n");
}

Command makeAdd(Session& session) {
    const auto options = std::make_shared<AddOptions>();
    return {
        .name = "add",
        .description = "Add a frequency to the list",
        .notes = "A frequency that is in the list is added again.",
        .examples = {"ostrel-tv transponders add 690", "ostrel-tv transponders add --khz 690000"},
        .options = {{.name = "MHZ",
                     .description = "The frequency, in whole MHz",
                     .read = wholeNumber(options->frequencyMHz, 0,
                                         std::numeric_limits<std::uint32_t>::max() / kiloHertzPerMegaHertz)},
                    {.name = "--khz",
                     .value = "N",
                     .description = "The same in kHz; the service takes whole MHz of it",
                     .read = wholeNumber(options->frequencyKHz),
                     .excludes = {"MHZ"}},
                    sourceOption(options->source)},
        .run = [&session, options] { addTransponder(session, *options); }};
}

Command makeClear(Session& session) {
    const auto options = std::make_shared<ClearOptions>();
    return {.name = "clear",
            .description = "Empty the list, and the service list with it",
            .examples = {"ostrel-tv transponders clear --yes && ostrel-tv scan blind"},
            .options = {{.name = "--yes",
                         .description = "Do not ask; needed where there is no terminal",
                         .read = CommandLine::flag(options->yes)},
                        sourceOption(options->source)},
            .run = [&session, options] { clearTransponders(session, *options); }};
}

} // namespace

Command makeTransponders(Session& session) {
    return {.name = "transponders",
            .description = "Change the frequencies that \"scan start\" visits",
            .notes = "The list is shared by all clients.",
            .examples = {"ostrel-tv transponders add 690", "ostrel-tv transponders clear --yes"},
            .commands = {makeAdd(session), makeClear(session)}};
}

} // namespace Ostrel::Client::Tool
