// What is said of a folder that is wrong, line by line, and that a good one comes through whole.

#include "TV/server/dummy/data/WorldFolder.h"
#include "TV/server/dummy/data/HouseRules.h"
#include "tests/support/TempDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Ostrel::TV;
using Ostrel::Test::TempDirectory;

namespace {

constexpr const char* goodLineup = "690 | 1 | tv | Harbour | 1 | 1 | 1 | | 0011\n"
                                   "690 | 2 | tv | Harbour HD | 1 | 1 | 2 | | 0111\n";
constexpr const char* goodServices = "5 | harbour | Harbour\n";
constexpr const char* goodEvent = "event 7 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\n";

/// A folder of files, each under its name.
class Folder {
public:
    Folder& write(const std::string& name, const std::string& text) {
        const std::filesystem::path path = directory_->file(name);
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return *this;
    }
    std::string path() const { return directory_->file("my"); }

    /// What is said of it, without the folder's path.
    std::string read(decltype(checkWorld)* house = nullptr) const {
        try {
            readWorldFolder(path(), house);
            return "";
        } catch (const WorldError& error) {
            std::string said = error.what();
            for (std::size_t at; (at = said.find(path() + "/")) != std::string::npos;)
                said.erase(at, path().size() + 1);
            return said + "\n";
        }
    }

private:
    std::unique_ptr<TempDirectory> directory_ = std::make_unique<TempDirectory>();
};

Folder goodFolder() {
    Folder folder;
    folder.write("my/lineup.txt", goodLineup);
    folder.write("my/services.txt", goodServices);
    folder.write("my/guide/5-harbour.txt", goodEvent);
    return folder;
}

struct Row {
    const char* name;
    const char* file; ///< that is another one than in the good folder
    const char* text;
    const char* said;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.file << ":\n" << row.text;
}

// clang-format off
const Row rows[] = {
    {"Good", "other.md", "What is no part of a world is left alone.", ""},

    {"WorldUnknownWord", "world.txt", "title My world\n", "world.txt:1: expected \"name\" or \"zone\"\n"},
    {"WorldZoneUnknown", "world.txt", "name A\nzone Europe/Atlantis\n", "world.txt:2: the time zone \"Europe/Atlantis\" is not known here: names are like Europe/London, of the package tzdata\n"},
    {"WorldZoneOfNoZone", "world.txt", "zone zone.tab\n", "world.txt:1: the time zone \"zone.tab\" is not known here: names are like Europe/London, of the package tzdata\n"},
    {"WorldNameEmpty", "world.txt", "name\n", "world.txt:1: the world has no name\n"},

    {"LineupEmpty", "lineup.txt", "# nothing\n", "services.txt:1: \"Harbour\" is not in the line-up and has no stream and service here\n"
        "lineup.txt:0: there is no service in the line-up\n"},
    {"LineupAllOfIt", "lineup.txt", "690 | 1 | tv | Harbour | 1 | 1 | 1 | | 0011\n0 | 2 | tv | A | 1 | 1 | 2 | | 0011\n690 | 1 | TV | A | 1 | 1 | 2 | | 0011\n690 | 1 | tv | B | 1 | 1 | 1 | | 0011\n",
        "lineup.txt:2: frequency \"0\" is not a number from 1 to 999\n"
        "lineup.txt:3: kind \"TV\" is not tv, radio or data\n"
        "lineup.txt:4: channel number 1 is taken\n"
        "lineup.txt:4: service 1 is taken\n"},

    {"ServicesTooFew", "services.txt", "5 | harbour\n5 | harbour | Harbour\n", "services.txt:1: expected 3 to 8 fields between bars, found 2\n"},
    {"ServicesSlug", "services.txt", "4 | ../x | Harbour\n5 | harbour | Harbour\n", "services.txt:1: slug \"../x\" is not of a to z, 0 to 9 and -\n"},
    {"ServicesUnknown", "services.txt", "5 | harbour | Harbour\n6 | quay | Quay\n", "services.txt:2: \"Quay\" is not in the line-up and has no stream and service here\n"},
    {"ServicesTwice", "services.txt", "5 | harbour | Harbour\n5 | harbour-2 | Harbour HD\n6 | harbour | Harbour HD\n7 | x | Harbour\n",
        "services.txt:2: id 5 is taken\n"
        "services.txt:3: slug \"harbour\" is taken\n"
        "services.txt:4: another service of this file has the DVB service id 1\n"},
    {"ServicesWithoutAGuide", "services.txt", "5 | harbour | Harbour\n6 | harbour-hd | Harbour HD\n",
        "guide/6-harbour-hd.txt:0: cannot be read\n"
        },
    {"ServicesAnotherThanTheLineup", "services.txt", "5 | harbour | Harbour | 1 | 2\n",
        "services.txt:1: the line-up has another service for \"Harbour\"\n"},

    {"GuideWholeHeader", "guide/quay.txt", "service 0x6\nnetwork 1\nstream 1\ndvb-service 9\nplace 2\nevent 8 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\n", ""},
    {"GuideNoHeader", "guide/quay.txt", "service 6\nnetwork 1\nevent 8 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\n",
        "guide/quay.txt:0: expected a line \"stream NUMBER\" above the events\n"
        "guide/quay.txt:0: expected a line \"dvb-service NUMBER\" above the events\n"},
    {"GuideContradictsTheServices", "guide/5-harbour.txt", "service 5\nstream 9\nevent 7 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\n",
        "guide/5-harbour.txt:2: the stream is 1 already, not 9\n"},
    {"GuideServiceTwice", "guide/quay.txt", "service 5\nnetwork 1\nstream 1\ndvb-service 9\nevent 8 | 2011-10-15T17:45:00Z | 2011-10-15T18:00:00Z\n",
        "guide/quay.txt:0: service 5 is in guide/5-harbour.txt too\n"},
    {"GuideOneDvbIdTwice", "guide/quay.txt", "service 6\nnetwork 1\nstream 1\ndvb-service 1\nevent 8 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\n",
        "guide/quay.txt:5: service 5 has the same DVB service id, 1\n"},
    {"GuideDvbIdTooLarge", "guide/quay.txt", "service 6\nnetwork 1\nstream 65536\ndvb-service 9\nevent 8 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\n",
        "guide/quay.txt:5: one of the service's DVB identifiers is not a number from 1 to 65535\n"},
    {"GuideEmpty", "guide/5-harbour.txt", "", "guide/5-harbour.txt:0: there is no event; a service without any needs no file\n"},

    {"EventAllOfIt", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 2 | hd late next\ntitle Pr\u00e9view \U0001F3AC\nsynopsis A look.\nguidance Contains looks.\ncrids 1:/23vbzj 3:x\nimi 49\n", ""},
    {"EventFields", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z\ntitle A\n", "guide/5-harbour.txt:1: expected: event PROGRAMME | START | END | CONTENT | version N | MARKS\n"},
    {"EventEveryMistake", "guide/5-harbour.txt", "event 0 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A\x01\nevent 5 | 2011-02-30T17:45:00Z | 2011-10-14T18:00:00Z\ncrids 4:/x 1:y\ncrids 1:a&b\nsubtitle B\nevent 6 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x10000\nevent 6 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | none | v2\nevent 6 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | none | version 2 | nice\nimi x\nsynopsis \xC3\ntitle C\xF4\x90\x80\x80\nguidance \xED\xA0\x80\n",
        "guide/5-harbour.txt:1: programme \"0\" is not a number from 1 to 2147483647\n"
        "guide/5-harbour.txt:2: a text holds a control character\n"
        "guide/5-harbour.txt:3: \"2011-02-30T17:45:00Z\" is not a time like 2011-10-14T17:45:00Z\n"
        "guide/5-harbour.txt:4: a crid's type \"4\" is not a number from 1 to 3\n"
        "guide/5-harbour.txt:5: a crid has no characters but those of ASCII, and no blank, \", \\, <, >, & or '\n"
        "guide/5-harbour.txt:6: \"subtitle\" has no place here\n"
        "guide/5-harbour.txt:7: content \"0x10000\" is not a number from 0 to 65535\n"
        "guide/5-harbour.txt:8: expected \"version\" and a number\n"
        "guide/5-harbour.txt:9: \"nice\" is not hd, late or next\n"
        "guide/5-harbour.txt:10: imi \"x\" is not a number from 0 to 2147483647\n"
        "guide/5-harbour.txt:11: a text is not UTF-8\n"
        "guide/5-harbour.txt:12: a text is not UTF-8\n"
        "guide/5-harbour.txt:13: a text is not UTF-8\n"},
    {"EventCharactersThatXmlLacks", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A \uFFFF\nsynopsis A \u0085\n",
        "guide/5-harbour.txt:2: a text holds U+FFFE or U+FFFF, which XML cannot write\n"
        "guide/5-harbour.txt:3: a text holds a control character\n"},
    {"EventTwoTitles", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A\ntitle B\n", "guide/5-harbour.txt:3: the event has a title already\n"},
    {"EventFromAnotherEditor", "guide/5-harbour.txt", "\uFEFFevent 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\r\n\ttitle A\r\n", ""},
    {"EventBefore1970", "guide/5-harbour.txt", "event 5 | 1970-01-01T00:00:00Z | 2011-10-14T18:00:00Z\n", "guide/5-harbour.txt:1: 1970-01-01T00:00:00Z is not between 1970 and 2038-01-19T03:14:07Z\n"},
    {"EventAtTheEndOfTime", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2038-01-19T03:14:07Z\n", ""},
    {"EventBehindTheEndOfTime", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2038-01-19T03:14:08Z\n", "guide/5-harbour.txt:1: 2038-01-19T03:14:08Z is not between 1970 and 2038-01-19T03:14:07Z\n"},
    {"EventElevenCrids", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ncrids 1:a 1:b 1:c 1:d 1:e 1:f 1:g 1:h 1:i 1:j 1:k\n", "guide/5-harbour.txt:2: an event has at most 10 crids\n"},
    {"EventEndsAtItsStart", "guide/5-harbour.txt", "event 5 | 2011-10-14T18:00:00Z | 2011-10-14T18:00:00Z\n", "guide/5-harbour.txt:1: ends before it has lasted a second\n"},
    {"EventASecond", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:59:59Z | 2011-10-14T18:00:00Z\n", ""},
    {"EventsInAnyOrder", "guide/5-harbour.txt", "event 7 | 2011-10-14T18:00:00Z | 2011-10-14T19:00:00Z\nevent 6 | 2011-10-14T17:00:00Z | 2011-10-14T18:00:00Z\n", ""},
    {"EventsOverlap", "guide/5-harbour.txt", "event 7 | 2011-10-14T17:59:59Z | 2011-10-14T19:00:00Z\nevent 6 | 2011-10-14T17:00:00Z | 2011-10-14T18:00:00Z\n", "guide/5-harbour.txt:1: starts before the event in front of it has ended, programme 6\n"},
    {"EventTwice", "guide/5-harbour.txt", "event 7 | 2011-10-14T17:00:00Z | 2011-10-14T18:00:00Z\ntitle A\n\nevent 7 | 2011-10-14T18:00:00Z | 2011-10-14T19:00:00Z\n", "guide/5-harbour.txt:4: programme 7 comes twice, before on service 5\n"},
    {"LinkToNowhere", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\nhd-event 77\n", "guide/5-harbour.txt:1: hd-event 77 is not an HD event of another service\n"},
    {"LinkToItsOwnService", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\nhd-event 6\nevent 6 | 2011-10-14T18:45:00Z | 2011-10-14T19:00:00Z | none | version 0 | hd\n", "guide/5-harbour.txt:1: hd-event 6 is not an HD event of another service\n"},
    {"WhatAnEventWasMadeFrom", "guide/5-harbour.txt", "# from catalogue/a.txt:120\nevent 7 | 2011-10-14T17:00:00Z | 2011-10-14T18:00:00Z\n# from catalogue/a.txt:131\nevent 7 | 2011-10-14T18:00:00Z | 2011-10-14T19:00:00Z\nimi x\n",
        "catalogue/a.txt:131: guide/5-harbour.txt:5: imi \"x\" is not a number from 0 to 2147483647\n"
        "catalogue/a.txt:131: guide/5-harbour.txt:4: programme 7 comes twice, before on service 5\n"},
    {"LinkToNoHd", "guide/quay.txt", "service 6\nnetwork 1\nstream 1\ndvb-service 9\nevent 8 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\nhd-event 7\n", "guide/quay.txt:5: hd-event 7 is not an HD event of another service\n"},
};

/// What the built-in world keeps beyond that. The folder's zone is London's.
const Row houseRows[] = {
    {"Good", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 6 | hd\ntitle Préview\nsynopsis A look.\ncrids 1:/23vbzj 3:/33991643\nimi 49\n", ""},
    {"NotInLondon", "world.txt", "name A\nzone UTC\n", "world.txt:1: the house is in London\n"},
    {"ChannelNumber", "lineup.txt", "690 | 999 | tv | Harbour | 1 | 1 | 1 | | 0011\n690 | 1000 | tv | B | 1 | 1 | 2 | | 0011\n", "lineup.txt:2: channel numbers are 1 to 999\n"},
    {"LineupFourByteCharacter", "lineup.txt", "690 | 1 | tv | Harbour | 1 | 1 | 1 | \xF0\x9F\x8E\xAC | 0011\n", "lineup.txt:1: a text has a character beyond U+FFFF\n"},
    {"LateIsFineFromNineInLondon", "guide/5-harbour.txt", "event 5 | 2011-10-14T20:00:00Z | 2011-10-14T21:00:00Z | 0x10 | version 2 | late\ntitle A\nguidance Contains strong language.\n", ""},
    {"LateBeforeNineInLondon", "guide/5-harbour.txt", "event 5 | 2011-10-14T19:59:00Z | 2011-10-14T21:00:00Z | 0x10 | version 2 | late\ntitle A\n", "guide/5-harbour.txt:1: unsuitable before the watershed, yet it starts at 20:59 in London\n"},
    {"LateAtHalfPastFive", "guide/5-harbour.txt", "event 5 | 2011-10-14T04:30:00Z | 2011-10-14T05:00:00Z | 0x10 | version 2 | late\ntitle A\n", "guide/5-harbour.txt:1: unsuitable before the watershed, yet it starts at 05:30 in London\n"},
    {"GuidanceWithoutTheMark", "guide/5-harbour.txt", "event 5 | 2011-10-14T20:00:00Z | 2011-10-14T21:00:00Z | 0x10 | version 2\ntitle A\nguidance Contains strong language.\n", "guide/5-harbour.txt:1: guidance is for events unsuitable before the watershed\n"},
    {"NoTitle", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\nsynopsis A look.\n", "guide/5-harbour.txt:1: an event needs a title\n"},
    {"AMinuteIsLongEnough", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T17:46:00Z\ntitle A\n", ""},
    {"FiftyNineSecondsAreNot", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T17:45:59Z\ntitle A\n", "guide/5-harbour.txt:1: an event lasts 60 s to 82800 s, this one 59 s\n"},
    {"TwentyThreeHoursAndASecondAreTooLong", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:00:00Z | 2011-10-15T16:00:01Z\ntitle A\n", "guide/5-harbour.txt:1: an event lasts 60 s to 82800 s, this one 82801 s\n"},
    {"OneSynopsisTwoProgrammes", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:00:00Z | 2011-10-14T18:00:00Z\ntitle A\nsynopsis S.\nevent 6 | 2011-10-14T18:00:00Z | 2011-10-14T19:00:00Z\ntitle B\nsynopsis S.\n", "guide/5-harbour.txt:4: \"A\" has this synopsis on the same service\n"},
    {"TypeOneSecond", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A\ncrids 2:/krs9xe 1:/23vbzj\n", "guide/5-harbour.txt:1: the crid of type 1 is the first\n"},
    {"LettersInARecommendation", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A\ncrids 3:/3399164x\n", "guide/5-harbour.txt:1: crid /3399164x is not like /23vbzj or, for type 3, /33991643\n"},
    {"ImiWithoutACrid", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A\nimi 49\n", "guide/5-harbour.txt:1: an imi is 49 and comes with a crid\n"},
    {"Imi48", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A\ncrids 1:/23vbzj\nimi 48\n", "guide/5-harbour.txt:1: an imi is 49 and comes with a crid\n"},
    {"VersionSeven", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | 0x20 | version 7\ntitle A\n", "guide/5-harbour.txt:1: versions are 0 to 6\n"},
    {"Place65", "guide/5-harbour.txt", "place 65\nevent 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A\n", "guide/5-harbour.txt:2: places are 0 to 64\n"},
    {"FourByteCharacter", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A \xF0\x9F\x8E\xAC\n", "guide/5-harbour.txt:1: the title has a character beyond U+FFFF\n"},
    {"CurledApostrophe", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle Ten O\u2019Clock\n", "guide/5-harbour.txt:1: a text holds \u2019 where a keyboard has ' or \"\n"},
    {"CurledQuotes", "guide/5-harbour.txt", "event 5 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle A\nsynopsis He said \u201Cno\u201D.\n", "guide/5-harbour.txt:1: a text holds \u201C where a keyboard has ' or \"\nguide/5-harbour.txt:1: a text holds \u201D where a keyboard has ' or \"\n"},
    {"LinkToAnotherStart", "guide/quay.txt", "service 6\nnetwork 1\nstream 1\ndvb-service 9\nevent 8 | 2011-10-14T17:44:00Z | 2011-10-14T18:00:00Z\ntitle A\nhd-event 7\n", "guide/quay.txt:5: hd-event 7 starts at another time\n"},
};
// clang-format on

class WorldFolderTable : public testing::TestWithParam<Row> {};
class HouseTable : public testing::TestWithParam<Row> {};

std::string nameOf(const testing::TestParamInfo<Row>& row) {
    return row.param.name;
}

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string bytesOf(const WorldFile& world) {
    return {world.bytes().data(), world.bytes().size()};
}

TEST_P(WorldFolderTable, SaysWhatIsWrongAndWhere) {
    EXPECT_EQ(goodFolder().write(std::string("my/") + GetParam().file, GetParam().text).read(),
              GetParam().said);
}

INSTANTIATE_TEST_SUITE_P(Folders, WorldFolderTable, testing::ValuesIn(rows), nameOf);

TEST_P(HouseTable, SaysWhatIsWrongAndWhere) {
    Folder folder = goodFolder();
    folder.write("my/world.txt", "zone Europe/London\n");
    folder.write("my/guide/5-harbour.txt", "event 7 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z | none | "
                                           "version 0 | hd\ntitle A\n");
    folder.write(std::string("my/") + GetParam().file, GetParam().text);
    EXPECT_EQ(folder.read(checkHouse), GetParam().said);
}

INSTANTIATE_TEST_SUITE_P(House, HouseTable, testing::ValuesIn(houseRows), nameOf);

TEST(WorldFolderTest, AFolderOfNothingSaysWhatItLacks) {
    Folder folder;
    folder.write("my/readme", "");
    EXPECT_EQ(folder.read(),
              folder.path() + ": has no lineup.txt; ostrel-world --help says what a world is\n");
}

TEST(WorldFolderTest, AFileIsNoFolder) {
    Folder folder;
    folder.write("my", "");
    EXPECT_EQ(folder.read(), folder.path() + ": is a file, and no folder of text files\n");
}

TEST(WorldFolderTest, TextsHaveALimit) {
    const std::string event = goodEvent;
    EXPECT_EQ(goodFolder()
                  .write("my/guide/5-harbour.txt", event + "title " + std::string(65535, 'a') + "\n")
                  .read(),
              "");
    EXPECT_EQ(goodFolder()
                  .write("my/guide/5-harbour.txt", event + "title " + std::string(65536, 'a') + "\n")
                  .read(),
              "guide/5-harbour.txt:2: a text is longer than 65535 bytes\n");
}

TEST(WorldFolderTest, OfManyProblemsTheFirstHundredAreTold) {
    std::string events;
    for (int i = 0; i != 120; ++i)
        events += "event x | now | then\n";
    const std::string said = goodFolder().write("my/guide/5-harbour.txt", events).read();
    EXPECT_EQ(std::ranges::count(said, '\n'), 101);
    EXPECT_TRUE(said.ends_with("5-harbour.txt:100: programme \"x\" is not a number from 1 to 2147483647\n"
                               "and 20 more\n"))
        << said;
}

TEST(WorldFolderTest, LinesHaveALimit) {
    const std::string event = goodEvent;
    const auto said = [&](std::size_t bytes) {
        return goodFolder().write("my/guide/5-harbour.txt", event + std::string(bytes, 'a') + "\n").read();
    };
    EXPECT_EQ(said(70000), "guide/5-harbour.txt:2: \"" + std::string(70000, 'a') + "\" has no place here\n");
    EXPECT_EQ(said(70001), "guide/5-harbour.txt:2: the line is longer than 70000 bytes\n");
}

TEST(WorldFolderTest, WhatIsThereAndCannotBeReadIsNoEmptyGuide) {
    Folder folder;
    folder.write("my/lineup.txt", goodLineup);
    EXPECT_EQ(folder.read(), "");
    folder.write("my/guide", "");
    EXPECT_EQ(folder.read(), "guide:0: cannot be read: Not a directory\n");
    std::filesystem::remove(folder.path() + "/guide");
    std::filesystem::create_symlink("guide", folder.path() + "/guide");
    EXPECT_EQ(folder.read(), "guide:0: cannot be read: Too many levels of symbolic links\n");
}

TEST(WorldFolderTest, LinksThatLeadNowhereAreTold) {
    for (const std::string name : {"world.txt", "services.txt", "lineup.txt"}) {
        Folder folder = goodFolder();
        std::filesystem::remove(folder.path() + "/" + name);
        std::filesystem::create_symlink(name, folder.path() + "/" + name);
        EXPECT_TRUE(folder.read().starts_with(name + ":0: cannot be read\n")) << folder.read();
    }
}

TEST(WorldFolderTest, APipeKeepsNobodyWaiting) {
    Folder folder = goodFolder();
    ASSERT_EQ(mkfifo((folder.path() + "/guide/pipe.txt").c_str(), 0600), 0);
    EXPECT_TRUE(folder.read().starts_with("guide/pipe.txt:0: cannot be read\n")) << folder.read();
}

TEST(WorldFolderTest, OneOfSeveralNamesakesIsChosenByItsDvbId) {
    Folder folder = goodFolder();
    folder.write("my/lineup.txt", "690 | 1 | tv | Harbour | 1 | 1 | 1 | | 0011\n"
                                  "690 | 2 | tv | Harbour | 1 | 1 | 2 | | 0011\n");
    EXPECT_TRUE(folder.read().starts_with(
        "services.txt:1: the line-up has several services \"Harbour\"; say which with its service\n"));
    folder.write("my/services.txt", "5 | harbour | Harbour | | 2\n");
    EXPECT_EQ(folder.read(), "");
    EXPECT_EQ(readWorldFolder(folder.path()).world().rows[0].DvbSid, 2u);
}

TEST(WorldFolderTest, AWorldIsCalledAsItsFolderUnlessItSaysSo) {
    Folder folder = goodFolder();
    EXPECT_EQ(readWorldFolder(folder.path()).world().name, "my");
    EXPECT_EQ(readWorldFolder(folder.path() + "/").world().name, "my");
    EXPECT_EQ(readWorldFolder(folder.path()).world().timeZone, "UTC");
    folder.write("my/world.txt", "name Häfen\nzone Europe/Berlin\n");
    EXPECT_EQ(readWorldFolder(folder.path()).world().name, "Häfen");
    EXPECT_EQ(readWorldFolder(folder.path()).world().timeZone, "Europe/Berlin");
}

TEST(WorldFolderTest, WhatAnEventLeavesOutIsAbsent) {
    const WorldFile file = readWorldFolder(goodFolder().path());
    const World world = file.world();
    ASSERT_EQ(world.rows.size(), 1u);
    const epgentry& row = world.rows[0];
    EXPECT_EQ(row.ServiceId, 5);
    EXPECT_EQ(row.DvbSid, 1u);
    EXPECT_EQ(row.Content, -1);
    EXPECT_EQ(row.ScheduleVersion, 0u);
    EXPECT_EQ(row.CridCount, 0u);
    EXPECT_EQ(world.text(row.Title), nullptr);
    EXPECT_FALSE(row.IsHd);
}

TEST(WorldFolderTest, FileNamesDoNotChangeTheImage) {
    const std::string quay = "service 10\nnetwork 1\nstream 1\ndvb-service 2\n"
                             "event 8 | 2011-10-14T17:45:00Z | 2011-10-14T18:00:00Z\ntitle Quay\n";
    const std::string one = bytesOf(readWorldFolder(goodFolder().write("my/guide/a.txt", quay).path()));
    const std::string other = bytesOf(readWorldFolder(goodFolder().write("my/guide/z.txt", quay).path()));
    EXPECT_EQ(one, other);
}

TEST(WorldFolderTest, ABuiltInFolderIsTheBuiltInImageThereAndBack) {
    const std::string built = readAll(OSTREL_BUILT_IN_WORLD ".world");
    ASSERT_FALSE(built.empty());
    const WorldFile read = readWorldFolder(OSTREL_BUILT_IN_WORLD);
    EXPECT_TRUE(bytesOf(read) == built);

    const TempDirectory directory;
    writeWorldFolder(read.world(), directory.file("copy"));
    EXPECT_FALSE(std::filesystem::exists(directory.file("copy/services.txt")));
    EXPECT_TRUE(bytesOf(readWorldFolder(directory.file("copy"))) == built);
}

TEST(WorldFolderTest, AUglyWorldComesBackToo) {
    const TempDirectory directory;
    Folder folder = goodFolder();
    folder.write("my/world.txt", "name \U0001F3AC | # \"\nzone Asia/Kathmandu\n");
    folder.write(
        "my/guide/5-harbour.txt",
        "event 9 | 1970-01-01T00:00:01Z | 2038-01-19T03:14:07Z | 0xFFFF | version 2147483647 | late\n"
        "title # | event \xE2\x80\x8F\xD7\xA9\nsynopsis <b>&amp;\"\\\nguidance a  b\n"
        "crids 1:x:y 2:|#\nimi 2147483647\n");
    const WorldFile world = readWorldFolder(folder.path());
    writeWorldFolder(world.world(), directory.file("copy"));
    EXPECT_TRUE(bytesOf(readWorldFolder(directory.file("copy"))) == bytesOf(world));
}

/// As if the folder and all that is in it had been changed in 2040.
void touchIn2040(const std::string& folder) {
    constexpr std::time_t newYear = 2208988800;
    const std::timespec times[] = {{newYear, 0}, {newYear, 0}};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        ASSERT_EQ(utimensat(AT_FDCWD, entry.path().c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << entry.path();
    ASSERT_EQ(utimensat(AT_FDCWD, folder.c_str(), times, 0), 0);
    struct stat status {};
    ASSERT_EQ(stat(folder.c_str(), &status), 0);
    ASSERT_EQ(status.st_mtime, newYear) << "the file system's times end before";
}

TEST(WorldFolderTest, FilesOf2040AreReadAndWrittenBeside) {
    const TempDirectory directory;
    const Folder folder = goodFolder();
    const auto bytes = bytesOf(readWorldFolder(folder.path()));
    std::ofstream(directory.file("my.world"), std::ios::binary) << bytes;
    std::filesystem::create_directory(directory.file("free"));
    touchIn2040(folder.path());
    touchIn2040(directory.file(""));
    EXPECT_TRUE(bytesOf(openWorld(folder.path())) == bytes);
    const auto world = openWorld(directory.file("my.world"));
    EXPECT_TRUE(bytesOf(world) == bytes);
    writeWorldFolder(world.world(), directory.file("free"));
    EXPECT_TRUE(bytesOf(openWorld(directory.file("free"))) == bytes);
    EXPECT_THROW(writeWorldFolder(world.world(), folder.path()), std::runtime_error);
}

TEST(WorldFolderTest, WhatIsThereIsNotWrittenOver) {
    const Folder folder = goodFolder();
    const WorldFile world = readWorldFolder(folder.path());
    EXPECT_THROW(writeWorldFolder(world.world(), folder.path()), std::runtime_error);
    EXPECT_EQ(readAll(folder.path() + "/lineup.txt"), goodLineup);
}

} // namespace
