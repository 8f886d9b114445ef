#pragma once

#include <functional>

namespace Ostrel::Bench {

/// Keeps what is measured and who measures it on a processor each.
class Processors {
public:
    /// Moves this thread to the one of who measures.
    /// @throws std::runtime_error  this process may use no more than one
    Processors();

    /// Calls a function on the processor of what is measured. What it starts stays there.
    void startThere(const std::function<void()>& start) const;

private:
    int measuring_ = -1;
    int measured_ = -1;
};

} // namespace Ostrel::Bench
