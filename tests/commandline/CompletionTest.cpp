#include "commandline/Completion.h"

#include "tests/commandline/Table.h"
#include "tests/support/Child.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace Ostrel::CommandLine;
using Ostrel::Test::Child;
using Ostrel::Test::Given;
using Ostrel::Test::makeProgram;

namespace {

/// Returns what bash proposes for the last of these words, of which the first is the program.
std::string complete(const std::vector<std::string>& words) {
    Given given;
    auto arguments = words;
    arguments.insert(arguments.begin(), {"--noprofile", "--norc", "-s", "--"});
    Child bash("/bin/bash", arguments,
               formatBashCompletion(makeProgram(given)) +
                   "\nCOMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _box; echo \"${COMPREPLY[*]}\"\n");
    auto output = bash.readOutput();
    EXPECT_EQ(bash.wait(), 0);
    EXPECT_EQ(bash.readErrors(), "");
    return output;
}

struct Row {
    const char* name;
    std::vector<std::string> words;
    const char* proposals;
};

class CompletionTable : public testing::TestWithParam<Row> {};

TEST_P(CompletionTable, Proposes) {
    EXPECT_EQ(complete(GetParam().words), std::string(GetParam().proposals) + "\n");
}

// clang-format off
const Row rows[] = {
    {"Everything",    {"box", ""},                          "show scan listen help -h --help --version --url --token-file --json"},
    {"Command",       {"box", "s"},                         "show scan"},
    {"InnerCommand",  {"box", "scan", "b"},                 "blind"},
    {"Options",       {"box", "show", "--"},                "--help --list --limit --text --all --url --token-file --json"},
    {"AfterAFlag",    {"box", "--json", "sh"},              "show"},
    {"AfterAValue",   {"box", "--url", "scan", "sh"},       "show"},
    {"AfterEquals",   {"box", "--url", "=", "scan", "sh"},  "show"},
    {"Choices",       {"box", "show", "--list", ""},        "all new"},
    {"ChoiceEquals",  {"box", "show", "--list", "=", "n"},  "new"},
    {"ChoicesAtOnce", {"box", "show", "--list", "="},       "all new"},
    {"AnyValue",      {"box", "show", "--limit", ""},       ""},
    {"File",          {"box", "show", "--token-file", "/dev/nul"}, "/dev/null"},
    {"Argument",      {"box", "show", "r"},                 "radio"},
    {"HelpOf",        {"box", "help", "sc"},                "scan"},
    {"Unknown",       {"box", "x"},                         ""},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Completions, CompletionTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

} // namespace
