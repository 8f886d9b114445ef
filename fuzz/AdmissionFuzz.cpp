// Any Host, Origin, Authorization and sub-protocols, on any kind of address, with a token or without: who is let in
// is who a few plain rules let in.
//
// The first byte chooses the address and whether there is a token, the second the method, the third the path. Each
// line behind them is a header: its first letter says which.

#include "Ostrel/transport/Http.h"
#include "fuzz/Require.h"
#include "tests/support/TestServer.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <sstream>
#include <string>
#include <vector>

using namespace Ostrel;
using Fuzz::require;

namespace http = boost::beast::http;

namespace {

const std::string token = "0123456789abcdefghijklmnopqrstuv";
const std::string allowedHost = "tv.example";
const std::vector<std::string> allowedOrigins = {"https://tv.example", "null"};
constexpr std::array addresses = {"127.0.0.1", "::1", "192.0.2.7", "2001:db8::7", ""};
constexpr std::array methods = {http::verb::get, http::verb::post, http::verb::options, http::verb::head,
                                http::verb::delete_};
constexpr std::array paths = {"/rpc/Test", "/rpc/Nobody", "/openrpc.json", "/openrpc/Test.json",
                              "/healthz",  "/",           "/metrics",      "/nothing.js"};
constexpr PageFile files[] = {{"/index.html", "text/html", "page\n", "", "1", false}};

// The rules, written down once more.

std::vector<std::string> split(const std::string& list) {
    std::vector<std::string> parts;
    std::istringstream in(list);
    for (std::string part; std::getline(in, part, ',');) {
        part.erase(0, part.find_first_not_of(" \t"));
        part.erase(part.find_last_not_of(" \t") + 1);
        parts.push_back(part);
    }
    return parts;
}

std::string lower(std::string text) {
    for (char& c : text)
        c = c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
    return text;
}

/// HOST, HOST: or HOST:PORT, an IPv6 address in brackets; empty for anything else.
std::string hostOf(const std::string& text) {
    const auto end = text.front() == '[' ? text.find(']') : text.find(':');
    std::string host = text.substr(0, end);
    std::string port = end == std::string::npos ? "" : text.substr(end);
    if (text.front() == '[') {
        if (port.empty())
            return "";
        host.erase(0, 1);
        port.erase(0, 1);
    }
    if (port.size() > 1) {
        const auto significant = std::min(port.find_first_not_of('0', 1), port.size());
        const auto digits = port.substr(significant);
        if (digits.empty() || digits.size() > 5 ||
            digits.find_first_not_of("0123456789") != std::string::npos || std::stoi(digits) > 65535)
            return "";
    }
    return port.empty() || port.front() == ':' ? lower(host) : "";
}

bool isLoopback(const std::string& host) {
    in_addr four{};
    in6_addr six{};
    const auto address = host.substr(0, host.find('%')); // a zone narrows it down only
    return host == "localhost" ||
           (inet_pton(AF_INET, host.c_str(), &four) == 1 && (ntohl(four.s_addr) >> 24) == 127) ||
           (inet_pton(AF_INET6, address.c_str(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six));
}

bool isHostRight(const std::string& header, const std::string& localAddress) {
    const auto host = header.empty() ? "" : hostOf(header);
    return !host.empty() && (isLoopback(host) || host == localAddress || host == allowedHost);
}

enum class From { Nowhere, Own, Other, Foreign };

From judge(const std::string& origin, const std::string& hostHeader) {
    for (const auto& [scheme, port] : {std::pair("http://", ":80"), std::pair("https://", ":443")}) {
        if (origin.rfind(scheme, 0) != 0)
            continue;
        const auto bare = [&, usual = std::string(port)](std::string text) {
            return lower(text.ends_with(usual) ? text.erase(text.size() - usual.size()) : text);
        };
        const auto authority = origin.substr(std::string(scheme).size());
        if (authority.empty() || hostOf(authority).empty())
            return From::Foreign;
        if (bare(authority) == bare(hostHeader))
            return From::Own;
        if (isLoopback(hostOf(authority)))
            return From::Other;
    }
    const bool isNamed =
        std::find(allowedOrigins.begin(), allowedOrigins.end(), lower(origin)) != allowedOrigins.end();
    return isNamed ? From::Other : From::Foreign;
}

/// What a request says, and to whom.
struct Case {
    std::string localAddress;
    bool needsToken = false;
    std::string path;
    http::verb method{};
    std::vector<std::string> hosts;
    std::vector<std::string> origins;
    std::string authorization;
    std::string protocols; ///< offered, as one list
    bool isUpgrade = false;
};

bool hasToken(const Case& given) {
    const auto space = given.authorization.find(' ');
    if (lower(given.authorization.substr(0, space)) == "bearer" && space != std::string::npos &&
        split(given.authorization.substr(space)) == std::vector{token})
        return true;
    std::string offered; // the last counts
    for (const auto& offer : split(given.protocols))
        if (offer.rfind("bearer.", 0) == 0)
            offered = offer.substr(7);
    return given.isUpgrade && offered == token;
}

/// The sub-protocol to echo; empty for none.
std::string chosenOf(const std::string& offers) {
    std::string first;
    for (const auto& offer : split(offers)) {
        if (offer == "jsonrpc")
            return offer;
        if (first.empty() && offer.rfind("bearer.", 0) != 0)
            first = offer;
    }
    return first;
}

/// 400, 401 or 403, or 0 for who is let in.
unsigned verdict(const Case& given) {
    if (!given.localAddress.empty()) {
        if (given.hosts.size() != 1)
            return 400;
        if (given.path != "/healthz" && !isHostRight(given.hosts.front(), given.localAddress))
            return 403;
    }
    if (given.origins.size() > 1 ||
        (given.origins.size() == 1 &&
         judge(given.origins.front(), given.hosts.empty() ? "" : given.hosts.front()) == From::Foreign))
        return 403;
    const bool isOpen =
        given.path.rfind("/rpc/", 0) != 0 && given.path.rfind("/openrpc", 0) != 0 && given.path != "/metrics";
    return given.needsToken && !isOpen && given.method != http::verb::options && !hasToken(given) ? 401 : 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static Test::TestServer server;
    static const Advice advice;
    static const Page page{files};
    static const std::string mainServer = "Test";
    if (size < 3)
        return 0;

    Case given;
    given.localAddress = addresses[data[0] / 2 % addresses.size()];
    given.needsToken = data[0] % 2 != 0;
    given.method = methods[data[1] % methods.size()];
    given.path = paths[data[2] % paths.size()];
    Http::Request request(given.method, given.path, 11);
    if (given.method == http::verb::post) {
        request.insert(http::field::content_length, "0");
        request.insert(http::field::content_type, "application/json");
    }

    std::istringstream lines(std::string(reinterpret_cast<const char*>(data) + 3, size - 3));
    for (std::string line; std::getline(lines, line);) {
        // As whoever reads heads leaves them: no control characters, no blanks around a value.
        if (line.empty() || std::any_of(line.begin(), line.end(),
                                        [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7f; }))
            continue;
        auto value = line.substr(1);
        value.erase(0, value.find_first_not_of(" \t"));
        value.erase(value.find_last_not_of(" \t") + 1);
        switch (line.front()) {
        case 'H':
            given.hosts.push_back(value);
            request.insert(http::field::host, value);
            break;
        case 'O':
            given.origins.push_back(value);
            request.insert(http::field::origin, value);
            break;
        case 'A':
            if (given.authorization.empty())
                given.authorization = value;
            request.insert(http::field::authorization, value);
            break;
        case 'P':
            given.protocols += (given.protocols.empty() ? "" : ",") + value;
            request.insert(http::field::sec_websocket_protocol, value);
            break;
        case 'U':
            if (!given.isUpgrade) {
                request.insert(http::field::connection, "Upgrade");
                request.insert(http::field::upgrade, "websocket");
                request.insert(http::field::sec_websocket_version, "13");
                request.insert(http::field::sec_websocket_key, "dGhlIHNhbXBsZSBub25jZQ==");
            }
            given.isUpgrade = given.method == http::verb::get;
            break;
        default:
            break;
        }
    }

    const Admission admission(allowedOrigins, {allowedHost}, given.needsToken ? token : "");
    const Http http(admission, advice, mainServer, page, given.localAddress);
    unsigned status = 0;
    std::string subProtocol;
    bool isUpgrade = false;
    if (const auto refusal = http.refuseHead(request)) {
        status = unsigned(refusal->status);
    } else {
        const auto outcome = http.decide(request);
        if (const auto* answer = std::get_if<Answer>(&outcome); answer != nullptr)
            status = unsigned(answer->status);
        if (const auto* upgrade = std::get_if<Http::Upgrade>(&outcome); upgrade != nullptr) {
            isUpgrade = true;
            subProtocol = upgrade->subProtocol;
        }
    }
    const bool isIn = status != 400 && status != 401 && status != 403;
    const auto expected = verdict(given);
    require((isIn ? 0 : status) == expected,
            "the rules say " + std::to_string(expected) + ", the answer is " + std::to_string(status));
    require(subProtocol == (isUpgrade ? chosenOf(given.protocols) : ""), "the right sub-protocol is echoed");

    const auto kind = given.origins.size() != 1
                          ? From::Nowhere
                          : judge(given.origins.front(), given.hosts.empty() ? "" : given.hosts.front());
    require(http.getAllowedOrigin(request) == (kind == From::Other ? given.origins.front() : ""),
            "another page may read the answer exactly when it may call");
    return 0;
}
