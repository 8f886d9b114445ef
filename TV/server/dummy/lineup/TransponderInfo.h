#pragma once

#include "TV/interfaces/ITVService.h"

#include <cstdint>
#include <vector>

namespace Ostrel::TV {

/// A transponder and the services that it carries.
struct TransponderInfo {
    std::uint32_t frequencyMHz = 0;
    VectorObject<ITVService::ServiceInfo> services; ///< in the order of the line-up
};

/// What there is to be found on the air, one store for all modules of the process. Filled by
/// DummyTVModule::init() and only read afterwards, without a lock.
extern std::vector<TransponderInfo> transponderStore;

} // namespace Ostrel::TV
