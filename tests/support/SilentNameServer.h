#pragma once

/// Leaves the look-up of one name, SilentNameServer::host, without an answer while it lives.
///
/// The test program has its own getaddrinfo(); all other names are the system's. One at a time.
class SilentNameServer {
public:
    static constexpr const char* host = "silent.test";

    SilentNameServer();

    /// Lets the look-ups end, in vain, and waits for that.
    ~SilentNameServer();

    SilentNameServer(const SilentNameServer&) = delete;
    SilentNameServer& operator=(const SilentNameServer&) = delete;

    /// Returns how many look-ups wait now.
    int getWaiting() const;
};
