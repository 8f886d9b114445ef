#include "clients/cpp/ValueText.h"

#include "clients/cpp/Errors.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace Ostrel::Client {

namespace json = boost::json;

namespace {

void appendNumber(std::string& text, double number) {
    // Boost.JSON reads 1e400 as infinite and 0e400 as nothing times that, neither of which is JSON.
    constexpr auto most = std::numeric_limits<double>::max();
    number = std::isnan(number) ? 0 : std::clamp(number, -most, most);
    // Outside of these bounds, as in JavaScript, there would be many zeros.
    if (number != 0 && !(std::abs(number) >= 1e-6 && std::abs(number) < 1e21)) {
        text += json::serialize(json::value(number));
        return;
    }
    char digits[32];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed).ptr);
}

void append(std::string& text, const json::value& value) {
    const char* separator = "";
    if (const auto* array = value.if_array()) {
        text += '[';
        for (const auto& element : *array) {
            append(text += separator, element);
            separator = ",";
        }
        text += ']';
    } else if (const auto* object = value.if_object()) {
        text += '{';
        for (const auto& member : *object) {
            text.append(separator).append(json::serialize(member.key())).append(":");
            append(text, member.value());
            separator = ",";
        }
        text += '}';
    } else if (const auto* number = value.if_double()) {
        appendNumber(text, *number);
    } else {
        text += json::serialize(value);
    }
}

} // namespace

json::value parse(std::string_view text) {
    json::parse_options options;
    options.max_depth = 256;
    json::error_code error;
    auto value = json::parse(json::string_view(text.data(), text.size()), error, {}, options);
    if (error)
        throw BadReply("the service sent what is not JSON: " + error.message());
    return value;
}

std::string toText(const json::value& value) {
    std::string text;
    append(text, value);
    return text;
}

} // namespace Ostrel::Client
