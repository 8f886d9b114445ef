#pragma once

#include <string>

namespace Ostrel {

/// The page /metrics: all that the process counts, as Prometheus reads it (MetricsText).
///
/// It takes no lock that anybody holds for long, and is as long as the servers' methods are many,
/// whatever clients have done.
/// @throws std::bad_alloc
std::string writeMetrics();

} // namespace Ostrel
