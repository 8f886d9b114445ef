#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace Ostrel::Client::Tool {

namespace {

void showSignal(Session& session, std::uint32_t source) {
    const auto status = session.getClient().getSignalStatus(source);
    if (session.json)
        printJson(encode(status));
    else
        print("strength  " + std::to_string(status.strength) + "\nquality   " +
              std::to_string(status.quality) + "\n");
}

} // namespace

void addSignal(CLI::App& app, Action& action) {
    auto* command = app.add_subcommand("signal", "Show how well a tuner receives");
    const auto source = std::make_shared<std::uint32_t>(0);
    command->add_option("--source", *source, "The tuner, its source id")
        ->transform(wholeNumber())
        ->type_name("N")
        ->capture_default_str();
    command->footer("Example:\n  ostrel-tv signal --source 1");
    command->callback(
        [&action, source] { action = [source](Session& session) { showSignal(session, *source); }; });
}

} // namespace Ostrel::Client::Tool
