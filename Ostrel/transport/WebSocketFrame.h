#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ostrel {

/// Kinds of frames (RFC 6455, section 5.2). Those from Close on are control frames.
enum class FrameKind : unsigned char {
    Continuation = 0,
    Text = 1,
    Binary = 2,
    Close = 8,
    Ping = 9,
    Pong = 10
};

/// Returns the head of an unmasked frame that is a whole message, with so many bytes behind it (RFC 6455,
/// section 5.2).
std::string frameHead(FrameKind kind, std::size_t size);

/// Whether this is a Sec-WebSocket-Key: 16 bytes in base64 (RFC 6455, section 4.1).
bool isWebSocketKey(std::string_view key);

/// How many bytes there are of the last character of a text that is UTF-8 so far and lacks its rest; 0
/// when it lacks nothing.
std::size_t countUnfinished(std::string_view text);

} // namespace Ostrel
