// The least that a server can do: it finds each request's end and its id, and answers with the same bytes, which
// bear that id. It checks nothing: its clients are ours, and each id is as long as the one in the answer.
//
// One thread, epoll, and for all that one read brings one write. With notifications it sends these to
// every WebSocket before it answers.

#include "bench/RequestReader.h"
#include "bench/Yardstick.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace Ostrel::Bench;

class BareServer {
public:
    explicit BareServer(const Yardstick& yardstick) {
        if (!yardstick.replyFile.empty())
            reply_ = readFile(yardstick.replyFile);
        idInReply_ = RequestReader::findId(reply_);
        for (const auto& file : yardstick.notificationFiles)
            notifications_.push_back(readFile(file));
        listener_ = yardstick.listen();
        watch(listener_, nullptr);
    }

    [[noreturn]] void run() {
        for (;;) {
            std::array<epoll_event, 64> events;
            const int number = ::epoll_wait(poll_, events.data(), int(events.size()), -1);
            for (int i = 0; i < number; ++i) {
                auto* client = static_cast<Client*>(events[std::size_t(i)].data.ptr);
                if (client == nullptr)
                    accept();
                else if (!serve(*client))
                    forget(*client);
            }
        }
    }

private:
    struct Client {
        explicit Client(int accepted) : socket(accepted) {}

        int socket;
        RequestReader reader;
    };

    void watch(int socket, Client* client) const {
        epoll_event interest{};
        interest.events = EPOLLIN;
        interest.data.ptr = client;
        ::epoll_ctl(poll_, EPOLL_CTL_ADD, socket, &interest);
    }

    void accept() {
        const int socket = ::accept(listener_, nullptr, nullptr);
        if (socket < 0)
            return;
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        clients_.push_back(std::make_unique<Client>(socket));
        watch(socket, clients_.back().get());
    }

    /// Returns whether the client stays.
    bool serve(Client& client) {
        static char buffer[65536];
        const auto size = ::recv(client.socket, buffer, sizeof buffer, 0);
        if (size <= 0)
            return false;
        const auto found = client.reader.take({buffer, std::size_t(size)});
        if (found.isUpgrade && !send(client.socket, upgradeAnswer))
            return false;
        for (std::size_t i = 0; i != found.ids.size() && !notifications_.empty(); ++i)
            notify();
        return answer(client.socket, found.ids) && !found.isClosing;
    }

    bool answer(int socket, const std::vector<std::string>& ids) {
        if (ids.size() == 1)
            return send(socket, replyTo(ids.front()));
        std::string replies;
        for (const auto& id : ids)
            replies += replyTo(id);
        return send(socket, replies);
    }

    /// The one reply, with that id in it.
    const std::string& replyTo(const std::string& id) {
        if (idInReply_.size() == id.size())
            id.copy(reply_.data() + (idInReply_.data() - reply_.data()), id.size());
        return reply_;
    }

    void notify() {
        for (const auto& notification : notifications_)
            for (const auto& client : clients_)
                if (client->reader.isWebSocket())
                    send(client->socket, notification);
    }

    static bool send(int socket, std::string_view bytes) {
        while (!bytes.empty()) {
            const auto sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return false;
            bytes.remove_prefix(std::size_t(sent));
        }
        return true;
    }

    void forget(Client& gone) {
        ::close(gone.socket);
        std::erase_if(clients_, [&](const auto& client) { return client.get() == &gone; });
    }

    const int poll_ = ::epoll_create1(EPOLL_CLOEXEC);
    int listener_ = -1;
    std::string reply_;
    std::string_view idInReply_; ///< a part of it
    std::vector<std::string> notifications_;
    std::vector<std::unique_ptr<Client>> clients_;
};

} // namespace

int main(int argc, char** argv) {
    try {
        BareServer(Yardstick::parse(argc, argv)).run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}
