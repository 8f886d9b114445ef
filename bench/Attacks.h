#pragma once

#include "bench/HostProcess.h"

#include <string>
#include <vector>

namespace Ostrel::Bench {

/// Something that clients do to a host while its neighbours call.
struct Attack {
    std::string name;
    std::string description;
    /// Does it, and returns once the attackers have gone. Returns what they got.
    std::string (*run)(const HostProcess& host);
    bool hasNeighbours = true;
};

/// All that there are, in the order in which they are made.
const std::vector<Attack>& getAttacks();

} // namespace Ostrel::Bench
