// Where a world waits until it is written, and what is said when there is no room for it.

#include "TV/server/dummy/data/WorldWriter.h"

#include "TV/server/dummy/data/TemporaryFile.h"
#include "tests/support/TempDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include <sys/resource.h>

using namespace Ostrel::TV;
using Ostrel::Test::TempDirectory;

namespace {

/// Has temporary files stand in another folder, for as long as it lives.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const std::string& folder) {
        if (const char* const before = std::getenv("TMPDIR"))
            before_ = before;
        setenv("TMPDIR", folder.c_str(), 1);
    }
    ~TemporaryFolder() { before_ ? setenv("TMPDIR", before_->c_str(), 1) : unsetenv("TMPDIR"); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

private:
    std::optional<std::string> before_;
};

/// Has no file of the process grow beyond a size, as if there were no more room.
class FullDisk {
public:
    explicit FullDisk(rlim_t size) : signalBefore_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, signalBefore_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    void (*signalBefore_)(int);
    rlimit before_{};
};

std::string saidOf(const std::function<void()>& write) {
    try {
        write();
        return "";
    } catch (const std::system_error& error) {
        return error.what();
    }
}

void addEvent(WorldWriter& writer, unsigned programme, std::int64_t start, std::int64_t end) {
    GuideEvent event;
    event.programme = programme;
    event.start = start;
    event.end = end;
    event.title = "Quay";
    writer.add({.id = 5, .network = 1, .stream = 1, .dvbId = 1, .place = 0}, event);
}

void addEvents(WorldWriter& writer, unsigned count) {
    for (unsigned i = 1; i <= count; ++i)
        addEvent(writer, i, 900 * i, 900 * (i + 1));
}

} // namespace

TEST(WorldWriterTest, ATimeThatDoesNotFitIsRefused) {
    constexpr std::int64_t latest = 0x7FFFFFFF, wrapped = std::int64_t{1} << 32; // 0, once cut to 32 bits
    WorldWriter writer;
    addEvent(writer, 1, latest - 1, latest);
    EXPECT_THROW(addEvent(writer, 2, latest, latest + 1), std::runtime_error);
    EXPECT_THROW(addEvent(writer, 3, wrapped + 1, wrapped + 2), std::runtime_error);
    EXPECT_EQ(writer.eventCount(), 1u);
}

TEST(WorldWriterTest, EventsWaitInTheFolderThatTmpdirNames) {
    const TempDirectory folder;
    const std::string missing = folder.file("missing");
    const TemporaryFolder set(missing);
    EXPECT_EQ(saidOf([] { WorldWriter(); }), "cannot write the world, or a temporary file in " + missing +
                                                 " (TMPDIR names another): No such file or directory");
}

TEST(WorldWriterTest, WhatWaitsHasNoNameThatItCouldLeaveBehind) {
    const TempDirectory folder;
    const TemporaryFolder set(folder.file(""));
    WorldWriter writer;
    addEvents(writer, 1);
    EXPECT_TRUE(std::filesystem::is_empty(folder.file("")));
}

TEST(WorldWriterTest, AFullDiskIsToldOfWhileEventsWait) {
    const FullDisk full(1 << 16);
    WorldWriter writer;
    EXPECT_NE(saidOf([&] { addEvents(writer, 100'000); }).find("File too large"), std::string::npos);
}

TEST(WorldWriterTest, AFullDiskIsToldOfWhenTheWorldIsWritten) {
    const TemporaryFile file = makeTemporaryFile();
    WorldWriter writer;
    addEvents(writer, 1000);
    const FullDisk full(1 << 16);
    EXPECT_NE(saidOf([&] { writer.write(file.get()); }).find("File too large"), std::string::npos);
}
