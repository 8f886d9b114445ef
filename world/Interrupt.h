#pragma once

#include <exception>

namespace Ostrel::TV::Tool {

/// Somebody wants the program to end: Ctrl-C, a terminal that is closed, kill.
class Interrupted : public std::exception {
public:
    explicit Interrupted(int signal) : signal_(signal) {}

    int getSignal() const { return signal_; }

private:
    int signal_;
};

/// From now on such a signal is a wish, which the next checkForInterrupt() grants: so files that
/// are half written go.
void watchForSignals();

/// Whatever takes long calls it every now and then.
/// @throws Interrupted
void checkForInterrupt();

} // namespace Ostrel::TV::Tool
