#include "Ostrel/serialization/Json.h"

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace Ostrel {
namespace {

/// The kind and the text of what is read; "refused" when it is not JSON.
std::string describe(const std::string& text) {
    boost::system::error_code error;
    const auto value = parseJson(text, {}, error);
    if (error)
        return "refused";
    const char* kind = value.is_int64()    ? "integer "
                       : value.is_uint64() ? "unsigned "
                       : value.is_double() ? "double "
                                           : "";
    return kind + boost::json::serialize(value);
}

struct Row {
    const char* name;
    std::string text;
    std::string value;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.text;
}

std::string nameOf(const testing::TestParamInfo<Row>& info) {
    return info.param.name;
}

std::string nested(int depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

std::string nestedObjects(int depth) {
    std::string text = "1";
    for (int i = 0; i < depth; ++i)
        text = R"({"a":)" + text + '}';
    return text;
}

class JsonTable : public testing::TestWithParam<Row> {};

TEST_P(JsonTable, ReadsAs) {
    EXPECT_EQ(describe(GetParam().text), GetParam().value);
}

// clang-format off
const Row numbers[] = {
    {"Zero",                  "0",                        "integer 0"},
    {"MinusZero",             "-0",                       "integer 0"},
    {"MinusZeroPoint",        "-0.0",                     "integer 0"},
    {"ZeroWithExponent",      "0e5",                      "integer 0"},
    {"ZeroHugeExponent",      "0e999999999",              "integer 0"},
    {"ZeroTinyExponent",      "0.00e-999999999",          "integer 0"},
    {"One",                   "1",                        "integer 1"},
    {"OnePoint",              "1.0",                      "integer 1"},
    {"OneExponent",           "1e0",                      "integer 1"},
    {"OneUpperExponent",      "1E+0",                     "integer 1"},
    {"OneFromHundred",        "100e-2",                   "integer 1"},
    {"OneFromTenth",          "0.1e1",                    "integer 1"},
    {"MinusTwelve",           "-1.20e1",                  "integer -12"},
    {"Thousandfold",          "1.5e3",                    "integer 1500"},
    {"ManyZeros",             "1.0000000000000000000000000000000000000000", "integer 1"},
    {"ManyZerosBack",         "0.00000000000000000000000000000000000000007e41", "integer 7"},
    {"ExponentZeros",         "2e000000000000000000001",  "integer 20"},
    {"ExponentManyZeros",     "3e-00000000000000000000",  "integer 3"},
    {"UnsignedLimit",         "4294967295",               "integer 4294967295"},
    {"SignedMaximum",         "9223372036854775807",      "integer 9223372036854775807"},
    {"SignedMaximumPoint",    "9223372036854775807.0",    "integer 9223372036854775807"},
    {"PastSignedMaximum",     "9223372036854775808",      "unsigned 9223372036854775808"},
    {"PastSignedMaximumExp",  "922337203685477580.8e1",   "unsigned 9223372036854775808"},
    {"SignedMinimum",         "-9223372036854775808",     "integer -9223372036854775808"},
    {"SignedMinimumPoint",    "-9223372036854775808.0",   "integer -9223372036854775808"},
    {"UnsignedMaximum",       "18446744073709551615.0",   "unsigned 18446744073709551615"},
    {"PastUnsignedMaximum",   "18446744073709551616",     "double 1.8446744073709552E19"},
    {"PastUnsignedMaxPoint",  "18446744073709551616.0",   "double 1.8446744073709552E19"},
    {"TenToTheTwenty",        "1e20",                     "double 1E20"},
    {"BeyondDouble",          "1e400",                    "double 1.7976931348623157E308"},
    {"MinusBeyondDouble",     "-1e400",                   "double -1.7976931348623157E308"},
    {"HugeExponent",          "1e999999999",              "double 1.7976931348623157E308"},
    {"ExponentBeyondInt",     "1e2147483648",             "double 1.7976931348623157E308"},
    {"ExponentBeyondLong",    "[1e99999999999999999999]", "[1.7976931348623157E308]"},
    {"ExponentBelowInt",      "1e-2147483649",            "double 5E-1"},
    {"ExponentBelowLong",     "-1E-99999999999999999999", "double -5E-1"},
    {"ExponentInString",      R"(["1e99999999999","\"2e99999999999",1e99999999999])",
                              R"(["1e99999999999","\"2e99999999999",1.7976931348623157E308])"},
    {"Half",                  "0.5",                      "double 5E-1"},
    {"MinusOneAndAHalf",      "-1.5",                     "double -1.5E0"},
    {"Tiny",                  "1e-400",                   "double 5E-1"},
    {"RoundsToOne",           "1.00000000000000001",      "double 5E-1"},
    {"RoundsToMinusOne",      "-1.00000000000000001",     "double -5E-1"},
    {"RoundsToUnsignedLimit", "4294967295.0000000001",    "double 5E-1"},
    {"RoundsFromBelow",       "0.99999999999999999999",   "double 5E-1"},
    {"RoundsWhereNoFraction", "100000000000000000.5",     "double 5E-1"},
    {"LeadingZero",           "01",                       "refused"},
    {"LeadingPlus",           "+1",                       "refused"},
    {"LeadingPoint",          ".5",                       "refused"},
    {"TrailingPoint",         "1.",                       "refused"},
    {"MinusAlone",            "-",                        "refused"},
    {"ExponentAlone",         "1e",                       "refused"},
    {"ExponentSignAlone",     "1e+",                      "refused"},
    {"Hexadecimal",           "0x10",                     "refused"},
    {"NotANumber",            "NaN",                      "refused"},
    {"Infinity",              "-Infinity",                "refused"},
};

const Row texts[] = {
    {"Empty",               "",                         "refused"},
    {"BlanksAlone",         " \n",                      "refused"},
    {"Blanks",              " \t\r\n[ 1 , 2 ] \n",      "[1,2]"},
    {"Null",                "null",                     "null"},
    {"DuplicateLastCounts", R"({"a":1,"b":2,"a":3})",   R"({"a":3,"b":2})"},
    {"Nested64",            nested(64),                 nested(64)},
    {"Nested65",            nested(65),                 "refused"},
    {"NestedObjects64",     nestedObjects(64),          nestedObjects(64)},
    {"NestedObjects65",     nestedObjects(65),          "refused"},
    {"TrailingText",        "{} x",                     "refused"},
    {"TwoValues",           "{}{}",                     "refused"},
    {"TrailingComma",       "[1,]",                     "refused"},
    {"Comment",             "[1/*one*/]",               "refused"},
    {"SingleQuotes",        "['a']",                    "refused"},
    {"Unfinished",          R"({"a":1)",                "refused"},
    {"ByteOrderMark",       "\xef\xbb\xbf{}",           "refused"},
    {"RawControl",          "\"a\nb\"",                 "refused"},
    {"RawZero",             std::string("\"a\0b\"", 5), "refused"},
    {"EscapedZero",         R"("a\u0000b")",            R"("a\u0000b")"},
    {"UnknownEscape",       R"("\x41")",                "refused"},
    {"SurrogatePair",       R"("\ud83d\ude00")",        "\"\xf0\x9f\x98\x80\""},
    {"LoneSurrogate",       R"("\ud83d")",              "refused"},
    {"Utf8",                "\"\xc3\xa9\xe2\x82\xac\"", "\"\xc3\xa9\xe2\x82\xac\""},
    {"Utf8Latin1",          "\"\xe9\"",                 "refused"},
    {"Utf8Overlong",        "\"\xc0\xaf\"",             "refused"},
    {"Utf8Surrogate",       "\"\xed\xa0\x80\"",         "refused"},
    {"Utf8Cut",             "\"\xe2\x82\"",             "refused"},
    {"Utf8TooLarge",        "\"\xf4\x90\x80\x80\"",     "refused"},
    {"Utf8InKey",           "{\"\xff\":1}",             "refused"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Numbers, JsonTable, testing::ValuesIn(numbers), nameOf);
INSTANTIATE_TEST_SUITE_P(Texts, JsonTable, testing::ValuesIn(texts), nameOf);

TEST(JsonTest, AFractionStaysOneWhenItsTextIsReadAgain) {
    for (const char* text : {"1.00000000000000001", "4294967295.0000000001", "1e-400", "2.5"}) {
        boost::system::error_code error;
        const auto once = boost::json::serialize(parseJson(text, {}, error));
        EXPECT_TRUE(parseJson(once, {}, error).is_double()) << text;
    }
}

TEST(JsonTest, ASuccessClearsTheError) {
    boost::system::error_code error;
    parseJson("x", {}, error);
    ASSERT_TRUE(error);
    parseJson("1", {}, error);
    EXPECT_FALSE(error);
}

} // namespace
} // namespace Ostrel
