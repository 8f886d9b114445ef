#include "clients/cpp/Errors.h"

namespace Ostrel::Client {

ConnectError::ConnectError(Cause cause, const std::string& text) : Error(text), cause_(cause) {}

Interrupted::Interrupted(int signal) : Error("interrupted"), signal_(signal) {}

ServiceError::ServiceError(std::int64_t errorCode, const std::string& message)
    : Error(message), code(errorCode) {}

} // namespace Ostrel::Client
