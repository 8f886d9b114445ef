#include "world/Crids.h"

#include <gtest/gtest.h>

#include <ostream>
#include <set>
#include <string>

using namespace Ostrel::TV;
using namespace Ostrel::TV::Tool;

namespace {

XmltvProgramme numbered(std::vector<XmltvText> numbers) {
    XmltvProgramme programme;
    programme.episodeNumbers = std::move(numbers);
    return programme;
}

std::string describe(const XmltvProgramme& programme, const char* title = "The Ferry",
                     const char* subTitle = "") {
    std::string text;
    for (const GuideCrid& crid : makeCrids(programme, title, subTitle))
        text += (text.empty() ? "" : " ") + std::to_string(crid.type) + ":" + crid.data;
    return text;
}

TEST(CridsTest, AreTheSameInEveryFileAndOnEveryMachine) {
    EXPECT_EQ(describe(numbered({{"xmltv_ns", "1.4."}})), "1:/xrya28zotn 2:/i2ffh8f9dh");
    EXPECT_EQ(describe(numbered({{"dd_progid", "EP01234567.0012"}})), "1:/10hjdmovcv 2:/kp4kjsi9op");
}

struct Row {
    const char* name;
    std::vector<XmltvText> numbers;
    const char* subTitle;
    const char* types; ///< of the identifiers
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class CridTable : public testing::TestWithParam<Row> {};

TEST_P(CridTable, HasTheseTypes) {
    std::string types;
    for (const GuideCrid& crid : makeCrids(numbered(GetParam().numbers), "The Ferry", GetParam().subTitle))
        types += std::to_string(crid.type);
    EXPECT_EQ(types, GetParam().types);
}

// clang-format off
const Row rows[] = {
    {"Nothing",             {}, "", ""},
    {"SubTitle",            {}, "Fog", "12"},
    {"Numbers",             {{"xmltv_ns", "1.4."}}, "", "12"},
    {"NoEpisode",           {{"xmltv_ns", "1.."}}, "", ""},
    {"NoSeriesNumber",      {{"xmltv_ns", ".4."}}, "", "12"},
    {"Onscreen",            {{"onscreen", "S2 E5"}}, "", "12"},
    {"ProgrammeId",         {{"dd_progid", "EP01234567.0012"}}, "", "12"},
    {"ShowWithoutEpisode",  {{"dd_progid", "SH01234567.0000"}}, "", "2"},
    {"Film",                {{"dd_progid", "MV01234567.0000"}}, "", "1"},
    {"FilmInADatabase",     {{"themoviedb.org", "movie/1234"}}, "", "1"},
    {"EpisodeInADatabase",  {{"thetvdb.com", "episode/99"}}, "", "1"},
    {"SeriesInADatabase",   {{"thetvdb.com", "series/99"}}, "", "2"},
    {"SpeltOut",            {{"crid-episode", "/23vbzj"}, {"crid-series", "/krs9xe"}, {"crid-recommendation", "/33991643"}}, "Fog", "123"},
    {"SpeltOutBadly",       {{"crid-episode", "/23 vbzj"}}, "", ""},
    {"TooManySpeltOut",     std::vector<XmltvText>(11, {"crid-series", "/krs9xe"}), "", "2222222222"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Crids, CridTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(CridsTest, TheSameEpisodeIsTheSameHoweverItsNumberIsWritten) {
    const auto crids = describe(numbered({{"xmltv_ns", "1.4."}}));
    EXPECT_EQ(describe(numbered({{"xmltv_ns", "1 . 4/13 . 0/1"}})), crids);
    EXPECT_EQ(describe(numbered({{"xmltv_ns", "1/2.4.0"}})), crids);
    EXPECT_EQ(describe(numbered({{"xmltv_ns", "1.4."}}), "The Ferry", "Fog"), crids);
    EXPECT_NE(describe(numbered({{"xmltv_ns", "1.4.1/2"}})), crids);
    EXPECT_NE(describe(numbered({{"xmltv_ns", "1.5."}})), crids);
    EXPECT_NE(describe(numbered({{"xmltv_ns", "1.4."}}), "The Lighthouse"), crids);
}

TEST(CridsTest, EpisodesOfASeriesShareItsIdentifierAlone) {
    std::set<std::string> episodes, series;
    for (int i = 0; i != 1000; ++i) {
        const auto crids =
            makeCrids(numbered({{"xmltv_ns", "0." + std::to_string(i) + "."}}), "The Ferry", "");
        episodes.insert(crids.at(0).data);
        series.insert(crids.at(1).data);
    }
    EXPECT_EQ(episodes.size(), 1000u);
    EXPECT_EQ(series.size(), 1u);
}

TEST(CridsTest, ASeriesWithAnIdentifierNeedsNoTitle) {
    XmltvProgramme programme;
    programme.seriesIds = {{"listings", "4711"}};
    EXPECT_EQ(describe(programme, "One"), describe(programme, "Two"));
}

TEST(CridsTest, WhatWasShownBeforeIsAnotherInstance) {
    auto programme = numbered({{"xmltv_ns", "1.4."}});
    const auto crids = makeCrids(programme, "The Ferry", "");
    EXPECT_EQ(readImi(programme, crids), 0u);
    programme.previouslyShown = true;
    EXPECT_EQ(readImi(programme, crids), 49u);
    EXPECT_EQ(readImi(programme, {}), 0u);
    programme.episodeNumbers.push_back({"imi", "7"});
    EXPECT_EQ(readImi(programme, crids), 7u);
}

} // namespace
