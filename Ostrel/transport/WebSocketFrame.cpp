#include "Ostrel/transport/WebSocketFrame.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace Ostrel {

std::string frameHead(FrameKind kind, std::size_t size) {
    std::string head(1, static_cast<char>(0x80 | static_cast<unsigned char>(kind)));
    const auto append = [&](char length, int bytes) {
        head += length;
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
            head += char((std::uint64_t(size) >> shift) & 0xff);
    };
    if (size < 126)
        head += char(size);
    else if (size <= 0xffff)
        append(126, 2);
    else
        append(127, 8);
    return head;
}

bool isWebSocketKey(std::string_view key) {
    const auto isBase64 = [](unsigned char byte) { return std::isalnum(byte) || byte == '+' || byte == '/'; };
    return key.size() == 24 && key.ends_with("==") && std::all_of(key.begin(), key.end() - 2, isBase64);
}

std::size_t countUnfinished(std::string_view text) {
    for (std::size_t length = 1; length <= 3 && length <= text.size(); ++length) {
        const auto byte = static_cast<unsigned char>(text[text.size() - length]);
        if (byte >= 0xc0)
            return length < (byte >= 0xf0 ? 4U : byte >= 0xe0 ? 3U : 2U) ? length : 0;
        if (byte < 0x80)
            return 0;
    }
    return 0;
}

} // namespace Ostrel
