#pragma once

#include "clients/tool/Session.h"

#include <functional>
#include <string>
#include <utility>

namespace CLI {
class App;
}

namespace Ostrel::Client::Tool {

/// What the command line asked for. The parser only chooses it: it runs once the whole
/// line is known to be good.
using Action = std::function<void(Session&)>;

/// A command line that the parser took and that means nothing all the same.
class UsageError : public Error {
public:
    using Error::Error;
};

/// A query that the service refuses, and where it goes wrong.
class QueryError : public Error {
public:
    /// @param excerpt  lines to show below the text
    QueryError(const std::string& text, std::string excerpt) : Error(text), excerpt_(std::move(excerpt)) {}

    const std::string& getExcerpt() const { return excerpt_; }

private:
    std::string excerpt_;
};

// Each adds one command, which puts what it does into the action.
void addServices(CLI::App& app, Action& action);
void addSignal(CLI::App& app, Action& action);
void addTime(CLI::App& app, Action& action);
void addGenres(CLI::App& app, Action& action);
void addNow(CLI::App& app, Action& action);
void addGuide(CLI::App& app, Action& action);
void addQuery(CLI::App& app, Action& action);
void addScan(CLI::App& app, Action& action);
void addTransponders(CLI::App& app, Action& action);
void addCall(CLI::App& app, Action& action);
void addWatch(CLI::App& app, Action& action);

} // namespace Ostrel::Client::Tool
