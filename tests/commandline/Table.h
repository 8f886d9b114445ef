#pragma once

#include "commandline/Command.h"
#include "commandline/Help.h"
#include "commandline/Values.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::Test {

/// What the command line of the program below says.
struct Given {
    std::string url;
    bool json = false;
    std::string list;
    std::optional<std::uint32_t> limit;
    std::vector<std::string> texts;
    bool all = false;
    std::string what;
    std::string ran;
};

/// A program with some of everything.
inline CommandLine::Program makeProgram(Given& given) {
    using namespace CommandLine;
    Command show{
        .name = "show",
        .description = "Show -- it",
        .notes = "A note.\n\nMethods:\n  one\n  .two 'x' \\n",
        .examples = {"box show --limit 5"},
        .options = {{.name = "WHAT",
                     .description = "What to show",
                     .read = text(given.what),
                     .choices = {"radio", "tv"},
                     .isAnyOf = true},
                    {.name = "--list",
                     .description = "Which list",
                     .read = text(given.list),
                     .standard = "all",
                     .choices = {"all", "new"}},
                    {.name = "--limit",
                     .value = "N",
                     .description = "At most so many of a list that may be so long that the line is broken",
                     .read = wholeNumber(given.limit, 1)},
                    {.name = "--text",
                     .value = "TEXT",
                     .description = "With it",
                     .read = text(given.texts),
                     .mayRepeat = true},
                    {.name = "--all",
                     .description = "All texts",
                     .read = flag(given.all),
                     .excludes = {"--limit"},
                     .needs = {"--text"}}},
        .strayHint = "quote it",
        .run = [&given] { given.ran = "show"; }};
    Command blind{.name = "blind", .description = "Everything", .run = [&given] { given.ran = "blind"; }};
    Command scan{.name = "scan", .description = "Search", .commands = {blind}};
    Command listen{
        .name = "listen",
        .description = "Listen",
        .commands = {{.name = "mute", .description = "Not at all", .run = [&given] { given.ran = "mute"; }}},
        .run = [&given] { given.ran = "listen"; }};
    Program program;
    program.name = "box";
    program.description = "Does it.";
    program.version = "1.2";
    program.options = {{.name = "--url",
                        .value = "URL",
                        .description = "Where",
                        .read = text(given.url),
                        .standard = "here",
                        .environment = "BOX_URL"},
                       {.name = "--token-file",
                        .value = "FILE",
                        .description = "Token",
                        .read = text(given.url),
                        .isFile = true},
                       {.name = "--json", .description = "For a script", .read = flag(given.json)}};
    program.commands = {show, scan, listen};
    program.exitStatuses = {{"0", "done"}, {"2", "wrong usage"}};
    addHelp(program);
    return program;
}

} // namespace Ostrel::Test
