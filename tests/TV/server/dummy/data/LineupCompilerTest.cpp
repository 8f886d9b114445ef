#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

/// A folder of its own that goes away with the test.
class LineupCompilerTest : public testing::Test {
protected:
    LineupCompilerTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "lineup-XXXXXX").string();
        folder = mkdtemp(pattern.data());
    }
    ~LineupCompilerTest() override { std::filesystem::remove_all(folder); }

    /// Compiles a line-up. Returns the exit status; what the compiler says goes to messages().
    int compile(const std::string& text) {
        std::ofstream(folder / "lineup.txt") << text;
        const std::string command =
            "cd '" + folder.string() + "' && '" OSTREL_LINEUP_COMPILER "' made.cpp lineup.txt 2> messages";
        return WEXITSTATUS(std::system(command.c_str()));
    }

    std::string read(const char* name) const {
        std::ostringstream text;
        text << std::ifstream(folder / name).rdbuf();
        return text.str();
    }

    std::filesystem::path folder;
};

const std::string good = "690 | 10 | tv | ITV3 | 0x233A | 0x3006 | 0x3EB0 | ITV | 0011\n";

TEST_F(LineupCompilerTest, MakesATableThatEndsWithZeros) {
    EXPECT_EQ(compile("# comment\n\n" + good + "722 | 718 | radio | A \"B\" \\ & | 9018 | 1 | 2 | | 1101\n"),
              0);
    EXPECT_EQ(read("messages"), "");
    EXPECT_NE(
        read("made.cpp")
            .find(
                "    {690, 10, 1, \"ITV3\", 0x233A, 0x3006, 0x3EB0, 0, \"ITV\", false, false, true, true},\n"
                "    {722, 718, 2, \"A \\\"B\\\" \\\\ &\", 0x233A, 0x0001, 0x0002, 0, \"\", true, true, "
                "false, true},\n"
                "    {0, 0, 0, nullptr, 0, 0, 0, 0, nullptr, false, false, false, false},\n"),
        std::string::npos)
        << read("made.cpp");
}

struct BadRow {
    const char* name;
    const char* row; ///< comes behind a good one
    const char* reason;
};

void PrintTo(const BadRow& row, std::ostream* out) {
    *out << row.row;
}

class BadRows : public LineupCompilerTest, public testing::WithParamInterface<BadRow> {};

// clang-format off
const BadRow badRows[] = {
    {"FieldMissing",    "690 | 11 | tv | A | 1 | 1 | 1 | 0011",            "expected 9 fields between bars, found 8"},
    {"FieldTooMany",    "690 | 11 | tv | A | 1 | 1 | 1 | p | 0011 |",      "expected 9 fields between bars, found 10"},
    {"FrequencyZero",   "0 | 11 | tv | A | 1 | 1 | 1 | p | 0011",          "frequency \"0\" is not a number from 1 to 999"},
    {"NumberZero",      "690 | 0 | tv | A | 1 | 1 | 1 | p | 0011",         "channel number \"0\" is not a number from 1 to 999"},
    {"NumberTooLarge",  "690 | 1000 | tv | A | 1 | 1 | 1 | p | 0011",      "channel number \"1000\" is not a number from 1 to 999"},
    {"NumberTaken",     "690 | 10 | tv | A | 1 | 1 | 1 | p | 0011",        "channel number 10 is taken"},
    {"KindUnknown",     "690 | 11 | TV | A | 1 | 1 | 1 | p | 0011",        "kind \"TV\" is not tv, radio or data"},
    {"NameEmpty",       "690 | 11 | tv |  | 1 | 1 | 1 | p | 0011",         "the service has no name"},
    {"NameNotUtf8",     "690 | 11 | tv | \xFF | 1 | 1 | 1 | p | 0011",     "a text is not UTF-8 up to U+FFFF"},
    {"NetworkTooLarge", "690 | 11 | tv | A | 0x10000 | 1 | 1 | p | 0011",  "network \"0x10000\" is not a number from 1 to 65535"},
    {"StreamNoNumber",  "690 | 11 | tv | A | 1 | x | 1 | p | 0011",        "stream \"x\" is not a number from 1 to 65535"},
    {"ServiceTaken",    "690 | 11 | tv | A | 1 | 1 | 0x3EB0 | p | 0011",   "service 0x3EB0 is taken"},
    {"FlagsTooFew",     "690 | 11 | tv | A | 1 | 1 | 1 | p | 001",         "flags \"001\" are not four digits 0 or 1"},
    {"FlagsNoFlags",    "690 | 11 | tv | A | 1 | 1 | 1 | p | 0012",        "flags \"0012\" are not four digits 0 or 1"},
};
// clang-format on

TEST_P(BadRows, StopTheBuild) {
    EXPECT_EQ(compile(good + GetParam().row + "\n"), 1);
    EXPECT_EQ(read("messages"), std::string("lineup.txt:2: ") + GetParam().reason + "\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "made.cpp"));
}

INSTANTIATE_TEST_SUITE_P(Lineup, BadRows, testing::ValuesIn(badRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(LineupCompilerTest, EmptyLineupStopsTheBuild) {
    EXPECT_EQ(compile("# nothing\n"), 1);
    EXPECT_EQ(read("messages"), "lineup.txt:0: there is no service\n");
}

} // namespace
