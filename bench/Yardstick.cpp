#include "bench/Yardstick.h"

#include <cstdio>
#include <stdexcept>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

void publish(const std::string& portFile, unsigned port) {
    const auto text = std::to_string(port) + "\n";
    const auto half = portFile + ".half";
    const int file = ::open(half.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const bool isWritten = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::close(file);
    if (!isWritten || std::rename(half.c_str(), portFile.c_str()) != 0)
        throw std::runtime_error("cannot write " + portFile);
}

} // namespace

Yardstick Yardstick::parse(int argc, char** argv) {
    Yardstick result;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i], value = argv[i + 1];
        if (name == "--port-file")
            result.portFile = value;
        else if (name == "--reply")
            result.replyFile = value;
        else if (name == "--notification")
            result.notificationFiles.push_back(value);
        else if (name != "--listen" || value != "127.0.0.1:0")
            throw std::runtime_error("what is " + name + ' ' + value + '?');
    }
    return result;
}

int Yardstick::listen() const {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof name;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&name), size) != 0 ||
        ::listen(listener, SOMAXCONN) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&name), &size) != 0)
        throw std::runtime_error("there is no port");
    if (!portFile.empty())
        publish(portFile, ntohs(name.sin_port));
    std::printf("serves on http://127.0.0.1:%d\n", int(ntohs(name.sin_port)));
    std::fflush(stdout);
    return listener;
}

std::string readFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY);
    std::string text;
    char buffer[65536];
    ssize_t size = 0;
    while ((size = ::read(file, buffer, sizeof buffer)) > 0)
        text.append(buffer, static_cast<std::size_t>(size));
    ::close(file);
    if (size < 0)
        throw std::runtime_error("cannot read " + path);
    return text;
}

} // namespace Ostrel::Bench
