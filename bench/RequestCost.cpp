// What a small request costs the host, against a bare epoll server that answers the same bytes.
//
// Both run as processes of their own; a client makes the same round trips with each in turn.
// The figure is the ratio of their processor time, user and system, per request.

#include "Ostrel/transport/Address.h"
#include "tests/support/WireClient.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Ostrel::Address;
using Ostrel::Test::WireClient;

constexpr int roundTrips = 20'000;
constexpr int rounds = 5;

const std::string upgraded =
    "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
    "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\n\r\n";

/// Answers every chunk that comes with the same bytes: first the upgrade, then the reply.
[[noreturn]] void serveBare(int listener, const std::string& reply) {
    const int poll = epoll_create1(0);
    epoll_event interest{};
    interest.events = EPOLLIN;
    interest.data.fd = listener;
    epoll_ctl(poll, EPOLL_CTL_ADD, listener, &interest);
    bool first = true;
    for (;;) {
        epoll_event event{};
        if (epoll_wait(poll, &event, 1, -1) < 1)
            continue;
        if (event.data.fd == listener) {
            const int socket = accept(listener, nullptr, nullptr);
            const int on = 1;
            setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            interest.data.fd = socket;
            epoll_ctl(poll, EPOLL_CTL_ADD, socket, &interest);
            continue;
        }
        char buffer[4096];
        if (recv(event.data.fd, buffer, sizeof buffer, 0) <= 0)
            _exit(0);
        const auto& answer = first ? upgraded : reply;
        first = false;
        if (send(event.data.fd, answer.data(), answer.size(), MSG_NOSIGNAL) < 0)
            _exit(0);
    }
}

struct Served {
    pid_t process;
    Address address;
};

Served startBare(const std::string& replyText) {
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof name;
    if (bind(listener, reinterpret_cast<sockaddr*>(&name), size) != 0 || listen(listener, 1) != 0)
        throw std::system_error(errno, std::generic_category(), "the bare server has no port");
    getsockname(listener, reinterpret_cast<sockaddr*>(&name), &size);
    const std::string reply = std::string("\x81", 1) + char(replyText.size()) + replyText;
    const auto process = fork();
    if (process == 0)
        serveBare(listener, reply);
    close(listener);
    return {process, {"127.0.0.1", ntohs(name.sin_port), {}}};
}

Served startHost(const char* program) {
    int output[2];
    if (pipe(output) != 0)
        std::abort();
    const auto process = fork();
    if (process == 0) {
        dup2(output[1], STDOUT_FILENO);
        execl(program, program, "--listen", "127.0.0.1:0", nullptr);
        _exit(1);
    }
    close(output[1]);
    std::string line;
    for (char byte = 0; read(output[0], &byte, 1) == 1 && byte != '\n';)
        line += byte;
    close(output[0]);
    return {process, Address::parse(line.substr(line.find("127.0.0.1")))};
}

/// Ends a server and returns the microseconds of processor time that it took.
double end(const Served& served) {
    kill(served.process, SIGTERM);
    rusage used{};
    int status = 0;
    wait4(served.process, &status, 0, &used);
    const auto microseconds = [](const timeval& time) {
        return 1e6 * double(time.tv_sec) + double(time.tv_usec);
    };
    return microseconds(used.ru_utime) + microseconds(used.ru_stime);
}

std::string seek(const std::string& context) {
    return R"({"jsonrpc":"2.0","id":1,"method":"ITVService::serviceListSeek","params":{"context":)" +
           context + R"(,"payload":{"offset":5,"whence":0}}})";
}

std::string prepare(WireClient& client) {
    client.upgrade();
    const auto reply = client.call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    auto context = reply.substr(reply.rfind(':') + 1);
    context.pop_back();
    client.call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::serviceListSet","params":{"context":)" +
                context + R"(,"payload":{"base":"all"}}})");
    return seek(context);
}

double measureBare() {
    const auto served = startBare(R"({"jsonrpc":"2.0","id":1,"result":5})");
    {
        WireClient client(served.address);
        client.upgrade();
        const auto request = seek("2710293914");
        for (int i = 0; i < roundTrips; ++i)
            client.call(request);
    }
    return end(served) / roundTrips;
}

double measureHost(const char* program, int trips) {
    const auto served = startHost(program);
    {
        WireClient client(served.address);
        const auto request = prepare(client);
        for (int i = 0; i < trips; ++i)
            client.call(request);
    }
    return end(served);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s PATH-OF-OSTREL-TVD\n", argv[0]);
        return 2;
    }
    std::vector<double> ratios;
    std::printf("processor time of one small request, microseconds\n%10s %10s %7s\n", "bare epoll",
                "ostrel-tvd", "ratio");
    for (int round = 0; round < rounds; ++round) {
        const double bare = measureBare();
        // What starting and stopping cost is taken away.
        const double host = (measureHost(argv[1], roundTrips) - measureHost(argv[1], 0)) / roundTrips;
        ratios.push_back(host / bare);
        std::printf("%10.2f %10.2f %7.2f\n", bare, host, ratios.back());
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("median ratio %.2f\n", ratios[rounds / 2]);
    return 0;
}
