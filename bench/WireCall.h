#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace Ostrel::Bench {

/// A kind of call that clients make often, or that is dear.
struct WireCall {
    const char* name; ///< on a command line
    const char* title; ///< for people
    const char* method;
    const char* payload;
};

/// All of them. Each is answered the same every time by a host whose clock is held at the guide's midday.
std::span<const WireCall> getWireCalls();

/// @throws std::runtime_error  there is none of that name
const WireCall& findWireCall(const std::string& name);

/// A request and its answer, as they travel.
struct WireExchange {
    std::string request;
    std::string answer;
};

/// Asks a host once.
/// @throws std::runtime_error  the answer is an error
WireExchange rehearse(std::uint16_t port, const WireCall& call, bool isPost = false);

/// A text as the frame in which a server sends it.
std::string serverFrame(const std::string& text);

} // namespace Ostrel::Bench
