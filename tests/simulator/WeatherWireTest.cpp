#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Test {
namespace {

namespace json = boost::json;

std::string request(const std::string& method, const std::string& params = "[]", int id = 1) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":")" + method + R"(","params":)" +
           params + '}';
}

/// The host in a weather of the test's own.
class WeatherWireTest : public testing::Test {
protected:
    ~WeatherWireTest() override { set(R"({"rules":[]})"); }

    static WireClient connect() { return WireClient(theHost().getAddresses().front()); }

    static WireClient webSocket(std::string_view server = "TV") {
        auto client = connect();
        client.upgrade("/rpc/" + std::string(server));
        return client;
    }

    static std::string simulate(const std::string& method, const std::string& params = "[]") {
        return connect().post("/rpc/Simulator", request("Simulator::" + method, params)).body;
    }

    static void set(const std::string& weather) {
        const auto reply = simulate("weatherSet", weather);
        EXPECT_NE(reply.find("\"result\""), std::string::npos) << reply;
    }

    static json::object get() { return json::parse(simulate("weatherGet")).at("result").as_object(); }

    /// How often the first rule has decided.
    static std::int64_t applied() { return get().at("rules").at(0).at("applied").to_number<std::int64_t>(); }

    static std::string post(const std::string& text) { return connect().post("/rpc/TV", text).body; }

    /// Posts a call and reads to the end of the connection.
    static std::string postAndRead(const std::string& text) {
        auto client = connect();
        client.send("POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                    "Content-Length: " +
                    std::to_string(text.size()) + "\r\n\r\n" + text);
        return client.readAll();
    }

    const LogCapture log_;
};

TEST_F(WeatherWireTest, IsAnsweredAndTold) {
    auto watcher = webSocket("Simulator");
    const auto rule =
        std::string(R"({"method":"*","notifications":false,"after":0,"probability":1,"drop":"reply",)"
                    R"("matched":0,"applied":0})");
    const auto weather = R"({"rules":[)" + rule + R"(],"seed":7})";
    auto setter = webSocket("Simulator");
    setter.sendText(request("Simulator::weatherSet", R"({"rules":[{"drop":"reply"}],"seed":7})"));
    const auto told = R"({"jsonrpc":"2.0","method":"Simulator::onWeather","params":)" + weather + '}';
    EXPECT_EQ(setter.readFrame().payload, told);
    EXPECT_EQ(setter.readFrame().payload, R"({"jsonrpc":"2.0","id":1,"result":)" + weather + '}');
    EXPECT_EQ(watcher.readFrame().payload, told);
    EXPECT_EQ(setter.call(request("Simulator::weatherGet")),
              R"({"jsonrpc":"2.0","id":1,"result":)" + weather + '}');
}

TEST_F(WeatherWireTest, AResetBringsFineWeatherAndTellsIt) {
    set(R"({"rules":[{"drop":"connection"}],"seed":7})");
    auto watcher = webSocket("Simulator");
    simulate("reset");
    EXPECT_TRUE(watcher.readFrame().payload.starts_with(
        R"({"jsonrpc":"2.0","method":"Simulator::onWeather","params":{"rules":[],"seed":)"));
    EXPECT_EQ(get().at("rules").as_array().size(), 0u);
}

TEST_F(WeatherWireTest, WhatIsRefusedChangesNothing) {
    set(R"({"rules":[{"drop":"reply"}],"seed":7})");
    const auto before = get();
    EXPECT_EQ(simulate("weatherSet", R"({"rules":[{"drop":"request"},{"delayMs":[1]}],"seed":8})"),
              R"({"jsonrpc":"2.0","id":1,"error":{"code":-32602,"message":)"
              R"("member \"rules[1].delayMs\" is not a list of the least and the most, from 0 to 600000",)"
              R"("data":{"name":"DecodeError","member":"rules[1].delayMs"}}})");
    EXPECT_NE(simulate("weatherGet", R"({"rules":[]})").find("unknown member"), std::string::npos);
    EXPECT_EQ(get(), before);
}

TEST_F(WeatherWireTest, AnErrorIsTheOneOfTheModule) {
    const auto failing = request("ITVService::serviceListGet", R"({"context":1})");
    const auto ofModule = json::parse(post(failing)).as_object().at("error").as_object();
    set(R"({"rules":[{"method":"ITVService::utcTimeGet","error":"InvalidParameter"}]})");
    auto ofWeather = json::parse(post(request("ITVService::utcTimeGet"))).as_object().at("error").as_object();
    ofWeather.at("data").as_object()["member"] = "context"; // which the weather does not find fault with
    EXPECT_EQ(ofWeather, ofModule);
    EXPECT_EQ(webSocket().call(request("ITVService::utcTimeGet")), post(request("ITVService::utcTimeGet")));
}

TEST_F(WeatherWireTest, ADroppedReplyLeavesWhatTheHandlerDid) {
    set(R"({"rules":[{"method":"*::createContext","drop":"reply","times":1}]})");
    auto client = webSocket();
    client.sendText(request("ITVService::createContext", "[]", 1));
    EXPECT_NE(client.call(request("ITVService::createContext", "[]", 2)).find("\"id\":2,"), std::string::npos)
        << "the second is answered first: the first one never";
}

TEST_F(WeatherWireTest, APostWhoseReplyOrRequestIsDroppedEndsUnanswered) {
    for (const std::string drop : {"reply", "request", "connection"}) {
        set(R"({"rules":[{"drop":")" + drop + R"("}]})");
        EXPECT_EQ(postAndRead(request("ITVService::createContext")), "") << drop;
        EXPECT_EQ(applied(), 1) << drop;
    }
}

TEST_F(WeatherWireTest, ACutConnectionHasNoGoodbye) {
    auto other = webSocket();
    set(R"({"rules":[{"drop":"connection","times":1}]})");
    auto client = webSocket();
    client.sendText(request("ITVService::createContext"));
    EXPECT_EQ(client.readAll(), "");
    EXPECT_NE(other.call(request("ITVService::createContext")).find("\"result\""), std::string::npos);
}

TEST_F(WeatherWireTest, WhatWasAnsweredBeforeACutArrives) {
    WireClient client(theHost().getAddresses().back()); // a Unix socket takes less at once than is answered
    client.upgrade();
    const auto made = json::parse(client.call(request("ITVService::createContext")));
    const auto query = request(
        "ITVGuide::query", R"({"context":)" + json::serialize(made.at("result")) +
                               R"(,"payload":{"expression":"ServiceId <= 1007","expressionFormat":"quoril",)"
                               R"("outputFormat":"quoriljson"}})");
    const auto reply = client.call(query);
    ASSERT_GT(reply.size(), 400u << 10);
    ASSERT_LT(reply.size(), 900u << 10) << "more holds up what is behind it";
    set(R"({"rules":[{"method":"*::createContext","drop":"connection"}]})");
    client.sendText(query);
    client.sendText(request("ITVService::createContext"));
    while (applied() == 0)
        std::this_thread::yield();
    EXPECT_EQ(client.readFrame().payload, reply);
    EXPECT_EQ(client.readAll(), "");
}

TEST_F(WeatherWireTest, TouchesNothingButTheCallsOfTheModule) {
    set(R"({"rules":[{"drop":"connection"}]})");
    auto client = webSocket();
    for (const auto& text :
         {request("rpc.discover"), request("ITVService::nothing"), std::string("nonsense")})
        EXPECT_NE(client.call(text), "");
    auto simulator = webSocket("Simulator");
    EXPECT_NE(simulator.call(request("Simulator::worldGet")).find("\"result\""), std::string::npos);
    auto health = connect();
    health.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(health.readAnswer().body, "ok\n");
    EXPECT_EQ(applied(), 0);
}

TEST_F(WeatherWireTest, ADroppedNotificationIsHeardByNobody) {
    set(R"({"rules":[{"notifications":true,"method":"ITVConfig::onScanStart","drop":"notification"}]})");
    auto client = webSocket();
    const auto made = json::parse(client.call(request("ITVService::createContext")));
    const auto context = std::to_string(made.at("result").to_number<std::uint32_t>());
    client.sendText(request("ITVConfig::scanBlindStart",
                            R"({"context":)" + context + R"(,"payload":{"sourceId":1,"useNIT":0}})"));
    EXPECT_EQ(client.readFrame().payload.find("onScanStart"),
              std::string::npos); // which goes first otherwise
    EXPECT_EQ(applied(), 1);
    simulate("reset"); // which ends the scan
}

TEST_F(WeatherWireTest, TheSameSeedGivesTheSameRunOfAThousandCalls) {
    const auto run = [] {
        set(R"({"seed":7,"rules":[{"probability":0.3,"error":"TimedOut"},{"probability":0.5,"drop":"reply"},)"
            R"({"after":400,"times":20,"delayMs":[0,3]}]})");
        auto client = webSocket();
        std::string replies;
        for (int id = 0; id < 1000; ++id)
            client.sendText(request("ITVService::createContext", R"({"odd":1})", id));
        // The end of the run: it is answered behind all others.
        client.sendText(request("rpc.nothing", "[]", 1000));
        for (std::string reply; reply.find("\"id\":1000,") == std::string::npos;) {
            reply = client.readReply();
            replies += reply.substr(0, reply.find("\"result\"")) + '\n';
        }
        return replies + json::serialize(get());
    };
    const auto first = run();
    EXPECT_NE(first.find("Timed out"), std::string::npos);
    EXPECT_EQ(run(), first);
}

TEST_F(WeatherWireTest, DelayedCallsHoldUpNobodyElse) {
    set(R"({"rules":[{"method":"ITVService::utcTimeGet","delayMs":600000}]})");
    std::vector<WireClient> delayed;
    for (int i = 0; i < 200; ++i) {
        delayed.push_back(webSocket());
        delayed.back().sendText(request("ITVService::utcTimeGet"));
    }
    while (applied() < 200) {
    }
    auto other = webSocket();
    for (int i = 0; i < 20; ++i)
        EXPECT_NE(other.call(request("ITVService::createContext")).find("\"result\""), std::string::npos);
    // Their own next calls wait.
    delayed.front().sendText(request("ITVService::createContext"));
    EXPECT_NE(other.call(request("ITVService::createContext")).find("\"result\""), std::string::npos);
    EXPECT_EQ(get().at("rules").at(0).at("matched").to_number<int>(), 200);
}

} // namespace
} // namespace Ostrel::Test
