#include "soak/Exchange.h"

#include <gtest/gtest.h>

namespace Ostrel::Soak {
namespace {

using Reply = Exchange::Reply;

bool isRight(const Exchange& exchange, const std::string& answer) {
    return exchange.check(answer, 100, 200).empty();
}

const Exchange single{.text = "?", .replies = {{"7", Reply::Answer, R"(,"result":true})"}}};

TEST(ExchangeTest, AReplyIsComparedToItsLastByte) {
    EXPECT_TRUE(isRight(single, R"({"jsonrpc":"2.0","id":7,"result":true})"));
    EXPECT_FALSE(isRight(single, R"({"jsonrpc":"2.0","id":7,"result":false})"));
    EXPECT_FALSE(isRight(single, R"({"jsonrpc":"2.0","id":8,"result":true})"));
    EXPECT_FALSE(isRight(single, R"({"jsonrpc":"2.0","id":77,"result":true})"));
    EXPECT_FALSE(isRight(single, R"({"jsonrpc":"2.0","id":7,"result":true} )"));
    EXPECT_FALSE(isRight(single, R"([{"jsonrpc":"2.0","id":7,"result":true}])"));
    EXPECT_FALSE(isRight(single, ""));
}

TEST(ExchangeTest, ATimeMustLieInItsSpan) {
    const Exchange time{.text = "?", .replies = {{"7", Reply::Time}}};
    EXPECT_TRUE(isRight(time, R"({"jsonrpc":"2.0","id":7,"result":100})"));
    EXPECT_TRUE(isRight(time, R"({"jsonrpc":"2.0","id":7,"result":199})"));
    EXPECT_FALSE(isRight(time, R"({"jsonrpc":"2.0","id":7,"result":99})"));
    EXPECT_FALSE(isRight(time, R"({"jsonrpc":"2.0","id":7,"result":200})"));
    EXPECT_FALSE(isRight(time, R"({"jsonrpc":"2.0","id":7,"result":"150"})"));
}

TEST(ExchangeTest, AContextIsNotZero) {
    const Exchange context{.text = "?", .replies = {{"7", Reply::Context}}};
    EXPECT_TRUE(isRight(context, R"({"jsonrpc":"2.0","id":7,"result":4294967295})"));
    EXPECT_FALSE(isRight(context, R"({"jsonrpc":"2.0","id":7,"result":0})"));
    EXPECT_FALSE(isRight(context, R"({"jsonrpc":"2.0","id":7,"error":{}})"));
}

TEST(ExchangeTest, ABatchHasAllItsRepliesInOrder) {
    const Exchange batch{.text = "?",
                         .replies = {{"1", Reply::Answer, R"(,"result":1})"}, {"\"b\"", Reply::Time}},
                         .isBatch = true};
    const std::string one = R"({"jsonrpc":"2.0","id":1,"result":1})";
    const std::string two = R"({"jsonrpc":"2.0","id":"b","result":150})";
    EXPECT_TRUE(isRight(batch, '[' + one + ',' + two + ']'));
    EXPECT_FALSE(isRight(batch, '[' + two + ',' + one + ']'));
    EXPECT_FALSE(isRight(batch, '[' + one + ']'));
    EXPECT_FALSE(isRight(batch, '[' + one + ',' + two + ',' + two + ']'));
}

TEST(ExchangeTest, AMistakeShowsWhatWasAskedExpectedAndGot) {
    EXPECT_EQ(single.check("no", 100, 200),
              "asked ?\n  expected {\"jsonrpc\":\"2.0\",\"id\":7\n  got      no");
}

} // namespace
} // namespace Ostrel::Soak
