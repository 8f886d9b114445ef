#pragma once

#include <boost/asio/buffer.hpp>

#include <cstddef>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Ostrel {

class RPCNotification;

/// The bytes that wait for one client, in the order in which they go out, and what keeping them
/// costs.
///
/// Long texts are kept as they came, so that one gathered write sends them without copying;
/// short ones are put together, since each alone would cost more than it holds.
class Outbox {
public:
    /// Bytes of memory that keeping what waits costs.
    struct Cost {
        std::size_t answers = 0; ///< for all that the client itself has brought about
        std::size_t notifications = 0; ///< for queueing them, without their texts
        std::size_t texts = 0; ///< of the notifications, which other clients may share

        /// What nobody else shares.
        std::size_t own() const { return answers + notifications; }
        std::size_t all() const { return own() + texts; }
    };

    /// Bytes of one write, so that a round of all for whom much waits is short.
    static constexpr std::size_t mostAtOnce = 64u << 10;

    /// Pieces of one write, as many as the system takes.
    static constexpr std::size_t mostBuffers = 64;

    /// Puts an answer at the end.
    void push(std::string head, std::string body);

    /// Puts a notification at the end.
    void push(std::string head, std::shared_ptr<const RPCNotification> notification);

    /// Takes a notification away, if nothing stands behind it and it has not begun to go out.
    void withdraw(const RPCNotification& notification);

    /// What the next write may send. It stays valid, whatever is pushed or dropped, until
    /// consume() or clear().
    std::span<const boost::asio::const_buffer> gather();

    /// Takes bytes away that were sent.
    void consume(std::size_t size);

    /// Takes away what was neither gathered nor partly sent: without the end of a chunk the
    /// client could make no sense of what follows.
    void dropUnsent();

    void clear();

    /// Bytes that wait.
    std::size_t size() const { return size_; }

    const Cost& getCost() const { return cost_; }

private:
    struct Chunk {
        std::string head;
        std::shared_ptr<const std::string> body; ///< null when all is in the head
        std::size_t textCost = 0; ///< of a notification; 0 for an answer

        std::size_t size() const { return head.size() + (body ? body->size() : 0); }
        Cost cost() const;
    };

    bool takesMore(std::size_t size) const;
    void add(Chunk chunk);
    void changeCost(const Cost& before, const Cost& after);
    void dropLast();
    std::size_t kept() const;

    std::deque<Chunk> chunks_;
    std::size_t sent_ = 0; ///< bytes of the first chunk that are gone
    std::size_t gathered_ = 0; ///< chunks that a write under way refers to
    std::size_t size_ = 0;
    Cost cost_;
    std::vector<boost::asio::const_buffer> buffers_;
};

} // namespace Ostrel
