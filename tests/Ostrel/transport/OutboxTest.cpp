#include "Ostrel/transport/Outbox.h"

#include "Ostrel/rpc/RPCNotifier.h"

#include <gtest/gtest.h>

namespace Ostrel {
namespace {

const std::string one(2000, '1'); // long enough to stand alone
const std::string two(2000, '2');

std::string textOf(Outbox& outbox) {
    std::string text;
    for (const auto& buffer : outbox.gather())
        text.append(static_cast<const char*>(buffer.data()), buffer.size());
    return text;
}

std::shared_ptr<const RPCNotification> notification(const std::string& text) {
    return std::make_shared<const RPCNotification>(text);
}

TEST(OutboxTest, GathersAllThatWaits) {
    Outbox outbox;
    outbox.push("<1>", one);
    outbox.push("<2>", notification("two"));
    outbox.push("<3>", std::string("three"));
    outbox.push("<4>", std::string());
    EXPECT_EQ(outbox.size(), one.size() + 3 + 6 + 8 + 3);
    EXPECT_EQ(textOf(outbox), "<1>" + one + "<2>two<3>three<4>");
}

TEST(OutboxTest, GoesOnWhereAWriteStopped) {
    const auto whole = "<1>" + one + "<2>two<3>three";
    for (std::size_t sent = 0; sent <= whole.size(); ++sent) {
        Outbox outbox;
        outbox.push("<1>", one);
        outbox.push("<2>", notification("two"));
        outbox.push("<3>", std::string("three"));
        outbox.gather();
        outbox.consume(sent);
        ASSERT_EQ(textOf(outbox), whole.substr(sent)) << sent;
        ASSERT_EQ(outbox.size(), whole.size() - sent);
    }
}

TEST(OutboxTest, ManyChunksGoOutInSeveralWrites) {
    Outbox outbox;
    std::string whole;
    for (int i = 0; i < 200; ++i) {
        outbox.push("h", notification(std::to_string(i)));
        whole += "h" + std::to_string(i);
    }
    std::string sent;
    while (outbox.size() > 0) {
        const auto part = textOf(outbox);
        sent += part;
        outbox.consume(part.size());
    }
    EXPECT_EQ(sent, whole);
}

TEST(OutboxTest, NoWriteTakesLong) {
    const auto half = Outbox::mostAtOnce / 2;
    Outbox outbox;
    std::string whole;
    for (const auto size : {half, half - 1, half, 5 * half + 7}) {
        const std::string text(size, char('a' + whole.size() % 26));
        outbox.push("<head>", text);
        whole += "<head>" + text;
    }
    std::string sent;
    while (outbox.size() > 0) {
        const auto part = textOf(outbox);
        ASSERT_LE(part.size(), Outbox::mostAtOnce);
        ASSERT_TRUE(part.size() == Outbox::mostAtOnce || part.size() == outbox.size());
        sent += part;
        outbox.consume(part.size());
    }
    EXPECT_EQ(sent, whole);
}

TEST(OutboxTest, ShortAnswersStandTogetherInTheirPlaces) {
    Outbox outbox;
    std::string whole;
    for (int i = 0; i < 3000; ++i) {
        const auto text = std::to_string(i);
        if (i % 1000 == 500)
            outbox.push("n", notification(text));
        else
            outbox.push("a", text);
        whole += (i % 1000 == 500 ? "n" : "a") + text;
    }
    EXPECT_EQ(textOf(outbox), whole);
    EXPECT_LT(outbox.getCost().all(), 2 * whole.size());
}

TEST(OutboxTest, WhatAWriteRefersToIsNotWidened) {
    Outbox outbox;
    outbox.push("<1>", std::string("one"));
    const auto gathered = outbox.gather();
    const auto* bytes = static_cast<const char*>(gathered.front().data());
    outbox.push("<2>", std::string("two"));
    outbox.dropUnsent();
    EXPECT_EQ(std::string(bytes, gathered.front().size()), "<1>one");
    EXPECT_EQ(textOf(outbox), "<1>one");
}

TEST(OutboxTest, DroppingKeepsAChunkThatIsPartlySent) {
    Outbox outbox;
    outbox.push("<1>", one);
    outbox.push("<2>", two);
    outbox.gather();
    outbox.consume(2);
    outbox.dropUnsent();
    EXPECT_EQ(outbox.size(), 1 + one.size());
    EXPECT_EQ(textOf(outbox), ">" + one);
}

TEST(OutboxTest, DroppingKeepsWhatAWriteRefersTo) {
    Outbox outbox;
    outbox.push("<1>", one);
    outbox.gather();
    outbox.push("<2>", two);
    outbox.dropUnsent();
    EXPECT_EQ(textOf(outbox), "<1>" + one);
}

TEST(OutboxTest, DroppingTakesEverythingElse) {
    Outbox outbox;
    outbox.push("<1>", one);
    outbox.push("<2>", notification("two"));
    outbox.dropUnsent();
    EXPECT_EQ(outbox.size(), 0u);
    EXPECT_EQ(textOf(outbox), "");
    EXPECT_EQ(outbox.getCost().all(), 0u);
}

TEST(OutboxTest, LastNotificationIsWithdrawnUnlessItHasBegun) {
    Outbox outbox;
    const auto first = notification("first");
    const auto second = notification("second");
    const auto third = notification("third");
    outbox.push("<1>", first);
    outbox.gather();
    outbox.withdraw(*first);
    outbox.push("<2>", second);
    outbox.push("<3>", std::string("answer"));
    outbox.withdraw(*second);
    outbox.push("<4>", third);
    outbox.withdraw(*second);
    EXPECT_EQ(textOf(outbox), "<1>first<2>second<3>answer<4>third");
    outbox.consume(0);
    outbox.withdraw(*third);
    EXPECT_EQ(textOf(outbox), "<1>first<2>second<3>answer");
    EXPECT_EQ(outbox.size(), std::string("<1>first<2>second<3>answer").size());
    outbox.consume(outbox.size());
    EXPECT_EQ(outbox.getCost().all(), 0u);
}

// What it costs

TEST(OutboxTest, AnswerCostsWhatItHoldsAndWhatHoldsIt) {
    Outbox outbox;
    std::string roomy = one;
    roomy.reserve(100'000);
    outbox.push("<1>", std::move(roomy));
    EXPECT_GT(outbox.getCost().answers, 100'000u);
    EXPECT_LT(outbox.getCost().answers, 100'500u);
    outbox.gather();
    outbox.consume(1000);
    EXPECT_GT(outbox.getCost().answers, 100'000u); // it is kept whole
    outbox.consume(outbox.size());
    EXPECT_EQ(outbox.getCost().all(), 0u);
}

TEST(OutboxTest, NotificationCostsItsChunkAndATextThatOthersMayShare) {
    const auto before = RPCNotification::getCostOfAll();
    Outbox outbox;
    Outbox other;
    {
        const auto shared = notification(one);
        outbox.push("<1>", shared);
        other.push("<1>", shared);
    }
    EXPECT_EQ(outbox.getCost().answers, 0u);
    EXPECT_GT(outbox.getCost().notifications, 0u);
    EXPECT_LT(outbox.getCost().notifications, 100u);
    EXPECT_GE(outbox.getCost().texts, one.size());
    EXPECT_EQ(RPCNotification::getCostOfAll() - before, outbox.getCost().texts); // once
    outbox.clear();
    EXPECT_EQ(outbox.getCost().all(), 0u);
    EXPECT_EQ(RPCNotification::getCostOfAll() - before, other.getCost().texts);
    other.clear();
    EXPECT_EQ(RPCNotification::getCostOfAll(), before);
}

TEST(OutboxTest, PongsCostLittleMoreThanTheirBytes) {
    Outbox outbox;
    for (int i = 0; i < 100'000; ++i)
        outbox.push("\x8a\x01", std::string());
    EXPECT_EQ(outbox.size(), 200'000u);
    EXPECT_LT(outbox.getCost().all(), 2 * outbox.size());
}

} // namespace
} // namespace Ostrel
