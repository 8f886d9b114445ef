#include "TV/server/dummy/query/Less.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using namespace Ostrel;
using namespace Ostrel::TV;

using EventInfo = ITVGuide::EventInfo;

namespace {

EventInfo makeEvent(unsigned serviceId, long start, const std::string& title = "") {
    return EventInfo(serviceId, start, start + 60, title, "", false, 0, VectorObject<unsigned char>{16});
}

} // namespace

TEST(LessTest, ComparesByItsKeys) {
    const std::vector<std::int32_t> keys{0, 1};
    const Less less(keys);
    EXPECT_TRUE(less(makeEvent(1, 9), makeEvent(2, 3)));
    EXPECT_FALSE(less(makeEvent(2, 3), makeEvent(1, 9)));
    EXPECT_TRUE(less(makeEvent(1, -3), makeEvent(1, 2)));
    EXPECT_FALSE(less(makeEvent(1, 2), makeEvent(1, -3)));
    EXPECT_TRUE(less(makeEvent(1, 2), makeEvent(4000000000u, 2)));
}

TEST(LessTest, LessForEquals) {
    const std::vector<std::int32_t> both{0, 1}, service{0}, none, unknown{7, 0}, late{0, 7, 1};
    EXPECT_TRUE(Less(both)(makeEvent(1, 2), makeEvent(1, 2)));
    EXPECT_TRUE(Less(service)(makeEvent(1, 9), makeEvent(1, 2)));
    EXPECT_TRUE(Less(none)(makeEvent(2, 9), makeEvent(1, 2)));
    EXPECT_TRUE(Less(unknown)(makeEvent(2, 9), makeEvent(1, 2)));
    EXPECT_TRUE(Less(late)(makeEvent(1, 9), makeEvent(1, 2)));
    EXPECT_FALSE(Less(late)(makeEvent(2, 2), makeEvent(1, 2)));
}

TEST(LessTest, KeepsOnlyAReferenceToItsKeys) {
    std::vector<std::int32_t> keys{0};
    const Less less(keys);
    EXPECT_FALSE(less(makeEvent(2, 1), makeEvent(1, 2)));
    keys = {1};
    EXPECT_TRUE(less(makeEvent(2, 1), makeEvent(1, 2)));
}

TEST(SortEventsTest, EqualsKeepTheirOrder) {
    const std::vector<std::int32_t> keys{0};
    for (const unsigned size : {0u, 1u, 2u, 3u, 7u, 64u, 65u, 1000u}) {
        std::mt19937 random(size);
        VectorObject<EventInfo> events;
        for (unsigned i = 0; i != size; ++i)
            events.push_back(makeEvent(static_cast<unsigned>(random() % 5), 0, std::to_string(i)));
        auto wanted = events;
        std::stable_sort(wanted.begin(), wanted.end(), [](const EventInfo& a, const EventInfo& b) {
            return a.getServiceId() < b.getServiceId();
        });
        sortEvents(events, Less(keys));
        ASSERT_EQ(events.size(), size);
        for (unsigned i = 0; i != size; ++i)
            EXPECT_EQ(events[i].serialize(), wanted[i].serialize());
    }
}

TEST(SortEventsTest, AllEqualStayWhereTheyAre) {
    const std::vector<std::int32_t> unknown{99};
    VectorObject<EventInfo> events;
    for (unsigned i = 0; i != 500; ++i)
        events.push_back(makeEvent(500 - i, 0, std::to_string(i)));
    sortEvents(events, Less(unknown));
    for (unsigned i = 0; i != 500; ++i)
        EXPECT_EQ(events[i].getTitle(), std::to_string(i));
}
