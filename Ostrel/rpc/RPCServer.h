// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/rpc/RPCCallMetrics.h"
#include "Ostrel/rpc/RPCNotifier.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel {

/// Answers calls by name: an outer table of interfaces, each with a map of methods.
///
/// A derived server fills the table in its constructor. While it runs, between init() and
/// shutdown(), clients find it in the registry by its name and the listener serves it under
/// /rpc/NAME.
class OSTREL_API RPCServer : public virtual RPCNotifier {
public:
    using Method = std::string (RPCServer::*)(const IRPC::RPCSynchronousMethodObject&);
    /// What stands behind a method's name. A copy has had no calls yet.
    struct Entry {
        Entry(Method handler = nullptr) : method(handler) {} // implicit: a method is all that it needs
        Entry(const Entry& other) : Entry(other.method) {}
        Entry& operator=(const Entry& other) {
            method = other.method;
            return *this;
        }

        Method method;
        mutable RPCCallMetrics calls;
    };
    using MethodMap = std::map<std::string, Entry, std::less<>>;

    /// @param name  by which clients find it; what can stand in a URL's path
    explicit RPCServer(const std::string& name);

    /// Leaves the registry if the server is still there.
    ~RPCServer() override;

    RPCServer(const RPCServer&) = delete;
    RPCServer& operator=(const RPCServer&) = delete;

    /// Enters the registry: from now on the server is found by its name.
    /// @returns false when another running server has that name
    virtual bool init();

    /// Leaves the registry. Calls that have begun go on; the host sees to it that none is
    /// under way when the server is destroyed.
    virtual void shutdown();

    /// Where the server wants to be reached, as Address::parse() reads it; empty leaves the choice
    /// to the host.
    virtual std::string getFixedRPCAddress() const;

    /// Carries out one call and returns the reply's text, which is empty when the client wants
    /// none. Unknown names are answered here; an exception that leaves the handler becomes an
    /// error reply; locks that the handler left held are released.
    ///
    /// A call that fails has one line on standard error: information when the client asked for
    /// what cannot be done, else an error. The handler's own lines about the exception are
    /// progress there.
    ///
    /// The caller holds the turn unless isReadOnly() of the method's interface.
    /// @throws std::bad_alloc  there is no memory for the reply, not even for one that says so
    /// @throws Cancelled       the client has gone, and the handler has noticed
    virtual std::string handleRPCSynchronousMethod(const IRPC::RPCSynchronousMethodObject& method);

    /// What clients can know of the server, as the text of an OpenRPC document; they ask for it
    /// with "rpc.discover". Empty when there is none. Valid as long as the server; any thread may ask.
    virtual std::string_view getDescription() const noexcept;

    /// Called by the host, with the turn held, some time after a connection has closed, for what
    /// a server does by itself; what it throws is told in the log and ends this round. Nothing
    /// unless overridden.
    /// @returns whether it wants to be called again, though no further connection closes
    virtual bool housekeep();

    /// Whether the handlers of that interface only read and may run without the turn, several
    /// at a time.
    bool isReadOnly(std::string_view interfaceName) const noexcept {
        return readOnlyInterfaces.find(interfaceName) != readOnlyInterfaces.end();
    }

    /// Whether that method may wait for others to finish. It does so without the turn, see
    /// Turn::Pause, and is carried out where that holds up nobody.
    /// @param name  interface and method, "INTERFACE::METHOD"
    bool mayWait(std::string_view name) const noexcept {
        return waitingMethods.find(name) != waitingMethods.end();
    }

    /// Whether that method may go on for long, so that it waits as mayWait() says, and for others of
    /// its kind: one of them is carried out at a time.
    /// @param name  interface and method, "INTERFACE::METHOD"
    bool isLong(std::string_view name) const noexcept { return longMethods.find(name) != longMethods.end(); }

    /// Whether the handlers of that interface, which isReadOnly(), are brief: each has its reply in no time,
    /// or calls Cancellation::check() before it goes on for long. It may be left there, and the call is
    /// made anew where that holds up nobody.
    bool isBrief(std::string_view interfaceName) const noexcept {
        return briefInterfaces.find(interfaceName) != briefInterfaces.end();
    }

    /// What stands behind a method's name; null when there is no handler of that name.
    const Entry* findMethod(std::string_view interfaceName, std::string_view methodName) const noexcept;

    /// Where calls of that name are counted; those of unknown names all in one place.
    RPCCallMetrics& getCallMetrics(std::string_view interfaceName,
                                   std::string_view methodName) const noexcept;

    /// Writes what has come of all calls of the running servers. Any thread may call it.
    static void writeCallMetrics(MetricsText& out);

    const std::string& getName() const { return name_; }

    /// Finds a running server; null when nobody runs under that name. Any thread may call it.
    /// The host keeps servers alive as long as its listener serves.
    static RPCServer* find(const std::string& name);

    /// Returns all running servers, by name. Any thread may call it.
    static std::vector<RPCServer*> running();

protected:
    /// By interface name; written by the constructor only.
    std::map<std::string, MethodMap, std::less<>> methods;
    std::set<std::string, std::less<>> readOnlyInterfaces; ///< written by the constructor only
    /// The interfaces that isBrief() is true for; written by the constructor only.
    std::set<std::string, std::less<>> briefInterfaces;
    /// The methods that mayWait(); written by the constructor only.
    std::set<std::string, std::less<>> waitingMethods;
    /// The methods for which isLong() holds; written by the constructor only.
    std::set<std::string, std::less<>> longMethods;

private:
    template <class Action> void forEachCalled(Action action) const;

    const std::string name_;
    mutable RPCCallMetrics discoveries_; ///< calls of rpc.discover
    mutable RPCCallMetrics unknown_; ///< calls of what is no method
};

} // namespace Ostrel
