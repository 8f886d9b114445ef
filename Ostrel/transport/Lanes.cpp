#include "Ostrel/transport/Lanes.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Turn.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <new>
#include <thread>
#include <utility>

namespace Ostrel {

namespace {

/// A longer text is parsed elsewhere: it would hold up everybody.
constexpr std::size_t smallText = 4096;

} // namespace

Lanes::Lanes() : turn_(1), readers_(std::clamp(std::thread::hardware_concurrency(), 2u, 8u)) {}

Lanes::~Lanes() {
    stop();
}

void Lanes::stop() {
    stopping_ = true;
    turn_.stop();
    readers_.stop();
    turn_.join();
    readers_.join();
}

std::optional<std::string> Lanes::carryOut(std::string_view text, RPCServer& server,
                                           std::shared_ptr<RPCPeer> peer, const RPCMessage::Limits& limits,
                                           Done done) {
    if (text.size() > smallText) {
        post(readers_, [this, text = std::string(text), &server, peer = std::move(peer), limits,
                        done = std::move(done)] {
            work(std::make_shared<RPCMessage>(text, server, peer, limits), done, readers_);
        });
        return std::nullopt;
    }

    auto message = std::make_shared<RPCMessage>(text, server, std::move(peer), limits);
    // While a message is on the lanes this thread must not run handlers: one that deletes a
    // context waits for its readers. Of a batch only the first request is tried here.
    if (!message->isDone() && message->needsTurn() && busy_ == 0 && Turn::tryTake()) {
        message->step();
        Turn::give();
    }
    if (message->isDone())
        return message->takeReply();
    goOn(std::move(message), std::move(done));
    return std::nullopt;
}

template <class Work> void Lanes::post(boost::asio::thread_pool& lane, Work work) {
    ++busy_;
    try {
        boost::asio::post(lane, [this, work = std::move(work)] {
            try {
                work();
            } catch (...) {
                ostrelDebugPrint(DebugLevel::Error, "Lanes", "Lanes", __LINE__,
                                 "%s(): caught unknown exception\n", "work");
            }
            --busy_;
        });
    } catch (...) {
        --busy_;
        throw;
    }
}

void Lanes::goOn(Message message, Done done) {
    auto& lane = laneOf(*message);
    post(lane,
         [this, message = std::move(message), done = std::move(done), &lane] { work(message, done, lane); });
}

boost::asio::thread_pool& Lanes::laneOf(const RPCMessage& message) {
    return message.needsTurn() ? turn_ : readers_;
}

void Lanes::work(const Message& message, const Done& done, const boost::asio::thread_pool& lane) {
    while (!message->isDone()) {
        if (stopping_)
            return;
        if (&laneOf(*message) != &lane) {
            try {
                goOn(message, done);
                return;
            } catch (const std::bad_alloc&) {
                // The other lane would be better, but this one will do.
            }
        }
        if (message->needsTurn()) {
            const Turn::Hold hold;
            message->step();
        } else {
            message->step();
        }
    }
    done(message->takeReply());
}

void Lanes::housekeep() {
    post(turn_, [] {
        for (auto* server : RPCServer::running()) {
            const Turn::Hold hold;
            server->housekeep();
        }
    });
}

} // namespace Ostrel
