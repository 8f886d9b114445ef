#include "TV/server/dummy/guide/NowNext.h"

#include "TV/server/dummy/guide/Guide.h"

#include <algorithm>

namespace Ostrel::TV {

// The events of a service do not overlap (the build sees to it), so that of those that have
// started the last one alone can still be on air.
NowNext findNowNext(const Guide& guide, unsigned serviceId, std::int64_t time) {
    const StartTimeIndex& index = guide.index();
    const auto positions = index.positionsOf(serviceId);
    const auto behind = std::partition_point(positions.begin(), positions.end(), [&](std::uint32_t position) {
        return index.columns().starts[position] <= time;
    });
    NowNext found;
    // What comes up is not looked for then.
    // Meant so: docs/oddities.md, "No next without a now".
    if (behind == positions.begin() || index.columns().ends[behind[-1]] <= time)
        return found;
    found.now = index[behind[-1]];
    if (behind != positions.end() && index.columns().starts[*behind] == found.now->End)
        found.next = index[*behind];
    return found;
}

} // namespace Ostrel::TV
