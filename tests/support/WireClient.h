#pragma once

#include "Ostrel/transport/Address.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace Ostrel::Test {

/// One frame of a WebSocket, as it travels.
struct Frame {
    int opcode = 0; ///< 1 text, 2 binary, 8 close, 9 ping, 10 pong
    std::string payload;

    /// Of a close frame: its status code.
    int closeCode() const;

    bool operator==(const Frame&) const = default;
};

/// A client that sends what it is told, right or wrong, and shows what comes back.
///
/// It is written on plain sockets so that nothing tidies up between a test and the wire.
/// A read that gets nothing for 30 seconds throws.
class WireClient {
public:
    explicit WireClient(const Address& address);
    ~WireClient();

    WireClient(WireClient&& other) noexcept;
    WireClient(const WireClient&) = delete;
    WireClient& operator=(const WireClient&) = delete;

    void send(std::string_view bytes);

    /// Sends as much as the system takes at once; returns how much that was.
    std::size_t sendSome(std::string_view bytes);

    /// Ends the sending direction.
    void shutdownSend();

    /// Leaves without a goodbye: the other side gets a reset, through a Unix socket an end.
    void leave();

    /// Whether something is there to be read, or the other side has ended its sending, within that time.
    bool hasInput(std::chrono::milliseconds patience = {}) const;

    /// Reads to the end of the connection.
    std::string readAll();

    /// Whether the other side has closed, once everything sent has been read.
    bool isClosedByPeer();

    // HTTP

    struct Answer {
        int status = 0;
        std::string head; ///< status line and headers
        std::string body;
    };

    /// Reads one answer, with its body unless the request was a HEAD.
    Answer readAnswer(bool hasBody = true);

    /// Sends a JSON-RPC message by POST and returns the answer.
    Answer post(std::string_view path, std::string_view body, std::string_view headers = {});

    // WebSocket

    /// Sends the upgrade request and reads the answer; throws unless it is 101.
    std::string upgrade(std::string_view path = "/rpc/TV", std::string_view headers = {});

    /// Sends one masked frame, with the final bit.
    void sendFrame(int opcode, std::string_view payload);
    void sendText(std::string_view text) { sendFrame(1, text); }

    /// Reads one frame.
    Frame readFrame();

    /// Reads text frames until one that is no notification, and returns it.
    std::string readReply();

    /// Sends a request and returns its reply.
    std::string call(std::string_view text);

private:
    std::string readBytes(std::size_t size);
    bool readMore();

    int socket_;
    std::string input_;
};

/// The upgrade request of a well-behaved client.
std::string upgradeRequest(std::string_view path, std::string_view headers = {});

/// A masked frame as it travels.
std::string frame(int opcode, std::string_view payload);

} // namespace Ostrel::Test
