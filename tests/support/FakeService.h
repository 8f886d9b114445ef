#pragma once

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Test {

/// A TV service that answers from a table: a WebSocket server for one client at a time.
///
/// The answers to a method are the frames to send, one after another; "$ID" in them
/// becomes the request's id. The frame "CLOSE" closes with 1001, "DROP" cuts the
/// connection, "PING" pings. Small frames of one answer arrive together. A method that is not in
/// the table is not answered. createContext is, with 4711, unless the table says otherwise.
class FakeService {
public:
    using Frames = std::vector<std::string>;

    /// @param greeting  frames for every new connection
    explicit FakeService(std::map<std::string, Frames> answers, Frames greeting = {});
    ~FakeService();

    /// Answers handshakes from now on with this status and body.
    void refuseWith(unsigned status, const std::string& body);

    std::string getAddress() const { return "127.0.0.1:" + std::to_string(port_); }

    /// Returns what the clients sent, as it travelled; the header first where one was sent, and
    /// "PONG" for the answer to a ping.
    std::vector<std::string> getRequests() const;

private:
    void serve();
    void serveOne(int socket);
    void note(const std::string& request);

    std::map<std::string, Frames> answers_;
    Frames greeting_;
    int listener_ = -1;
    unsigned short port_ = 0;

    mutable std::mutex mutex_; ///< guards what follows
    int client_ = -1; ///< so that the destructor can end a read
    bool stopping_ = false;
    unsigned refusal_ = 0;
    std::string refusalBody_;
    std::vector<std::string> requests_;

    std::thread thread_; ///< the last member: it uses all others
};

/// Returns the frame of a reply with this result, or with this error.
std::string result(const std::string& json);
std::string error(const std::string& json);

} // namespace Ostrel::Test
