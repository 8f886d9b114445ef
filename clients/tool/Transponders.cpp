#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <limits>
#include <memory>
#include <stdexcept>

#include <unistd.h>

namespace Ostrel::Client::Tool {

namespace {

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
        printJson({{"added", true}});
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
        printJson({{"cleared", true}});
    else
        print("All transponders and services are removed.\n");
}

void addSource(CLI::App& command, std::uint32_t& source) {
    command.add_option("--source", source, "The tuner, its source id")
        ->transform(wholeNumber())
        ->type_name("N")
        ->capture_default_str();
}

void addAdd(CLI::App& transponders, Action& action) {
    auto* command = transponders.add_subcommand("add", "Add a frequency to the list");
    const auto options = std::make_shared<AddOptions>();
    auto* mega =
        command->add_option("MHZ", options->frequencyMHz, "The frequency, in whole MHz")
            ->transform(wholeNumber(std::numeric_limits<std::uint32_t>::max() / kiloHertzPerMegaHertz))
            ->type_name("");
    command->add_option("--khz", options->frequencyKHz, "The same in kHz; the service takes whole MHz of it")
        ->transform(wholeNumber())
        ->type_name("N")
        ->excludes(mega);
    addSource(*command, options->source);
    command->footer("A frequency that is in the list is added again.\n"
                    "\n"
                    "Examples:\n"
                    "  ostrel-tv transponders add 690\n"
                    "  ostrel-tv transponders add --khz 690000");
    command->callback(
        [&action, options] { action = [options](Session& session) { addTransponder(session, *options); }; });
}

void addClear(CLI::App& transponders, Action& action) {
    auto* command = transponders.add_subcommand("clear", "Empty the list, and the service list with it");
    const auto options = std::make_shared<ClearOptions>();
    command->add_flag("--yes", options->yes, "Do not ask; needed where there is no terminal");
    addSource(*command, options->source);
    command->footer("Examples:\n"
                    "  ostrel-tv transponders clear\n"
                    "  ostrel-tv transponders clear --yes && ostrel-tv scan blind");
    command->callback([&action, options] {
        action = [options](Session& session) { clearTransponders(session, *options); };
    });
}

} // namespace

void addTransponders(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("transponders", "Change the frequencies that \"scan start\" visits");
    command->require_subcommand(1);
    command->footer("The list is shared by all clients.\n"
                    "\n"
                    "Examples:\n"
                    "  ostrel-tv transponders add 690\n"
                    "  ostrel-tv transponders clear --yes");
    addAdd(*command, action);
    addClear(*command, action);
}

} // namespace Ostrel::Client::Tool
