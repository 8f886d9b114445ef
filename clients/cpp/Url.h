// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Ostrel::Client {

/// Where a service listens: a TCP address or a Unix domain socket.
///
/// Understood are "ws://HOST:PORT/PATH", the same with "http://", "HOST:PORT", and
/// "unix:PATH". HOST is a name, an IPv4 address, or an IPv6 address in brackets. A port
/// that is left out is 8480, a path that is left out is "/rpc/TV".
class Url {
public:
    static constexpr const char* defaultText = "ws://127.0.0.1:8480/rpc/TV";

    /// @throws SettingsError  names the text and what is wrong with it
    explicit Url(std::string_view text);

    /// Returns the address of another server of the same host, for example "Simulator".
    Url withServer(std::string_view name) const;

    bool isUnix() const { return !socketPath_.empty(); }
    const std::string& getSocketPath() const { return socketPath_; } ///< empty for TCP
    const std::string& getHost() const { return host_; } ///< without brackets
    std::uint16_t getPort() const { return port_; }
    const std::string& getTarget() const { return target_; } ///< the path to ask for

    /// Returns what stands in the Host header: "localhost" for a Unix socket.
    std::string getAuthority() const;

    /// Returns the address for people: "127.0.0.1:8480" or "unix:/run/ostrel.sock".
    std::string getAddress() const;

private:
    void parseAuthority(std::string_view authority);

    std::string text_; ///< for error texts
    std::string socketPath_;
    std::string host_;
    std::uint16_t port_ = 8480;
    std::string target_ = "/rpc/TV";
};

} // namespace Ostrel::Client
