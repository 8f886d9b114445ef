#include "commandline/Help.h"

#include "tests/commandline/Table.h"

#include <gtest/gtest.h>

using namespace Ostrel::CommandLine;
using Ostrel::Test::Given;
using Ostrel::Test::makeProgram;

namespace {

TEST(HelpTest, OfAProgram) {
    Given given;
    const auto program = makeProgram(given);
    EXPECT_EQ(formatHelp(program, {&program}, 60), "Does it.\n"
                                                   "\n"
                                                   "Usage: box [OPTION ...] COMMAND\n"
                                                   "\n"
                                                   "Commands:\n"
                                                   "  show                  Show -- it\n"
                                                   "  scan                  Search\n"
                                                   "  listen                Listen\n"
                                                   "  help                  Print the help of a command\n"
                                                   "\n"
                                                   "Options:\n"
                                                   "  -h, --help            Print this help\n"
                                                   "  --version             Print the version\n"
                                                   "  --url URL             Where [$BOX_URL, else here]\n"
                                                   "  --token-file FILE     Token\n"
                                                   "  --json                For a script\n"
                                                   "\n"
                                                   "Exit status: 0 done; 2 wrong usage.\n");
}

TEST(HelpTest, CommandThatCanBeLeftOutStandsInBrackets) {
    Given given;
    const auto program = makeProgram(given);
    EXPECT_EQ(formatUsage(findPath(program, {"listen"})), "box listen [OPTION ...] [COMMAND]");
    EXPECT_EQ(formatUsage(findPath(program, {"scan"})), "box scan [OPTION ...] COMMAND");
}

TEST(HelpTest, OfACommand) {
    Given given;
    const auto program = makeProgram(given);
    EXPECT_EQ(formatHelp(program, findPath(program, {"show"}), 60),
              "Show -- it\n"
              "\n"
              "Usage: box show [OPTION ...] [WHAT]\n"
              "\n"
              "Arguments:\n"
              "  WHAT                  What to show\n"
              "\n"
              "Options:\n"
              "  -h, --help            Print this help\n"
              "  --list all|new        Which list [all]\n"
              "  --limit N             At most so many of a list that may\n"
              "                        be so long that the line is broken\n"
              "  --text TEXT           With it\n"
              "  --all                 All texts\n"
              "\n"
              "A note.\n"
              "\n"
              "Methods:\n"
              "  one\n"
              "  .two 'x' \\n\n"
              "\n"
              "Example:\n"
              "  box show --limit 5\n"
              "\n"
              "More options: box --help\n");
}

} // namespace
