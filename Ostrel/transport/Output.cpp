#include "Ostrel/transport/Output.h"

#include "Ostrel/transport/Conversation.h"

#include <utility>

#include <linux/sockios.h>
#include <sys/ioctl.h>

namespace Ostrel {

void Output::push(std::string head, std::string body) {
    add(std::move(head), std::move(body));
}

void Output::push(std::string head, std::shared_ptr<const RPCNotification> notification) {
    add(std::move(head), std::move(notification));
}

template <class Body> void Output::add(std::string head, Body body) {
    if (outbox_.size() == 0)
        lastProgress_ = Clock::now();
    outbox_.push(std::move(head), std::move(body));
    conversation_.waitingChanged();
    flush();
}

void Output::flush() {
    if (writing_ || conversation_.getPhase() == Phase::Closed || outbox_.size() == 0)
        return;
    writing_ = true;
    conversation_.getSocket().async_write_some(
        outbox_.gather(),
        conversation_.guarded([this](const boost::system::error_code& failure, std::size_t size) {
            writing_ = false;
            if (failure) {
                conversation_.close();
                return;
            }
            lastProgress_ = Clock::now();
            outbox_.consume(size);
            conversation_.waitingChanged();
            if (outbox_.size() == 0)
                conversation_.allSent();
            else
                flush();
        }));
}

void Output::dropUnsent() {
    outbox_.dropUnsent();
    conversation_.waitingChanged();
}

void Output::clear() {
    outbox_.clear();
    conversation_.waitingChanged();
}

// The system wants bytes again only when much of its own queue has gone, which takes a slow
// reader longer than anybody's patience.
bool Output::isStalled(Clock::time_point now, std::chrono::milliseconds patience) {
    if (outbox_.size() == 0)
        return false;
    const int queued = getQueued();
    if (queued < queued_)
        lastProgress_ = now;
    queued_ = queued;
    return now - lastProgress_ >= patience;
}

/// How much the system has taken and the client has not; 0 when it does not tell.
int Output::getQueued() {
    int size = 0;
    return ::ioctl(conversation_.getSocket().native_handle(), SIOCOUTQ, &size) == 0 ? size : 0;
}

} // namespace Ostrel
