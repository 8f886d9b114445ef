#include "TV/interfaces/ITVGuide.h"

#include <utility>

namespace Ostrel::TV {

ITVGuide::EventInfo::EventInfo(const unsigned& serviceId, const long& startTime, const long& endTime,
                               const std::string& title, const std::string& description,
                               const bool& highDefinition, const unsigned& extra,
                               const VectorObject<unsigned char>& genres)
    : serviceId_(serviceId), startTime_(startTime), endTime_(endTime), title_(title),
      description_(description), highDefinition_(highDefinition), extra_(extra), genres_(genres) {}

ITVGuide::EventInfo::EventInfo(unsigned serviceId, long startTime, long endTime, std::string&& title,
                               std::string&& description, bool highDefinition, unsigned extra,
                               VectorObject<unsigned char>&& genres)
    : serviceId_(serviceId), startTime_(startTime), endTime_(endTime), title_(std::move(title)),
      description_(std::move(description)), highDefinition_(highDefinition), extra_(extra),
      genres_(std::move(genres)) {}

ITVGuide::EventInfo* ITVGuide::EventInfo::clone() const {
    return new EventInfo(*this);
}

void ITVGuide::EventInfo::serialize(Serializer& serializer) const {
    Ostrel::serialize("serviceId", serviceId_, serializer);
    Ostrel::serialize("startTime", startTime_, serializer);
    Ostrel::serialize("endTime", endTime_, serializer);
    Ostrel::serialize("title", title_, serializer);
    Ostrel::serialize("description", description_, serializer);
    Ostrel::serialize("highDefinition", highDefinition_, serializer);
    Ostrel::serialize("extra", extra_, serializer);
    serializer.beginList("genres");
    genres_.serialize(serializer);
    serializer.endList("genres");
}

ITVGuide::GenreStringMap::GenreStringMap(const unsigned char& code, const std::string& text)
    : code_(code), text_(text) {}

ITVGuide::GenreStringMap* ITVGuide::GenreStringMap::clone() const {
    return new GenreStringMap(*this);
}

void ITVGuide::GenreStringMap::serialize(Serializer& serializer) const {
    Ostrel::serialize("code", static_cast<int>(code_), serializer);
    Ostrel::serialize("text", text_, serializer);
}

namespace {

/// Reads a range, which may be left out.
template <typename Range> Range readRange(const std::string& key, Deserializer& deserializer) {
    if (!deserializer.has(key))
        return Range();
    deserializer.enterMember(key);
    const Range range(deserializer);
    deserializer.leaveMember(key);
    return range;
}

} // namespace

ITVGuide::Query::TimeRange::TimeRange(Deserializer& deserializer) {
    deserializer.refuseUnknown({"valid", "strict", "base", "limit"});
    valid_ = deserialize<bool>("valid", deserializer, true);
    strict_ = deserialize<bool>("strict", deserializer, strict_);
    base_ = deserialize<int>("base", deserializer, base_);
    limit_ = deserialize<int>("limit", deserializer, limit_);
}

ITVGuide::Query::SliceRange::SliceRange(Deserializer& deserializer) {
    deserializer.refuseUnknown({"valid", "base", "limit"});
    valid_ = deserialize<bool>("valid", deserializer, true);
    base_ = deserialize<unsigned>("base", deserializer, base_);
    limit_ = deserialize<unsigned>("limit", deserializer, limit_);
}

ITVGuide::Query::Query(Deserializer& deserializer) {
    deserializer.refuseUnknown({"serviceIdList", "timeRange", "genreList", "stringList", "stringAnd",
                                "stringMatchDescription", "orderByServiceIdPriority",
                                "orderByStartTimePriority", "sliceRange"});
    if (deserializer.has("serviceIdList"))
        serviceIdList_ = deserializer.readIntList("serviceIdList");
    timeRange_ = readRange<TimeRange>("timeRange", deserializer);
    if (deserializer.has("genreList"))
        genreList_ = deserializer.readByteList("genreList");
    if (deserializer.has("stringList"))
        stringList_ = deserializer.readStringList("stringList", stringLimit);
    stringAnd_ = deserialize<bool>("stringAnd", deserializer, stringAnd_);
    stringMatchDescription_ =
        deserialize<bool>("stringMatchDescription", deserializer, stringMatchDescription_);
    orderByServiceIdPriority_ =
        deserialize<int>("orderByServiceIdPriority", deserializer, orderByServiceIdPriority_);
    orderByStartTimePriority_ =
        deserialize<int>("orderByStartTimePriority", deserializer, orderByStartTimePriority_);
    sliceRange_ = readRange<SliceRange>("sliceRange", deserializer);
}

} // namespace Ostrel::TV
