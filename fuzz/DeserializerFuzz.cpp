// Any text as an object: each member is read as what another reader says that it is, and what becomes a record
// is written as a text that becomes the same record.

#include "Ostrel/serialization/DecodeError.h"
#include "Ostrel/serialization/Deserializer.h"
#include "TV/interfaces/ITVConfig.h"
#include "TV/interfaces/ITVGuide.h"
#include "TV/interfaces/ITVService.h"
#include "TV/server/TVRPCServer.h"
#include "fuzz/Require.h"
#include "simulator/Weather.h"

#include <boost/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace json = boost::json;
using namespace Ostrel;
using namespace Ostrel::Fuzz;
using namespace Ostrel::TV;

namespace {

/// What reading gives; nothing when it is refused.
template <typename Read> auto attempt(Read read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const DecodeError& error) {
        require(*error.what() != '\0');
        return std::nullopt;
    }
}

// Members one by one

constexpr std::string_view numberBytes = "0123456789+-.eE";
constexpr unsigned deepest = 64;

json::value parse(const std::string& text, json::error_code& problem) {
    json::parse_options options;
    options.max_depth = deepest;
    return json::parse(text, problem, {}, options);
}

/// Whether another reader's doubles are enough to tell what the numbers are: those with a fraction or an
/// exponent are short and of no extreme size.
bool hasPlainNumbers(std::string_view text) {
    for (std::size_t at = 0; (at = text.find_first_of(numberBytes, at)) != std::string_view::npos;) {
        const auto number = text.substr(at, text.find_first_not_of(numberBytes, at) - at);
        const auto exponent = std::min(number.find_first_of("eE"), number.size());
        const bool isInteger = number.find_first_of(".eE") == std::string_view::npos;
        if (!isInteger && (number.size() > 10 || number.size() - exponent > 3))
            return false;
        at += number.size();
    }
    return true;
}

/// A number that is not an integer by its last bits alone is one: the other reader is no better than that.
double valueOf(const json::value& value) {
    const double number = value.to_number<double>();
    const double nearest = std::round(number);
    return std::abs(number - nearest) <= std::abs(number) * 1e-12 ? nearest : number;
}

std::optional<std::int64_t> integerOf(const json::value& value) {
    if (value.is_int64())
        return value.get_int64();
    if (value.is_double() && std::abs(valueOf(value)) < 1e15 && std::trunc(valueOf(value)) == valueOf(value))
        return static_cast<std::int64_t>(valueOf(value));
    return std::nullopt;
}

template <typename T> bool isOf(std::optional<std::int64_t> value) {
    return value && *value >= std::numeric_limits<T>::min() && *value <= std::numeric_limits<T>::max();
}

void compareMember(const Deserializer& object, const std::string& key, const json::value& value) {
    require(object.has(key));
    require(object.isList(key) == value.is_array());
    const auto boolean = attempt([&] { return object.readBool(key); });
    require(boolean.has_value() == value.is_bool());
    require(!boolean || *boolean == value.get_bool());
    const auto text = attempt([&] { return object.readString(key); });
    require(text.has_value() == value.is_string());
    require(!text || *text == std::string_view(value.get_string()));

    const auto integer = integerOf(value);
    const auto number = attempt([&] { return object.readInt(key); });
    require(number.has_value() == isOf<std::int32_t>(integer));
    require(!number || *number == *integer);
    const auto whole = attempt([&] { return object.readUnsigned(key); });
    require(whole.has_value() == isOf<std::uint32_t>(integer));
    require(!whole || *whole == *integer);
    const auto some = attempt([&] { return object.readUnsigned(key, 3, 7); });
    require(some.has_value() == (integer && *integer >= 3 && *integer <= 7));
    const auto fraction = attempt([&] { return object.readNumber(key, -2, 3600); });
    const double real = value.is_number() ? valueOf(value) : 9999;
    require(fraction.has_value() == (real >= -2 && real <= 3600));
    require(!fraction || std::abs(*fraction - real) <= std::abs(real) * 1e-12);

    const json::array none;
    const json::array& list = value.is_array() ? value.get_array() : none;
    const auto compareList = [&](const auto& read, auto isElement, std::size_t limit) {
        require(read.has_value() == (value.is_array() && list.size() <= limit &&
                                     std::all_of(list.begin(), list.end(), isElement)));
        require(!read || read->size() == list.size());
    };
    constexpr auto noLimit = std::numeric_limits<std::size_t>::max();
    compareList(
        attempt([&] { return object.readIntList(key); }),
        [](const json::value& each) { return isOf<std::int32_t>(integerOf(each)); }, noLimit);
    compareList(
        attempt([&] { return object.readByteList(key); }),
        [](const json::value& each) { return isOf<std::uint8_t>(integerOf(each)); }, noLimit);
    compareList(
        attempt([&] { return object.readStringList(key, 2); }),
        [](const json::value& each) { return each.is_string(); }, 2);
    const auto inside = attempt([&] { return object.readObjectText(key); });
    require(inside.has_value() == (value.is_object() || value.is_string()));
    json::error_code problem;
    require(!inside || !value.is_object() || parse(*inside, problem) == value);
}

void compareObject(Deserializer& object, const json::object& members) {
    for (const auto& [name, value] : members) {
        const std::string key(name);
        const bool canBeName = std::all_of(key.begin(), key.end(), [](char c) { return c > 0; });
        if (!canBeName)
            continue; // no record has such a name
        compareMember(object, key, value);
        const auto entered = attempt([&] {
            object.enterMember(key);
            return true;
        });
        require(entered.has_value() == value.is_object());
        if (entered) {
            compareObject(object, value.get_object());
            object.leaveMember(key);
        }
    }
    require(object.has("absent name") == members.contains("absent name"));
}

// Records

struct Record {
    std::string (*readAndWrite)(Deserializer&);
    bool refusesUnknown = false;
};

template <typename T> T get(const char* key, Deserializer& in) {
    return deserialize<T>(key, in);
}

template <typename T> std::string write(const T& record) {
    Serializer out;
    out.beginObject("");
    record.serialize(out);
    out.endObject("");
    return out.generate();
}

std::string readService(Deserializer& in) {
    const auto type = static_cast<ITVService::ServiceInfo::Type>(in.readUnsigned("type", 1, 3));
    return write(ITVService::ServiceInfo(
        get<unsigned>("channelNumber", in), get<std::string>("name", in), get<std::string>("uri", in),
        get<unsigned>("id", in), type, get<std::string>("provider", in), get<bool>("scrambled", in),
        get<bool>("highDefinition", in), get<bool>("visible", in), get<bool>("selectable", in)));
}

std::string readEvent(Deserializer& in) {
    VectorObject<unsigned char> genres;
    for (const unsigned char genre : in.readByteList("genres"))
        genres.push_back(genre);
    return write(ITVGuide::EventInfo(get<unsigned>("serviceId", in), long{get<int>("startTime", in)},
                                     long{get<int>("endTime", in)}, get<std::string>("title", in),
                                     get<std::string>("description", in), get<bool>("highDefinition", in),
                                     get<unsigned>("extra", in), genres));
}

std::string readGenre(Deserializer& in) {
    const auto code = static_cast<unsigned char>(in.readUnsigned("code", 0, 255));
    return write(ITVGuide::GenreStringMap(code, get<std::string>("text", in)));
}

std::string readSignal(Deserializer& in) {
    return write(ITVService::SignalStatus(get<unsigned>("strength", in), get<unsigned>("quality", in)));
}

std::string readScan(Deserializer& in) {
    const auto number = [&](const char* key) { return get<unsigned>(key, in); };
    return write(ITVConfig::ScanInfo(get<bool>("scanning", in), number("progress"), number("reserved1"),
                                     number("reserved2"), number("reserved3"), number("reserved4"),
                                     number("reserved5"), number("servicesFound"), number("tvServices"),
                                     number("radioServices"), number("type3Services"), number("reserved6"),
                                     number("reserved7")));
}

std::string readRequest(Deserializer& in) {
    const TVRPCServer::Request request(in);
    Serializer out;
    out.beginObject("");
    serialize("context", request.getContext(), out);
    out.write("payload", request.getPayload());
    out.endObject("");
    return out.generate();
}

template <typename T> void writeList(MemberName key, const std::vector<T>& list, Serializer& out) {
    out.beginList(key);
    for (const T& each : list)
        if constexpr (std::is_same_v<T, unsigned char>)
            serialize("", int{each}, out);
        else
            serialize("", each, out);
    out.endList(key);
}

std::string readQuery(Deserializer& in) {
    const ITVGuide::Query query(in);
    Serializer out;
    out.beginObject("");
    writeList("serviceIdList", query.getServiceIdList(), out);
    out.beginObject("timeRange");
    serialize("valid", query.getTimeRange().getValid(), out);
    serialize("strict", query.getTimeRange().getStrict(), out);
    serialize("base", int{query.getTimeRange().getBase()}, out);
    serialize("limit", int{query.getTimeRange().getLimit()}, out);
    out.endObject("timeRange");
    writeList("genreList", query.getGenreList(), out);
    writeList("stringList", query.getStringList(), out);
    serialize("stringAnd", query.getStringAnd(), out);
    serialize("stringMatchDescription", query.getStringMatchDescription(), out);
    serialize("orderByServiceIdPriority", int{query.getOrderByServiceIdPriority()}, out);
    serialize("orderByStartTimePriority", int{query.getOrderByStartTimePriority()}, out);
    out.beginObject("sliceRange");
    serialize("valid", query.getSliceRange().getValid(), out);
    serialize("base", unsigned{query.getSliceRange().getBase()}, out);
    serialize("limit", unsigned{query.getSliceRange().getLimit()}, out);
    out.endObject("sliceRange");
    out.endObject("");
    return out.generate();
}

std::string readWeather(Deserializer& in) {
    const Weather::Settings settings(in);
    Serializer out;
    out.beginObject("");
    out.beginList("rules");
    for (const WeatherRule& rule : settings.rules) {
        out.beginObject("");
        rule.serialize(out);
        out.endObject("");
    }
    out.endList("rules");
    serialize("seed", unsigned{settings.seed}, out);
    out.endObject("");
    return out.generate();
}

std::string readTuning(Deserializer& in) {
    return write(ITVConfig::TuningParams(in));
}

/// Compares what was written with what was given: nothing but unknown members is lost.
void compareValues(const json::value& written, const json::value& given, bool refusesUnknown) {
    if (given.is_object() && written.is_object()) {
        for (const auto& [name, value] : given.get_object()) {
            const auto* const found = written.get_object().if_contains(name);
            require(found != nullptr || !refusesUnknown);
            if (found != nullptr)
                compareValues(*found, value, refusesUnknown);
        }
    } else if (given.is_array() && written.is_array()) {
        require(given.get_array().size() == written.get_array().size());
        for (std::size_t i = 0; i != given.get_array().size(); ++i)
            compareValues(written.get_array()[i], given.get_array()[i], refusesUnknown);
    } else if (given.is_number() && written.is_number()) {
        require(std::abs(valueOf(written) - valueOf(given)) <= std::abs(valueOf(given)) * 1e-12);
    } else if (written.is_string() && given.is_object()) {
        json::error_code problem; // a payload, which may be given either way
        require(parse(std::string(written.get_string()), problem) == given);
    } else if (written.is_number() && given.is_array()) {
        for (const json::value& each : given.get_array()) // a range from a number to the same
            compareValues(written, each, refusesUnknown);
    } else {
        require(written == given);
    }
}

void goRound(const Record& record, Deserializer& in, const json::value* given) {
    const auto text = attempt([&] { return record.readAndWrite(in); });
    if (!text)
        return;
    Deserializer again(*text);
    requireEqual(record.readAndWrite(again), *text);
    json::error_code problem;
    if (given != nullptr)
        compareValues(parse(*text, problem), *given, record.refusesUnknown);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    json::error_code problem;
    const auto value = parse(text, problem);
    if (problem == json::error::exponent_overflow)
        return 0; // which is JSON, but more than that reader can do
    const bool isObject = !problem && value.is_object();
    const auto in = attempt([&] { return std::make_unique<Deserializer>(text); });
    require(in.has_value() == isObject);
    if (!isObject)
        return 0;
    require((*in)->getSize() == size);
    const bool isPlain = hasPlainNumbers(text);
    if (isPlain)
        compareObject(**in, value.get_object());
    for (const Record& record : {Record{readService},
                                 {readEvent},
                                 {readGenre},
                                 {readSignal},
                                 {readScan},
                                 {readRequest},
                                 {readTuning},
                                 {readQuery, true},
                                 {readWeather, true}})
        goRound(record, **in, isPlain ? &value : nullptr);
    return 0;
}
