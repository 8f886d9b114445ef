#include "bench/Load.h"

#include <array>
#include <stdexcept>
#include <string_view>

#include <sys/epoll.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

constexpr int patienceMsec = 30'000;

std::string repeat(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i != times; ++i)
        all += text;
    return all;
}

} // namespace

Load::Load(std::uint16_t port, const LoadPlan& plan)
    : plan_(plan), requests_(repeat(plan.request, plan.depth)), poll_(::epoll_create1(EPOLL_CLOEXEC)) {
    for (std::size_t i = 0; i != plan.connections; ++i) {
        lines_.push_back(std::make_unique<Line>(port, plan.isWebSocket));
        epoll_event interest{};
        interest.events = EPOLLIN;
        interest.data.ptr = lines_.back().get();
        ::epoll_ctl(poll_, EPOLL_CTL_ADD, lines_.back()->connection.getSocket(), &interest);
    }
}

Load::~Load() {
    ::close(poll_);
}

LoadResult Load::run(Seconds time) {
    LoadResult result;
    const auto began = Clock::now();
    end_ = began + std::chrono::duration_cast<Clock::duration>(time);
    due_ = began;
    if (!isPaced())
        for (const auto& line : lines_)
            ask(*line, plan_.depth, began);
    while (underWay_ > 0 || (isPaced() && due_ < end_)) {
        if (isPaced())
            askDue(Clock::now());
        wait(result);
    }
    result.took = Clock::now() - began;
    return result;
}

void Load::ask(Line& line, std::size_t number, Clock::time_point when) {
    line.asked.insert(line.asked.end(), number, when);
    underWay_ += number;
    line.connection.send(std::string_view(requests_).substr(0, number * plan_.request.size()));
}

void Load::askDue(Clock::time_point now) {
    const auto period = std::chrono::duration_cast<Clock::duration>(Seconds(1 / plan_.perSecond));
    for (; due_ <= now && due_ < end_; due_ += period) {
        ask(*lines_[next_], 1, due_);
        next_ = (next_ + 1) % lines_.size();
    }
}

void Load::wait(LoadResult& result) {
    // Who is to send in time looks again at once: to sleep and be woken takes longer than an answer does.
    const bool isWaitingForTime = isPaced() && due_ < end_;
    std::array<epoll_event, 64> events;
    const int number =
        ::epoll_wait(poll_, events.data(), int(events.size()), isWaitingForTime ? 0 : patienceMsec);
    if (number == 0 && !isWaitingForTime)
        throw std::runtime_error("a server has stopped answering");
    for (int i = 0; i < number; ++i)
        receive(*static_cast<Line*>(events[static_cast<std::size_t>(i)].data.ptr), result);
}

void Load::receive(Line& line, LoadResult& result) {
    std::size_t answered = 0;
    Clock::time_point now{};
    line.connection.receive([&](const AnswerScanner::Found& found) {
        using Kind = AnswerScanner::Found;
        if (found.kind == Kind::Notification)
            return;
        if (found.kind != Kind::Answer || line.asked.empty())
            throw std::runtime_error("a server answers what was not asked for: " + std::string(found.text));
        if (answered++ == 0)
            now = Clock::now();
        result.latency.add(now - line.asked.front());
        line.asked.pop_front();
    });
    underWay_ -= answered;
    if (answered > 0 && !isPaced() && now < end_)
        ask(line, answered, now);
}

} // namespace Ostrel::Bench
