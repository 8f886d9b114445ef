#pragma once

#include <boost/asio/buffer.hpp>

#include <cstddef>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Ostrel {

/// The bytes that wait for one client, in the order in which they go out.
///
/// Texts are kept as they came, so that one gathered write sends all that waits without
/// copying it.
class Outbox {
public:
    /// Puts a chunk at the end: a head, then one of the two bodies.
    void push(std::string head, std::string body);
    void push(std::string head, std::shared_ptr<const std::string> body);

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

private:
    struct Chunk {
        std::string head;
        std::string body;
        std::shared_ptr<const std::string> shared; ///< the body, unless null

        std::size_t size() const { return head.size() + (shared ? shared->size() : body.size()); }
    };

    void add(Chunk chunk);

    std::deque<Chunk> chunks_;
    std::size_t sent_ = 0; ///< bytes of the first chunk that are gone
    std::size_t gathered_ = 0; ///< chunks that a write under way refers to
    std::size_t size_ = 0;
    std::vector<boost::asio::const_buffer> buffers_;
};

} // namespace Ostrel
