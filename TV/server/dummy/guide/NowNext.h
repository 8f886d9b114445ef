#pragma once

#include "TV/server/dummy/world/epgentry.h"

#include <cstdint>

namespace Ostrel::TV {

class Guide;

/// The event on air and the one behind it; null where there is none. An event that does not
/// start at the very second when the one on air ends is not the one behind it.
struct NowNext {
    const epgentry* now = nullptr;
    const epgentry* next = nullptr;
};

/// @param serviceId  guide service id
/// @param time       seconds since 1970-01-01 UTC
NowNext findNowNext(const Guide& guide, unsigned serviceId, std::int64_t time);

} // namespace Ostrel::TV
