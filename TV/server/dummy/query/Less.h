#pragma once

#include "TV/interfaces/ITVGuide.h"

#include <cstdint>
#include <vector>

namespace Ostrel::TV {

/// Orders events by a list of keys, the most significant first.
///
/// It answers true for events that are equal in all keys, so that std::sort must not be called
/// with it: sortEvents() is safe.
class Less {
public:
    enum Key : std::int32_t {
        ServiceId = 0,
        StartTime = 1,
    };

    /// @param keys  kept by reference; a number that is no Key ends the list
    explicit Less(const std::vector<std::int32_t>& keys) : keys_(keys) {}

    bool operator()(const ITVGuide::EventInfo& a, const ITVGuide::EventInfo& b) const;

private:
    const std::vector<std::int32_t>& keys_;
};

/// Sorts; events that are equal in all keys keep their order.
void sortEvents(VectorObject<ITVGuide::EventInfo>& events, const Less& less);

} // namespace Ostrel::TV
