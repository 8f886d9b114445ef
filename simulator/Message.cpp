#include "simulator/Message.h"

#include "Ostrel/text/Utf8.h"

#include <cstdio>

namespace Ostrel {

namespace {

constexpr std::int64_t million = 1'000'000;

std::string_view nameOf(RPCObserver::Direction direction) {
    switch (direction) {
    case RPCObserver::Direction::Request:
        return "request";
    case RPCObserver::Direction::Reply:
        return "reply";
    case RPCObserver::Direction::Notification:
        break;
    }
    return "notification";
}

void writeNumber(MemberName key, std::uint64_t number, Serializer& out) {
    out.write(key, std::int64_t(number));
}

/// Seconds with their fraction.
void writeTime(std::int64_t micros, Serializer& out) {
    char text[32];
    const int size = std::snprintf(text, sizeof text, "%lld.%06lld", static_cast<long long>(micros / million),
                                   static_cast<long long>(micros % million));
    out.writeJson("time", {text, std::size_t(size)});
}

} // namespace

void writeMessage(TrafficMessage& message, std::uint64_t missed, Serializer& out) {
    makeUtf8(message.text);
    writeTime(message.time, out);
    writeNumber("connection", message.connection, out);
    out.write("client", std::string_view(message.client));
    out.write("direction", nameOf(message.direction));
    out.write("method", std::string_view(message.method));
    if (!message.id.empty())
        out.writeJson("id", message.id);
    writeNumber("micros", message.micros, out);
    writeNumber("bytes", message.bytes, out);
    out.write("text", std::string_view(message.text));
    if (missed > 0)
        writeNumber("missed", missed, out);
}

} // namespace Ostrel
