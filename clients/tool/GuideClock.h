#pragma once

#include "clients/cpp/Client.h"

#include <cstdint>
#include <string>

namespace Ostrel::Client::Tool {

/// Returns a line that says so, and what to do, when a time is before or after all events of the
/// guide; an empty text when it is among them.
///
/// @param now  what time it is for the service
std::string describeFarClock(Client& client, std::int64_t now);

} // namespace Ostrel::Client::Tool
