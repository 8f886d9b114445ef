// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Ostrel::Client {

/// How many a client keeps until they are asked for.
inline constexpr std::size_t keptNotifications = 10000;

/// What the service tells every client unasked.
struct Notification {
    std::string method; ///< for example "ITVConfig::onScanProgress"
    std::string params; ///< as JSON text, for example {"sourceId":1,"percent":42}
    std::optional<std::uint32_t> sourceId; ///< which tuner's scan it is about
    std::optional<std::uint32_t> percent; ///< how far that scan is, where the params tell
};

} // namespace Ostrel::Client
