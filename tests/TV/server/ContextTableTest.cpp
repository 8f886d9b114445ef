#include "TV/server/ContextTable.h"

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/runtime/Metric.h"
#include "Ostrel/runtime/MetricsText.h"
#include "Ostrel/runtime/Turn.h"
#include "tests/TV/server/FakeModule.h"
#include "tests/support/Scrape.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

using namespace Ostrel;
using namespace Ostrel::TV;
using namespace std::chrono_literals;

namespace {

double read(const char* series) {
    MetricsText text;
    Metric::writeAll(text);
    return Test::readSeries(text.take()).at(series);
}

class ContextTableTest : public testing::Test {
protected:
    std::uint32_t add(const std::shared_ptr<RPCPeer>& peer = nullptr) {
        return table.add([this] { return &context; }, peer);
    }

    std::vector<std::uint32_t> abandoned() {
        std::vector<std::uint32_t> identifiers;
        for (const auto& each : table.findAbandoned())
            identifiers.push_back(each.identifier);
        return identifiers;
    }

    FakeModule module;
    FakeContext context{module};
    std::uint32_t next = 1;
    ContextTable::TimePoint now{1000h};
    ContextTable table{[this] { return now; }, [this] { return next++; }};
};

TEST_F(ContextTableTest, FindsWhatWasAdded) {
    const auto identifier = add();
    const auto pin = table.pin(identifier);
    ASSERT_TRUE(pin);
    EXPECT_EQ(&*pin, &context);
}

TEST_F(ContextTableTest, RefusesZeroAndStrangers) {
    const auto identifier = add();
    EXPECT_FALSE(table.pin(0));
    EXPECT_FALSE(table.pin(identifier + 1));
    EXPECT_EQ(table.remove(0), nullptr);
    EXPECT_EQ(table.remove(identifier + 1), nullptr);
}

TEST_F(ContextTableTest, RemovedContextIsGone) {
    const auto identifier = add();
    EXPECT_EQ(table.remove(identifier), &context);
    EXPECT_FALSE(table.pin(identifier));
    EXPECT_EQ(table.remove(identifier), nullptr);
    EXPECT_TRUE(table.getIdentifiers().empty());
}

TEST_F(ContextTableTest, SkipsZeroAndTakenNumbers) {
    std::vector<std::uint32_t> numbers{7, 0, 5, 5, 0};
    ContextTable drawing{[this] { return now; },
                         [&] {
                             const auto number = numbers.back();
                             numbers.pop_back();
                             return number;
                         }};
    const auto make = [this] { return &context; };
    EXPECT_EQ(drawing.add(make, nullptr), 5u);
    EXPECT_EQ(drawing.add(make, nullptr), 7u);
}

TEST_F(ContextTableTest, DrawsFromTheSystem) {
    const auto first = ContextTable::systemRandom();
    EXPECT_FALSE(first == ContextTable::systemRandom() && first == ContextTable::systemRandom());
}

TEST_F(ContextTableTest, ContextIsUnknownWhileItIsMade) {
    const auto identifier = table.add(
        [this] {
            EXPECT_FALSE(table.pin(1));
            EXPECT_EQ(table.remove(1), nullptr);
            return &context;
        },
        nullptr);
    EXPECT_EQ(identifier, 1u);
    EXPECT_TRUE(table.pin(1));
}

TEST_F(ContextTableTest, FailedMakingLeavesNothing) {
    EXPECT_THROW(table.add([]() -> TVModuleContext* { throw std::runtime_error("no"); }, nullptr),
                 std::runtime_error);
    EXPECT_EQ(table.add([] { return nullptr; }, nullptr), 0u);
    EXPECT_TRUE(table.getIdentifiers().empty());
    EXPECT_EQ(read("ostrel_contexts"), 0);
}

TEST_F(ContextTableTest, MetricsCountThoseThatAreAlive) {
    {
        ContextTable other;
        other.add([this] { return &context; }, nullptr);
        add();
        const auto removed = add();
        EXPECT_EQ(read("ostrel_contexts"), 3);
        table.remove(removed);
        table.remove(removed);
        EXPECT_EQ(read("ostrel_contexts"), 2);
    }
    EXPECT_EQ(read("ostrel_contexts"), 1); // a table takes along what was left in it
}

TEST_F(ContextTableTest, HoldsAsManyAsTheLimit) {
    const auto* refusals = R"(ostrel_refusals_total{reason="contexts"})";
    const auto refusedBefore = read(refusals);
    for (std::size_t count = 0; count < 65536; ++count)
        add();

    bool made = false;
    const auto addOneMore = [&] { table.add([&] { return made = true, &context; }, nullptr); };
    try {
        addOneMore();
        FAIL() << "there was a place";
    } catch (const Exception& exception) {
        EXPECT_STREQ(exception.what(), "Out of memory");
    }
    EXPECT_FALSE(made);
    EXPECT_EQ(read("ostrel_contexts"), 65536);
    EXPECT_EQ(read(refusals) - refusedBefore, 1);

    table.remove(1);
    EXPECT_NO_THROW(addOneMore());
}

TEST_F(ContextTableTest, RemovalWaitsForThePinsOfOthers) {
    const auto identifier = add();
    std::optional<ContextTable::Pin> first(table.pin(identifier));
    std::optional<ContextTable::Pin> second(table.pin(identifier));
    std::atomic<bool> pinned = true;
    bool takenWhilePinned = false;
    std::thread taker([&] {
        EXPECT_EQ(table.remove(identifier), &context);
        takenWhilePinned = pinned;
    });

    while (table.pin(identifier))
        std::this_thread::yield();
    first.reset();
    for (int chance = 0; chance < 1000; ++chance)
        std::this_thread::yield();
    pinned = false;
    second.reset();

    taker.join();
    EXPECT_FALSE(takenWhilePinned);
}

TEST_F(ContextTableTest, OthersAreServedWhileOneIsRemoved) {
    const auto identifier = add();
    const auto other = add();
    std::optional<ContextTable::Pin> pin(table.pin(identifier));
    std::thread taker([&] { table.remove(identifier); });

    while (table.pin(identifier))
        std::this_thread::yield();
    EXPECT_TRUE(table.pin(other));
    EXPECT_EQ(table.remove(other), &context);
    EXPECT_NE(add(), 0u);

    pin.reset();
    taker.join();
}

TEST_F(ContextTableTest, TheTurnIsOthersWhileARemovalWaits) {
    const auto identifier = add();
    std::optional<ContextTable::Pin> pin(table.pin(identifier));
    std::thread taker([&] {
        const Turn::Hold turn;
        EXPECT_EQ(table.remove(identifier), &context);
    });

    while (table.pin(identifier))
        std::this_thread::yield();
    Turn::take(); // hangs where the removal keeps it
    Turn::give();
    pin.reset();
    taker.join();
}

TEST_F(ContextTableTest, MovedPinReleasesOnce) {
    const auto identifier = add();
    {
        auto pin = table.pin(identifier);
        const auto moved = std::move(pin);
        EXPECT_TRUE(moved);
    }
    EXPECT_EQ(table.remove(identifier), &context);
}

TEST_F(ContextTableTest, ContextIsAbandonedAfterTenMinutes) {
    auto peer = std::make_shared<RPCPeer>();
    const auto identifier = add(peer);
    peer.reset();

    now += 10min - 1ns;
    EXPECT_TRUE(abandoned().empty());
    now += 1ns;
    EXPECT_EQ(abandoned(), (std::vector{identifier}));
    EXPECT_EQ(table.findAbandoned().front().context, &context);
}

TEST_F(ContextTableTest, OpenConnectionKeepsItsContext) {
    const auto peer = std::make_shared<RPCPeer>();
    add(peer);
    now += 1000h;
    EXPECT_TRUE(abandoned().empty());
}

TEST_F(ContextTableTest, ContextMadeByNoConnectionIsAbandonedToo) {
    const auto identifier = add();
    now += 10min;
    EXPECT_EQ(abandoned(), (std::vector{identifier}));
}

TEST_F(ContextTableTest, UseKeepsAContext) {
    const auto identifier = add();
    now += 9min;
    EXPECT_TRUE(table.pin(identifier));
    now += 9min;
    EXPECT_TRUE(abandoned().empty());
    now += 1min;
    EXPECT_EQ(abandoned(), (std::vector{identifier}));
}

TEST_F(ContextTableTest, PinnedContextIsNotAbandoned) {
    const auto identifier = add();
    const auto pin = table.pin(identifier);
    now += 1000h;
    EXPECT_TRUE(abandoned().empty());
}

} // namespace
