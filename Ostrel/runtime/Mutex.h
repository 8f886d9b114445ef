// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/runtime/ThreadAnnotations.h"

#include <mutex>
#include <string>
#include <string_view>

namespace Ostrel {

/// A recursive lock that knows its owner and has a name for the log.
///
/// No lock outlives the handler or the task's step that took it: the platform releases
/// what is still held when module code hands back, so that a forgotten unlock cannot
/// wedge the service.
class OSTREL_API OSTREL_CAPABILITY("mutex") Mutex {
public:
    /// @param name   the owning source file's path, as the log shows it
    /// @param flags  reserved; 0
    explicit Mutex(const std::string& name, unsigned short flags = 0);

    /// May be held by the calling thread, which gives it back; by no other.
    ~Mutex();

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits until no other thread holds the lock. The same thread may lock it again; each lock()
    /// wants its unlock().
    /// @throws std::system_error  the thread has locked it more often than the system can count
    void lock() OSTREL_ACQUIRE();

    /// Gives back one lock(). The calling thread must be the owner.
    void unlock() OSTREL_RELEASE();

    const std::string& getName() const { return name_; }

    /// Releases every mutex that the calling thread holds, however often it locked it, and
    /// writes one debug line for each that names the mutex and the holder.
    ///
    /// The platform calls it when a handler or a task's step hands back.
    ///
    /// @param holder  the method or task that left the locks behind
    static void releaseHeld(std::string_view holder);

    /// Holds the mutex for one scope.
    class OSTREL_SCOPED_CAPABILITY Hold {
    public:
        explicit Hold(Mutex& mutex) OSTREL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
        ~Hold() OSTREL_RELEASE() { mutex_.unlock(); }

        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        Mutex& mutex_;
    };

private:
    /// Gives back every lock() of the calling thread, which must be the owner.
    void releaseUnderLock();

    const std::string name_;
    std::recursive_mutex mutex_;
    unsigned depth_ = 0; ///< how often the owner locked it; written by the owner alone
    Mutex* nextHeld_ = nullptr; ///< another one that the owner holds; written by the owner alone
};

} // namespace Ostrel
