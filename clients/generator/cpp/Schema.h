#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Generator {

// What a JSON Schema says, in the words of C++ where it can be said without the others.

using Schema = boost::json::object;

/// Returns a member that is a text, an empty one where there is none.
std::string textOf(const boost::json::object& object, std::string_view member);

/// Joins what is not empty.
std::string join(const std::vector<std::string>& texts, const char* between);

bool isType(const Schema& schema, std::string_view type);

/// The values that a schema lists, or the objects of which it is either.
boost::json::array choicesOf(const Schema& schema);

/// Whether it is one of a list of values.
bool listsValues(const Schema& schema);

/// Whether it is an object that has members, or either of some.
bool isRecord(const Schema& schema);

/// Whether it is a value of one of several types, each with a schema of its own.
bool isVariant(const Schema& schema);

bool isRequired(const Schema& owner, std::string_view member);

/// Returns 32 bits, unsigned where nothing is below 0, and 64 for what does not fit.
std::string typeOfInteger(const Schema& schema);

/// Returns what the type does not say of a number.
std::string describeNumber(const Schema& schema);

/// Returns the texts that are understood, or the types, each with what it means.
std::string describeChoices(const Schema& schema);

/// Returns what a member of this type is at the start; empty: what the type makes of it.
///
/// @param value  the default, null where there is none
/// @throws std::runtime_error  it is a list or an object that is not empty
std::string initializerOf(const std::string& type, const boost::json::value* value);

} // namespace Ostrel::Generator
