#pragma once

/// Whether allocations can fail here. Clang's thread sanitizer brings an operator new of its own, which
/// cannot be replaced.
#ifdef __has_feature
#define OSTREL_SCARCE_MEMORY !__has_feature(thread_sanitizer)
#else
#define OSTREL_SCARCE_MEMORY 1
#endif

#if OSTREL_SCARCE_MEMORY

namespace Ostrel::Test {

/// While it lives allocations fail: those of operator new, and of aligned_alloc(), which Asio takes its
/// memory from. For programs that have its source among theirs; one at a time.
class ScarceMemory {
public:
    /// How it goes on once an allocation has failed.
    enum Mode { Once, FromThenOn };

    /// @param first   the allocation that fails, from 1
    /// @param thread  the start of the names of the threads that count; null for all but the calling one
    ScarceMemory(int first, Mode mode, const char* thread = nullptr);
    ~ScarceMemory();

    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;

    /// From now on there is memory again. Any thread may call it.
    void end();

    /// Whether any has failed.
    bool hasFailed() const;
};

} // namespace Ostrel::Test

#endif
