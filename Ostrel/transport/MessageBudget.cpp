#include "Ostrel/transport/MessageBudget.h"

namespace Ostrel {

void MessageBudget::serve() {
    while (!line_.empty()) {
        const bool nevertheless = favoured_ == nullptr && working_ < message_;
        if (!hasRoom() && !nevertheless)
            return;
        auto& reader = *line_.front();
        line_.pop_front();
        if (!hasRoom())
            favoured_ = &reader;
        reader.inLine_ = false;
        reader.hold(reader.size_ + step);
        reader.goOn_();
    }
}

void MessageBudget::tick() {
    for (int i = 0; i < favouredAtATick && !line_.empty(); ++i) {
        favoured_ = nullptr;
        serve();
    }
}

bool MessageBudget::Reader::mayRead(std::size_t size) {
    size_ = size;
    if (size < step || size < held_)
        return true;
    if (inLine_)
        return false;
    if (budget_.favoured_ == this) {
        hold(size + step);
        return true;
    }
    inLine_ = true;
    budget_.line_.push_back(this);
    budget_.serve();
    return !inLine_;
}

void MessageBudget::Reader::finish() {
    if (inLine_)
        std::erase(budget_.line_, this);
    inLine_ = false;
    if (budget_.favoured_ == this)
        budget_.favoured_ = nullptr;
    hold(0);
    budget_.serve();
}

void MessageBudget::Reader::hold(std::size_t size) {
    budget_.reading_ = budget_.reading_ - held_ + size;
    held_ = size;
    budget_.noteTotal();
}

} // namespace Ostrel
