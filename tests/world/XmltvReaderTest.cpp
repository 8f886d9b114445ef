#include "world/XmltvReader.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

using namespace Ostrel::TV::Tool;

namespace {

std::string describe(const std::vector<XmltvText>& texts) {
    std::string text;
    for (const XmltvText& each : texts)
        text += "[" + each.kind + "|" + each.text + "]";
    return text;
}

/// What a reader tells, a line each; its error last.
std::string read(const std::string& xml, std::size_t pieceSize = std::string::npos) {
    std::string told;
    XmltvReader reader("guide.xml",
                       {.onGuide = [&](auto attributes) { told += "tv " + describe(attributes) + "\n"; },
                        .onChannel =
                            [&](const XmltvChannel& channel) {
                                told += "channel " + channel.id + " " + describe(channel.names) +
                                        describe(channel.urls) + channel.number + "\n";
                            },
                        .onProgramme =
                            [&](const XmltvProgramme& programme) {
                                told += "programme " + programme.channel + " " + programme.start + "-" +
                                        programme.stop + " " + describe(programme.titles) + "\n";
                            }});
    try {
        for (std::size_t at = 0; at < xml.size(); at += std::min(pieceSize, xml.size() - at))
            reader.read(std::string_view(xml).substr(at, pieceSize));
        reader.finish();
    } catch (const XmltvError& error) {
        told += error.what();
    }
    return told;
}

const std::string guide = R"(<?xml version="1.0"?>
<!DOCTYPE tv SYSTEM "xmltv.dtd">
<tv date="20261024">
  <channel id="one"><display-name lang="en"> Coast
    One </display-name><lcn>7</lcn><url system="a">b</url></channel>
  <programme start="20261024" stop="20261025" channel="one">
    <title>Tom &amp; <![CDATA[<Jo>]]> &#x1F6A2;</title>
    <new-thing><title>not this one</title></new-thing>
    <credits><actor>nor<url>this</url></actor></credits>
  </programme>
</tv>
)";

const std::string told = "tv [date|20261024]\n"
                         "channel one [en|Coast One][a|b]7\n"
                         "programme one 20261024-20261025 [|Tom & <Jo> \U0001F6A2]\n";

TEST(XmltvReaderTest, TellsChannelsAndProgrammesAsTheyCome) {
    EXPECT_EQ(read(guide), told);
}

TEST(XmltvReaderTest, ItDoesNotMatterHowTheFileIsCutIntoPieces) {
    for (std::size_t size = 1; size != 40; ++size)
        EXPECT_EQ(read(guide, size), told) << size;
}

TEST(XmltvReaderTest, OfATextWithElementsInItTheBeginningIsTaken) {
    EXPECT_EQ(
        read(R"(<tv><programme start="1" channel="one"><title> Tea <b>for</b> two</title></programme></tv>)"),
        "tv \nprogramme one 1- [|Tea]\n");
}

TEST(XmltvReaderTest, KeepsWhatWorldsHaveAPlaceFor) {
    XmltvProgramme programme;
    XmltvReader reader("guide.xml", {.onGuide = [](auto) {},
                                     .onChannel = [](auto&) {},
                                     .onProgramme = [&](const XmltvProgramme& read) { programme = read; }});
    reader.read(
        R"(<tv><programme start="1" channel="c" clumpidx="0/2"><title/><sub-title>s</sub-title><desc>d</desc>
        <category lang="en">c</category><url>u</url><episode-num>e</episode-num><series-id system="x">i</series-id>
        <video><present>no</present><quality>HDTV</quality></video><audio><present>yes</present></audio>
        <previously-shown/><rating system="r"><value>18</value><icon src="i"/></rating>
        <star-rating><value>1/5</value></star-rating></programme></tv>)");
    reader.finish();
    EXPECT_EQ(programme.clump, "0/2");
    EXPECT_EQ(describe(programme.titles), "[|]");
    EXPECT_EQ(describe(programme.subTitles), "[|s]");
    EXPECT_EQ(describe(programme.descriptions), "[|d]");
    EXPECT_EQ(describe(programme.categories), "[en|c]");
    EXPECT_EQ(describe(programme.urls), "[|u]");
    EXPECT_EQ(describe(programme.episodeNumbers), "[onscreen|e]");
    EXPECT_EQ(describe(programme.seriesIds), "[x|i]");
    EXPECT_EQ(describe(programme.ratings), "[r|18]");
    EXPECT_EQ(programme.quality, "HDTV");
    EXPECT_FALSE(programme.hasPicture);
    EXPECT_TRUE(programme.previouslyShown);
}

struct Mistake {
    const char* name;
    std::string xml;
    const char* error;
};

void PrintTo(const Mistake& mistake, std::ostream* out) {
    *out << mistake.name;
}

class XmltvMistakes : public testing::TestWithParam<Mistake> {};

TEST_P(XmltvMistakes, AreToldWithTheirPlace) {
    const auto all = read(GetParam().xml);
    EXPECT_EQ(all.substr(all.rfind('\n') + 1), GetParam().error);
}

std::string nested(std::size_t depth) {
    std::string xml = "<tv>";
    for (std::size_t i = 1; i != depth; ++i)
        xml += "<a>";
    for (std::size_t i = 1; i != depth; ++i)
        xml += "</a>";
    return xml + "</tv>";
}

std::string withTitle(std::size_t length) {
    return "<tv>\n<programme start=\"20261024\" channel=\"c\"><title>" + std::string(length, 'x') +
           "</title></programme></tv>";
}

constexpr std::size_t megabyte = std::size_t{1} << 20;

const Mistake mistakes[] = {
    {"Empty", "", "guide.xml:1: no element found"},
    {"NoXml", "hello", "guide.xml:1: syntax error"},
    {"OtherXml", "<html/>", "guide.xml:1: \"html\" is not \"tv\": this is no XMLTV"},
    {"CutOff", "<tv>\n<programme start=\"20261024\" channel=\"c\">", "guide.xml:2: no element found"},
    {"WrongEnd", "<tv>\n<channel id=\"c\"></programme></tv>", "guide.xml:2: mismatched tag"},
    {"TwoRoots", "<tv></tv><tv></tv>", "guide.xml:1: junk after document element"},
    {"NoId", "<tv>\n\n<channel></channel></tv>", "guide.xml:3: the channel has no id"},
    {"NoChannel", "<tv><programme start=\"1\"/></tv>", "guide.xml:1: the programme has no channel"},
    {"NoStart", "<tv><programme channel=\"c\"/></tv>", "guide.xml:1: the programme has no start"},
    {"BadUtf8", "<tv>\xFF</tv>", "guide.xml:1: not well-formed (invalid token)"},
    {"Nul", std::string("<tv>\0</tv>", 10), "guide.xml:1: not well-formed (invalid token)"},
    {"UnknownEntity", "<!DOCTYPE tv SYSTEM \"xmltv.dtd\">\n<tv><channel id=\"c\">&eacute;</channel></tv>",
     "guide.xml:2: the entity \"eacute\" is not known"},
    {"EntityBomb",
     "<!DOCTYPE tv [<!ENTITY a \"aaaaaaaaaa\">\n<!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">]><tv>&b;</tv>",
     "guide.xml:1: declares the entity \"a\"; XMLTV needs none, and none is taken"},
    {"ExternalEntity", "<!DOCTYPE tv [<!ENTITY a SYSTEM \"/etc/passwd\">]><tv>&a;</tv>",
     "guide.xml:1: declares the entity \"a\"; XMLTV needs none, and none is taken"},
    {"ParameterEntity", "<!DOCTYPE tv [<!ENTITY % a \"x\">]><tv/>",
     "guide.xml:1: declares the entity \"a\"; XMLTV needs none, and none is taken"},
    {"TooDeep", nested(33), "guide.xml:1: elements stand in one another more than 32 deep"},
    {"TooLong", withTitle(megabyte), "guide.xml:2: a programme is longer than a megabyte"},
    {"LongTag", "<tv>\n<channel id=\"" + std::string(4 * megabyte, 'x') + "\"/></tv>",
     "guide.xml:2: a tag, a comment or the like is longer than a megabyte"},
    {"LongComment", "<tv>\n<!-- " + std::string(4 * megabyte, 'x') + "--></tv>",
     "guide.xml:2: a tag, a comment or the like is longer than a megabyte"},
};

INSTANTIATE_TEST_SUITE_P(Xmltv, XmltvMistakes, testing::ValuesIn(mistakes),
                         [](const auto& row) { return row.param.name; });

TEST(XmltvReaderTest, AtTheLimitsAllIsWell) {
    EXPECT_EQ(read(nested(32)), "tv \n");
    EXPECT_EQ(read(withTitle(megabyte - 1000)).size(),
              std::string("tv \nprogramme c 20261024- [|]\n").size() + megabyte - 1000);
}

TEST(XmltvReaderTest, WhatTheListenerThrowsComesOut) {
    XmltvReader reader("guide.xml", {.onGuide = [](auto) {},
                                     .onChannel = [](auto&) { throw std::logic_error("enough"); },
                                     .onProgramme = [](auto&) {}});
    EXPECT_THROW(reader.read("<tv><channel id=\"c\"/><channel id=\"d\"/>"), std::logic_error);
}

} // namespace
