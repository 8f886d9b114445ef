#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Ostrel::Bench {

/// Finds the answers in what a host sends, and keeps no more than their beginnings.
class AnswerScanner {
public:
    struct Found {
        enum Kind { Upgrade, Answer, Refusal, Notification, Ping, Pong, Close } kind;
        int closeCode;
        int status; ///< of HTTP; 0 for what came by WebSocket
        std::string_view text; ///< as much of it as is kept; valid during the call
    };

    /// @param kept  bytes of an answer, at least 64
    explicit AnswerScanner(std::size_t kept = 64) : kept_(kept) {}

    /// Takes some of the bytes; calls found(Found) where something is whole.
    template <class Function> void scan(std::string_view bytes, const Function& found) {
        while (!bytes.empty()) {
            if (!inBody_) {
                head_ += bytes.front();
                bytes.remove_prefix(1);
                readHead(found);
                continue;
            }
            const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(missing_, bytes.size()));
            start_ += bytes.substr(0, std::min(size, kept_ - std::min(kept_, start_.size())));
            bytes.remove_prefix(size);
            missing_ -= size;
            if (missing_ == 0)
                endBody(found);
        }
    }

private:
    template <class Function> void readHead(const Function& found) {
        if (!upgraded_) {
            if (!head_.ends_with("\r\n\r\n"))
                return;
            status_ = std::stoi(head_.substr(head_.find(' ')));
            if (status_ == 101) {
                upgraded_ = true;
                head_.clear();
                found(Found{Found::Upgrade, 0, status_, {}});
                return;
            }
            if (status_ < 200) { // a word in between
                head_.clear();
                return;
            }
            constexpr std::string_view length = "\r\nContent-Length: ";
            const auto at = head_.find(length);
            beginBody(at == head_.npos ? 0 : std::stoull(head_.substr(at + length.size())), found);
            return;
        }
        if (head_.size() < 2)
            return;
        const int code = head_[1] & 0x7f;
        const std::size_t size = code == 126 ? 4 : code == 127 ? 10 : 2;
        if (head_.size() < size)
            return;
        opcode_ = head_[0] & 0x0f;
        std::uint64_t length = 0;
        for (std::size_t i = size == 2 ? 1 : 2; i < size; ++i)
            length = length << 8 | static_cast<unsigned char>(head_[i]);
        beginBody(length, found);
    }

    template <class Function> void beginBody(std::uint64_t size, const Function& found) {
        head_.clear();
        start_.clear();
        missing_ = size;
        inBody_ = true;
        if (size == 0)
            endBody(found);
    }

    template <class Function> void endBody(const Function& found) {
        inBody_ = false;
        const int code = opcode_ == 8 && start_.size() >= 2 ? static_cast<unsigned char>(start_[0]) << 8 |
                                                                  static_cast<unsigned char>(start_[1])
                                                            : 0;
        found(Found{kind(), code, upgraded_ ? 0 : status_, start_});
    }

    Found::Kind kind() const {
        if (!upgraded_)
            return status_ == 200 && start_.find("\"error\"") == start_.npos ? Found::Answer : Found::Refusal;
        switch (opcode_) {
        case 8:
            return Found::Close;
        case 9:
            return Found::Ping;
        case 10:
            return Found::Pong;
        default:
            return start_.starts_with(R"({"jsonrpc":"2.0","method")") ? Found::Notification
                   : start_.find("\"error\"") == start_.npos          ? Found::Answer
                                                                      : Found::Refusal;
        }
    }

    const std::size_t kept_;
    bool upgraded_ = false;
    bool inBody_ = false;
    int status_ = 0;
    int opcode_ = 0;
    std::string head_;
    std::string start_; ///< of the body
    std::uint64_t missing_ = 0; ///< bytes of the body
};

} // namespace Ostrel::Bench
