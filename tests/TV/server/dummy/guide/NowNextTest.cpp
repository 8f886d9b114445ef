#include "TV/server/dummy/guide/NowNext.h"

#include "TV/server/dummy/world/ChosenWorld.h"
#include "tests/TV/server/dummy/AnyWorld.h"

using namespace Ostrel::TV;

using NowNextTest = GuideFixture;

using NowNextOfAnyWorldTest = AnyWorld;
OSTREL_TEST_ANY_WORLD(NowNextOfAnyWorldTest);

TEST_P(NowNextOfAnyWorldTest, FindsWhatAWalkOfTheTableFinds) {
    unsigned none = 0, alone = 0, both = 0;
    for (int service = 998; service != 1090; ++service) {
        for (std::int64_t time = 1318366000; time < 1319140000; time += 17771) {
            const epgentry *now = nullptr, *next = nullptr;
            for (const epgentry& row : guideRows())
                if (!now && row.ServiceId == service && row.Start <= time && time < row.End)
                    now = &row;
            if (now)
                for (const epgentry& row : guideRows())
                    if (!next && row.ServiceId == service && row.Start == now->End)
                        next = &row;
            const NowNext found = findNowNext(guide(), static_cast<unsigned>(service), time);
            ASSERT_EQ(found.now, now) << service << " at " << time;
            ASSERT_EQ(found.next, next) << service << " at " << time;
            ++(!now ? none : !next ? alone : both);
        }
    }
    EXPECT_GT(none, 0u);
    EXPECT_GT(alone, 0u);
    EXPECT_GT(both, 0u);
}

TEST_F(NowNextTest, AnEventStartsAtItsStartAndIsOverAtItsEnd) {
    const epgentry& row = guideRows()[10];
    const auto service = static_cast<unsigned>(row.ServiceId);
    EXPECT_EQ(findNowNext(guide(), service, row.Start).now, &row);
    EXPECT_EQ(findNowNext(guide(), service, row.End - 1).now, &row);
    EXPECT_NE(findNowNext(guide(), service, row.End).now, &row);
    EXPECT_NE(findNowNext(guide(), service, row.Start - 1).now, &row);
}

TEST_F(NowNextTest, AnEmptyGuideHasNeither) {
    EXPECT_EQ(findNowNext(Guide(), 1043, 1318748400).now, nullptr);
}

TEST_F(NowNextTest, NoTimeIsTooFar) {
    for (const std::int64_t time : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1} << 40})
        EXPECT_EQ(findNowNext(guide(), 1043, time).now, nullptr);
    EXPECT_EQ(findNowNext(guide(), 0, 1318748400).now, nullptr);
    EXPECT_EQ(findNowNext(guide(), 4294967295u, 1318748400).now, nullptr);
}
