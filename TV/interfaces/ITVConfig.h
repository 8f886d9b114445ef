// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/Deserializer.h"
#include "Ostrel/serialization/Listener.h"
#include "Ostrel/serialization/VectorObject.h"

#include <cstdint>

namespace Ostrel::TV {

/// Which transponders to receive, and the scans that find services on them.
///
/// The module has one list of transponders and one scan, which all contexts share: whoever asks
/// sees, stops or is refused because of a scan that another one has started.
///
/// `sourceId` names a tuner, as the module numbers them; one without several ignores it. `useNIT`
/// is 0 to visit what was asked for alone, anything else to follow what the network information
/// table (NIT) of ETSI EN 300 468 says of other transponders as well; a module that cannot ignores it.
///
/// An operation that fails throws an Exception and changes nothing. Calls come one at a time for a context,
/// perhaps at once for several, with no lock held; the module takes what it needs. Arguments are
/// not kept.
class OSTREL_API ITVConfig : public virtual IObservable {
public:
    class ITVConfigListener;
    class ITVConfigNotifier;
    class ScanInfo;
    class TuningParams;

    ~ITVConfig() override = default;

    /// Forgets all transponders, and with them the whole list of services, wherever it came from.
    /// What the latest scan has added stays selectable as "new". A scan that runs goes on.
    /// @returns true
    virtual bool transponderListDeleteAll(const unsigned& sourceId) = 0;

    /// Adds a transponder for scans to visit; a scan that runs already does not. What is in the
    /// list already is not refused.
    /// @returns true
    virtual bool transponderListAdd(const unsigned& sourceId, const TuningParams& tuningParams) = 0;

    /// Starts a scan over every frequency of the band. The start and 0 percent have been told to
    /// the listeners when it returns.
    /// @returns true
    /// @throws Exception  NotSupported: a scan runs, or the module has none of this kind
    virtual bool scanBlindStart(const unsigned& sourceId, const int& useNIT) = 0;

    /// The same from one transponder on, whose NIT says where the others are.
    virtual bool scanHomeStart(const unsigned& sourceId, const TuningParams& tuningParams,
                               const int& useNIT) = 0;

    /// The same over the transponder list as it is now.
    virtual bool scanStart(const unsigned& sourceId, const int& useNIT) = 0;

    /// Ends the scan, wherever it is; what it has found stays. Its last events have been told to
    /// the listeners when it returns.
    /// @returns whether a scan was running
    virtual bool scanStop(const unsigned& sourceId) = 0;

    /// Returns how far the scan has got that runs, or how far the last one came.
    /// @throws Exception  InvalidState: there has been no scan yet
    virtual ScanInfo scanInfoGet(const unsigned& sourceId) = 0;
};

/// Hears how a scan gets on: its start and 0 percent, then percentages as they change, then its
/// completion. A natural end is told as 100 percent before, a stop is not; a scan that ends
/// because a context is deleted may have no completion at all.
///
/// It is called on whatever thread drives the scan, mostly with the module's lock held: it must
/// return soon, and must not call the module's contexts. It may add and remove listeners of the
/// module. What it throws goes to whoever drives the scan.
class OSTREL_API ITVConfig::ITVConfigListener : public virtual IListener {
public:
    /// @param sourceId  the tuner; the later events of the same scan may name another one
    virtual void onScanStart(const unsigned& sourceId) = 0;
    virtual void onScanComplete(const unsigned& sourceId) = 0;
    /// @param percent  whole percent, 0 to 100; only when it is another than before
    virtual void onScanProgress(const unsigned& sourceId, const unsigned& percent) = 0;
};

/// Passes on what it hears to listeners of its own.
class OSTREL_API ITVConfig::ITVConfigNotifier : public virtual IObservable,
                                                public virtual ITVConfigListener {};

/// The state of a scan, and what it has found so far.
class OSTREL_API ITVConfig::ScanInfo : public SerialObject {
public:
    /// @param progress   whole percent, 0 to 100
    /// @param reserved1  like its kind: carried, and 0
    ScanInfo(const bool& scanning, const unsigned& progress, const unsigned& reserved1,
             const unsigned& reserved2, const unsigned& reserved3, const unsigned& reserved4,
             const unsigned& reserved5, const unsigned& servicesFound, const unsigned& tvServices,
             const unsigned& radioServices, const unsigned& type3Services, const unsigned& reserved6,
             const unsigned& reserved7);

    bool getScanning() const { return scanning_; }
    /// Whole percent, 0 to 100; a scan that was stopped keeps less.
    std::uint32_t getProgress() const { return progress_; }
    /// What the scan has added, as the module counts; not necessarily the sum of the three kinds.
    std::uint32_t getServicesFound() const { return servicesFound_; }
    /// New services by ITVService::ServiceInfo::Type: Television, Radio, Data.
    std::uint32_t getTvServices() const { return tvServices_; }
    std::uint32_t getRadioServices() const { return radioServices_; }
    std::uint32_t getType3Services() const { return type3Services_; }

    ScanInfo* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    bool scanning_;
    std::uint32_t progress_;
    std::uint32_t reserved1_;
    std::uint32_t reserved2_;
    std::uint32_t reserved3_;
    std::uint32_t reserved4_;
    std::uint32_t reserved5_;
    std::uint32_t servicesFound_;
    std::uint32_t tvServices_;
    std::uint32_t radioServices_;
    std::uint32_t type3Services_;
    std::uint32_t reserved6_;
    std::uint32_t reserved7_;
};

/// How to tune to one transponder. All else a receiver finds out by itself.
class OSTREL_API ITVConfig::TuningParams : public SerialObject {
public:
    /// Reads the member "frequencyKHz".
    /// @throws DecodeError  it is missing, or no unsigned 32-bit number
    explicit TuningParams(Deserializer& deserializer);

    /// The centre frequency in kHz. (The terrestrial delivery system descriptor of ETSI EN
    /// 300 468 counts in steps of 10 Hz.) A module that works in whole MHz cuts the rest off.
    std::uint32_t getFrequencyKHz() const { return frequencyKHz_; }

    TuningParams* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    std::uint32_t frequencyKHz_;
};

} // namespace Ostrel::TV
