#include "soak/Announcements.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Ostrel::Soak {
namespace {

/// What travels, by a short name: "start", "complete" or a percentage.
std::string notification(const std::string& name) {
    const bool isPercent = name != "start" && name != "complete";
    return R"({"jsonrpc":"2.0","method":"ITVConfig::onScan)" +
           std::string(isPercent         ? "Progress"
                       : name == "start" ? "Start"
                                         : "Complete") +
           R"(","params":{"sourceId":1)" + (isPercent ? R"(,"percent":)" + name : "") + "}}";
}

/// The first complaint about a story of such names.
std::string tell(const std::string& names, std::size_t setBacks = 0) {
    ScanStory story;
    story.setBacks(setBacks);
    std::istringstream words(names);
    for (std::string word; words >> word;)
        if (auto wrong = story.take(notification(word)); !wrong.empty())
            return wrong;
    return {};
}

struct Row {
    const char* name;
    const char* story;
    const char* complaint;
};

// clang-format off
const Row rows[] = {
    {"Whole",              "start 0 50 100 complete start 0 1 complete", ""},
    {"DeletedWithContext", "start 0 50 start 0 100 complete",            ""},
    {"NoBegin",            "0",                                          "a percentage is out of place"},
    {"NoZero",             "start 1",                                    "a scan does not begin with 0 percent"},
    {"Same",               "start 0 5 5",                                "the percentage is the same as before"},
    {"Back",               "start 0 5 4",                                "a scan goes back, though the clock does not"},
    {"AfterHundred",       "start 0 100 99",                             "a percentage is out of place"},
    {"StartAfterHundred",  "start 0 100 start",                          "a start is out of place"},
    {"TwoStarts",          "start start",                                "a start is out of place"},
    {"CompletedTwice",     "start 0 complete complete",                  "a completion is out of place"},
    {"CompletedAtOnce",    "start complete",                             "a completion is out of place"},
    {"TooMuch",            "start 0 101",                                "it is no notification of a scan"},
};
// clang-format on

struct ScanStoryTable : testing::TestWithParam<Row> {};

TEST_P(ScanStoryTable, IsJudged) {
    EXPECT_EQ(tell(GetParam().story), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(ScanStory, ScanStoryTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(ScanStoryTest, GoesBackOnceForEachTimeThatTheClockDoes) {
    EXPECT_EQ(tell("start 0 5 0 5", 1), "");
    EXPECT_EQ(tell("start 0 5 0 5 4", 1), "a scan goes back, though the clock does not");
}

TEST(AnnouncementsTest, EveryListenerHearsTheSame) {
    Announcements announcements;
    Announcements::Place first = 0;
    Announcements::Place second = 0;
    EXPECT_EQ(announcements.hear(first, notification("start")), "");
    EXPECT_EQ(announcements.hear(first, notification("0")), "");
    EXPECT_EQ(announcements.hear(second, notification("start")), "");
    announcements.forget(1);
    EXPECT_EQ(announcements.hear(second, notification("7")), "others heard " + notification("0"));
    EXPECT_EQ(announcements.hear(second, notification("9")), ""); // it is the first to hear that
    EXPECT_EQ(announcements.getEnd(), 3u);
    EXPECT_EQ(announcements.hear(first, notification("8")), "others heard " + notification("9"));
}

} // namespace
} // namespace Ostrel::Soak
