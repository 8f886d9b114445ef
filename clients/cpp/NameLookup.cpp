#include "clients/cpp/NameLookup.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>

#include <csignal>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>

namespace Ostrel::Client {

namespace {

namespace asio = boost::asio;

NameLookup::Answer lookUp(const std::string& host, const std::string& port) {
    NameLookup::Answer answer;
    try {
        asio::io_context unused;
        asio::ip::tcp::resolver resolver(unused);
        for (const auto& entry : resolver.resolve(host, port, answer.error))
            answer.endpoints.emplace_back(entry.endpoint());
    } catch (const std::bad_alloc&) {
        answer.error = asio::error::no_memory;
    }
    return answer;
}

/// Signals are for the program's own threads: a thread takes the mask of the one that starts it.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

} // namespace

struct NameLookup::Shared {
    std::mutex mutex;
    asio::io_context* io; ///< null once nobody waits; guarded by the mutex
    std::optional<Answer> answer; ///< likewise

    void tell(Answer found) {
        const std::lock_guard lock(mutex);
        answer = std::move(found);
        if (io != nullptr)
            asio::post(*io, [] {});
    }
};

NameLookup::NameLookup(const std::string& host, const std::string& port, asio::io_context& io)
    : shared_(std::make_shared<Shared>()) {
    shared_->io = &io;
    const SignalsBlocked blocked;
    try {
        std::thread([shared = shared_, host, port] { shared->tell(lookUp(host, port)); }).detach();
    } catch (const std::system_error& error) { // no thread is to be had
        shared_->answer = Answer{{error.code().value(), boost::system::system_category()}, {}};
    }
}

NameLookup::~NameLookup() {
    const std::lock_guard lock(shared_->mutex);
    shared_->io = nullptr;
}

bool NameLookup::isDone() const {
    const std::lock_guard lock(shared_->mutex);
    return shared_->answer.has_value();
}

const NameLookup::Answer& NameLookup::getAnswer() const {
    const std::lock_guard lock(shared_->mutex);
    return *shared_->answer;
}

} // namespace Ostrel::Client
