#include "TV/server/ContextTable.h"

#include "Ostrel/rpc/Exception.h"

#include <random>
#include <utility>

namespace Ostrel::TV {

struct ContextTable::Entry {
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

ContextTable::~ContextTable() = default;

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
    entries_.find(identifier)->second->context = context;
    return identifier;
}

std::uint32_t ContextTable::reserve(const std::shared_ptr<RPCPeer>& peer) {
    const auto entry = std::make_shared<Entry>();
    entry->peer = peer;
    entry->lastUse = clock_();

    const Mutex::Hold hold(mutex_);
    if (entries_.size() >= limit)
        throw Exception(ReturnCode::OutOfMemory);
    for (;;) {
        const std::uint32_t identifier = random_();
        if (identifier != 0 && entries_.emplace(identifier, entry).second)
            return identifier;
    }
}

void ContextTable::cancel(std::uint32_t identifier) {
    const Mutex::Hold hold(mutex_);
    entries_.erase(identifier);
}

ContextTable::Pin ContextTable::pin(std::uint32_t identifier) {
    const Mutex::Hold hold(mutex_);
    const auto found = entries_.find(identifier);
    if (found == entries_.end() || found->second->context == nullptr)
        return Pin(nullptr);
    const auto& entry = found->second;
    entry->lastUse = clock_();
    ++entry->pins;
    return Pin(entry);
}

TVModuleContext* ContextTable::take(std::uint32_t identifier) {
    std::shared_ptr<Entry> entry;
    {
        const Mutex::Hold hold(mutex_);
        const auto found = entries_.find(identifier);
        if (found == entries_.end() || found->second->context == nullptr)
            return nullptr;
        entry = std::move(found->second);
        entries_.erase(found);
    }
    while (const unsigned pins = entry->pins.load())
        entry->pins.wait(pins);
    return entry->context;
}

std::vector<ContextTable::Abandoned> ContextTable::findAbandoned() {
    std::vector<Abandoned> abandoned;
    const Mutex::Hold hold(mutex_);
    const TimePoint now = clock_();
    for (const auto& [identifier, entry] : entries_) {
        const bool idle = entry->pins.load() == 0 && now - entry->lastUse >= patience;
        if (entry->context != nullptr && entry->peer.expired() && idle)
            abandoned.push_back({identifier, entry->context});
    }
    return abandoned;
}

std::vector<std::uint32_t> ContextTable::getIdentifiers() {
    std::vector<std::uint32_t> identifiers;
    const Mutex::Hold hold(mutex_);
    for (const auto& [identifier, entry] : entries_)
        identifiers.push_back(identifier);
    return identifiers;
}

ContextTable::Pin::~Pin() {
    if (entry_ != nullptr && --entry_->pins == 0)
        entry_->pins.notify_all();
}

TVModuleContext& ContextTable::Pin::operator*() const {
    return *entry_->context;
}

} // namespace Ostrel::TV
