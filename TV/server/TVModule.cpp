#include "TV/server/TVModule.h"

#include <cstddef>

namespace Ostrel::TV {

TVModule::TVModule() : mutex_("TV/server/TVModule", 0) {}

bool TVModule::init() {
    return true;
}

TVModule::~TVModule() {
    TVModule::uninit();
}

void TVModule::uninit() {}

void TVModule::addListener(IListener* listener) {
    const Mutex::Hold hold(mutex_);
    const bool added = Ostrel::addListener<ITVConfig::ITVConfigListener>(listeners_, listener);
    changed_ = changed_ || added;
}

void TVModule::removeListener(IListener* listener) {
    const Mutex::Hold hold(mutex_);
    const bool removed = Ostrel::removeListener<ITVConfig::ITVConfigListener>(listeners_, listener);
    changed_ = changed_ || removed;
}

// The cursor is a position: a callback may change the list as it likes. After a change the
// walk goes on at the second listener, so some are called twice or not at all.
// Meant so: docs/oddities.md, "Second listener after a change".
template <typename Callback> void TVModule::fanOut(Callback callback) {
    mutex_.lock();
    for (std::size_t cursor = 0; cursor < listeners_.size(); ++cursor) {
        ITVConfig::ITVConfigListener* const listener = listeners_[cursor];
        mutex_.unlock();
        if (listener != nullptr)
            callback(*listener);
        mutex_.lock();
        if (changed_) {
            cursor = 0;
            changed_ = false;
        }
    }
    mutex_.unlock();
}

void TVModule::onScanStart(const unsigned& sourceId) {
    fanOut([&](ITVConfig::ITVConfigListener& listener) { listener.onScanStart(sourceId); });
}

void TVModule::onScanComplete(const unsigned& sourceId) {
    fanOut([&](ITVConfig::ITVConfigListener& listener) { listener.onScanComplete(sourceId); });
}

void TVModule::onScanProgress(const unsigned& sourceId, const unsigned& percent) {
    fanOut([&](ITVConfig::ITVConfigListener& listener) { listener.onScanProgress(sourceId, percent); });
}

} // namespace Ostrel::TV
