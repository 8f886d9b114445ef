#include "tests/world/MadeWorld.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <ostream>

using namespace Ostrel::TV;
using namespace Ostrel::TV::Tool;

namespace {

std::string textOf(const World& world, PoolText text) {
    const char* const found = world.text(text);
    return found == nullptr ? "" : found;
}

/// The events, a word each: "1000 18:00-18:15 News", in the order of the table.
std::string describeEvents(const World& world) {
    std::string text;
    for (const epgentry& row : world.rows)
        text += (text.empty() ? "" : ", ") + std::to_string(row.ServiceId) + " " +
                formatTime(row.Start).substr(11, 5) + "-" + formatTime(row.End).substr(11, 5) + " " +
                textOf(world, row.Title);
    return text;
}

/// The line-up: "7 Coast One tv 474".
std::string describeLineup(const World& world) {
    std::string text;
    for (const LineupRow& row : world.lineup)
        text += (text.empty() ? "" : ", ") + std::to_string(row.channelNumber) + " " +
                textOf(world, row.name) + (row.type == 2 ? " radio" : "") +
                (row.highDefinition ? " hd" : "") + " " + std::to_string(row.frequencyMHz);
    return text;
}

const std::map<std::string, Finding> findings = {
    {"channelTwice", Finding::ChannelTwice},
    {"channelNotInLineup", Finding::ChannelNotInLineup},
    {"programmeOfOtherChannel", Finding::ProgrammeOfOtherChannel},
    {"startUnreadable", Finding::StartUnreadable},
    {"outOfRange", Finding::OutOfRange},
    {"programmeTwice", Finding::ProgrammeTwice},
    {"sameStart", Finding::SameStart},
    {"numberMissing", Finding::NumberMissing},
    {"numberTaken", Finding::NumberTaken},
    {"stopUnreadable", Finding::StopUnreadable},
    {"stopMissing", Finding::StopMissing},
    {"lastStopMissing", Finding::LastStopMissing},
    {"overlap", Finding::Overlap},
    {"textTooLong", Finding::TextTooLong},
    {"identifierTaken", Finding::IdentifierTaken},
    {"linkLost", Finding::LinkLost},
    {"categoryUnknown", Finding::CategoryUnknown},
};

std::string describeFindings(const ImportReport& report) {
    std::string text;
    for (const auto& [name, finding] : findings)
        if (report.get(finding) != 0)
            text += (text.empty() ? "" : ", ") + name + " " + std::to_string(report.get(finding));
    return text;
}

std::string programme(const std::string& times, const std::string& content,
                      const std::string& channel = "c") {
    std::string xml = "<programme channel=\"" + channel + "\" start=\"20261024" + times.substr(0, 4) + "\"";
    if (times.size() > 4)
        xml += " stop=\"20261024" + times.substr(5) + "\"";
    return xml + ">" + content + "</programme>";
}

std::string titled(const std::string& times, const std::string& title) {
    return programme(times, "<title>" + title + "</title>");
}

std::string listing(const std::string& programmes) {
    return "<tv><channel id=\"c\"><display-name>C</display-name><lcn>1</lcn></channel>" + programmes +
           "</tv>";
}

struct Row {
    const char* name;
    std::string programmes;
    const char* events;
    const char* findings;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class ProgrammeTable : public testing::TestWithParam<Row> {};

TEST_P(ProgrammeTable, BecomesTheseEvents) {
    const MadeWorld made(listing(GetParam().programmes));
    EXPECT_EQ(describeEvents(made.world()), GetParam().events);
    EXPECT_EQ(describeFindings(made.report), GetParam().findings);
}

const std::string exportedOnce = "<url system=\"ostrel\">ostrel:event?id=5</url>";

// clang-format off
const Row rows[] = {
    {"None", "", "", ""},
    {"One", titled("1800-1900", "A"), "1000 18:00-19:00 A", ""},
    {"InAnyOrder", titled("1900-2000", "B") + titled("1800-1900", "A"), "1000 18:00-19:00 A, 1000 19:00-20:00 B", ""},
    {"AGapStays", titled("1800-1900", "A") + titled("1930-2000", "B"), "1000 18:00-19:00 A, 1000 19:30-20:00 B", ""},
    {"StopMissing", titled("1800", "A") + titled("1900-2000", "B"),
     "1000 18:00-19:00 A, 1000 19:00-20:00 B", "stopMissing 1"},
    {"StopMissingForLong", titled("0200", "A") + titled("2000-2100", "B"),
     "1000 02:00-08:00 A, 1000 20:00-21:00 B", "stopMissing 1"},
    {"LastStopMissing", titled("1800", "A"), "1000 18:00-18:30 A", "lastStopMissing 1"},
    {"StopBeforeStart", titled("1800-1700", "A") + titled("1900-2000", "B"),
     "1000 18:00-19:00 A, 1000 19:00-20:00 B", "stopMissing 1, stopUnreadable 1"},
    {"StopAtStart", titled("1800-1800", "A"), "1000 18:00-18:30 A", "lastStopMissing 1, stopUnreadable 1"},
    {"StopUnreadable", titled("1800-soon", "A"), "1000 18:00-18:30 A", "lastStopMissing 1, stopUnreadable 1"},
    {"StartUnreadable", titled("soon", "A"), "", "startUnreadable 1"},
    {"Overlap", titled("1800-2000", "A") + titled("1900-1930", "B"),
     "1000 18:00-19:00 A, 1000 19:00-19:30 B", "overlap 1"},
    {"ProgrammeTwice", titled("1800-1900", "A") + titled("1800-1900", "A"), "1000 18:00-19:00 A", "programmeTwice 1"},
    {"SameStart", titled("1800-1900", "A") + titled("1800-1900", "B"), "1000 18:00-19:00 A", "sameStart 1"},
    {"OtherChannel", programme("1800-1900", "<title>A</title>", "d"), "", "programmeOfOtherChannel 1"},
    {"NoTitle", programme("1800-1900", ""), "1000 18:00-19:00 ", ""},
    {"UnknownCategory", programme("1800-1900", "<title>A</title><category>Seafaring</category>"),
     "1000 18:00-19:00 A", "categoryUnknown 1"},
    {"TextTooLong", titled("1800-1900", "A") + programme("1900-2000", "<title>B</title><desc>" + std::string(65536, 'x') + "</desc>"),
     "1000 18:00-19:00 A, 1000 19:00-20:00 B", "textTooLong 1"},
    {"TextJustNotTooLong", programme("1800-1900", "<title>A</title><desc>" + std::string(65535, 'x') + "</desc>"),
     "1000 18:00-19:00 A", ""},
    {"Clump", "<programme channel=\"c\" start=\"202610241800\" stop=\"202610241900\" clumpidx=\"1/3\"><title>B</title></programme>"
              "<programme channel=\"c\" start=\"202610241800\" stop=\"202610241900\" clumpidx=\"0/3\"><title>A</title></programme>",
     "1000 18:00-18:20 A, 1000 18:20-18:40 B", ""},
    {"BadClump", "<programme channel=\"c\" start=\"202610241800\" stop=\"202610241900\" clumpidx=\"3/3\"><title>A</title></programme>",
     "1000 18:00-19:00 A", ""},
    {"Before1970", "<programme channel=\"c\" start=\"19700101000000\"><title>A</title></programme>", "", "outOfRange 1"},
    {"After2038", "<programme channel=\"c\" start=\"20380119030000\"><title>A</title></programme>", "", "outOfRange 1"},
    {"StopAfter2038", "<programme channel=\"c\" start=\"20380118000000\" stop=\"20380120\"><title>A</title></programme>", "", "outOfRange 1"},
    {"YearTenThousand", "<programme channel=\"c\" start=\"99991231000000\"><title>A</title></programme>", "", "outOfRange 1"},
    {"IdentifierTwice", programme("1800-1900", "<title>A</title>" + exportedOnce) + programme("1900-2000", "<title>B</title>" + exportedOnce),
     "1000 18:00-19:00 A, 1000 19:00-20:00 B", "identifierTaken 1"},
    {"LinkLost", programme("1800-1900", "<title>A</title><url system=\"ostrel\">ostrel:event?id=5&amp;hd-event=6</url>"),
     "1000 18:00-19:00 A", "linkLost 1"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Programmes, ProgrammeTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

struct Channels {
    const char* name;
    std::string channels;
    const char* lineup;
    const char* findings;
};

void PrintTo(const Channels& channels, std::ostream* out) {
    *out << channels.name;
}

class ChannelTable : public testing::TestWithParam<Channels> {};

TEST_P(ChannelTable, BecomesThisLineup) {
    const MadeWorld made("<tv>" + GetParam().channels + "</tv>");
    EXPECT_EQ(describeLineup(made.world()), GetParam().lineup);
    EXPECT_EQ(describeFindings(made.report), GetParam().findings);
}

std::string channel(const std::string& id, const std::string& content) {
    return "<channel id=\"" + id + "\">" + content + "</channel>";
}

const std::string longName = "1 " + std::string(252, 'x') + "\u2026 474";
const std::string one = "<display-name>One</display-name>";

// clang-format off
const Channels channels[] = {
    {"InOrder", channel("a", one) + channel("b", one), "1 One 474, 2 One 474", "numberMissing 2"},
    {"Lcn", channel("a", one + "<lcn>12</lcn>"), "12 One 474", ""},
    {"NumberAsName", channel("a", "<display-name>12</display-name>" + one), "12 One 474", ""},
    {"NumberIsTheOnlyName", channel("a", "<display-name>301</display-name>"), "301 301 474", ""},
    {"NumberTaken", channel("a", one + "<lcn>1</lcn>") + channel("b", one + "<lcn>1</lcn>") + channel("c", one),
     "1 One 474, 2 One 474, 3 One 474", "numberMissing 1, numberTaken 1"},
    {"NumberTooLarge", channel("a", one + "<lcn>10000</lcn>"), "1 One 474", "numberMissing 1"},
    {"LargestNumber", channel("a", one + "<lcn>9999</lcn>"), "9999 One 474", ""},
    {"IdTwice", channel("a", one + "<lcn>1</lcn>") + channel("a", one + "<lcn>2</lcn>"), "1 One 474", "channelTwice 1"},
    {"NoName", channel("a.example", "<lcn>1</lcn>"), "1 a.example 474", ""},
    {"ABarInTheName", channel("a", "<display-name>One|Two</display-name><lcn>1</lcn>"), "1 One/Two 474", ""},
    {"HighDefinition", channel("a", "<display-name>One HD</display-name><lcn>1</lcn>"), "1 One HD hd 474", ""},
    {"ALongName", channel("a", "<display-name>" + std::string(300, 'x') + "</display-name><lcn>1</lcn>"),
     longName.c_str(), ""},
    {"HalfAnExport", channel("a", one + "<lcn>1</lcn><url system=\"ostrel\">ostrel:service?mhz=690</url>"), "1 One 474", ""},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Channels, ChannelTable, testing::ValuesIn(channels),
                         [](const auto& row) { return row.param.name; });

TEST(ImporterTest, ServicesFillOneMultiplexAfterTheOther) {
    std::string xml = "<tv>";
    for (int i = 0; i != 48 * 24 + 1; ++i)
        xml += channel(std::to_string(i) + ".example", one);
    const MadeWorld made(xml + "</tv>");
    const auto lineup = made.world().lineup;
    EXPECT_EQ(lineup[23].frequencyMHz, 474u);
    EXPECT_EQ(lineup[24].frequencyMHz, 482u);
    EXPECT_EQ(lineup[24].transportStreamId, 2u);
    EXPECT_EQ(lineup[48 * 24 - 1].frequencyMHz, 850u);
    EXPECT_EQ(lineup[48 * 24].frequencyMHz, 474u) << "the band is full: from the beginning again";
}

TEST(ImporterTest, NoChannelIsNoWorld) {
    EXPECT_THROW(MadeWorld("<tv></tv>"), std::runtime_error);
}

TEST(ImporterTest, AListingMayLeaveChannelsOut) {
    const MadeWorld made("<tv>" + programme("1800-1900", "<title>A</title>", "one.example") +
                         programme("1800-1900", "<title>B</title>", "two.example") +
                         programme("1900-2000", "<title>C</title>", "one.example") + "</tv>");
    EXPECT_EQ(describeLineup(made.world()), "1 one.example 474, 2 two.example 474");
    EXPECT_EQ(describeEvents(made.world()), "1000 18:00-19:00 A, 1000 19:00-20:00 C, 1001 18:00-19:00 B");
}

TEST(ImporterTest, AHostileExportMakesAGoodWorld) {
    const MadeWorld made("<tv source-data-url=\"ostrel:world?name=%FF%00\"><channel id=\"1.1.1.dvb\">" + one +
                         "<url "
                         "system=\"ostrel\">ostrel:service?id=0&amp;mhz=5000&amp;number=-1&amp;type=9&amp;"
                         "place=x&amp;provider=%7C%0A&amp;"
                         "guide-stream=0&amp;%=%&amp;&amp;=</url></channel><programme channel=\"1.1.1.dvb\" "
                         "start=\"20261024\"><title>A</title>"
                         "<url "
                         "system=\"ostrel\">ostrel:event?id=4294967296&amp;version=-1&amp;hd-event="
                         "99999999999</url></programme></tv>");
    EXPECT_EQ(made.world().name, "test");
    EXPECT_EQ(describeLineup(made.world()), "1 One 474");
    EXPECT_EQ(textOf(made.world(), made.world().lineup[0].provider), "/");
    EXPECT_EQ(made.world().rows[0].ProgId, 1u);
}

TEST(ImporterTest, ChannelsWithoutEndAreRefused) {
    WorldWriter writer;
    const Categories categories;
    Importer importer({.name = "test"}, categories, writer);
    XmltvReader reader("guide.xml", importer.listener());
    reader.read("<tv>");
    const std::string large = channel("a", "<display-name>" + std::string(1000000, 'x') + "</display-name>");
    for (int i = 0; i != 66; ++i)
        reader.read(large);
    EXPECT_THROW(reader.read(large + large), std::runtime_error);
}

LineupService service(const char* name, unsigned number) {
    LineupService made;
    made.frequencyMHz = 690;
    made.channelNumber = number;
    made.name = name;
    made.network = 0x233A;
    made.stream = 1;
    made.dvbId = number;
    return made;
}

TEST(ImporterTest, ALineupSaysWhichServicesThereAre) {
    const MadeWorld made(
        "<tv>" + channel("itv1.example", "<display-name>ITV 1</display-name>") +
            channel("Film4", "<display-name>Some Film</display-name>") + channel("other", one) +
            channel("again", "<display-name>itv1</display-name>") +
            programme("1800-1900", "<title>A</title>", "itv1.example") +
            programme("1800-1900", "<title>B</title>", "Film4") +
            programme("1800-1900", "<title>C</title>", "other") +
            programme("1900-2000", "<title>D</title>", "again") + "</tv>",
        {.name = "test", .lineup = {service("Film4", 15), service("ITV1", 3), service("Q", 716)}});
    EXPECT_EQ(describeLineup(made.world()), "15 Film4 690, 3 ITV1 690, 716 Q 690");
    EXPECT_EQ(describeEvents(made.world()), "1000 18:00-19:00 A, 1001 18:00-19:00 B");
    EXPECT_EQ(made.world().rows[0].DvbSid, 3u);
    EXPECT_EQ(describeFindings(made.report),
              "channelNotInLineup 1, channelTwice 1, programmeOfOtherChannel 2");
}

TEST(ImporterTest, WithoutChannelsALineupStillChooses) {
    const MadeWorld made("<tv>" + programme("1800-1900", "<title>A</title>", "Film4") +
                             programme("1800-1900", "<title>B</title>", "other") +
                             programme("1900-2000", "<title>C</title>", "other") + "</tv>",
                         {.name = "test", .lineup = {service("Film4", 15)}});
    EXPECT_EQ(describeEvents(made.world()), "1000 18:00-19:00 A");
    EXPECT_EQ(describeFindings(made.report), "channelNotInLineup 1, programmeOfOtherChannel 2");
}

std::string bilingual(const std::string& element, const std::string& german, const std::string& english) {
    return "<" + element + " lang=\"de\">" + german + "</" + element + "><" + element + " lang=\"en_GB\">" +
           english + "</" + element + ">";
}

std::string textsIn(const std::string& language) {
    const MadeWorld made(
        "<tv>" + channel("c", bilingual("display-name", "Eins", "One")) +
            programme("1800-1900", bilingual("title", "Nebel", "Fog") +
                                       bilingual("sub-title", "Am Hafen", "At the harbour?") +
                                       bilingual("desc", "Jemand wartet.", "Somebody waits.")) +
            "</tv>",
        {.name = "test", .language = language});
    const World world = made.world();
    return textOf(world, world.lineup[0].name) + "/" + textOf(world, world.rows[0].Title) + "/" +
           textOf(world, world.rows[0].Description);
}

TEST(ImporterTest, TextsAreInTheChosenLanguageOrTheFirst) {
    EXPECT_EQ(textsIn(""), "Eins/Nebel/Am Hafen. Jemand wartet.");
    EXPECT_EQ(textsIn("en"), "One/Fog/At the harbour? Somebody waits.");
    EXPECT_EQ(textsIn("EN-gb"), "One/Fog/At the harbour? Somebody waits.");
    EXPECT_EQ(textsIn("en_US"), "Eins/Nebel/Am Hafen. Jemand wartet.");
    EXPECT_EQ(textsIn("d"), "Eins/Nebel/Am Hafen. Jemand wartet.");
}

TEST(ImporterTest, ASubTitleThatTheTextBeginsWithIsNotSaidTwice) {
    const MadeWorld made(
        listing(programme("1800-1900",
                          "<title>A</title><sub-title>Fog</sub-title><desc>Fog: a boat is late.</desc>") +
                programme("1900-2000", "<title>B</title><sub-title>Fog</sub-title>")));
    EXPECT_EQ(textOf(made.world(), made.world().rows[0].Description), "Fog: a boat is late.");
    EXPECT_EQ(textOf(made.world(), made.world().rows[1].Description), "Fog");
}

TEST(ImporterTest, TimesWithoutAZoneAreLocalWhereThatIsSaid) {
    const std::string xml = listing(titled("1800-1900", "A"));
    EXPECT_EQ(describeEvents(MadeWorld(xml, {.name = "test", .zone = "Europe/Berlin"}).world()),
              "1000 18:00-19:00 A");
    EXPECT_EQ(
        describeEvents(MadeWorld(xml, {.name = "test", .zone = "Europe/Berlin", .isLocal = true}).world()),
        "1000 16:00-17:00 A");
    EXPECT_THROW(MadeWorld(xml, {.name = "test", .zone = "Europe/Nowhere"}), std::runtime_error);
}

TEST(ImporterTest, RadioAndHighDefinitionShowInTheProgrammes) {
    const std::string sound = "<video><present>no</present></video>",
                      sharp = "<video><quality>HDTV</quality></video>";
    const MadeWorld made("<tv>" + channel("radio", one + "<lcn>1</lcn>") +
                         channel("hd", one + "<lcn>2</lcn>") + channel("mixed", one + "<lcn>3</lcn>") +
                         programme("1800-1900", sound, "radio") + programme("1900-2000", sound, "radio") +
                         programme("1800-1900", sharp, "hd") + programme("1900-2000", sharp, "hd") +
                         programme("1800-1900", sharp, "mixed") + programme("1900-2000", sound, "mixed") +
                         "</tv>");
    EXPECT_EQ(describeLineup(made.world()), "1 One radio 474, 2 One hd 474, 3 One 474");
}

TEST(ImporterTest, UnknownCategoriesAreNamed) {
    std::string programmes;
    for (int i = 0; i != 9; ++i)
        programmes +=
            programme("0" + std::to_string(i) + "00", "<category>Kind " + std::to_string(i) + "</category>");
    const MadeWorld made(listing(programmes + programme("1800-1900", "<category>Kind 8</category>")));
    EXPECT_NE(made.report.format().find(
                  "Categories to give a code with --categories: Kind 8 2, Kind 0 1, Kind 1 1, Kind 2 1, "
                  "Kind 3 1, Kind 4 1, Kind 5 1, Kind 6 1, and 1 more\n"),
              std::string::npos)
        << made.report.format();
}

} // namespace
