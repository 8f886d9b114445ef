#pragma once

#include "TV/server/dummy/world/World.h"

#include <cstdint>
#include <span>

namespace Ostrel::TV {

/// Between UTC and what clocks of a time zone show, which is counted as if it were UTC, too.
class ZoneClock {
public:
    /// @param offsets  at least one; they must stay where they are
    explicit ZoneClock(std::span<const ZoneOffset> offsets) : offsets_(offsets) {}

    std::int64_t toLocal(std::int64_t utc) const;

    /// The first moment at which clocks show that time or a later one: of an hour that they show
    /// twice the first, and the end of an hour that they leave out.
    std::int64_t toUtc(std::int64_t local) const;

private:
    std::span<const ZoneOffset> offsets_;
};

} // namespace Ostrel::TV
