#pragma once

#include "soak/Exchange.h"
#include "soak/Truth.h"

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace Ostrel::Soak {

/// Thinks of what a well-behaved client asks next and knows what must be answered: it keeps the
/// cursor of the client's context, which moves among the services that nobody deletes.
class Model {
public:
    Model(const Truth& truth, unsigned client) : truth_(truth), client_(client), random_(client + 1) {}

    Exchange createContext();

    /// The context that was made, with the list of all services to be selected first of all.
    Exchange selectAll(std::uint32_t context);

    /// Something to ask, or several things at once.
    Exchange next();

    Exchange deleteContext();

private:
    struct Call {
        std::string method;
        std::string payload;
        Exchange::Reply::Kind kind = Exchange::Reply::Answer;
        std::string answer = {};
    };

    unsigned number(std::size_t below) { return unsigned(random_() % below); }
    std::string nextId();
    void add(Exchange& exchange, const Call& call, bool wantsReply = true);
    Call nextCall();
    Call question();
    Call seek();
    Call seekByName();
    Call list();

    const Truth& truth_;
    const unsigned client_;
    std::minstd_rand random_;
    std::uint32_t context_ = 0;
    std::size_t cursor_ = 0;
    unsigned lastId_ = 0;
};

} // namespace Ostrel::Soak
