#include "clients/tool/Arguments.h"

#include "commandline/UsageError.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

namespace Ostrel::Client::Tool {

void checkUtf8(const std::string& given) {
    boost::json::error_code error;
    boost::json::parse(boost::json::serialize(boost::json::string_view(given)), error);
    if (error)
        throw CommandLine::UsageError("this is not UTF-8");
}

Option sourceOption(std::uint32_t& source) {
    return {.name = "--source",
            .value = "N",
            .description = "The tuner, its source id",
            .read = wholeNumber(source),
            .standard = std::to_string(source)};
}

} // namespace Ostrel::Client::Tool
