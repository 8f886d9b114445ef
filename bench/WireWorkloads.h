#pragma once

#include "bench/Load.h"
#include "bench/Processors.h"
#include "bench/WireReport.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Ostrel::Bench {

/// The programs, and how long they are measured.
struct WireSettings {
    std::string host{}; ///< the path of an ostrel-tvd
    std::string bare{}; ///< of the bare server
    std::string echo{}; ///< of the Beast echo
    Seconds time{1}; ///< of one server in one round
    std::size_t rounds = 7;
};

/// What is compared, of all that a round brings.
enum class WireMeasure { Processor, Rate, Median, P99, Last, Resident };

/// A workload, and what its figures should be.
struct WireWorkload {
    struct Target {
        WireMeasure measure;
        bool isEcho; ///< beside the Beast echo instead of the bare server
        std::optional<double> bound;
    };

    std::string name{}; ///< on the command line
    std::string title{}; ///< for people
    std::string call{}; ///< that of WireCall; empty: notifications
    bool isPost = false;
    std::size_t connections = 1; ///< or listeners
    std::size_t depth = 1;
    double perSecond = Habit::unlimited;
    std::vector<Target> targets{};
};

std::span<const WireWorkload> getWireWorkloads();

/// Measures one against its yardsticks, a round of each in turns.
void measureWorkload(const WireWorkload& workload, const WireSettings& settings, const Processors& processors,
                     WireReport& report);

/// How long a server takes from the start of its program to its first answer.
void measureStart(const WireSettings& settings, const Processors& processors, WireReport& report);

/// What a host keeps and does when nobody asks it anything.
void measureRest(const WireSettings& settings, WireReport& report);

/// Counts instructions and system calls, with valgrind and strace.
/// @throws std::runtime_error  one of them does not run
void countRequests(const WireSettings& settings, WireReport& report);

double median(std::vector<double> values);

} // namespace Ostrel::Bench
