// Prefetches cards on a thread while the engine processes earlier ones. Requires: this program changes no file of the folder while this
// object lives; otherwise take() may return an outdated card.
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

    std::size_t waiting() const { return wanted_.size(); } // number of queued files that were not taken yet
    // Queues files to be read.
    void want(const std::vector<std::string>& names);
    // Returns the card of a queued file and drops the files queued before it. Returns nullopt if the file was not queued, its reading has
    // not started, or the reading failed; the caller then reads the file itself and reports the fault.
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
    std::size_t next_ = 0; // index in wanted_ of the next file to read
    bool ended_ = false;
    std::thread thread_;
};

} // namespace mb::vcard
