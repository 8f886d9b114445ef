#include "bench/LoadConnection.h"

#include "bench/Connect.h"
#include "tests/support/WireClient.h"

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/time.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

constexpr timeval patience{30, 0};
constexpr std::size_t readAtOnce = 256 << 10;

} // namespace

LoadConnection::LoadConnection(std::uint16_t port, bool isWebSocket) : socket_(connectTo(port)) {
    ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    try {
        if (!isWebSocket)
            return;
        send(Test::upgradeRequest("/rpc/TV"));
        for (bool isUpgraded = false; !isUpgraded;)
            scanner_.scan(read(0), [&](const AnswerScanner::Found& found) {
                isUpgraded = found.kind == AnswerScanner::Found::Upgrade;
                if (!isUpgraded)
                    throw std::runtime_error("no upgrade: " + std::to_string(found.status));
            });
    } catch (...) {
        ::close(socket_);
        throw;
    }
}

LoadConnection::~LoadConnection() {
    ::close(socket_);
}

void LoadConnection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            throw std::runtime_error("a server takes no more");
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void LoadConnection::answerPing() {
    send(Test::frame(10, {}));
}

std::string_view LoadConnection::read(int flags) {
    static thread_local std::vector<char> buffer(readAtOnce);
    const auto size = ::recv(socket_, buffer.data(), buffer.size(), flags);
    if (size > 0)
        return {buffer.data(), static_cast<std::size_t>(size)};
    if (size < 0 && flags == MSG_DONTWAIT && (errno == EAGAIN || errno == EINTR))
        return {};
    throw std::runtime_error("a server has closed a connection, or says nothing");
}

} // namespace Ostrel::Bench
