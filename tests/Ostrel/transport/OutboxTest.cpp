#include "Ostrel/transport/Outbox.h"

#include <gtest/gtest.h>

namespace Ostrel {
namespace {

std::string textOf(Outbox& outbox) {
    std::string text;
    for (const auto& buffer : outbox.gather())
        text.append(static_cast<const char*>(buffer.data()), buffer.size());
    return text;
}

TEST(OutboxTest, GathersAllThatWaits) {
    Outbox outbox;
    outbox.push("<1>", std::string("one"));
    outbox.push("<2>", std::make_shared<const std::string>("two"));
    EXPECT_EQ(outbox.size(), 12u);
    EXPECT_EQ(textOf(outbox), "<1>one<2>two");
}

TEST(OutboxTest, GoesOnWhereAWriteStopped) {
    const std::string whole = "<1>one<2>two";
    for (std::size_t sent = 0; sent <= whole.size(); ++sent) {
        Outbox outbox;
        outbox.push("<1>", std::string("one"));
        outbox.push("<2>", std::make_shared<const std::string>("two"));
        outbox.gather();
        outbox.consume(sent);
        EXPECT_EQ(textOf(outbox), whole.substr(sent)) << sent;
        EXPECT_EQ(outbox.size(), whole.size() - sent);
    }
}

TEST(OutboxTest, ManyChunksGoOutInSeveralWrites) {
    Outbox outbox;
    std::string whole;
    for (int i = 0; i < 200; ++i) {
        outbox.push("h", std::to_string(i));
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

TEST(OutboxTest, DroppingKeepsAChunkThatIsPartlySent) {
    Outbox outbox;
    outbox.push("<1>", std::string("one"));
    outbox.push("<2>", std::string("two"));
    outbox.gather();
    outbox.consume(2);
    outbox.dropUnsent();
    EXPECT_EQ(outbox.size(), 4u);
    EXPECT_EQ(textOf(outbox), ">one");
}

TEST(OutboxTest, DroppingKeepsWhatAWriteRefersTo) {
    Outbox outbox;
    outbox.push("<1>", std::string("one"));
    outbox.gather();
    outbox.push("<2>", std::string("two"));
    outbox.dropUnsent();
    EXPECT_EQ(textOf(outbox), "<1>one");
}

TEST(OutboxTest, DroppingTakesEverythingElse) {
    Outbox outbox;
    outbox.push("<1>", std::string("one"));
    outbox.dropUnsent();
    EXPECT_EQ(outbox.size(), 0u);
    EXPECT_EQ(textOf(outbox), "");
}

} // namespace
} // namespace Ostrel
