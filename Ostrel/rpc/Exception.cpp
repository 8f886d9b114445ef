#include "Ostrel/rpc/Exception.h"

namespace Ostrel {

Exception::Exception(const ReturnCode& code) : code_(code) {}

Exception::Exception(const Exception& other) = default;

Exception::~Exception() = default;

ReturnCode Exception::getCode() const {
    return code_;
}

const char* Exception::what() const {
    return getMessage(code_);
}

} // namespace Ostrel
