#include "Ostrel/transport/Door.h"

#include "Ostrel/transport/Listener.h"
#include "Ostrel/transport/StartError.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/TestServer.h"
#include "tests/support/WireClient.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <vector>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Ostrel::Test {
namespace {

namespace filesystem = std::filesystem;

class DoorTest : public testing::Test {
protected:
    /// Why nobody can listen there; empty when one can.
    std::string refusalOf(const Address& address) {
        try {
            const Door door(context_, address, "move elsewhere");
        } catch (const StartError& error) {
            return error.what();
        }
        return {};
    }

    const TempDirectory directory_;
    const Address address_ = Address::parse("unix:" + directory_.file("socket"));
    boost::asio::io_context context_;
};

TEST_F(DoorTest, TakesItsFileAlong) {
    { const Door door(context_, address_, {}); }
    EXPECT_FALSE(filesystem::exists(address_.path));
}

TEST_F(DoorTest, LeavesTheFileThatAnotherHasMadeInPlaceOfItsOwn) {
    std::optional<Door> first(std::in_place, context_, address_, "");
    filesystem::remove(address_.path);
    const Door second(context_, address_, {});
    first.reset();
    EXPECT_NO_THROW(WireClient{address_});
}

TEST_F(DoorTest, OnceClosedLeavesItsPlaceToAnother) {
    Door first(context_, address_, {});
    first.close();
    EXPECT_FALSE(filesystem::exists(address_.path));
    const Door second(context_, address_, {});
    first.close();
    EXPECT_NO_THROW(WireClient{address_});
}

TEST_F(DoorTest, RefusedStartLeavesNoFile) {
    const Door other(context_, Address::parse("127.0.0.1:0"), {});
    EXPECT_THROW(Listener({address_, other.getAddress()}, {{}, {}, ""}), StartError);
    EXPECT_FALSE(filesystem::exists(address_.path));
}

TEST_F(DoorTest, WhatIsNoSocketIsCalledWhatItIs) {
    filesystem::create_directory(address_.path);
    EXPECT_EQ(refusalOf(address_), "cannot listen on " + address_.toString() + ": that is a folder");
    filesystem::remove(address_.path);
    std::ofstream(address_.path) << "kept";
    EXPECT_EQ(refusalOf(address_),
              "cannot listen on " + address_.toString() + ": that is a file and no socket");
    EXPECT_EQ(filesystem::file_size(address_.path), 4U);
}

TEST_F(DoorTest, AddressWhoseServerHasALongQueueIsInUse) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    address_.path.copy(name.sun_path, sizeof name.sun_path - 1);
    const auto* where = reinterpret_cast<const sockaddr*>(&name);
    const int server = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(server, where, sizeof name), 0);
    ASSERT_EQ(::listen(server, 0), 0);
    std::vector<int> clients;
    do
        clients.push_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0));
    while (::connect(clients.back(), where, sizeof name) == 0);

    EXPECT_EQ(refusalOf(address_), address_.toString() + " is in use; move elsewhere");
    for (const int client : clients)
        ::close(client);
    ::close(server);
}

/// Leaves the process so many descriptors that are free, as long as it lives.
class FreeDescriptors {
public:
    explicit FreeDescriptors(rlim_t count) {
        ::getrlimit(RLIMIT_NOFILE, &usual_);
        const int lowest = ::dup(STDERR_FILENO);
        ::close(lowest);
        const rlimit few{rlim_t(lowest) + count, usual_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    }
    ~FreeDescriptors() { ::setrlimit(RLIMIT_NOFILE, &usual_); }

    FreeDescriptors(const FreeDescriptors&) = delete;
    FreeDescriptors& operator=(const FreeDescriptors&) = delete;

private:
    rlimit usual_{};
};

TEST_F(DoorTest, ClientsWaitUntilADescriptorIsFree) {
    constexpr const char* request = R"({"jsonrpc":"2.0","id":1,"method":"Test::echo"})";
    const TestServer server;
    LogCapture log;
    Listener listener({address_, Address::parse("127.0.0.1:0")}, {{}, {}, ""});
    for (const auto& address : listener.getAddresses()) {
        WireClient old(address);
        EXPECT_EQ(old.post("/rpc/Test", request).status, 200);
        std::optional<FreeDescriptors> one(1);
        WireClient waiting(address);
        waiting.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
        // Until it was tried to let the client in, and then long enough for some more trying.
        for (int i = 0; i < 4000 || log.lines().empty(); ++i)
            ASSERT_EQ(old.post("/rpc/Test", request).status, 200);
        one.reset();
        EXPECT_EQ(waiting.readAnswer().status, 200);
        EXPECT_EQ(old.post("/rpc/Test", request).status, 200);
        EXPECT_EQ(log.takeTexts(),
                  std::vector<std::string>{"no more clients can be let in for now: Too many open files"});
    }
}

} // namespace
} // namespace Ostrel::Test
