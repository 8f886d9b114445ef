#include "clients/generator/cpp/Schema.h"

#include <boost/json/serialize.hpp>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace Ostrel::Generator {

namespace {

namespace json = boost::json;

using Limits32 = std::numeric_limits<std::int32_t>;
using LimitsU32 = std::numeric_limits<std::uint32_t>;

double boundOf(const Schema& schema, std::string_view bound, double fallback) {
    const auto* const value = schema.if_contains(bound);
    return value != nullptr ? value->to_number<double>() : fallback;
}

/// Returns a constant as it is written: 0.5, which JSON text may have as 5E-1.
std::string literal(const json::value& value) {
    if (!value.is_double())
        return json::serialize(value);
    std::ostringstream text;
    text << value.get_double();
    return text.str();
}

} // namespace

std::string textOf(const json::object& object, std::string_view member) {
    const auto* const text = object.if_contains(member);
    return text != nullptr ? std::string(text->as_string()) : std::string();
}

std::string join(const std::vector<std::string>& texts, const char* between) {
    std::string joined;
    for (const auto& text : texts) {
        if (!text.empty())
            joined.append(joined.empty() ? "" : between).append(text);
    }
    return joined;
}

bool isType(const Schema& schema, std::string_view type) {
    const auto* const types = schema.if_contains("type");
    return types != nullptr && types->is_string() && types->get_string() == type;
}

json::array choicesOf(const Schema& schema) {
    const auto* const choices = schema.if_contains("oneOf");
    return choices != nullptr ? choices->as_array() : json::array();
}

bool listsValues(const Schema& schema) {
    const auto choices = choicesOf(schema);
    return !choices.empty() && choices[0].as_object().contains("const");
}

bool isRecord(const Schema& schema) {
    const auto choices = choicesOf(schema);
    return schema.contains("properties") ||
           (!choices.empty() && choices[0].as_object().contains("properties"));
}

bool isVariant(const Schema& schema) {
    return !choicesOf(schema).empty() && !listsValues(schema) && !isRecord(schema);
}

bool isRequired(const Schema& owner, std::string_view member) {
    const auto* const required = owner.if_contains("required");
    return required != nullptr &&
           std::any_of(required->as_array().begin(), required->as_array().end(),
                       [&](const json::value& name) { return std::string_view(name.as_string()) == member; });
}

std::string typeOfInteger(const Schema& schema) {
    const auto least = boundOf(schema, "minimum", listsValues(schema) ? 0 : Limits32::min());
    const auto most = boundOf(schema, "maximum", least < 0 ? Limits32::max() : LimitsU32::max());
    if (least >= 0)
        return most <= LimitsU32::max() ? "std::uint32_t" : "std::uint64_t";
    return least >= Limits32::min() && most <= Limits32::max() ? "std::int32_t" : "std::int64_t";
}

std::string describeNumber(const Schema& schema) {
    const auto unit = textOf(schema, "x-unit");
    const auto most = boundOf(schema, "maximum", Limits32::max());
    const bool isNarrow = schema.contains("minimum") && most != Limits32::max() && most < LimitsU32::max();
    const auto range =
        isNarrow ? literal(schema.at("minimum")) + " to " + literal(schema.at("maximum")) : std::string();
    return join({unit.empty() ? "" : "Unit: " + unit + ".", range.empty() ? "" : "Range: " + range + "."},
                " ");
}

std::string describeChoices(const Schema& schema) {
    std::vector<std::string> described;
    for (const auto& each : choicesOf(schema)) {
        const auto& choice = each.as_object();
        const auto* const value = choice.if_contains("const");
        const auto text =
            join({value != nullptr ? json::serialize(*value) : "", textOf(choice, "description")}, ": ");
        described.push_back("- " + text);
    }
    return join(described, "\n");
}

std::string initializerOf(const std::string& type, const json::value* value) {
    const bool isList = value != nullptr && value->is_array();
    if (value != nullptr && (value->is_object() || (isList && !value->get_array().empty())))
        throw std::runtime_error("there is no C++ for the default " + json::serialize(*value));
    if (value == nullptr || isList) {
        if (type == "bool")
            return "false";
        return type == "double" || type.ends_with("int32_t") || type.ends_with("int64_t") ? "0" : "";
    }
    if ((type == "std::int32_t" && *value == Limits32::max()) ||
        (type == "std::uint32_t" && *value == LimitsU32::max()))
        return "std::numeric_limits<" + type + ">::max()";
    return literal(*value);
}

} // namespace Ostrel::Generator
