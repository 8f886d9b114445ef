#include "Ostrel/transport/Connection.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/text/Printable.h"
#include "Ostrel/transport/Answer.h"
#include "Ostrel/transport/Outbox.h"
#include "Ostrel/transport/WebSocketFrame.h"
#include "Ostrel/transport/WebSocketLayer.h"

#include <boost/asio/post.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace Ostrel {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;

using boost::system::error_code;

namespace {

constexpr const char* rpcPath = "/rpc/";

using WebSocket = websocket::stream<WebSocketLayer, false>;

std::string_view view(beast::string_view text) {
    return {text.data(), text.size()};
}

class ConnectionImpl final : public Connection,
                             public std::enable_shared_from_this<ConnectionImpl>,
                             private Wire {
    /// Wraps a completion handler: it keeps the connection alive, and whatever is thrown ends
    /// this connection alone.
    template <class Handler> auto guarded(Handler handler) {
        return [self = shared_from_this(), handler = std::move(handler)](auto&&... arguments) {
            if (self->closed_)
                return;
            try {
                handler(std::forward<decltype(arguments)>(arguments)...);
            } catch (const std::exception& exception) {
                self->fail(exception.what());
            } catch (...) {
                self->fail("unknown");
            }
        };
    }

public:
    ConnectionImpl(ConnectionHub& hub, Socket socket, std::string localAddress)
        : hub_(hub), limits_(hub.getLimits()), socket_(std::move(socket)),
          localAddress_(std::move(localAddress)), peer_(std::make_shared<RPCPeer>()) {}

    ~ConnectionImpl() override { close(); }

    void start() override {
        admitted_ = true;
        waitUntil(limits_.headTime);
        readRequest();
    }

    void refuse() override {
        answer({http::status::service_unavailable, "too many connections; try again later\n"}, false);
    }

    void stop() override {
        if (closed_)
            return;
        if (webSocket_)
            closeWebSocket(websocket::close_code::going_away);
        else if (!working_)
            finish();
        else
            keepAlive_ = false;
    }

    void close() noexcept override {
        if (closed_)
            return;
        closed_ = true;
        unsubscribe();
        peer_.reset();
        error_code ignored;
        socket_.close(ignored);
        hub_.addWaiting(-std::ptrdiff_t(outbox_.size()));
        outbox_.clear();
        takeApart();
        hub_.remove(*this);
    }

    void cutOff() override {
        if (closed_)
            return;
        ostrelDebugPrint(DebugLevel::Warning, "Connection", "Connection", __LINE__,
                         "a client let %zu bytes wait and is cut off\n", outbox_.size());
        if (!webSocket_ || ending_ || saidGoodbye_) {
            close();
            return;
        }
        const auto before = outbox_.size();
        outbox_.dropUnsent();
        hub_.addWaiting(std::ptrdiff_t(outbox_.size()) - std::ptrdiff_t(before));
        closeWebSocket(websocket::close_code::try_again_later);
    }

    void tick(Clock::time_point now) override {
        if (lost_)
            close();
        if (now >= deadline_ || (outbox_.size() > 0 && now - lastProgress_ >= limits_.stalledReader))
            close();
    }

    std::size_t getWaiting() const override { return outbox_.size(); }

    bool isAdmitted() const override { return admitted_; }

    void notify(const std::shared_ptr<const std::string>& text) noexcept override {
        try {
            const std::lock_guard lock(inboxMutex_);
            inbox_.push_back(text);
            if (inbox_.size() == 1)
                asio::post(socket_.get_executor(), guarded([this] { takeNotifications(); }));
        } catch (...) {
            // A client that would miss a notification is better off without the connection.
            lost_ = true;
        }
    }

private:
    Socket& getSocket() override { return socket_; }
    void pushBytes(std::string bytes) override { push(std::move(bytes), std::string()); }
    void closeWire() noexcept override { close(); }

    void fail(const char* what) noexcept {
        ostrelDebugPrint(DebugLevel::Error, "Connection", "Connection", __LINE__,
                         "%s(): caught exception: %s\n", "guarded", what);
        close();
    }

    /// Beast's operations that wait for each other are kept by the WebSocket and keep this
    /// connection; it lets go of them, but not from inside one of them.
    void takeApart() noexcept {
        if (!webSocket_)
            return;
        try {
            asio::post(socket_.get_executor(), [self = shared_from_this()] { self->webSocket_.reset(); });
        } catch (...) {
            fail("no memory to take a WebSocket apart");
        }
    }

    void waitUntil(std::chrono::milliseconds time) { deadline_ = Clock::now() + time; }
    void waitForever() { deadline_ = Clock::time_point::max(); }

    // Output

    template <class Body> void push(std::string head, Body body) {
        const auto before = outbox_.size();
        if (before == 0)
            lastProgress_ = Clock::now();
        outbox_.push(std::move(head), std::move(body));
        hub_.addWaiting(std::ptrdiff_t(outbox_.size() - before));
        if (outbox_.size() > limits_.waiting && !saidGoodbye_)
            cutOff();
        flush();
    }

    void flush() {
        if (flushing_ || closed_)
            return;
        if (outbox_.size() == 0) {
            if (ending_)
                shutDown();
            return;
        }
        flushing_ = true;
        socket_.async_write_some(outbox_.gather(), guarded([this](error_code failure, std::size_t size) {
                                     flushing_ = false;
                                     if (failure) {
                                         close();
                                         return;
                                     }
                                     lastProgress_ = Clock::now();
                                     outbox_.consume(size);
                                     hub_.addWaiting(-std::ptrdiff_t(size));
                                     flush();
                                 }));
    }

    /// Sends what waits, then ends the connection in a way that lets the client read it: a
    /// socket closed on unread bytes takes the answer with it.
    void finish() {
        if (ending_)
            return;
        ending_ = true;
        unsubscribe();
        waitUntil(limits_.closing);
        flush();
    }

    void shutDown() {
        if (std::exchange(shutDown_, true))
            return;
        error_code ignored;
        socket_.shutdown(Socket::shutdown_send, ignored);
        drain();
    }

    void drain() {
        socket_.async_read_some(asio::buffer(drained_), guarded([this](error_code failure, std::size_t) {
                                    if (failure)
                                        close();
                                    else
                                        drain();
                                }));
    }

    // HTTP

    using Parser = http::request_parser<http::string_body>;

    void readRequest() {
        parser_.emplace();
        originIs_ = Admission::Origin::None;
        parser_->header_limit(std::uint32_t(limits_.head));
        parser_->body_limit(limits_.message);
        if (buffer_.size() > 0) {
            readHead();
            return;
        }
        socket_.async_read_some(buffer_.prepare(4096), guarded([this](error_code failure, std::size_t size) {
                                    if (failure) {
                                        close();
                                        return;
                                    }
                                    buffer_.commit(size);
                                    readHead();
                                }));
    }

    void readHead() {
        waitUntil(limits_.headTime);
        http::async_read_header(socket_, buffer_, *parser_,
                                guarded([this](error_code failure, std::size_t size) {
                                    // The parser's own limit lets a little more pass.
                                    if (!failure && size > limits_.head)
                                        failure = http::error::header_limit;
                                    if (failure)
                                        refuseRequest(failure);
                                    else
                                        readBody();
                                }));
    }

    void refuseRequest(error_code failure) {
        if (failure == http::error::header_limit || failure == http::error::buffer_overflow) {
            answer({http::status::request_header_fields_too_large,
                    "the request's line and headers are too long\n"},
                   false);
        } else if (failure == http::error::body_limit) {
            judgeOrigin(); // a page that may call is told, too
            answer({http::status::payload_too_large, "the request's body is too long\n"}, false);
        } else if (failure.category() == http::make_error_code(http::error::bad_method).category() &&
                   failure != http::error::end_of_stream && failure != http::error::partial_message) {
            answer({http::status::bad_request, "not an HTTP/1.1 request: " + failure.message() + '\n'},
                   false);
        } else {
            close();
        }
    }

    void readBody() {
        const auto& request = parser_->get();
        keepAlive_ = request.keep_alive();
        judgeOrigin();
        if (auto refusal = judgeHead(request)) {
            answer(std::move(*refusal), false);
            return;
        }
        if (beast::iequals(request[http::field::expect], "100-continue"))
            push("HTTP/1.1 100 Continue\r\n\r\n", std::string());
        waitUntil(limits_.bodyTime);
        http::async_read(socket_, buffer_, *parser_, guarded([this](error_code failure, std::size_t) {
                             if (failure)
                                 refuseRequest(failure);
                             else
                                 route();
                         }));
    }

    void judgeOrigin() {
        const auto& request = parser_->get();
        origin_ = std::string(request[http::field::origin]);
        originIs_ = hub_.getAdmission().judge(origin_, view(request[http::field::host]));
    }

    /// What is wrong with a request whatever it asks for; nothing when it may go on.
    std::optional<Answer> judgeHead(const Parser::value_type& request) const {
        if (request.count(http::field::transfer_encoding) != 0)
            return Answer{http::status::bad_request, "Transfer-Encoding is not taken; send Content-Length\n"};
        if (request.count(http::field::host) != 1 && !localAddress_.empty())
            return Answer{http::status::bad_request, "one Host header is needed\n"};
        const auto host = view(request[http::field::host]);
        if (!localAddress_.empty() && !hub_.getAdmission().acceptsHost(host, localAddress_))
            return Answer{
                http::status::forbidden,
                "Host " + excerpt(host) + " is not this machine; allow it with --allow-host " +
                    excerpt(host.substr(0, host.starts_with('[') ? host.find(']') + 1 : host.find(':'))) +
                    '\n'};
        if (request.count(http::field::origin) > 1 || originIs_ == Admission::Origin::Refused)
            return Answer{http::status::forbidden, "pages from " + excerpt(origin_) +
                                                       " may not call; allow them with --allow-origin " +
                                                       excerpt(origin_) + '\n'};
        if (request.method() == http::verb::post && !request.has_content_length())
            return Answer{http::status::length_required, "Content-Length is missing\n"};
        return std::nullopt;
    }

    /// The path that the request asks for, without a query.
    std::string_view path() const {
        auto target = view(parser_->get().target());
        if (target.starts_with("http://")) {
            const auto slash = target.find('/', 7);
            target = slash == std::string_view::npos ? "/" : target.substr(slash);
        }
        return target.substr(0, target.find('?'));
    }

    void route() {
        if (ending_)
            return;
        const auto where = path();
        if (where.starts_with(rpcPath))
            routeRpc(std::string(where.substr(std::string_view(rpcPath).size())));
        else if (!isGet())
            answer(wrongMethod("GET, HEAD"));
        else if (where == "/healthz")
            answer(RPCServer::running().empty()
                       ? Answer{http::status::service_unavailable, "no server is running\n"}
                       : Answer{http::status::ok, "ok\n"});
        else
            answer({http::status::not_found, "there is nothing here; calls go to /rpc/TV\n"});
    }

    bool isGet() const {
        const auto method = parser_->get().method();
        return method == http::verb::get || method == http::verb::head;
    }

    static Answer wrongMethod(const std::string& allowed) {
        return {http::status::method_not_allowed, "the method is not one of " + allowed + '\n',
                "text/plain; charset=utf-8", "Allow: " + allowed + "\r\n"};
    }

    void routeRpc(const std::string& name) {
        const auto& request = parser_->get();
        auto* server = RPCServer::find(name);
        if (server == nullptr)
            answer({http::status::not_found, "no RPC server has the name " + excerpt(name) + '\n'});
        else if (request.method() == http::verb::options)
            answerPreflight();
        else if (!isGet() && request.method() != http::verb::post)
            answer(wrongMethod("GET, HEAD, POST, OPTIONS"));
        else if (!acceptsToken())
            answer({http::status::unauthorized, "a token is needed: Authorization: Bearer TOKEN\n",
                    "text/plain; charset=utf-8", "WWW-Authenticate: Bearer\r\n"});
        else if (request.method() == http::verb::post)
            answerCall(*server);
        else if (websocket::is_upgrade(request))
            upgrade(*server);
        else
            answer(
                {http::status::upgrade_required,
                 "send JSON-RPC 2.0 by POST with Content-Type: application/json, or open a WebSocket here\n",
                 "text/plain; charset=utf-8", "Upgrade: websocket\r\nConnection: Upgrade\r\n"});
    }

    bool acceptsToken() const {
        const auto& admission = hub_.getAdmission();
        if (!admission.needsToken())
            return true;
        const auto& request = parser_->get();
        if (admission.acceptsToken(bearerOf(view(request[http::field::authorization]))))
            return true;
        return websocket::is_upgrade(request) &&
               admission.acceptsToken(chooseSubProtocol(subProtocolOffers()).token);
    }

    /// What the request offers in all its Sec-WebSocket-Protocol headers.
    std::string subProtocolOffers() const {
        std::string offers;
        const auto [first, last] = parser_->get().equal_range(http::field::sec_websocket_protocol);
        for (auto field = first; field != last; ++field) {
            offers += view(field->value());
            offers += ',';
        }
        return offers;
    }

    void answerPreflight() {
        answer({http::status::no_content, "", nullptr,
                "Access-Control-Allow-Methods: POST\r\n"
                "Access-Control-Allow-Headers: content-type, authorization\r\n"
                "Access-Control-Max-Age: 600\r\n"});
    }

    void answerCall(RPCServer& server) {
        const auto& request = parser_->get();
        const auto type = view(request[http::field::content_type]);
        if (!beast::iequals(beast::string_view(type.substr(0, type.find_first_of("; \t"))),
                            "application/json")) {
            answer({http::status::unsupported_media_type,
                    "the body must be JSON; send Content-Type: application/json\n"});
            return;
        }
        carryOut(server, request.body(), [this](std::string reply) {
            if (reply.empty())
                answer({http::status::no_content, "", nullptr});
            else
                answer({http::status::ok, std::move(reply), "application/json"});
        });
    }

    void answer(Answer what) { answer(std::move(what), keepAlive_); }

    void answer(Answer what, bool keepAlive) {
        const bool isOld = parser_ && parser_->get().version() < 11;
        const char* connection = !keepAlive ? "close" : isOld ? "keep-alive" : "";
        auto head =
            formatHead(what, originIs_ == Admission::Origin::Other ? origin_ : std::string(), connection);
        const bool isHead = parser_ && parser_->get().method() == http::verb::head;
        push(std::move(head), isHead ? std::string() : std::move(what.body));
        if (closed_)
            return;
        if (!keepAlive) {
            finish();
            return;
        }
        waitUntil(limits_.keepAlive);
        // Through the queue: a client that sends many requests at once must not deepen the stack.
        asio::post(socket_.get_executor(), guarded([this] { readRequest(); }));
    }

    // WebSocket

    void upgrade(RPCServer& server) {
        const auto& request = parser_->get();
        if (!isWebSocketKey(view(request[http::field::sec_websocket_key]))) {
            answer({http::status::bad_request, "Sec-WebSocket-Key is not 16 bytes in base64\n"}, false);
            return;
        }
        if (request[http::field::sec_websocket_version] != "13") {
            answer({http::status::upgrade_required, "only version 13 of the WebSocket protocol is spoken\n",
                    "text/plain; charset=utf-8", "Sec-WebSocket-Version: 13\r\n"},
                   false);
            return;
        }
        const auto offers = subProtocolOffers();
        const auto subProtocol = std::string(chooseSubProtocol(offers).chosen);

        server_ = &server;
        webSocket_.emplace(static_cast<Wire&>(*this), beast::buffers_to_string(buffer_.data()));
        buffer_.clear();
        webSocket_->set_option(
            websocket::stream_base::timeout{websocket::stream_base::none(), limits_.idleWebSocket, true});
        webSocket_->set_option(
            websocket::stream_base::decorator([subProtocol](websocket::response_type& response) {
                response.set("X-Content-Type-Options", "nosniff");
                response.erase(http::field::server);
                if (!subProtocol.empty())
                    response.set(http::field::sec_websocket_protocol, subProtocol);
            }));
        webSocket_->read_message_max(limits_.message);
        error_code failure;
        webSocket_->accept(request, failure);
        parser_.reset();
        if (failure) {
            finish();
            return;
        }
        waitForever();
        server.subscribe(*this);
        subscribed_ = true;
        readMessage();
    }

    void readMessage() {
        webSocket_->async_read(buffer_, guarded([this](error_code failure, std::size_t) {
                                   if (failure)
                                       finish();
                                   else
                                       takeMessage();
                               }));
    }

    void takeMessage() {
        // Once the goodbye is said, Beast reads by itself to the client's own.
        if (saidGoodbye_)
            return;
        if (!webSocket_->got_text()) {
            closeWebSocket(websocket::close_code::unknown_data);
            return;
        }
        const auto bytes = buffer_.cdata();
        const std::string_view text(static_cast<const char*>(bytes.data()), bytes.size());
        // Beast checks every byte as it comes, but not that the text is whole when its last
        // frame is empty.
        if (endsInsideCharacter(text)) {
            closeWebSocket(websocket::close_code::bad_payload);
            return;
        }
        carryOut(*server_, text, [this](std::string reply) {
            takeNotifications();
            send(std::move(reply));
            buffer_.clear();
            if (buffer_.capacity() > keptCapacity)
                buffer_.shrink_to_fit();
            if (!closed_ && !saidGoodbye_)
                readMessage();
        });
    }

    template <class Text> void sendText(Text text, std::size_t size) {
        if (size > 0 && !saidGoodbye_ && !ending_ && !closed_)
            push(textFrameHead(size), std::move(text));
    }
    void send(std::string text) {
        const auto size = text.size();
        sendText(std::move(text), size);
    }
    void send(std::shared_ptr<const std::string> text) {
        const auto size = text->size();
        sendText(std::move(text), size);
    }

    /// Queues the notifications that have come in. A reply calls it first, since what its
    /// handler raised goes out before it.
    void takeNotifications() {
        std::vector<std::shared_ptr<const std::string>> taken;
        {
            const std::lock_guard lock(inboxMutex_);
            taken.swap(inbox_);
        }
        for (auto& text : taken)
            send(std::move(text));
    }

    void closeWebSocket(websocket::close_code code) {
        if (std::exchange(saidGoodbye_, true) || ending_ || closed_)
            return;
        unsubscribe();
        waitUntil(limits_.closing);
        webSocket_->async_close(code, guarded([this](error_code) { finish(); }));
    }

    void unsubscribe() noexcept {
        if (std::exchange(subscribed_, false))
            server_->unsubscribe(*this);
    }

    // Calls

    /// Carries a message out and hands over the reply, here or when it is done elsewhere.
    template <class Then> void carryOut(RPCServer& server, std::string_view text, Then then) {
        waitForever();
        working_ = true;
        auto take = [this, then](std::string reply) {
            working_ = false;
            then(std::move(reply));
        };
        auto done = [self = shared_from_this(), take](std::string reply) {
            try {
                asio::post(self->socket_.get_executor(),
                           self->guarded([take, reply = std::move(reply)] { take(reply); }));
            } catch (...) {
                self->lost_ = true;
            }
        };
        if (auto reply = hub_.getLanes().carryOut(text, server, peer_, {limits_.reply, limits_.batch}, done))
            take(std::move(*reply));
    }

    /// A buffer that a large message has widened is given back.
    static constexpr std::size_t keptCapacity = 64u << 10;

    ConnectionHub& hub_;
    const Limits& limits_;
    Socket socket_;
    const std::string localAddress_;
    std::shared_ptr<RPCPeer> peer_; ///< null when closed

    beast::flat_buffer buffer_; ///< what was read and not yet used
    std::array<char, 512> drained_; ///< what is read at the end and thrown away
    std::optional<Parser> parser_; ///< of the request at hand
    std::optional<WebSocket> webSocket_; ///< once upgraded
    RPCServer* server_ = nullptr; ///< that the WebSocket talks to

    std::string origin_;
    Admission::Origin originIs_ = Admission::Origin::None;

    Outbox outbox_;
    Clock::time_point deadline_ = Clock::time_point::max();
    Clock::time_point lastProgress_ = Clock::now(); ///< when the client took bytes, or they began to wait

    bool admitted_ = false;
    bool keepAlive_ = false;
    bool working_ = false; ///< a message is being carried out
    bool subscribed_ = false;
    bool flushing_ = false; ///< a write is under way
    bool saidGoodbye_ = false; ///< the close frame is queued; nothing may follow it
    bool ending_ = false; ///< when the outbox is empty the connection ends
    bool shutDown_ = false; ///< nothing more can be sent
    bool closed_ = false;

    std::mutex inboxMutex_;
    std::vector<std::shared_ptr<const std::string>> inbox_; ///< notifications from any thread
    std::atomic<bool> lost_ = false; ///< there was no memory to tell the client something
};

} // namespace

std::shared_ptr<Connection> Connection::make(ConnectionHub& hub, Socket socket, std::string localAddress) {
    return std::make_shared<ConnectionImpl>(hub, std::move(socket), std::move(localAddress));
}

} // namespace Ostrel
