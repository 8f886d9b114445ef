#include "TV/server/dummy/data/WorldRules.h"
#include "commandline/Output.h"
#include "commandline/Text.h"
#include "commandline/Values.h"
#include "world/Commands.h"
#include "world/WorldInput.h"

#include <memory>
#include <string>

namespace Ostrel::TV::Tool {

namespace {

void check(const std::string& path) {
    const WorldInput input(path); // refuses what breaks a rule
    const World& world = input.world();
    WorldProblems problems;
    checkWorld(world, WorldPlaces::names(world), problems);
    if (problems.count() != 0)
        throw WorldError(problems);
    CommandLine::print(CommandLine::printable(world.name) +
                       " keeps every rule: " + std::to_string(world.rows.size()) + " events of " +
                       std::to_string(world.services.size()) + " services, " +
                       std::to_string(world.lineup.size()) + " services in the line-up\n");
}

} // namespace

Command makeCheck() {
    using namespace CommandLine;
    const auto path = std::make_shared<std::string>();
    return {
        .name = "check",
        .description = "Tell everything that is wrong with a world",
        .notes =
            "Each rule that is broken is a line, \"file:line: reason\" of a folder's files, and the exit "
            "status is "
            "1. ostrel-tvd refuses a world for the same reasons.\n\n"
            "Every world keeps these: times fit 32 bits and no event ends before it begins; no two events of "
            "a service are on at once; event, channel and DVB numbers are unique; texts are UTF-8 without "
            "control "
            "characters; a link leads to an event in high definition of another service. A text may be "
            "empty, "
            "a name may come twice, and there may be gaps.",
        .examples = {"ostrel-world check my-world", "ostrel-world check my.world"},
        .options = {{.name = "WORLD",
                     .description =
                         "A folder of text files or a compiled file; the built-in world without it",
                     .read = text(*path),
                     .isFile = true}},
        .run = [path] { check(*path); }};
}

} // namespace Ostrel::TV::Tool
