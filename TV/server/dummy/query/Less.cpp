#include "TV/server/dummy/query/Less.h"

#include <algorithm>
#include <cstddef>
#include <utility>

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

namespace {

bool inOrder(const VectorObject<ITVGuide::EventInfo>& events, const Less& less) {
    for (std::size_t i = 1; i < events.size(); ++i)
        if (!less(events[i - 1], events[i]))
            return false;
    return true;
}

} // namespace

// Merging asks of the left event whether it may come first. That question wants "true" for
// equals, and no answer whatsoever leads it out of the list.
void sortEvents(VectorObject<ITVGuide::EventInfo>& events, const Less& less) {
    if (inOrder(events, less))
        return;
    using Places = std::vector<std::uint32_t>;
    const std::size_t size = events.size();
    Places from(size), to(size);
    for (std::size_t i = 0; i != size; ++i)
        from[i] = static_cast<std::uint32_t>(i);
    for (std::size_t width = 1; width < size; width *= 2) {
        for (std::size_t start = 0; start < size; start += 2 * width) {
            auto left = start, right = std::min(start + width, size);
            const auto leftEnd = right, rightEnd = std::min(start + 2 * width, size);
            for (auto out = start; out != rightEnd; ++out) {
                const bool takeLeft =
                    left != leftEnd && (right == rightEnd || less(events[from[left]], events[from[right]]));
                to[out] = takeLeft ? from[left++] : from[right++];
            }
        }
        from.swap(to);
    }
    VectorObject<ITVGuide::EventInfo> sorted;
    sorted.reserve(size);
    for (const std::uint32_t place : from)
        sorted.push_back(std::move(events[place]));
    events.swap(sorted);
}

} // namespace Ostrel::TV
