#pragma once

#include "Ostrel/serialization/SerialObject.h"
#include "TV/server/dummy/DummyTVModule.h"

namespace Ostrel {

/// What there is on the air and in the guide, as it travels.
class World : public SerialObject {
public:
    explicit World(const TV::DummyTVModule::World& world) : world_(world) {}

    World* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    TV::DummyTVModule::World world_;
};

} // namespace Ostrel
