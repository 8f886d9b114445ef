#pragma once

#include "tests/host/RunningHost.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Ostrel::Test {

constexpr std::size_t kibi = 1024;
constexpr std::size_t mebi = kibi * kibi;

inline std::string request(std::string_view method, std::string_view params = "{}",
                           std::string_view id = "1") {
    std::string text = R"({"jsonrpc":"2.0","id":)";
    text.append(id).append(R"(,"method":")").append(method).append(R"(","params":)").append(params);
    return text += '}';
}

inline std::string call(std::string_view method, std::string_view context, std::string_view payload = "{}",
                        std::string_view id = "1") {
    std::string params = R"({"context":)";
    params.append(context).append(R"(,"payload":)").append(payload) += '}';
    return request(method, params, id);
}

/// A text that is larger and says the same.
inline std::string padded(std::string text, std::size_t size) {
    text.append(size - text.size(), ' ');
    return text;
}

/// A string of JSON that takes so many bytes.
inline std::string stringOfSize(std::size_t size) {
    return '"' + std::string(size - 2, 'x') + '"';
}

inline std::string post(std::string_view path, std::string_view body, std::string_view headers = {},
                        std::string_view host = "localhost", std::string_view type = "application/json") {
    std::string text = "POST ";
    text.append(path).append(" HTTP/1.1\r\nHost: ").append(host);
    text.append("\r\nContent-Type: ").append(type);
    text.append("\r\nContent-Length: " + std::to_string(body.size()) + "\r\n").append(headers);
    return text.append("\r\n").append(body);
}

inline std::string from(const std::string& origin) {
    return "Origin: " + origin + "\r\n";
}

/// A host as anybody starts it, with its true limits, on TCP and on a Unix domain socket.
class FromOutside : public testing::Test {
protected:
    explicit FromOutside(Arguments options = {}) : host_(withSocketFile(std::move(options))) {}
    ~FromOutside() override {
        host_.child().terminate();
        EXPECT_EQ(host_.child().wait(), 0);
    }

    const Address& address() const { return host_.address(); }
    const Address& socketFile() const { return socketFile_; }

    WireClient connect() const { return WireClient(address()); }

    WireClient webSocket(std::string_view server = "TV") const { return upgraded(connect(), server); }

    /// Through a Unix domain socket the system keeps little on the way.
    WireClient localWebSocket(std::string_view server = "TV") const {
        return upgraded(WireClient(socketFile_), server);
    }

    std::string createContext() const {
        const auto reply = webSocket().call(request("ITVService::createContext"));
        const auto value = reply.find("\"result\":") + 9;
        return reply.substr(value, reply.find('}', value) - value);
    }

private:
    Arguments withSocketFile(Arguments options) const {
        options.insert(options.end(), {"--listen", socketFile_.toString()});
        return options;
    }

    static WireClient upgraded(WireClient client, std::string_view server) {
        client.upgrade("/rpc/" + std::string(server));
        return client;
    }

    const TempDirectory directory_;
    const Address socketFile_ = Address::parse("unix:" + directory_.file("socket"));
    RunningHost host_;
};

} // namespace Ostrel::Test
