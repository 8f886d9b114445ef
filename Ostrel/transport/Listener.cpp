#include "Ostrel/transport/Listener.h"

#include "Ostrel/rpc/RPCNotifier.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/runtime/Turn.h"
#include "Ostrel/transport/Connection.h"
#include "Ostrel/transport/ConnectionHub.h"
#include "Ostrel/transport/Door.h"
#include "Ostrel/transport/HeapTrim.h"
#include "Ostrel/transport/Lanes.h"
#include "Ostrel/transport/MessageBudget.h"
#include "Ostrel/transport/Page.h"
#include "Ostrel/transport/StartError.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <deque>
#include <future>
#include <new>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>

namespace Ostrel {

namespace asio = boost::asio;

using boost::system::error_code;

namespace {

Gauge waitingAlone(waitingBytes, "answers");
Counter refusedConnections(refusals, "connections");
Counter cutOffForAll(cutOffs, "waiting_together");
Counter cameByOldToken(cutOffs, "token_changed");

constexpr std::chrono::milliseconds farewellTime{1000};
constexpr std::chrono::milliseconds pauseTime{100}; ///< before what could not be done is tried again
constexpr std::size_t mostRefused = 256; ///< connections that are being told there are too many

} // namespace

class Listener::Service final : public ConnectionHub {
    using Clock = Connection::Clock;

public:
    Service(const std::vector<Address>& addresses, Admission admission, const ListenerOptions& options)
        : options_(options), admission_(std::move(admission)), page_(options.page), addresses_(addresses),
          budget_(options.limits.messagesTogether, options.limits.message), timer_(context_) {
        for (auto& address : addresses_) {
            checkToken(address);
            address = doors_.emplace_back(context_, address, options_.advice.addressInUse).getAddress();
        }
        for (const int socket : options.sockets) {
            addresses_.push_back(doors_.emplace_back(context_, socket).getAddress());
            checkToken(addresses_.back());
        }
        for (auto& door : doors_)
            door.open([this](Door::Guest guest) { welcome(std::move(guest)); }, [this] { lookSoon(); });
        thread_ = std::thread([this] { run(); });
        pthread_setname_np(thread_.native_handle(), "listener");
    }

    ~Service() override { stop(); }

    void stop() {
        if (!thread_.joinable())
            return;
        asio::post(context_, [this] { stopAll(); });
        allGone_.get_future().wait_for(farewellTime);
        lanes_.beginStop();
        asio::post(context_, [this] { closeAll(); }); // what is under way learns that nobody waits
        lanes_.stop();
        asio::post(context_, [this] { end(); });
        thread_.join();
    }

    const std::vector<Address>& getAddresses() const { return addresses_; }

    void setToken(std::string token) {
        asio::post(context_, [this, token = std::move(token)]() mutable {
            if (admission_.acceptsToken(token))
                return; // it is the same
            admission_.setToken(std::move(token));
            forEachConnection([](Connection& connection) {
                connection.countCutOff(cameByOldToken);
                connection.stop();
            });
        });
    }

    bool isAlive() {
        if (cameRound_ != asked_)
            return false;
        asio::post(context_, [this, number = asked_ + 1] { cameRound_ = number; });
        ++asked_; // not before, since there may be no memory to ask again
        return true;
    }

    Status getStatus() const { return {open_, getWaiting()}; }

    const Limits& getLimits() const override { return options_.limits; }
    const Admission& getAdmission() const override { return admission_; }
    const Advice& getAdvice() const override { return options_.advice; }
    const std::string& getMainServer() const override { return options_.mainServer; }
    const Page& getPage() const override { return page_; }
    Lanes& getLanes() override { return lanes_; }
    MessageBudget& getBudget() override { return budget_; }

    void addWaiting(std::ptrdiff_t change) override {
        waiting_ += change;
        waitingAlone.increment(change);
        heap_.saw(getWaiting());
        if (change <= 0 || getWaiting() <= options_.limits.waitingTogether)
            return;
        if (!relieving_)
            relieve();
    }

    // An earlier tick is kept, so that not every request sets the timer.
    void wakeAt(Clock::time_point when) noexcept override {
        if (when >= nextTick_)
            return;
        when = std::max(when, lastTick_ + tickTime);
        if (when >= nextTick_)
            return;
        nextTick_ = Clock::time_point::max();
        try {
            timer_.expires_at(when);
            timer_.async_wait([this](error_code failure) {
                if (failure)
                    return;
                try {
                    tick();
                } catch (const std::exception& exception) {
                    complain("tick", exception.what());
                    lookSoon(); // what was left out is not forgotten
                }
            });
            nextTick_ = when;
        } catch (const std::exception& exception) {
            complain("wakeAt", exception.what());
            lookSoon();
        }
    }

    void lookSoon() noexcept override {
        if (!hasEnded_ && !looksSoon_.exchange(true))
            context_.stop();
    }

    void logRefusal(const std::string& why) override {
        ostrelDebugPrint(DebugLevel::Warning, "Listener", "Listener", __LINE__, "refused: %s", why.c_str());
    }

    void remove(Connection& connection) override {
        if (connection.isWorking()) {
            heap_.saw(HeapTrim::everything); // what was being made for it may have been large
            wakeAt(Clock::now());
        }
        for (auto* connections : {&connections_, &refused_}) {
            const auto found = std::find_if(connections->begin(), connections->end(),
                                            [&](const auto& other) { return other.get() == &connection; });
            if (found == connections->end())
                continue;
            connections->erase(found);
            open_ = connections_.size();
            housekeepLater();
            if (stopping_ && hasNone())
                allGone_.set_value();
            return;
        }
    }

private:
    /// @throws StartError
    void checkToken(const Address& address) const {
        if (!address.isLoopback() && !admission_.needsToken())
            throw StartError("listening on " + address.toString() + " lets others in" +
                             (options_.advice.tokenNeeded.empty() ? "" : "; " + options_.advice.tokenNeeded));
    }

    void welcome(Door::Guest guest) {
        const bool full = open_ >= options_.limits.connections;
        if (full)
            refusedConnections.increment();
        if (full && refused_.size() >= mostRefused)
            return;
        auto peer = std::make_shared<RPCPeer>(++welcomed_, std::move(guest.name));
        const auto connection = std::make_shared<Connection>(*this, std::move(guest.socket),
                                                             std::move(guest.localAddress), std::move(peer));
        (full ? refused_ : connections_).insert(connection);
        open_ = connections_.size();
        try {
            full ? connection->refuse() : connection->start();
        } catch (...) {
            connection->close();
            throw;
        }
    }

    void tick() {
        nextTick_ = Clock::time_point::max();
        lastTick_ = Clock::now();
        budget_.tick();
        forEachConnection([this](Connection& connection) {
            connection.tick(lastTick_);
            wakeAt(connection.getNextTick(lastTick_));
        });
        if (lastTick_ >= nextHousekeeping_) {
            housekeep();
            nextHousekeeping_ = Clock::time_point::max();
        }
        wakeAt(nextHousekeeping_);
        heap_.saw(budget_.takePeak());
        if (heap_.tick(lastTick_, getWaiting() + budget_.getTotal()))
            lanes_.post(&HeapTrim::giveBack);
        if (heap_.isDue())
            wakeAt(lastTick_);
    }

    /// Lets the servers look after what a connection may have left, now and then until they have
    /// nothing to look after.
    void housekeepLater() {
        if (stopping_ || nextHousekeeping_ != Clock::time_point::max())
            return;
        nextHousekeeping_ = Clock::now() + options_.limits.housekeeping;
        wakeAt(nextHousekeeping_);
    }

    void housekeep() {
        lanes_.post([this] {
            try {
                if (keepHouse())
                    asio::post(context_, [this] { housekeepLater(); });
            } catch (const std::exception& exception) {
                complain("housekeep", exception.what());
                keepsHouseSoon_ = true;
                lookSoon();
            }
        });
    }

    /// Lets every running server do what it does by itself; returns whether one wants to be asked again.
    static bool keepHouse() {
        bool again = false;
        for (auto* server : RPCServer::running()) {
            const Turn::Hold hold;
            try {
                again |= server->housekeep();
            } catch (const std::exception& exception) {
                complain("housekeep", exception.what());
                again = true;
            } catch (...) {
                complain("housekeep", "unknown");
                again = true;
            }
        }
        return again;
    }

    void run() {
        while (!hasEnded_) {
            try {
                context_.restart();
                if (looksSoon_)
                    pause();
                else
                    context_.run();
            } catch (const std::exception& exception) {
                complain("run", exception.what());
                lookSoon();
            } catch (...) {
                complain("run", "unknown");
                lookSoon();
            }
        }
    }

    /// Serves on until it is time to look around. No timer of Asio's: for that there may be no memory.
    void pause() {
        if (lookAt_ == Clock::time_point::max())
            lookAt_ = Clock::now() + pauseTime;
        context_.run_until(lookAt_);
        if (Clock::now() < lookAt_)
            return;
        lookAt_ = Clock::time_point::max();
        looksSoon_ = false;
        for (auto& door : doors_)
            door.tryAgain();
        if (keepsHouseSoon_.exchange(false))
            housekeepLater();
        tick();
    }

    static void complain(const char* where, const char* what) {
        ostrelDebugPrint(DebugLevel::Error, "Listener", "Listener", __LINE__, "%s(): caught exception: %s\n",
                         where, what);
    }

    void stopAll() {
        stopping_ = true;
        for (auto& door : doors_)
            door.close();
        if (hasNone())
            allGone_.set_value();
        forEachConnection([](Connection& connection) { connection.stop(); });
    }

    void closeAll() {
        forEachConnection([](Connection& connection) { connection.close(); });
    }

    /// Behind what the connections have posted to take themselves apart.
    void end() {
        closeAll();
        asio::post(context_, [this] {
            hasEnded_ = true;
            context_.stop();
        });
    }

    /// Whoever closes leaves its set, and may take others along. What one connection throws ends
    /// that connection.
    template <class Action> void forEachConnection(Action action) {
        for (auto* connections : {&connections_, &refused_}) {
            std::shared_ptr<Connection> last;
            for (auto at = connections->begin(); at != connections->end();
                 at = connections->upper_bound(last)) {
                last = *at;
                try {
                    action(*last);
                } catch (const std::exception& exception) {
                    complain("forEachConnection", exception.what());
                    last->close();
                }
            }
        }
    }

    /// Cuts clients off until less waits. Who has much of an answer that has begun even then is closed:
    /// a goodbye behind it would free nothing, and the next would have to go in its place.
    void relieve() {
        struct Scope {
            explicit Scope(bool& flag) : flag_(flag) { flag_ = true; }
            ~Scope() { flag_ = false; }
            bool& flag_;
        } const scope(relieving_); // the goodbyes wait, too
        const auto now = Clock::now();
        while (getWaiting() > options_.limits.waitingTogether) {
            std::shared_ptr<Connection> worst;
            double burden = 0;
            for (const auto& connection : connections_) {
                const auto other = connection->getBurden(now);
                if (other > burden) {
                    burden = other;
                    worst = connection;
                }
            }
            if (worst == nullptr)
                return;
            try {
                worst->cutOff(cutOffForAll);
                if (worst->isFull() && getWaiting() > options_.limits.waitingTogether)
                    worst->close();
            } catch (...) {
                worst->close(); // which is no fault of whoever is served now
            }
        }
    }

    /// What all that waits costs, with every text once that several clients share.
    std::size_t getWaiting() const { return std::size_t(waiting_) + RPCNotification::getCostOfAll(); }

    bool hasNone() const { return connections_.empty() && refused_.empty(); }

    const ListenerOptions options_;
    Admission admission_; ///< on the listener's thread, once that runs
    const Page page_;
    std::vector<Address> addresses_;

    MessageBudget budget_; ///< outlives whatever waits to be run
    std::atomic<bool> looksSoon_ = false; ///< run() is to pause(), and has been told
    std::atomic<bool> keepsHouseSoon_ = false;
    std::atomic<bool> hasEnded_ = false; ///< run() is to return
    Clock::time_point lookAt_ = Clock::time_point::max(); ///< while it pauses
    asio::io_context context_{1};
    const asio::executor_work_guard<asio::io_context::executor_type> work_{context_.get_executor()};
    std::deque<Door> doors_;
    asio::steady_timer timer_; ///< for the next tick
    Clock::time_point nextTick_ = Clock::time_point::max();
    Clock::time_point lastTick_ = Clock::time_point::min();
    Clock::time_point nextHousekeeping_ = Clock::time_point::max();

    std::set<std::shared_ptr<Connection>> connections_; ///< the open ones
    std::set<std::shared_ptr<Connection>> refused_; ///< those that are told there are too many
    std::uint64_t welcomed_ = 0; ///< connections so far, which numbers them
    std::atomic<std::size_t> open_ = 0; ///< as many as connections_ holds
    std::atomic<std::ptrdiff_t> waiting_ = 0; ///< what waits for each client alone
    HeapTrim heap_;
    bool relieving_ = false; ///< clients are being cut off for the sake of all
    bool stopping_ = false; ///< clients are being said goodbye to
    unsigned asked_ = 0; ///< times that the thread was asked to come round; for who asks
    std::atomic<unsigned> cameRound_ = 0; ///< the last time that it did
    std::promise<void> allGone_;

    Lanes lanes_{Lanes::countProcessors(), options_.limits.notifications};
    std::thread thread_;
};

Listener::Listener(const std::vector<Address>& addresses, Admission admission,
                   const ListenerOptions& options) try
    : service_(std::make_unique<Service>(addresses, std::move(admission), options)) {
} catch (const StartError&) {
    throw;
} catch (const std::bad_alloc&) {
    throw StartError("cannot listen: there is not enough memory");
} catch (const std::system_error& failure) { // of a thread
    throw StartError("cannot listen: the system refuses a thread: " + failure.code().message());
} catch (const boost::system::system_error& failure) { // of Asio's descriptors
    throw StartError("cannot listen: the system refuses a descriptor: " + failure.code().message());
}

Listener::~Listener() = default;

const std::vector<Address>& Listener::getAddresses() const {
    return service_->getAddresses();
}

void Listener::setToken(std::string token) {
    service_->setToken(std::move(token));
}

bool Listener::isAlive() {
    return service_->isAlive();
}

void Listener::stop() {
    service_->stop();
}

Listener::Status Listener::getStatus() const {
    return service_->getStatus();
}

} // namespace Ostrel
