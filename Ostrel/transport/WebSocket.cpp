#include "Ostrel/transport/WebSocket.h"

#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/transport/Conversation.h"
#include "Ostrel/transport/Input.h"
#include "Ostrel/transport/Output.h"
#include "Ostrel/transport/WebSocketHandshake.h"

#include <boost/asio/post.hpp>

#include <utility>

namespace Ostrel {

namespace asio = boost::asio;

using boost::beast::websocket::close_code;
using boost::system::error_code;

namespace {

Counter binaryMessages(cutOffs, "binary");
Counter badTexts(cutOffs, "bad_utf8");
Counter longMessages(cutOffs, "message_too_long");
Counter wrongFrames(cutOffs, "bad_frame");

/// Frames of one client that are seen to before others have their turn; fewer when much waits for it.
constexpr int mostAtOnce = 16;

} // namespace

WebSocket::WebSocket(Conversation& conversation, Output& output, RPCServer& server, const RPCPeer& peer,
                     std::string early)
    : conversation_(conversation), output_(output), server_(server), peer_(peer),
      reader_(conversation.getLimits().message, std::move(early)),
      due_(conversation.getSocket().get_executor()) {}

WebSocket::~WebSocket() = default;

bool WebSocket::accept(const Http::Request& request, const std::string& subProtocol) {
    WebSocketHandshake handshake(conversation_.getSocket().get_executor(), request, subProtocol);
    conversation_.send(std::move(handshake.answer), std::string());
    return handshake.isAccepted;
}

void WebSocket::open(MessageHandler handler) {
    handler_ = std::move(handler);
    conversation_.getInput().onBytes(
        [this](const error_code& failure, std::size_t size) { bytesCame(failure, size); });
    server_.subscribe(*this, &peer_);
    readMessages();
}

/// Waits for bytes.
void WebSocket::read() {
    awaitsBytes_ = true;
    conversation_.getInput().read(reader_.prepare());
}

void WebSocket::bytesCame(const error_code& failure, std::size_t size) {
    awaitsBytes_ = false;
    if (failure) {
        conversation_.finish();
        return;
    }
    reader_.commit(size);
    readMessages();
}

/// Sees to what has come. What is sent meanwhile goes out together.
void WebSocket::readMessages() {
    if (isReading_ || awaitsBytes_)
        return;
    isReading_ = true;
    output_.hold();
    bool isMore = true;
    int seen = 0;
    do
        isMore = conversation_.getPhase() <= Phase::Goodbye && mayGoOn_ && see(reader_.next());
    while (isMore && ++seen != mostAtOnce && output_.getWaiting() < Outbox::mostAtOnce);
    isReading_ = false;
    output_.release();
    if (isMore)
        asio::post(conversation_.getSocket().get_executor(),
                   conversation_.guarded([this] { readMessages(); }));
}

/// Returns whether there may be more at once.
bool WebSocket::see(Event event) {
    switch (event) {
    case Event::None:
        read();
        return false;
    case Event::Text:
        mayGoOn_ = false;
        handler_(reader_.getPayload());
        return true;
    case Event::Binary:
        conversation_.countCutOff(binaryMessages);
        conversation_.sayGoodbye(close_code::unknown_data);
        return true;
    case Event::Ping:
        send(FrameKind::Pong, std::string(reader_.getPayload()));
        return true;
    case Event::Close:
        close(reader_.getCloseCode() == WebSocketReader::noCode ? std::uint16_t(close_code::normal)
                                                                : reader_.getCloseCode());
        return false;
    case Event::WrongFrame:
        fail(wrongFrames, close_code::protocol_error);
        return false;
    case Event::BadText:
        fail(badTexts, close_code::bad_payload);
        return false;
    case Event::TooLong:
        fail(longMessages, close_code::too_big);
        return false;
    }
    return false;
}

void WebSocket::fail(Counter& reason, close_code code) {
    conversation_.countCutOff(reason);
    close(code);
}

/// Ends the conversation with a close frame, unless that is sent already.
void WebSocket::close(std::uint16_t code) {
    if (answered_) {
        std::exchange(answered_, nullptr)();
        return;
    }
    sendCloseFrame(code);
    conversation_.finish();
}

void WebSocket::reply(std::string text) {
    sendNotifications();
    if (!text.empty() && conversation_.getPhase() == Phase::Open)
        send(FrameKind::Text, std::move(text));
    if (conversation_.getPhase() == Phase::Open)
        conversation_.getInput().whenAllowed(conversation_.guarded([this] {
            mayGoOn_ = true;
            readMessages();
        }));
}

void WebSocket::send(FrameKind kind, std::string payload) {
    auto head = frameHead(kind, payload.size());
    conversation_.send(std::move(head), std::move(payload));
}

void WebSocket::notify(const std::shared_ptr<const RPCNotification>& notification) noexcept {
    try {
        const std::lock_guard lock(inboxMutex_);
        inbox_.push_back(notification);
        if (inbox_.size() == 1)
            asio::post(conversation_.getSocket().get_executor(),
                       conversation_.guarded([this] { sendNotifications(); }));
    } catch (...) {
        conversation_.giveUp();
    }
}

void WebSocket::missed() noexcept {
    conversation_.giveUp();
}

void WebSocket::sendNotifications() {
    std::vector<std::shared_ptr<const RPCNotification>> notifications;
    {
        const std::lock_guard lock(inboxMutex_);
        notifications.swap(inbox_);
    }
    for (auto& notification : notifications) {
        if (conversation_.getPhase() != Phase::Open)
            return;
        if (!delayed_.empty() || notification->isDelayed())
            delayed_.push_back(std::move(notification));
        else
            send(std::move(notification));
    }
    if (!delayed_.empty())
        sendDue();
}

/// Sends those whose time has come, and sees to it that the others are sent in theirs.
void WebSocket::sendDue() {
    while (!delayed_.empty() && (delayed_.size() > mostDelayed || !delayed_.front()->isDelayed())) {
        if (conversation_.getPhase() != Phase::Open)
            return;
        send(std::exchange(delayed_.front(), nullptr));
        delayed_.pop_front();
    }
    if (delayed_.empty() || due_.expiry() == delayed_.front()->getDue())
        return;
    due_.expires_at(delayed_.front()->getDue());
    due_.async_wait(conversation_.guarded([this](error_code failure) {
        if (!failure)
            sendNotifications();
    }));
}

void WebSocket::send(std::shared_ptr<const RPCNotification> notification) {
    if (const auto latest = latest_.lock(); latest != nullptr && notification->replaces(*latest))
        conversation_.withdraw(*latest);
    latest_ = notification;
    auto head = frameHead(FrameKind::Text, notification->getText().size());
    conversation_.send(std::move(head), std::move(notification));
}

void WebSocket::ping() {
    send(FrameKind::Ping, std::string());
}

void WebSocket::sendClose(close_code code, std::function<void()> answered) {
    answered_ = std::move(answered);
    reader_.discardMessages();
    mayGoOn_ = true;
    sendCloseFrame(code);
    // Not from inside what says goodbye.
    asio::post(conversation_.getSocket().get_executor(), conversation_.guarded([this] { readMessages(); }));
}

void WebSocket::sendCloseFrame(std::uint16_t code) {
    send(FrameKind::Close, {static_cast<char>(code >> 8), static_cast<char>(code)});
}

void WebSocket::unsubscribe() noexcept {
    server_.unsubscribe(*this);
}

} // namespace Ostrel
