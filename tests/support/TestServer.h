#pragma once

#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/runtime/Mutex.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace Ostrel::Test {

/// A running server named "Test" whose methods are given by the test: "Test::NAME" with the
/// turn, "Reader::NAME" without. Each gets the call and returns the reply's text.
class TestServer : public RPCServer {
public:
    using Handler = std::function<std::string(const IRPC::RPCSynchronousMethodObject&)>;

    TestServer() : RPCServer("Test") {
        readOnlyInterfaces.insert("Reader");
        for (const auto* interface : {"Test", "Reader"})
            for (const auto* name : {"echo", "first", "second"})
                methods[interface][name] = static_cast<Method>(&TestServer::handle);
        on("echo", echo);
        init();
    }

    /// Sets what a method does: "echo", "first" or "second", in both interfaces.
    /// Any thread may do so; calls that have begun keep theirs.
    void on(const std::string& method, Handler handler) {
        auto shared = std::make_shared<const Handler>(std::move(handler));
        const std::lock_guard lock(mutex_);
        handlers_[method].swap(shared);
    }

    /// Declares a method, "INTERFACE::METHOD", to be one that may wait.
    void letWait(const std::string& name) { waitingMethods.insert(name); }

    /// Declares the methods of an interface, which only reads, to be brief.
    void letBeBrief(const std::string& interface) { briefInterfaces.insert(interface); }

    bool housekeep() override { return onHousekeep != nullptr && onHousekeep(); }
    std::function<bool()> onHousekeep;

    std::string_view getDescription() const noexcept override { return description; }
    std::string description = "{\"openrpc\":1}\n";

    /// Answers the params' text as a JSON string.
    static std::string echo(const IRPC::RPCSynchronousMethodObject& call);

    /// Answers a text of that many bytes.
    static Handler answerOfSize(std::size_t size);

private:
    std::string handle(const IRPC::RPCSynchronousMethodObject& call) {
        std::shared_ptr<const Handler> handler;
        {
            const std::lock_guard lock(mutex_);
            handler = handlers_.at(std::string(call.getMethodName()));
        }
        return (*handler)(call);
    }

    std::mutex mutex_; ///< guards what follows
    std::map<std::string, std::shared_ptr<const Handler>> handlers_;
};

/// A text that can travel.
class TextObject : public SerialObject {
public:
    explicit TextObject(std::string text) : text_(std::move(text)) {}

    TextObject* clone() const override { return new TextObject(*this); }
    using SerialObject::serialize;
    void serialize(Serializer& out) const override { out.write("", std::string_view(text_)); }
    void serialize(const std::string& key, Serializer& out) const override {
        out.write(key, std::string_view(text_));
    }

private:
    std::string text_;
};

inline std::string TestServer::echo(const IRPC::RPCSynchronousMethodObject& call) {
    const TextObject text{std::string(call.getParameters())};
    return IRPC::RPCResultObject(call, text).serialize();
}

inline TestServer::Handler TestServer::answerOfSize(std::size_t size) {
    return [text = TextObject(std::string(size, 'x'))](const auto& call) -> std::string {
        try {
            return IRPC::RPCResultObject(call, text).serialize();
        } catch (const std::exception& exception) {
            return IRPC::RPCErrorObject(call, exception.what()).serialize();
        }
    };
}

} // namespace Ostrel::Test
