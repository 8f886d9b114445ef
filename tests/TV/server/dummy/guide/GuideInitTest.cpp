// What init() makes of the guide: the index, the clock and the genres.

#include "TV/server/TVModuleContext.h"
#include "TV/server/dummy/DummyTVModule.h"
#include "TV/server/dummy/query/EventQuery.h"
#include "TV/server/dummy/world/ChosenWorld.h"
#include "tests/TV/server/dummy/BuiltInData.h"
#include "tests/support/FakeTime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

using namespace Ostrel;
using namespace Ostrel::TV;

namespace {

/// Has a variable in the environment, or has it away from there, and puts back what was there.
class Environment {
public:
    Environment(const char* name, const char* value) : name_(name) {
        if (const char* const before = std::getenv(name))
            before_ = before;
        set(value);
    }
    ~Environment() { set(before_ ? before_->c_str() : nullptr); }

    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

private:
    void set(const char* value) {
        if (value != nullptr)
            setenv(name_, value, 1);
        else
            unsetenv(name_);
        tzset();
    }

    const char* name_;
    std::optional<std::string> before_;
};

class GuideInitTest : public testing::Test {
protected:
    void TearDown() override { forgetBuiltInData(); }

    std::time_t utcTimeGet() {
        const auto destroy = [this](TVModuleContext* context) { module.deleteContext(context); };
        const std::unique_ptr<TVModuleContext, decltype(destroy)> context(module.createContext(), destroy);
        return context->utcTimeGet();
    }

    DummyTVModule module;
    const StartTimeIndex& index = sharedGuide().index();
    const VectorObject<ITVGuide::GenreStringMap>& genres = sharedGuide().genres();
};

std::vector<const epgentry*> rowsWith(const std::function<bool(const epgentry&)>& holds) {
    std::vector<const epgentry*> rows;
    for (const epgentry& row : guideRows())
        if (holds(row))
            rows.push_back(&row);
    return rows;
}

ITVGuide::EventInfo makeEvent(const epgentry& row) {
    VectorObject<ITVGuide::EventInfo> events;
    appendEvent(events, row);
    return events.at(0);
}

VectorObject<unsigned char> genresOf(int content) {
    epgentry row = guideRows().front();
    row.Content = content;
    return makeEvent(row).getGenres();
}

TEST_F(GuideInitTest, IndexIsEmptyBeforeIt) {
    EXPECT_EQ(index.size(), 0u);
    EXPECT_TRUE(genres.empty());
}

TEST_F(GuideInitTest, IndexHoldsEveryRowInTheOrderOfItsStart) {
    module.init();
    ASSERT_EQ(index.size(), 11658u);
    std::set<const epgentry*> rows;
    for (std::size_t position = 0; position != index.size(); ++position) {
        const epgentry* const row = index[position];
        rows.insert(row);
        EXPECT_GT(row->ServiceId, 0);
        if (position != 0) {
            EXPECT_FALSE(compareStartTimes()(row, index[position - 1])) << position;
        }
    }
    EXPECT_EQ(rows.size(), 11658u);
}

TEST(CompareStartTimesTest, LooksAtTheStartAlone) {
    epgentry early{}, late{};
    early.Start = -1; // signed: before 1970
    early.ServiceId = 2;
    late.Start = 1;
    late.ServiceId = 1;
    EXPECT_TRUE(compareStartTimes()(&early, &late));
    EXPECT_FALSE(compareStartTimes()(&late, &early));
    late.Start = early.Start;
    EXPECT_FALSE(compareStartTimes()(&early, &late));
    EXPECT_FALSE(compareStartTimes()(&late, &early));
}

TEST_F(GuideInitTest, WithoutAFakeClockItIsTheSystems) {
    const Environment environment("DUMMYFAKETIME", nullptr);
    FakeTime time(1700000000);
    module.init();
    EXPECT_EQ(module.timeOffset, 0);
    EXPECT_EQ(utcTimeGet(), 1700000000);
}

struct Zone {
    const char* name;
    const char* zone;
    std::time_t midday; ///< of 2011-10-16 there
};

class FakeClockZone : public GuideInitTest, public testing::WithParamInterface<Zone> {};

TEST_P(FakeClockZone, StartsAtMiddayOfTheMiddleDay) {
    const Environment environment("DUMMYFAKETIME", "1");
    const Environment zone("TZ", GetParam().zone);
    FakeTime time(1700000000);
    module.init();
    EXPECT_EQ(utcTimeGet(), GetParam().midday);
    time.advance(60);
    EXPECT_EQ(utcTimeGet(), GetParam().midday + 60);
}

INSTANTIATE_TEST_SUITE_P(Zones, FakeClockZone,
                         testing::Values(Zone{"Utc", "UTC", 1318766400}, // 12:00Z
                                         Zone{"London", "Europe/London", 1318762800}, // 11:00Z
                                         Zone{"NewYork", "America/New_York", 1318780800}, // 16:00Z
                                         Zone{"Tokyo", "Asia/Tokyo", 1318734000}, // 03:00Z
                                         // There 07:00Z is still the 15th.
                                         Zone{"Honolulu", "Pacific/Honolulu", 1318716000}), // 22:00Z
                         [](const auto& zone) { return zone.param.name; });

TEST_F(GuideInitTest, AnyValueTurnsTheClock) {
    const Environment zone("TZ", "UTC");
    const FakeTime time(1700000000);
    for (const char* const value : {"", "0", "off"}) {
        const Environment environment("DUMMYFAKETIME", value);
        module.init();
        EXPECT_EQ(utcTimeGet(), 1318766400) << value;
        forgetBuiltInData();
    }
}

TEST_F(GuideInitTest, ClockMovesWithTheSystemsAndLooksAtNothingElse) {
    std::optional<Environment> environment(std::in_place, "DUMMYFAKETIME", "1");
    std::optional<Environment> zone(std::in_place, "TZ", "UTC");
    FakeTime time(1700000000);
    module.init();
    environment.reset();
    zone.emplace("TZ", "Asia/Tokyo");
    EXPECT_EQ(utcTimeGet(), 1318766400);
    time.advance(-86400);
    EXPECT_EQ(utcTimeGet(), 1318766400 - 86400);
}

TEST_F(GuideInitTest, GenreListHoldsTheSeventyNineCodes) {
    module.init();
    ASSERT_EQ(genres.size(), 79u);
    EXPECT_TRUE(std::is_sorted(genres.begin(), genres.end(),
                               [](const auto& a, const auto& b) { return a.getCode() < b.getCode(); }));
    EXPECT_EQ(genres.front().serialize(), R"-({"code":16,"text":"movie/drama (general)"})-");
    EXPECT_EQ(genres.back().serialize(), R"({"code":179,"text":"live broadcast"})");
}

TEST_F(GuideInitTest, SixTo14) {
    module.init();
    const auto found =
        std::find_if(genres.begin(), genres.end(), [](const auto& genre) { return genre.getCode() == 0x52; });
    ASSERT_NE(found, genres.end());
    EXPECT_EQ(found->getText(), "entertainment programmes for 6 to14");
}

TEST_F(GuideInitTest, ClientsGetACopyOfTheGenreList) {
    module.init();
    TVModuleContext* const context = module.createContext();
    auto copy = context->getGenreStringMapList();
    EXPECT_EQ(copy.serialize(), genres.serialize());
    copy.clear();
    EXPECT_EQ(context->getGenreStringMapList().size(), 79u);
    module.deleteContext(context);
}

TEST(RowToEventTest, AGenreForEveryEvent) {
    EXPECT_EQ(genresOf(-1), (VectorObject<unsigned char>{255}));
    EXPECT_EQ(genresOf(0), (VectorObject<unsigned char>{0}));
    EXPECT_EQ(genresOf(0x1A3), (VectorObject<unsigned char>{0xA3}));
    const auto wide = rowsWith([](const epgentry& row) { return row.Content > 255; });
    EXPECT_EQ(wide.size(), 7u);
    for (const epgentry* const row : wide)
        EXPECT_EQ(makeEvent(*row).getGenres(),
                  (VectorObject<unsigned char>{static_cast<unsigned char>(row->Content & 0xFF)}));
}

TEST(RowToEventTest, CarriesItsRow) {
    const epgentry& row = guideRows().front();
    const auto event = makeEvent(row);
    EXPECT_EQ(event.getServiceId(), 1000u);
    EXPECT_EQ(event.getStartTime(), 1318614300);
    EXPECT_EQ(event.getEndTime(), 1318615200);
    EXPECT_EQ(event.getTitle(), static_cast<const char*>(row.Title));
    EXPECT_EQ(event.getDescription(), static_cast<const char*>(row.Description));
    EXPECT_TRUE(event.getHighDefinition());
    EXPECT_EQ(event.getExtra(), 0u);
    EXPECT_EQ(event.getGenres(), (VectorObject<unsigned char>{0x20}));
}

TEST(RowToEventTest, AbsentTextsAreEmpty) {
    const auto silent = rowsWith([](const epgentry& row) { return row.Description.offset == 0; });
    ASSERT_EQ(silent.size(), 1u);
    EXPECT_EQ(makeEvent(*silent.front()).getDescription(), "");
    epgentry row = guideRows().front();
    row.Title = {0};
    EXPECT_EQ(makeEvent(row).getTitle(), "");
}

} // namespace
