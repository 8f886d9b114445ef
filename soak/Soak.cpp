#include "soak/Soak.h"

#include "tests/support/WireClient.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <utility>

#include <sys/epoll.h>
#include <unistd.h>

namespace Ostrel::Soak {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t webSockets = 168;
constexpr std::size_t https = 72;
constexpr Seconds patience = 120s; ///< for a reply: longer than anything takes
constexpr Seconds settling = 60s; ///< until a host has closed what has left
constexpr Seconds longestHostility = 4s;
constexpr auto longestPause = 20ms;
constexpr double mostGrowth = 1; ///< MiB a minute

std::string text(double number) {
    auto result = std::to_string(number);
    return result.substr(0, result.find('.') + 3);
}

} // namespace

Soak::Soak(Options options, std::function<void(const Progress&)> tell, const std::atomic<bool>& interrupted)
    : options_(std::move(options)), tell_(std::move(tell)), interrupted_(interrupted) {}

Findings Soak::run() {
    auto hostOptions = options_.hostOptions;
    for (const auto& option : {std::string("--hold"), "--now=@" + std::to_string(truth_.getBegin())})
        hostOptions.push_back(option);
    host_ = std::make_unique<Bench::HostProcess>(options_.program, hostOptions);
    startWhatStays();
    std::this_thread::sleep_for(300ms);
    findings_.begin = Vitals::of(*host_, since());
    const auto metricsBefore = scrape();

    poll_ = ::epoll_create1(EPOLL_CLOEXEC);
    Viewer::World world{host_->getPort(), truth_, announcements_, tally_};
    connect(world);
    loop("connecting", patience, Until::AllAsk);

    runPhase("alone", 0.1 * options_.time);
    const auto each = std::min(longestHostility, options_.time / 20);
    hostilities_ = std::make_unique<Hostilities>(host_->getPort(), truth_, announcements_,
                                                 std::chrono::duration_cast<std::chrono::milliseconds>(each));
    const auto attacked = since();
    runPhase("beside hostile", 0.75 * options_.time);
    judgeMemory((attacked + since()) / 2, since());
    hostilities_->beginStop();
    loop("hostile leave", patience, Until::HostilesAreGone);
    findings_.hostilities = hostilities_->countDone();
    runPhase("alone again", 0.15 * options_.time);

    leave();
    hostilities_.reset();
    const auto metricsAfter = scrape();
    for (const char* gauge : {"ostrel_contexts", "ostrel_tasks"})
        if (const auto before = findGauge(metricsBefore, gauge), after = findGauge(metricsAfter, gauge);
            before && after)
            expectSame(gauge, *before, *after);

    findings_.clients = webSockets + https;
    findings_.replies = tally_.getReplies();
    findings_.notifications = announcements_.getEnd();
    findings_.scans = announcements_.countCompletedScans();
    findings_.isInterrupted = interrupted_;
    findings_.wrong.insert(findings_.wrong.begin(), tally_.getMistakes().begin(), tally_.getMistakes().end());
    if (tally_.getWrong() > tally_.getMistakes().size())
        findings_.wrong.push_back("and " + std::to_string(tally_.getWrong() - tally_.getMistakes().size()) +
                                  " more replies or notifications");

    findings_.exitStatus = host_->stop();
    if (findings_.exitStatus != 0)
        findings_.wrong.push_back("the host's exit status is " + std::to_string(findings_.exitStatus));
    const auto errors = host_->readErrors();
    if (const auto report = findSanitizerReport(errors); !report.empty())
        findings_.wrong.push_back("on the host's standard error: " + report);
    ::close(poll_);
    return findings_;
}

/// The first who watches the traffic gets a thread for all of them started.
void Soak::startWhatStays() const {
    Test::WireClient client({"127.0.0.1", host_->getPort(), {}});
    client.upgrade("/rpc/Simulator");
    client.call(R"({"jsonrpc":"2.0","id":1,"method":"Simulator::trafficWatch","params":{"on":true}})");
}

void Soak::connect(Viewer::World& world) {
    for (std::size_t i = 0; i < webSockets + https; ++i) {
        const auto way = i < webSockets ? Viewer::Way::WebSocket : Viewer::Way::Http;
        viewers_.push_back(std::make_unique<Viewer>(world, way, unsigned(i)));
        epoll_event event{EPOLLIN | EPOLLOUT | EPOLLET, {.ptr = viewers_.back().get()}};
        ::epoll_ctl(poll_, EPOLL_CTL_ADD, viewers_.back()->getSocket(), &event);
    }
}

void Soak::runPhase(const std::string& name, Seconds time) {
    tally_.beginPhase();
    const auto begin = since();
    loop(name, time, Until::TimeIsOver);
    findings_.phases.push_back({name, tally_.getPhase(), since() - begin});
}

/// Lets the clients do what they do. Returns whether that has come for which it waits.
bool Soak::loop(const std::string& phase, Seconds time, Until until) {
    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(time);
    auto nextLook = Clock::now();
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        if (hasCome(until))
            return true;
        if (until == Until::TimeIsOver && interrupted_)
            return false;
        turn(now);
        if (now >= nextLook) {
            nextLook = now + 1s;
            lookAtHost(phase, Seconds(end - now).count());
        }
    }
    return until == Until::TimeIsOver;
}

bool Soak::hasCome(Until until) const {
    const auto all = [&](auto condition) {
        return std::all_of(viewers_.begin(), viewers_.end(),
                           [&](const auto& viewer) { return condition(*viewer); });
    };
    switch (until) {
    case Until::TimeIsOver:
        return false;
    case Until::AllAsk:
        return all([](const Viewer& viewer) { return viewer.isAsking() || viewer.isGone(); });
    case Until::AllAreGone:
        return all([](const Viewer& viewer) { return viewer.isGone(); });
    case Until::HostilesAreGone:
        return hostilities_->isStopped();
    }
    return true;
}

void Soak::turn(Clock::time_point now) {
    auto wakeUp = now + longestPause;
    for (const auto& viewer : viewers_) {
        if (viewer->getDue() <= now)
            viewer->act(now);
        wakeUp = std::min<Clock::time_point>(wakeUp, viewer->getDue());
    }
    const auto pause = std::chrono::ceil<std::chrono::milliseconds>(wakeUp - now);
    std::array<epoll_event, 256> events;
    const int size = ::epoll_wait(poll_, events.data(), int(events.size()), std::max(0, int(pause.count())));
    now = Clock::now();
    for (int i = 0; i < size; ++i) {
        auto& viewer = *static_cast<Viewer*>(events[std::size_t(i)].data.ptr);
        viewer.send();
        viewer.receive(now);
    }
}

void Soak::lookAtHost(const std::string& phase, double secondsLeft) {
    const auto now = Clock::now();
    auto heardByAll = announcements_.getEnd();
    for (const auto& viewer : viewers_) {
        viewer->checkPatience(now, std::chrono::duration_cast<Clock::duration>(patience));
        heardByAll = std::min(heardByAll, viewer->getPlace().value_or(heardByAll));
    }
    announcements_.forget(heardByAll);
    findings_.samples.push_back(Vitals::of(*host_, since()));
    tell_({phase, findings_.samples.back(), secondsLeft, tally_});
}

/// Takes everybody away, and looks what they leave.
void Soak::leave() {
    try {
        hostilities_->tidy();
    } catch (const std::exception& exception) {
        findings_.wrong.push_back(std::string("nothing can be tidied up: ") + exception.what());
    }
    loop("last words", 500ms, Until::TimeIsOver);
    for (std::size_t i = 0; i < viewers_.size(); ++i)
        if (const auto place = viewers_[i]->getPlace(); place && *place != announcements_.getEnd())
            tally_.addWrong("client " + std::to_string(i) + " has heard " + std::to_string(*place) + " of " +
                            std::to_string(announcements_.getEnd()) + " notifications");
    for (const auto& viewer : viewers_)
        viewer->leave();
    if (!loop("leaving", 2 * patience, Until::AllAreGone))
        tally_.addWrong("not all have got their last answer");
    viewers_.clear();

    const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(settling);
    do {
        findings_.end = Vitals::of(*host_, since());
        std::this_thread::sleep_for(100ms);
    } while (Clock::now() < end && (findings_.end.descriptors != findings_.begin.descriptors ||
                                    findings_.end.threads != findings_.begin.threads));
    expectSame("descriptors", double(findings_.begin.descriptors), double(findings_.end.descriptors));
    expectSame("threads", double(findings_.begin.threads), double(findings_.end.threads));
}

void Soak::judgeMemory(double from, double to) {
    std::vector<Vitals> half;
    for (const auto& sample : findings_.samples)
        if (from <= sample.second && sample.second <= to)
            half.push_back(sample);
    findings_.growth = findGrowth(half);
    if (findings_.growth && *findings_.growth > mostGrowth && !options_.isSanitized)
        findings_.wrong.push_back("memory grows by " + text(*findings_.growth) + " MiB a minute");
}

void Soak::expectSame(const std::string& what, double before, double after) {
    if (before != after)
        findings_.wrong.push_back(what + ": " + text(before) + " at the start, " + text(after) +
                                  " at the end");
}

/// The text of /metrics; empty when there is none.
std::string Soak::scrape() const {
    try {
        Test::WireClient client({"127.0.0.1", host_->getPort(), {}});
        client.send("GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n");
        const auto answer = client.readAnswer();
        return answer.status == 200 ? answer.body : std::string();
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace Ostrel::Soak
