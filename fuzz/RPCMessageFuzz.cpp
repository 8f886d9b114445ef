// Any text as a JSON-RPC message: the replies are those that JSON-RPC 2.0 asks for, as a plain reading of the text's
// tree says, and nothing is replied where nothing is asked for.

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/rpc/RPCMessage.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "fuzz/Require.h"
#include "tests/support/TestServer.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <optional>
#include <string>
#include <vector>

using namespace Ostrel;
using Fuzz::require;

namespace json = boost::json;

namespace {

constexpr std::size_t mostInBatch = 4; ///< few, so that a short text has more

struct Parsed {
    std::optional<json::value> value;
    bool isJudged = true; ///< by the rules of JSON; an exponent may be more than this parser takes
};

Parsed parse(const std::string& text) {
    json::parse_options options;
    options.max_depth = 64;
    json::error_code error;
    auto value = json::parse(text, error, {}, options);
    if (error)
        return {std::nullopt, error != json::error::exponent_overflow};
    return {std::move(value)};
}

/// A reply as it must be: to whom, and with this error, or none.
struct Expected {
    json::value id;
    std::int64_t code = 0;
    std::optional<json::value> echo{}; ///< what the result is, as text
};

/// What one request is to be answered; nothing for none.
std::optional<Expected> expect(const json::value& request) {
    constexpr std::int64_t invalid = -32600;
    const auto* members = request.if_object();
    if (members == nullptr)
        return Expected{nullptr, invalid};
    const auto* id = members->if_contains("id");
    const auto* version = members->if_contains("jsonrpc");
    const auto* method = members->if_contains("method");
    const auto* params = members->if_contains("params");
    if (id != nullptr && !id->is_number() && !id->is_string() && !id->is_null())
        return Expected{nullptr, invalid};
    const Expected refused{id != nullptr ? *id : nullptr, invalid};
    if (version == nullptr || *version != "2.0" || method == nullptr || !method->is_string())
        return refused;
    if (params != nullptr && !params->is_object() && !params->is_array())
        return refused;
    if (id == nullptr)
        return std::nullopt;
    if (params != nullptr && params->is_array() && !params->get_array().empty())
        return Expected{*id, -32602};
    const auto& name = method->get_string();
    if (name == "Test::echo" || name == "Reader::echo")
        return Expected{*id, 0, params != nullptr && params->is_object() ? *params : json::object()};
    if (name == "rpc.discover")
        return Expected{*id, 0};
    if (name == "Test::first" || name == "Reader::first")
        return Expected{*id, -32000};
    if (name == "Test::second" || name == "Reader::second")
        return Expected{*id, -32603};
    return Expected{*id, -32601};
}

void check(const json::value& reply, const Expected& expected) {
    const auto& members = reply.as_object();
    require(members.size() == 3 && members.at("jsonrpc") == "2.0", "a reply is a reply");
    // As texts: what this parser makes of 0e400 is not equal to itself.
    require(json::serialize(members.at("id")) == json::serialize(expected.id),
            "a reply has its request's id: " + json::serialize(expected.id));
    const auto* error = members.if_contains("error");
    require((error == nullptr) == (members.if_contains("result") != nullptr),
            "a reply has a result or an error");
    const auto code = error != nullptr ? error->at("code").as_int64() : 0;
    require(error == nullptr || !error->at("message").as_string().empty(), "an error has a message");
    require(code == expected.code,
            "the code is " + std::to_string(expected.code) + ", not " + std::to_string(code));
    if (expected.echo)
        require(json::serialize(*parse(members.at("result").as_string().c_str()).value) ==
                    json::serialize(*expected.echo),
                "the params reach the handler");
}

void checkAll(const std::optional<json::value>& message, const std::string& text) {
    const auto [reply, isJudged] = text.empty() ? Parsed{} : parse(text);
    if (!isJudged)
        return; // it repeats an id
    require(reply.has_value() == !text.empty(), "a reply is JSON");

    std::vector<Expected> expected;
    const auto* batch = message ? message->if_array() : nullptr;
    if (!message)
        expected.push_back({nullptr, -32700});
    else if (batch != nullptr && (batch->empty() || batch->size() > mostInBatch))
        expected.push_back({nullptr, -32600});
    else if (batch == nullptr)
        expected = [&] {
            const auto one = expect(*message);
            return one ? std::vector{*one} : std::vector<Expected>();
        }();
    else {
        for (const auto& request : *batch)
            if (const auto one = expect(request))
                expected.push_back(*one);
        require(reply.has_value() == !expected.empty(), "a batch is answered when one of it is");
        if (!reply)
            return;
        const auto& replies = reply->as_array();
        require(replies.size() == expected.size(), "each request of a batch has its reply");
        for (std::size_t i = 0; i < expected.size(); ++i)
            check(replies[i], expected[i]);
        return;
    }
    require(reply.has_value() == !expected.empty(), "a request is answered, a notification is not");
    if (reply)
        check(*reply, expected.front());
}

struct Server : Test::TestServer {
    Server() {
        on("first", [](const auto& call) -> std::string {
            try {
                throw Exception(ReturnCode::InvalidState);
            } catch (const Exception& exception) {
                return IRPC::RPCErrorObject(call, exception.what()).serialize();
            }
        });
        on("second", [](const auto&) -> std::string { throw std::runtime_error("\x01 \xff\""); });
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setDebugLevel(DebugLevel::Error);
    setDebugSink([](const DebugLine&) {}); // handlers fail on purpose
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static Server server;
    static const auto peer = std::make_shared<RPCPeer>(1, "fuzz");
    const std::string text(reinterpret_cast<const char*>(data), size);
    RPCMessage message(text, server, peer, {.reply = 1u << 20, .batch = mostInBatch});
    for (std::size_t steps = 0; !message.isDone(); ++steps) {
        require(steps <= mostInBatch + 1, "a message comes to its end");
        message.step();
    }
    const auto reply = message.takeReply();
    require(reply.delivery == RPCMessage::Reply::Sent, "nothing is lost");
    const auto parsed = parse(text);
    if (parsed.isJudged)
        checkAll(parsed.value, reply.text);
    return 0;
}
