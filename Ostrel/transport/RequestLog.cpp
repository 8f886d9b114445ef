#include "Ostrel/transport/RequestLog.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/LineLimit.h"
#include "Ostrel/text/Printable.h"

#include <boost/json.hpp>

#include <exception>

namespace Ostrel {

namespace json = boost::json;

namespace {

std::string nameOf(const RPCObserver::Exchange& exchange) {
    if (exchange.interfaceName.empty())
        return exchange.methodName.empty() ? "(no method)" : excerpt(exchange.methodName);
    return excerpt(std::string(exchange.interfaceName) + "::" + std::string(exchange.methodName));
}

/// Only an error's reply is parsed: it is short, which a result need not be.
std::string outcomeOf(const RPCObserver::Exchange& exchange) {
    if (exchange.id.empty())
        return "no reply wanted";
    const auto error = R"({"jsonrpc":"2.0","id":)" + std::string(exchange.id) + R"(,"error":)";
    if (!exchange.reply.starts_with(error))
        return "ok";
    const auto reply = json::parse({exchange.reply.data(), exchange.reply.size()});
    const auto& message = reply.at("error").at("message").as_string();
    return "error " + std::to_string(reply.at("error").at("code").to_number<int>()) + " \"" +
           excerpt({message.data(), message.size()}) + '"';
}

} // namespace

void RequestLog::requestDone(const Exchange& exchange) noexcept {
    try {
        const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(exchange.took).count();
        const LineLimit::Lifted everyLineIsAskedFor;
        ostrelDebugPrint(DebugLevel::Information, "Requests", "Requests", __LINE__, "%s: %s: %s, %lld us\n",
                         client_.c_str(), nameOf(exchange).c_str(), outcomeOf(exchange).c_str(),
                         static_cast<long long>(micros));
    } catch (const std::exception&) {
        // A line for which there is no memory is left out, as the log does.
    }
}

} // namespace Ostrel
