#pragma once

#include "bench/AnswerScanner.h"

#include <cstdint>
#include <string_view>

#include <sys/socket.h>

namespace Ostrel::Bench {

/// A connection of who measures: what is read is looked at as far as it takes to count answers.
class LoadConnection {
public:
    /// Connects, and is upgraded to a WebSocket if that is wanted.
    /// @throws std::runtime_error  nobody listens there, or the upgrade is refused
    LoadConnection(std::uint16_t port, bool isWebSocket);

    ~LoadConnection();

    LoadConnection(const LoadConnection&) = delete;
    LoadConnection& operator=(const LoadConnection&) = delete;

    int getSocket() const { return socket_; }

    /// Waits until the system has taken all of it, for half a minute at most.
    /// @throws std::runtime_error  it does not
    void send(std::string_view bytes);

    /// Reads what is there, and calls found(AnswerScanner::Found) for what is whole with it. Pings
    /// are answered.
    /// @throws std::runtime_error  the other side has closed
    template <class Function> void receive(const Function& found) {
        scanner_.scan(read(MSG_DONTWAIT), [&](const AnswerScanner::Found& whole) {
            if (whole.kind == AnswerScanner::Found::Ping)
                answerPing();
            else
                found(whole);
        });
    }

private:
    void answerPing();

    /// The bytes are valid until any connection of this thread reads again.
    std::string_view read(int flags);

    int socket_;
    AnswerScanner scanner_;
};

} // namespace Ostrel::Bench
