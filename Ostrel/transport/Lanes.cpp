#include "Ostrel/transport/Lanes.h"

#include "Ostrel/runtime/Families.h"
#include "Ostrel/runtime/Turn.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

#include <pthread.h>
#include <time.h>

namespace Ostrel {

namespace {

constexpr double quickMilliseconds = 100; ///< who has used less of late is quick
constexpr std::chrono::microseconds brief{100}; ///< what was done in less is tried at once the next time
constexpr double leastMilliseconds = 0.01; ///< less makes no difference
/// Of time that was used. Long, since it fades for those who wait as well: who waits for a few of these
/// goes before others who have used much less.
constexpr std::chrono::duration<double> halfLife{10};
constexpr std::size_t repliesTogether = 64u << 20; ///< bytes of replies in the making
constexpr std::chrono::milliseconds lookAgain{100}; ///< whether a client has become quick meanwhile

Counter heldUp(holdUps, "notifications");

/// That this thread has had.
Lanes::Client::Clock::duration getProcessorTime() {
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// The job of that client in a queue of jobs.
template <class Queue> auto find(Queue& queue, const Lanes::Client& client) {
    return std::find_if(queue.begin(), queue.end(),
                        [&](const auto& entry) { return entry.second.client.get() == &client; });
}

double toMilliseconds(Lanes::Client::Clock::duration time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

} // namespace

// Clients

Lanes::Client::Client(std::shared_ptr<RPCPeer> peer, Clock::time_point now) : peer_(std::move(peer)) {
    setUsed(1.1 * quickMilliseconds, now);
}

// Urgency is the logarithm of the time used, and grows as that fades: it can be compared without
// a look at the clock, and while a client waits it stays the same.
double Lanes::Client::getUsed(Clock::time_point now) const {
    return std::exp2(urgency_ - now.time_since_epoch() / halfLife);
}

void Lanes::Client::setUsed(double milliseconds, Clock::time_point now) {
    urgency_ = std::log2(std::max(milliseconds, leastMilliseconds)) + now.time_since_epoch() / halfLife;
}

void Lanes::Client::charge(Clock::duration time, Clock::time_point now) {
    setUsed(getUsed(now) + toMilliseconds(time), now);
}

bool Lanes::Client::isQuick(Clock::time_point now) const {
    return getUsed(now) < quickMilliseconds;
}

// Lanes

unsigned Lanes::countProcessors() {
    return std::clamp(std::thread::hardware_concurrency(), 2u, 8u);
}

Lanes::Lanes(unsigned readers, unsigned notifications)
    : mostNotified_(notifications), readers_{.mostDear = readers} {
    const auto add = [this](Lane& lane, const std::string& name) {
        threads_.emplace_back([this, &lane] { run(lane); });
        pthread_setname_np(threads_.back().native_handle(), name.c_str());
    };
    try {
        threads_.reserve(3 + readers_.mostDear);
        add(turn_, "turn");
        add(waiters_, "waiter");
        for (unsigned number = 1; number <= readers_.mostDear + 1; ++number)
            add(readers_, "reader " + std::to_string(number));
    } catch (...) {
        stop();
        throw;
    }
}

Lanes::~Lanes() {
    stop();
}

void Lanes::beginStop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    for (auto* lane : {&turn_, &readers_, &waiters_})
        lane->wanted.notify_all();
}

void Lanes::stop() {
    beginStop();
    for (auto& thread : threads_)
        if (thread.joinable())
            thread.join();
}

std::unique_ptr<RPCMessage> Lanes::begin(std::string_view text, RPCServer& server, Client& client,
                                         const RPCMessage::Limits& limits) {
    auto message = std::make_unique<RPCMessage>(std::string(text), server, client.getPeer(), limits);
    if (text.size() > RPCMessage::smallText)
        return message;
    message->step();
    // Of a batch only the first request is tried here.
    if (message->isDone() || message->isDelayed())
        return message;
    if (message->isRefused()) {
        message->step();
    } else if (!message->needsTurn()) {
        if (client.isTried() && message->isBrief() && !message->tryStep())
            client.setTried(false);
    } else if (message->isQuick() && Turn::tryTake()) {
        message->step();
        Turn::give();
        if (client.getPeer()->notifications != 0) {
            const std::lock_guard lock(mutex_);
            chargeNotifications(client, *message);
        }
    }
    return message;
}

void Lanes::finish(std::unique_ptr<RPCMessage> message, std::shared_ptr<Client> client, Done done) {
    enqueue({.client = std::move(client), .message = std::move(message), .done = std::move(done)});
}

bool Lanes::isDelayed(const Client& client) {
    const std::lock_guard lock(mutex_);
    const auto delays = [&](Lane& lane) { return find(lane.delayed, client) != lane.delayed.end(); };
    return delays(turn_) || delays(readers_) || delays(waiters_);
}

void Lanes::leave(Client& client) noexcept {
    Queue::node_type dropped; // outlives the lock, which is no place to destroy it
    const std::lock_guard lock(mutex_);
    client.getPeer()->gone = true;
    for (auto* queue : {&turn_.queue, &turn_.delayed, &readers_.queue, &readers_.delayed, &waiters_.queue,
                        &waiters_.delayed}) {
        const auto found = find(*queue, client);
        if (found == queue->end())
            continue;
        dropped = queue->extract(found);
        noteReply(dropped.mapped(), 0);
    }
}

void Lanes::post(std::function<void()> chore) {
    enqueue({.chore = std::move(chore)});
}

void Lanes::enqueue(Job job) {
    Queue one;
    one.emplace(0, std::move(job));
    const std::lock_guard lock(mutex_);
    push(one.extract(one.begin()));
}

Lanes::Lane& Lanes::choose(const Job& job) {
    if (job.message == nullptr)
        return readers_;
    if (job.message->isLong())
        return waiters_;
    return job.message->needsTurn() && job.message->isQuick() ? turn_ : readers_;
}

/// A job keeps its place in memory as it goes from queue to queue, so that nothing can fail once
/// it is in the first. With the lock held.
void Lanes::push(Queue::node_type job) {
    auto& [client, message, done, chore, isDear, replySize] = job.mapped();
    auto& lane = choose(job.mapped());
    isDear = false;
    if (message != nullptr && message->isDelayed()) {
        job.key() = toMilliseconds(message->getDue().time_since_epoch());
        lane.delayed.insert(std::move(job));
    } else {
        job.key() = client != nullptr ? client->getUrgency() : std::numeric_limits<double>::lowest();
        lane.queue.insert(std::move(job));
    }
    lane.wanted.notify_one();
}

void Lanes::run(Lane& lane) {
    std::unique_lock lock(mutex_);
    while (auto job = takeJob(lane, lock)) {
        lock.unlock();
        const auto took = work(job.mapped());
        lock.lock();
        handBack(lane, std::move(job), took, lock);
    }
}

/// Until something has changed, the end has come, or the time of one that is delayed.
void Lanes::wait(Lane& lane, std::unique_lock<std::mutex>& lock, Client::Clock::time_point end) {
    if (!lane.delayed.empty())
        end = std::min(end, lane.delayed.begin()->second.message->getDue());
    if (end == Client::Clock::time_point::max())
        lane.wanted.wait(lock);
    else
        lane.wanted.wait_until(lock, end);
}

/// Puts those in line whose time has come. With the lock held.
void Lanes::endDelays(Lane& lane) {
    while (!lane.delayed.empty() && !lane.delayed.begin()->second.message->isDelayed())
        push(lane.delayed.extract(lane.delayed.begin()));
}

/// Waits for a job that one more thread may do; empty at the end. With the lock held.
Lanes::Queue::node_type Lanes::takeJob(Lane& lane, std::unique_lock<std::mutex>& lock) {
    for (;;) {
        if (stopping_)
            return {};
        endDelays(lane);
        if (!lane.queue.empty()) {
            // When the first is too dear to be done now, so are all behind it.
            const auto isDear = [](const Job& job) {
                return job.client != nullptr && !job.client->isQuick(Client::Clock::now());
            };
            auto next = lane.queue.begin();
            auto most = lane.mostDear;
            if (replies_ > repliesTogether && isDear(next->second)) {
                // One reply is made to its end, so that not all of them grow.
                most = 1;
                next = std::max_element(lane.queue.begin(), lane.queue.end(), [](auto& left, auto& right) {
                    return left.second.replySize < right.second.replySize;
                });
            }
            auto& job = next->second;
            job.isDear = isDear(job);
            if (!job.isDear || lane.dear < most) {
                lane.dear += job.isDear ? 1 : 0;
                if (!lane.delayed.empty())
                    lane.wanted.notify_one(); // another one minds their time
                return lane.queue.extract(next);
            }
            wait(lane, lock, Client::Clock::now() + lookAgain);
        } else {
            wait(lane, lock, Client::Clock::time_point::max());
        }
    }
}

/// Does one step of a job and returns what time of a processor it took.
Lanes::Client::Clock::duration Lanes::work(Job& job) {
    if (job.message == nullptr) {
        job.chore();
        return {};
    }
    std::optional<Turn::Hold> turn;
    if (job.message->needsTurn())
        turn.emplace();
    const auto begin = getProcessorTime();
    job.message->step();
    return getProcessorTime() - begin;
}

/// What is there of a job's reply has become more or less. With the lock held.
void Lanes::noteReply(Job& job, std::size_t size) {
    replies_ = replies_ - job.replySize + size;
    job.replySize = size;
}

/// Slows a client down whose message has had notifications sent, in a storm of them. A bucket that
/// leaks may hold what is sent in a second. Who overfills it waits until it has room, behind those
/// who did so before, but never long for the little that is its own. With the lock held.
void Lanes::chargeNotifications(Client& client, RPCMessage& message) {
    const auto sent = client.getPeer()->notifications.exchange(0);
    if (sent == 0)
        return;
    constexpr Client::Clock::duration second = std::chrono::seconds(1);
    const auto now = Client::Clock::now();
    const auto own = sent * second / mostNotified_;
    notified_ = std::max(notified_, now) + own;
    if (notified_ > now + second)
        heldUp.increment();
    client.slowDown(std::min(notified_ - second, now + std::max(second, 100 * own)));
    if (!message.isDone())
        message.delay(client.getSlowedUntil());
}

/// Sees to what is left of a job after a step. With the lock held, though not while a reply is
/// handed over.
void Lanes::handBack(Lane& lane, Queue::node_type job, Client::Clock::duration took,
                     std::unique_lock<std::mutex>& lock) {
    auto& [client, message, done, chore, isDear, replySize] = job.mapped();
    lane.dear -= isDear ? 1 : 0;
    if (client != nullptr) {
        client->charge(took, Client::Clock::now());
        client->setTried(took < brief);
    }
    const bool isLeft = client == nullptr || client->getPeer()->gone;
    if (!isLeft)
        chargeNotifications(*client, *message);
    if (!isLeft && !message->isDone()) {
        noteReply(job.mapped(), message->getReplySize());
        push(std::move(job));
        return;
    }
    noteReply(job.mapped(), 0);
    lock.unlock();
    if (!isLeft)
        done(message->takeReply());
    job = {};
    lock.lock();
}

} // namespace Ostrel
