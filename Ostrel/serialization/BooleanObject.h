// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/SerialObject.h"

namespace Ostrel {

/// A truth value that can travel.
class OSTREL_API BooleanObject : public SerialObject {
public:
    explicit BooleanObject(const bool& value) : value_(value) {}

    bool getValue() const { return value_; }

    ObjectType getObjectType() const override;
    BooleanObject* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;
    void serialize(const std::string& key, Serializer& serializer) const override;

private:
    bool value_;
};

} // namespace Ostrel
