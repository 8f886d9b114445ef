#include "tests/support/SilentNameServer.h"

#include "Ostrel/Export.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string_view>

#include <dlfcn.h>
#include <netdb.h>

namespace {

// A look-up that is waited for ends at some time all the same, so that its test fails and goes on.
constexpr std::chrono::seconds longest{10};

std::mutex mutex;
std::condition_variable changed;
bool isSilent = false;
int waiting = 0;

int wait() {
    std::unique_lock lock(mutex);
    ++waiting;
    changed.wait_for(lock, longest, [] { return !isSilent; });
    --waiting;
    changed.notify_all();
    return EAI_AGAIN;
}

} // namespace

extern "C" OSTREL_API int getaddrinfo(const char* host, const char* service, const addrinfo* hints,
                                      addrinfo** found) {
    if (host != nullptr && std::string_view(host) == SilentNameServer::host)
        return wait();
    static const auto next = reinterpret_cast<decltype(&::getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return next(host, service, hints, found);
}

SilentNameServer::SilentNameServer() {
    const std::lock_guard lock(mutex);
    isSilent = true;
}

SilentNameServer::~SilentNameServer() {
    std::unique_lock lock(mutex);
    isSilent = false;
    changed.notify_all();
    changed.wait(lock, [] { return waiting == 0; });
}

int SilentNameServer::getWaiting() const {
    const std::lock_guard lock(mutex);
    return waiting;
}
