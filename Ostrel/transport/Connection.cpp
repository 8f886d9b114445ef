#include "Ostrel/transport/Connection.h"

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/transport/ConnectionHub.h"
#include "Ostrel/transport/HttpReader.h"
#include "Ostrel/transport/Lanes.h"
#include "Ostrel/transport/WebSocket.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>

#include <algorithm>
#include <utility>
#include <variant>

#include <poll.h>

namespace Ostrel {

namespace asio = boost::asio;
namespace http = boost::beast::http;

using boost::system::error_code;

namespace {

constexpr Metric::Family connections{"ostrel_connections", "Connections that are open now.", "kind"};
Gauge httpNow(connections, "http");
Gauge webSocketsNow(connections, "websocket");
constexpr Metric::Family opened{"ostrel_connections_opened_total",
                                "Connections let in, and those of them that became a WebSocket.", "kind"};
Counter httpOpened(opened, "http");
Counter webSocketsOpened(opened, "websocket");

Counter overWaiting(cutOffs, "waiting");
Counter stalledReaders(cutOffs, "stalled_reader");
Counter lateHeads(cutOffs, "head_time");
Counter lateBodies(cutOffs, "body_time");
Counter idleOnes(cutOffs, "idle");
Counter silentOnes(cutOffs, "ping");
Counter lateGoodbyes(cutOffs, "closing_time");
Counter lackOfMemory(cutOffs, "memory");
Counter failures(cutOffs, "failure");

/// Who lets its time run out in that phase.
Counter& latecomersOf(Phase phase) {
    switch (phase) {
    case Phase::KeptAlive:
        return idleOnes;
    case Phase::ReadingHead:
        return lateHeads;
    case Phase::ReadingBody:
        return lateBodies;
    case Phase::Open:
        return silentOnes;
    default:
        return lateGoodbyes;
    }
}

/// How long a request is worked on before its client is asked whether it still waits.
constexpr std::chrono::seconds askAfter{1};

} // namespace

Connection::Connection(ConnectionHub& hub, Socket socket, std::string localAddress,
                       std::shared_ptr<RPCPeer> peer)
    : hub_(hub), limits_(hub.getLimits()), socket_(std::move(socket)),
      client_(std::make_shared<Lanes::Client>(std::move(peer))),
      http_(hub.getAdmission(), hub.getAdvice(), hub.getMainServer(), hub.getPage(), std::move(localAddress)),
      reader_(std::make_unique<HttpReader>(*this)), input_(*this),
      message_(hub.getBudget(), [this] { input_.lookAgain(); }), output_(*this) {}

Connection::~Connection() {
    close();
}

// From phase to phase

void Connection::start() {
    httpOpened.increment();
    countAs(&httpNow);
    enter(Phase::ReadingHead);
    awaitRequest();
}

void Connection::refuse() {
    answer({.status = http::status::service_unavailable,
            .body = "too many connections; try again later\n",
            .last = true});
}

void Connection::stop() {
    if (phase_ == Phase::Open)
        sayGoodbye(boost::beast::websocket::close_code::going_away);
    else if (phase_ == Phase::Working && hub_.getLanes().isDelayed(*client_))
        close(); // what waits for its time is not begun any more
    else if (phase_ == Phase::Working)
        keepAlive_ = false;
    else if (phase_ <= Phase::ReadingHead && output_.hasGivenAll())
        close(); // nothing is under way
    else if (phase_ < Phase::Open)
        finish();
}

void Connection::cutOff(Counter& reason) {
    if (phase_ == Phase::Closed)
        return;
    countCutOff(reason);
    ostrelDebugPrint(DebugLevel::Warning, "Connection", "Connection", __LINE__,
                     "a client let %zu bytes wait and is cut off\n", output_.getWaiting());
    if (phase_ != Phase::Open) {
        close();
        return;
    }
    cutOff_ = true;
    output_.dropUnsent();
    sayGoodbye(boost::beast::websocket::close_code::try_again_later);
}

void Connection::countCutOff(Counter& reason) noexcept {
    if (!std::exchange(isCutOffCounted_, true))
        reason.increment();
}

void Connection::countAs(Gauge* kind) noexcept {
    if (kind != nullptr)
        kind->increment();
    if (auto* before = std::exchange(countedAs_, kind))
        before->decrement();
}

void Connection::sayGoodbye(boost::beast::websocket::close_code code) {
    if (phase_ != Phase::Open)
        return;
    enter(Phase::Goodbye);
    input_.lookAgain();
    webSocket_->unsubscribe();
    webSocket_->sendClose(code, [this] { finish(); });
}

void Connection::finish() {
    if (isEnding())
        return;
    if (webSocket_ != nullptr)
        webSocket_->unsubscribe();
    enter(Phase::Finishing);
    input_.lookAgain();
    if (output_.getWaiting() == 0)
        drain();
}

/// Ends in a way that lets the client read what it was sent: a socket closed on unread bytes
/// takes the answer with it.
void Connection::drain() {
    enter(Phase::Draining);
    error_code ignored;
    socket_.shutdown(Socket::shutdown_send, ignored);
    readAway();
}

void Connection::readAway() {
    socket_.async_read_some(asio::buffer(away_), guarded([this](error_code failure, std::size_t) {
                                if (failure)
                                    close();
                                else
                                    readAway();
                            }));
}

void Connection::close() noexcept {
    if (phase_ == Phase::Closed)
        return;
    phase_ = Phase::Closed;
    countAs(nullptr);
    if (webSocket_ != nullptr)
        webSocket_->unsubscribe();
    if (client_ != nullptr)
        hub_.getLanes().leave(*client_);
    client_.reset();
    error_code ignored;
    socket_.close(ignored);
    output_.clear();
    message_.finish();
    input_.lookAgain(); // whoever waits to read finds the socket closed
    if (releaseWebSocket())
        hub_.remove(*this);
    else
        hub_.lookSoon(); // the next tick releases it
}

/// The WebSocket may be at work: it is not let go from inside one of its operations.
/// @returns false when there was no memory for it
bool Connection::releaseWebSocket() noexcept {
    if (webSocket_ == nullptr)
        return true;
    try {
        const auto self = std::static_pointer_cast<Connection>(shared_from_this());
        asio::post(socket_.get_executor(), [self] { self->webSocket_.reset(); });
        return true;
    } catch (...) {
        return false;
    }
}

void Connection::giveUp() noexcept {
    lost_ = true;
    hub_.lookSoon();
}

void Connection::fail(const char* what) noexcept {
    ostrelDebugPrint(DebugLevel::Error, "Connection", "Connection", __LINE__, "%s(): caught exception: %s\n",
                     "guarded", what);
    countCutOff(failures);
    close();
}

// Time

void Connection::enter(Phase phase) {
    if (phase_ == Phase::Closed)
        return;
    phase_ = phase;
    late_ = false;
    pinged_ = false;
    const auto now = Clock::now();
    patience_.begin(getPatience(), now);
    settle(now);
}

/// How long the conversation may stay in its phase; 0 for as long as it likes.
std::chrono::milliseconds Connection::getPatience() const {
    switch (phase_) {
    case Phase::KeptAlive:
        return limits_.keepAlive;
    case Phase::ReadingHead:
        return limits_.headTime;
    case Phase::ReadingBody:
        return limits_.bodyTime;
    case Phase::Goodbye:
    case Phase::Finishing:
    case Phase::Draining:
        return limits_.closing;
    case Phase::Open:
        return limits_.idleWebSocket / 2; // twice: then it is pinged, and then closed
    case Phase::Working:
    case Phase::Closed:
        break;
    }
    return {};
}

/// Whether it is for the client to do something: then its time runs. While bytes wait for it, only
/// that of the stalled reader does.
bool Connection::isClientsTurn() const {
    if (input_.isHeld())
        return false;
    switch (phase_) {
    case Phase::ReadingHead:
    case Phase::ReadingBody:
        return true;
    case Phase::Open:
        return !waits_ && !working_;
    default:
        return !waits_;
    }
}

void Connection::settle(Clock::time_point now) {
    patience_.run(isClientsTurn(), now);
    hub_.wakeAt(getNextTick(now));
}

Connection::Clock::time_point Connection::getNextTick(Clock::time_point now) const {
    if (phase_ == Phase::Closed)
        return Clock::time_point::max();
    const bool again = waits_ || working_ || input_.isHeld();
    return again ? std::min(now + ConnectionHub::tickTime, patience_.getEnd()) : patience_.getEnd();
}

void Connection::tick(Clock::time_point now) {
    if (phase_ == Phase::Closed) {
        webSocket_.reset();
        hub_.remove(*this);
        return;
    }
    const bool over = now >= patience_.getEnd();
    if (lost_) {
        countCutOff(lackOfMemory);
        close();
    } else if (isUnread() && hasGone(now)) {
        close();
    } else if ((waits_ || over) &&
               output_.isStalled(now, cutOff_ ? limits_.closing : limits_.stalledReader)) {
        countCutOff(stalledReaders);
        phase_ == Phase::Open ? cutOff(stalledReaders) : close();
    } else if (over)
        runOut(now);
}

/// Whether nobody reads, so that nobody learns from the socket when the client leaves.
bool Connection::isUnread() const {
    return working_ || (input_.isHeld() && !full_);
}

/// Whether there is nobody any more to take an answer.
///
/// A client that has ended its sending has gone when it speaks WebSocket, where it would say
/// goodbye first. One that speaks HTTP may still wait for its answer, or may have closed
/// altogether: that shows only when it is sent something, which a closed socket answers with a
/// reset. So, when the work takes long, it is sent an interim response, which clients skip; one of
/// HTTP/1.0 would not, and counts as gone.
bool Connection::hasGone(Clock::time_point now) {
    pollfd socket{socket_.native_handle(), POLLRDHUP, 0};
    ::poll(&socket, 1, 0);
    if ((socket.revents & (POLLERR | POLLHUP)) != 0)
        return true;
    if ((socket.revents & POLLRDHUP) == 0)
        return false;
    if (webSocket_ != nullptr)
        return true;
    if (phase_ != Phase::Working || now - workingSince_ < askAfter)
        return false;
    if (reader_->getRequest().version() < 11)
        return true;
    if (!asked_) {
        asked_ = true;
        send("HTTP/1.1 102 Processing\r\n\r\n", std::string());
    }
    return false;
}

/// The client has let its time run out, unless the system is still giving it what we sent: then it
/// begins anew when all is given.
void Connection::runOut(Clock::time_point now) {
    if (!output_.hasGivenAll()) {
        late_ = true;
    } else if (std::exchange(late_, false)) {
        patience_.begin(getPatience(), now);
    } else if (phase_ == Phase::Open && !pinged_) {
        pinged_ = true;
        patience_.begin(getPatience(), now);
        webSocket_->ping();
    } else {
        countCutOff(latecomersOf(phase_));
        close();
    }
}

// Output

void Connection::send(std::string head, std::string body) {
    output_.push(std::move(head), std::move(body));
}

// An answer always fits: there is but one of them at a time, and no further one while much waits.
void Connection::send(std::string head, std::shared_ptr<const RPCNotification> notification) {
    output_.push(std::move(head), std::move(notification));
    const auto& cost = output_.getCost();
    if (phase_ == Phase::Open && cost.notifications + cost.texts > limits_.waiting)
        cutOff(overWaiting);
}

void Connection::withdraw(const RPCNotification& notification) {
    if (full_)
        output_.withdraw(notification);
}

void Connection::waitingChanged() {
    const auto& cost = output_.getCost();
    // Once full it stays so until half has gone, so that it does not change with every byte.
    const bool wasFull = std::exchange(full_, cost.all() > (full_ ? limits_.outbox / 2 : limits_.outbox));
    if (wasFull && !full_)
        input_.lookAgain();
    const bool waited = std::exchange(waits_, output_.getWaiting() > 0);
    if (waited != waits_)
        settle(Clock::now());
    const auto before = std::exchange(told_, cost.own());
    hub_.addWaiting(std::ptrdiff_t(told_ - before));
}

// Input

Connection::Clock::time_point Connection::getReadingTime() {
    if (phase_ >= Phase::Goodbye)
        return Clock::time_point::min();
    if (full_)
        return Clock::time_point::max();
    if (const auto slowedUntil = client_->getSlowedUntil(); slowedUntil > Clock::now())
        return slowedUntil;
    return message_.mayRead(getMessageSize()) ? Clock::time_point::min() : Clock::time_point::max();
}

/// Bytes that have come of the message that is being read.
std::size_t Connection::getMessageSize() const {
    if (phase_ == Phase::Open)
        return webSocket_->getMessageSize();
    return phase_ == Phase::ReadingBody ? reader_->getBodySize() : 0;
}

/// Gives back what the message took to be read, once nobody needs its text here.
void Connection::forgetMessage() {
    if (webSocket_ != nullptr)
        webSocket_->forgetMessage();
    else
        reader_->forgetBody();
}

void Connection::inputHeld() {
    settle(Clock::now());
}

void Connection::heard() {
    if (phase_ != Phase::Open)
        return;
    pinged_ = false;
    patience_.begin(getPatience(), Clock::now());
}

void Connection::allSent() {
    if (phase_ == Phase::Finishing)
        drain();
}

// HTTP

void Connection::awaitRequest() {
    if (isEnding())
        return;
    allowedOrigin_.clear();
    forgetMessage();
    message_.finish();
    reader_->awaitRequest([this](const error_code& failure) {
        if (failure)
            finish();
        else if (!isEnding())
            readHead();
    });
}

void Connection::readHead() {
    enter(Phase::ReadingHead);
    reader_->readHead([this](const error_code& failure) {
        if (failure)
            refuseUnread(failure);
        else if (!isEnding())
            readBody();
    });
}

void Connection::readBody() {
    const auto& head = reader_->getRequest();
    keepAlive_ = head.keep_alive();
    allowedOrigin_ = http_.getAllowedOrigin(head);
    if (auto refusal = http_.refuseHead(head)) {
        if (refusal->status == http::status::forbidden)
            hub_.logRefusal(refusal->body);
        answer(std::move(*refusal));
        return;
    }
    if (head.version() >= 11 && boost::beast::iequals(head[http::field::expect], "100-continue"))
        send("HTTP/1.1 100 Continue\r\n\r\n", std::string());
    enter(Phase::ReadingBody);
    reader_->readBody([this](const error_code& failure) {
        if (failure)
            refuseUnread(failure);
        else if (!isEnding())
            requestCame();
    });
}

void Connection::refuseUnread(const error_code& failure) {
    if (isEnding())
        return;
    auto refusal = Http::answerFailure(failure);
    if (!refusal) {
        finish();
        return;
    }
    allowedOrigin_ = http_.getAllowedOrigin(reader_->getRequest()); // a page that may call is told, too
    answer(std::move(*refusal));
}

void Connection::requestCame() {
    const auto& request = reader_->getRequest();
    auto outcome = http_.decide(request);
    if (auto* answered = std::get_if<Answer>(&outcome)) {
        if (answered->status == http::status::unauthorized)
            hub_.logRefusal(answered->body);
        answer(std::move(*answered));
    } else if (const auto* upgraded = std::get_if<Http::Upgrade>(&outcome)) {
        upgrade(*upgraded);
    } else {
        enter(Phase::Working);
        work(std::get<Http::Call>(outcome).server, request.body());
    }
}

void Connection::answer(Answer what) {
    const auto& request = reader_->getRequest();
    const bool last = what.last || !keepAlive_;
    const char* connection = last ? "close" : request.version() < 11 ? "keep-alive" : "";
    auto head = formatHead(what, allowedOrigin_, connection);
    const bool isHead = request.method() == http::verb::head;
    send(std::move(head), isHead ? std::string() : std::move(what.body));
    if (phase_ == Phase::Closed)
        return;
    if (last) {
        finish();
        return;
    }
    enter(Phase::KeptAlive);
    // Through the queue: a client that sends many requests at once must not deepen the stack.
    asio::post(socket_.get_executor(),
               guarded([this] { input_.whenAllowed(guarded([this] { awaitRequest(); })); }));
}

// WebSocket

void Connection::upgrade(const Http::Upgrade& upgrade) {
    webSocket_ = std::make_unique<WebSocket>(*this, output_, upgrade.server, *client_->getPeer(),
                                             reader_->releaseRest());
    if (!webSocket_->accept(reader_->getRequest(), upgrade.subProtocol)) {
        finish();
        return;
    }
    if (phase_ == Phase::Closed)
        return;
    reader_.reset();
    webSocketsOpened.increment();
    countAs(&webSocketsNow);
    enter(Phase::Open);
    webSocket_->open([this](std::string_view text) { work(webSocket_->getServer(), text); });
}

// Calls

/// Has a message carried out and gets its reply, here or when it was done elsewhere.
void Connection::work(RPCServer& server, std::string_view text) {
    auto& lanes = hub_.getLanes();
    auto message = lanes.begin(text, server, *client_, {limits_.reply, limits_.batch});
    if (!message->isDone()) {
        workElsewhere(std::move(message), text.size());
        return;
    }
    message_.finish();
    forgetMessage();
    replyCame(message->takeReply());
}

void Connection::workElsewhere(std::unique_ptr<RPCMessage> message, std::size_t size) {
    // Counts until its reply has come, or whoever carries it out drops it.
    const auto counted = std::make_shared<MessageBudget::Work>(hub_.getBudget(), size);
    message_.finish();
    // Whoever drops it on another thread must not be the last to know the connection.
    auto done = [weak = std::weak_ptr(std::static_pointer_cast<Connection>(shared_from_this())),
                 counted](RPCMessage::Reply reply) {
        const auto self = weak.lock();
        if (self == nullptr)
            return;
        try {
            asio::post(self->socket_.get_executor(),
                       self->guarded([&connection = *self, counted, reply = std::move(reply)]() mutable {
                           counted->end();
                           connection.hub_.getBudget().serve();
                           connection.replyCame(std::move(reply));
                       }));
        } catch (...) {
            self->giveUp();
        }
    };
    hub_.getLanes().finish(std::move(message), client_, std::move(done));
    forgetMessage();
    working_ = true;
    asked_ = false;
    workingSince_ = Clock::now();
    settle(workingSince_);
}

void Connection::replyCame(RPCMessage::Reply reply) {
    if (std::exchange(working_, false))
        settle(Clock::now());
    if (reply.delivery == RPCMessage::Reply::ConnectionLost)
        finish(); // what was answered before still arrives
    else if (phase_ == Phase::Open)
        webSocket_->reply(std::move(reply.text));
    else if (phase_ == Phase::Working && reply.delivery == RPCMessage::Reply::Lost)
        finish(); // by HTTP nothing can follow an answer that is missing
    else if (phase_ == Phase::Working)
        answer(Http::answerReply(std::move(reply.text)));
}

} // namespace Ostrel
