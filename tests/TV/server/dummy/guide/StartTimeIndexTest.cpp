#include "TV/server/dummy/guide/StartTimeIndex.h"

#include "TV/server/dummy/world/ChosenWorld.h"
#include "tests/TV/server/dummy/AnyWorld.h"

#include <algorithm>
#include <utility>

using namespace Ostrel::TV;

using StartTimeIndexTest = AnyWorld;
OSTREL_TEST_ANY_WORLD(StartTimeIndexTest);

TEST_P(StartTimeIndexTest, HoldsEveryRowOnceInOrder) {
    ASSERT_EQ(index().size(), guideRows().size());
    std::set<const epgentry*> seen;
    for (std::size_t position = 0; position != index().size(); ++position) {
        const epgentry* row = index()[position];
        seen.insert(row);
        EXPECT_EQ(index().columns().serviceIds[position], row->ServiceId);
        EXPECT_EQ(index().columns().starts[position], row->Start);
        EXPECT_EQ(index().columns().ends[position], row->End);
        if (position == 0)
            continue;
        const epgentry* before = index()[position - 1];
        EXPECT_LE(before->Start, row->Start);
        if (before->Start == row->Start) {
            EXPECT_LT(before->ServiceId, row->ServiceId);
        }
    }
    EXPECT_EQ(seen.size(), guideRows().size());
    EXPECT_EQ(*seen.begin(), &guideRows().front());
}

TEST_P(StartTimeIndexTest, ASecondGuideIsASecondCopy) {
    StartTimeIndex index;
    index.addGuide();
    index.addGuide();
    ASSERT_EQ(index.size(), 2 * guideRows().size());
    for (std::size_t position = 0; position != index.size(); position += 2)
        EXPECT_EQ(index[position], index[position + 1]);
}

TEST_P(StartTimeIndexTest, KnowsTheRowsOfAService) {
    std::size_t rows = 0;
    for (int id = 990; id != 1100; ++id) {
        const auto positions = index().positionsOf(id);
        EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end()));
        for (const auto position : positions)
            EXPECT_EQ(index()[position]->ServiceId, id);
        rows += positions.size();
    }
    EXPECT_EQ(rows, guideRows().size());
    EXPECT_TRUE(index().positionsOf(1085).empty());
    EXPECT_TRUE(index().positionsOf(-1).empty());
    EXPECT_TRUE(index().positionsOf(4294968296).empty());
}

TEST_P(StartTimeIndexTest, HasItsColumnsInTheOrderOfTheServicesToo) {
    const auto& columns = index().columnsByService();
    const auto positions = index().byService();
    ASSERT_EQ(positions.size(), guideRows().size());
    for (std::size_t i = 0; i != positions.size(); ++i) {
        const epgentry& row = *index()[positions[i]];
        EXPECT_EQ(columns.serviceIds[i], row.ServiceId);
        EXPECT_EQ(columns.starts[i], row.Start);
        EXPECT_EQ(columns.ends[i], row.End);
        if (i != 0) {
            EXPECT_LT(std::pair(columns.serviceIds[i - 1], columns.starts[i - 1]),
                      std::pair(row.ServiceId, row.Start));
        }
    }
}

TEST_P(StartTimeIndexTest, ColumnsAreABlockLonger) {
    for (std::size_t i = index().size(); i != index().size() + StartTimeIndex::blockRows; ++i)
        for (const auto* columns : {&index().columns(), &index().columnsByService()}) {
            EXPECT_EQ(columns->serviceIds[i], 0);
            EXPECT_EQ(columns->starts[i], 0);
            EXPECT_EQ(columns->ends[i], 0);
        }
}

TEST_P(StartTimeIndexTest, FindsTheFirstStart) {
    EXPECT_EQ(index().firstFrom(0), 0u);
    const auto first = static_cast<std::uint32_t>(index().columns().starts[0]);
    EXPECT_EQ(index().firstFrom(first), 0u);
    EXPECT_GT(index().firstFrom(first + 1), 0u);
    EXPECT_EQ(index().firstFrom(4294967295u), guideRows().size());
}
