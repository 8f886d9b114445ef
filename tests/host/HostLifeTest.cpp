#include "host/Host.h"

#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Turn.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <string>

namespace Ostrel::Test {
namespace {

std::string request(const std::string& method, const std::string& params) {
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + params + '}';
}

TEST(HostLifeTest, NoTaskOutlivesTheHost) {
    {
        const Host host({.listen = {"127.0.0.1:0"}});
        WireClient client(host.getAddresses().front());
        client.upgrade();
        const auto created = client.call(request("ITVService::createContext", "{}"));
        const auto context = created.substr(created.rfind(':') + 1);
        client.call(request("ITVConfig::scanBlindStart",
                            R"({"payload":{"sourceId":1,"useNIT":0},"context":)" + context));
        EXPECT_EQ(countTasks(), 1u);
    }
    EXPECT_EQ(countTasks(), 0u);
}

TEST(HostLifeTest, ATurnThatSomebodyKeepsShows) {
    Host host({.listen = {"127.0.0.1:0"}});
    WireClient client(host.getAddresses().front());
    const auto isAlive = [&] {
        client.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
        client.readAnswer(); // input and output go on
        return host.isAlive();
    };
    EXPECT_TRUE(isAlive());
    {
        const Turn::Hold turn;
        isAlive(); // it has come round since
        for (int i = 0; i < 3; ++i)
            EXPECT_FALSE(isAlive());
    }
    EXPECT_TRUE(isAlive());
}

} // namespace
} // namespace Ostrel::Test
