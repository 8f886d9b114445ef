#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

#include <ctime>

namespace Ostrel::Client::Tool {

namespace {

std::string describe(const Notification& notification) {
    const auto now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::string line = formatTime("%Y-%m-%d %H:%M:%S", local) + "  " + notification.method;
    if (const auto members = listMembers(notification.params); !members.empty())
        line += "  " + members;
    return printable(line) + "\n";
}

[[noreturn]] void watch(Session& session) {
    auto& client = session.getClient();
    while (true) {
        const auto notification = client.next();
        if (session.json)
            printJson(toJson(notification));
        else
            print(describe(notification));
    }
}

} // namespace

Command makeWatch(Session& session) {
    return {.name = "watch",
            .description = "Print notifications as they come, until Ctrl-C",
            .notes =
                "With --json every line is one object. The exit status is 130 after Ctrl-C and 3 when the "
                "connection is lost.",
            .examples = {"ostrel-tv watch", "ostrel-tv watch --json | jq --unbuffered .params.percent"},
            .run = [&session] { watch(session); }};
}

} // namespace Ostrel::Client::Tool
