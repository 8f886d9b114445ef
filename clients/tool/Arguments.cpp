#include "clients/tool/Arguments.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <charconv>
#include <string>

namespace Ostrel::Client::Tool {

CLI::Validator wholeNumber(std::uint64_t most) {
    return CLI::Validator(
        [most](std::string& text) {
            std::uint64_t number = 0;
            const auto* end = text.data() + text.size();
            const auto [stop, error] = std::from_chars(text.data(), end, number);
            if (error != std::errc() || stop != end || number > most)
                return "\"" + text + "\" is no whole number from 0 to " + std::to_string(most);
            text = std::to_string(number);
            return std::string();
        },
        "");
}

CLI::Validator utf8() {
    return CLI::Validator(
        [](std::string& text) {
            boost::json::error_code error;
            boost::json::parse(boost::json::serialize(boost::json::string_view(text)), error);
            return std::string(error ? "this is not UTF-8" : "");
        },
        "");
}

} // namespace Ostrel::Client::Tool
