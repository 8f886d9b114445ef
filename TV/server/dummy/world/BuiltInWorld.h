#pragma once

#include "TV/server/dummy/world/World.h"

namespace Ostrel::TV {

/// The world that the library brings along: constant data, found without reading them.
World builtInWorld() noexcept;

} // namespace Ostrel::TV
