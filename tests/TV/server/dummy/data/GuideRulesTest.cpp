// Every rule that a guide file can break, and what the build says of it.

#include "TV/server/dummy/data/GuideRules.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

using namespace Ostrel::TV;

namespace {

struct Row {
    const char* name;
    const char* events; ///< below the service's own five lines, so that the first one is line 6
    const char* reason; ///< after the file's name; empty when the guide is in order
};

// clang-format off
const Row rows[] = {
    {"InOrder",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2 | hd\ntitle Préview\nsynopsis A look.\ncrids 1:/23vbzj 3:/33991643\nimi 49\n",
     ""},
    {"LateIsFineFromNineInLondon",
     "event 5 | 2011-10-14T20:00:00Z | 2011-10-14T21:00:00Z | 0x10 | version 2 | late\ntitle A\nguidance Contains strong language.\n",
     ""},
    {"LateBeforeNineInLondon",
     "event 5 | 2011-10-14T19:59:00Z | 2011-10-14T21:00:00Z | 0x10 | version 2 | late\ntitle A\n",
     ":6: unsuitable before the watershed, yet it starts at 20:59 in London"},
    {"LateAtHalfPastFive",
     "event 5 | 2011-10-14T04:30:00Z | 2011-10-14T05:00:00Z | 0x10 | version 2 | late\ntitle A\n",
     ":6: unsuitable before the watershed, yet it starts at 05:30 in London"},
    {"GuidanceWithoutTheMark",
     "event 5 | 2011-10-14T20:00:00Z | 2011-10-14T21:00:00Z | 0x10 | version 2\ntitle A\nguidance Contains strong language.\n",
     ":6: guidance is for events unsuitable before the watershed"},
    {"NoTitle",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\nsynopsis A look.\n",
     ":6: an event needs a title"},
    {"AMinuteIsLongEnough",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T17:46:00Z | 0x20 | version 2\ntitle A\n",
     ""},
    {"FiftyNineSecondsAreNot",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T17:45:59Z | 0x20 | version 2\ntitle A\n",
     ":6: an event lasts 60 s to 82800 s, this one 59 s"},
    {"TwentyThreeHoursAndASecondAreTooLong",
     "event 5 | 2011-10-14T17:00:00Z | 2011-10-15T16:00:01Z | 0x20 | version 2\ntitle A\n",
     ":6: an event lasts 60 s to 82800 s, this one 82801 s"},
    {"Overlap",
     "event 5 | 2011-10-14T17:00:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\nevent 6 | 2011-10-14T17:59:00Z | 2011-10-14T19:00:00Z | 0x20 | version 2\ntitle B\n",
     ":8: starts before the one above it has ended"},
    {"OneSynopsisTwoProgrammes",
     "event 5 | 2011-10-14T17:00:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\nsynopsis S.\nevent 6 | 2011-10-14T18:00:00Z | 2011-10-14T19:00:00Z | 0x20 | version 2\ntitle B\nsynopsis S.\n",
     ":9: \"A\" has this synopsis on the same service"},
    {"OneProgrammeTwice",
     "event 5 | 2011-10-14T17:00:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\nevent 5 | 2011-10-14T18:00:00Z | 2011-10-14T19:00:00Z | 0x20 | version 2\ntitle B\n",
     ":8: programme 5 comes twice"},
    {"TypeOneSecond",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\ncrids 2:/krs9xe 1:/23vbzj\n",
     ":6: the crid of type 1 is the first"},
    {"TypeFour",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\ncrids 4:/23vbzj\n",
     ":6: a crid's type is 1, 2 or 3"},
    {"LettersInARecommendation",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\ncrids 3:/3399164x\n",
     ":6: crid /3399164x is not like /23vbzj or, for type 3, /33991643"},
    {"ImiWithoutACrid",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\nimi 49\n",
     ":6: an imi is 49 and comes with a crid"},
    {"VersionSeven",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 7\ntitle A\n",
     ":6: versions are 0 to 6"},
    {"FourByteCharacter",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A \xF0\x9F\x8E\xAC\n",
     ":6: a text is not UTF-8 up to U+FFFF"},
    {"CurledApostrophe",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle Ten O\u2019Clock\n",
     ":6: a text holds \u2019 where a keyboard has ' or \""},
    {"CurledQuotes",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\nsynopsis He said \u201Cno\u201D.\n",
     ":6: a text holds \u201C where a keyboard has ' or \""},
    {"BrokenCharacter",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A \xC3\n",
     ":6: a text is not UTF-8 up to U+FFFF"},
    {"LinkToNowhere",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\nhd-event 77\n",
     ":6: hd-event 77 is not an HD event of another service with the same start"},
    {"NoSuchDay",
     "event 5 | 2011-02-30T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\n",
     ":6: \"2011-02-30T17:45:00Z\" is not a time like 2011-10-14T17:45:00Z"},
    {"UnknownWord",
     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\nsubtitle B\n",
     ":8: \"subtitle\" has no place here"},
    {"NoEvents", "", ":5: a service without events"},
};
// clang-format on

std::string guidePath() {
    return (std::filesystem::temp_directory_path() / ("guide-rules-" + std::to_string(::getpid()) + ".txt"))
        .string();
}

/// What is said of a service with these events; nothing when they are in order.
std::string saidOf(const std::string& events) {
    std::ofstream(guidePath()) << "service 1000\nnetwork 0x233A\nstream 0x4082\ndvb-service 0x4440\nplace 1\n"
                               << events;
    std::string said;
    try {
        checkGuide({readGuide(guidePath())});
    } catch (const TextFileError& error) {
        said = error.what();
    }
    std::filesystem::remove(guidePath());
    return said;
}

class GuideRulesTable : public testing::TestWithParam<Row> {};

} // namespace

TEST_P(GuideRulesTable, SaysWhatIsWrongAndWhere) {
    const std::string reason = GetParam().reason;
    EXPECT_EQ(saidOf(GetParam().events), reason.empty() ? "" : guidePath() + reason);
}

TEST(GuideRulesTest, BlamesWhatAnEventWasMadeFrom) {
    EXPECT_EQ(saidOf("# from catalogue/bbc-one.txt:120\n"
                     "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2\ntitle A\n"
                     "# from catalogue/bbc-one.txt:131\n"
                     "event 6 | 2011-10-14T18:00:00Z | 2011-10-14T18:45:00Z | 0x20 | version 7\ntitle B\n"),
              "catalogue/bbc-one.txt:131: versions are 0 to 6 (" + guidePath() + ":10)");
}

INSTANTIATE_TEST_SUITE_P(Rules, GuideRulesTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });
