#include "clients/tool/ReplyDifference.h"

#include <boost/json/parse.hpp>

#include <gtest/gtest.h>

namespace Ostrel::Client::Tool {
namespace {

struct Row {
    const char* name;
    const char* recorded;
    const char* replayed;
    std::set<std::string> without;
    const char* differences; ///< "PATH: RECORDED -> REPLAYED", each with a line break
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class ReplyDifferenceTable : public testing::TestWithParam<Row> {};

TEST_P(ReplyDifferenceTable, AreFound) {
    std::string text;
    for (const auto& [path, recorded, replayed] :
         compareReplies(boost::json::parse(GetParam().recorded), boost::json::parse(GetParam().replayed),
                        GetParam().without, 3))
        text += path + ": " + recorded + " -> " + replayed + "\n";
    EXPECT_EQ(text, GetParam().differences);
}

// clang-format off
const Row rows[] = {
    {"None",            R"({"a":[1,{"b":null}]})", R"({"a":[1,{"b":null}]})", {}, ""},
    {"OrderOfMembers",  R"({"a":1,"b":2})",        R"({"b":2,"a":1})",        {}, ""},
    {"Value",           R"({"a":{"b":1}})",        R"({"a":{"b":2}})",        {}, "a.b: 1 -> 2\n"},
    {"Type",            R"({"a":1})",              R"({"a":"1"})",            {}, "a: 1 -> \"1\"\n"},
    {"Element",         R"({"a":[1,2]})",          R"({"a":[1,3]})",          {}, "a[1]: 2 -> 3\n"},
    {"ElementMore",     R"([1])",                  R"([1,2])",                {}, "[1]:  -> 2\n"},
    {"ElementLess",     R"([1,2])",                R"([1])",                  {}, "[1]: 2 -> \n"},
    {"MemberMore",      R"({"a":1})",              R"({"a":1,"b":2})",        {}, "b:  -> 2\n"},
    {"MemberLess",      R"({"a":1,"b":2})",        R"({"a":1})",              {}, "b: 2 -> \n"},
    {"Whole",           "1",                       "[]",                      {}, ": 1 -> []\n"},
    {"Without",         R"([{"a":1,"b":1}])",      R"([{"a":2,"b":1}])",      {"a"}, ""},
    {"WithoutAnother",  R"([{"a":1,"b":1}])",      R"([{"a":2,"b":2}])",      {"a"}, "[0].b: 1 -> 2\n"},
    {"NoMoreThanThree", "[1,2,3,4]",               "[0,0,0,0]",               {}, "[0]: 1 -> 0\n[1]: 2 -> 0\n[2]: 3 -> 0\n"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Replies, ReplyDifferenceTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
} // namespace Ostrel::Client::Tool
