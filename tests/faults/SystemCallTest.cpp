// Every system call of the transport fails in turn: whatever a client does meanwhile, it is answered or
// cut off, nobody waits for ever, and the next client is served.

#include "tests/faults/Service.h"
#include "tests/faults/SystemCalls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <ostream>
#include <string>

namespace Ostrel::Test {
namespace {

struct Fault {
    const char* call;
    int error; ///< 0: read and write go on with one byte
    bool isFelt = true; ///< else all is answered as if nothing had happened
};

std::ostream& operator<<(std::ostream& out, const Fault& fault) {
    return out << fault.call << ' ' << (fault.error == 0 ? "1 byte" : std::strerror(fault.error));
}

std::size_t countDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

class SystemCallTest : public testing::TestWithParam<Fault> {
protected:
    /// Whether a client that does all that clients do is answered to the end.
    bool converse() {
        const std::string request = R"({"jsonrpc":"2.0","id":1,"method":"nothing"})";
        try {
            WireClient client(service_.getAddress());
            client.upgrade();
            client.call(request);
            client.call('[' + request + ',' + request + ']');
            client.sendFrame(8, "\x03\xe8");
            client.readFrame();
            WireClient poster(service_.getAddress());
            poster.post("/rpc/TV", request);
            poster.post("/rpc/TV", "nonsense");
            poster.send("GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
            poster.readAnswer();
            return true;
        } catch (const std::exception& exception) {
            EXPECT_STRNE(exception.what(), "nothing came for a long time");
            return false;
        }
    }

    Service& service_ = Service::instance();
};

TEST_P(SystemCallTest, WhicheverFailsTheNextClientIsServed) {
    constexpr int most = 60; // one byte at a time there would be no end
    ASSERT_TRUE(converse());
    ASSERT_EQ(service_.countConnections(0), 0U);
    const auto descriptors = countDescriptors();
    int tried = 0;
    int felt = 0;
    for (int count = tried; tried < most && count >= tried; ++tried) {
        SCOPED_TRACE(tried + 1);
        {
            const FailingCall failing(GetParam().call, GetParam().error, tried + 1, 1);
            felt += converse() ? 0 : 1;
            ASSERT_EQ(service_.countConnections(0),
                      0U); // what ends a connection goes on behind the client's back
            count = failing.getCount();
        }
        ASSERT_TRUE(converse());
        ASSERT_EQ(service_.countConnections(0), 0U);
        if (count <= tried)
            break;
    }
    EXPECT_GT(tried, 0);
    EXPECT_EQ(countDescriptors(), descriptors);
    std::printf("%-16s %-32s %3d tried, %3d felt\n", GetParam().call,
                GetParam().error == 0 ? "one byte" : std::strerror(GetParam().error), tried, felt);
    EXPECT_TRUE(GetParam().isFelt || felt == 0);
}

// No recvmsg that would block: that means that there is nothing, and what comes is told anew. What recv takes is
// thrown away: it comes behind the last answer.
// clang-format off
const Fault faults[] = {
    {"accept", EMFILE, false}, {"accept", ENFILE, false}, {"accept", ENOBUFS, false}, {"accept", ENOMEM, false},
    {"accept", ECONNABORTED, false}, {"accept", EINTR, false}, {"accept", EAGAIN, false},
    {"recvmsg", ECONNRESET}, {"recvmsg", ENOMEM}, {"recvmsg", EINTR, false}, {"recvmsg", 0, false},
    {"recv", ECONNRESET, false}, {"recv", ENOMEM, false}, {"recv", EINTR, false},
    {"sendmsg", EPIPE}, {"sendmsg", ECONNRESET}, {"sendmsg", ENOBUFS}, {"sendmsg", EINTR, false},
    {"sendmsg", EAGAIN, false}, {"sendmsg", 0, false},
    {"epoll_ctl", ENOMEM}, {"epoll_ctl", ENOSPC}, {"epoll_wait", EINTR, false},
    {"setsockopt", ENOBUFS}, {"getpeername", ENOTCONN}, {"getsockname", ENOBUFS}, {"shutdown", ENOTCONN},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Calls, SystemCallTest, testing::ValuesIn(faults), [](const auto& row) {
    const auto* const name = row.param.error == 0 ? "OneByte" : strerrorname_np(row.param.error);
    return std::string(row.param.call) + '_' + name;
});

/// A system that says no for a while.
TEST(SystemCallStormTest, WhoIsLetInLateIsServed) {
    auto& service = Service::instance();
    for (const int error : {EMFILE, ENFILE, ENOBUFS, ENOMEM, ECONNABORTED, EINTR}) {
        SCOPED_TRACE(std::strerror(error));
        const FailingCall failing("accept", error, 1, 5);
        EXPECT_EQ(WireClient(service.getAddress()).post("/rpc/TV", "nonsense").status, 200);
        EXPECT_GE(failing.getCount(), 6);
    }
}

/// A scan without a task is meant so: docs/oddities.md, "Scan without a task".
TEST(ThreadTest, WhatNeedsAThreadIsRefusedOrDoesWithout) {
    auto& service = Service::instance();
    service.prepare();
    service.connectClients();
    {
        const FailingCall failing("pthread_create", EAGAIN, 1, 1);
        const auto reply =
            service.getSimulatorClient().call(service.request("Simulator::trafficWatch", R"({"on":true})"));
        EXPECT_NE(reply.find("\"error\":"), std::string::npos) << reply;
        EXPECT_EQ(failing.getCount(), 1);
    }
    EXPECT_NE(service.getSimulatorClient()
                  .call(service.request("Simulator::trafficWatch", R"({"on":true})"))
                  .find("true"),
              std::string::npos);
    {
        const FailingCall failing("pthread_create", EAGAIN, 1, 1);
        EXPECT_EQ(service.callTV("ITVConfig::scanBlindStart", R"({"sourceId":5,"useNIT":0})"), "true");
        EXPECT_EQ(failing.getCount(), 1);
    }
    EXPECT_EQ(service.callTV("ITVConfig::scanStop", R"({"sourceId":5})"), "true");
    EXPECT_EQ(service.callTV("ITVConfig::scanBlindStart", R"({"sourceId":5,"useNIT":0})"), "true");
    service.prepare();
    service.dropClients();
}

} // namespace
} // namespace Ostrel::Test
