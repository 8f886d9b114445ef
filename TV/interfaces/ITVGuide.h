#pragma once

#include "Ostrel/serialization/Deserializer.h"
#include "Ostrel/serialization/VectorObject.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// The programme guide. Its operations only read; any number may run at once.
class OSTREL_API ITVGuide {
public:
    class EventInfo;
    class GenreStringMap;
    class Query;

    virtual ~ITVGuide() = default;

    virtual VectorObject<EventInfo> queryEventInfo(const Query& query) = 0;

    /// Returns the event on air and the one that follows it at once: none, one or two.
    /// @param id  guide service id
    virtual VectorObject<EventInfo> queryNowNextEventInfo(const unsigned& id) = 0;

    /// Returns what the genre codes mean, ascending by code.
    virtual VectorObject<GenreStringMap> getGenreStringMapList() = 0;

    /// Returns every event that an expression is true for, each as a text.
    virtual VectorObject<std::string> query(const std::string& expression,
                                            const std::string& expressionFormat,
                                            const std::string& outputFormat) = 0;
};

/// One programme in the guide. Times are seconds since 1970-01-01 UTC.
class OSTREL_API ITVGuide::EventInfo : public SerialObject {
public:
    EventInfo(const unsigned& serviceId, const long& startTime, const long& endTime, const std::string& title,
              const std::string& description, const bool& highDefinition, const unsigned& extra,
              const VectorObject<unsigned char>& genres);
    /// The same, taking the texts and the genres over.
    EventInfo(unsigned serviceId, long startTime, long endTime, std::string&& title,
              std::string&& description, bool highDefinition, unsigned extra,
              VectorObject<unsigned char>&& genres);

    std::uint32_t getServiceId() const { return serviceId_; }
    long getStartTime() const { return startTime_; }
    long getEndTime() const { return endTime_; }
    const std::string& getTitle() const { return title_; }
    const std::string& getDescription() const { return description_; }
    bool getHighDefinition() const { return highDefinition_; }
    std::uint32_t getExtra() const { return extra_; }
    const VectorObject<unsigned char>& getGenres() const { return genres_; }
    VectorObject<unsigned char>& getGenres() { return genres_; }

    EventInfo* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    std::uint32_t serviceId_; ///< guide service id
    long startTime_;
    long endTime_;
    std::string title_;
    std::string description_;
    bool highDefinition_;
    std::uint32_t extra_; ///< the built-in guide leaves it 0
    VectorObject<unsigned char> genres_; ///< DVB content codes
};

/// What one genre code means.
class OSTREL_API ITVGuide::GenreStringMap : public SerialObject {
public:
    GenreStringMap(const unsigned char& code, const std::string& text);

    unsigned char getCode() const { return code_; }
    const std::string& getText() const { return text_; }

    GenreStringMap* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    unsigned char code_;
    std::string text_;
};

/// Which events to give, in which order, and which slice of them. Every member may be left out.
class OSTREL_API ITVGuide::Query {
public:
    /// A window of time, seconds since 1970-01-01 UTC.
    class OSTREL_API TimeRange {
    public:
        TimeRange() = default;
        explicit TimeRange(Deserializer& deserializer);

        bool getValid() const { return valid_; }
        /// Whether events must lie in the window as a whole; otherwise they need only touch it.
        bool getStrict() const { return strict_; }
        std::int32_t getBase() const { return base_; }
        std::int32_t getLimit() const { return limit_; }

    private:
        bool valid_ = false;
        bool strict_ = false;
        std::int32_t base_ = 0;
        std::int32_t limit_ = std::numeric_limits<std::int32_t>::max();
    };

    /// Positions in the result, from base up to, but not including, limit.
    class OSTREL_API SliceRange {
    public:
        SliceRange() = default;
        explicit SliceRange(Deserializer& deserializer);

        bool getValid() const { return valid_; }
        std::uint32_t getBase() const { return base_; }
        std::uint32_t getLimit() const { return limit_; }

    private:
        bool valid_ = false;
        std::uint32_t base_ = 0;
        std::uint32_t limit_ = std::numeric_limits<std::uint32_t>::max();
    };

    /// How many texts may be searched for at once.
    static constexpr std::size_t stringLimit = 256;

    /// @throws DecodeError  also for a member that the query does not know, a typing error
    explicit Query(Deserializer& deserializer);

    const std::vector<int>& getServiceIdList() const { return serviceIdList_; }
    const TimeRange& getTimeRange() const { return timeRange_; }
    const std::vector<unsigned char>& getGenreList() const { return genreList_; }
    const std::vector<std::string>& getStringList() const { return stringList_; }
    bool getStringAnd() const { return stringAnd_; }
    bool getStringMatchDescription() const { return stringMatchDescription_; }
    /// The smaller priority sorts first; a negative one does not sort.
    std::int32_t getOrderByServiceIdPriority() const { return orderByServiceIdPriority_; }
    std::int32_t getOrderByStartTimePriority() const { return orderByStartTimePriority_; }
    const SliceRange& getSliceRange() const { return sliceRange_; }

private:
    std::vector<int> serviceIdList_; ///< guide service ids; empty means all
    TimeRange timeRange_;
    std::vector<unsigned char> genreList_; ///< DVB content codes; empty means all
    std::vector<std::string> stringList_;
    bool stringAnd_ = false;
    bool stringMatchDescription_ = false;
    std::int32_t orderByServiceIdPriority_ = -1;
    std::int32_t orderByStartTimePriority_ = -1;
    SliceRange sliceRange_;
};

} // namespace Ostrel::TV

namespace Ostrel {

/// Reads a query from the object under that key, which must be there.
template <> inline TV::ITVGuide::Query deserialize<TV::ITVGuide::Query>(const std::string& key,
                                                                        Deserializer& deserializer) {
    deserializer.enterMember(key);
    TV::ITVGuide::Query query(deserializer);
    deserializer.leaveMember(key);
    return query;
}

} // namespace Ostrel
