#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel {

/// The service manager that has started this process, if one has: what it hands over, and what it wants
/// to be told, in systemd's protocols (sd_listen_fds(3), sd_notify(3), sd_watchdog_enabled(3)).
///
/// Without one there are no sockets, and telling does nothing. One thread.
class ServiceManager {
public:
    /// Reads the environment and takes away what is there for this process alone.
    ServiceManager();
    ~ServiceManager();

    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    /// The sockets that it hands over: they listen already, and are the caller's from now on.
    /// @throws StartError  one is of a kind that cannot be served; names it
    std::vector<int> takeSockets();

    /// Whether it wants to be told how things go.
    bool isListening() const { return socket_ >= 0; }

    /// Takes this process for hung when it is told nothing for so long; zero: never.
    std::chrono::microseconds getPatience() const { return patience_; }

    /// Tells it something: lines of NAME=VALUE. Waits a second at most, and what cannot be told is lost.
    void tell(std::string_view lines) const noexcept;

private:
    void connect(const std::string& path);

    int socket_ = -1;
    std::chrono::microseconds patience_{0};
    int handedOver_ = 0; ///< descriptors from the third on
    std::vector<std::string> names_; ///< of these, as many as are given
};

} // namespace Ostrel
