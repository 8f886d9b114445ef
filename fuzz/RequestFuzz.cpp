// Any payload of an event query: it is decoded or refused, and what is decoded is answered.

#include "Ostrel/serialization/DecodeError.h"
#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/query/EventQuery.h"

#include <cstdlib>
#include <string>

using namespace Ostrel;
using namespace Ostrel::TV;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const Guide guide = [] {
        Guide filled;
        filled.addEvents();
        return filled;
    }();
    try {
        Deserializer payload(std::string(reinterpret_cast<const char*>(data), size));
        const auto query = deserialize<ITVGuide::Query>("query", payload);
        VectorObject<ITVGuide::EventInfo> events;
        EventQuery(guide, query).run(events);
        const auto& slice = query.getSliceRange();
        if (slice.getValid() && events.size() > slice.getLimit())
            std::abort();
    } catch (const DecodeError&) {
    }
    return 0;
}
