#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Ostrel::Bench {

/// Counts the requests in what a client sends, and looks at no more of them than it takes to find
/// their ends.
class RequestCounter {
public:
    struct Count {
        bool isUpgrade = false; ///< what came first asked for a WebSocket
        std::size_t requests = 0; ///< whole ones: text frames, or HTTP requests with their bodies
        bool isClosing = false; ///< a frame that says goodbye
    };

    /// @throws std::logic_error  what came is no number where a length should be
    Count take(std::string_view bytes) {
        Count count;
        if (!rest_.empty()) {
            rest_ += bytes;
            bytes = rest_;
        }
        while (std::size_t size = isWebSocket_ ? sizeOfFrame(bytes) : sizeOfRequest(bytes)) {
            if (isWebSocket_) {
                const int opcode = bytes.front() & 0x0f;
                count.requests += opcode == text;
                count.isClosing = count.isClosing || opcode == close;
            } else if (bytes.starts_with("GET ")) {
                isWebSocket_ = count.isUpgrade = true;
            } else {
                ++count.requests;
            }
            bytes.remove_prefix(size);
        }
        rest_ = std::string(bytes);
        return count;
    }

    bool isWebSocket() const { return isWebSocket_; }

private:
    static constexpr int text = 1, close = 8; ///< opcodes

    /// Of the first frame, with its mask; 0 while it is not whole.
    static std::size_t sizeOfFrame(std::string_view bytes) {
        constexpr std::size_t mask = 4;
        if (bytes.size() < 2)
            return 0;
        const auto code = static_cast<std::size_t>(bytes[1] & 0x7f);
        const std::size_t head = code == 126 ? 4 : code == 127 ? 10 : 2;
        if (bytes.size() < head)
            return 0;
        std::uint64_t payload = head == 2 ? code : 0;
        for (std::size_t i = 2; i < head; ++i)
            payload = payload << 8 | static_cast<unsigned char>(bytes[i]);
        const auto whole = head + mask + payload;
        return bytes.size() < whole ? 0 : whole;
    }

    /// Of the first HTTP request, with its body; 0 while it is not whole.
    static std::size_t sizeOfRequest(std::string_view bytes) {
        constexpr std::string_view end = "\r\n\r\n", name = "\r\nContent-Length: ";
        const auto head = bytes.find(end);
        if (head == bytes.npos)
            return 0;
        const auto length = bytes.substr(0, head).find(name);
        const auto body =
            length == bytes.npos ? 0 : std::stoull(std::string(bytes.substr(length + name.size(), 20)));
        const auto whole = head + end.size() + body;
        return bytes.size() < whole ? 0 : whole;
    }

    bool isWebSocket_ = false;
    std::string rest_; ///< the beginning of a request that is not whole
};

} // namespace Ostrel::Bench
