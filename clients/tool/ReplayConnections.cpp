#include "clients/tool/ReplayConnections.h"

#include "clients/cpp/Errors.h"

#include <algorithm>
#include <thread>

namespace Ostrel::Client::Tool {

namespace {

constexpr std::size_t mostOpen = 64; ///< of the 256 that a service lets in
constexpr std::chrono::seconds attention{1}; ///< between two looks at all of them

/// Whether it is a reply and no notification: that has a method, and its text begins so.
bool isReply(const std::string& text) {
    return !text.starts_with(R"({"jsonrpc":"2.0","method":)");
}

} // namespace

MessageSocket& ReplayConnections::get(std::uint64_t connection) {
    attend();
    auto found = open_.find(connection);
    if (found != open_.end() && found->second.socket->getLoss())
        found = open_.erase(found);
    if (found == open_.end() || found->first != connection) {
        makeRoom();
        found = open_.emplace(connection, Open{std::make_unique<MessageSocket>(url_, options_), {}}).first;
    }
    found->second.used = Clock::now();
    return *found->second.socket;
}

/// Closes the one that was not used for longest.
void ReplayConnections::makeRoom() {
    if (open_.size() < mostOpen)
        return;
    open_.erase(std::min_element(open_.begin(), open_.end(), [](const auto& left, const auto& right) {
        return left.second.used < right.second.used;
    }));
}

ReplayConnections::Answer ReplayConnections::request(std::uint64_t connection, const std::string& text) {
    const auto deadline = MessageSocket::deadlineAfter(options_.timeout);
    try {
        auto& socket = get(connection);
        socket.send(text, deadline);
        while (auto message = socket.receive(deadline))
            if (isReply(*message))
                return {std::move(*message), {}};
    } catch (const ConnectionLost& lost) {
        return {{}, lost.what()};
    }
    open_.erase(connection); // it would come as the next one's
    return {{}, "no reply in time"};
}

void ReplayConnections::notify(std::uint64_t connection, const std::string& text) {
    try {
        get(connection).send(text, MessageSocket::deadlineAfter(options_.timeout));
    } catch (const ConnectionLost&) {
        // Nobody waits for anything; the next one connects anew.
    }
}

/// Takes what has come unasked, and answers pings.
void ReplayConnections::attend() {
    const auto now = Clock::now();
    if (now - attended_ < attention)
        return;
    attended_ = now;
    for (auto& [connection, open] : open_)
        while (open.socket->takeReady()) {
        }
}

void ReplayConnections::waitUntil(Clock::time_point end) {
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        attend();
        const auto next = std::min(end, now + attention);
        const auto standing = std::find_if(open_.begin(), open_.end(),
                                           [](const auto& entry) { return !entry.second.socket->getLoss(); });
        if (standing == open_.end()) {
            std::this_thread::sleep_until(next);
            continue;
        }
        try {
            standing->second.socket->receive(next);
        } catch (const ConnectionLost&) {
            // Its next message connects anew.
        }
    }
}

} // namespace Ostrel::Client::Tool
