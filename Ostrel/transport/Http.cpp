#include "Ostrel/transport/Http.h"

#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/text/Printable.h"
#include "Ostrel/transport/Credentials.h"
#include "Ostrel/transport/MetricsPage.h"
#include "Ostrel/transport/WebSocketFrame.h"

#include <boost/beast/http/error.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <algorithm>
#include <array>
#include <utility>

namespace Ostrel {

namespace beast = boost::beast;
namespace http = beast::http;

namespace {

constexpr std::string_view rpcPath = "/rpc/";
constexpr std::string_view descriptionPath = "/openrpc.json";
constexpr std::string_view descriptionFolder = "/openrpc/";
constexpr std::string_view descriptionEnd = ".json";
constexpr std::string_view healthPath = "/healthz";
constexpr std::string_view metricsPath = "/metrics";

Counter refusedHosts(refusals, "host");
Counter refusedOrigins(refusals, "origin");
Counter wrongTokens(refusals, "token");
Counter longHeads(refusals, "head_too_long");
Counter longBodies(refusals, "body_too_long");
Counter malformedOnes(refusals, "malformed");

/// What is no place in the page, though nothing is there.
constexpr std::array ownPaths = {"/rpc", "/openrpc"};

constexpr std::array jsonTypes = {"application/json", "application/json-rpc", "application/jsonrequest"};

std::string_view view(beast::string_view text) {
    return {text.data(), text.size()};
}

/// The path that a request asks for, without a query.
std::string_view pathOf(const Http::Request& request) {
    constexpr std::string_view scheme = "http://";
    auto target = view(request.target());
    if (target.starts_with(scheme)) {
        const auto slash = target.find('/', scheme.size());
        target = slash == std::string_view::npos ? "/" : target.substr(slash);
    }
    return target.substr(0, target.find('?'));
}

bool isGet(const Http::Request& request) {
    return request.method() == http::verb::get || request.method() == http::verb::head;
}

bool isJson(const Http::Request& request) {
    const auto header = view(request[http::field::content_type]);
    const auto type = header.substr(0, header.find_first_of("; \t"));
    return std::any_of(jsonTypes.begin(), jsonTypes.end(), [&](const char* json) {
        return beast::iequals(beast::string_view(type.data(), type.size()), json);
    });
}

/// What a request says in all its headers of that name, as one list.
std::string listOf(const Http::Request& request, http::field name) {
    std::string list;
    const auto [first, last] = request.equal_range(name);
    for (auto field = first; field != last; ++field) {
        if (!list.empty())
            list += ',';
        list += view(field->value());
    }
    return list;
}

std::string subProtocolOffers(const Http::Request& request) {
    return listOf(request, http::field::sec_websocket_protocol);
}

/// Where calls go, as far as servers are running: "; calls go to /rpc/A or /rpc/B".
std::string whereCallsGo() {
    std::string text;
    for (const auto* server : RPCServer::running()) {
        text += text.empty() ? "; calls go to " : " or ";
        text += std::string(rpcPath) + server->getName();
    }
    return text;
}

std::string advise(const std::string& advice) {
    return advice.empty() ? std::string() : "; " + advice;
}

/// The advice, with the value that it is about behind it.
std::string advise(const std::string& advice, std::string_view value) {
    return advice.empty() ? std::string() : advise(advice) + ' ' + excerpt(value);
}

std::string_view withoutPort(std::string_view host) {
    return host.substr(0, host.starts_with('[') ? host.find(']') + 1 : host.find(':'));
}

Answer refusal(http::status status, std::string why) {
    return {.status = status, .body = std::move(why), .last = true};
}

Answer malformed(std::string why) {
    malformedOnes.increment();
    return refusal(http::status::bad_request, std::move(why));
}

Answer wrongMethod(const std::string& allowed) {
    return {.status = http::status::method_not_allowed,
            .body = "the method is not one of " + allowed + '\n',
            .headers = "Allow: " + allowed + "\r\n"};
}

Answer unknownServer(std::string_view name) {
    return {http::status::not_found, "no RPC server has the name " + excerpt(name) + '\n'};
}

Answer tokenMissing() {
    wrongTokens.increment();
    return {.status = http::status::unauthorized,
            .body = "the right token is needed: Authorization: Bearer TOKEN\n",
            .headers = "WWW-Authenticate: Bearer\r\n"};
}

Answer answerHealth() {
    if (RPCServer::running().empty())
        return {http::status::service_unavailable, "no server is running\n"};
    return {http::status::ok, "ok\n"};
}

Answer answerMetrics() {
    return {http::status::ok, writeMetrics(), MetricsText::contentType};
}

Answer answerPreflight() {
    return {.status = http::status::no_content,
            .type = nullptr,
            .headers = "Access-Control-Allow-Methods: POST\r\n"
                       "Access-Control-Allow-Headers: content-type, authorization\r\n"
                       "Access-Control-Max-Age: 600\r\n"};
}

/// Whether it is a WebSocket's upgrade that can succeed, and if not, why.
std::optional<Answer> refuseUpgrade(const Http::Request& request) {
    if (!isWebSocketKey(view(request[http::field::sec_websocket_key])))
        return malformed("Sec-WebSocket-Key is not 16 bytes in base64\n");
    if (request[http::field::sec_websocket_version] != "13") {
        auto answer =
            refusal(http::status::upgrade_required, "only version 13 of the WebSocket protocol is spoken\n");
        answer.headers = "Sec-WebSocket-Version: 13\r\n";
        return answer;
    }
    return std::nullopt;
}

} // namespace

Http::Http(const Admission& admission, const Advice& advice, const std::string& mainServer, const Page& page,
           std::string localAddress)
    : admission_(admission), advice_(advice), mainServer_(mainServer), page_(page),
      localAddress_(std::move(localAddress)) {}

std::optional<Answer> Http::refuseHead(const Request& head) const {
    if (head.count(http::field::transfer_encoding) != 0)
        return malformed("Transfer-Encoding is not taken; send Content-Length\n");

    const bool anyHost = localAddress_.empty();
    if (head.count(http::field::host) != 1 && !anyHost)
        return malformed("one Host header is needed\n");
    const auto host = view(head[http::field::host]);
    if (!anyHost && pathOf(head) != healthPath && !admission_.acceptsHost(host, localAddress_)) {
        refusedHosts.increment();
        return refusal(http::status::forbidden, "Host " + excerpt(host) + " is not this machine" +
                                                    advise(advice_.foreignHost, withoutPort(host)) + '\n');
    }

    if (judgeOrigin(head) == Admission::Origin::Refused)
        return refuseOrigin(head);
    if (head.method() == http::verb::post && head.count(http::field::content_length) == 0)
        return refusal(http::status::length_required, "Content-Length is missing\n");
    return std::nullopt;
}

Http::Outcome Http::decide(const Request& request) const {
    const auto path = pathOf(request);
    const bool isRpc = path.starts_with(rpcPath);
    const bool isDescription = path.starts_with(descriptionFolder) && path.ends_with(descriptionEnd);
    // Before anything else: without a token all calls are answered alike.
    const bool needsToken = isRpc || isDescription || path == descriptionPath || path == metricsPath;
    if (needsToken && request.method() != http::verb::options && !acceptsToken(request))
        return tokenMissing();
    if (isRpc)
        return decideRpc(request, path.substr(rpcPath.size()));
    if (path == descriptionPath)
        return describe(request, mainServer_);
    if (isDescription)
        return describe(request, path.substr(descriptionFolder.size(),
                                             path.size() - descriptionFolder.size() - descriptionEnd.size()));
    if (!isGet(request))
        return wrongMethod("GET, HEAD");
    if (path == healthPath)
        return answerHealth();
    if (path == metricsPath)
        return answerMetrics();
    return show(request, path);
}

Answer Http::show(const Request& request, std::string_view path) const {
    if (std::find(ownPaths.begin(), ownPaths.end(), path) == ownPaths.end()) {
        if (auto answer = page_.answer({.path = path,
                                        .encodings = listOf(request, http::field::accept_encoding),
                                        .known = listOf(request, http::field::if_none_match)}))
            return *std::move(answer);
    }
    return {http::status::not_found,
            "there is nothing here" + (path == "/" ? advise(advice_.noPage) : "") + whereCallsGo() + '\n'};
}

Http::Outcome Http::decideRpc(const Request& request, std::string_view name) const {
    auto* server = RPCServer::find(std::string(name));
    if (server == nullptr)
        return unknownServer(name);
    if (request.method() == http::verb::options)
        return answerPreflight();

    const bool isPost = request.method() == http::verb::post;
    if (!isPost && !isGet(request))
        return wrongMethod("GET, HEAD, POST, OPTIONS");
    if (isPost) {
        if (isJson(request))
            return Call{*server};
        return Answer{http::status::unsupported_media_type,
                      "the body must be JSON; send Content-Type: application/json\n"};
    }
    if (beast::websocket::is_upgrade(request)) {
        if (auto refused = refuseUpgrade(request))
            return *refused;
        const auto offers = subProtocolOffers(request);
        return Upgrade{*server, std::string(chooseSubProtocol(offers).chosen)};
    }
    return Answer{
        .status = http::status::upgrade_required,
        .body = "send JSON-RPC 2.0 by POST with Content-Type: application/json, or open a WebSocket here\n",
        .headers = "Upgrade: websocket\r\nConnection: Upgrade\r\n"};
}

/// The document is written for machines that look for it without a call.
Answer Http::describe(const Request& request, std::string_view name) const {
    if (request.method() == http::verb::options)
        return answerPreflight();
    if (!isGet(request))
        return wrongMethod("GET, HEAD, OPTIONS");
    const auto* server = RPCServer::find(std::string(name));
    if (server == nullptr || server->getDescription().empty())
        return unknownServer(name);
    return {http::status::ok, std::string(server->getDescription()), "application/json"};
}

bool Http::acceptsToken(const Request& request) const {
    if (!admission_.needsToken() ||
        admission_.acceptsToken(bearerOf(view(request[http::field::authorization]))))
        return true;
    return beast::websocket::is_upgrade(request) &&
           admission_.acceptsToken(chooseSubProtocol(subProtocolOffers(request)).token);
}

Answer Http::refuseOrigin(const Request& head) const {
    refusedOrigins.increment();
    const auto origin = view(head[http::field::origin]);
    std::string why =
        "pages from " + excerpt(origin) + " may not call" + advise(advice_.foreignOrigin, origin);
    if (head.count(http::field::origin) > 1)
        why = "more than one Origin header";
    else if (origin.empty())
        why = "the Origin header is empty";
    return refusal(http::status::forbidden, why + '\n');
}

Admission::Origin Http::judgeOrigin(const Request& head) const {
    const auto count = head.count(http::field::origin);
    if (count != 1)
        return count == 0 ? Admission::Origin::None : Admission::Origin::Refused;
    return admission_.judge(view(head[http::field::origin]), view(head[http::field::host]));
}

std::string Http::getAllowedOrigin(const Request& head) const {
    return judgeOrigin(head) == Admission::Origin::Other ? std::string(head[http::field::origin])
                                                         : std::string();
}

std::optional<Answer> Http::answerFailure(const boost::system::error_code& failure) {
    if (failure == http::error::header_limit || failure == http::error::buffer_overflow) {
        longHeads.increment();
        return refusal(http::status::request_header_fields_too_large,
                       "the request's line and headers are too long\n");
    }
    if (failure == http::error::body_limit) {
        longBodies.increment();
        return refusal(http::status::payload_too_large, "the request's body is too long\n");
    }
    const auto& ofHttp = http::make_error_code(http::error::bad_method).category();
    if (failure.category() == ofHttp && failure != http::error::end_of_stream &&
        failure != http::error::partial_message)
        return malformed("not an HTTP/1.1 request: " + failure.message() + '\n');
    return std::nullopt;
}

Answer Http::answerReply(std::string reply) {
    if (reply.empty())
        return {.status = http::status::no_content, .type = nullptr};
    return {http::status::ok, std::move(reply), "application/json"};
}

} // namespace Ostrel
