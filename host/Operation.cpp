#include "host/Operation.h"

#include "host/Host.h"
#include "host/ServiceManager.h"

#include "Ostrel/runtime/DebugPrint.h"

#include <chrono>
#include <exception>
#include <initializer_list>
#include <string>

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

namespace Ostrel {

namespace {

/// Whether somebody wants the host to outlive its terminal, as nohup does.
bool outlivesTerminal() {
    struct sigaction hangUp {};
    return sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler == SIG_IGN;
}

bool hasTerminal() {
    const int terminal = ::open("/dev/tty", O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (terminal >= 0)
        ::close(terminal);
    return terminal >= 0;
}

sigset_t signalSet(std::initializer_list<int> signals) {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals)
        sigaddset(&set, signal);
    return set;
}

std::string describe(const Host& host) {
    std::string text = "STATUS=Serving on";
    for (const auto& address : host.getAddresses())
        text += ' ' + address.toString();
    return text;
}

std::string now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return std::to_string(time.tv_sec * 1'000'000LL + time.tv_nsec / 1000);
}

} // namespace

Operation::Operation(const ServiceManager& manager)
    : manager_(manager), reloads_(manager.isListening() && !hasTerminal()),
      signals_(signalSet({SIGINT, SIGTERM})) {
    if (reloads_)
        std::signal(SIGHUP, SIG_DFL); // what is ignored does not wait to be taken
    if (!outlivesTerminal())
        sigaddset(&signals_, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
}

void Operation::run(Host& host) {
    manager_.tell("READY=1\n" + describe(host));
    for (;;) {
        const int signal = wait();
        if (signal == SIGHUP && reloads_)
            reload(host);
        else if (signal > 0)
            break;
        tellAlive(host);
    }
    manager_.tell("STOPPING=1\nSTATUS=Saying goodbye to clients");

    // A terminal and its shell send one each.
    const timespec atOnce{};
    while (sigtimedwait(&signals_, nullptr, &atOnce) > 0) {
    }
    const auto impatient = signalSet({SIGINT, SIGTERM});
    pthread_sigmask(SIG_UNBLOCK, &impatient, nullptr);
}

/// Returns a signal, or something else when it is time to tell that the host is alive.
int Operation::wait() const {
    using namespace std::chrono;
    const auto period = manager_.getPatience() / 2;
    if (period == period.zero())
        return sigwaitinfo(&signals_, nullptr);
    const auto whole = duration_cast<seconds>(period);
    const timespec time{.tv_sec = time_t(whole.count()),
                        .tv_nsec = long(nanoseconds(period - whole).count())};
    return sigtimedwait(&signals_, nullptr, &time);
}

void Operation::reload(Host& host) const {
    manager_.tell("RELOADING=1\nMONOTONIC_USEC=" + now());
    std::string problem;
    try {
        host.reload();
    } catch (const std::exception& exception) {
        problem = std::string("; the token stays as it was: ") + exception.what();
        ostrelDebugPrint(DebugLevel::Error, "Host", "Operation", __LINE__, "reload(): %s\n",
                         exception.what());
    }
    manager_.tell("READY=1\n" + describe(host) + problem);
}

/// Nothing is told of a host that hangs: its manager then ends it, and starts another one.
void Operation::tellAlive(Host& host) const {
    try {
        if (manager_.getPatience().count() > 0 && host.isAlive())
            manager_.tell("WATCHDOG=1");
    } catch (const std::exception& exception) {
        ostrelDebugPrint(DebugLevel::Warning, "Host", "Operation", __LINE__,
                         "tellAlive(): caught exception: %s\n", exception.what());
    }
}

} // namespace Ostrel
