// Any bytes behind a WebSocket's handshake, cut wherever the input says: the messages in them are answered in their
// order, pings too, and the closing code is the one that a plain reading of the frames gives.
//
// The input begins with the number of cuts and with them. Of a hundred or more the first goes out with the handshake.

#include "fuzz/Exchange.h"

#include <boost/asio/buffer.hpp>

#include <optional>
#include <string>

using namespace Ostrel;
using Fuzz::require;

namespace {

/// Small enough for an input to come to them; a length of 16 bits must fit in, though.
const Limits limits{.message = 400, .reply = 4096, .batch = 4};

constexpr std::string_view handshake = "GET /rpc/Test HTTP/1.1\r\n"
                                       "Host: localhost\r\n"
                                       "Connection: Upgrade\r\n"
                                       "Upgrade: websocket\r\n"
                                       "Sec-WebSocket-Version: 13\r\n"
                                       "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";

/// What a text is, as far as it has come (RFC 3629).
enum class Utf8 { Whole, Unfinished, Wrong };

Utf8 judge(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
        const unsigned char first = byte(at);
        if (first < 0x80) {
            ++at;
            continue;
        }
        if (first < 0xc2 || first > 0xf4)
            return Utf8::Wrong;
        const std::size_t length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
        for (std::size_t i = 1; i < length; ++i) {
            if (at + i == text.size())
                return Utf8::Unfinished;
            unsigned char least = 0x80, most = 0xbf;
            if (i == 1 && first == 0xe0)
                least = 0xa0;
            if (i == 1 && first == 0xed)
                most = 0x9f;
            if (i == 1 && first == 0xf0)
                least = 0x90;
            if (i == 1 && first == 0xf4)
                most = 0x8f;
            if (byte(at + i) < least || byte(at + i) > most)
                return Utf8::Wrong;
        }
        at += length;
    }
    return Utf8::Whole;
}

enum Opcode { Continuation, Text, Binary, Close = 8, Ping, Pong };

std::string frame(Opcode opcode, std::string_view payload) {
    std::string out{char(0x80 | opcode)};
    if (payload.size() < 126)
        out += char(payload.size());
    else
        out.append({126, char(payload.size() >> 8), char(payload.size() & 0xff)});
    return out.append(payload);
}

std::string closing(unsigned code) {
    const char number[] = {char(code >> 8), char(code & 0xff)};
    return frame(Close, {number, 2});
}

/// What the service sends to a client of these bytes (RFC 6455).
class Reference {
public:
    Reference(RPCServer& server, std::string_view bytes) : server_(server), rest_(bytes) {}

    std::string read() {
        while (!closed_ && readFrame()) {
        }
        return std::move(out_);
    }

    /// Whether the bytes end in a text that can become no UTF-8 any more. Whether that is noticed before
    /// its end is the service's own affair.
    bool endsWrong() const { return endsWrong_; }

private:
    void close(unsigned code) {
        out_ += closing(code);
        closed_ = true;
    }

    /// Reads a big-endian number.
    std::uint64_t takeNumber(std::size_t bytes) {
        std::uint64_t number = 0;
        for (; bytes > 0; --bytes) {
            number = number << 8 | static_cast<unsigned char>(rest_.front());
            rest_.remove_prefix(1);
        }
        return number;
    }

    /// False when it is not there as a whole.
    bool readFrame() {
        if (rest_.size() < 2)
            return false;
        const auto first = static_cast<unsigned char>(rest_[0]);
        const auto second = static_cast<unsigned char>(rest_[1]);
        const bool isMasked = second >= 0x80;
        const std::size_t lengthBytes = (second & 0x7f) == 126 ? 2 : (second & 0x7f) == 127 ? 8 : 0;
        if (rest_.size() < 2 + lengthBytes + (isMasked ? 4 : 0))
            return false;
        rest_.remove_prefix(2);
        const auto length = lengthBytes == 0 ? second & 0x7f : takeNumber(lengthBytes);
        const auto opcode = Opcode(first & 0xf);
        const bool isFinal = first >= 0x80;
        const bool isControl = opcode >= Close;
        const bool isShortest = lengthBytes == 0 || length > (lengthBytes == 2 ? 125u : 0xffffu);
        const bool isKnown = opcode <= Binary || (opcode >= Close && opcode <= Pong);
        const bool fits =
            isControl ? isFinal && length <= 125 : (opcode == Continuation) == kind_.has_value();
        if (!isMasked || !isKnown || !fits || !isShortest || (first & 0x70) != 0) {
            close(1002);
            return true;
        }
        if (!isControl && length > limits.message - text_.size()) {
            close(1009);
            return true;
        }
        const auto mask = rest_.substr(0, 4);
        rest_.remove_prefix(4);
        std::string payload(rest_.substr(0, length));
        rest_.remove_prefix(payload.size());
        for (std::size_t i = 0; i < payload.size(); ++i)
            payload[i] = char(payload[i] ^ mask[i % 4]);
        const bool isWhole = payload.size() == length;
        if (isControl) {
            if (isWhole)
                control(opcode, payload);
            return isWhole;
        }
        if (opcode != Continuation)
            kind_ = opcode;
        text_ += payload;
        if (kind_ == Text)
            checkText(isWhole, isWhole && isFinal);
        if (isWhole && isFinal && !closed_)
            message();
        return isWhole;
    }

    void control(Opcode opcode, const std::string& payload) {
        if (opcode == Ping)
            out_ += frame(Pong, payload);
        if (opcode != Close)
            return;
        if (payload.empty())
            return close(1000);
        const unsigned code = payload.size() < 2 ? 0
                                                 : static_cast<unsigned char>(payload[0]) * 256u +
                                                       static_cast<unsigned char>(payload[1]);
        // Above 4999 the standard knows none, and the service answers alike.
        const bool isUsable = code >= 3000 || (code >= 1000 && code <= 1013 && (code < 1004 || code > 1006));
        close(isUsable && judge(payload.substr(2)) == Utf8::Whole ? code : 1002);
    }

    void checkText(bool isWhole, bool isEnd) {
        const auto verdict = judge(text_);
        if (verdict == Utf8::Wrong && !isWhole)
            endsWrong_ = true;
        else if (verdict == Utf8::Wrong || (isEnd && verdict == Utf8::Unfinished))
            close(1007);
    }

    void message() {
        if (kind_ == Binary)
            return close(1003);
        if (const auto reply = Test::replyTo(text_, server_, limits); !reply.empty())
            out_ += frame(Text, reply);
        kind_.reset();
        text_.clear();
    }

    RPCServer& server_;
    std::string_view rest_;
    std::optional<Opcode> kind_; ///< of the message that has begun
    std::string text_; ///< of it
    std::string out_;
    bool closed_ = false;
    bool endsWrong_ = false;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setDebugLevel(DebugLevel::Error);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static Test::TestServer server;
    static Test::Exchange exchange(limits);
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t count = size == 0 ? 0 : data[0] % 16;
    if (size < 1 + count)
        return 0;
    const auto bytes = input.substr(1 + count);
    auto pieces = Test::cut(bytes, input.substr(1, count));
    std::string first(handshake);
    if (data[0] >= 100 && !pieces.empty()) {
        first += pieces.front();
        pieces.front() = first;
    } else {
        pieces.insert(pieces.begin(), handshake);
    }

    const auto received = exchange.converse(pieces);
    const auto end = received.find("\r\n\r\n");
    require(received.starts_with("HTTP/1.1 101 ") && end != std::string::npos, "a WebSocket is opened");
    const auto frames = received.substr(end + 4);
    Reference reference(server, bytes);
    const auto expected = reference.read();
    const bool isRight = frames == expected || (reference.endsWrong() && frames == expected + closing(1007));
    const auto hex = [](const std::string& text) {
        std::string out;
        for (const unsigned char c : text)
            out += c >= ' ' && c < 0x7f ? std::string(1, char(c)) : "<" + std::to_string(c) + ">";
        return out;
    };
    require(isRight, "the frames are\n" + hex(expected) + "\nnot\n" + hex(frames));
    return 0;
}
