#include "TV/server/dummy/data/LineupText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

using namespace Ostrel::TV;

namespace {

/// Reads a line-up from a file of its own; what is wrong with it goes to said.
class LineupTextTest : public testing::Test {
protected:
    std::vector<LineupService> read(const std::string& text) {
        const std::string path =
            (std::filesystem::temp_directory_path() / ("lineup-" + std::to_string(getpid()) + ".txt"))
                .string();
        std::ofstream(path) << text;
        std::vector<LineupService> services;
        try {
            services = readLineup(path);
        } catch (const TextFileError& error) {
            said = std::string(error.what()).substr(path.size());
        }
        std::filesystem::remove(path);
        return services;
    }

    std::string said;
};

const std::string good = "690 | 10 | tv | ITV3 | 0x233A | 0x3006 | 0x3EB0 | ITV | 0011\n";

TEST_F(LineupTextTest, ReadsEveryField) {
    const auto services =
        read("# comment\n\n" + good + "722 | 9999 | radio | A \"B\" \\ & | 9018 | 1 | 2 | | 1101\n");
    EXPECT_EQ(said, "");
    ASSERT_EQ(services.size(), 2u);
    const LineupService &first = services[0], &second = services[1];
    EXPECT_EQ(first.frequencyMHz, 690u);
    EXPECT_EQ(first.channelNumber, 10u);
    EXPECT_EQ(first.type, 1u);
    EXPECT_EQ(first.name, "ITV3");
    EXPECT_EQ(first.network, 0x233Au);
    EXPECT_EQ(first.stream, 0x3006u);
    EXPECT_EQ(first.dvbId, 0x3EB0u);
    EXPECT_EQ(first.provider, "ITV");
    EXPECT_FALSE(first.scrambled || first.highDefinition);
    EXPECT_TRUE(first.visible && first.selectable);
    EXPECT_EQ(second.channelNumber, 9999u);
    EXPECT_EQ(second.type, 2u);
    EXPECT_EQ(second.name, "A \"B\" \\ &");
    EXPECT_EQ(second.provider, "");
    EXPECT_TRUE(second.scrambled && second.highDefinition && second.selectable);
    EXPECT_FALSE(second.visible);
}

struct BadRow {
    const char* name;
    const char* row; ///< comes behind a good one
    const char* reason;
};

void PrintTo(const BadRow& row, std::ostream* out) {
    *out << row.row;
}

class BadRows : public LineupTextTest, public testing::WithParamInterface<BadRow> {};

// clang-format off
const BadRow badRows[] = {
    {"FieldMissing",    "690 | 11 | tv | A | 1 | 1 | 1 | 0011",            "expected 9 fields between bars, found 8"},
    {"FieldTooMany",    "690 | 11 | tv | A | 1 | 1 | 1 | p | 0011 |",      "expected 9 fields between bars, found 10"},
    {"FrequencyZero",   "0 | 11 | tv | A | 1 | 1 | 1 | p | 0011",          "frequency \"0\" is not a number from 1 to 999"},
    {"NumberZero",      "690 | 0 | tv | A | 1 | 1 | 1 | p | 0011",         "channel number \"0\" is not a number from 1 to 9999"},
    {"NumberTooLarge",  "690 | 10000 | tv | A | 1 | 1 | 1 | p | 0011",     "channel number \"10000\" is not a number from 1 to 9999"},
    {"KindUnknown",     "690 | 11 | TV | A | 1 | 1 | 1 | p | 0011",        "kind \"TV\" is not tv, radio or data"},
    {"NameEmpty",       "690 | 11 | tv |  | 1 | 1 | 1 | p | 0011",         "the service has no name"},
    {"NameNotUtf8",     "690 | 11 | tv | \xFF | 1 | 1 | 1 | p | 0011",     "a text is not UTF-8"},
    {"NetworkTooLarge", "690 | 11 | tv | A | 0x10000 | 1 | 1 | p | 0011",  "network \"0x10000\" is not a number from 1 to 65535"},
    {"StreamNoNumber",  "690 | 11 | tv | A | 1 | x | 1 | p | 0011",        "stream \"x\" is not a number from 1 to 65535"},
    {"FlagsTooFew",     "690 | 11 | tv | A | 1 | 1 | 1 | p | 001",         "flags \"001\" are not four digits 0 or 1"},
    {"FlagsNoFlags",    "690 | 11 | tv | A | 1 | 1 | 1 | p | 0012",        "flags \"0012\" are not four digits 0 or 1"},
};
// clang-format on

TEST_P(BadRows, AreRefused) {
    read(good + GetParam().row + "\n");
    EXPECT_EQ(said, std::string(":2: ") + GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(Lineup, BadRows, testing::ValuesIn(badRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(LineupTextTest, WhatIsWrittenIsReadTheSame) {
    const auto services = read(good + "1 | 9999 | radio | A \"B\" \\ & | 9018 | 1 | 2 | | 1101\n"
                                      "999 | 1 | data | \U0001F3AC | 1 | 0xFFFF | 3 | p q | 0000\n");
    const std::string text = writeLineup(services);
    EXPECT_EQ(writeLineup(read(text)), text);
    EXPECT_NE(text.find("\n690 |   10 | tv    | ITV3 | 0x233A | 0x3006 | 0x3EB0 | ITV | 0011\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("\n999 |    1 | data  | \U0001F3AC | 0x0001 | 0xFFFF | 0x0003 | p q | 0000\n"),
              std::string::npos)
        << text;
}

TEST_F(LineupTextTest, EveryMistakeIsTold) {
    read("690\n" + good + "690 | 1\n");
    EXPECT_TRUE(said.starts_with(":1: expected 9 fields between bars, found 1\n")) << said;
    EXPECT_NE(said.find(":3: expected 9 fields between bars, found 2"), std::string::npos) << said;
}

} // namespace
