#include "Ostrel/transport/Listener.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Turn.h"
#include "Ostrel/transport/Connection.h"
#include "Ostrel/transport/ConnectionHub.h"
#include "Ostrel/transport/Lanes.h"
#include "Ostrel/transport/RefusalLog.h"
#include "Ostrel/transport/RequestLog.h"
#include "Ostrel/transport/StartError.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <future>
#include <set>
#include <thread>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel {

namespace asio = boost::asio;

using asio::ip::tcp;
using boost::system::error_code;
using Local = asio::local::stream_protocol;

namespace {

constexpr std::chrono::milliseconds tickTime{250};
constexpr std::chrono::seconds housekeepTime{30};
constexpr std::chrono::milliseconds farewellTime{1000};
constexpr std::size_t mostRefused = 256; ///< connections that are being told there are too many

/// Removes the socket file that a host has left behind which ended without stopping.
void removeStaleSocket(asio::io_context& context, const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode))
        return;
    Local::socket probe(context);
    error_code failure;
    probe.connect(Local::endpoint(path), failure);
    if (failure == asio::error::connection_refused)
        ::unlink(path.c_str());
}

} // namespace

class Listener::Service final : public ConnectionHub {
public:
    Service(const std::vector<Address>& addresses, Admission admission, const ListenerOptions& options)
        : options_(options), admission_(std::move(admission)), addresses_(addresses), tick_(context_),
          housekeep_(context_) {
        for (auto& address : addresses_) {
            if (!address.isLoopback() && !admission_.needsToken())
                refuseStart("listening on " + address.toString() + " lets others in",
                            options_.advice.tokenNeeded);
            if (address.isUnix())
                bindLocal(address);
            else
                bindTcp(address);
        }
        acceptAll();
        tickLater();
        housekeepLater();
        thread_ = std::thread([this] { run(); });
    }

    ~Service() override { stop(); }

    void stop() {
        if (!thread_.joinable())
            return;
        asio::post(context_, [this] { stopAll(); });
        allGone_.get_future().wait_for(farewellTime);
        lanes_.stop();
        asio::post(context_, [this] { closeAll(); });
        thread_.join();
        for (const auto& address : addresses_)
            if (address.isUnix())
                ::unlink(address.path.c_str());
    }

    const std::vector<Address>& getAddresses() const { return addresses_; }

    Status getStatus() const { return {open_, std::size_t(waiting_)}; }

    const Limits& getLimits() const override { return options_.limits; }
    const Admission& getAdmission() const override { return admission_; }
    const Advice& getAdvice() const override { return options_.advice; }
    Lanes& getLanes() override { return lanes_; }

    void addWaiting(std::ptrdiff_t change) override {
        waiting_ += change;
        if (change <= 0 || std::size_t(waiting_) <= options_.limits.waitingTogether)
            return;
        const auto most =
            std::max_element(connections_.begin(), connections_.end(), [](auto& left, auto& right) {
                return left->getWaiting() < right->getWaiting();
            });
        if (most != connections_.end())
            std::shared_ptr(*most)->cutOff();
    }

    void logRefusal(const std::string& why) override { refusals_.write(why); }

    void remove(Connection& connection) override {
        for (auto* connections : {&connections_, &refused_}) {
            const auto found = std::find_if(connections->begin(), connections->end(),
                                            [&](const auto& other) { return other.get() == &connection; });
            if (found == connections->end())
                continue;
            connections->erase(found);
            open_ = connections_.size();
            if (stopping_ && hasNone())
                allGone_.set_value();
            return;
        }
    }

private:
    using TcpAcceptor = asio::basic_socket_acceptor<tcp, asio::io_context::executor_type>;
    using LocalAcceptor = asio::basic_socket_acceptor<Local, asio::io_context::executor_type>;

    [[noreturn]] static void refuseStart(const std::string& why, const std::string& advice) {
        throw StartError(advice.empty() ? why : why + "; " + advice);
    }

    [[noreturn]] void cannotListen(const Address& address, const error_code& failure) const {
        if (failure == asio::error::address_in_use)
            refuseStart(address.toString() + " is in use", options_.advice.addressInUse);
        throw StartError("cannot listen on " + address.toString() + ": " + failure.message());
    }

    void bindTcp(Address& address) {
        const tcp::endpoint endpoint(asio::ip::make_address(address.host), address.port);
        TcpAcceptor acceptor(context_);
        error_code failure;
        acceptor.open(endpoint.protocol(), failure);
        if (!failure)
            acceptor.set_option(tcp::acceptor::reuse_address(true), failure);
        if (!failure && endpoint.address().is_v6())
            acceptor.set_option(asio::ip::v6_only(true), failure);
        if (!failure)
            acceptor.bind(endpoint, failure);
        if (!failure)
            acceptor.listen(asio::socket_base::max_listen_connections, failure);
        if (failure)
            cannotListen(address, failure);
        address.port = acceptor.local_endpoint().port();
        tcpDoors_.push_back({std::move(acceptor)});
    }

    void bindLocal(const Address& address) {
        if (address.path.size() >= sizeof(sockaddr_un::sun_path))
            throw StartError("cannot listen on " + address.toString() + ": the path is too long");
        removeStaleSocket(context_, address.path);
        LocalAcceptor acceptor(context_);
        error_code failure;
        acceptor.open(Local(), failure);
        if (!failure) {
            const auto mask = ::umask(0177);
            acceptor.bind(Local::endpoint(address.path), failure);
            ::umask(mask);
        }
        if (!failure)
            acceptor.listen(asio::socket_base::max_listen_connections, failure);
        if (failure)
            cannotListen(address, failure);
        localDoors_.push_back({std::move(acceptor)});
    }

    /// An acceptor and whether it waits for a client.
    template <class Acceptor> struct Door {
        Acceptor acceptor;
        bool waiting = false;
    };

    /// Lets every acceptor wait that does not: at the start, and after the system or the memory
    /// had no room for another client.
    void acceptAll() {
        for (auto& door : tcpDoors_)
            accept(door);
        for (auto& door : localDoors_)
            accept(door);
    }

    template <class Acceptor> void accept(Door<Acceptor>& door) {
        if (door.waiting || stopping_)
            return;
        door.acceptor.async_accept([this, &door](error_code failure, auto socket) {
            door.waiting = false;
            if (failure || stopping_)
                return; // the next tick tries again
            welcome(std::move(socket));
            accept(door);
        });
        door.waiting = true;
    }

    template <class AcceptedSocket> void welcome(AcceptedSocket accepted) {
        std::string localAddress;
        if constexpr (std::is_same_v<typename AcceptedSocket::protocol_type, tcp>) {
            error_code failure;
            accepted.set_option(tcp::no_delay(true), failure);
            localAddress = accepted.local_endpoint(failure).address().to_string();
            if (failure)
                return; // gone already
        }
        const bool full = open_ >= options_.limits.connections;
        if (full && refused_.size() >= mostRefused)
            return;
        auto peer = std::make_shared<RPCPeer>();
        if (options_.logRequests)
            peer->observer =
                std::make_shared<RequestLog>(nameClient(accepted) + " #" + std::to_string(++welcomed_));
        const auto connection = std::make_shared<Connection>(*this, Socket(std::move(accepted)),
                                                             std::move(localAddress), std::move(peer));
        if (full) {
            refused_.insert(connection);
            connection->refuse();
        } else {
            connections_.insert(connection);
            open_ = connections_.size();
            connection->start();
        }
    }

    /// What the log calls a client: its address and port, or "unix".
    template <class AcceptedSocket> static std::string nameClient(const AcceptedSocket& accepted) {
        if constexpr (std::is_same_v<typename AcceptedSocket::protocol_type, tcp>) {
            error_code failure;
            const auto remote = accepted.remote_endpoint(failure);
            return Address{remote.address().to_string(), remote.port(), {}}.toString();
        }
        return "unix";
    }

    void tickLater() {
        tick_.expires_after(tickTime);
        tick_.async_wait([this](error_code) {
            tickLater();
            acceptAll();
            forEachConnection([](Connection& connection) { connection.tick(Connection::Clock::now()); });
        });
    }

    void housekeepLater() {
        housekeep_.expires_after(housekeepTime);
        housekeep_.async_wait([this](error_code) {
            if (stopping_)
                return;
            housekeepLater();
            lanes_.post(&housekeep);
        });
    }

    /// Lets every running server do what it does by itself.
    static void housekeep() noexcept {
        try {
            for (auto* server : RPCServer::running()) {
                const Turn::Hold hold;
                server->housekeep();
            }
        } catch (const std::exception& exception) {
            complain("housekeep", exception.what());
        } catch (...) {
            complain("housekeep", "unknown");
        }
    }

    void run() {
        for (;;) {
            try {
                context_.run();
                return;
            } catch (const std::exception& exception) {
                complain("run", exception.what());
            } catch (...) {
                complain("run", "unknown");
            }
        }
    }

    static void complain(const char* where, const char* what) {
        ostrelDebugPrint(DebugLevel::Error, "Listener", "Listener", __LINE__, "%s(): caught exception: %s\n",
                         where, what);
    }

    void stopAll() {
        stopping_ = true;
        error_code ignored;
        for (auto& door : tcpDoors_)
            door.acceptor.close(ignored);
        for (auto& door : localDoors_)
            door.acceptor.close(ignored);
        if (hasNone())
            allGone_.set_value();
        forEachConnection([](Connection& connection) { connection.stop(); });
    }

    void closeAll() {
        forEachConnection([](Connection& connection) { connection.close(); });
        // Behind what the connections have posted to take themselves apart.
        asio::post(context_, [this] { context_.stop(); });
    }

    /// Whoever closes leaves the set, so that a copy is walked. What one connection throws ends
    /// that connection.
    template <class Action> void forEachConnection(Action action) {
        std::vector all(connections_.begin(), connections_.end());
        all.insert(all.end(), refused_.begin(), refused_.end());
        for (const auto& connection : all) {
            try {
                action(*connection);
            } catch (const std::exception& exception) {
                complain("forEachConnection", exception.what());
                connection->close();
            }
        }
    }

    bool hasNone() const { return connections_.empty() && refused_.empty(); }

    const ListenerOptions options_;
    const Admission admission_;
    std::vector<Address> addresses_;

    asio::io_context context_{1};
    std::vector<Door<TcpAcceptor>> tcpDoors_;
    std::vector<Door<LocalAcceptor>> localDoors_;
    asio::steady_timer tick_;
    asio::steady_timer housekeep_;

    std::set<std::shared_ptr<Connection>> connections_; ///< the open ones
    std::set<std::shared_ptr<Connection>> refused_; ///< those that are told there are too many
    std::uint64_t welcomed_ = 0; ///< connections so far, which numbers them for people
    RefusalLog refusals_;
    std::atomic<std::size_t> open_ = 0; ///< as many as connections_ holds
    std::atomic<std::ptrdiff_t> waiting_ = 0; ///< bytes for all clients
    bool stopping_ = false; ///< clients are being said goodbye to
    std::promise<void> allGone_;

    Lanes lanes_;
    std::thread thread_;
};

Listener::Listener(const std::vector<Address>& addresses, Admission admission, const ListenerOptions& options)
    : service_(std::make_unique<Service>(addresses, std::move(admission), options)) {}

Listener::~Listener() = default;

const std::vector<Address>& Listener::getAddresses() const {
    return service_->getAddresses();
}

void Listener::stop() {
    service_->stop();
}

Listener::Status Listener::getStatus() const {
    return service_->getStatus();
}

} // namespace Ostrel
