// Reads the card files that it is told of on a thread of its own, while the engine is busy with the card before. It only reads: whoever
// changes a file of the folder gives it up first, or it would tell of a card that is no more.
#pragma once
#include "SingleCard.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace mb::vcard {

class CardAhead {
public:
    explicit CardAhead(const Folder& folder);
    CardAhead(const CardAhead&) = delete;
    CardAhead& operator=(const CardAhead&) = delete;
    ~CardAhead();

    std::size_t waiting() const { return wanted_.size(); } // how many of those told of were not taken
    void want(const std::vector<std::string>& names);
    // The card of a file that was told of; those told of before it are forgotten. Nothing if it is not at hand and best read at once, and
    // for a file with a fault, which is told by who reads it then.
    std::optional<SingleCard> take(const std::string& name);

private:
    struct Wanted {
        std::string name;
        bool done = false;
        std::optional<SingleCard> card;
    };
    void run();

    const Folder& folder_;
    std::mutex mutex_;
    std::condition_variable told_, read_;
    std::deque<std::shared_ptr<Wanted>> wanted_;
    std::size_t next_ = 0; // of wanted_, the first that is not begun
    bool ended_ = false;
    std::thread thread_;
};

} // namespace mb::vcard
