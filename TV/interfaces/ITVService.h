// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/VectorObject.h"

#include <cstdint>
#include <ctime>
#include <string>

namespace Ostrel::TV {

static_assert(sizeof(std::time_t) == 8, "on 32 bits build with _TIME_BITS=64, as the libraries are");

/// The services that can be received, read like a file: a context selects a list and has a cursor
/// of its own in it. Beside the lists it asks for what is on, for the signal and for the time.
///
/// The lists are the module's; every context reads and changes the same ones. The cursor is an
/// index, from 0 for the first service up to the size of the list for the end, and nothing but
/// the operations here moves it: when the list shrinks under it, because of another context or of
/// a scan, it may stand past the end. From there nothing can be got or deleted; any seek that does
/// not count from the cursor brings it back.
///
/// Before the first serviceListSet() that succeeds, every operation on a list fails with
/// InvalidState. One that fails throws an Exception and leaves lists, selection and cursor alone.
///
/// The operations of one context are called one at a time, those of several contexts perhaps at
/// once; the caller holds no lock, the module takes what it needs. Arguments are not kept. What
/// comes back is a copy and the caller's, however the lists change afterwards.
class OSTREL_API ITVService {
public:
    class ServiceInfo;
    class SignalStatus;

    virtual ~ITVService() = default;

    /// Selects a list, also the one that is selected already, and moves the cursor to its start.
    /// @param base  "all" for every service, by channel number; "new" for those that the latest
    ///              scan has added, in the order of finding. Case matters.
    /// @returns true
    /// @throws Exception  InvalidParameter: there is no such list; the selection stays
    virtual bool serviceListSet(const std::string& base) = 0;

    /// Moves the cursor by a number of services.
    /// @param whence  what the offset counts from: 0 the start, 1 the cursor, 2 the end
    /// @returns where the cursor stands now, 0 to the size of the list
    /// @throws Exception  InvalidState: no list is selected; InvalidParameter: whence is none of
    ///                    these, or the target lies before the start or past the end
    virtual unsigned serviceListSeek(const int& offset, const unsigned& whence) = 0;

    /// Moves the cursor to the first service with that URI, compared byte for byte.
    /// @returns where the cursor stands now
    /// @throws Exception  InvalidState: no list is selected; InvalidParameter: no service has it
    virtual unsigned serviceListSeekByUri(const std::string& uri) = 0;

    /// Moves the cursor to the first service with that channel number.
    /// @returns where the cursor stands now
    /// @throws Exception  InvalidState: no list is selected; InvalidParameter: no service has it
    virtual unsigned serviceListSeekByChannelNumber(const unsigned& channelNumber) = 0;

    /// Returns the services from the cursor on, and leaves the cursor where it is.
    /// @param limit  how many at most; fewer come back at the end of the list, none there
    /// @throws Exception  InvalidState: no list is selected
    virtual VectorObject<ServiceInfo> serviceListGet(const unsigned& limit) = 0;

    /// The same, and moves the cursor behind the last of them.
    virtual VectorObject<ServiceInfo> serviceListRead(const unsigned& limit) = 0;

    /// Returns the event that is on the air and the one that follows it at once, each as a
    /// document: none, one or two, in this order. A service that is unknown has none.
    /// @param id            ServiceInfo::getId()
    /// @param outputFormat  "quoriljson" or "quorilxml"
    /// @throws Exception  NotSupported: there is no such format
    virtual VectorObject<std::string> nowNextGet(const unsigned& id, const std::string& outputFormat) = 0;

    /// Returns how well a tuner receives now.
    /// @param sourceId  the tuner; the module numbers its own
    virtual SignalStatus signalStatusGet(const unsigned& sourceId) = 0;

    /// Returns what the module takes for now, seconds since 1970-01-01 UTC: what a receiver hears
    /// in the time and date table (TDT) of ETSI EN 300 468. It may differ from the system's clock.
    ///
    /// The wire carries its low 32 bits, unsigned.
    virtual std::time_t utcTimeGet() = 0;

    /// Empties the list of all services, for every context. The cursor goes to 0; that of another
    /// context stays.
    /// @returns true
    /// @throws Exception  InvalidState: no list is selected, or "new"
    virtual bool serviceListDeleteAll() = 0;

    /// Removes the service at the cursor from the list of all services, for every context. The
    /// cursor then stands at the one that followed, or at the end.
    /// @returns true
    /// @throws Exception  InvalidState: no list is selected, or "new", or the cursor is at the end
    virtual bool serviceListDelete() = 0;
};

/// One broadcast service, as a viewer knows it: a channel.
class OSTREL_API ITVService::ServiceInfo : public SerialObject {
public:
    /// What kinds viewers tell apart, as the wire numbers them. The service_type of ETSI EN 300 468
    /// has many more: whoever reads one off the air maps it to these.
    enum class Type : std::uint32_t { Television = 1, Radio = 2, Data = 3 };

    ServiceInfo(const unsigned& channelNumber, const std::string& name, const std::string& uri,
                const unsigned& id, Type type, const std::string& provider, bool scrambled,
                bool highDefinition, bool visible, bool selectable);

    /// The logical channel number, which viewers key in.
    unsigned getChannelNumber() const { return channelNumber_; }
    const std::string& getName() const { return name_; }
    /// The DVB locator of ETSI TS 102 851: "dvb://", original_network_id, ".", transport_stream_id,
    /// which may be left out, ".", service_id; the three in hexadecimal without a prefix.
    const std::string& getUri() const { return uri_; }
    /// The guide service id, by which events belong to the service; the module's own numbering,
    /// not the service_id of ETSI EN 300 468. Never 0.
    unsigned getId() const { return id_; }
    Type getType() const { return type_; }
    /// Who broadcasts it; may be empty.
    const std::string& getProvider() const { return provider_; }
    /// Whether conditional access guards it (free_CA_mode of ETSI EN 300 468).
    bool getScrambled() const { return scrambled_; }
    bool getHighDefinition() const { return highDefinition_; }
    /// Whether lists of channels show it.
    bool getVisible() const { return visible_; }
    /// Whether it can be chosen by its channel number.
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

/// How well a tuner receives. Both are 0 where nothing is measured; otherwise more is better, on a
/// scale of the module's own.
class OSTREL_API ITVService::SignalStatus : public SerialObject {
public:
    SignalStatus() = default;
    SignalStatus(std::uint32_t strength, std::uint32_t quality) : strength_(strength), quality_(quality) {}

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
