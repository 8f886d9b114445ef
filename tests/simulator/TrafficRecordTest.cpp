#include "simulator/TrafficRecord.h"

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/transport/StartError.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel::Test {
namespace {

class TrafficRecordTest : public testing::Test {
protected:
    void start(std::size_t bound = TrafficRecord::usualBound) {
        record_.emplace(path_, bound);
        record_->begin();
    }

    void pass(const std::string& text) {
        record_->passed({.direction = RPCObserver::Direction::Request,
                         .time = decltype(RPCObserver::Message::time)(std::chrono::microseconds(1'500'000)),
                         .peer = &peer_,
                         .method = "A::b",
                         .id = "7",
                         .text = text});
    }

    static std::string line(const std::string& text, const std::string& missed = {}) {
        return R"({"time":1.500000,"connection":3,"client":"unix","direction":"request","method":"A::b","id":7,)"
               R"("micros":0,"bytes":)" +
               std::to_string(text.size()) + R"(,"text":")" + text + '"' + missed + "}\n";
    }

    std::string readFile() const {
        std::ostringstream out;
        out << std::ifstream(path_).rdbuf();
        return out.str();
    }

    const LogCapture log_;
    const TempDirectory directory_;
    const std::string path_ = directory_.file("record");
    const RPCPeer peer_{3, "unix"};
    std::optional<TrafficRecord> record_;
};

TEST_F(TrafficRecordTest, HoldsEachMessageWhole) {
    start();
    const std::string longText(100'000, 'x');
    pass("one");
    pass(longText);
    record_.reset();
    EXPECT_EQ(readFile(), line("one") + line(longText));
}

TEST_F(TrafficRecordTest, IsForItsOwnerAloneAndTakesThePlaceOfAnOldOne) {
    std::ofstream(path_) << "something\n";
    std::filesystem::permissions(path_, std::filesystem::perms(0644));
    start();
    pass("one");
    record_.reset();
    EXPECT_EQ(readFile(), line("one"));
    struct stat file {};
    ASSERT_EQ(::stat(path_.c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 0777, 0600u);
}

TEST_F(TrafficRecordTest, LeavesAnOldOneAloneUntilItBegins) {
    std::ofstream(path_) << "something\n";
    record_.emplace(path_);
    record_.reset();
    EXPECT_EQ(readFile(), "something\n");
}

TEST_F(TrafficRecordTest, WhereNothingCanBeWrittenItDoesNotStart) {
    EXPECT_THROW(TrafficRecord(directory_.file("no/such/file")), StartError);
    EXPECT_THROW(TrafficRecord(directory_.file("")), StartError);
}

TEST_F(TrafficRecordTest, WhatDoesNotFitIsCounted) {
    record_.emplace(path_, 100); // before it begins all waits
    pass("zero"); // which has more than the bound and is alone
    pass("one");
    pass("two");
    record_->begin();
    record_.reset();
    EXPECT_EQ(readFile(), line("zero") + "{\"missed\":2}\n");
}

TEST_F(TrafficRecordTest, TheNameAndTheIdTakeRoomToo) {
    const std::string large(600, '7');
    record_.emplace(path_, 2000);
    for (int i = 0; i < 3; ++i)
        record_->passed({.direction = RPCObserver::Direction::Reply,
                         .time = {},
                         .peer = &peer_,
                         .method = large,
                         .id = large,
                         .text = "{}"});
    record_->begin();
    record_.reset();
    EXPECT_EQ(readFile(),
              R"({"time":0.000000,"connection":3,"client":"unix","direction":"reply","method":")" + large +
                  R"(","id":)" + large +
                  R"(,"micros":0,"bytes":2,"text":"{}"})"
                  "\n{\"missed\":2}\n");
}

TEST_F(TrafficRecordTest, TheNextLineTellsWhatWasLeftOut) {
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    const int reader = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    ::fcntl(reader, F_SETFL, 0);
    std::string read;
    const auto readLines = [&](const std::string& what) {
        while (read.find(what) == std::string::npos) {
            char buffer[4096];
            const auto size = ::read(reader, buffer, sizeof buffer);
            if (size <= 0)
                break;
            read.append(buffer, std::size_t(size));
        }
    };
    start(1000);
    const std::string large(1 << 20, 'x'); // more than a pipe holds: it is under way until it is read
    pass(large);
    pass("lost");
    pass("lost, too");
    readLines(line(large));
    // Its cost is given back behind its last byte.
    std::string text = "kept";
    for (int tries = 0; read.find("\"missed\"") == std::string::npos && tries < 100'000; ++tries) {
        pass(text);
        if (::fcntl(reader, F_SETFL, O_NONBLOCK) == 0) {
            char buffer[4096];
            for (ssize_t size = 0; (size = ::read(reader, buffer, sizeof buffer)) > 0;)
                read.append(buffer, std::size_t(size));
        }
    }
    record_.reset();
    ::close(reader);
    EXPECT_NE(read.find(R"("text":"kept","missed":)"), std::string::npos);
    EXPECT_EQ(read.find("lost"), std::string::npos);
}

TEST_F(TrafficRecordTest, AFullDiskEndsTheRecordWithOneLine) {
    record_.emplace("/dev/full");
    record_->begin();
    for (int i = 0; i < 1000; ++i)
        pass("one");
    record_.reset();
    EXPECT_EQ(log_.texts(), std::vector<std::string>{"the record /dev/full ends: No space left on device"});
}

TEST_F(TrafficRecordTest, AReaderWhoTakesNothingDoesNotHoldUpTheEnd) {
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    const int reader = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    start();
    pass(std::string(1 << 20, 'x'));
    record_.reset();
    ::close(reader);
    EXPECT_EQ(log_.texts(), std::vector<std::string>{"the record " + path_ + " ends: Connection timed out"});
}

TEST_F(TrafficRecordTest, AReaderWhoTakesLittleAtATimeDoesNotHoldUpTheEndEither) {
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    const int reader = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    constexpr std::size_t size = 2 << 20;
    start();
    pass(std::string(size, 'x'));
    std::atomic<bool> hasEnded = false;
    std::size_t taken = 0;
    std::thread slow([&] {
        std::string buffer(4096, '\0');
        for (; !hasEnded && taken < size; std::this_thread::sleep_for(std::chrono::milliseconds(50)))
            taken += std::size_t(std::max<ssize_t>(0, ::read(reader, buffer.data(), buffer.size())));
    });
    record_.reset();
    hasEnded = true;
    slow.join();
    ::close(reader);
    EXPECT_LT(taken, size);
    EXPECT_EQ(log_.texts(), std::vector<std::string>{"the record " + path_ + " ends: Connection timed out"});
}

} // namespace
} // namespace Ostrel::Test
