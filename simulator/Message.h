#pragma once

#include "Ostrel/serialization/Serializer.h"
#include "Ostrel/transport/Traffic.h"

#include <cstdint>

namespace Ostrel {

/// Writes the members of a message as clients and records get them.
///
/// @param message  what is no UTF-8 in its text is replaced
/// @param missed   how many before this one were left out; told unless it is 0
/// @throws TextTooLarge
void writeMessage(TrafficMessage& message, std::uint64_t missed, Serializer& out);

} // namespace Ostrel
