#include "Ostrel/runtime/Task.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Ostrel::Test {
namespace {

namespace json = boost::json;

constexpr std::int64_t noon = 1318766400;

std::string request(const std::string& method, const std::string& params = "[]") {
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + params + '}';
}

WireClient connect() {
    return WireClient(theHost().getAddresses().front());
}

json::object simulate(const std::string& method, const std::string& params = "[]") {
    return json::parse(connect().post("/rpc/Simulator", request("Simulator::" + method, params)).body)
        .as_object();
}

/// Sets or steps the clock; returns what it says then.
std::int64_t steer(const std::string& method, const std::string& params) {
    const auto reply = simulate(method, params);
    const auto* clock = reply.if_contains("result");
    EXPECT_NE(clock, nullptr) << json::serialize(reply);
    return clock == nullptr ? 0 : clock->at("now").to_number<std::int64_t>();
}

std::int64_t set(std::int64_t now, double speed = 0) {
    return steer("clockSet",
                 R"({"now":)" + std::to_string(now) + R"(,"speed":)" + std::to_string(speed) + '}');
}
std::int64_t step(unsigned seconds) {
    return steer("clockStep", R"({"seconds":)" + std::to_string(seconds) + '}');
}

/// A viewer who keeps the scan events that it is sent: "start PERCENT PERCENT complete ".
class Viewer {
public:
    Viewer() : client_(connect()) {
        client_.upgrade();
        client_.sendText(request("ITVService::createContext"));
        context_ = std::to_string(hear().at("result").to_number<std::uint32_t>());
    }

    json::value call(const std::string& method, const std::string& payload = "{}") {
        client_.sendText(request(method, R"({"context":)" + context_ + R"(,"payload":)" + payload + '}'));
        return hear().at("result");
    }

    std::int64_t now() { return call("ITVService::utcTimeGet").to_number<std::int64_t>(); }
    void scan() { call("ITVConfig::scanBlindStart", R"({"sourceId":1,"useNIT":0})"); }

    /// The start of the event that is on, and of the next.
    std::pair<std::int64_t, std::int64_t> nowNext(int serviceId) {
        const auto events =
            call("ITVGuide::queryNowNextEventInfo", R"({"id":)" + std::to_string(serviceId) + '}');
        return {events.at(0).at("startTime").as_int64(), events.at(1).at("startTime").as_int64()};
    }

    /// The events so far, which are forgotten.
    std::string take() {
        now(); // what was raised before stands before the reply
        return std::exchange(events_, {});
    }

    /// Reads until a scan is complete.
    std::string takeToTheEnd() {
        while (!events_.ends_with("complete "))
            keep(json::parse(client_.readFrame().payload).as_object());
        return std::exchange(events_, {});
    }

private:
    json::object hear() {
        for (;;) {
            auto message = json::parse(client_.readFrame().payload).as_object();
            if (message.contains("id"))
                return message;
            keep(message);
        }
    }

    void keep(const json::object& notification) {
        const std::string_view name = notification.at("method").as_string();
        if (name == "ITVConfig::onScanProgress")
            events_ += std::to_string(notification.at("params").at("percent").as_int64()) + ' ';
        else
            events_ += name == "ITVConfig::onScanStart" ? "start " : "complete ";
    }

    WireClient client_;
    std::string context_;
    std::string events_;
};

/// What a blind scan raises from one second of it to another.
std::string percents(int from, int to) {
    std::string text;
    for (int second = from; second <= to; ++second)
        text += std::to_string(second * 100 / 48) + ' ';
    return text;
}

class ClockWireTest : public testing::Test {
protected:
    ~ClockWireTest() override { simulate("reset"); }

    const LogCapture log_;
};

struct Refusal {
    std::string name, method, params, message;
};

void PrintTo(const Refusal& row, std::ostream* out) {
    *out << row.name;
}

class ClockRefusals : public ClockWireTest, public testing::WithParamInterface<Refusal> {};

// clang-format off
const Refusal refusals[] = {
    {"GetTakesNothing",   "clockGet",  R"({"now":1})",            R"(unknown member "now")"},
    {"SetOfNothing",      "clockSet",  "{}",                      R"(member "now" is missing, and so is "speed")"},
    {"SetUnknown",        "clockSet",  R"({"speed":1,"to":1})",   R"(unknown member "to")"},
    {"SetText",           "clockSet",  R"({"now":"noon"})",       R"(member "now" is not a signed 32-bit integer)"},
    {"SetFraction",       "clockSet",  R"({"now":0.5})",          R"(member "now" is not a signed 32-bit integer)"},
    {"SpeedBelow",        "clockSet",  R"({"speed":-0.1})",       R"(member "speed" is not a number from 0 to 3600)"},
    {"SpeedAbove",        "clockSet",  R"({"speed":3600.1})",     R"(member "speed" is not a number from 0 to 3600)"},
    {"SetAsAWhole",       "clockSet",  R"({"now":5,"speed":-1})", R"(member "speed" is not a number from 0 to 3600)"},
    {"StepOfNothing",     "clockStep", "{}",                      R"(member "seconds" is missing, and so is "toNextStart")"},
    {"StepOfBoth",        "clockStep", R"({"seconds":1,"toNextStart":{}})", R"(member "seconds" does not go together with "toNextStart")"},
    {"StepNowhere",       "clockStep", R"({"seconds":0})",        R"(member "seconds" is not an integer from 1 to 2147483647)"},
    {"StepBack",          "clockStep", R"({"seconds":-1})",       R"(member "seconds" is not an integer from 1 to 2147483647)"},
    {"StepPastTheEnd",    "clockStep", R"({"seconds":2147483647})", "Invalid parameter"},
    {"NextStartUnknown",  "clockStep", R"({"toNextStart":{"id":1}})", R"(unknown member "toNextStart.id")"},
    {"NextStartNoObject", "clockStep", R"({"toNextStart":1})",    R"(member "toNextStart" is not an object)"},
    {"NextStartTooEarly", "clockStep", R"({"toNextStart":{"before":-1}})", R"(member "toNextStart.before" is not an unsigned 32-bit integer)"},
    {"NoSuchService",     "clockStep", R"({"toNextStart":{"serviceId":1}})", "Invalid parameter"},
    {"TooFarBefore",      "clockStep", R"({"toNextStart":{"before":4294967295}})", "Invalid parameter"},
};
// clang-format on

TEST_P(ClockRefusals, ChangeNothing) {
    set(noon);
    const auto reply = simulate(GetParam().method, GetParam().params);
    ASSERT_TRUE(reply.contains("error")) << json::serialize(reply);
    EXPECT_EQ(std::string(reply.at("error").at("message").as_string()), GetParam().message);
    EXPECT_EQ(steer("clockGet", "{}"), noon);
}

INSTANTIATE_TEST_SUITE_P(Refusals, ClockRefusals, testing::ValuesIn(refusals),
                         [](const auto& row) { return row.param.name; });

TEST_F(ClockWireTest, HeldItStandsAndAStepRaisesWhatThatTimeRaises) {
    Viewer viewer;
    EXPECT_EQ(set(noon), noon);
    EXPECT_EQ(viewer.now(), noon);
    viewer.scan();
    EXPECT_EQ(viewer.take(), "start 0 ");
    EXPECT_EQ(step(10), noon + 10);
    EXPECT_EQ(viewer.take(), percents(1, 10));
    EXPECT_EQ(viewer.now(), noon + 10);
    EXPECT_EQ(viewer.call("ITVConfig::scanInfoGet", R"({"sourceId":1})").at("progress").to_number<unsigned>(),
              20u);
    steer("clockSet", R"({"speed":60})");
    EXPECT_EQ(viewer.takeToTheEnd(), percents(11, 48) + "complete ");
    EXPECT_GE(viewer.now(), noon + 48);
}

TEST_F(ClockWireTest, AtTheHighestSpeedEveryPercentageComesInOrder) {
    Viewer viewer;
    for (int round = 0; round < 20; ++round) {
        set(noon, 3600);
        viewer.scan();
        EXPECT_EQ(viewer.takeToTheEnd(), "start " + percents(0, 48) + "complete ");
    }
}

TEST_F(ClockWireTest, SetForwardTheScanHasEndedWhenTheReplyComes) {
    Viewer viewer;
    set(noon);
    viewer.scan();
    set(noon + 3600);
    EXPECT_EQ(viewer.take(), "start 0 100 complete ");
}

TEST_F(ClockWireTest, SetBackTheScanGoesBackAndOnFromThere) {
    Viewer viewer;
    set(noon);
    viewer.scan();
    step(10);
    viewer.take();
    set(noon + 5);
    EXPECT_EQ(viewer.take(), "") << "its task sleeps half a second more";
    step(2);
    EXPECT_EQ(viewer.take(), percents(5, 7));
    set(noon - 1000);
    step(10);
    EXPECT_EQ(viewer.take(), "0 ");
    step(1000);
    EXPECT_EQ(viewer.take(), percents(1, 10));
}

TEST_F(ClockWireTest, ToTheNextStart) {
    Viewer viewer;
    const auto begin = simulate("worldGet").at("result").at("start").as_int64();
    set(begin - 100);
    EXPECT_EQ(steer("clockStep", R"({"toNextStart":{"before":10}})"), begin - 10);
    EXPECT_EQ(steer("clockStep", R"({"toNextStart":{}})"), begin);
    EXPECT_GT(steer("clockStep", R"({"toNextStart":{}})"), begin);

    constexpr int service = 1000;
    set(noon);
    const auto next = viewer.nowNext(service).second;
    EXPECT_EQ(steer("clockStep", R"({"toNextStart":{"serviceId":1000,"before":5}})"), next - 5);
    EXPECT_EQ(viewer.nowNext(service).second, next);
    step(5);
    EXPECT_EQ(viewer.nowNext(service).first, next);

    // So close to a start, the one behind it is the next that lies ahead.
    set(next - 5);
    EXPECT_GT(steer("clockStep", R"({"toNextStart":{"serviceId":1000,"before":5}})"), next - 5);
}

TEST_F(ClockWireTest, EveryChangeIsToldToTheControlsClients) {
    set(noon);
    auto watcher = connect();
    watcher.upgrade("/rpc/Simulator");
    const auto hear = [&] {
        const auto message = json::parse(watcher.readFrame().payload).as_object();
        if (message.at("method").as_string() != "Simulator::onClock")
            return std::string(message.at("method").as_string());
        return std::to_string(message.at("params").at("now").as_int64() - noon) + " at " +
               std::to_string(message.at("params").at("speed").to_number<int>());
    };
    step(7);
    EXPECT_EQ(hear(), "7 at 0");
    set(noon - 7, 0);
    EXPECT_EQ(hear(), "-7 at 0");
    simulate("reset");
    EXPECT_EQ(hear(), "Simulator::onWeather");
    EXPECT_TRUE(hear().ends_with(" at 1"));
}

TEST_F(ClockWireTest, ResetItIsTheSystemsAgain) {
    set(noon, 60);
    simulate("reset");
    const auto clock = simulate("clockGet").at("result").as_object();
    EXPECT_EQ(clock.at("speed").to_number<double>(), 1);
    EXPECT_LE(clock.at("now").as_int64(), clock.at("real").as_int64());
    EXPECT_GT(clock.at("now").as_int64(), noon + 86400);
}

/// A task that sleeps a millisecond again and again, while a client steps the clock by a year.
class LongStepTest : public ClockWireTest {
protected:
    LongStepTest() {
        set(noon);
        OS_TaskSpawnParam("restless", 0, 0, run, &woken_, 0);
        stepper_->upgrade("/rpc/Simulator");
        stepper_->sendText(request("Simulator::clockStep", R"({"seconds":31536000})"));
        while (woken_ < 10)
            std::this_thread::yield();
    }
    ~LongStepTest() override { stopTasks(); }

    static int run(void* woken) {
        for (;; ++*static_cast<std::atomic<unsigned>*>(woken))
            OS_TaskDelayMsec(1);
    }

    std::atomic<unsigned> woken_ = 0;
    std::optional<WireClient> stepper_{theHost().getAddresses().front()};
};

TEST_F(LongStepTest, OthersAreServedMeanwhileAndASettingEndsIt) {
    Viewer viewer;
    EXPECT_GE(viewer.now(), noon);
    EXPECT_EQ(set(noon + 5), noon + 5);
    std::string said;
    do
        said = stepper_->readFrame().payload;
    while (said.find("onClock") != std::string::npos);
    EXPECT_EQ(said, R"({"jsonrpc":"2.0","id":1,"error":{"code":-32000,"message":"Invalid state",)"
                    R"("data":{"returnCode":2,"name":"InvalidState"}}})");
}

TEST_F(LongStepTest, ManyWhoStepHoldUpNobody) {
    std::vector<WireClient> steppers;
    for (int i = 0; i < 20; ++i) {
        steppers.push_back(connect());
        steppers.back().upgrade("/rpc/Simulator");
        steppers.back().sendText(request("Simulator::clockStep", R"({"seconds":31536000})"));
    }
    Viewer viewer;
    EXPECT_GE(viewer.now(), noon);
    EXPECT_GT(viewer.nowNext(1043).second, noon);
    EXPECT_EQ(simulate("trafficGet", R"({"last":0})").at("result"), json::array());
}

TEST_F(LongStepTest, AResetEndsIt) {
    simulate("reset");
    EXPECT_NE(stepper_->readFrame().payload, "");
}

TEST_F(LongStepTest, EndsWhenItsClientHasGone) {
    stepper_.reset();
    step(1); // waits for the other
}

} // namespace
} // namespace Ostrel::Test
