#include "host/ServiceManager.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/text/Printable.h"
#include "Ostrel/transport/Address.h"
#include "Ostrel/transport/StartError.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace Ostrel {

namespace {

constexpr int firstSocket = 3; ///< behind the standard streams
constexpr int mostSockets = 64;
constexpr timeval tellTime{.tv_sec = 1, .tv_usec = 0};

std::string take(const char* name) {
    const char* value = std::getenv(name);
    std::string result = value == nullptr ? "" : value;
    ::unsetenv(name);
    return result;
}

std::optional<std::uint64_t> number(const std::string& text) {
    std::uint64_t value = 0;
    const auto* last = text.data() + text.size();
    const auto [end, failure] = std::from_chars(text.data(), last, value);
    return failure == std::errc() && end == last ? std::optional(value) : std::nullopt;
}

/// Whether an identifier is that of this process; those that start another one leave theirs behind.
bool isOurs(const std::string& process) {
    return number(process) == std::uint64_t(::getpid());
}

} // namespace

ServiceManager::ServiceManager() {
    const auto notified = take("NOTIFY_SOCKET");
    const auto patience = number(take("WATCHDOG_USEC"));
    const auto watched = take("WATCHDOG_PID");
    const auto sockets = number(take("LISTEN_FDS"));
    const auto receiver = take("LISTEN_PID");
    std::istringstream names(take("LISTEN_FDNAMES"));

    if (!notified.empty())
        connect(notified);
    if (isListening() && patience && (watched.empty() || isOurs(watched)))
        patience_ = std::chrono::microseconds(std::min<std::uint64_t>(*patience, INT64_MAX));
    if (sockets && isOurs(receiver))
        handedOver_ = int(std::min<std::uint64_t>(*sockets, mostSockets));
    for (std::string name; std::getline(names, name, ':');)
        names_.push_back(name);
}

ServiceManager::~ServiceManager() {
    if (socket_ >= 0)
        ::close(socket_);
}

/// @param path  a socket's file, or behind '@' a name that is none
void ServiceManager::connect(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const bool isName = path.starts_with('@');
    if ((isName || path.starts_with('/')) && path.size() < sizeof address.sun_path) {
        std::copy(path.begin(), path.end(), address.sun_path);
        if (isName)
            address.sun_path[0] = '\0';
        socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const auto size = offsetof(sockaddr_un, sun_path) + path.size() + (isName ? 0 : 1);
        if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), socklen_t(size)) == 0) {
            ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &tellTime, sizeof tellTime);
            return;
        }
        ::close(socket_);
        socket_ = -1;
    }
    ostrelDebugPrint(DebugLevel::Warning, "Host", "ServiceManager", __LINE__,
                     "cannot be told how things go: NOTIFY_SOCKET is %s\n", excerpt(path).c_str());
}

std::vector<int> ServiceManager::takeSockets() {
    std::vector<int> sockets;
    for (int i = 0; i < handedOver_; ++i) {
        const int socket = firstSocket + i;
        try {
            Address::ofSocket(socket);
        } catch (const StartError& error) {
            const auto name = std::size_t(i) < names_.size() ? names_[i] : std::to_string(socket);
            throw StartError("cannot serve on what the service manager hands over as " + excerpt(name) +
                             ": " + error.what());
        }
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
        sockets.push_back(socket);
    }
    handedOver_ = 0;
    return sockets;
}

void ServiceManager::tell(std::string_view lines) const noexcept {
    if (isListening())
        ::send(socket_, lines.data(), lines.size(), MSG_NOSIGNAL);
}

} // namespace Ostrel
