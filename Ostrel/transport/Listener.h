// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/transport/Address.h"
#include "Ostrel/transport/Admission.h"
#include "Ostrel/transport/Advice.h"
#include "Ostrel/transport/Limits.h"
#include "Ostrel/transport/PageFile.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Ostrel {

/// How a listener serves.
struct ListenerOptions {
    Limits limits = {};
    Advice advice = {};
    std::string mainServer = {}; ///< the name of the one that /openrpc.json describes
    std::span<const PageFile> page = {}; ///< the web page's files, which need no token; they must live longer
    std::vector<int> sockets = {}; ///< that listen already; the listener takes them over and closes them
};

/// Serves the running RPC servers over WebSocket and HTTP, on as many addresses and sockets as wanted.
///
/// One thread does all input and output; handlers run there or on lanes beside it. Nothing a
/// client sends or leaves out stops it, and no client waits for one that is slow.
class OSTREL_API Listener {
public:
    /// Binds the addresses and begins to serve: whole or not at all.
    /// @throws StartError  an address cannot be had, a socket is none that listens, or one of them would be open to others without a token, or
    ///                     the system has no descriptor, thread or memory left for serving
    Listener(const std::vector<Address>& addresses, Admission admission, const ListenerOptions& options = {});

    /// Stops as stop() does.
    ~Listener();

    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// The addresses, with the ports that the system chose, in the order given, and behind them those
    /// of the sockets.
    const std::vector<Address>& getAddresses() const;

    /// Asks for another token from now on. Whoever was let in by another one is said goodbye to, WebSockets
    /// with 1001; what is being carried out is answered first. Any thread may do so, until stop().
    /// @param token  as Admission takes it; not empty where an address needs one
    void setToken(std::string token);

    /// Whether the thread of input and output has come round since the last time this was asked. It does
    /// that at once unless something holds it. Any one thread may ask, until stop().
    /// @throws std::bad_alloc
    bool isAlive();

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
