#include "simulator/TrafficRecord.h"

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/serialization/Serializer.h"
#include "Ostrel/transport/StartError.h"
#include "simulator/Message.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel {

namespace {

constexpr std::size_t pieceSize = 64u << 10; ///< bytes that are written together
constexpr int askAgain = 250; ///< milliseconds, whether a pipe's reader is still wanted

} // namespace

// No pipe's reader is waited for, neither here nor when its pipe is full.
TrafficRecord::TrafficRecord(const std::string& path, std::size_t bound)
    : path_(path), bound_(bound),
      descriptor_(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600)) {
    if (descriptor_ < 0)
        refuse(errno);
}

TrafficRecord::~TrafficRecord() {
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    wanted_.notify_one();
    if (thread_.joinable())
        thread_.join();
    ::close(descriptor_);
}

void TrafficRecord::begin() {
    struct stat file {};
    if (::fstat(descriptor_, &file) != 0)
        refuse(errno);
    if (S_ISREG(file.st_mode) && (::fchmod(descriptor_, 0600) != 0 || ::ftruncate(descriptor_, 0) != 0))
        refuse(errno);
    thread_ = std::thread([this] { run(); });
    pthread_setname_np(thread_.native_handle(), "record");
}

void TrafficRecord::refuse(int error) const {
    throw StartError("cannot write the record " + path_ + ": " + std::strerror(error) +
                     "; choose another with --record");
}

void TrafficRecord::passed(const Message& message) noexcept {
    if (hasEnded_ || (message.direction == Direction::Reply && message.text.empty()))
        return;
    try {
        keep(message);
    } catch (const std::exception&) { // there is no memory for it
        const std::lock_guard lock(mutex_);
        ++missed_;
    }
}

void TrafficRecord::keep(const Message& message) {
    const auto* peer = message.peer;
    std::deque<Item> one; // made without the lock
    one.push_back({{.direction = message.direction,
                    .time = message.time.time_since_epoch().count(),
                    .connection = peer != nullptr ? peer->connection : 0,
                    .client = peer != nullptr ? peer->client : std::string(),
                    .method = std::string(message.method),
                    .id = std::string(message.id),
                    .micros = std::uint64_t(message.took.count()),
                    .bytes = message.text.size(),
                    .text = std::string(message.text)},
                   0});
    auto& item = one.front();
    {
        const std::lock_guard lock(mutex_);
        if (cost_ > 0 && cost_ + item.getCost() > bound_) {
            ++missed_;
            return;
        }
        const auto cost = item.getCost();
        item.missed = missed_;
        waiting_.push_back(std::move(item));
        missed_ = 0;
        cost_ += cost;
    }
    wanted_.notify_one();
}

void TrafficRecord::run() {
    for (;;) {
        std::deque<Item> items;
        std::uint64_t missed = 0;
        {
            std::unique_lock lock(mutex_);
            wanted_.wait(lock, [this] { return !waiting_.empty() || isStopping_ || hasEnded_; });
            items.swap(waiting_);
            missed = missed_;
        }
        if (hasEnded_)
            return;
        if (items.empty()) {
            writeMissed(missed);
            return;
        }
        try {
            write(items);
        } catch (const std::exception&) {
            giveUp(ENOMEM);
        }
    }
}

void TrafficRecord::write(std::deque<Item>& items) {
    std::size_t done = 0;
    for (; !items.empty() && !hasEnded_; items.pop_front()) {
        auto& [message, missed] = items.front();
        done += items.front().getCost();
        Serializer line;
        line.beginObject("");
        writeMessage(message, missed, line);
        line.endObject("");
        lines_ += line.generate();
        lines_ += '\n';
        if (lines_.size() < pieceSize && items.size() > 1)
            continue;
        if (!flush())
            return;
        const std::lock_guard lock(mutex_);
        cost_ -= std::exchange(done, 0);
    }
}

/// What was left out behind the last message.
void TrafficRecord::writeMissed(std::uint64_t missed) {
    if (missed == 0)
        return;
    lines_ = "{\"missed\":" + std::to_string(missed) + "}\n";
    flush();
}

/// Writes the lines; false when the record has ended.
bool TrafficRecord::flush() {
    std::size_t written = 0;
    while (written < lines_.size()) {
        const auto size = ::write(descriptor_, lines_.data() + written, lines_.size() - written);
        if (size > 0) {
            written += std::size_t(size);
        } else if (size == 0 || (errno != EINTR && (errno != EAGAIN || !waitForReader()))) {
            const auto error = size == 0 ? ENOSPC : errno;
            const auto whole = lines_.rfind('\n', written == 0 ? 0 : written - 1);
            [[maybe_unused]] const auto ofFilesAlone =
                ::ftruncate(descriptor_, off_t(size_ + (whole == std::string::npos ? 0 : whole + 1)));
            giveUp(error);
            return false;
        }
    }
    size_ += written;
    lines_.clear();
    return true;
}

/// Waits until a pipe takes more; false when its reader has had time enough at the end.
bool TrafficRecord::waitForReader() {
    pollfd pipe{descriptor_, POLLOUT, 0};
    for (;;) {
        bool isLast = false;
        {
            const std::lock_guard lock(mutex_);
            isLast = isStopping_;
        }
        const auto left = ceil<std::chrono::milliseconds>(patience_).count();
        const auto begin = Clock::now();
        const bool takesMore = ::poll(&pipe, 1, isLast ? int(left) : askAgain) > 0;
        if (isLast)
            patience_ -= std::min(patience_, Clock::now() - begin);
        if (takesMore)
            return true;
        if (isLast) {
            errno = ETIMEDOUT;
            return false;
        }
    }
}

void TrafficRecord::giveUp(int error) {
    ostrelDebugPrint(DebugLevel::Warning, "Record", "Record", __LINE__, "the record %s ends: %s\n",
                     path_.c_str(), std::strerror(error));
    hasEnded_ = true;
    const std::lock_guard lock(mutex_);
    waiting_.clear();
}

} // namespace Ostrel
