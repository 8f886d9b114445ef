// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ostrel {

/// Decides who is let in: which hosts a request may name, which pages may call, which token
/// it must carry.
///
/// Any thread may ask.
class OSTREL_API Admission {
public:
    /// Where a browser's page comes from, as its request says.
    enum class Origin {
        None, ///< no browser's request: it says nothing; judge() does not give it
        Own, ///< the page that this listener serves
        Other, ///< another page that may call
        Refused,
    };

    /// @param origins  further origins that may call, as parseOrigin() gives them
    /// @param hosts    further names that a Host header may have, as parseHost() gives them
    /// @param token    what every call must carry; empty when none is asked for
    Admission(std::vector<std::string> origins, std::vector<std::string> hosts, std::string token);

    /// Whether a Host header names this machine; this stops DNS rebinding.
    /// @param localAddress  the numeric address that the client has reached
    bool acceptsHost(std::string_view host, std::string_view localAddress) const;

    /// Where the page comes from whose request has an Origin header; an empty one is refused.
    /// @param host  the Host header
    Origin judge(std::string_view origin, std::string_view host) const;

    bool needsToken() const { return !token_.empty(); }

    /// Asks for another one from now on; not while others ask.
    void setToken(std::string token) { token_ = std::move(token); }

    /// Compares in constant time.
    bool acceptsToken(std::string_view token) const;

    /// Reads an origin, as browsers write it: "null", http://HOST[:PORT] or https://HOST[:PORT].
    /// @throws StartError  no browser sends such a one; says what to write instead
    static std::string parseOrigin(const std::string& text);

    /// Reads a host's name or address, without a port.
    /// @throws StartError  no Host header names such a one; says what to write instead
    static std::string parseHost(const std::string& text);

    /// Reads a token file: readable by its owner alone, one line of at least 32 characters of
    /// the base64url alphabet. One below $CREDENTIALS_DIRECTORY may be readable by the group.
    /// @throws StartError  it is not such a file
    static std::string readTokenFile(const std::string& path);

private:
    std::vector<std::string> origins_;
    std::vector<std::string> hosts_;
    std::string token_;
};

} // namespace Ostrel
