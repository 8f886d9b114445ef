#pragma once

#include "Ostrel/transport/Http.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>

#include <functional>
#include <optional>
#include <string>

namespace Ostrel {

class Conversation;

/// Reads the HTTP requests of one connection, one after another, each in three steps. On the
/// listener's thread.
class HttpReader {
public:
    using Handler = std::function<void(const boost::system::error_code&)>;

    explicit HttpReader(Conversation& conversation);

    /// Forgets the last request and waits for the first bytes of the next.
    void awaitRequest(Handler handler);

    void readHead(Handler handler);
    void readBody(Handler handler);

    /// What has been read of the request.
    const Http::Request& getRequest() const { return parser_->get(); }

    /// Bytes that have come of the request's body.
    std::size_t getBodySize() const { return parser_->get().body().size(); }

    /// Gives the memory of the request's body back.
    void forgetBody();

    /// Gives away what was read behind the request.
    std::string releaseRest();

private:
    void renew();

    Conversation& conversation_;
    boost::beast::flat_buffer buffer_; ///< what was read and not yet used
    std::optional<boost::beast::http::request_parser<Http::Request::body_type>> parser_;
};

} // namespace Ostrel
