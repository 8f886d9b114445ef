#pragma once

#include "Ostrel/serialization/VectorObject.h"

#include <cstdint>
#include <ctime>
#include <string>

namespace Ostrel::TV {

/// The services that can be received: a list, and a cursor of the caller's own in it.
class OSTREL_API ITVService {
public:
    class ServiceInfo;
    class SignalStatus;

    virtual ~ITVService() = default;

    /// Selects a list, "all" or "new", and puts the cursor at its start. Always true.
    virtual bool serviceListSet(const std::string& base) = 0;

    /// Moves the cursor and returns its new position, 0 to the size of the list.
    /// @param whence  what the offset counts from: 0 the start, 1 the cursor, 2 the end
    virtual unsigned serviceListSeek(const int& offset, const unsigned& whence) = 0;

    /// Moves the cursor to the first service with that URI and returns its position.
    virtual unsigned serviceListSeekByUri(const std::string& uri) = 0;

    /// Moves the cursor to the first service with that number and returns its position.
    virtual unsigned serviceListSeekByChannelNumber(const unsigned& channelNumber) = 0;

    /// Returns up to that many services from the cursor on.
    virtual VectorObject<ServiceInfo> serviceListGet(const unsigned& limit) = 0;

    /// The same, and moves the cursor behind them.
    virtual VectorObject<ServiceInfo> serviceListRead(const unsigned& limit) = 0;

    /// Returns the event on air and the one after it as texts.
    /// @param id  guide service id
    virtual VectorObject<std::string> nowNextGet(const unsigned& id, const std::string& outputFormat) = 0;

    virtual SignalStatus signalStatusGet(const unsigned& sourceId) = 0;

    /// The module's idea of now, seconds since 1970-01-01 UTC.
    virtual std::time_t utcTimeGet() = 0;

    /// Empties the list. Always true.
    virtual bool serviceListDeleteAll() = 0;

    /// Removes the service at the cursor. Always true.
    virtual bool serviceListDelete() = 0;
};

/// One broadcast service, as a viewer knows it: a channel.
class OSTREL_API ITVService::ServiceInfo : public SerialObject {
public:
    enum class Type : std::uint32_t { Television = 1, Radio = 2, Data = 3 };

    ServiceInfo(const unsigned& channelNumber, const std::string& name, const std::string& uri,
                const unsigned& id, Type type, const std::string& provider, bool scrambled,
                bool highDefinition, bool visible, bool selectable);

    unsigned getChannelNumber() const { return channelNumber_; }
    const std::string& getName() const { return name_; }
    const std::string& getUri() const { return uri_; }
    unsigned getId() const { return id_; }
    Type getType() const { return type_; }
    const std::string& getProvider() const { return provider_; }
    bool getScrambled() const { return scrambled_; }
    bool getHighDefinition() const { return highDefinition_; }
    bool getVisible() const { return visible_; }
    bool getSelectable() const { return selectable_; }

    ServiceInfo* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    std::uint32_t channelNumber_;
    std::string name_;
    std::string uri_;
    std::uint32_t id_; ///< guide service id
    Type type_;
    std::string provider_;
    bool scrambled_;
    bool highDefinition_;
    bool visible_;
    bool selectable_;
};

/// How well a tuner receives. All zero unless somebody measures.
class OSTREL_API ITVService::SignalStatus : public SerialObject {
public:
    SignalStatus() = default;

    std::uint32_t getStrength() const { return strength_; }
    std::uint32_t getQuality() const { return quality_; }

    SignalStatus* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    std::uint32_t strength_ = 0;
    std::uint32_t quality_ = 0;
};

} // namespace Ostrel::TV
