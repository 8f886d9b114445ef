#include "TV/server/TVServer.h"
#include "tests/TV/server/FakeModule.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

using namespace Ostrel;
using namespace Ostrel::TV;

using Ostrel::Test::LogCapture;

namespace {

class CountingServer : public TVServer {
public:
    using TVServer::TVServer;

    void onScanStart(const unsigned&) override { ++events; }
    void onScanComplete(const unsigned&) override { ++events; }
    void onScanProgress(const unsigned&, const unsigned&) override { ++events; }

    unsigned events = 0;
};

TEST(TVServerTest, HearsTheModuleFromInitToUninit) {
    FakeModule module;
    CountingServer server(&module);
    EXPECT_EQ(server.getModule(), &module);

    module.onScanStart(1);
    EXPECT_EQ(server.events, 0u);

    EXPECT_TRUE(server.init());
    module.onScanStart(1);
    module.onScanProgress(1, 0);
    module.onScanComplete(1);
    EXPECT_EQ(server.events, 3u);

    server.uninit();
    server.uninit();
    module.onScanStart(1);
    EXPECT_EQ(server.events, 3u);
}

TEST(TVServerTest, OnlyUninitAsksForTheModule) {
    CountingServer server(nullptr);
    server.uninit();
    EXPECT_EQ(server.getModule(), nullptr);
}

TEST(TVServerTest, InitSaysWhatItIsAboutToDo) {
    FakeModule module;
    CountingServer server(&module);
    LogCapture log(Ostrel::DebugLevel::Progress);
    server.init();
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, DebugLevel::Progress);
    EXPECT_EQ(lines[0].module, "TVServer");
    EXPECT_EQ(lines[0].text, "About to call TVApp()");
    server.uninit();
}

} // namespace
