#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/transport/Address.h"
#include "Ostrel/transport/Admission.h"
#include "Ostrel/transport/Advice.h"
#include "Ostrel/transport/Limits.h"
#include "Ostrel/transport/PageFile.h"

#include <memory>
#include <span>
#include <vector>

namespace Ostrel {

/// How a listener serves.
struct ListenerOptions {
    Limits limits = {};
    Advice advice = {};
    std::string mainServer = {}; ///< the name of the one that /openrpc.json describes
    std::span<const PageFile> page = {}; ///< the web page's files, which need no token; they must live longer
};

/// Serves the running RPC servers over WebSocket and HTTP, on as many addresses as wanted.
///
/// One thread does all input and output; handlers run there or on lanes beside it. Nothing a
/// client sends or leaves out stops it, and no client waits for one that is slow.
class OSTREL_API Listener {
public:
    /// Binds the addresses and begins to serve: whole or not at all.
    /// @throws StartError  an address cannot be had or would be open to others without a token, or
    ///                     the system has no descriptor, thread or memory left for serving
    Listener(const std::vector<Address>& addresses, Admission admission, const ListenerOptions& options = {});

    /// Stops as stop() does.
    ~Listener();

    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// The addresses, with the ports that the system chose, in the order given.
    const std::vector<Address>& getAddresses() const;

    /// Closes WebSockets with 1001 and everything else, lets no handler begin any more, and
    /// returns when the last has ended. Slow clients are given a second.
    void stop();

    /// What is going on, for tests and for people.
    struct Status {
        std::size_t connections; ///< open now
        std::size_t waiting; ///< what keeping the bytes costs that wait for all clients
    };

    /// Any thread may ask, until stop().
    Status getStatus() const;

private:
    class Service;
    std::unique_ptr<Service> service_;
};

} // namespace Ostrel
