#include "world/Interrupt.h"

#include <csignal>
#include <initializer_list>

#include <unistd.h>

namespace Ostrel::TV::Tool {

namespace {

volatile std::sig_atomic_t theSignal = 0;

/// The signal may come just before a call that waits, and after the last look for it: each second such
/// a call is interrupted anew.
void interruptCallsThatWait(int) {
    ::alarm(1);
}

/// The second one ends the program at once.
void note(int signal) {
    theSignal = signal;
    std::signal(signal, SIG_DFL);
    ::alarm(1);
}

} // namespace

void watchForSignals() {
    struct sigaction action {};
    action.sa_handler = interruptCallsThatWait;
    sigaction(SIGALRM, &action, nullptr);
    action.sa_handler = note;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) // as nohup wants it
            sigaction(signal, &action, nullptr);
    }
}

void checkForInterrupt() {
    if (theSignal != 0)
        throw Interrupted(theSignal);
}

} // namespace Ostrel::TV::Tool
