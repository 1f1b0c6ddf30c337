#include "CardAhead.h"

#include <algorithm>

namespace mb::vcard {

CardAhead::CardAhead(const Folder& folder) : folder_(folder), thread_([this] { run(); }) {}

CardAhead::~CardAhead()
{
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    told_.notify_one();
    thread_.join();
}

void CardAhead::want(const std::vector<std::string>& names)
{
    {
        const std::lock_guard lock(mutex_);
        for (const std::string& name : names) wanted_.push_back(std::make_shared<Wanted>(Wanted{name, false, {}}));
    }
    told_.notify_one();
}

std::optional<SingleCard> CardAhead::take(const std::string& name)
{
    std::unique_lock lock(mutex_);
    const auto found = std::find_if(wanted_.begin(), wanted_.end(), [&](const auto& w) { return w->name == name; });
    if (found == wanted_.end()) return std::nullopt;
    const std::shared_ptr<Wanted> wanted = *found;
    const auto taken = static_cast<std::size_t>(found - wanted_.begin()) + 1;
    const bool begun = taken <= next_;
    wanted_.erase(wanted_.begin(), found + 1);
    next_ -= std::min(next_, taken);
    if (begun) read_.wait(lock, [&] { return wanted->done; });
    return std::move(wanted->card);
}

void CardAhead::run()
{
    std::unique_lock lock(mutex_);
    for (;;) {
        told_.wait(lock, [&] { return ended_ || next_ < wanted_.size(); });
        if (ended_) return;
        const std::shared_ptr<Wanted> wanted = wanted_[next_++];
        lock.unlock();
        std::optional<SingleCard> card;
        try {
            card = readCard(folder_, wanted->name);
            card->card.decode();
        } catch (...) { // the caller of take() reads the file itself and meets the fault again
        }
        lock.lock();
        wanted->card = std::move(card);
        wanted->done = true;
        read_.notify_one();
    }
}

} // namespace mb::vcard
