#include "clients/cpp/Caller.h"

#include "clients/cpp/Connection.h"
#include "clients/cpp/ValueText.h"

namespace Ostrel::Client {

namespace json = boost::json;

json::value Caller::request(Context& context, std::string_view method, const json::object& params) {
    return context.connection_->request(method, params.empty() ? "" : toText(params), context.timeout_);
}

json::value Caller::call(Context& context, std::string_view method) {
    return context.connection_->request(method, context.makeParams({}), context.timeout_);
}

json::value Caller::call(Context& context, std::string_view method, const json::object& payload) {
    return context.connection_->request(method, context.makeParams(toText(payload)), context.timeout_);
}

} // namespace Ostrel::Client
