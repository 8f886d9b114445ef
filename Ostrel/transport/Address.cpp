#include "Ostrel/transport/Address.h"

#include "Ostrel/transport/StartError.h"

#include <boost/asio/ip/address.hpp>

#include <charconv>

namespace Ostrel {

namespace {

[[noreturn]] void refuse(const std::string& text, const std::string& why) {
    throw StartError("cannot listen on \"" + text + "\": " + why +
                     "; give 127.0.0.1:PORT, [::1]:PORT or unix:PATH");
}

} // namespace

Address Address::parse(const std::string& text) {
    Address result;
    if (text.starts_with("unix:")) {
        result.path = text.substr(5);
        if (result.path.empty())
            refuse(text, "the path is missing");
        return result;
    }

    const auto colon = text.rfind(':');
    if (colon == std::string::npos)
        refuse(text, "the port is missing");
    const auto* first = text.data() + colon + 1;
    const auto* last = text.data() + text.size();
    const auto [end, failure] = std::from_chars(first, last, result.port);
    if (failure != std::errc() || end != last)
        refuse(text, "the port is not a number from 0 to 65535");

    auto host = text.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    else if (host.find(':') != std::string::npos)
        refuse(text, "an IPv6 address needs brackets");
    if (host == "localhost")
        host = "127.0.0.1";

    boost::system::error_code noAddress;
    const auto address = boost::asio::ip::make_address(host, noAddress);
    if (noAddress)
        refuse(text, "the host is not an IP address");
    result.host = address.to_string();
    return result;
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

bool isLoopbackHost(std::string_view host) {
    if (host == "localhost")
        return true;
    boost::system::error_code noAddress;
    const auto address = boost::asio::ip::make_address(host, noAddress);
    return !noAddress && address.is_loopback();
}

} // namespace Ostrel
