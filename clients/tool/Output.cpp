#include "clients/tool/Output.h"

#include "clients/cpp/ValueText.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <ctime>
#include <limits>

namespace Ostrel::Client::Tool {

namespace {

namespace json = boost::json;

void append(std::string& text, const json::value& value, std::size_t depth) {
    const auto newLine = [&text](std::size_t level) { text.append("\n").append(2 * level, ' '); };
    const char* separator = "";
    if (const auto* array = value.if_array(); array != nullptr && !array->empty()) {
        text += '[';
        for (const auto& element : *array) {
            text += separator;
            newLine(depth + 1);
            append(text, element, depth + 1);
            separator = ",";
        }
        newLine(depth);
        text += ']';
    } else if (const auto* object = value.if_object(); object != nullptr && !object->empty()) {
        text += '{';
        for (const auto& member : *object) {
            text += separator;
            newLine(depth + 1);
            text.append(json::serialize(member.key())).append(": ");
            append(text, member.value(), depth + 1);
            separator = ",";
        }
        newLine(depth);
        text += '}';
    } else {
        text += toText(value);
    }
}

// The client has read the text, and found it not too deep.
json::value parse(const std::string& text) {
    json::parse_options options;
    options.max_depth = std::numeric_limits<std::size_t>::max();
    return json::parse(text, {}, options);
}

} // namespace

void printJson(const std::string& json) {
    print(json + "\n");
}

std::string toJson(const Notification& notification) {
    return R"({"method":)" + json::serialize(json::string_view(notification.method)) + R"(,"params":)" +
           notification.params + "}";
}

std::string indented(const std::string& json) {
    std::string text;
    append(text, parse(json), 0);
    return text;
}

std::string listMembers(const std::string& json) {
    const auto value = parse(json);
    std::string text;
    for (const auto& member : value.as_object()) {
        text.append(text.empty() ? "" : ", ").append(member.key()).append(" ");
        text += toText(member.value());
    }
    return text;
}

std::string asSentence(std::string text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 'a' + 'A');
    return text + ".\n";
}

std::string formatTime(const char* format, const std::tm& time) {
    char text[64];
    return {text, std::strftime(text, sizeof text, format, &time)};
}

std::string formatMoment(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm utc{};
    std::tm local{};
    gmtime_r(&time, &utc);
    localtime_r(&time, &local);
    return "UTC      " + formatTime("%Y-%m-%dT%H:%M:%SZ", utc) + "\n" + //
           "local    " + formatTime("%Y-%m-%d %H:%M:%S %Z", local) + "\n" + //
           "seconds  " + std::to_string(seconds) + "\n";
}

} // namespace Ostrel::Client::Tool
