#include "bench/FanOut.h"

#include <array>
#include <stdexcept>
#include <thread>

#include <sys/epoll.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

constexpr int patienceMsec = 30'000;
constexpr double messagesPerSecond = 10'000; ///< half of what a host sends before it slows who causes it

} // namespace

FanOut::FanOut(std::uint16_t port, const FanOutPlan& plan)
    : plan_(plan), poll_(::epoll_create1(EPOLL_CLOEXEC)) {
    for (std::size_t i = 0; i != plan.listeners; ++i) {
        listeners_.push_back(std::make_unique<Listener>(port));
        epoll_event interest{};
        interest.events = EPOLLIN;
        interest.data.ptr = listeners_.back().get();
        ::epoll_ctl(poll_, EPOLL_CTL_ADD, listeners_.back()->connection.getSocket(), &interest);
    }
}

FanOut::~FanOut() {
    ::close(poll_);
}

LoadResult FanOut::run(Seconds time) {
    const auto messages = static_cast<double>(plan_.notifications * plan_.listeners);
    const auto period = std::chrono::duration_cast<Clock::duration>(Seconds(messages / messagesPerSecond));
    LoadResult result;
    const auto began = Clock::now();
    for (auto due = began; due < began + time; due += period) {
        std::this_thread::sleep_until(due);
        for (const auto& listener : listeners_)
            listener->missing = plan_.notifications;
        ++listeners_.front()->missing;
        waiting_ = listeners_.size();
        const auto asked = Clock::now();
        listeners_.front()->connection.send(plan_.cause);
        waitForAll();
        result.latency.add(Clock::now() - asked);
    }
    result.took = Clock::now() - began;
    return result;
}

void FanOut::waitForAll() {
    while (waiting_ > 0) {
        std::array<epoll_event, 64> events;
        const int number = ::epoll_wait(poll_, events.data(), int(events.size()), patienceMsec);
        if (number == 0)
            throw std::runtime_error("a server does not notify everybody");
        for (int i = 0; i < number; ++i)
            receive(*static_cast<Listener*>(events[static_cast<std::size_t>(i)].data.ptr));
    }
}

void FanOut::receive(Listener& listener) {
    listener.connection.receive([&](const AnswerScanner::Found& found) {
        using Kind = AnswerScanner::Found;
        if ((found.kind != Kind::Notification && found.kind != Kind::Answer) || listener.missing == 0)
            throw std::runtime_error("a server sends what nobody waits for: " + std::string(found.text));
        if (--listener.missing == 0)
            --waiting_;
    });
}

} // namespace Ostrel::Bench
