#include "Ostrel/serialization/DecodeError.h"

namespace Ostrel {

DecodeError::DecodeError(const std::string& message, const std::string& member)
    : message_(message), member_(member) {}

} // namespace Ostrel
