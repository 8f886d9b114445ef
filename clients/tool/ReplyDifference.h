#pragma once

#include <boost/json/value.hpp>

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace Ostrel::Client::Tool {

/// A place where two replies differ. The texts are JSON, empty for what is not there.
struct ReplyDifference {
    std::string path; ///< "result[3].name"; empty for the whole
    std::string recorded;
    std::string replayed;
};

/// Compares replies, member by member.
///
/// @param without  names of members that are not looked at, wherever they stand
/// @param most     further differences are left out
std::vector<ReplyDifference> compareReplies(const boost::json::value& recorded,
                                            const boost::json::value& replayed,
                                            const std::set<std::string>& without, std::size_t most);

} // namespace Ostrel::Client::Tool
