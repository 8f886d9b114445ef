#include "clients/cpp/Client.h"

#include "clients/cpp/Connection.h"

namespace Ostrel::Client {

Client::Client(const Url& url, const ClientOptions& options)
    : Context(std::make_shared<Connection>(url, options), std::nullopt, options.timeout) {}

Client::~Client() = default;

bool Client::reconnect() {
    connection_->reconnect();
    try {
        if (*context_)
            getUtcTime(); // a call that changes nothing
    } catch (const ServiceError& error) {
        if (error.member == "context") {
            context_->reset();
            return false;
        }
    }
    return true;
}

Context Client::createContext() {
    return with(ITVService(*this).createContext());
}

Context Client::with(std::uint32_t context) const {
    return {connection_, context, timeout_};
}

void Client::useContext(std::uint32_t context) {
    *context_ = context;
}

void Client::deleteContext(std::uint32_t context) {
    ITVService(with(context)).deleteContext();
    if (*context_ == context)
        context_->reset();
}

int Client::getDescriptor() {
    return connection_->getDescriptor();
}

void Client::handleInput() {
    connection_->handleInput();
}

std::optional<Notification> Client::next(std::chrono::milliseconds timeout) {
    return connection_->next(timeout);
}

Notification Client::next() {
    return *next(std::chrono::milliseconds::max());
}

} // namespace Ostrel::Client
