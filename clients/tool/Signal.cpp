#include "clients/tool/Arguments.h"
#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

#include <memory>

namespace Ostrel::Client::Tool {

namespace {

void showSignal(Session& session, std::uint32_t source) {
    const auto status = session.getClient().getSignalStatus(source);
    if (session.json) {
        printJson(encode(status));
        return;
    }
    print("strength  " + std::to_string(status.strength) + "\nquality   " + std::to_string(status.quality) +
          "\n");
    if (status == SignalStatus())
        print("A simulated tuner reports 0 for both.\n");
}

} // namespace

Command makeSignal(Session& session) {
    const auto source = std::make_shared<std::uint32_t>(0);
    return {.name = "signal",
            .description = "Show how well a tuner receives",
            .notes = "A simulated tuner has no aerial and reports 0 for both.",
            .examples = {"ostrel-tv signal --source 1"},
            .options = {sourceOption(*source)},
            .run = [&session, source] { showSignal(session, *source); }};
}

} // namespace Ostrel::Client::Tool
