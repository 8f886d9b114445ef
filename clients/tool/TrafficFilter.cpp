#include "clients/tool/TrafficFilter.h"

#include <algorithm>

#include <fnmatch.h>

namespace Ostrel::Client::Tool {

namespace {

constexpr const char* blanks = " \t\r\n";

/// Returns where the value of a member begins; npos where there is none.
std::size_t findValue(std::string_view message, std::string_view quotedName) {
    for (auto at = message.find(quotedName); at != std::string_view::npos;
         at = message.find(quotedName, at + 1)) {
        const auto colon = message.find_first_not_of(blanks, at + quotedName.size());
        if (colon != std::string_view::npos && message[colon] == ':')
            return colon + 1;
    }
    return std::string_view::npos;
}

/// Returns the value that begins there, of the last member of an object.
std::string_view getValue(std::string_view object, std::size_t begin) {
    auto value = object.substr(std::min(object.find_first_not_of(blanks, begin), object.size()));
    if (value.ends_with('}'))
        value.remove_suffix(1);
    return value;
}

} // namespace

// A text may be cut, and then is no JSON. But these names in quotes, with a colon behind, are in no
// text, where quotes are escaped, and the first is not inside another: what else is around the body
// has no members.
TrafficBody::TrafficBody(std::string_view message) {
    auto first = std::string_view::npos;
    for (const std::string_view name : {"\"params\"", "\"result\"", "\"error\""}) {
        const auto begin = findValue(message, name);
        if (begin >= first)
            continue;
        first = begin;
        text = getValue(message, begin);
        isError = name == "\"error\"";
        if (const auto payload = findValue(text, "\"payload\"");
            name == "\"params\"" && payload != std::string_view::npos)
            text = getValue(text, payload);
    }
    if (first == std::string_view::npos && findValue(message, "\"method\"") == first)
        text = message;
}

std::string_view getShortName(std::string_view method) {
    const auto colons = method.rfind("::");
    return colons == std::string_view::npos ? method : method.substr(colons + 2);
}

bool TrafficFilter::isEmpty() const {
    return !method && !client && !connection && !direction && !errors;
}

bool TrafficFilter::matches(const Simulator::OnTraffic& message) const {
    const auto isLike = [this](const std::string& name) {
        return ::fnmatch(method->c_str(), name.c_str(), FNM_NOESCAPE) == 0;
    };
    return (!method || isLike(message.method) || isLike(std::string(getShortName(message.method)))) &&
           (!client || message.client.find(*client) != std::string::npos) &&
           (!connection || message.connection == *connection) &&
           (!direction || message.direction == *direction) &&
           (!errors || (message.direction == "reply" && TrafficBody(message.text).isError));
}

} // namespace Ostrel::Client::Tool
