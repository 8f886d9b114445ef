// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "clients/cpp/Records.h"

#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Client {

/// Makes what a method answers from its result as JSON text, which Context::call() returns: a record,
/// a std::vector of one, bool, std::uint32_t, or std::vector<std::string>. Members that a record does
/// not have are ignored.
///
/// @throws BadReply  names the member that is missing or of another type
template <class Result> Result decode(std::string_view json);

/// Returns a record as it travels, as JSON text with the members in their order; of those that may be
/// left out, as all of a Query may, only what is not as at the start.
template <class Record> std::string encode(const Record& record);

/// Likewise, a list of them.
template <class Record> std::string encode(const std::vector<Record>& records);

} // namespace Ostrel::Client
