#include "Ostrel/transport/Admission.h"

#include "Ostrel/text/Printable.h"
#include "Ostrel/transport/Address.h"
#include "Ostrel/transport/StartError.h"

#include <boost/asio/ip/address_v6.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <utility>

#include <sys/stat.h>

namespace Ostrel {

namespace {

std::string lower(std::string_view text) {
    std::string result(text);
    for (auto& byte : result)
        byte = char(std::tolower(static_cast<unsigned char>(byte)));
    return result;
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return lower(left) == lower(right);
}

/// Whether it can be the port of a server, 1 to 65535.
bool isPort(std::string_view text) {
    std::uint16_t port = 0;
    const auto* last = text.data() + text.size();
    const auto [end, failure] = std::from_chars(text.data(), last, port);
    return failure == std::errc() && end == last && port != 0;
}

/// An authority's host, without port and brackets; empty when it is no authority. The port may be
/// missing behind its colon.
std::string hostOf(std::string_view authority) {
    const bool bracketed = authority.starts_with('[');
    const auto end = bracketed ? authority.find(']') : authority.find(':');
    if (bracketed && end == std::string_view::npos)
        return {};
    const auto host = bracketed ? authority.substr(1, end - 1) : authority.substr(0, end);
    const auto rest = authority.substr(std::min(authority.size(), host.size() + (bracketed ? 2 : 0)));
    if (!rest.empty() && rest != ":" && !(rest.starts_with(':') && isPort(rest.substr(1))))
        return {};
    return lower(host);
}

std::string_view withoutSuffix(std::string_view text, std::string_view suffix) {
    return text.ends_with(suffix) ? text.substr(0, text.size() - suffix.size()) : text;
}

bool isBase64Url(char byte) {
    return std::isalnum(static_cast<unsigned char>(byte)) || byte == '-' || byte == '_';
}

/// What stands where an address of the web has its host and port.
std::string_view authorityOf(std::string_view text) {
    const auto scheme = text.find("://");
    if (scheme != std::string_view::npos)
        text.remove_prefix(scheme + 3);
    text.remove_prefix(std::min(text.find_first_not_of('/'), text.size()));
    text = text.substr(0, text.find_first_of("/?#"));
    return text.substr(text.find('@') + 1); // all of it when there is none
}

/// Whether it can be a host's name, which is ASCII on the wire, or an address without brackets.
bool isHostName(std::string_view host) {
    boost::system::error_code noAddress;
    boost::asio::ip::make_address_v6(std::string(host), noAddress);
    return !noAddress || (!host.empty() && std::all_of(host.begin(), host.end(), [](unsigned char byte) {
        return byte < 0x80 && (std::isalnum(byte) || byte == '.' || byte == '-' || byte == '_');
    }));
}

/// Whether a service manager keeps the file for this process. One user more than the owner may then read
/// it, and what that one may shows in the place of what the group may.
bool isCredential(const std::string& path) {
    const char* folder = std::getenv("CREDENTIALS_DIRECTORY");
    return folder != nullptr && *folder != '\0' && path.starts_with(std::string(folder) + '/');
}

/// Whether it is HOST or HOST:PORT.
bool isAuthority(std::string_view text) {
    const auto host = hostOf(text);
    const bool bracketed = text.starts_with('[');
    return isHostName(host) && bracketed == (host.find(':') != std::string::npos) && !text.ends_with(':');
}

} // namespace

Admission::Admission(std::vector<std::string> origins, std::vector<std::string> hosts, std::string token)
    : origins_(std::move(origins)), hosts_(std::move(hosts)), token_(std::move(token)) {}

bool Admission::acceptsHost(std::string_view host, std::string_view localAddress) const {
    const auto name = hostOf(host);
    if (name.empty())
        return false;
    return Address::isLoopbackHost(name) || name == localAddress ||
           std::any_of(hosts_.begin(), hosts_.end(), [&](const auto& allowed) { return allowed == name; });
}

Admission::Origin Admission::judge(std::string_view origin, std::string_view host) const {
    for (const auto& [scheme, defaultPort] : {std::pair("http://", ":80"), std::pair("https://", ":443")}) {
        if (!origin.starts_with(scheme))
            continue;
        const auto authority = origin.substr(std::string_view(scheme).size());
        const auto name = hostOf(authority);
        if (name.empty())
            return Origin::Refused;
        if (equalIgnoringCase(withoutSuffix(authority, defaultPort), withoutSuffix(host, defaultPort)))
            return Origin::Own;
        if (Address::isLoopbackHost(name))
            return Origin::Other;
    }
    return std::any_of(origins_.begin(), origins_.end(),
                       [&](const auto& allowed) { return equalIgnoringCase(allowed, origin); })
               ? Origin::Other
               : Origin::Refused;
}

bool Admission::acceptsToken(std::string_view token) const {
    // Every byte of the right token is looked at, whatever the offer is like.
    unsigned difference = token.size() == token_.size() ? 0 : 1;
    for (std::size_t i = 0; i < token_.size(); ++i)
        difference |= unsigned(static_cast<unsigned char>(token_[i]) ^
                               static_cast<unsigned char>(i < token.size() ? token[i] : '\0'));
    return difference == 0;
}

std::string Admission::parseOrigin(const std::string& text) {
    auto lowered = lower(text);
    if (lowered == "null")
        return lowered;
    const auto authority = lower(authorityOf(text));
    const bool isPlain = lowered.starts_with("http://");
    const auto right = (isPlain ? "http://" : "https://") + authority;
    if (lowered == right && isAuthority(authority))
        return std::string(withoutSuffix(right, isPlain ? ":80" : ":443")); // as browsers leave it out
    throw StartError(
        '"' + excerpt(text) + "\" is no web origin; write " +
        (isAuthority(authority) ? right : "http://HOST[:PORT] or https://HOST[:PORT], once for each"));
}

std::string Admission::parseHost(const std::string& text) {
    auto bare = lower(text);
    if (isHostName(bare))
        return bare;
    auto host = hostOf(authorityOf(text));
    if (bare == '[' + host + ']' && isHostName(host))
        return host;
    throw StartError('"' + excerpt(text) + "\" is no host's name; write " +
                     (isHostName(host) ? host : "it without scheme, port and path, such as tv.example"));
}

std::string Admission::readTokenFile(const std::string& path) {
    struct stat status {};
    std::ifstream file(path);
    if (!file || ::stat(path.c_str(), &status) != 0)
        throw StartError("cannot read the token file " + path);
    if ((status.st_mode & (isCredential(path) ? 007 : 077)) != 0)
        throw StartError("the token file " + path + " can be read by others; run chmod 600 on it");

    std::string token;
    std::string more;
    std::getline(file, token);
    if (token.size() < 32 || !std::all_of(token.begin(), token.end(), isBase64Url) ||
        std::getline(file, more))
        throw StartError("the token file " + path +
                         " does not hold one line of at least 32 characters A-Z a-z 0-9 - _");
    return token;
}

} // namespace Ostrel
