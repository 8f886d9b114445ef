#pragma once

#include "clients/cpp/Records.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Ostrel::Client::Tool {

/// How far a scan has come, and the services that are new through it.
struct ScanProgress {
    std::uint32_t percent = 0;
    std::size_t television = 0;
    std::size_t radio = 0;
    std::size_t others = 0;
    std::string newest; ///< the name of the service found last; empty while there is none

    std::size_t getTotal() const { return television + radio + others; }

    void count(const ServiceInfo& service);

    /// Returns the counters: "53 new services: 40 tv, 13 radio".
    std::string describeServices() const;

    /// Returns one line for people: "  42 %  53 new services: 40 tv, 13 radio  BBC HD".
    std::string formatLine() const;

    /// Returns the line with a bar before it, cut to fit a terminal.
    ///
    /// @param columns  what the terminal is wide
    std::string formatBar(std::size_t columns) const;
};

} // namespace Ostrel::Client::Tool
