// The context's guide operations. They only read, and take no lock.

#include "TV/server/dummy/DummyTVModuleContext.h"

#include "Ostrel/runtime/Cancellation.h"
#include "TV/server/dummy/documents/RowDocument.h"
#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/guide/NowNext.h"
#include "TV/server/dummy/query/EventQuery.h"
#include "TV/server/dummy/query/QuorilQuery.h"

#include <cstddef>
#include <limits>

namespace Ostrel::TV {

VectorObject<std::string> DummyTVModuleContext::nowNextGet(const unsigned& id,
                                                           const std::string& outputFormat) {
    const auto format = findOutputFormat(outputFormat);
    if (!format)
        fail("nowNextGet", ReturnCode::NotSupported, __LINE__);
    const auto now = utcTimeGet();
    const auto guide = module->guideAt(now);
    const NowNext found = findNowNext(*guide, id, now);
    VectorObject<std::string> documents;
    if (found.now)
        documents.push_back(formatEntry(*format, found.now, OnAir, guide->world()));
    if (found.next)
        documents.push_back(formatEntry(*format, found.next, Following, guide->world()));
    return documents;
}

VectorObject<std::string> DummyTVModuleContext::query(const std::string& expression,
                                                      const std::string& expressionFormat,
                                                      const std::string& outputFormat) {
    constexpr unsigned noLimit = std::numeric_limits<unsigned>::max();
    const auto format = findOutputFormat(outputFormat);
    if (expressionFormat != "quoril" || !format)
        fail("query", ReturnCode::NotSupported, __LINE__);
    const auto guide = module->guideNow();
    QuorilQuery rows(*guide);
    if (!rows.init(expression, 0, noLimit))
        fail("query", ReturnCode::NotSupported, __LINE__);
    constexpr std::size_t someDocuments = 256;
    const auto count = rows.count();
    if (count > someDocuments)
        Cancellation::check();
    VectorObject<std::string> documents;
    documents.reserve(count);
    while (const epgentry* row = rows.next()) {
        if (documents.size() % someDocuments == someDocuments - 1)
            Cancellation::check();
        documents.push_back(formatEntry(*format, row, Schedule, guide->world()));
    }
    return documents;
}

VectorObject<ITVGuide::EventInfo> DummyTVModuleContext::queryEventInfo(const Query& query) {
    const auto guide = module->guideNow();
    VectorObject<EventInfo> events;
    if (!EventQuery(*guide, query).run(events))
        fail("queryEventInfo", ReturnCode::NotSupported, __LINE__);
    return events;
}

VectorObject<ITVGuide::EventInfo> DummyTVModuleContext::queryNowNextEventInfo(const unsigned& id) {
    const auto now = utcTimeGet();
    const auto guide = module->guideAt(now);
    const NowNext found = findNowNext(*guide, id, now);
    VectorObject<EventInfo> events;
    if (found.now)
        appendEvent(events, *found.now);
    if (found.next)
        appendEvent(events, *found.next);
    return events;
}

VectorObject<ITVGuide::GenreStringMap> DummyTVModuleContext::getGenreStringMapList() {
    return sharedGuide().genres();
}

} // namespace Ostrel::TV
