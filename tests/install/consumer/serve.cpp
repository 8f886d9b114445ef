// Serves the simulated module on a port that the system chooses, until its input ends.
#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/runtime/Task.h"
#include "Ostrel/transport/Listener.h"
#include "TV/server/TVModule.h"
#include "TV/server/TVRPCServer.h"
#include "TV/server/dummy/DummyTVModule.h"

#include <iostream>

int main() {
    Ostrel::TV::DummyTVModule module;
    module.init();
    Ostrel::TV::TVRPCServer server(&module);
    server.init();
    Ostrel::Listener listener({Ostrel::Address::parse("127.0.0.1:0")}, {{}, {}, {}});
    std::cout << listener.getAddresses().front().toString() << std::endl;
    std::cin.get();
    listener.stop();
    Ostrel::stopTasks();
    server.uninit();
    server.shutdown();
    module.uninit();
}
