#pragma once

#include <boost/json/storage_ptr.hpp>
#include <boost/json/value.hpp>
#include <boost/system/error_code.hpp>

#include <string_view>

namespace Ostrel {

/// Parses a whole text as JSON, strictly as RFC 8259 has it: valid UTF-8, no byte order mark,
/// nothing behind the value, nested at most 64 deep. Of duplicate members the last one counts.
///
/// Numbers are exact: one whose decimal value is an integer within 64 bits is held as an
/// integer (1.0, 100e-2 and -0.0 too), every other one as a double that no rounding has made
/// an integer within 64 bits.
///
/// @param storage  where the value lives
/// @param error    cleared, or what is wrong with the text; then the value is null
/// @throws std::bad_alloc
boost::json::value parseJson(std::string_view text, boost::json::storage_ptr storage,
                             boost::system::error_code& error);

} // namespace Ostrel
