#pragma once

#include "bench/HostProcess.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Soak {

/// How a host is at a moment.
struct Vitals {
    double second = 0; ///< since the soak began
    double memoryMiB = 0; ///< that is its own and no file's
    std::size_t descriptors = 0;
    std::size_t threads = 0;

    static Vitals of(const Bench::HostProcess& host, double second);
};

/// How much memory grows by the minute, MiB: the line of Theil and Sen, the median of all slopes, through
/// the least of each ten seconds, since what dear answers take for a while is no growth. Nothing when the
/// samples last less than a minute.
std::optional<double> findGrowth(const std::vector<Vitals>& samples);

/// The value of a gauge without labels in a text of /metrics; nothing when there is none.
std::optional<double> findGauge(std::string_view metrics, std::string_view name);

/// The first line in which a sanitizer tells what it has found; empty when none does.
std::string findSanitizerReport(const std::string& errors);

} // namespace Ostrel::Soak
