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
        print("A simulated tuner reports 0 for both until ostrel-tv signal set tells it others.\n");
}

void setSignal(Session& session, const SignalStatus& status) {
    session.getSimulator().signalSet(status.strength, status.quality);
    if (session.json)
        printJson(encode(status));
    else
        print("strength  " + std::to_string(status.strength) + "\nquality   " +
              std::to_string(status.quality) + "\n");
}

Command makeSignalSet(Session& session) {
    constexpr std::uint32_t most = 100;
    const auto status = std::make_shared<SignalStatus>();
    return {.name = "set",
            .description = "Set how well the simulated tuner receives",
            .notes =
                "It is what every source reports from then on, and all that it does: nothing else in the "
                "simulation goes by it.",
            .examples = {"ostrel-tv signal set --strength 80 --quality 35"},
            .options = {{.name = "--strength",
                         .value = "N",
                         .description = "0 to 100",
                         .read = wholeNumber(status->strength, 0, most),
                         .isRequired = true},
                        {.name = "--quality",
                         .value = "N",
                         .description = "0 to 100",
                         .read = wholeNumber(status->quality, 0, most),
                         .isRequired = true}},
            .run = [&session, status] { setSignal(session, *status); }};
}

} // namespace

Command makeSignal(Session& session) {
    const auto source = std::make_shared<std::uint32_t>(0);
    return {.name = "signal",
            .description = "Show how well a tuner receives",
            .notes = "A simulated tuner has no aerial and reports 0 for both, until they are set.",
            .examples = {"ostrel-tv signal --source 1", "ostrel-tv signal set --strength 80 --quality 35"},
            .options = {sourceOption(*source)},
            .commands = {makeSignalSet(session)},
            .run = [&session, source] { showSignal(session, *source); }};
}

} // namespace Ostrel::Client::Tool
