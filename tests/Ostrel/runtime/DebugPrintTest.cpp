#include "Ostrel/runtime/DebugPrint.h"

#include "Ostrel/runtime/QuietExceptions.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

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

/// What standard error shows of the lines that the function writes, each as "LEVEL TEXT".
std::vector<std::string> shown(const std::function<void()>& writeLines) {
    setDebugSink({});
    testing::internal::CaptureStderr();
    writeLines();
    std::istringstream log(testing::internal::GetCapturedStderr());
    std::vector<std::string> lines;
    for (std::string time, level, place, text;
         log >> time >> level >> place && std::getline(log >> std::ws, text);)
        lines.push_back(level + ' ' + text);
    return lines;
}

TEST(DebugPrintTest, StandardErrorHasOurNamesOfTheLevels) {
    setDebugLevel(DebugLevel::Progress);
    const auto lines = shown([] {
        for (const int level : {0, 1, 2, 3, 4, 5, 6, 7})
            ostrelDebugPrint(DebugLevel(level), "M", "M", 1, "%d", level);
    });
    setDebugLevel(DebugLevel::Information);
    EXPECT_THAT(lines, ElementsAre("error 0", "error 1", "warning 2", "warning 3", "information 4",
                                   "information 5", "progress 6", "progress 7"));
}

void tellOfExceptions() {
    ostrelDebugPrint(DebugLevel::Error, "M", "M", 1, throwingException, "seek", "Invalid state");
    ostrelDebugPrint(DebugLevel::Error, "M", "M", 1, caughtException, "seek", "Invalid state");
    ostrelDebugPrint(DebugLevel::Error, "M", "M", 1, caughtUnknownException, "seek");
}

const auto exceptionsAt = [](const std::string& level) {
    return ElementsAre(level + " seek(): throwing exception: Invalid state",
                       level + " seek(): caught exception: Invalid state",
                       level + " seek(): caught unknown exception");
};

TEST(QuietExceptionsTest, TheirLinesAreProgressOnStandardError) {
    const QuietExceptions quiet;
    EXPECT_THAT(shown(tellOfExceptions), IsEmpty());
    setDebugLevel(DebugLevel::Progress);
    EXPECT_THAT(shown(tellOfExceptions), exceptionsAt("progress"));
    setDebugLevel(DebugLevel::Information);
}

TEST(QuietExceptionsTest, OtherLinesAndThreadsStayAsTheyAre) {
    const QuietExceptions quiet;
    EXPECT_THAT(shown([] { print("caught exception: none"); }), ElementsAre("error caught exception: none"));
    EXPECT_THAT(shown([] { std::thread(tellOfExceptions).join(); }), exceptionsAt("error"));
}

TEST(QuietExceptionsTest, ASinkIsGivenWhatWasWritten) {
    const QuietExceptions quiet;
    const LogCapture log;
    tellOfExceptions();
    ASSERT_EQ(log.lines().size(), 3u);
    for (const auto& line : log.lines())
        EXPECT_EQ(line.level, DebugLevel::Error);
}

TEST(QuietExceptionsTest, LastAsLongAsTheOutermost) {
    EXPECT_THAT(shown([] {
                    const QuietExceptions outer;
                    { const QuietExceptions inner; }
                    tellOfExceptions();
                }),
                IsEmpty());
    EXPECT_THAT(shown(tellOfExceptions), exceptionsAt("error"));
}

/// Ends the process with what it sees of a line on standard error, a terminal or a pipe: 1 when
/// it is coloured, 0 when it is not.
[[noreturn]] void exitWithColours(bool terminal) {
    int ends[2];
    if (terminal) {
        ends[0] = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (::grantpt(ends[0]) != 0 || ::unlockpt(ends[0]) != 0)
            std::_Exit(2);
        ends[1] = ::open(::ptsname(ends[0]), O_RDWR | O_NOCTTY);
    } else if (::pipe(ends) != 0) {
        std::_Exit(2);
    }
    ::dup2(ends[1], STDERR_FILENO);
    print("coloured?");
    std::string line;
    for (char c = 0; c != '\n'; line += c)
        if (::read(ends[0], &c, 1) != 1)
            std::_Exit(2);
    if (line.find("coloured?") == std::string::npos)
        std::_Exit(2);
    std::_Exit(line.find('\x1b') == std::string::npos ? 0 : 1);
}

TEST(DebugPrintDeathTest, ColoursAreForTerminalsThatWantThem) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the choice is made once in a process
    ::setenv("TERM", "xterm", 1);
    ::unsetenv("NO_COLOR");
    EXPECT_EXIT(exitWithColours(true), testing::ExitedWithCode(1), "");
    EXPECT_EXIT(exitWithColours(false), testing::ExitedWithCode(0), "");
    ::setenv("NO_COLOR", "", 1);
    EXPECT_EXIT(exitWithColours(true), testing::ExitedWithCode(1), "");
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_EXIT(exitWithColours(true), testing::ExitedWithCode(0), "");
    ::unsetenv("NO_COLOR");
}

} // namespace
} // namespace Ostrel
