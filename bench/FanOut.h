#pragma once

#include "bench/Load.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Ostrel::Bench {

/// What a notification is, to who listens to a server.
struct FanOutPlan {
    std::string cause{}; ///< the frame that makes a server notify everybody
    std::size_t notifications = 1; ///< that everybody gets of it
    std::size_t listeners = 1; ///< of whom the first sends the cause, and gets an answer too
};

/// Has a server notify many listeners, again and again, on one thread.
class FanOut {
public:
    /// @throws std::runtime_error  a connection is refused
    FanOut(std::uint16_t port, const FanOutPlan& plan);

    ~FanOut();

    FanOut(const FanOut&) = delete;
    FanOut& operator=(const FanOut&) = delete;

    /// Does so for so long, and slowly enough for limits on what is sent. The latency is that of who
    /// hears of it last.
    /// @throws std::runtime_error  somebody does not
    LoadResult run(Seconds time);

private:
    struct Listener {
        explicit Listener(std::uint16_t port) : connection(port, true) {}

        LoadConnection connection;
        std::size_t missing = 0; ///< notifications and, of who asked, an answer
    };

    void waitForAll();
    void receive(Listener& listener);

    const FanOutPlan plan_;
    const int poll_;
    std::vector<std::unique_ptr<Listener>> listeners_;
    std::size_t waiting_ = 0; ///< listeners who miss something
};

} // namespace Ostrel::Bench
