#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ostrel {

/// Returns the head of an unmasked text frame with so many bytes (RFC 6455, section 5.2).
std::string textFrameHead(std::size_t size);

/// Whether this is a Sec-WebSocket-Key: 16 bytes in base64 (RFC 6455, section 4.1).
bool isWebSocketKey(std::string_view key);

/// Whether a text that is UTF-8 so far lacks the rest of its last character.
bool endsInsideCharacter(std::string_view text);

} // namespace Ostrel
