#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Bench {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// What a client does with its connection.
struct Habit {
    /// Something to send, as it travels: a frame of a WebSocket, or a whole HTTP request.
    struct Message {
        std::string name; ///< for people
        std::string bytes;
    };

    static constexpr auto endless = std::numeric_limits<std::size_t>::max();
    static constexpr double unlimited = std::numeric_limits<double>::infinity();

    std::vector<std::shared_ptr<const Message>> messages{}; ///< sent in turns
    std::size_t times = endless; ///< how many are sent altogether
    double perSecond =
        unlimited; ///< unless unlimited, each is due at its time, answered or not what was before
    std::size_t unanswered = endless; ///< how many may wait for their replies before the next is sent
    double bytesPerSecond = unlimited; ///< how fast it reads
    Seconds hurriesAfter{Habit::unlimited}; ///< from then on it reads as fast as it can
    bool isWebSocket = true; ///< sends the upgrade first
    bool halfCloses = false; ///< ends its sending direction behind the last message
};

/// How long one reply took.
struct Sample {
    Clock::time_point due; ///< when its request should have been sent, and was unless the host took nothing
    Seconds took; ///< since then
    const Habit::Message* message;
    bool isOpen; ///< never came: this long was it waited for
};

/// What has become of a client.
struct Fate {
    std::vector<Sample> samples{};
    std::size_t sent = 0; ///< bytes
    std::size_t received = 0; ///< bytes
    std::size_t answers = 0; ///< whole ones
    std::size_t refusals = 0; ///< answers that were an error, or of HTTP not 200
    bool hasEnded = false; ///< the host closed
    int closeCode = 0; ///< that the host gave; 0: none
};

/// Clients that all do what their habits say, on one thread and non-blocking sockets.
class Crowd {
public:
    enum class Manner { Polite, Rude };

    /// Connects them, and begins.
    /// @param manner  a rude crowd yields the processor to its neighbours here, as if it ran elsewhere
    /// @throws std::runtime_error  nobody listens there
    Crowd(std::uint16_t port, const std::vector<Habit>& habits, Manner manner = Manner::Rude);

    /// Leaves.
    ~Crowd();

    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    /// Waits until everything that was to be sent has been answered, or the host has closed.
    /// Returns whether that came about in time.
    bool wait(Seconds atMost) const;

    /// Sends nothing more; what has been sent may still be answered.
    void fallSilent() { silent_ = true; }

    /// Closes all connections. With a reset nothing that still waits is sent.
    void leave(bool reset = false);

    /// One for each habit, in their order; after leave().
    const std::vector<Fate>& getFates() const { return fates_; }

private:
    class Client;

    void run(Manner manner);

    std::vector<std::unique_ptr<Client>> clients_;
    std::vector<Fate> fates_;
    std::atomic<bool> silent_ = false;
    std::atomic<bool> leaving_ = false;
    std::atomic<bool> reset_ = false;
    std::atomic<bool> done_ = false;
    std::thread thread_;
};

/// A number of clients with one habit.
std::vector<Habit> times(std::size_t number, const Habit& habit);

} // namespace Ostrel::Bench
