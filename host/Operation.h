#pragma once

#include <csignal>

namespace Ostrel {

class Host;
class ServiceManager;

/// Sees a host from its start to its end: takes the signals that people, terminals and service managers
/// send, and keeps a service manager informed.
///
/// SIGINT and SIGTERM end the host, and so does SIGHUP, which a terminal sends when it goes, unless
/// somebody wants the host to outlive that, as nohup does. Where there is no terminal but a service
/// manager, SIGHUP has the host read again what it may.
class Operation {
public:
    /// Keeps the signals away from this thread and those that it starts from now on, so that run()
    /// gets them.
    explicit Operation(const ServiceManager& manager);

    /// Returns when somebody wants the end. Whoever sends another signal later does not want to wait for
    /// the goodbyes, and ends the process.
    void run(Host& host);

private:
    int wait() const;
    void reload(Host& host) const;
    void tellAlive(Host& host) const;

    const ServiceManager& manager_;
    bool reloads_; ///< on SIGHUP
    sigset_t signals_;
};

} // namespace Ostrel
