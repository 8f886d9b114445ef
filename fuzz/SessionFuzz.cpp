// A script of calls by three clients, with scans on a clock that is moved by hand: each reply, and all that
// listeners hear, is what a small model says, and nothing is left behind.

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Turn.h"
#include "TV/server/TVRPCServer.h"
#include "TV/server/dummy/DummyTVModule.h"
#include "fuzz/Require.h"
#include "fuzz/SessionModel.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <thread>
#include <utility>

using namespace Ostrel;
using namespace Ostrel::Fuzz;
using namespace Ostrel::TV;

namespace {

constexpr std::int64_t startOfAll = 1000; ///< seconds since 1970-01-01 UTC
constexpr unsigned clients = 3;
constexpr unsigned longestScript = 200; ///< each scan may leave a task until time passes

/// Writes down what listeners hear, in the words of the model.
class Recorder : public ITVConfig::ITVConfigListener {
public:
    void onScanStart(const unsigned& source) override { tell("start", source); }
    void onScanComplete(const unsigned& source) override { tell("complete", source); }
    void onScanProgress(const unsigned& source, const unsigned& percent) override {
        tell("progress " + std::to_string(percent), source);
    }

    std::string take() { return std::exchange(events_, {}); }

private:
    void tell(const std::string& what, unsigned source) {
        events_ += what + " of " + std::to_string(source) + "; ";
    }

    std::string events_;
};

/// The service in this process. It stays, and each script finds it as at the start.
struct Service {
    Service() {
        unsetenv("DUMMYFAKETIME");
        fewEvents(3);
        setDebugLevel(DebugLevel::Error);
        setDebugSink([this](const DebugLine& line) { locksLeft += line.module == "Mutex" ? 1 : 0; });
        module.init();
        module.addListener(&recorder);
    }

    std::string call(const std::string& interface, const std::string& method, const std::string& params) {
        std::string reply;
        {
            const Turn::Hold turn;
            reply = server.handleRPCSynchronousMethod(
                IRPC::RPCSynchronousMethodObject(interface, method, "7", params));
        }
        Clock::step(std::chrono::seconds(0)); // the task of a scan that has begun
        const std::string head = R"({"jsonrpc":"2.0","id":7,)";
        requireEqual(reply.substr(0, head.size()), head);
        require(reply.back() == '}');
        return reply.substr(head.size(), reply.size() - head.size() - 1);
    }

    DummyTVModule module;
    TVRPCServer server{&module};
    Recorder recorder;
    unsigned locksLeft = 0; ///< taken away from handlers so far
};

Service& theService() {
    static Service& service = *new Service;
    return service;
}

/// A script that runs.
class Script {
public:
    explicit Script(FuzzedDataProvider& input) : input_(input) {
        Clock::set(startOfAll, 0);
        const Turn::Hold turn;
        service_.module.reset();
        service_.locksLeft = 0;
    }

    void run() {
        for (unsigned length = 0; length != longestScript && input_.remaining_bytes() != 0; ++length) {
            act(input_.ConsumeIntegralInRange<unsigned>(0, 19),
                clients_[input_.ConsumeIntegral<std::uint8_t>() % clients]);
            requireEqual(service_.recorder.take(), model_.takeEvents());
            require(service_.locksLeft == locksLeft_);
        }
    }

    /// Has everybody go, and looks for what they have left behind.
    void finish() {
        for (Client& client : clients_)
            if (client.identifier != 0)
                leave(client);
        Clock::step(std::chrono::seconds(1)); // tasks find no scan to go on with
        require(countTasks() == 0);
        std::thread([this] { // no thread holds on to the lock
            const Mutex::Hold hold(service_.module.mutex);
        })
            .join();
        require(Turn::tryTake());
        const bool contextsStay = service_.server.housekeep();
        Turn::give();
        require(!contextsStay);
        requireEqual(service_.recorder.take(), "");
    }

private:
    struct Client {
        unsigned identifier = 0; ///< of its context; 0 while it has none
        unsigned former = 1; ///< one that it had
        SessionModel::Cursor cursor;
    };

    /// Asks, and compares the reply with what the model says to a client that has a context.
    template <typename Answer> void ask(Client& client, const char* interface, const char* method,
                                        const std::string& payload, Answer answer) {
        const auto identifier = client.identifier != 0 ? client.identifier : client.former;
        const auto reply =
            service_.call(interface, method,
                          R"({"context":)" + std::to_string(identifier) + R"(,"payload":{)" + payload + "}}");
        requireEqual(reply, client.identifier != 0 ? std::string(answer()) : unknownContext("-32000"));
    }

    static std::string unknownContext(const std::string& code) {
        return R"("error":{"code":)" + code +
               R"(,"message":"Invalid parameter","data":{"returnCode":1,"name":"InvalidParameter","member":"context"}})";
    }

    void enter(Client& client) {
        const auto reply = service_.call("ITVService", "createContext", "{}");
        const std::string head = R"("result":)";
        requireEqual(reply.substr(0, head.size()), head);
        client = {static_cast<unsigned>(std::stoul(reply.substr(head.size()))), 1, {}};
        require(client.identifier != 0);
    }

    void leave(Client& client) {
        const auto identifier = client.identifier != 0 ? client.identifier : client.former;
        const auto reply =
            service_.call("ITVService", "deleteContext", R"({"context":)" + std::to_string(identifier) + "}");
        requireEqual(reply, client.identifier != 0 ? R"("result":null)" : unknownContext("-32603"));
        if (client.identifier != 0)
            model_.loseContext();
        client = {0, identifier, {}};
    }

    std::uint32_t readLimit() {
        return input_.PickValueInArray<std::uint32_t>({0, 1, 2, 3, 100, 4294967295u, 4294967290u});
    }

    std::int32_t readOffset() {
        return input_.PickValueInArray<std::int32_t>(
            {0, 1, 2, 3, 4, 5, 6, -1, -2, -3, -5, -6, 2147483647, -2147483647 - 1});
    }

    void act(unsigned operation, Client& client) {
        const auto number = [](const char* name, std::int64_t value) {
            return '"' + std::string(name) + "\":" + std::to_string(value);
        };
        const auto list = [&](const char* method, const std::string& payload, auto answer) {
            ask(client, "ITVService", method, payload, answer);
        };
        const auto source = [&] { return input_.ConsumeIntegral<std::uint8_t>(); };
        const auto config = [&](const char* method, std::uint32_t from, const std::string& more,
                                auto answer) {
            ask(client, "ITVConfig", method, number("sourceId", from) + more, answer);
        };
        SessionModel::Cursor& cursor = client.cursor;
        switch (operation) {
        case 0:
        case 1:
            return client.identifier == 0 ? enter(client) : leave(client);
        case 2:
            return leave(client);
        case 3: {
            const std::string base = input_.PickValueInArray({"all", "new", "ALL", ""});
            return list("serviceListSet", "\"base\":\"" + base + '"',
                        [&] { return model_.set(cursor, base); });
        }
        case 4: {
            const auto limit = readLimit();
            return list("serviceListGet", number("limit", limit), [&] { return model_.get(cursor, limit); });
        }
        case 5: {
            const auto limit = readLimit();
            return list("serviceListRead", number("limit", limit),
                        [&] { return model_.read(cursor, limit); });
        }
        case 6: {
            const auto offset = readOffset();
            const auto whence = input_.PickValueInArray<std::uint32_t>({0, 1, 2, 3, 4294967295u});
            if (client.identifier != 0 && cursor.isSelected && whence > 2)
                ++locksLeft_; // and the platform takes it away
            return list("serviceListSeek", number("offset", offset) + ',' + number("whence", whence),
                        [&] { return model_.seek(cursor, offset, whence); });
        }
        case 7: {
            const auto place = input_.ConsumeIntegralInRange<unsigned>(0, std::size(fewServices));
            const auto uri = place < std::size(fewServices) ? SessionModel::uriOf(place) : "DVB://1..5";
            return list("serviceListSeekByUri", "\"uri\":\"" + uri + '"',
                        [&] { return model_.seekTo(cursor, place); });
        }
        case 8: {
            const auto place = input_.ConsumeIntegralInRange<unsigned>(0, std::size(fewServices));
            const auto channel = place < std::size(fewServices) ? fewServices[place] : 7;
            return list("serviceListSeekByChannelNumber", number("channelNumber", channel),
                        [&] { return model_.seekTo(cursor, place); });
        }
        case 9:
        case 10:
            return list("serviceListDelete", "", [&] { return model_.deleteOne(cursor); });
        case 11:
            return list("serviceListDeleteAll", "", [&] { return model_.deleteAll(cursor); });
        case 12:
        case 13: {
            const bool isBlind = operation == 13;
            const auto from = source();
            return config(isBlind ? "scanBlindStart" : "scanStart", from, R"(,"useNIT":0)",
                          [&] { return model_.start(from, isBlind); });
        }
        case 14:
            return config("scanStop", source(), "", [&] { return model_.stop(); });
        case 15:
            return config("scanInfoGet", source(), "", [&] { return model_.info(); });
        case 16: {
            const auto frequency = input_.PickValueInArray<std::uint32_t>(
                {0, 473999, 474000, 690999, 722000, 850000, 851000, 4294967295u});
            return config("transponderListAdd", source(),
                          R"(,"tuningParams":{"frequencyKHz":)" + std::to_string(frequency) + '}',
                          [&] { return model_.addTransponder(frequency); });
        }
        case 17:
            return config("transponderListDeleteAll", source(), "",
                          [&] { return model_.deleteTransponders(); });
        case 18: {
            const auto seconds = input_.PickValueInArray<unsigned>({1, 2, 3, 10, 27, 60});
            require(Clock::step(std::chrono::seconds(seconds)));
            return model_.pass(seconds);
        }
        default: {
            const auto seconds = input_.PickValueInArray<std::int64_t>({-100, -7, -1, 1, 7, 100});
            Clock::set(model_.now() + seconds, std::nullopt);
            Clock::step(std::chrono::seconds(0));
            return model_.jump(seconds);
        }
        }
    }

    FuzzedDataProvider& input_;
    Service& service_ = theService();
    SessionModel model_{startOfAll};
    Client clients_[clients];
    unsigned locksLeft_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    Script script(input);
    script.run();
    script.finish();
    return 0;
}
