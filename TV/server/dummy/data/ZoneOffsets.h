#pragma once

#include "TV/server/dummy/world/World.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// How far a time zone is ahead of UTC, from the first of two moments to the second: one element,
/// and another for each change between them.
///
/// It asks the C library, which has one time zone a process: no other thread may tell a local time
/// meanwhile.
///
/// @param zone  a name of the IANA's database, such as Europe/London; UTC is always known
/// @throws std::runtime_error  the zone is not known on this machine
std::vector<ZoneOffset> readZoneOffsets(const std::string& zone, std::int32_t from, std::int32_t to);

} // namespace Ostrel::TV
