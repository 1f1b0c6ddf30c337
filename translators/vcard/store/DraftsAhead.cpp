#include "DraftsAhead.h"

#include <chrono>
#include <utility>

namespace mb::vcard {
namespace {

// As many as can be had: why one cannot be made is found out anew by who needs it.
std::vector<std::unique_ptr<Folder::Draft>> openSome(const Folder& folder)
{
    constexpr std::size_t kAhead = 64;
    std::vector<std::unique_ptr<Folder::Draft>> drafts;
    drafts.reserve(kAhead);
    try {
        while (drafts.size() < kAhead) drafts.push_back(std::make_unique<Folder::Draft>(folder));
    } catch (const FileError&) {
    }
    return drafts;
}

} // namespace

std::unique_ptr<Folder::Draft> DraftsAhead::take()
{
    using namespace std::chrono_literals;
    if (ready_.empty() && next_.valid() && next_.wait_for(0s) == std::future_status::ready) ready_ = next_.get();
    // Deferred, and so never ready, where no thread can be had.
    if (!next_.valid()) next_ = std::async(std::launch::async | std::launch::deferred, [this] { return openSome(folder_); });
    if (ready_.empty()) return std::make_unique<Folder::Draft>(folder_);
    auto draft = std::move(ready_.back());
    ready_.pop_back();
    return draft;
}

} // namespace mb::vcard
