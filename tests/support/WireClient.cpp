#include "tests/support/WireClient.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Ostrel::Test {

namespace {

constexpr char mask[4] = {'\x12', '\x34', '\x56', '\x78'};

int connectTo(const Address& address) {
    int socket = -1;
    int failure = -1;
    if (address.isUnix()) {
        socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::strncpy(name.sun_path, address.path.c_str(), sizeof name.sun_path - 1);
        failure = ::connect(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name);
    } else {
        socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_port = htons(address.port);
        ::inet_pton(AF_INET, address.host.c_str(), &name.sin_addr);
        failure = ::connect(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name);
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    if (failure != 0)
        throw std::runtime_error("cannot connect to " + address.toString());
    const timeval patience{30, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    return socket;
}

} // namespace

int Frame::closeCode() const {
    return payload.size() < 2
               ? 0
               : int(static_cast<unsigned char>(payload[0])) << 8 | static_cast<unsigned char>(payload[1]);
}

WireClient::WireClient(const Address& address) : socket_(connectTo(address)) {}

WireClient::WireClient(WireClient&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), input_(std::move(other.input_)) {}

WireClient::~WireClient() {
    if (socket_ >= 0)
        ::close(socket_);
}

void WireClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            throw std::runtime_error("the other side takes no more");
        bytes.remove_prefix(std::size_t(sent));
    }
}

std::size_t WireClient::sendSome(std::string_view bytes) {
    const auto sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return sent < 0 ? 0 : std::size_t(sent);
}

void WireClient::shutdownSend() {
    ::shutdown(socket_, SHUT_WR);
}

void WireClient::leave() {
    const linger atOnce{1, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    ::close(std::exchange(socket_, -1));
}

bool WireClient::hasInput(std::chrono::milliseconds patience) const {
    pollfd ready{socket_, POLLIN, 0};
    return !input_.empty() || ::poll(&ready, 1, int(patience.count())) > 0;
}

bool WireClient::readMore() {
    char buffer[65536];
    const auto size = ::recv(socket_, buffer, sizeof buffer, 0);
    if (size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
        throw std::runtime_error("nothing came for a long time");
    if (size <= 0)
        return false;
    input_.append(buffer, std::size_t(size));
    return true;
}

std::string WireClient::readBytes(std::size_t size) {
    while (input_.size() < size)
        if (!readMore())
            throw std::runtime_error("the connection was closed");
    auto bytes = input_.substr(0, size);
    input_.erase(0, size);
    return bytes;
}

std::string WireClient::readAll() {
    while (readMore()) {
    }
    return std::exchange(input_, {});
}

bool WireClient::isClosedByPeer() {
    return readAll().empty();
}

WireClient::Answer WireClient::readAnswer(bool hasBody) {
    Answer answer;
    std::size_t end = 0;
    while ((end = input_.find("\r\n\r\n")) == std::string::npos)
        if (!readMore())
            throw std::runtime_error("the connection was closed");
    answer.head = readBytes(end + 4);
    answer.status = std::stoi(answer.head.substr(9, 3));
    constexpr std::string_view lengthName = "Content-Length: ";
    const auto length = answer.head.find(lengthName);
    if (hasBody && length != std::string::npos)
        answer.body = readBytes(std::stoul(answer.head.substr(length + lengthName.size())));
    return answer;
}

WireClient::Answer WireClient::post(std::string_view path, std::string_view body, std::string_view headers) {
    std::string request = "POST ";
    request += path;
    request += " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\nContent-Length: ";
    request += std::to_string(body.size()) + "\r\n";
    request += headers;
    request += "\r\n";
    request += body;
    send(request);
    return readAnswer();
}

std::string WireClient::upgrade(std::string_view path, std::string_view headers) {
    send(upgradeRequest(path, headers));
    const auto answer = readAnswer(false);
    if (answer.status != 101)
        throw std::runtime_error("no upgrade: " + answer.head);
    return answer.head;
}

void WireClient::sendFrame(int opcode, std::string_view payload) {
    send(frame(opcode, payload));
}

Frame WireClient::readFrame() {
    const auto head = readBytes(2);
    Frame result;
    result.opcode = head[0] & 0x0f;
    std::uint64_t size = static_cast<unsigned char>(head[1]);
    if (size >= 126) {
        const auto length = readBytes(size == 126 ? 2 : 8);
        size = 0;
        for (const auto byte : length)
            size = size << 8 | static_cast<unsigned char>(byte);
    }
    result.payload = readBytes(size);
    return result;
}

std::string WireClient::readReply() {
    for (;;) {
        const auto frame = readFrame();
        if (frame.opcode == 8)
            throw std::runtime_error("closed with " + std::to_string(frame.closeCode()));
        if (frame.opcode == 1 && !frame.payload.starts_with(R"({"jsonrpc":"2.0","method":)"))
            return frame.payload;
    }
}

std::string WireClient::call(std::string_view text) {
    sendText(text);
    return readReply();
}

std::string upgradeRequest(std::string_view path, std::string_view headers) {
    std::string request = "GET ";
    request += path;
    request += " HTTP/1.1\r\nHost: localhost\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
               "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
    request += headers;
    request += "\r\n";
    return request;
}

std::string frame(int opcode, std::string_view payload) {
    std::string result(1, char(0x80 | opcode));
    const auto append = [&](int length, int bytes) {
        result += char(0x80 | length);
        for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
            result += char((std::uint64_t(payload.size()) >> shift) & 0xff);
    };
    if (payload.size() < 126)
        append(int(payload.size()), 0);
    else if (payload.size() <= 0xffff)
        append(126, 2);
    else
        append(127, 8);
    result.append(mask, 4);
    for (std::size_t i = 0; i < payload.size(); ++i)
        result += char(payload[i] ^ mask[i % 4]);
    return result;
}

} // namespace Ostrel::Test
