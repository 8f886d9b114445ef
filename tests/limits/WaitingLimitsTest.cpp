// How much may wait for one client, and of one client.

#include "tests/limits/FromOutside.h"

#include <boost/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace Ostrel::Test {
namespace {

class WaitingLimits : public FromOutside {
protected:
    WaitingLimits() : controls_(localWebSocket("Simulator")) {}

    /// Has every call of that method counted, and delayed as long as anything may be.
    void watch(const std::string& method, const std::string& effect) {
        const auto rule = R"({"method":")" + method + R"(",)" + effect + "}";
        EXPECT_NE(
            controls_.call(request("Simulator::weatherSet", R"({"rules":[)" + rule + "]}")).find("seed"),
            std::string::npos);
    }

    /// How many calls have begun.
    std::size_t countCalls() {
        const auto weather = boost::json::parse(controls_.call(request("Simulator::weatherGet")));
        return weather.at("result").at("rules").at(0).at("matched").to_number<std::size_t>();
    }

    void awaitCalls(std::size_t count) {
        while (countCalls() < count) {
        }
    }

    /// Returns when whatever could be done at once has been.
    void letOthersCall() {
        for (int i = 0; i < 200; ++i)
            countCalls();
    }

    WireClient controls_;
};

TEST_F(WaitingLimits, WhoHas1MiBOfAnswersWaitingIsNotReadFrom) {
    watch("ITVService::utcTimeGet", R"("probability":0,"drop":"reply")");
    constexpr std::size_t size = 10'000;
    std::string all;
    for (std::size_t i = 0; i < 300; ++i) // an answer is as long as the id
        all += frame(1, call("ITVService::utcTimeGet", "1", "{}", stringOfSize(size)));
    auto slow = localWebSocket();
    std::string_view unsent = all;
    const auto sendOn = [&] {
        unsent.remove_prefix(slow.sendSome(unsent));
        return countCalls();
    };
    // Keeping such an answer costs up to twice its size.
    while (sendOn() < mebi / 2 / size) {
    }
    // How many have begun when no further one does.
    const auto settle = [&] {
        auto count = sendOn();
        for (int same = 0; same < 200;) {
            const auto before = std::exchange(count, sendOn());
            same = count == before ? same + 1 : 0;
        }
        return count;
    };
    const auto begun = settle();
    EXPECT_LE(begun * size, mebi) << "with what the system keeps";

    // It stays so until half of it has gone.
    const auto read = [&](std::size_t answers) {
        for (std::size_t i = 0; i < answers; ++i)
            EXPECT_GT(slow.readReply().size(), size);
    };
    read(mebi / 8 / size);
    EXPECT_EQ(settle(), begun);
    read(mebi / 4 / size);
    while (sendOn() == begun) { // else this never ends
    }
}

TEST_F(WaitingLimits, NotificationsOf64MiBWaitForAClient) {
    constexpr std::size_t size = 1'000'000;
    const auto rule = R"({"rules":[{"drop":"reply","method":")" + std::string(size, 'm') + R"("}]})";
    const auto notifyOfIt = [&] {
        EXPECT_EQ(connect().post("/rpc/Simulator", request("Simulator::weatherSet", rule)).status, 200);
    };
    constexpr int atMost = 64 * mebi / size;
    auto slow = localWebSocket("Simulator");
    slow.call(request("Simulator::weatherGet")); // it is sent what happens from now on
    controls_.leave();
    for (int i = 0; i < atMost; ++i)
        notifyOfIt();
    for (int i = 0; i < atMost; ++i)
        EXPECT_GT(slow.readFrame().payload.size(), size);

    for (int i = 0; i <= atMost; ++i)
        notifyOfIt();
    EXPECT_GT(slow.readFrame().payload.size(), size) << "the one that had begun to go out";
    EXPECT_EQ(slow.readFrame().closeCode(), 1013);
}

TEST_F(WaitingLimits, SixtyFourMiBOfMessagesAreWorkedOn) {
    watch("ITVService::utcTimeGet", R"("delayMs":600000)");
    const auto delayed = call("ITVService::utcTimeGet", "1");
    const auto one = frame(1, padded(delayed, mebi));
    std::vector<WireClient> busy;
    for (int i = 0; i < 63; ++i) {
        busy.push_back(localWebSocket());
        busy.back().send(one);
    }
    busy.push_back(localWebSocket());
    busy.back().sendText(padded(delayed, mebi - delayed.size()));
    awaitCalls(64);
    const auto longMessage = padded(request("ITVService::createContext"), 100 * kibi);
    EXPECT_NE(webSocket().call(longMessage).find("result"), std::string::npos) << "there was room";

    auto last = localWebSocket();
    last.sendText(delayed);
    awaitCalls(65); // now it is 64 MiB
    auto waiting = webSocket();
    waiting.sendText(longMessage);
    letOthersCall();
    EXPECT_NE(webSocket().call(padded(request("ITVService::createContext"), 60 * kibi)).find("result"),
              std::string::npos)
        << "of each so much is read";
    EXPECT_FALSE(waiting.hasInput());
    last.leave();
    EXPECT_NE(waiting.readReply().find("result"), std::string::npos);
}

} // namespace
} // namespace Ostrel::Test
