#include "Ostrel/transport/MessageBudget.h"

#include "Ostrel/runtime/Families.h"

#include <algorithm>

namespace Ostrel {

namespace {
Counter heldUp(holdUps, "messages");
}

void MessageBudget::serve() noexcept {
    while (!line_.empty()) {
        const bool nevertheless = favoured_.size() < favours_ && working_ < message_;
        if (!hasRoom() && !nevertheless)
            return;
        auto& reader = *line_.front();
        if (!hasRoom())
            favoured_.push_back(&reader);
        line_.pop_front();
        reader.inLine_ = false;
        reader.hold(reader.size_ + step);
        reader.goOn_();
    }
}

void MessageBudget::tick() {
    favoured_.clear();
    serve();
}

bool MessageBudget::Reader::mayRead(std::size_t size) {
    size_ = size;
    if (size < step || size < held_)
        return true;
    if (inLine_)
        return false;
    if (std::count(budget_.favoured_.begin(), budget_.favoured_.end(), this) > 0) {
        hold(size + step);
        return true;
    }
    budget_.line_.push_back(this);
    inLine_ = true;
    budget_.serve();
    if (inLine_)
        heldUp.increment();
    return !inLine_;
}

void MessageBudget::Reader::finish() noexcept {
    if (inLine_)
        std::erase(budget_.line_, this);
    inLine_ = false;
    std::erase(budget_.favoured_, this);
    hold(0);
    budget_.serve();
}

void MessageBudget::Reader::hold(std::size_t size) noexcept {
    budget_.reading_ = budget_.reading_ - held_ + size;
    held_ = size;
    budget_.noteTotal();
}

} // namespace Ostrel
