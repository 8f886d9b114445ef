#include "TV/server/dummy/query/QuorilQuery.h"

#include "tests/TV/server/dummy/AnyWorld.h"
#include "tests/TV/server/dummy/quoril/RandomTree.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>

using namespace Ostrel::TV;

namespace {

constexpr unsigned noLimit = std::numeric_limits<unsigned>::max();

class QuorilQueryTest : public GuideFixture {
protected:
    static std::vector<const epgentry*> run(const std::string& expression, unsigned base = 0,
                                            unsigned limit = noLimit) {
        QuorilQuery query(guide());
        EXPECT_TRUE(query.init(expression, base, limit)) << expression;
        std::vector<const epgentry*> rows;
        while (const epgentry* row = query.next())
            rows.push_back(row);
        EXPECT_EQ(query.next(), nullptr);
        EXPECT_EQ(query.count(), rows.size());
        EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end(), compareStartTimes()));
        return rows;
    }

    /// What the condition says, found by looking at every row.
    static void expectRows(const std::string& expression,
                           const std::function<bool(const epgentry&)>& condition, unsigned base = 0,
                           unsigned limit = noLimit) {
        auto found = run(expression, base, limit);
        const auto wanted = rowsWith([&](const epgentry& row) {
            const auto start = static_cast<unsigned>(row.Start);
            return condition(row) && start >= base && start < limit;
        });
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, wanted) << expression;
    }
};

constexpr auto every = [](const epgentry&) { return true; };

} // namespace

TEST_F(QuorilQueryTest, TheEmptyExpressionGivesEveryRow) {
    EXPECT_EQ(run("").size(), 11658u);
    expectRows("", every);
    expectRows("  ", every);
}

TEST_F(QuorilQueryTest, ExpressionsSelectRows) {
    expectRows("ServiceId == 1000", [](const epgentry& row) { return row.ServiceId == 1000; });
    expectRows("1000 == ServiceId", [](const epgentry& row) { return row.ServiceId == 1000; });
    expectRows("ServiceId in (1043, 1000, 1043)",
               [](const epgentry& row) { return row.ServiceId == 1000 || row.ServiceId == 1043; });
    expectRows("Start < End", every);
    expectRows("1 < 2", every);
    expectRows("Start < End && Start >= 1318700000",
               [](const epgentry& row) { return row.Start >= 1318700000; });
    expectRows("End > 1318700000 && Start < 1318710000",
               [](const epgentry& row) { return row.End > 1318700000 && row.Start < 1318710000; });
    expectRows("(ServiceId in (1000, 1001)) && End > 1318615200", [](const epgentry& row) {
        return (row.ServiceId == 1000 || row.ServiceId == 1001) && row.End > 1318615200;
    });
    expectRows("ServiceId == 1000 || ServiceId == 1043 && Start > 1318700000", [](const epgentry& row) {
        return row.ServiceId == 1000 || (row.ServiceId == 1043 && row.Start > 1318700000);
    });
    expectRows("ServiceId == 1000 || Start > 1318700000",
               [](const epgentry& row) { return row.ServiceId == 1000 || row.Start > 1318700000; });
    expectRows("ServiceId == 1000 && ServiceId in (1000, 1043)",
               [](const epgentry& row) { return row.ServiceId == 1000; });
    expectRows("ServiceId > 1080", [](const epgentry& row) { return row.ServiceId > 1080; });
}

TEST_F(QuorilQueryTest, SomeExpressionsSelectNothing) {
    for (const char* nothing :
         {"Title == 5", "servicEid == 1000", "ServiceId == 5", "ServiceId == -5", "2 < 1",
          "ServiceId == 1000 && ServiceId == 1043", "ServiceId in (1000) && Title == 5",
          "ServiceId == 4294968296", "Title == 5 || 1 == 1", "Start == 5000000000", "Start < -5000000000"})
        EXPECT_TRUE(run(nothing).empty()) << nothing;
}

TEST_F(QuorilQueryTest, WindowsAreOfStarts) {
    const unsigned middle = 1318748400;
    expectRows("", every, middle, noLimit);
    expectRows("", every, 0, middle);
    expectRows("", every, middle, middle + 1);
    expectRows("", every, middle + 1, middle + 3600);
    expectRows(
        "ServiceId == 1043", [](const epgentry& row) { return row.ServiceId == 1043; }, middle,
        middle + 36000);
    expectRows("Start > 0", every, middle - 17, middle + 1234);
    EXPECT_FALSE(run("", middle, middle + 1).empty()); // a row starts there
}

TEST_F(QuorilQueryTest, EmptyWindowsGiveNothing) {
    EXPECT_TRUE(run("", 100, 100).empty());
    EXPECT_TRUE(run("", 0, 0).empty());
    EXPECT_TRUE(run("", 1318748400, 1318748400).empty());
    EXPECT_TRUE(run("", 1318748401, 1318748400).empty());
    EXPECT_TRUE(run("ServiceId == 1043", 1318788401, 1318748400).empty());
    EXPECT_TRUE(run("", noLimit, noLimit).empty());
}

TEST_F(QuorilQueryTest, RefusesWhatDoesNotParse) {
    QuorilQuery query(guide());
    EXPECT_FALSE(query.init("ServiceId == \"1000\"", 0, noLimit));
    EXPECT_EQ(query.next(), nullptr);
}

TEST_F(QuorilQueryTest, AsksTheGuideThatItIsGiven) {
    const Guide none;
    for (const char* text : {"", "ServiceId == 1000", "Start > 0"}) {
        QuorilQuery query(none);
        EXPECT_TRUE(query.init(text, 0, noLimit));
        EXPECT_EQ(query.next(), nullptr);
    }
}

TEST_F(QuorilQueryTest, NothingComesWithoutInit) {
    QuorilQuery query(guide());
    EXPECT_EQ(query.next(), nullptr);
    EXPECT_EQ(query.count(), 0u);
}

TEST_F(QuorilQueryTest, ARefusedTextLeavesTheQueryAsItWas) {
    QuorilQuery query(guide());
    ASSERT_TRUE(query.init("ServiceId == 1000", 0, noLimit));
    const epgentry* first = query.next();
    ASSERT_NE(first, nullptr);
    EXPECT_FALSE(query.init("ServiceId ==", 0, 0));
    const epgentry* second = query.next();
    ASSERT_NE(second, nullptr);
    EXPECT_LT(first->Start, second->Start);
}

TEST_F(QuorilQueryTest, RowsThatAreLeftOutNoLongerCome) {
    QuorilQuery query(guide());
    ASSERT_TRUE(query.init("", 0, noLimit));
    for (std::uint32_t position = 0; position != 70; ++position)
        ASSERT_EQ(query.nextPosition(), position);
    query.narrow([](std::span<std::uint64_t> rows, std::size_t) {
        for (std::uint64_t& word : rows)
            word &= 0x5555555555555555; // every second one
    });
    EXPECT_EQ(query.count(), 11658u / 2);
    EXPECT_TRUE(query.matches(2));
    EXPECT_FALSE(query.matches(3));
    for (std::uint32_t position = 70; position < 11658; position += 2)
        ASSERT_EQ(query.nextPosition(), position);
    EXPECT_EQ(query.nextPosition(), std::nullopt);
    query.narrow([](std::span<std::uint64_t>, std::size_t) {});
    EXPECT_EQ(query.nextPosition(), std::nullopt);
}

using RandomQuorilQueryTest = AnyWorld;
OSTREL_TEST_ANY_WORLD(RandomQuorilQueryTest);

TEST_P(RandomQuorilQueryTest, ExpressionsSelectWhatAPlainEvaluatorSays) {
    Gardener gardener(1043);
    unsigned restricted = 0, selected = 0;
    for (unsigned round = 0; round != 400; ++round) {
        const auto tree = gardener.grow(2);
        const auto text = tree->print();
        Expression expression;
        if (!expression.parse(text))
            continue;
        restricted += expression.filter() && expression.filter()->services();
        const auto base = 1318366800 + gardener.below(300000), limit = base + gardener.below(400000);
        QuorilQuery query(guide());
        ASSERT_TRUE(query.init(text, base, limit));
        for (std::uint32_t position = 0; position != index().size(); ++position) {
            const epgentry& row = *index()[position];
            const auto start = static_cast<unsigned>(row.Start);
            long long truth = 0;
            const bool wanted = start >= base && start < limit && tree->evaluate(row, truth) && truth;
            ASSERT_EQ(query.matches(position), wanted) << text << " at " << position;
            selected += wanted;
        }
    }
    EXPECT_GT(restricted, 10u);
    EXPECT_GT(selected, 10000u);
}
