#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace Ostrel::Soak {

/// Whether notifications tell of scans as they are told: each begins, is at 0 percent, gets on, and
/// ends with its completion, or without one when a context is deleted.
class ScanStory {
public:
    /// Takes the next notification. Returns what is wrong with it; empty when nothing is.
    std::string take(std::string_view text);

    /// The clock may have been set back so often: each time a scan may have to go back once.
    void setBacks(std::size_t number) { setBacks_ = number; }

    std::size_t countCompleted() const { return completed_; }

private:
    enum class State { Ended, Started, Running, AtHundred } state_ = State::Ended;
    unsigned percent_ = 0;
    std::size_t setBacks_ = 0;
    std::size_t wentBack_ = 0;
    std::size_t completed_ = 0;
};

/// The notifications of a host in the order in which it raised them: as the first listener heard each.
/// Every other one must hear the same.
class Announcements {
public:
    /// How many a listener has heard.
    using Place = std::size_t;

    /// A listener has heard the next one. Returns what is wrong with it; empty when nothing is.
    std::string hear(Place& place, std::string_view text);

    /// How many there were.
    Place getEnd() const { return forgotten_ + kept_.size(); }

    /// All listeners have heard so many.
    void forget(Place place);

    /// To be called before the clock is set back. Any thread may call it.
    void noteSetBack() { ++setBacks_; }

    std::size_t countCompletedScans() const { return story_.countCompleted(); }

private:
    std::deque<std::string> kept_;
    Place forgotten_ = 0;
    ScanStory story_;
    std::atomic<std::size_t> setBacks_ = 0;
};

} // namespace Ostrel::Soak
