#include "TV/server/dummy/guide/Guide.h"

#include "tests/TV/server/dummy/GuideFixture.h"

using namespace Ostrel::TV;

using GuideTest = GuideFixture;

TEST_F(GuideTest, KnowsItsBounds) {
    EXPECT_EQ(guide().earliestStart(), 1318366800); // 2011-10-11 21:00 UTC
    EXPECT_EQ(guide().latestEnd(), 1319130000); // 2011-10-20 17:00 UTC
}

TEST_F(GuideTest, IsEmptyAtFirst) {
    const Guide empty;
    EXPECT_EQ(empty.index().size(), 0u);
    EXPECT_TRUE(empty.genres().empty());
    EXPECT_EQ(empty.earliestStart(), 0);
    EXPECT_EQ(empty.latestEnd(), 0);
}
