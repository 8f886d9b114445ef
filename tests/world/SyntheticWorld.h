#pragma once

#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/data/WorldRules.h"
#include "TV/server/dummy/world/ZoneClock.h"
#include "world/Synthetic.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::TV::Tool {

/// A world as it was wished for. It must keep every rule.
class SyntheticWorld {
public:
    explicit SyntheticWorld(const SyntheticWish& wish) : file_(make(wish)) {
        WorldProblems problems;
        checkWorld(world(), WorldPlaces::names(world()), problems);
        EXPECT_EQ(problems.text(), "");
        for (const epgentry& row : world().rows)
            events_[row.DvbSid].push_back(&row);
        for (auto& [service, rows] : events_)
            std::sort(rows.begin(), rows.end(), compareStartTimes());
    }

    World world() const { return file_.world(); }
    std::string_view bytes() const { return {file_.bytes().data(), file_.bytes().size()}; }
    ZoneClock clock() const { return ZoneClock(world().zoneOffsets); }

    std::string text(PoolText given) const {
        const char* const found = world().text(given);
        return found ? found : "";
    }
    std::string title(const epgentry& row) const { return text(row.Title); }
    std::string name(const LineupRow& row) const { return text(row.name); }

    /// In the order of time.
    const std::vector<const epgentry*>& eventsOf(const LineupRow& service) const {
        static const std::vector<const epgentry*> none;
        const auto found = events_.find(service.dvbServiceId);
        return found == events_.end() ? none : found->second;
    }

    /// Null when there is none.
    const LineupRow* findService(const std::string& called) const {
        const auto rows = world().lineup;
        const auto found =
            std::find_if(rows.begin(), rows.end(), [&](const LineupRow& row) { return name(row) == called; });
        return found == rows.end() ? nullptr : &*found;
    }

    /// Those of a kind stand from a hundred to the next, as long as none has more.
    std::vector<const LineupRow*> servicesOfHundred(int hundred) const {
        std::vector<const LineupRow*> found;
        for (const LineupRow& row : world().lineup)
            if ((row.channelNumber - 1) / 100 == hundred)
                found.push_back(&row);
        return found;
    }

private:
    static WorldFile make(const SyntheticWish& wish) {
        WorldWriter writer;
        inventWorld(wish, writer, [](std::size_t) {});
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> image(std::tmpfile(), std::fclose);
        writer.write(image.get());
        return WorldFile(image.get());
    }

    const WorldFile file_;
    std::map<std::uint32_t, std::vector<const epgentry*>> events_; ///< by DVB service id
};

} // namespace Ostrel::TV::Tool
