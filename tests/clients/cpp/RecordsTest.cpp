#include "clients/cpp/Errors.h"
#include "clients/cpp/Json.h"
#include "clients/cpp/Simulator.h"

#include <gtest/gtest.h>

using namespace Ostrel::Client;

namespace {

template <class Record> std::string roundTrip(const std::string& text) {
    try {
        return encode(decode<Record>(text));
    } catch (const BadReply& error) {
        return error.what();
    }
}

struct Row {
    const char* name;
    std::string (*roundTrip)(const std::string&);
    const char* text;
    const char* result; ///< null: the same text
};

class RecordTable : public testing::TestWithParam<Row> {};

TEST_P(RecordTable, IsReadAndWrittenThus) {
    const auto& row = GetParam();
    EXPECT_EQ(row.roundTrip(row.text), row.result == nullptr ? row.text : row.result);
}

const Row rows[] = {
    {"Service", roundTrip<ServiceInfo>,
     R"({"channelNumber":1,"name":"BBC ONE","uri":"dvb://233a..1041","id":4294967295,"type":2,)"
     R"("provider":"BBC","scrambled":true,"highDefinition":false,"visible":true,"selectable":false})",
     nullptr},
    {"Event", roundTrip<EventInfo>,
     R"({"serviceId":1,"startTime":-2147483648,"endTime":2147483647,"title":"a","description":"b",)"
     R"("highDefinition":true,"extra":0,"genres":[32,241]})",
     nullptr},
    {"NoGenres", roundTrip<EventInfo>,
     R"({"serviceId":1,"startTime":1,"endTime":2,"title":"","description":"",)"
     R"("highDefinition":false,"extra":0,"genres":[]})",
     nullptr},
    {"Genre", roundTrip<GenreStringMap>, R"({"code":241,"text":"Sport"})", nullptr},
    {"Signal", roundTrip<SignalStatus>, R"({"strength":1,"quality":2})", nullptr},
    {"Scan", roundTrip<ScanInfo>,
     R"({"scanning":true,"progress":1,"reserved1":2,"reserved2":3,"reserved3":4,"reserved4":5,"reserved5":6,)"
     R"("servicesFound":7,"tvServices":8,"radioServices":9,"type3Services":10,"reserved6":11,"reserved7":12})",
     nullptr},
    {"UnknownMember", roundTrip<SignalStatus>, R"({"new":[1],"quality":2,"strength":1})",
     R"({"strength":1,"quality":2})"},
    {"Missing", roundTrip<SignalStatus>, R"({"strength":1})", R"(the reply lacks the member "quality")"},
    {"Negative", roundTrip<SignalStatus>, R"({"strength":-1,"quality":2})",
     R"(the reply's member "strength" is of another type)"},
    {"TooLarge", roundTrip<SignalStatus>, R"({"strength":4294967296,"quality":2})",
     R"(the reply's member "strength" is of another type)"},
    {"Fraction", roundTrip<GenreStringMap>, R"({"code":1.5,"text":""})",
     R"(the reply's member "code" is of another type)"},
    {"TextForNumber", roundTrip<GenreStringMap>, R"({"code":"1","text":""})",
     R"(the reply's member "code" is of another type)"},
    {"NumberForText", roundTrip<GenreStringMap>, R"({"code":1,"text":2})",
     R"(the reply's member "text" is of another type)"},
    {"NoRecord", roundTrip<SignalStatus>, "[]", "the reply is not a record"},
};

INSTANTIATE_TEST_SUITE_P(Records, RecordTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(RecordsTest, QueryLeavesOutWhatIsAsAtTheStart) {
    Query query;
    EXPECT_EQ(encode(query), "{}");
    query.serviceIdList = {1043};
    query.timeRange = {{true, 1, 2}};
    query.genreList = {16};
    query.stringList = {"News"};
    query.stringAnd = true;
    query.stringMatchDescription = true;
    query.orderByServiceIdPriority = 0;
    query.orderByStartTimePriority = 1;
    query.sliceRange = {{3, 4294967295}};
    EXPECT_EQ(encode(query),
              R"({"serviceIdList":[1043],"timeRange":{"strict":true,"base":1,"limit":2},"genreList":[16],)"
              R"("stringList":["News"],"stringAnd":true,"stringMatchDescription":true,)"
              R"("orderByServiceIdPriority":0,"orderByStartTimePriority":1,)"
              R"("sliceRange":{"base":3}})");
}

TEST(RecordsTest, ListKeepsItsOrder) {
    using Genres = std::vector<GenreStringMap>;
    const std::string text = R"([{"code":2,"text":"b"},{"code":1,"text":"a"}])";
    const auto genres = decode<Genres>(text);
    EXPECT_EQ(genres, (Genres{{2, "b"}, {1, "a"}}));
    EXPECT_EQ(encode(genres), text);
    EXPECT_EQ(encode(Genres()), "[]");
    EXPECT_THROW(decode<Genres>("{}"), BadReply);
    EXPECT_THROW(decode<Genres>("[1]"), BadReply);
}

TEST(RecordsTest, NumbersAreWrittenAsPeopleDo) {
    const struct {
        const char* read;
        const char* written;
    } cases[] = {
        {"5E-1", "0.5"},       {"0.1", "0.1"},
        {"-2.50", "-2.5"},     {"1.0", "1"},
        {"3600", "3600"},      {"0.0", "0"},
        {"0e400", "0"},        {"1760612404.107312", "1760612404.107312"},
        {"1e5", "100000"},     {"0.000001", "0.000001"},
        {"0.0000001", "1E-7"}, {"1e20", "100000000000000000000"},
        {"1e21", "1E21"},      {"-1e400", "-1.7976931348623157E308"},
    };
    for (const auto& row : cases) {
        const auto clock =
            decode<Simulator::Clock>(R"({"now":1,"real":2,"speed":)" + std::string(row.read) + "}");
        EXPECT_EQ(encode(clock), R"({"now":1,"speed":)" + std::string(row.written) + R"(,"real":2})");
    }
}

TEST(RecordsTest, PlainRepliesAreReadToo) {
    EXPECT_TRUE(decode<bool>("true"));
    EXPECT_THROW(decode<bool>("1"), BadReply);
    EXPECT_EQ(decode<std::uint32_t>("4294967295"), 4294967295U);
    EXPECT_THROW(decode<std::uint32_t>("4294967296"), BadReply);
    EXPECT_EQ(decode<std::vector<std::string>>(R"(["a","\n"])"), (std::vector<std::string>{"a", "\n"}));
    EXPECT_THROW(decode<std::vector<std::string>>("[1]"), BadReply);
    EXPECT_THROW(decode<bool>("no JSON"), BadReply);
}

} // namespace
