// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/runtime/Histogram.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace Ostrel {

/// What has come of the calls of one method, and how long they took. Counting takes no lock and
/// allocates nothing; any thread may count.
///
/// Methods are called by several threads at once, each with cache lines of its own.
class alignas(64) RPCCallMetrics {
public:
    /// @param took  from when the request came to when its reply was made
    void count(IRPC::Outcome outcome, std::chrono::nanoseconds took) noexcept {
        outcomes_[static_cast<std::size_t>(outcome)].fetch_add(1, std::memory_order_relaxed);
        duration_.observe(took);
    }

    std::uint64_t get(IRPC::Outcome outcome) const noexcept {
        return outcomes_[static_cast<std::size_t>(outcome)].load(std::memory_order_relaxed);
    }

    const Histogram& getDuration() const { return duration_; }

private:
    std::array<std::atomic<std::uint64_t>, IRPC::outcomes> outcomes_{};
    Histogram duration_;
};

} // namespace Ostrel
