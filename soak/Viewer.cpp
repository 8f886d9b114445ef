#include "soak/Viewer.h"

#include "bench/Connect.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel::Soak {

namespace {

using namespace std::chrono_literals;

constexpr double callsPerSecond = 3;
constexpr auto mostBehind = 1s; ///< who has been kept waiting for longer does not make up for it
constexpr unsigned oneInGets = 50;

int connectTo(std::uint16_t port) {
    const int socket = Bench::connectTo(port);
    ::fcntl(socket, F_SETFL, O_NONBLOCK);
    return socket;
}

std::string asGet(const std::string& path) {
    return "GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

std::string asPost(const std::string& text) {
    return "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\nContent-Length: " +
           std::to_string(text.size()) + "\r\n\r\n" + text;
}

} // namespace

Viewer::Viewer(World& world, Way way, unsigned number)
    : world_(world), way_(way), number_(number), model_(world.truth, number), socket_(connectTo(world.port)),
      due_(Clock::now()), random_(number + 1), place_(world.announcements.getEnd()) {
    if (way_ == Way::WebSocket)
        output_ = Test::upgradeRequest("/rpc/TV");
    else
        stage_ = Stage::Creating;
}

Viewer::~Viewer() {
    close();
}

Clock::time_point Viewer::getDue() const {
    const bool waits = socket_ < 0 || exchange_ || stage_ == Stage::Upgrading;
    return waits ? Clock::time_point::max() : due_;
}

void Viewer::act(Clock::time_point now) {
    const auto due = std::max(due_, now - mostBehind);
    switch (stage_) {
    case Stage::Upgrading:
        return;
    case Stage::Creating:
        return begin(model_.createContext(), due);
    case Stage::Selecting: // its reply brought the next stage
    case Stage::Deleting:
        return;
    case Stage::Asking:
        if (leaving_) {
            stage_ = Stage::Deleting;
            return begin(model_.deleteContext(), now);
        }
        if (way_ == Way::Http && random_() % oneInGets == 0)
            return begin({.text = "/healthz", .replies = {{.id = {}, .answer = "ok\n"}}, .isGet = true}, due);
        return begin(model_.next(), due);
    }
}

void Viewer::begin(Exchange exchange, Clock::time_point due) {
    due_ = due;
    exchange_ = std::move(exchange);
    output_ += exchange_->isGet    ? asGet(exchange_->text)
               : way_ == Way::Http ? asPost(exchange_->text)
                                   : Test::frame(1, exchange_->text);
    send();
}

void Viewer::send() {
    while (wantsToSend()) {
        const auto size = ::send(socket_, output_.data() + sent_, output_.size() - sent_, MSG_NOSIGNAL);
        if (size < 0)
            return; // an end shows when it is read
        sent_ += std::size_t(size);
    }
    output_.clear();
    sent_ = 0;
}

void Viewer::receive(Clock::time_point now) {
    static std::vector<char> buffer(256 << 10);
    while (socket_ >= 0) {
        const auto size = ::recv(socket_, buffer.data(), buffer.size(), 0);
        if (size < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        if (size <= 0) {
            complain("the host has closed the connection");
            close();
            return;
        }
        scanner_.scan({buffer.data(), std::size_t(size)}, [&](const auto& what) { found(what, now); });
    }
}

void Viewer::found(const Bench::AnswerScanner::Found& found, Clock::time_point now) {
    using Kind = Bench::AnswerScanner::Found;
    switch (found.kind) {
    case Kind::Upgrade:
        stage_ = Stage::Creating;
        break;
    case Kind::Notification:
        if (const auto wrong = world_.announcements.hear(place_, found.text); !wrong.empty())
            complain("notification " + std::string(found.text) + ": " + wrong);
        break;
    case Kind::Ping:
        output_ += Test::frame(10, found.text);
        send();
        break;
    case Kind::Pong:
        break;
    case Kind::Close:
        complain("the host says goodbye with " + std::to_string(found.closeCode));
        break;
    case Kind::Answer:
    case Kind::Refusal:
        answered(found, now);
        break;
    }
}

void Viewer::answered(const Bench::AnswerScanner::Found& found, Clock::time_point now) {
    if (!exchange_) {
        complain("nothing was asked, but this came: " + std::string(found.text.substr(0, 300)));
        return;
    }
    auto wrong = exchange_->check(found.text, world_.truth.getBegin(), world_.truth.getEnd());
    if (way_ == Way::Http && found.status != 200)
        wrong += "\n  with status " + std::to_string(found.status);
    if (!wrong.empty())
        complain(wrong);
    world_.tally.addReply(now - due_);
    exchange_.reset();

    const auto period =
        std::chrono::duration<double>(2 * double(random_()) / double(random_.max()) / callsPerSecond);
    due_ += std::chrono::duration_cast<Clock::duration>(period);
    if (stage_ == Stage::Creating && wrong.empty()) {
        unsigned long context = 0;
        readResult(found.text.substr(found.text.find(R"(,"result":)")), context);
        stage_ = Stage::Selecting;
        begin(model_.selectAll(std::uint32_t(context)), now);
    } else if (stage_ == Stage::Selecting) {
        stage_ = Stage::Asking;
    } else if (stage_ == Stage::Deleting) {
        close();
    }
}

std::optional<Announcements::Place> Viewer::getPlace() const {
    return way_ == Way::WebSocket && socket_ >= 0 ? std::optional(place_) : std::nullopt;
}

void Viewer::checkPatience(Clock::time_point now, Clock::duration patience) {
    if (socket_ < 0 || now - due_ < patience || (!exchange_ && stage_ != Stage::Upgrading))
        return;
    complain("no answer to " + (exchange_ ? exchange_->text.substr(0, 300) : "the upgrade"));
    close();
}

void Viewer::complain(const std::string& what) {
    world_.tally.addWrong("client " + std::to_string(number_) +
                          (way_ == Way::Http ? " (HTTP): " : " (WebSocket): ") + what);
}

void Viewer::close() {
    if (socket_ >= 0)
        ::close(socket_);
    socket_ = -1;
}

} // namespace Ostrel::Soak
