#include "simulator/WeatherRule.h"

#include "Ostrel/rpc/ReturnCode.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace Ostrel {

namespace {

const std::vector<const char*> droppedOfCalls = {"reply", "connection", "request"};
const std::vector<const char*> droppedOfNotifications = {"notification"};

constexpr ReturnCode errors[] = {ReturnCode::InvalidParameter, ReturnCode::InvalidState,
                                 ReturnCode::OutOfMemory,      ReturnCode::NotSupported,
                                 ReturnCode::TimedOut,         ReturnCode::GenericFailure};

std::string readName(const std::string& key, Deserializer& deserializer,
                     const std::vector<const char*>& names) {
    auto name = deserialize<std::string>(key, deserializer);
    if (std::find(names.begin(), names.end(), name) != names.end())
        return name;
    std::string all;
    for (const auto* each : names)
        all += all.empty() ? each : std::string(", ") + each;
    deserializer.refuse(key, (names.size() == 1 ? "is not " : "is none of ") + all);
}

ReturnCode readError(const std::string& key, Deserializer& deserializer) {
    std::vector<const char*> names;
    for (const auto code : errors)
        names.push_back(getName(code));
    const auto name = readName(key, deserializer, names);
    return *std::find_if(std::begin(errors), std::end(errors),
                         [&](ReturnCode code) { return name == getName(code); });
}

/// Whether a text is what a glob describes. Where it is not, the last "*" takes one character more.
bool isLike(std::string_view text, std::string_view glob) noexcept {
    std::size_t at = 0;
    std::size_t in = 0;
    auto star = std::string_view::npos;
    std::size_t taken = 0; ///< where the rest begins behind what the star has
    while (in < text.size()) {
        if (at < glob.size() && glob[at] == '*') {
            star = at++;
            taken = in;
        } else if (at < glob.size() && glob[at] == text[in]) {
            ++at;
            ++in;
        } else if (star != std::string_view::npos) {
            at = star + 1;
            in = ++taken;
        } else {
            return false;
        }
    }
    return glob.find_first_not_of('*', at) == std::string_view::npos;
}

} // namespace

WeatherRule::WeatherRule(Deserializer& deserializer) {
    deserializer.refuseUnknown(
        {"method", "notifications", "after", "times", "probability", "delayMs", "error", "drop"});
    method = deserialize<std::string>("method", deserializer, method);
    notifications = deserialize<bool>("notifications", deserializer, notifications);
    after = deserialize<unsigned>("after", deserializer, after);
    if (deserializer.has("times"))
        times = deserialize<unsigned>("times", deserializer);
    if (deserializer.has("probability"))
        probability = deserializer.readNumber("probability", 0, 1);
    if (deserializer.has("delayMs"))
        readDelay(deserializer);
    if (deserializer.has("error"))
        error = readError("error", deserializer);
    if (deserializer.has("drop"))
        drop = readName("drop", deserializer, notifications ? droppedOfNotifications : droppedOfCalls);

    if (error != ReturnCode::Success && notifications)
        deserializer.refuse("error", "is nothing that can happen to a notification");
    if (error != ReturnCode::Success && !drop.empty())
        deserializer.refuse("drop", "cannot stand beside \"error\"");
    if (!delay && error == ReturnCode::Success && drop.empty())
        deserializer.refuse("delayMs", "is missing, as is any other effect");
}

void WeatherRule::readDelay(Deserializer& deserializer) {
    if (!deserializer.isList("delayMs")) {
        const auto exactly = deserializer.readUnsigned("delayMs", 0, mostDelay);
        delay = {exactly, exactly};
        return;
    }
    const auto range = deserializer.readIntList("delayMs");
    if (range.size() != 2 || range[0] < 0 || range[1] < range[0] || range[1] > int(mostDelay))
        deserializer.refuse("delayMs", "is not a list of the least and the most, from 0 to " +
                                           std::to_string(mostDelay));
    delay = {unsigned(range[0]), unsigned(range[1])};
}

bool WeatherRule::matches(std::string_view name, bool isNotification) const noexcept {
    return notifications == isNotification && isLike(name, method);
}

RPCInterceptor::RequestFate::Outcome WeatherRule::getOutcome() const noexcept {
    using Fate = RPCInterceptor::RequestFate;
    if (error != ReturnCode::Success)
        return Fate::Failed;
    if (drop == "reply")
        return Fate::ReplyLost;
    if (drop == "connection")
        return Fate::ConnectionLost;
    return drop == "request" ? Fate::RequestLost : Fate::Usual;
}

void WeatherRule::serialize(Serializer& serializer) const {
    Ostrel::serialize("method", method, serializer);
    Ostrel::serialize("notifications", notifications, serializer);
    Ostrel::serialize("after", after, serializer);
    if (times)
        Ostrel::serialize("times", *times, serializer);
    Ostrel::serialize("probability", probability, serializer);
    if (delay && delay->least == delay->most) {
        Ostrel::serialize("delayMs", delay->least, serializer);
    } else if (delay) {
        serializer.beginList("delayMs");
        Ostrel::serialize("", delay->least, serializer);
        Ostrel::serialize("", delay->most, serializer);
        serializer.endList("delayMs");
    }
    if (error != ReturnCode::Success)
        Ostrel::serialize("error", std::string(getName(error)), serializer);
    if (!drop.empty())
        Ostrel::serialize("drop", drop, serializer);
}

} // namespace Ostrel
