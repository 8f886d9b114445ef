#include "Ostrel/transport/Output.h"

#include "Ostrel/transport/Conversation.h"

#include <algorithm>
#include <array>
#include <utility>

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace Ostrel {

void Output::push(std::string head, std::string body) {
    outbox_.push(std::move(head), std::move(body));
    send();
}

void Output::push(std::string head, std::shared_ptr<const RPCNotification> notification) {
    outbox_.push(std::move(head), std::move(notification));
    send();
}

void Output::release() {
    held_ = false;
    send();
}

/// Sends what waits, or sees to it that it is sent when the system takes it.
void Output::send() {
    if (held_ && outbox_.size() <= Outbox::mostAtOnce)
        return;
    const bool isIdle = !writing_ && outbox_.size() > 0 && conversation_.getPhase() != Phase::Closed;
    const bool hasWritten = isIdle && writeAtOnce();
    if (isIdle && outbox_.size() > 0)
        write();
    conversation_.waitingChanged();
    if (hasWritten)
        tellSent();
}

/// Gives the system what it takes without waiting, which is mostly all; false when it takes nothing.
bool Output::writeAtOnce() {
    const auto buffers = outbox_.gather();
    std::array<iovec, Outbox::mostBuffers> parts;
    std::transform(buffers.begin(), buffers.end(), parts.begin(), [](const auto& buffer) {
        return iovec{const_cast<void*>(buffer.data()), buffer.size()};
    });
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = buffers.size();
    const auto size =
        ::sendmsg(conversation_.getSocket().native_handle(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (size <= 0)
        return false;
    written_ += size;
    outbox_.consume(static_cast<std::size_t>(size));
    return true;
}

void Output::write() {
    conversation_.getSocket().async_write_some(
        outbox_.gather(),
        conversation_.guarded([this](const boost::system::error_code& failure, std::size_t size) {
            writing_ = false;
            if (failure) {
                conversation_.close();
                return;
            }
            written_ += std::int64_t(size);
            outbox_.consume(size);
            if (outbox_.size() > 0)
                write();
            conversation_.waitingChanged();
            tellSent();
        }));
    writing_ = true;
}

void Output::tellSent() {
    if (outbox_.size() == 0)
        conversation_.allSent();
}

void Output::withdraw(const RPCNotification& notification) {
    outbox_.withdraw(notification);
    conversation_.waitingChanged();
}

void Output::dropUnsent() {
    outbox_.dropUnsent();
    waited_ = false;
    conversation_.waitingChanged();
}

void Output::clear() {
    outbox_.clear();
    conversation_.waitingChanged();
}

// What counts is what the client has taken and not what the system has: that takes bytes for a
// client that is gone, and from a slow reader it wants more only when much of its queue has gone.
void Output::look(Clock::time_point now) {
    const auto queued = getQueued();
    const bool waits = outbox_.size() > 0 || queued > 0;
    const auto taken = written_ - queued;
    if (!waits || !waited_ || taken > taken_)
        lastProgress_ = now;
    waited_ = waits;
    taken_ = taken;
}

bool Output::isStalled(Clock::time_point now, std::chrono::milliseconds patience) {
    look(now);
    return waited_ && now - lastProgress_ >= patience;
}

double Output::getBurden(Clock::time_point now) {
    look(now);
    // Not nothing for those who have just begun: then the most alone decides.
    const std::chrono::duration<double> time = now - lastProgress_ + std::chrono::milliseconds(1);
    return double(outbox_.getCost().own()) * time.count();
}

bool Output::hasGivenAll() {
    return outbox_.size() == 0 && getQueued() == 0;
}

/// How much the system has taken and the client has not; 0 when it does not tell.
std::int64_t Output::getQueued() {
    int size = 0;
    return ::ioctl(conversation_.getSocket().native_handle(), SIOCOUTQ, &size) == 0 ? size : 0;
}

} // namespace Ostrel
