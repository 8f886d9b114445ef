// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <atomic>

namespace Ostrel {

/// Leaves Cancellation::check() when nobody waits any more. It is no std::exception, and code that
/// catches everything must throw it on.
class OSTREL_API Cancelled {};

/// Makes the calling thread's work one that can be cancelled, for a scope.
///
/// The platform has one around every handler, so that a request whose client has gone does not
/// go on. One may live inside another's scope; the inner one counts.
class OSTREL_API Cancellation {
public:
    /// @param wanted  set by whoever cancels, on any thread; must outlive the scope
    explicit Cancellation(const std::atomic<bool>& wanted) noexcept;
    ~Cancellation();

    Cancellation(const Cancellation&) = delete;
    Cancellation& operator=(const Cancellation&) = delete;

    /// To be called now and then by work that may take longer than a millisecond, where it can be left
    /// as it is. Costs no more than a function call; outside of any scope it does nothing.
    /// @throws Cancelled
    static void check();

private:
    const std::atomic<bool>* const outer_;
};

} // namespace Ostrel
