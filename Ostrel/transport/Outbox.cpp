#include "Ostrel/transport/Outbox.h"

#include "Ostrel/rpc/RPCNotifier.h"

#include <algorithm>
#include <utility>

namespace Ostrel {

namespace {

/// Bytes of an answer that is copied to stand with others in one chunk, and of such a chunk.
constexpr std::size_t smallAnswer = 1024;
constexpr std::size_t mostTogether = 4096;

/// What the allocator keeps beside an allocation.
constexpr std::size_t allocationCost = 16;

std::size_t heapCost(const std::string& text) {
    const bool isInside = text.capacity() <= std::string().capacity();
    return isInside ? 0 : text.capacity() + allocationCost;
}

} // namespace

Outbox::Cost Outbox::Chunk::cost() const {
    // A chunk has its share of the queue's blocks.
    const auto own = sizeof(Chunk) + 8 + heapCost(head);
    if (textCost > 0)
        return {.notifications = own, .texts = textCost};
    return {.answers = own + (body ? sizeof *body + 2 * allocationCost + heapCost(*body) : 0)};
}

void Outbox::push(std::string head, std::string body) {
    const auto size = head.size() + body.size();
    if (size > smallAnswer) {
        add({std::move(head), std::make_shared<const std::string>(std::move(body))});
    } else if (takesMore(size)) {
        auto& last = chunks_.back();
        const auto before = last.cost();
        last.head.reserve(last.head.size() + size); // all or nothing
        last.head.append(head).append(body);
        size_ += size;
        changeCost(before, last.cost());
    } else if (size > 0) {
        add({std::move(head.append(body)), nullptr});
    }
}

void Outbox::push(std::string head, std::shared_ptr<const RPCNotification> notification) {
    const auto cost = notification->getCost();
    const auto& text = notification->getText();
    add({std::move(head), {std::move(notification), &text}, cost});
}

void Outbox::withdraw(const RPCNotification& notification) {
    if (chunks_.size() > kept() && chunks_.back().body.get() == &notification.getText())
        dropLast();
}

/// Whether the last chunk is one of short answers that has room.
bool Outbox::takesMore(std::size_t size) const {
    return chunks_.size() > gathered_ && chunks_.back().body == nullptr &&
           chunks_.back().size() + size <= mostTogether;
}

void Outbox::add(Chunk chunk) {
    chunks_.push_back(std::move(chunk));
    size_ += chunks_.back().size();
    changeCost({}, chunks_.back().cost());
}

void Outbox::changeCost(const Cost& before, const Cost& after) {
    cost_.answers += after.answers - before.answers;
    cost_.notifications += after.notifications - before.notifications;
    cost_.texts += after.texts - before.texts;
}

std::span<const boost::asio::const_buffer> Outbox::gather() {
    buffers_.clear();
    gathered_ = 0;
    auto skip = sent_;
    auto room = mostAtOnce;
    const auto add = [&](const std::string& part) {
        const auto begin = std::min(skip, part.size());
        const auto size = std::min(room, part.size() - begin);
        skip -= begin;
        room -= size;
        if (size > 0)
            buffers_.emplace_back(part.data() + begin, size);
    };
    for (const auto& chunk : chunks_) {
        add(chunk.head);
        if (chunk.body)
            add(*chunk.body);
        ++gathered_;
        if (buffers_.size() + 2 > mostBuffers || room == 0)
            break;
    }
    return buffers_;
}

void Outbox::consume(std::size_t size) {
    size_ -= size;
    sent_ += size;
    gathered_ = 0;
    while (!chunks_.empty() && sent_ >= chunks_.front().size()) {
        sent_ -= chunks_.front().size();
        changeCost(chunks_.front().cost(), {});
        chunks_.pop_front();
    }
}

void Outbox::dropUnsent() {
    while (chunks_.size() > kept())
        dropLast();
}

void Outbox::dropLast() {
    size_ -= chunks_.back().size();
    changeCost(chunks_.back().cost(), {});
    chunks_.pop_back();
}

/// How many chunks must stay as they are.
std::size_t Outbox::kept() const {
    return std::max<std::size_t>(gathered_, sent_ > 0 ? 1 : 0);
}

void Outbox::clear() {
    chunks_.clear();
    gathered_ = 0;
    sent_ = 0;
    size_ = 0;
    cost_ = {};
}

} // namespace Ostrel
