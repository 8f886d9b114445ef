#include "Ostrel/serialization/UInt32Object.h"

namespace Ostrel {

SerialObject::ObjectType UInt32Object::getObjectType() const {
    return ObjectType::Value;
}

UInt32Object* UInt32Object::clone() const {
    return new UInt32Object(*this);
}

void UInt32Object::serialize(Serializer& serializer) const {
    serialize("", serializer);
}

void UInt32Object::serialize(const std::string& key, Serializer& serializer) const {
    Ostrel::serialize(key, value_, serializer);
}

} // namespace Ostrel
