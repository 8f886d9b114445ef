#include "Ostrel/transport/RequestLog.h"

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/LineLimit.h"
#include "Ostrel/text/Printable.h"

#include <boost/json.hpp>

#include <exception>
#include <string>

namespace Ostrel {

namespace json = boost::json;

namespace {

/// Only an error's reply is parsed: it is short, which a result need not be.
std::string outcomeOf(const RPCObserver::Message& reply) {
    if (reply.text.empty())
        return reply.id.empty() ? "no reply wanted" : "no reply";
    const auto error = R"({"jsonrpc":"2.0","id":)" + std::string(reply.id) + R"(,"error":)";
    if (!reply.text.starts_with(error))
        return "ok";
    const auto failure = json::parse({reply.text.data(), reply.text.size()}).at("error");
    const auto& message = failure.at("message").as_string();
    return "error " + std::to_string(failure.at("code").to_number<int>()) + " \"" +
           excerpt({message.data(), message.size()}) + '"';
}

} // namespace

void RequestLog::passed(const Message& message) noexcept {
    if (message.direction != Direction::Reply)
        return;
    try {
        const auto client = message.peer->client + " #" + std::to_string(message.peer->connection);
        const auto method = message.method.empty() ? "(no method)" : excerpt(message.method);
        const LineLimit::Lifted everyLineIsAskedFor;
        ostrelDebugPrint(DebugLevel::Information, "Requests", "Requests", __LINE__, "%s: %s: %s, %lld us\n",
                         client.c_str(), method.c_str(), outcomeOf(message).c_str(),
                         static_cast<long long>(message.took.count()));
    } catch (const std::exception&) {
        // A line for which there is no memory is left out, as the log does.
    }
}

} // namespace Ostrel
