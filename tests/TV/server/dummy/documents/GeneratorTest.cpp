#include "TV/server/dummy/documents/JsonGenerator.h"
#include "TV/server/dummy/documents/XmlGenerator.h"

#include <gtest/gtest.h>

#include <string>

using namespace Ostrel::TV;

namespace {

std::string writeJson(const std::string& text) {
    JsonGenerator generator;
    generator.addString(nullptr, text.c_str());
    return generator.getString();
}

std::string writeXml(const std::string& text) {
    XmlGenerator generator;
    generator.addString("t", text.c_str());
    const std::string& out = generator.getString();
    return out.substr(3, out.size() - 7);
}

struct Row {
    const char* name;
    std::string text;
    std::string json; ///< between the quotation marks
    std::string xml;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class EscapeTable : public testing::TestWithParam<Row> {};

// clang-format off
const Row rows[] = {
    {"Empty",                "",                          "",                       ""},
    {"Plain",                "News at Ten /7",            "News at Ten /7",         "News at Ten /7"},
    {"ShortEscapes",         "\b\t\n\f\r",                R"(\b\t\n\f\r)",          "&#x8;&#x9;&#xa;&#xc;&#xd;"},
    {"Controls",             "\x01\x0b\x1f",              R"(\u0001\u000b\u001f)",  "&#x1;&#xb;&#x1f;"},
    {"Signs",                "\"\\'<>&",                  R"(\"\\'<>&)",            "&quot;\\&apos;&lt;&gt;&amp;"},
    {"Delete",               "a\x7f",                     "a\x7f",                  "a\x7f"},
    {"TabControlAndTwoBytes","\t\x01\xC3\xA9",            "\\t\\u0001\xC3\xA9",     "&#x9;&#x1;&#xe9;"},
    {"ThreeBytes",           "\xE2\x82\xAC!",             "\xE2\x82\xAC!",          "&#x20ac;!"},
    {"HighestThreeBytes",    "\xEF\xBF\xBF",              "\xEF\xBF\xBF",           "&#xffff;"},
    {"FourBytesBecomeThree", "a\xF0\x9F\x8E\xAC" "b",     "a\xF0\x9F\x8E" "b",      "a&#x7ce;b"},
    {"StrayBytes",           "a\x80\xBF" "b",             "ab",                     "ab"},
    {"OverlongSign",         "\xC0\xBC",                  "\xC0\xBC",               "&lt;"},
    {"OverlongLetter",       "\xC1\x81",                  "\xC1\x81",               "A"},
    {"FollowersUnchecked",   "\xC3(\xE2()",               "\xC3(\xE2()",            "&#xe8;&#x2a29;"},
    {"LeadOfTwoAtTheEnd",    "a\xC3",                     "a\xC3",                  "a&#xc0;"},
    {"LeadOfThreeAtTheEnd",  "a\xE2",                     "a\xE2",                  "a&#x2000;"},
    {"HalfOfThreeAtTheEnd",  "a\xE2\x82",                 "a\xE2\x82",              "a&#x2080;"},
    {"QuoteSwallowed",       "\xC3\"",                    "\xC3\"",                 "&#xe2;"},
    {"HighestLead",          "\xFF\xBF\xBF\xBF",          "\xFF\xBF\xBF",           "&#xffff;"},
};
// clang-format on

} // namespace

TEST_P(EscapeTable, JsonGivesThis) {
    EXPECT_EQ(writeJson(GetParam().text), '"' + GetParam().json + '"');
}

TEST_P(EscapeTable, XmlGivesThis) {
    EXPECT_EQ(writeXml(GetParam().text), GetParam().xml);
}

INSTANTIATE_TEST_SUITE_P(Texts, EscapeTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(JsonGeneratorTest, WritesMembers) {
    JsonGenerator generator;
    generator.begin();
    generator.addInt("a", 1);
    generator.addInt("b", 2);
    generator.end();
    EXPECT_EQ(generator.getString(), R"({ "a": 1, "b": 2 })");
}

TEST(JsonGeneratorTest, WritesEveryKindOfValue) {
    JsonGenerator generator;
    generator.begin();
    generator.addInt("min", -9223372036854775807ll - 1);
    generator.addOptInt("is", 6, 5);
    generator.addOptInt("none", 5, 5);
    generator.addString("text", "a");
    generator.addString("absent", nullptr);
    generator.addFlag("yes", true);
    generator.addFlag("no", false);
    generator.beginList("empty");
    generator.endList();
    generator.beginObject("object");
    generator.endObject();
    generator.end();
    EXPECT_EQ(generator.getString(),
              R"({ "min": -9223372036854775808, "is": 6, "none": null, "text": "a", "absent": "", )"
              R"("yes": true, "no": false, "empty": [  ], "object": {  } })");
}

TEST(JsonGeneratorTest, AnEmptyNameWritesNoKey) {
    JsonGenerator generator;
    generator.addInt("", 1);
    generator.addInt(nullptr, 2);
    generator.addString("", "a");
    generator.addFlag("", true);
    generator.addOptInt("", 1, 1);
    generator.beginList("");
    generator.endList();
    EXPECT_EQ(generator.getString(), R"(1, 2, "a", true, null, [  ])");
}

TEST(JsonGeneratorTest, NamesAreEscapedToo) {
    JsonGenerator generator;
    generator.addInt("a\"\t", 1);
    EXPECT_EQ(generator.getString(), R"("a\"\t": 1)");
}

TEST(JsonGeneratorTest, ComparesAllBitsOfADefault) {
    JsonGenerator generator;
    generator.addOptInt("a", -1, 4294967295ll);
    EXPECT_EQ(generator.getString(), R"("a": -1)");
}

TEST(JsonGeneratorTest, NoSeparatorBehindLeadingContainers) {
    JsonGenerator objects;
    objects.beginList("l");
    for (int i = 0; i != 3; ++i) {
        objects.beginObject("");
        objects.addInt("a", i);
        objects.endObject();
    }
    objects.endList();
    EXPECT_EQ(objects.getString(), R"("l": [ { "a": 0 }{ "a": 1 }{ "a": 2 } ])");

    JsonGenerator mixed;
    mixed.beginList("l");
    mixed.addInt(nullptr, 7);
    for (int i = 0; i != 3; ++i) {
        mixed.beginObject("");
        mixed.endObject();
    }
    mixed.addInt(nullptr, 8);
    mixed.endList();
    EXPECT_EQ(mixed.getString(), R"("l": [ 7, {  }, {  }, {  }, 8 ])");

    JsonGenerator behind;
    behind.beginList("l");
    behind.endList();
    behind.addInt("first", 1);
    behind.addInt("second", 2);
    EXPECT_EQ(behind.getString(), R"("l": [  ]"first": 1, "second": 2)");
}

TEST(XmlGeneratorTest, WritesEveryKindOfValue) {
    XmlGenerator generator;
    generator.begin();
    generator.beginObject("o");
    generator.addInt("min", -9223372036854775807ll - 1);
    generator.addOptInt("is", 6, 5);
    generator.addOptInt("none", 5, 5);
    generator.addString("text", "a");
    generator.addString("empty", "");
    generator.addString("absent", nullptr);
    generator.addFlag("yes", true);
    generator.addFlag("no", false);
    generator.beginList("genre");
    generator.addInt(nullptr, 16);
    generator.addString(nullptr, "drama");
    generator.endList();
    generator.endObject();
    generator.end();
    EXPECT_EQ(generator.getString(),
              "<o><min>-9223372036854775808</min><is>6</is><text>a</text><empty></empty>"
              "<yes/><genre>16</genre><genre>drama</genre></o>");
}

TEST(XmlGeneratorTest, HalfADefault) {
    XmlGenerator generator;
    generator.addOptInt("a", -1, 4294967295ll);
    EXPECT_EQ(generator.getString(), "");
    generator.addOptInt("b", 4294967295ll, 4294967295ll);
    generator.addOptInt("c", 5, 4294967301ll);
    EXPECT_EQ(generator.getString(), "<b>4294967295</b>");
}

TEST(XmlGeneratorTest, ListNamesAreThoseOfTheInnermostContainer) {
    XmlGenerator generator;
    generator.beginObject("o");
    generator.beginList("outer");
    generator.beginList("inner");
    generator.addInt(nullptr, 1);
    EXPECT_EQ(generator.getListName(), "inner");
    generator.endList();
    generator.addInt(nullptr, 2);
    generator.endList();
    generator.addInt(nullptr, 3);
    generator.endObject();
    EXPECT_EQ(generator.getString(), "<o><inner>1</inner><outer>2</outer><o>3</o></o>");
}
