#include "world/Figures.h"

#include "TV/server/dummy/world/BuiltInWorld.h"
#include "TV/server/dummy/world/WorldImage.h"
#include "tests/TV/server/dummy/data/SmallImage.h"
#include "world/Scripts.h"

#include <gtest/gtest.h>

#include <string>

namespace Ostrel::TV::Tool {

namespace {

struct Row {
    const char* name;
    const char* text;
    const char* scripts;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

// clang-format off
const Row rows[] = {
    {"Nothing",     "",                          ""},
    {"Signs",       "1 + 2 = 3 – „!“ €\u00A0",   ""},
    {"Plain",       "News",                      "Latin"},
    {"Accents",     "Ærø ßtraße Ạ ﬁ",            "Latin"},
    {"Marks",       "a\u0301",                   "Latin"},
    {"Greek",       "Ειδήσεις ἀ",                "Greek"},
    {"Cyrillic",    "Новости",                   "Cyrillic"},
    {"Hebrew",      "חדשות",                     "Hebrew"},
    {"Arabic",      "أخبار ﷺ",                   "Arabic"},
    {"Devanagari",  "समाचार",                    "Devanagari"},
    {"Thai",        "ข่าว",                      "Thai"},
    {"Japanese",    "夜のニュース",              "Kana Han"},
    {"Korean",      "뉴스 ㄱ",                   "Hangul"},
    {"Chinese",     "新闻 𠜎",                   "Han"},
    {"Emoji",       "🦊 ☀ 🇬🇧",                   "emoji"},
    {"Georgian",    "ახალი",                     "other"},
    {"OldGothic",   "𐍈",                         "other"},
    {"Mixed",       "Live: مباراة",              "Latin Arabic"},
};
// clang-format on

class ScriptsTable : public testing::TestWithParam<Row> {};

TEST_P(ScriptsTable, FindsThese) {
    const auto found = findScripts(GetParam().text);
    std::string names;
    for (std::size_t i = 0; i != scriptCount; ++i)
        if (found[i])
            names += (names.empty() ? "" : " ") + std::string(scriptName(i));
    EXPECT_EQ(names, GetParam().scripts);
}

INSTANTIATE_TEST_SUITE_P(Scripts, ScriptsTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace

TEST(FiguresTest, CountWhatThereIs) {
    const auto image = Ostrel::Test::smallImage();
    const Figures figures(reinterpret_cast<const WorldImage*>(image.data())->world());
    EXPECT_EQ(figures.television, 2u);
    EXPECT_EQ(figures.radio + figures.data, 0u);
    EXPECT_EQ(figures.frequencies, std::vector<std::uint32_t>{690});
    EXPECT_EQ(figures.highDefinition, 2u);
    EXPECT_EQ(figures.links, 2u);
    EXPECT_EQ(figures.gaps, 0u);
    EXPECT_EQ(figures.firstStart, 1318610700);
    EXPECT_EQ(figures.lastEnd, 1318612500);
    EXPECT_EQ(figures.shortestEvent, 900);
    EXPECT_EQ(figures.longestEvent, 900);
    EXPECT_EQ(figures.texts.longestTitle, 15u); // Tide "and" time
    EXPECT_EQ(figures.texts.longestSynopsis, 21u); // A look at the häfen.
    EXPECT_EQ(figures.texts.withoutTitle, 0u);
    ASSERT_EQ(figures.scripts.size(), 1u);
    EXPECT_EQ(figures.scripts[0].name, "Latin");
    EXPECT_EQ(figures.scripts[0].events, 4u);
    ASSERT_EQ(figures.days.size(), 1u);
    EXPECT_EQ(figures.days[0].start, 1318550400); // 2011-10-14
    EXPECT_EQ(figures.days[0].events, 4u);
    EXPECT_EQ(figures.days[0].services, 2u);
    ASSERT_EQ(figures.services.size(), 2u);
    EXPECT_EQ(figures.services[1].name, "Harbour HD");
    EXPECT_EQ(figures.services[1].guideId, 6);
    EXPECT_EQ(figures.services[1].events, 2u);
    EXPECT_EQ(figures.services[1].secondsOnAir, 1800);
}

// Its figures are known: data/README.md names them.
TEST(FiguresTest, KnowTheBuiltInWorld) {
    const Figures figures(builtInWorld());
    EXPECT_EQ(figures.gaps, 33u);
    EXPECT_EQ(figures.links, 126u);
    EXPECT_EQ(figures.television, 72u);
    EXPECT_EQ(figures.radio, 24u);
    EXPECT_EQ(figures.days.size(), 10u);
    std::size_t events = 0, withoutLineup = 0;
    for (const auto& service : figures.services) {
        events += service.events;
        withoutLineup += service.lineup == nullptr;
    }
    EXPECT_EQ(events, 11658u);
    EXPECT_EQ(withoutLineup, 7u);
}

} // namespace Ostrel::TV::Tool
