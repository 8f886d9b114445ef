// Asks a service what time it is.
#include "clients/cpp/Client.h"

#include <iostream>

int main(int, char** arguments) {
    Ostrel::Client::Client client{Ostrel::Client::Url(arguments[1])};
    std::cout << client.getUtcTime() << '\n';
}
