#include "Ostrel/transport/HttpReader.h"

#include "Ostrel/transport/Conversation.h"
#include "Ostrel/transport/Input.h"

#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/http/read.hpp>

#include <cstdint>
#include <utility>

namespace Ostrel {

namespace http = boost::beast::http;

using boost::system::error_code;

namespace {

constexpr std::size_t firstRead = 4096; ///< bytes

/// A buffer that a large body has widened is given back.
constexpr std::size_t keptCapacity = 16u << 10;

} // namespace

HttpReader::HttpReader(Conversation& conversation) : conversation_(conversation) {
    renew();
}

void HttpReader::renew() {
    parser_.emplace();
    parser_->header_limit(std::uint32_t(conversation_.getLimits().head));
    parser_->body_limit(conversation_.getLimits().message);
}

void HttpReader::awaitRequest(Handler handler) {
    renew();
    if (buffer_.size() > 0) {
        handler({});
        return;
    }
    conversation_.getInput().async_read_some(
        buffer_.prepare(firstRead),
        conversation_.guarded([this, handler = std::move(handler)](error_code failure, std::size_t size) {
            buffer_.commit(size);
            handler(failure);
        }));
}

void HttpReader::readHead(Handler handler) {
    http::async_read_header(
        conversation_.getInput(), buffer_, *parser_,
        conversation_.guarded([this, handler = std::move(handler)](error_code failure, std::size_t size) {
            // The parser's own limit lets a little more pass.
            if (!failure && size > conversation_.getLimits().head)
                failure = http::error::header_limit;
            handler(failure);
        }));
}

void HttpReader::readBody(Handler handler) {
    http::async_read(conversation_.getInput(), buffer_, *parser_,
                     conversation_.guarded([handler = std::move(handler)](error_code failure, std::size_t) {
                         handler(failure);
                     }));
}

void HttpReader::forgetBody() {
    parser_->get().body() = std::string();
    if (buffer_.capacity() > keptCapacity)
        buffer_.shrink_to_fit();
}

std::string HttpReader::releaseRest() {
    auto rest = boost::beast::buffers_to_string(buffer_.data());
    buffer_.clear();
    return rest;
}

} // namespace Ostrel
