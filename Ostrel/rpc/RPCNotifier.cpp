#include "Ostrel/rpc/RPCNotifier.h"

#include "Ostrel/rpc/IRPC.h"

#include <algorithm>

namespace Ostrel {

RPCSubscriber::~RPCSubscriber() = default;

RPCNotifier::~RPCNotifier() = default;

void RPCNotifier::handleRPCNotification(const std::string& name, const std::string& payload) {
    const auto text =
        std::make_shared<const std::string>(IRPC::RPCNotificationObject(name, payload).serialize());
    const std::lock_guard lock(mutex_);
    for (auto* subscriber : subscribers_)
        subscriber->notify(text);
}

void RPCNotifier::subscribe(RPCSubscriber& subscriber) {
    const std::lock_guard lock(mutex_);
    subscribers_.push_back(&subscriber);
}

void RPCNotifier::unsubscribe(RPCSubscriber& subscriber) {
    const std::lock_guard lock(mutex_);
    std::erase(subscribers_, &subscriber);
}

} // namespace Ostrel
