#include "soak/Model.h"

#include <algorithm>
#include <utility>

namespace Ostrel::Soak {

namespace {

std::string result(const std::string& value) {
    return R"(,"result":)" + value + '}';
}

} // namespace

Exchange Model::createContext() {
    const auto id = nextId();
    return {.text = R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"ITVService::createContext"})",
            .replies = {{id, Exchange::Reply::Context}}};
}

Exchange Model::selectAll(std::uint32_t context) {
    context_ = context;
    cursor_ = 0;
    Exchange exchange;
    add(exchange,
        {.method = "ITVService::serviceListSet", .payload = R"({"base":"all"})", .answer = result("true")});
    return exchange;
}

Exchange Model::deleteContext() {
    const auto id = nextId();
    return {.text = R"({"jsonrpc":"2.0","id":)" + id +
                    R"(,"method":"ITVService::deleteContext","params":{"context":)" +
                    std::to_string(context_) + "}}",
            .replies = {{id, Exchange::Reply::Answer, result("null")}}};
}

Exchange Model::next() {
    constexpr unsigned oneInBatches = 12;
    constexpr unsigned longestBatch = 20;
    Exchange exchange;
    exchange.isBatch = number(oneInBatches) == 0;
    const auto calls = exchange.isBatch ? 1 + number(longestBatch) : 1;
    for (unsigned i = 0; i < calls; ++i) {
        add(exchange, nextCall());
        if (exchange.isBatch && number(3) == 0)
            add(exchange, nextCall(), false);
    }
    if (exchange.isBatch)
        exchange.text = '[' + exchange.text + ']';
    return exchange;
}

/// Numbers and texts are ids, and come back as they went.
std::string Model::nextId() {
    const auto id = std::to_string(++lastId_);
    return lastId_ % 4 == 0 ? "\"client " + std::to_string(client_) + ", call " + id + '"' : id;
}

void Model::add(Exchange& exchange, const Call& call, bool wantsReply) {
    const auto id = wantsReply ? nextId() : std::string();
    exchange.text += exchange.text.empty() ? "" : ",";
    exchange.text += makeRequest(id, call.method, context_, call.payload);
    if (wantsReply)
        exchange.replies.push_back({id, call.kind, call.answer});
}

Model::Call Model::nextCall() {
    switch (number(10)) {
    case 0:
    case 1:
        return seek();
    case 2:
        return seekByName();
    case 3:
    case 4:
        return list();
    case 5:
        return {.method = "ITVService::utcTimeGet", .payload = "{}", .kind = Exchange::Reply::Time};
    default:
        return question();
    }
}

Model::Call Model::question() {
    const auto& questions = truth_.getQuestions();
    const auto& chosen = questions[number(questions.size())];
    return {.method = chosen.method, .payload = chosen.payload, .answer = chosen.answer};
}

Model::Call Model::seek() {
    const bool fromCursor = number(2) == 0;
    const auto target = number(truth_.countFirm());
    const auto offset = long(target) - (fromCursor ? long(cursor_) : 0);
    cursor_ = target;
    return {.method = "ITVService::serviceListSeek",
            .payload =
                R"({"offset":)" + std::to_string(offset) + R"(,"whence":)" + (fromCursor ? "1" : "0") + '}',
            .answer = result(std::to_string(cursor_))};
}

Model::Call Model::seekByName() {
    cursor_ = number(truth_.countFirm());
    const auto& service = truth_.getServices()[cursor_];
    const auto answer = result(std::to_string(cursor_));
    if (number(2) == 0)
        return {.method = "ITVService::serviceListSeekByUri",
                .payload = R"({"uri":")" + service.uri + "\"}",
                .answer = answer};
    return {.method = "ITVService::serviceListSeekByChannelNumber",
            .payload = R"({"channelNumber":)" + std::to_string(service.channelNumber) + '}',
            .answer = answer};
}

Model::Call Model::list() {
    constexpr std::size_t most = 20;
    const bool moves = number(2) == 0;
    const auto limit = number(1 + std::min(most, truth_.countFirm() - cursor_));
    std::string services;
    for (std::size_t i = cursor_; i < cursor_ + limit; ++i)
        services += (i == cursor_ ? "" : ",") + truth_.getServices()[i].json;
    if (moves)
        cursor_ += limit;
    return {.method = moves ? "ITVService::serviceListRead" : "ITVService::serviceListGet",
            .payload = R"({"limit":)" + std::to_string(limit) + '}',
            .answer = result('[' + services + ']')};
}

} // namespace Ostrel::Soak
