#include "tests/TV/server/dummy/StressWorld.h"
#include "TV/server/dummy/world/World.h"
#include "tests/support/HeldClock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <set>
#include <string>

namespace Ostrel::Test {
namespace {

using boost::json::value;

const TV::World& world() {
    return stressWorld();
}

/// The one host, which serves that world: it is chosen before anybody reads it.
Host& stressHost() {
    static const bool isChosen = [] {
        TV::chooseWorld(world());
        return true;
    }();
    static_cast<void>(isChosen);
    return theHost();
}

std::string read(TV::PoolText text) {
    const char* const found = world().text(text);
    return found ? found : "";
}

bool isWide(const std::string& text) {
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) >= 0xF0; });
}

/// What a client reads of a text that has gone through a document: of a character of four bytes three are
/// left, which are no character.
std::string throughDocument(std::string text) {
    for (std::size_t i = 0; i < text.size(); ++i)
        if (static_cast<unsigned char>(text[i]) >= 0xF0) {
            text.replace(i, 4, "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd");
            i += 8;
        }
    return text;
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c < '\x7f'; });
}

/// Serves a world with every text that is hard to show, and asks for all of it.
///
/// The JSON reader is strict: it takes no text that is not UTF-8.
class StressWorldTest : public testing::TestWithParam<bool> {
protected:
    StressWorldTest() {
        client_.emplace(stressHost().getAddresses()[0]);
        if (isWebSocket())
            client_->upgrade("/rpc/TV");
        context_ = call(R"("method":"ITVService::createContext")").to_number<std::uint32_t>();
    }

    static bool isWebSocket() { return GetParam(); }

    /// The result of a call, which must have one.
    value call(const std::string& text) {
        const auto request = R"({"jsonrpc":"2.0","id":1,)" + text + "}";
        const auto reply = isWebSocket() ? client_->call(request) : client_->post("/rpc/TV", request).body;
        return boost::json::parse(reply).at("result");
    }

    value call(const std::string& method, const std::string& payload) {
        return call(R"("method":")" + method + R"(","params":{"context":)" + std::to_string(context_) +
                    R"(,"payload":)" + payload + "}");
    }

    static std::string inFormat(const std::string& members, const std::string& format) {
        return "{" + members + R"(,"outputFormat":")" + format + R"("})";
    }

    const LogCapture log_;
    HeldClock time_{1318762900};
    std::optional<WireClient> client_;
    std::uint32_t context_ = 0;
};

TEST_P(StressWorldTest, EventsAreWholeOnTheWire) {
    std::multiset<std::string> wanted, found;
    for (const TV::epgentry& row : world().rows)
        wanted.insert(read(row.Title) + "\n" + read(row.Description));
    const auto events = call("ITVGuide::queryEventInfo", R"({"query":{}})");
    for (const value& event : events.as_array())
        found.insert(std::string(event.at("title").as_string()) + "\n" +
                     std::string(event.at("description").as_string()));
    EXPECT_EQ(found, wanted);
}

TEST_P(StressWorldTest, EveryJsonDocumentCanBeRead) {
    std::multiset<std::string> wanted, found;
    for (const TV::epgentry& row : world().rows)
        wanted.insert(throughDocument(read(row.Title) + "\n" + read(row.Description)));
    const auto documents =
        call("ITVGuide::query", inFormat(R"("expression":"","expressionFormat":"quoril")", "quoriljson"));
    for (const value& text : documents.as_array()) {
        const auto event = boost::json::parse(text.as_string()).at("progSchedule");
        found.insert(std::string(event.at("Title").as_string()) + "\n" +
                     std::string(event.at("Description").as_string()));
    }
    EXPECT_EQ(found, wanted);
}

TEST_P(StressWorldTest, EveryXmlDocumentIsAscii) {
    const auto documents =
        call("ITVGuide::query", inFormat(R"("expression":"","expressionFormat":"quoril")", "quorilxml"));
    ASSERT_EQ(documents.as_array().size(), world().rows.size());
    for (const value& text : documents.as_array())
        ASSERT_TRUE(isAscii(std::string(text.as_string())));
}

TEST_P(StressWorldTest, NowAndNextCanBeReadWhateverIsOn) {
    unsigned wide = 0;
    for (const TV::epgentry& row : world().rows) {
        const std::string title = read(row.Title);
        if (!isWide(title))
            continue;
        ++wide;
        time_.set(row.Start);
        const auto service = R"("id":)" + std::to_string(row.ServiceId);
        const auto json = call("ITVService::nowNextGet", inFormat(service, "quoriljson"));
        const auto event = boost::json::parse(json.at(0).as_string()).at("progNowNext");
        EXPECT_EQ(event.at("Title").as_string(), throughDocument(title));
        const auto xml = call("ITVService::nowNextGet", inFormat(service, "quorilxml"));
        EXPECT_TRUE(isAscii(std::string(xml.at(0).as_string())));
        const auto info = call("ITVGuide::queryNowNextEventInfo", "{" + service + "}");
        EXPECT_EQ(info.at(0).at("title").as_string(), title);
    }
    EXPECT_GT(wide, 10u);
}

INSTANTIATE_TEST_SUITE_P(World, StressWorldTest, testing::Bool(), [](const auto& isWebSocket) {
    return std::string(isWebSocket.param ? "OverAWebSocket" : "OverPost");
});

} // namespace
} // namespace Ostrel::Test
