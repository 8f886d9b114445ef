#pragma once

#include <functional>
#include <string>

namespace Ostrel::Bench {

/// A row of the table: one workload against one yardstick.
///
/// Both are timed in turns, many times over, and each by its fastest time: what disturbs a
/// machine makes things slower, never faster.
struct Comparison {
    std::string workload;
    std::string yardstick;
    double target; ///< the most that workload / yardstick may be
    std::function<void()> ours;
    std::function<void()> theirs;
};

} // namespace Ostrel::Bench
