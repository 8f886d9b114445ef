#include "Ostrel/serialization/BooleanObject.h"

namespace Ostrel {

SerialObject::ObjectType BooleanObject::getObjectType() const {
    return ObjectType::Value;
}

BooleanObject* BooleanObject::clone() const {
    return new BooleanObject(*this);
}

void BooleanObject::serialize(Serializer& serializer) const {
    serialize("", serializer);
}

void BooleanObject::serialize(const std::string& key, Serializer& serializer) const {
    Ostrel::serialize(key, value_, serializer);
}

} // namespace Ostrel
