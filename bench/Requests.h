#pragma once

#include "bench/Crowd.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Ostrel::Bench {

/// Makes a context with the list of all services. Its connection is closed; it lives for the 10
/// minutes that a context is kept.
std::string createContext(std::uint16_t port);

/// A request as JSON text.
/// @param method   interface and operation, for example "ITVService::utcTimeGet"
/// @param payload  the text of a JSON object
std::string request(const std::string& method, const std::string& context, const std::string& payload = "{}");

/// An array of requests, all the same.
std::string batch(std::size_t number, const std::string& request);

/// queryEventInfo for the events that hold one of 256 different texts, of which none is in the guide.
std::string dearQuery(const std::string& context);

using Message = std::shared_ptr<const Habit::Message>;

Message asFrame(const std::string& name, const std::string& text); ///< over WebSocket
Message asPost(const std::string& name, const std::string& text, const std::string& headers = {});

/// What an interface shows its viewer asks for, 20 times a second: one client reads the guide, the
/// other walks the services and looks at the clock.
std::vector<Habit> neighbours(std::uint16_t port);

} // namespace Ostrel::Bench
