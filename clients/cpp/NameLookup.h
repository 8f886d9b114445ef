#pragma once

#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>

#include <memory>
#include <string>
#include <vector>

namespace Ostrel::Client {

/// Looks up the addresses of a host in a thread of its own, which nobody has to wait for.
///
/// With a name server that is silent the C library's look-up takes many seconds and cannot be
/// ended. Whoever gives up sooner just destroys this: the thread ends by itself, unheard.
class NameLookup {
public:
    struct Answer {
        boost::system::error_code error;
        std::vector<boost::asio::generic::stream_protocol::endpoint> endpoints;
    };

    /// @param io  is woken when the answer is there; lives as long as this
    NameLookup(const std::string& host, const std::string& port, boost::asio::io_context& io);
    ~NameLookup();

    NameLookup(const NameLookup&) = delete;
    NameLookup& operator=(const NameLookup&) = delete;

    bool isDone() const;
    const Answer& getAnswer() const; ///< once it is done

private:
    struct Shared;

    const std::shared_ptr<Shared> shared_;
};

} // namespace Ostrel::Client
