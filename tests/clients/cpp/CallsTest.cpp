#include "clients/cpp/Client.h"
#include "clients/cpp/Json.h"
#include "clients/cpp/Simulator.h"
#include "tests/support/FakeService.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value_from.hpp>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

namespace json = boost::json;

using namespace Ostrel::Client;
using Ostrel::Test::FakeService;
using Ostrel::Test::result;

namespace {

json::value parseFile(const char* path) {
    std::ifstream file(path);
    return json::parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

/// All methods that are described, and all records, of both servers.
const json::value& getDescription() {
    static const auto description = [] {
        auto both = parseFile(OSTREL_DESCRIPTION);
        const auto simulator = parseFile(OSTREL_SIMULATOR_DESCRIPTION);
        for (const auto& method : simulator.at("methods").as_array())
            both.at("methods").as_array().push_back(method);
        for (const auto& [name, schema] : simulator.at("components").at("schemas").as_object())
            both.at("components").at("schemas").as_object().insert_or_assign(name, schema);
        return both;
    }();
    return description;
}

const json::object& findMethod(std::string_view name) {
    for (const auto& method : getDescription().at("methods").as_array()) {
        if (method.at("name").as_string() == json::string_view(name))
            return method.as_object();
    }
    throw std::runtime_error(std::string(name) + " is not described");
}

// What calls return, as it travels.
template <class Record> json::value shown(const Record& record) {
    return json::parse(encode(record));
}
json::value shown(std::uint32_t number) {
    return number;
}
json::value shown(bool truth) {
    return truth;
}
json::value shown(const std::vector<std::string>& texts) {
    return json::value_from(texts);
}

/// A typed call with the params of the first example that the description has of it.
struct Row {
    const char* method;
    json::value (*call)(Client& client); ///< null for what returns nothing
};

// clang-format off
const Row rows[] = {
    {"ITVService::createContext", [](Client& c) { return shown(ITVService(c).createContext()); }},
    {"ITVService::deleteContext", [](Client& c) { ITVService(c).deleteContext(); return json::value(); }},
    {"ITVService::serviceListSet", [](Client& c) { ITVService(c).serviceListSet("all"); return json::value(); }},
    {"ITVService::serviceListGet", [](Client& c) { return shown(ITVService(c).serviceListGet(2)); }},
    {"ITVService::serviceListRead", [](Client& c) { return shown(ITVService(c).serviceListRead(2)); }},
    {"ITVService::serviceListSeek",
     [](Client& c) { return shown(ITVService(c).serviceListSeek(-1, Whence::Cursor)); }},
    {"ITVService::serviceListSeekByUri",
     [](Client& c) { return shown(ITVService(c).serviceListSeekByUri("dvb://233a..2041")); }},
    {"ITVService::serviceListSeekByChannelNumber",
     [](Client& c) { return shown(ITVService(c).serviceListSeekByChannelNumber(4)); }},
    {"ITVService::serviceListDelete", [](Client& c) { ITVService(c).serviceListDelete(); return json::value(); }},
    {"ITVService::serviceListDeleteAll",
     [](Client& c) { ITVService(c).serviceListDeleteAll(); return json::value(); }},
    {"ITVService::nowNextGet", [](Client& c) { return shown(ITVService(c).nowNextGet(1000, "quorilxml")); }},
    {"ITVService::signalStatusGet", [](Client& c) { return shown(ITVService(c).signalStatusGet(1)); }},
    {"ITVService::utcTimeGet", [](Client& c) { return shown(ITVService(c).utcTimeGet()); }},
    {"ITVConfig::transponderListAdd",
     [](Client& c) { ITVConfig(c).transponderListAdd(1, {.frequencyKHz = 690000}); return json::value(); }},
    {"ITVConfig::transponderListDeleteAll",
     [](Client& c) { ITVConfig(c).transponderListDeleteAll(1); return json::value(); }},
    {"ITVConfig::scanBlindStart", [](Client& c) { ITVConfig(c).scanBlindStart(1, 0); return json::value(); }},
    {"ITVConfig::scanStart", [](Client& c) { ITVConfig(c).scanStart(1, 0); return json::value(); }},
    {"ITVConfig::scanHomeStart",
     [](Client& c) { ITVConfig(c).scanHomeStart(1, 0, {.frequencyKHz = 690000}); return json::value(); }},
    {"ITVConfig::scanStop", [](Client& c) { return shown(ITVConfig(c).scanStop(1)); }},
    {"ITVConfig::scanInfoGet", [](Client& c) { return shown(ITVConfig(c).scanInfoGet(1)); }},
    {"ITVGuide::queryEventInfo",
     [](Client& c) {
         Query query;
         query.serviceIdList = {1043, 1044};
         query.timeRange = {{.base = 1318762800, .limit = 1318766400}};
         query.orderByServiceIdPriority = 0;
         return shown(ITVGuide(c).queryEventInfo(query));
     }},
    {"ITVGuide::queryNowNextEventInfo", [](Client& c) { return shown(ITVGuide(c).queryNowNextEventInfo(1043)); }},
    {"ITVGuide::query",
     [](Client& c) {
         return shown(ITVGuide(c).query("ServiceId == 1043 && Start <= 1318762800 && End > 1318762800", "quoril",
                                        "quoriljson"));
     }},
    {"ITVGuide::getGenreStringMapList",
     [](Client& c) { return shown(ITVGuide(c).getGenreStringMapList()); }},
    {"Simulator::clockGet", [](Client& c) { return shown(Simulator(c).clockGet()); }},
    {"Simulator::clockSet", [](Client& c) { return shown(Simulator(c).clockSet({.now = 1318762800, .speed = 0})); }},
    {"Simulator::clockStep",
     [](Client& c) {
         return shown(Simulator(c).clockStep({.toNextStart = {{.serviceId = 1043, .before = 5}}}));
     }},
    {"Simulator::weatherSet",
     [](Client& c) {
         return shown(Simulator(c).weatherSet(
             {.rules = {{.method = "ITVGuide::*", .delayMs = std::vector{200U, 800U}},
                        {.method = "ITVConfig::scanBlindStart", .probability = 0.5, .error = "NotSupported"}},
              .seed = 7}));
     }},
    {"Simulator::weatherGet", [](Client& c) { return shown(Simulator(c).weatherGet()); }},
    {"Simulator::signalSet", [](Client& c) { Simulator(c).signalSet(80, 35); return json::value(); }},
    {"Simulator::reset", [](Client& c) { Simulator(c).reset(); return json::value(); }},
    {"Simulator::worldGet", [](Client& c) { return shown(Simulator(c).worldGet()); }},
    {"Simulator::trafficGet", [](Client& c) { return shown(Simulator(c).trafficGet({.last = 2})); }},
    {"Simulator::trafficWatch", [](Client& c) { Simulator(c).trafficWatch(true); return json::value(); }},
};
// clang-format on

class CallTable : public testing::TestWithParam<Row> {};

TEST_P(CallTable, TravelsAsTheExample) {
    const auto& method = findMethod(GetParam().method);
    const auto& example = method.at("examples").at(0).as_object();
    const bool isRefused = example.contains("x-error"); // here it is not
    const auto answer = isRefused ? json::value(true) : example.at("result").at("value");
    FakeService fake({{GetParam().method, {result(json::serialize(answer))}}});
    json::object params;
    for (const auto& param : example.at("params").as_array())
        params[param.at("name").as_string()] = param.at("value");

    Client client(Url(fake.getAddress()));
    if (params.contains("context"))
        client.useContext(params.at("context").to_number<std::uint32_t>());
    const auto returned = GetParam().call(client);

    // A call returns nothing where all that can come is true.
    EXPECT_EQ(returned, answer == json::value(true) && returned.is_null() ? json::value() : answer);
    ASSERT_EQ(fake.getRequests().size(), 1U);
    const auto request = json::parse(fake.getRequests()[0]).as_object();
    EXPECT_EQ(request.at("method"), GetParam().method);
    EXPECT_EQ(request.contains("params") ? request.at("params") : json::object(), params);
}

std::string nameOf(const testing::TestParamInfo<Row>& info) {
    const std::string method = info.param.method;
    return method.substr(method.find("::") + 2);
}

INSTANTIATE_TEST_SUITE_P(Calls, CallTable, testing::ValuesIn(rows), nameOf);

TEST(CallsTest, EveryMethodThatIsDescribedCanBeCalled) {
    std::multiset<std::string> described;
    std::multiset<std::string> called;
    for (const auto& method : getDescription().at("methods").as_array()) {
        if (method.as_object().contains("result"))
            described.insert(method.at("name").as_string().c_str());
    }
    for (const auto& row : rows)
        called.insert(row.method);
    EXPECT_EQ(called, described);
}

/// Returns the names of the members that a record sends, sorted.
template <class Record> std::set<std::string> getMembers(const Record& record) {
    std::set<std::string> names;
    const auto sent = shown(record);
    for (const auto& [name, value] : sent.as_object())
        names.insert(name);
    return names;
}

std::set<std::string> getDescribedMembers(const std::string& record) {
    std::set<std::string> names;
    for (const auto& [name, schema] :
         getDescription().at("components").at("schemas").at(record).at("properties").as_object())
        names.insert(name);
    return names;
}

TEST(CallsTest, RecordsHaveTheMembersThatAreDescribed) {
    EXPECT_EQ(getMembers(ServiceInfo()), getDescribedMembers("ServiceInfo"));
    EXPECT_EQ(getMembers(SignalStatus()), getDescribedMembers("SignalStatus"));
    EXPECT_EQ(getMembers(ScanInfo()), getDescribedMembers("ScanInfo"));
    EXPECT_EQ(getMembers(TuningParams()), getDescribedMembers("TuningParams"));
    EXPECT_EQ(getMembers(EventInfo()), getDescribedMembers("EventInfo"));
    EXPECT_EQ(getMembers(GenreStringMap()), getDescribedMembers("GenreStringMap"));
    EXPECT_EQ(getMembers(Programme()), getDescribedMembers("Programme"));
    EXPECT_EQ(getMembers(Simulator::Clock()), getDescribedMembers("Clock"));
    Simulator::World world;
    world.turnsAt = 0;
    EXPECT_EQ(getMembers(world), getDescribedMembers("World"));
    EXPECT_EQ(getMembers(Simulator::Weather()), getDescribedMembers("Weather"));
    const Simulator::Rule rule{"a", true, 1, 2, 0.5, 3U, "TimedOut", "reply"};
    EXPECT_EQ(getMembers(rule), getDescribedMembers("Rule"));
}

TEST(CallsTest, NotificationsAreReadToo) {
    const auto progress = decode<OnScanProgress>(R"({"sourceId":1,"percent":42})");
    EXPECT_EQ(progress, (OnScanProgress{1, 42}));
    for (const auto* const name :
         {ITVConfig::onScanStart, ITVConfig::onScanProgress, ITVConfig::onScanComplete, Simulator::onClock,
          Simulator::onWeather, Simulator::onTraffic})
        EXPECT_FALSE(findMethod(name).contains("result")) << name;
}

TEST(CallsTest, DocumentsAreReadToo) {
    const auto& example = findMethod("ITVGuide::query").at("examples").at(0);
    const std::string document(example.at("result").at("value").at(0).as_string());
    const auto read = decode<ProgrammeDocument>(document);
    ASSERT_TRUE(read.progSchedule);
    EXPECT_FALSE(read.progNowNext);
    EXPECT_EQ(read.progSchedule->Title, "Gate and Stile");
    EXPECT_EQ(shown(read), json::parse(document));

    auto absent = json::parse(document);
    absent.at("progSchedule").at("LinkedHdProgs") = nullptr;
    EXPECT_EQ(decode<ProgrammeDocument>(json::serialize(absent)).progSchedule->LinkedHdProgs, std::nullopt);
    EXPECT_EQ(shown(decode<ProgrammeDocument>(json::serialize(absent))), absent);
}

} // namespace
