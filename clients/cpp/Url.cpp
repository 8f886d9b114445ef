#include "clients/cpp/Url.h"

#include "clients/cpp/Errors.h"

#include <algorithm>
#include <charconv>

#include <sys/un.h>

namespace Ostrel::Client {

namespace {

[[noreturn]] void refuse(const std::string& text, const char* why) {
    throw SettingsError("\"" + text + "\" is no address of a service: " + why);
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix))
        return false;
    text.remove_prefix(prefix.size());
    return true;
}

// The text ends up in a request line and a header.
bool isGraphic(char c) {
    return c > ' ' && c < '\x7f';
}

std::uint16_t parsePort(std::string_view digits, const std::string& text) {
    unsigned port = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (error != std::errc() || end != digits.data() + digits.size() || port == 0 || port > 65535)
        refuse(text, "the port is a number from 1 to 65535");
    return static_cast<std::uint16_t>(port);
}

} // namespace

Url::Url(std::string_view text) : text_(text) {
    if (takePrefix(text, "unix:")) {
        if (text.empty() || text.find('\0') != std::string_view::npos)
            refuse(text_, "unix: is followed by the path of a socket");
        if (text.size() >= sizeof(sockaddr_un::sun_path))
            refuse(text_, "the path of a socket has at most 107 bytes");
        socketPath_ = text;
        return;
    }
    if (text.starts_with("wss://") || text.starts_with("https://"))
        refuse(text_, "there is no TLS here; go through an SSH tunnel");
    if (!takePrefix(text, "ws://") && !takePrefix(text, "http://") &&
        text.find("://") != std::string_view::npos)
        refuse(text_, "it begins with ws://, http:// or unix:, or is HOST:PORT");
    if (!std::all_of(text.begin(), text.end(), isGraphic))
        refuse(text_, "it holds blanks, control characters or letters beyond ASCII");
    if (text.find_first_of("?#@") != std::string_view::npos)
        refuse(text_, "it has no user, query or fragment; a token is read from a file");

    const auto slash = std::min(text.find('/'), text.size());
    if (const auto target = text.substr(slash); target.size() > 1)
        target_ = target;
    parseAuthority(text.substr(0, slash));
}

void Url::parseAuthority(std::string_view authority) {
    std::string_view rest;
    if (takePrefix(authority, "[")) {
        const auto bracket = authority.find(']');
        if (bracket == std::string_view::npos)
            refuse(text_, "the closing bracket of the IPv6 address is missing");
        host_ = authority.substr(0, bracket);
        rest = authority.substr(bracket + 1);
    } else {
        const auto colon = std::min(authority.find(':'), authority.size());
        host_ = authority.substr(0, colon);
        rest = authority.substr(colon);
        if (rest.find(':', 1) != std::string_view::npos)
            refuse(text_, "an IPv6 address stands in brackets, [::1]:8480");
    }
    if (host_.empty())
        refuse(text_, "the host is missing");
    if (takePrefix(rest, ":"))
        port_ = parsePort(rest, text_);
    else if (!rest.empty())
        refuse(text_, "a colon and the port follow the bracket");
}

Url Url::withServer(std::string_view name) const {
    auto other = *this;
    other.target_.replace(other.target_.rfind('/') + 1, std::string::npos, name);
    return other;
}

std::string Url::getAuthority() const {
    if (isUnix())
        return "localhost";
    const bool isV6 = host_.find(':') != std::string::npos;
    return (isV6 ? "[" + host_ + "]" : host_) + ":" + std::to_string(port_);
}

std::string Url::getAddress() const {
    return isUnix() ? "unix:" + socketPath_ : getAuthority();
}

} // namespace Ostrel::Client
