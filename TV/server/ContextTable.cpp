#include "TV/server/ContextTable.h"

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/runtime/Turn.h"

#include <random>
#include <utility>

namespace Ostrel::TV {

namespace {
Gauge contexts({"ostrel_contexts", "Contexts that are alive."});
Counter refusedContexts(refusals, "contexts");
} // namespace

struct ContextTable::Slot {
    TVModuleContext* context = nullptr; ///< null while it is being made
    std::weak_ptr<RPCPeer> peer;
    TimePoint lastUse;
    std::atomic<unsigned> pins{0}; ///< grows under the table's lock only
};

std::uint32_t ContextTable::systemRandom() {
    static_assert(std::random_device::min() == 0 && std::random_device::max() == UINT32_MAX);
    std::random_device source;
    return source();
}

ContextTable::ContextTable(Clock clock, Random random)
    : clock_(std::move(clock)), random_(std::move(random)), mutex_("TV/server/ContextTable", 0) {}

ContextTable::~ContextTable() {
    const Mutex::Hold hold(mutex_);
    contexts.decrement(std::int64_t(slots_.size()));
}

std::uint32_t ContextTable::add(const std::function<TVModuleContext*()>& make,
                                const std::shared_ptr<RPCPeer>& peer) {
    const std::uint32_t identifier = reserve(peer);
    TVModuleContext* context = nullptr;
    try {
        context = make();
    } catch (...) {
        cancel(identifier);
        throw;
    }
    if (context == nullptr) {
        cancel(identifier);
        return 0;
    }
    const Mutex::Hold hold(mutex_);
    slots_.find(identifier)->second->context = context;
    return identifier;
}

std::uint32_t ContextTable::reserve(const std::shared_ptr<RPCPeer>& peer) {
    const auto slot = std::make_shared<Slot>();
    slot->peer = peer;
    slot->lastUse = clock_();

    const Mutex::Hold hold(mutex_);
    if (slots_.size() >= limit) {
        refusedContexts.increment();
        throw Exception(ReturnCode::OutOfMemory);
    }
    for (;;) {
        const std::uint32_t identifier = random_();
        if (identifier != 0 && slots_.emplace(identifier, slot).second) {
            contexts.increment();
            return identifier;
        }
    }
}

void ContextTable::cancel(std::uint32_t identifier) {
    const Mutex::Hold hold(mutex_);
    slots_.erase(identifier);
    contexts.decrement();
}

ContextTable::Pin ContextTable::pin(std::uint32_t identifier) {
    const Mutex::Hold hold(mutex_);
    const auto found = slots_.find(identifier);
    if (found == slots_.end() || found->second->context == nullptr)
        return Pin(nullptr);
    const auto& slot = found->second;
    slot->lastUse = clock_();
    ++slot->pins;
    return Pin(slot);
}

TVModuleContext* ContextTable::remove(std::uint32_t identifier) {
    std::shared_ptr<Slot> slot;
    {
        const Mutex::Hold hold(mutex_);
        const auto found = slots_.find(identifier);
        if (found == slots_.end() || found->second->context == nullptr)
            return nullptr;
        slot = std::move(found->second);
        slots_.erase(found);
        contexts.decrement();
    }
    if (slot->pins.load() > 0) {
        const Turn::Pause pause; // a reader may take long, and others want the turn
        while (const unsigned pins = slot->pins.load())
            slot->pins.wait(pins);
    }
    return slot->context;
}

std::vector<ContextTable::Abandoned> ContextTable::findAbandoned() {
    std::vector<Abandoned> abandoned;
    const Mutex::Hold hold(mutex_);
    const TimePoint now = clock_();
    for (const auto& [identifier, slot] : slots_) {
        const bool idle = slot->pins.load() == 0 && now - slot->lastUse >= patience;
        if (slot->context != nullptr && slot->peer.expired() && idle)
            abandoned.push_back({identifier, slot->context});
    }
    return abandoned;
}

std::vector<std::uint32_t> ContextTable::getIdentifiers() {
    std::vector<std::uint32_t> identifiers;
    const Mutex::Hold hold(mutex_);
    for (const auto& [identifier, slot] : slots_)
        identifiers.push_back(identifier);
    return identifiers;
}

ContextTable::Pin::~Pin() {
    if (slot_ != nullptr && --slot_->pins == 0)
        slot_->pins.notify_all();
}

TVModuleContext& ContextTable::Pin::operator*() const {
    return *slot_->context;
}

} // namespace Ostrel::TV
