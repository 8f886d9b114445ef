// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/runtime/Mutex.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace Ostrel::TV {

class TVModuleContext;

/// Knows the live contexts by the identifiers that clients have for them.
///
/// Identifiers are random and never zero, so that clients do not stumble over each other. A
/// context in use is pinned, and its removal waits for its pins: no context
/// is destroyed while somebody uses it.
///
/// Any thread may call any operation. The table owns no context and never calls one.
class OSTREL_API ContextTable {
public:
    class Pin;
    struct Abandoned;

    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;
    using Random = std::function<std::uint32_t()>;

    /// How many contexts may live at once.
    static constexpr std::size_t limit = 65536;

    /// How long a context whose connection has closed may stay unused.
    static constexpr std::chrono::minutes patience{10};

    /// A number from the system's random source.
    static std::uint32_t systemRandom();

    /// The clock must never go back. Tests put their own in its place and the source's.
    explicit ContextTable(Clock clock = &std::chrono::steady_clock::now, Random random = &systemRandom);
    ~ContextTable();

    /// Makes a context and gives it an identifier.
    ///
    /// @param make  called without a lock, once there is a place for the context; what it throws
    ///              passes through
    /// @param peer  the connection that wants the context; with none it counts as closed
    /// @returns the identifier, or 0 when make() gave null
    /// @throws Exception  OutOfMemory: the table is full, and make() was not called
    std::uint32_t add(const std::function<TVModuleContext*()>& make, const std::shared_ptr<RPCPeer>& peer);

    /// Holds the context for a use. The pin is empty when there is no such context.
    Pin pin(std::uint32_t identifier);

    /// From now on nobody finds the context; returns it when its last pin has gone. The caller
    /// must not have it pinned; it gives the turn up while it waits.
    /// @returns null when there is no such context
    TVModuleContext* remove(std::uint32_t identifier);

    /// The contexts whose connection has closed and that nothing has used for some time.
    std::vector<Abandoned> findAbandoned();

    /// Of all contexts, those that are being made included.
    std::vector<std::uint32_t> getIdentifiers();

private:
    struct Slot;

    std::uint32_t reserve(const std::shared_ptr<RPCPeer>& peer);
    void cancel(std::uint32_t identifier);

    const Clock clock_;
    const Random random_;
    Mutex mutex_;
    std::unordered_map<std::uint32_t, std::shared_ptr<Slot>> slots_ OSTREL_GUARDED_BY(mutex_);
};

/// Holds a context in use for one scope.
class OSTREL_API ContextTable::Pin {
public:
    ~Pin();
    Pin(Pin&& other) noexcept = default;

    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;
    Pin& operator=(Pin&&) = delete;

    explicit operator bool() const { return slot_ != nullptr; }
    TVModuleContext& operator*() const;

private:
    friend class ContextTable;

    explicit Pin(std::shared_ptr<Slot> slot) : slot_(std::move(slot)) {}

    std::shared_ptr<Slot> slot_;
};

/// A context that may be released. The pointer is good until somebody removes the context.
struct ContextTable::Abandoned {
    std::uint32_t identifier;
    TVModuleContext* context;
};

} // namespace Ostrel::TV
