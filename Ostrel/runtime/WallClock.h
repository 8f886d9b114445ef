#pragma once

#include <chrono>
#include <ctime>

namespace Ostrel {

/// What std::chrono::system_clock::now() tells. On 32 bits the C++ library asks for seconds of 32 bits,
/// which end in 2038, however we are built.
inline std::chrono::system_clock::time_point wallClock() noexcept {
    std::timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(
            std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec)));
}

} // namespace Ostrel
