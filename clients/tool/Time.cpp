#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

namespace Ostrel::Client::Tool {

namespace {

void showTime(Session& session) {
    const auto seconds = session.getClient().getUtcTime();
    if (session.json) {
        printJson(R"({"time":)" + std::to_string(seconds) + "}");
        return;
    }
    print(formatMoment(seconds));
}

} // namespace

Command makeTime(Session& session) {
    return {.name = "time",
            .description = "Show what time it is for the service",
            .notes =
                "The service's clock may be set to a day of its guide on purpose: ostrel-tvd --fake-time; "
                "ostrel-tvd --today leaves it alone. ostrel-tv clock steers it.",
            .examples = {"ostrel-tv time", "ostrel-tv time --json | jq .time"},
            .run = [&session] { showTime(session); }};
}

} // namespace Ostrel::Client::Tool
