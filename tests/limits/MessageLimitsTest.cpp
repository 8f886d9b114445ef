// What one message may have, at each limit and one past it.

#include "tests/limits/FromOutside.h"

#include <string>
#include <utility>
#include <vector>

namespace Ostrel::Test {
namespace {

using MessageLimits = FromOutside;

constexpr const char* contextMade = R"({"jsonrpc":"2.0","id":1,"result":)";

std::string messageOf(std::size_t size) {
    return padded(request("ITVService::createContext"), size);
}

/// The message in so many frames.
std::string inFrames(const std::string& text, std::size_t count) {
    std::string frames;
    const auto size = text.size() / count;
    for (std::size_t i = 0; i < count; ++i) {
        const bool isLast = i + 1 == count;
        auto one = frame(i == 0 ? 1 : 0, text.substr(i * size, isLast ? std::string::npos : size));
        if (!isLast)
            one[0] = char(one[0] & 0x7f);
        frames += one;
    }
    return frames;
}

TEST_F(MessageLimits, AWebSocketTakesAMessageOf1MiB) {
    auto client = webSocket();
    EXPECT_TRUE(client.call(messageOf(mebi)).starts_with(contextMade));
    client.sendText(messageOf(mebi + 1));
    EXPECT_EQ(client.readFrame().closeCode(), 1009);
    EXPECT_TRUE(client.isClosedByPeer());
}

TEST_F(MessageLimits, SoItDoesInFrames) {
    for (const std::size_t count : {2U, 3U, 1000U}) {
        auto client = webSocket();
        client.send(inFrames(messageOf(mebi), count));
        EXPECT_TRUE(client.readReply().starts_with(contextMade)) << count;
        client.send(inFrames(messageOf(mebi + 1), count));
        EXPECT_EQ(client.readFrame().closeCode(), 1009) << count;
    }
}

TEST_F(MessageLimits, ABodyHas1MiB) {
    EXPECT_TRUE(connect().post("/rpc/TV", messageOf(mebi)).body.starts_with(contextMade));
    auto client = connect();
    client.send(post("/rpc/TV", messageOf(mebi + 1)));
    EXPECT_EQ(client.readAnswer().status, 413);
    EXPECT_TRUE(client.isClosedByPeer());
}

TEST_F(MessageLimits, AHeadHas16KiB) {
    const auto statusOf = [&](std::size_t size) {
        const std::string start = "GET /healthz HTTP/1.1\r\nHost: localhost\r\nX: ", end = "\r\n\r\n";
        auto client = connect();
        client.send(start + std::string(size - start.size() - end.size(), 'x') + end);
        return client.readAnswer().status;
    };
    EXPECT_EQ(statusOf(16 * kibi), 200);
    EXPECT_EQ(statusOf(16 * kibi + 1), 431);
}

std::string nested(int depth) {
    return std::string(std::size_t(depth), '[') + std::string(std::size_t(depth), ']');
}

TEST_F(MessageLimits, JsonIs64Deep) {
    auto client = webSocket();
    EXPECT_NE(client.call(nested(64)).find("-32600"), std::string::npos);
    EXPECT_NE(client.call(nested(65)).find("-32700"), std::string::npos);
    const auto payload = [](int depth) { return R"({"note":)" + nested(depth) + '}'; };
    const auto context = createContext();
    const auto asObject = [&](int depth) {
        return client.call(call("ITVService::utcTimeGet", context, payload(depth)));
    };
    EXPECT_NE(asObject(61).find(R"("result":)"), std::string::npos); // in payload, params and message
    EXPECT_NE(asObject(62).find("-32700"), std::string::npos);
    const auto asText = [&](int depth) {
        return client.call(
            call("ITVService::utcTimeGet", context, R"("{\"note\":)" + nested(depth) + R"(}")"));
    };
    EXPECT_NE(asText(63).find(R"("result":)"), std::string::npos); // in payload
    EXPECT_NE(asText(64).find("-32602"), std::string::npos);
}

TEST_F(MessageLimits, ABatchHas100Messages) {
    const auto batchOf = [](int count) {
        std::string batch = "[" + request("nothing");
        for (int i = 1; i < count; ++i)
            batch += "," + request("nothing");
        return batch + "]";
    };
    const auto countErrors = [](const std::string& reply) {
        int count = 0;
        for (auto at = reply.find("-32601"); at != std::string::npos; at = reply.find("-32601", at + 1))
            ++count;
        return count;
    };
    auto client = webSocket();
    EXPECT_EQ(countErrors(client.call(batchOf(100))), 100);
    EXPECT_TRUE(
        client.call(batchOf(101))
            .starts_with(
                R"({"jsonrpc":"2.0","id":null,"error":{"code":-32600,"message":"the batch has more than 100)"));
    EXPECT_EQ(countErrors(connect().post("/rpc/TV", batchOf(100)).body), 100);
    EXPECT_NE(connect().post("/rpc/TV", batchOf(101)).body.find("-32600"), std::string::npos);
}

TEST_F(MessageLimits, AStringListHas256Strings) {
    const auto context = createContext();
    const auto queryFor = [&](int count) {
        std::string texts = R"("no such text")";
        for (int i = 1; i < count; ++i)
            texts += R"(,"no such text")";
        return webSocket().call(
            call("ITVGuide::queryEventInfo", context, R"({"query":{"stringList":[)" + texts + "]}}"));
    };
    EXPECT_NE(queryFor(256).find(R"("result":[])"), std::string::npos);
    EXPECT_NE(queryFor(257).find("-32602"), std::string::npos);
}

TEST_F(MessageLimits, AnExpressionOpens256Parentheses) {
    const auto context = createContext();
    const auto queryWith = [&](std::size_t count) {
        const auto expression = std::string(count, '(') + "ServiceId == 0" + std::string(count, ')');
        return webSocket().call(
            call("ITVGuide::query", context,
                 R"({"expressionFormat":"quoril","outputFormat":"quoriljson","expression":")" + expression +
                     R"("})"));
    };
    EXPECT_NE(queryWith(256).find(R"("result":[])"), std::string::npos);
    EXPECT_NE(queryWith(257).find("Not supported"), std::string::npos);
}

TEST_F(MessageLimits, OfATextSixtyFourBytesAreRepeated) {
    auto client = webSocket();
    const std::string repeated(64, 'n');
    for (const auto& name : {repeated, repeated + 'o'})
        EXPECT_NE(client.call(request(name)).find(R"(unknown method \")" + repeated + R"(\";)"),
                  std::string::npos);
    EXPECT_NE(client.call(request(R"(a\u0007b\u001b[31m)")).find(R"(\"a\\x07b\\x1b[31m\";)"),
              std::string::npos);
}

TEST_F(MessageLimits, CompressionIsNotOffered) {
    const auto head = connect().upgrade(
        "/rpc/TV", "Sec-WebSocket-Extensions: permessage-deflate; client_max_window_bits\r\n");
    EXPECT_EQ(head.find("Sec-WebSocket-Extensions"), std::string::npos);
    auto client = webSocket();
    auto compressed = frame(1, "whatever");
    compressed[0] = char(compressed[0] | 0x40);
    client.send(compressed);
    EXPECT_EQ(client.readFrame().closeCode(), 1002);
}

TEST_F(MessageLimits, TheSimulatorsOwn) {
    auto client = webSocket("Simulator");
    const auto isTaken = [&](const std::string& method, const std::string& params) {
        const auto reply = client.call(request("Simulator::" + method, params));
        EXPECT_NE(reply.find(R"("result":)") != std::string::npos,
                  reply.find(R"("name":"DecodeError")") != std::string::npos)
            << reply;
        return reply.find(R"("result":)") != std::string::npos;
    };
    const auto rules = [](int count) {
        std::string list = R"({"drop":"reply"})";
        for (int i = 1; i < count; ++i)
            list += R"(,{"drop":"reply"})";
        return R"({"rules":[)" + list + "]}";
    };
    EXPECT_TRUE(isTaken("weatherSet", rules(100)));
    EXPECT_FALSE(isTaken("weatherSet", rules(101)));
    EXPECT_TRUE(isTaken("weatherSet", R"({"rules":[{"delayMs":600000}]})"));
    EXPECT_FALSE(isTaken("weatherSet", R"({"rules":[{"delayMs":600001}]})"));
    EXPECT_TRUE(isTaken("trafficGet", R"({"last":10000})"));
    EXPECT_FALSE(isTaken("trafficGet", R"({"last":10001})"));
    EXPECT_TRUE(isTaken("clockSet", R"({"speed":3600})"));
    EXPECT_FALSE(isTaken("clockSet", R"({"speed":3600.5})"));
    EXPECT_TRUE(isTaken("signalSet", R"({"strength":100,"quality":0})"));
    EXPECT_FALSE(isTaken("signalSet", R"({"strength":101,"quality":0})"));
}

} // namespace
} // namespace Ostrel::Test
