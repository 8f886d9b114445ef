#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <deque>
#include <functional>
#include <utility>
#include <vector>

namespace Ostrel {

/// Bounds the text of the messages that all clients together have under way: that are being
/// read, once a message has more than a little text, and that are being carried out.
///
/// Who wants to read on while there is no room stands in line, in the order of asking. But when
/// it is messages half read that hold the room, and hardly anything is being carried out, the
/// first in line reads on nevertheless, to the end of its message or to the next tick(), where
/// some more may: so clients who send slowly cannot block others, and still the messages end one after another.
///
/// On one thread, but for what is said of Work.
class MessageBudget {
public:
    class Reader;
    class Work;

    /// Of each message so much is read without asking, and so much more at a time.
    static constexpr std::size_t step = 64u << 10;

    /// @param limit    bytes for all messages together
    /// @param message  bytes that one message may have
    /// @param favours  how many may read on at a time though there is no room
    MessageBudget(std::size_t limit, std::size_t message, std::size_t favours = 32)
        : limit_(limit), message_(message), favours_(favours) {
        favoured_.reserve(favours_);
    }

    /// Lets those in line read on for whom there is room.
    void serve() noexcept;

    /// To be called now and then while somebody is in line.
    void tick();

    /// Bytes of all that counts.
    std::size_t getTotal() const { return reading_ + working_; }

    /// The most that getTotal() has been since this was last asked.
    std::size_t takePeak() { return std::exchange(peak_, getTotal()); }

private:
    bool hasRoom() const { return getTotal() < limit_; }
    void noteTotal() { peak_ = std::max(peak_, getTotal()); }

    const std::size_t limit_;
    const std::size_t message_;
    const std::size_t favours_;
    std::size_t reading_ = 0;
    std::atomic<std::size_t> working_ = 0;
    std::size_t peak_ = 0;
    std::deque<Reader*> line_;
    /// Who read on though there is no room, until the next tick; it never grows past its capacity.
    std::vector<Reader*> favoured_;
};

/// One client's part: the message that is being read. To be finished before it is destroyed, which
/// may happen on any thread.
class MessageBudget::Reader {
public:
    /// @param goOn  called when a mayRead() that was refused will be granted; must not throw
    Reader(MessageBudget& budget, std::function<void()> goOn) : budget_(budget), goOn_(std::move(goOn)) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// Whether the client may read on of a message of which it has so many bytes. If not, it
    /// stands in line from now on.
    bool mayRead(std::size_t size);

    /// The message is not being read any more.
    void finish() noexcept;

private:
    friend class MessageBudget;

    void hold(std::size_t size) noexcept;

    MessageBudget& budget_;
    const std::function<void()> goOn_;
    std::size_t size_ = 0; ///< bytes read
    std::size_t held_ = 0; ///< bytes that count
    bool inLine_ = false;
};

/// Counts a text that is being carried out. It may be destroyed on any thread; serve() is then
/// due.
class MessageBudget::Work {
public:
    Work(MessageBudget& budget, std::size_t size) : budget_(budget), size_(size) {
        budget_.working_ += size;
        budget_.noteTotal();
    }
    ~Work() { end(); }

    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    /// It is not being carried out any more.
    void end() noexcept { budget_.working_ -= size_.exchange(0); }

private:
    MessageBudget& budget_;
    std::atomic<std::size_t> size_;
};

} // namespace Ostrel
