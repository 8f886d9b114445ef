// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/SerialObject.h"

namespace Ostrel {

/// What all serialisable lists have in common: they are written as a JSON array.
class OSTREL_API VectorBase : public SerialObject {
public:
    ObjectType getObjectType() const override;

    using SerialObject::serialize;
};

} // namespace Ostrel
