#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Soak {

/// A message of a well-behaved client and what must be answered to it.
struct Exchange {
    /// One reply of those that the answer must hold.
    struct Reply {
        std::string id; ///< as JSON text
        enum Kind { Answer, Time, Context } kind = Answer;
        std::string answer = {}; ///< the reply's text behind its id; of an Answer
    };

    std::string text; ///< the message; of a GET the path
    std::vector<Reply> replies = {}; ///< in their order
    bool isBatch = false;
    bool isGet = false; ///< the answer is that of the first reply, as it is

    /// Returns what is wrong with an answer, for people; empty when nothing is.
    /// @param begin  of the span in which the service's clock must be
    /// @param end    the first second behind that
    std::string check(std::string_view answer, std::time_t begin, std::time_t end) const;
};

/// Reads the number that a reply behind its id must have for its result; returns the length of that
/// text, 0 when it is none.
std::size_t readResult(std::string_view text, unsigned long& number);

} // namespace Ostrel::Soak
