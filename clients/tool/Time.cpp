#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

#include <ctime>

namespace Ostrel::Client::Tool {

namespace {

void showTime(Session& session) {
    const auto seconds = session.getClient().getUtcTime();
    if (session.json) {
        printJson(R"({"time":)" + std::to_string(seconds) + "}");
        return;
    }
    const auto time = static_cast<std::time_t>(seconds);
    std::tm utc{};
    std::tm local{};
    gmtime_r(&time, &utc);
    localtime_r(&time, &local);
    print("UTC      " + formatTime("%Y-%m-%dT%H:%M:%SZ", utc) + "\n" + //
          "local    " + formatTime("%Y-%m-%d %H:%M:%S %Z", local) + "\n" + //
          "seconds  " + std::to_string(seconds) + "\n");
}

} // namespace

Command makeTime(Session& session) {
    return {.name = "time",
            .description = "Show what time it is for the service",
            .notes =
                "The service's clock may be set to a day of its guide on purpose: ostrel-tvd --fake-time.",
            .examples = {"ostrel-tv time", "ostrel-tv time --json | jq .time"},
            .run = [&session] { showTime(session); }};
}

} // namespace Ostrel::Client::Tool
