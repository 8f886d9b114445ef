#include "clients/cpp/Client.h"

#include "tests/support/Child.h"
#include "tests/support/FakeService.h"
#include "tests/support/SilentNameServer.h"
#include "tests/support/TempDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Ostrel::Client;
using Ostrel::Test::Child;
using Ostrel::Test::error;
using Ostrel::Test::FakeService;
using Ostrel::Test::result;
using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace {

constexpr const char* progress =
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanProgress","params":{"sourceId":1,"percent":42}})";
constexpr const char* started =
    R"({"jsonrpc":"2.0","method":"ITVConfig::onScanStart","params":{"sourceId":1}})";

ClientOptions impatient() {
    ClientOptions options;
    options.timeout = 20ms;
    return options;
}

/// A TCP address where connections are taken and never answered.
class Silence {
public:
    Silence() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address_;
        auto* generic = reinterpret_cast<sockaddr*>(&address_);
        EXPECT_EQ(::bind(socket_, generic, length), 0);
        EXPECT_EQ(::getsockname(socket_, generic, &length), 0);
    }
    ~Silence() { ::close(socket_); }

    void listen() { EXPECT_EQ(::listen(socket_, 8), 0); }
    std::string getAddress() const { return "127.0.0.1:" + std::to_string(ntohs(address_.sin_port)); }

private:
    int socket_;
    sockaddr_in address_{};
};

template <class Failure, class Action> std::string textOf(Action action) {
    try {
        action();
    } catch (const Failure& failure) {
        return failure.what();
    } catch (const std::exception& other) {
        return std::string("another exception: ") + other.what();
    }
    return "no exception";
}

TEST(ClientTest, TypedCallsTravelThus) {
    const std::string service =
        R"({"channelNumber":1,"name":"BBC ONE","uri":"dvb://233a..1041","id":7,"type":1,"provider":"BBC",)"
        R"("scrambled":false,"highDefinition":false,"visible":true,"selectable":true})";
    FakeService fake({
        {"ITVService::serviceListSet", {result("true")}},
        {"ITVService::serviceListRead", {result("[" + service + "]")}},
        {"ITVService::serviceListGet", {result("[]")}},
        {"ITVService::serviceListSeek", {result("94")}},
        {"ITVService::serviceListSeekByUri", {result("0")}},
        {"ITVService::serviceListSeekByChannelNumber", {result("3")}},
        {"ITVService::signalStatusGet", {result(R"({"strength":5,"quality":6})")}},
        {"ITVService::utcTimeGet", {result("1318248000")}},
        {"ITVGuide::getGenreStringMapList", {result(R"([{"code":16,"text":"Film"}])")}},
        {"ITVService::deleteContext", {result("null")}},
    });
    Client client(Url(fake.getAddress()));
    client.selectList("all");
    const auto services = client.read(1);
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services[0].name, "BBC ONE");
    EXPECT_EQ(services[0].id, 7U);
    EXPECT_TRUE(client.get(2).empty());
    EXPECT_EQ(client.seek(-2, Client::Whence::End), 94U);
    EXPECT_EQ(client.seekByUri("dvb://233a..1041"), 0U);
    EXPECT_EQ(client.seekByChannelNumber(4), 3U);
    EXPECT_EQ(client.getSignalStatus(1), (SignalStatus{5, 6}));
    EXPECT_EQ(client.getUtcTime(), 1318248000U);
    EXPECT_EQ(client.getGenres(), (std::vector<GenreStringMap>{{16, "Film"}}));
    client.deleteContext(client.getContext());

    const std::vector<std::string> transcript = {
        R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})",
        R"({"jsonrpc":"2.0","id":2,"method":"ITVService::serviceListSet","params":{"context":4711,"payload":{"base":"all"}}})",
        R"({"jsonrpc":"2.0","id":3,"method":"ITVService::serviceListRead","params":{"context":4711,"payload":{"limit":1}}})",
        R"({"jsonrpc":"2.0","id":4,"method":"ITVService::serviceListGet","params":{"context":4711,"payload":{"limit":2}}})",
        R"({"jsonrpc":"2.0","id":5,"method":"ITVService::serviceListSeek","params":{"context":4711,"payload":{"offset":-2,"whence":2}}})",
        R"({"jsonrpc":"2.0","id":6,"method":"ITVService::serviceListSeekByUri","params":{"context":4711,"payload":{"uri":"dvb://233a..1041"}}})",
        R"({"jsonrpc":"2.0","id":7,"method":"ITVService::serviceListSeekByChannelNumber","params":{"context":4711,"payload":{"channelNumber":4}}})",
        R"({"jsonrpc":"2.0","id":8,"method":"ITVService::signalStatusGet","params":{"context":4711,"payload":{"sourceId":1}}})",
        R"({"jsonrpc":"2.0","id":9,"method":"ITVService::utcTimeGet","params":{"context":4711,"payload":{}}})",
        R"({"jsonrpc":"2.0","id":10,"method":"ITVGuide::getGenreStringMapList","params":{"context":4711}})",
        R"({"jsonrpc":"2.0","id":11,"method":"ITVService::deleteContext","params":{"context":4711}})",
    };
    EXPECT_EQ(fake.getRequests(), transcript);
}

TEST(ClientTest, RefusalCarriesEveryMember) {
    FakeService fake({
        {"invalid",
         {error(
             R"({"code":-32000,"message":"Invalid parameter","data":{"returnCode":1,"name":"InvalidParameter"}})")}},
        {"undecodable",
         {error(
             R"({"code":-32602,"message":"missing member \"limit\"","data":{"name":"DecodeError","member":"limit"}})")}},
        {"unreadable", {R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"no JSON"}})"}},
        {"lines", {error(R"({"code":1,"message":"one\r\ntwo\u0000\u001bthree \u00e9"})")}},
    });
    Client client(Url(fake.getAddress()));
    const auto refuse = [&client](const char* method) {
        try {
            client.request(method);
        } catch (const ServiceError& error) {
            return std::to_string(error.code) + "|" + error.what() + "|" +
                   std::to_string(error.returnCode.value_or(-1)) + "|" + error.name + "|" + error.member;
        }
        return std::string("not refused");
    };
    EXPECT_EQ(refuse("invalid"), "-32000|Invalid parameter|1|InvalidParameter|");
    EXPECT_EQ(refuse("undecodable"), "-32602|missing member \"limit\"|-1|DecodeError|limit");
    EXPECT_EQ(refuse("unreadable"), "-32700|no JSON|-1||");
    EXPECT_EQ(refuse("lines"), "1|one  two  three \u00e9|-1||"); // in one line
}

TEST(ClientTest, NotificationsBesideARepliesAreKeptInOrder) {
    FakeService fake({{"scan", {started, progress, result("true"), progress}}});
    Client client(Url(fake.getAddress()));
    EXPECT_EQ(client.call("scan"), "true");
    EXPECT_EQ(client.next().method, "ITVConfig::onScanStart");
    const auto kept = client.next(0ms);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->params, R"({"sourceId":1,"percent":42})");
    EXPECT_EQ(kept->sourceId, 1U);
    EXPECT_EQ(kept->percent, 42U);
    EXPECT_EQ(client.next().method, "ITVConfig::onScanProgress"); // came after the reply
    EXPECT_FALSE(client.next(1ms));
    EXPECT_EQ(client.call("scan"), "true"); // a wait in vain harms nothing
}

TEST(ClientTest, NewestNotificationsAreKept) {
    const auto numbered = [](std::size_t n) {
        return R"({"jsonrpc":"2.0","method":"n","params":{"n":)" + std::to_string(n) + "}}";
    };
    FakeService::Frames atLimit;
    for (std::size_t i = 1; i <= keptNotifications; ++i)
        atLimit.push_back(numbered(i));
    auto pastIt = atLimit;
    pastIt.push_back(numbered(pastIt.size() + 1));
    atLimit.push_back(result("true"));
    pastIt.push_back(result("true"));
    FakeService fake({{"atLimit", atLimit}, {"pastIt", pastIt}});
    for (const auto& [method, first] : {std::pair{"atLimit", 1}, {"pastIt", 2}}) {
        Client client(Url(fake.getAddress()));
        client.request(method);
        EXPECT_EQ(client.next().params, R"({"n":)" + std::to_string(first) + "}") << method;
    }
}

TEST(ClientTest, CallHasItsOwnTimeAndALateReplyHarmsNothing) {
    FakeService fake({
        {"slow", {}},
        {"m", {R"({"jsonrpc":"2.0","id":1,"result":"late"})", result("\"mine\"")}},
        {"n", {R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"late"}})", result("1")}},
        {"unreadable", {R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"mine"}})"}},
    });
    Client client(Url(fake.getAddress()));
    EXPECT_EQ(textOf<TimedOut>([&] { client.within(20ms).request("slow"); }),
              "no reply to slow within 0.02 s");
    EXPECT_EQ(client.request("m"), "\"mine\"");
    EXPECT_THROW(client.within(0ms).request("slow"), TimedOut);
    EXPECT_EQ(client.request("n"), "1");
    EXPECT_EQ(textOf<ServiceError>([&] { client.request("unreadable"); }), "mine");
}

TEST(ClientTest, ReplyToAnotherRequestIsPassedOver) {
    FakeService fake({{"m", {R"({"jsonrpc":"2.0","id":77,"result":"late"})", result("\"mine\"")}}});
    Client client(Url(fake.getAddress()));
    EXPECT_EQ(client.request("m"), "\"mine\"");
}

TEST(ClientTest, MissingReplyEndsTheWait) {
    FakeService fake({});
    ClientOptions options;
    options.timeout = 500ms; // is for connecting too, on a busy machine
    Client client(Url(fake.getAddress()), options);
    EXPECT_EQ(textOf<TimedOut>([&] { client.request("silent"); }), "no reply to silent within 0.5 s");
}

TEST(ClientTest, LargeReplyArrivesWhole) {
    const std::string text(20U << 20, 'x'); // past the WebSocket library's own default
    FakeService fake({{"m", {result('"' + text + '"')}}});
    Client client(Url(fake.getAddress()));
    EXPECT_EQ(client.request("m").size(), text.size() + 2); // with its quotation marks
}

TEST(ClientTest, LostConnectionSaysWhy) {
    FakeService fake({{"close", {"CLOSE"}}, {"drop", {"DROP"}}, {"last", {started, "CLOSE"}}});
    const auto lose = [&fake](const char* method) {
        Client client{Url(fake.getAddress())};
        return textOf<ConnectionLost>([&] { client.request(method); });
    };
    const auto lost = "lost the connection to " + fake.getAddress() + ": ";
    EXPECT_EQ(lose("close"), lost + "the service closed it with 1001 (going away)");
    EXPECT_EQ(lose("drop"), lost + "the other side closed it");

    Client client{Url(fake.getAddress())};
    EXPECT_THROW(client.request("last"), ConnectionLost);
    EXPECT_EQ(client.next().method, "ITVConfig::onScanStart"); // what came before is not lost
    EXPECT_THROW(client.next(), ConnectionLost);
    EXPECT_THROW(client.request("again"), ConnectionLost);
}

TEST(ClientTest, OddRepliesAreNamed) {
    FakeService fake({{"text", {"hello"}}, {"array", {"[]"}}, {"empty", {R"({"id":$ID})"}}});
    Client client(Url(fake.getAddress()));
    EXPECT_THROW(client.request("text"), BadReply);
    EXPECT_EQ(textOf<BadReply>([&] { client.request("array"); }),
              "the service sent what is no JSON-RPC message");
    EXPECT_EQ(textOf<BadReply>([&] { client.request("empty"); }),
              "the service sent a reply without a result");
}

TEST(ClientTest, NobodyThere) {
    const Silence closed; // bound, so that nobody else gets it
    EXPECT_EQ(textOf<ConnectError>([&] { Client client{Url(closed.getAddress())}; }),
              "cannot connect to " + closed.getAddress() + ": Connection refused");
    EXPECT_EQ(textOf<ConnectError>([] { Client client{Url("unix:/nonexistent/socket")}; }),
              "cannot connect to unix:/nonexistent/socket: No such file or directory");
}

TEST(ClientTest, NobodyAnswers) {
    Silence silence;
    silence.listen();
    try {
        Client client(Url(silence.getAddress()), impatient());
        ADD_FAILURE() << "connected";
    } catch (const ConnectError& refusal) {
        EXPECT_EQ(std::string(refusal.what()),
                  "cannot connect to " + silence.getAddress() + ": Connection timed out");
        EXPECT_EQ(refusal.getCause(), ConnectError::Cause::Unreachable);
    }
}

TEST(ClientTest, SilentNameServerIsNotWaitedFor) {
    const SilentNameServer silence;
    EXPECT_EQ(textOf<ConnectError>([] { Client client(Url("silent.test:1"), impatient()); }),
              "cannot connect to silent.test:1: Connection timed out");
    EXPECT_EQ(silence.getWaiting(), 1); // and nobody for it
}

TEST(ClientTest, InterruptEndsALookUp) {
    const SilentNameServer silence;
    ClientOptions options;
    options.timeout = milliseconds::max();
    options.stopSignals = {SIGUSR1};
    std::thread interrupter([&silence] {
        while (silence.getWaiting() == 0)
            std::this_thread::yield();
        ::kill(::getpid(), SIGUSR1);
    });
    EXPECT_THROW(Client(Url("silent.test:1"), options), Interrupted);
    EXPECT_EQ(silence.getWaiting(), 1);
    interrupter.join();
}

TEST(ClientTest, HostIsLookedUpByItsName) {
    FakeService fake({});
    const auto address = fake.getAddress();
    const Client client(Url("localhost" + address.substr(address.find(':'))));
    EXPECT_EQ(textOf<ConnectError>([] { Client nowhere(Url("silent.test:1")); }), // its server is away
              "cannot connect to silent.test:1: Host not found (non-authoritative), try again later");
}

TEST(ClientTest, GreatestTimeIsNoLimit) {
    FakeService fake({{"m", {started, result("true")}}});
    ClientOptions options;
    options.timeout = milliseconds::max();
    Client client(Url(fake.getAddress()), options);
    EXPECT_EQ(client.request("m"), "true");
    EXPECT_TRUE(client.next(milliseconds::max()));
    EXPECT_FALSE(client.next(milliseconds::min()));
}

TEST(ClientTest, RefusedHandshakeShowsTheFirstLineOfTheAnswer) {
    FakeService fake({});
    fake.refuseWith(403, "add --allow-host box\nmore\n");
    EXPECT_EQ(textOf<ConnectError>([&] { Client client{Url(fake.getAddress())}; }),
              "cannot connect to " + fake.getAddress() + ": 403 Forbidden: add --allow-host box");
    fake.refuseWith(401, "");
    try {
        Client client{Url(fake.getAddress())};
        ADD_FAILURE() << "connected";
    } catch (const ConnectError& refusal) {
        EXPECT_EQ(refusal.getCause(), ConnectError::Cause::TokenRefused);
    }
}

TEST(ClientTest, InterruptEndsAWait) {
    FakeService fake({});
    ClientOptions options;
    options.stopSignals = {SIGINT, SIGTERM};
    Client client(Url(fake.getAddress()), options);
    for (const int signal : {SIGINT, SIGTERM}) {
        std::raise(signal);
        try {
            client.next();
            ADD_FAILURE() << "waited for nothing";
        } catch (const Interrupted& interrupted) {
            EXPECT_EQ(interrupted.getSignal(), signal);
        }
    }
}

TEST(ClientTest, ContextThatIsThereIsUsed) {
    FakeService fake({{"A::b", {result("1")}}});
    Client client{Url(fake.getAddress())};
    client.useContext(9);
    client.call("A::b");
    EXPECT_EQ(fake.getRequests(),
              std::vector<std::string>{R"({"jsonrpc":"2.0","id":1,"method":"A::b","params":{"context":9}})"});
}

TEST(ClientTest, EachContextHasItsOwnCalls) {
    FakeService fake({{"ITVService::serviceListSeek", {result("1")}}});
    Client client{Url(fake.getAddress())};
    client.useContext(9);
    auto other = client.createContext();
    const Context& own = client;
    auto same = own; // a handle, no copy of the context
    client.useContext(10);
    for (auto context : {other, client.with(7), same, other.within(1s)})
        context.seek(0, Context::Whence::Start);
    std::vector<std::string> used;
    for (const auto& request : fake.getRequests()) {
        if (const auto at = request.find("\"context\":"); at != std::string::npos)
            used.push_back(request.substr(at + 10, request.find(',', at) - at - 10));
    }
    EXPECT_EQ(used, (std::vector<std::string>{"4711", "7", "10", "4711"}));
}

bool isReadable(Client& client, int milliseconds = 0) {
    pollfd waiting{client.getDescriptor(), POLLIN, 0};
    return ::poll(&waiting, 1, milliseconds) == 1;
}

/// A notification that comes in many pieces.
const std::string large = R"({"jsonrpc":"2.0","method":")" + std::string(4U << 20, 'x') + R"("})";

constexpr int longWait = 10000; // ms; only a test that fails takes so long

TEST(ClientTest, DescriptorIsReadableWhileThereIsSomethingToTake) {
    FakeService fake({
        {"before", {started, result("1")}},
        {"behind", {result("1"), progress, progress}}, // read together with the reply
        {"late", {}},
        {"reply", {R"({"jsonrpc":"2.0","id":3,"result":1})", result("1")}},
    });
    Client client(Url(fake.getAddress()));
    EXPECT_FALSE(isReadable(client));
    client.request("before");
    EXPECT_TRUE(isReadable(client));
    EXPECT_TRUE(client.next(0ms));
    EXPECT_FALSE(isReadable(client));
    client.request("behind");
    EXPECT_TRUE(isReadable(client));
    client.handleInput();
    EXPECT_TRUE(isReadable(client)); // until they are taken
    EXPECT_TRUE(client.next(0ms));
    EXPECT_TRUE(isReadable(client));
    EXPECT_TRUE(client.next(0ms));
    EXPECT_FALSE(isReadable(client));
    EXPECT_FALSE(client.next(0ms));
    EXPECT_THROW(client.within(0ms).request("late"), TimedOut);
    client.request("reply");
    EXPECT_FALSE(isReadable(client));
}

TEST(ClientTest, InputIsTakenWithoutWaiting) {
    FakeService::Frames greeting(250, started);
    greeting.push_back(large);
    FakeService fake({}, greeting);
    Client client(Url(fake.getAddress()));
    const auto descriptor = client.getDescriptor();
    std::size_t count = 0;
    while (count < greeting.size() && isReadable(client, longWait)) {
        client.handleInput(); // may find a part of a message only
        while (client.next(0ms))
            ++count;
    }
    EXPECT_EQ(count, greeting.size());
    EXPECT_FALSE(isReadable(client));
    client.handleInput(); // nothing is there, and nothing is waited for
    EXPECT_EQ(client.getDescriptor(), descriptor);
}

TEST(ClientTest, IdleProgramAnswersPings) {
    FakeService fake({{"ping", FakeService::Frames{"PING"}}});
    Client client(Url(fake.getAddress()));
    EXPECT_THROW(client.within(0ms).request("ping"), TimedOut);
    while (fake.getRequests().size() < 2) {
        isReadable(client, 1);
        client.handleInput();
    }
    EXPECT_EQ(fake.getRequests().back(), "PONG");
}

TEST(ClientTest, LossMakesTheDescriptorReadable) {
    FakeService fake({{"last", {result("1"), started, "DROP"}}});
    Client client(Url(fake.getAddress()));
    client.request("last");
    while (isReadable(client, longWait)) {
        client.handleInput();
        if (client.next(0ms))
            break;
    }
    ASSERT_TRUE(isReadable(client, longWait));
    EXPECT_THROW(client.handleInput(), ConnectionLost);
    EXPECT_TRUE(isReadable(client));
    EXPECT_THROW(client.next(0ms), ConnectionLost);
}

TEST(ClientTest, ReconnectsAfterALoss) {
    FakeService fake(
        {{"last", {started, "DROP"}}, {"m", {result("1"), progress}}, {"later", FakeService::Frames{large}}});
    Client client(Url(fake.getAddress()));
    const auto descriptor = client.getDescriptor();
    EXPECT_THROW(client.request("last"), ConnectionLost);
    EXPECT_TRUE(client.reconnect()); // there is no context to be lost
    EXPECT_EQ(client.next().method, "ITVConfig::onScanStart"); // what came before is kept
    EXPECT_EQ(client.getDescriptor(), descriptor);
    EXPECT_FALSE(isReadable(client));
    EXPECT_EQ(client.request("m"), "1");
    EXPECT_TRUE(isReadable(client));
    EXPECT_EQ(client.next().method, "ITVConfig::onScanProgress");
    EXPECT_FALSE(isReadable(client));
    EXPECT_THROW(client.within(0ms).request("later"), TimedOut);
    bool isThere = false;
    while (!isThere && isReadable(client, longWait)) {
        client.handleInput();
        isThere = client.next(0ms).has_value();
    }
    EXPECT_TRUE(isThere);

    EXPECT_THROW(client.request("last"), ConnectionLost);
    fake.refuseWith(503, "");
    EXPECT_THROW(client.reconnect(), ConnectError);
    EXPECT_EQ(client.next().method, "ITVConfig::onScanStart"); // nothing has changed
    EXPECT_THROW(client.next(0ms), ConnectionLost);
}

TEST(ClientTest, UnreadableRequestAfterAReconnectIsRefused) {
    FakeService fake({
        {"last", FakeService::Frames{"DROP"}},
        {"unreadable", {R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700,"message":"mine"}})"}},
    });
    Client client(Url(fake.getAddress()));
    EXPECT_THROW(client.request("last"), ConnectionLost);
    client.reconnect();
    EXPECT_EQ(textOf<ServiceError>([&] { client.request("unreadable"); }), "mine");
}

TEST(ClientTest, ContextOutlivesItsConnectionAndNotItsService) {
    const Ostrel::Test::TempDirectory folder;
    const auto address = "unix:" + folder.file("socket");
    const auto start = [&address] {
        auto host = std::make_unique<Child>(
            OSTREL_TVD_PROGRAM, std::vector<std::string>{"--listen", address, "--log-level", "error"});
        EXPECT_NE(host->readLine(), "");
        return host;
    };
    const auto stop = [](Child& host) {
        host.terminate();
        EXPECT_EQ(host.wait(), 0);
    };
    auto host = start();
    Client client{Url(address)};
    client.selectList("all");
    client.seek(5, Context::Whence::Start);
    EXPECT_TRUE(client.reconnect());
    EXPECT_EQ(client.seek(1, Context::Whence::Cursor), 6U);

    stop(*host);
    EXPECT_THROW(client.getUtcTime(), ConnectionLost);
    host = start();
    EXPECT_FALSE(client.reconnect());
    EXPECT_EQ(textOf<ServiceError>([&] { client.read(1); }), "Invalid state"); // no list is selected
    stop(*host);
}

class TokenTest : public testing::Test {
protected:
    TokenTest() { ::close(::mkstemp(path_.data())); }
    ~TokenTest() override { std::remove(path_.c_str()); }

    std::string read(const std::string& content) {
        std::ofstream(path_, std::ios::trunc) << content;
        return readToken(path_);
    }

    std::string path_ = testing::TempDir() + "token.XXXXXX";
};

TEST_F(TokenTest, IsTheOnlyLineAndTravelsAsBearer) {
    EXPECT_EQ(read("abc-_019\n"), "abc-_019");
    EXPECT_EQ(read("abc"), "abc");
    EXPECT_EQ(read("abc\r\n"), "abc");

    FakeService fake({});
    ClientOptions options;
    options.token = "abc";
    { const Client client(Url(fake.getAddress()), options); }
    EXPECT_EQ(fake.getRequests(), std::vector<std::string>{"Authorization: Bearer abc"});
}

TEST_F(TokenTest, AnythingElseIsRefused) {
    for (const char* content : {"", "\n", "a b\n", "abc\ndef\n", "\xc3\xa4\n"})
        EXPECT_THROW(read(content), SettingsError) << content;
    EXPECT_EQ(textOf<SettingsError>([] { readToken("/nonexistent/token"); }),
              "cannot read a token from /nonexistent/token: No such file or directory");
}

} // namespace
