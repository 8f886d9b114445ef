#pragma once

#include "soak/Announcements.h"
#include "soak/Truth.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Soak {

/// Clients that do everything that they should not, on threads of their own and in the places that
/// the well-behaved leave them. What is right for those stays known: nobody resets the service or
/// empties its lists, deletes no service but the loose ones, and the clock stays in its span.
class Hostilities {
public:
    /// Begins.
    /// @param each  how long one of them lasts; they come in turns
    Hostilities(std::uint16_t port, const Truth& truth, Announcements& announcements,
                std::chrono::milliseconds each);

    /// Ends.
    ~Hostilities();

    Hostilities(const Hostilities&) = delete;
    Hostilities& operator=(const Hostilities&) = delete;

    /// No new ones.
    void beginStop() { stopping_ = true; }
    bool isStopped() const { return running_ == 0; }

    /// Says when all are over: puts the clock back, takes weather and contexts away.
    void tidy();

    /// How many there have been so far.
    std::size_t countDone() const { return done_; }

    static std::vector<std::string> getNames();

private:
    friend struct Arena;

    void runLane(std::size_t first);
    void conduct();
    template <class Action> void begin(Action action);

    const std::uint16_t port_;
    const Truth& truth_;
    Announcements& announcements_;
    const std::chrono::milliseconds each_;
    std::string context_; ///< of all of them
    std::atomic<bool> stopping_ = false;
    std::atomic<int> running_ = 0;
    std::atomic<std::size_t> done_ = 0;
    std::mutex mutex_;
    std::deque<std::string> contexts_; ///< left behind by storms; guarded by the mutex
    std::vector<std::thread> threads_;
};

} // namespace Ostrel::Soak
