#include "Ostrel/transport/WebSocket.h"

#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/transport/Conversation.h"
#include "Ostrel/transport/Input.h"
#include "Ostrel/transport/WebSocketFrame.h"
#include "Ostrel/transport/WebSocketLayer.h"

#include <boost/asio/post.hpp>
#include <boost/beast/websocket/error.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <utility>

namespace Ostrel {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;

using boost::system::error_code;

namespace {

Counter binaryMessages(cutOffs, "binary");
Counter badTexts(cutOffs, "bad_utf8");
Counter longMessages(cutOffs, "message_too_long");
Counter wrongFrames(cutOffs, "bad_frame");

/// What Beast ends a conversation for; null when it was the client who has ended it.
Counter* reasonOf(const error_code& failure) {
    using websocket::error;
    if (failure == error::message_too_big || failure == error::buffer_overflow)
        return &longMessages;
    if (failure == error::bad_frame_payload)
        return &badTexts;
    return failure == websocket::condition::protocol_violation ? &wrongFrames : nullptr;
}

/// A buffer that a large message has widened is given back.
constexpr std::size_t keptCapacity = 64u << 10;

} // namespace

class WebSocket::Stream : public websocket::stream<WebSocketLayer, false> {
public:
    using websocket::stream<WebSocketLayer, false>::stream;
};

WebSocket::WebSocket(Conversation& conversation, RPCServer& server, const RPCPeer& peer, std::string early)
    : conversation_(conversation), server_(server), peer_(peer),
      stream_(std::make_unique<Stream>(conversation, std::move(early))),
      due_(conversation.getSocket().get_executor()) {}

WebSocket::~WebSocket() = default;

bool WebSocket::accept(const Http::Request& request, const std::string& subProtocol) {
    // The connection keeps time itself.
    stream_->set_option(websocket::stream_base::timeout{websocket::stream_base::none(),
                                                        websocket::stream_base::none(), false});
    stream_->set_option(websocket::stream_base::decorator([subProtocol](websocket::response_type& response) {
        response.set("X-Content-Type-Options", "nosniff");
        response.set(http::field::server, "ostrel"); // else Beast's name and version
        if (!subProtocol.empty())
            response.set(http::field::sec_websocket_protocol, subProtocol);
    }));
    stream_->read_message_max(conversation_.getLimits().message);
    error_code failure;
    stream_->accept(request, failure);
    return !failure;
}

void WebSocket::open(MessageHandler handler) {
    handler_ = std::move(handler);
    server_.subscribe(*this, &peer_);
    readMessage();
}

void WebSocket::readMessage() {
    if (conversation_.getPhase() != Phase::Open)
        return;
    stream_->async_read(buffer_, conversation_.guarded([this](error_code failure, std::size_t) {
        if (failure) {
            if (auto* reason = reasonOf(failure))
                conversation_.countCutOff(*reason);
            conversation_.finish();
        } else {
            messageCame();
        }
    }));
}

void WebSocket::messageCame() {
    // Once the goodbye is said, Beast reads by itself to the client's own.
    if (conversation_.getPhase() != Phase::Open)
        return;
    if (!stream_->got_text()) {
        conversation_.countCutOff(binaryMessages);
        conversation_.sayGoodbye(websocket::close_code::unknown_data);
        return;
    }
    const auto bytes = buffer_.cdata();
    const std::string_view text(static_cast<const char*>(bytes.data()), bytes.size());
    // Beast checks every byte as it comes, but not that the text is whole when its last frame
    // is empty.
    if (endsInsideCharacter(text)) {
        conversation_.countCutOff(badTexts);
        conversation_.sayGoodbye(websocket::close_code::bad_payload);
        return;
    }
    handler_(text);
}

void WebSocket::forgetMessage() {
    buffer_.clear();
    if (buffer_.capacity() > keptCapacity)
        buffer_.shrink_to_fit();
}

void WebSocket::reply(std::string text) {
    sendNotifications();
    if (!text.empty() && conversation_.getPhase() == Phase::Open) {
        auto head = textFrameHead(text.size());
        conversation_.send(std::move(head), std::move(text));
    }
    if (conversation_.getPhase() == Phase::Open)
        conversation_.getInput().whenAllowed(conversation_.guarded([this] { readMessage(); }));
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
    auto head = textFrameHead(notification->getText().size());
    conversation_.send(std::move(head), std::move(notification));
}

void WebSocket::ping() {
    stream_->async_ping({}, conversation_.guarded([](error_code) {}));
}

void WebSocket::sendClose(websocket::close_code code, std::function<void()> answered) {
    stream_->async_close(code,
                         conversation_.guarded([answered = std::move(answered)](error_code) { answered(); }));
}

void WebSocket::unsubscribe() noexcept {
    server_.unsubscribe(*this);
}

} // namespace Ostrel
