// Whatever a service sends, the C++ client ends each call with a value or with one of its exceptions.
//
// The first byte says whether the handshake succeeds (even) or the rest of the input is what it is answered (odd); the
// second is the first call. Behind them stand the frames: a kind, a length and as many bytes.

#include "clients/cpp/Client.h"
#include "clients/cpp/Simulator.h"
#include "fuzz/Require.h"
#include "tests/support/TempDirectory.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/json/parse.hpp>

#include <algorithm>
#include <array>
#include <csignal>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <pthread.h>

using namespace Ostrel::Client;
using namespace std::chrono_literals;
using Ostrel::Fuzz::require;

namespace asio = boost::asio;
namespace beast = boost::beast;

namespace {

/// A service for one client after another, each of which is sent the same.
class Service {
    using Protocol = asio::local::stream_protocol;

public:
    ~Service() {
        isStopping_ = true;
        Protocol::socket(context_).connect(acceptor_.local_endpoint());
        thread_.join();
    }

    std::string getUrl() const { return "unix:" + directory_.file("socket"); }

    /// Sets what clients are sent from now on, in place of a handshake or behind it.
    void setAnswer(std::string bytes, bool shakesHands) {
        const std::lock_guard lock(mutex_);
        bytes_ = std::move(bytes);
        shakesHands_ = shakesHands;
    }

private:
    void run() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr); // libFuzzer's alarm would interrupt accept()
        for (;;) {
            Protocol::socket socket(context_);
            acceptor_.accept(socket);
            if (isStopping_)
                return;
            boost::system::error_code gone;
            serve(socket, gone);
        }
    }

    void serve(Protocol::socket& socket, boost::system::error_code& gone) {
        beast::flat_buffer buffer;
        beast::http::request<beast::http::string_body> request;
        beast::http::read(socket, buffer, request, gone);
        std::string bytes;
        bool shakesHands = false;
        {
            const std::lock_guard lock(mutex_);
            bytes = bytes_;
            shakesHands = shakesHands_;
        }
        if (shakesHands) {
            beast::websocket::stream<Protocol::socket&> stream(socket);
            stream.accept(request, gone);
        }
        asio::write(socket, asio::buffer(bytes), gone);
        socket.shutdown(Protocol::socket::shutdown_send, gone);
        for (std::array<char, 4096> ignored{}; !gone;)
            socket.read_some(asio::buffer(ignored), gone);
    }

    const Ostrel::Test::TempDirectory directory_;
    asio::io_context context_;
    Protocol::acceptor acceptor_{context_, Protocol::endpoint(directory_.file("socket"))};
    std::atomic<bool> isStopping_ = false;

    std::mutex mutex_; ///< guards what follows
    std::string bytes_;
    bool shakesHands_ = false;

    std::thread thread_{[this] { run(); }};
};

std::string frame(unsigned char first, std::string_view payload) {
    std::string out{char(first)};
    if (payload.size() < 126)
        out += char(payload.size());
    else
        out.append({126, char(payload.size() >> 8), char(payload.size() & 0xff)});
    return out.append(payload);
}

/// The bytes of a script of frames.
std::string writeFrames(std::string_view script) {
    std::string bytes;
    unsigned replies = 0;
    while (script.size() >= 2) {
        const auto kind = static_cast<unsigned char>(script[0]);
        const auto payload = std::string(script.substr(2, static_cast<unsigned char>(script[1])));
        script.remove_prefix(2 + payload.size());
        const auto reply = [&](const char* member) {
            return frame(0x81, R"({"jsonrpc":"2.0","id":)" + std::to_string(++replies) + ",\"" + member +
                                   "\":" + payload + '}');
        };
        switch (kind % 12) {
        case 0:
        case 1:
        case 2:
            bytes += reply("result");
            break;
        case 3:
            bytes += reply("error");
            break;
        case 4:
            bytes += frame(0x81, R"({"jsonrpc":"2.0","method":"ITVConfig::onScanProgress","params":)" +
                                     payload + '}');
            break;
        case 5:
            bytes += frame(0x81, payload);
            break;
        case 6:
            bytes += frame(0x01, payload); // not the last of its message
            break;
        case 7:
            bytes += frame(0x80, payload);
            break;
        case 8:
            bytes += frame(0x89, payload); // ping
            break;
        case 9:
            bytes += frame(0x88, payload); // close
            break;
        case 10:
            bytes += frame(0x82, payload);
            break;
        default:
            bytes += payload;
        }
    }
    return bytes;
}

void requireJson(const std::string& text) {
    boost::json::error_code error;
    boost::json::parse(text, error, {}, {.max_depth = 256});
    require(!error, "what is given as JSON text is JSON: " + text);
}

void take(Client& client, std::chrono::milliseconds timeout) {
    if (const auto notification = client.next(timeout))
        requireJson(notification->params);
}

void makeCall(Client& client, unsigned which) {
    static const std::array<void (*)(Client&), 20> calls = {
        [](Client& each) { each.getUtcTime(); },
        [](Client& each) { each.selectList("all"); },
        [](Client& each) { each.get(4); },
        [](Client& each) { each.read(4); },
        [](Client& each) { each.seek(-1, Context::Whence{}); },
        [](Client& each) { each.getSignalStatus(1); },
        [](Client& each) { each.getGenres(); },
        [](Client& each) { each.getNowNext(1000); },
        [](Client& each) { each.queryEvents({}); },
        [](Client& each) { each.query("", "quoriljson"); },
        [](Client& each) { each.startScan(1); },
        [](Client& each) { each.stopScan(1); },
        [](Client& each) { each.getScanInfo(1); },
        [](Client& each) { each.deleteContext(each.createContext().getContext()); },
        [](Client& each) { requireJson(each.request("rpc.discover")); },
        [](Client& each) { take(each, 0ms); },
        [](Client& each) { take(each, std::chrono::milliseconds::max()); },
        [](Client& each) { each.handleInput(); },
        [](Client& each) { each.getDescriptor(); },
        [](Client& each) { Simulator(each).clockGet(); },
    };
    calls[which % calls.size()](client);
}

/// An exception is one that the library has, and its text is one line.
void check(const Error& error) {
    const std::string text = error.what();
    require(!text.empty(), "an error says what is wrong");
    require(
        std::none_of(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\0'; }),
        "an error's text is one line: " + text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static Service service;
    if (size < 2)
        return 0;
    const std::string_view script(reinterpret_cast<const char*>(data) + 2, size - 2);
    const bool shakesHands = data[0] % 2 == 0;
    service.setAnswer(shakesHands ? writeFrames(script) : std::string(script), shakesHands);
    // For ever: what does not end is found.
    const ClientOptions options{.timeout = std::chrono::milliseconds::max()};
    try {
        Client client(Url(service.getUrl()), options);
        for (unsigned call = 0; call < 60; ++call) {
            try {
                makeCall(client, data[1] + call);
            } catch (const ConnectionLost& error) {
                check(error);
                // What was told before is still there, and then it is lost for good.
                for (std::size_t left = 0;; ++left) {
                    require(left <= keptNotifications, "no more is kept than is promised");
                    take(client, 0ms);
                }
            } catch (const Error& error) {
                check(error);
            }
        }
    } catch (const Error& error) {
        check(error);
    }
    return 0;
}
