// Any bytes as a client's HTTP, cut wherever the input says: the answers are those that reading the same bytes in one
// go gives, one after another, and each is HTTP.
//
// The input begins with the number of cuts and with them.

#include "fuzz/Exchange.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>

#include <cstdlib>
#include <optional>
#include <string>
#include <variant>

using namespace Ostrel;
using Fuzz::require;

namespace http = boost::beast::http;

namespace {

/// Small enough for an input to come to them.
const Limits limits{.message = 256, .head = 512, .reply = 1024, .batch = 4};

/// What the client is to be told.
struct Expected {
    std::string text;
    std::vector<bool> headOnly{}; ///< for each answer in it: it is one to HEAD
    /// What follows is not certain. Of a head that is wrong and lacks its end, more or less may be read until
    /// somebody notices; a WebSocket is another story; and what has been counted changes with each answer.
    enum End { Certain, MayRefuse, MustRefuse, Upgraded, Metrics } end = Certain;
};

/// Reads the requests of a text that is there as a whole.
class Reference {
public:
    Reference(const Http& http, RPCServer& server, std::string_view bytes)
        : http_(http), server_(server), rest_(bytes) {}

    Expected read() {
        while (!rest_.empty() && readRequest()) {
        }
        return std::move(expected_);
    }

private:
    using Parser = http::request_parser<http::string_body>;

    /// Takes bytes until that is done; whether it is, without failure.
    template <class IsDone> bool take(Parser& parser, IsDone isDone) {
        failure_ = {};
        while (!isDone() && !rest_.empty()) {
            const auto size = parser.put(boost::asio::buffer(rest_.data(), rest_.size()), failure_);
            rest_.remove_prefix(size);
            taken_ += size;
            if (failure_)
                break;
        }
        if (failure_ == http::error::need_more)
            failure_ = http::error::partial_message;
        return isDone() && !failure_;
    }

    /// Reads a request and answers it; whether another one may follow.
    bool readRequest() {
        Parser parser;
        parser.header_limit(std::uint32_t(limits.head));
        parser.body_limit(limits.message);
        taken_ = 0;
        const auto unread = rest_;
        const bool hasHead = take(parser, [&] { return parser.is_header_done(); });
        const auto& request = parser.get();
        if (hasHead && taken_ > limits.head)
            failure_ = http::error::header_limit;
        if (failure_ && unread.substr(0, limits.head).find("\r\n\r\n") == std::string_view::npos) {
            // Line and headers are limited apart until their end is there, and then together.
            expected_.end = unread.size() > 2 * limits.head ? Expected::MustRefuse : Expected::MayRefuse;
            return false;
        }
        if (failure_)
            return failed(request);
        const auto origin = http_.getAllowedOrigin(request);
        if (auto refusal = http_.refuseHead(request))
            return answer(request, *refusal, origin);
        if (request.version() >= 11 && boost::beast::iequals(request[http::field::expect], "100-continue")) {
            expected_.text += "HTTP/1.1 100 Continue\r\n\r\n";
            expected_.headOnly.push_back(false);
        }
        parser.eager(true);
        if (!parser.is_done() && !take(parser, [&] { return parser.is_done(); }))
            return failed(request);
        const auto outcome = http_.decide(request);
        if (std::holds_alternative<Http::Upgrade>(outcome)) {
            expected_.end = Expected::Upgraded;
            return false;
        }
        const auto* const answered = std::get_if<Answer>(&outcome);
        if (answered != nullptr && answered->body.starts_with("# HELP ostrel_")) {
            expected_.end = Expected::Metrics;
            return false;
        }
        if (answered != nullptr)
            return answer(request, *answered, origin);
        return answer(request, Http::answerReply(Test::replyTo(request.body(), server_, limits)), origin);
    }

    bool failed(const Http::Request& request) {
        if (const auto refusal = Http::answerFailure(failure_))
            answer(request, *refusal, http_.getAllowedOrigin(request));
        return false;
    }

    bool answer(const Http::Request& request, const Answer& what, const std::string& origin) {
        const bool isLast = what.last || !request.keep_alive();
        const bool isHead = request.method() == http::verb::head;
        expected_.text += formatHead(what, origin,
                                     isLast                   ? "close"
                                     : request.version() < 11 ? "keep-alive"
                                                              : "");
        if (!isHead)
            expected_.text += what.body;
        expected_.headOnly.push_back(isHead);
        return !isLast;
    }

    const Http& http_;
    RPCServer& server_;
    std::string_view rest_;
    std::size_t taken_ = 0;
    boost::system::error_code failure_;
    Expected expected_;
};

/// Reads an answer as any client does, and takes it off the text; returns its status.
unsigned takeAnswer(std::string_view& text, bool isHeadOnly) {
    http::response_parser<http::string_body> parser;
    parser.skip(isHeadOnly);
    parser.eager(true);
    boost::system::error_code failure;
    while (!parser.is_done() && !failure && !text.empty())
        text.remove_prefix(parser.put(boost::asio::buffer(text.data(), text.size()), failure));
    require(!failure && parser.is_done(), "each answer is HTTP: " + failure.message());
    const auto status = parser.get().result_int();
    require(status == 100 || parser.get()["X-Content-Type-Options"] == "nosniff", "nobody guesses a type");
    return status;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setDebugLevel(DebugLevel::Error);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static Test::TestServer server;
    static Test::Exchange exchange(limits);
    static const Http http(exchange.getAdmission(), exchange.getAdvice(), exchange.getMainServer(),
                           exchange.getPage(), "127.0.0.1");
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t count = size == 0 ? 0 : data[0] % 16;
    if (size < 1 + count)
        return 0;
    const auto bytes = input.substr(1 + count);

    const auto expected = Reference(http, server, bytes).read();
    const auto received = exchange.converse(Test::cut(bytes, input.substr(1, count)));
    require(received.starts_with(expected.text),
            "the answers are\n" + expected.text + "\nand not\n" + received);
    std::string_view rest(received);
    for (const bool isHeadOnly : expected.headOnly)
        takeAnswer(rest, isHeadOnly);
    if (expected.end == Expected::Metrics) {
        require(rest.starts_with("HTTP/1.1 200 "), "what is counted is told behind the answers");
        return 0;
    }
    if (expected.end == Expected::Upgraded) {
        require(rest.starts_with("HTTP/1.1 101 "), "a WebSocket is opened behind the answers");
        return 0;
    }
    if (expected.end == Expected::MustRefuse || (expected.end == Expected::MayRefuse && !rest.empty())) {
        const auto status = takeAnswer(rest, rest.ends_with("\r\n\r\n")); // it may have been read as HEAD
        require(status == 400 || status == 431, "what is no head is refused");
    }
    require(rest.empty(), "there is nothing behind the last answer");
    return 0;
}
