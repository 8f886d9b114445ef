// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

namespace Ostrel::Client {

/// What every failure of this library is. The text is one line for people.
class Error : public std::runtime_error {
public:
    /// Control characters become blanks: some texts are the service's own.
    explicit Error(std::string text);
};

/// A text is not the address of a service, or a file holds no token.
class SettingsError : public Error {
public:
    using Error::Error;
};

/// No connection came about.
class ConnectError : public Error {
public:
    /// What would help.
    enum class Cause {
        Unreachable, ///< nobody answers at the address, or nobody who speaks WebSocket
        TokenRefused, ///< the service wants a token, or another one
        Refused, ///< something answers there in HTTP and says no
    };

    ConnectError(Cause cause, const std::string& text);

    Cause getCause() const { return cause_; }

private:
    Cause cause_;
};

/// The connection ended while something was still expected from it.
class ConnectionLost : public Error {
public:
    using Error::Error;
};

/// The reply did not come in time. It is dropped when it comes later; the client stays usable.
class TimedOut : public Error {
public:
    using Error::Error;
};

/// A reply came, but not one that this library understands.
class BadReply : public Error {
public:
    using Error::Error;
};

/// A signal arrived, see ClientOptions::stopSignals.
class Interrupted : public Error {
public:
    explicit Interrupted(int signal);

    int getSignal() const { return signal_; } ///< for example SIGINT

private:
    int signal_;
};

/// The service refused a call: its error reply, member by member.
class ServiceError : public Error {
public:
    ServiceError(std::int64_t code, const std::string& message);

    std::int64_t code; ///< the JSON-RPC error code, for example -32000
    std::optional<std::int64_t> returnCode; ///< the module's result code, where it gave one
    std::string name; ///< "InvalidParameter", "DecodeError"; may be empty
    std::string member; ///< the member that did not decode; may be empty
};

} // namespace Ostrel::Client
