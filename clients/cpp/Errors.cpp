#include "clients/cpp/Errors.h"

#include <algorithm>
#include <utility>

namespace Ostrel::Client {

namespace {

std::string asLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7f; }, ' ');
    return text;
}

} // namespace

Error::Error(std::string text) : std::runtime_error(asLine(std::move(text))) {}

ConnectError::ConnectError(Cause cause, const std::string& text) : Error(text), cause_(cause) {}

Interrupted::Interrupted(int signal) : Error("interrupted"), signal_(signal) {}

ServiceError::ServiceError(std::int64_t errorCode, const std::string& message)
    : Error(message), code(errorCode) {}

} // namespace Ostrel::Client
