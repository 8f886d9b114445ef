#include "Ostrel/transport/Outbox.h"

#include <algorithm>
#include <utility>

namespace Ostrel {

namespace {

/// As many as the system takes in one write.
constexpr std::size_t mostBuffers = 64;

} // namespace

void Outbox::push(std::string head, std::string body) {
    add({std::move(head), std::move(body), nullptr});
}

void Outbox::push(std::string head, std::shared_ptr<const std::string> body) {
    add({std::move(head), {}, std::move(body)});
}

void Outbox::add(Chunk chunk) {
    const auto size = chunk.size();
    if (size == 0)
        return;
    chunks_.push_back(std::move(chunk));
    size_ += size;
}

std::span<const boost::asio::const_buffer> Outbox::gather() {
    buffers_.clear();
    gathered_ = 0;
    auto skip = sent_;
    for (const auto& chunk : chunks_) {
        for (const auto* part : {&chunk.head, chunk.shared ? chunk.shared.get() : &chunk.body}) {
            const auto taken = std::min(skip, part->size());
            skip -= taken;
            if (taken < part->size())
                buffers_.emplace_back(part->data() + taken, part->size() - taken);
        }
        ++gathered_;
        if (buffers_.size() + 2 > mostBuffers)
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
        chunks_.pop_front();
    }
}

void Outbox::dropUnsent() {
    const auto keep = std::max<std::size_t>(gathered_, sent_ > 0 ? 1 : 0);
    while (chunks_.size() > keep) {
        size_ -= chunks_.back().size();
        chunks_.pop_back();
    }
}

void Outbox::clear() {
    chunks_.clear();
    gathered_ = 0;
    sent_ = 0;
    size_ = 0;
}

} // namespace Ostrel
