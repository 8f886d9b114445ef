#pragma once

#include <ostream>
#include <string>

/// A text and all its tokens, up to the first End or Error.
struct TokenizerRow {
    const char* name;
    std::string text;
    const char* tokens;

    friend void PrintTo(const TokenizerRow& row, std::ostream* out) { *out << row.name; }
};

// clang-format off
const TokenizerRow tokenizerRows[] = {
    {"Empty",                 "",                  "End"},
    {"Blanks",                "   ",               "End"},
    {"NoBlanksNeeded",        "ServiceId==1000",   "Identifier(ServiceId) Equal Integer(1000) End"},
    {"BlanksDoNotMatter",     " a  <  1 ",         "Identifier(a) LessThan Integer(1) End"},
    {"TabIsNoBlank",          "a\tb",              "Identifier(a) Error"},
    {"LineBreakIsNoBlank",    "a\nb",              "Identifier(a) Error"},
    {"CarriageReturnIsNone",  "\r",                "Error"},
    {"Signs",                 "(),<<=>>===&&||",   "LeftParen RightParen Comma LessThan LessOrEqual GreaterThan GreaterOrEqual Equal And Or End"},
    {"BlankInsideASign",      "< =",               "LessThan Error"},
    {"GreaterAtTheEnd",       ">",                 "GreaterThan End"},
    {"LessAtTheEnd",          "<",                 "LessThan End"},
    {"LoneEqualsAtTheEnd",    "=",                 "Error"},
    {"LoneAnd",               "&x",                "Error"},
    {"LoneOr",                "|",                 "Error"},
    {"NotEqual",              "!=",                "Error"},
    {"Point",                 "1.5",               "Integer(1) Error"},
    {"HighByte",              "\xC3\xA9",          "Error"},
    {"EmbeddedNul",           std::string("a\0", 2), "Identifier(a) Error"},
    {"Zeros",                 "007",               "Integer(7) End"},
    {"NumberThenName",        "12abc",             "Integer(12) Identifier(abc) End"},
    {"NumbersWithoutBlank",   "1-2",               "Integer(1) Integer(-2) End"},
    {"MinusEight",            "-8",                "Integer(-8) End"},
    {"MinusEightyNine",       "-89",               "Integer(-89) End"},
    {"MinusTen",              "-10",               "Integer(-10) End"},
    {"MinusZero",             "-0",                "Integer(0) End"},
    {"MinusNine",             "-9",                "Error"},
    {"MinusNinetyFive",       "-95",               "Error"},
    {"MinusAlone",            "-",                 "Error"},
    {"MinusBlank",            "- 1",               "Error"},
    {"MinusMinus",            "--1",               "Error"},
    {"LargestNumber",         "9223372036854775807",  "Integer(9223372036854775807) End"},
    {"DigitsThatWrap",        "9223372036854775808",  "Integer(-9223372036854775808) End"},
    {"WrapToZero",            "18446744073709551616", "Integer(0) End"},
    {"WrapToMinusOne",        "18446744073709551615", "Integer(-1) End"},
    {"SmallestNegated",       "-18446744073709551615", "Integer(1) End"},
    {"HundredDigits",         std::string(100, '9'), "Integer(-1) End"},
    {"In",                    "in",                "In End"},
    {"LongerThanIn",          "inx",               "Identifier(inx) End"},
    {"UpperCaseIn",           "IN",                "Identifier(IN) End"},
    {"MixedCaseIn",           "In",                "Identifier(In) End"},
    {"UnderscoreIn",          "_in",               "Identifier(_in) End"},
    {"InThenNumber",          "in1",               "Identifier(in1) End"},
    {"NameWithEverything",    "_aZ09_",            "Identifier(_aZ09_) End"},
    {"String",                R"("abc")",          "String(abc) End"},
    {"EmptyString",           R"("")",             "String() End"},
    {"StringOfAnyByte",       "\"\t\xFF\n\"",      "String(\t\xFF\n) End"},
    {"EscapedQuote",          R"("say \"hi\"")",   R"(String(say "hi") End)"},
    {"OneEscape",             R"("a\nb")",         R"(String(a\nb) End)"},
    {"TwoBackslashes",        R"("\\")",           R"(String(\\) End)"},
    {"TwoBackslashesAndMore", R"("\\x")",          R"(String(\\x) End)"},
    {"Unfinished",            R"("abc)",           "Error"},
    {"UnfinishedEscape",      "\"a\\",             "Error"},
};
// clang-format on
