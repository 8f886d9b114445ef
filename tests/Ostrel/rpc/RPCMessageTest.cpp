#include "Ostrel/rpc/RPCMessage.h"

#include "Ostrel/rpc/ParameterError.h"
#include "Ostrel/runtime/Mutex.h"
#include "Ostrel/serialization/Deserializer.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

namespace Ostrel::Test {
namespace {

using Call = IRPC::RPCSynchronousMethodObject;

std::string replyTo(TestServer& server, std::string_view text, const RPCMessage::Limits& limits = {}) {
    RPCMessage message(std::string(text), server, nullptr, limits);
    while (!message.isDone())
        message.step();
    return message.takeReply().text;
}

std::string nested(int depth) {
    return std::string(std::size_t(depth), '[') + std::string(std::size_t(depth), ']');
}

struct Row {
    const char* name;
    std::string text;
    std::string reply;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

std::string error(const char* id, int code, const std::string& rest) {
    return std::string(R"({"jsonrpc":"2.0","id":)") + id + R"(,"error":{"code":)" + std::to_string(code) +
           R"(,"message":")" + rest + "}}";
}

// clang-format off
const Row rows[] = {
    {"Result", R"({"jsonrpc":"2.0","id":7,"method":"Test::echo","params":{"a":1}})",
               R"({"jsonrpc":"2.0","id":7,"result":"{\"a\":1}"})"},
    {"TextId", R"({"jsonrpc":"2.0","id":"a\"b","method":"Test::echo"})",
               R"({"jsonrpc":"2.0","id":"a\"b","result":"{}"})"},
    {"NullId", R"({"jsonrpc":"2.0","id":null,"method":"Test::echo"})",
               R"({"jsonrpc":"2.0","id":null,"result":"{}"})"},
    {"NoIdNoReply", R"({"jsonrpc":"2.0","method":"Test::echo"})", ""},
    {"NoIdNoErrorEither", R"({"jsonrpc":"2.0","method":"Test::nothing"})", ""},
    {"ReadOnlyInterface", R"({"jsonrpc":"2.0","id":1,"method":"Reader::echo"})",
               R"({"jsonrpc":"2.0","id":1,"result":"{}"})"},
    {"LastDuplicateCounts", R"({"jsonrpc":"2.0","id":1,"id":2,"method":"x","method":"Test::echo"})",
               R"({"jsonrpc":"2.0","id":2,"result":"{}"})"},

    {"NotJson", "nonsense", error("null", -32700, "the message is not JSON: syntax error\"")},
    {"Empty", "", error("null", -32700, "the message is not JSON: incomplete JSON\"")},
    {"Trailing", "{} {}", error("null", -32700, "the message is not JSON: extra data\"")},
    {"RawControl", "{\"a\":\"\t\"}", error("null", -32700, "the message is not JSON: syntax error\"")},
    {"ByteOrderMark", "\xEF\xBB\xBF{}", error("null", -32700, "the message is not JSON: syntax error\"")},
    {"NotUtf8", "{\"a\":\"\xFF\"}", error("null", -32700, "the message is not JSON: syntax error\"")},
    {"LeadingZero", "[01]", error("null", -32700, "the message is not JSON: syntax error\"")},
    {"TooDeep", nested(65), error("null", -32700, "the message is not JSON: too deep\"")},
    {"DeepEnough", nested(64), "[" + error("null", -32600, "the message is not a JSON object\"") + "]"},

    {"Number", "5", error("null", -32600, "the message is not a JSON object\"")},
    {"EmptyBatch", "[]", error("null", -32600, "the batch is empty\"")},
    {"NoVersion", R"({"id":1,"method":"Test::echo"})", error("1", -32600, "member \\\"jsonrpc\\\" is not \\\"2.0\\\"\"")},
    {"OldVersion", R"({"jsonrpc":"1.0","method":"Test::echo"})", error("null", -32600, "member \\\"jsonrpc\\\" is not \\\"2.0\\\"\"")},
    {"NoMethod", R"({"jsonrpc":"2.0","id":1})", error("1", -32600, "member \\\"method\\\" is not a string\"")},
    {"MethodNumber", R"({"jsonrpc":"2.0","id":1,"method":1})", error("1", -32600, "member \\\"method\\\" is not a string\"")},
    {"IdObject", R"({"jsonrpc":"2.0","id":{},"method":"Test::echo"})", error("null", -32600, "member \\\"id\\\" is not a number, a string or null\"")},
    {"ParamsNumber", R"({"jsonrpc":"2.0","id":1,"method":"Test::echo","params":5})", error("1", -32600, "member \\\"params\\\" is not an object\"")},
    {"ParamsEmptyListIsNone", R"({"jsonrpc":"2.0","id":1,"method":"Test::echo","params":[]})",
                   R"({"jsonrpc":"2.0","id":1,"result":"{}"})"},
    {"ParamsList", R"({"jsonrpc":"2.0","id":1,"method":"Test::echo","params":[1]})",
                   error("1", -32602, R"(params is not a JSON object","data":{"name":"DecodeError","member":"params"})")},

    {"Discover", R"({"jsonrpc":"2.0","id":1,"method":"rpc.discover"})", "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":{\"openrpc\":1}\n}"},
    {"DiscoverWithParams", R"([{"jsonrpc":"2.0","id":1,"method":"rpc.discover","params":{"a":1}}])", "[{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":{\"openrpc\":1}\n}]"},
    {"NoInterface", R"({"jsonrpc":"2.0","id":1,"method":"echo"})",
                    error("1", -32601, R"(unknown method \"echo\"; names read INTERFACE::METHOD")")},
    {"UnknownInterface", R"({"jsonrpc":"2.0","id":1,"method":"Best::echo"})", error("1", -32601, R"(unknown interface \"Best\"")")},
    {"UnknownMethod", R"({"jsonrpc":"2.0","id":1,"method":"Test::ecko"})", error("1", -32601, R"(unknown method \"Test::ecko\"")")},
    {"UnknownMethodIsCut", R"({"jsonrpc":"2.0","id":1,"method":"Test::)" + std::string(70, 'x') + "\"}",
                    error("1", -32601, R"(unknown method \"Test::)" + std::string(58, 'x') + R"(\"")")},

    {"Batch", R"([{"jsonrpc":"2.0","id":1,"method":"Test::echo"},{"jsonrpc":"2.0","method":"Test::echo"},{"jsonrpc":"2.0","id":2,"method":"Reader::echo"}])",
              R"([{"jsonrpc":"2.0","id":1,"result":"{}"},{"jsonrpc":"2.0","id":2,"result":"{}"}])"},
    {"BatchOfNotifications", R"([{"jsonrpc":"2.0","method":"Test::echo"}])", ""},
    {"BatchWithRubbish", R"([1,{"jsonrpc":"2.0","id":1,"method":"Test::echo"}])",
              "[" + error("null", -32600, "the message is not a JSON object\"") + R"(,{"jsonrpc":"2.0","id":1,"result":"{}"}])"},
};
// clang-format on

class RPCMessageTable : public testing::TestWithParam<Row> {};

TEST_P(RPCMessageTable, GetsThisReply) {
    TestServer server;
    EXPECT_EQ(replyTo(server, GetParam().text), GetParam().reply);
}

INSTANTIATE_TEST_SUITE_P(Rows, RPCMessageTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

/// A server whose handler "first" throws what the test gives it; "second" answers what a
/// handler's catch clause makes of it.
struct Throwing : TestServer {
    template <class Thrown> explicit Throwing(const Thrown& thrown) {
        on("first", [thrown](const Call&) -> std::string { throw thrown; });
        on("second", [thrown](const Call& call) -> std::string {
            try {
                throw thrown;
            } catch (const Exception& exception) {
                return IRPC::RPCErrorObject(call, exception.what()).serialize();
            } catch (const std::exception& exception) {
                return IRPC::RPCErrorObject(call, exception.what()).serialize();
            } catch (...) {
                return IRPC::RPCErrorObject(call, "unknown").serialize();
            }
        });
    }
    std::string escaped() { return replyTo(*this, R"({"jsonrpc":"2.0","id":1,"method":"Test::first"})"); }
    std::string caught() { return replyTo(*this, R"({"jsonrpc":"2.0","id":1,"method":"Test::second"})"); }
};

TEST(RPCErrorTest, ResultCodeOfTheFrameworksException) {
    Throwing server{Exception(ReturnCode::NotSupported)};
    const std::string rest = R"(Not supported","data":{"returnCode":4,"name":"NotSupported"})";
    EXPECT_EQ(server.caught(), error("1", -32000, rest));
    EXPECT_EQ(server.escaped(), error("1", -32603, rest));
}

TEST(RPCErrorTest, EveryResultCodeHasItsName) {
    const std::pair<int, const char*> codes[] = {
        {1, R"(Invalid parameter","data":{"returnCode":1,"name":"InvalidParameter"})"},
        {2, R"(Invalid state","data":{"returnCode":2,"name":"InvalidState"})"},
        {3, R"(Out of memory","data":{"returnCode":3,"name":"OutOfMemory"})"},
        {4, R"(Not supported","data":{"returnCode":4,"name":"NotSupported"})"},
        {5, R"(Timed out","data":{"returnCode":5,"name":"TimedOut"})"},
        {6, R"(Generic failure","data":{"returnCode":6,"name":"GenericFailure"})"},
        {-1, R"(Generic failure","data":{"returnCode":6,"name":"GenericFailure"})"},
        {0, R"(Success")"},
    };
    for (const auto& [code, rest] : codes)
        EXPECT_EQ(Throwing{Exception(ReturnCode(code))}.caught(), error("1", -32000, rest)) << code;
}

TEST(RPCErrorTest, NobodyElsesTextIsAResultCode) {
    Throwing server{std::runtime_error("Invalid parameter")};
    EXPECT_EQ(server.caught(), error("1", -32000, "Invalid parameter\""));
    EXPECT_EQ(server.escaped(), error("1", -32603, "Invalid parameter\""));
}

TEST(RPCErrorTest, ParameterErrorNamesItsMember) {
    Throwing server{ParameterError("context")};
    const std::string rest =
        R"(Invalid parameter","data":{"returnCode":1,"name":"InvalidParameter","member":"context"})";
    EXPECT_EQ(server.caught(), error("1", -32000, rest));
    EXPECT_EQ(server.escaped(), error("1", -32603, rest));
}

TEST(RPCErrorTest, DecodersRefusalIsInvalidParamsWhicheverWayItComes) {
    Throwing server{DecodeError("missing member \"limit\"", "limit")};
    const auto reply =
        error("1", -32602, R"(missing member \"limit\"","data":{"name":"DecodeError","member":"limit"})");
    EXPECT_EQ(server.caught(), reply);
    EXPECT_EQ(server.escaped(), reply);
}

TEST(RPCErrorTest, OtherExceptionsGiveTheirText) {
    Throwing standard{std::runtime_error("the tuner is \"gone\"")};
    EXPECT_EQ(standard.caught(), error("1", -32000, R"(the tuner is \"gone\"")"));
    EXPECT_EQ(standard.escaped(), error("1", -32603, R"(the tuner is \"gone\"")"));
    Throwing odd{42};
    EXPECT_EQ(odd.caught(), error("1", -32000, "unknown\""));
    EXPECT_EQ(odd.escaped(), error("1", -32603, "unknown\""));
}

TEST(RPCErrorTest, WantOfMemoryHasItsCode) {
    Throwing server{std::bad_alloc()};
    EXPECT_EQ(server.caught(),
              error("1", -32000, R"(Out of memory","data":{"returnCode":3,"name":"OutOfMemory"})"));
    EXPECT_EQ(server.escaped(),
              error("1", -32603, R"(Out of memory","data":{"returnCode":3,"name":"OutOfMemory"})"));
}

/// The lines that "first" and "second" leave in the log, as "LEVEL TEXT".
std::vector<std::string> outcomesOf(Throwing server) {
    const LogCapture log;
    server.escaped();
    server.caught();
    std::vector<std::string> outcomes;
    for (const auto& line : log.lines())
        outcomes.push_back(std::to_string(static_cast<int>(line.level)) + ' ' + line.text);
    return outcomes;
}

// Whichever way it comes, information (5) is the client's mistake and error (1) the service's.
TEST(RPCLogTest, EveryCallThatFailsIsToldOnce) {
    const auto refused = [](const std::string& text) {
        return std::vector{"5 Test::first refused: " + text, "5 Test::second refused: " + text};
    };
    const auto failed = [](const std::string& text) {
        return std::vector{"1 Test::first failed: " + text, "1 Test::second failed: " + text};
    };
    EXPECT_EQ(outcomesOf(Throwing{DecodeError("missing payload", "payload")}), refused("missing payload"));
    EXPECT_EQ(outcomesOf(Throwing{ParameterError("context")}), refused("Invalid parameter (context)"));
    EXPECT_EQ(outcomesOf(Throwing{Exception(ReturnCode::InvalidParameter)}), refused("Invalid parameter"));
    EXPECT_EQ(outcomesOf(Throwing{Exception(ReturnCode::InvalidState)}), refused("Invalid state"));
    EXPECT_EQ(outcomesOf(Throwing{Exception(ReturnCode::NotSupported)}), refused("Not supported"));
    EXPECT_EQ(outcomesOf(Throwing{TextTooLarge(9)}), refused("the reply is larger than 9 bytes"));

    EXPECT_EQ(outcomesOf(Throwing{Exception(ReturnCode::Success)}), failed("Success"));
    EXPECT_EQ(outcomesOf(Throwing{Exception(ReturnCode::OutOfMemory)}), failed("Out of memory"));
    EXPECT_EQ(outcomesOf(Throwing{Exception(ReturnCode::TimedOut)}), failed("Timed out"));
    EXPECT_EQ(outcomesOf(Throwing{Exception(ReturnCode::GenericFailure)}), failed("Generic failure"));
    EXPECT_EQ(outcomesOf(Throwing{std::bad_alloc()}), failed("Out of memory"));
    EXPECT_EQ(outcomesOf(Throwing{std::runtime_error("Invalid state")}), failed("Invalid state"));
    EXPECT_EQ(outcomesOf(Throwing{42}), failed("unknown"));
}

TEST(RPCLogTest, UnknownNamesAreTheClientsMistake) {
    const LogCapture log;
    TestServer server;
    replyTo(server, R"({"jsonrpc":"2.0","id":1,"method":"Test::ecko"})");
    ASSERT_EQ(log.texts(), std::vector<std::string>{R"(unknown method "Test::ecko")"});
    EXPECT_EQ(log.lines()[0].level, DebugLevel::Information);
}

TEST(RPCLogTest, WhatIsNoRequestIsTheClientsMistake) {
    TestServer server;
    const LogCapture log;
    replyTo(server, "garbage");
    replyTo(server, "[]");
    replyTo(server, R"({"jsonrpc":"2.0","id":1})");
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(lines[0].text.starts_with("refused: the message is not JSON: ")) << lines[0].text;
    EXPECT_EQ(lines[1].text, "refused: the batch is empty");
    EXPECT_EQ(lines[2].text, "refused: member \"method\" is not a string");
    for (const auto& line : lines)
        EXPECT_EQ(line.level, DebugLevel::Information);
}

TEST(RPCLogTest, ParamsThatAreAListAreTheClientsMistake) {
    const LogCapture log;
    TestServer server;
    replyTo(server, R"({"jsonrpc":"2.0","id":1,"method":"Test::echo","params":[1]})");
    ASSERT_EQ(log.texts(), std::vector<std::string>{"Test::echo refused: params is not a JSON object"});
    EXPECT_EQ(log.lines()[0].level, DebugLevel::Information);
}

// A list is refused before it is known whether there is such a method.
TEST(RPCLogTest, NamesOfClientsAreCutAndOfOneLine) {
    TestServer server;
    const auto told = [&](const std::string& method) {
        const LogCapture log;
        replyTo(server, R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":[1]})");
        return log.texts();
    };
    const std::string rest = " refused: params is not a JSON object";
    const std::string longest = "A::" + std::string(61, 'b');
    EXPECT_EQ(told(longest), std::vector{longest + rest});
    EXPECT_EQ(told(longest + 'b'), std::vector{longest + rest});
    EXPECT_EQ(told("echo"), std::vector{"echo" + rest});
    EXPECT_EQ(told(R"(A::\nb)"), std::vector{R"(A::\x0ab)" + rest});
}

TEST(RPCLogTest, StandardErrorShowsTheOutcomeAlone) {
    TestServer server;
    server.on("first", [](const Call& call) -> std::string {
        const Exception exception(ReturnCode::InvalidState);
        try {
            ostrelDebugPrint(DebugLevel::Error, "M", "M", 1, throwingException, "first", exception.what());
            throw exception;
        } catch (const Exception& caught) {
            ostrelDebugPrint(DebugLevel::Error, "M", "M", 2, caughtException, "first", caught.what());
            return IRPC::RPCErrorObject(call, caught.what()).serialize();
        }
    });
    setDebugSink({});
    testing::internal::CaptureStderr();
    replyTo(server, R"({"jsonrpc":"2.0","id":1,"method":"Test::first"})");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::MatchesRegex("[^\n]* information [^\n]* Test::first refused: Invalid state\n"));
}

/// A server that has no memory left for a reply to "first".
struct Starved : TestServer {
    std::string handleRPCSynchronousMethod(const Call& call) override {
        if (call.getMethodName() == "first")
            throw std::bad_alloc();
        return TestServer::handleRPCSynchronousMethod(call);
    }
};

TEST(RPCMessageTest, AReplyForWhichThereIsNoMemorySaysWhichCallItWas) {
    const auto lacking = [](const std::string& id) {
        return R"({"jsonrpc":"2.0","id":)" + id + R"(,"error":{"code":-32603,"message":"Out of memory",)" +
               R"("data":{"returnCode":3,"name":"OutOfMemory"}}})";
    };
    const auto request = [](const std::string& id, const std::string& method) {
        return R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"Test::)" + method + R"("})";
    };
    Starved server;
    EXPECT_EQ(replyTo(server, request("7", "first")), lacking("7"));
    const auto longId = '"' + std::string(1000, 'x') + '"';
    EXPECT_EQ(replyTo(server, request(longId, "first")), lacking(longId));
    EXPECT_EQ(replyTo(server, R"({"jsonrpc":"2.0","method":"Test::first"})"), "");
    EXPECT_EQ(replyTo(server, '[' + request("1", "first") + ',' + request("2", "echo") + ']'),
              '[' + lacking("1") + R"(,{"jsonrpc":"2.0","id":2,"result":"{}"}])");
}

TEST(RPCMessageTest, IdsGoBackAsTheyCame) {
    TestServer server;
    for (const char* id : {"1.50", "1e2", "-0", "12345678901234567890123", R"("\u0041\/")"})
        EXPECT_EQ(
            replyTo(server, std::string(R"({"jsonrpc":"2.0","id":)") + id + R"(,"method":"Test::echo"})"),
            std::string(R"({"jsonrpc":"2.0","id":)") + id + R"(,"result":"{}"})");
}

TEST(RPCMessageTest, BatchAtItsLimitAndOnePast) {
    TestServer server;
    const auto batch = [](int size) {
        std::string text = "[";
        for (int i = 0; i < size; ++i)
            text += std::string(i == 0 ? "" : ",") + R"({"jsonrpc":"2.0","id":1,"method":"Test::echo"})";
        return text + "]";
    };
    EXPECT_TRUE(replyTo(server, batch(100)).starts_with("[{"));
    EXPECT_EQ(replyTo(server, batch(101)), error("null", -32600, "the batch has more than 100 messages\""));
}

TEST(RPCMessageTest, ReplyAtItsLimitAndOnePast) {
    TestServer server;
    const std::string request = R"({"jsonrpc":"2.0","id":1,"method":"Test::first"})";
    const auto around = std::string(R"({"jsonrpc":"2.0","id":1,"result":""})").size();
    server.on("first", TestServer::answerOfSize(1000 - around));
    EXPECT_EQ(replyTo(server, request, {1000, 100}).size(), 1000u);
    server.on("first", TestServer::answerOfSize(1001 - around));
    EXPECT_TRUE(replyTo(server, request, {1000, 100})
                    .starts_with(R"({"jsonrpc":"2.0","id":1,"error":{"code":-32001,)"));
}

TEST(RPCMessageTest, RepliesOfABatchShareTheLimit) {
    TestServer server;
    server.on("first", TestServer::answerOfSize(400));
    const std::string request = R"({"jsonrpc":"2.0","id":1,"method":"Test::first"})";
    const auto reply = replyTo(server, "[" + request + "," + request + "," + request + "]", {1000, 100});
    // Two fit; the third is refused in its place.
    EXPECT_EQ(reply.find("-32001"), reply.rfind("-32001"));
    EXPECT_NE(reply.find("-32001"), std::string::npos);
    EXPECT_LT(reply.find(std::string(400, 'x')), reply.find("-32001"));
}

TEST(RPCMessageTest, ReplyIsCountedWhileItIsBuiltAndNotAfterwards) {
    TestServer server;
    bool finished = false;
    server.on("first", [&](const Call& call) -> std::string {
        struct Endless : TextObject {
            Endless() : TextObject("") {}
            using TextObject::serialize;
            void serialize(const std::string& key, Serializer& out) const override {
                out.beginList(key);
                for (;;)
                    out.write("", std::string_view("more and more"));
            }
        } endless;
        try {
            return IRPC::RPCResultObject(call, endless).serialize();
        } catch (const std::exception& exception) {
            finished = true;
            return IRPC::RPCErrorObject(call, exception.what()).serialize();
        }
    });
    const auto reply = replyTo(server, R"({"jsonrpc":"2.0","id":1,"method":"Test::first"})", {1 << 20, 100});
    EXPECT_TRUE(finished);
    EXPECT_NE(reply.find("-32001"), std::string::npos);
}

TEST(RPCMessageTest, AServerWithoutADescriptionHasNothingToDiscover) {
    TestServer server;
    server.description.clear();
    EXPECT_EQ(replyTo(server, R"({"jsonrpc":"2.0","id":1,"method":"rpc.discover"})"),
              error("1", -32601, R"(unknown method \"rpc.discover\"; names read INTERFACE::METHOD")"));
}

TEST(RPCMessageTest, ADescriptionIsAReplyWithALimit) {
    TestServer server;
    EXPECT_TRUE(replyTo(server, R"({"jsonrpc":"2.0","id":1,"method":"rpc.discover"})", {40, 100})
                    .starts_with(R"({"jsonrpc":"2.0","id":1,"error":{"code":-32001,)"));
}

TEST(RPCMessageTest, NeedsTheTurnUnlessTheInterfaceOnlyReads) {
    TestServer server;
    RPCMessage message(
        R"([{"jsonrpc":"2.0","id":1,"method":"Test::echo"},{"jsonrpc":"2.0","id":2,"method":"Reader::echo"}])",
        server, nullptr, {});
    EXPECT_FALSE(message.needsTurn()); // to be read
    message.step();
    EXPECT_TRUE(message.needsTurn());
    message.step();
    EXPECT_FALSE(message.needsTurn());
    message.step();
    EXPECT_TRUE(message.isDone());
}

TEST(RPCMessageTest, LockLeftHeldIsReleasedWhenTheHandlerHandsBack) {
    const LogCapture log;
    Mutex mutex("the/forgotten/lock", 0);
    TestServer server;
    server.on("first", [&](const Call& call) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
        mutex.lock();
        mutex.lock();
        return TestServer::echo(call);
    });
    replyTo(server, R"({"jsonrpc":"2.0","id":1,"method":"Test::first"})");

    // Another thread would wait for ever on a lock that is still held.
    std::thread([&] { const Mutex::Hold hold(mutex); }).join();
    EXPECT_EQ(log.texts(),
              std::vector<std::string>{"the/forgotten/lock was still held when first ended; released"});
}

TEST(RPCServerTest, IsFoundByItsNameWhileItRuns) {
    {
        TestServer server;
        EXPECT_EQ(RPCServer::find("Test"), &server);
        EXPECT_EQ(RPCServer::running(), std::vector<RPCServer*>{&server});
        EXPECT_EQ(RPCServer::find("Best"), nullptr);
        RPCServer twin("Test");
        EXPECT_FALSE(twin.init());
        twin.shutdown();
        EXPECT_EQ(RPCServer::find("Test"), &server);
        server.shutdown();
        EXPECT_EQ(RPCServer::find("Test"), nullptr);
        EXPECT_TRUE(server.init());
    }
    EXPECT_EQ(RPCServer::find("Test"), nullptr);
}

struct Inbox : RPCSubscriber {
    void notify(const std::shared_ptr<const RPCNotification>& notification) noexcept override {
        texts.push_back(notification->getText());
    }
    std::vector<std::string> texts;
};

TEST(RPCNotifierTest, EverySubscriberGetsEveryNotificationInOrder) {
    RPCNotifier notifier;
    Inbox first;
    Inbox second;
    notifier.subscribe(first);
    notifier.handleRPCNotification("I::one", R"({"a":1})");
    notifier.subscribe(second);
    notifier.handleRPCNotification("I::two", "{}");
    notifier.unsubscribe(first);
    notifier.handleRPCNotification("I::three", "{}");
    const std::string one = R"({"jsonrpc":"2.0","method":"I::one","params":{"a":1}})";
    const std::string two = R"({"jsonrpc":"2.0","method":"I::two","params":{}})";
    const std::string three = R"({"jsonrpc":"2.0","method":"I::three","params":{}})";
    EXPECT_EQ(first.texts, (std::vector{one, two}));
    EXPECT_EQ(second.texts, (std::vector{two, three}));
}

TEST(RPCNotifierTest, NotificationReplacesOneOfItsTopic) {
    const RPCNotification one("1", "a");
    EXPECT_TRUE(RPCNotification("2", "a").replaces(one));
    EXPECT_FALSE(RPCNotification("2", "b").replaces(one));
    EXPECT_FALSE(RPCNotification("2").replaces(RPCNotification("1")));
}

TEST(RPCNotifierTest, NotificationsOfAThreadAreCounted) {
    struct : RPCSubscriber {
        void notify(const std::shared_ptr<const RPCNotification>&) noexcept override {}
    } one, other;
    RPCNotifier notifier;
    notifier.subscribe(one);
    notifier.subscribe(other);
    const auto raise = [&] { notifier.handleRPCNotification("I::one", "{}"); };
    std::atomic<unsigned> outer = 0;
    std::atomic<unsigned> inner = 0;
    raise();
    {
        const RPCNotificationCount count(&outer);
        raise();
        {
            const RPCNotificationCount nested(&inner);
            raise();
            raise();
        }
        {
            const RPCNotificationCount nobody(nullptr);
            raise();
        }
        std::thread(raise).join();
        raise();
    }
    raise();
    EXPECT_EQ(outer, 2u * 2);
    EXPECT_EQ(inner, 2u * 2);
}

} // namespace
} // namespace Ostrel::Test
