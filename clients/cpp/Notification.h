#pragma once

#include <boost/json/object.hpp>

#include <string>

namespace Ostrel::Client {

/// What the service tells every client unasked.
struct Notification {
    std::string method; ///< for example "ITVConfig::onScanProgress"
    boost::json::object params; ///< for example {"sourceId":1,"percent":42}
};

} // namespace Ostrel::Client
