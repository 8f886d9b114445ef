#include "Ostrel/runtime/DebugPrint.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel {
namespace {

using Test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

void print(const std::string& text) {
    ostrelDebugPrint(DebugLevel::Error, "M", "M", 1, "%s", text.c_str());
}

TEST(DebugPrintTest, FormatsALine) {
    const LogCapture log;
    ostrelDebugPrint(DebugLevel::Error, "TVServer", "Part", 42, "%s(): %d of %u\n", "seek", -1, 7u);
    ASSERT_EQ(log.lines().size(), 1u);
    const auto line = log.lines()[0];
    EXPECT_EQ(line.level, DebugLevel::Error);
    EXPECT_EQ(line.module, "TVServer");
    EXPECT_EQ(line.line, 42);
    EXPECT_EQ(line.text, "seek(): -1 of 7");
}

TEST(DebugPrintTest, KeepsLongLinesWhole) {
    const LogCapture log;
    for (const std::size_t size : {511, 512, 513, 5000}) {
        const std::string text = std::string(size - 1, 'a') + 'z';
        print(text);
        EXPECT_EQ(log.lines().back().text, text) << size;
    }
}

TEST(DebugPrintTest, EscapesControlCharactersAndDropsOneLineBreak) {
    const LogCapture log;
    print("a\tb\x1b[0m\x7f\xc3\xa9\n\n");
    print("forged\n2026 error");
    print("");
    print("\n");
    EXPECT_THAT(log.texts(),
                ElementsAre("a\\x09b\\x1b[0m\\x7f\xc3\xa9\\x0a", "forged\\x0a2026 error", "", ""));
}

TEST(DebugPrintTest, DropsWhatIsAboveTheLevel) {
    const LogCapture log;
    const auto all = [] {
        for (const auto level :
             {DebugLevel::Error, DebugLevel::Warning, DebugLevel::Information, DebugLevel::Progress})
            ostrelDebugPrint(level, "M", "M", 1, "%d", static_cast<int>(level));
    };
    all();
    EXPECT_THAT(log.texts(), ElementsAre("1", "3", "5"));
    setDebugLevel(DebugLevel::Progress);
    all();
    setDebugLevel(DebugLevel::Error);
    all();
    setDebugLevel(DebugLevel::Information);
    EXPECT_THAT(log.texts(), ElementsAre("1", "3", "5", "1", "3", "5", "7", "1"));
}

TEST(DebugPrintTest, DropsALineForWhichThereIsNoMemory) {
    setDebugSink([](const DebugLine&) { throw std::bad_alloc(); });
    print("lost");
    const LogCapture log;
    print("kept");
    EXPECT_THAT(log.texts(), ElementsAre("kept"));
}

TEST(DebugPrintTest, DropsWhatTheSinkWrites) {
    int calls = 0;
    setDebugSink([&calls](const DebugLine&) {
        ++calls;
        print("again");
    });
    print("once");
    print("twice");
    setDebugSink({});
    EXPECT_EQ(calls, 2);
}

TEST(DebugPrintTest, RunsTheSinkForOneThreadAtATime) {
    int calls = 0; // unguarded but for the promise
    setDebugSink([&calls](const DebugLine&) { ++calls; });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 250; ++j)
                print("line");
        });
    for (auto& thread : threads)
        thread.join();
    setDebugSink({});
    EXPECT_EQ(calls, 1000);
}

TEST(DebugPrintTest, AReplacedSinkIsNeitherRunningNorKept) {
    std::atomic<bool> running = false;
    std::atomic<bool> replacing = false;
    auto owned = std::make_shared<int>();
    setDebugSink([&, owned](const DebugLine&) {
        running = true;
        // Long enough for a setDebugSink() that does not wait to return meanwhile.
        for (int i = 0; !replacing || i < 10000; ++i)
            std::this_thread::yield();
        running = false;
    });
    std::thread writer([] { print("slow"); });
    while (!running)
        std::this_thread::yield();
    replacing = true;
    const LogCapture log;
    EXPECT_FALSE(running);
    EXPECT_EQ(owned.use_count(), 1);
    writer.join();
    print("here");
    EXPECT_THAT(log.texts(), ElementsAre("here"));
}

TEST(DebugPrintTest, WritesToStandardErrorByItself) {
    setDebugSink({});
    testing::internal::CaptureStderr();
    ostrelDebugPrint(DebugLevel::Warning, "TVServer", "TVServer", 7, "{} is no format\n");
    EXPECT_THAT(
        testing::internal::GetCapturedStderr(),
        testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}"
                              "[+-][0-9]{2}:[0-9]{2} warning \\[TVServer:7\\] \\{\\} is no format\n"));
}

} // namespace
} // namespace Ostrel
