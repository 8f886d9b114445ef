#pragma once

#include "clients/cpp/Context.h"

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <string_view>

namespace Ostrel::Client {

/// What typed calls are made with: what Context does with texts, with the values in between.
class Caller {
public:
    /// Sends a request with these params, with none where they are empty.
    static boost::json::value request(Context& context, std::string_view method,
                                      const boost::json::object& params = {});

    /// Calls a method with the context alone.
    static boost::json::value call(Context& context, std::string_view method);

    /// Calls a method with the context and a payload, which may be empty.
    static boost::json::value call(Context& context, std::string_view method,
                                   const boost::json::object& payload);
};

} // namespace Ostrel::Client
