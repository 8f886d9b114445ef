#include "TV/server/dummy/data/ViewerText.h"

#include <gtest/gtest.h>

#include <string>

using namespace Ostrel::TV;

namespace {

struct Row {
    const char* name;
    std::string text;
    const char* fault; ///< null for none
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

constexpr const char* notUtf8 = "a text is not UTF-8";
constexpr const char* control = "a text holds a control character";
constexpr const char* blank = "a text begins or ends with a blank";
constexpr const char* noCharacter = "a text holds U+FFFE or U+FFFF, which XML cannot write";

// clang-format off
const Row rows[] = {
    {"Empty",               "", nullptr},
    {"Ascii",               "From blank to tilde: ~ in one long text", nullptr},
    {"LastOfOne",           "\x7E", nullptr},
    {"FirstOfTwo",          "\u00A0", nullptr},
    {"LastOfTwo",           "\u07FF", nullptr},
    {"FirstOfThree",        "\u0800", nullptr},
    {"BeforeTheSurrogates", "\uD7FF", nullptr},
    {"BehindTheSurrogates", "\uE000", nullptr},
    {"BeforeTheRefused",    "\uFFFD", nullptr},
    {"FirstOfFour",         "\U00010000", nullptr},
    {"LastOfFour",          "\U0010FFFF", nullptr},
    {"RightToLeft",         "\u05E9\u05DC\u05D5\u05DD \u202B(1)\u202C", nullptr},
    {"LeadingBlank",        " a", blank},
    {"TrailingBlank",       "a ", blank},
    {"BlankAlone",          " ", blank},
    {"Nul",                 std::string("12345678901234567\0", 18), control},
    {"Tab",                 "a\tb", control},
    {"LastControl",         "a\x1F", control},
    {"Delete",              "12345678\x7F", control},
    {"DeleteInABlock",      "1234567\x7F" "12345678", control},
    {"ControlInABlock",     "1234567\x01" "12345678", control},
    {"FirstOfC1",           "\u0080", control},
    {"LastOfC1",            "\u009F", control},
    {"FFFE",                "\uFFFE", noCharacter},
    {"FFFF",                "\uFFFF", noCharacter},
    {"Continuation",        "\x80", notUtf8},
    {"OverlongTwo",         "\xC1\xBF", notUtf8},
    {"OverlongThree",       "\xE0\x9F\xBF", notUtf8},
    {"OverlongFour",        "\xF0\x8F\xBF\xBF", notUtf8},
    {"Surrogate",           "\xED\xA0\x80", notUtf8},
    {"LastSurrogate",       "\xED\xBF\xBF", notUtf8},
    {"BehindUnicode",       "\xF4\x90\x80\x80", notUtf8},
    {"NoLead",              "\xF8\x90\x80\x80", notUtf8},
    {"CutOfTwo",            "a\xC3", notUtf8},
    {"CutOfThree",          "a\xE2\x80", notUtf8},
    {"CutOfFour",           "a\xF0\x9F\x8E", notUtf8},
    {"NoContinuation",      "\xE2\x80 ...", notUtf8},
};
// clang-format on

class ViewerTextTable : public testing::TestWithParam<Row> {};

} // namespace

TEST_P(ViewerTextTable, HasThisFault) {
    EXPECT_STREQ(findTextFault(GetParam().text), GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(Texts, ViewerTextTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });
