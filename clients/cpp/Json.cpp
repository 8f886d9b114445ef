#include "clients/cpp/Json.h"

#include "clients/cpp/Values.h"

#include <boost/json/serialize.hpp>

namespace Ostrel::Client {

template <class Result> Result decode(std::string_view json) {
    return fromJson<Result>(parse(json));
}

template <class Record> std::string encode(const Record& record) {
    return boost::json::serialize(toJson(record));
}

template <class Record> std::string encode(const std::vector<Record>& records) {
    std::string text = "[";
    for (const auto& record : records)
        text.append(text.size() > 1 ? "," : "").append(encode(record));
    return text + "]";
}

template bool decode(std::string_view);
template std::uint32_t decode(std::string_view);
template std::vector<std::string> decode(std::string_view);
template std::string encode(const Query&);

#define OSTREL_CLIENT_RECORD(Record)                                                                         \
    template Record decode(std::string_view);                                                                \
    template std::vector<Record> decode(std::string_view);                                                   \
    template std::string encode(const Record&);                                                              \
    template std::string encode(const std::vector<Record>&);

OSTREL_CLIENT_RECORD(ServiceInfo)
OSTREL_CLIENT_RECORD(EventInfo)
OSTREL_CLIENT_RECORD(GenreStringMap)
OSTREL_CLIENT_RECORD(SignalStatus)
OSTREL_CLIENT_RECORD(ScanInfo)

} // namespace Ostrel::Client
