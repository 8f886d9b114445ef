#pragma once

namespace Ostrel::Client {

/// One descriptor to wait on for two things: input of a socket, and what has been taken in already.
class Readiness {
public:
    /// @throws Error
    Readiness();
    ~Readiness();

    Readiness(const Readiness&) = delete;
    Readiness& operator=(const Readiness&) = delete;

    /// Returns what to wait on for reading. It stays the same whatever is watched.
    int getDescriptor() const { return epoll_; }

    /// Watches a socket's input, until the socket is closed.
    ///
    /// @throws Error
    void watch(int socket);

    /// Says whether something is there that no socket shows.
    void set(bool isReady);

private:
    const int epoll_;
    const int event_; ///< readable while isReady_
    bool isReady_ = false;
};

} // namespace Ostrel::Client
