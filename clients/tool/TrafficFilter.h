#pragma once

#include "clients/cpp/Simulator.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Ostrel::Client::Tool {

/// What a message says, without the frame around it: the payload or the params, the result or the
/// error.
struct TrafficBody {
    std::string_view text; ///< part of the message; all of it where that is neither request nor reply
    bool isError = false;

    explicit TrafficBody(std::string_view message);
};

/// Returns a method's name without its interface, as tables have it.
std::string_view getShortName(std::string_view method);

/// Which messages are wanted. What is not given leaves nothing out.
struct TrafficFilter {
    std::optional<std::string> method; ///< a pattern of fnmatch(3), of the full name or the short one
    std::optional<std::string> client; ///< part of the address
    std::optional<std::uint32_t> connection;
    std::optional<std::string> direction;
    bool errors = false; ///< replies that are errors

    bool isEmpty() const;
    bool matches(const Simulator::OnTraffic& message) const;
};

} // namespace Ostrel::Client::Tool
