#include "Ostrel/transport/Traffic.h"

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/text/Utf8.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Ostrel {

/// All of a message but its texts, which stand one behind the other.
struct Traffic::Entry {
    std::int64_t time;
    std::uint64_t connection;
    std::uint64_t micros;
    std::uint64_t bytes;
    std::uint64_t begin; ///< of its texts
    std::array<std::uint32_t, 4> sizes; ///< client, method, id, text
    Direction direction;
};

// The memory has no initial values, so that no page of it is touched.
Traffic::Traffic(const Limits& limits)
    : limits_(limits), room_(limits.bytes - limits.messages * entrySize),
      entries_(std::make_unique_for_overwrite<Entry[]>(limits.messages)),
      texts_(std::make_unique_for_overwrite<char[]>(room_)) {
    static_assert(sizeof(Entry) <= entrySize);
}

Traffic::~Traffic() = default;

std::uint64_t Traffic::getEnd() const {
    const std::lock_guard lock(mutex_);
    return end_;
}

/// Bytes of texts that are kept. With the lock held.
std::size_t Traffic::getUsed() const {
    return begin_ == end_ ? 0 : written_ - entries_[begin_ % limits_.messages].begin;
}

void Traffic::passed(const Message& message) noexcept {
    if (message.direction == Direction::Reply && message.text.empty())
        return;
    const auto id = message.id.size() <= longestText ? message.id : std::string_view();
    const auto client = message.peer != nullptr ? std::string_view(message.peer->client) : std::string_view();
    const std::array texts{client, cutText(message.method, longestText), id,
                           cutText(message.text, longestText)};
    Entry entry{.time = message.time.time_since_epoch().count(),
                .connection = message.peer != nullptr ? message.peer->connection : 0,
                .micros = std::uint64_t(message.took.count()),
                .bytes = message.text.size(),
                .begin = 0,
                .sizes = {},
                .direction = message.direction};
    std::size_t size = 0;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        entry.sizes[i] = std::uint32_t(texts[i].size());
        size += texts[i].size();
    }
    {
        const std::lock_guard lock(mutex_);
        while (begin_ != end_ && (end_ - begin_ == limits_.messages || getUsed() + size > room_))
            ++begin_;
        entry.begin = written_;
        entries_[end_++ % limits_.messages] = entry;
        written_ += size;
        auto place = std::size_t(entry.begin % room_);
        for (const auto& text : texts)
            put(place, text);
    }
    if (bell_)
        bell_();
}

/// Copies a text to a place, which is set behind it. With the lock held.
void Traffic::put(std::size_t& place, std::string_view text) noexcept {
    if (text.empty())
        return; // it may have no address
    const auto first = std::min(text.size(), room_ - place);
    std::memcpy(texts_.get() + place, text.data(), first);
    place += first;
    if (place < room_)
        return;
    place = text.size() - first; // goes on at the begin
    std::memcpy(texts_.get(), text.data() + first, place);
}

/// With the lock held.
void Traffic::take(std::uint64_t& at, std::size_t size, std::string& text) const {
    text.clear();
    text.reserve(size);
    const auto place = at % room_;
    const auto first = std::min<std::size_t>(size, room_ - place);
    text.append(texts_.get() + place, first).append(texts_.get(), size - first);
    at += size;
}

bool Traffic::read(std::uint64_t& number, TrafficMessage& message) const {
    const std::lock_guard lock(mutex_);
    const auto found = std::max(number, begin_);
    if (found >= end_)
        return false;
    const auto& entry = entries_[found % limits_.messages];
    message.direction = entry.direction;
    message.time = entry.time;
    message.connection = entry.connection;
    message.micros = entry.micros;
    message.bytes = entry.bytes;
    auto at = entry.begin;
    std::size_t part = 0;
    for (auto* text : {&message.client, &message.method, &message.id, &message.text})
        take(at, entry.sizes[part++], *text);
    number = found + 1;
    return true;
}

} // namespace Ostrel
