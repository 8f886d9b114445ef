#pragma once

#include "TV/interfaces/ITVService.h"

#include <cstdint>

namespace Ostrel::TV {

/// A transponder and the services that it carries.
struct TransponderInfo {
    std::uint32_t frequencyMHz = 0;
    VectorObject<ITVService::ServiceInfo> services; ///< in the order of the line-up
};

} // namespace Ostrel::TV
