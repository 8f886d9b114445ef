#include <clients/cpp/Client.h>

#include <iostream>

int main() {
    Ostrel::Client::Client client{Ostrel::Client::Url("127.0.0.1:8480")};
    client.selectList("all");
    for (const auto& service : client.read(3))
        std::cout << service.name << '\n';
}
