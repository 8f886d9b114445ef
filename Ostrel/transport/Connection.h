#pragma once

#include "Ostrel/transport/Conversation.h"
#include "Ostrel/transport/Http.h"
#include "Ostrel/transport/Input.h"
#include "Ostrel/transport/Lanes.h"
#include "Ostrel/transport/MessageBudget.h"
#include "Ostrel/transport/Output.h"
#include "Ostrel/transport/Patience.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Ostrel {

class ConnectionHub;
class Gauge;
class HttpReader;
class RPCServer;
class WebSocket;
struct RPCPeer;

/// One client's connection: HTTP requests, one after another, or a WebSocket. Here is its life
/// from phase to phase; its parts read, decide and send.
///
/// It lives on the listener's thread. It keeps itself alive while something is under way and is
/// gone soon after it has closed.
class Connection final : public Conversation {
public:
    using Clock = std::chrono::steady_clock;

    /// @param localAddress  the numeric address that the client reached; empty for a Unix
    ///                      domain socket
    /// @param peer          stands for this connection where calls are carried out
    Connection(ConnectionHub& hub, Socket socket, std::string localAddress, std::shared_ptr<RPCPeer> peer);
    ~Connection() override;

    /// Begins to read.
    void start();

    /// Answers 503 and ends: there are too many connections.
    void refuse();

    /// Ends politely, because the host stops.
    void stop();

    void close() noexcept override;
    void countCutOff(Counter& reason) noexcept override;

    /// Cuts off a client that has let too much wait, or for too long: what has not begun to go out
    /// is dropped. A WebSocket's client that reads again within the closing time is told why.
    /// @param reason  counts it
    void cutOff(Counter& reason);

    /// Whether a message is being carried out elsewhere.
    bool isWorking() const { return working_; }

    /// Looks whether a time has run out. Not to be called from inside an operation of the connection.
    void tick(Clock::time_point now);

    /// When to call tick() next, unless something happens before; max() for never.
    Clock::time_point getNextTick(Clock::time_point now) const;

    /// What to compare when one must be cut off for the sake of all.
    double getBurden(Clock::time_point now) { return output_.getBurden(now); }

    /// Whether so much waits for the client that it is not read from.
    bool isFull() const { return full_; }

private:
    Phase getPhase() const noexcept override { return phase_; }
    Socket& getSocket() noexcept override { return socket_; }
    Input& getInput() noexcept override { return input_; }
    const Limits& getLimits() const noexcept override { return limits_; }
    void send(std::string head, std::string body) override;
    void send(std::string head, std::shared_ptr<const RPCNotification> notification) override;
    void withdraw(const RPCNotification& notification) override;
    Clock::time_point getReadingTime() override;
    void inputHeld() override;
    void heard() override;
    void waitingChanged() override;
    void allSent() override;
    void sayGoodbye(boost::beast::websocket::close_code code) override;
    void finish() override;
    void fail(const char* what) noexcept override;
    void giveUp() noexcept override;

    void countAs(Gauge* kind) noexcept;
    void enter(Phase phase);
    std::chrono::milliseconds getPatience() const;
    bool isClientsTurn() const;
    bool isUnread() const;
    bool hasGone(Clock::time_point now);
    void settle(Clock::time_point now);
    void runOut(Clock::time_point now);
    bool isEnding() const { return phase_ >= Phase::Finishing; }

    void awaitRequest();
    void readHead();
    void readBody();
    void requestCame();
    void refuseUnread(const boost::system::error_code& failure);
    void answer(Answer what);
    void upgrade(const Http::Upgrade& upgrade);

    void work(RPCServer& server, std::string_view text);
    void workElsewhere(std::unique_ptr<RPCMessage> message, std::size_t size);
    std::size_t getMessageSize() const;
    void forgetMessage();
    void replyCame(RPCMessage::Reply reply);

    void drain();
    void readAway();
    bool releaseWebSocket() noexcept;

    ConnectionHub& hub_;
    const Limits& limits_;
    Socket socket_;
    std::shared_ptr<Lanes::Client> client_; ///< null when closed

    Phase phase_ = Phase::ReadingHead;
    Patience patience_; ///< with the client in this phase
    bool late_ = false; ///< it has run out, but the system still has bytes for the client
    bool pinged_ = false; ///< and nothing heard since
    bool cutOff_ = false; ///< it has the closing time to take what is left
    bool isCutOffCounted_ = false;
    Gauge* countedAs_ = nullptr; ///< null while it does not count as open
    bool working_ = false; ///< a message is being carried out elsewhere
    bool asked_ = false; ///< whether anybody waits for its reply
    Clock::time_point workingSince_;
    std::atomic<bool> lost_ = false; ///< there was no memory to tell the client something

    const Http http_;
    std::unique_ptr<HttpReader> reader_;
    std::string allowedOrigin_; ///< that may read the answer; empty for none
    /// Whether another request may follow the one at hand. The client says so in any phase of
    /// its request, and a host that stops says no.
    bool keepAlive_ = false;

    std::unique_ptr<WebSocket> webSocket_; ///< once upgraded
    Input input_;
    MessageBudget::Reader message_; ///< that is being read
    Output output_;
    std::size_t told_ = 0; ///< of what waits costs, what the hub knows about
    bool waits_ = false; ///< bytes wait for the client
    bool full_ = false; ///< so much waits that nothing more is read
    std::array<char, 512> away_; ///< what is read at the end and thrown away
};

} // namespace Ostrel
