#include "tests/faults/SystemCalls.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Set while none is failing:
std::atomic<const char*> failing = nullptr;
int errorNow = 0;
int firstNow = 0;
int lastNow = 0;
std::atomic<int> count = 0;

/// Whether this one is to fail. The transport makes its calls on one thread.
bool fails(const char* call) noexcept {
    const auto* const name = failing.load(std::memory_order_acquire);
    if (name == nullptr || std::strcmp(name, call) != 0)
        return false;
    char thread[16] = {};
    pthread_getname_np(pthread_self(), thread, sizeof thread);
    if (std::strcmp(thread, "listener") != 0)
        return false;
    const int number = ++count;
    return number >= firstNow && number <= lastNow;
}

int fail() noexcept {
    errno = errorNow;
    return -1;
}

/// A message of one byte.
msghdr cut(const msghdr& message, iovec& one) noexcept {
    auto result = message;
    const auto* const end = message.msg_iov + message.msg_iovlen;
    const auto* const part = std::find_if(message.msg_iov, const_cast<iovec*>(end),
                                          [](const iovec& each) { return each.iov_len > 0; });
    if (part == end)
        return result;
    one = {part->iov_base, 1};
    result.msg_iov = &one;
    result.msg_iovlen = 1;
    return result;
}

template <class Function> Function* find(const char* name) noexcept {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// Visible, so that the shared libraries find them before the C library's.
#define OSTREL_VISIBLE extern "C" __attribute__((visibility("default")))

#define OSTREL_MAY_FAIL(result, name, declared, passed)                                                      \
    OSTREL_VISIBLE result name declared {                                                                    \
        static auto* const real = find<result declared>(#name);                                              \
        return fails(#name) ? fail() : real passed;                                                          \
    }

// clang-format off
OSTREL_MAY_FAIL(int, accept, (int socket, sockaddr* address, socklen_t* size), (socket, address, size))
OSTREL_MAY_FAIL(int, epoll_ctl, (int set, int what, int descriptor, epoll_event* event) noexcept, (set, what, descriptor, event))
OSTREL_MAY_FAIL(int, epoll_wait, (int set, epoll_event* events, int most, int time), (set, events, most, time))
OSTREL_MAY_FAIL(int, setsockopt, (int socket, int level, int name, const void* value, socklen_t size) noexcept, (socket, level, name, value, size))
OSTREL_MAY_FAIL(int, getpeername, (int socket, sockaddr* address, socklen_t* size) noexcept, (socket, address, size))
OSTREL_MAY_FAIL(int, getsockname, (int socket, sockaddr* address, socklen_t* size) noexcept, (socket, address, size))
OSTREL_MAY_FAIL(int, shutdown, (int socket, int how) noexcept, (socket, how))
// clang-format on

OSTREL_VISIBLE int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                                  void* argument) noexcept {
    static auto* const real =
        find<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    return fails("pthread_create") ? errorNow : real(thread, attributes, run, argument);
}

OSTREL_VISIBLE ssize_t recv(int socket, void* to, size_t size, int flags) {
    static auto* const real = find<ssize_t(int, void*, size_t, int)>("recv");
    if (!fails("recv"))
        return real(socket, to, size, flags);
    return errorNow != 0 ? fail() : real(socket, to, std::min<size_t>(size, 1), flags);
}

OSTREL_VISIBLE ssize_t send(int socket, const void* from, size_t size, int flags) {
    static auto* const real = find<ssize_t(int, const void*, size_t, int)>("send");
    if (!fails("send"))
        return real(socket, from, size, flags);
    return errorNow != 0 ? fail() : real(socket, from, std::min<size_t>(size, 1), flags);
}

OSTREL_VISIBLE ssize_t recvmsg(int socket, msghdr* message, int flags) {
    static auto* const real = find<ssize_t(int, msghdr*, int)>("recvmsg");
    if (!fails("recvmsg"))
        return real(socket, message, flags);
    iovec one{};
    auto less = cut(*message, one);
    return errorNow != 0 ? fail() : real(socket, &less, flags);
}

OSTREL_VISIBLE ssize_t sendmsg(int socket, const msghdr* message, int flags) {
    static auto* const real = find<ssize_t(int, const msghdr*, int)>("sendmsg");
    if (!fails("sendmsg"))
        return real(socket, message, flags);
    iovec one{};
    const auto less = cut(*message, one);
    return errorNow != 0 ? fail() : real(socket, &less, flags);
}

namespace Ostrel::Test {

FailingCall::FailingCall(const char* call, int error, int first, int times) {
    errorNow = error;
    firstNow = first;
    lastNow = first + times - 1;
    count = 0;
    failing.store(call, std::memory_order_release);
}

FailingCall::~FailingCall() {
    failing = nullptr;
}

int FailingCall::getCount() const {
    return count;
}

} // namespace Ostrel::Test
