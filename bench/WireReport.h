#pragma once

#include "bench/LatencyHistogram.h"

#include <optional>
#include <string>
#include <vector>

namespace Ostrel::Bench {

/// A figure of ours beside that of a yardstick, and how far they may be apart.
struct WireRow {
    std::string workload; ///< for people
    std::string measure; ///< with its unit
    double ours = 0; ///< the median of the rounds
    std::string yardstick{}; ///< empty: the bound is for ours itself
    double theirs = 0;
    double ratio = 0; ///< the median of the rounds' own ratios
    std::optional<double> bound{}; ///< for the ratio, or for ours without a yardstick
    bool isLeast = false; ///< the bound is the least that is wanted, and not the most

    bool isMet() const;
};

/// How long the calls of a workload took with one server.
struct WireLatency {
    std::string workload;
    std::string server;
    LatencyHistogram histogram;
};

/// What a request costs that is counted and not timed.
struct WireCount {
    std::string request;
    std::string unit; ///< of the first figure
    double bare = 0;
    std::optional<double> bareSystemCalls{};
    std::optional<double> echo{}, echoSystemCalls{};
    double ours = 0;
    std::optional<double> oursSystemCalls{};
    double bound = 0;
    std::optional<double> systemCallBound{};

    bool isMet() const;
};

/// Prints what is measured as it comes: lines of a table for people, or an object a line for scripts.
class WireReport {
public:
    explicit WireReport(bool isForScripts) : isForScripts_(isForScripts) {}

    void add(const WireRow& row);
    void add(const WireCount& count);

    /// Kept for the end when people read it.
    void add(WireLatency latency);

    void end() const;

private:
    /// Prints the head of a table before its first line.
    void begin(const char* table, const std::string& head);

    const bool isForScripts_;
    std::string table_; ///< whose lines are being printed
    std::vector<WireLatency> latencies_;
};

} // namespace Ostrel::Bench
