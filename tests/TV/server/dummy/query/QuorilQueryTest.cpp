#include "TV/server/dummy/query/QuorilQuery.h"

#include "tests/TV/server/dummy/GuideFixture.h"

#include <algorithm>
#include <limits>

using namespace Ostrel::TV;

namespace {

constexpr unsigned noLimit = std::numeric_limits<unsigned>::max();

class QuorilQueryTest : public GuideFixture {
protected:
    static std::vector<const epgentry*> run(const std::string& expression, unsigned base = 0,
                                            unsigned limit = noLimit) {
        QuorilQuery query;
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
    QuorilQuery query;
    EXPECT_FALSE(query.init("ServiceId == \"1000\"", 0, noLimit));
    EXPECT_EQ(query.next(), nullptr);
}

TEST_F(QuorilQueryTest, NothingComesWithoutInit) {
    QuorilQuery query;
    EXPECT_EQ(query.next(), nullptr);
    EXPECT_EQ(query.count(), 0u);
}

TEST_F(QuorilQueryTest, ARefusedTextLeavesTheQueryAsItWas) {
    QuorilQuery query;
    ASSERT_TRUE(query.init("ServiceId == 1000", 0, noLimit));
    const epgentry* first = query.next();
    ASSERT_NE(first, nullptr);
    EXPECT_FALSE(query.init("ServiceId ==", 0, 0));
    const epgentry* second = query.next();
    ASSERT_NE(second, nullptr);
    EXPECT_LT(first->Start, second->Start);
}

using StartTimeIndexTest = GuideFixture;

TEST_F(StartTimeIndexTest, HoldsEveryRowOnceInOrder) {
    ASSERT_EQ(startTimeIndex.size(), 11658u);
    std::set<const epgentry*> seen;
    for (std::size_t position = 0; position != startTimeIndex.size(); ++position) {
        const epgentry* row = startTimeIndex[position];
        seen.insert(row);
        EXPECT_EQ(startTimeIndex.serviceIds()[position], row->ServiceId);
        EXPECT_EQ(startTimeIndex.starts()[position], row->Start);
        EXPECT_EQ(startTimeIndex.ends()[position], row->End);
        if (position == 0)
            continue;
        const epgentry* before = startTimeIndex[position - 1];
        EXPECT_LE(before->Start, row->Start);
        if (before->Start == row->Start) {
            EXPECT_LT(before->ServiceId, row->ServiceId);
        }
    }
    EXPECT_EQ(seen.size(), 11658u);
    EXPECT_EQ(*seen.begin(), &guideRows().front());
}

TEST_F(StartTimeIndexTest, ASecondGuideIsASecondCopy) {
    startTimeIndex.addGuide();
    ASSERT_EQ(startTimeIndex.size(), 2 * 11658u);
    for (std::size_t position = 0; position != startTimeIndex.size(); position += 2)
        EXPECT_EQ(startTimeIndex[position], startTimeIndex[position + 1]);
}

TEST_F(StartTimeIndexTest, KnowsTheRowsOfAService) {
    std::size_t rows = 0;
    for (int id = 990; id != 1100; ++id) {
        const auto positions = startTimeIndex.positionsOf(id);
        EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end()));
        for (const auto position : positions)
            EXPECT_EQ(startTimeIndex[position]->ServiceId, id);
        rows += positions.size();
    }
    EXPECT_EQ(rows, 11658u);
    EXPECT_TRUE(startTimeIndex.positionsOf(1085).empty());
    EXPECT_TRUE(startTimeIndex.positionsOf(-1).empty());
    EXPECT_TRUE(startTimeIndex.positionsOf(4294968296).empty());
}

TEST_F(StartTimeIndexTest, FindsTheFirstStart) {
    EXPECT_EQ(startTimeIndex.firstFrom(0), 0u);
    EXPECT_EQ(startTimeIndex.firstFrom(1318366800), 0u);
    EXPECT_GT(startTimeIndex.firstFrom(1318366801), 0u);
    EXPECT_EQ(startTimeIndex.firstFrom(4294967295u), 11658u);
}
