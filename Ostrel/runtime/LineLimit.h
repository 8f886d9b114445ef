#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

namespace Ostrel {

/// Lets a few lines a second through of every place that writes to the log, and counts the rest:
/// anybody can have refusals written, as many as they like.
///
/// Not for sharing between threads.
class LineLimit {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr unsigned linesPerSecond = 20; ///< of one place

    /// Where a line comes from. Lines of one place and different levels count by themselves, so
    /// that refusals hide no error.
    struct Place {
        int level;
        const char* module;
        int line;
        const char* format;

        bool operator==(const Place&) const = default;
        bool operator<(const Place& other) const {
            return std::tie(level, module, line, format) <
                   std::tie(other.level, other.module, other.line, other.format);
        }
    };

    /// Whether a line of that place may be written now; else it is counted.
    bool admit(const Place& place, Clock::time_point now = Clock::now());

    struct LeftOut {
        Place place;
        std::uint64_t lines;
    };

    /// Gives up what was left out in seconds that are over.
    std::vector<LeftOut> takeLeftOut(Clock::time_point now = Clock::now());

    /// While it lives, this thread's lines are wanted one and all.
    class Lifted {
    public:
        Lifted() noexcept;
        ~Lifted();

        Lifted(const Lifted&) = delete;
        Lifted& operator=(const Lifted&) = delete;

        /// Whether one lives on this thread.
        static bool isAlive() noexcept;
    };

private:
    void begin(std::chrono::seconds second);

    std::chrono::seconds second_{};
    std::map<Place, std::uint64_t> lines_; ///< of this second
    std::vector<LeftOut> leftOut_; ///< in those before
};

} // namespace Ostrel
