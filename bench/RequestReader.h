#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Bench {

/// Finds the requests in what a client sends, with the least that it takes to answer them: where one ends,
/// its text unmasked, and its id.
class RequestReader {
public:
    struct Found {
        bool isUpgrade = false; ///< what came first asked for a WebSocket
        std::vector<std::string>
            ids{}; ///< of whole requests, text frames or HTTP's bodies; empty where there is none
        bool isClosing = false; ///< a frame that says goodbye
    };

    /// @throws std::logic_error  what came is no number where a length should be
    Found take(std::string_view bytes) {
        Found found;
        if (!rest_.empty()) {
            rest_ += bytes;
            bytes = rest_;
        }
        while (std::size_t size = isWebSocket_ ? sizeOfFrame(bytes) : sizeOfRequest(bytes)) {
            const auto request = bytes.substr(0, size);
            if (isWebSocket_) {
                const int opcode = request.front() & 0x0f;
                if (opcode == text)
                    found.ids.emplace_back(findId(unmask(request)));
                found.isClosing = found.isClosing || opcode == close;
            } else if (request.starts_with("GET ")) {
                isWebSocket_ = found.isUpgrade = true;
            } else {
                found.ids.emplace_back(findId(request));
            }
            bytes.remove_prefix(size);
        }
        rest_ = std::string(bytes);
        return found;
    }

    /// The digits behind the first member "id", as a part of the message; empty where there are none.
    static std::string_view findId(std::string_view message) {
        constexpr std::string_view name = R"("id":)";
        const auto found = message.find(name);
        if (found == message.npos)
            return {};
        message.remove_prefix(found + name.size());
        return message.substr(0, message.find_first_not_of("0123456789"));
    }

    bool isWebSocket() const { return isWebSocket_; }

private:
    static constexpr int text = 1, close = 8; ///< opcodes
    static constexpr std::size_t sizeOfMask = 4;

    static std::size_t sizeOfHead(std::string_view frame) {
        const int code = frame[1] & 0x7f;
        return code == 126 ? 4 : code == 127 ? 10 : 2;
    }

    /// Returns a whole frame's payload, until the next call.
    std::string_view unmask(std::string_view frame) {
        std::array<char, sizeOfMask> mask;
        frame.copy(mask.data(), sizeOfMask, sizeOfHead(frame));
        text_ = frame.substr(sizeOfHead(frame) + sizeOfMask);
        std::size_t i = 0;
        for (char& byte : text_)
            byte = static_cast<char>(byte ^ mask[i++ % sizeOfMask]);
        return text_;
    }

    /// Of the first frame, with its mask; 0 while it is not whole.
    static std::size_t sizeOfFrame(std::string_view bytes) {
        if (bytes.size() < 2)
            return 0;
        const auto head = sizeOfHead(bytes);
        if (bytes.size() < head)
            return 0;
        std::uint64_t payload = head == 2 ? static_cast<unsigned>(bytes[1] & 0x7f) : 0;
        for (std::size_t i = 2; i < head; ++i)
            payload = payload << 8 | static_cast<unsigned char>(bytes[i]);
        const auto whole = head + sizeOfMask + payload;
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
    std::string text_; ///< of the last frame
    std::string rest_; ///< the beginning of a request that is not whole
};

} // namespace Ostrel::Bench
