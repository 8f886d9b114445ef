// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace Ostrel {

/// Writes metrics as Prometheus reads them: its text format 0.0.4.
class OSTREL_API MetricsText {
public:
    static constexpr const char* contentType = "text/plain; version=0.0.4; charset=utf-8";

    /// A label's name and its value, which need no escapes: what clients send is never one.
    using Label = std::pair<std::string_view, std::string_view>;

    /// Begins a family, whose samples follow.
    void begin(std::string_view name, std::string_view help, std::string_view type);

    /// Adds a sample.
    /// @param suffix  of the name, which parts of a histogram have; else empty
    void add(std::string_view suffix, std::initializer_list<Label> labels, std::string_view value);

    /// What was written; to be taken once.
    std::string take() { return std::move(text_); }

private:
    std::string name_;
    std::string text_;
};

} // namespace Ostrel
