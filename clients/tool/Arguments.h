#pragma once

#include "commandline/Values.h"

#include <cstdint>
#include <string>

namespace Ostrel::Client::Tool {

using CommandLine::Option;
using CommandLine::text;
using CommandLine::wholeNumber;

/// @throws UsageError  for anything else the service closes the connection without a word
void checkUtf8(const std::string& given);

/// Takes UTF-8.
template <class Place> CommandLine::Reader utf8(Place& place) {
    return [read = text(place)](const std::string& given) {
        checkUtf8(given);
        read(given);
    };
}

/// The option "--source", which several commands have.
Option sourceOption(std::uint32_t& source);

} // namespace Ostrel::Client::Tool
