#pragma once

#include "clients/cpp/Records.h"

#include <cstdint>
#include <string>

namespace Ostrel::Client::Tool {

/// Returns when an event is on, in local time: "12:00-12:30", and "23:20-00:55 +1"
/// when it runs into the next day.
std::string formatSpan(const EventInfo& event);

/// Returns the same with the day on which it begins: "Wed 12 Oct 12:00-12:30".
std::string formatDayAndSpan(const EventInfo& event);

/// Returns how much of an event is over, as a bar, and how long it will last:
/// "[######....] 12 min", "[#.........] 1 h 20 min".
///
/// @param now  seconds since 1970-01-01 UTC
std::string formatTimeLeft(const EventInfo& event, std::int64_t now);

} // namespace Ostrel::Client::Tool
