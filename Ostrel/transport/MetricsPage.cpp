#include "Ostrel/transport/MetricsPage.h"

#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/runtime/Metric.h"
#include "Ostrel/runtime/MetricsText.h"
#include "Ostrel/runtime/WallClock.h"

#include <chrono>

namespace Ostrel {

namespace {

const auto startTime = wallClock();

#ifdef __clang__
constexpr const char* compiler = __VERSION__;
#else
constexpr const char* compiler = "GCC " __VERSION__;
#endif

} // namespace

std::string writeMetrics() {
    MetricsText out;
    out.begin("ostrel_build_info", "What this is; always 1.", "gauge");
    out.add("", {{"version", OSTREL_VERSION}, {"compiler", compiler}}, "1");
    out.begin("ostrel_process_start_time_seconds", "When the process began, in seconds since 1970-01-01 UTC.",
              "gauge");
    const auto since = startTime.time_since_epoch();
    out.add("", {}, std::to_string(std::chrono::floor<std::chrono::seconds>(since).count()));
    Metric::writeAll(out);
    RPCServer::writeCallMetrics(out);
    return out.take();
}

} // namespace Ostrel
