#include "commandline/Parser.h"

#include "commandline/UsageError.h"
#include "tests/commandline/Table.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Ostrel::CommandLine;
using Ostrel::Test::Given;
using Ostrel::Test::makeProgram;

namespace {

/// Parses a line and does what it asks for; returns what is printed, or else the mistake with the
/// help that tells more.
std::string parseLine(Given& given, std::vector<const char*> words) {
    const auto program = makeProgram(given);
    words.insert(words.begin(), "box");
    std::string printed;
    try {
        parse(program, static_cast<int>(words.size()), words.data(),
              [&](const std::string& text) { printed += text; })();
    } catch (const UsageError& error) {
        return std::string(error.what()) + " (" + error.getHelp() + ")";
    }
    return printed;
}

std::string mistakeIn(const std::vector<const char*>& words) {
    Given given;
    return parseLine(given, words);
}

TEST(ParserTest, ValuesGoToTheirReaders) {
    Given given;
    EXPECT_EQ(parseLine(given, {"--json", "show", "--list=NEW", "--limit", "007", "--text", "a", "--url", "u",
                                "--text", "[b]", "{}"}),
              "");
    EXPECT_EQ(given.ran, "show");
    EXPECT_TRUE(given.json);
    EXPECT_EQ(given.list, "new") << "as the table has it";
    EXPECT_EQ(given.limit, 7U);
    EXPECT_EQ(given.url, "u") << "behind the command too";
    EXPECT_EQ(given.texts, (std::vector<std::string>{"a", "[b]"}));
    EXPECT_EQ(given.what, "{}");
}

TEST(ParserTest, ArgumentThatRepeatsTakesAllThatAreLeft) {
    std::string first;
    std::vector<std::string> others;
    Program program;
    program.name = "box";
    program.options = {{.name = "FIRST", .read = text(first), .isRequired = true},
                       {.name = "OTHER", .read = text(others), .choices = {"a", "b"}, .mayRepeat = true}};
    program.run = [] {};
    const auto give = [&](std::vector<const char*> words) {
        words.insert(words.begin(), "box");
        others.clear();
        parse(program, static_cast<int>(words.size()), words.data(), [](const std::string&) {});
    };
    give({"x"});
    EXPECT_EQ(others, std::vector<std::string>());
    give({"x", "b", "A", "b"});
    EXPECT_EQ(first, "x");
    EXPECT_EQ(others, (std::vector<std::string>{"b", "a", "b"}));
    EXPECT_THROW(give({"x", "b", "c"}), UsageError);
}

TEST(ParserTest, LastFlagCounts) {
    Given given;
    EXPECT_EQ(parseLine(given, {"--json", "--json=false", "scan", "blind"}), "");
    EXPECT_FALSE(given.json);
    EXPECT_EQ(given.ran, "blind");
}

TEST(ParserTest, EnvironmentGivesWhatTheLineDoesNot) {
    setenv("BOX_URL", "e", 1);
    Given given;
    parseLine(given, {"show"});
    EXPECT_EQ(given.url, "e");
    parseLine(given, {"show", "--url", "u"});
    EXPECT_EQ(given.url, "u");
    unsetenv("BOX_URL");
}

TEST(ParserTest, CommandWithCommandsMayRunByItself) {
    Given given;
    parseLine(given, {"listen"});
    EXPECT_EQ(given.ran, "listen");
    parseLine(given, {"listen", "mute"});
    EXPECT_EQ(given.ran, "mute");
}

TEST(ParserTest, HelpAndVersionArePrinted) {
    Given given;
    EXPECT_EQ(parseLine(given, {"--version"}), "box 1.2\n");
    const auto help = parseLine(given, {"scan", "blind", "-h"});
    EXPECT_TRUE(help.starts_with("Everything\n\nUsage: box scan blind")) << help;
    EXPECT_EQ(parseLine(given, {"help", "scan", "blind"}), help);
    EXPECT_EQ(parseLine(given, {"help"}), parseLine(given, {"--help"}));
    EXPECT_EQ(given.ran, "") << "nothing else is done";
}

TEST(ParserTest, ManualAndCompletionArePrinted) {
    Given given;
    EXPECT_TRUE(parseLine(given, {"--man"}).starts_with(".TH BOX 1 "));
    EXPECT_TRUE(parseLine(given, {"--bash-completion"}).starts_with("# Completes box in bash."));
}

struct Row {
    const char* name;
    std::vector<const char*> words;
    const char* mistake;
};

class MistakeTable : public testing::TestWithParam<Row> {};

TEST_P(MistakeTable, IsTold) {
    EXPECT_EQ(mistakeIn(GetParam().words), GetParam().mistake);
}

// clang-format off
const Row rows[] = {
    {"NoCommand",     {},                                     "a command is missing (box --help)"},
    {"NoInnerOne",    {"scan"},                               "a command is missing (box scan --help)"},
    {"Misspelt",      {"shwo"},                               "there is no command \"shwo\"; did you mean \"show\"? (box --help)"},
    {"Unknown",       {"frobnicate"},                         "there is no command \"frobnicate\" (box --help)"},
    {"UnknownInner",  {"listen", "loud"},                     "there is no command \"loud\" (box listen --help)"},
    {"HelpOfUnknown", {"help", "scan", "blnd"},               "there is no command \"blnd\"; did you mean \"blind\"? (box scan --help)"},
    {"Option",        {"show", "--limt", "1"},                "there is no option \"--limt\"; did you mean \"--limit\"? (box show --help)"},
    {"OptionOfAll",   {"show", "--jsno"},                     "there is no option \"--jsno\"; did you mean \"--json\"? (box show --help)"},
    {"Before",        {"--limit=1", "show"},                  "\"--limit=1\" goes behind the command (box show --help)"},
    {"TooMany",       {"show", "a", "b"},                     "\"b\" is one argument too many; quote it (box show --help)"},
    {"NoValue",       {"show", "--limit"},                    "--limit wants a value (box show --help)"},
    {"Twice",         {"show", "--limit", "1", "--limit", "2"}, "--limit has more values than it takes (box show --help)"},
    {"NoNumber",      {"show", "--limit", "x"},               "--limit: \"x\" is no whole number from 1 to 4294967295 (box show --help)"},
    {"Zero",          {"show", "--limit", "0"},               "--limit: \"0\" is no whole number from 1 to 4294967295 (box show --help)"},
    {"Choice",        {"show", "--list", "old"},              "--list: \"old\" is none of all, new (box show --help)"},
    {"FlagValue",     {"--json=x", "show"},                   "--json takes true or false, or no value (box show --help)"},
    {"Excluded",      {"show", "--all", "--text", "a", "--limit", "1"}, "--limit and --all do not go together (box show --help)"},
    {"Needed",        {"show", "--all"},                      "--all goes with --text (box show --help)"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Mistakes, MistakeTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

} // namespace
