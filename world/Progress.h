#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace Ostrel::TV::Tool {

/// A bar on standard error where that is a terminal, and nothing elsewhere.
class Progress {
public:
    /// @param unit  what is counted, such as "MB"
    /// @param size  how many make one
    explicit Progress(std::string unit, std::uint64_t size = 1);
    ~Progress(); ///< takes the bar away
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows how far something has come, ten times a second at most.
    /// @param all  nothing when nobody knows
    void show(std::uint64_t done, std::optional<std::uint64_t> all);

private:
    const std::string unit_;
    const std::uint64_t size_;
    const bool isShown_;
    bool isDrawn_ = false;
    std::chrono::steady_clock::time_point next_{};
};

} // namespace Ostrel::TV::Tool
