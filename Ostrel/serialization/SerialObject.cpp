#include "Ostrel/serialization/SerialObject.h"

// The list interface takes jsoncpp's former writer.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <json/reader.h>
#include <json/writer.h>

#include <memory>
#include <stdexcept>

namespace Ostrel {

SerialObject::~SerialObject() = default;

SerialObject::ObjectType SerialObject::getObjectType() const {
    return ObjectType::Object;
}

std::string SerialObject::serialize() const {
    Serializer serializer;
    serialize("", serializer);
    return serializer.generate();
}

std::string SerialObject::serialize(Json::Writer& writer) const {
    const auto text = serialize();
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value value;
    std::string problem;
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &problem))
        throw std::logic_error(problem);
    return writer.write(value);
}

void SerialObject::serialize(const std::string& key, Serializer& serializer) const {
    switch (getObjectType()) {
    case ObjectType::Object:
        serializer.beginObject(key);
        serialize(serializer);
        serializer.endObject(key);
        break;
    case ObjectType::List:
        serializer.beginList(key);
        serialize(serializer);
        serializer.endList(key);
        break;
    case ObjectType::Value:
        // Only the value itself can put a key before what it writes: those that have one override.
        serialize(serializer);
        break;
    }
}

} // namespace Ostrel
