#pragma once

#include "TV/server/dummy/data/Catalogue.h"
#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/Services.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// What a service shows at one time.
struct Showing {
    std::int64_t start = 0; ///< seconds since 1970-01-01 UTC
    std::int64_t end = 0;
    const Programme* programme = nullptr;
    std::size_t episode = 0;
    std::string origin; ///< slug of the service whose catalogue has the programme
};

/// How a pool met its demand over the whole guide.
struct PoolUse {
    std::size_t episodes = 0; ///< supply
    std::size_t slots = 0; ///< demand
    TextLine line; ///< of its first slot
};

/// Lays the catalogues out over the days of the guide.
///
/// The same catalogues always give the same showings: there is no chance in it but for
/// digests of titles and times.
class Schedule {
public:
    /// Reads the catalogues of the services that have one; with `partial`, a service whose
    /// catalogue is missing or wrong shows nothing, and why becomes a remark.
    Schedule(const std::vector<Service>& services, const std::string& catalogueDirectory, bool partial);

    /// A service's showings in the order of time, within the guide's span.
    std::vector<Showing> showings(const Service& service) const;

    /// How a service's pools were used.
    const std::map<std::string, PoolUse>& pools(const std::string& slug) const;

    /// Remarks about a service for the editors, each with its place in the catalogue: what is not
    /// on, and what a viewer would find odd.
    const std::vector<std::string>& remarks(const std::string& slug) const;

private:
    class Layout;

    void layOut(const std::string& slug);

    /// Runs a step for a service; with `partial` its error is but a remark.
    template <class Step> void attempt(const std::string& slug, bool partial, Step step);

    std::map<std::string, Catalogue> catalogues_;
    std::map<std::string, std::vector<Showing>> laidOut_;
    std::map<std::string, std::map<std::string, PoolUse>> pools_;
    std::set<std::string> ledLater_; ///< services that another one follows an hour later
    std::vector<std::string> underWay_;
    std::map<std::string, std::vector<std::string>> remarks_;
};

/// Starts of events lie in this span: 2011-10-11 22:00 to 2011-10-20 00:55 in London.
constexpr std::int64_t firstStart = 1318366800;
constexpr std::int64_t lastStart = 1319068500;

} // namespace Ostrel::TV
