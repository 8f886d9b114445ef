#include "simulator/World.h"

namespace Ostrel {

World* World::clone() const {
    return new World(*this);
}

void World::serialize(Serializer& serializer) const {
    Ostrel::serialize("name", world_.name, serializer);
    Ostrel::serialize("services", world_.services, serializer);
    Ostrel::serialize("events", world_.events, serializer);
    Ostrel::serialize("start", world_.start, serializer);
    Ostrel::serialize("end", world_.end, serializer);
    Ostrel::serialize("builtIn", world_.builtIn, serializer);
    Ostrel::serialize("timeZone", world_.timeZone, serializer);
    Ostrel::serialize("today", world_.turnsAt.has_value(), serializer);
    if (world_.turnsAt)
        serializer.write("turnsAt", std::int64_t{*world_.turnsAt});
}

} // namespace Ostrel
