// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/serialization/Serializer.h"

#include <string>

namespace Json {
class Writer;
}

namespace Ostrel {

/// Everything that can travel: a record, a list or a plain value.
class OSTREL_API SerialObject {
public:
    enum class ObjectType { Object, List, Value };

    /// Which JSON type the object is written as; Object unless overridden.
    virtual ObjectType getObjectType() const;

    /// Makes a copy for the caller to delete.
    virtual SerialObject* clone() const = 0;

    /// Writes what is inside: a record's members, a list's elements, or the plain value.
    /// @throws TextTooLarge  the serializer's limit is reached; so do the others that are given one
    virtual void serialize(Serializer& serializer) const = 0;

    /// Returns the whole value as JSON text.
    virtual std::string serialize() const;

    /// Returns the whole value in the given jsoncpp style; for people and tools, not for speed.
    /// @throws std::logic_error  what the object wrote is not JSON
    virtual std::string serialize(Json::Writer& writer) const;

    /// Writes the whole value under a key; an empty key writes a list's element.
    virtual void serialize(const std::string& key, Serializer& serializer) const;

    virtual ~SerialObject();

protected:
    SerialObject() = default;
    SerialObject(const SerialObject&) = default;
    SerialObject& operator=(const SerialObject&) = default;
};

} // namespace Ostrel
