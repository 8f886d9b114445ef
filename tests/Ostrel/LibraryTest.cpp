#include "Ostrel/rpc/Exception.h"
#include "Ostrel/rpc/ParameterError.h"
#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Task.h"
#include "Ostrel/serialization/DecodeError.h"
#include "Ostrel/serialization/Deserializer.h"
#include "Ostrel/transport/Listener.h"
#include "Ostrel/transport/StartError.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <future>
#include <string>
#include <utility>

namespace Ostrel {
namespace {

// What the library throws

TEST(LibraryTest, ItsExceptionsAreCaughtOutside) {
    EXPECT_THROW(Address::parse("nowhere"), StartError);
    EXPECT_THROW(Listener({Address::parse("0.0.0.0:0")}, {{}, {}, ""}), StartError);
    EXPECT_THROW(
        {
            Deserializer deserializer("{}");
            deserialize<unsigned>("context", deserializer);
        },
        DecodeError);
}

TEST(LibraryTest, UnwindingTasksIsSeenByTheirBodies) {
    static std::promise<void> begun;
    static bool unwound = false;
    ASSERT_NE(OS_TaskSpawnParam(
                  "sleeper", 0, 0,
                  [](void*) {
                      try {
                          begun.set_value();
                          OS_TaskDelayMsec(UINT_MAX);
                      } catch (const TaskUnwind&) {
                          unwound = true;
                          throw;
                      }
                      return 0;
                  },
                  nullptr, 0),
              nullptr);
    begun.get_future().wait();
    stopTasks();
    EXPECT_TRUE(unwound);
}

// What is thrown to the library

class ThrowingServer : public RPCServer {
public:
    explicit ThrowingServer(std::function<void()> throwIt)
        : RPCServer("Thrower"), throw_(std::move(throwIt)) {
        methods["Test"]["throw"] = static_cast<Method>(&ThrowingServer::handle);
    }

    std::string call() { return handleRPCSynchronousMethod({"Test", "throw", "1", "{}"}); }

private:
    std::string handle(const IRPC::RPCSynchronousMethodObject&) {
        throw_();
        return {};
    }

    std::function<void()> throw_;
};

TEST(LibraryTest, ExceptionsFromOutsideAreKnownToIt) {
    setDebugSink([](const DebugLine&) {});
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[] { throw Exception(ReturnCode::NotSupported); }, R"("name":"NotSupported")"},
        {[] { throw ParameterError("context"); }, R"("name":"InvalidParameter","member":"context")"},
        {[] { throw DecodeError("missing member", "limit"); }, R"("name":"DecodeError","member":"limit")"},
        {[] { throw std::bad_alloc(); }, R"("name":"OutOfMemory")"},
    };
    for (const auto& [throwIt, data] : rows) {
        const auto reply = ThrowingServer(throwIt).call();
        EXPECT_NE(reply.find(data), std::string::npos) << reply;
    }
    setDebugSink({});
}

} // namespace
} // namespace Ostrel
