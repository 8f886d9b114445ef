#include "Ostrel/transport/Address.h"

#include "Ostrel/text/Printable.h"
#include "Ostrel/transport/StartError.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>

namespace Ostrel {

namespace {

/// Refuses a text; says what is wrong and, where that can be guessed, what was meant.
[[noreturn]] void refuse(const std::string& text, const std::string& why,
                         const std::string& meant = "127.0.0.1:PORT, [::1]:PORT or unix:PATH") {
    throw StartError("cannot listen on \"" + excerpt(text) + "\": " + why + "; write " + meant);
}

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

boost::asio::ip::address readHost(const std::string& host, boost::system::error_code& noAddress) {
    return boost::asio::ip::make_address(host == "localhost" ? "127.0.0.1" : host, noAddress);
}

bool isHost(const std::string& host) {
    boost::system::error_code noAddress;
    readHost(host, noAddress);
    return !noAddress;
}

/// One of the whole numbers that the system knows of a socket; -1 if it knows nothing.
int ask(int socket, int option) {
    int value = -1;
    socklen_t size = sizeof value;
    return ::getsockopt(socket, SOL_SOCKET, option, &value, &size) == 0 ? value : -1;
}

/// The path of a Unix domain socket; of an abstract name, which begins with a zero, as it is written.
std::string pathOf(const sockaddr_storage& storage, std::size_t size) {
    const auto* bytes = reinterpret_cast<const char*>(&storage) + offsetof(sockaddr_un, sun_path);
    size -= std::min(size, offsetof(sockaddr_un, sun_path));
    if (size == 0 || bytes[0] != '\0')
        return {bytes, ::strnlen(bytes, size)};
    return '@' + std::string(bytes + 1, size - 1);
}

/// Refuses what is no HOST:PORT at all.
void refuseOtherForms(const std::string& text) {
    const auto scheme = text.find("://");
    if (scheme != std::string::npos)
        refuse(text, "it is a URL", text.substr(scheme + 3, text.find('/', scheme + 3) - scheme - 3));
    if (text.find('/') != std::string::npos)
        refuse(text, "it is a path", "unix:" + text);
    if (isNumber(text))
        refuse(text, "the host is missing", "127.0.0.1:" + text);
    if (text.starts_with('*'))
        refuse(text, "* is no address", "0.0.0.0" + (text.size() > 1 ? text.substr(1) : ":PORT"));
    if (text.starts_with(':') && isNumber(text.substr(1)))
        refuse(text, "the host is missing", "127.0.0.1" + text);
    if (text.ends_with(']'))
        refuse(text, "the port is missing", text + ":PORT");
    const auto colon = text.rfind(':');
    if (colon == std::string::npos && isHost(text))
        refuse(text, "the port is missing", text + ":PORT");
    if (colon != std::string::npos && text.find(':') != colon && isHost(text)) {
        const auto host = text.substr(0, colon);
        refuse(text, "an IPv6 address needs brackets",
               isHost(host) ? '[' + host + ']' + text.substr(colon) : '[' + text + "]:PORT");
    }
}

} // namespace

Address Address::parse(const std::string& text) {
    Address result;
    if (text.starts_with("unix:")) {
        result.path = text.substr(5);
        if (result.path.empty())
            refuse(text, "the path is missing", "unix:PATH");
        return result;
    }

    refuseOtherForms(text);
    const auto colon = text.rfind(':');
    if (colon == std::string::npos)
        refuse(text, "the port is missing");
    const auto port = text.substr(colon + 1);
    auto host = text.substr(0, colon);
    const auto* last = port.data() + port.size();
    const auto [end, failure] = std::from_chars(port.data(), last, result.port);
    if (failure != std::errc() || end != last)
        refuse(text, "the port is not a number from 0 to 65535", host + ":PORT");

    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    else if (host.find(':') != std::string::npos)
        refuse(text, "an IPv6 address needs brackets", '[' + host + "]:" + port);

    boost::system::error_code noAddress;
    const auto address = readHost(host, noAddress);
    if (noAddress)
        refuse(text, "the host is not an IP address");
    result.host = address.to_string();
    return result;
}

Address Address::ofSocket(int socket) {
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;
    if (ask(socket, SO_TYPE) != SOCK_STREAM || ask(socket, SO_ACCEPTCONN) != 1 ||
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&storage), &size) != 0)
        throw StartError("it is no stream socket that listens");
    if (storage.ss_family == AF_UNIX)
        return {.host = {}, .path = pathOf(storage, size)};
    if (storage.ss_family != AF_INET && storage.ss_family != AF_INET6)
        throw StartError("it has no IP address and is no Unix domain socket");
    boost::asio::ip::tcp::endpoint bound;
    std::memcpy(bound.data(), &storage, std::min(std::size_t(size), bound.capacity()));
    return {.host = bound.address().to_string(), .port = bound.port(), .path = {}};
}

bool Address::isLoopback() const {
    return isUnix() || isLoopbackHost(host);
}

std::string Address::toString() const {
    if (isUnix())
        return "unix:" + path;
    const bool v6 = host.find(':') != std::string::npos;
    return (v6 ? '[' + host + ']' : host) + ':' + std::to_string(port);
}

bool Address::isLoopbackHost(std::string_view host) {
    if (host == "localhost")
        return true;
    boost::system::error_code noAddress;
    const auto address = boost::asio::ip::make_address(host, noAddress);
    return !noAddress && address.is_loopback();
}

} // namespace Ostrel
