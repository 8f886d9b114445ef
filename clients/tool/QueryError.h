#pragma once

#include "clients/cpp/Errors.h"

#include <string>
#include <utility>

namespace Ostrel::Client::Tool {

/// A query that the service refuses, and where it goes wrong.
class QueryError : public Error {
public:
    /// @param excerpt  lines to show below the text
    QueryError(const std::string& text, std::string excerpt) : Error(text), excerpt_(std::move(excerpt)) {}

    const std::string& getExcerpt() const { return excerpt_; }

private:
    std::string excerpt_;
};

} // namespace Ostrel::Client::Tool
