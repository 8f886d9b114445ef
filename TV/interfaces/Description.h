// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <string_view>

namespace Ostrel::TV {

/// Returns what clients can know of the server "TV": its methods, records, errors and
/// notifications, as the text of an OpenRPC document. It is the file TV/interfaces/openrpc.json,
/// byte for byte, and valid as long as the library is loaded.
OSTREL_API std::string_view description() noexcept;

} // namespace Ostrel::TV
