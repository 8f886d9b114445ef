#pragma once

#include "tests/host/RunningHost.h"
#include "tests/support/TempDirectory.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace Ostrel::Test {

/// Starts a host as a service manager does, and hears what it tells.
class FakeManager {
public:
    enum class Kind { File, Name };

    explicit FakeManager(Kind kind = Kind::File) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const auto path = folder_.file("notify");
        path.copy(address.sun_path + (kind == Kind::Name ? 1 : 0), path.size());
        const auto size = offsetof(sockaddr_un, sun_path) + path.size() + 1;
        socket_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), socklen_t(size)), 0);
        const timeval patience{.tv_sec = 60, .tv_usec = 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        environment_ = {"NOTIFY_SOCKET=" + (kind == Kind::Name ? '@' + path : path)};
    }
    ~FakeManager() {
        ::close(socket_);
        for (const int socket : sockets_)
            ::close(socket);
    }

    FakeManager(const FakeManager&) = delete;
    FakeManager& operator=(const FakeManager&) = delete;

    /// What hosts that are started from now on find in their environment, beside NOTIFY_SOCKET.
    Arguments& environment() { return environment_; }

    /// Hands a bound socket over to hosts that are started from now on. It stays open here as well.
    void add(int socket) { sockets_.push_back(socket); }

    /// The shell's words that start a host with the sockets from the third descriptor on.
    Arguments wordsFor(const Arguments& options, const std::string& receiver = "$$") const {
        std::string script = "export LISTEN_PID=" + receiver +
                             " LISTEN_FDS=" + std::to_string(sockets_.size()) + "; exec \"$0\" \"$@\"";
        for (std::size_t i = 0; i < sockets_.size(); ++i)
            script += ' ' + std::to_string(i + 3) + "<&" + std::to_string(sockets_[i]);
        Arguments words{"-c", script, OSTREL_TVD_PROGRAM, "--log-level", "error"};
        words.insert(words.end(), options.begin(), options.end());
        return words;
    }

    /// What comes next, as lines; nothing when a minute passes without.
    std::string read() const {
        std::string text(4096, '\0');
        const auto length = ::recv(socket_, text.data(), text.size(), 0);
        text.resize(length > 0 ? std::size_t(length) : 0);
        return text;
    }

    /// What comes next and does not just tell that the host is alive.
    std::string readNews() const {
        auto text = read();
        while (text == "WATCHDOG=1")
            text = read();
        return text;
    }

    /// How much has come that was not read; it is gone then.
    int dropAll() const {
        int count = 0;
        char text[4096];
        while (::recv(socket_, text, sizeof text, MSG_DONTWAIT) > 0)
            ++count;
        return count;
    }

    const TempDirectory& folder() const { return folder_; }

private:
    TempDirectory folder_;
    int socket_ = -1;
    Arguments environment_;
    std::vector<int> sockets_;
};

} // namespace Ostrel::Test
