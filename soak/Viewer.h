#pragma once

#include "bench/AnswerScanner.h"
#include "soak/Announcements.h"
#include "soak/Model.h"
#include "soak/Tally.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Ostrel::Soak {

/// A well-behaved client on a socket that does not block: asks now and then, one thing at a time,
/// and checks each answer and each notification.
class Viewer {
public:
    enum class Way { WebSocket, Http };

    /// What all of them share.
    struct World {
        std::uint16_t port;
        const Truth& truth;
        Announcements& announcements;
        Tally& tally;
    };

    /// Connects.
    /// @throws std::runtime_error  nobody listens there
    Viewer(World& world, Way way, unsigned number);
    ~Viewer();

    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    int getSocket() const { return socket_; } ///< -1 once it is closed
    bool wantsToSend() const { return sent_ < output_.size(); }

    /// When it asks next; max() while it waits for an answer, or asks no more.
    Clock::time_point getDue() const;

    /// Asks.
    void act(Clock::time_point now);

    void send();
    void receive(Clock::time_point now);

    /// Whether it has a context and asks.
    bool isAsking() const { return stage_ == Stage::Asking; }

    /// Asks nothing more than to have its context deleted, and closes.
    void leave() { leaving_ = true; }

    bool isGone() const { return socket_ < 0; }

    /// How many notifications it has heard; nothing when it hears none.
    std::optional<Announcements::Place> getPlace() const;

    /// Gives a host up that has not answered for so long, which is wrong.
    void checkPatience(Clock::time_point now, Clock::duration patience);

private:
    enum class Stage { Upgrading, Creating, Selecting, Asking, Deleting };

    void begin(Exchange exchange, Clock::time_point due);
    void found(const Bench::AnswerScanner::Found& found, Clock::time_point now);
    void answered(const Bench::AnswerScanner::Found& found, Clock::time_point now);
    void complain(const std::string& what);
    void close();

    World& world_;
    const Way way_;
    const unsigned number_;
    Model model_;
    int socket_ = -1;
    Stage stage_ = Stage::Upgrading;
    bool leaving_ = false;
    std::optional<Exchange> exchange_; ///< under way
    Clock::time_point due_; ///< when it was to be asked what is under way, or is what comes next
    std::minstd_rand random_;
    Announcements::Place place_ = 0;
    Bench::AnswerScanner scanner_{std::size_t(-1)};
    std::string output_;
    std::size_t sent_ = 0; ///< bytes of the output
};

} // namespace Ostrel::Soak
