#include "Ostrel/serialization/Json.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Ostrel {
namespace {

/// A number as the integer that it is, else its text; "refused" when it is not JSON.
std::string describe(const std::string& text) {
    if (checkJson(text))
        return "refused";
    const JsonValue value(text);
    if (const auto integer = value.asInteger<std::int64_t>())
        return "integer " + std::to_string(*integer);
    if (const auto string = value.asString())
        return "string " + *string;
    return std::string(value.getText());
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
    {"PastSignedMaximum",     "9223372036854775808",      "9223372036854775808"},
    {"PastSignedMaximumExp",  "922337203685477580.8e1",   "922337203685477580.8e1"},
    {"SignedMinimum",         "-9223372036854775808",     "integer -9223372036854775808"},
    {"SignedMinimumPoint",    "-9223372036854775808.0",   "integer -9223372036854775808"},
    {"UnsignedMaximum",       "18446744073709551615.0",   "18446744073709551615.0"},
    {"PastUnsignedMaximum",   "18446744073709551616",     "18446744073709551616"},
    {"PastUnsignedMaxPoint",  "18446744073709551616.0",   "18446744073709551616.0"},
    {"TenToTheTwenty",        "1e20",                     "1e20"},
    {"BeyondDouble",          "1e400",                    "1e400"},
    {"MinusBeyondDouble",     "-1e400",                   "-1e400"},
    {"HugeExponent",          "1e999999999",              "1e999999999"},
    {"ExponentBeyondInt",     "1e2147483648",             "1e2147483648"},
    {"ExponentBeyondLong",    "1e99999999999999999999",   "1e99999999999999999999"},
    {"ExponentBelowInt",      "1e-2147483649",            "1e-2147483649"},
    {"ExponentBelowLong",     "-1E-99999999999999999999", "-1E-99999999999999999999"},
    {"ExponentInString",      R"(["1e99999999999","\"2e99999999999",1e99999999999])",
                              R"(["1e99999999999","\"2e99999999999",1e99999999999])"},
    {"Half",                  "0.5",                      "0.5"},
    {"MinusOneAndAHalf",      "-1.5",                     "-1.5"},
    {"Tiny",                  "1e-400",                   "1e-400"},
    {"RoundsToOne",           "1.00000000000000001",      "1.00000000000000001"},
    {"RoundsToMinusOne",      "-1.00000000000000001",     "-1.00000000000000001"},
    {"RoundsToUnsignedLimit", "4294967295.0000000001",    "4294967295.0000000001"},
    {"RoundsFromBelow",       "0.99999999999999999999",   "0.99999999999999999999"},
    {"RoundsWhereNoFraction", "100000000000000000.5",     "100000000000000000.5"},
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
    {"Blanks",              " \t\r\n[ 1 , 2 ] \n",      "[ 1 , 2 ]"},
    {"Null",                "null",                     "null"},
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
    {"EscapedZero",         R"("a\u0000b")",            std::string("string a\0b", 10)},
    {"UnknownEscape",       R"("\x41")",                "refused"},
    {"SurrogatePair",       R"("\ud83d\ude00")",        "string \xf0\x9f\x98\x80"},
    {"LoneSurrogate",       R"("\ud83d")",              "refused"},
    {"Utf8",                "\"\xc3\xa9\xe2\x82\xac\"", "string \xc3\xa9\xe2\x82\xac"},
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

std::string join(const std::vector<JsonValue>& values) {
    std::string text;
    for (const auto& value : values)
        text += '<' + std::string(value.getText()) + '>';
    return text;
}

TEST(JsonTest, IntegersFitTheirType) {
    EXPECT_EQ(JsonValue("255").asInteger<unsigned char>(), 255);
    EXPECT_EQ(JsonValue("256").asInteger<unsigned char>(), std::nullopt);
    EXPECT_EQ(JsonValue("-1").asInteger<unsigned>(), std::nullopt);
    EXPECT_EQ(JsonValue("-2147483648").asInteger<int>(), std::numeric_limits<int>::min());
    EXPECT_EQ(JsonValue("2147483648").asInteger<int>(), std::nullopt);
    EXPECT_EQ(JsonValue("\"1\"").asInteger<int>(), std::nullopt);
}

TEST(JsonTest, KindsAreToldApart) {
    const auto kinds = [](const char* text) {
        const JsonValue value(text);
        return std::string(value.isNull() ? "null" : "") + (value.isNumber() ? "number" : "") +
               (value.isString() ? "string" : "") + (value.isArray() ? "array" : "") +
               (value.isObject() ? "object" : "") +
               (value.asBool() ? *value.asBool() ? "true" : "false" : "");
    };
    for (const auto& [text, kind] :
         {std::pair(" null", "null"), std::pair("-1 ", "number"), std::pair("0", "number"),
          std::pair("\"null\"", "string"), std::pair("[1]", "array"), std::pair("{}", "object"),
          std::pair("true", "true"), std::pair("false", "false")})
        EXPECT_EQ(kinds(text), kind) << text;
}

TEST(JsonTest, ElementsComeInOrderWhateverTheyAre) {
    const char* const text = R"([ 1 ,"a,]\"[", [2,[3]], {"]":"}"} ,null,-1.5e3,true ])";
    ASSERT_FALSE(checkJson(text));
    const std::string all = R"(<1><"a,]\"["><[2,[3]]><{"]":"}"}><null><-1.5e3><true>)";
    EXPECT_EQ(join(JsonValue(text).getElements()), all);
    EXPECT_EQ(join(JsonValue(text).getElements(2)), R"(<1><"a,]\"[">)");
    EXPECT_EQ(join(JsonValue("[ ]").getElements()), "");

    std::vector<JsonValue> visited;
    JsonValue(text).forEachElement([&](const JsonValue& element) { visited.push_back(element); });
    EXPECT_EQ(join(visited), all);
}

TEST(JsonTest, MembersComeInOrderAndAsOftenAsTheyStand) {
    const char* const text = "{ \"a\" : {\"b\":[1]} ,\"\\u0061\":2,\"\":\"\\\\\" }";
    ASSERT_FALSE(checkJson(text));
    const auto members = JsonValue(text).getMembers();
    ASSERT_EQ(members.size(), 3u);
    EXPECT_EQ(members[0].value.getText(), "{\"b\":[1]}");
    EXPECT_TRUE(members[1].isNamed("a"));
    EXPECT_TRUE(members[2].isNamed(""));
    EXPECT_EQ(members[2].value.asString(), "\\");
    EXPECT_TRUE(JsonValue(" { } ").getMembers().empty());
}

// Wherever a quotation mark, a bracket or a backslash stands in a block that is looked at together.
TEST(JsonTest, MembersEndWhereTheyEndHoweverLongTheyAre) {
    constexpr std::size_t longest = 40;
    for (const std::string mark : {R"(\")", R"(\\)", "]", "}", "{[", R"(\u0022)"})
        for (std::size_t before = 0; before <= longest; ++before)
            for (std::size_t behind = 0; behind <= longest; behind += 3) {
                const auto string = '"' + std::string(before, 'x') + mark + std::string(behind, 'y') + '"';
                const auto nested = R"({"a":[)" + string + R"(,{"b":)" + string + "}]}";
                const auto text = "{" + string + ":" + nested + ",\"c\":" + string + "}";
                const std::vector<char> exact(text.begin(), text.end()); // nothing is read behind it
                const std::string_view view(exact.data(), exact.size());
                ASSERT_FALSE(checkJson(view)) << text;
                const auto members = JsonValue(view).getMembers();
                ASSERT_EQ(members.size(), 2) << text;
                EXPECT_EQ(members[0].key.getText(), string);
                EXPECT_EQ(members[0].value.getText(), nested);
                EXPECT_EQ(members[1].value.getText(), string);
            }
}

TEST(JsonTest, KeysAreComparedAsWhatTheyStandFor) {
    const auto isNamed = [](const std::string& key, const char* name) {
        EXPECT_FALSE(checkJson('"' + key + '"')) << key;
        const auto text = "{\"" + key + "\":1}";
        return JsonValue(text).getMembers().front().isNamed(name);
    };
    EXPECT_TRUE(isNamed("limit", "limit"));
    EXPECT_TRUE(isNamed(R"(l\u0069m\u0069t)", "limit"));
    EXPECT_TRUE(isNamed(R"(a\/\"\\b)", "a/\"\\b"));
    EXPECT_TRUE(isNamed(R"(\b\f\n\r\t)", "\b\f\n\r\t"));
    EXPECT_FALSE(isNamed("limi", "limit"));
    EXPECT_FALSE(isNamed("limits", "limit"));
    EXPECT_FALSE(isNamed("", "limit"));
    EXPECT_FALSE(isNamed(R"(\u016cimit)", "limit")); // 0x16c is no l
    EXPECT_FALSE(isNamed(R"(\ud83d\ude00)", "limit"));
    EXPECT_FALSE(isNamed("\xc3\xa9", "e"));
}

TEST(JsonTest, TheLastMemberOfANameCounts) {
    const auto members = JsonValue(R"({"a":1,"b":2,"\u0061":3})").getMembers();
    ASSERT_NE(findMember(members, "a"), nullptr);
    EXPECT_EQ(findMember(members, "a")->getText(), "3");
    EXPECT_EQ(findMember(members, "b")->getText(), "2");
    EXPECT_EQ(findMember(members, "c"), nullptr);
}

} // namespace
} // namespace Ostrel
