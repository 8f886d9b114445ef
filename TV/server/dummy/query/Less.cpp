#include "TV/server/dummy/query/Less.h"

#include <algorithm>

namespace Ostrel::TV {

bool Less::operator()(const ITVGuide::EventInfo& a, const ITVGuide::EventInfo& b) const {
    for (const std::int32_t key : keys_) {
        if (key == ServiceId) {
            if (a.getServiceId() != b.getServiceId())
                return a.getServiceId() < b.getServiceId();
        } else if (key == StartTime) {
            if (a.getStartTime() != b.getStartTime())
                return a.getStartTime() < b.getStartTime();
        } else {
            break;
        }
    }
    // Meant so: docs/oddities.md, "Less for equals".
    return true;
}

void sortEvents(VectorObject<ITVGuide::EventInfo>& events, const Less& less) {
    // Less is true for equals, and sorting wants an order that is not: a goes first where b must not.
    const auto isBefore = [&](const ITVGuide::EventInfo& a, const ITVGuide::EventInfo& b) {
        return !less(b, a);
    };
    if (!std::is_sorted(events.begin(), events.end(), isBefore))
        std::stable_sort(events.begin(), events.end(), isBefore);
}

} // namespace Ostrel::TV
