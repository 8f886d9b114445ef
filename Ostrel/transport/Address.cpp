#include "Ostrel/transport/Address.h"

#include "Ostrel/text/Printable.h"
#include "Ostrel/transport/StartError.h"

#include <boost/asio/ip/address.hpp>

#include <charconv>

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
