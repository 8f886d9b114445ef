#include "clients/cpp/Errors.h"

namespace Ostrel::Client {

ConnectError::ConnectError(Cause cause, const std::string& text) : Error(text), cause_(cause) {}

Interrupted::Interrupted() : Error("interrupted") {}

ServiceError::ServiceError(std::int64_t errorCode, const std::string& message)
    : Error(message), code(errorCode) {}

} // namespace Ostrel::Client
