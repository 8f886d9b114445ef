// A compiled world that is wrong, cut, hostile or no file is one clear line, and never a crash.

#include "TV/server/dummy/data/WorldFile.h"

#include "TV/server/dummy/data/WorldFolder.h"
#include "tests/TV/server/dummy/data/SmallImage.h"
#include "tests/support/TempDirectory.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Ostrel::TV;
using Ostrel::Test::TempDirectory;

namespace {

/// While one lives, this thread has no capabilities: root too must be allowed what it does.
class WithoutCapabilities {
public:
    WithoutCapabilities() {
        syscall(SYS_capget, &header_, held_.data());
        auto none = held_;
        for (__user_cap_data_struct& part : none)
            part.effective = 0;
        syscall(SYS_capset, &header_, none.data());
    }
    ~WithoutCapabilities() { syscall(SYS_capset, &header_, held_.data()); }
    WithoutCapabilities(const WithoutCapabilities&) = delete;
    WithoutCapabilities& operator=(const WithoutCapabilities&) = delete;

private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> held_{};
};

/// An image that may be changed.
struct Image {
    std::vector<char> bytes = Ostrel::Test::smallImage();

    WorldImage& header() { return *reinterpret_cast<WorldImage*>(bytes.data()); }
    template <typename Element> Element* table(const WorldImage::Table& table) {
        return reinterpret_cast<Element*>(bytes.data() + table.offset);
    }
    epgentry* rows() { return table<epgentry>(header().rows); }
    GuideRowFacts* facts() { return table<GuideRowFacts>(header().rowFacts); }
    LineupRow* lineup() { return table<LineupRow>(header().lineup); }
    char* texts() { return table<char>(header().texts); }

    /// Gives a bool a value that no bool has.
    static void setBool(bool& place, char value) { std::memcpy(&place, &value, 1); }

    void seal() {
        header().size = static_cast<std::uint32_t>(bytes.size());
        const auto checksum =
            XXH3_64bits(bytes.data() + WorldImage::checkedFrom, bytes.size() - WorldImage::checkedFrom);
        header().checksumLow = static_cast<std::uint32_t>(checksum);
        header().checksumHigh = static_cast<std::uint32_t>(checksum >> 32);
    }
};

std::string saidOf(const std::function<void()>& open) {
    try {
        open();
        return "";
    } catch (const WorldError& error) {
        return error.what();
    }
}

struct Row {
    const char* name;
    void (*change)(Image&); ///< of the image, sealed
    const char* said; ///< behind the file's name
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

constexpr const char* noWorld =
    "is not a compiled world; make one with ostrel-world compile, or name a folder of text files";
constexpr const char* otherVersion = "was made by another version of ostrel-world; compile it again";
constexpr const char* cut = "has been cut off; copy or compile it again";
constexpr const char* longer = "is longer than its world; copy or compile it again";
constexpr const char* damaged = "is damaged; copy or compile it again";

// clang-format off
const Row fileRows[] = {
    {"Good",            [](Image&) {}, ""},
    {"Empty",           [](Image& i) { i.bytes.clear(); }, noWorld},
    {"Text",            [](Image& i) { std::memcpy(i.bytes.data(), "<?xml ve", 8); }, noWorld},
    {"HeaderCut",       [](Image& i) { i.bytes.resize(sizeof(WorldImage) - 1); }, noWorld},
    {"OlderVersion",    [](Image& i) { i.header().version = WorldImage::currentVersion - 1; }, otherVersion},
    {"NewerVersion",    [](Image& i) { i.header().version = WorldImage::currentVersion + 1; }, otherVersion},
    {"CutByAByte",      [](Image& i) { i.bytes.pop_back(); }, cut},
    {"HeaderAlone",     [](Image& i) { i.bytes.resize(sizeof(WorldImage)); }, cut},
    {"AByteTooMany",    [](Image& i) { i.bytes.push_back(0); }, longer},
    {"AnotherByte",     [](Image& i) { i.bytes.back() ^= 1; }, damaged},
    {"AnotherHeader",   [](Image& i) { i.header().name.offset ^= 1; }, damaged},
    {"AnotherChecksum", [](Image& i) { i.header().checksumHigh ^= 1; }, damaged},
};

const Row hostileRows[] = {
    {"TableElsewhere",     [](Image& i) { i.header().rows.offset += 16; }, "its tables are not where they belong"},
    {"TableUnaligned",     [](Image& i) { i.header().texts.offset += 1; }, "its tables are not where they belong"},
    {"TableOnAnother",     [](Image& i) { i.header().rowFacts.offset = i.header().rows.offset; }, "its tables are not where they belong"},
    {"TableBeyond",        [](Image& i) { i.header().texts.offset = 0xFFFFFFF0; }, "its tables are not where they belong"},
    {"TableTooLong",       [](Image& i) { i.header().texts.count += 1; }, "its tables are not where they belong"},
    {"TableMuchTooLong",   [](Image& i) { i.header().rows.count = 0xFFFFFFFF; }, "it tells of more than it can hold"},
    {"SizeWrapsAround",    [](Image& i) { i.header().rows.count += 0x80000000; }, "it tells of more than it can hold"},
    {"UnequalTables",      [](Image& i) { i.header().startOrder.count -= 1; i.header().services.count = 2; }, "its tables are not equally long"},
    {"TextsDoNotBegin",    [](Image& i) { i.texts()[0] = 'a'; }, "its texts do not end"},
    {"TextsDoNotEnd",      [](Image& i) { i.bytes.back() = 'a'; }, "its texts do not end"},
    {"NameInsideAText",    [](Image& i) { i.header().name.offset += 1; }, "its name is no text"},
    {"NameOutside",        [](Image& i) { i.header().name.offset = i.header().texts.count; }, "its name is no text"},
    {"ZoneOutside",        [](Image& i) { i.header().timeZone.offset = 0xFFFFFFFF; }, "its name is no text"},
    {"TitleOutside",       [](Image& i) { i.rows()[1].Title.offset = i.header().texts.count; }, "row 1"},
    {"TitleInsideAText",   [](Image& i) { i.rows()[1].Title.offset += 1; i.facts()[1].title.length -= 1; }, "row 1"},
    {"TitleLonger",        [](Image& i) { i.facts()[1].title.length += 1; }, "row 1"},
    {"TitleShorter",       [](Image& i) { i.facts()[1].title.length -= 1; }, "row 1"},
    {"TitleCutByANul",     [](Image& i) { i.texts()[i.rows()[1].Title.offset + 1] = '\0'; }, "row 1"},
    {"DescriptionOutside", [](Image& i) { i.rows()[3].Description.offset = 0x80000000; }, "row 3"},
    {"GuidanceOutside",    [](Image& i) { i.rows()[3].Guidance.offset = 0xFFFFFFFF; }, "row 3"},
    {"EscapesUntold",      [](Image& i) { i.facts()[0].title.jsonEscapes = false; }, "row 0"},
    {"XmlEscapesUntold",   [](Image& i) { i.facts()[0].description.xmlEscapes = false; }, "row 0"},
    {"EscapesOfNoText",    [](Image& i) { i.facts()[0].guidance.xmlEscapes = true; }, "row 0"},
    {"FactNoBool",         [](Image& i) { Image::setBool(i.facts()[0].title.jsonEscapes, 2); }, "row 0"},
    {"HdNoBool",           [](Image& i) { Image::setBool(i.rows()[2].IsHd, 3); }, "row 2"},
    {"NowNoBool",          [](Image& i) { Image::setBool(i.rows()[2].Now, -1); }, "row 2"},
    {"CridOutside",        [](Image& i) { i.rows()[2].Crids[1].CridData.offset = i.header().texts.count; }, "row 2"},
    {"CridThatDoesNotCount", [](Image& i) { i.rows()[2].Crids[9].CridData.offset = 0xFFFFFFFF; }, "row 2"},
    {"RowsDoNotEnd",       [](Image& i) { i.rows()[4].Start = 1; }, "its rows do not end"},
    {"LineupNameOutside",  [](Image& i) { i.lineup()[1].name.offset = 0xFFFFFFFF; }, "row 1 of its line-up"},
    {"ProviderInside",     [](Image& i) { i.lineup()[1].provider.offset += 1; }, "row 1 of its line-up"},
    {"VisibleNoBool",      [](Image& i) { Image::setBool(i.lineup()[0].visible, 2); }, "row 0 of its line-up"},
    {"LineupDoesNotEnd",   [](Image& i) { i.lineup()[2].channelNumber = 3; }, "its line-up does not end"},
};

const Row ruleRows[] = {
    {"ElevenCrids",    [](Image& i) { i.rows()[0].CridCount = 11; }, "event 10 of service 5: an event has at most 10 crids"},
    {"NotUtf8",        [](Image& i) { i.texts()[i.rows()[1].Title.offset] = '\x07'; }, "event 11 of service 5: a text holds a control character\nX: event 21 of service 6: a text holds a control character"},
    {"ServiceOutside", [](Image& i) { i.table<GuideServiceRows>(i.header().services)[0].count = 0xFFFFFFFF; }, "the services are not where the table of services says"},
    {"OrderOutside",   [](Image& i) { i.table<std::uint32_t>(i.header().startOrder)[0] = 0xFFFFFFFF; }, "the order of starts is not the order of the events' starts"},
    {"NoLineup",       [](Image& i) { i.lineup()[0].channelNumber = 0; }, "channel 0: the channel number is not a number from 1 to 9999"},
};
// clang-format on

/// Opens an image as a file; "X" stands for its path.
std::string saidOfFile(const Image& image) {
    const TempDirectory directory;
    const std::string path = directory.file("X");
    std::ofstream(path, std::ios::binary)
        .write(image.bytes.data(), static_cast<std::streamsize>(image.bytes.size()));
    std::string said = saidOf([&] { openWorld(path); });
    for (std::size_t at; (at = said.find(path)) != std::string::npos;)
        said.replace(at, path.size(), "X");
    return said;
}

std::string behindName(const std::string& said) {
    return said.empty() ? said : "X: " + said;
}

class WorldFileTable : public testing::TestWithParam<Row> {};
class HostileTable : public testing::TestWithParam<Row> {};
class BrokenRuleTable : public testing::TestWithParam<Row> {};

TEST_P(WorldFileTable, SaysWhatToDo) {
    Image image;
    GetParam().change(image);
    EXPECT_EQ(saidOfFile(image), behindName(GetParam().said));
}

TEST_P(HostileTable, IsNotBelieved) {
    Image image;
    GetParam().change(image);
    image.seal();
    EXPECT_EQ(saidOfFile(image),
              "X: is not as ostrel-world makes it (" + std::string(GetParam().said) + "); compile it again");
}

TEST_P(BrokenRuleTable, IsNamed) {
    Image image;
    GetParam().change(image);
    image.seal();
    EXPECT_EQ(saidOfFile(image), behindName(GetParam().said));
}

const auto nameOf = [](const auto& row) { return std::string(row.param.name); };
INSTANTIATE_TEST_SUITE_P(Files, WorldFileTable, testing::ValuesIn(fileRows), nameOf);
INSTANTIATE_TEST_SUITE_P(Files, HostileTable, testing::ValuesIn(hostileRows), nameOf);
INSTANTIATE_TEST_SUITE_P(Files, BrokenRuleTable, testing::ValuesIn(ruleRows), nameOf);

TEST(WorldFileTest, EveryCutIsNoticed) {
    const Image image;
    for (std::size_t size = 0; size < image.bytes.size(); size += 7)
        EXPECT_NE(saidOf([&] { verifyWorldImage({image.bytes.data(), size}, "X"); }), "") << size;
}

TEST(WorldFileTest, EveryOtherByteIsNoticed) {
    Image image;
    for (std::size_t at = 0; at != image.bytes.size(); ++at) {
        image.bytes[at] ^= 0x40;
        EXPECT_NE(saidOf([&] { verifyWorldImage(image.bytes, "X"); }), "") << at;
        image.bytes[at] ^= 0x40;
    }
}

// In 32 bits its size is that of the world with which it begins.
TEST(WorldFileTest, FourGibBehindAWorldAreNoticed) {
    const TempDirectory directory;
    const std::string path = directory.file("X");
    const Image image;
    std::ofstream(path, std::ios::binary)
        .write(image.bytes.data(), static_cast<std::streamsize>(image.bytes.size()));
    std::filesystem::resize_file(path, (std::uintmax_t{1} << 32) + image.bytes.size());
    const std::string reason = sizeof(std::size_t) > 4 ? longer : "is larger than this machine can map";
    EXPECT_EQ(saidOf([&] { openWorld(path); }), path + ": " + reason);
}

TEST(WorldFileTest, WhatIsNoFileIsOneLine) {
    const TempDirectory directory;
    const std::string path = directory.file("X");
    EXPECT_EQ(saidOf([&] { openWorld(path); }), path + ": cannot be read: No such file or directory");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(saidOf([&] { openWorld(path); }), path + ": is neither a file nor a folder");
    EXPECT_EQ(saidOf([&] { openWorld("/dev/null"); }), "/dev/null: is neither a file nor a folder");
    EXPECT_EQ(saidOf([&] { openWorld(path + "/x"); }), path + "/x: cannot be read: Not a directory");
    std::filesystem::create_directory(directory.file("empty"));
    EXPECT_EQ(saidOf([&] { openWorld(directory.file("empty")); }),
              directory.file("empty") + ": has no lineup.txt; ostrel-world --help says what a world is");
}

TEST(WorldFileTest, WhatMayNotBeReadIsOneLine) {
    const TempDirectory directory;
    const std::string path = directory.file("X");
    std::ofstream(path) << "x";
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    const WithoutCapabilities askingForPermission; // which root does not
    EXPECT_EQ(saidOf([&] { openWorld(path); }), path + ": cannot be read: Permission denied");
}

TEST(WorldFileTest, AFileWhosePlaceAnotherOneTakesStaysAsItWas) {
    const TempDirectory directory;
    const std::string path = directory.file("a.world");
    const auto write = [&](const std::string& to, const Image& image) {
        std::ofstream(to, std::ios::binary)
            .write(image.bytes.data(), static_cast<std::streamsize>(image.bytes.size()));
    };
    Image image;
    write(path, image);
    const WorldFile file = openWorld(path);
    image.rows()[0].Content = 0x20;
    image.seal();
    write(path + ".new", image);
    std::filesystem::rename(path + ".new", path);
    EXPECT_EQ(file.world().rows[0].Content, -1);
    EXPECT_EQ(openWorld(path).world().rows[0].Content, 0x20);
}

TEST(WorldFileTest, TheBuiltInWorldPasses) {
    const WorldFile file = openWorld(OSTREL_BUILT_IN_WORLD ".world");
    EXPECT_EQ(file.world().rows.size(), 11658u);
    EXPECT_EQ(file.world().name, "built-in");
    EXPECT_FALSE(file.world().builtIn);
}

} // namespace

TEST(WorldFileTest, WhatIsNoWorldIsNotReadToItsEnd) {
    const TempDirectory folder;
    const std::string path = folder.file("film.avi");
    constexpr std::size_t size = std::size_t{64} << 20;
    std::ofstream(path) << "RIFF";
    std::filesystem::resize_file(path, size);
    EXPECT_EQ(saidOf([&] { WorldFile{path}; }), path + ": " + noWorld);

    const int file = open(path.c_str(), O_RDWR);
    ASSERT_GE(file, 0);
    void* const address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    ASSERT_NE(address, MAP_FAILED);
    std::vector<unsigned char> inMemory(size / static_cast<std::size_t>(sysconf(_SC_PAGESIZE)));
    EXPECT_EQ(mincore(address, size, inMemory.data()), 0);
    munmap(address, size);
    EXPECT_LT(std::count_if(inMemory.begin(), inMemory.end(), [](auto page) { return (page & 1) != 0; }),
              static_cast<std::ptrdiff_t>(inMemory.size() / 2));
}
