#pragma once

#include "Ostrel/rpc/RPCNotifier.h"
#include "Ostrel/transport/Http.h"
#include "Ostrel/transport/Socket.h"
#include "Ostrel/transport/WebSocketFrame.h"
#include "Ostrel/transport/WebSocketReader.h"

#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel {

class Conversation;
class Counter;
class Output;
class RPCServer;

/// A connection's WebSocket: messages come from it, replies and its server's notifications go
/// to it. On the listener's thread; only notify() may come from elsewhere.
class WebSocket final : public RPCSubscriber {
public:
    /// So many notifications that are delayed wait for a client. When one more comes, the first goes
    /// out before its time.
    static constexpr std::size_t mostDelayed = 1000;

    /// Takes a message's text, which stays until forgetMessage(). The reply() may come at once or later.
    using MessageHandler = std::function<void(std::string_view text)>;

    /// @param output  what the conversation sends by
    /// @param peer   stands for this connection; must live as long
    /// @param early  what was read behind the upgrade request
    WebSocket(Conversation& conversation, Output& output, RPCServer& server, const RPCPeer& peer,
              std::string early);
    ~WebSocket() override;

    RPCServer& getServer() const { return server_; }

    /// Answers the upgrade request; false when it could not be.
    bool accept(const Http::Request& request, const std::string& subProtocol);

    /// Subscribes to the server and reads the first message.
    void open(MessageHandler handler);

    /// Bytes that have come of the message that is being read.
    std::size_t getMessageSize() const { return reader_.getMessageSize(); }

    /// Gives the memory of the message at hand back.
    void forgetMessage() { reader_.forgetMessage(); }

    /// Sends a message's reply, unless it is empty, behind what its handler has raised and is not
    /// delayed, and goes on to the next message.
    void reply(std::string text);

    /// Asks the client whether it is still there; whatever it sends is an answer.
    void ping();

    /// Queues the close frame; calls back when the client has answered it, or cannot any more.
    void sendClose(boost::beast::websocket::close_code code, std::function<void()> answered);

    /// Takes no notifications any more.
    void unsubscribe() noexcept;

    void notify(const std::shared_ptr<const RPCNotification>& notification) noexcept override;
    void missed() noexcept override;

private:
    using Event = WebSocketReader::Event;
    using Clock = std::chrono::steady_clock;

    void read();
    void bytesCame(const boost::system::error_code& failure, std::size_t size);
    void readMessages();
    bool see(Event event);
    void send(FrameKind kind, std::string payload);
    void send(std::shared_ptr<const RPCNotification> notification);
    void fail(Counter& reason, boost::beast::websocket::close_code code);
    void close(std::uint16_t code);
    void sendCloseFrame(std::uint16_t code);
    void sendNotifications();
    void sendDue();

    Conversation& conversation_;
    Output& output_;
    RPCServer& server_;
    const RPCPeer& peer_;
    MessageHandler handler_;
    WebSocketReader reader_;
    bool awaitsBytes_ = false; ///< somebody reads
    bool isReading_ = false; ///< readMessages() is at work
    bool mayGoOn_ = true; ///< the message at hand has its reply
    std::function<void()> answered_; ///< once the close frame is sent: called when the client's has come
    std::weak_ptr<const RPCNotification> latest_; ///< that was sent
    std::deque<std::shared_ptr<const RPCNotification>> delayed_; ///< the first, and all behind it
    boost::asio::basic_waitable_timer<Clock, boost::asio::wait_traits<Clock>, Socket::executor_type>
        due_; ///< of the first that is delayed

    std::mutex inboxMutex_;
    std::vector<std::shared_ptr<const RPCNotification>> inbox_; ///< notifications from any thread
};

} // namespace Ostrel
