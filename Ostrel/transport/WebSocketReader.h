#pragma once

#include <boost/asio/buffer.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace Ostrel {

/// Finds the messages in the bytes that a client sends over a WebSocket (RFC 6455, without
/// extensions). It neither reads them nor answers.
///
/// A message that stands in one piece is unmasked where it stands.
class WebSocketReader {
public:
    /// What there is to see to. Behind one of the last three nothing more can be read.
    enum class Event {
        None, ///< more bytes must come
        Text, ///< a message: getPayload() is UTF-8
        Binary, ///< a message of the other kind
        Ping, ///< to be answered with getPayload()
        Close, ///< getCloseCode() says why
        WrongFrame, ///< what is no WebSocket
        BadText, ///< what is no UTF-8
        TooLong, ///< a message that is too long
    };

    /// The client says nothing about why it closes.
    static constexpr std::uint16_t noCode = 0;

    /// @param mostBytes  that a message may have
    /// @param early      the first bytes
    WebSocketReader(std::size_t mostBytes, std::string early)
        : mostBytes_(mostBytes), bytes_(std::move(early)), end_(bytes_.size()) {}

    /// Where the next bytes are to be put. Any payload is gone then.
    /// @throws std::bad_alloc
    boost::asio::mutable_buffer prepare();

    /// So many have come there.
    void commit(std::size_t size) { end_ += size; }

    /// Goes on to what comes next. The last payload is gone then.
    /// @throws std::bad_alloc
    Event next();

    /// Of the event at hand.
    std::string_view getPayload() const { return payload_; }
    std::uint16_t getCloseCode() const { return closeCode_; }

    /// Bytes that have come of a message that is not whole.
    std::size_t getMessageSize() const { return message_.size(); }

    /// Gives the memory of the message at hand back.
    void forgetMessage() noexcept;

    /// Nobody wants messages any more, nor pings; nothing is kept of them.
    void discardMessages() { discards_ = true; }

private:
    // Bytes that are read at a time
    static constexpr std::size_t leastRead = 4096;
    static constexpr std::size_t mostRead = 16u << 10;

    std::size_t size() const { return end_ - begin_; }
    Event readHead();
    Event readClose();
    Event readPayload();
    bool isGoodText(bool isWhole);
    std::string_view unmask(std::size_t size);
    void dropPayload();

    const std::size_t mostBytes_;
    bool discards_ = false;

    std::string bytes_; ///< what has come and is not used up stands in it
    std::size_t begin_ = 0;
    std::size_t end_;

    // The frame at hand:
    bool inFrame_ = false; ///< some of its payload is to come
    bool isFirst_ = false; ///< of its message
    bool isLast_ = false;
    std::array<char, 4> key_{};
    std::size_t unmasked_ = 0; ///< bytes of its payload
    std::size_t left_ = 0; ///< bytes of its payload that are to come

    // The message at hand:
    bool inMessage_ = false; ///< another frame of it follows
    bool isText_ = false;
    std::string message_; ///< what has come of one that is not in one piece
    std::size_t checked_ = 0; ///< bytes of it that are whole characters

    // The event at hand:
    std::string_view payload_;
    std::size_t used_ = 0; ///< bytes of the payload where it stands
    bool isDelivered_ = false; ///< the payload is the message that is kept
    std::uint16_t closeCode_ = noCode;
};

} // namespace Ostrel
