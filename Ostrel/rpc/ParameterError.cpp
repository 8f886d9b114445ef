#include "Ostrel/rpc/ParameterError.h"

#include <utility>

namespace Ostrel {

ParameterError::ParameterError(std::string member)
    : Exception(ReturnCode::InvalidParameter), member_(std::move(member)) {}

} // namespace Ostrel
