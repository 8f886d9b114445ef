#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace Ostrel::Client::Tool {

/// Where an expression of the query language goes wrong, and why.
struct QueryMistake {
    std::size_t position = 0; ///< in bytes
    std::string reason; ///< "a field or a number is expected"
};

/// Returns the first mistake of an expression, nothing when it is one that the service takes.
std::optional<QueryMistake> findQueryMistake(const std::string& expression);

/// Returns the first name in an expression that is no field; such an expression is taken and finds
/// nothing.
std::optional<std::string> findUnknownField(const std::string& expression);

/// Returns two lines: the expression, or what of it is near a position, and a caret below it.
///
/// @param position  in bytes, up to the end of the expression
/// @param columns   what the terminal is wide
std::string pointAt(const std::string& expression, std::size_t position, std::size_t columns);

} // namespace Ostrel::Client::Tool
