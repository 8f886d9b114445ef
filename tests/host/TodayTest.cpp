// ostrel-tvd --today, as a client of it sees it, in several places of the world.

#include "tests/host/RunningHost.h"
#include "tests/support/WireClient.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

namespace Ostrel::Test {
namespace {

constexpr std::int64_t day = 86400;

/// A host whose clock stands still, and a connection to each of its servers.
class TodayHost {
public:
    TodayHost(const std::string& zone, const std::string& now)
        : host_({"--today", "--hold", "--now", now}, {"TZ=" + zone}), tv_(host_.address()),
          simulator_(host_.address()) {
        tv_.upgrade();
        simulator_.upgrade("/rpc/Simulator");
        context_ = call(tv_, "ITVService::createContext", "[]").to_number<std::int64_t>();
    }

    /// The titles of what is on now and next on a service.
    std::string nowNext(int service) {
        const auto events =
            ask("ITVGuide::queryNowNextEventInfo", R"({"id":)" + std::to_string(service) + "}");
        std::string titles;
        for (const auto& event : events.as_array())
            titles += std::string(event.at("title").as_string()) + ";";
        return titles;
    }

    boost::json::value ask(const std::string& method, const std::string& payload) {
        return call(tv_, method,
                    R"({"context":)" + std::to_string(context_) + R"(,"payload":)" + payload + "}");
    }
    boost::json::value steer(const std::string& method, const std::string& params = "{}") {
        return call(simulator_, "Simulator::" + method, params);
    }
    std::int64_t now() { return steer("clockGet").at("now").to_number<std::int64_t>(); }

private:
    static boost::json::value call(WireClient& client, const std::string& method, const std::string& params) {
        const auto answer =
            client.call(R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + params + "}");
        return boost::json::parse(answer).at("result");
    }

    RunningHost host_;
    WireClient tv_, simulator_;
    std::int64_t context_ = 0;
};

struct Evening {
    const char* name;
    const char* zone;
    const char* ten; ///< of the local evening, UTC
    const char* titles;
};

// clang-format off
const Evening evenings[] = {
    {"LondonTuesday",          "Europe/London",       "2026-11-24T22:00:00Z", "Ten O'Clock Bulletin;Regional News and Weather;"},
    {"LondonSaturday",         "Europe/London",       "2026-11-28T22:00:00Z", "Late Weekend News;Saturday's Goals;"},
    {"LondonSummerBegins",     "Europe/London",       "2026-03-29T21:00:00Z", "Late Weekend News;The Bishop Who Built Boats;"},
    {"LondonSummerEnds",       "Europe/London",       "2026-10-25T22:00:00Z", "Late Weekend News;The Bishop Who Built Boats;"},
    {"TokyoTuesday",           "Asia/Tokyo",          "2026-11-24T13:00:00Z", "Ten O'Clock Bulletin;Regional News and Weather;"},
    {"TokyoSaturday",          "Asia/Tokyo",          "2026-11-28T13:00:00Z", "Late Weekend News;Saturday's Goals;"},
    {"LosAngelesTuesday",      "America/Los_Angeles", "2026-11-25T06:00:00Z", "Ten O'Clock Bulletin;Regional News and Weather;"},
    {"LosAngelesSaturday",     "America/Los_Angeles", "2026-11-29T06:00:00Z", "Late Weekend News;Saturday's Goals;"},
    {"LosAngelesSummerBegins", "America/Los_Angeles", "2026-03-09T05:00:00Z", "Late Weekend News;The Bishop Who Built Boats;"},
    {"LosAngelesSummerEnds",   "America/Los_Angeles", "2026-11-02T06:00:00Z", "Late Weekend News;The Bishop Who Built Boats;"},
};
// clang-format on

class TodayEvenings : public testing::TestWithParam<Evening> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Today, TodayEvenings, testing::ValuesIn(evenings),
                         [](const auto& evening) { return std::string(evening.param.name); });

TEST_P(TodayEvenings, TheNewsComesAtTen) {
    constexpr int bbcOne = 1043;
    TodayHost host(GetParam().zone, GetParam().ten);
    EXPECT_EQ(host.nowNext(bbcOne), GetParam().titles);
    host.steer("clockSet", R"({"now":)" + std::to_string(host.now() - 1) + "}");
    EXPECT_NE(host.nowNext(bbcOne), GetParam().titles) << "a second before";

    const auto world = host.steer("worldGet");
    EXPECT_EQ(world.at("timeZone").as_string(), GetParam().zone);
    EXPECT_TRUE(world.at("today").as_bool());
    EXPECT_EQ(world.at("turnsAt").to_number<std::int64_t>() - host.now(), 2 * 3600 + 1) << "at midnight";
}

namespace {

TEST(TodayTest, AMonthLaterThereIsAGuide) {
    constexpr int bbcOne = 1043;
    TodayHost host("Europe/London", "2026-11-24T22:00:00Z");
    const auto expectGuide = [&] {
        const auto world = host.steer("worldGet");
        EXPECT_GE(host.now() - world.at("start").to_number<std::int64_t>(), day);
        EXPECT_GE(world.at("end").to_number<std::int64_t>() - host.now(), 7 * day);
        EXPECT_EQ(host.nowNext(bbcOne), "Ten O'Clock Bulletin;Regional News and Weather;");
    };
    const auto readWeek = [&](std::int64_t from) {
        return serialize(
            host.ask("ITVGuide::query", R"({"expression":"Start >= )" + std::to_string(from) +
                                            " && Start < " + std::to_string(from + 5 * day) +
                                            R"(","expressionFormat":"quoril","outputFormat":"quoriljson"})"));
    };
    const auto start = host.now();
    const auto week = readWeek(start);
    EXPECT_GT(week.size(), std::size_t{1} << 20);
    for (int weeks = 0; weeks != 5; ++weeks) {
        expectGuide();
        host.steer("clockStep", R"({"seconds":604800})");
    }
    expectGuide();
    host.steer("clockSet", R"({"now":)" + std::to_string(start + 364 * day) + "}");
    expectGuide();
    host.steer("clockSet", R"({"now":)" + std::to_string(start) + "}");
    EXPECT_EQ(readWeek(start), week) << "identifiers and all";
}

TEST(TodayTest, TheNextStartIsFoundBeyondTheGuide) {
    TodayHost host("UTC", "2026-11-24T22:00:00Z");
    const auto before = host.now();
    const auto clock = host.steer("clockStep", R"({"toNextStart":{"serviceId":1043}})");
    EXPECT_EQ(clock.at("now").to_number<std::int64_t>() - before, 25 * 60);
    host.steer("clockStep", R"({"toNextStart":{"serviceId":1043,"before":2592000}})"); // thirty days
    EXPECT_LE(host.now() - before, day);
}

TEST(TodayTest, ResetBringsTheGuideBackWithTheClock) {
    TodayHost host("UTC", "guide-midday");
    const auto midday = host.now();
    EXPECT_EQ(midday % day, day / 2);
    EXPECT_LE(std::abs(midday - std::int64_t{std::time(nullptr)}), day);
    host.steer("clockStep", R"({"seconds":31536000})");
    EXPECT_TRUE(host.steer("reset").as_bool());
    EXPECT_EQ(host.now(), midday);
    EXPECT_LT(host.steer("worldGet").at("turnsAt").to_number<std::int64_t>() - midday, day);
}

TEST(TodayTest, AZoneWithoutANameHasNone) {
    TodayHost host("JST-9", "2026-11-24T13:00:00Z");
    EXPECT_EQ(host.nowNext(1043), "Ten O'Clock Bulletin;Regional News and Weather;");
    EXPECT_EQ(host.steer("worldGet").at("timeZone").as_string(), "");
}

} // namespace
} // namespace Ostrel::Test
