#include "bench/Crowd.h"

#include "bench/AnswerScanner.h"
#include "bench/Connect.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <cerrno>
#include <deque>
#include <string_view>

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

using namespace std::chrono_literals;

constexpr auto longestPause = 5ms;
constexpr std::size_t readAtOnce = 256 << 10;
constexpr int smallBuffer = 64 << 10; ///< of a slow reader, so that bytes wait in the host
constexpr int courtesy = 10; ///< the nice value of a rude crowd

} // namespace

class Crowd::Client {
public:
    Client(std::uint16_t port, const Habit& habit)
        : habit_(habit),
          socket_(connectTo(port, habit.bytesPerSecond != Habit::unlimited ? smallBuffer : 0)) {
        if (habit_.isWebSocket)
            output_.push_back(
                std::make_shared<Habit::Message>(Habit::Message{"", Test::upgradeRequest("/rpc/TV")}));
    }

    ~Client() { close(); }

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// @param part  of the time between two messages before the first: not all of a crowd come at once
    void begin(Clock::time_point now, double part) {
        began_ = now;
        due_ = now + std::chrono::duration_cast<Clock::duration>(Seconds(part / habit_.perSecond));
        lastRead_ = now;
    }

    /// Puts what is to be sent now into the output, and says what to wait for.
    pollfd prepare(Clock::time_point now, bool silent) {
        if (socket_ < 0)
            return {-1, 0, 0};
        if (!silent)
            queueDue(now);
        earn(now);
        const bool reads = budget_ >= 1;
        return {socket_, short((reads ? POLLIN : 0) | (output_.empty() ? 0 : POLLOUT) | POLLRDHUP), 0};
    }

    void handle(short events, Clock::time_point now) {
        if (socket_ < 0)
            return;
        // What the host has ended with can be read, also by a client that does not want to.
        hurries_ = hurries_ || (events & (POLLHUP | POLLERR | POLLRDHUP)) != 0;
        if (!output_.empty())
            send();
        if ((events & (POLLIN | POLLHUP | POLLERR | POLLRDHUP)) != 0)
            receive(now);
    }

    /// When the next message is due; far away when it is not a matter of time.
    Clock::time_point nextDue() const {
        return socket_ >= 0 && isTimed() && queued_ < habit_.times ? due_ : Clock::time_point::max();
    }

    bool isDone(bool silent) const {
        return socket_ < 0 || ((silent || queued_ == habit_.times) && pending_.empty() && output_.empty());
    }

    Fate leave(Clock::time_point now, bool reset) {
        for (const auto& [due, message] : pending_)
            fate_.samples.push_back({due, now - due, message.get(), true});
        if (reset && socket_ >= 0) {
            const linger atOnce{1, 0};
            ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        }
        close();
        return fate_;
    }

private:
    using Message = std::shared_ptr<const Habit::Message>;

    bool isTimed() const { return habit_.perSecond != Habit::unlimited; }

    void queueDue(Clock::time_point now) {
        if (!isTimed()) {
            while (output_.empty() && queued_ < habit_.times && pending_.size() < habit_.unanswered)
                queue(now);
            return;
        }
        const auto period = std::chrono::duration_cast<Clock::duration>(Seconds(1 / habit_.perSecond));
        for (; queued_ < habit_.times && due_ <= now; due_ += period)
            queue(due_);
    }

    void queue(Clock::time_point due) {
        const auto& message = habit_.messages[queued_++ % habit_.messages.size()];
        output_.push_back(message);
        pending_.push_back({due, message});
    }

    void send() {
        while (!output_.empty()) {
            const auto rest = std::string_view(output_.front()->bytes).substr(offset_);
            const auto size = ::send(socket_, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (size < 0)
                return;
            fate_.sent += std::size_t(size);
            offset_ += std::size_t(size);
            if (std::size_t(size) < rest.size())
                return;
            output_.pop_front();
            offset_ = 0;
        }
        if (habit_.halfCloses && queued_ == habit_.times)
            ::shutdown(socket_, SHUT_WR);
    }

    /// Adds the bytes that may be read by now.
    void earn(Clock::time_point now) {
        hurries_ = hurries_ || now - began_ > habit_.hurriesAfter;
        if (hurries_ || habit_.bytesPerSecond == Habit::unlimited) {
            budget_ = double(readAtOnce);
        } else {
            budget_ += habit_.bytesPerSecond * Seconds(now - lastRead_).count();
            budget_ = std::min(budget_, std::max(1., habit_.bytesPerSecond / 10));
        }
        lastRead_ = now;
    }

    void receive(Clock::time_point now) {
        static thread_local std::vector<char> buffer(readAtOnce);
        const auto wanted = hurries_ ? readAtOnce : std::size_t(budget_);
        if (wanted == 0)
            return;
        const auto size = ::recv(socket_, buffer.data(), wanted, MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR))
            return;
        if (size <= 0) {
            fate_.hasEnded = true;
            close();
            return;
        }
        budget_ -= double(size);
        fate_.received += std::size_t(size);
        scanner_.scan({buffer.data(), std::size_t(size)},
                      [&](const AnswerScanner::Found& found) { take(found, now); });
    }

    void take(const AnswerScanner::Found& found, Clock::time_point now) {
        using Kind = AnswerScanner::Found;
        switch (found.kind) {
        case Kind::Upgrade:
        case Kind::Notification:
        case Kind::Pong:
            break;
        case Kind::Ping:
            output_.push_back(std::make_shared<Habit::Message>(Habit::Message{"", Test::frame(10, {})}));
            break;
        case Kind::Close:
            fate_.closeCode = found.closeCode;
            break;
        case Kind::Refusal:
            ++fate_.refusals;
            [[fallthrough]];
        case Kind::Answer:
            ++fate_.answers;
            if (pending_.empty())
                break;
            fate_.samples.push_back(
                {pending_.front().due, now - pending_.front().due, pending_.front().message.get(), false});
            pending_.pop_front();
            break;
        }
    }

    void close() {
        if (socket_ >= 0)
            ::close(socket_);
        socket_ = -1;
    }

    struct Pending {
        Clock::time_point due;
        Message message;
    };

    const Habit habit_;
    int socket_; ///< -1 once closed
    Clock::time_point began_{};
    Clock::time_point due_{};
    Clock::time_point lastRead_{};
    double budget_ = 0; ///< bytes that may be read
    bool hurries_ = false;
    std::size_t queued_ = 0; ///< messages
    std::deque<Message> output_;
    std::size_t offset_ = 0; ///< in the first of the output
    std::deque<Pending> pending_; ///< without an answer
    AnswerScanner scanner_;
    Fate fate_;
};

Crowd::Crowd(std::uint16_t port, const std::vector<Habit>& habits, Manner manner) {
    for (const auto& habit : habits)
        clients_.push_back(std::make_unique<Client>(port, habit));
    thread_ = std::thread([this, manner] { run(manner); });
}

Crowd::~Crowd() {
    leave();
}

bool Crowd::wait(Seconds atMost) const {
    const auto end = Clock::now() + atMost;
    while (!done_ && Clock::now() < end)
        std::this_thread::sleep_for(longestPause);
    return done_;
}

void Crowd::leave(bool reset) {
    if (!thread_.joinable())
        return;
    reset_ = reset;
    leaving_ = true;
    thread_.join();
}

void Crowd::run(Manner manner) {
    if (manner == Manner::Rude)
        ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), courtesy);
    const auto began = Clock::now();
    for (std::size_t i = 0; i < clients_.size(); ++i)
        clients_[i]->begin(began, double(i) / double(clients_.size()));
    std::vector<pollfd> waits(clients_.size());
    while (!leaving_) {
        auto now = Clock::now();
        auto wakeUp = now + longestPause;
        for (std::size_t i = 0; i < clients_.size(); ++i) {
            waits[i] = clients_[i]->prepare(now, silent_);
            wakeUp = std::min<Clock::time_point>(wakeUp, clients_[i]->nextDue());
        }
        const auto pause = std::max(0ns, std::chrono::nanoseconds(wakeUp - now));
        const timespec timeout{0, long(pause.count())};
        ::ppoll(waits.data(), waits.size(), &timeout, nullptr);
        now = Clock::now();
        for (std::size_t i = 0; i < clients_.size(); ++i)
            if (waits[i].revents != 0)
                clients_[i]->handle(waits[i].revents, now);
        done_ = std::all_of(clients_.begin(), clients_.end(),
                            [this](const auto& client) { return client->isDone(silent_); });
    }
    const auto now = Clock::now();
    for (const auto& client : clients_)
        fates_.push_back(client->leave(now, reset_));
}

std::vector<Habit> times(std::size_t number, const Habit& habit) {
    return std::vector<Habit>(number, habit);
}

} // namespace Ostrel::Bench
