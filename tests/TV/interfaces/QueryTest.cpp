#include "TV/interfaces/ITVGuide.h"

#include <gtest/gtest.h>

#include <string>

using namespace Ostrel;
using namespace Ostrel::TV;

namespace {

ITVGuide::Query read(const std::string& text) {
    Deserializer payload(R"({"query":)" + text + "}");
    return deserialize<ITVGuide::Query>("query", payload);
}

TEST(QueryTest, EverythingMayBeLeftOut) {
    const auto query = read("{}");
    EXPECT_TRUE(query.getServiceIdList().empty());
    EXPECT_FALSE(query.getTimeRange().getValid());
    EXPECT_FALSE(query.getTimeRange().getStrict());
    EXPECT_EQ(query.getTimeRange().getBase(), 0);
    EXPECT_EQ(query.getTimeRange().getLimit(), 2147483647);
    EXPECT_TRUE(query.getGenreList().empty());
    EXPECT_TRUE(query.getStringList().empty());
    EXPECT_FALSE(query.getStringAnd());
    EXPECT_FALSE(query.getStringMatchDescription());
    EXPECT_EQ(query.getOrderByServiceIdPriority(), -1);
    EXPECT_EQ(query.getOrderByStartTimePriority(), -1);
    EXPECT_FALSE(query.getSliceRange().getValid());
    EXPECT_EQ(query.getSliceRange().getBase(), 0u);
    EXPECT_EQ(query.getSliceRange().getLimit(), 4294967295u);
}

TEST(QueryTest, EveryMemberIsRead) {
    const auto query = read(R"({
        "serviceIdList":[1043,-1],
        "timeRange":{"valid":false,"strict":true,"base":-90,"limit":7},
        "genreList":[0,255],
        "stringList":["News",""],
        "stringAnd":true,
        "stringMatchDescription":true,
        "orderByServiceIdPriority":3,
        "orderByStartTimePriority":4,
        "sliceRange":{"valid":false,"base":5,"limit":6}})");
    EXPECT_EQ(query.getServiceIdList(), (std::vector<int>{1043, -1}));
    EXPECT_FALSE(query.getTimeRange().getValid());
    EXPECT_TRUE(query.getTimeRange().getStrict());
    EXPECT_EQ(query.getTimeRange().getBase(), -90);
    EXPECT_EQ(query.getTimeRange().getLimit(), 7);
    EXPECT_EQ(query.getGenreList(), (std::vector<unsigned char>{0, 255}));
    EXPECT_EQ(query.getStringList(), (std::vector<std::string>{"News", ""}));
    EXPECT_TRUE(query.getStringAnd());
    EXPECT_TRUE(query.getStringMatchDescription());
    EXPECT_EQ(query.getOrderByServiceIdPriority(), 3);
    EXPECT_EQ(query.getOrderByStartTimePriority(), 4);
    EXPECT_FALSE(query.getSliceRange().getValid());
    EXPECT_EQ(query.getSliceRange().getBase(), 5u);
    EXPECT_EQ(query.getSliceRange().getLimit(), 6u);
}

TEST(QueryTest, RangesCountWhenTheyAreGiven) {
    const auto query = read(R"({"timeRange":{},"sliceRange":{}})");
    EXPECT_TRUE(query.getTimeRange().getValid());
    EXPECT_EQ(query.getTimeRange().getLimit(), 2147483647);
    EXPECT_TRUE(query.getSliceRange().getValid());
    EXPECT_EQ(query.getSliceRange().getLimit(), 4294967295u);
}

TEST(QueryTest, MembersBehindTheQueryAreStillRead) {
    Deserializer payload(R"({"query":{"timeRange":{"base":1}},"base":2})");
    deserialize<ITVGuide::Query>("query", payload);
    EXPECT_EQ(deserialize<int>("base", payload), 2);
}

std::string textsOf(std::size_t count) {
    std::string list;
    for (std::size_t index = 0; index < count; ++index)
        list += index == 0 ? R"("a")" : R"(,"a")";
    return R"({"stringList":[)" + list + "]}";
}

TEST(QueryTest, TextsMayBeAsManyAsTheLimit) {
    EXPECT_EQ(read(textsOf(256)).getStringList().size(), 256u);
    EXPECT_THROW(read(textsOf(257)), DecodeError);
}

struct Refusal {
    const char* name;
    const char* query;
    const char* member; ///< that the refusal names
};

void PrintTo(const Refusal& row, std::ostream* out) {
    *out << row.query;
}

class QueryRefusals : public testing::TestWithParam<Refusal> {};

// clang-format off
const Refusal refusals[] = {
    {"UnknownName",        R"({"stringlist":[]})",                    "query.stringlist"},
    {"UnknownTimeName",    R"({"timeRange":{"Base":1}})",             "query.timeRange.Base"},
    {"UnknownSliceName",   R"({"sliceRange":{"strict":true}})",       "query.sliceRange.strict"},
    {"ServiceIdIsText",    R"({"serviceIdList":["1043"]})",           "query.serviceIdList"},
    {"TimeIsFraction",     R"({"timeRange":{"base":1.5}})",           "query.timeRange.base"},
    {"TimeIsTooLarge",     R"({"timeRange":{"limit":2147483648}})",   "query.timeRange.limit"},
    {"SliceIsNegative",    R"({"sliceRange":{"base":-1}})",           "query.sliceRange.base"},
    {"SliceIsTooLarge",    R"({"sliceRange":{"limit":4294967296}})",  "query.sliceRange.limit"},
    {"GenreIsTooLarge",    R"({"genreList":[256]})",                  "query.genreList"},
    {"GenreIsNegative",    R"({"genreList":[-1]})",                   "query.genreList"},
    {"AndIsNumber",        R"({"stringAnd":1})",                      "query.stringAnd"},
    {"RangeIsNoObject",    R"({"timeRange":[]})",                     "query.timeRange"},
};
// clang-format on

TEST_P(QueryRefusals, NameTheMember) {
    try {
        read(GetParam().query);
        FAIL() << "it was taken";
    } catch (const DecodeError& error) {
        EXPECT_EQ(error.getMember().rfind(GetParam().member, 0), 0u) << error.getMember();
    }
}

INSTANTIATE_TEST_SUITE_P(Query, QueryRefusals, testing::ValuesIn(refusals),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
