#include "TV/server/dummy/guide/ZoneClock.h"

#include <algorithm>
#include <cstddef>

namespace Ostrel::TV {

std::int64_t ZoneClock::toLocal(std::int64_t utc) const {
    const auto later =
        std::upper_bound(offsets_.begin() + 1, offsets_.end(), utc,
                         [](std::int64_t time, const ZoneOffset& offset) { return time < offset.from; });
    return utc + later[-1].seconds;
}

std::int64_t ZoneClock::toUtc(std::int64_t local) const {
    std::int64_t utc = local - offsets_.front().seconds;
    for (std::size_t i = 1; i != offsets_.size() && utc >= offsets_[i].from; ++i)
        utc = std::max<std::int64_t>(local - offsets_[i].seconds, offsets_[i].from);
    return utc;
}

} // namespace Ostrel::TV
