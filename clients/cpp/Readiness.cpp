#include "clients/cpp/Readiness.h"

#include "clients/cpp/Errors.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Ostrel::Client {

Readiness::Readiness()
    : epoll_(::epoll_create1(EPOLL_CLOEXEC)), event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    try {
        watch(event_);
    } catch (...) {
        ::close(epoll_);
        ::close(event_);
        throw;
    }
}

Readiness::~Readiness() {
    ::close(epoll_);
    ::close(event_);
}

void Readiness::watch(int socket) {
    epoll_event event{};
    event.events = EPOLLIN | EPOLLRDHUP;
    if (::epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &event) != 0)
        throw Error(std::string("no descriptor to wait on: ") + std::strerror(errno));
}

void Readiness::set(bool isReady) {
    if (isReady == isReady_)
        return;
    isReady_ = isReady;
    std::uint64_t count = 1;
    // An event descriptor takes and gives its eight bytes whole, and these can always be taken.
    [[maybe_unused]] const auto bytes =
        isReady ? ::write(event_, &count, sizeof count) : ::read(event_, &count, sizeof count);
}

} // namespace Ostrel::Client
