#include "tests/host/FakeManager.h"
#include "tests/host/RunningHost.h"
#include "tests/support/Terminal.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace Ostrel::Test {
namespace {

constexpr const char* create = R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})";

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

void expectEnd(Child& child) {
    child.terminate();
    EXPECT_EQ(child.wait(), 0) << child.readErrors();
}

template <class SocketAddress>
int bindSocket(const SocketAddress& address, std::size_t size = sizeof(SocketAddress)) {
    const int socket = ::socket(reinterpret_cast<const sockaddr&>(address).sa_family, SOCK_STREAM, 0);
    EXPECT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), socklen_t(size)), 0);
    return socket;
}

template <class SocketAddress>
int listenOn(const SocketAddress& address, std::size_t size = sizeof(SocketAddress)) {
    const int socket = bindSocket(address, size);
    EXPECT_EQ(::listen(socket, 8), 0);
    return socket;
}

sockaddr_in address4(const char* host) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    ::inet_pton(AF_INET, host, &address.sin_addr);
    return address;
}

sockaddr_in6 address6(const char* host) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    ::inet_pton(AF_INET6, host, &address.sin6_addr);
    return address;
}

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    return address;
}

void write(const std::string& path, const std::string& text) {
    std::ofstream(path) << text << '\n';
    ::chmod(path.c_str(), 0600);
}

// What is told

TEST(ServiceManagerTest, IsToldThatTheHostAnswersAndThatItStops) {
    for (const auto kind : {FakeManager::Kind::File, FakeManager::Kind::Name}) {
        FakeManager manager(kind);
        RunningHost host({}, manager.environment());
        EXPECT_EQ(manager.read(), "READY=1\nSTATUS=Serving on " + host.address().toString());
        EXPECT_EQ(WireClient(host.address()).post("/rpc/TV", create).status, 200);
        host.child().terminate();
        EXPECT_EQ(firstLine(manager.read()), "STOPPING=1");
        EXPECT_EQ(host.child().wait(), 0);
    }
}

TEST(ServiceManagerTest, WhoCannotBeToldIsALineInTheLog) {
    for (const std::string path : {"nonsense", "/no/such/socket", "vsock:2:1"}) {
        RunningHost host(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0"}, {"NOTIFY_SOCKET=" + path});
        expectEnd(host.child());
        EXPECT_NE(host.child().readErrors().find("NOTIFY_SOCKET is " + path), std::string::npos);
    }
}

// The watchdog

std::string taskFile(const Child& child, pid_t thread, const char* name) {
    std::ifstream file("/proc/" + std::to_string(child.id()) + "/task/" + std::to_string(thread) + '/' +
                       name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

pid_t findThread(const Child& child, const std::string& name) {
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(child.id()) + "/task")) {
        const auto thread = pid_t(std::stol(task.path().filename()));
        if (taskFile(child, thread, "comm") == name + '\n')
            return thread;
    }
    ADD_FAILURE() << "no thread " << name;
    return -1;
}

/// How often the main thread has gone to sleep.
long sleepsOf(const Child& child) {
    const auto status = taskFile(child, child.id(), "status");
    const std::string key = "\nvoluntary_ctxt_switches:";
    return std::stol(status.substr(status.find(key) + key.size()));
}

/// Stops one thread of a child, which the others do not notice.
class StoppedThread {
public:
    explicit StoppedThread(pid_t thread) : thread_(thread) {
        EXPECT_EQ(::ptrace(PTRACE_SEIZE, thread_, 0, 0), 0);
        EXPECT_EQ(::ptrace(PTRACE_INTERRUPT, thread_, 0, 0), 0);
        EXPECT_EQ(::waitpid(thread_, nullptr, __WALL), thread_);
    }
    ~StoppedThread() { ::ptrace(PTRACE_DETACH, thread_, 0, 0); }

    StoppedThread(const StoppedThread&) = delete;
    StoppedThread& operator=(const StoppedThread&) = delete;

private:
    const pid_t thread_;
};

TEST(ServiceManagerTest, HearsNothingWhileInputAndOutputHang) {
    FakeManager manager;
    manager.environment().push_back("WATCHDOG_USEC=20000");
    RunningHost host({}, manager.environment());
    EXPECT_EQ(firstLine(manager.read()), "READY=1");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(manager.read(), "WATCHDOG=1");
    {
        const StoppedThread stopped(findThread(host.child(), "listener"));
        manager.dropAll();
        const auto before = sleepsOf(host.child());
        while (sleepsOf(host.child()) < before + 20)
            std::this_thread::yield();
        EXPECT_LE(manager.dropAll(), 1); // it may just have come round
    }
    EXPECT_EQ(manager.read(), "WATCHDOG=1");
    expectEnd(host.child());
}

/// Waits until the main thread waits for a signal, and returns for how long it does: the address of
/// its time, or 0x0 for ever.
std::string timeOfWait(const Child& child) {
    for (;;) {
        std::istringstream words(taskFile(child, child.id(), "syscall"));
        std::string call, set, info, time;
        words >> call >> set >> info >> time;
        if (call == std::to_string(SYS_rt_sigtimedwait))
            return time;
        std::this_thread::yield();
    }
}

TEST(ServiceManagerTest, NobodyIsWokenWithoutAWatchdog) {
    FakeManager manager;
    for (const Arguments& watchdog : {Arguments{}, Arguments{"WATCHDOG_USEC=20000", "WATCHDOG_PID=1"},
                                      Arguments{"WATCHDOG_USEC=soon"}, Arguments{"WATCHDOG_USEC=0"}}) {
        auto environment = manager.environment();
        environment.insert(environment.end(), watchdog.begin(), watchdog.end());
        RunningHost host({}, environment);
        EXPECT_EQ(firstLine(manager.read()), "READY=1");
        EXPECT_EQ(timeOfWait(host.child()), "0x0");
        host.child().terminate();
        EXPECT_EQ(firstLine(manager.read()), "STOPPING=1");
        EXPECT_EQ(host.child().wait(), 0);
    }
}

// Reload

class Reload : public testing::Test {
protected:
    std::string reload(Child& child) const {
        child.signal(SIGHUP);
        EXPECT_TRUE(manager.readNews().starts_with("RELOADING=1\nMONOTONIC_USEC="));
        return manager.readNews();
    }

    static int ask(const RunningHost& host, char token) {
        return WireClient(host.address())
            .post("/rpc/TV", create, "Authorization: Bearer " + std::string(32, token) + "\r\n")
            .status;
    }

    FakeManager manager;
    const std::string tokenFile = manager.folder().file("token");
};

TEST_F(Reload, AnotherTokenIsAskedForAndWhoCameByTheOldOneIsSentAway) {
    write(tokenFile, std::string(32, 'a'));
    RunningHost host({"--token-file", tokenFile}, manager.environment());
    EXPECT_EQ(firstLine(manager.read()), "READY=1");
    WireClient client(host.address());
    const std::string authorization = "Authorization: Bearer " + std::string(32, 'a') + "\r\n";
    client.upgrade("/rpc/TV", authorization);

    EXPECT_EQ(firstLine(reload(host.child())), "READY=1"); // the same token
    EXPECT_EQ(client.call(create).find("error"), std::string::npos);
    EXPECT_EQ(ask(host, 'a'), 200);

    write(tokenFile, std::string(32, 'b'));
    EXPECT_EQ(firstLine(reload(host.child())), "READY=1");
    EXPECT_EQ(client.readFrame().closeCode(), 1001);
    EXPECT_EQ(ask(host, 'a'), 401);
    EXPECT_EQ(ask(host, 'b'), 200);
    expectEnd(host.child());
}

TEST_F(Reload, AFileThatCannotBeTakenChangesNothing) {
    write(tokenFile, std::string(32, 'a'));
    RunningHost host({"--token-file", tokenFile}, manager.environment());
    EXPECT_EQ(firstLine(manager.read()), "READY=1");
    write(tokenFile, "short");
    const auto told = reload(host.child());
    EXPECT_NE(told.find("; the token stays as it was: the token file " + tokenFile), std::string::npos)
        << told;
    EXPECT_EQ(ask(host, 'a'), 200);
    expectEnd(host.child());
    EXPECT_NE(host.child().readErrors().find("does not hold one line"), std::string::npos);
}

TEST_F(Reload, ATerminalThatGoesEndsTheHost) {
    const Terminal terminal(24);
    RunningHost host(
        "/bin/bash",
        {"-c", "exec setsid --ctty \"$0\" --listen 127.0.0.1:0 <" + terminal.getPath(), OSTREL_TVD_PROGRAM},
        manager.environment());
    EXPECT_EQ(firstLine(manager.read()), "READY=1");
    host.child().signal(SIGHUP);
    EXPECT_EQ(firstLine(manager.read()), "STOPPING=1");
    EXPECT_EQ(host.child().wait(), 0);
}

// Sockets

/// Reads the lines that tell where a host serves.
std::vector<Address> readAddresses(Child& child, std::size_t count) {
    std::vector<Address> addresses;
    while (addresses.size() < count) {
        const auto line = child.readLine();
        auto text = line.substr(line.rfind(' ') + 1);
        text = text.substr(0, text.find('\n'));
        addresses.push_back(Address::parse(text.starts_with("http://") ? text.substr(7) : text));
    }
    return addresses;
}

TEST(HandedOverSockets, AreServedInPlaceOfTheUsualAddress) {
    FakeManager manager;
    const auto file = manager.folder().file("socket");
    manager.add(listenOn(address4("127.0.0.1")));
    manager.add(listenOn(addressOf(file)));
    {
        // A client that comes before the host does waits for it.
        WireClient early(Address{.host = {}, .path = file});
        early.send("GET /healthz HTTP/1.1\r\nHost: x\r\n\r\n");
        Child host("/bin/bash", manager.wordsFor({}), {}, manager.environment());
        EXPECT_EQ(early.readAnswer().status, 200);
        for (const auto& address : readAddresses(host, 2))
            EXPECT_EQ(WireClient(address).post("/rpc/TV", create).status, 200) << address.toString();
        expectEnd(host);
        EXPECT_EQ(host.readOutput().find("serves on"), std::string::npos); // there are no others
    }
    EXPECT_TRUE(std::filesystem::exists(file)); // it is its maker's
    const WireClient waits(Address{.host = {}, .path = file});
}

TEST(HandedOverSockets, StandBesideTheAddressesThatAreNamed) {
    FakeManager manager;
    manager.add(listenOn(address4("127.0.0.1")));
    const auto file = manager.folder().file("own");
    Child host("/bin/bash", manager.wordsFor({"--listen", "unix:" + file}), {}, manager.environment());
    for (const auto& address : readAddresses(host, 2))
        EXPECT_EQ(WireClient(address).post("/rpc/TV", create).status, 200) << address.toString();
    expectEnd(host);
}

TEST(HandedOverSockets, AreNotTakenByAnotherProcess) {
    FakeManager manager;
    manager.add(listenOn(address4("127.0.0.1")));
    const auto file = manager.folder().file("own");
    Child host("/bin/bash", manager.wordsFor({"--listen", "unix:" + file}, "1"), {}, manager.environment());
    EXPECT_EQ(readAddresses(host, 1).front().path, file);
    expectEnd(host);
    EXPECT_EQ(host.readOutput().find("serves on"), std::string::npos);
}

TEST(HandedOverSockets, BeyondThisMachineNeedAToken) {
    FakeManager manager;
    manager.add(listenOn(address4("0.0.0.0")));
    Child host("/bin/bash", manager.wordsFor({}), {}, manager.environment());
    EXPECT_EQ(host.wait(), 1);
    EXPECT_NE(host.readErrors().find("lets others in; give a token with --token-file"), std::string::npos);
}

TEST(HandedOverSockets, ForBothKindsOfAddressesNameClientsAsTheyAre) {
    FakeManager manager;
    const auto token = manager.folder().file("token");
    write(token, std::string(32, 'a'));
    manager.add(listenOn(address6("::")));
    Child host("/bin/bash", manager.wordsFor({"--token-file", token}), {}, manager.environment());
    auto address = readAddresses(host, 1).front();
    address.host = "127.0.0.1";
    const std::string authorization = "Authorization: Bearer " + std::string(32, 'a') + "\r\n";
    WireClient client(address);
    EXPECT_EQ(client.post("/rpc/TV", create, authorization).status, 200);
    const auto traffic = client.post(
        "/rpc/Simulator", R"({"jsonrpc":"2.0","id":1,"method":"Simulator::trafficGet"})", authorization);
    EXPECT_NE(traffic.body.find(R"("client":"127.0.0.1:)"), std::string::npos) << traffic.body;
    expectEnd(host);
}

struct WrongSocket {
    const char* name;
    int (*make)();
};

class WrongSockets : public testing::TestWithParam<WrongSocket> {};

TEST_P(WrongSockets, AreRefusedByName) {
    FakeManager manager;
    manager.add(listenOn(address4("127.0.0.1")));
    manager.add(GetParam().make());
    manager.environment().push_back("LISTEN_FDNAMES=web:other");
    Child host("/bin/bash", manager.wordsFor({}), {}, manager.environment());
    EXPECT_EQ(host.wait(), 1);
    const auto errors = host.readErrors();
    EXPECT_TRUE(
        errors.starts_with("ostrel-tvd: cannot serve on what the service manager hands over as other: it "))
        << errors;
}

const WrongSocket wrongSockets[] = {
    {"Datagrams", [] { return ::socket(AF_INET, SOCK_DGRAM, 0); }},
    {"BoundAndNoMore", [] { return bindSocket(address4("127.0.0.1")); }},
    {"NoSocket", [] { return ::open("/dev/null", O_RDONLY); }},
};

INSTANTIATE_TEST_SUITE_P(Sockets, WrongSockets, testing::ValuesIn(wrongSockets),
                         [](const auto& row) { return row.param.name; });

} // namespace
} // namespace Ostrel::Test
