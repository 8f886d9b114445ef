#pragma once

#include "TV/server/dummy/world/World.h"

#include <functional>
#include <string_view>

namespace Ostrel::TV::Tool {

/// Writes a world as an XMLTV listing: the line-up in its order, then the services that have a guide
/// alone; their programmes, service by service, in the order of time, in the local time of the world's
/// zone. An import of it is the same world; docs/worlds.md says which words carry what XMLTV has none for.
///
/// @param out  gets the file piece by piece; what it throws goes on
void writeXmltv(const World& world, const std::function<void(std::string_view)>& out);

} // namespace Ostrel::TV::Tool
