#include "TV/server/TVModule.h"
#include "tests/TV/server/FakeModule.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace Ostrel;
using namespace Ostrel::TV;

namespace {

/// Writes its letter for every event that it hears, and then does what the test wants.
class Listener : public ITVConfig::ITVConfigListener {
public:
    Listener(char letter, std::string& heard) : letter_(letter), heard_(heard) {}

    void onScanStart(const unsigned& sourceId) override { hear("start " + std::to_string(sourceId)); }
    void onScanComplete(const unsigned& sourceId) override { hear("complete " + std::to_string(sourceId)); }
    void onScanProgress(const unsigned& sourceId, const unsigned& percent) override {
        hear("progress " + std::to_string(sourceId) + " " + std::to_string(percent));
    }

    std::function<void()> reaction;
    std::string lastEvent;

private:
    void hear(const std::string& event) {
        heard_ += letter_;
        lastEvent = event;
        if (const auto once = std::exchange(reaction, nullptr))
            once();
    }

    char letter_;
    std::string& heard_;
};

class TVModuleTest : public testing::Test {
protected:
    /// Registers A, B and C; no change is pending afterwards.
    void registerThree() {
        module.addListener(&a);
        module.addListener(&b);
        module.addListener(&c);
        module.onScanStart(1);
        heard.clear();
    }

    std::string heard;
    Listener a{'A', heard}, b{'B', heard}, c{'C', heard}, d{'D', heard};
    FakeModule module;
};

TEST_F(TVModuleTest, CallsEveryListenerInOrder) {
    registerThree();
    module.onScanProgress(1, 50);
    EXPECT_EQ(heard, "ABC");
}

TEST_F(TVModuleTest, PassesOnTheArguments) {
    module.addListener(&a);
    module.onScanStart(4294967295u);
    EXPECT_EQ(a.lastEvent, "start 4294967295");
    module.onScanProgress(7, 50);
    EXPECT_EQ(a.lastEvent, "progress 7 50");
    module.onScanComplete(8);
    EXPECT_EQ(a.lastEvent, "complete 8");
}

TEST_F(TVModuleTest, NobodyListens) {
    module.onScanStart(1);
    EXPECT_EQ(heard, "");
}

// A pending change starts the walk over behind the first listener.
TEST_F(TVModuleTest, SecondListenerAfterAChange) {
    module.addListener(&a);
    module.addListener(&b);
    module.addListener(&c);
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABC");
}

TEST_F(TVModuleTest, SecondListenerAfterAChangeInTheSecond) {
    registerThree();
    b.reaction = [&] { module.addListener(&d); };
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABBCD");
}

TEST_F(TVModuleTest, ListenerAddedByTheFirstIsCalled) {
    registerThree();
    a.reaction = [&] { module.addListener(&d); };
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABCD");
}

TEST_F(TVModuleTest, SecondListenerIsLeftOutWhenTheFirstGoes) {
    registerThree();
    a.reaction = [&] { module.removeListener(&a); };
    module.onScanStart(1);
    EXPECT_EQ(heard, "AC");
}

TEST_F(TVModuleTest, ListEmptiedByACallbackEndsTheWalk) {
    registerThree();
    b.reaction = [&] {
        module.removeListener(&a);
        module.removeListener(&b);
        module.removeListener(&c);
    };
    module.onScanStart(1);
    EXPECT_EQ(heard, "AB");
}

TEST_F(TVModuleTest, CallbackMayGrowTheListALot) {
    registerThree();
    std::vector<std::unique_ptr<Listener>> many;
    a.reaction = [&] {
        for (int count = 0; count < 1000; ++count) {
            many.push_back(std::make_unique<Listener>('x', heard));
            module.addListener(many.back().get());
        }
    };
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABC" + std::string(1000, 'x'));
}

TEST_F(TVModuleTest, CallbackMayRaiseAnEvent) {
    registerThree();
    a.reaction = [&] { module.onScanProgress(1, 0); };
    module.onScanStart(1);
    EXPECT_EQ(heard, "AABCBC");
}

TEST_F(TVModuleTest, CallbackMayRaiseAnEventAndRemoveItself) {
    registerThree();
    b.reaction = [&] {
        module.removeListener(&b);
        module.onScanProgress(1, 0);
    };
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABAC"); // the event within has used up the change
}

TEST_F(TVModuleTest, ListenerIsAddedOnce) {
    registerThree();
    module.addListener(&b);
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABC");

    // Had the second registration counted as a change, B would be called twice here.
    heard.clear();
    a.reaction = [&] { module.addListener(&a); };
    b.reaction = [&] { module.addListener(&b); };
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABC");
}

TEST_F(TVModuleTest, StrangerIsNotRemoved) {
    registerThree();
    b.reaction = [&] { module.removeListener(&d); };
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABC");
}

TEST_F(TVModuleTest, IgnoresNullAndOtherListeners) {
    struct Deaf : IListener {
    } deaf;
    registerThree();
    b.reaction = [&] {
        module.addListener(nullptr);
        module.addListener(&deaf);
        module.removeListener(nullptr);
        module.removeListener(&deaf);
    };
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABC");
}

TEST_F(TVModuleTest, RemovedListenerHearsNothing) {
    registerThree();
    module.removeListener(&b);
    module.onScanStart(1);
    EXPECT_EQ(heard, "AC");
}

TEST_F(TVModuleTest, ContextKeepsNoListeners) {
    registerThree();
    FakeContext context(module);
    context.addListener(&d);
    context.removeListener(&a);
    module.onScanStart(1);
    EXPECT_EQ(heard, "ABC");
}

} // namespace
