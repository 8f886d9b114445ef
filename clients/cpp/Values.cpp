#include "clients/cpp/Values.h"

#include <boost/json/parse.hpp>

namespace Ostrel::Client {

namespace json = boost::json;

json::value parse(std::string_view text) {
    json::parse_options options;
    options.max_depth = 256;
    json::error_code error;
    auto value = json::parse(json::string_view(text.data(), text.size()), error, {}, options);
    if (error)
        throw BadReply("the service sent what is not JSON: " + error.message());
    return value;
}

template bool decode(std::string_view);
template std::uint32_t decode(std::string_view);
template std::vector<std::string> decode(std::string_view);

} // namespace Ostrel::Client
