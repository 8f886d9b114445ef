#pragma once

#include "Ostrel/transport/Traffic.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace Ostrel {

/// Writes every message of a server into a file, a line of JSON each.
///
/// A line is what clients get of a message, but with the whole text. A thread of its own writes; when
/// the file takes less than passes, messages are left out and the next line tells how many. A file
/// that takes no more ends the record, after its last whole line, and is a line in the log.
class TrafficRecord final : public RPCObserver {
public:
    static constexpr std::size_t usualBound = 64u << 20;

    /// Opens the file and leaves alone what is in it.
    /// @param bound  bytes that may wait to be written; a single message may have more
    /// @throws StartError  it cannot be written
    explicit TrafficRecord(const std::string& path, std::size_t bound = usualBound);

    /// Writes what waits, but waits no more than a second altogether for a pipe's reader.
    ~TrafficRecord() override;

    TrafficRecord(const TrafficRecord&) = delete;
    TrafficRecord& operator=(const TrafficRecord&) = delete;

    /// Begins to write, for the file's owner alone and in place of what was in the file. What has passed
    /// meanwhile waits. Called once.
    /// @throws StartError
    void begin();

    void passed(const Message& message) noexcept override;

private:
    using Clock = std::chrono::steady_clock;

    /// What is to become a line.
    struct Item {
        TrafficMessage message;
        std::uint64_t missed; ///< before it

        // A short reply's name and id may be long.
        std::size_t getCost() const {
            return sizeof *this + message.method.size() + message.id.size() + message.text.size();
        }
    };

    void keep(const Message& message);
    void run();
    void write(std::deque<Item>& items);
    void writeMissed(std::uint64_t missed);
    bool flush();
    bool waitForReader();
    void giveUp(int error);
    [[noreturn]] void refuse(int error) const;

    const std::string path_;
    const std::size_t bound_;
    int descriptor_;
    std::atomic<bool> hasEnded_ = false; ///< the file takes no more

    // The thread's own:
    std::string lines_; ///< to be written
    std::uint64_t size_ = 0; ///< of the file
    Clock::duration patience_ = std::chrono::seconds(1); ///< that is left with a pipe's reader when stopping

    std::mutex mutex_; ///< guards what follows
    std::condition_variable wanted_;
    std::deque<Item> waiting_;
    std::size_t cost_ = 0; ///< of what waits or is being written
    std::uint64_t missed_ = 0; ///< since the last that was kept
    bool isStopping_ = false;
    std::thread thread_;
};

} // namespace Ostrel
