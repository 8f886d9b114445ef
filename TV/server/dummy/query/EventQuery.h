#pragma once

#include "TV/interfaces/ITVGuide.h"
#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/quoril/Filter.h"

#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// Appends a row as an event. Its genres are the one byte that the low bits of Content are,
/// also where there is no Content.
void appendEvent(VectorObject<ITVGuide::EventInfo>& events, const epgentry& row);

/// What an event's time must be like, see buildQueryExpression().
enum ExpressionMode : unsigned {
    AnyTime = 0,
    EndsBefore = 1, ///< it is over at the end of the range
    EndsAfter = 2, ///< it goes on beyond the start of the range
};

/// Returns the services and the times of a query as the text of an Expression; an empty text
/// is for every row.
std::string buildQueryExpression(const ITVGuide::Query& query, unsigned mode);

/// Makes what that expression asks, without its text.
/// @returns false when the text would not be an expression; the filter means nothing then
bool makeQueryFilter(const ITVGuide::Query& query, unsigned mode, Filter& filter);

/// Carries out one structured query. One request makes one.
class EventQuery {
public:
    /// Both must stay where they are.
    EventQuery(const Guide& guide, const ITVGuide::Query& query);

    /// Finds, orders and slices.
    /// @returns false when services and times do not make an expression
    /// @throws Cancelled  some events may have been added
    bool run(VectorObject<ITVGuide::EventInfo>& events);

private:
    class Slice;

    bool hasGenre(const epgentry& row) const;

    const Guide& guide_;
    const ITVGuide::Query& query_;
    std::vector<std::int32_t> keys_; ///< of Less
    std::bitset<256> genres_; ///< those of which an event must have one
};

} // namespace Ostrel::TV
