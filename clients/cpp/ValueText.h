#pragma once

#include <boost/json/value.hpp>

#include <string>
#include <string_view>

namespace Ostrel::Client {

/// Returns the value of a text of the service's.
///
/// @throws BadReply  it is not JSON
boost::json::value parse(std::string_view text);

/// Returns a value as text, numbers as people write them: 0.5, where Boost.JSON has 5E-1.
std::string toText(const boost::json::value& value);

} // namespace Ostrel::Client
