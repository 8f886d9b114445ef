#include "Ostrel/transport/Answer.h"

namespace Ostrel {

namespace {

void addHeader(std::string& head, std::string_view name, std::string_view value) {
    head += name;
    head += ": ";
    head += value;
    head += "\r\n";
}

} // namespace

std::string formatHead(const Answer& answer, std::string_view allowedOrigin, std::string_view connection) {
    const auto reason = boost::beast::http::obsolete_reason(answer.status);
    std::string head = "HTTP/1.1 " + std::to_string(unsigned(answer.status)) + ' ';
    head.append(reason.data(), reason.size());
    head += "\r\n";
    addHeader(head, "X-Content-Type-Options", "nosniff");
    if (answer.type != nullptr) {
        addHeader(head, "Content-Type", answer.type);
        addHeader(head, "Content-Length", std::to_string(answer.body.size()));
    }
    if (!allowedOrigin.empty()) {
        addHeader(head, "Access-Control-Allow-Origin", allowedOrigin);
        addHeader(head, "Vary", "Origin");
    }
    head += answer.headers;
    if (!connection.empty())
        addHeader(head, "Connection", connection);
    return head + "\r\n";
}

} // namespace Ostrel
