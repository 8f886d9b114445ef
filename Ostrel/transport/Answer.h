#pragma once

#include <boost/beast/http/status.hpp>

#include <ostream> // the reason phrases of Beast need it
#include <string>
#include <string_view>

namespace Ostrel {

/// An answer to one HTTP request.
struct Answer {
    static constexpr const char* text = "text/plain; charset=utf-8";

    boost::beast::http::status status;
    std::string body = {};
    const char* type = text; ///< of the body; null when there is none at all
    std::string headers = {}; ///< further ones, each with its line end
    bool last = false; ///< the connection ends behind it
};

/// Returns the status line and the headers, with the empty line behind them.
///
/// @param allowedOrigin  the page of another origin that may read the answer; empty for none
/// @param connection     the Connection header; empty for none
std::string formatHead(const Answer& answer, std::string_view allowedOrigin, std::string_view connection);

} // namespace Ostrel
