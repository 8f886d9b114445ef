#include "tests/support/ScarceMemory.h"

#if OSTREL_SCARCE_MEMORY

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dlfcn.h>
#include <pthread.h>

namespace {

using Ostrel::Test::ScarceMemory;

std::atomic<bool> isScarce = false;
std::atomic<int> count = 0; ///< of the allocations that were asked for
// Set while none counts:
std::atomic<int> firstFailing = 0;
std::atomic<ScarceMemory::Mode> modeNow = ScarceMemory::Once;
std::atomic<const char*> threadNow = nullptr;
std::atomic<pthread_t> spared = pthread_t();

bool counts() noexcept {
    const auto* const thread = threadNow.load();
    if (thread == nullptr)
        return pthread_self() != spared;
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return std::strncmp(name, thread, std::strlen(thread)) == 0;
}

bool fails() noexcept {
    if (!isScarce.load(std::memory_order_acquire) || !counts())
        return false;
    const int number = ++count;
    return modeNow == ScarceMemory::Once ? number == firstFailing : number >= firstFailing;
}

} // namespace

// All forms: a sanitizer has its own of those that are left out, and minds who frees what.

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* operator new(std::size_t size) {
    auto* const memory = operator new(size, std::nothrow);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

// Visible, so that the shared libraries find it before the C library's.
extern "C" __attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment,
                                                                      std::size_t size) noexcept {
    static const auto real = reinterpret_cast<decltype(&aligned_alloc)>(dlsym(RTLD_NEXT, "aligned_alloc"));
    return fails() ? nullptr : real(alignment, size);
}

namespace Ostrel::Test {

ScarceMemory::ScarceMemory(int first, Mode mode, const char* thread) {
    count = 0;
    firstFailing = first;
    modeNow = mode;
    threadNow = thread;
    spared = pthread_self();
    isScarce.store(true, std::memory_order_release);
}

ScarceMemory::~ScarceMemory() {
    end();
}

void ScarceMemory::end() {
    isScarce = false;
}

bool ScarceMemory::hasFailed() const {
    return count >= firstFailing;
}

} // namespace Ostrel::Test

#endif
