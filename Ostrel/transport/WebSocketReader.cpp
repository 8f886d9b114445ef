#include "Ostrel/transport/WebSocketReader.h"

#include "Ostrel/text/Utf8.h"
#include "Ostrel/transport/WebSocketFrame.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Ostrel {

namespace {

constexpr std::size_t mostOfControl = 125; ///< bytes of a control frame's payload
constexpr std::size_t keySize = 4;

/// A buffer that a large message has widened is given back.
constexpr std::size_t keptCapacity = 64u << 10;

std::uint64_t readNumber(const char* bytes, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i != size; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

/// Whether anybody may close with that code, by RFC 6455, 7.4.
bool isCloseCode(std::uint64_t code) {
    return (code >= 1000 && code <= 1003) || (code >= 1007 && code <= 1013) || code >= 3000;
}

bool mayBeginCharacter(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes.front());
    const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    std::string least(bytes), most(bytes);
    least.resize(size, '\x80');
    most.resize(size, '\xbf');
    return isUtf8(least) || isUtf8(most);
}

} // namespace

boost::asio::mutable_buffer WebSocketReader::prepare() {
    dropPayload();
    const auto wanted = std::clamp(inFrame_ ? left_ : 0, leastRead, mostRead);
    if (bytes_.size() - end_ < wanted) {
        std::memmove(bytes_.data(), bytes_.data() + begin_, size());
        end_ -= std::exchange(begin_, 0);
    }
    if (bytes_.size() - end_ < wanted)
        bytes_.resize(end_ + wanted);
    return {bytes_.data() + end_, bytes_.size() - end_};
}

WebSocketReader::Event WebSocketReader::next() {
    dropPayload();
    for (;;) {
        if (!inFrame_) {
            const auto event = readHead();
            if (event != Event::None || !inFrame_)
                return event;
        }
        const auto event = readPayload();
        if (event != Event::None || inFrame_)
            return event;
    }
}

/// Reads on to the payload of a frame that is a part of a message.
WebSocketReader::Event WebSocketReader::readHead() {
    for (; size() >= 2; dropPayload()) {
        const char* const head = bytes_.data() + begin_;
        const auto flags = static_cast<unsigned char>(head[0]), second = static_cast<unsigned char>(head[1]);
        const std::size_t shortLength = second & 0x7f;
        const std::size_t lengthSize = shortLength == 126 ? 2 : shortLength == 127 ? 8 : 0;
        const bool isMasked = (second & 0x80) != 0;
        const auto headSize = 2 + lengthSize + (isMasked ? keySize : 0);
        if (size() < headSize)
            break;
        const auto kind = static_cast<FrameKind>(flags & 0x0f);
        const bool isControl = kind >= FrameKind::Close;
        const bool isKnown = isControl ? kind <= FrameKind::Pong : kind <= FrameKind::Binary;
        const bool isReserved = (flags & 0x70) != 0;
        isLast_ = (flags & 0x80) != 0;
        if (!isKnown || isReserved || !isMasked)
            return Event::WrongFrame;
        if (isControl) {
            if (!isLast_ || shortLength > mostOfControl)
                return Event::WrongFrame;
            if (size() < headSize + shortLength)
                break;
        }
        if (!isControl && (kind == FrameKind::Continuation) != inMessage_)
            return Event::WrongFrame;
        const auto length = lengthSize == 0 ? shortLength : readNumber(head + 2, lengthSize);
        if (lengthSize != 0 && length < (lengthSize == 2 ? 126u : 65536u))
            return Event::WrongFrame; // it would have fitted in less
        std::copy_n(head + headSize - keySize, keySize, key_.begin());
        unmasked_ = 0;
        if (!isControl) {
            if (length > mostBytes_ - message_.size())
                return Event::TooLong;
            begin_ += headSize;
            inFrame_ = true;
            isFirst_ = !inMessage_;
            inMessage_ = !isLast_;
            isText_ = isFirst_ ? kind == FrameKind::Text : isText_;
            left_ = static_cast<std::size_t>(length);
            break;
        }
        begin_ += headSize;
        payload_ = unmask(shortLength);
        used_ = shortLength;
        if (kind == FrameKind::Close)
            return readClose();
        if (kind == FrameKind::Ping && !discards_)
            return Event::Ping;
    }
    return Event::None;
}

WebSocketReader::Event WebSocketReader::readClose() {
    closeCode_ = noCode;
    if (payload_.empty())
        return Event::Close;
    const auto code = payload_.size() < 2 ? 0 : readNumber(payload_.data(), 2);
    if (!isCloseCode(code) || !isUtf8(payload_.substr(2)))
        return Event::WrongFrame;
    closeCode_ = static_cast<std::uint16_t>(code);
    return Event::Close;
}

/// Reads on in the payload of a frame. None when more of it must come, and behind one that does not end
/// its message.
WebSocketReader::Event WebSocketReader::readPayload() {
    const auto size = std::min(left_, this->size());
    const auto part = unmask(size);
    left_ -= size;
    inFrame_ = left_ > 0;
    const bool isWhole = !inFrame_ && isLast_;
    if (discards_) {
        begin_ += size;
        return Event::None;
    }
    if (isWhole && isFirst_ && message_.empty()) {
        payload_ = part;
        used_ = size;
        return isText_ && !isUtf8(part) ? Event::BadText : isText_ ? Event::Text : Event::Binary;
    }
    message_ += part;
    begin_ += size;
    if (isText_ && !isGoodText(isWhole))
        return Event::BadText;
    if (!isWhole)
        return Event::None;
    payload_ = message_;
    isDelivered_ = true;
    return isText_ ? Event::Text : Event::Binary;
}

/// Whether what has come of a message can be a text.
bool WebSocketReader::isGoodText(bool isWhole) {
    const auto unfinished = isWhole ? 0 : countUnfinished(message_);
    if (unfinished > 0 && !mayBeginCharacter(std::string_view(message_).substr(message_.size() - unfinished)))
        return false;
    const auto end = message_.size() - unfinished;
    const auto from = std::exchange(checked_, end);
    return end <= from || isUtf8(std::string_view(message_).substr(from, end - from));
}

/// Unmasks the next bytes, where they stand.
std::string_view WebSocketReader::unmask(std::size_t size) {
    char* const bytes = bytes_.data() + begin_;
    std::array<char, 2 * keySize> key;
    for (std::size_t i = 0; i != key.size(); ++i)
        key[i] = key_[(unmasked_ + i) % keySize];
    std::size_t at = 0;
    for (; size - at >= key.size(); at += key.size())
        for (std::size_t i = 0; i != key.size(); ++i)
            bytes[at + i] = char(bytes[at + i] ^ key[i]);
    for (std::size_t i = 0; at + i < size; ++i)
        bytes[at + i] = char(bytes[at + i] ^ key[i]);
    unmasked_ += size;
    return {bytes, size};
}

/// Goes behind the last payload.
void WebSocketReader::dropPayload() {
    payload_ = {};
    begin_ += std::exchange(used_, 0);
    if (std::exchange(isDelivered_, false)) {
        message_.clear();
        checked_ = 0;
    }
}

void WebSocketReader::forgetMessage() noexcept {
    dropPayload();
    if (message_.capacity() > keptCapacity)
        message_ = std::string();
    if (size() == 0 && bytes_.size() > leastRead) {
        bytes_ = std::string();
        begin_ = end_ = 0;
    }
}

} // namespace Ostrel
