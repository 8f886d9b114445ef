#include "soak/Viewer.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel::Soak {
namespace {

using namespace std::chrono_literals;

/// A port behind which nobody answers.
class Deaf {
public:
    Deaf() {
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof name;
        auto* const address = reinterpret_cast<sockaddr*>(&name);
        EXPECT_EQ(::bind(socket_, address, size), 0);
        EXPECT_EQ(::listen(socket_, 1), 0);
        EXPECT_EQ(::getsockname(socket_, address, &size), 0);
        port_ = ntohs(name.sin_port);
    }
    ~Deaf() { ::close(socket_); }
    Deaf(const Deaf&) = delete;
    Deaf& operator=(const Deaf&) = delete;

    std::uint16_t getPort() const { return port_; }

private:
    const int socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::uint16_t port_ = 0;
};

struct ViewerTest : testing::TestWithParam<Viewer::Way> {
    static const Truth& truth() {
        static const Truth instance; // the module is made once in a process
        return instance;
    }

    Deaf host;
    Announcements announcements;
    Tally tally;
    Viewer::World world{host.getPort(), truth(), announcements, tally};
};

TEST_P(ViewerTest, AnAnswerThatDoesNotComeIsWrong) {
    Viewer viewer(world, GetParam(), 1);
    const auto begin = Clock::now();
    viewer.act(begin);
    viewer.checkPatience(begin + 59s, 1min);
    EXPECT_EQ(tally.getWrong(), 0u);
    viewer.checkPatience(begin + 61s, 1min);
    EXPECT_EQ(tally.getWrong(), 1u);
    EXPECT_TRUE(viewer.isGone());
}

INSTANTIATE_TEST_SUITE_P(BothWays, ViewerTest, testing::Values(Viewer::Way::WebSocket, Viewer::Way::Http));

TEST_F(ViewerTest, WhatIsAskedHoldsWhileTheClockIsInItsSpan) {
    EXPECT_GT(truth().getEnd() - truth().getBegin(), 150); // which the hostile move it by
    EXPECT_GT(truth().getQuestions().size(), 300u);
    EXPECT_EQ(truth().getServices().size(), 96u);
}

} // namespace
} // namespace Ostrel::Soak
