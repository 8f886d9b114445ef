// What has passed on the TV server's connections.

#include "simulator/SimulatorServer.h"

#include "Ostrel/serialization/BooleanObject.h"
#include "simulator/Message.h"

#include <algorithm>

namespace Ostrel {

namespace {

constexpr unsigned mostMessages = Traffic::Limits{}.messages;

struct GetParams {
    explicit GetParams(const Deserializer& params) {
        params.refuseUnknown({"last"});
        if (params.has("last"))
            last = params.readUnsigned("last", 0, mostMessages);
    }

    unsigned last = 100;
};

struct WatchParams {
    explicit WatchParams(const Deserializer& params) {
        params.refuseUnknown({"on"});
        on = params.readBool("on");
    }

    bool on;
};

/// The latest messages, which are read while they are written: there is no second copy of all.
class LatestMessages : public SerialObject {
public:
    LatestMessages(const Traffic& traffic, unsigned last) : traffic_(traffic), last_(last) {}

    ObjectType getObjectType() const override { return ObjectType::List; }
    LatestMessages* clone() const override { return new LatestMessages(*this); }

    using SerialObject::serialize;
    void serialize(Serializer& out) const override {
        const auto end = traffic_.getEnd();
        auto number = end - std::min<std::uint64_t>(end, last_);
        for (TrafficMessage message; number < end && traffic_.read(number, message);) {
            out.beginObject("");
            writeMessage(message, 0, out);
            out.endObject("");
        }
    }

private:
    const Traffic& traffic_;
    const unsigned last_;
};

} // namespace

void SimulatorServer::publishTraffic() {
    publish({
        {"trafficGet", &SimulatorServer::trafficGet},
        {"trafficWatch", &SimulatorServer::trafficWatch},
    });
    waitingMethods.insert("Simulator::trafficGet");
}

std::string SimulatorServer::trafficGet(const Call& call) {
    const Turn::Pause pause; // the reply may be long, and nothing of the module is in it
    return answer<GetParams>(
        call, [this](const GetParams& params) { return LatestMessages(traffic_, params.last); });
}

std::string SimulatorServer::trafficWatch(const Call& call) {
    const auto& peer = call.getPeer();
    if (peer == nullptr || !isSubscribed(*peer))
        return IRPC::RPCErrorObject(std::string(call.getId()), IRPC::InvalidRequest,
                                    "traffic is watched by WebSocket: nothing is pushed to a POST")
            .serialize();
    return answer<WatchParams>(call, [&](const WatchParams& params) {
        params.on ? watchers_.watch(peer) : watchers_.unwatch(peer);
        return BooleanObject(true);
    });
}

} // namespace Ostrel
