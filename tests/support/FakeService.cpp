#include "tests/support/FakeService.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel::Test {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;

using Stream = websocket::stream<asio::ip::tcp::socket>;

namespace {

/// Holds back what is sent until a packet is full, or this ends.
class Together {
public:
    explicit Together(int socket) : socket_(socket) { set(1); }
    ~Together() { set(0); }

private:
    void set(int isOn) const { ::setsockopt(socket_, IPPROTO_TCP, TCP_CORK, &isOn, sizeof isOn); }

    int socket_;
};

/// Sends the frames; false when one of them ended the connection.
bool send(Stream& stream, const FakeService::Frames& frames, const std::string& id) {
    const Together together(stream.next_layer().native_handle());
    for (auto frame : frames) {
        if (frame == "DROP")
            return false;
        if (frame == "PING") {
            stream.ping({});
            continue;
        }
        if (frame == "CLOSE") {
            stream.close({websocket::close_code::going_away, "going away"});
            return false;
        }
        if (const auto at = frame.find("$ID"); at != std::string::npos)
            frame.replace(at, 3, id);
        stream.write(asio::buffer(frame));
    }
    return true;
}

} // namespace

FakeService::FakeService(std::map<std::string, Frames> answers, Frames greeting)
    : answers_(std::move(answers)), greeting_(std::move(greeting)) {
    answers_.try_emplace("ITVService::createContext", Frames{result("4711")});
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_, generic, length) != 0 || ::listen(listener_, 8) != 0 ||
        ::getsockname(listener_, generic, &length) != 0)
        throw std::runtime_error("cannot listen");
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

FakeService::~FakeService() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        ::shutdown(listener_, SHUT_RDWR); // wakes accept()
        if (client_ >= 0)
            ::shutdown(client_, SHUT_RDWR);
    }
    thread_.join();
    ::close(listener_);
}

void FakeService::refuseWith(unsigned status, const std::string& body) {
    const std::lock_guard lock(mutex_);
    refusal_ = status;
    refusalBody_ = body;
}

std::vector<std::string> FakeService::getRequests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

void FakeService::note(const std::string& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
}

void FakeService::serve() {
    while (true) {
        const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        {
            const std::lock_guard lock(mutex_);
            if (stopping_) {
                ::close(socket);
                return;
            }
            client_ = socket;
        }
        serveOne(::dup(socket)); // its own, so that client_ stays valid
        const std::lock_guard lock(mutex_);
        ::close(client_);
        client_ = -1;
    }
}

void FakeService::serveOne(int socket) {
    asio::io_context io;
    Stream stream(asio::ip::tcp::socket(io, asio::ip::tcp::v4(), socket));
    beast::flat_buffer buffer;
    try {
        http::request<http::string_body> request;
        http::read(stream.next_layer(), buffer, request);
        {
            const std::lock_guard lock(mutex_);
            if (const auto token = request[http::field::authorization]; !token.empty())
                requests_.push_back("Authorization: " + std::string(token));
            if (refusal_ != 0) {
                http::response<http::string_body> refusal(http::int_to_status(refusal_), 11, refusalBody_);
                refusal.prepare_payload();
                http::write(stream.next_layer(), refusal);
                return;
            }
        }
        stream.control_callback([this](websocket::frame_type type, beast::string_view) {
            if (type == websocket::frame_type::pong)
                note("PONG");
        });
        stream.accept(request);
        if (!send(stream, greeting_, ""))
            return;
        while (true) {
            buffer.clear();
            stream.read(buffer);
            const auto text = beast::buffers_to_string(buffer.data());
            note(text);
            const auto message = boost::json::parse(text);
            const auto& members = message.as_object();
            const auto answer = answers_.find(std::string(members.at("method").as_string()));
            if (answer == answers_.end())
                continue;
            if (!send(stream, answer->second, boost::json::serialize(members.at("id"))))
                return;
        }
    } catch (const std::exception&) {
        // The client is gone; the next one may come.
    }
}

std::string result(const std::string& json) {
    return R"({"jsonrpc":"2.0","id":$ID,"result":)" + json + "}";
}

std::string error(const std::string& json) {
    return R"({"jsonrpc":"2.0","id":$ID,"error":)" + json + "}";
}

} // namespace Ostrel::Test
