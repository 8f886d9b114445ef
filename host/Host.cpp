#include "host/Host.h"

#include "Ostrel/runtime/Task.h"
#include "Ostrel/transport/StartError.h"

#include <cstdlib>

namespace Ostrel {

namespace {

std::vector<Address> parseAll(const std::vector<std::string>& texts) {
    std::vector<Address> addresses;
    addresses.reserve(texts.size());
    for (const auto& text : texts)
        addresses.push_back(Address::parse(text));
    return addresses;
}

/// The options of the command line that people are pointed to.
Advice adviseOptions() {
    return {.addressInUse = "choose another with --listen",
            .tokenNeeded = "give a token with --token-file",
            .foreignHost = "allow it with --allow-host",
            .foreignOrigin = "allow them with --allow-origin"};
}

} // namespace

Host::Host(const HostOptions& options) {
    const auto addresses = parseAll(options.listen);
    Admission admission(options.allowedOrigins, options.allowedHosts,
                        options.tokenFile.empty() ? std::string()
                                                  : Admission::readTokenFile(options.tokenFile));

    if (options.fakeTime)
        setenv("DUMMYFAKETIME", "", 1);
    module_.init();
    server_.emplace(&module_);
    if (!server_->init())
        throw StartError("another RPC server runs under the name " + server_->getName());
    try {
        listener_.emplace(addresses, std::move(admission),
                          ListenerOptions{.advice = adviseOptions(), .logRequests = options.logRequests});
    } catch (...) {
        server_->uninit();
        throw;
    }
}

Host::~Host() {
    listener_->stop();
    stopTasks();
    server_->uninit();
    server_->shutdown();
    listener_.reset();
    server_.reset();
    module_.uninit();
}

} // namespace Ostrel
