#pragma once

#include "TV/server/dummy/world/World.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Ostrel::TV {

/// Between UTC and what clocks of a time zone show, which is counted as if it were UTC, too.
class ZoneClock {
public:
    /// @param offsets  at least one; they must stay where they are
    explicit ZoneClock(std::span<const ZoneOffset> offsets) : offsets_(offsets) {}

    std::int64_t toLocal(std::int64_t utc) const {
        const auto later =
            std::upper_bound(offsets_.begin() + 1, offsets_.end(), utc,
                             [](std::int64_t time, const ZoneOffset& offset) { return time < offset.from; });
        return utc + later[-1].seconds;
    }

    /// The first moment at which clocks show that time or a later one: of an hour that they show
    /// twice the first, and the end of an hour that they leave out.
    std::int64_t toUtc(std::int64_t local) const {
        std::int64_t utc = local - offsets_.front().seconds;
        for (std::size_t i = 1; i != offsets_.size() && utc >= offsets_[i].from; ++i)
            utc = std::max<std::int64_t>(local - offsets_[i].seconds, offsets_[i].from);
        return utc;
    }

private:
    std::span<const ZoneOffset> offsets_;
};

} // namespace Ostrel::TV
