// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/serialization/Deserializer.h"
#include "TV/server/ContextTable.h"
#include "TV/server/TVServer.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Ostrel::TV {

class TVModuleContext;

/// Publishes a TV module as the RPC server "TV": three interfaces of methods, and the scan
/// events as notifications.
///
/// Calls are served from init() on. Methods of ITVGuide only read and may be called by several
/// threads at once; all others hold the turn. The host ends all calls, then calls uninit().
class OSTREL_API TVRPCServer : public TVServer, public RPCServer {
public:
    class Request;

    /// @param module  not owned; must live longer than the server
    /// @param clock   tells when a context was last used; for tests
    explicit TVRPCServer(TVModule* module, ContextTable::Clock clock = &std::chrono::steady_clock::now);

    /// Gives the contexts that clients have left behind back to the module.
    ~TVRPCServer() override;

    bool init() override;

    std::string_view getDescription() const noexcept override;

    /// Releases the contexts whose connection has closed and that nothing has used for some
    /// time, unless a scan is running: releasing a context would end it.
    /// @returns whether contexts remain
    bool housekeep() override;

    void onScanStart(const unsigned& sourceId) override;
    void onScanComplete(const unsigned& sourceId) override;
    void onScanProgress(const unsigned& sourceId, const unsigned& percent) override;

private:
    using Call = IRPC::RPCSynchronousMethodObject;
    using Handler = std::string (TVRPCServer::*)(const Call&);

    /// Source lines that a handler's debug lines show; 0 stands for where they are printed.
    struct Lines {
        int throwing;
        int catching;
    };

    std::string createContext(const Call& call);
    std::string deleteContext(const Call& call);

    std::string serviceListSet(const Call& call);
    std::string serviceListDelete(const Call& call);
    std::string serviceListDeleteAll(const Call& call);
    std::string serviceListSeek(const Call& call);
    std::string serviceListSeekByUri(const Call& call);
    std::string serviceListSeekByChannelNumber(const Call& call);
    std::string serviceListGet(const Call& call);
    std::string serviceListRead(const Call& call);
    std::string nowNextGet(const Call& call);
    std::string signalStatusGet(const Call& call);
    std::string utcTimeGet(const Call& call);

    std::string transponderListAdd(const Call& call);
    std::string transponderListDeleteAll(const Call& call);
    std::string scanBlindStart(const Call& call);
    std::string scanHomeStart(const Call& call);
    std::string scanStart(const Call& call);
    std::string scanStop(const Call& call);
    std::string scanInfoGet(const Call& call);

    std::string query(const Call& call);
    std::string queryEventInfo(const Call& call);
    std::string queryNowNextEventInfo(const Call& call);
    std::string getGenreStringMapList(const Call& call);

    /// What every method that names a context shares: finds the context, decodes the payload
    /// if the operation takes one, and makes the reply, whatever goes wrong.
    ///
    /// @param operation  called with the context, or with the context and the payload's members;
    ///                   returns the value of the reply
    template <typename Operation>
    std::string answer(const Call& call, const char* name, Operation operation, Lines lines = {}) {
        return answerGuarded(call, name, lines, [&](TVModuleContext& context, const Request& request) {
            if constexpr (std::is_invocable_v<Operation, TVModuleContext&>) {
                return IRPC::RPCResultObject(call, operation(context)).serialize();
            } else {
                Deserializer payload = decode(request);
                return IRPC::RPCResultObject(call, operation(context, payload)).serialize();
            }
        });
    }

    // A long text takes a while and the turn is others' meanwhile.
    static Deserializer decode(const Call& call);
    static Deserializer decode(const Request& request);

    using Work = std::function<std::string(TVModuleContext& context, const Request& request)>;
    std::string answerGuarded(const Call& call, const char* name, Lines lines, const Work& work);

    void publish(const std::string& interfaceName, MethodMap& group,
                 std::initializer_list<std::pair<const char*, Handler>> handlers);

    /// Gives a context back to the module; returns false when there is none.
    bool release(std::uint32_t identifier);
    bool isScanRunning(TVModuleContext& context) const;

    /// Raises a notification that carries the source alone.
    void raise(const std::string& name, unsigned sourceId);

    MethodMap configMethods_;
    MethodMap serviceMethods_;
    MethodMap guideMethods_;
    ContextTable contexts_;
    std::atomic<bool> scanHeard_ = false; ///< a scan has started since init()
};

/// What every call carries that names a context. It refers to the text that is read.
class OSTREL_API TVRPCServer::Request {
public:
    /// @throws DecodeError
    explicit Request(Deserializer& deserializer);

    /// The context's identifier.
    const std::uint32_t& getContext() const { return context_; }

    /// The method's own parameters as the text of a JSON object; empty when there are none.
    std::string_view getPayload() const { return object_ ? object_->text : payload_; }

    /// Reads them.
    /// @throws DecodeError  there are none, or the text that a client has given is no JSON object
    Deserializer decodePayload() const { return object_ ? Deserializer(*object_) : Deserializer(payload_); }

private:
    std::uint32_t context_;
    std::optional<CheckedObject> object_; ///< the payload where it stands
    std::string payload_; ///< the payload that was given as a text
};

} // namespace Ostrel::TV
