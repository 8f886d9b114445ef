#include "clients/tool/Record.h"

#include "clients/cpp/Errors.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <map>

namespace Ostrel::Client::Tool {

namespace {

RecordedMessage readMessage(const boost::json::object& members) {
    using Direction = RecordedMessage::Direction;
    static const std::map<std::string, Direction, std::less<>> directions = {
        {"request", Direction::Request},
        {"reply", Direction::Reply},
        {"notification", Direction::Notification}};
    const auto textOf = [&](const char* key) {
        const auto& text = members.at(key).as_string();
        return std::string(text.data(), text.size());
    };
    RecordedMessage message;
    message.time = members.at("time").to_number<double>();
    message.connection = members.at("connection").to_number<std::uint64_t>();
    message.direction = directions.at(textOf("direction"));
    message.method = textOf("method");
    if (const auto* id = members.if_contains("id"))
        message.id = boost::json::serialize(*id);
    message.text = textOf("text");
    message.isWhole = members.at("bytes").to_number<std::uint64_t>() == message.text.size();
    return message;
}

} // namespace

Record::Record(const std::string& path)
    : path_(path), file_(path == "-" ? std::string() : path), lines_(path == "-" ? std::cin : file_) {
    if (path != "-" && !file_)
        throw SettingsError("cannot read " + path + ": " + std::strerror(errno));
}

std::optional<RecordedMessage> Record::next() {
    for (std::string line; std::getline(lines_, line);) {
        ++number_;
        if (lines_.eof())
            break; // the host did not come to its end
        try {
            const auto value = boost::json::parse(line);
            const auto& members = value.as_object();
            if (const auto* missed = members.if_contains("missed"))
                missed_ += missed->to_number<std::uint64_t>();
            if (members.contains("text"))
                return readMessage(members);
            if (!members.contains("missed"))
                throw std::runtime_error("no text");
        } catch (const std::exception&) {
            throw SettingsError(path_ + " is no record: line " + std::to_string(number_) + " is no message");
        }
    }
    return std::nullopt;
}

} // namespace Ostrel::Client::Tool
