#include "clients/tool/Commands.h"
#include "clients/tool/Output.h"

namespace Ostrel::Client::Tool {

Command makeReset(Session& session) {
    return {.name = "reset",
            .description = "Put the simulation back to its start",
            .notes =
                "Clock, weather, signal, services, transponders and scan are as when the host had started. A "
                "running scan ends without a word. Connections and contexts stay, the latter without a list "
                "selected.",
            .examples = {"ostrel-tv reset"},
            .run = [&session] {
                session.getSimulator().reset();
                if (session.json)
                    printJson(R"({"reset":true})");
                else
                    print("All is as at the start.\n");
            }};
}

} // namespace Ostrel::Client::Tool
