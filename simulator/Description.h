#pragma once

#include <string_view>

namespace Ostrel::Simulator {

/// Returns what clients can know of the server "Simulator": its methods, records, errors and
/// notifications, as the text of an OpenRPC document. It is the file simulator/openrpc.json, byte
/// for byte, and always valid.
std::string_view description() noexcept;

} // namespace Ostrel::Simulator
