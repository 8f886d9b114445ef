// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/SerialObject.h"

#include <cstdint>

namespace Ostrel {

/// An unsigned number, 0 to 4294967295, as a value that can travel.
class OSTREL_API UInt32Object : public SerialObject {
public:
    explicit UInt32Object(const std::uint32_t& value) : value_(value) {}

    std::uint32_t getValue() const { return value_; }

    ObjectType getObjectType() const override;
    UInt32Object* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;
    void serialize(const std::string& key, Serializer& serializer) const override;

private:
    std::uint32_t value_;
};

} // namespace Ostrel
