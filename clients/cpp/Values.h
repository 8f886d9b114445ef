#pragma once

#include <boost/json/value.hpp>

#include <string_view>

namespace Ostrel::Client {

// What travels, as the values in between: Json.h has the same for texts.

/// Returns the value of a text of the service's.
///
/// @throws BadReply  it is not JSON
boost::json::value parse(std::string_view text);

/// Makes what a call returns from its result, see decode().
template <class Result> Result fromJson(const boost::json::value& reply);

/// Returns a record or a query as it travels, see encode().
template <class Record> boost::json::value toJson(const Record& record);

} // namespace Ostrel::Client
