#include "Ostrel/transport/Credentials.h"

#include <boost/beast/core/string.hpp>

namespace Ostrel {

namespace {

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

} // namespace

std::string_view bearerOf(std::string_view authorization) {
    const auto space = authorization.find(' ');
    if (space == std::string_view::npos ||
        !boost::beast::iequals(boost::beast::string_view(authorization.data(), space), "bearer"))
        return {};
    return trim(authorization.substr(space));
}

SubProtocols chooseSubProtocol(std::string_view offers) {
    constexpr std::string_view tokenPrefix = "bearer.";
    SubProtocols result;
    while (!offers.empty()) {
        const auto comma = offers.find(',');
        const auto offer = trim(offers.substr(0, comma));
        offers = comma == std::string_view::npos ? std::string_view() : offers.substr(comma + 1);
        if (offer.starts_with(tokenPrefix))
            result.token = offer.substr(tokenPrefix.size());
        else if (result.chosen.empty() || offer == "jsonrpc")
            result.chosen = offer;
    }
    return result;
}

} // namespace Ostrel
