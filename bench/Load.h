#pragma once

#include "bench/Crowd.h"
#include "bench/LatencyHistogram.h"
#include "bench/LoadConnection.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace Ostrel::Bench {

/// What is asked of a server, and how.
struct LoadPlan {
    std::string request{}; ///< as it travels: a frame of a WebSocket, or a whole HTTP request
    bool isWebSocket = true;
    std::size_t connections = 1;
    std::size_t depth = 1; ///< requests under way on each; the next goes when one is answered
    /// Requests of all connections together; unless unlimited, each is sent when it is due, whatever
    /// is under way, and its latency counts from then.
    double perSecond = Habit::unlimited;
};

/// What came of it.
struct LoadResult {
    LatencyHistogram latency{};
    Seconds took{}; ///< from the first request to the last answer

    double perSecond() const { return static_cast<double>(latency.getCount()) / took.count(); }
};

/// Asks one server the same over and over, on one thread that keeps a processor busy.
///
/// Other than a Crowd it does no more than it takes to count answers and their time, so that it asks
/// faster than any server here answers.
class Load {
public:
    /// Connects all.
    /// @throws std::runtime_error  a connection is refused
    Load(std::uint16_t port, const LoadPlan& plan);

    ~Load();

    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;

    /// Asks for so long, at least once on each connection, and waits for the last answer.
    /// @throws std::runtime_error  an answer is an error, or none comes for half a minute
    LoadResult run(Seconds time);

private:
    struct Line {
        explicit Line(std::uint16_t port, bool isWebSocket) : connection(port, isWebSocket) {}

        LoadConnection connection;
        std::deque<Clock::time_point> asked{}; ///< when what is under way was sent, or due
    };

    bool isPaced() const { return plan_.perSecond != Habit::unlimited; }
    void ask(Line& line, std::size_t number, Clock::time_point when);
    void askDue(Clock::time_point now);
    void receive(Line& line, LoadResult& result);
    void wait(LoadResult& result);

    const LoadPlan plan_;
    const std::string requests_; ///< as many as may be under way on one connection, to be sent at once
    const int poll_;
    std::vector<std::unique_ptr<Line>> lines_;
    std::size_t underWay_ = 0;
    Clock::time_point end_{}; ///< from then on nothing is asked
    Clock::time_point due_{}; ///< when the next request is, if they are paced
    std::size_t next_ = 0; ///< the line of that request
};

} // namespace Ostrel::Bench
